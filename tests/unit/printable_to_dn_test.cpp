// Text of names to DER.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "asn/asn_printable_syntax.h"
#include "support/names.h"
#include "support/vectors.h"
#include "testing/parsed_map.h"

using namespace std::string_view_literals;

namespace {

constexpr unsigned char PRINTABLE_STRING = 0x13;
constexpr unsigned char IA5_STRING = 0x16;
constexpr unsigned char UTF8_STRING = 0x0C;

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

bool is_special(char c) {
    return DN_SPECIALS.find(c) != std::string_view::npos;
}

std::string hex_escape(int octet, bool upper_case = true) {
    char escape[4];
    std::snprintf(escape, sizeof escape, upper_case ? "\\%02X" : "\\%02x", static_cast<unsigned int>(octet));
    return escape;
}

// Texts of values of 2.5.4.3

void expect_value_encoded(const std::string& text, std::string_view element) {
    expect_encoded("2.5.4.3=" + text, NO_MAP, name_of(element));
}

void expect_value_not_encoded(const std::string& text) {
    expect_not_encoded("2.5.4.3=" + text, NO_MAP);
}

// Cases from files

TEST(dn_encode, names) {
    for_each_vector("names.txt", [](const vector_t& vector) {
        if (encodes(vector)) {
            expect_encoded(vector.text("text"), map_of(vector), vector.bytes("DER"));
        }
    });
}

TEST(dn_encode, values) {
    for_each_vector("values.txt", [](const vector_t& vector) {
        if (encodes(vector)) {
            expect_value_encoded(vector.text("text"), vector.bytes("element"));
        }
    });
}

const std::initializer_list<std::string_view> RULES = {"syntax", "type", "special", "escape", "quotes", "hexadecimal"};

// Each text alone, and between other RDNs and attributes unless it breaks the syntax.
TEST(dn_encode, no_text_that_breaks_a_rule) {
    for_each_vector("texts-refused.txt", [](const vector_t& vector) {
        const std::string text = vector.text("text");
        const bool parses = vector.one_of("rule", RULES) != "syntax";
        std::vector<RDNdescr_t> attributes;
        EXPECT_EQ(parses, printable_dn_parse(zero_terminated(text).chars(), attributes) != 0);
        expect_not_encoded(text, map_of(vector));
        expect_not_encoded("2.5.4.6=RU," + text, map_of(vector));
        if (parses) {
            expect_not_encoded(text + ",2.5.4.6=RU", map_of(vector));
            expect_not_encoded(text + "+2.5.4.6=RU", map_of(vector));
        }
    });
}

// Values

TEST(dn_value_encode, every_octet_chooses_its_string_type) {
    for (int octet = 0; octet < 256; ++octet) {
        const std::string character(1, static_cast<char>(octet));
        const unsigned char tag = string_type_of(octet);
        expect_value_encoded(hex_escape(octet), element(tag, character));
        expect_value_encoded(hex_escape(octet, false), element(tag, character));
        expect_value_encoded("ab" + hex_escape(octet) + "c", element(tag, "ab" + character + "c"));
    }
}

// The widest string type wins in either order.
TEST(dn_value_encode, pairs_of_octets_take_the_wider_string_type) {
    const auto width = [](int octet) { return octet >= 0x80 ? 2 : string_type_of(octet) == IA5_STRING ? 1 : 0; };
    const unsigned char tags[] = {PRINTABLE_STRING, IA5_STRING, UTF8_STRING};
    const int octets[] = {'a', ' ', '_', '@', 0x00, 0x7F, 0x80, 0xFF};
    for (const int first : octets) {
        for (const int second : octets) {
            const std::string content = {static_cast<char>(first), static_cast<char>(second)};
            expect_value_encoded(hex_escape(first) + hex_escape(second),
                                 element(tags[std::max(width(first), width(second))], content));
        }
    }
}

TEST(dn_value_encode, every_bare_octet_but_the_special_ones_is_copied) {
    for (int octet = 1; octet < 256; ++octet) {
        const std::string text = std::string("a") + static_cast<char>(octet);
        if (is_special(text[1])) {
            expect_value_not_encoded(text);
        } else {
            expect_value_encoded(text, element(string_type_of(octet), text));
        }
    }
}

TEST(dn_value_encode, backslash_escapes_the_special_characters_alone) {
    for (int octet = 1; octet < 256; ++octet) {
        const std::string character(1, static_cast<char>(octet));
        for (const char* const after : {"", "z"}) {
            const std::string text = "a\\" + character + after;
            if (is_special(character[0])) {
                expect_value_encoded(text, element(string_type_of(octet), "a" + character + after));
            } else {
                expect_value_not_encoded(text);
            }
        }
    }
}

TEST(dn_value_encode, quotes_take_every_octet) {
    for (int octet = 1; octet < 256; ++octet) {
        const std::string character(1, static_cast<char>(octet));
        if (octet == '"' || octet == '\\') {
            expect_value_not_encoded("\"a" + character + "\"");
            continue;
        }
        const unsigned char tag = string_type_of(octet);
        expect_value_encoded("\"a" + character + "\"", element(tag, "a" + character));
        expect_value_encoded("\"\\" + character + "\"", element(tag, "\\" + character));
    }
}

TEST(dn_value_encode, hexadecimal_value_brings_any_tag) {
    for (int octet = 0; octet < 256; ++octet) {
        expect_value_encoded("#" + hex_escape(octet).substr(1) + "0130",
                             element(static_cast<unsigned char>(octet), "0"));
    }
}

TEST(dn_value_encode, hexadecimal_digits_are_these_22_characters) {
    for (int octet = 1; octet < 256; ++octet) {
        const std::string c(1, static_cast<char>(octet));
        const bool digit = std::strchr("0123456789ABCDEFabcdef", octet) != nullptr;
        for (const std::string& text : {"2.5.4.3=#0401" + c + "0", "2.5.4.3=#04010" + c, "2.5.4.3=\\0" + c}) {
            std::string der;
            EXPECT_EQ(digit, printable_to_asn_dn(zero_terminated(text).chars(), der, NO_MAP)) << text;
        }
    }
}

TEST(dn_value_encode, no_proper_prefix_of_a_hexadecimal_element) {
    const std::string digits = "0C81056162636465";
    for (std::size_t size = 0; size < digits.size(); ++size) {
        expect_value_not_encoded("#" + digits.substr(0, size));
    }
    expect_value_encoded("#" + digits, element(UTF8_STRING, "abcde"));
}

// Maps

TEST(dn_encode_map, knows_its_own_names_and_no_others) {
    const parsed_map_t map("2.5.4.3 = MyName, a name\n");
    expect_encoded("mYnAME=a", map.handle(), name_of(from_hex("13 01 61")));
    expect_not_encoded("CN=a", map.handle());
}

TEST(dn_encode_map, without_entries_leaves_dotted_types) {
    const parsed_map_t map("");
    expect_encoded("2.5.4.3=a", map.handle(), name_of(from_hex("13 01 61")));
    expect_not_encoded("CN=a", map.handle());
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

// On both sides of every change of a header and of the builder's inline buffers. With 65,518 the content of the name
// is 65,535 octets long.
TEST(dn_encode_size, lengths_are_minimal_below_65536) {
    for (const std::size_t size : {0u,   1u,   110u, 111u, 114u, 115u, 118u, 119u,  122u,  123u,  126u,  127u,  128u,
                                   129u, 238u, 239u, 240u, 245u, 246u, 249u, 250u,  251u,  255u,  256u,  257u,  300u,
                                   305u, 309u, 314u, 500u, 506u, 512u, 990u, 1000u, 1018u, 1024u, 5000u, 65518u}) {
        const std::string content(size, 'x');
        expect_value_encoded(content, element(PRINTABLE_STRING, content));
        expect_value_encoded("\"" + content + "\"", element(PRINTABLE_STRING, content));
    }
}

// The builder's length octets from 65,536 on, while the content of the name, of its SET, of the member and of the value
// pass 65,535 one by one.
TEST(dn_encode_size, length_octets_go_up_to_the_first_zero_from_65536_on) {
    const struct {
        std::size_t size;
        const char* headers;
    } cases[] = {{65519, "30 81 00 31 82 FF FC 30 82 FF F8 06 03 55 04 03 13 82 FF EF"},
                 {65523, "30 81 03 31 81 00 30 82 FF FC 06 03 55 04 03 13 82 FF F3"},
                 {65527, "30 81 06 31 81 03 30 81 00 06 03 55 04 03 13 82 FF F7"},
                 {65536, "30 81 0E 31 81 0B 30 81 08 06 03 55 04 03 13 81 00"},
                 {70000, "30 83 01 11 84 31 83 01 11 7F 30 83 01 11 7A 06 03 55 04 03 13 83 01 11 70"}};
    for (const auto& c : cases) {
        const std::string content(c.size, 'x');
        expect_encoded("2.5.4.3=" + content, NO_MAP, from_hex(c.headers) + content);
    }
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
    expect_not_encoded(type + ".1=a", NO_MAP);
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
    const std::string low_lines(size, '_');
    expect_value_encoded(escaped, element(PRINTABLE_STRING, commas));
    expect_value_encoded("\"" + commas + "\"", element(PRINTABLE_STRING, commas));
    expect_value_encoded("#04830186A0" + digits, element(0x04, commas));
    expect_value_encoded(low_lines, element(IA5_STRING, low_lines));
    expect_value_not_encoded(escaped + ";");
}

TEST(dn_encode_size, text_of_tens_of_thousands_of_rdns) {
    std::string dn;
    std::string rdns;
    for (int i = 0; i < 40000; ++i) {
        const std::string value = "common name " + std::to_string(i);
        dn += (i == 0 ? "CN=" : ",CN=") + value;
        rdns += rdn_of(element(PRINTABLE_STRING, value));
    }
    const std::string expected = element(0x30, rdns);
    ASSERT_GT(expected.size(), 1000000u);
    expect_encoded(dn, OID_MAP_HANDLE_DEFAULT, expected);
}

TEST(dn_encode_size, set_of_thousands_of_members) {
    std::string dn;
    std::string members;
    for (int i = 0; i < 10000; ++i) {
        const std::string value = std::to_string(i);
        dn += (i == 0 ? "CN=" : "+CN=") + value;
        members += attribute_of(element(PRINTABLE_STRING, value));
    }
    expect_encoded(dn, OID_MAP_HANDLE_DEFAULT, element(0x30, element(0x31, members)));
}

// The attributes of an RDN before its last one are collected; the next RDN starts without them.
TEST(dn_encode_size, rdns_of_one_and_of_many_attributes_alternate) {
    const auto attribute = [](char c, std::size_t size) { return attribute_of(element(0x13, std::string(size, c))); };
    for (const std::size_t size : {1u, 100u, 127u, 128u, 500u, 600u, 1100u}) {
        const std::string a(size, 'a');
        const std::string b(size, 'b');
        expect_encoded("CN=" + a + "+CN=" + b + "+CN=c,CN=d,CN=e+CN=" + a + ",CN=" + b, OID_MAP_HANDLE_DEFAULT,
                       element(0x30, element(0x31, attribute('a', size) + attribute('b', size) + attribute('c', 1)) +
                                         element(0x31, attribute('d', 1)) +
                                         element(0x31, attribute('e', 1) + attribute('a', size)) +
                                         element(0x31, attribute('b', size))));
    }
}

// Values around the size that is decoded without memory, of every form, one after the other.
TEST(dn_encode_size, escaped_values_of_every_size) {
    for (std::size_t size = 1; size < 300; size += size < 20 || (size > 120 && size < 135) || size > 250 ? 1 : 7) {
        std::string plain;
        std::string quoted = "\"";
        for (std::size_t i = 0; i < size; ++i) {
            plain += "\\,";
            quoted += "\\\"";
        }
        quoted += '"';
        std::string hex = "#" + to_hex(element(0x04, std::string(size, ',')));
        std::erase(hex, ' ');
        const std::string rdns = rdn_of(element(0x13, std::string(size, ','))) +
                                 rdn_of(element(0x13, std::string(size, '"'))) +
                                 rdn_of(element(0x04, std::string(size, ','))) + rdn_of(element(0x13, ","));
        expect_encoded("CN=" + plain + ",CN=" + quoted + ",CN=" + hex + ",CN=\\,", OID_MAP_HANDLE_DEFAULT,
                       element(0x30, rdns));
    }
}

} // namespace
