// PBES2 parameters of the GOST profile: PBKDF2 with HMAC GOST R 34.11-94, GOST 28147-89.
#include <gtest/gtest.h>

#include <string>

#include "derkit/pkcs8_helper.h"
#include "pkcs/pkcs5_pbes2.h"
#include "support/der_reader.h"
#include "testing/pkcs_der.h"

namespace {

// "yes salt, iterations, iv"
std::string read_pbes2(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    pkcs5_pbe_gost_t pbe;
    pbe.salt = pbe.iv = untouched_view();
    pbe.iterations = UNTOUCHED_NUMBER;
    const bool accepted = asn_read_pkcs5_pbe_gost(input.data(), input.size(), pbe);
    return read_text(accepted, {field_text(pbe.salt, input), field_text(pbe.iterations), field_text(pbe.iv, input)});
}

std::string read_pbes2(const pbes2_t& pbes2) {
    return read_pbes2(encode_content(pbes2.whole()));
}

const std::string READ = "yes 73 61 6C 74, 2000, 69 76"; // pbes2_t() as it is

std::string write_pbes2(std::string_view salt, unsigned int iterations, std::string_view iv) {
    pkcs5_pbe_gost_t pbe;
    pbe.salt = view_of(salt);
    pbe.iterations = iterations;
    pbe.iv = view_of(iv);
    std::string out = "what was there before";
    asn_write_pkcs5_pbe_gost(pbe, out);
    return out;
}

// The same from the kit.
pbes2_t pbes2_of(std::string_view salt, const der_t& iterations, std::string_view iv) {
    pbes2_t pbes2;
    pbes2.salt = der_octet_string(salt);
    pbes2.iterations = iterations;
    pbes2.iv = der_octet_string(iv);
    return pbes2;
}

// Salt of 32 bytes, 2000 iterations, IV of 8 bytes.
std::string printed_example() {
    return from_hex("30 6D 06 09 2A 86 48 86 F7 0D 01 05 0D 30 60 30 3F 06 09 2A 86 48 86 F7 0D 01 05 0C 30 32 04 20") +
           counting_bytes(32, 0x81) +
           from_hex("02 02 07 D0 30 0A 06 06 2A 85 03 02 02 0A 05 00 30 1D 06 06 2A 85 03 02 02 15 30 13 04 08") +
           counting_bytes(8, 0xE1) + from_hex("06 07 2A 85 03 02 02 1F 01");
}

// Writing and reading back

TEST(pbes2, is_written_whole_and_read_from_its_content) {
    const std::string salt = counting_bytes(32, 0x81);
    const std::string iv = counting_bytes(8, 0xE1);
    EXPECT_TRUE(same_bytes(printed_example(), write_pbes2(salt, 2000, iv)));
    EXPECT_FALSE(is_accepted(read_pbes2(printed_example())));
    EXPECT_EQ("yes " + to_hex(salt) + ", 2000, " + to_hex(iv), read_pbes2(printed_example().substr(2)));
}

TEST(pbes2, is_read_alike_by_the_reader_of_encrypted_keys) {
    const exact_bytes_t input(encode_content(pbes2_t().whole()));
    pkcs5_pbe_gost_t pbe;
    EXPECT_TRUE(asn_read_pkcs5_PBES2(input.data(), input.size(), pbe));
    EXPECT_EQ("73 61 6C 74", field_text(pbe.salt, input));
    EXPECT_EQ(2000U, pbe.iterations);
    EXPECT_EQ("69 76", field_text(pbe.iv, input));
}

TEST(pbes2, has_salt_and_iv_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 7, 9, 10, 11, 33, 34, 35, 100, 127, 128, 255, 256, 1000, 30000}) {
        SCOPED_TRACE(size);
        const std::string bytes = counting_bytes(size, 1);
        const std::string text = size == 0 ? "empty" : to_hex(bytes);
        const pbes2_t long_salt = pbes2_of(bytes, der_integer("12 34 56 78"), "iv");
        EXPECT_TRUE(same_bytes(encode(long_salt.whole()), write_pbes2(bytes, 0x12345678, "iv")));
        EXPECT_EQ("yes " + text + ", 305419896, 69 76", read_pbes2(long_salt));
        const pbes2_t long_iv = pbes2_of("salt", der_integer("00 FF FF"), bytes);
        EXPECT_TRUE(same_bytes(encode(long_iv.whole()), write_pbes2("salt", 65535, bytes)));
        EXPECT_EQ("yes 73 61 6C 74, 65535, " + text, read_pbes2(long_iv));
    }
}

// Every zero octet of the count is left out, so some counts come back as others.
TEST(pbes2, has_a_count_that_is_written_without_its_zero_octets) {
    const struct {
        unsigned int iterations;
        const char* integer;
        unsigned int read_back;
    } counts[] = {
        {0, "00", 0},
        {1, "01", 1},
        {127, "7F", 127},
        {128, "00 80", 128},
        {255, "00 FF", 255},
        {256, "01", 1},
        {1000, "03 E8", 1000},
        {2000, "07 D0", 2000},
        {2048, "08", 8},
        {10000, "27 10", 10000},
        {32768, "00 80", 128},
        {0x10200, "01 02", 0x0102},
        {100000, "01 86 A0", 100000},
        {0x80000000, "00 80", 128},
        {0xFFFFFFFF, "00 FF FF FF FF", 0xFFFFFFFF},
    };
    for (const auto& c : counts) {
        SCOPED_TRACE(c.iterations);
        const pbes2_t expected = pbes2_of("salt", der_integer(c.integer), "iv");
        EXPECT_TRUE(same_bytes(encode(expected.whole()), write_pbes2("salt", c.iterations, "iv")));
        EXPECT_EQ("yes 73 61 6C 74, " + std::to_string(c.read_back) + ", 69 76", read_pbes2(expected));
    }
}

// Reading

TEST(pbes2, follows_the_rules_of_readers) {
    expect_rules_of_readers([](std::string_view bytes) { return read_pbes2(bytes); }, pbes2_t().whole(),
                            {.takes_content = true, .any_type = {der_null()}});
}

// The bounds hold for all octets but the last, so a fifth drops out at the top.
TEST(pbes2, has_a_count_of_32_bits_that_is_decoded_last) {
    const auto read_count = [](std::string_view integer) {
        return read_pbes2(pbes2_of("salt", der_element(-1, integer), "iv"));
    };
    expect_reads(read_count, "pbes2-count.txt");
}

TEST(pbes2, may_have_any_key_length_hmac_parameters_and_parameter_set) {
    for (const char* const key_length : {"02 01 20", "02 00", "02 01 80", "02 09 FF FF FF FF FF FF FF FF FF"}) {
        pbes2_t pbes2;
        pbes2.key_length = der_raw(key_length);
        EXPECT_EQ(READ, read_pbes2(pbes2)) << key_length;
    }
    for (const char* const params : {"05 00", "00 00", "30 00", "06 07 2A 85 03 02 02 1E 01", "04 02 FF FF", "FF 00"}) {
        pbes2_t pbes2;
        pbes2.hmac_params = der_raw(params);
        EXPECT_EQ(READ, read_pbes2(pbes2)) << params;
    }
    for (const char* const param_set : {"06 07 2A 85 03 02 02 1F 02", "06 09 2A 85 03 07 01 02 05 01 01", "06 00"}) {
        pbes2_t pbes2;
        pbes2.param_set = der_raw(param_set);
        EXPECT_EQ(READ, read_pbes2(pbes2)) << param_set;
    }
}

// What a refusal leaves filled shows the order of the steps: the encryption part first, then the derivation, then the
// OIDs of the derivation.
TEST(pbes2, keeps_what_was_read_when_it_is_refused) {
    const char* const nothing = "no -, -, -";
    const char* const iv = "no -, -, 69 76";
    const char* const salt_and_iv = "no 73 61 6C 74, -, 69 76";
    const struct {
        const char* name;
        void (*spoil)(pbes2_t&);
        const char* expected;
    } cases[] = {
        {"iv is no octet string", [](pbes2_t& p) { p.iv.tag = 0x30; }, nothing},
        {"no pbes2 OID", [](pbes2_t& p) { p.pbes2 = der_null(); }, nothing},
        {"no scheme OID", [](pbes2_t& p) { p.gost_28147 = der_null(); }, nothing},
        {"no parameter set", [](pbes2_t& p) { p.param_set = der_null(); }, iv},
        {"other scheme", [](pbes2_t& p) { p.gost_28147 = der_oid("1.2.643.2.2.22"); }, iv},
        {"PBES1", [](pbes2_t& p) { p.pbes2 = der_oid("1.2.840.113549.1.5.3"); }, iv},
        {"PBES1 and a broken derivation", [](pbes2_t& p) { p.pbes2.octets.back() = 3, p.pbkdf2 = der_raw("FF FF"); },
         iv},
        {"no derivation OID", [](pbes2_t& p) { p.pbkdf2 = der_null(); }, iv},
        {"salt of another source", [](pbes2_t& p) { p.salt.tag = 0x30; }, iv},
        {"no count", [](pbes2_t& p) { p.iterations = der_null(); }, salt_and_iv},
        {"two key lengths", [](pbes2_t& p) { p.key_length = der_raw("02 01 20 02 01 20"); }, salt_and_iv},
        {"key length cut short", [](pbes2_t& p) { p.key_length = der_raw("02 7F 20"); }, salt_and_iv},
        {"null for a key length", [](pbes2_t& p) { p.key_length = der_null(); }, salt_and_iv},
        {"no HMAC OID", [](pbes2_t& p) { p.hmac = der_null(); }, salt_and_iv},
        {"no HMAC parameters", [](pbes2_t& p) { p.hmac_params = der_raw(""); }, salt_and_iv},
        {"half a header for them", [](pbes2_t& p) { p.hmac_params = der_raw("05"); }, salt_and_iv},
        {"other derivation", [](pbes2_t& p) { p.pbkdf2 = der_oid("1.3.6.1.4.1.11591.4.11"); }, salt_and_iv},
        {"HMAC with SHA-1", [](pbes2_t& p) { p.hmac = der_oid("1.2.840.113549.2.7"); }, salt_and_iv},
        {"HMAC of GOST 2012", [](pbes2_t& p) { p.hmac = der_oid("1.2.643.7.1.1.4.1"); }, salt_and_iv},
    };
    for (const auto& c : cases) {
        pbes2_t pbes2;
        c.spoil(pbes2);
        EXPECT_EQ(c.expected, read_pbes2(pbes2)) << c.name;
    }
}

// AES has only the IV for its parameters (RFC 8018 B.2.5).
TEST(pbes2, is_refused_with_aes) {
    der_t whole = pbes2_t().whole();
    whole.members[1].members[1] =
        der_sequence({der_oid("2.16.840.1.101.3.4.1.42"), der_octet_string(counting_bytes(16, 1))});
    EXPECT_EQ("no -, -, -", read_pbes2(encode_content(whole)));
}

// RFC 8018 has HMAC with SHA-1 for its default.
TEST(pbes2, has_no_default_for_the_prf) {
    der_t whole = pbes2_t().whole();
    whole.members[1].members[0].members[1].members.back() = der_raw("");
    EXPECT_FALSE(is_accepted(read_pbes2(encode_content(whole))));
}

TEST(pbes2, has_its_oids_compared_in_full) {
    for (der_t pbes2_t::*const oid : {&pbes2_t::pbes2, &pbes2_t::pbkdf2, &pbes2_t::hmac, &pbes2_t::gost_28147}) {
        SCOPED_TRACE(to_hex(encode(pbes2_t().*oid)));
        const std::string right = (pbes2_t().*oid).octets;
        const auto expect_refused = [&](const std::string& wrong) {
            pbes2_t pbes2;
            (pbes2.*oid).octets = wrong;
            EXPECT_FALSE(is_accepted(read_pbes2(pbes2))) << to_hex(wrong);
        };
        for (std::size_t i = 0; i < right.size(); ++i) {
            std::string wrong = right;
            wrong[i] = static_cast<char>(right[i] ^ 1);
            expect_refused(wrong);
        }
        for (const std::string& wrong : {std::string(), right.substr(1), right.substr(0, right.size() - 1),
                                         right + '\0', right + "\x01", "\x2A" + right}) {
            expect_refused(wrong);
        }
    }
}

} // namespace
