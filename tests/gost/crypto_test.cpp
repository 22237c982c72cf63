// Digests, key derivation and MACs against the examples of their standards.
#include <gtest/gtest.h>

#include <string>

#include "gost/crypto.h"
#include "testing/bytes.h"

namespace {

using namespace derkit::gost;

// A value in hexadecimal, or the failure's words.
std::string hex_of(const result<secret>& got) {
    return got ? to_hex(got->view()) : got.message();
}

std::string hex(std::string_view digits) {
    return to_hex(from_hex(digits));
}

struct pbkdf2_case_t {
    digest_id digest;
    std::string password, salt;
    std::uint32_t iterations;
    std::string expected;
};

const std::string LONG_PASSWORD = "passwordPASSWORDpassword", LONG_SALT = "saltSALTsaltSALTsaltSALTsaltSALTsalt";

// RFC 6070; the two lists of TC 26 for GOST R 34.11-94 and GOST R 34.11-2012 (RFC 9337 A).
const pbkdf2_case_t PBKDF2_CASES[] = {
    {digest_id::SHA1, "password", "salt", 1, "0c60c80f961f0e71f3a9b524af6012062fe037a6"},
    {digest_id::SHA1, "password", "salt", 4096, "4b007901b765489abead49d926f721d065a429c1"},
    {digest_id::SHA1, LONG_PASSWORD, LONG_SALT, 4096, "3d2eec4fe41c849b80c8d83662c0e44a8b291a964cf2f07038"},
    {digest_id::SHA1, {"pass\0word", 9}, {"sa\0lt", 5}, 4096, "56fa6aa75548099dcc37d7f03425e0c3"},
    {digest_id::SHA256, "password", "salt", 1, "120fb6cffcf8b32c43e7225256c4f837a86548c92ccc35480805987cb70be17b"},
    {digest_id::SHA256, "password", "salt", 2, "ae4d0c95af6b46d32d0adff928f06dd02a303f8ef3c251dfd6e2d85a95474c43"},
    {digest_id::GOST94, "password", "salt", 1, "7314e7c04fb2e662c543674253f68bd0b73445d07f241bed872882da21662d58"},
    {digest_id::GOST94, "password", "salt", 2, "990dfa2bd965639ba48b07b792775df79f2db34fef25f274378872fed7ed1bb3"},
    {digest_id::GOST94, "password", "salt", 4096, "1f1829a94bdff5be10d0aeb36af498e7a97467f3b31116a5a7c1afff9deadafe"},
    {digest_id::GOST94, LONG_PASSWORD, LONG_SALT, 4096,
     "788358c69cb2dbe251a7bb17d5f4241f265a792a35becde8d56f326b49c85047b7638acb4764b1fd"},
    {digest_id::STREEBOG512, "password", "salt", 1,
     "64770af7f748c3b1c9ac831dbcfd85c26111b30a8a657ddc3056b80ca73e040d"
     "2854fd36811f6d825cc4ab66ec0a68a490a9e5cf5156b3a2b7eecddbf9a16b47"},
    {digest_id::STREEBOG512, "password", "salt", 2,
     "5a585bafdfbb6e8830d6d68aa3b43ac00d2e4aebce01c9b31c2caed56f0236d4"
     "d34b2b8fbd2c4e89d54d46f50e47d45bbac301571743119e8d3c42ba66d348de"},
    {digest_id::STREEBOG512, LONG_PASSWORD, LONG_SALT, 4096,
     "b2d8f1245fc4d29274802057e4b54e0a0753aa22fc53760b301cf008679e58fe"
     "4bee9addcae99ba2b0b20f431a9c5e50f395c89387d0945aedeca6eb4015dfc2"
     "bd2421ee9bb71183ba882ceebfef259f33f9e27dc6178cb89dc37428cf9cc52a2baa2d3a"},
};

TEST(Pbkdf2, MatchesTheExamplesOfItsStandards) {
    for (const pbkdf2_case_t& c : PBKDF2_CASES) {
        const std::string expected = hex(c.expected);
        EXPECT_EQ(hex_of(pbkdf2(c.digest, c.password, c.salt, c.iterations, c.expected.size() / 2)), expected);
    }
}

TEST(Pbkdf2, RefusesNoSaltAndNoIterations) {
    EXPECT_EQ(pbkdf2(digest_id::SHA1, "password", "", 1, 20).why(), cause::malformed_parameters);
    EXPECT_EQ(pbkdf2(digest_id::SHA1, "password", "salt", 0, 20).why(), cause::malformed_parameters);
}

// HMAC-SHA-1 of RFC 2202 with an empty key is what PBKDF2 of an empty password begins with.
TEST(Pbkdf2, TakesAnEmptyPassword) {
    const result<secret> derived = pbkdf2(digest_id::SHA1, "", "salt", 1, 20);
    EXPECT_EQ(hex_of(derived), hex_of(hmac(digest_id::SHA1, "", std::string("salt\0\0\0\1", 8))));
}

struct pkcs12_case_t {
    pkcs12_purpose purpose;
    std::string password, salt;
    std::uint32_t iterations;
    std::size_t size;
    std::string expected;
};

// The examples of the first implementations of PKCS#12, which all test with.
const pkcs12_case_t PKCS12_CASES[] = {
    {pkcs12_purpose::KEY, "smeg", "0A58CF64530D823F", 1, 24, "8AAAE6297B6CB04642AB5B077851284EB7128F1A2A7FBCA3"},
    {pkcs12_purpose::IV, "smeg", "0A58CF64530D823F", 1, 8, "79993DFE048D3B76"},
    {pkcs12_purpose::KEY, "smeg", "642B99AB44FB4B1F", 1, 24, "F3A95FEC48D7711E985CFE67908C5AB79FA3D7C5CAA5D966"},
    {pkcs12_purpose::IV, "smeg", "642B99AB44FB4B1F", 1, 8, "C0A38D64A79BEA1D"},
    {pkcs12_purpose::MAC, "smeg", "3D83C0E4546AC140", 1, 20, "8D967D88F6CAA9D714800AB3D48051D63F73A312"},
    {pkcs12_purpose::KEY, "queeg", "05DEC959ACFF72F7", 1000, 24, "ED2034E36328830FF09DF1E1A07DD357185DAC0D4F9EB3D4"},
    {pkcs12_purpose::IV, "queeg", "05DEC959ACFF72F7", 1000, 8, "11DEDAD7758D4860"},
    {pkcs12_purpose::MAC, "queeg", "263216FCC2FAB31C", 1000, 20, "5EC4C7A80DF652294C3925B6489A7AB857C83476"},
};

TEST(Pkcs12Kdf, MatchesTheUsualExamples) {
    for (const pkcs12_case_t& c : PKCS12_CASES) {
        EXPECT_EQ(hex_of(pkcs12_kdf(digest_id::SHA1, c.purpose, bmp_password(c.password), from_hex(c.salt),
                                    c.iterations, c.size)),
                  hex(c.expected))
            << c.salt;
    }
}

TEST(Pkcs12Kdf, RefusesNoSaltAndNoIterations) {
    EXPECT_EQ(pkcs12_kdf(digest_id::SHA1, pkcs12_purpose::MAC, "", "", 1, 20).why(), cause::malformed_parameters);
    EXPECT_EQ(pkcs12_kdf(digest_id::SHA1, pkcs12_purpose::MAC, "", "salt", 0, 20).why(), cause::malformed_parameters);
}

TEST(Pkcs12Kdf, TellsAnEmptyPasswordFromNone) {
    EXPECT_NE(hex_of(pkcs12_kdf(digest_id::GOST94, pkcs12_purpose::MAC, bmp_password(""), "salt", 1, 32)),
              hex_of(pkcs12_kdf(digest_id::GOST94, pkcs12_purpose::MAC, "", "salt", 1, 32)));
}

TEST(KdfTree, MatchesRfc7836) {
    const std::string key = from_hex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
    EXPECT_EQ(hex_of(kdf_tree(key, from_hex("26bdb878"), from_hex("af21434145656378"))),
              hex("22b6837845c6bef65ea71672b265831086d3c76aebe6dae91cad51d83f79d16b"
                  "074c9330599d7f8d712fca54392f4ddde93751206b3584c8f43f9e6dc51531f9"));
}

struct hmac_case_t {
    digest_id digest;
    std::string key, data, expected;
};

// RFC 2202 3, RFC 4231 4.2, RFC 7836 B.
const hmac_case_t HMAC_CASES[] = {
    {digest_id::SHA1, std::string(20, '\x0b'), "Hi There", "b617318655057264e28bc0b6fb378c8ef146be00"},
    {digest_id::SHA224, std::string(20, '\x0b'), "Hi There",
     "896fb1128abbdf196832107cd49df33f47b4b1169912ba4f53684b22"},
    {digest_id::SHA256, std::string(20, '\x0b'), "Hi There",
     "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
    {digest_id::SHA384, std::string(20, '\x0b'), "Hi There",
     "afd03944d84895626b0825f4ab46907f15f9dadbe4101ec682aa034c7cebc59cfaea9ea9076ede7f4af152e8b2fa9cb6"},
    {digest_id::SHA512, std::string(20, '\x0b'), "Hi There",
     "87aa7cdea5ef619d4ff0b4241a1d6cb02379f4e2ce4ec2787ad0b30545e17cdedaa833b7d6b8a702038b274eaea3f4e4"
     "be9d914eeb61f1702e696c203a126854"},
    {digest_id::STREEBOG256, from_hex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f"),
     from_hex("0126bdb87800af214341456563780100"), "a1aa5f7de402d7b3d323f2991c8d4534013137010a83754fd0af6d7cd4922ed9"},
    {digest_id::STREEBOG512, from_hex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f"),
     from_hex("0126bdb87800af214341456563780100"),
     "a59bab22ecae19c65fbde6e5f4e9f5d8549d31f037f9df9b905500e171923a77"
     "3d5f1530f2ed7e964cb2eedc29e9ad2f3afe93b2814f79f5000ffc0366c251e6"},
};

TEST(Hmac, MatchesTheExamplesOfItsStandards) {
    for (const hmac_case_t& c : HMAC_CASES) {
        EXPECT_EQ(hex_of(hmac(c.digest, c.key, c.data)), hex(c.expected));
        EXPECT_EQ(digest_size(c.digest), c.expected.size() / 2);
    }
}

// GOST R 34.13-2015 A.1.6 and A.2.6, which have the first half of the last block.
TEST(Omac, BeginsAsTheStandardsExamples) {
    const result<secret> kuznyechik =
        omac(block_cipher_id::KUZNYECHIK, from_hex("8899aabbccddeeff0011223344556677fedcba98765432100123456789abcdef"),
             from_hex("1122334455667700ffeeddccbbaa998800112233445566778899aabbcceeff0a"
                      "112233445566778899aabbcceeff0a002233445566778899aabbcceeff0a0011"));
    ASSERT_TRUE(kuznyechik) << kuznyechik.message();
    EXPECT_EQ(kuznyechik->size(), 16U);
    EXPECT_EQ(to_hex(kuznyechik->view().substr(0, 8)), hex("336f4d296059fbe3"));
    const result<secret> magma =
        omac(block_cipher_id::MAGMA, from_hex("ffeeddccbbaa99887766554433221100f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff"),
             from_hex("92def06b3c130a59db54c704f8189d204a98fb2e67a8024c8912409b17b57e41"));
    ASSERT_TRUE(magma) << magma.message();
    EXPECT_EQ(magma->size(), 8U);
    EXPECT_EQ(to_hex(magma->view().substr(0, 4)), hex("154e7210"));
}

TEST(RandomOctets, DifferEachTime) {
    const result<std::string> first = random_octets(32), second = random_octets(32);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->size(), 32U);
    EXPECT_NE(*first, *second);
}

struct text_case_t {
    std::string utf8, utf16;
};

const text_case_t TEXTS[] = {
    {"", ""},
    {"A", "0041"},
    {"Пароль", "041F04300440043E043B044C"},
    {"\x7F\xC2\x80", "007F0080"},
    {"\xDF\xBF\xE0\xA0\x80", "07FF0800"},
    {"\xED\x9F\xBF\xEE\x80\x80", "D7FFE000"},
    {"\xEF\xBF\xBF\xF0\x90\x80\x80", "FFFFD800DC00"},
    {"\xF4\x8F\xBF\xBF", "DBFFDFFF"},
};

TEST(Utf16, IsConvertedBothWays) {
    for (const text_case_t& c : TEXTS) {
        const std::optional<secret> utf16 = utf16_from_utf8(c.utf8);
        ASSERT_TRUE(utf16.has_value()) << c.utf16;
        EXPECT_EQ(to_hex(utf16->view()), hex(c.utf16));
        EXPECT_EQ(utf8_from_utf16(from_hex(c.utf16)), c.utf8) << c.utf16;
    }
}

TEST(Utf16, RefusesWhatIsNotText) {
    for (const char* const utf8 : {"80", "C0 80", "C3", "C3 28", "E0 9F BF", "E2 82", "ED A0 80", "ED BF BF",
                                   "F0 8F BF BF", "F4 90 80 80", "F8 88 80 80 80", "FF", "41 BF"}) {
        EXPECT_FALSE(utf16_from_utf8(from_hex(utf8)).has_value()) << utf8;
    }
    for (const char* const utf16 :
         {"00", "D800", "DC00", "D800 0041", "D800 D800", "DC00 D800", "0041 DBFF", "D800 E000"}) {
        EXPECT_FALSE(utf8_from_utf16(from_hex(utf16)).has_value()) << utf16;
    }
}

TEST(BmpPassword, EndsWithTwoZerosAndWidensOtherOctets) {
    EXPECT_EQ(to_hex(bmp_password("").view()), "00 00");
    EXPECT_EQ(to_hex(bmp_password("Пя").view()), "04 1F 04 4F 00 00");
    EXPECT_EQ(to_hex(bmp_password("A\xFF").view()), "00 41 00 FF 00 00");
}

} // namespace
