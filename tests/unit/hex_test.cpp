// Bytes as upper-case hexadecimal text.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/int2str.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

std::string all_bytes() {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes.push_back(static_cast<char>(i));
    }
    return bytes;
}

// The text, written into a block of that size.
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

TEST(hex, is_written_into_just_enough_room_or_appended) {
    for (const hex_case_t& c : TEXTS) {
        const std::string bytes = from_hex(c.bytes);
        EXPECT_EQ(c.text, written(bytes, c.text.size(), c.sep)) << c.name;
        EXPECT_EQ(c.text + "???", written(bytes, c.text.size() + 3, c.sep)) << c.name;
        EXPECT_EQ(c.text, appended("", bytes, c.sep)) << c.name;
        EXPECT_EQ("before" + c.text, appended("before", bytes, c.sep)) << c.name;
    }
}

TEST(hex, of_every_byte) {
    const std::string text = to_hex(all_bytes());
    EXPECT_EQ(text, written(all_bytes(), text.size(), ' '));
    EXPECT_EQ(text, appended("", all_bytes(), ' '));
}

// Long texts are converted in blocks, the last of which overlaps the one before it, wherever they begin.
TEST(hex, without_separator_is_the_same_at_every_size_and_address) {
    const std::string bytes = all_bytes() + all_bytes();
    std::string text = to_hex(bytes);
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    for (std::size_t size = 1; size <= 256; ++size) {
        for (const std::size_t start : {std::size_t{0}, size}) {
            ASSERT_EQ(text.substr(2 * start, 2 * size), written(bytes.substr(start, size), 2 * size, '\0'))
                << size << " bytes from " << start;
        }
    }
    const exact_bytes_t input(bytes);
    for (const unsigned int size : {1U, 15U, 16U, 17U, 31U, 32U, 33U, 63U, 64U, 65U}) {
        for (unsigned int start = 0; start <= 32; ++start) {
            const std::string before(start, '?');
            std::string out = before + std::string(2 * size + 32, '?');
            TO_HEX_STRING(input.data() + start, size, &out[start], '\0');
            ASSERT_EQ(before + text.substr(2 * start, 2 * size) + std::string(32, '?'), out)
                << size << " bytes from " << start;
        }
    }
}

// The first byte is converted before the size is looked at.
TEST(hex, of_no_bytes_converts_one_byte_all_the_same) {
    const exact_bytes_t input("\x5A");
    for (const char sep : {'\0', ':'}) {
        char out[] = "???";
        TO_HEX_STRING(input.data(), 0, out, sep);
        EXPECT_STREQ("5A?", out);
    }
}

TEST(hex, of_no_bytes_appends_nothing_to_a_string) {
    EXPECT_EQ("before", appended("before", "", '\0'));
    EXPECT_EQ("before", appended("before", "", ':'));
    std::string out = "before";
    EXPECT_EQ(&out, &TO_HEX_STD_STRING(nullptr, 0, out, ':'));
    EXPECT_EQ("before", out);
}

TEST(hex, keeps_zero_bytes_in_front_of_it) {
    EXPECT_TRUE(same_bytes(from_hex("00 61 00 34 32"), appended(std::string_view("\0a\0", 3), "B", ':')));
}

} // namespace
