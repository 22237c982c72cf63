// Ciphers against the examples of their standards and against OpenSSL 3.0 with gost-engine 3.0.1.
#include <gtest/gtest.h>

#include <string>

#include <gcrypt.h>

#include "gost/ciphers.h"
#include "testing/bytes.h"

namespace {

using namespace derkit::gost;

const std::string KEY = from_hex("8899aabbccddeeff0011223344556677fedcba98765432100123456789abcdef");

std::string hex_of(const result<secret>& got) {
    return got ? to_hex(got->view()) : got.message();
}

std::string hex(std::string_view digits) {
    return to_hex(from_hex(digits));
}

std::string sha256_of(const result<secret>& got) {
    if (!got) {
        return got.message();
    }
    unsigned char digest[32];
    gcry_md_hash_buffer(GCRY_MD_SHA256, digest, got->data(), got->size());
    return to_hex(digest, sizeof digest);
}

// Rows of the plaintext of GOST R 34.13-2015 A and RFC 8645 A.
const std::string PLAIN = from_hex("1122334455667700FFEEDDCCBBAA9988 00112233445566778899AABBCCEEFF0A"
                                   "112233445566778899AABBCCEEFF0A00 2233445566778899AABBCCEEFF0A0011"
                                   "33445566778899AABBCCEEFF0A001122 445566778899AABBCCEEFF0A00112233"
                                   "5566778899AABBCCEEFF0A0011223344");

TEST(CtrAcpkm, MatchesTheExamplesOfItsStandard) {
    EXPECT_EQ(hex_of(ctr_acpkm(block_cipher_id::KUZNYECHIK, 32, KEY, from_hex("1234567890ABCEF0"), PLAIN)),
              hex("F195D8BEC10ED1DBD57B5FA240BDA1B8 85EEE733F6A13E5DF33CE4B33C45DEE4"
                  "4BCEEB8F646F4C55001706275E85E800 587C4DF568D094393E4834AFD0805046"
                  "CF30F57686AEECE11CFC6C316B8A896E DFFD07EC813636460C4F3B743423163E"
                  "6409A9C282FAC8D469D221E7FBD6DE5D"));
    EXPECT_EQ(hex_of(ctr_acpkm(block_cipher_id::MAGMA, 16, KEY, from_hex("12345678"), PLAIN.substr(0, 56))),
              hex("2AB81DEEEB1E4CAB68E104C4BD6B94EA C72C67AF6C2E5B6B0EAFB61770F1B32E"
                  "A1AE71149EED1382ABD467180672EC6F 84A2F15B3FCA72C1"));
}

struct sections_case_t {
    block_cipher_id cipher;
    const char* iv;
    std::size_t section_size, size;
    const char* sha256;
};

// `openssl enc -kuznyechik-ctr-acpkm`, which has the sections of TLS; the others joined from `-kuznyechik-ctr` and
// `-magma-ctr` under the two keys.
const sections_case_t SECTIONS[] = {
    {block_cipher_id::KUZNYECHIK, "1234567890abcef0", 4096, 9000,
     "0ca5e6fdf96034ad374663d97228d2f485e4db32ab5ea67bade7ea1ce1f826d4"},
    {block_cipher_id::KUZNYECHIK, "1234567890abcef0", 262144, 270000,
     "13a1f0d78679184e1cc8648285511158de02530d4ba0713a46aa6721f3f2cb52"},
    {block_cipher_id::MAGMA, "12345678", 1024, 9000,
     "dad4ebd40c4f1d908d400f43e62e9ed6b819b609d10ee1926c7c9cfeb75ffbc8"},
    {block_cipher_id::MAGMA, "12345678", 8192, 9000,
     "196a87c1c9e2a5a61e6669cb2c3ac4585fb462e037d8bb55e10717dcd9587d16"},
};

TEST(CtrAcpkm, HasSectionsOfAnySize) {
    for (const sections_case_t& c : SECTIONS) {
        EXPECT_EQ(sha256_of(ctr_acpkm(c.cipher, c.section_size, KEY, from_hex(c.iv), std::string(c.size, '\0'))),
                  hex(c.sha256))
            << c.section_size;
    }
}

TEST(CtrAcpkm, IsItsOwnInverseAtEveryLength) {
    const std::string text(2100, 't');
    for (const std::size_t size : {0U, 1U, 7U, 8U, 9U, 1023U, 1024U, 1025U, 2048U, 2100U}) {
        const result<secret> there =
            ctr_acpkm(block_cipher_id::MAGMA, 1024, KEY, from_hex("12345678"), text.substr(0, size));
        ASSERT_TRUE(there) << there.message();
        const result<secret> back = ctr_acpkm(block_cipher_id::MAGMA, 1024, KEY, from_hex("12345678"), *there);
        ASSERT_TRUE(back) << back.message();
        EXPECT_EQ(back->view(), text.substr(0, size)) << size;
    }
}

struct sbox_case_t {
    const char* sbox;
    const char* sha256;
};

// 3,000 zeros by `openssl enc -gost89`, so the key changed twice.
const sbox_case_t SBOXES[] = {
    {"1.2.643.2.2.31.1", "2df243a8d9c91327b389a7b37c05010d76209b0102e93b2658404fd4e231a251"},
    {"1.2.643.2.2.31.2", "ef97137e050a6a8932b1ad7bd5e7280154a60aad32772f20063e9c09ca934ac7"},
    {"1.2.643.2.2.31.3", "dd39d9989f2b83eb336392f8e078563cedf2ad90c477dcdf2283c1ac90653c31"},
    {"1.2.643.2.2.31.4", "b3938d7468fe59df024bdbc0740402a1c78ca38b410eb611c941f984d8cb4b41"},
    {"1.2.643.7.1.2.5.1.1", "486d96db2845e64b21c9c0a20ef09c5a648880caf56296973a877cb370e63830"},
};

TEST(Gost28147, IsThatOfOpenSsl) {
    const std::string iv = from_hex("1234567890abcef0"), plain(3000, '\0');
    for (const sbox_case_t& c : SBOXES) {
        const result<secret> encrypted = gost28147_cfb(direction::ENCRYPT, c.sbox, KEY, iv, plain);
        EXPECT_EQ(sha256_of(encrypted), hex(c.sha256)) << c.sbox;
        ASSERT_TRUE(encrypted);
        const result<secret> decrypted = gost28147_cfb(direction::DECRYPT, c.sbox, KEY, iv, *encrypted);
        ASSERT_TRUE(decrypted);
        EXPECT_EQ(decrypted->view(), plain) << c.sbox;
    }
}

TEST(Gost28147, RefusesAnUnknownSBox) {
    EXPECT_EQ(gost28147_cfb(direction::ENCRYPT, "1.2.3", KEY, "12345678", "text").why(), cause::crypto_failure);
}

struct classic_case_t {
    classic_cipher cipher;
    std::size_t key_size;
    const char* ciphertext; // of "derkit"
};

// `openssl enc -aes-128-cbc` and so on.
const classic_case_t CLASSICS[] = {
    {classic_cipher::AES, 16, "d2c259090601ec93925987b36ed1674b"},
    {classic_cipher::AES, 24, "c5ea1474b2283e6d67a12c4e7eb2f438"},
    {classic_cipher::AES, 32, "072d3be4417484b5d64e3dee92f5be87"},
    {classic_cipher::TRIPLE_DES, 24, "5701d11857d7f065"},
    {classic_cipher::RC2_40, 5, "83ecea658fc52a40"},
    {classic_cipher::RC2_128, 16, "71f43240533367d3"},
    {classic_cipher::RC4, 5, "ddd580cfbcc1"},
};

TEST(ClassicCiphers, AreThoseOfOpenSsl) {
    const std::string iv = from_hex("1234567890abcef01234567890abcef0");
    for (const classic_case_t& c : CLASSICS) {
        const std::string key = KEY.substr(0, c.key_size), its_iv = iv.substr(0, block_size(c.cipher));
        EXPECT_EQ(hex_of(run_classic(direction::ENCRYPT, c.cipher, key, its_iv, "derkit")), hex(c.ciphertext));
        EXPECT_EQ(hex_of(run_classic(direction::DECRYPT, c.cipher, key, its_iv, from_hex(c.ciphertext))),
                  to_hex("derkit"));
    }
}

TEST(ClassicCiphers, PadToWholeBlocks) {
    const std::string iv(16, 'i');
    for (std::size_t size = 0; size <= 33; ++size) {
        const result<secret> encrypted =
            run_classic(direction::ENCRYPT, classic_cipher::AES, KEY, iv, std::string(size, 'x'));
        ASSERT_TRUE(encrypted);
        EXPECT_EQ(encrypted->size(), (size / 16 + 1) * 16);
        const result<secret> decrypted = run_classic(direction::DECRYPT, classic_cipher::AES, KEY, iv, *encrypted);
        ASSERT_TRUE(decrypted) << decrypted.message();
        EXPECT_EQ(decrypted->view(), std::string(size, 'x'));
    }
}

// Plaintexts that end wrongly, made without padding by a stream of whole blocks.
TEST(ClassicCiphers, RefuseWrongPadding) {
    const std::string iv(16, '\0');
    gcry_cipher_hd_t handle = nullptr;
    ASSERT_EQ(gcry_cipher_open(&handle, GCRY_CIPHER_AES256, GCRY_CIPHER_MODE_CBC, 0), 0U);
    for (const char* const plain :
         {"00000000000000000000000000000000", "00000000000000000000000000000011", "00000000000000000000000000000102",
          "00000000000000000000000000FF0303", "0F101010101010101010101010101010"}) {
        std::string block = from_hex(plain);
        ASSERT_EQ(gcry_cipher_reset(handle), 0U);
        ASSERT_EQ(gcry_cipher_setkey(handle, KEY.data(), KEY.size()), 0U);
        ASSERT_EQ(gcry_cipher_setiv(handle, iv.data(), iv.size()), 0U);
        ASSERT_EQ(gcry_cipher_encrypt(handle, block.data(), block.size(), nullptr, 0), 0U);
        EXPECT_EQ(run_classic(direction::DECRYPT, classic_cipher::AES, KEY, iv, block).why(), cause::wrong_password)
            << plain;
    }
    gcry_cipher_close(handle);
    for (const std::size_t size : {0U, 1U, 15U, 17U}) {
        EXPECT_EQ(run_classic(direction::DECRYPT, classic_cipher::AES, KEY, iv, std::string(size, 'x')).why(),
                  cause::wrong_password)
            << size;
    }
}

} // namespace
