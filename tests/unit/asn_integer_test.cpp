// Content octets of small INTEGERs (X.690 8.3), and OID content compared with a constant.
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_reader.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

constexpr unsigned int UNTOUCHED = 0x5EEDF00D;
constexpr unsigned int NO_BOUND = 0xFFFFFFFF;

// ---- reading ----

struct read_integer_case_t {
    const char* name;
    const char* content;
    unsigned int max;
    bool accepted;
    unsigned int value;
};

class read_integer : public testing::TestWithParam<read_integer_case_t> {};

TEST_P(read_integer, gives) {
    const read_integer_case_t& integer = GetParam();
    const exact_bytes_t content(from_hex(integer.content));
    unsigned int value = UNTOUCHED;
    EXPECT_EQ(asn_read_INTEGER(content.data(), content.size(), value, integer.max), integer.accepted)
        << integer.content;
    EXPECT_EQ(value, integer.value) << integer.content;
}

INSTANTIATE_TEST_SUITE_P(
    plain, read_integer,
    testing::Values(read_integer_case_t{"zero", "00", NO_BOUND, true, 0},
                    read_integer_case_t{"one", "01", NO_BOUND, true, 1},
                    read_integer_case_t{"largest_of_one_octet", "7F", NO_BOUND, true, 127},
                    read_integer_case_t{"sign_pad", "00 80", NO_BOUND, true, 128},
                    read_integer_case_t{"big_endian", "01 02 03 04", NO_BOUND, true, 0x01020304},
                    read_integer_case_t{"largest_of_four_octets", "7F FF FF FF", NO_BOUND, true, 0x7FFFFFFF},
                    read_integer_case_t{"largest_of_32_bits", "00 FF FF FF FF", NO_BOUND, true, 0xFFFFFFFF},
                    read_integer_case_t{"needless_pad", "00 00 05", NO_BOUND, true, 5},
                    read_integer_case_t{"any_number_of_pads", "00 00 00 00 00 00 00 00 00 00 00 05", NO_BOUND, true, 5},
                    read_integer_case_t{"second_octet_may_have_its_top_bit", "01 80", NO_BOUND, true, 0x180},
                    read_integer_case_t{"empty_succeeds_and_says_nothing", "", NO_BOUND, true, UNTOUCHED},
                    read_integer_case_t{"empty_passes_every_bound", "", 0, true, UNTOUCHED},
                    read_integer_case_t{"minus_128", "80", NO_BOUND, false, UNTOUCHED},
                    read_integer_case_t{"minus_one", "FF", NO_BOUND, false, UNTOUCHED},
                    read_integer_case_t{"negative_of_several_octets", "80 00 00 01", NO_BOUND, false, UNTOUCHED}),
    case_name_t());

INSTANTIATE_TEST_SUITE_P(
    last_octet_escapes_the_32_bit_check, read_integer,
    testing::Values(
        read_integer_case_t{"two_to_32", "01 00 00 00 00", NO_BOUND, true, 0},
        read_integer_case_t{"low_32_bits_are_kept", "12 34 56 78 9A", NO_BOUND, true, 0x3456789A},
        read_integer_case_t{"largest_five_octets", "7F FF FF FF FF", NO_BOUND, true, 0xFFFFFFFF},
        read_integer_case_t{"pad_and_five_octets", "00 FF FF FF FF 01", NO_BOUND, true, 0xFFFFFF01},
        read_integer_case_t{"prefix_of_2_to_32", "01 00 00 00 00 00", NO_BOUND, false, UNTOUCHED},
        read_integer_case_t{"pad_and_prefix_of_2_to_32", "00 01 00 00 00 00 00", NO_BOUND, false, UNTOUCHED},
        read_integer_case_t{"prefix_past_64_bits", "01 00 00 00 00 00 00 00 00 05", NO_BOUND, false, UNTOUCHED}),
    case_name_t());

INSTANTIATE_TEST_SUITE_P(
    bound_applies_to_all_but_the_last_octet, read_integer,
    testing::Values(read_integer_case_t{"one_octet_is_never_bounded", "7F", 0, true, 127},
                    read_integer_case_t{"sign_pad_is_a_prefix_of_zero", "00 FF", 0, true, 255},
                    read_integer_case_t{"prefix_at_the_bound", "05 FF", 5, true, 0x5FF},
                    read_integer_case_t{"prefix_past_the_bound", "06 00", 5, false, UNTOUCHED},
                    read_integer_case_t{"prefix_past_a_bound_of_zero", "01 00", 0, false, UNTOUCHED},
                    read_integer_case_t{"longer_prefix_at_the_bound", "01 02 FF", 0x102, true, 0x102FF},
                    read_integer_case_t{"longer_prefix_past_the_bound", "01 03 00", 0x102, false, UNTOUCHED},
                    read_integer_case_t{"bound_of_all_bits_but_one", "00 FF FF FF FF 00", 0xFFFFFFFE, false,
                                        UNTOUCHED}),
    case_name_t());

TEST(read_integer, empty_content_is_not_looked_at) {
    unsigned int value = UNTOUCHED;
    EXPECT_TRUE(asn_read_INTEGER(nullptr, 0, value, NO_BOUND));
    EXPECT_EQ(value, UNTOUCHED);
}

// ---- writing ----

struct write_integer_case_t {
    const char* name;
    unsigned int value;
    const char* content;
};

class write_integer : public testing::TestWithParam<write_integer_case_t> {};

TEST_P(write_integer, appends) {
    const write_integer_case_t& integer = GetParam();
    std::string out("\x30\x00", 2);
    asn_write_INTEGER(integer.value, out);
    EXPECT_TRUE(same_bytes(from_hex("30 00") + from_hex(integer.content), out)) << integer.value;
}

INSTANTIATE_TEST_SUITE_P(as_DER, write_integer,
                         testing::Values(write_integer_case_t{"zero", 0, "00"}, write_integer_case_t{"one", 1, "01"},
                                         write_integer_case_t{"largest_of_seven_bits", 127, "7F"},
                                         write_integer_case_t{"sign_pad", 128, "00 80"},
                                         write_integer_case_t{"sign_pad_before_FF", 255, "00 FF"},
                                         write_integer_case_t{"two_octets", 2001, "07 D1"},
                                         write_integer_case_t{"two_octets_with_pad", 0x8001, "00 80 01"},
                                         write_integer_case_t{"three_octets", 0x123456, "12 34 56"},
                                         write_integer_case_t{"four_octets", 0x12345678, "12 34 56 78"},
                                         write_integer_case_t{"no_pad_before_a_later_octet", 0x01FF80FF, "01 FF 80 FF"},
                                         write_integer_case_t{"all_bits", 0xFFFFFFFF, "00 FF FF FF FF"}),
                         case_name_t());

INSTANTIATE_TEST_SUITE_P(without_zero_octets, write_integer,
                         testing::Values(write_integer_case_t{"one_trailing", 0x100, "01"},
                                         write_integer_case_t{"two_trailing", 0x10000, "01"},
                                         write_integer_case_t{"three_trailing", 0x01000000, "01"},
                                         write_integer_case_t{"three_trailing_with_pad", 0x80000000, "00 80"},
                                         write_integer_case_t{"one_inner", 0x10080, "01 80"},
                                         write_integer_case_t{"one_inner_and_a_pad", 0xFF00FF, "00 FF FF"},
                                         write_integer_case_t{"two_inner", 0x01000080, "01 80"},
                                         write_integer_case_t{"inner_and_trailing", 0x12003400, "12 34"},
                                         write_integer_case_t{"iterations_2000_have_none", 2000, "07 D0"},
                                         write_integer_case_t{"iterations_1024", 1024, "04"}),
                         case_name_t());

TEST(write_integer, reads_back_when_no_octet_below_the_first_is_zero) {
    const unsigned int octets[] = {0x01, 0x7F, 0x80, 0xFF};
    unsigned int num_values = 0;
    for (unsigned int num_octets = 1; num_octets <= 4; ++num_octets) {
        for (unsigned int choice = 0; choice < 1u << (2 * num_octets); ++choice) {
            unsigned int value = 0;
            for (unsigned int i = 0; i < num_octets; ++i) {
                value = value << 8 | octets[choice >> (2 * i) & 3];
            }
            std::string content;
            asn_write_INTEGER(value, content);
            unsigned int read_back = UNTOUCHED;
            EXPECT_TRUE(
                asn_read_INTEGER(content.data(), static_cast<unsigned int>(content.size()), read_back, NO_BOUND));
            EXPECT_EQ(read_back, value) << to_hex(content);
            ++num_values;
        }
    }
    EXPECT_EQ(num_values, 4u + 16 + 64 + 256);
}

// ---- OID content against a constant ----

constexpr unsigned char SIX[6] = {0x2A, 0x85, 0x03, 0x02, 0x02, 0x13};
constexpr unsigned char NINE[9] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
constexpr unsigned char ELEVEN[11] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x0C, 0x0A, 0x01, 0x02};

blob_t as_blob(const exact_bytes_t& bytes) {
    blob_t blob;
    blob.size = bytes.size();
    blob.data = bytes.data();
    return blob;
}

template <unsigned int N> void expect_equal_to_itself_alone(const unsigned char (&der)[N]) {
    const std::string own(as_chars(der, N));
    EXPECT_TRUE(asn_oid_equal_(as_blob(exact_bytes_t(own)), der)) << to_hex(own);
    for (unsigned int i = 0; i < N; ++i) {
        std::string other = own;
        other[i] = static_cast<char>(other[i] ^ 1);
        EXPECT_FALSE(asn_oid_equal_(as_blob(exact_bytes_t(other)), der)) << to_hex(other);
    }
    EXPECT_FALSE(asn_oid_equal_(as_blob(exact_bytes_t(own + '\x01')), der)) << to_hex(own) << " and one octet more";
    for_each_prefix(own, [&](const exact_bytes_t& prefix) { EXPECT_FALSE(asn_oid_equal_(as_blob(prefix), der)); });
}

TEST(oid_equal, same_size_and_same_octets) {
    expect_equal_to_itself_alone(SIX);
    expect_equal_to_itself_alone(NINE);
    expect_equal_to_itself_alone(ELEVEN);
}

TEST(oid_equal, zero_octets_do_not_end_the_comparison) {
    const unsigned char der[4] = {0x2A, 0x00, 0x01, 0x02};
    EXPECT_TRUE(asn_oid_equal_(as_blob(exact_bytes_t(from_hex("2A 00 01 02"))), der));
    EXPECT_FALSE(asn_oid_equal_(as_blob(exact_bytes_t(from_hex("2A 00 01 03"))), der));
}

TEST(oid_equal, another_size_is_unequal_without_a_look_at_the_octets) {
    blob_t blob;
    EXPECT_FALSE(asn_oid_equal_(blob, SIX));
    blob.size = 7;
    EXPECT_FALSE(asn_oid_equal_(blob, SIX));
}

} // namespace
