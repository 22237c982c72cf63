// The UTF-8 of single characters, as the tables of T.61 hold it.
#include "asn/t61_decoder.h"

#include <gtest/gtest.h>

#include <string>

#include "support/expect.h"
#include "testing/bytes.h"

namespace {

struct character_case_t {
    unsigned int code_point;
    const char* utf8;
};

// RFC 3629 3: the first and the last character of each size.
constexpr character_case_t CHARACTER_CASES[] = {
    {0x0000, "00"},   {0x0041, "41"},     {0x007F, "7F"},     {0x0080, "C280"},   {0x00E9, "C3A9"},
    {0x07FF, "DFBF"}, {0x0800, "E0A080"}, {0x2126, "E284A6"}, {0xFFFF, "EFBFBF"},
};

TEST(t61_decoder, characters_take_one_to_three_octets) {
    for (const character_case_t& c : CHARACTER_CASES) {
        const utf8_t utf8 = utf8_character(c.code_point);
        EXPECT_TRUE(same_bytes(from_hex(c.utf8), std::string(utf8.octets, utf8.size))) << c.code_point;
    }
}

} // namespace
