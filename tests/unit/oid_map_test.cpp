// OID maps: their text format, their entries and indexes, the built-in table, the lookups.
#include "asn/oid_map.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/parsed_map.h"

#if defined(__SANITIZE_ADDRESS__)
#define DERKIT_TESTS_EXACT_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DERKIT_TESTS_EXACT_HEAP 1
#endif
#endif

namespace {

using namespace std::string_view_literals;

constexpr bool IS_32_BIT = sizeof(void*) == 4;

// Found by a static initialiser of ordinary priority: the ready-made maps must be complete by then.
const OIDdescr_t* const FOUND_AT_START = oid_map_find_sn(OID_MAP_HANDLE_DEFAULT, "SUNIP", 5);
const OIDdescr_t* const FOUND_IN_FILE_MAP_AT_START = oid_map_find_sn(OID_MAP_HANDLE_DEFAULT_FILE, "SUNIP", 5);

const OIDdescr_t* find_asn(oid_map_handle_t map, std::string_view hex) {
    const exact_bytes_t der(from_hex(hex));
    return oid_map_find_asn(map, der.data(), der.size());
}

const OIDdescr_t* find_str(oid_map_handle_t map, std::string_view text) {
    const exact_bytes_t key(text);
    return oid_map_find_str(map, key.chars(), key.size());
}

const OIDdescr_t* find_sn(oid_map_handle_t map, std::string_view name) {
    const exact_bytes_t key(name);
    return oid_map_find_sn(map, key.chars(), key.size());
}

// An entry as one line, its DER as hex: "55 04 03|2.5.4.3|CN|commonName".
std::string show(const OIDdescr_t& entry) {
    return to_hex(entry.oid_asn, entry.oid_asn_size) + "|" + std::string(entry.oid_str, entry.oid_str_size) + "|" +
           std::string(entry.oid_sn, entry.oid_sn_size) + "|" + std::string(entry.oid_ln, entry.oid_ln_size);
}

std::string show(const OIDdescr_t* entry) {
    return entry == nullptr ? "none" : show(*entry);
}

std::vector<std::string> show_all(const OIDmaps_t& map) {
    std::vector<std::string> lines;
    for (const OIDdescr_t& entry : map.entries) {
        lines.push_back(show(entry));
    }
    return lines;
}

// ---- layout ----

TEST(oid_map_layout, fields_of_an_entry) {
    static_assert(std::is_standard_layout_v<OIDdescr_t> && std::is_trivially_copyable_v<OIDdescr_t>);
    constexpr std::size_t FIELD = sizeof(void*); // pointers and padded 32-bit sizes take turns
    EXPECT_EQ(offsetof(OIDdescr_t, oid_asn), 0 * FIELD);
    EXPECT_EQ(offsetof(OIDdescr_t, oid_asn_size), 1 * FIELD);
    EXPECT_EQ(offsetof(OIDdescr_t, oid_str), 2 * FIELD);
    EXPECT_EQ(offsetof(OIDdescr_t, oid_str_size), 3 * FIELD);
    EXPECT_EQ(offsetof(OIDdescr_t, oid_sn), 4 * FIELD);
    EXPECT_EQ(offsetof(OIDdescr_t, oid_sn_size), 5 * FIELD);
    EXPECT_EQ(offsetof(OIDdescr_t, oid_ln), 6 * FIELD);
    EXPECT_EQ(offsetof(OIDdescr_t, oid_ln_size), 7 * FIELD);
    EXPECT_EQ(sizeof(OIDdescr_t), IS_32_BIT ? 32u : 64u);
    EXPECT_EQ(sizeof(OIDdescr_t::oid_asn_size), 4u);
}

TEST(oid_map_layout, fresh_entry_is_empty) {
    const OIDdescr_t entry;
    EXPECT_EQ(entry.oid_asn, nullptr);
    EXPECT_EQ(entry.oid_asn_size, 0u);
    EXPECT_EQ(entry.oid_str, nullptr);
    EXPECT_EQ(entry.oid_str_size, 0u);
    EXPECT_EQ(entry.oid_sn, nullptr);
    EXPECT_EQ(entry.oid_sn_size, 0u);
    EXPECT_EQ(entry.oid_ln, nullptr);
    EXPECT_EQ(entry.oid_ln_size, 0u);
    EXPECT_EQ(oid_map_handle_t().map, nullptr);
}

TEST(oid_map_layout, map_begins_with_its_list_and_three_indexes_in_that_order) {
    const OIDmaps_t map;
    const char* const start = reinterpret_cast<const char*>(&map);
    EXPECT_EQ(reinterpret_cast<const char*>(&map.entries) - start, 0);
    EXPECT_EQ(reinterpret_cast<const char*>(&map.by_asn) - start, IS_32_BIT ? 12 : 24);
    EXPECT_EQ(reinterpret_cast<const char*>(&map.by_str) - start, IS_32_BIT ? 36 : 72);
    EXPECT_EQ(reinterpret_cast<const char*>(&map.by_sn) - start, IS_32_BIT ? 60 : 120);
    EXPECT_EQ(sizeof(oid_map_handle_t), sizeof(void*));
    static_assert(std::is_base_of_v<OIDmaps_t, default_oid_map_t>);
    static_assert(std::is_base_of_v<default_oid_map_t, default_file_oid_map_t>);
}

TEST(oid_map_layout, texts_of_an_entry_lie_in_one_block) {
    const parsed_map_t map("2.005.4.3 = Cn, the common name\n1.2.3 =");
    ASSERT_EQ(map.map().entries.size(), 2u);
    const OIDdescr_t& entry = map.map().entries.front();
    const std::string_view expected = "\x55\x04\x03"
                                      "2.005.4.3\0"
                                      "CN\0"
                                      "the common name\0"sv;
    EXPECT_TRUE(same_bytes(expected, as_chars(entry.oid_asn, expected.size())));
    EXPECT_EQ(entry.oid_asn_size, 3u);
    const char* const start = reinterpret_cast<const char*>(entry.oid_asn);
    EXPECT_EQ(entry.oid_str - start, 3);
    EXPECT_EQ(entry.oid_str_size, 9u);
    EXPECT_EQ(entry.oid_sn - start, 13);
    EXPECT_EQ(entry.oid_sn_size, 2u);
    EXPECT_EQ(entry.oid_ln - start, 16);
    EXPECT_EQ(entry.oid_ln_size, 15u);

    const OIDdescr_t& bare = map.map().entries.back();
    const std::string_view expected_bare = "\x2A\x03"
                                           "1.2.3\0\0\0"sv;
    EXPECT_TRUE(same_bytes(expected_bare, as_chars(bare.oid_asn, expected_bare.size())));
    EXPECT_EQ(bare.oid_sn_size, 0u);
    EXPECT_EQ(bare.oid_ln_size, 0u);

    // DER, three texts and three zero bytes. Only a sanitizer's heap knows the exact size of a block.
    EXPECT_GE(malloc_usable_size(entry.oid_asn), expected.size());
    EXPECT_GE(malloc_usable_size(bare.oid_asn), expected_bare.size());
#ifdef DERKIT_TESTS_EXACT_HEAP
    EXPECT_EQ(malloc_usable_size(entry.oid_asn), expected.size());
    EXPECT_EQ(malloc_usable_size(bare.oid_asn), expected_bare.size());
#endif
}

TEST(oid_map_layout, releasing_an_entry_frees_its_block_alone) {
    // The texts of this entry are not on the heap: freeing anything but the block would end the process.
    char texts[] = "1.2.3";
    OIDdescr_t entry;
    entry.oid_asn = new unsigned char[2];
    entry.oid_str = texts;
    entry.oid_sn = texts;
    entry.oid_ln = texts;
    OIDmaps_t::release_oid_(entry);
    EXPECT_STREQ(texts, "1.2.3");
}

// ---- one line ----

struct line_case_t {
    const char* name;
    std::string_view text;
    const char* entry; // "none" for a line that adds nothing
};

class oid_map_line : public testing::TestWithParam<line_case_t> {};

void expect_entry(std::string_view text, const std::string& expected) {
    SCOPED_TRACE("text: " + std::string(text));
    const parsed_map_t map(text);
    const std::vector<std::string> lines = show_all(map.map());
    if (expected == "none") {
        EXPECT_EQ(lines, std::vector<std::string>());
        return;
    }
    EXPECT_EQ(lines, std::vector<std::string>{expected});
}

TEST_P(oid_map_line, at_the_end_of_the_text) {
    expect_entry(GetParam().text, GetParam().entry);
}

TEST_P(oid_map_line, before_a_line_end) {
    for (const char* const line_end : {"\n", "\r", "\r\n", "\n\r", "\n\n\n", "\r\r\n"}) {
        expect_entry(std::string(GetParam().text) + line_end, GetParam().entry);
    }
}

TEST_P(oid_map_line, between_other_lines) {
    const parsed_map_t map("1.2.1 = FIRST, first\n" + std::string(GetParam().text) + "\n1.2.99 = LAST, last");
    std::vector<std::string> expected = {"2A 01|1.2.1|FIRST|first", "2A 63|1.2.99|LAST|last"};
    if (GetParam().entry != "none"sv) {
        expected.insert(expected.begin() + 1, GetParam().entry);
    }
    EXPECT_EQ(show_all(map.map()), expected);
}

INSTANTIATE_TEST_SUITE_P(
    blanks, oid_map_line,
    testing::Values(line_case_t{"usual", "1.2.3 = Foo, bar", "2A 03|1.2.3|FOO|bar"},
                    line_case_t{"none", "1.2.3=Foo,bar", "2A 03|1.2.3|FOO|bar"},
                    line_case_t{"spaces_everywhere", "   1.2.3   =   Foo   ,   bar", "2A 03|1.2.3|FOO|bar"},
                    line_case_t{"tabs_everywhere", "\t1.2.3\t=\tFoo\t,\tbar", "2A 03|1.2.3|FOO|bar"},
                    line_case_t{"mixed", " \t1.2.3\t =\t \tFoo \t, \tbar", "2A 03|1.2.3|FOO|bar"},
                    line_case_t{"vertical_tab_is_none", "\v1.2.3 = Foo", "none"},
                    line_case_t{"form_feed_is_none", "1.2.3\f= Foo", "none"},
                    line_case_t{"zero_byte_is_none", "\0 1.2.3 = Foo"sv, "none"},
                    line_case_t{"no_break_space_is_none", "1.2.3\xA0= Foo", "none"}),
    case_name_t());

INSTANTIATE_TEST_SUITE_P(
    oid, oid_map_line,
    testing::Values(
        line_case_t{"text_stays_as_it_stood", "2.005.04.3 = CN", "55 04 03|2.005.04.3|CN|"},
        line_case_t{"two_arcs", "1.2 = X", "2A|1.2|X|"}, line_case_t{"second_arc_past_39", "1.50 = X", "5A|1.50|X|"},
        line_case_t{"invalid_first_arc", "3.1 = X", "none"}, line_case_t{"one_arc", "1 = X", "none"},
        line_case_t{"arc_past_32_bits", "1.2.4294967296 = X", "none"}, line_case_t{"first_dot", ".1.2 = X", "none"},
        line_case_t{"final_dot", "1.2. = X", "none"}, line_case_t{"two_dots", "1..2 = X", "none"},
        line_case_t{"dots_alone", "... = X", "none"}, line_case_t{"empty", "= X", "none"},
        line_case_t{"empty_behind_blanks", "  \t= X, name", "none"},
        line_case_t{"name_in_its_place", "abc = X", "none"}, line_case_t{"letter_behind_it", "1.2.3a = X", "none"},
        line_case_t{"other_characters_behind_blanks", "1.2.3 a = X", "none"},
        line_case_t{"two_of_them", "1.2.3 1.2.4 = X", "none"}, line_case_t{"sign_before_it", "-1.2.3 = X", "none"},
        line_case_t{"without_equals", "1.2.3", "none"}, line_case_t{"without_equals_behind_blanks", "1.2.3 \t", "none"},
        line_case_t{"comma_in_place_of_equals", "1.2.3, X", "none"}),
    case_name_t());

INSTANTIATE_TEST_SUITE_P(comment, oid_map_line,
                         testing::Values(line_case_t{"number_sign", "# comment", "none"},
                                         line_case_t{"number_sign_before_a_line", "#1.2.3 = X", "none"},
                                         line_case_t{"behind_blanks", "  # 1.2.3 = X", "none"},
                                         line_case_t{"semicolon", "; 1.2.3 = X", "none"},
                                         line_case_t{"word", "comment", "none"}, line_case_t{"empty", "", "none"},
                                         line_case_t{"blanks_alone", " \t ", "none"},
                                         line_case_t{"byte_order_mark",
                                                     "\xEF\xBB\xBF"
                                                     "1.2.3 = X",
                                                     "none"}),
                         case_name_t());

INSTANTIATE_TEST_SUITE_P(short_name, oid_map_line,
                         testing::Values(line_case_t{"upper_cased", "1.2.3 = aBcXyZ", "2A 03|1.2.3|ABCXYZ|"},
                                         line_case_t{"only_letters_change", "1.2.3 = a`{@[_-.:/'1\"",
                                                     "2A 03|1.2.3|A`{@[_-.:/'1\"|"},
                                         line_case_t{"only_ascii_letters_change", "1.2.3 = \xD0\xB0\xE0\xFFz",
                                                     "2A 03|1.2.3|\xD0\xB0\xE0\xFFZ|"},
                                         line_case_t{"empty_at_the_end", "1.2.3 =", "2A 03|1.2.3||"},
                                         line_case_t{"empty_behind_blanks", "1.2.3 = \t ", "2A 03|1.2.3||"},
                                         line_case_t{"empty_before_a_long_name", "1.2.3 = , name", "2A 03|1.2.3||name"},
                                         line_case_t{"empty_before_equals", "1.2.3 == X, name", "2A 03|1.2.3||"},
                                         line_case_t{"ends_at_a_space", "1.2.3 = A B", "2A 03|1.2.3|A|"},
                                         line_case_t{"ends_at_a_tab", "1.2.3 = A\tB", "2A 03|1.2.3|A|"},
                                         line_case_t{"ends_at_equals", "1.2.3 = A=B", "2A 03|1.2.3|A|"},
                                         line_case_t{"ends_at_a_comma", "1.2.3 = A,B", "2A 03|1.2.3|A|B"},
                                         line_case_t{"digits_and_dots", "1.2.3 = 1.2.4", "2A 03|1.2.3|1.2.4|"},
                                         line_case_t{"number_sign", "1.2.3 = #A", "2A 03|1.2.3|#A|"},
                                         line_case_t{"form_feed", "1.2.3 = A\fb", "2A 03|1.2.3|A\fB|"}),
                         case_name_t());

INSTANTIATE_TEST_SUITE_P(
    long_name, oid_map_line,
    testing::Values(line_case_t{"missing", "1.2.3 = Foo", "2A 03|1.2.3|FOO|"},
                    line_case_t{"empty", "1.2.3 = Foo,", "2A 03|1.2.3|FOO|"},
                    line_case_t{"blanks_alone", "1.2.3 = Foo, \t ", "2A 03|1.2.3|FOO|"},
                    line_case_t{"keeps_its_case", "1.2.3 = Foo, fooBAR", "2A 03|1.2.3|FOO|fooBAR"},
                    line_case_t{"spaces_and_commas", "1.2.3 = Foo, A, long, name", "2A 03|1.2.3|FOO|A, long, name"},
                    line_case_t{"keeps_its_last_blank", "1.2.3 = Foo, A, long, name ",
                                "2A 03|1.2.3|FOO|A, long, name "},
                    line_case_t{"keeps_all_last_blanks", "1.2.3 = Foo, name \t \t", "2A 03|1.2.3|FOO|name \t \t"},
                    line_case_t{"comma_first", "1.2.3 = Foo,, name", "2A 03|1.2.3|FOO|, name"},
                    line_case_t{"equals", "1.2.3 = Foo, 1.2.4 = Bar", "2A 03|1.2.3|FOO|1.2.4 = Bar"},
                    line_case_t{"number_sign", "1.2.3 = Foo, name # more", "2A 03|1.2.3|FOO|name # more"},
                    line_case_t{"high_bytes", "1.2.3 = Foo, \xD0\xB8\xFF", "2A 03|1.2.3|FOO|\xD0\xB8\xFF"},
                    line_case_t{"ignored_behind_equals", "1.2.3 = Foo = x, name", "2A 03|1.2.3|FOO|"},
                    line_case_t{"ignored_behind_a_word", "1.2.3 = Foo bar, name", "2A 03|1.2.3|FOO|"},
                    line_case_t{"ignored_behind_a_number_sign", "1.2.3 = Foo # x, name", "2A 03|1.2.3|FOO|"}),
    case_name_t());

// ---- several lines ----

TEST(oid_map_text, lines_end_with_any_mix_of_CR_and_LF) {
    const parsed_map_t map(
        "\r\n\n1.2.1 = A\r1.2.2 = B, b\n1.2.3 = C,\r\n1.2.4 = D, d \n\r\r1.2.5 =\r\n\r\n1.2.6 = F, f");
    EXPECT_EQ(show_all(map.map()), (std::vector<std::string>{"2A 01|1.2.1|A|", "2A 02|1.2.2|B|b", "2A 03|1.2.3|C|",
                                                             "2A 04|1.2.4|D|d ", "2A 05|1.2.5||", "2A 06|1.2.6|F|f"}));
}

TEST(oid_map_text, line_end_ends_a_line_in_the_middle_of_its_form) {
    const parsed_map_t map("1.2.1\n= A\n1.2.2 =\nB\n1.2.3 = C\n, c\n1.2.4 = D,\nd\n1.2.\n5 = E\n");
    EXPECT_EQ(show_all(map.map()), (std::vector<std::string>{"2A 02|1.2.2||", "2A 03|1.2.3|C|", "2A 04|1.2.4|D|"}));
}

TEST(oid_map_text, other_line_separators_are_ordinary_characters) {
    const parsed_map_t map("1.2.1 = A, a\v1.2.2 = B\f1.2.3 = C\x85\xE2\x80\xA8"
                           "1.2.4 = D");
    EXPECT_EQ(map.map().entries.size(), 1u);
}

TEST(oid_map_text, zero_bytes_are_ordinary_characters) {
    const parsed_map_t map("1.2.1 = A\0b, a\0b\n1.2.2\0= X\n1.2.3 = C"sv);
    ASSERT_EQ(map.map().entries.size(), 2u);
    const OIDdescr_t& entry = map.map().entries.front();
    EXPECT_TRUE(same_bytes("A\0B"sv, std::string_view(entry.oid_sn, entry.oid_sn_size)));
    EXPECT_TRUE(same_bytes("a\0b"sv, std::string_view(entry.oid_ln, entry.oid_ln_size)));
}

TEST(oid_map_text, every_prefix_parses) {
    const std::string text = "# c\n1.2.3 = Foo, bar\r\n 1.2.4 =B,\n1.2.5\t=\tC";
    const std::size_t ends[] = {text.find("Foo") - 1, text.find("=B") + 1, text.find("=\tC") + 1};
    for_each_prefix(text, [&](const exact_bytes_t& prefix) {
        const oid_map_handle_t map = oid_map_parse(prefix.chars(), prefix.size());
        const auto num_entries =
            std::count_if(std::begin(ends), std::end(ends), [&](std::size_t end) { return prefix.size() >= end; });
        EXPECT_EQ(map.map->entries.size(), static_cast<std::size_t>(num_entries));
        oid_map_release(map);
    });
}

TEST(oid_map_text, OID_of_506_octets_is_the_largest) {
    std::string oid = "2.5";
    for (int i = 0; i < 505; ++i) {
        oid += ".1";
    }
    const parsed_map_t map(oid + " = A\n" + oid + ".1 = B\n");
    ASSERT_EQ(map.map().entries.size(), 1u);
    EXPECT_EQ(map.map().entries.front().oid_asn_size, 506u);
    EXPECT_EQ(map.map().entries.front().oid_str_size, oid.size());
}

TEST(oid_map_text, names_have_no_limit) {
    const std::string name(100000, 'n');
    const parsed_map_t map("1.2.3 = " + name + ", " + name);
    EXPECT_EQ(show_all(map.map()), (std::vector<std::string>{"2A 03|1.2.3|" + std::string(100000, 'N') + "|" + name}));
    EXPECT_EQ(find_sn(map.handle(), name), &map.map().entries.front());
}

TEST(oid_map_text, many_lines_are_all_found) {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        const std::string number = std::to_string(i);
        text += "1.2." + number + " = N" + number + ", name " + number + "\n";
    }
    const parsed_map_t map(text);
    EXPECT_EQ(map.map().entries.size(), 5000u);
    int i = 0;
    for (const OIDdescr_t& entry : map.map().entries) {
        const std::string number = std::to_string(i++);
        EXPECT_EQ(find_str(map.handle(), "1.2." + number), &entry);
        EXPECT_EQ(find_sn(map.handle(), "n" + number), &entry);
        EXPECT_EQ(oid_map_find_asn(map.handle(), entry.oid_asn, entry.oid_asn_size), &entry);
        EXPECT_EQ(std::string(entry.oid_ln), "name " + number);
    }
}

// ---- duplicates ----

TEST(oid_map_duplicates, first_line_wins_in_each_index_separately) {
    const parsed_map_t map("1.2.3 = A, one\n"
                           "1.2.3 = B, same DER and text\n"
                           "1.02.3 = C, same DER\n"
                           "1.2.4 = a, same short name\n"
                           "1.2.3 = A, all the same\n");
    const oid_map_handle_t handle = map.handle();
    EXPECT_EQ(map.map().entries.size(), 5u) << "every line is an entry";
    EXPECT_EQ(map.map().by_asn.size(), 2u);
    EXPECT_EQ(map.map().by_str.size(), 3u);
    EXPECT_EQ(map.map().by_sn.size(), 3u);
    EXPECT_EQ(show(find_asn(handle, "2A 03")), "2A 03|1.2.3|A|one");
    EXPECT_EQ(show(find_asn(handle, "2A 04")), "2A 04|1.2.4|A|same short name");
    EXPECT_EQ(show(find_str(handle, "1.2.3")), "2A 03|1.2.3|A|one");
    EXPECT_EQ(show(find_str(handle, "1.02.3")), "2A 03|1.02.3|C|same DER");
    EXPECT_EQ(show(find_str(handle, "1.2.4")), "2A 04|1.2.4|A|same short name");
    EXPECT_EQ(show(find_sn(handle, "A")), "2A 03|1.2.3|A|one");
    EXPECT_EQ(show(find_sn(handle, "B")), "2A 03|1.2.3|B|same DER and text");
    EXPECT_EQ(show(find_sn(handle, "C")), "2A 03|1.02.3|C|same DER");
}

TEST(oid_map_duplicates, texts_of_one_DER_are_found_by_either_text) {
    const parsed_map_t map("1.50.1 = A\n2.10.1 = B\n");
    EXPECT_EQ(show(find_asn(map.handle(), "5A 01")), "5A 01|1.50.1|A|");
    EXPECT_EQ(show(find_str(map.handle(), "2.10.1")), "5A 01|2.10.1|B|");
}

TEST(oid_map_duplicates, empty_short_name_is_a_key_like_any_other) {
    const parsed_map_t map("1.2.3 = , one\n1.2.4 = , two\n");
    EXPECT_EQ(show(find_sn(map.handle(), "")), "2A 03|1.2.3||one");
    EXPECT_EQ(map.map().by_sn.size(), 1u);
    EXPECT_EQ(show(find_asn(map.handle(), "2A 04")), "2A 04|1.2.4||two");
}

TEST(oid_map_duplicates, zero_byte_ends_the_comparison_of_short_names) {
    const parsed_map_t map("1.2.3 = A\0B\n1.2.4 = A\0C\n"sv);
    EXPECT_EQ(map.map().by_sn.size(), 1u);
    EXPECT_EQ(find_sn(map.handle(), "a\0c"sv), &map.map().entries.front());
    EXPECT_EQ(find_sn(map.handle(), "A"), nullptr) << "sizes are compared first";
}

TEST(oid_map_duplicates, what_a_map_held_wins_over_what_is_added) {
    const parsed_map_t map("1.2.3 = A, one\n");
    const OIDdescr_t* const first = &map.map().entries.front();
    const exact_bytes_t more("1.2.3 = B, two\n1.2.4 = A, three\n1.2.5 = C, four");
    oid_map_parse_(map.map(), more.chars(), more.size());
    EXPECT_EQ(show_all(map.map()), (std::vector<std::string>{"2A 03|1.2.3|A|one", "2A 03|1.2.3|B|two",
                                                             "2A 04|1.2.4|A|three", "2A 05|1.2.5|C|four"}));
    EXPECT_EQ(find_str(map.handle(), "1.2.3"), first) << "entries stay where they are";
    EXPECT_EQ(find_sn(map.handle(), "A"), first);
    EXPECT_EQ(show(find_sn(map.handle(), "b")), "2A 03|1.2.3|B|two");
    EXPECT_EQ(show(find_str(map.handle(), "1.2.4")), "2A 04|1.2.4|A|three");
    oid_map_parse_(map.map(), more.chars(), 0);
    EXPECT_EQ(map.map().entries.size(), 4u);
}

// ---- many keys ----

// Names of every size that is looked up in another way.
std::string name_of(unsigned int i) {
    const std::string number = std::to_string(i);
    return number + std::string(i % 71, 'n') + number;
}

TEST(oid_map_of_many_lines, every_key_is_found_and_no_other) {
    constexpr unsigned int NUM_LINES = 20000;
    std::string text;
    for (unsigned int i = 0; i < NUM_LINES; ++i) {
        text += "1.2." + std::to_string(2 * i) + " = " + name_of(2 * i) + "\n";
    }
    const parsed_map_t map(text);
    unsigned int i = 0;
    for (const OIDdescr_t& entry : map.map().entries) {
        const std::string name = name_of(2 * i);
        ASSERT_EQ(find_sn(map.handle(), name), &entry) << name;
        ASSERT_EQ(oid_map_find_asn(map.handle(), entry.oid_asn, entry.oid_asn_size), &entry) << entry.oid_str;
        ASSERT_EQ(find_str(map.handle(), entry.oid_str), &entry) << entry.oid_str;
        const std::string absent = name_of(2 * i + 1);
        ASSERT_EQ(find_sn(map.handle(), absent), nullptr) << absent;
        unsigned char der[512];
        const std::string oid = "1.2." + std::to_string(2 * i + 1);
        const unsigned int der_size = oid_str_to_asn_(oid.data(), oid.data() + oid.size(), der);
        ASSERT_EQ(oid_map_find_asn(map.handle(), der, der_size), nullptr) << oid;
        ++i;
    }
    EXPECT_EQ(i, NUM_LINES);
}

TEST(oid_map_of_many_lines, names_with_a_zero_byte_are_found_too) {
    std::string text;
    for (unsigned int i = 0; i < 100; ++i) {
        text += "1.2." + std::to_string(i) + " = " + std::to_string(100 + i) + std::string(1, '\0') + "\n";
    }
    const parsed_map_t map(text);
    EXPECT_EQ(map.map().by_sn.size(), 100u);
    unsigned int i = 0;
    for (const OIDdescr_t& entry : map.map().entries) {
        EXPECT_EQ(find_sn(map.handle(), std::to_string(100 + i) + std::string(1, '\0')), &entry) << i;
        ++i;
    }
    EXPECT_EQ(find_sn(map.handle(), "200\0"sv), nullptr);
    EXPECT_EQ(find_sn(map.handle(), "1000"), nullptr);
}

TEST(oid_map_of_many_lines, a_zero_byte_counts_wherever_it_stands_in_a_long_name) {
    const parsed_map_t map("1.2.3 = aaaaaaa\0bbbbbbbbbbbb\n"sv);
    const OIDdescr_t* const entry = &map.map().entries.front();
    EXPECT_EQ(find_sn(map.handle(), "AAAAAAA\0bbbbbbbbbbbc"sv), entry);
    EXPECT_EQ(find_sn(map.handle(), "aaaaaaa\0\0aaaaaaaaaaa"sv), entry);
    EXPECT_EQ(find_sn(map.handle(), "aaaaaab\0bbbbbbbbbbbb"sv), nullptr);
    EXPECT_EQ(find_sn(map.handle(), "aaaaaaaabbbbbbbbbbbb\0"sv), nullptr);
}

// ---- orders ----

template <typename INDEX, typename KEY> std::vector<std::string> keys_in_order(const INDEX& index, KEY key) {
    std::vector<std::string> keys;
    for (const OIDdescr_t* const entry : index) {
        keys.push_back(key(*entry));
    }
    return keys;
}

// What a word of a key makes of the digest of the words before it.
std::uint64_t after_word(std::uint64_t before, std::uint64_t word) {
    const std::uint64_t mixed = (before ^ word) * 0x9E3779B97F4A7C15;
    return mixed ^ mixed >> 32;
}

std::string octets_of(const std::vector<std::uint64_t>& words) {
    std::string octets(words.size() * sizeof words[0], '\0');
    std::memcpy(octets.data(), words.data(), octets.size());
    return octets;
}

// Two keys that differ in two neighbouring words, wherever these stand, so that their digests do not.
TEST(oid_map_of_many_lines, a_key_that_has_the_digest_of_another_one_is_not_found_in_its_place) {
    for (unsigned int num_common = 0; num_common <= 5; ++num_common) {
        SCOPED_TRACE(num_common);
        const std::vector<std::uint64_t> words(num_common + 3, 0x0202020202020202);
        std::vector<std::uint64_t> others = words;
        std::uint64_t before = EACH_OCTET;
        for (unsigned int i = 0; i < num_common; ++i) {
            before = after_word(before, words[i]);
        }
        others[num_common] ^= 1;
        others[num_common + 1] ^= after_word(before, words[num_common]) ^ after_word(before, others[num_common]);
        std::string octets = octets_of(words);
        std::string other_octets = octets_of(others);
        const unsigned int size = static_cast<unsigned int>(octets.size());
        key_digest_t digest;
        key_digest_t other_digest;
        ASSERT_TRUE(oid_memcmp_t::digest(octets.data(), size, digest));
        ASSERT_TRUE(oid_memcmp_t::digest(other_octets.data(), size, other_digest));
        ASSERT_TRUE(digest == other_digest) << "so nothing is tested";

        OIDdescr_t key;
        key.oid_asn = reinterpret_cast<unsigned char*>(octets.data());
        key.oid_asn_size = size;
        OIDmaps_t::by_asn_t index;
        OIDmaps_t::shortcut_by_asn_t shortcut;
        shortcut.make_room(index);
        index.insert(&key);
        shortcut.add(&key);
        EXPECT_EQ(shortcut.find(index, key.oid_asn, size), &key);
        EXPECT_EQ(shortcut.find(index, reinterpret_cast<unsigned char*>(other_octets.data()), size), nullptr);
    }
}

TEST(oid_map_of_many_lines, keys_of_one_octet_repeated_differ_in_their_digests) {
    for (const char octet : {'\0', '\1', 'n', '\xFF'}) {
        const std::string octets(64, octet);
        std::vector<key_digest_t> digests;
        for (unsigned int size = 0; size <= octets.size(); ++size) {
            key_digest_t digest;
            ASSERT_TRUE(oid_memcmp_t::digest(octets.data(), size, digest));
            EXPECT_EQ(std::count(digests.begin(), digests.end(), digest), 0) << to_hex(octets.substr(0, size));
            digests.push_back(digest);
        }
    }
}

// From the empty name on, and past the sizes that have digests.
TEST(oid_map_of_many_lines, keys_of_every_size_are_found_while_a_map_grows) {
    const parsed_map_t map("");
    std::string oid = "1.2";
    std::string der = "\x2A";
    std::string name;
    for (unsigned int num_lines = 1; num_lines <= 100; ++num_lines) {
        EXPECT_EQ(find_sn(map.handle(), name), nullptr) << name;
        EXPECT_EQ(find_asn(map.handle(), to_hex(der)), nullptr) << oid;
        const exact_bytes_t line(oid + " = " + name);
        oid_map_parse_(map.map(), line.chars(), line.size());
        ASSERT_EQ(map.map().entries.size(), num_lines);
        for (const OIDdescr_t& entry : map.map().entries) {
            EXPECT_EQ(oid_map_find_sn(map.handle(), entry.oid_sn, entry.oid_sn_size), &entry) << num_lines;
            EXPECT_EQ(oid_map_find_asn(map.handle(), entry.oid_asn, entry.oid_asn_size), &entry) << num_lines;
        }
        oid += ".1";
        der += '\1';
        name += 'n';
    }
}

// More of them than the table looks at, from its last place on.
TEST(oid_map_of_many_lines, keys_that_meet_in_one_place_are_found_and_no_other) {
    constexpr unsigned int NUM_LINES = 30;
    constexpr std::size_t NUM_SLOTS = 64;
    std::vector<std::string> names;
    for (unsigned int i = 1000; names.size() < 2 * NUM_LINES; ++i) {
        const std::string name = "N" + std::to_string(i);
        key_digest_t digest;
        ASSERT_TRUE(oid_strcmp_t::digest(name.data(), static_cast<unsigned int>(name.size()), digest));
        if (digest.home(NUM_SLOTS) == NUM_SLOTS - 1) {
            names.push_back(name);
        }
    }
    std::string text;
    for (unsigned int i = 0; i < NUM_LINES; ++i) {
        text += "1.2." + std::to_string(i) + " = " + names[i] + "\n";
    }
    const parsed_map_t map(text);
    unsigned int i = 0;
    for (const OIDdescr_t& entry : map.map().entries) {
        EXPECT_EQ(find_sn(map.handle(), names[i]), &entry) << names[i];
        EXPECT_EQ(find_sn(map.handle(), names[NUM_LINES + i]), nullptr) << names[NUM_LINES + i];
        ++i;
    }
    EXPECT_EQ(i, NUM_LINES);
}

// Neighbours in a tree of OIDs differ in one octet: a table of twice their number has to keep most of them apart.
TEST(oid_map_of_many_lines, keys_that_differ_in_one_octet_have_places_of_their_own) {
    for (unsigned int size = 1; size <= 24; ++size) {
        for (unsigned int position = 0; position < size; ++position) {
            std::set<std::size_t> places;
            for (unsigned int octet = 0; octet < 128; ++octet) {
                std::string key(size, '\x2A');
                key[position] = static_cast<char>(octet);
                key_digest_t digest;
                ASSERT_TRUE(oid_memcmp_t::digest(key.data(), size, digest));
                places.insert(digest.home(256));
                ASSERT_LT(digest.home(256), 256U);
            }
            EXPECT_GT(places.size(), 80U) << "octet " << position << " of " << size;
        }
    }
}

TEST(oid_map_order, by_DER_is_shorter_first_then_unsigned_octets) {
    const parsed_map_t map("1.2.128 = A\n2.39 = B\n1.2.1 = C\n0.5.127 = D\n0.5 = E\n1.2.16383 = F\n0.0.0.0 = G\n");
    EXPECT_EQ(keys_in_order(map.map().by_asn, [](const OIDdescr_t& e) { return to_hex(e.oid_asn, e.oid_asn_size); }),
              (std::vector<std::string>{"05", "77", "05 7F", "2A 01", "00 00 00", "2A 81 00", "2A FF 7F"}));
}

TEST(oid_map_order, by_text_is_shorter_first_then_characters) {
    const parsed_map_t map("1.2.10 = A\n2.5 = B\n1.10 = C\n1.2.9 = D\n0.9.2 = E\n1.9 = F\n");
    EXPECT_EQ(keys_in_order(map.map().by_str, [](const OIDdescr_t& e) { return std::string(e.oid_str); }),
              (std::vector<std::string>{"1.9", "2.5", "1.10", "0.9.2", "1.2.9", "1.2.10"}));
}

// Letters compare in lower case, so '_' (5F) stands before 'A' (61), though not before 41.
TEST(oid_map_order, by_short_name_is_shorter_first_then_lower_case_unsigned) {
    const parsed_map_t map(
        "1.2.1 = zz\n1.2.2 = b\n1.2.3 = _\n1.2.4 = A_\n1.2.5 = aB\n1.2.6 = \xE0\n1.2.7 = Z\n1.2.8 = 9\n"
        "1.2.9 = aaa\n1.2.10 = ,\n1.2.11 = {\n");
    EXPECT_EQ(keys_in_order(map.map().by_sn, [](const OIDdescr_t& e) { return std::string(e.oid_sn); }),
              (std::vector<std::string>{"", "9", "_", "B", "Z", "{", "\xE0", "A_", "AB", "ZZ", "AAA"}));
}

TEST(oid_map_order, entries_keep_the_order_of_their_lines) {
    const parsed_map_t map("1.2.9 = Z\n1.2.1 = Y\n1.2.5 = A\n");
    EXPECT_EQ(show_all(map.map()), (std::vector<std::string>{"2A 09|1.2.9|Z|", "2A 01|1.2.1|Y|", "2A 05|1.2.5|A|"}));
}

TEST(oid_map_order, comparisons_of_keys) {
    const oid_memcmp_t exact;
    EXPECT_EQ(exact("ab", "ab", 2), 0);
    EXPECT_NE(exact("ab", "aB", 2), 0);
    EXPECT_LT(exact("\x7F", "\x80", 1), 0);
    EXPECT_NE(exact("a\0b", "a\0c", 3), 0);
    EXPECT_EQ(exact(nullptr, nullptr, 0), 0);
    const oid_strcmp_t without_case;
    EXPECT_EQ(without_case("aBz", "AbZ", 3), 0);
    EXPECT_EQ(without_case("aBx", "AbY", 2), 0);
    EXPECT_LT(without_case("_", "A", 1), 0);
    EXPECT_GT(without_case("\xE0", "z", 1), 0);
    EXPECT_NE(without_case("\xE0", "\xC0", 1), 0) << "ASCII alone";
    EXPECT_NE(without_case("@", "`", 1), 0);
    EXPECT_NE(without_case("[", "{", 1), 0);
}

// ---- lookups ----

TEST(oid_map_find, by_short_name_without_regard_to_case) {
    for (const char* const name : {"CN", "cn", "Cn", "cN"}) {
        EXPECT_EQ(show(find_sn(OID_MAP_HANDLE_DEFAULT, name)), "55 04 03|2.5.4.3|CN|commonName") << name;
    }
    const parsed_map_t map("1.2.3 = fOO");
    EXPECT_EQ(show(find_sn(map.handle(), "Foo")), "2A 03|1.2.3|FOO|");
}

bool is_one_letter(unsigned int a, unsigned int b) {
    const unsigned int lower = a | 0x20;
    return a == b || ((a ^ b) == 0x20 && lower >= 'a' && lower <= 'z');
}

// A map of names that differ in one octet, for each octet that a name can hold.
void expect_that_ascii_letters_alone_are_folded(unsigned int size, unsigned int position) {
    SCOPED_TRACE("octet " + std::to_string(position) + " of " + std::to_string(size));
    std::vector<unsigned int> octets;
    std::vector<std::string> names;
    std::string text;
    for (unsigned int octet = 0; octet < 256; ++octet) {
        const char c = static_cast<char>(octet);
        if (" \t=,\r\n"sv.find(c) == std::string_view::npos) {
            octets.push_back(octet);
            names.emplace_back(size, '_');
            names.back()[position] = c;
            text += "1.2." + std::to_string(octet) + " = " + names.back() + "\n";
        }
    }
    const parsed_map_t map(text);
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const auto first = std::find_if(octets.begin(), octets.end(),
                                        [&](unsigned int octet) { return is_one_letter(octet, octets[i]); });
        const OIDdescr_t* const found = find_sn(map.handle(), names[i]);
        ASSERT_NE(found, nullptr) << to_hex(names[i]);
        EXPECT_EQ(std::string(found->oid_str), "1.2." + std::to_string(*first)) << to_hex(names[i]);
    }
}

TEST(oid_map_find, by_short_name_folds_ascii_letters_alone_wherever_they_stand) {
    for (const unsigned int size : {1U, 3U, 4U, 7U, 8U, 16U, 17U, 24U, 64U, 65U}) {
        for (const unsigned int position : {0U, size / 2, size - 1}) {
            expect_that_ascii_letters_alone_are_folded(size, position);
        }
    }
}

TEST(oid_map_find, by_text_exactly_as_it_stood) {
    EXPECT_EQ(show(find_str(OID_MAP_HANDLE_DEFAULT, "2.5.4.3")), "55 04 03|2.5.4.3|CN|commonName");
    EXPECT_EQ(find_str(OID_MAP_HANDLE_DEFAULT, "2.5.4.03"), nullptr);
    const parsed_map_t map("2.5.4.03 = CN");
    EXPECT_EQ(show(find_str(map.handle(), "2.5.4.03")), "55 04 03|2.5.4.03|CN|");
    EXPECT_EQ(find_str(map.handle(), "2.5.4.3"), nullptr);
    EXPECT_EQ(show(find_asn(map.handle(), "55 04 03")), "55 04 03|2.5.4.03|CN|");
}

TEST(oid_map_find, looks_at_as_much_as_it_is_told_to) {
    EXPECT_EQ(show(oid_map_find_sn(OID_MAP_HANDLE_DEFAULT, "CN=user", 2)), "55 04 03|2.5.4.3|CN|commonName");
    EXPECT_EQ(show(oid_map_find_str(OID_MAP_HANDLE_DEFAULT, "2.5.4.3=user", 7)), "55 04 03|2.5.4.3|CN|commonName");
    EXPECT_EQ(show(oid_map_find_str(OID_MAP_HANDLE_DEFAULT, "2.5.4.42", 7)), "55 04 04|2.5.4.4|SN|surName");
}

TEST(oid_map_find, gives_nothing_for_what_is_not_there) {
    const oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT;
    for (const char* const der : {"", "55", "55 04", "55 04 05", "55 04 03 00", "56 04 03", "00"}) {
        EXPECT_EQ(find_asn(map, der), nullptr) << der;
    }
    for (const char* const text : {"", "2.5.4", "2.5.4.5", "2.5.4.3.", " 2.5.4.3", "CN"}) {
        EXPECT_EQ(find_str(map, text), nullptr) << text;
    }
    for (const char* const name : {"", "CNN", "X", "commonName", "2.5.4.3", "CN ", "C N"}) {
        EXPECT_EQ(find_sn(map, name), nullptr) << name;
    }
    EXPECT_EQ(find_sn(map, "CN\0"sv), nullptr);
    EXPECT_EQ(oid_map_find_asn(map, nullptr, 0), nullptr);
    EXPECT_EQ(oid_map_find_str(map, nullptr, 0), nullptr);
    EXPECT_EQ(oid_map_find_sn(map, nullptr, 0), nullptr);
}

TEST(oid_map_find, in_an_empty_map_gives_nothing) {
    for (const std::string_view text : {""sv, "\n"sv, "# comment\nabc = X\n3.1 = X\n1 = X\n= X\n"sv}) {
        const parsed_map_t map(text);
        ASSERT_NE(map.handle().map, nullptr);
        EXPECT_TRUE(map.map().entries.empty());
        EXPECT_EQ(find_asn(map.handle(), "55 04 03"), nullptr);
        EXPECT_EQ(find_str(map.handle(), "2.5.4.3"), nullptr);
        EXPECT_EQ(find_sn(map.handle(), "CN"), nullptr);
        EXPECT_EQ(find_sn(map.handle(), ""), nullptr);
        EXPECT_EQ(find_asn(map.handle(), ""), nullptr);
    }
    const oid_map_handle_t of_nothing = oid_map_parse(nullptr, 0);
    ASSERT_NE(of_nothing.map, nullptr);
    EXPECT_TRUE(of_nothing.map->entries.empty());
    oid_map_release(of_nothing);
}

TEST(oid_map_find, entries_belong_to_the_map_and_stay) {
    const parsed_map_t map("1.2.3 = A, a\n1.2.4 = B, b\n");
    const OIDdescr_t* const found = find_sn(map.handle(), "B");
    EXPECT_EQ(found, &map.map().entries.back());
    EXPECT_EQ(find_asn(map.handle(), "2A 04"), found);
    EXPECT_EQ(find_str(map.handle(), "1.2.4"), found);
}

TEST(oid_map_release, ignores_an_empty_handle) {
    const oid_map_handle_t empty;
    EXPECT_NO_FATAL_FAILURE(oid_map_release(empty));
}

TEST(oid_map_release, leaves_other_maps_alone) {
    const parsed_map_t kept("1.2.3 = A, a");
    const oid_map_handle_t released = oid_map_parse("1.2.3 = A, a", 12);
    EXPECT_NE(released.map, kept.handle().map);
    oid_map_release(released);
    EXPECT_EQ(show(find_sn(kept.handle(), "A")), "2A 03|1.2.3|A|a");
}

// ---- ready-made maps ----

const std::vector<std::string> BUILT_IN = {
    "55 04 03|2.5.4.3|CN|commonName",
    "55 04 04|2.5.4.4|SN|surName",
    "55 04 06|2.5.4.6|C|countryName",
    "55 04 07|2.5.4.7|L|localityName",
    "55 04 08|2.5.4.8|ST|stateName",
    "55 04 08|2.5.4.8|S|stateName",
    "55 04 09|2.5.4.9|STREET|streetAddress",
    "55 04 0A|2.5.4.10|O|organizationName",
    "55 04 0B|2.5.4.11|OU|organizationalUnitName",
    "55 04 0C|2.5.4.12|T|title",
    "55 04 14|2.5.4.20|TEL|telephoneNumber",
    "55 04 17|2.5.4.23|FAX|facsimileNumber",
    "55 04 29|2.5.4.41|NQ|nameQualifier",
    "55 04 2A|2.5.4.42|GN|givenName",
    "55 04 2B|2.5.4.43|I|initials",
    "55 04 2C|2.5.4.44|GQ|generationQualifier",
    "55 04 2E|2.5.4.46|DNQ|dnQualifier",
    "55 04 41|2.5.4.65|PS|pseudonym",
    "09 92 26 89 93 F2 2C 64 01 01|0.9.2342.19200300.100.1.1|UID|uid",
    "09 92 26 89 93 F2 2C 64 01 03|0.9.2342.19200300.100.1.3|MBOX|rfc822Mailbox",
    "09 92 26 89 93 F2 2C 64 01 19|0.9.2342.19200300.100.1.25|DC|domainComponent",
    "2A 86 48 86 F7 0D 01 09 01|1.2.840.113549.1.9.1|E|emailAddress",
    "2B 06 01 04 01 2A 02 0B 02 01|1.3.6.1.4.1.42.2.11.2.1|SUNIP|ipAddress",
};

TEST(oid_map_built_in, holds_23_lines_in_order) {
    ASSERT_NE(OID_MAP_HANDLE_DEFAULT.map, nullptr);
    EXPECT_EQ(show_all(*OID_MAP_HANDLE_DEFAULT.map), BUILT_IN);
    EXPECT_EQ(OID_MAP_HANDLE_DEFAULT.map->by_asn.size(), 22u) << "2.5.4.8 is there twice";
    EXPECT_EQ(OID_MAP_HANDLE_DEFAULT.map->by_str.size(), 22u);
    EXPECT_EQ(OID_MAP_HANDLE_DEFAULT.map->by_sn.size(), 23u);
}

TEST(oid_map_built_in, every_entry_is_found_and_2_5_4_8_is_ST) {
    for (const OIDdescr_t& entry : OID_MAP_HANDLE_DEFAULT.map->entries) {
        EXPECT_EQ(find_sn(OID_MAP_HANDLE_DEFAULT, entry.oid_sn), &entry);
        const bool is_second_name = entry.oid_sn == "S"sv;
        const OIDdescr_t* const expected = is_second_name ? find_sn(OID_MAP_HANDLE_DEFAULT, "ST") : &entry;
        EXPECT_EQ(oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, entry.oid_asn, entry.oid_asn_size), expected);
        EXPECT_EQ(find_str(OID_MAP_HANDLE_DEFAULT, entry.oid_str), expected);
    }
    EXPECT_EQ(show(find_asn(OID_MAP_HANDLE_DEFAULT, "55 04 08")), "55 04 08|2.5.4.8|ST|stateName");
    EXPECT_EQ(show(find_str(OID_MAP_HANDLE_DEFAULT, "2.5.4.8")), "55 04 08|2.5.4.8|ST|stateName");
    EXPECT_EQ(show(find_sn(OID_MAP_HANDLE_DEFAULT, "s")), "55 04 08|2.5.4.8|S|stateName");
}

TEST(oid_map_built_in, starts_the_map_with_the_file_too) {
    ASSERT_NE(OID_MAP_HANDLE_DEFAULT_FILE.map, nullptr);
    EXPECT_NE(OID_MAP_HANDLE_DEFAULT_FILE.map, OID_MAP_HANDLE_DEFAULT.map);
    std::vector<std::string> lines = show_all(*OID_MAP_HANDLE_DEFAULT_FILE.map);
    ASSERT_GE(lines.size(), BUILT_IN.size());
    lines.resize(BUILT_IN.size());
    EXPECT_EQ(lines, BUILT_IN);
}

TEST(oid_map_built_in, is_complete_before_static_initialisers_of_a_program_run) {
    EXPECT_EQ(show(FOUND_AT_START), BUILT_IN.back());
    EXPECT_EQ(show(FOUND_IN_FILE_MAP_AT_START), BUILT_IN.back());
}

TEST(oid_map_built_in, fills_every_default_map_that_is_made) {
    const default_oid_map_t map;
    EXPECT_EQ(show_all(map), BUILT_IN);
}

} // namespace
