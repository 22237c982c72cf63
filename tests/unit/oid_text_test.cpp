// Dotted text of object identifiers to DER content octets and back (X.690 8.19).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "derkit/asn_oidmap.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

constexpr unsigned int OUT_SIZE = 512;
constexpr unsigned int LARGEST_CONTENT = 506;
constexpr char UNTOUCHED = '\xA5';

// Text to DER in an array that shows what was written; the text stands in a block of its own size.
struct encoded_t {
    std::string content;
    std::string behind;
};

encoded_t encode(std::string_view text) {
    const exact_bytes_t input(text);
    unsigned char out[OUT_SIZE];
    std::fill(out, out + OUT_SIZE, static_cast<unsigned char>(UNTOUCHED));
    const unsigned int size = oid_str_to_asn_(input.chars(), input.chars() + input.size(), out);
    EXPECT_LE(size, LARGEST_CONTENT);
    return {std::string(as_chars(out, size)), std::string(as_chars(out + size, OUT_SIZE - size))};
}

struct decoded_t {
    int result;
    std::string text;
};

decoded_t decode(std::string_view der, std::string held = "") {
    const exact_bytes_t input(der);
    decoded_t decoded = {-1, std::move(held)};
    decoded.result = oid_asn_to_str_(input.data(), input.data() + input.size(), decoded.text);
    return decoded;
}

std::string repeated(const std::string& text, unsigned int times) {
    std::string all;
    for (unsigned int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// ---- both directions ----

struct oid_case_t {
    const char* name;
    const char* text;
    const char* der;
};

class oid_text : public testing::TestWithParam<oid_case_t> {};

TEST_P(oid_text, encodes) {
    const encoded_t encoded = encode(GetParam().text);
    EXPECT_TRUE(same_bytes(from_hex(GetParam().der), encoded.content)) << GetParam().text;
    EXPECT_EQ(encoded.behind, std::string(encoded.behind.size(), UNTOUCHED)) << GetParam().text;
}

TEST_P(oid_text, decodes) {
    const decoded_t decoded = decode(from_hex(GetParam().der));
    EXPECT_EQ(decoded.result, 1) << GetParam().der;
    EXPECT_EQ(decoded.text, GetParam().text) << GetParam().der;
}

INSTANTIATE_TEST_SUITE_P(
    , oid_text,
    testing::Values(oid_case_t{"commonName", "2.5.4.3", "55 04 03"},
                    oid_case_t{"rsadsi", "1.2.840.113549", "2A 86 48 86 F7 0D"},
                    oid_case_t{"uid", "0.9.2342.19200300.100.1.1", "09 92 26 89 93 F2 2C 64 01 01"},
                    oid_case_t{"gost_2012_256", "1.2.643.7.1.1.1.1", "2A 85 03 07 01 01 01 01"},
                    oid_case_t{"two_arcs", "1.2", "2A"}, oid_case_t{"smallest", "0.0", "00"},
                    oid_case_t{"last_under_0", "0.39", "27"}, oid_case_t{"first_under_1", "1.0", "28"},
                    oid_case_t{"last_under_1", "1.39", "4F"}, oid_case_t{"first_under_2", "2.0", "50"},
                    oid_case_t{"zero_arcs", "2.5.0.0", "55 00 00"},
                    oid_case_t{"largest_of_one_octet", "2.5.127", "55 7F"},
                    oid_case_t{"smallest_of_two_octets", "2.5.128", "55 81 00"},
                    oid_case_t{"largest_of_two_octets", "2.5.16383", "55 FF 7F"},
                    oid_case_t{"smallest_of_three_octets", "2.5.16384", "55 81 80 00"},
                    oid_case_t{"largest_of_three_octets", "2.5.2097151", "55 FF FF 7F"},
                    oid_case_t{"smallest_of_four_octets", "2.5.2097152", "55 81 80 80 00"},
                    oid_case_t{"largest_of_four_octets", "2.5.268435455", "55 FF FF FF 7F"},
                    oid_case_t{"smallest_of_five_octets", "2.5.268435456", "55 81 80 80 80 00"},
                    oid_case_t{"largest_arc", "2.5.4294967295", "55 8F FF FF FF 7F"},
                    oid_case_t{"largest_arc_in_the_middle", "2.5.4294967295.1", "55 8F FF FF FF 7F 01"}),
    case_name_t());

// ---- text to DER alone ----

class oid_text_lenient : public testing::TestWithParam<oid_case_t> {};

TEST_P(oid_text_lenient, encodes) {
    EXPECT_TRUE(same_bytes(from_hex(GetParam().der), encode(GetParam().text).content)) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(leading_zeros_are_ignored, oid_text_lenient,
                         testing::Values(oid_case_t{"of_a_later_arc", "2.005.4.3", "55 04 03"},
                                         oid_case_t{"of_the_last_arc", "2.5.4.03", "55 04 03"},
                                         oid_case_t{"of_the_first_arc", "002.5.4.3", "55 04 03"},
                                         oid_case_t{"first_arc_of_zeros", "000.9.1", "09 01"},
                                         oid_case_t{"arc_of_zeros", "2.000.4.00", "50 04 00"},
                                         oid_case_t{"more_than_any_integer_has",
                                                    "0000000000000000000000001.000000000000000000000000002", "2A"}),
                         case_name_t());

INSTANTIATE_TEST_SUITE_P(
    second_arc_is_not_bounded, oid_text_lenient,
    testing::Values(oid_case_t{"40_behind_0", "0.40", "28"}, oid_case_t{"50_behind_1", "1.50", "5A"},
                    oid_case_t{"40_behind_2", "2.40", "78"}, oid_case_t{"999_behind_2", "2.999", "88 37"},
                    oid_case_t{"largest_behind_0", "0.4294967295", "8F FF FF FF 7F"},
                    oid_case_t{"last_sum_of_32_bits", "2.4294967215", "8F FF FF FF 7F"},
                    oid_case_t{"sum_wraps_to_0", "2.4294967216", "00"},
                    oid_case_t{"sum_wraps_to_39", "1.4294967295", "27"},
                    oid_case_t{"sum_wraps_to_79", "2.4294967295", "4F"},
                    oid_case_t{"only_the_second_arc_has_40_times_the_first_added", "2.1.1", "51 01"}),
    case_name_t());

struct bad_text_case_t {
    const char* name;
    std::string_view text;
};

class oid_text_refuses : public testing::TestWithParam<bad_text_case_t> {};

TEST_P(oid_text_refuses, text) {
    EXPECT_TRUE(same_bytes("", encode(GetParam().text).content)) << GetParam().text;
}

using namespace std::string_view_literals;

INSTANTIATE_TEST_SUITE_P(
    , oid_text_refuses,
    testing::Values(bad_text_case_t{"empty", ""}, bad_text_case_t{"one_arc_0", "0"}, bad_text_case_t{"one_arc_1", "1"},
                    bad_text_case_t{"one_arc_2", "2"}, bad_text_case_t{"one_arc_of_zeros", "000"},
                    bad_text_case_t{"first_arc_3", "3.1"}, bad_text_case_t{"first_arc_3_with_zeros", "003.1"},
                    bad_text_case_t{"first_arc_20", "20.1"}, bad_text_case_t{"first_arc_past_32_bits", "4294967296.1"},
                    bad_text_case_t{"first_arc_is_2_in_32_bits", "4294967298.1"},
                    bad_text_case_t{"first_arc_is_2_in_64_bits", "18446744073709551618.1"},
                    bad_text_case_t{"second_arc_past_32_bits", "2.4294967296"},
                    bad_text_case_t{"later_arc_past_32_bits", "2.5.4294967296"},
                    bad_text_case_t{"later_arc_past_32_bits_and_more", "2.5.4294967296.1"},
                    bad_text_case_t{"arc_is_5_in_64_bits", "2.18446744073709551621"},
                    bad_text_case_t{"final_dot", "2."}, bad_text_case_t{"final_dot_of_many", "2.5.4."},
                    bad_text_case_t{"final_dot_behind_zero", "0."}, bad_text_case_t{"two_dots", "2..5"},
                    bad_text_case_t{"two_dots_later", "2.5..4"}, bad_text_case_t{"first_dot", ".2.5"},
                    bad_text_case_t{"dot_alone", "."}, bad_text_case_t{"blank_behind", "2.5 "},
                    bad_text_case_t{"blank_before", " 2.5"}, bad_text_case_t{"blank_inside", "2. 5"},
                    bad_text_case_t{"plus_first", "+2.5"}, bad_text_case_t{"minus_first", "-2.5"},
                    bad_text_case_t{"plus", "2.+5"}, bad_text_case_t{"minus", "2.-5"},
                    bad_text_case_t{"letter", "2.5a"}, bad_text_case_t{"letter_first", "a.5"},
                    bad_text_case_t{"letter_behind_first_arc", "2a.5"}, bad_text_case_t{"letter_behind_zeros", "00a.5"},
                    bad_text_case_t{"hexadecimal", "0x2.5"}, bad_text_case_t{"comma", "2,5"},
                    bad_text_case_t{"slash_is_next_to_the_digits", "2.5/"},
                    bad_text_case_t{"colon_is_next_to_the_digits", "2.5:"}, bad_text_case_t{"line_end", "2.5\n"},
                    bad_text_case_t{"zero_byte", "2.5\0"sv}, bad_text_case_t{"zero_byte_alone", "\0"sv},
                    bad_text_case_t{"high_byte", "2.5\xB2"}),
    case_name_t());

TEST(oid_text_range, ends_where_it_is_told_to) {
    const std::string text = "2.5.4.3";
    unsigned char out[OUT_SIZE];
    EXPECT_EQ(oid_str_to_asn_(text.data(), text.data() + 5, out), 2u);
    EXPECT_TRUE(same_bytes(from_hex("55 04"), as_chars(out, 2)));
}

// At most 506 octets: six of the array stay free.
TEST(oid_text_limit, content_of_506_octets_fits_and_one_more_fails) {
    const std::string full = "2.5" + repeated(".1", LARGEST_CONTENT - 1);
    const encoded_t encoded = encode(full);
    EXPECT_TRUE(same_bytes("\x55" + std::string(LARGEST_CONTENT - 1, '\x01'), encoded.content));
    EXPECT_EQ(encoded.behind, std::string(6, UNTOUCHED));
    EXPECT_TRUE(same_bytes("", encode(full + ".1").content));
}

TEST(oid_text_limit, applies_to_the_whole_of_the_last_subidentifier) {
    struct {
        const char* arc;
        unsigned int size;
    } const arcs[] = {{".128", 2}, {".16384", 3}, {".2097152", 4}, {".4294967295", 5}};
    for (const auto& arc : arcs) {
        const std::string fits = "2.5" + repeated(".1", LARGEST_CONTENT - 1 - arc.size);
        EXPECT_EQ(encode(fits + arc.arc).content.size(), LARGEST_CONTENT) << arc.arc;
        EXPECT_TRUE(same_bytes("", encode(fits + ".1" + arc.arc).content)) << arc.arc;
    }
}

TEST(oid_text_limit, no_octet_past_the_limit_is_written_on_failure) {
    const encoded_t encoded = encode("2.5" + repeated(".1", 600));
    EXPECT_TRUE(same_bytes("", encoded.content));
    EXPECT_EQ(encoded.behind.substr(LARGEST_CONTENT), std::string(6, UNTOUCHED));
}

TEST(oid_text_limit, does_not_count_characters) {
    const std::string zeros(2000, '0');
    EXPECT_TRUE(same_bytes(from_hex("55 04 03"), encode(zeros + "2." + zeros + "5.4." + zeros + "3").content));
}

// ---- DER to text alone ----

class oid_text_prints : public testing::TestWithParam<oid_case_t> {};

TEST_P(oid_text_prints, der) {
    const decoded_t decoded = decode(from_hex(GetParam().der));
    EXPECT_EQ(decoded.result, 1) << GetParam().der;
    EXPECT_EQ(decoded.text, GetParam().text) << GetParam().der;
}

INSTANTIATE_TEST_SUITE_P(first_subidentifier_is_divided_by_40, oid_text_prints,
                         testing::Values(oid_case_t{"90", "2.10", "5A"}, oid_case_t{"100", "2.20", "64"},
                                         oid_case_t{"119", "2.39", "77"}, oid_case_t{"120", "3.0", "78"},
                                         oid_case_t{"127", "3.7", "7F"}, oid_case_t{"1079", "26.39", "88 37"},
                                         oid_case_t{"largest", "107374182.15", "8F FF FF FF 7F"},
                                         oid_case_t{"largest_and_more", "107374182.15.1", "8F FF FF FF 7F 01"}),
                         case_name_t());

INSTANTIATE_TEST_SUITE_P(subidentifiers_wrap_at_32_bits, oid_text_prints,
                         testing::Values(oid_case_t{"first", "0.0", "90 80 80 80 00"},
                                         oid_case_t{"later", "1.2.5", "2A 90 80 80 80 05"},
                                         oid_case_t{"all_bits_of_five_octets", "1.2.4294967295", "2A FF FF FF FF 7F"},
                                         oid_case_t{"many_octets", "1.2.129.3", "2A FF FF 80 80 80 80 81 01 03"}),
                         case_name_t());

INSTANTIATE_TEST_SUITE_P(padding_is_accepted, oid_text_prints,
                         testing::Values(oid_case_t{"first", "1.2", "80 2A"}, oid_case_t{"zero", "0.0", "80 00"},
                                         oid_case_t{"later", "2.5.4.3", "55 80 04 03"},
                                         oid_case_t{"more_than_five_octets", "2.5.4",
                                                    "55 80 80 80 80 80 80 80 80 80 80 80 04"}),
                         case_name_t());

struct cut_case_t {
    const char* name;
    const char* der;
    const char* left;
};

class oid_text_cut : public testing::TestWithParam<cut_case_t> {};

TEST_P(oid_text_cut, fails_and_leaves_what_was_appended) {
    const decoded_t decoded = decode(from_hex(GetParam().der), "held ");
    EXPECT_EQ(decoded.result, 0) << GetParam().der;
    EXPECT_EQ(decoded.text, std::string("held ") + GetParam().left) << GetParam().der;
}

INSTANTIATE_TEST_SUITE_P(, oid_text_cut,
                         testing::Values(cut_case_t{"nothing", "", ""}, cut_case_t{"inside_the_first", "86", ""},
                                         cut_case_t{"inside_the_padded_first", "80 80", ""},
                                         cut_case_t{"inside_the_second", "2A 86", "1.2."},
                                         cut_case_t{"inside_a_later_one", "55 04 83 80", "2.5.4."}),
                         case_name_t());

TEST(oid_text_output, is_appended_to_what_the_string_held) {
    const decoded_t decoded = decode(from_hex("55 04 03"), "OID.");
    EXPECT_EQ(decoded.result, 1);
    EXPECT_EQ(decoded.text, "OID.2.5.4.3");
}

TEST(oid_text_output, is_whole_wherever_the_longest_arcs_stand) {
    for (unsigned int num_short = 0; num_short <= 130; ++num_short) {
        const std::string text = "1.2" + repeated(".1", num_short) + repeated(".4294967295", 25);
        const std::string der = "\x2A" + repeated("\x01", num_short) + repeated("\x8F\xFF\xFF\xFF\x7F", 25);
        const decoded_t whole = decode(der, "held ");
        EXPECT_EQ(whole.result, 1) << num_short;
        EXPECT_EQ(whole.text, "held " + text) << num_short;
        const decoded_t cut = decode(der + "\x86", "held ");
        EXPECT_EQ(cut.result, 0) << num_short;
        EXPECT_EQ(cut.text, "held " + text + ".") << num_short;
    }
}

TEST(oid_text_output, every_prefix_gives_whole_arcs_or_fails) {
    for_each_prefix(from_hex("2A 86 48 86 F7 0D 01"), [](const exact_bytes_t& prefix) {
        const struct {
            int result;
            const char* text;
        } expected[] = {{0, ""},         {1, "1.2"},      {0, "1.2."},          {1, "1.2.840"},
                        {0, "1.2.840."}, {0, "1.2.840."}, {1, "1.2.840.113549"}};
        std::string text;
        EXPECT_EQ(oid_asn_to_str_(prefix.data(), prefix.data() + prefix.size(), text), expected[prefix.size()].result);
        EXPECT_EQ(text, expected[prefix.size()].text);
    });
}

// Text and DER stand for each other as long as no second arc of 40 or more is involved.
TEST(oid_text_round_trip, holds_for_every_pair_of_first_arcs_below_40) {
    for (unsigned int first = 0; first <= 2; ++first) {
        for (unsigned int second = 0; second < 40; ++second) {
            const std::string text = std::to_string(first) + "." + std::to_string(second) + ".113549.0.4294967295";
            EXPECT_EQ(decode(encode(text).content).text, text);
        }
    }
}

TEST(oid_text_round_trip, second_arc_of_40_or_more_comes_back_as_another_pair) {
    EXPECT_EQ(decode(encode("1.50").content).text, "2.10");
    EXPECT_EQ(decode(encode("0.40").content).text, "1.0");
    EXPECT_EQ(decode(encode("2.40").content).text, "3.0");
}

} // namespace
