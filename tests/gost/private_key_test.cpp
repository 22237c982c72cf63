// Private keys: shapes, parameter sets, public keys, encryption and refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "derkit/gost/pem.h"
#include "derkit/gost/private_key.h"
#include "testing/bytes.h"
#include "testing/der.h"

namespace {

using namespace derkit::gost;

constexpr const char* GOST_2001 = "1.2.643.2.2.19";
constexpr const char* GOST_2012_256 = "1.2.643.7.1.1.1.1";
constexpr const char* GOST_2012_512 = "1.2.643.7.1.1.1.2";
constexpr const char* CRYPTOPRO_A = "1.2.643.2.2.35.1";
constexpr const char* TC26_256_A = "1.2.643.7.1.2.1.1.1";
constexpr const char* TC26_512_A = "1.2.643.7.1.2.1.2.1";

// The order of CryptoPro-A, one less and half of one more (RFC 4357 11.4).
constexpr const char* Q = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B893";
constexpr const char* Q_MINUS_1 = "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B892";
constexpr const char* HALF_OF_Q_PLUS_1 = "7FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFB63088384CAD688022C20D84DBB0DC4A";

constexpr const char* NUMBER = "0102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F20";

std::string hex(std::string_view octets) {
    std::string text = to_hex(octets);
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

std::string reversed(std::string octets) {
    std::reverse(octets.begin(), octets.end());
    return octets;
}

std::string little_endian(const char* number) {
    return reversed(from_hex(number));
}

der_t key_algorithm(const std::string& algorithm, const std::string& param_set) {
    return der_sequence({der_oid(algorithm), der_sequence({der_oid(param_set)})});
}

// A PrivateKeyInfo whose privateKey has this content.
std::string key_info(std::string_view content, const std::string& algorithm = GOST_2001,
                     const std::string& param_set = CRYPTOPRO_A, der_members_t after = {}) {
    der_members_t members = {der_integer("00"), key_algorithm(algorithm, param_set), der_octet_string(content)};
    members.insert(members.end(), after.begin(), after.end());
    return encode(der_sequence(members));
}

std::string octet_string(const std::string& content) {
    return encode(der_octet_string(content));
}

std::string integer(const char* content) {
    return encode(der_integer(content));
}

TEST(PrivateKeyShapes, AreRead) {
    const std::string number = little_endian(NUMBER);
    const std::string times_two = little_endian("0204060806080A0C0E10121416181A1C1E20222426282A2C2E30323436383A3C");
    const struct {
        const char* name;
        std::string content;
        key_shape shape;
        const char* number;
    } CASES[] = {
        {"octets", number, key_shape::octets, NUMBER},
        {"OCTET STRING", octet_string(number), key_shape::octet_string, NUMBER},
        {"INTEGER", integer(NUMBER), key_shape::integer, NUMBER},
        {"short INTEGER", integer("05"), key_shape::integer,
         "0000000000000000000000000000000000000000000000000000000000000005"},
        {"INTEGER with its zero octet", integer("00FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B892"),
         key_shape::integer, Q_MINUS_1},
        {"INTEGER without its zero octet", integer(Q_MINUS_1), key_shape::integer, Q_MINUS_1},
        // times 1; times 2, which is divided by 2 again; times -1, so that q - 1 times -1 is 1
        {"mask of 1", number + little_endian("0000000000000000000000000000000000000000000000000000000000000001"),
         key_shape::masked, NUMBER},
        {"two masks that cancel out",
         number + little_endian("0000000000000000000000000000000000000000000000000000000000000002") +
             little_endian(HALF_OF_Q_PLUS_1),
         key_shape::masked, NUMBER},
        {"mask of q - 1", little_endian(Q_MINUS_1) + little_endian(Q_MINUS_1), key_shape::masked,
         "0000000000000000000000000000000000000000000000000000000000000001"},
        {"mask in an OCTET STRING", octet_string(little_endian(Q_MINUS_1) + little_endian(Q_MINUS_1)),
         key_shape::masked, "0000000000000000000000000000000000000000000000000000000000000001"},
    };
    for (const auto& c : CASES) {
        const result<private_key> key = private_key::read(key_info(c.content));
        ASSERT_TRUE(key) << c.name << ": " << key.message();
        EXPECT_EQ(hex(key->number().view()), c.number) << c.name;
        EXPECT_EQ(key->shape(), c.shape) << c.name;
        EXPECT_EQ(key->family(), key_family::gost2001) << c.name;
        EXPECT_EQ(key->param_set().oid, CRYPTOPRO_A) << c.name;
        EXPECT_EQ(key->digest_param_set().oid, "") << c.name;
    }
}

// The public key of the number 1 is the base point (RFC 4357 11.4, RFC 7836 A).
constexpr struct {
    const char* param_set;
    const char* algorithm;
    const char* x;
    const char* y;
} BASE_POINTS[] = {
    {CRYPTOPRO_A, GOST_2001, "0000000000000000000000000000000000000000000000000000000000000001",
     "8D91E471E0989CDA27DF505A453F2B7635294F2DDF23E3B122ACC99C9E9F1E14"},
    {"1.2.643.2.2.36.0", GOST_2001, "0000000000000000000000000000000000000000000000000000000000000001",
     "8D91E471E0989CDA27DF505A453F2B7635294F2DDF23E3B122ACC99C9E9F1E14"},
    {"1.2.643.7.1.2.1.1.2", GOST_2012_256, "0000000000000000000000000000000000000000000000000000000000000001",
     "8D91E471E0989CDA27DF505A453F2B7635294F2DDF23E3B122ACC99C9E9F1E14"},
    {"1.2.643.2.2.35.2", GOST_2001, "0000000000000000000000000000000000000000000000000000000000000001",
     "3FA8124359F96680B83D1C3EB2C070E5C545C9858D03ECFB744BF8D717717EFC"},
    {"1.2.643.7.1.2.1.1.3", GOST_2012_256, "0000000000000000000000000000000000000000000000000000000000000001",
     "3FA8124359F96680B83D1C3EB2C070E5C545C9858D03ECFB744BF8D717717EFC"},
    {"1.2.643.2.2.35.3", GOST_2001, "0000000000000000000000000000000000000000000000000000000000000000",
     "41ECE55743711A8C3CBF3783CD08C0EE4D4DC440D4641A8F366E550DFDB3BB67"},
    {"1.2.643.2.2.36.1", GOST_2012_256, "0000000000000000000000000000000000000000000000000000000000000000",
     "41ECE55743711A8C3CBF3783CD08C0EE4D4DC440D4641A8F366E550DFDB3BB67"},
    {"1.2.643.7.1.2.1.1.4", GOST_2012_256, "0000000000000000000000000000000000000000000000000000000000000000",
     "41ECE55743711A8C3CBF3783CD08C0EE4D4DC440D4641A8F366E550DFDB3BB67"},
    {TC26_256_A, GOST_2012_256, "91E38443A5E82C0D880923425712B2BB658B9196932E02C78B2582FE742DAA28",
     "32879423AB1A0375895786C4BB46E9565FDE0B5344766740AF268ADB32322E5C"},
    {TC26_512_A, GOST_2012_512,
     "0000000000000000000000000000000000000000000000000000000000000000"
     "0000000000000000000000000000000000000000000000000000000000000003",
     "7503CFE87A836AE3A61B8816E25450E6CE5E1C93ACF1ABC1778064FDCBEFA921"
     "DF1626BE4FD036E93D75E6A50E3A41E98028FE5FC235F5B889A589CB5215F2A4"},
    {"1.2.643.7.1.2.1.2.2", GOST_2012_512,
     "0000000000000000000000000000000000000000000000000000000000000000"
     "0000000000000000000000000000000000000000000000000000000000000002",
     "1A8F7EDA389B094C2C071E3647A8940F3C123B697578C213BE6DD9E6C8EC7335"
     "DCB228FD1EDF4A39152CBCAAF8C0398828041055F94CEEEC7E21340780FE41BD"},
    {"1.2.643.7.1.2.1.2.3", GOST_2012_512,
     "E2E31EDFC23DE7BDEBE241CE593EF5DE2295B7A9CBAEF021D385F7074CEA043A"
     "A27272A7AE602BF2A7B9033DB9ED3610C6FB85487EAE97AAC5BC7928C1950148",
     "F5CE40D95B5EB899ABBCCFF5911CB8577939804D6527378B8C108C3D2090FF9B"
     "E18E2D33E3021ED2EF32D85822423B6304F726AA854BAE07D0396E9A9ADDC40F"},
};

TEST(PrivateKeyCurves, HaveTheStandardsBasePoints) {
    for (const auto& c : BASE_POINTS) {
        const std::size_t size = from_hex(c.x).size();
        const std::string one = from_hex("01") + std::string(size - 1, '\0');
        const std::string point = little_endian(c.x) + little_endian(c.y);
        const der_t bits = der_element(0x81, std::string(1, '\0') + octet_string(point));
        const result<private_key> key = private_key::read(key_info(one, c.algorithm, c.param_set, {bits}));
        ASSERT_TRUE(key) << c.param_set << ": " << key.message();
        const result<std::string> public_key = key->public_key();
        ASSERT_TRUE(public_key) << c.param_set;
        EXPECT_EQ(hex(*public_key), hex(point)) << c.param_set;
        EXPECT_NE(key->param_set().name, "") << c.param_set;
    }
}

TEST(PrivateKeyInfo, PublicKeyMustBeThatOfTheKey) {
    const std::string one = from_hex("01") + std::string(31, '\0');
    const std::string point = little_endian(BASE_POINTS[0].x) + little_endian(BASE_POINTS[0].y);
    std::string other = point;
    other[63] = static_cast<char>(other[63] ^ 1);
    const auto in_bit_string = [](const std::string& octets) {
        return der_members_t{der_element(0x81, std::string(1, '\0') + octets)};
    };
    const auto in_sequence = [&](const std::string& octets) {
        return encode(der_sequence({der_octet_string(one), der_octet_string(octets)}));
    };
    const struct {
        const char* name;
        std::string der;
        cause why;
    } CASES[] = {
        {"in [1]", key_info(one, GOST_2001, CRYPTOPRO_A, in_bit_string(octet_string(point))), cause::none},
        {"in [1] without OCTET STRING", key_info(one, GOST_2001, CRYPTOPRO_A, in_bit_string(point)), cause::none},
        {"another in [1]", key_info(one, GOST_2001, CRYPTOPRO_A, in_bit_string(octet_string(other))),
         cause::public_key_mismatch},
        {"a short one in [1]", key_info(one, GOST_2001, CRYPTOPRO_A, in_bit_string(point.substr(1))),
         cause::public_key_mismatch},
        {"in a SEQUENCE", key_info(in_sequence(point), GOST_2012_256), cause::none},
        {"another in a SEQUENCE", key_info(in_sequence(other), GOST_2012_256), cause::public_key_mismatch},
        {"a short one in a SEQUENCE", key_info(in_sequence(point.substr(1)), GOST_2012_256), cause::malformed},
        {"on an unknown curve", key_info(one, GOST_2001, "1.2.3", in_bit_string(octet_string(other))), cause::none},
    };
    for (const auto& c : CASES) {
        EXPECT_EQ(name_of(private_key::read(c.der).why()), std::string(name_of(c.why))) << c.name;
        const result<key_outline> outline = private_key::inspect(c.der);
        ASSERT_TRUE(outline) << c.name;
        EXPECT_EQ(outline->has_public_key, c.why != cause::malformed) << c.name;
    }
}

TEST(PrivateKeyInfo, IsRefused) {
    const std::string number = little_endian(NUMBER);
    const std::string zero(32, '\0');
    const std::string whole = key_info(number);
    const der_t algorithm = key_algorithm(GOST_2001, CRYPTOPRO_A);
    const struct {
        const char* name;
        std::string der;
        cause why;
    } CASES[] = {
        {"nothing", "", cause::malformed},
        {"an octet after it", whole + '\0', cause::malformed},
        {"another tag", '\x31' + whole.substr(1), cause::malformed},
        {"no version", encode(der_sequence({der_null()})), cause::malformed},
        {"no key", encode(der_sequence({der_integer("00"), algorithm})), cause::malformed},
        {"cut attributes", key_info(number, GOST_2001, CRYPTOPRO_A, {der_raw("A0 05 00")}), cause::malformed},
        {"zero", key_info(zero), cause::key_out_of_range},
        {"zero on an unknown curve", key_info(zero, GOST_2001, "1.2.3"), cause::key_out_of_range},
        {"the order", key_info(little_endian(Q)), cause::key_out_of_range},
        {"the order as INTEGER", key_info(integer(Q)), cause::key_out_of_range},
        {"all ones", key_info(std::string(32, '\xFF')), cause::key_out_of_range},
        {"masked zero", key_info(zero + number), cause::key_out_of_range},
        {"a mask of zero", key_info(number + zero), cause::key_out_of_range},
        {"31 octets", key_info(number.substr(1)), cause::malformed},
        {"33 octets", key_info(number + '\0'), cause::malformed},
        {"no octets", key_info(""), cause::malformed},
        {"17 masks", key_info(std::string(32 * 18, '\1')), cause::malformed},
        {"OCTET STRING of 31 octets", key_info(octet_string(number.substr(1))), cause::malformed},
        {"empty OCTET STRING", key_info(octet_string("")), cause::malformed},
        {"OCTET STRING with an octet after it", key_info(octet_string(number) + '\0'), cause::malformed},
        {"empty INTEGER", key_info(integer("")), cause::malformed},
        {"INTEGER of 33 octets",
         key_info(integer("01 0000000000000000000000000000000000000000000000000000000000000000")), cause::malformed},
        {"INTEGER with an octet after it", key_info(integer("05") + '\0'), cause::malformed},
        {"a mask on an unknown curve", key_info(number + number, GOST_2001, "1.2.3"), cause::unsupported_param_set},
        {"a curve of the other size", key_info(number, GOST_2001, TC26_512_A), cause::malformed_parameters},
        {"no parameters",
         encode(der_sequence({der_integer("00"), der_sequence({der_oid(GOST_2001)}), der_octet_string(number)})),
         cause::malformed_parameters},
        {"parameters that are cut short inside",
         encode(der_sequence(
             {der_integer("00"),
              der_sequence({der_oid(GOST_2001), der_sequence({der_oid(CRYPTOPRO_A), der_raw("26 02 05 01")})}),
              der_octet_string(number)})),
         cause::malformed},
        {"RSA",
         encode(der_sequence({der_integer("00"), der_sequence({der_oid("1.2.840.113549.1.1.1"), der_null()}),
                              der_octet_string(number)})),
         cause::unsupported_key},
        {"EC, whose parameters are a primitive element",
         encode(der_sequence({der_integer("00"),
                              der_sequence({der_oid("1.2.840.10045.2.1"), der_oid("1.2.840.10045.3.1.7")}),
                              der_octet_string(number)})),
         cause::unsupported_key},
    };
    for (const auto& c : CASES) {
        EXPECT_EQ(name_of(private_key::read(c.der).why()), std::string(name_of(c.why))) << c.name;
    }
}

// Every prefix on a heap block of its exact size.
TEST(PrivateKeyInfo, PrefixesAreRefused) {
    const std::string whole = key_info(octet_string(little_endian(NUMBER)));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const auto block = std::make_unique<char[]>(size);
        std::copy_n(whole.data(), size, block.get());
        EXPECT_EQ(private_key::read({block.get(), size}).why(), cause::malformed) << size;
        EXPECT_EQ(private_key::inspect({block.get(), size}).why(), cause::malformed) << size;
    }
}

TEST(PrivateKeyInfo, IsLimitedInSize) {
    limits cost;
    const std::string whole = key_info(little_endian(NUMBER));
    cost.max_size = whole.size();
    EXPECT_TRUE(private_key::read(whole, std::nullopt, cost));
    EXPECT_TRUE(private_key::inspect(whole, cost));
    cost.max_size = whole.size() - 1;
    EXPECT_EQ(private_key::read(whole, std::nullopt, cost).why(), cause::too_large);
    EXPECT_EQ(private_key::inspect(whole, cost).why(), cause::too_large);
}

TEST(PrivateKeyNumber, MustBeInRange) {
    const struct {
        const char* name;
        key_family family;
        const char* param_set;
        std::string number;
        cause why;
    } CASES[] = {
        {"a number", key_family::gost2001, CRYPTOPRO_A, from_hex(NUMBER), cause::none},
        {"the greatest", key_family::gost2012_256, CRYPTOPRO_A, from_hex(Q_MINUS_1), cause::none},
        {"the order", key_family::gost2012_256, CRYPTOPRO_A, from_hex(Q), cause::key_out_of_range},
        {"zero", key_family::gost2001, CRYPTOPRO_A, std::string(32, '\0'), cause::key_out_of_range},
        {"31 octets", key_family::gost2001, CRYPTOPRO_A, from_hex(NUMBER).substr(1), cause::key_out_of_range},
        {"a curve of the other size", key_family::gost2012_512, CRYPTOPRO_A, from_hex(NUMBER), cause::invalid_argument},
        {"no curve", key_family::gost2001, "1.2.3", from_hex(NUMBER), cause::unsupported_param_set},
    };
    for (const auto& c : CASES) {
        EXPECT_EQ(name_of(private_key::from_number(c.family, c.param_set, c.number).why()), std::string(name_of(c.why)))
            << c.name;
    }
}

// As openssl with its GOST engine names the digests (RFC 9215 4).
TEST(PrivateKeyNumber, HasTheParameterSetsOfItsCurve) {
    const struct {
        key_family family;
        const char* param_set;
        const char* digest;
    } CASES[] = {
        {key_family::gost2001, CRYPTOPRO_A, "1.2.643.2.2.30.1"},
        {key_family::gost2012_256, CRYPTOPRO_A, "1.2.643.7.1.1.2.2"},
        {key_family::gost2012_256, TC26_256_A, ""},
        {key_family::gost2012_512, TC26_512_A, "1.2.643.7.1.1.2.3"},
        {key_family::gost2012_512, "1.2.643.7.1.2.1.2.3", ""},
    };
    for (const auto& c : CASES) {
        const std::string number(c.family == key_family::gost2012_512 ? 64 : 32, '\1');
        const result<private_key> key = private_key::from_number(c.family, c.param_set, number);
        ASSERT_TRUE(key) << c.param_set;
        EXPECT_EQ(key->digest_param_set().oid, c.digest) << c.param_set;
        const result<secret> written = key->write();
        ASSERT_TRUE(written) << c.param_set;
        const result<private_key> again = private_key::read(*written);
        ASSERT_TRUE(again) << c.param_set;
        EXPECT_EQ(hex(again->number().view()), hex(number)) << c.param_set;
        EXPECT_EQ(again->digest_param_set().oid, c.digest) << c.param_set;
        EXPECT_EQ(again->param_set().oid, c.param_set);
        EXPECT_EQ(again->family(), c.family);
    }
}

TEST(PrivateKeyWriter, WritesShapes) {
    const std::string number = little_endian(NUMBER);
    const result<private_key> key = private_key::read(key_info(octet_string(number)));
    ASSERT_TRUE(key);
    const struct {
        key_shape shape;
        std::string content;
    } CASES[] = {{key_shape::octets, number},
                 {key_shape::octet_string, octet_string(number)},
                 {key_shape::integer, integer(NUMBER)}};
    for (const auto& c : CASES) {
        const result<secret> written = key->write(c.shape);
        ASSERT_TRUE(written) << name_of(c.shape);
        EXPECT_EQ(to_hex(written->view()), to_hex(key_info(c.content))) << name_of(c.shape);
    }
    EXPECT_EQ(key->write(key_shape::masked).why(), cause::invalid_argument);
}

// 02 1E and 30 octets would be read as a key of 32 octets; an INTEGER keeps a zero octet before a high bit.
TEST(PrivateKeyWriter, RefusesAnIntegerThatLooksLikeOctets) {
    const struct {
        const char* number;
        cause why;
    } CASES[] = {
        {"00007F030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F", cause::invalid_argument},
        {"0000FF030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F", cause::none},
        {"000000FF0405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F", cause::invalid_argument},
        {"0000007F0405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F", cause::none},
    };
    for (const auto& c : CASES) {
        const result<private_key> key = private_key::from_number(key_family::gost2001, CRYPTOPRO_A, from_hex(c.number));
        ASSERT_TRUE(key) << c.number;
        const result<secret> written = key->write(key_shape::integer);
        EXPECT_EQ(written.why(), c.why) << c.number;
        if (written) {
            EXPECT_EQ(hex(private_key::read(*written)->number().view()), c.number);
        }
    }
}

write_options options_of(format to, block_cipher cipher = block_cipher::kuznyechik) {
    write_options options;
    options.to = to;
    options.cipher = cipher;
    options.iterations = 3;
    return options;
}

std::vector<write_options> all_formats() {
    return {options_of(format::gost94),
            options_of(format::native),
            options_of(format::tc26),
            options_of(format::rfc9548),
            options_of(format::rfc9548, block_cipher::magma),
            options_of(format::rfc9548_omac),
            options_of(format::rfc9548_omac, block_cipher::magma),
            options_of(format::aes)};
}

TEST(EncryptedPrivateKey, ComesBackUnderItsPasswordOnly) {
    const result<private_key> key = private_key::read(key_info(little_endian(NUMBER)));
    ASSERT_TRUE(key);
    for (const write_options& options : all_formats()) {
        const int which = static_cast<int>(options.to);
        for (const char* const password : {"", "пароль"}) {
            const result<std::string> written = key->write_encrypted(password, options, key_shape::octet_string);
            ASSERT_TRUE(written) << which << ": " << written.message();
            const result<private_key> again = private_key::read(*written, password);
            ASSERT_TRUE(again) << which << ": " << again.message();
            EXPECT_EQ(hex(again->number().view()), NUMBER) << which;
            EXPECT_EQ(again->shape(), key_shape::octet_string) << which;
            EXPECT_EQ(private_key::read(*written).why(), cause::password_needed) << which;
            const cause wrong = private_key::read(*written, "another").why();
            EXPECT_TRUE(wrong == cause::wrong_password || wrong == cause::wrong_omac) << which << name_of(wrong);
            const result<key_outline> outline = private_key::inspect(*written);
            ASSERT_TRUE(outline && outline->encryption.has_value()) << which;
            EXPECT_EQ(outline->encryption->iterations, 3U) << which;
            EXPECT_FALSE(outline->encryption->unsupported.has_value()) << which;
            EXPECT_FALSE(outline->family.has_value()) << which;
        }
    }
}

TEST(EncryptedPrivateKey, IsDecryptedToAPrivateKeyInfo) {
    const result<private_key> key = private_key::read(key_info(little_endian(NUMBER)));
    ASSERT_TRUE(key);
    const std::string encrypted = *key->write_encrypted("password", options_of(format::rfc9548));
    EXPECT_EQ(private_key::decrypt(encrypted, "password")->view(), key->write()->view());
    EXPECT_EQ(private_key::decrypt(encrypted, "other").why(), cause::wrong_password);
    EXPECT_EQ(private_key::decrypt(encrypted, std::nullopt).why(), cause::password_needed);
    EXPECT_EQ(private_key::decrypt(*key->write(), "password").why(), cause::malformed);
    limits small;
    small.max_size = encrypted.size() - 1;
    EXPECT_EQ(private_key::decrypt(encrypted, "password", small).why(), cause::too_large);
}

// Octets of a key may look like a SEQUENCE by chance.
TEST(EncryptedPrivateKey, MayBeginLikeDer) {
    const std::string number = reversed(from_hex("30 1E FF FF") + std::string(28, '\1'));
    const result<private_key> key = private_key::from_number(key_family::gost2001, CRYPTOPRO_A, number);
    ASSERT_TRUE(key);
    for (const write_options& options : all_formats()) {
        const result<std::string> written = key->write_encrypted("password", options);
        ASSERT_TRUE(written);
        const result<private_key> again = private_key::read(*written, "password");
        ASSERT_TRUE(again) << static_cast<int>(options.to) << again.message();
        EXPECT_EQ(hex(again->number().view()), hex(number));
    }
}

TEST(EncryptedPrivateKey, PrefixesAreRefused) {
    const result<private_key> key = private_key::read(key_info(little_endian(NUMBER)));
    ASSERT_TRUE(key);
    const result<std::string> whole = key->write_encrypted("password", options_of(format::tc26));
    ASSERT_TRUE(whole);
    for (std::size_t size = 0; size < whole->size(); ++size) {
        const auto block = std::make_unique<char[]>(size);
        std::copy_n(whole->data(), size, block.get());
        EXPECT_EQ(private_key::read({block.get(), size}, "password").why(), cause::malformed) << size;
    }
    EXPECT_EQ(private_key::read(*whole + '\0', "password").why(), cause::malformed);
}

TEST(EncryptedPrivateKey, IterationsAreLimited) {
    const result<private_key> key = private_key::read(key_info(little_endian(NUMBER)));
    ASSERT_TRUE(key);
    const result<std::string> written = key->write_encrypted("password", options_of(format::tc26));
    ASSERT_TRUE(written);
    limits cost;
    cost.max_iterations = 3;
    EXPECT_TRUE(private_key::read(*written, "password", cost));
    cost.max_iterations = 2;
    EXPECT_EQ(private_key::read(*written, "password", cost).why(), cause::too_many_iterations);
    cost = limits();
    cost.max_total_iterations = 3;
    EXPECT_TRUE(private_key::read(*written, "password", cost));
    cost.max_total_iterations = 2;
    EXPECT_EQ(private_key::read(*written, "password", cost).why(), cause::budget_exhausted);
}

TEST(EncryptedPrivateKey, OtherSchemesAreNamed) {
    const auto encrypted = [](const std::string& algorithm) {
        return encode(der_sequence({der_sequence({der_oid(algorithm), der_null()}), der_octet_string("12345678")}));
    };
    EXPECT_EQ(private_key::read(encrypted("1.2.840.113549.1.12.1.80"), "password").why(), cause::vendor_scheme);
    EXPECT_EQ(private_key::read(encrypted("1.2.3"), "password").why(), cause::unsupported_scheme);
}

// Keys, certificates and encrypted keys that openssl made with its GOST engine (tests/data/make.sh).
std::string test_data(const std::string& name) {
    std::ifstream in(DERKIT_TEST_DATA "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(PrivateKeyFiles, AreReadAndBelongToTheirCertificates) {
    const struct {
        const char* name;
        key_family family;
        const char* param_set;
    } CASES[] = {{"2001", key_family::gost2001, CRYPTOPRO_A},
                 {"2012-256", key_family::gost2012_256, CRYPTOPRO_A},
                 {"2012-512", key_family::gost2012_512, TC26_512_A}};
    for (const auto& c : CASES) {
        const std::string name = c.name;
        const result<secret> plain = from_pem(test_data(name + ".key.pem"), "PRIVATE KEY");
        const result<secret> encrypted = from_pem(test_data(name + ".encrypted.pem"), "ENCRYPTED PRIVATE KEY");
        ASSERT_TRUE(plain && encrypted) << name;
        const result<private_key> key = private_key::read(*plain);
        ASSERT_TRUE(key) << name;
        EXPECT_EQ(key->family(), c.family) << name;
        EXPECT_EQ(key->param_set().oid, c.param_set) << name;
        const result<private_key> decrypted = private_key::read(*encrypted, "секрет-" + name);
        ASSERT_TRUE(decrypted) << name << decrypted.message();
        EXPECT_EQ(hex(decrypted->number().view()), hex(key->number().view())) << name;
        const result<secret> written = key->write();
        ASSERT_TRUE(written) << name;
        EXPECT_EQ(to_hex(written->view()), to_hex(plain->view())) << name;
        for (const auto& other : CASES) {
            const result<secret> certificate =
                from_pem(test_data(std::string(other.name) + ".cert.pem"), "CERTIFICATE");
            ASSERT_TRUE(certificate) << other.name;
            const result<bool> belongs = key->belongs_to(*certificate);
            ASSERT_TRUE(belongs) << name << ' ' << other.name;
            EXPECT_EQ(*belongs, name == other.name) << name << ' ' << other.name;
        }
    }
}

TEST(PrivateKeyCertificate, MustBeReadable) {
    const result<private_key> key = private_key::read(key_info(little_endian(NUMBER)));
    const result<private_key> unknown = private_key::read(key_info(little_endian(NUMBER), GOST_2001, "1.2.3"));
    ASSERT_TRUE(key && unknown);
    const result<secret> certificate = from_pem(test_data("2001.cert.pem"), "CERTIFICATE");
    ASSERT_TRUE(certificate);
    EXPECT_EQ(key->belongs_to("").why(), cause::malformed);
    EXPECT_EQ(key->belongs_to(key_info(little_endian(NUMBER))).why(), cause::malformed);
    EXPECT_EQ(unknown->belongs_to(*certificate).why(), cause::unsupported_param_set);
    EXPECT_EQ(unknown->public_key().why(), cause::unsupported_param_set);
}

TEST(PrivateKeyOutline, TellsWhatIsInTheFile) {
    const std::string number = little_endian(NUMBER);
    const result<key_outline> outline = private_key::inspect(
        key_info(number + number, "1.2.643.7.1.1.6.1", TC26_256_A, {der_element(0xA0, der_members_t{})}));
    ASSERT_TRUE(outline);
    EXPECT_EQ(outline->algorithm.oid, "1.2.643.7.1.1.6.1");
    EXPECT_EQ(outline->algorithm.name, "GOST R 34.10-2012 256 key agreement");
    EXPECT_EQ(outline->param_set.name, "id-tc26-gost-3410-2012-256-paramSetA");
    EXPECT_EQ(outline->family, key_family::gost2012_256);
    EXPECT_EQ(outline->shape, key_shape::masked);
    EXPECT_EQ(outline->size, 64U);
    EXPECT_TRUE(outline->has_attributes);
    EXPECT_FALSE(outline->has_public_key);
    EXPECT_FALSE(outline->encryption.has_value());
    const result<key_outline> unknown = private_key::inspect(key_info("??"));
    ASSERT_TRUE(unknown);
    EXPECT_FALSE(unknown->shape.has_value());
    EXPECT_EQ(unknown->size, 0U);
    const result<key_outline> other = private_key::inspect(key_info(number, "1.2.3"));
    ASSERT_TRUE(other);
    EXPECT_FALSE(other->family.has_value());
}

TEST(PrivateKeyObject, CopiesAndMoves) {
    result<private_key> key = private_key::read(key_info(little_endian(NUMBER)));
    ASSERT_TRUE(key);
    private_key copy = *key;
    const private_key moved = std::move(*key);
    EXPECT_EQ(hex(copy.number().view()), NUMBER);
    EXPECT_EQ(hex(moved.number().view()), NUMBER);
    const private_key& same = copy;
    copy = same;
    EXPECT_EQ(hex(copy.number().view()), NUMBER);
    private_key other = *private_key::from_number(key_family::gost2001, CRYPTOPRO_A, from_hex(Q_MINUS_1));
    copy = other;
    EXPECT_EQ(hex(copy.number().view()), Q_MINUS_1);
    copy = std::move(other);
    EXPECT_EQ(hex(copy.number().view()), Q_MINUS_1);
}

TEST(PrivateKeyNames, AreForPeople) {
    for (int i = 0; i <= static_cast<int>(key_family::gost2012_512); ++i) {
        EXPECT_NE(name_of(static_cast<key_family>(i)), std::string("unknown")) << i;
    }
    for (int i = 0; i <= static_cast<int>(key_shape::masked); ++i) {
        EXPECT_NE(name_of(static_cast<key_shape>(i)), std::string("unknown")) << i;
    }
    EXPECT_EQ(name_of(static_cast<key_family>(9)), std::string("unknown"));
    EXPECT_EQ(name_of(static_cast<key_shape>(9)), std::string("unknown"));
}

} // namespace
