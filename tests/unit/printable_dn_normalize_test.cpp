// Canonical text of names, and the way from DER to text and back.
#include <gtest/gtest.h>

#include "derkit/asn_printable.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/parsed_map.h"

using namespace std::string_view_literals;

namespace {

constexpr oid_map_handle_t NO_MAP = {};

enum map_choice_t { WITHOUT_MAP, BUILT_IN_MAP };

oid_map_handle_t chosen(map_choice_t choice) {
    return choice == BUILT_IN_MAP ? OID_MAP_HANDLE_DEFAULT : NO_MAP;
}

struct dn_normal_case_t {
    const char* name;
    const char* dn;
    map_choice_t map;
    const char* canonical;
};

class dn_normalize : public testing::TestWithParam<dn_normal_case_t> {};

TEST_P(dn_normalize, gives_this_text) {
    const dn_normal_case_t& c = GetParam();
    std::string out = "held;";
    EXPECT_TRUE(printable_dn_normalize(c.dn, out, nullptr, chosen(c.map)));
    EXPECT_TRUE(same_bytes(c.canonical, out)) << out;
}

TEST_P(dn_normalize, gives_the_der_of_the_text_too) {
    const dn_normal_case_t& c = GetParam();
    std::string expected;
    ASSERT_TRUE(printable_to_asn_dn(c.dn, expected, chosen(c.map)));
    std::string out = "held;";
    std::string der = "held;";
    EXPECT_TRUE(printable_dn_normalize(c.dn, out, &der, chosen(c.map)));
    EXPECT_TRUE(same_bytes(c.canonical, out)) << out;
    EXPECT_TRUE(same_bytes(expected, der));
}

TEST_P(dn_normalize, changes_nothing_the_second_time) {
    const dn_normal_case_t& c = GetParam();
    std::string once;
    ASSERT_TRUE(printable_dn_normalize(c.dn, once, nullptr, chosen(c.map)));
    std::string twice;
    EXPECT_TRUE(printable_dn_normalize(once, twice, nullptr, chosen(c.map)));
    EXPECT_TRUE(same_bytes(once, twice)) << twice;
}

const dn_normal_case_t CANONICAL[] = {
    {"empty", "", BUILT_IN_MAP, ""},
    {"blanks", "  \t", BUILT_IN_MAP, ""},
    {"canonical_already", "CN=a,O=b", BUILT_IN_MAP, "CN=a,O=b"},
    {"order_stays", "C=RU,CN=x,O=y", BUILT_IN_MAP, "C=RU,CN=x,O=y"},
    {"members_of_an_rdn_are_not_sorted", "OU=b+CN=a,C=RU", BUILT_IN_MAP, "OU=b+CN=a,C=RU"},
    // Types.
    {"dotted_types_get_their_names", "2.5.4.3=a,2.5.4.10=b", BUILT_IN_MAP, "CN=a,O=b"},
    {"dotted_types_stay_without_a_map", "2.5.4.3=a,2.5.4.10=b", WITHOUT_MAP, "2.5.4.3=a,2.5.4.10=b"},
    {"unknown_dotted_types_stay", "1.2.3.4=a,CN=b", BUILT_IN_MAP, "1.2.3.4=a,CN=b"},
    {"names_are_in_upper_case", "cn=a,Ou=b,street=c", BUILT_IN_MAP, "CN=a,OU=b,STREET=c"},
    {"second_name_of_a_type", "S=x", BUILT_IN_MAP, "ST=x"},
    {"leading_zeros_of_a_dotted_type", "02.005.4.3=x", BUILT_IN_MAP, "CN=x"},
    {"second_arc_of_forty_and_more", "1.50.1=x", BUILT_IN_MAP, "2.10.1=x"},
    {"first_arcs_that_wrap", "2.4294967295=x", BUILT_IN_MAP, "1.39=x"},
    {"all_names_of_the_built_in_map",
     "2.5.4.3=,2.5.4.4=,2.5.4.6=,2.5.4.7=,2.5.4.8=,2.5.4.9=,2.5.4.10=,2.5.4.11=,2.5.4.12=,2.5.4.20=,2.5.4.23=,"
     "2.5.4.41=,2.5.4.42=,2.5.4.43=,2.5.4.44=,2.5.4.46=,2.5.4.65=,0.9.2342.19200300.100.1.1=,"
     "0.9.2342.19200300.100.1.3=,0.9.2342.19200300.100.1.25=,1.2.840.113549.1.9.1=,1.3.6.1.4.1.42.2.11.2.1=",
     BUILT_IN_MAP, "CN=,SN=,C=,L=,ST=,STREET=,O=,OU=,T=,TEL=,FAX=,NQ=,GN=,I=,GQ=,DNQ=,PS=,UID=,MBOX=,DC=,E=,SUNIP="},
    // Blanks.
    {"blanks_outside_values_go", " CN =a,  O\t=b", BUILT_IN_MAP, "CN=a,O=b"},
    {"blanks_of_values_stay", "CN= a ,O=b  +OU=\tc", BUILT_IN_MAP, "CN= a ,O=b  +OU=\tc"},
    // Values.
    {"empty_values", "CN=,O=\"\",C=#1300", BUILT_IN_MAP, "CN=,O=,C="},
    {"quotes_become_escapes", "CN=\"a,b+c\",O=d", BUILT_IN_MAP, "CN=a\\,b\\+c,O=d"},
    {"escaped_quote_in_quotes", "CN=\"a\\\"b\"", BUILT_IN_MAP, "CN=a\\\"b"},
    {"backslash_in_quotes", "CN=\"a\\b\"", BUILT_IN_MAP, "CN=a\\\\b"},
    {"two_backslashes_in_quotes", "CN=\"a\\\\b\"", BUILT_IN_MAP, "CN=a\\\\\\\\b"},
    {"inner_quotes", "CN=\"a\"b\"c\"", BUILT_IN_MAP, "CN=a\\\"b\\\"c"},
    {"escapes_stay_where_they_are_needed", "CN=\\\"\\#\\+\\,\\;\\<\\=\\>\\\\", BUILT_IN_MAP,
     "CN=\\\"\\#\\+\\,\\;\\<\\=\\>\\\\"},
    {"hexadecimal_escapes_become_characters", "CN=\\41\\2c\\D0\\98\\0A", BUILT_IN_MAP, "CN=A\\,И\n"},
    {"octets_that_are_no_utf8", "CN=\\FF\\C0", BUILT_IN_MAP, "CN=\xFF\xC0"},
    {"hexadecimal_string_becomes_text", "CN=#0C03612C63", BUILT_IN_MAP, "CN=a\\,c"},
    {"hexadecimal_string_loses_what_is_behind_it", "CN=#0c0161FF", BUILT_IN_MAP, "CN=a"},
    {"hexadecimal_numeric_string", "CN=#1203313220", BUILT_IN_MAP, "CN=12 "},
    {"hexadecimal_bmp_string", "CN=#1E040416002B", BUILT_IN_MAP, "CN=Ж\\+"},
    {"hexadecimal_universal_string", "CN=#1C040001F600", BUILT_IN_MAP, "CN=\xF0\x9F\x98\x80"},
    {"hexadecimal_t61_string", "CN=#1402C241", BUILT_IN_MAP, "CN=Á"},
    {"other_elements_stay_hexadecimal", "CN=#1a026162,O=#0500", BUILT_IN_MAP, "CN=#1A026162,O=#0500"},
    {"length_of_an_element_becomes_minimal", "CN=#02820001FF00", BUILT_IN_MAP, "CN=#0201FF"},
    {"tag_zero", "CN=#000161", BUILT_IN_MAP, "CN=#000161"},
};

INSTANTIATE_TEST_SUITE_P(text, dn_normalize, testing::ValuesIn(CANONICAL), case_name_t());

TEST(dn_normalize_failure, text_that_does_not_encode_leaves_both_strings) {
    for (const char* const dn : {"CN=x,", "CN", "=x", "X=y", "CN=a#", "CN=\"a", "CN=#0C", "CN=a,O=\\4"}) {
        std::string out = "held;";
        std::string der = "kept;";
        EXPECT_FALSE(printable_dn_normalize(dn, out, &der, OID_MAP_HANDLE_DEFAULT)) << dn;
        EXPECT_EQ("held;", out) << dn;
        EXPECT_EQ("kept;", der) << dn;
        EXPECT_FALSE(printable_dn_normalize(dn, out, nullptr, OID_MAP_HANDLE_DEFAULT)) << dn;
        EXPECT_EQ("held;", out) << dn;
    }
}

TEST(dn_normalize_failure, short_names_need_a_map) {
    std::string out = "held;";
    EXPECT_FALSE(printable_dn_normalize("CN=a", out, nullptr, NO_MAP));
    EXPECT_EQ("held;", out);
}

// A # value can bring an element that encodes but does not print.
TEST(dn_normalize_failure, der_that_does_not_print_is_given_all_the_same) {
    const struct {
        const char* dn;
        const char* der;
    } cases[] = {
        {"CN=#1E00", "30 0B 31 09 30 07 06 03 55 04 03 1E 00"},
        {"CN=#1C03000061", "30 0E 31 0C 30 0A 06 03 55 04 03 1C 03 00 00 61"},
        {"CN=#1E02D800", "30 0D 31 0B 30 09 06 03 55 04 03 1E 02 D8 00"},
        {"CN=#120161", "30 0C 31 0A 30 08 06 03 55 04 03 12 01 61"},
        {"CN=#14015C", "30 0C 31 0A 30 08 06 03 55 04 03 14 01 5C"},
    };
    for (const auto& c : cases) {
        std::string out = "held;";
        std::string der = "held;";
        EXPECT_FALSE(printable_dn_normalize(c.dn, out, &der, OID_MAP_HANDLE_DEFAULT)) << c.dn;
        EXPECT_TRUE(same_bytes(from_hex(c.der), der)) << c.dn;
        EXPECT_EQ(std::string::npos, out.find("held;")) << c.dn;
    }
}

TEST(dn_normalize_text, ends_at_its_first_zero) {
    std::string out;
    std::string der;
    EXPECT_TRUE(printable_dn_normalize(std::string("CN=a\0,O="sv), out, &der, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("CN=a", out);
    EXPECT_TRUE(same_bytes(from_hex("30 0C 31 0A 30 08 06 03 55 04 03 13 01 61"), der));
}

TEST(dn_normalize_text, may_be_the_string_that_receives) {
    std::string text = "cn=\"a,b\"";
    EXPECT_TRUE(printable_dn_normalize(text, text, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("CN=a\\,b", text);
}

// What normalising once leaves and twice does not.
TEST(dn_normalize_text, zero_octet_is_printed_bare_and_ends_the_text_the_next_time) {
    std::string once;
    ASSERT_TRUE(printable_dn_normalize("CN=a\\00b", once, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(same_bytes("CN=a\0b"sv, once));
    std::string twice;
    EXPECT_TRUE(printable_dn_normalize(once, twice, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("CN=a", twice);
}

TEST(dn_normalize_text, oid_from_2_40_on_is_printed_with_a_first_arc_that_does_not_encode) {
    std::string once;
    ASSERT_TRUE(printable_dn_normalize("2.40=x,2.999.3=y", once, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("3.0=x,26.39.3=y", once);
    EXPECT_FALSE(printable_dn_normalize(once, once, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("3.0=x,26.39.3=y", once);
}

TEST(dn_normalize_text, map_serves_both_directions) {
    const parsed_map_t owner("2.5.4.3 = Name\n2.5.4.3 = Other\n");
    const oid_map_handle_t map = owner.handle();
    std::string out;
    EXPECT_TRUE(printable_dn_normalize("name=a,other=b,2.5.4.3=c,2.5.4.6=d", out, nullptr, map));
    EXPECT_EQ("NAME=a,NAME=b,NAME=c,2.5.4.6=d", out);
    EXPECT_FALSE(printable_dn_normalize("CN=a", out, nullptr, map));
}

TEST(dn_normalize_text, of_tens_of_thousands_of_rdns) {
    std::string dn;
    std::string canonical;
    for (int i = 0; i < 40000; ++i) {
        const std::string number = std::to_string(i);
        dn += (i == 0 ? "" : ", ") + ("2.5.4.3=\"common, name " + number + "\"");
        canonical += (i == 0 ? "" : ",") + ("CN=common\\, name " + number);
    }
    std::string out;
    EXPECT_TRUE(printable_dn_normalize(dn, out, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(canonical == out);
}

// From DER to text and back

struct dn_round_trip_case_t {
    const char* name;
    const char* der;
    bool same_der; // the text leads back to these bytes
};

class dn_round_trip : public testing::TestWithParam<dn_round_trip_case_t> {};

TEST_P(dn_round_trip, printed_text_encodes_and_prints_the_same) {
    const std::string der = from_hex(GetParam().der);
    const exact_bytes_t block(der);
    for (const oid_map_handle_t map : {NO_MAP, OID_MAP_HANDLE_DEFAULT}) {
        for (const PrintableDnOrder order : {PDN_ORDER_AS_ENCODED, PDN_ORDER_REVERSED}) {
            std::string text;
            ASSERT_TRUE(asn_dn_to_printable(block.data(), block.size(), text, order, map));
            std::string again_der;
            ASSERT_TRUE(printable_to_asn_dn(text.c_str(), again_der, map)) << text;
            const exact_bytes_t again_block(again_der);
            std::string again;
            EXPECT_TRUE(asn_dn_to_printable(again_block.data(), again_block.size(), again, PDN_ORDER_AS_ENCODED, map));
            EXPECT_TRUE(same_bytes(text, again)) << text;
            if (order == PDN_ORDER_AS_ENCODED) {
                EXPECT_EQ(GetParam().same_der, der == again_der) << to_hex(again_der);
            }
        }
    }
}

const dn_round_trip_case_t ROUND_TRIPS[] = {
    {"empty_name", "30 00", true},
    {"printable_strings",
     "30 2A 31 0B 30 09 06 03 55 04 06 13 02 52 55"
     "31 1B 30 0C 06 03 55 04 0B 13 05 53 61 6C 65 73 30 0B 06 03 55 04 07 13 04 54 6F 77 6E",
     true},
    {"ia5_string", "30 0E 31 0C 30 0A 06 03 55 04 03 16 03 61 40 62", true},
    {"utf8_string", "30 0D 31 0B 30 09 06 03 55 04 03 0C 02 D0 98", true},
    {"special_characters", "30 14 31 12 30 10 06 03 55 04 03 16 09 22 23 2B 2C 3B 3C 3D 3E 5C", true},
    {"outer_blanks", "30 0E 31 0C 30 0A 06 03 55 04 03 13 03 20 61 20", true},
    {"controls", "30 0F 31 0D 30 0B 06 03 55 04 03 16 04 01 0A 0D 7F", true},
    {"empty_value", "30 0B 31 09 30 07 06 03 55 04 03 13 00", true},
    {"element_that_is_no_text", "30 0E 31 0C 30 0A 06 03 55 04 03 30 03 02 01 2C", true},
    {"type_without_a_name", "30 0D 31 0B 30 09 06 04 2A 03 81 00 13 01 61", true},
    // These come back as another string type, or with other lengths.
    {"ascii_in_a_utf8_string", "30 0C 31 0A 30 08 06 03 55 04 03 0C 01 61", false},
    {"octets_above_ascii_in_a_printable_string", "30 0C 31 0A 30 08 06 03 55 04 03 13 01 E9", false},
    {"numeric_string", "30 0D 31 0B 30 09 06 03 55 04 03 12 02 31 20", false},
    {"t61_string", "30 0D 31 0B 30 09 06 03 55 04 03 14 02 C2 41", false},
    {"universal_string", "30 0F 31 0D 30 0B 06 03 55 04 03 1C 04 00 01 F6 00", false},
    {"bmp_string", "30 0F 31 0D 30 0B 06 03 55 04 03 1E 04 04 16 00 2B", false},
    {"long_lengths", "30 81 0E 31 81 0B 30 81 08 06 03 55 04 03 13 01 61", false},
    {"bytes_behind_a_string", "30 0D 31 0B 30 09 06 03 55 04 03 13 01 61 FF", false},
};

INSTANTIATE_TEST_SUITE_P(of, dn_round_trip, testing::ValuesIn(ROUND_TRIPS), case_name_t());

TEST(dn_round_trip_law, every_octet_but_zero_comes_back_in_a_utf8_string) {
    for (unsigned int c = 1; c < 256; ++c) {
        // The last octet makes a UTF8String of it.
        const std::string der =
            from_hex("30 0F 31 0D 30 0B 06 03 55 04 03 0C 04 61") + static_cast<char>(c) + from_hex("62 FF");
        const exact_bytes_t block(der);
        std::string text;
        ASSERT_TRUE(asn_dn_to_printable(block.data(), block.size(), text, PDN_ORDER_AS_ENCODED, NO_MAP)) << c;
        std::string again;
        ASSERT_TRUE(printable_to_asn_dn(text.c_str(), again, NO_MAP)) << text;
        EXPECT_TRUE(same_bytes(der, again)) << text;
    }
}

TEST(dn_round_trip_law, every_pair_of_special_characters_comes_back) {
    const std::string_view specials = "\"#+,;<=>\\ a0F";
    for (const char first : specials) {
        for (const char second : specials) {
            const std::string der =
                from_hex("30 0E 31 0C 30 0A 06 03 55 04 03 0C 03") + first + second + static_cast<char>(0xE9);
            const exact_bytes_t block(der);
            std::string text;
            ASSERT_TRUE(asn_dn_to_printable(block.data(), block.size(), text, PDN_ORDER_REVERSED, NO_MAP));
            std::string again;
            ASSERT_TRUE(printable_to_asn_dn(text.c_str(), again, NO_MAP)) << text;
            EXPECT_TRUE(same_bytes(der, again)) << text;
        }
    }
}

} // namespace
