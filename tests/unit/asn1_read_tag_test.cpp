// The header of one element: identifier octet and length octets (X.690 8.1.2, 8.1.3).
#include "derkit/asn_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "support/expect.h"
#include "testing/bytes.h"

namespace {

constexpr unsigned int UNTOUCHED = 0x5EEDF00D;

asn_tag_t::Type as_tag(unsigned int identifier) {
    return static_cast<asn_tag_t::Type>(identifier);
}

// What a call gave: an offset in place of the pointer, -1 for the null pointer.
struct outcome_t {
    long offset;
    unsigned int len;
};

outcome_t read_tag(unsigned int tag, const unsigned char* p, unsigned int size) {
    outcome_t outcome = {-1, UNTOUCHED};
    const unsigned char* const content = asn1_read_tag(as_tag(tag), p, size, &outcome.len);
    if (content != nullptr) {
        outcome.offset = static_cast<long>(content - p);
    }
    return outcome;
}

void expect_refused(const outcome_t& outcome, unsigned int stored) {
    EXPECT_EQ(outcome.offset, -1);
    EXPECT_EQ(outcome.len, stored);
}

// ---- elements that are all there ----

struct element_case_t {
    const char* name;
    unsigned int tag;
    const char* header;
    unsigned int content_size;
};

class read_tag_accepts : public testing::TestWithParam<element_case_t> {};

TEST_P(read_tag_accepts, header_in_front_of_its_whole_content) {
    const element_case_t& element = GetParam();
    const std::string header = from_hex(element.header);
    const exact_bytes_t input(header + std::string(element.content_size, '\x5A'));
    const outcome_t outcome = read_tag(element.tag, input.data(), input.size());
    EXPECT_EQ(outcome.offset, static_cast<long>(header.size())) << element.header;
    EXPECT_EQ(outcome.len, element.content_size) << element.header;
}

TEST_P(read_tag_accepts, header_with_more_behind_the_element) {
    const element_case_t& element = GetParam();
    const std::string header = from_hex(element.header);
    const exact_bytes_t input(header + std::string(element.content_size + 3, '\xFF'));
    const outcome_t outcome = read_tag(element.tag, input.data(), input.size());
    EXPECT_EQ(outcome.offset, static_cast<long>(header.size())) << element.header;
    EXPECT_EQ(outcome.len, element.content_size) << element.header;
}

TEST_P(read_tag_accepts, no_element_that_lacks_its_last_octet) {
    const element_case_t& element = GetParam();
    const std::string whole = from_hex(element.header) + std::string(element.content_size, '\x5A');
    const exact_bytes_t input(whole.substr(0, whole.size() - 1));
    EXPECT_EQ(read_tag(element.tag, input.data(), input.size()).offset, -1) << element.header;
}

TEST_P(read_tag_accepts, no_prefix_and_stores_the_length_once_the_header_is_whole) {
    const element_case_t& element = GetParam();
    const std::string header = from_hex(element.header);
    const std::string content(element.content_size > 4 ? 4 : element.content_size, '\x5A');
    for_each_prefix(header + content, [&](const exact_bytes_t& prefix) {
        const bool header_is_whole = prefix.size() >= header.size();
        expect_refused(read_tag(element.tag, prefix.data(), prefix.size()),
                       header_is_whole ? element.content_size : UNTOUCHED);
    });
}

INSTANTIATE_TEST_SUITE_P(, read_tag_accepts,
                         testing::Values(
                             // short form
                             element_case_t{"empty_content", 0x05, "05 00", 0},
                             element_case_t{"one_octet", 0x02, "02 01", 1},
                             element_case_t{"longest_short_form", 0x04, "04 7F", 127},
                             // long form
                             element_case_t{"one_length_octet", 0x30, "30 81 80", 128},
                             element_case_t{"one_length_octet_at_most", 0x30, "30 81 FF", 255},
                             element_case_t{"two_length_octets", 0x30, "30 82 01 00", 256},
                             element_case_t{"big_endian", 0x30, "30 82 01 02", 0x102},
                             element_case_t{"two_length_octets_at_most", 0x30, "30 82 FF FF", 0xFFFF},
                             element_case_t{"three_length_octets", 0x30, "30 83 01 00 00", 0x10000},
                             element_case_t{"three_length_octets_big_endian", 0x30, "30 83 01 02 03", 0x10203},
                             element_case_t{"four_length_octets", 0x30, "30 84 01 00 00 02", 0x1000002},
                             // more length octets than needed
                             element_case_t{"long_form_of_a_short_length", 0x30, "30 81 05", 5},
                             element_case_t{"long_form_of_127", 0x30, "30 81 7F", 127},
                             element_case_t{"long_form_of_nothing", 0x30, "30 81 00", 0},
                             element_case_t{"one_leading_zero", 0x30, "30 82 00 05", 5},
                             element_case_t{"two_leading_zeros", 0x30, "30 83 00 00 80", 128},
                             element_case_t{"three_leading_zeros", 0x30, "30 84 00 00 00 05", 5},
                             element_case_t{"four_zeros", 0x30, "30 84 00 00 00 00", 0},
                             // wildcard
                             element_case_t{"wildcard_and_integer", 0x00, "02 01", 1},
                             element_case_t{"wildcard_and_zero_identifier", 0x00, "00 01", 1},
                             element_case_t{"wildcard_and_long_form", 0x00, "A2 81 80", 128},
                             // an identifier is one octet, whatever its tag number
                             element_case_t{"tag_number_31_is_no_prefix", 0x1F, "1F 02", 2},
                             element_case_t{"all_identifier_bits", 0xFF, "FF 01", 1}),
                         case_name_t());

// ---- headers that are refused whatever follows ----

struct refused_case_t {
    const char* name;
    unsigned int tag;
    const char* bytes;
    unsigned int stored;
};

class read_tag_refuses : public testing::TestWithParam<refused_case_t> {};

TEST_P(read_tag_refuses, header) {
    const refused_case_t& refused = GetParam();
    const exact_bytes_t input(from_hex(refused.bytes));
    SCOPED_TRACE(refused.bytes);
    expect_refused(read_tag(refused.tag, input.data(), input.size()), refused.stored);
}

INSTANTIATE_TEST_SUITE_P(
    , read_tag_refuses,
    testing::Values(refused_case_t{"no_octet", 0x00, "", UNTOUCHED}, refused_case_t{"one_octet", 0x05, "05", UNTOUCHED},
                    refused_case_t{"one_octet_for_the_wildcard", 0x00, "00", UNTOUCHED},
                    refused_case_t{"another_identifier", 0x04, "02 01 05", UNTOUCHED},
                    refused_case_t{"same_number_but_primitive", 0xA0, "80 01 05", UNTOUCHED},
                    refused_case_t{"same_number_but_constructed", 0x04, "24 03 04 01 05", UNTOUCHED},
                    refused_case_t{"same_number_of_another_class", 0x02, "82 01 05", UNTOUCHED},
                    refused_case_t{"zero_identifier_when_another_is_asked_for", 0x30, "00 00", UNTOUCHED},
                    refused_case_t{"another_identifier_of_a_bad_length", 0x04, "02 80 00 00", UNTOUCHED},
                    refused_case_t{"indefinite_length", 0x30, "30 80 05 00 00 00", UNTOUCHED},
                    refused_case_t{"indefinite_length_for_the_wildcard", 0x00, "30 80 05 00 00 00", UNTOUCHED},
                    refused_case_t{"five_length_octets", 0x30, "30 85 00 00 00 00 01 AA", UNTOUCHED},
                    refused_case_t{"six_length_octets", 0x30, "30 86 00 00 00 00 00 00", UNTOUCHED},
                    refused_case_t{"127_length_octets", 0x30, "30 FF 00 00 00 00 00 00", UNTOUCHED},
                    refused_case_t{"long_form_without_its_octet", 0x30, "30 81", UNTOUCHED},
                    refused_case_t{"long_form_cut_short", 0x30, "30 82 01", UNTOUCHED},
                    refused_case_t{"longest_form_cut_short", 0x30, "30 84 00 00 00", UNTOUCHED},
                    refused_case_t{"content_runs_past_the_end", 0x04, "04 05 01 02 03 04", 5},
                    refused_case_t{"content_is_missing", 0x04, "04 7F", 127},
                    refused_case_t{"content_of_a_long_form_runs_past_the_end", 0x04, "04 81 02 01", 2},
                    refused_case_t{"content_of_the_longest_form_runs_past_the_end", 0x04, "04 84 00 00 00 02 01", 2}),
    case_name_t());

TEST(read_tag, fewer_than_two_octets_fail_without_a_look_at_them) {
    expect_refused(read_tag(0x00, nullptr, 0), UNTOUCHED);
    expect_refused(read_tag(0x30, nullptr, 1), UNTOUCHED);
}

TEST(read_tag, wildcard_accepts_every_identifier_and_any_other_tag_just_its_own) {
    static_assert(asn_tag_t::ANY == 0);
    for (unsigned int identifier = 0; identifier < 256; ++identifier) {
        const exact_bytes_t input(std::string(1, static_cast<char>(identifier)) + from_hex("01 AA"));
        EXPECT_EQ(read_tag(0, input.data(), input.size()).offset, 2) << identifier;
        for (unsigned int tag = 1; tag < 256; ++tag) {
            EXPECT_EQ(read_tag(tag, input.data(), input.size()).offset, tag == identifier ? 2 : -1)
                << "tag " << tag << ", identifier " << identifier;
        }
    }
}

TEST(read_tag, identifiers_have_their_standard_values) {
    EXPECT_EQ(asn_tag_t::INTEGER, 0x02);
    EXPECT_EQ(asn_tag_t::BIT_STRING, 0x03);
    EXPECT_EQ(asn_tag_t::OCTET_STRING, 0x04);
    EXPECT_EQ(asn_tag_t::NULL_VALUE, 0x05);
    EXPECT_EQ(asn_tag_t::OBJECT_IDENTIFIER, 0x06);
    EXPECT_EQ(asn_tag_t::BMP_STRING, 0x1E);
    EXPECT_EQ(asn_tag_t::SEQUENCE, 0x30);
    EXPECT_EQ(asn_tag_t::SET, 0x31);
    EXPECT_EQ(asn_tag_t::CONTEXT_0_PRIMITIVE, 0x80);
    EXPECT_EQ(asn_tag_t::CONTEXT_0, 0xA0);
    static_assert(std::is_same_v<std::underlying_type_t<asn_tag_t::Type>, unsigned char>);
}

// ---- the bound check is a sum of 32 bits ----

struct bound_case_t {
    const char* name;
    const char* header;
    unsigned int claimed_size; // nothing behind the header is read, so it need not be there
    bool accepted;
    unsigned int len;
};

class read_tag_bound : public testing::TestWithParam<bound_case_t> {};

TEST_P(read_tag_bound, is_checked_in_32_bits) {
    const bound_case_t& bound = GetParam();
    const exact_bytes_t input(from_hex(bound.header));
    const outcome_t outcome = read_tag(0x04, input.data(), bound.claimed_size);
    EXPECT_EQ(outcome.offset, bound.accepted ? static_cast<long>(input.size()) : -1) << bound.header;
    EXPECT_EQ(outcome.len, bound.len) << bound.header;
}

INSTANTIATE_TEST_SUITE_P(
    , read_tag_bound,
    testing::Values(bound_case_t{"lengths_are_unsigned", "04 84 80 00 00 00", 0x80000006, true, 0x80000000},
                    bound_case_t{"one_octet_missing_at_2_to_31", "04 84 80 00 00 00", 0x80000005, false, 0x80000000},
                    bound_case_t{"last_sum_that_does_not_wrap", "04 84 FF FF FF F9", 0xFFFFFFFF, true, 0xFFFFFFF9},
                    bound_case_t{"last_sum_that_does_not_wrap_is_bounded", "04 84 FF FF FF F9", 0xFFFFFFFE, false,
                                 0xFFFFFFF9},
                    bound_case_t{"small_input", "04 84 FF FF FF F9", 6, false, 0xFFFFFFF9},
                    bound_case_t{"sum_wraps_to_0", "04 84 FF FF FF FA", 6, true, 0xFFFFFFFA},
                    bound_case_t{"sum_wraps_to_1", "04 84 FF FF FF FB", 6, true, 0xFFFFFFFB},
                    bound_case_t{"sum_wraps_to_5", "04 84 FF FF FF FF", 6, true, 0xFFFFFFFF},
                    bound_case_t{"sum_wraps_but_the_header_is_cut_short", "04 84 FF FF FF", 5, false, UNTOUCHED}),
    case_name_t());

} // namespace
