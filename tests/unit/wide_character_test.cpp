// UTF-8 of one code point, in one to six bytes.
#include <string>
#include <vector>

#include "derkit/t61.h"
#include "support/expect.h"
#include "support/vectors.h"
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

TEST(wide_character, is_written_if_there_is_room) {
    for_each_vector("wide-characters.txt", [](const vector_t& vector) {
        const std::string utf8 = vector.bytes("UTF-8");
        for (unsigned int room = 0; room < utf8.size() + 4; ++room) {
            int result = -2;
            const std::string block = written(vector.number("code point", 16), room, result);
            if (room < utf8.size()) {
                EXPECT_EQ(0, result) << "room " << room;
            } else {
                EXPECT_EQ(static_cast<int>(utf8.size()), result) << "room " << room;
                EXPECT_TRUE(same_bytes(utf8 + std::string(room - utf8.size(), '\xEE'), block));
            }
        }
    });
}

TEST(wide_character, size_is_returned_for_a_null_buffer_whatever_the_room) {
    for_each_vector("wide-characters.txt", [](const vector_t& vector) {
        for (const unsigned int room : {0U, 1U, 6U, 0xFFFFFFFFU}) {
            EXPECT_EQ(static_cast<int>(vector.bytes("UTF-8").size()),
                      ldap_x_wc_to_utf8(nullptr, vector.number("code point", 16), room))
                << "room " << room;
        }
    });
}

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
