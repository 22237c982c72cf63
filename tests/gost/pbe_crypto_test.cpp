// The crypto object with libderkit's own reader and writer.
#include <gtest/gtest.h>

#include <string>

#include "derkit/gost/pbe_crypto.h"
#include "derkit/pkcs12_helper.h"
#include "gost/der.h"
#include "gost/test_data.h"

namespace {

using namespace derkit::gost;

bool read(const std::string& file, pbe_crypto& crypto, pkcs12_easy_t& easy) {
    return asn_read_pkcs12_easy(file.data(), static_cast<unsigned int>(file.size()), &crypto, easy);
}

TEST(PbeCrypto, OpensWhatOpenSslWrites) {
    const struct {
        const char* file;
        const char* password;
        std::size_t num_bags;
        mac_key key;
    } CASES[] = {{"2001.p12", "секрет-2001", 2, mac_key::pbkdf2},
                 {"2012-256.p12", "секрет-2012-256", 2, mac_key::pbkdf2},
                 {"2012-512.p12", "секрет-2012-512", 2, mac_key::pbkdf2},
                 {"chain.p12", "секрет", 4, mac_key::pbkdf2},
                 {"empty-password.p12", "", 2, mac_key::pbkdf2},
                 {"mac-by-pkcs12-kdf.p12", "секрет", 2, mac_key::pkcs12_kdf}};
    for (const auto& c : CASES) {
        pbe_crypto crypto(c.password);
        pkcs12_easy_t easy;
        EXPECT_TRUE(read(test_data(c.file), crypto, easy)) << c.file;
        EXPECT_EQ(easy.plain_bags.size() + easy.encrypted_bags.size(), c.num_bags) << c.file;
        EXPECT_EQ(crypto.verified_mac_key(), c.key) << c.file;
        EXPECT_EQ(crypto.form(), container_form::standard) << c.file;
        EXPECT_TRUE(crypto.refusals().empty()) << c.file << ": " << crypto.refusals().front().message();
    }
}

struct refused_case_t {
    const char* file;
    const char* password;
    bool opened;
    std::vector<cause> refusals;
};

const refused_case_t REFUSED[] = {
    {"2001.p12", "другой", false, {cause::wrong_mac}},
    {"broken-mac.p12", "секрет-2001", false, {cause::wrong_mac}},
    {"mixed-sha256-mac.p12", "secret", true, {}},
    // The library's reader skips what is not of its one profile, without asking.
    {"mixed-aes.p12", "secret", true, {}},
};

TEST(PbeCrypto, RemembersWhyItRefused) {
    for (const refused_case_t& c : REFUSED) {
        pbe_crypto crypto(c.password);
        pkcs12_easy_t easy;
        EXPECT_EQ(read(test_data(c.file), crypto, easy), c.opened) << c.file;
        std::vector<cause> causes;
        for (const failure& refusal : crypto.refusals()) {
            causes.push_back(refusal.why);
        }
        EXPECT_EQ(causes, c.refusals) << c.file;
        if (!c.opened) {
            EXPECT_EQ(crypto.verified_mac_key(), mac_key::unknown) << c.file;
        }
        crypto.clear_refusals();
        EXPECT_TRUE(crypto.refusals().empty());
    }
}

TEST(PbeCrypto, HeedsItsLimits) {
    limits cost;
    cost.max_iterations = 1999;
    pbe_crypto few("секрет-2001", container_form::standard, cost);
    pkcs12_easy_t easy;
    EXPECT_FALSE(read(test_data("2001.p12"), few, easy));
    ASSERT_EQ(few.refusals().size(), 1U);
    EXPECT_EQ(few.refusals()[0].message(), "the iteration count is above the limit: 2000");

    cost = limits();
    cost.max_total_iterations = 3 * 2000; // enough for the MAC
    pbe_crypto little("секрет-2001", container_form::standard, cost);
    EXPECT_TRUE(read(test_data("2001.p12"), little, easy));
    ASSERT_EQ(little.refusals().size(), 2U);
    EXPECT_EQ(little.refusals()[0].why, cause::budget_exhausted);
    EXPECT_TRUE(easy.encrypted_bags.empty());
}

pkcs12_bag_t bag_of(unsigned int type, const std::string& value) {
    pkcs12_bag_t bag;
    bag.type = type;
    bag.value = blob_of(value);
    return bag;
}

const std::string PRIVATE_KEY = from_hex("3007 020100 3000 0400");

TEST(PbeCrypto, WritesBothFormsThatItReads) {
    const std::string certificate(300, 'c');
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(1, certificate), bag_of(0, PRIVATE_KEY)};
    for (const container_form form : {container_form::standard, container_form::native}) {
        pbe_crypto crypto("пароль", form);
        crypto.set_iterations(257);
        std::string file;
        asn_write_pkcs12_easy(easy, &crypto, file);
        EXPECT_TRUE(crypto.refusals().empty());

        pbe_crypto reading("пароль");
        pkcs12_easy_t back;
        EXPECT_TRUE(read(file, reading, back));
        EXPECT_EQ(reading.form(), form);
        EXPECT_EQ(back.mac.iterations, 257U);
        ASSERT_EQ(back.encrypted_bags.size(), 2U);
        EXPECT_EQ(text_of(back.encrypted_bags.front().value), certificate);
        EXPECT_EQ(text_of(back.encrypted_bags.back().value), PRIVATE_KEY);
    }
}

TEST(PbeCrypto, RefusesIterationsThatTheLibraryWouldWriteWrongly) {
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(0, PRIVATE_KEY)};
    for (const std::uint32_t iterations : {0U, 256U, 2048U, 65537U, 100'000'001U}) {
        pbe_crypto crypto("пароль");
        crypto.set_iterations(iterations);
        std::string file;
        asn_write_pkcs12_easy(easy, &crypto, file);
        ASSERT_EQ(crypto.refusals().size(), 2U) << iterations; // of encryption and MAC
        const cause expected = iterations == 100'000'001U ? cause::too_many_iterations : cause::invalid_argument;
        EXPECT_EQ(crypto.refusals()[0].why, expected) << iterations;
        EXPECT_EQ(crypto.refusals()[1].why, expected) << iterations;
    }
}

// The library writes the length 65,536 too short: 81 00.
TEST(PbeCrypto, RefusesContentWhoseLengthTheLibraryWritesWrongly) {
    const std::string element = from_hex("048100") + std::string(65536, 'x');
    pbe_crypto crypto("пароль");
    pkcs12_mac_t mac;
    pkcs5_pbe_gost_t params;
    std::string out = "old";
    EXPECT_FALSE(crypto.make_mac(element.data(), static_cast<unsigned int>(element.size()), mac));
    EXPECT_FALSE(crypto.encrypt(element.data(), static_cast<unsigned int>(element.size()), params, out));
    ASSERT_EQ(crypto.refusals().size(), 2U);
    EXPECT_EQ(crypto.refusals()[0].why, cause::too_large);
    EXPECT_EQ(crypto.refusals()[1].why, cause::too_large);
    EXPECT_EQ(out, "");
}

TEST(PbeCrypto, ReplacesWhatTheStringHeld) {
    pbe_crypto crypto("пароль");
    pkcs5_pbe_gost_t params;
    std::string ciphertext = "old", plain = "old";
    ASSERT_TRUE(crypto.encrypt(PRIVATE_KEY.data(), static_cast<unsigned int>(PRIVATE_KEY.size()), params, ciphertext));
    EXPECT_EQ(ciphertext.size(), PRIVATE_KEY.size());
    EXPECT_TRUE(crypto.decrypt(params, ciphertext.data(), static_cast<unsigned int>(ciphertext.size()), plain));
    EXPECT_EQ(to_hex(plain), to_hex(PRIVATE_KEY));
}

TEST(PbeCrypto, RefusesParametersAndPlaintextsThatAreNone) {
    pbe_crypto crypto("пароль");
    const std::string salt = "salt", iv = "iviviviv", text = "text";
    pkcs5_pbe_gost_t good;
    good.salt = blob_of(salt);
    good.iterations = 1;
    good.iv = blob_of(iv);
    const auto decrypt = [&](const pkcs5_pbe_gost_t& params) {
        std::string out = "old";
        crypto.clear_refusals();
        EXPECT_FALSE(crypto.decrypt(params, text.data(), static_cast<unsigned int>(text.size()), out));
        EXPECT_EQ(out, "");
        return crypto.refusals().size() == 1 ? crypto.refusals()[0].why : cause::none;
    };
    EXPECT_EQ(decrypt(good), cause::wrong_password);
    pkcs5_pbe_gost_t bad = good;
    bad.salt = blob_t();
    EXPECT_EQ(decrypt(bad), cause::malformed_parameters);
    bad = good;
    bad.iterations = 0;
    EXPECT_EQ(decrypt(bad), cause::malformed_parameters);
    bad = good;
    bad.iv.size = 7;
    EXPECT_EQ(decrypt(bad), cause::malformed_parameters);
    bad = good;
    bad.iterations = limits().max_iterations + 1;
    EXPECT_EQ(decrypt(bad), cause::too_many_iterations);
}

} // namespace
