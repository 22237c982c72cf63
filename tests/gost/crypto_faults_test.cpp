// Every call of libgcrypt and GnuTLS fails once.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "gost/crypto.h"
#include "gost/crypto_faults.h"
#include "gost/schemes.h"
#include "gost/test_data.h"
#include "gost/work_with_secrets.h"

namespace {

using namespace derkit::gost;

const std::string PRIVATE_KEY_INFO =
    der(asn_tag_t::SEQUENCE, {der_integer(0), from_hex("3000 0420"), std::string(32, 'k')});

TEST(CryptoFaults, AreReportedWhereverTheyHappen) {
    ASSERT_TRUE(start_gcrypt());
    for (const work_t& work : all_work()) {
        EXPECT_EQ(work.run("password", PRIVATE_KEY_INFO), cause::none) << work.name;
        std::size_t n = 1;
        cause why = cause::none;
        while (with_failing_call(n, [&] { why = work.run("password", PRIVATE_KEY_INFO); })) {
            EXPECT_STREQ(name_of(why), "crypto_failure") << work.name << ", call " << n;
            EXPECT_EQ(crypto_faults.num_open, 0U) << work.name << ", call " << n;
            ++n;
        }
        EXPECT_GT(n, 10U) << work.name << " hardly calls anything";
    }
}

// The old schemes are only read.
TEST(CryptoFaults, AreReportedByTheOldSchemes) {
    for (const auto& [options, der] : read_vectors("encrypted_keys.txt")) {
        asn_cursor_t in(der);
        asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
        const blob_t algorithm = fields.read(asn_tag_t::SEQUENCE), ciphertext = fields.read(asn_tag_t::OCTET_STRING);
        const auto open = [&] {
            session under("пароль", limits());
            return decrypt(under, algorithm, ciphertext, plaintext::PRIVATE_KEY_INFO).why();
        };
        if (!options.starts_with("-v1")) {
            continue;
        }
        cause why = open();
        EXPECT_EQ(why, cause::none) << options;
        // One digest takes thousands of calls, most of them alike.
        for (std::size_t n = 1; with_failing_call(n, [&] { why = open(); }); n += n < 8 || n > 2040 ? 1 : 508) {
            EXPECT_EQ(why, cause::crypto_failure) << options << ", call " << n;
            EXPECT_EQ(crypto_faults.num_open, 0U) << options << ", call " << n;
            if (n > 2060) {
                break;
            }
        }
    }
}

TEST(CryptoFaultsDeathTest, AnOldLibgcryptIsNotUsed) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe"; // a process that has not called libgcrypt yet
    EXPECT_EXIT(
        {
            bool refused = false;
            with_failing_call(1, [&] { refused = random_octets(1).why() == cause::crypto_failure; });
            refused = refused && hmac(digest_id::SHA1, "", "").why() == cause::crypto_failure &&
                      pbkdf2(digest_id::SHA1, "", "salt", 1, 1).why() == cause::crypto_failure;
            std::_Exit(refused ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
