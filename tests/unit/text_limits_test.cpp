// Classes of faults that peers have had with text: arcs of OIDs past their integers, characters of wide strings,
// blanks, texts that end inside an escape, and lists of awkward lengths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/derkit.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/guard_page.h"
#include "testing/iconv.h"
#include "testing/pkcs_der.h"
#include "testing/recording_crypto.h"
#include "testing/views.h"

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

constexpr oid_map_handle_t NO_MAP = {};

// Nothing at all when a text does not convert.
constexpr const char* REFUSED = "refused";

const guarded_pages_t& pages() {
    static const guarded_pages_t PAGES(1 << 20);
    return PAGES;
}

std::string oid_of_text(std::string_view text) {
    const char* const begin = reinterpret_cast<const char*>(pages().put_last(text));
    unsigned char out[512];
    const unsigned int size = oid_str_to_asn_(begin, begin + text.size(), out);
    return size == 0 ? REFUSED : std::string(as_chars(out, size));
}

std::string text_of_oid(std::string_view content) {
    const unsigned char* const begin = pages().put_last(content);
    std::string text;
    return oid_asn_to_str_(begin, begin + content.size(), text) == 0 ? REFUSED : text;
}

std::string printed(std::string_view name, oid_map_handle_t map = NO_MAP) {
    const unsigned char* const der = pages().put_last(name);
    std::string text;
    const unsigned int size = static_cast<unsigned int>(name.size());
    return asn_dn_to_printable(der, size, text, PDN_ORDER_AS_ENCODED, map) ? text : REFUSED;
}

// The terminating zero is the last octet in front of a page that may not be touched.
const char* guarded_text(std::string_view text) {
    return reinterpret_cast<const char*>(pages().put_last(std::string(text) + '\0'));
}

std::string encoded(std::string_view dn, oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT) {
    std::string der;
    return printable_to_asn_dn(guarded_text(dn), der, map) ? der : REFUSED;
}

der_t attribute_of(const der_t& type, const der_t& value) {
    return der_sequence({type, value});
}

// A name of one attribute.
std::string name_of(const der_t& type, const der_t& value) {
    return encode(der_sequence({der_set({attribute_of(type, value)})}));
}

const der_t COMMON_NAME = der_oid("2.5.4.3");

// ---- oid_arc_limits ----

struct arc_case_t {
    const char* name;
    const char* text;
    const char* hex; // null: the text is refused
};
class oid_arc_limits : public testing::TestWithParam<arc_case_t> {};

TEST_P(oid_arc_limits, of_text) {
    const arc_case_t& c = GetParam();
    const std::string expected = c.hex == nullptr ? REFUSED : from_hex(c.hex);
    EXPECT_TRUE(same_bytes(expected, oid_of_text(c.text)));
    // The same as the type of an attribute, and on the line of a map.
    const std::string name = c.hex == nullptr ? REFUSED : name_of(der_element(0x06, expected), der_element(0x13, "a"));
    EXPECT_TRUE(same_bytes(name, encoded(c.text + "=a"s)));
    const std::string line = c.text + " = NAME"s;
    const oid_map_handle_t map = oid_map_parse(line.data(), static_cast<unsigned int>(line.size()));
    const OIDdescr_t* const entry = oid_map_find_sn(map, "name", 4);
    EXPECT_EQ(c.hex != nullptr, entry != nullptr);
    if (entry != nullptr) {
        EXPECT_TRUE(same_bytes(expected, as_chars(entry->oid_asn, entry->oid_asn_size)));
    }
    oid_map_release(map);
}

const arc_case_t ARCS[] = {
    {"of_31_bits", "1.2.2147483647", "2A 87 FF FF FF 7F"},
    {"of_2_to_31", "1.2.2147483648", "2A 88 80 80 80 00"},
    {"of_2_to_31_and_1", "1.2.2147483649", "2A 88 80 80 80 01"},
    {"of_2_to_32_less_2", "1.2.4294967294", "2A 8F FF FF FF 7E"},
    {"of_32_bits", "1.2.4294967295", "2A 8F FF FF FF 7F"},
    {"of_2_to_32", "1.2.4294967296", nullptr},
    {"of_2_to_32_and_1", "1.2.4294967297", nullptr},
    {"of_2_to_32_in_the_middle", "1.2.4294967296.1", nullptr},
    {"of_2_to_63", "1.2.9223372036854775808", nullptr},
    {"of_2_to_64", "1.2.18446744073709551616", nullptr},
    {"of_2_to_64_and_1", "1.2.18446744073709551617", nullptr},
    {"second_of_31_bits", "2.2147483647", "88 80 80 80 4F"},
    {"second_of_2_to_31", "2.2147483648", "88 80 80 80 50"},
    {"second_of_2_to_32", "2.4294967296", nullptr},
    {"first_of_2_to_32_and_1", "4294967297.2", nullptr},
};
INSTANTIATE_TEST_SUITE_P(, oid_arc_limits, testing::ValuesIn(ARCS), case_name_t());

struct subidentifier_case_t {
    const char* name;
    const char* hex;
    const char* text; // null: refused
};
class oid_subidentifier_limits : public testing::TestWithParam<subidentifier_case_t> {};

TEST_P(oid_subidentifier_limits, of_der) {
    const subidentifier_case_t& c = GetParam();
    const std::string content = from_hex(c.hex);
    const std::string expected = c.text == nullptr ? REFUSED : c.text;
    EXPECT_EQ(expected, text_of_oid(content));
    const std::string name = name_of(der_element(0x06, content), der_element(0x13, "a"));
    EXPECT_EQ(c.text == nullptr ? REFUSED : expected + "=a", printed(name));
    const std::string element = encode(der_element(0x06, content));
    std::string text;
    EXPECT_EQ(c.text != nullptr,
              asn_oid_to_printable(pages().put_last(element), view_of(element).size, text, true, NO_MAP));
    EXPECT_TRUE(c.text == nullptr || text == expected) << text;
}

const subidentifier_case_t SUBIDENTIFIERS[] = {
    {"of_31_bits", "2A 87 FF FF FF 7F", "1.2.2147483647"},
    {"of_2_to_31", "2A 88 80 80 80 00", "1.2.2147483648"},
    {"of_2_to_31_and_1", "2A 88 80 80 80 01", "1.2.2147483649"},
    {"of_32_bits", "2A 8F FF FF FF 7F", "1.2.4294967295"},
    {"of_2_to_32_wraps", "2A 90 80 80 80 00", "1.2.0"},
    {"of_2_to_32_and_1_wraps", "2A 90 80 80 80 01", "1.2.1"},
    {"of_2_to_35_less_1_wraps", "2A FF FF FF FF 7F", "1.2.4294967295"},
    {"of_2_to_64_wraps", "2A 82 80 80 80 80 80 80 80 80 00", "1.2.0"},
    {"with_leading_80", "2A 80 03", "1.2.3"},
    {"with_leading_80_first", "80 2A 03", "1.2.3"},
    {"with_many_leading_80", "2A 80 80 80 80 80 80 80 80 80 03", "1.2.3"},
    {"of_80_alone", "2A 80", nullptr},
    {"of_80_alone_first", "80", nullptr},
    {"unterminated_last", "2A 03 81", nullptr},
    {"unterminated_last_of_five_octets", "2A 8F FF FF FF FF", nullptr},
    {"unterminated_first", "AA", nullptr},
};
INSTANTIATE_TEST_SUITE_P(, oid_subidentifier_limits, testing::ValuesIn(SUBIDENTIFIERS), case_name_t());

constexpr std::size_t LONG_ARC = 65536;

TEST(oid_arc_of_64_kilobytes, is_refused_unless_it_is_zeros) {
    for (const char digit : {'1', '4', '9'}) {
        EXPECT_EQ(REFUSED, oid_of_text("1.2." + std::string(LONG_ARC, digit)));
        EXPECT_EQ(REFUSED, encoded("1.2." + std::string(LONG_ARC, digit) + "=a"));
    }
    EXPECT_TRUE(same_bytes(from_hex("2A 05"), oid_of_text("1.2." + std::string(LONG_ARC, '0') + "5")));
    EXPECT_TRUE(same_bytes(from_hex("2A 00"), oid_of_text("1.2." + std::string(LONG_ARC, '0'))));
    EXPECT_EQ(REFUSED, oid_of_text("1." + std::string(LONG_ARC, '0') + "4294967296"));
}

TEST(oid_arc_of_64_kilobytes, keeps_its_low_32_bits_in_der) {
    EXPECT_EQ("1.2.5", text_of_oid('\x2A' + std::string(LONG_ARC, '\x80') + '\x05'));
    EXPECT_EQ("1.2.4294967295", text_of_oid('\x2A' + std::string(LONG_ARC, '\xFF') + '\x7F'));
    EXPECT_EQ(REFUSED, text_of_oid('\x2A' + std::string(LONG_ARC, '\xFF')));
    EXPECT_EQ(REFUSED, text_of_oid(std::string(LONG_ARC, '\x80')));
}

// As many arcs as 64 kilobytes hold: text of each arc, and a limit on what text may encode to.
TEST(oid_of_64_kilobytes, prints_all_its_arcs) {
    std::string expected = "1.2";
    for (std::size_t i = 0; i < LONG_ARC; ++i) {
        expected += ".127";
    }
    EXPECT_EQ(expected, text_of_oid('\x2A' + std::string(LONG_ARC, '\x7F')));
    EXPECT_EQ(REFUSED, oid_of_text(expected));
}

// ---- wide_string_code_points ----

bool is_surrogate(char32_t code_point) {
    return code_point >= 0xD800 && code_point <= 0xDFFF;
}

std::string big_endian(char32_t code_point, int width) {
    std::string bytes;
    for (int i = width; i-- != 0;) {
        bytes.push_back(static_cast<char>(code_point >> (8 * i) & 0xFF));
    }
    return bytes;
}

constexpr int BMP_STRING = 0x1E;
constexpr int UNIVERSAL_STRING = 0x1C;

std::string printed_value(int tag, std::string_view content) {
    const std::string text = printed(name_of(COMMON_NAME, der_element(tag, content)));
    return text == REFUSED ? text : text.substr(std::string_view("2.5.4.3=").size());
}

// As it stands in a text, behind a backslash where it has to.
std::string escaped_utf8(char32_t code_point) {
    const bool special = code_point < 0x80 && "\"#+,;<=>\\"sv.find(static_cast<char>(code_point)) != std::string::npos;
    return (special ? "\\" : "") + utf8_of(std::u32string(1, code_point));
}

TEST(wide_string_code_points, of_the_basic_plane_all_convert_but_surrogates) {
    for (char32_t code_point = 0; code_point <= 0xFFFF; ++code_point) {
        const std::string value = printed_value(BMP_STRING, big_endian(code_point, 2));
        ASSERT_EQ(is_surrogate(code_point), value == REFUSED) << static_cast<unsigned int>(code_point);
    }
    // In runs, so that each is told from its neighbours and iconv need not be opened for each.
    for (char32_t first = 0; first <= 0xFFFF; first += 0x100) {
        if (is_surrogate(first)) {
            continue;
        }
        std::string content;
        std::string expected;
        for (char32_t code_point = first; code_point < first + 0x100; ++code_point) {
            content += big_endian(code_point, 2);
            expected += first == 0 ? escaped_utf8(code_point) : "";
        }
        expected = first == 0 ? expected : iconv_text("UTF-16BE", "UTF-8", content).value();
        ASSERT_TRUE(same_bytes(expected, printed_value(BMP_STRING, content))) << static_cast<unsigned int>(first);
    }
}

TEST(wide_string_code_points, of_all_planes_convert_but_surrogates) {
    for (char32_t first = 0x100; first <= 0x10FFFF; first += 0x100) {
        std::string content;
        for (char32_t code_point = first; code_point < first + 0x100; ++code_point) {
            content += big_endian(code_point, 4);
        }
        const std::string expected = is_surrogate(first) ? REFUSED : iconv_text("UTF-32BE", "UTF-8", content).value();
        ASSERT_TRUE(same_bytes(expected, printed_value(UNIVERSAL_STRING, content))) << static_cast<unsigned int>(first);
    }
}

TEST(wide_string_code_points, past_the_last_plane_are_refused) {
    for (const char32_t code_point : {0x110000U, 0x110001U, 0x1FFFFFU, 0x200000U, 0x3FFFFFFU, 0x4000000U, 0x7FFFFFFFU,
                                      0x80000000U, 0x8000D800U, 0xFFFF0041U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
        EXPECT_EQ(REFUSED, printed_value(UNIVERSAL_STRING, big_endian(code_point, 4)));
        EXPECT_EQ(REFUSED, printed_value(UNIVERSAL_STRING, big_endian('a', 4) + big_endian(code_point, 4)));
    }
    for (unsigned int shift = 0; shift < 15; ++shift) {
        EXPECT_EQ(REFUSED, printed_value(UNIVERSAL_STRING, big_endian(0x110000U << shift, 4))) << shift;
    }
    for (char32_t surrogate = 0xD800; surrogate <= 0xDFFF; ++surrogate) {
        ASSERT_EQ(REFUSED, printed_value(UNIVERSAL_STRING, big_endian(surrogate, 4)));
    }
}

// A pair of surrogates too: what two characters of UTF-16 make one of, BMPString does not have.
TEST(wide_string_code_points, in_pairs_of_surrogates_are_refused) {
    for (const char* const hex :
         {"D8 3D DE 00", "DE 00 D8 3D", "D8 00 DC 00", "DB FF DF FF", "00 41 D8 3D DE 00 00 42"}) {
        EXPECT_EQ(REFUSED, printed_value(BMP_STRING, from_hex(hex))) << hex;
    }
}

TEST(wide_string_code_points, of_U_0000_stay_wherever_they_are) {
    EXPECT_TRUE(same_bytes("\0"sv, printed_value(BMP_STRING, from_hex("00 00"))));
    EXPECT_TRUE(same_bytes("a\0b\0"sv, printed_value(BMP_STRING, from_hex("00 61 00 00 00 62 00 00"))));
    EXPECT_TRUE(same_bytes("\0\0"sv, printed_value(UNIVERSAL_STRING, from_hex("00 00 00 00 00 00 00 00"))));
    EXPECT_TRUE(same_bytes("a\0b"sv, printed_value(UNIVERSAL_STRING, from_hex("00 00 00 61 00 00 00 00 00 00 00 62"))));
}

TEST(wide_string_code_points, that_are_cut_are_refused) {
    const std::string wide = from_hex("04 1F 04 40 04 38 20 AC 00 41");
    for (std::size_t size = 0; size <= wide.size(); ++size) {
        const std::string expected =
            size == 0 || size % 2 != 0 ? REFUSED : iconv_text("UTF-16BE", "UTF-8", wide.substr(0, size)).value();
        EXPECT_EQ(expected, printed_value(BMP_STRING, wide.substr(0, size))) << size;
    }
    const std::string wider = from_hex("00 00 04 1F 00 01 F6 00 00 10 FF FF 00 00 00 41");
    for (std::size_t size = 0; size <= wider.size(); ++size) {
        const std::string expected =
            size == 0 || size % 4 != 0 ? REFUSED : iconv_text("UTF-32BE", "UTF-8", wider.substr(0, size)).value();
        EXPECT_EQ(expected, printed_value(UNIVERSAL_STRING, wider.substr(0, size))) << size;
    }
}

// The name of a bag is not converted: it is handed out as it stands, whatever it holds.
TEST(wide_string_code_points, of_a_bags_name_are_not_looked_at) {
    for (const char* const hex : {"00", "00 41 00", "D8 00", "DC 00 D8 00", "00 00", "00 41 00 00 00 42", "FF FF"}) {
        const exact_bytes_t input(
            encode(pfx_t({data_entry({cert_bag("c", der_set({friendly_name(from_hex(hex))}))})}).whole()));
        recording_crypto_t crypto;
        pkcs12_easy_t easy;
        EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
        EXPECT_EQ("cert[63] name["s + hex + "]", bags_text(easy.plain_bags));
    }
}

// ---- blank_values ----

// A value as DER holds it, and the text that stands for it.
struct blank_case_t {
    const char* name;
    int tag; // that the text is encoded with
    std::string_view value;
    std::string_view text;
};
class blank_values : public testing::TestWithParam<blank_case_t> {};

TEST_P(blank_values, go_there_and_back) {
    const blank_case_t& c = GetParam();
    const std::string dn = "CN=" + std::string(c.text);
    const std::string der = name_of(COMMON_NAME, der_element(c.tag, c.value));
    EXPECT_TRUE(same_bytes(der, encoded(dn)));
    EXPECT_EQ(dn, printed(der, OID_MAP_HANDLE_DEFAULT));
    std::string value;
    EXPECT_TRUE(printable_dn_get_attr(guarded_text(dn), "CN", value, PDN_GET_ATTR_VALUE));
    EXPECT_EQ(c.text, value);
    // Between others, where a blank must not be taken for one around a separator.
    const std::string among = "O=o," + dn + ",C=RU";
    std::string normal;
    EXPECT_TRUE(printable_dn_normalize(among, normal, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ(among, normal);
    std::string reversed = among;
    EXPECT_EQ(reversed.data(), printable_dn_reverse(reversed.data()));
    EXPECT_EQ("C=RU," + dn + ",O=o", reversed);
    EXPECT_TRUE(printable_dn_contain_attrs(guarded_text(among), dn.c_str()));
}

const blank_case_t BLANKS[] = {
    {"empty", 0x13, "", ""},
    {"one_blank", 0x13, " ", " "},
    {"all_blank", 0x13, "     ", "     "},
    {"tab", 0x16, "\t", "\t"},
    {"blanks_and_tabs", 0x16, " \t \t", " \t \t"},
    {"leading_blank", 0x13, " a", " a"},
    {"trailing_blank", 0x13, "a ", "a "},
    {"trailing_blanks", 0x13, "a   ", "a   "},
    {"both", 0x13, "  a  ", "  a  "},
    {"inner_blanks", 0x13, "a  b", "a  b"},
    {"trailing_tab", 0x16, "a\t", "a\t"},
    {"trailing_newline", 0x16, "a\n", "a\n"},
    {"blank_behind_an_escape", 0x16, "\\ ", "\\\\ "},
    {"blank_before_an_escape", 0x13, " ,", " \\,"},
    {"no_break_space", 0x0C, "\xC2\xA0", "\xC2\xA0"},
};
INSTANTIATE_TEST_SUITE_P(, blank_values, testing::ValuesIn(BLANKS), case_name_t());

// Quoted, and written in hexadecimal, blanks are what they are too.
TEST(blank_values_in_other_forms, are_the_same_values) {
    const std::string blank = name_of(COMMON_NAME, der_element(0x13, "  "));
    for (const char* const dn :
         {"CN=\"  \"", "CN=\\20\\20", "CN= \\20", "CN=\\20 ", "CN=#13022020", " CN=\"  \"", "CN =  "}) {
        EXPECT_TRUE(same_bytes(blank, encoded(dn))) << dn;
    }
    const std::string empty = name_of(COMMON_NAME, der_element(0x13, ""));
    for (const char* const dn : {"CN=", "CN=\"\"", "CN=#1300", "\tCN\t="}) {
        EXPECT_TRUE(same_bytes(empty, encoded(dn))) << dn;
    }
    for (const char* const dn : {" ", "\t", "", " \t "}) { // no attribute at all
        EXPECT_TRUE(same_bytes(from_hex("30 00"), encoded(dn))) << dn;
    }
    for (const char* const dn : {" =a", "CN= ,", "CN= , ", ",CN= ", "CN=\" \" "}) {
        EXPECT_EQ(REFUSED, encoded(dn)) << dn;
    }
}

// A zero octet ends a text but not a value: it comes by an escape, and is printed bare.
TEST(blank_values_with_zero_octets, are_printed_whole) {
    for (const int tag : {0x0C, 0x13, 0x16}) {
        EXPECT_TRUE(
            same_bytes("CN=\0"sv, printed(name_of(COMMON_NAME, der_element(tag, "\0"sv)), OID_MAP_HANDLE_DEFAULT)));
        EXPECT_TRUE(same_bytes("CN=a\0b\0"sv,
                               printed(name_of(COMMON_NAME, der_element(tag, "a\0b\0"sv)), OID_MAP_HANDLE_DEFAULT)));
    }
    for (const int tag : {0x12, 0x14}) { // no digit, and no character of T.61
        EXPECT_EQ(REFUSED, printed(name_of(COMMON_NAME, der_element(tag, "1\0"sv))));
    }
    EXPECT_TRUE(same_bytes(name_of(COMMON_NAME, der_element(0x16, "\0"sv)), encoded("CN=\\00")));
    EXPECT_TRUE(same_bytes(name_of(COMMON_NAME, der_element(0x16, "a\0b"sv)), encoded("CN=a\\00b")));
    EXPECT_TRUE(same_bytes(name_of(COMMON_NAME, der_element(0x13, "a")), encoded("CN=a\0,C=RU"sv)));
    std::string out;
    EXPECT_TRUE(printable_dn_normalize(std::string("CN=a\\00b,C=RU"), out, nullptr, OID_MAP_HANDLE_DEFAULT));
    EXPECT_TRUE(same_bytes("CN=a\0b,C=RU"sv, out));
}

// ---- truncated_escapes ----

// A text in pieces that no cut may divide: behind each of them it may end. The first is the start of an attribute.
struct pieces_case_t {
    const char* name;
    std::vector<std::string> pieces;
};
class truncated_escapes : public testing::TestWithParam<pieces_case_t> {};

TEST_P(truncated_escapes, do_not_encode) {
    const std::vector<std::string>& pieces = GetParam().pieces;
    std::string whole;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        for (std::size_t size = 1; size <= pieces[i].size(); ++size) {
            const std::string text = whole + pieces[i].substr(0, size);
            const bool is_whole = size == pieces[i].size();
            std::string out = "held";
            EXPECT_EQ(is_whole, printable_to_asn_dn(guarded_text(text), out, OID_MAP_HANDLE_DEFAULT)) << text;
            EXPECT_EQ(is_whole, out != "held") << text;
            std::string normal = "held";
            EXPECT_EQ(is_whole, printable_dn_normalize(text, normal, nullptr, OID_MAP_HANDLE_DEFAULT)) << text;
            EXPECT_EQ(is_whole, normal != "held") << text;
        }
        whole += pieces[i];
    }
}

const pieces_case_t PIECES[] = {
    {"backslashes", {"CN=", "a", "\\,", "b", "\\\\", "\\\"", "\\+", "\\=", "\\#", "\\<", "\\>", "\\;", "c"}},
    {"hexadecimal_pairs", {"CN=", "\\2C", "a", "\\D0", "\\9F", "\\00", "\\fF", "b"}},
    {"a_quoted_value", {"CN=", "\"a,b\"", ",O=", "\"\"", "+C=", "\"x\\\"y\"", ",L=", "\"\\\\\"", ",S=", "\"+\""}},
    {"an_escape_in_quotes", {"CN=", "\"\\\"\"", ",O=", "\"a\\,\"", ",C=", "R"}},
    {"a_hexadecimal_value", {"CN=", "#0C03616263", ",O=", "#1300", ",C=", "R"}},
    {"attributes", {"CN=", "a", ",O=", "b", "+2.5.4.11=", "c", ", C=", " "}},
};
INSTANTIATE_TEST_SUITE_P(, truncated_escapes, testing::ValuesIn(PIECES), case_name_t());

// The operations on text know no escapes but that of a quote: a text is refused inside quotes alone, and between a
// separator and an '='.
TEST(truncated_escapes_in_text, end_a_value_but_do_not_end_quotes) {
    struct cut_case_t {
        const char* text;
        const char* value; // of CN; null: refused
    };
    for (const cut_case_t& c : std::vector<cut_case_t>{{"CN=a\\", "a\\"},
                                                       {"CN=\\", "\\"},
                                                       {"CN=\\2", "\\2"},
                                                       {"CN=a\\,", "a\\,"},
                                                       {"CN=a\\\\", "a\\\\"},
                                                       {"CN=#", "#"},
                                                       {"CN=#0", "#0"},
                                                       {"CN=\"", nullptr},
                                                       {"CN=\"a", nullptr},
                                                       {"CN=\"a\\", nullptr},
                                                       {"CN=\"a\\\"", nullptr},
                                                       {"CN=\"a\\\"\"", "\"a\\\"\""},
                                                       {"CN=a\"", nullptr},
                                                       {"CN=a,", nullptr},
                                                       {"CN=a+", nullptr},
                                                       {"CN=a,O", nullptr},
                                                       {"CN=a,O=\"", nullptr},
                                                       {"CN", nullptr}}) {
        std::string value;
        const bool done = printable_dn_get_attr(guarded_text(c.text), "CN", value, PDN_GET_ATTR_VALUE);
        EXPECT_EQ(c.value != nullptr, done) << c.text;
        EXPECT_EQ(c.value == nullptr ? "" : c.value, value) << c.text;
        EXPECT_EQ(c.value != nullptr, printable_dn_C_before_CN(guarded_text(c.text))) << c.text;
        std::string reversed = c.text;
        EXPECT_EQ(c.value == nullptr ? nullptr : reversed.data(), printable_dn_reverse(reversed.data())) << c.text;
        EXPECT_EQ(c.text, reversed) << "one attribute stays, and what does not parse";
        EXPECT_TRUE(printable_dn_contain_attrs(guarded_text(c.text), c.text)) << c.text;
    }
}

// ---- list_counts ----

class list_counts : public testing::TestWithParam<std::size_t> {
  protected:
    const std::size_t count = GetParam();
};

std::string number_text(std::size_t i) {
    return "v" + std::to_string(i);
}

// As many RDNs, or as many attributes in one.
void expect_name(const std::string& text, const der_t& name, const std::string& reversed) {
    EXPECT_TRUE(same_bytes(encode(name), encoded(text)));
    EXPECT_EQ(text, printed(encode(name), OID_MAP_HANDLE_DEFAULT));
    const exact_bytes_t der(encode(name));
    std::string out;
    EXPECT_TRUE(asn_dn_to_printable(der.data(), der.size(), out, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ(reversed, out);
    out = text;
    EXPECT_EQ(out.data(), printable_dn_reverse(out.data()));
    EXPECT_EQ(reversed, out);
    EXPECT_TRUE(printable_dn_contain_attrs(text.c_str(), text.c_str()));
    EXPECT_TRUE(printable_dn_C_before_CN(text.c_str()));
}

TEST_P(list_counts, of_rdns) {
    std::string text;
    std::string reversed;
    der_members_t rdns;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string rdn = "O=" + number_text(i);
        text += (i == 0 ? "" : ",") + rdn;
        reversed = rdn + (i == 0 ? "" : ",") + reversed;
        rdns.push_back(der_set({attribute_of(der_oid("2.5.4.10"), der_element(0x13, number_text(i)))}));
    }
    expect_name(text, der_sequence(rdns), reversed);
    std::string value;
    EXPECT_EQ(count != 0, printable_dn_get_attr(text.c_str(), "O", value, PDN_GET_ATTR_VALUE));
    EXPECT_EQ(count != 0 ? "v0" : "", value);
    EXPECT_FALSE(printable_dn_get_attr(text.c_str(), "CN", value, PDN_GET_ATTR_VALUE));
}

TEST_P(list_counts, of_attributes_in_an_rdn) {
    if (count == 0) { // an RDN has one at least
        EXPECT_EQ(REFUSED, printed(encode(der_sequence({der_set({})}))));
        return;
    }
    std::string text;
    der_members_t attributes;
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : "+") + ("OU=" + number_text(i));
        attributes.push_back(attribute_of(der_oid("2.5.4.11"), der_element(0x13, number_text(i))));
    }
    expect_name(text, der_sequence({der_set(attributes)}), text);
}

TEST_P(list_counts, of_bags) {
    std::vector<std::string> values;
    for (std::size_t i = 0; i < count; ++i) {
        values.push_back(number_text(i));
    }
    pkcs12_easy_t easy;
    der_members_t bags;
    for (std::size_t i = 0; i < count; ++i) {
        easy.plain_bags.push_back(bag_of(i % 2, values[i], "name", values[i]));
        const der_t attributes = der_set({friendly_name("name"), local_key_id(values[i])});
        bags.push_back(i % 2 == 0 ? key_bag(values[i], attributes) : cert_bag(values[i], attributes));
    }
    easy.encrypted_bags = easy.plain_bags;
    recording_crypto_t crypto;
    std::string out;
    asn_write_pkcs12_easy(easy, &crypto, out);
    if (count != 0) {
        EXPECT_TRUE(same_bytes(entry_plaintext(bags), crypto.calls.at(0).data));
    }
    const exact_bytes_t input(out);
    pkcs12_easy_t back;
    EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, back));
    EXPECT_EQ(count, back.plain_bags.size());
    EXPECT_EQ(bags_text(easy.plain_bags), bags_text(back.plain_bags));
    EXPECT_EQ(bags_text(easy.plain_bags), bags_text(back.encrypted_bags));
}

// Shrouded keys, each with a plaintext of its own; entries; and attributes, of which one alone counts.
TEST_P(list_counts, of_keys_entries_and_attributes_of_bags) {
    der_members_t keys;
    der_members_t entries;
    der_members_t attributes;
    std::string expected_keys;
    std::string expected_certs;
    for (std::size_t i = 0; i < count; ++i) {
        keys.push_back(shrouded_key_bag(toy_cipher(number_text(i))));
        entries.push_back(data_entry({cert_bag(number_text(i))}));
        attributes.push_back(i + 1 == count ? local_key_id("last") : attribute("1.2.3", der_null()));
        expected_keys += (i == 0 ? "" : "\n") + bag_text(bag_of(0, number_text(i)));
        expected_certs += bag_text(bag_of(1, number_text(i))) + "\n";
    }
    entries.push_back(data_entry(keys));
    entries.push_back(data_entry({cert_bag("c", der_set(attributes))}));
    const exact_bytes_t input(encode(pfx_t(entries).whole()));
    recording_crypto_t crypto;
    pkcs12_easy_t easy;
    EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
    EXPECT_EQ(expected_keys, bags_text(easy.encrypted_bags));
    EXPECT_EQ(expected_certs + bag_text(bag_of(1, "c", "", count == 0 ? "" : "last")), bags_text(easy.plain_bags));
    EXPECT_EQ(count, easy.decrypted_buffers.size());
    EXPECT_TRUE(all_kept(input, easy));
}

TEST_P(list_counts, of_lines_of_a_map) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += "1.2." + std::to_string(i) + " = N" + std::to_string(i) + "\n";
    }
    const oid_map_handle_t map = oid_map_parse(text.data(), static_cast<unsigned int>(text.size()));
    for (std::size_t i = 0; i <= count; ++i) {
        const std::string name = "n" + std::to_string(i);
        const OIDdescr_t* const entry = oid_map_find_sn(map, name.data(), static_cast<unsigned int>(name.size()));
        ASSERT_EQ(i < count, entry != nullptr) << i;
        EXPECT_TRUE(entry == nullptr || entry->oid_str == "1.2." + std::to_string(i)) << i;
    }
    oid_map_release(map);
}

INSTANTIATE_TEST_SUITE_P(, list_counts, testing::Values(0U, 1U, 31U, 32U, 33U, 1000U),
                         testing::PrintToStringParamName());

} // namespace
