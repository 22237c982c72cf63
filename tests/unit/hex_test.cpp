// Bytes as upper-case hexadecimal text.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/int2str.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/processor.h"

namespace {

std::string all_bytes() {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes.push_back(static_cast<char>(i));
    }
    return bytes;
}

// The text in a block of exactly its size.
std::string written(std::string_view bytes, std::size_t size, char sep) {
    const exact_bytes_t input(bytes);
    std::vector<char> block(size, '?');
    TO_HEX_STRING(input.data(), input.size(), block.data(), sep);
    return std::string(block.begin(), block.end());
}

std::string appended(std::string_view before, std::string_view bytes, char sep) {
    const exact_bytes_t input(bytes);
    std::string out(before);
    EXPECT_EQ(&out, &TO_HEX_STD_STRING(input.data(), input.size(), out, sep));
    return out;
}

struct hex_case_t {
    const char* name;
    const char* bytes;
    char sep;
    std::string text;
};
class hex : public testing::TestWithParam<hex_case_t> {};

TEST_P(hex, is_written_into_just_enough_room) {
    const hex_case_t& c = GetParam();
    EXPECT_EQ(c.text, written(from_hex(c.bytes), c.text.size(), c.sep));
}

TEST_P(hex, writes_nothing_behind_itself) {
    const hex_case_t& c = GetParam();
    EXPECT_EQ(c.text + "???", written(from_hex(c.bytes), c.text.size() + 3, c.sep));
}

TEST_P(hex, is_appended) {
    const hex_case_t& c = GetParam();
    EXPECT_EQ(c.text, appended("", from_hex(c.bytes), c.sep));
    EXPECT_EQ("before" + c.text, appended("before", from_hex(c.bytes), c.sep));
}

const hex_case_t TEXTS[] = {
    {"without_separator", "00 AB 10", '\0', "00AB10"},
    {"with_separator", "00 AB 10", ':', "00:AB:10"},
    {"blank_as_separator", "DE AD BE EF", ' ', "DE AD BE EF"},
    {"digit_as_separator", "12 34", '0', "12034"},
    {"separator_above_ascii", "12 34", '\xFF',
     "12\xFF"
     "34"},
    {"high_half_first", "1F", '\0', "1F"},
    {"one_byte_has_no_separator", "0A", ':', "0A"},
    {"two_bytes", "FF 00", '-', "FF-00"},
};
INSTANTIATE_TEST_SUITE_P(of_bytes, hex, testing::ValuesIn(TEXTS), case_name_t());

TEST(hex_digits, of_every_byte) {
    const std::string text = to_hex(all_bytes());
    EXPECT_EQ(text, written(all_bytes(), text.size(), ' '));
    EXPECT_EQ(text, appended("", all_bytes(), ' '));
}

TEST(plain_processor, has_no_AVX2) {
    const bool before = processor_has_avx2();
    {
        const plain_processor_t plain;
        EXPECT_FALSE(processor_has_avx2()) << "so the two kinds of blocks below are one";
    }
    EXPECT_EQ(before, processor_has_avx2());
}

// Long texts are converted in blocks of two kinds, the last of which overlaps the one before it.
void expect_same_digits_without_separator() {
    const std::string bytes = all_bytes() + all_bytes();
    for (std::size_t size = 1; size <= all_bytes().size(); ++size) {
        for (const std::size_t start : {std::size_t{0}, size}) {
            const std::string_view part = std::string_view(bytes).substr(start, size);
            std::string text = to_hex(part);
            text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
            ASSERT_EQ(text, written(part, text.size(), '\0')) << size << " bytes from " << start;
        }
    }
}

TEST(hex_digits, without_separator_are_those_with_one_at_every_size) {
    on_each_processor(expect_same_digits_without_separator);
}

// Blocks are read and written wherever they stand.
void expect_same_digits_at_every_address() {
    const std::string bytes = all_bytes() + all_bytes();
    std::string text = to_hex(bytes);
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    const exact_bytes_t input(bytes);
    for (const unsigned int size : {1U, 15U, 16U, 17U, 31U, 32U, 33U, 63U, 64U, 65U, 79U, 80U, 81U, 127U, 128U, 129U}) {
        for (unsigned int start = 0; start <= 32; ++start) {
            const std::string before(start, '?');
            std::string out = before + std::string(2 * size + 32, '?');
            TO_HEX_STRING(input.data() + start, size, &out[start], '\0');
            const std::string expected = before + text.substr(2 * start, 2 * size) + std::string(32, '?');
            ASSERT_EQ(expected, out) << size << " bytes from " << start;
        }
    }
}

TEST(hex_digits, are_the_same_at_every_address) {
    on_each_processor(expect_same_digits_at_every_address);
}

// The first byte is converted before the size is asked for.
TEST(hex_of_no_bytes, converts_one_byte_all_the_same) {
    const exact_bytes_t input("\x5A");
    for (const char sep : {'\0', ':'}) {
        char out[] = "???";
        TO_HEX_STRING(input.data(), 0, out, sep);
        EXPECT_STREQ("5A?", out);
    }
}

TEST(hex_of_no_bytes, appends_nothing_to_a_string) {
    EXPECT_EQ("before", appended("before", "", '\0'));
    EXPECT_EQ("before", appended("before", "", ':'));
    std::string out = "before";
    EXPECT_EQ(&out, &TO_HEX_STD_STRING(nullptr, 0, out, ':'));
    EXPECT_EQ("before", out);
}

TEST(hex_text, keeps_zero_bytes_in_front_of_it) {
    EXPECT_TRUE(same_bytes(from_hex("00 61 00 34 32"), appended(std::string_view("\0a\0", 3), "B", ':')));
}

} // namespace
