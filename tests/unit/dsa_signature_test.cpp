// Dss-Sig-Value (RFC 3279 2.2.2).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

// Reading

struct dsa_case_t {
    const char* name;
    const char* input;
    const char* r;
    const char* s;
};
class dsa_signature : public testing::TestWithParam<dsa_case_t> {};

TEST_P(dsa_signature, is_split_into_views_of_the_input) {
    const exact_bytes_t input(from_hex(GetParam().input));
    asn_dsa_certsign_t out;
    ASSERT_EQ(1, asn_read_dsa_certsign(input.data(), input.size(), out));
    EXPECT_TRUE(same_bytes(from_hex(GetParam().r), chars_of(out.r)));
    EXPECT_TRUE(same_bytes(from_hex(GetParam().s), chars_of(out.s)));
    EXPECT_TRUE(lies_in(out.r, input));
    EXPECT_TRUE(lies_in(out.s, input));
}

const dsa_case_t NUMBERS[] = {
    {"short", "30 08 02 02 11 22 02 02 33 44", "11 22", "33 44"},
    {"leading_zeros_stay", "30 0A 02 03 00 C1 22 02 03 00 D3 44", "00 C1 22", "00 D3 44"},
    {"needless_zeros_stay", "30 0A 02 03 00 00 01 02 03 00 00 00", "00 00 01", "00 00 00"},
    {"zero", "30 06 02 01 00 02 01 00", "00", "00"},
    {"negative", "30 06 02 01 FF 02 01 80", "FF", "80"},
    {"of_no_octets", "30 04 02 00 02 00", "", ""},
    {"lengths_with_octets_to_spare", "30 82 00 0A 02 81 02 11 22 02 82 00 01 33", "11 22", "33"},
    {"more_behind_s", "30 08 02 01 11 02 01 33 05 00", "11", "33"},
    {"more_behind_it_all", "30 06 02 01 11 02 01 33 FF", "11", "33"},
};
INSTANTIATE_TEST_SUITE_P(with, dsa_signature, testing::ValuesIn(NUMBERS), case_name_t());

// The SEQUENCE says 03 to 06 where 07 would be right.
const dsa_case_t BOUNDED_BY_THE_INPUT[] = {
    {"runs_past_the_sequence_by_one", "30 06 02 01 11 02 02 33 44", "11", "33 44"},
    {"content_outside_the_sequence", "30 05 02 01 11 02 02 33 44", "11", "33 44"},
    {"header_cut_by_the_sequence", "30 04 02 01 11 02 02 33 44", "11", "33 44"},
    {"stands_behind_the_sequence", "30 03 02 01 11 02 02 33 44", "11", "33 44"},
    {"takes_what_is_behind_the_sequence", "30 07 02 01 11 02 04 33 44 55 66 77", "11", "33 44 55 66"},
};
INSTANTIATE_TEST_SUITE_P(s_is_bounded_by_the_input, dsa_signature, testing::ValuesIn(BOUNDED_BY_THE_INPUT),
                         case_name_t());

// Refusing

struct refused_dsa_case_t {
    const char* name;
    const char* input;
    const char* r; // kept nevertheless, or not touched
};
class refused_dsa_signature : public testing::TestWithParam<refused_dsa_case_t> {};

TEST_P(refused_dsa_signature, gives_0_and_keeps_an_r_that_was_read) {
    const exact_bytes_t input(from_hex(GetParam().input));
    asn_dsa_certsign_t out = {untouched_view(), untouched_view()};
    EXPECT_EQ(0, asn_read_dsa_certsign(input.data(), input.size(), out));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(GetParam().r), chars_of(out.r)));
    EXPECT_TRUE(same_bytes(UNTOUCHED_BYTES, chars_of(out.s)));
}

const refused_dsa_case_t REFUSED[] = {
    {"nothing", "", "-"},
    {"empty_sequence", "30 00", "-"},
    {"another_identifier", "31 06 02 01 11 02 01 33", "-"},
    {"sequence_past_the_end", "30 07 02 01 11 02 01 33", "-"},
    {"indefinite_length", "30 80 02 01 11 02 01 33 00 00", "-"},
    {"r_of_another_identifier", "30 06 04 01 11 02 01 33", "-"},
    {"r_behind_the_sequence", "30 00 02 01 11 02 01 33", "-"},
    {"r_past_the_sequence", "30 02 02 01 11 02 01 33", "-"},
    {"no_s", "30 04 02 02 00 C1", "00 C1"},
    {"s_of_another_identifier", "30 07 02 02 00 C1 04 01 33", "00 C1"},
    {"s_in_third_place", "30 09 02 02 00 C1 05 00 02 01 33", "00 C1"},
    {"s_past_the_end_of_the_input", "30 04 02 02 00 C1 02 02 33", "00 C1"},
    // Adding the header's size to these lengths wraps.
    {"wrapping_length_of_the_sequence", "30 84 FF FF FF FA 02 01 11 02 01 33", "-"},
    {"wrapping_length_of_r", "30 0A 02 84 FF FF FF FB 11 02 01 33", "-"},
    {"wrapping_length_of_s", "30 0B 02 02 00 C1 02 84 FF FF FF FC 33", "00 C1"},
    {"wrapping_length_of_an_s_behind_the_sequence", "30 04 02 02 00 C1 02 84 FF FF FF FF", "00 C1"},
};
INSTANTIATE_TEST_SUITE_P(for_its_form, refused_dsa_signature, testing::ValuesIn(REFUSED), case_name_t());

TEST(dsa_signature_prefix, is_refused) {
    for_each_prefix(from_hex("30 0A 02 03 00 C1 22 02 03 00 D3 44"), [](const exact_bytes_t& prefix) {
        asn_dsa_certsign_t out;
        EXPECT_EQ(0, asn_read_dsa_certsign(prefix.data(), prefix.size(), out));
    });
}

} // namespace
