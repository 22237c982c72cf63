// Bytes as upper-case hexadecimal text.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "derkit/int2str.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/views.h"

namespace {

using namespace std::string_view_literals;

std::string all_bytes() {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes.push_back(static_cast<char>(i));
    }
    return bytes;
}

// Converts into a string of that size, at a place in it.
std::string written(std::string_view bytes, std::size_t size, char sep, std::size_t place = 0) {
    const exact_bytes_t input(bytes);
    std::string out(size, '?');
    TO_HEX_STRING(input.data(), input.size(), &out[place], sep);
    return out;
}

std::string appended(std::string_view before, std::string_view bytes, char sep) {
    const exact_bytes_t input(bytes);
    std::string out(before);
    EXPECT_EQ(&out, &TO_HEX_STD_STRING(input.data(), input.size(), out, sep));
    return out;
}

// Written into just enough room or more, and appended.
void expect_text(const std::string& text, std::string_view bytes, char sep) {
    EXPECT_TRUE(same_bytes(text, written(bytes, text.size(), sep)));
    EXPECT_TRUE(same_bytes(text + "???", written(bytes, text.size() + 3, sep)));
    for (const std::string_view before : {""sv, "before"sv, "\0a\0"sv}) {
        EXPECT_TRUE(same_bytes(std::string(before) + text, appended(before, bytes, sep)));
    }
}

TEST(hex, two_digits_a_byte_and_a_separator_between_bytes) {
    const struct {
        const char* bytes;
        char sep;
        const char* text;
    } cases[] = {{"00 AB 10", '\0', "00AB10"},
                 {"00 AB 10", ':', "00:AB:10"},
                 {"DE AD BE EF", ' ', "DE AD BE EF"},
                 {"12 34", '0', "12034"},
                 {"12 34", '\xFF', "12\xFF\x33\x34"},
                 {"1F", '\0', "1F"},
                 {"0A", ':', "0A"},
                 {"FF 00", '-', "FF-00"}};
    for (const auto& c : cases) {
        expect_text(c.text, from_hex(c.bytes), c.sep);
    }
    expect_text(to_hex(all_bytes()), all_bytes(), ' ');
}

// Long texts are converted in blocks, the last of which overlaps the one before it.
TEST(hex, without_separator_is_the_same_at_every_size_and_address) {
    const std::string bytes = all_bytes() + all_bytes();
    std::string text = to_hex(bytes);
    std::erase(text, ' ');
    for (std::size_t size = 1; size <= 256; ++size) {
        for (const std::size_t start : {std::size_t{0}, size}) {
            ASSERT_EQ(text.substr(2 * start, 2 * size), written(bytes.substr(start, size), 2 * size, '\0'))
                << size << " bytes from " << start;
        }
    }
    for (const std::size_t size : sizes_t{1, 15, 16, 17, 31, 32, 33, 63, 64, 65}) {
        for (std::size_t place = 0; place <= 32; ++place) {
            const std::string digits = text.substr(2 * place, 2 * size);
            ASSERT_EQ(std::string(place, '?') + digits + std::string(32, '?'),
                      written(std::string_view(bytes).substr(place, size), place + 2 * size + 32, '\0', place))
                << size << " bytes to " << place;
        }
    }
}

// The first byte is converted before the size is looked at.
TEST(hex, of_no_bytes_writes_one_byte_and_appends_nothing) {
    for (const char sep : {'\0', ':'}) {
        const exact_bytes_t input("\x5A");
        char out[] = "???";
        TO_HEX_STRING(input.data(), 0, out, sep);
        EXPECT_STREQ("5A?", out);
        std::string text = "before";
        EXPECT_EQ(&text, &TO_HEX_STD_STRING(nullptr, 0, text, sep));
        EXPECT_EQ("before", text);
    }
}

} // namespace
