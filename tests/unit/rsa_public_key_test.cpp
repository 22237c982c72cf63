// RSAPublicKey inside the bits of a public key (RFC 8017 A.1.1).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

asn_pubkey_t with_key(const exact_bytes_t& bits) {
    asn_pubkey_t key;
    key.key.data = bits.data();
    key.key.size = bits.size();
    return key;
}

// Reading

struct rsa_case_t {
    const char* name;
    const char* bits;
    const char* modulus;
    const char* exponent;
};
class rsa_public_key : public testing::TestWithParam<rsa_case_t> {};

TEST_P(rsa_public_key, is_read_into_views_of_the_key) {
    const exact_bytes_t bits(from_hex(GetParam().bits));
    asn_rsa_pubkey_t out;
    ASSERT_EQ(1, asn_read_rsa_pubkey(with_key(bits), out));
    EXPECT_TRUE(same_bytes(from_hex(GetParam().modulus), chars_of(out.modulus)));
    EXPECT_TRUE(same_bytes(from_hex(GetParam().exponent), chars_of(out.exponent)));
    EXPECT_TRUE(lies_in(out.modulus, bits));
    EXPECT_TRUE(lies_in(out.exponent, bits));
}

const rsa_case_t MODULI[] = {
    {"one_leading_zero", "30 08 02 03 00 C3 05 02 01 03", "C3 05", "03"},
    {"several_leading_zeros", "30 0A 02 05 00 00 00 7F 00 02 01 03", "7F 00", "03"},
    {"no_leading_zero", "30 07 02 02 7F 05 02 01 03", "7F 05", "03"},
    {"two_zeros_keep_the_last", "30 07 02 02 00 00 02 01 03", "00", "03"},
    {"four_zeros_keep_the_last", "30 09 02 04 00 00 00 00 02 01 03", "00", "03"},
    {"one_zero", "30 06 02 01 00 02 01 03", "00", "03"},
    {"zero_and_one", "30 07 02 02 00 01 02 01 03", "01", "03"},
    {"negative", "30 07 02 02 C3 05 02 01 03", "C3 05", "03"},
    {"of_no_octets", "30 05 02 00 02 01 03", "", "03"},
};
INSTANTIATE_TEST_SUITE_P(modulus, rsa_public_key, testing::ValuesIn(MODULI), case_name_t());

const rsa_case_t EXPONENTS[] = {
    {"leading_zero_stays", "30 0A 02 01 05 02 05 00 80 00 00 01", "05", "00 80 00 00 01"},
    {"needless_zeros_stay", "30 09 02 01 05 02 04 00 00 00 03", "05", "00 00 00 03"},
    {"negative", "30 06 02 01 05 02 01 FF", "05", "FF"},
    {"of_no_octets", "30 05 02 01 05 02 00", "05", ""},
};
INSTANTIATE_TEST_SUITE_P(exponent, rsa_public_key, testing::ValuesIn(EXPONENTS), case_name_t());

// The SEQUENCE says 03 to 07 where 08 would be right.
const rsa_case_t BOUNDED_BY_THE_KEY[] = {
    {"runs_past_the_sequence_by_one", "30 07 02 01 05 02 03 01 00 01", "05", "01 00 01"},
    {"content_outside_the_sequence", "30 05 02 01 05 02 03 01 00 01", "05", "01 00 01"},
    {"header_cut_by_the_sequence", "30 04 02 01 05 02 03 01 00 01", "05", "01 00 01"},
    {"stands_behind_the_sequence", "30 03 02 01 05 02 03 01 00 01", "05", "01 00 01"},
    {"takes_what_is_behind_the_sequence", "30 08 02 01 05 02 05 01 00 01 AA BB CC", "05", "01 00 01 AA BB"},
};
INSTANTIATE_TEST_SUITE_P(exponent_is_bounded_by_the_key, rsa_public_key, testing::ValuesIn(BOUNDED_BY_THE_KEY),
                         case_name_t());

const rsa_case_t AROUND_IT[] = {
    {"lengths_with_octets_to_spare", "30 82 00 0A 02 81 02 00 C3 02 82 00 01 03", "C3", "03"},
    {"more_behind_the_exponent", "30 08 02 01 05 02 01 03 05 00", "05", "03"},
    {"more_behind_it_all", "30 06 02 01 05 02 01 03 FF", "05", "03"},
};
INSTANTIATE_TEST_SUITE_P(accepts, rsa_public_key, testing::ValuesIn(AROUND_IT), case_name_t());

// Refusing

struct refused_rsa_case_t {
    const char* name;
    const char* bits;
    const char* modulus; // kept nevertheless, or not touched
};
class refused_rsa_public_key : public testing::TestWithParam<refused_rsa_case_t> {};

TEST_P(refused_rsa_public_key, gives_0_and_keeps_a_modulus_that_was_read) {
    const exact_bytes_t bits(from_hex(GetParam().bits));
    asn_rsa_pubkey_t out = {untouched_view(), untouched_view()};
    EXPECT_EQ(0, asn_read_rsa_pubkey(with_key(bits), out));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(GetParam().modulus), chars_of(out.modulus)));
    EXPECT_TRUE(same_bytes(UNTOUCHED_BYTES, chars_of(out.exponent)));
}

const refused_rsa_case_t REFUSED[] = {
    {"nothing", "", "-"},
    {"empty_sequence", "30 00", "-"},
    {"another_identifier", "31 06 02 01 05 02 01 03", "-"},
    {"sequence_past_the_end", "30 07 02 01 05 02 01 03", "-"},
    {"indefinite_length", "30 80 02 01 05 02 01 03 00 00", "-"},
    {"modulus_of_another_identifier", "30 06 04 01 05 02 01 03", "-"},
    {"modulus_behind_the_sequence", "30 00 02 01 05 02 01 03", "-"},
    {"modulus_past_the_sequence", "30 02 02 01 05 02 01 03", "-"},
    {"no_exponent", "30 04 02 02 00 C3", "C3"},
    {"exponent_of_another_identifier", "30 07 02 02 00 C3 04 01 03", "C3"},
    {"exponent_in_third_place", "30 09 02 02 00 C3 05 00 02 01 03", "C3"},
    {"exponent_past_the_end_of_the_key", "30 04 02 02 00 C3 02 02 03", "C3"},
    // Adding the header's size to these lengths wraps.
    {"wrapping_length_of_the_sequence", "30 84 FF FF FF FA 02 01 05 02 01 03", "-"},
    {"wrapping_length_of_the_modulus", "30 0A 02 84 FF FF FF FB 05 02 01 03", "-"},
    {"wrapping_length_of_the_exponent", "30 0B 02 02 00 C3 02 84 FF FF FF FC 03", "C3"},
    {"wrapping_length_of_an_exponent_behind_the_sequence", "30 04 02 02 00 C3 02 84 FF FF FF FF", "C3"},
};
INSTANTIATE_TEST_SUITE_P(for_its_form, refused_rsa_public_key, testing::ValuesIn(REFUSED), case_name_t());

TEST(rsa_public_key_prefix, is_refused) {
    for_each_prefix(from_hex("30 0A 02 03 00 C3 05 02 03 01 00 01"), [](const exact_bytes_t& prefix) {
        asn_rsa_pubkey_t out;
        EXPECT_EQ(0, asn_read_rsa_pubkey(with_key(prefix), out));
    });
}

// Only the key counts: whatever the algorithm is, the bits are read.
TEST(rsa_public_key_algorithm, is_not_looked_at) {
    const exact_bytes_t input(from_hex("30 12 30 05 06 03 55 04 03 03 09 00 30 06 02 01 05 02 01 03"));
    asn_pubkey_t key;
    ASSERT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(input.size()), key));
    asn_rsa_pubkey_t out;
    EXPECT_EQ(1, asn_read_rsa_pubkey(key, out));
    EXPECT_EQ(input.data() + 16, out.modulus.data);
    EXPECT_EQ(input.data() + 19, out.exponent.data);
}

// asn_read_pubkey() gives the size 0xFFFFFFFF then; a reader that believed it would find a key in what lies behind.
TEST(rsa_public_key_in_an_empty_bit_string, is_refused) {
    for (const char* const der :
         {"30 09 30 05 06 03 55 04 03 03 00", "30 09 30 05 06 03 55 04 03 03 00 AA 30 06 02 01 05 02 01 03"}) {
        SCOPED_TRACE(der);
        const exact_bytes_t input(from_hex(der));
        asn_pubkey_t key;
        ASSERT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(input.size()), key));
        asn_rsa_pubkey_t out;
        EXPECT_EQ(0, asn_read_rsa_pubkey(key, out));
    }
}

} // namespace
