// Conversion of UCS-2 and UCS-4 to UTF-8.
#include "platform/convi.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <locale>

#include "support/expect.h"
#include "testing/bytes.h"

namespace {

// Converts into a block of exactly `room` bytes '?' and returns the block.
std::string convert(const convi& converter, std::string_view in, unsigned int room, unsigned int& written) {
    const exact_bytes_t from(in);
    std::unique_ptr<char[]> to(new char[room]);
    std::fill_n(to.get(), room, '?');
    written = converter.convert_safe(from.data(), from.size(), to.get(), room);
    return std::string(to.get(), room);
}

struct convi_case_t {
    const char* name;
    unsigned int page;
    const char* in;
    const char* utf8; // empty: does not convert
};

class convi_to_utf8 : public testing::TestWithParam<convi_case_t> {};

// A text that does not fit is refused whole.
TEST_P(convi_to_utf8, converts_if_there_is_room) {
    const convi converter(GetParam().page, CONVI_UTF8);
    const std::string in = from_hex(GetParam().in);
    const std::string utf8 = from_hex(GetParam().utf8);
    const exact_bytes_t block(in);
    EXPECT_EQ(utf8.size(), converter.get_outsize(block.data(), block.size()));
    for (unsigned int room = 0; room < utf8.size() + 3; ++room) {
        unsigned int written = 1;
        const std::string out = convert(converter, in, room, written);
        const std::string expected = room < utf8.size() ? "" : utf8;
        EXPECT_EQ(expected.size(), written) << "room for " << room;
        EXPECT_TRUE(same_bytes(expected + std::string(room - expected.size(), '?'), out)) << "room for " << room;
    }
}

const convi_case_t CONVERTED[] = {
    {"ucs2_ascii", 2, "00 61", "61"},
    {"ucs2_zero", 2, "00 00", "00"},
    {"ucs2_last_of_one_byte", 2, "00 7F", "7F"},
    {"ucs2_first_of_two_bytes", 2, "00 80", "C2 80"},
    {"ucs2_last_of_two_bytes", 2, "07 FF", "DF BF"},
    {"ucs2_first_of_three_bytes", 2, "08 00", "E0 A0 80"},
    {"ucs2_before_the_surrogates", 2, "D7 FF", "ED 9F BF"},
    {"ucs2_after_the_surrogates", 2, "E0 00", "EE 80 80"},
    {"ucs2_byte_order_mark_is_text", 2, "FE FF 00 61", "EF BB BF 61"},
    {"ucs2_last", 2, "FF FF", "EF BF BF"},
    {"ucs2_all_sizes", 2, "00 61 04 1F 20 AC 00 62", "61 D0 9F E2 82 AC 62"},
    {"ucs4_ascii", 4, "00 00 00 61", "61"},
    {"ucs4_zero", 4, "00 00 00 00", "00"},
    {"ucs4_first_of_two_bytes", 4, "00 00 00 80", "C2 80"},
    {"ucs4_before_the_surrogates", 4, "00 00 D7 FF", "ED 9F BF"},
    {"ucs4_after_the_surrogates", 4, "00 00 E0 00", "EE 80 80"},
    {"ucs4_last_of_three_bytes", 4, "00 00 FF FF", "EF BF BF"},
    {"ucs4_first_of_four_bytes", 4, "00 01 00 00", "F0 90 80 80"},
    {"ucs4_last", 4, "00 10 FF FF", "F4 8F BF BF"},
    {"ucs4_all_sizes", 4, "00 00 00 61 00 00 04 1F 00 00 20 AC 00 01 F6 00", "61 D0 9F E2 82 AC F0 9F 98 80"},
};

const convi_case_t REFUSED[] = {
    {"ucs2_empty", 2, "", ""},
    {"ucs2_half_a_character", 2, "00", ""},
    {"ucs2_one_and_a_half_characters", 2, "00 61 00", ""},
    {"ucs2_first_surrogate", 2, "D8 00", ""},
    {"ucs2_last_surrogate", 2, "DF FF", ""},
    {"ucs2_surrogate_pair", 2, "D8 3D DE 00", ""},
    {"ucs2_surrogate_after_text", 2, "00 61 00 62 DC 00", ""},
    {"ucs4_empty", 4, "", ""},
    {"ucs4_one_byte", 4, "00", ""},
    {"ucs4_two_bytes", 4, "00 61", ""},
    {"ucs4_three_bytes", 4, "00 00 00", ""},
    {"ucs4_five_bytes", 4, "00 00 00 61 00", ""},
    {"ucs4_first_surrogate", 4, "00 00 D8 00", ""},
    {"ucs4_last_surrogate", 4, "00 00 DF FF", ""},
    {"ucs4_first_beyond_unicode", 4, "00 11 00 00", ""},
    {"ucs4_top_bit", 4, "80 00 00 61", ""},
    {"ucs4_all_bits", 4, "FF FF FF FF", ""},
    {"ucs4_too_large_after_text", 4, "00 00 00 61 00 11 00 00", ""},
    {"page_0", 0, "00 61 00 62", ""},
    {"page_1", 1, "00 61 00 62", ""},
    {"page_3", 3, "00 61 00 62", ""},
    {"page_5", 5, "00 61 00 62", ""},
    {"utf8_to_itself", 6, "00 61 00 62", ""},
    {"page_of_32_bits", 0xFFFFFFFF, "00 61 00 62", ""},
};

INSTANTIATE_TEST_SUITE_P(converts, convi_to_utf8, testing::ValuesIn(CONVERTED), case_name_t());
INSTANTIATE_TEST_SUITE_P(refuses, convi_to_utf8, testing::ValuesIn(REFUSED), case_name_t());

TEST(convi_pages, utf8_is_the_only_target) {
    const exact_bytes_t in(from_hex("00 00 00 61"));
    for (const unsigned int from : {CONVI_UCS2_BE, CONVI_UCS4_BE}) {
        for (const unsigned int to : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 0xFFFFFFFFu}) {
            const convi converter(from, to);
            EXPECT_EQ(0u, converter.get_outsize(in.data(), in.size())) << from << " to " << to;
            unsigned int written = 1;
            EXPECT_EQ("????????", convert(converter, as_chars(in.data(), in.size()), 8, written));
            EXPECT_EQ(0u, written) << from << " to " << to;
        }
    }
}

// The standard library's own converter is the other opinion.
TEST(convi_characters, every_one_of_unicode_converts_as_in_the_standard_library) {
    using to_utf8_t = std::codecvt<char32_t, char8_t, std::mbstate_t>;
    const to_utf8_t& to_utf8 = std::use_facet<to_utf8_t>(std::locale::classic());
    const convi from_ucs2(CONVI_UCS2_BE, CONVI_UTF8);
    const convi from_ucs4(CONVI_UCS4_BE, CONVI_UTF8);
    for (char32_t c = 0; c <= 0x110000; ++c) {
        const unsigned char ucs4[] = {static_cast<unsigned char>(c >> 24), static_cast<unsigned char>(c >> 16),
                                      static_cast<unsigned char>(c >> 8), static_cast<unsigned char>(c)};
        char32_t character = c;
        char8_t expected[4] = {};
        std::mbstate_t state = {};
        const char32_t* next_in = nullptr;
        char8_t* end = expected;
        const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
        if (!surrogate && c <= 0x10FFFF) {
            ASSERT_EQ(std::codecvt_base::ok,
                      to_utf8.out(state, &character, &character + 1, next_in, expected, expected + 4, end));
        }
        const std::string_view utf8(reinterpret_cast<const char*>(expected), static_cast<std::size_t>(end - expected));
        char out[4] = {};
        ASSERT_EQ(utf8.size(), from_ucs4.convert_safe(ucs4, 4, out, 4)) << static_cast<unsigned long>(c);
        ASSERT_TRUE(same_bytes(utf8, std::string_view(out, utf8.size()))) << static_cast<unsigned long>(c);
        if (c <= 0xFFFF) {
            ASSERT_EQ(utf8.size(), from_ucs2.get_outsize(ucs4 + 2, 2)) << static_cast<unsigned long>(c);
            ASSERT_EQ(utf8.size(), from_ucs2.convert_safe(ucs4 + 2, 2, out, 4)) << static_cast<unsigned long>(c);
            ASSERT_TRUE(same_bytes(utf8, std::string_view(out, utf8.size()))) << static_cast<unsigned long>(c);
        }
    }
}

} // namespace
