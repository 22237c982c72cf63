// T.61 to UTF-8: every byte by itself, every diacritic prefix with every byte behind it, and texts of several steps.
#include "derkit/t61.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/iconv.h"

namespace {

// Bytes that T.61 leaves undefined, and 0x00.
constexpr unsigned char UNDEFINED[] = {0x00, 0x23, 0x24, 0x5C, 0x5E, 0x60, 0x7B, 0x7D, 0x7E, 0xA9, 0xAA, 0xAC, 0xAD,
                                       0xAE, 0xAF, 0xB9, 0xBA, 0xC0, 0xC9, 0xD0, 0xD1, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6,
                                       0xD7, 0xD8, 0xD9, 0xDA, 0xDB, 0xDC, 0xDD, 0xDE, 0xDF, 0xE5, 0xFF};

struct prefix_t {
    unsigned char byte;
    char32_t mark;    // combining
    char32_t spacing; // 0: none
};
constexpr prefix_t PREFIXES[] = {
    {0xC1, 0x0300, 0x0060}, // grave
    {0xC2, 0x0301, 0x00B4}, // acute
    {0xC3, 0x0302, 0x005E}, // circumflex
    {0xC4, 0x0303, 0x007E}, // tilde
    {0xC5, 0x0304, 0x00AF}, // macron
    {0xC6, 0x0306, 0x02D8}, // breve
    {0xC7, 0x0307, 0x02D9}, // dot above
    {0xC8, 0x0308, 0x00A8}, // diaeresis
    {0xCA, 0x030A, 0x02DA}, // ring above
    {0xCB, 0x0327, 0x00B8}, // cedilla
    {0xCC, 0x0332, 0},      // low line
    {0xCD, 0x030B, 0x02DD}, // double acute
    {0xCE, 0x0328, 0x02DB}, // ogonek
    {0xCF, 0x030C, 0x02C7}, // caron
};

struct composition_t {
    unsigned char prefix;
    unsigned char letter;
    char32_t composed;
};
constexpr composition_t COMPOSITIONS[] = {
#include "t61_compositions.inc"
};

std::string bytes_of(std::initializer_list<unsigned int> values) {
    std::string bytes;
    for (const unsigned int value : values) {
        bytes.push_back(static_cast<char>(value));
    }
    return bytes;
}

bool is_prefix(unsigned int byte) {
    return (byte & 0xF0) == 0xC0;
}

bool is_undefined(unsigned int byte) {
    return std::find(std::begin(UNDEFINED), std::end(UNDEFINED), byte) != std::end(UNDEFINED);
}

std::optional<std::string> converted(std::string_view t61) {
    const exact_bytes_t input(t61);
    std::string out;
    if (!ldap_t61s_to_utf8s(input.chars(), input.size(), out)) {
        return std::nullopt;
    }
    return out;
}

testing::AssertionResult converts(std::string_view t61, std::string_view utf8) {
    const std::optional<std::string> out = converted(t61);
    if (!out) {
        return testing::AssertionFailure() << "[" << to_hex(t61) << "] does not convert";
    }
    return same_bytes(utf8, *out) << " for [" << to_hex(t61) << "]";
}

// What T.61 and Unicode say about a prefix and the byte behind it.
std::u32string pair_text(const prefix_t& prefix, unsigned int byte) {
    static const auto composed = [] {
        std::map<std::pair<unsigned int, unsigned int>, char32_t> pairs;
        for (const composition_t& row : COMPOSITIONS) {
            pairs[{row.prefix, row.letter}] = row.composed;
        }
        return pairs;
    }();
    if ((byte == 0x00 || byte == 0x20) && prefix.spacing != 0) {
        return {prefix.spacing};
    }
    const auto found = composed.find({prefix.byte, byte});
    return found == composed.end() ? std::u32string{byte, prefix.mark} : std::u32string{found->second};
}

TEST(t61, undefined_byte_fails) {
    for (const unsigned int byte : UNDEFINED) {
        EXPECT_EQ(std::nullopt, converted(bytes_of({byte}))) << to_hex(bytes_of({byte}));
    }
}

TEST(t61, every_other_byte_is_defined) {
    for (unsigned int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(!is_undefined(byte), converted(bytes_of({byte})).has_value()) << to_hex(bytes_of({byte}));
    }
}

TEST(t61, single_bytes_are_those_of_the_systems_own_table) {
    for (unsigned int byte = 0; byte < 256; ++byte) {
        // The C library has no NO-BREAK SPACE here (see below), takes 0x00 as NUL and a prefix alone as incomplete.
        if (byte == 0xA0 || byte == 0x00 || is_prefix(byte)) {
            continue;
        }
        const std::string t61 = bytes_of({byte});
        EXPECT_EQ(iconv_text("T.61-8BIT", "UTF-8", t61), converted(t61)) << to_hex(t61);
    }
}

TEST(t61, no_break_space_keeps_its_place) {
    EXPECT_TRUE(converts(from_hex("A0"), utf8_of(U"\u00A0")));
}

TEST(t61, one_hundred_and_seventy_one_bytes_are_their_own_code_point) {
    int identical = 1; // 0x00, whose "no mapping" is 0
    for (unsigned int byte = 1; byte < 256; ++byte) {
        identical += !is_prefix(byte) && converted(bytes_of({byte})) == utf8_of({byte});
    }
    EXPECT_EQ(171, identical);
}

TEST(t61, every_prefix_with_every_byte) {
    for (const prefix_t& prefix : PREFIXES) {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            EXPECT_TRUE(converts(bytes_of({prefix.byte, byte}), utf8_of(pair_text(prefix, byte))));
        }
    }
}

TEST(t61, undefined_prefix_fails_with_every_byte) {
    for (const unsigned int prefix : {0xC0U, 0xC9U}) {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            const std::string t61 = bytes_of({prefix, byte});
            EXPECT_EQ(std::nullopt, converted(t61)) << to_hex(t61);
        }
    }
}

// The C library knows only the letters of T.61's own repertoire; those must be ours too.
TEST(t61, composed_letters_of_the_systems_own_table) {
    int known = 0;
    for (const composition_t& row : COMPOSITIONS) {
        const std::string t61 = bytes_of({row.prefix, row.letter});
        const std::optional<std::string> theirs = iconv_text("T.61-8BIT", "UTF-8", t61);
        if (theirs) {
            EXPECT_TRUE(converts(t61, *theirs));
            ++known;
        }
    }
    EXPECT_GT(known, 100);
}

TEST(t61, prefix_at_the_end_is_paired_with_zero) {
    for (const prefix_t& prefix : PREFIXES) {
        EXPECT_TRUE(converts(bytes_of({'x', prefix.byte}), "x" + utf8_of(pair_text(prefix, 0))));
    }
}

TEST(t61, prefix_at_the_end_does_not_look_past_it) {
    std::string out;
    ASSERT_TRUE(ldap_t61s_to_utf8s("\xC2\x41", 1, out));
    EXPECT_TRUE(same_bytes(utf8_of(U"\u00B4"), out));
}

TEST(t61, empty_text_succeeds_and_appends_nothing) {
    std::string out = "before";
    EXPECT_TRUE(ldap_t61s_to_utf8s("", 0, out));
    EXPECT_TRUE(ldap_t61s_to_utf8s(nullptr, 0, out));
    EXPECT_EQ("before", out);
}

TEST(t61, text_is_appended) {
    std::string out("?\0?", 3);
    EXPECT_TRUE(ldap_t61s_to_utf8s("a\xE8", 2, out));
    EXPECT_TRUE(same_bytes(from_hex("3F 00 3F 61 C5 81"), out));
}

TEST(t61, failure_anywhere_leaves_the_output_untouched) {
    for (const char* const hex : {"5C", "61 5C", "61 C2 41 00", "C2 41 C9 41", "E8 E8 E8 FF 61", "C2 20 C0"}) {
        const exact_bytes_t t61(from_hex(hex));
        std::string out = "before";
        EXPECT_FALSE(ldap_t61s_to_utf8s(t61.chars(), t61.size(), out)) << hex;
        EXPECT_EQ("before", out) << hex;
    }
    // Also that of a text too long to be converted aside.
    for (unsigned int undefined_at = 0; undefined_at <= 100; ++undefined_at) {
        std::string t61(101, '\xE0');
        t61[undefined_at] = '\x5C';
        std::string out = "before";
        EXPECT_FALSE(ldap_t61s_to_utf8s(t61.data(), 101, out)) << undefined_at;
        EXPECT_EQ("before", out) << undefined_at;
    }
}

// All that converts, one behind the other: what one step takes or counts too much shows in the next.
TEST(t61, steps_follow_each_other) {
    std::string t61;
    std::string utf8;
    for (const prefix_t& prefix : PREFIXES) {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            t61 += bytes_of({prefix.byte, byte, 0xE8});
            utf8 += utf8_of(pair_text(prefix, byte)) + utf8_of(U"\u0141");
        }
    }
    const std::optional<std::string> out = converted(t61);
    ASSERT_TRUE(out.has_value());
    EXPECT_TRUE(utf8 == *out); // too long to be shown; the pairs are also tested one by one
}

// Short texts are converted aside, long ones in place. Nothing grows more than the ohm sign and a prefix at the end.
TEST(t61, texts_of_every_size_convert_alike) {
    for (unsigned int size = 0; size <= 100; ++size) {
        for (const char* const front : {"", "a"}) {
            std::string t61 = front;
            std::string utf8 = front;
            for (unsigned int i = 0; i < size; ++i) {
                t61 += '\xE0';
                utf8 += utf8_of(U"\u2126");
            }
            EXPECT_TRUE(converts(t61 + '\xCC', utf8 + utf8_of({0, 0x0332}))) << t61.size();
            EXPECT_EQ(std::nullopt, converted(t61 + '\xC9')) << t61.size();
        }
    }
}

struct t61_case_t {
    const char* name;
    const char* t61;
    const char* utf8;
};
class t61_text : public testing::TestWithParam<t61_case_t> {};

TEST_P(t61_text, converts) {
    EXPECT_TRUE(converts(from_hex(GetParam().t61), from_hex(GetParam().utf8)));
}

const t61_case_t TEXTS[] = {
    {"ascii_stays", "61 62 63", "61 62 63"},
    {"controls_stay", "01 1F 7F 80 9F", "01 1F 7F C2 80 C2 9F"},
    {"dollar_is_a4", "A4", "24"},
    {"number_sign_is_a6", "A6", "23"},
    {"currency_sign_is_a8", "A8", "C2 A4"},
    {"multiplication_sign_is_b4", "B4", "C3 97"},
    {"division_sign_is_b8", "B8", "C3 B7"},
    {"ohm_sign_is_e0", "E0", "E2 84 A6"},
    {"capital_ae_is_e1", "E1", "C3 86"},
    {"e2_is_eth_and_not_d_with_stroke", "E2", "C3 90"},
    {"capital_l_with_stroke_is_e8", "E8", "C5 81"},
    {"capital_oe_is_ea", "EA", "C5 92"},
    {"sharp_s_is_fb", "FB", "C3 9F"},
    {"small_eng_is_fe", "FE", "C5 8B"},
    {"letter_composes", "C2 41", "C3 81"},
    {"acute_g", "C2 47", "C7 B4"},
    {"acute_k", "C2 4B", "E1 B8 B0"},
    {"caron_small_c", "CF 63", "C4 8D"},
    {"caron_small_h", "CF 68", "C8 9F"},
    {"caron_small_j", "CF 6A", "C7 B0"},
    {"acute_capital_ligature", "C2 E1", "C7 BC"},
    {"acute_small_ligature", "C2 F1", "C7 BD"},
    {"macron_capital_ligature", "C5 E1", "C7 A2"},
    {"macron_small_ligature", "C5 F1", "C7 A3"},
    // 0xE9 is a letter O with stroke, but behind a prefix it stands for the code point U+00E9.
    {"letter_above_ascii_does_not_compose", "C2 E9", "C3 A9 CC 81"},
    {"space_after_prefix_is_consumed", "C2 20 78", "C2 B4 78"},
    {"zero_after_prefix_is_consumed", "C2 00 78", "C2 B4 78"},
    {"low_line_never_composes", "CC 41", "41 CC B2"},
    {"low_line_has_no_spacing_form_for_space", "CC 20", "20 CC B2"},
    {"low_line_has_no_spacing_form_for_zero", "CC 00", "00 CC B2"},
    {"digit_takes_the_combining_mark", "C2 31", "31 CC 81"},
    {"undefined_byte_is_taken_as_it_is_behind_a_prefix", "C2 5C", "5C CC 81"},
    {"byte_behind_a_prefix_is_not_mapped", "C2 A4", "C2 A4 CC 81"},
    {"prefix_behind_a_prefix_is_no_prefix", "C2 C2 41", "C3 82 CC 81 41"},
};
INSTANTIATE_TEST_SUITE_P(gives_utf8, t61_text, testing::ValuesIn(TEXTS), case_name_t());

} // namespace
