// Text of names to DER.
#include <gtest/gtest.h>

#include <cstring>

#include "derkit/asn_printable.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/parsed_map.h"

using namespace std::string_view_literals;

namespace {

constexpr oid_map_handle_t NO_MAP = {};
constexpr std::string_view SPECIALS = "\"#+,;<=>\\";
constexpr unsigned char PRINTABLE_STRING = 0x13;
constexpr unsigned char IA5_STRING = 0x16;
constexpr unsigned char UTF8_STRING = 0x0C;

// One element with the shortest length octets (X.690 8.1.3, 10.1).
std::string element(unsigned char tag, std::string_view content) {
    std::string length;
    for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
        length.insert(length.begin(), static_cast<char>(rest & 0xFF));
    }
    if (content.size() < 0x80) {
        length.assign(1, static_cast<char>(content.size()));
    } else {
        length.insert(length.begin(), static_cast<char>(0x80 | length.size()));
    }
    return std::string(1, static_cast<char>(tag)) + length + std::string(content);
}

std::string attribute_of(std::string_view value) {
    return element(0x30, from_hex("06 03 55 04 03") + std::string(value));
}

// A name of one RDN, 2.5.4.3 with this value element.
std::string name_of(std::string_view value) {
    return element(0x30, element(0x31, attribute_of(value)));
}

// The string type for text of one octet.
unsigned char string_type_of(int octet) {
    if (octet >= 0x80) {
        return UTF8_STRING;
    }
    const bool letter_or_digit =
        (octet >= 'A' && octet <= 'Z') || (octet >= 'a' && octet <= 'z') || (octet >= '0' && octet <= '9');
    const bool punctuation = " '()+,-./:=?"sv.find(static_cast<char>(octet)) != std::string_view::npos;
    return letter_or_digit || punctuation ? PRINTABLE_STRING : IA5_STRING;
}

bool encode(std::string_view dn, std::string& der, oid_map_handle_t map) {
    const exact_bytes_t block(std::string(dn) + '\0');
    return printable_to_asn_dn(block.chars(), der, map);
}

void expect_encoded(std::string_view dn, oid_map_handle_t map, std::string_view expected) {
    std::string der = "held;";
    EXPECT_TRUE(encode(dn, der, map)) << dn;
    EXPECT_TRUE(same_bytes(expected, der)) << dn;
}

void expect_refused(std::string_view dn, oid_map_handle_t map) {
    std::string der = "held;";
    EXPECT_FALSE(encode(dn, der, map)) << dn;
    EXPECT_TRUE(same_bytes("held;", der)) << dn;
}

// Whole names

enum map_choice_t { WITHOUT_MAP, BUILT_IN_MAP };

struct dn_encode_case_t {
    const char* name;
    const char* dn;
    map_choice_t map;
    const char* der; // null: refused
};

class dn_encode : public testing::TestWithParam<dn_encode_case_t> {};

TEST_P(dn_encode, replaces_the_string_or_leaves_it) {
    const dn_encode_case_t& c = GetParam();
    const oid_map_handle_t map = c.map == BUILT_IN_MAP ? OID_MAP_HANDLE_DEFAULT : NO_MAP;
    if (c.der == nullptr) {
        expect_refused(c.dn, map);
    } else {
        expect_encoded(c.dn, map, from_hex(c.der));
    }
}

const dn_encode_case_t NAMES[] = {
    {"empty_text_is_the_empty_name", "", WITHOUT_MAP, "30 00"},
    {"blanks_are_the_empty_name", " \t ", BUILT_IN_MAP, "30 00"},
    {"short_name", "CN=abc", BUILT_IN_MAP, "30 0E 31 0C 30 0A 06 03 55 04 03 13 03 61 62 63"},
    {"dotted_type_without_a_map", "2.5.4.3=abc", WITHOUT_MAP, "30 0E 31 0C 30 0A 06 03 55 04 03 13 03 61 62 63"},
    {"dotted_type_that_the_map_knows", "2.5.4.3=abc", BUILT_IN_MAP, "30 0E 31 0C 30 0A 06 03 55 04 03 13 03 61 62 63"},
    {"dotted_type_that_the_map_does_not_know", "1.2.3=a", BUILT_IN_MAP, "30 0B 31 09 30 07 06 02 2A 03 13 01 61"},
    {"short_name_in_lower_case", "cn=abc", BUILT_IN_MAP, "30 0E 31 0C 30 0A 06 03 55 04 03 13 03 61 62 63"},
    {"second_short_name_of_an_oid", "S=x", BUILT_IN_MAP, "30 0C 31 0A 30 08 06 03 55 04 08 13 01 78"},
    {"blanks_around_the_type", "  CN  =abc", BUILT_IN_MAP, "30 0E 31 0C 30 0A 06 03 55 04 03 13 03 61 62 63"},
    {"blanks_of_the_value_stay", "CN= a ", BUILT_IN_MAP, "30 0E 31 0C 30 0A 06 03 55 04 03 13 03 20 61 20"},
    {"blanks_before_a_separator_stay", "CN=a ,C=b", BUILT_IN_MAP,
     "30 19 31 0B 30 09 06 03 55 04 03 13 02 61 20 31 0A 30 08 06 03 55 04 06 13 01 62"},
    {"blanks_behind_a_separator_do_not", "CN=ab, \tC=b", BUILT_IN_MAP,
     "30 19 31 0B 30 09 06 03 55 04 03 13 02 61 62 31 0A 30 08 06 03 55 04 06 13 01 62"},
    {"rdns_in_text_order", "C=RU,CN=x", BUILT_IN_MAP,
     "30 19 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 0A 30 08 06 03 55 04 03 13 01 78"},
    {"rdns_in_text_order_the_other_way", "CN=x,C=RU", BUILT_IN_MAP,
     "30 19 31 0A 30 08 06 03 55 04 03 13 01 78 31 0B 30 09 06 03 55 04 06 13 02 52 55"},
    {"plus_joins_in_one_set", "CN=a+OU=b", BUILT_IN_MAP,
     "30 16 31 14 30 08 06 03 55 04 03 13 01 61 30 08 06 03 55 04 0B 13 01 62"},
    {"members_of_a_set_are_not_sorted", "OU=b+CN=a", BUILT_IN_MAP,
     "30 16 31 14 30 08 06 03 55 04 0B 13 01 62 30 08 06 03 55 04 03 13 01 61"},
    {"equal_members_are_kept", "C=a+C=a", BUILT_IN_MAP,
     "30 16 31 14 30 08 06 03 55 04 06 13 01 61 30 08 06 03 55 04 06 13 01 61"},
    {"joined_rdn_between_others", "C=a,CN=b+OU=,O=d", BUILT_IN_MAP,
     "30 2D 31 0A 30 08 06 03 55 04 06 13 01 61 31 13 30 08 06 03 55 04 03 13 01 62 30 07 06 03 55 04 0B 13 00"
     "31 0A 30 08 06 03 55 04 0A 13 01 64"},
    {"every_value_has_its_own_string_type", "CN=a,O=_,L=\xC3\xA9,C=b", BUILT_IN_MAP,
     "30 31 31 0A 30 08 06 03 55 04 03 13 01 61 31 0A 30 08 06 03 55 04 0A 16 01 5F"
     "31 0B 30 09 06 03 55 04 07 0C 02 C3 A9 31 0A 30 08 06 03 55 04 06 13 01 62"},
    {"values_of_all_forms_do_not_mix", "CN=#0403616263,O=#0500,OU=\"x\",C=#040161,L=y", BUILT_IN_MAP,
     "30 3D 31 0C 30 0A 06 03 55 04 03 04 03 61 62 63 31 09 30 07 06 03 55 04 0A 05 00"
     "31 0A 30 08 06 03 55 04 0B 13 01 78 31 0A 30 08 06 03 55 04 06 04 01 61 31 0A 30 08 06 03 55 04 07 13 01 79"},
    {"decoded_values_do_not_mix", "CN=\\41,O=\"\\\"b\",L=\\43+C=#040161,OU=\"\\\"d\",T=\\45", BUILT_IN_MAP,
     "30 48 31 0A 30 08 06 03 55 04 03 13 01 41 31 0B 30 09 06 03 55 04 0A 13 02 22 62 31 14 30 08 06 03 55 04"
     "07 13 01 43 30 08 06 03 55 04 06 04 01 61 31 0B 30 09 06 03 55 04 0B 13 02 22 64 31 0A 30 08 06 03 55 04"
     "0C 13 01 45"},
    // openssl req with string_mask=nombstr
    // -subj '/C=RU/O=Example (Moscow), Ltd./CN=user1/emailAddress=a@b.ru'
    {"same_as_openssl", "C=RU,O=Example (Moscow)\\, Ltd.,CN=user1,E=a@b.ru", BUILT_IN_MAP,
     "30 55 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 1F 30 1D 06 03 55 04 0A 13 16 45 78 61 6D 70 6C 65 20 28 4D 6F 73"
     "63 6F 77 29 2C 20 4C 74 64 2E 31 0E 30 0C 06 03 55 04 03 13 05 75 73 65 72 31 31 15 30 13 06 09 2A 86 48 86 F7 0D"
     "01 09 01 16 06 61 40 62 2E 72 75"},
    // Dotted types.
    {"leading_zeros_in_a_dotted_type", "2.005.4.3=a", WITHOUT_MAP, "30 0C 31 0A 30 08 06 03 55 04 03 13 01 61"},
    {"second_arc_of_forty_and_more", "1.50=a", WITHOUT_MAP, "30 0A 31 08 30 06 06 01 5A 13 01 61"},
    {"largest_arc", "1.2.4294967295=a", WITHOUT_MAP, "30 0F 31 0D 30 0B 06 06 2A 8F FF FF FF 7F 13 01 61"},
    {"first_arcs_that_wrap", "2.4294967295=a", WITHOUT_MAP, "30 0A 31 08 30 06 06 01 4F 13 01 61"},
    {"arc_above_32_bits", "1.2.4294967296=a", WITHOUT_MAP, nullptr},
    {"one_arc", "2=a", WITHOUT_MAP, nullptr},
    {"first_arc_above_two", "3.1=a", WITHOUT_MAP, nullptr},
    {"dot_at_the_end", "2.5.=a", WITHOUT_MAP, nullptr},
    {"dot_at_the_start", ".2.5=a", WITHOUT_MAP, nullptr},
    {"letter_in_a_dotted_type", "2.5.4.x=a", WITHOUT_MAP, nullptr},
    {"oid_prefix", "OID.2.5.4.3=a", BUILT_IN_MAP, nullptr},
    // Types that nothing names.
    {"short_name_without_a_map", "CN=abc", WITHOUT_MAP, nullptr},
    {"unknown_short_name", "CNX=abc", BUILT_IN_MAP, nullptr},
    {"prefix_of_a_short_name", "STREE=abc", BUILT_IN_MAP, nullptr},
    {"long_name_of_the_map", "commonName=abc", BUILT_IN_MAP, nullptr},
    {"comma_in_front_of_a_type", ",CN=abc", BUILT_IN_MAP, nullptr},
    {"two_commas_before_a_type", "C=a,,CN=abc", BUILT_IN_MAP, nullptr},
    // An error anywhere refuses the whole text.
    {"error_in_the_last_type", "C=RU,CN=a,X=b", BUILT_IN_MAP, nullptr},
    {"error_in_a_joined_type", "C=RU,CN=a+X=b,O=c", BUILT_IN_MAP, nullptr},
    {"error_in_the_last_value", "C=RU,CN=a#", BUILT_IN_MAP, nullptr},
    {"error_in_the_first_value", "C=a;,CN=a", BUILT_IN_MAP, nullptr},
    {"trailing_comma", "CN=x,", BUILT_IN_MAP, nullptr},
    {"trailing_plus_and_blank", "CN=x+ ", BUILT_IN_MAP, nullptr},
    {"empty_type", "CN=x,=y", BUILT_IN_MAP, nullptr},
    {"type_alone", "CN", BUILT_IN_MAP, nullptr},
    {"open_quote", "CN=\"x", BUILT_IN_MAP, nullptr},
    {"semicolon_as_separator", "CN=a;C=b", BUILT_IN_MAP, nullptr},
};

INSTANTIATE_TEST_SUITE_P(text, dn_encode, testing::ValuesIn(NAMES), case_name_t());

// Values

struct dn_value_case_t {
    const char* name;
    const char* text; // behind "2.5.4.3="
    const char* value;
};

class dn_value_encode : public testing::TestWithParam<dn_value_case_t> {};

TEST_P(dn_value_encode, gives_this_element) {
    expect_encoded("2.5.4.3=" + std::string(GetParam().text), NO_MAP, name_of(from_hex(GetParam().value)));
}

const dn_value_case_t PLAIN_VALUES[] = {
    {"letters", "abcXYZ", "13 06 61 62 63 58 59 5A"},
    {"empty", "", "13 00"},
    {"printable_punctuation", " '()-./:?", "13 09 20 27 28 29 2D 2E 2F 3A 3F"},
    {"underscore", "a_b", "16 03 61 5F 62"},
    {"at_sign", "a@b", "16 03 61 40 62"},
    {"asterisk", "*", "16 01 2A"},
    {"control", "a\tb", "16 03 61 09 62"},
    {"utf8_text", "И", "0C 02 D0 98"},
    {"utf8_is_not_checked", "\xFF", "0C 01 FF"},
    {"utf8_behind_ia5", "_\xC3\xA9", "0C 03 5F C3 A9"},
    {"ia5_behind_utf8", "\xC3\xA9_", "0C 03 C3 A9 5F"},
    {"hexadecimal_escape", "\\41\\62", "13 02 41 62"},
    {"hexadecimal_escape_in_both_cases", "\\c3\\A9\\aB", "0C 03 C3 A9 AB"},
    {"hexadecimal_escape_of_a_special_character", "\\2C\\22\\5c", "16 03 2C 22 5C"},
    {"hexadecimal_escape_of_zero", "a\\00b", "16 03 61 00 62"},
    {"hexadecimal_escape_before_digits", "\\4142", "13 03 41 34 32"},
    {"utf8_from_escapes", "a\\C3\\A9", "0C 03 61 C3 A9"},
    {"escaped_equals", "a\\=b", "13 03 61 3D 62"},
    {"escaped_comma", "a\\,b", "13 03 61 2C 62"},
    {"escaped_plus", "a\\+b", "13 03 61 2B 62"},
    {"escaped_quote", "\\\"", "16 01 22"},
    {"escaped_backslash", "\\\\", "16 01 5C"},
    {"all_escaped_characters", "\\\"\\#\\+\\,\\;\\<\\=\\>\\\\", "16 09 22 23 2B 2C 3B 3C 3D 3E 5C"},
    {"escaped_number_sign_in_front", "\\#0C0161", "16 07 23 30 43 30 31 36 31"},
    {"escaped_backslash_before_digits", "\\\\41", "16 03 5C 34 31"},
    {"outer_blanks", "  a ", "13 04 20 20 61 20"},
    {"tab_alone", "\t", "16 01 09"},
};

const dn_value_case_t QUOTED_VALUES[] = {
    {"empty", "\"\"", "13 00"},
    {"letters", "\"abc\"", "13 03 61 62 63"},
    {"separators_are_text", "\"a,b+c=d\"", "13 07 61 2C 62 2B 63 3D 64"},
    {"special_characters_are_text", "\"#;<>\"", "16 04 23 3B 3C 3E"},
    {"number_sign_in_front_is_text", "\"#0C0161\"", "16 07 23 30 43 30 31 36 31"},
    {"outer_blanks", "\" a \"", "13 03 20 61 20"},
    {"ia5_text", "\"a_b\"", "16 03 61 5F 62"},
    {"utf8_text", "\"_И\"", "0C 03 5F D0 98"},
    {"escaped_quote", "\"a\\\"b\"", "13 03 61 22 62"},
    {"escaped_quote_alone", "\"\\\"\"", "13 01 22"},
    {"escaped_quote_in_ia5_text", "\"_\\\"\"", "16 02 5F 22"},
    {"other_backslashes_are_kept", "\"a\\bc\"", "13 04 61 5C 62 63"},
    {"kept_backslash_before_a_separator", "\"a\\,b\"", "13 04 61 5C 2C 62"},
    {"hexadecimal_escapes_are_kept", "\"\\41\"", "13 03 5C 34 31"},
    {"kept_backslash_before_ia5_text", "\"\\_\"", "16 02 5C 5F"},
    {"kept_backslash_before_utf8_text", "\"\\\xC3\xA9\"", "0C 03 5C C3 A9"},
    // Two backslashes are both kept; the first is passed over in choosing the string type, the second is not.
    {"two_backslashes", "\"\\\\\"", "16 02 5C 5C"},
    {"three_backslashes_and_a_quote", "\"\\\\\\\"\"", "16 03 5C 5C 22"},
    {"four_backslashes", "\"\\\\\\\\\"", "16 04 5C 5C 5C 5C"},
    {"bare_inner_quotes", "\"a\"b\"c\"", "16 05 61 22 62 22 63"},
    {"bare_inner_quotes_alone", "\"\"\"\"", "16 02 22 22"},
    {"separator_between_inner_quotes", "\"a\"\\,\"b\"", "16 06 61 22 5C 2C 22 62"},
};

const dn_value_case_t HEXADECIMAL_VALUES[] = {
    {"utf8_string", "#0C03616263", "0C 03 61 62 63"},
    {"digits_in_both_cases", "#0c02C3a9", "0C 02 C3 A9"},
    {"null", "#0500", "05 00"},
    {"empty_string", "#1300", "13 00"},
    {"string_type_is_not_judged", "#1303005F80", "13 03 00 5F 80"},
    {"visible_string", "#1A026162", "1A 02 61 62"},
    {"constructed", "#3003020101", "30 03 02 01 01"},
    {"tag_zero", "#000161", "00 01 61"},
    {"tag_number_above_thirty_is_one_octet", "#1F01AB", "1F 01 AB"},
    {"empty_bmp_string", "#1E00", "1E 00"},
    {"bytes_behind_the_element_are_dropped", "#0C0161FF00", "0C 01 61"},
    {"length_of_two_octets_is_written_anew", "#0C8103616263", "0C 03 61 62 63"},
    {"length_of_five_octets_is_written_anew", "#0C84000000016131", "0C 01 61"},
};

INSTANTIATE_TEST_SUITE_P(plain, dn_value_encode, testing::ValuesIn(PLAIN_VALUES), case_name_t());
INSTANTIATE_TEST_SUITE_P(quoted, dn_value_encode, testing::ValuesIn(QUOTED_VALUES), case_name_t());
INSTANTIATE_TEST_SUITE_P(hexadecimal, dn_value_encode, testing::ValuesIn(HEXADECIMAL_VALUES), case_name_t());

struct dn_refused_value_case_t {
    const char* name;
    const char* text;
};

class dn_value_not_encoded : public testing::TestWithParam<dn_refused_value_case_t> {};

TEST_P(dn_value_not_encoded, refuses_the_text) {
    const std::string text = GetParam().text;
    expect_refused("2.5.4.3=" + text, NO_MAP);
    expect_refused("2.5.4.6=RU,2.5.4.3=" + text, NO_MAP);
    expect_refused("2.5.4.3=" + text + ",2.5.4.6=RU", NO_MAP);
    expect_refused("2.5.4.3=" + text + "+2.5.4.6=RU", NO_MAP);
}

const dn_refused_value_case_t REFUSED_VALUES[] = {
    {"number_sign", "a#b"},
    {"number_sign_alone", "#"},
    {"number_sign_behind_a_blank", " #0C0161"},
    {"equals", "a=b"},
    {"equals_at_the_end", "a="},
    {"semicolon", "a;b"},
    {"less_than", "<a"},
    {"greater_than", "a>"},
    {"quotes_inside", "a\"b\"c"},
    {"quotes_at_the_end", "a\"b\""},
    {"text_behind_quotes", "\"a\"b"},
    {"blank_behind_quotes", "\"a\" "},
    {"blank_before_quotes", " \"a\""},
    {"separator_in_inner_quotes", "a\",\"b"},
    {"escaped_blank", "a\\ b"},
    {"escaped_apostrophe", "\\'"},
    {"escaped_letter", "\\g"},
    {"escaped_letter_of_utf8", "\\\xC3\xA9"},
    {"one_hexadecimal_digit_before_a_letter", "\\4g"},
    {"one_hexadecimal_digit_before_a_blank", "\\4 "},
    {"one_hexadecimal_digit_before_a_backslash", "\\4\\1"},
    {"one_hexadecimal_digit_at_the_end", "a\\4"},
    {"second_digit_alone", "\\g4"},
    {"backslash_before_the_last_quote", "\"a\"b\\\""},
    {"escaped_backslash_and_backslash_before_the_last_quote", "\"a\"\\\\\\\""},
    {"one_hexadecimal_byte", "#0C"},
    {"one_hexadecimal_digit", "#0"},
    {"odd_number_of_digits", "#0C0"},
    {"odd_number_of_digits_of_an_element", "#0C01610"},
    {"not_a_digit", "#0C01g1"},
    {"not_a_digit_in_front", "#xC0161"},
    {"blanks_between_digits", "#0C 01 61"},
    {"blank_behind_digits", "#0C0161 "},
    {"two_blanks_behind_digits", "#0C0161  "},
    {"second_number_sign", "##0C0161"},
    {"element_in_quotes", "#\"0C0161\""},
    {"escape_among_digits", "#0C01\\61"},
    {"content_one_byte_short", "#0C0361"},
    {"content_missing", "#0C01"},
    {"long_length_cut_short", "#0C82"},
    {"long_length_without_content", "#0C820001"},
    {"indefinite_length", "#0C80610000"},
    {"five_length_octets", "#0C85000000000161"},
    {"length_that_wraps_to_nothing", "#0C84FFFFFFFA"},
    {"length_that_wraps_to_one", "#0C84FFFFFFFB"},
    {"length_that_wraps_to_three", "#0C84FFFFFFFD616263"},
    {"length_that_wraps_to_five", "#0C84FFFFFFFF6162636465"},
    {"length_just_below_wrapping", "#0C84FFFFFFF961"},
    {"length_of_31_bits", "#0C847FFFFFFF61"},
    {"length_of_tag_zero_that_wraps", "#0084FFFFFFFE61"},
};

INSTANTIATE_TEST_SUITE_P(text, dn_value_not_encoded, testing::ValuesIn(REFUSED_VALUES), case_name_t());

// Text that ends here cannot be followed by another RDN, so it is refused at the end alone.
TEST(dn_value_encode_law, backslash_at_the_very_end_is_refused) {
    expect_refused("2.5.4.3=\\", NO_MAP);
    expect_refused("2.5.4.3=a\\", NO_MAP);
    expect_refused("2.5.4.3=\\\\\\", NO_MAP);
}

TEST(dn_value_encode_law, every_octet_chooses_its_string_type) {
    for (int octet = 0; octet < 256; ++octet) {
        const std::string character(1, static_cast<char>(octet));
        const unsigned char tag = string_type_of(octet);
        char escape[4];
        std::snprintf(escape, sizeof escape, "\\%02X", static_cast<unsigned int>(octet));
        expect_encoded("2.5.4.3=" + std::string(escape), NO_MAP, name_of(element(tag, character)));
        expect_encoded("2.5.4.3=ab" + std::string(escape) + "c", NO_MAP, name_of(element(tag, "ab" + character + "c")));
        std::snprintf(escape, sizeof escape, "\\%02x", static_cast<unsigned int>(octet));
        expect_encoded("2.5.4.3=" + std::string(escape), NO_MAP, name_of(element(tag, character)));
    }
}

// The widest string type wins, wherever it stands.
TEST(dn_value_encode_law, pairs_of_octets_take_the_wider_string_type) {
    const auto width = [](int octet) { return octet >= 0x80 ? 2 : string_type_of(octet) == IA5_STRING ? 1 : 0; };
    const unsigned char tags[] = {PRINTABLE_STRING, IA5_STRING, UTF8_STRING};
    const int octets[] = {'a', ' ', '_', '@', 0x00, 0x7F, 0x80, 0xFF};
    for (const int first : octets) {
        for (const int second : octets) {
            char escapes[7];
            std::snprintf(escapes, sizeof escapes, "\\%02X\\%02X", static_cast<unsigned int>(first),
                          static_cast<unsigned int>(second));
            const std::string content = {static_cast<char>(first), static_cast<char>(second)};
            expect_encoded("2.5.4.3=" + std::string(escapes), NO_MAP,
                           name_of(element(tags[std::max(width(first), width(second))], content)));
        }
    }
}

TEST(dn_value_encode_law, every_bare_octet_but_the_special_ones_is_copied) {
    for (int octet = 1; octet < 256; ++octet) {
        const std::string character(1, static_cast<char>(octet));
        const std::string dn = "2.5.4.3=a" + character;
        if (SPECIALS.find(character) != std::string_view::npos) {
            expect_refused(dn, NO_MAP);
        } else {
            expect_encoded(dn, NO_MAP, name_of(element(string_type_of(octet), "a" + character)));
        }
    }
}

TEST(dn_value_encode_law, backslash_escapes_the_special_characters_alone) {
    for (int octet = 1; octet < 256; ++octet) {
        const std::string character(1, static_cast<char>(octet));
        const std::string dn = "2.5.4.3=a\\" + character;
        if (SPECIALS.find(character) == std::string_view::npos) {
            expect_refused(dn, NO_MAP);
            expect_refused(dn + "z", NO_MAP);
        } else {
            expect_encoded(dn, NO_MAP, name_of(element(string_type_of(octet), "a" + character)));
            expect_encoded(dn + "z", NO_MAP, name_of(element(string_type_of(octet), "a" + character + "z")));
        }
    }
}

TEST(dn_value_encode_law, quotes_take_every_octet) {
    for (int octet = 1; octet < 256; ++octet) {
        const std::string character(1, static_cast<char>(octet));
        if (octet == '"' || octet == '\\') {
            expect_refused("2.5.4.3=\"a" + character + "\"", NO_MAP);
            continue;
        }
        const unsigned char tag = string_type_of(octet);
        expect_encoded("2.5.4.3=\"a" + character + "\"", NO_MAP, name_of(element(tag, "a" + character)));
        expect_encoded("2.5.4.3=\"\\" + character + "\"", NO_MAP, name_of(element(tag, "\\" + character)));
    }
}

TEST(dn_value_encode_law, hexadecimal_value_brings_any_tag) {
    for (int octet = 0; octet < 256; ++octet) {
        char text[16];
        std::snprintf(text, sizeof text, "2.5.4.3=#%02X", static_cast<unsigned int>(octet));
        expect_encoded(std::string(text) + "0130", NO_MAP, name_of(element(static_cast<unsigned char>(octet), "0")));
    }
}

TEST(dn_value_encode_law, hexadecimal_digits_are_these_22_characters) {
    for (int octet = 1; octet < 256; ++octet) {
        const char c = static_cast<char>(octet);
        const bool digit = std::strchr("0123456789ABCDEFabcdef", c) != nullptr;
        std::string der;
        EXPECT_EQ(digit, encode("2.5.4.3=#0401" + std::string(1, c) + "0", der, NO_MAP)) << octet;
        EXPECT_EQ(digit, encode("2.5.4.3=#04010" + std::string(1, c), der, NO_MAP)) << octet;
        EXPECT_EQ(digit, encode("2.5.4.3=\\0" + std::string(1, c), der, NO_MAP)) << octet;
    }
}

TEST(dn_value_encode_law, every_proper_prefix_of_a_hexadecimal_element_is_refused) {
    const std::string digits = "0C81056162636465";
    for (std::size_t size = 0; size < digits.size(); ++size) {
        expect_refused("2.5.4.3=#" + digits.substr(0, size), NO_MAP);
    }
    expect_encoded("2.5.4.3=#" + digits, NO_MAP, name_of(element(0x0C, "abcde")));
}

// Maps

TEST(dn_encode_map, knows_its_own_names_and_no_others) {
    const parsed_map_t map("2.5.4.3 = MyName, a name\n");
    expect_encoded("mYnAME=a", map.handle(), name_of(from_hex("13 01 61")));
    expect_refused("CN=a", map.handle());
}

TEST(dn_encode_map, without_entries_leaves_dotted_types) {
    const parsed_map_t map("");
    expect_encoded("2.5.4.3=a", map.handle(), name_of(from_hex("13 01 61")));
    expect_refused("CN=a", map.handle());
}

TEST(dn_encode_map, short_name_goes_before_a_dotted_type) {
    const parsed_map_t map("2.5.4.3 = 2.5.4.10\n2.5.4.3 = 5\n");
    expect_encoded("2.5.4.10=a", map.handle(), name_of(from_hex("13 01 61")));
    expect_encoded("5=a", map.handle(), name_of(from_hex("13 01 61")));
}

TEST(dn_encode_map, short_name_may_hold_special_characters) {
    const parsed_map_t map("2.5.4.3 = a+\"b\"\\\n");
    expect_encoded("A+\"b\"\\=x", map.handle(), name_of(from_hex("13 01 78")));
}

// Sizes

// Lengths on both sides of every change in the header and of the room that the writer has without the heap. With 65,518
// the name's own content is 65,535 octets long.
TEST(dn_encode_size, lengths_are_minimal_below_65536) {
    for (const std::size_t size : {0u,   1u,   110u, 111u, 114u, 115u, 118u, 119u,  122u,  123u,  126u,  127u,  128u,
                                   129u, 238u, 239u, 240u, 245u, 246u, 249u, 250u,  251u,  255u,  256u,  257u,  300u,
                                   305u, 309u, 314u, 500u, 506u, 512u, 990u, 1000u, 1018u, 1024u, 5000u, 65518u}) {
        const std::string content(size, 'x');
        expect_encoded("2.5.4.3=" + content, NO_MAP, name_of(element(PRINTABLE_STRING, content)));
        expect_encoded("2.5.4.3=\"" + content + "\"", NO_MAP, name_of(element(PRINTABLE_STRING, content)));
    }
}

TEST(dn_encode_size, length_octets_go_up_to_the_first_zero_from_65536_on) {
    const auto expect_headers = [](std::size_t size, const char* headers) {
        std::string der;
        const std::string content(size, 'x');
        ASSERT_TRUE(encode("2.5.4.3=" + content, der, NO_MAP));
        const std::string expected = from_hex(headers);
        EXPECT_TRUE(same_bytes(expected, std::string_view(der).substr(0, expected.size()))) << size;
        EXPECT_TRUE(der.substr(expected.size()) == content) << size;
    };
    // The content of the name, of its SET, of the member and of the value pass 65,535 one by one.
    expect_headers(65519, "30 81 00 31 82 FF FC 30 82 FF F8 06 03 55 04 03 13 82 FF EF");
    expect_headers(65523, "30 81 03 31 81 00 30 82 FF FC 06 03 55 04 03 13 82 FF F3");
    expect_headers(65527, "30 81 06 31 81 03 30 81 00 06 03 55 04 03 13 82 FF F7");
    expect_headers(65536, "30 81 0E 31 81 0B 30 81 08 06 03 55 04 03 13 81 00");
    expect_headers(70000, "30 83 01 11 84 31 83 01 11 7F 30 83 01 11 7A 06 03 55 04 03 13 83 01 11 70");
}

TEST(dn_encode_size, dotted_type_takes_506_octets) {
    std::string type = "2.5";
    std::string content = "\x55";
    while (content.size() < 506) {
        type += ".1";
        content += '\x01';
    }
    const std::string attribute = element(0x30, element(0x06, content) + from_hex("13 01 61"));
    expect_encoded(type + "=a", NO_MAP, element(0x30, element(0x31, attribute)));
    expect_refused(type + ".1=a", NO_MAP);
}

TEST(dn_encode_size, long_values_of_every_form) {
    const std::size_t size = 100000;
    std::string escaped;
    std::string digits;
    for (std::size_t i = 0; i < size; ++i) {
        escaped += "\\,";
        digits += "2C";
    }
    const std::string commas(size, ',');
    expect_encoded("2.5.4.3=" + escaped, NO_MAP, name_of(element(PRINTABLE_STRING, commas)));
    expect_encoded("2.5.4.3=\"" + commas + "\"", NO_MAP, name_of(element(PRINTABLE_STRING, commas)));
    expect_encoded("2.5.4.3=#04830186A0" + digits, NO_MAP, name_of(element(0x04, commas)));
    expect_encoded("2.5.4.3=" + std::string(size, '_'), NO_MAP, name_of(element(IA5_STRING, std::string(size, '_'))));
    expect_refused("2.5.4.3=" + escaped + ";", NO_MAP);
}

TEST(dn_encode_size, text_of_tens_of_thousands_of_rdns) {
    std::string dn;
    std::string rdns;
    for (int i = 0; i < 40000; ++i) {
        const std::string value = "common name " + std::to_string(i);
        dn += (i == 0 ? "CN=" : ",CN=") + value;
        rdns += element(0x31, attribute_of(element(PRINTABLE_STRING, value)));
    }
    const std::string expected = element(0x30, rdns);
    ASSERT_GT(expected.size(), 1000000u);
    std::string der;
    ASSERT_TRUE(encode(dn, der, OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(expected == der);
}

TEST(dn_encode_size, set_of_thousands_of_members) {
    std::string dn;
    std::string members;
    for (int i = 0; i < 10000; ++i) {
        const std::string value = std::to_string(i);
        dn += (i == 0 ? "CN=" : "+CN=") + value;
        members += attribute_of(element(PRINTABLE_STRING, value));
    }
    std::string der;
    ASSERT_TRUE(encode(dn, der, OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(element(0x30, element(0x31, members)) == der);
}

} // namespace
