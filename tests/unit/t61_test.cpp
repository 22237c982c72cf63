// T.61 to UTF-8: every byte by itself, every diacritic prefix with every byte after it, and texts of several steps.
#include "derkit/t61.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>

#include "support/expect.h"
#include "support/vectors.h"
#include "testing/bytes.h"
#include "testing/iconv.h"

namespace {

// Bytes that T.61 leaves undefined, and 0x00.
const std::string UNDEFINED = from_hex("00 23 24 5C 5E 60 7B 7D 7E A9 AA AC AD AE AF B9 BA C0 C9"
                                       "D0 D1 D2 D3 D4 D5 D6 D7 D8 D9 DA DB DC DD DE DF E5 FF");

struct prefix_t {
    unsigned int byte;
    char32_t mark;    // combining
    char32_t spacing; // 0: none
    std::map<unsigned int, char32_t> letters;

    // What T.61 and Unicode say about the prefix and the byte after it.
    std::u32string with(unsigned int next) const {
        if ((next == 0x00 || next == 0x20) && spacing != 0) {
            return {spacing};
        }
        const auto found = letters.find(next);
        return found == letters.end() ? std::u32string{next, mark} : std::u32string{found->second};
    }
};

char32_t code_point(const vector_t& vector, std::string_view field) {
    return vector.has(field) ? static_cast<char32_t>(std::stoul(vector.field(field), nullptr, 16)) : 0;
}

const std::vector<prefix_t>& prefixes() {
    static const std::vector<prefix_t> PREFIXES = [] {
        std::vector<prefix_t> read;
        for (const vector_t& vector : read_vectors("t61-letters.txt")) {
            prefix_t prefix = {
                code_point(vector, "prefix"), code_point(vector, "mark"), code_point(vector, "spacing"), {}};
            std::istringstream letters(vector.has("letters") ? vector.field("letters") : "");
            for (std::string pair; letters >> pair;) { // "41=00C0"
                prefix.letters[static_cast<unsigned int>(std::stoul(pair.substr(0, 2), nullptr, 16))] =
                    static_cast<char32_t>(std::stoul(pair.substr(3), nullptr, 16));
            }
            read.push_back(prefix);
        }
        return read;
    }();
    return PREFIXES;
}

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

// Appends to what a string holds; a failure leaves it untouched.
std::optional<std::string> converted(std::string_view t61) {
    const exact_bytes_t input(t61);
    const std::string held("?\0?", 3);
    std::string out = held;
    const bool done = ldap_t61s_to_utf8s(input.chars(), input.size(), out);
    EXPECT_TRUE(same_bytes(held, out.substr(0, held.size())));
    EXPECT_TRUE(done || out == held);
    return done ? std::make_optional(out.substr(held.size())) : std::nullopt;
}

testing::AssertionResult converts(std::string_view t61, std::string_view utf8) {
    const std::optional<std::string> out = converted(t61);
    if (!out) {
        return testing::AssertionFailure() << "[" << to_hex(t61) << "] does not convert";
    }
    return same_bytes(utf8, *out) << " for [" << to_hex(t61) << "]";
}

TEST(t61, texts) {
    for_each_vector("t61.txt", [](const vector_t& vector) {
        if (vector.has("text")) {
            EXPECT_TRUE(converts(vector.bytes("T.61"), vector.text("text")));
        } else {
            EXPECT_EQ(std::nullopt, converted(vector.bytes("T.61")));
        }
    });
}

TEST(t61, every_byte_but_these_is_defined) {
    for (unsigned int byte = 0; byte < 256; ++byte) {
        const std::string t61 = bytes_of({byte});
        EXPECT_EQ(UNDEFINED.find(t61) == std::string::npos, converted(t61).has_value()) << to_hex(t61);
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
    ASSERT_EQ(14u, prefixes().size());
    for (const prefix_t& prefix : prefixes()) {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            EXPECT_TRUE(converts(bytes_of({prefix.byte, byte}), utf8_of(prefix.with(byte))));
        }
    }
}

TEST(t61, undefined_prefix_fails_with_every_byte) {
    for (const unsigned int prefix : {0xC0U, 0xC9U}) {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            EXPECT_EQ(std::nullopt, converted(bytes_of({prefix, byte}))) << prefix << ", " << byte;
        }
    }
}

// The C library knows only the letters of T.61's own repertoire; those must be ours too.
TEST(t61, composed_letters_of_the_systems_own_table) {
    int known = 0;
    for (const prefix_t& prefix : prefixes()) {
        for (const auto& [letter, composed] : prefix.letters) {
            const std::string t61 = bytes_of({prefix.byte, letter});
            const std::optional<std::string> theirs = iconv_text("T.61-8BIT", "UTF-8", t61);
            EXPECT_TRUE(!theirs || *theirs == utf8_of({composed})) << to_hex(t61);
            known += theirs.has_value();
        }
    }
    EXPECT_GT(known, 100);
}

TEST(t61, prefix_at_the_end_is_paired_with_zero) {
    for (const prefix_t& prefix : prefixes()) {
        EXPECT_TRUE(converts(bytes_of({'x', prefix.byte}), "x" + utf8_of(prefix.with(0))));
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

// Also in a text too long to be converted aside.
TEST(t61, undefined_byte_anywhere_fails) {
    for (unsigned int undefined_at = 0; undefined_at <= 100; ++undefined_at) {
        std::string t61(101, '\xE0');
        t61[undefined_at] = '\x5C';
        EXPECT_EQ(std::nullopt, converted(t61)) << undefined_at;
    }
}

// Everything that converts in one text: a step that consumes or counts too much shows in the next.
TEST(t61, steps_follow_each_other) {
    std::string t61;
    std::string utf8;
    for (const prefix_t& prefix : prefixes()) {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            t61 += bytes_of({prefix.byte, byte, 0xE8});
            utf8 += utf8_of(prefix.with(byte)) + utf8_of(U"\u0141");
        }
    }
    EXPECT_TRUE(utf8 == converted(t61)); // too long to be shown; the pairs are also tested one by one
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

} // namespace
