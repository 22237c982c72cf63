// What is left in the memory of the process after secrets were used.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "gost/ciphers.h"
#include "gost/crypto.h"
#include "gost/sanitized.h"
#include "gost/work_with_secrets.h"
#include "testing/bytes.h"

namespace {

using namespace derkit::gost;

constexpr unsigned char MASK = 0x5A;
constexpr unsigned long LARGEST_REGION = 1UL << 28; // those of sanitizers are larger

// Octets that only exist masked, so that looking for them does not find themselves.
class hidden_t {
  public:
    explicit hidden_t(std::string masked) : masked_(std::move(masked)) {}
    std::size_t size() const { return masked_.size(); }

    // The same, last octet first: as numbers lie in memory.
    hidden_t reversed() const { return hidden_t(std::string(masked_.rbegin(), masked_.rend())); }

    void unmask(secret& out) const {
        out.resize(masked_.size());
        std::transform(masked_.begin(), masked_.end(), out.data(),
                       [](char octet) { return static_cast<unsigned char>(octet ^ MASK); });
    }

    // Whether the octets lie in a piece of memory.
    bool is_in(const char* memory, std::size_t size) const {
        const auto equal = [](char octet, char masked) { return (octet ^ MASK) == masked; };
        return std::search(memory, memory + size, masked_.begin(), masked_.end(), equal) != memory + size;
    }

  private:
    std::string masked_;
};

// Lists the writable regions that hold the octets.
std::string regions_with(const hidden_t& wanted) {
    static char piece[1 << 20];
    std::ifstream maps("/proc/self/maps");
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    std::string found;
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0, end = 0;
        char dash = 0;
        std::string access;
        std::istringstream(line) >> std::hex >> begin >> dash >> end >> access;
        const bool is_piece =
            begin <= reinterpret_cast<unsigned long>(piece) && reinterpret_cast<unsigned long>(piece) < end;
        if (!access.starts_with("rw") || end - begin > LARGEST_REGION || is_piece) {
            continue;
        }
        // Pieces overlap, so that nothing hides across their border.
        for (unsigned long at = begin; at < end; at += sizeof piece - wanted.size()) {
            const ssize_t size =
                pread64(memory, piece, std::min<unsigned long>(sizeof piece, end - at), static_cast<off64_t>(at));
            if (size > 0 && wanted.is_in(piece, static_cast<std::size_t>(size))) {
                found += line + "\n";
                break;
            }
        }
    }
    std::fill(std::begin(piece), std::end(piece), '\0');
    close(memory);
    return found;
}

// AddressSanitizer keeps freed blocks, and terabytes of its own.
class Memory : public testing::Test {
  protected:
    void SetUp() override {
        if (SANITIZED) {
            GTEST_SKIP() << "the memory of a sanitized program is not searched";
        }
    }
};

// A password, the number of a private key and the key of a cipher. Masked, and of no other use.
const hidden_t PASSWORD(from_hex("2B 5F 6E 59 44 47 5D 62 38 31 4A 50 7C 65 53 58 66 2F 23 5B"));
const hidden_t
    KEY(from_hex("91 0C D7 3E 58 A2 6B F4 15 C9 80 47 DB 22 7E B6 03 9F 61 EC 2A 74 C8 5D B0 1E 93 F7 4C 86 D5 39"));

const hidden_t CIPHER_KEY(
    from_hex("0D B5 6A E1 42 9F 33 C6 78 1B D4 8E 50 A7 2C F9 E4 61 97 0A BC 35 D8 43 1F 86 CA 5E F2 29 74 B0"));

TEST_F(Memory, IsSearchedThroughout) {
    secret password;
    PASSWORD.unmask(password);
    EXPECT_NE(regions_with(PASSWORD), "");
    password.clear();
    EXPECT_EQ(regions_with(PASSWORD), "");
    std::string copy(KEY.size(), '\0');
    {
        secret key;
        KEY.unmask(key);
        copy.assign(key.view());
    }
    EXPECT_NE(regions_with(KEY), "");
    wipe(copy.data(), copy.size());
    EXPECT_EQ(regions_with(KEY), "");
}

TEST_F(Memory, KeepsNoSecretAfterItWasUsed) {
    for (const work_t& work : all_work()) {
        {
            secret password, key;
            PASSWORD.unmask(password);
            KEY.unmask(key);
            const secret info = secret_der(asn_tag_t::SEQUENCE, {std::string_view("\x02\x01\0\x30\0\x04\x20", 7), key});
            EXPECT_EQ(work.run(password, info), cause::none) << work.name;
            EXPECT_NE(regions_with(KEY), "") << "now it is there";
        }
        EXPECT_EQ(regions_with(PASSWORD), "") << work.name;
        // libderkit's writer does not wipe the buffers in which it joins plaintexts.
        if (!work.name.ends_with("form")) {
            EXPECT_EQ(regions_with(KEY), "") << work.name;
            EXPECT_EQ(regions_with(KEY.reversed()), "") << work.name;
        }
    }
}

TEST_F(Memory, KeepsNoKeyOfACipher) {
    using run_t = result<secret> (*)(std::string_view key);
    const std::pair<const char*, run_t> RUNS[] = {
        {"GOST 28147-89",
         [](std::string_view key) {
             return gost28147_cfb(direction::ENCRYPT, "1.2.643.2.2.31.1", key, "iviviviv", std::string(3000, 't'));
         }},
        {"Kuznyechik",
         [](std::string_view key) {
             return ctr_acpkm(block_cipher_id::KUZNYECHIK, 4096, key, "iviviviv", std::string(5000, 't'));
         }},
        {"Magma",
         [](std::string_view key) {
             return ctr_acpkm(block_cipher_id::MAGMA, 1024, key, "iviv", std::string(5000, 't'));
         }},
        {"AES",
         [](std::string_view key) {
             return run_classic(direction::ENCRYPT, classic_cipher::AES, key, "iviviviviviviviv", "text");
         }},
        {"HMAC", [](std::string_view key) { return hmac(digest_id::STREEBOG512, key, "text"); }},
        {"KDF_TREE", [](std::string_view key) { return kdf_tree(key, "label", "seed"); }},
        {"OMAC with Kuznyechik", [](std::string_view key) { return omac(block_cipher_id::KUZNYECHIK, key, "text"); }},
        {"OMAC with Magma", [](std::string_view key) { return omac(block_cipher_id::MAGMA, key, "text"); }},
        {"PBKDF2", [](std::string_view key) { return pbkdf2(digest_id::GOST94, key, "salt", 1, 32); }},
        {"appendix B",
         [](std::string_view key) {
             return pkcs12_kdf(digest_id::SHA1, pkcs12_purpose::KEY, bmp_password(key), key, 1, 32);
         }},
    };
    for (const auto& [name, run] : RUNS) {
        {
            secret key;
            CIPHER_KEY.unmask(key);
            const result<secret> done = run(key);
            EXPECT_TRUE(done) << name << ": " << done.message();
        }
        EXPECT_EQ(regions_with(CIPHER_KEY), "") << name;
    }
}

} // namespace
