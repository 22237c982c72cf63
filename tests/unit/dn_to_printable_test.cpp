// DER names to text.
#include <gtest/gtest.h>

#include <cstring>

#include "derkit/asn_printable.h"
#include "derkit/t61.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/parsed_map.h"

using namespace std::string_view_literals;

namespace {

constexpr oid_map_handle_t NO_MAP = {};
constexpr PrintableDnOrder ORDERS[] = {PDN_ORDER_AS_ENCODED, PDN_ORDER_REVERSED};
constexpr unsigned char STRING_TAGS[] = {0x0C, 0x12, 0x13, 0x14, 0x16, 0x1C, 0x1E};
constexpr std::string_view SPECIALS = "\"#+,;<=>\\";

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

const std::string CN_OID = from_hex("06 03 55 04 03");
const std::string COUNTRY_RU = from_hex("31 0B 30 09 06 03 55 04 06 13 02 52 55");

std::string rdn_of(std::string_view value) {
    return element(0x31, element(0x30, CN_OID + std::string(value)));
}

// A name of one RDN, 2.5.4.3 with this value element.
std::string name_of(std::string_view value) {
    return element(0x30, rdn_of(value));
}

struct printed_t {
    bool done = false;
    std::string text;
};

// Prints behind a text that the string holds already, and takes that off again.
printed_t print(std::string_view der, PrintableDnOrder order, oid_map_handle_t map = NO_MAP) {
    const std::string held = "held;";
    const exact_bytes_t block(der);
    printed_t printed;
    printed.text = held;
    printed.done = asn_dn_to_printable(block.data(), block.size(), printed.text, order, map);
    EXPECT_TRUE(same_bytes(held, std::string_view(printed.text).substr(0, held.size())));
    printed.text.erase(0, held.size());
    return printed;
}

const char* order_name(PrintableDnOrder order) {
    return order == PDN_ORDER_REVERSED ? "reversed" : "as encoded";
}

void expect_printed(std::string_view der, PrintableDnOrder order, oid_map_handle_t map, bool done,
                    std::string_view text) {
    const printed_t printed = print(der, order, map);
    EXPECT_EQ(done, printed.done) << order_name(order);
    EXPECT_TRUE(same_bytes(text, printed.text)) << order_name(order) << ", got \"" << printed.text << '"';
}

enum map_choice_t { WITHOUT_MAP, BUILT_IN_MAP };

oid_map_handle_t chosen(map_choice_t choice) {
    return choice == BUILT_IN_MAP ? OID_MAP_HANDLE_DEFAULT : NO_MAP;
}

// Whole names

struct dn_print_case_t {
    const char* name;
    const char* der;
    map_choice_t map;
    bool done;
    std::string_view as_encoded; // behind a failure: what was written all the same
    std::string_view reversed;
};

class dn_print : public testing::TestWithParam<dn_print_case_t> {};

TEST_P(dn_print, gives_this_text) {
    const dn_print_case_t& c = GetParam();
    expect_printed(from_hex(c.der), PDN_ORDER_AS_ENCODED, chosen(c.map), c.done, c.as_encoded);
    expect_printed(from_hex(c.der), PDN_ORDER_REVERSED, chosen(c.map), c.done, c.reversed);
}

const dn_print_case_t NAMES[] = {
    {"empty_name_adds_nothing", "30 00", WITHOUT_MAP, true, "", ""},
    {"empty_name_adds_nothing_with_a_map", "30 00", BUILT_IN_MAP, true, "", ""},
    {"empty_name_with_a_long_length", "30 84 00 00 00 00", WITHOUT_MAP, true, "", ""},
    {"one_rdn", "30 0D 31 0B 30 09 06 03 55 04 06 13 02 52 55", BUILT_IN_MAP, true, "C=RU", "C=RU"},
    {"types_are_dotted_without_a_map", "30 0D 31 0B 30 09 06 03 55 04 06 13 02 52 55", WITHOUT_MAP, true, "2.5.4.6=RU",
     "2.5.4.6=RU"},
    {"three_rdns",
     "30 2F 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 10 30 0E 06 03 55 04 0A 13 07 45 78 61 6D 70 6C 65"
     "31 0E 30 0C 06 03 55 04 03 13 05 75 73 65 72 31",
     BUILT_IN_MAP, true, "C=RU,O=Example,CN=user1", "CN=user1,O=Example,C=RU"},
    {"members_of_one_rdn_keep_their_order",
     "30 2A 31 0B 30 09 06 03 55 04 06 13 02 52 55"
     "31 1B 30 0C 06 03 55 04 0B 13 05 53 61 6C 65 73 30 0B 06 03 55 04 07 13 04 54 6F 77 6E",
     BUILT_IN_MAP, true, "C=RU,OU=Sales+L=Town", "OU=Sales+L=Town,C=RU"},
    {"one_rdn_of_three_members",
     "30 1F 31 1D 30 08 06 03 55 04 03 13 01 61 30 08 06 03 55 04 0A 13 01 62 30 07 06 03 55 04 0B 13 00", BUILT_IN_MAP,
     true, "CN=a+O=b+OU=", "CN=a+O=b+OU="},
    {"only_unknown_types_are_dotted", "30 17 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 08 30 06 06 02 2A 03 0C 00",
     BUILT_IN_MAP, true, "C=RU,1.2.3=", "1.2.3=,C=RU"},
    {"first_short_name_of_an_oid_is_printed", "30 0C 31 0A 30 08 06 03 55 04 08 13 01 78", BUILT_IN_MAP, true, "ST=x",
     "ST=x"},
    // An OID is compared by its octets: a padded one is not in the map.
    {"padded_oid_is_dotted", "30 0D 31 0B 30 09 06 04 55 04 80 03 13 01 78", BUILT_IN_MAP, true, "2.5.4.3=x",
     "2.5.4.3=x"},
    {"first_arcs_come_from_a_plain_division", "30 0A 31 08 30 06 06 01 78 13 01 78", BUILT_IN_MAP, true, "3.0=x",
     "3.0=x"},
    {"attribute_without_a_value", "30 09 31 07 30 05 06 03 55 04 03", BUILT_IN_MAP, true, "CN=#", "CN=#"},
    {"lengths_may_take_more_octets_than_needed",
     "30 84 00 00 00 1A 31 83 00 00 15 30 82 00 11 06 84 00 00 00 03 55 04 03 13 84 00 00 00 02 61 62", BUILT_IN_MAP,
     true, "CN=ab", "CN=ab"},
    {"converted_values_do_not_mix",
     "30 41 31 0B 30 09 06 03 55 04 03 14 02 61 62 31 0A 30 08 06 03 55 04 0A 14 01 63 31 0B 30 09 06 03 55 04 0B 1E 02"
     "00 64 31 0A 30 08 06 03 55 04 06 14 01 65 31 0D 30 0B 06 03 55 04 07 1C 04 00 00 00 66",
     BUILT_IN_MAP, true, "CN=ab,O=c,OU=d,C=e,L=f", "L=f,C=e,OU=d,O=c,CN=ab"},
    // openssl req -utf8 -multivalue-rdn -subj '/C=RU/L=Москва/O=Ромашка, "Юг"/OU=Sales+CN=user1/emailAddress=a@b.ru'
    {"name_made_by_openssl",
     "30 7A 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 15 30 13 06 03 55 04 07 0C 0C D0 9C D0 BE D1 81 D0 BA D0 B2 D0 B0"
     "31 1F 30 1D 06 03 55 04 0A 0C 16 D0 A0 D0 BE D0 BC D0 B0 D1 88 D0 BA D0 B0 2C 20 22 D0 AE D0 B3 22 31 1C 30 0C 06"
     "03 55 04 03 0C 05 75 73 65 72 31 30 0C 06 03 55 04 0B 0C 05 53 61 6C 65 73 31 15 30 13 06 09 2A 86 48 86 F7 0D 01"
     "09 01 16 06 61 40 62 2E 72 75",
     BUILT_IN_MAP, true, "C=RU,L=Москва,O=Ромашка\\, \\\"Юг\\\",CN=user1+OU=Sales,E=a@b.ru",
     "E=a@b.ru,CN=user1+OU=Sales,O=Ромашка\\, \\\"Юг\\\",L=Москва,C=RU"},
};

const dn_print_case_t BROKEN_NAMES[] = {
    {"nothing", "", WITHOUT_MAP, false, "", ""},
    {"identifier_alone", "30", WITHOUT_MAP, false, "", ""},
    {"set_in_place_of_the_sequence", "31 00", WITHOUT_MAP, false, "", ""},
    {"primitive_sequence", "10 00", WITHOUT_MAP, false, "", ""},
    {"indefinite_length", "30 80 00 00", WITHOUT_MAP, false, "", ""},
    {"five_length_octets", "30 85 00 00 00 00 00", WITHOUT_MAP, false, "", ""},
    {"content_beyond_the_end", "30 01", WITHOUT_MAP, false, "", ""},
    {"empty_set", "30 02 31 00", WITHOUT_MAP, false, "", ""},
    {"sequence_in_place_of_the_set", "30 0C 30 0A 30 08 06 03 55 04 03 13 01 61", WITHOUT_MAP, false, "", ""},
    {"set_beyond_the_sequence", "30 03 31 02 30 00", WITHOUT_MAP, false, "", ""},
    {"set_cut_short", "30 01 31", WITHOUT_MAP, false, "", ""},
    {"set_in_place_of_the_member", "30 0C 31 0A 31 08 06 03 55 04 03 13 01 61", WITHOUT_MAP, false, "", ""},
    {"type_directly_in_the_set", "30 0A 31 08 06 03 55 04 03 13 01 61", WITHOUT_MAP, false, "", ""},
    {"empty_member", "30 04 31 02 30 00", WITHOUT_MAP, false, "", ""},
    {"octet_string_in_place_of_the_type", "30 0C 31 0A 30 08 04 03 55 04 03 13 01 61", WITHOUT_MAP, false, "", ""},
    {"type_beyond_its_member", "30 0C 31 0A 30 08 06 07 55 04 03 13 01 61", WITHOUT_MAP, false, "", ""},
    {"empty_type", "30 09 31 07 30 05 06 00 13 01 61", BUILT_IN_MAP, false, "", ""},
    // Of a type that is cut short the finished arcs stay.
    {"type_cut_in_its_first_arc", "30 0A 31 08 30 06 06 01 AA 13 01 61", BUILT_IN_MAP, false, "", ""},
    {"type_cut_in_a_later_arc", "30 0B 31 09 30 07 06 02 2A 86 13 01 61", BUILT_IN_MAP, false, "1.2.", ""},
    {"value_that_does_not_print", "30 0C 31 0A 30 08 06 03 55 04 03 12 01 61", BUILT_IN_MAP, false, "CN=", ""},
    {"second_rdn_an_empty_set", "30 0F 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 00", BUILT_IN_MAP, false, "C=RU,",
     "C=RU,"},
    {"stray_octet_behind_the_last_rdn", "30 0E 31 0B 30 09 06 03 55 04 06 13 02 52 55 00", BUILT_IN_MAP, false, "C=RU,",
     "C=RU,"},
    {"second_rdn_of_another_type", "30 0F 31 0B 30 09 06 03 55 04 06 13 02 52 55 05 00", BUILT_IN_MAP, false, "C=RU,",
     "C=RU,"},
    {"second_member_that_does_not_print", "30 16 31 14 30 08 06 03 55 04 03 13 01 61 30 08 06 03 55 04 0A 12 01 61",
     BUILT_IN_MAP, false, "CN=a+O=", ""},
    {"second_member_with_a_broken_type", "30 14 31 12 30 08 06 03 55 04 03 13 01 61 30 06 06 02 2A 86 13 00",
     BUILT_IN_MAP, false, "CN=a+1.2.", ""},
    {"third_rdn_that_does_not_print",
     "30 25 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 0A 30 08 06 03 55 04 0A 13 01 62"
     "31 0A 30 08 06 03 55 04 03 12 01 61",
     BUILT_IN_MAP, false, "C=RU,O=b,CN=", "O=b,C=RU,"},
    {"last_of_three_rdns_a_stray_octet",
     "30 1A 31 0B 30 09 06 03 55 04 06 13 02 52 55 31 0A 30 08 06 03 55 04 0A 13 01 62 31", BUILT_IN_MAP, false,
     "C=RU,O=b,", "O=b,C=RU,"},
    {"joined_rdns_finished_before_the_failure",
     "30 24 31 14 30 08 06 03 55 04 03 13 01 61 30 08 06 03 55 04 0B 13 01 62 31 0A 30 08 06 03 55 04 0A 13 01 63"
     "31 00",
     BUILT_IN_MAP, false, "CN=a+OU=b,O=c,", "O=c,CN=a+OU=b,"},
};

INSTANTIATE_TEST_SUITE_P(names, dn_print, testing::ValuesIn(NAMES), case_name_t());
INSTANTIATE_TEST_SUITE_P(broken, dn_print, testing::ValuesIn(BROKEN_NAMES), case_name_t());

// Values

struct dn_value_case_t {
    const char* name;
    const char* value; // the element, hexadecimal
    std::string_view text;
};

class dn_value_print : public testing::TestWithParam<dn_value_case_t> {};

TEST_P(dn_value_print, gives_this_text_in_both_orders) {
    const std::string der = name_of(from_hex(GetParam().value));
    for (const PrintableDnOrder order : ORDERS) {
        expect_printed(der, order, NO_MAP, true, "2.5.4.3=" + std::string(GetParam().text));
    }
}

const dn_value_case_t VALUES[] = {
    {"utf8_string", "0C 03 61 62 63", "abc"},
    {"utf8_string_of_two_octet_characters", "0C 04 D0 AE D1 8F", "Юя"},
    {"utf8_is_not_checked", "0C 04 FF C0 80 D0", "\xFF\xC0\x80\xD0"},
    {"empty_utf8_string", "0C 00", ""},
    {"numeric_string", "12 05 31 20 32 30 39", "1 209"},
    {"numeric_string_keeps_outer_blanks", "12 04 20 20 31 20", "  1 "},
    {"empty_numeric_string", "12 00", ""},
    {"printable_string", "13 03 61 2C 62", "a\\,b"},
    {"printable_string_is_not_checked", "13 04 5F 40 07 B1", "_@\x07\xB1"},
    {"empty_printable_string", "13 00", ""},
    {"t61_string", "14 03 61 62 63", "abc"},
    {"t61_string_becomes_utf8", "14 01 E8", "Ł"},
    {"t61_letter_with_a_mark", "14 02 C2 41", "Á"},
    {"t61_letter_without_a_composed_form", "14 02 CC 41", "A\xCC\xB2"},
    {"t61_dollar_sign", "14 01 A4", "$"},
    {"t61_number_sign_is_escaped_after_conversion", "14 01 A6", "\\#"},
    {"t61_special_character_under_a_mark", "14 02 C2 2C", "\\,\xCC\x81"},
    {"t61_low_line_at_the_end", "14 02 2B CC", "\\+\0\xCC\xB2"sv},
    {"empty_t61_string", "14 00", ""},
    {"ia5_string", "16 04 78 3D 79 23", "x\\=y\\#"},
    {"ia5_string_is_not_checked", "16 02 80 FF", "\x80\xFF"},
    {"empty_ia5_string", "16 00", ""},
    {"universal_string", "1C 08 00 00 04 1F 00 00 00 61", "Пa"},
    {"universal_string_beyond_sixteen_bits", "1C 04 00 01 F6 00", "\xF0\x9F\x98\x80"},
    {"universal_string_special_character", "1C 04 00 00 00 3B", "\\;"},
    {"universal_string_largest_character", "1C 04 00 10 FF FF", "\xF4\x8F\xBF\xBF"},
    {"bmp_string", "1E 04 04 1F 00 61", "Пa"},
    {"bmp_string_special_character", "1E 04 00 2B 2B 00", "\\+\xE2\xAC\x80"},
    {"bmp_string_largest_character", "1E 02 FF FF", "\xEF\xBF\xBF"},
    {"bmp_string_with_a_zero", "1E 04 00 00 00 61", "\0a"sv},
    // Characters of the text that need no escape here.
    {"outer_blanks_stay_bare", "13 04 20 61 20 20", " a  "},
    {"controls_stay_bare", "0C 06 00 09 0A 0D 1B 7F", "\0\t\n\r\x1B\x7F"sv},
    {"all_special_characters", "16 09 22 23 2B 2C 3B 3C 3D 3E 5C", "\\\"\\#\\+\\,\\;\\<\\=\\>\\\\"},
    {"special_characters_between_others", "0C 05 2C 61 5C 5C 62", "\\,a\\\\\\\\b"},
    // Elements that are not text.
    {"visible_string", "1A 02 61 62", "#1A026162"},
    {"general_string", "1B 00", "#1B00"},
    {"integer", "02 01 AB", "#0201AB"},
    {"null", "05 00", "#0500"},
    {"constructed_utf8_string", "2C 03 0C 01 61", "#2C030C0161"},
    {"application_class", "4C 01 61", "#4C0161"},
    {"context_class", "93 01 61", "#930161"},
    {"tag_number_above_thirty", "1F 81 0C 01 61", "#1F810C0161"},
    {"tag_zero", "00 00", "#0000"},
    // What is shown in hexadecimal is not looked at.
    {"identifier_alone", "04", "#04"},
    {"content_beyond_the_end", "04 05 61", "#040561"},
    {"indefinite_length", "24 80 04 00 00 00", "#248004000000"},
    {"length_near_the_32_bit_end", "04 84 FF FF FF FE", "#0484FFFFFFFE"},
    {"octets_behind_the_element_are_shown", "05 00 0C 01 61", "#05000C0161"},
    // Bytes behind a string are not looked at.
    {"octets_behind_a_string_are_ignored", "13 01 61 FF 31 00", "a"},
    {"octets_behind_a_bmp_string_are_ignored", "1E 02 00 61 00 62 00", "a"},
    {"long_length_of_a_string", "0C 81 02 61 62", "ab"},
    {"longest_length_of_a_string", "0C 84 00 00 00 02 61 62", "ab"},
};

INSTANTIATE_TEST_SUITE_P(value, dn_value_print, testing::ValuesIn(VALUES), case_name_t());

struct dn_broken_value_case_t {
    const char* name;
    const char* value;
};

class dn_value_refused : public testing::TestWithParam<dn_broken_value_case_t> {};

// The value stands in the second RDN, so that it can be seen what stays of the first one and of the second.
TEST_P(dn_value_refused, fails_and_leaves_this_much) {
    const std::string der = element(0x30, COUNTRY_RU + rdn_of(from_hex(GetParam().value)));
    expect_printed(der, PDN_ORDER_AS_ENCODED, NO_MAP, false, "2.5.4.6=RU,2.5.4.3=");
    expect_printed(der, PDN_ORDER_REVERSED, NO_MAP, false, "2.5.4.6=RU,");
}

const dn_broken_value_case_t BROKEN_VALUES[] = {
    {"utf8_string_without_a_length", "0C"},
    {"numeric_string_without_a_length", "12"},
    {"printable_string_without_a_length", "13"},
    {"t61_string_without_a_length", "14"},
    {"ia5_string_without_a_length", "16"},
    {"universal_string_without_a_length", "1C"},
    {"bmp_string_without_a_length", "1E"},
    {"content_one_octet_short", "0C 02 61"},
    {"content_missing", "13 01"},
    {"long_length_cut_short", "16 82 00"},
    {"content_shorter_than_its_long_length", "16 82 00 02 61"},
    {"indefinite_length", "0C 80 61 00 00"},
    {"five_length_octets", "0C 85 00 00 00 00 01 61"},
    {"letter_in_a_numeric_string", "12 01 61"},
    {"hyphen_in_a_numeric_string", "12 02 2D 31"},
    {"tab_in_a_numeric_string", "12 01 09"},
    {"special_character_in_a_numeric_string", "12 01 2C"},
    {"zero_octet_in_a_numeric_string", "12 01 00"},
    {"undefined_t61_character", "14 02 61 5C"},
    {"t61_zero", "14 01 00"},
    {"undefined_t61_prefix", "14 02 C0 41"},
    {"empty_bmp_string", "1E 00"},
    {"bmp_string_of_half_a_character", "1E 01 61"},
    {"bmp_string_of_one_and_a_half_characters", "1E 03 00 61 00"},
    {"high_surrogate_in_a_bmp_string", "1E 02 D8 00"},
    {"surrogate_pair_in_a_bmp_string", "1E 04 D8 3D DE 00"},
    {"last_surrogate_in_a_bmp_string", "1E 04 00 61 DF FF"},
    {"empty_universal_string", "1C 00"},
    {"universal_string_of_half_a_character", "1C 02 00 61"},
    {"universal_string_of_a_character_and_a_quarter", "1C 05 00 00 00 61 00"},
    {"surrogate_in_a_universal_string", "1C 04 00 00 DC 00"},
    {"universal_string_character_too_large", "1C 04 00 11 00 00"},
    {"universal_string_character_of_32_bits", "1C 04 FF FF FF FF"},
};

INSTANTIATE_TEST_SUITE_P(value, dn_value_refused, testing::ValuesIn(BROKEN_VALUES), case_name_t());

TEST(dn_value_print_law, numeric_string_fails_on_a_later_character_too) {
    for (const PrintableDnOrder order : ORDERS) {
        EXPECT_FALSE(print(name_of(from_hex("12 04 31 32 33 2E")), order).done) << order_name(order);
    }
}

TEST(dn_value_print_law, every_identifier_octet_but_seven_selects_hexadecimal) {
    for (unsigned int tag = 0; tag < 256; ++tag) {
        const unsigned char octet = static_cast<unsigned char>(tag);
        const bool is_text = std::memchr(STRING_TAGS, static_cast<int>(tag), sizeof STRING_TAGS) != nullptr;
        const std::string value = element(octet, "0000"); // text of every string type but UniversalString
        std::string hex = "#" + to_hex(value);
        hex.erase(std::remove(hex.begin(), hex.end(), ' '), hex.end());
        const std::string text = octet == 0x1C ? "" : octet == 0x1E ? "\xE3\x80\xB0\xE3\x80\xB0" : "0000";
        for (const PrintableDnOrder order : ORDERS) {
            const bool done = octet != 0x1C; // 30303030 is no character
            const printed_t printed = print(name_of(value), order);
            EXPECT_EQ(done, printed.done) << to_hex(value);
            if (done) {
                EXPECT_TRUE(same_bytes("2.5.4.3=" + (is_text ? text : hex), printed.text)) << to_hex(value);
            }
        }
    }
}

TEST(dn_value_print_law, nine_octets_are_escaped_in_strings_that_are_copied) {
    const unsigned char copied[] = {0x0C, 0x13, 0x16};
    for (const unsigned char tag : copied) {
        for (int c = 0; c < 256; ++c) {
            const std::string character(1, static_cast<char>(c));
            const bool escaped = SPECIALS.find(character) != std::string_view::npos;
            expect_printed(name_of(element(tag, "x" + character + "y")), PDN_ORDER_AS_ENCODED, NO_MAP, true,
                           "2.5.4.3=x" + std::string(escaped ? "\\" : "") + character + "y");
        }
    }
}

TEST(dn_value_print_law, nine_characters_are_escaped_in_strings_that_are_converted) {
    for (unsigned int c = 0; c < 256; ++c) {
        const char low = static_cast<char>(c);
        const bool escaped = c < 0x80 && SPECIALS.find(low) != std::string_view::npos;
        std::string utf8(1, low);
        if (c >= 0x80) {
            utf8 = {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
        }
        const std::string expected = "2.5.4.3=" + std::string(escaped ? "\\" : "") + utf8;
        const std::string wide = {'\0', '\0', '\0', low};
        expect_printed(name_of(element(0x1C, wide)), PDN_ORDER_AS_ENCODED, NO_MAP, true, expected);
        expect_printed(name_of(element(0x1E, wide.substr(2))), PDN_ORDER_AS_ENCODED, NO_MAP, true, expected);
    }
}

std::string with_escapes(std::string_view text) {
    std::string out;
    for (const char c : text) {
        out += (SPECIALS.find(c) == std::string_view::npos ? "" : "\\") + std::string(1, c);
    }
    return out;
}

// The octets of a text as one of the string types holds them.
std::string string_of(unsigned char tag, std::string_view text) {
    const std::size_t num_zeros = tag == 0x1C ? 3 : tag == 0x1E ? 1 : 0;
    std::string content;
    for (const char c : text) {
        content += std::string(num_zeros, '\0') + c;
    }
    return element(tag, content);
}

// First, last, side by side, alone: all texts of up to four of these characters.
TEST(dn_value_print_law, special_characters_are_escaped_wherever_they_stand) {
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; texts[i].size() < 4; ++i) {
        for (const char c : {',', '"', ' ', 'a'}) {
            texts.push_back(texts[i] + c);
        }
    }
    const unsigned char tags[] = {0x0C, 0x13, 0x14, 0x16, 0x1C, 0x1E};
    for (const unsigned char tag : tags) {
        for (const std::string& text : texts) {
            const bool done = !text.empty() || tag < 0x1C;
            const printed_t printed = print(name_of(string_of(tag, text)), PDN_ORDER_REVERSED);
            EXPECT_EQ(done, printed.done) << to_hex(&tag, 1) << " \"" << text << '"';
            EXPECT_TRUE(same_bytes(done ? "2.5.4.3=" + with_escapes(text) : "", printed.text)) << to_hex(&tag, 1);
        }
    }
}

// T.61 is converted in one way or another by its size; it is escaped, and refused, alike.
TEST(dn_value_print_law, t61_strings_of_every_size_are_escaped) {
    for (std::size_t size = 0; size < 100; ++size) {
        const std::string inner(size, 'a');
        const std::string commas(size, ',');
        const std::string der =
            element(0x30, rdn_of(element(0x14, ',' + inner + "=\xC2")) + COUNTRY_RU + rdn_of(element(0x14, commas)));
        expect_printed(der, PDN_ORDER_AS_ENCODED, NO_MAP, true,
                       "2.5.4.3=\\," + inner + "\\=\xC2\xB4,2.5.4.6=RU,2.5.4.3=" + with_escapes(commas));
        const std::string refused = element(0x30, COUNTRY_RU + rdn_of(element(0x14, commas + '\xC9')));
        expect_printed(refused, PDN_ORDER_AS_ENCODED, NO_MAP, false, "2.5.4.6=RU,2.5.4.3=");
        expect_printed(refused, PDN_ORDER_REVERSED, NO_MAP, false, "2.5.4.6=RU,");
    }
}

TEST(dn_value_print_law, numeric_string_takes_digits_and_spaces_alone) {
    for (int c = 0; c < 256; ++c) {
        const std::string character(1, static_cast<char>(c));
        const bool allowed = (c >= '0' && c <= '9') || c == ' ';
        expect_printed(name_of(element(0x12, character)), PDN_ORDER_AS_ENCODED, NO_MAP, allowed,
                       "2.5.4.3=" + (allowed ? character : ""));
    }
}

TEST(dn_value_print_law, t61_string_is_converted_and_then_escaped) {
    for (int c = 0; c < 256; ++c) {
        const std::string t61 = {static_cast<char>(c), 'x'};
        std::string utf8;
        const bool defined = ldap_t61s_to_utf8s(t61.data(), 2, utf8);
        expect_printed(name_of(element(0x14, t61)), PDN_ORDER_AS_ENCODED, NO_MAP, defined,
                       "2.5.4.3=" + with_escapes(utf8));
    }
}

// The octet behind the string, the 31 of the next SET, would make a digit with an acute of it.
TEST(dn_value_print_law, t61_prefix_at_the_end_stands_alone) {
    const std::string der = element(0x30, rdn_of(from_hex("14 01 C2")) + COUNTRY_RU);
    expect_printed(der, PDN_ORDER_AS_ENCODED, NO_MAP, true, "2.5.4.3=\xC2\xB4,2.5.4.6=RU");
}

// What surrounds a name

TEST(dn_print_law, every_proper_prefix_fails_and_adds_nothing) {
    std::vector<std::string> ders;
    for (const dn_print_case_t& c : NAMES) {
        ders.push_back(from_hex(c.der));
    }
    for (const dn_value_case_t& c : VALUES) {
        ders.push_back(name_of(from_hex(c.value)));
    }
    for (const std::string& der : ders) {
        for_each_prefix(der, [](const exact_bytes_t& prefix) {
            for (const PrintableDnOrder order : ORDERS) {
                std::string out = "held;";
                EXPECT_FALSE(asn_dn_to_printable(prefix.data(), prefix.size(), out, order, OID_MAP_HANDLE_DEFAULT));
                EXPECT_EQ("held;", out) << order_name(order);
            }
        });
    }
}

TEST(dn_print_law, bytes_behind_the_name_are_ignored) {
    for (const dn_print_case_t& c : NAMES) {
        SCOPED_TRACE(c.name);
        const std::string der = from_hex(c.der);
        for (const std::string& behind : {from_hex("00"), from_hex("FF FF FF"), COUNTRY_RU, der}) {
            expect_printed(der + behind, PDN_ORDER_AS_ENCODED, chosen(c.map), true, c.as_encoded);
            expect_printed(der + behind, PDN_ORDER_REVERSED, chosen(c.map), true, c.reversed);
        }
    }
}

// Cut inside an element while all lengths around it fit what is left.
TEST(dn_print_law, elements_cut_inside_fail) {
    const std::string attribute = CN_OID + from_hex("13 03 61 62 63");
    const std::size_t behind_the_type = CN_OID.size();
    for (std::size_t size = 0; size < attribute.size(); ++size) {
        SCOPED_TRACE("attribute cut to " + std::to_string(size));
        const std::string der = element(0x30, element(0x31, element(0x30, attribute.substr(0, size))));
        for (const PrintableDnOrder order : ORDERS) {
            EXPECT_EQ(size == behind_the_type, print(der, order).done) << order_name(order);
        }
    }
    const std::string member = element(0x30, attribute);
    for (std::size_t size = 0; size < member.size(); ++size) {
        SCOPED_TRACE("member cut to " + std::to_string(size));
        for (const PrintableDnOrder order : ORDERS) {
            EXPECT_FALSE(print(element(0x30, element(0x31, member.substr(0, size))), order).done) << order_name(order);
            if (size != 0) {
                EXPECT_FALSE(print(element(0x30, element(0x31, member + member.substr(0, size))), order).done)
                    << "as the second member, " << order_name(order);
            }
        }
    }
    const std::string rdn = element(0x31, member);
    for (std::size_t size = 1; size < rdn.size(); ++size) {
        SCOPED_TRACE("RDN cut to " + std::to_string(size));
        for (const PrintableDnOrder order : ORDERS) {
            EXPECT_FALSE(print(element(0x30, rdn.substr(0, size)), order).done) << order_name(order);
            EXPECT_FALSE(print(element(0x30, rdn + rdn.substr(0, size)), order).done)
                << "as the second RDN, " << order_name(order);
        }
    }
}

// The sum of such a length and its header wraps at 32 bits, or nearly does.
TEST(dn_print_law, lengths_near_the_32_bit_end_are_refused_at_every_level) {
    const auto long_element = [](unsigned char tag, unsigned char last, std::string_view content) {
        return std::string(1, static_cast<char>(tag)) + from_hex("84 FF FF FF") + static_cast<char>(last) +
               std::string(content);
    };
    const std::string value = from_hex("13 01 61");
    const std::string attribute = element(0x30, CN_OID + value);
    for (unsigned int last = 0xF0; last <= 0xFF; ++last) {
        const unsigned char octet = static_cast<unsigned char>(last);
        SCOPED_TRACE("length FF FF FF " + to_hex(&octet, 1));
        std::vector<std::string> ders = {
            long_element(0x30, octet, ""),
            long_element(0x30, octet, element(0x31, attribute)),
            element(0x30, long_element(0x31, octet, "")),
            element(0x30, long_element(0x31, octet, attribute)),
            element(0x30, element(0x31, long_element(0x30, octet, ""))),
            element(0x30, element(0x31, long_element(0x30, octet, CN_OID + value))),
            element(0x30, element(0x31, element(0x30, long_element(0x06, octet, "")))),
            element(0x30, element(0x31, element(0x30, long_element(0x06, octet, from_hex("55 04 03") + value)))),
        };
        for (const unsigned char tag : STRING_TAGS) {
            ders.push_back(name_of(long_element(tag, octet, "")));
            ders.push_back(name_of(long_element(tag, octet, "00000000")));
        }
        for (const std::string& der : ders) {
            for (const PrintableDnOrder order : ORDERS) {
                EXPECT_FALSE(print(der, order).done) << to_hex(der) << ", " << order_name(order);
            }
        }
    }
}

TEST(dn_print_law, lengths_of_31_and_32_bits_are_refused_at_every_level) {
    for (const char* const length : {"84 7F FF FF FF", "84 80 00 00 00", "84 80 00 00 04", "83 FF FF FF", "82 FF FF"}) {
        const std::string header = from_hex(length);
        for (const std::string& der :
             {"\x30" + header, element(0x30, "\x31" + header), element(0x30, element(0x31, "\x30" + header)),
              element(0x30, element(0x31, element(0x30, "\x06" + header))), name_of("\x13" + header)}) {
            for (const PrintableDnOrder order : ORDERS) {
                EXPECT_FALSE(print(der, order).done) << to_hex(der) << ", " << order_name(order);
            }
        }
    }
}

TEST(dn_print_law, a_size_beyond_the_input_costs_no_memory) {
    const exact_bytes_t der(element(0x30, COUNTRY_RU));
    for (const PrintableDnOrder order : ORDERS) {
        std::string out;
        EXPECT_TRUE(asn_dn_to_printable(der.data(), 0xFFFFFFFF, out, order, OID_MAP_HANDLE_DEFAULT));
        EXPECT_EQ("C=RU", out);
        EXPECT_LT(out.capacity(), 1000u);
    }
}

TEST(dn_print_law, room_for_the_size_of_the_name_is_reserved) {
    std::string rdns;
    for (int i = 0; i < 40; ++i) {
        rdns += COUNTRY_RU; // 13 octets for five characters
    }
    std::string out = "held;";
    const exact_bytes_t der(element(0x30, rdns));
    ASSERT_TRUE(asn_dn_to_printable(der.data(), der.size(), out, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT));
    EXPECT_GE(out.capacity(), 5 + rdns.size());
}

TEST(dn_print_law, orders_other_than_reversed_count_as_encoded) {
    const std::string der = element(0x30, COUNTRY_RU + rdn_of(from_hex("13 01 61")));
    for (const int order : {2, 3, -1, 0x101, 0x7FFFFFFF}) {
        EXPECT_EQ("2.5.4.6=RU,2.5.4.3=a", print(der, static_cast<PrintableDnOrder>(order)).text) << order;
    }
}

// A failure behind the '+' may leave that or not, but the finished member stays.
TEST(dn_print_law, second_member_that_cannot_be_read_leaves_the_first_in_encoded_order) {
    const std::string member = element(0x30, CN_OID + from_hex("13 01 61"));
    for (const char* const stray : {"00", "30", "05 00", "30 00", "30 02 06 00"}) {
        const std::string der = element(0x30, element(0x31, member + from_hex(stray)));
        const printed_t as_encoded = print(der, PDN_ORDER_AS_ENCODED);
        EXPECT_FALSE(as_encoded.done) << stray;
        EXPECT_EQ("2.5.4.3=a", as_encoded.text.substr(0, 9)) << stray;
        expect_printed(der, PDN_ORDER_REVERSED, NO_MAP, false, "");
    }
}

TEST(dn_print_law, reversed_text_is_the_encoded_one_with_its_rdns_reversed) {
    for (const dn_print_case_t& c : NAMES) {
        std::string text = print(from_hex(c.der), PDN_ORDER_AS_ENCODED, chosen(c.map)).text;
        ASSERT_NE(nullptr, printable_dn_reverse(text.data())) << c.name;
        EXPECT_TRUE(same_bytes(print(from_hex(c.der), PDN_ORDER_REVERSED, chosen(c.map)).text, text)) << c.name;
    }
}

// Whatever one octet is changed to, both orders give one verdict, and after a success the same RDNs.
TEST(dn_print_law, both_orders_judge_changed_octets_alike) {
    const std::string der = element(0x30, COUNTRY_RU + rdn_of(from_hex("1E 04 04 1F 00 2B")) +
                                              element(0x31, element(0x30, CN_OID + from_hex("14 02 C2 41")) +
                                                                element(0x30, CN_OID + from_hex("12 01 31"))));
    unsigned int num_done = 0;
    for (std::size_t i = 0; i < der.size(); ++i) {
        for (int octet = 0; octet < 256; ++octet) {
            std::string changed = der;
            changed[i] = static_cast<char>(octet);
            printed_t as_encoded = print(changed, PDN_ORDER_AS_ENCODED);
            const printed_t reversed = print(changed, PDN_ORDER_REVERSED);
            ASSERT_EQ(as_encoded.done, reversed.done) << to_hex(changed);
            const bool parses_whole = as_encoded.text.find('\0') == std::string::npos;
            if (as_encoded.done && parses_whole) {
                ++num_done;
                ASSERT_NE(nullptr, printable_dn_reverse(as_encoded.text.data())) << to_hex(changed);
                ASSERT_TRUE(same_bytes(as_encoded.text, reversed.text)) << to_hex(changed);
            }
        }
    }
    EXPECT_GT(num_done, der.size()); // every octet unchanged is one
}

// Maps

TEST(dn_print_map, names_the_types_that_it_knows_and_no_others) {
    const parsed_map_t map("2.5.4.3 = MyName, a name\n2.5.4.10 = O\n");
    const std::string der = element(0x30, COUNTRY_RU + rdn_of(from_hex("13 01 61")));
    expect_printed(der, PDN_ORDER_AS_ENCODED, map.handle(), true, "2.5.4.6=RU,MYNAME=a");
    expect_printed(der, PDN_ORDER_REVERSED, map.handle(), true, "MYNAME=a,2.5.4.6=RU");
}

TEST(dn_print_map, without_entries_names_nothing) {
    const parsed_map_t map("");
    expect_printed(element(0x30, COUNTRY_RU), PDN_ORDER_AS_ENCODED, map.handle(), true, "2.5.4.6=RU");
}

TEST(dn_print_map, may_name_a_type_with_an_empty_text) {
    const parsed_map_t map("2.5.4.6 = , country\n");
    expect_printed(element(0x30, COUNTRY_RU), PDN_ORDER_AS_ENCODED, map.handle(), true, "=RU");
}

TEST(dn_print_map, short_names_are_not_escaped) {
    const parsed_map_t map("2.5.4.6 = A+B;\"C\"\n");
    expect_printed(element(0x30, COUNTRY_RU), PDN_ORDER_AS_ENCODED, map.handle(), true, "A+B;\"C\"=RU");
}

// Sizes

TEST(dn_print_size, name_of_a_megabyte_prints_in_both_orders) {
    std::string rdns;
    std::string as_encoded;
    std::string reversed;
    const int num_rdns = 40000;
    for (int i = 0; i < num_rdns; ++i) {
        const char* const comma = i == 0 ? "" : ",";
        rdns += rdn_of(element(0x0C, "common name " + std::to_string(i)));
        as_encoded += comma + ("CN=common name " + std::to_string(i));
        reversed += comma + ("CN=common name " + std::to_string(num_rdns - 1 - i));
    }
    const std::string der = element(0x30, rdns);
    ASSERT_GT(der.size(), 1000000u);
    const printed_t first = print(der, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT);
    EXPECT_TRUE(first.done);
    EXPECT_TRUE(as_encoded == first.text);
    const printed_t second = print(der, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT);
    EXPECT_TRUE(second.done);
    EXPECT_TRUE(reversed == second.text);
}

TEST(dn_print_size, set_of_thousands_of_members_prints_in_their_order) {
    std::string members;
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        members += element(0x30, CN_OID + element(0x13, std::to_string(i)));
        expected += (i == 0 ? "" : "+") + ("CN=" + std::to_string(i));
    }
    const std::string der = element(0x30, element(0x31, members) + COUNTRY_RU);
    const printed_t as_encoded = print(der, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT);
    EXPECT_TRUE(as_encoded.done);
    EXPECT_TRUE(expected + ",C=RU" == as_encoded.text);
    const printed_t reversed = print(der, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT);
    EXPECT_TRUE(reversed.done);
    EXPECT_TRUE("C=RU," + expected == reversed.text);
}

TEST(dn_print_size, long_values_print_whole) {
    const std::size_t size = 100000;
    std::string bmp;
    std::string bmp_text;
    std::string commas;
    std::string hex;
    for (std::size_t i = 0; i < size; ++i) {
        bmp += from_hex("20 AC");
        bmp_text += "€";
        commas += "\\,";
        hex += "2C";
    }
    const std::string content(size, ',');
    const struct {
        std::string value;
        std::string text;
    } cases[] = {
        {element(0x0C, std::string(size, 'a')), std::string(size, 'a')},
        {element(0x16, content), commas},
        {element(0x12, std::string(size, '7')), std::string(size, '7')},
        {element(0x14, std::string(size, 'b')), std::string(size, 'b')},
        {element(0x1E, bmp), bmp_text},
        {element(0x04, content), "#04830186A0" + hex},
    };
    for (const auto& c : cases) {
        for (const PrintableDnOrder order : ORDERS) {
            const printed_t printed = print(name_of(c.value), order);
            EXPECT_TRUE(printed.done);
            EXPECT_TRUE("2.5.4.3=" + c.text == printed.text) << to_hex(c.value.substr(0, 10)) << "...";
        }
    }
}

} // namespace
