// PBES2 parameters of the GOST profile: PBKDF2 with HMAC GOST R 34.11-94, GOST 28147-89.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "derkit/asn_reader.h"
#include "derkit/pkcs8_helper.h"
#include "pkcs/pkcs5_pbes2.h"
#include "support/expect.h"
#include "support/spoiled_der.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/pkcs_der.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

const std::string SALT = "salt";
const std::string IV = "iv";
struct pbes2_read_t {
    bool accepted;
    std::string salt;
    unsigned int iterations;
    std::string iv;
};

// Into an untouched record.
pbes2_read_t read_pbes2(std::string_view input) {
    const exact_bytes_t bytes(input);
    pkcs5_pbe_gost_t pbe;
    pbe.salt = pbe.iv = untouched_view();
    pbe.iterations = UNTOUCHED_NUMBER;
    const bool accepted = asn_read_pkcs5_pbe_gost(bytes.data(), bytes.size(), pbe);
    EXPECT_TRUE(is_untouched_or_lies_in(pbe.salt, bytes));
    EXPECT_TRUE(is_untouched_or_lies_in(pbe.iv, bytes));
    return {accepted, std::string(chars_of(pbe.salt)), pbe.iterations, std::string(chars_of(pbe.iv))};
}

pbes2_read_t read_pbes2(const pbes2_t& pbes2) {
    return read_pbes2(encode_content(pbes2.whole()));
}

void expect_read(const pbes2_read_t& read, unsigned int iterations = 2000) {
    EXPECT_TRUE(read.accepted);
    EXPECT_EQ(SALT, read.salt);
    EXPECT_EQ(iterations, read.iterations);
    EXPECT_EQ(IV, read.iv);
}

std::string write_pbes2(std::string_view salt, unsigned int iterations, std::string_view iv) {
    pkcs5_pbe_gost_t pbe;
    pbe.salt = view_of(salt);
    pbe.iterations = iterations;
    pbe.iv = view_of(iv);
    std::string out = "what was there before";
    asn_write_pkcs5_pbe_gost(pbe, out);
    return out;
}

std::string content_of(const std::string& element) {
    const exact_bytes_t bytes(element);
    unsigned int size = 0;
    const unsigned char* const content = asn1_read_tag(asn_tag_t::SEQUENCE, bytes.data(), bytes.size(), &size);
    return content == nullptr ? std::string() : std::string(as_chars(content, size));
}

// Salt of 32 bytes, 2000 iterations, IV of 8 bytes.
std::string printed_example() {
    return from_hex("30 6D 06 09 2A 86 48 86 F7 0D 01 05 0D 30 60 30 3F 06 09 2A 86 48 86 F7 0D 01 05 0C 30 32 04 20") +
           counting_bytes(32, 0x81) +
           from_hex("02 02 07 D0 30 0A 06 06 2A 85 03 02 02 0A 05 00 30 1D 06 06 2A 85 03 02 02 15 30 13 04 08") +
           counting_bytes(8, 0xE1) + from_hex("06 07 2A 85 03 02 02 1F 01");
}

// Writing

TEST(pbes2_writer, writes_the_whole_algorithm_identifier) {
    EXPECT_TRUE(same_bytes(printed_example(), write_pbes2(counting_bytes(32, 0x81), 2000, counting_bytes(8, 0xE1))));
}

TEST(pbes2_writer, takes_salt_and_iv_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 9, 10, 11, 33, 34, 35, 127, 128, 255, 256, 1000}) {
        SCOPED_TRACE(size);
        pbes2_t expected;
        expected.salt = der_octet_string(counting_bytes(size, 1));
        EXPECT_TRUE(same_bytes(encode(expected.whole()), write_pbes2(counting_bytes(size, 1), 2000, IV)));
        expected.salt = der_octet_string(SALT);
        expected.iv = der_octet_string(counting_bytes(size, 2));
        EXPECT_TRUE(same_bytes(encode(expected.whole()), write_pbes2(SALT, 2000, counting_bytes(size, 2))));
    }
}

TEST(pbes2_writer, leaves_the_output_alone_when_there_is_no_memory) {
    blob_t too_large = view_of(SALT);
    too_large.size = 0xFFFFFFFF;
    pkcs5_pbe_gost_t large_salt;
    large_salt.salt = too_large;
    pkcs5_pbe_gost_t large_iv;
    large_iv.iv = too_large;
    for (const pkcs5_pbe_gost_t& pbe : {large_salt, large_iv}) {
        std::string out = "what was there before";
        EXPECT_THROW(asn_write_pkcs5_pbe_gost(pbe, out), std::bad_alloc);
        EXPECT_EQ("what was there before", out);
    }
}

// Every zero octet of the count is left out; so some counts come back as others.
struct count_written_case_t {
    const char* name;
    unsigned int iterations;
    const char* integer;
    unsigned int read_back;
};
class pbes2_count : public testing::TestWithParam<count_written_case_t> {};

TEST_P(pbes2_count, is_written_and_comes_back) {
    const count_written_case_t& c = GetParam();
    pbes2_t expected;
    expected.iterations = der_raw(c.integer);
    const std::string written = write_pbes2(SALT, c.iterations, IV);
    EXPECT_TRUE(same_bytes(encode(expected.whole()), written));
    expect_read(read_pbes2(content_of(written)), c.read_back);
}

const count_written_case_t COUNTS[] = {
    {"of_0", 0, "02 01 00", 0},
    {"of_1", 1, "02 01 01", 1},
    {"of_127", 127, "02 01 7F", 127},
    {"of_128", 128, "02 02 00 80", 128},
    {"of_255", 255, "02 02 00 FF", 255},
    {"of_256", 256, "02 01 01", 1},
    {"of_1000", 1000, "02 02 03 E8", 1000},
    {"of_2000", 2000, "02 02 07 D0", 2000},
    {"of_2048", 2048, "02 01 08", 8},
    {"of_10000", 10000, "02 02 27 10", 10000},
    {"of_32768", 32768, "02 02 00 80", 128},
    {"of_66048", 0x10200, "02 02 01 02", 0x0102},
    {"of_100000", 100000, "02 03 01 86 A0", 100000},
    {"of_2_to_31", 0x80000000, "02 02 00 80", 128},
    {"of_all_bits", 0xFFFFFFFF, "02 05 00 FF FF FF FF", 0xFFFFFFFF},
};
INSTANTIATE_TEST_SUITE_P(, pbes2_count, testing::ValuesIn(COUNTS), case_name_t());

// Reading

TEST(pbes2_reader, takes_the_content_and_not_the_element) {
    const std::string whole = printed_example();
    EXPECT_FALSE(read_pbes2(whole).accepted);
    const pbes2_read_t read = read_pbes2(whole.substr(2));
    EXPECT_TRUE(read.accepted);
    EXPECT_TRUE(same_bytes(counting_bytes(32, 0x81), read.salt));
    EXPECT_EQ(2000U, read.iterations);
    EXPECT_TRUE(same_bytes(counting_bytes(8, 0xE1), read.iv));
}

TEST(pbes2_reader, is_the_one_that_encrypted_keys_are_read_with) {
    const exact_bytes_t input(printed_example().substr(2));
    pkcs5_pbe_gost_t pbe;
    EXPECT_TRUE(asn_read_pkcs5_PBES2(input.data(), input.size(), pbe));
    EXPECT_TRUE(same_bytes(counting_bytes(32, 0x81), chars_of(pbe.salt)));
    EXPECT_EQ(2000U, pbe.iterations);
    EXPECT_TRUE(same_bytes(counting_bytes(8, 0xE1), chars_of(pbe.iv)));
}

TEST(pbes2_reader, takes_salt_and_iv_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 7, 9, 127, 128, 1000, 70000}) {
        SCOPED_TRACE(size);
        pbes2_t pbes2;
        pbes2.salt = der_octet_string(counting_bytes(size, 1));
        pbes2.iv = der_octet_string(counting_bytes(size, 2));
        const pbes2_read_t read = read_pbes2(pbes2);
        EXPECT_TRUE(read.accepted);
        EXPECT_TRUE(same_bytes(counting_bytes(size, 1), read.salt));
        EXPECT_TRUE(same_bytes(counting_bytes(size, 2), read.iv));
    }
}

TEST(pbes2_reader, ignores_the_key_length) {
    for (const char* const key_length : {"02 01 20", "02 00", "02 01 80", "02 09 FF FF FF FF FF FF FF FF FF"}) {
        SCOPED_TRACE(key_length);
        pbes2_t pbes2;
        pbes2.key_length = der_raw(key_length);
        expect_read(read_pbes2(pbes2));
    }
}

TEST(pbes2_reader, takes_any_parameters_of_the_hmac) {
    for (const char* const params : {"05 00", "00 00", "30 00", "06 07 2A 85 03 02 02 1E 01", "04 02 FF FF", "FF 00"}) {
        SCOPED_TRACE(params);
        pbes2_t pbes2;
        pbes2.hmac_params = der_raw(params);
        expect_read(read_pbes2(pbes2));
    }
}

TEST(pbes2_reader, takes_any_encryption_parameter_set) {
    for (const char* const param_set : {"06 07 2A 85 03 02 02 1F 02", "06 09 2A 85 03 07 01 02 05 01 01", "06 00"}) {
        SCOPED_TRACE(param_set);
        pbes2_t pbes2;
        pbes2.param_set = der_raw(param_set);
        expect_read(read_pbes2(pbes2));
    }
}

TEST(pbes2_reader, ignores_what_follows_in_every_sequence) {
    for (const char* const behind : {"05 00", "02 01 20", "FF", "04 7F"}) {
        SCOPED_TRACE(behind);
        for_each_element(pbes2_t().whole(), [&](der_t& whole, der_t& element) {
            if (element.tag == 0x30) {
                element.members.push_back(der_raw(behind));
                expect_read(read_pbes2(encode_content(whole)));
            }
        });
    }
}

TEST(pbes2_reader, needs_every_element) {
    for_each_element_left_out(pbes2_t().whole(), [](const der_t& whole, const der_t&) {
        EXPECT_FALSE(read_pbes2(encode_content(whole)).accepted);
    });
}

TEST(pbes2_reader, tells_primitive_from_constructed) {
    for_each_element(pbes2_t().whole(), [](der_t& whole, der_t& element) {
        const bool are_hmac_params = element.tag == 0x05;
        element.tag ^= 0x20;
        EXPECT_EQ(&element == &whole || are_hmac_params, read_pbes2(encode_content(whole)).accepted);
    });
}

TEST(pbes2_reader, refuses_lengths_that_lead_outside) {
    for_each_bad_length(pbes2_t().whole(), [](const der_t& whole, const der_t& element) {
        if (&element == &whole) {
            return;
        }
        EXPECT_FALSE(read_pbes2(encode_content(whole)).accepted);
        const bool has_nothing_around_it = &element == &whole.members.back();
        if (!has_nothing_around_it) {
            EXPECT_FALSE(read_pbes2(encode_content(whole) + ROOM_BEHIND).accepted);
        }
    });
}

TEST(pbes2_reader, accepts_lengths_of_more_octets_than_needed) {
    for_each_long_length(pbes2_t().whole(), [](const der_t& whole) { expect_read(read_pbes2(encode_content(whole))); });
}

TEST(pbes2_reader, refuses_every_prefix) {
    for_each_prefix(encode_content(pbes2_t().whole()), [](const exact_bytes_t& prefix) {
        EXPECT_FALSE(read_pbes2(std::string_view(prefix.chars(), prefix.size())).accepted);
    });
}

struct count_read_case_t {
    const char* name;
    const char* integer;
    bool accepted;
    unsigned int iterations;
};
class pbes2_count_reader : public testing::TestWithParam<count_read_case_t> {};

TEST_P(pbes2_count_reader, decodes_last) {
    const count_read_case_t& c = GetParam();
    pbes2_t pbes2;
    pbes2.iterations = der_raw(c.integer);
    const pbes2_read_t read = read_pbes2(pbes2);
    EXPECT_EQ(c.accepted, read.accepted);
    EXPECT_EQ(c.iterations, read.iterations);
    EXPECT_EQ(SALT, read.salt);
    EXPECT_EQ(IV, read.iv);
}

// Bounds hold for all octets but the last, so a fifth drops out at the top.
const count_read_case_t COUNTS_READ[] = {
    {"zero", "02 01 00", true, 0},
    {"one", "02 01 01", true, 1},
    {"sign_octet", "02 02 00 80", true, 128},
    {"leading_zeros", "02 09 00 00 00 00 00 00 00 07 D0", true, 2000},
    {"all_bits", "02 05 00 FF FF FF FF", true, 0xFFFFFFFF},
    {"five_octets_without_their_first", "02 05 01 00 00 00 00", true, 0},
    {"five_octets_without_their_first_again", "02 05 7F 00 00 07 D0", true, 2000},
    {"six_octets_without_their_first", "02 06 00 FF FF FF FF 05", true, 0xFFFFFF05},
    {"nothing", "02 00", true, UNTOUCHED_NUMBER},
    {"negative", "02 01 80", false, UNTOUCHED_NUMBER},
    {"negative_of_four_octets", "02 04 FF FF FF FF", false, UNTOUCHED_NUMBER},
    {"six_octets", "02 06 01 00 00 00 00 00", false, UNTOUCHED_NUMBER},
};
INSTANTIATE_TEST_SUITE_P(, pbes2_count_reader, testing::ValuesIn(COUNTS_READ), case_name_t());

// What a refusal leaves behind shows in which order things are looked at.
struct pbes2_refused_case_t {
    const char* name;
    void (*spoil)(pbes2_t&);
    const char* salt;
    const char* iv;
};
class pbes2_refused : public testing::TestWithParam<pbes2_refused_case_t> {};

TEST_P(pbes2_refused, leaves_these_filled) {
    pbes2_t pbes2;
    GetParam().spoil(pbes2);
    const pbes2_read_t read = read_pbes2(pbes2);
    EXPECT_FALSE(read.accepted);
    EXPECT_EQ(GetParam().salt, read.salt);
    EXPECT_EQ(UNTOUCHED_NUMBER, read.iterations);
    EXPECT_EQ(GetParam().iv, read.iv);
}

// The encryption part is read first.
const pbes2_refused_case_t REFUSED_BEFORE_IV[] = {
    {"iv_is_no_octet_string", [](pbes2_t& p) { p.iv.tag = 0x30; }, "-", "-"},
    {"no_pbes2_oid", [](pbes2_t& p) { p.pbes2 = der_null(); }, "-", "-"},
    {"no_scheme_oid", [](pbes2_t& p) { p.gost_28147 = der_null(); }, "-", "-"},
};
INSTANTIATE_TEST_SUITE_P(before_the_iv, pbes2_refused, testing::ValuesIn(REFUSED_BEFORE_IV), case_name_t());

const pbes2_refused_case_t REFUSED_AFTER_IV[] = {
    {"no_parameter_set", [](pbes2_t& p) { p.param_set = der_null(); }, "-", "iv"},
    {"other_scheme", [](pbes2_t& p) { p.gost_28147 = der_oid("1.2.643.2.2.22"); }, "-", "iv"},
    {"pbes1", [](pbes2_t& p) { p.pbes2 = der_oid("1.2.840.113549.1.5.3"); }, "-", "iv"},
    {"no_derivation_oid", [](pbes2_t& p) { p.pbkdf2 = der_null(); }, "-", "iv"},
    {"salt_of_another_source", [](pbes2_t& p) { p.salt.tag = 0x30; }, "-", "iv"},
    {"pbes1_with_broken_derivation", [](pbes2_t& p) { p.pbes2.octets.back() = 3, p.pbkdf2 = der_raw("FF FF"); }, "-",
     "iv"},
};
INSTANTIATE_TEST_SUITE_P(after_the_iv, pbes2_refused, testing::ValuesIn(REFUSED_AFTER_IV), case_name_t());

const pbes2_refused_case_t REFUSED_AFTER_SALT[] = {
    {"no_count", [](pbes2_t& p) { p.iterations = der_null(); }, "salt", "iv"},
    {"two_key_lengths", [](pbes2_t& p) { p.key_length = der_raw("02 01 20 02 01 20"); }, "salt", "iv"},
    {"key_length_cut_short", [](pbes2_t& p) { p.key_length = der_raw("02 7F 20"); }, "salt", "iv"},
    {"something_else_for_a_key_length", [](pbes2_t& p) { p.key_length = der_null(); }, "salt", "iv"},
    {"no_hmac_oid", [](pbes2_t& p) { p.hmac = der_null(); }, "salt", "iv"},
    {"no_hmac_parameters", [](pbes2_t& p) { p.hmac_params = der_raw(""); }, "salt", "iv"},
    {"half_a_header_for_hmac_parameters", [](pbes2_t& p) { p.hmac_params = der_raw("05"); }, "salt", "iv"},
    {"other_derivation", [](pbes2_t& p) { p.pbkdf2 = der_oid("1.3.6.1.4.1.11591.4.11"); }, "salt", "iv"},
    {"hmac_sha1", [](pbes2_t& p) { p.hmac = der_oid("1.2.840.113549.2.7"); }, "salt", "iv"},
    {"hmac_gost_2012", [](pbes2_t& p) { p.hmac = der_oid("1.2.643.7.1.1.4.1"); }, "salt", "iv"},
};
INSTANTIATE_TEST_SUITE_P(after_the_salt, pbes2_refused, testing::ValuesIn(REFUSED_AFTER_SALT), case_name_t());

// AES has the IV alone for its parameters (RFC 8018 B.2.5).
TEST(pbes2_reader, refuses_aes) {
    der_t whole = pbes2_t().whole();
    whole.members[1].members[1] =
        der_sequence({der_oid("2.16.840.1.101.3.4.1.42"), der_octet_string(counting_bytes(16, 1))});
    const pbes2_read_t read = read_pbes2(encode_content(whole));
    EXPECT_FALSE(read.accepted);
    EXPECT_EQ(UNTOUCHED_BYTES, read.salt);
    EXPECT_EQ(UNTOUCHED_BYTES, read.iv);
}

// No default takes the place of a prf that is left out (RFC 8018 would have HMAC with SHA-1).
TEST(pbes2_reader, has_no_default_for_the_prf) {
    der_t whole = pbes2_t().whole();
    whole.members[1].members[0].members[1].members.back() = der_raw("");
    EXPECT_FALSE(read_pbes2(encode_content(whole)).accepted);
}

TEST(pbes2_reader, compares_each_oid_in_full) {
    der_t pbes2_t::*const oids[] = {&pbes2_t::pbes2, &pbes2_t::pbkdf2, &pbes2_t::hmac, &pbes2_t::gost_28147};
    for (const auto oid : oids) {
        SCOPED_TRACE(to_hex(encode(pbes2_t().*oid)));
        const std::string right = (pbes2_t().*oid).octets;
        for (std::size_t i = 0; i < right.size(); ++i) {
            pbes2_t pbes2;
            (pbes2.*oid).octets[i] = static_cast<char>(right[i] ^ 1);
            EXPECT_FALSE(read_pbes2(pbes2).accepted) << "octet " << i;
        }
        for (const std::string& wrong : {std::string(), right.substr(1), right.substr(0, right.size() - 1),
                                         right + '\0', right + "\x01", "\x2A" + right}) {
            pbes2_t pbes2;
            (pbes2.*oid).octets = wrong;
            EXPECT_FALSE(read_pbes2(pbes2).accepted) << to_hex(wrong);
        }
    }
}

TEST(pbes2_round_trip, gives_salt_count_and_iv_back) {
    for (const std::size_t size : sizes_t{0, 8, 20, 32, 100, 200, 30000}) {
        for (const unsigned int iterations : {1U, 2000U, 65535U, 0x12345678U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(std::to_string(size) + " bytes, " + std::to_string(iterations) + " iterations");
            const std::string salt = counting_bytes(size, 1);
            const std::string iv = counting_bytes(size, 2);
            const pbes2_read_t read = read_pbes2(content_of(write_pbes2(salt, iterations, iv)));
            EXPECT_TRUE(read.accepted);
            EXPECT_TRUE(same_bytes(salt, read.salt));
            EXPECT_EQ(iterations, read.iterations);
            EXPECT_TRUE(same_bytes(iv, read.iv));
        }
    }
}

} // namespace
