// UTF-8 of one code point, in one to six bytes.
#include <string>
#include <vector>

#include "derkit/t61.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/iconv.h"

namespace {

// Encodes into a block of exactly `room` bytes 0xEE and returns what the block holds then.
std::string written(unsigned int wc, unsigned int room, int& result) {
    std::vector<char> block(room, '\xEE');
    char spare = 0;
    result = ldap_x_wc_to_utf8(room == 0 ? &spare : block.data(), wc, room);
    return std::string(block.begin(), block.end());
}

struct wide_case_t {
    const char* name;
    unsigned int wc;
    const char* utf8;
};
class wide_character : public testing::TestWithParam<wide_case_t> {};

TEST_P(wide_character, is_written_if_there_is_room) {
    const std::string utf8 = from_hex(GetParam().utf8);
    for (unsigned int room = 0; room < utf8.size() + 4; ++room) {
        int result = -2;
        const std::string block = written(GetParam().wc, room, result);
        if (room < utf8.size()) {
            EXPECT_EQ(0, result) << "room " << room;
        } else {
            EXPECT_EQ(static_cast<int>(utf8.size()), result) << "room " << room;
            EXPECT_TRUE(same_bytes(utf8 + std::string(room - utf8.size(), '\xEE'), block));
        }
    }
}

TEST_P(wide_character, size_is_returned_for_a_null_buffer_whatever_the_room) {
    const int size = static_cast<int>(from_hex(GetParam().utf8).size());
    for (const unsigned int room : {0U, 1U, 6U, 0xFFFFFFFFU}) {
        EXPECT_EQ(size, ldap_x_wc_to_utf8(nullptr, GetParam().wc, room)) << "room " << room;
    }
}

// RFC 2279: the first and the last code point of each length, and what Unicode does not allow.
const wide_case_t WIDE_CHARACTERS[] = {
    {"zero", 0x0, "00"},
    {"letter", 0x41, "41"},
    {"last_of_one_byte", 0x7F, "7F"},
    {"first_of_two_bytes", 0x80, "C2 80"},
    {"last_of_two_bytes", 0x7FF, "DF BF"},
    {"first_of_three_bytes", 0x800, "E0 A0 80"},
    {"first_surrogate", 0xD800, "ED A0 80"},
    {"last_surrogate", 0xDFFF, "ED BF BF"},
    {"last_of_three_bytes", 0xFFFF, "EF BF BF"},
    {"first_of_four_bytes", 0x10000, "F0 90 80 80"},
    {"first_above_unicode", 0x110000, "F4 90 80 80"},
    {"last_of_four_bytes", 0x1FFFFF, "F7 BF BF BF"},
    {"first_of_five_bytes", 0x200000, "F8 88 80 80 80"},
    {"last_of_five_bytes", 0x3FFFFFF, "FB BF BF BF BF"},
    {"first_of_six_bytes", 0x4000000, "FC 84 80 80 80 80"},
    {"mixed_bits_of_six_bytes", 0x52345678, "FD 92 8D 85 99 B8"},
    {"last_of_six_bytes", 0x7FFFFFFF, "FD BF BF BF BF BF"},
};
INSTANTIATE_TEST_SUITE_P(one_to_six_bytes, wide_character, testing::ValuesIn(WIDE_CHARACTERS), case_name_t());

TEST(wide_character_limits, top_bit_is_refused) {
    for (const unsigned int wc : {0x80000000U, 0x80000041U, 0xFFFFFFFFU}) {
        EXPECT_EQ(-1, ldap_x_wc_to_utf8(nullptr, wc, 0)) << wc;
        for (const unsigned int room : {0U, 5U, 6U, 16U}) {
            int result = 0;
            EXPECT_TRUE(same_bytes(std::string(room, '\xEE'), written(wc, room, result)));
            EXPECT_EQ(-1, result) << wc << ", room " << room;
        }
    }
}

TEST(wide_character_limits, all_of_unicode_is_as_the_system_writes_it) {
    std::u32string code_points;
    std::string utf8;
    for (unsigned int wc = 0; wc < 0x110000; ++wc) {
        if (wc >= 0xD800 && wc < 0xE000) {
            continue;
        }
        char buffer[6];
        const int size = ldap_x_wc_to_utf8(buffer, wc, sizeof buffer);
        ASSERT_GT(size, 0) << wc;
        utf8.append(buffer, static_cast<std::size_t>(size));
        code_points.push_back(wc);
    }
    EXPECT_TRUE(utf8 == utf8_of(code_points)); // megabytes: no use in showing them
}

} // namespace
