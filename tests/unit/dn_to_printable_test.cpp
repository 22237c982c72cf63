// DER names to text.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "derkit/t61.h"
#include "support/names.h"
#include "support/vectors.h"
#include "testing/parsed_map.h"

using namespace std::string_view_literals;

namespace {

constexpr unsigned char UTF8_STRING = 0x0C;
constexpr unsigned char NUMERIC_STRING = 0x12;
constexpr unsigned char T61_STRING = 0x14;
constexpr unsigned char UNIVERSAL_STRING = 0x1C;
constexpr unsigned char BMP_STRING = 0x1E;
constexpr unsigned char COPIED_STRINGS[] = {UTF8_STRING, 0x13, 0x16};
constexpr unsigned char STRINGS[] = {UTF8_STRING, NUMERIC_STRING, 0x13, T61_STRING, 0x16, UNIVERSAL_STRING, BMP_STRING};

const std::string TYPE_2_5_4_3 = from_hex("06 03 55 04 03");

std::string with_escapes(std::string_view text) {
    std::string out;
    for (const char c : text) {
        out += (DN_SPECIALS.find(c) == std::string_view::npos ? "" : "\\") + std::string(1, c);
    }
    return out;
}

// The octets of a text as one of the string types holds them.
std::string string_of(unsigned char tag, std::string_view text) {
    const std::size_t num_zeros = tag == UNIVERSAL_STRING ? 3 : tag == BMP_STRING ? 1 : 0;
    std::string content;
    for (const char c : text) {
        content += std::string(num_zeros, '\0') + c;
    }
    return element(tag, content);
}

// Cases from files

struct name_case_t {
    explicit name_case_t(const vector_t& vector)
        : der(vector.bytes("DER")), text(vector.text_or("canonical", vector.text("text"))),
          reversed(vector.text_or("reversed", text)), map(map_of(vector)) {}
    std::string der;
    std::string text;
    std::string reversed;
    oid_map_handle_t map;
};

TEST(dn_print, names) {
    for_each_vector("names.txt", [](const vector_t& vector) {
        const name_case_t c(vector);
        for (const std::string& after : {std::string(), from_hex("00"), from_hex("FF FF FF"), COUNTRY_RU, c.der}) {
            expect_printed(c.der + after, c.map, c.text, c.reversed); // what follows the name is ignored
        }
    });
}

TEST(dn_print, values) {
    for_each_vector("values.txt", [](const vector_t& vector) {
        const std::string der = name_of(vector.bytes("element"));
        if (vector.field("canonical") == "-") {
            expect_not_printed(der);
            return;
        }
        const std::string text = "2.5.4.3=" + vector.text_or("canonical", vector.text("text"));
        expect_printed(der, NO_MAP, text, text);
    });
}

TEST(dn_print, names_that_are_refused) {
    for_each_vector("names-refused.txt", [](const vector_t& vector) {
        const std::string der = vector.bytes("DER");
        expect_printed(der, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT, false, vector.text("left"));
        expect_printed(der, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT, false, vector.text("reversed"));
    });
}

// In the second RDN, which shows what is left of the first and of the second.
TEST(dn_print, values_that_are_refused) {
    for_each_vector("values-refused.txt", [](const vector_t& vector) {
        const std::string der = element(0x30, COUNTRY_RU + rdn_of(vector.bytes("element")));
        expect_printed(der, PDN_ORDER_AS_ENCODED, NO_MAP, false, "2.5.4.6=RU,2.5.4.3=");
        expect_printed(der, PDN_ORDER_REVERSED, NO_MAP, false, "2.5.4.6=RU,");
    });
}

void expect_every_prefix_refused(std::string_view der) {
    for_each_prefix(der, [](const exact_bytes_t& prefix) {
        for (const PrintableDnOrder order : DN_ORDERS) {
            std::string out = "held;";
            EXPECT_FALSE(asn_dn_to_printable(prefix.data(), prefix.size(), out, order, OID_MAP_HANDLE_DEFAULT));
            EXPECT_EQ("held;", out) << order_name(order);
        }
    });
}

TEST(dn_print, no_proper_prefix) {
    for_each_vector("names.txt", [](const vector_t& vector) { expect_every_prefix_refused(vector.bytes("DER")); });
    for_each_vector("values.txt",
                    [](const vector_t& vector) { expect_every_prefix_refused(name_of(vector.bytes("element"))); });
}

TEST(dn_print, reversed_as_the_operation_on_text_reverses) {
    for_each_vector("names.txt", [](const vector_t& vector) {
        name_case_t c(vector);
        ASSERT_NE(nullptr, printable_dn_reverse(c.text.data()));
        EXPECT_TRUE(same_bytes(c.reversed, c.text));
    });
}

// Values

TEST(dn_value_print, every_identifier_octet_but_seven_selects_hexadecimal) {
    for (unsigned int tag = 0; tag < 256; ++tag) {
        const unsigned char octet = static_cast<unsigned char>(tag);
        const std::string value = element(octet, "0000"); // text of every string type but UniversalString
        if (octet == UNIVERSAL_STRING) {
            expect_not_printed(name_of(value));
            continue;
        }
        std::string text = "#" + to_hex(value);
        text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
        if (std::memchr(STRINGS, octet, sizeof STRINGS) != nullptr) {
            text = octet == BMP_STRING ? "\xE3\x80\xB0\xE3\x80\xB0" : "0000";
        }
        expect_printed(name_of(value), NO_MAP, "2.5.4.3=" + text, "2.5.4.3=" + text);
    }
}

TEST(dn_value_print, nine_octets_are_escaped_in_strings_that_are_copied) {
    for (const unsigned char tag : COPIED_STRINGS) {
        for (int c = 0; c < 256; ++c) {
            const std::string text = std::string("x") + static_cast<char>(c) + "y";
            expect_printed(name_of(element(tag, text)), PDN_ORDER_AS_ENCODED, NO_MAP, true,
                           "2.5.4.3=" + with_escapes(text));
        }
    }
}

TEST(dn_value_print, nine_characters_are_escaped_in_strings_that_are_converted) {
    for (unsigned int c = 0; c < 256; ++c) {
        const char low = static_cast<char>(c);
        std::string utf8 = with_escapes({&low, 1});
        if (c >= 0x80) {
            utf8 = {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
        }
        for (const unsigned char tag : {UNIVERSAL_STRING, BMP_STRING}) {
            expect_printed(name_of(string_of(tag, {&low, 1})), PDN_ORDER_AS_ENCODED, NO_MAP, true, "2.5.4.3=" + utf8);
        }
    }
}

// First, last, side by side, alone: all texts of up to four of these characters.
TEST(dn_value_print, special_characters_are_escaped_at_every_place) {
    std::vector<std::string> texts = {""};
    for (std::size_t i = 0; texts[i].size() < 4; ++i) {
        for (const char c : {',', '"', ' ', 'a'}) {
            texts.push_back(texts[i] + c);
        }
    }
    for (const unsigned char tag : STRINGS) {
        for (const std::string& text : texts) {
            const bool empty_is_refused = tag == UNIVERSAL_STRING || tag == BMP_STRING;
            if (tag != NUMERIC_STRING && !(empty_is_refused && text.empty())) {
                expect_printed(name_of(string_of(tag, text)), PDN_ORDER_REVERSED, NO_MAP, true,
                               "2.5.4.3=" + with_escapes(text));
            }
        }
    }
}

// The converter has a way of its own for short texts.
TEST(dn_value_print, t61_strings_of_every_size_are_escaped) {
    for (std::size_t size = 0; size < 100; ++size) {
        const std::string inner(size, 'a');
        const std::string commas(size, ',');
        const std::string der = element(0x30, rdn_of(element(T61_STRING, ',' + inner + "=\xC2")) + COUNTRY_RU +
                                                  rdn_of(element(T61_STRING, commas)));
        expect_printed(der, PDN_ORDER_AS_ENCODED, NO_MAP, true,
                       "2.5.4.3=\\," + inner + "\\=\xC2\xB4,2.5.4.6=RU,2.5.4.3=" + with_escapes(commas));
        const std::string refused = element(0x30, COUNTRY_RU + rdn_of(element(T61_STRING, commas + '\xC9')));
        expect_printed(refused, PDN_ORDER_AS_ENCODED, NO_MAP, false, "2.5.4.6=RU,2.5.4.3=");
        expect_printed(refused, PDN_ORDER_REVERSED, NO_MAP, false, "2.5.4.6=RU,");
    }
}

TEST(dn_value_print, t61_strings_are_converted_and_then_escaped) {
    const auto expect_converted = [](std::string_view t61) {
        std::string utf8;
        const bool defined = ldap_t61s_to_utf8s(t61.data(), static_cast<unsigned int>(t61.size()), utf8);
        expect_printed(name_of(element(T61_STRING, t61)), PDN_ORDER_AS_ENCODED, NO_MAP, defined,
                       "2.5.4.3=" + with_escapes(utf8));
    };
    for_each_vector("t61.txt", [&](const vector_t& vector) { expect_converted(vector.bytes("T.61")); });
    for (int c = 0; c < 256; ++c) {
        expect_converted(std::string{static_cast<char>(c), 'x'});
    }
}

// The octet after the string, the 31 of the next SET, would make a digit with an acute of it.
TEST(dn_value_print, t61_prefix_at_the_end_is_not_joined_to_the_next_element) {
    const std::string der = element(0x30, rdn_of(from_hex("14 01 C2")) + COUNTRY_RU);
    expect_printed(der, PDN_ORDER_AS_ENCODED, NO_MAP, true, "2.5.4.3=\xC2\xB4,2.5.4.6=RU");
}

TEST(dn_value_print, numeric_string_takes_digits_and_spaces_alone) {
    for (int c = 0; c < 256; ++c) {
        const std::string character(1, static_cast<char>(c));
        const bool allowed = (c >= '0' && c <= '9') || c == ' ';
        expect_printed(name_of(element(NUMERIC_STRING, character)), PDN_ORDER_AS_ENCODED, NO_MAP, allowed,
                       "2.5.4.3=" + (allowed ? character : ""));
    }
}

// Spoiled names

// Elements cut inside, with the lengths of the enclosing ones adjusted.
TEST(dn_print_spoiled, elements_cut_inside_are_refused) {
    const std::string attribute = TYPE_2_5_4_3 + from_hex("13 03 61 62 63");
    for (std::size_t size = 0; size < attribute.size(); ++size) {
        SCOPED_TRACE("attribute cut to " + std::to_string(size));
        const std::string der = element(0x30, element(0x31, element(0x30, attribute.substr(0, size))));
        for (const PrintableDnOrder order : DN_ORDERS) {
            EXPECT_EQ(size == TYPE_2_5_4_3.size(), print(der, order).done) << order_name(order);
        }
    }
    const std::string member = element(0x30, attribute);
    const std::string rdn = element(0x31, member);
    for (std::size_t size = 1; size < rdn.size(); ++size) {
        expect_not_printed(element(0x30, rdn.substr(0, size)));
        expect_not_printed(element(0x30, rdn + rdn.substr(0, size)));
        if (size < member.size()) {
            expect_not_printed(element(0x30, element(0x31, member.substr(0, size))));
            expect_not_printed(element(0x30, element(0x31, member + member.substr(0, size))));
        }
    }
}

// Lengths whose sum with their header wraps at 32 bits, or nearly does, and other lengths beyond the end.
TEST(dn_print_spoiled, lengths_beyond_the_end_are_refused_at_every_level) {
    std::vector<std::string> lengths = {from_hex("84 7F FF FF FF"), from_hex("84 80 00 00 00"),
                                        from_hex("84 80 00 00 04"), from_hex("83 FF FF FF"), from_hex("82 FF FF")};
    for (unsigned int last = 0xF0; last <= 0xFF; ++last) {
        lengths.push_back(from_hex("84 FF FF FF") + static_cast<char>(last));
    }
    const std::string value = from_hex("13 01 61");
    const std::string attribute = TYPE_2_5_4_3 + value;
    for (const std::string& length : lengths) {
        for (const std::string& content : {std::string(), element(0x31, element(0x30, attribute))}) {
            expect_not_printed("\x30" + length + content);
        }
        for (const std::string& content : {std::string(), element(0x30, attribute)}) {
            expect_not_printed(element(0x30, "\x31" + length + content));
        }
        for (const std::string& content : {std::string(), attribute}) {
            expect_not_printed(element(0x30, element(0x31, "\x30" + length + content)));
        }
        for (const std::string& content : {std::string(), from_hex("55 04 03") + value}) {
            expect_not_printed(element(0x30, element(0x31, element(0x30, "\x06" + length + content))));
        }
        for (const unsigned char tag : STRINGS) {
            for (const char* const content : {"", "00000000"}) {
                expect_not_printed(name_of(static_cast<char>(tag) + length + content));
            }
        }
    }
}

// The finished member stays; the '+' after it may or may not.
TEST(dn_print_spoiled, second_member_that_cannot_be_read_leaves_the_first_in_encoded_order) {
    const std::string member = attribute_of(from_hex("13 01 61"));
    for (const char* const stray : {"00", "30", "05 00", "30 00", "30 02 06 00"}) {
        const std::string der = element(0x30, element(0x31, member + from_hex(stray)));
        const printed_t as_encoded = print(der, PDN_ORDER_AS_ENCODED);
        EXPECT_FALSE(as_encoded.done) << stray;
        EXPECT_EQ("2.5.4.3=a", as_encoded.text.substr(0, 9)) << stray;
        expect_printed(der, PDN_ORDER_REVERSED, NO_MAP, false, "");
    }
}

// Whatever one octet is changed to, both orders agree on success, and then on the RDNs.
TEST(dn_print_spoiled, both_orders_judge_changed_octets_alike) {
    const std::string der =
        element(0x30, COUNTRY_RU + rdn_of(from_hex("1E 04 04 1F 00 2B")) +
                          element(0x31, attribute_of(from_hex("14 02 C2 41")) + attribute_of(from_hex("12 01 31"))));
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
    EXPECT_GT(num_done, der.size()); // at least the octets that are not changed
}

// An RDN that fails takes those after it in the name away. The names are short and long ones.
TEST(dn_print_spoiled, rdns_before_the_first_one_that_fails_stay_in_reversed_order) {
    const std::string failing[] = {rdn_of(from_hex("12 01 78")), rdn_of(from_hex("14 02 61 5C")), from_hex("31 00"),
                                   from_hex("30 00"), rdn_of(from_hex("13 05 61"))};
    for (const std::size_t num_rdns : {1u, 2u, 3u, 31u, 32u, 33u, 34u, 65u}) {
        const std::size_t value_size = num_rdns < 4 ? 300 : 5;
        const std::string finished = rdn_of(element(UTF8_STRING, std::string(value_size, ',')));
        const std::string text = "2.5.4.3=" + with_escapes(std::string(value_size, ',')) + ",";
        for (std::size_t first = 0; first < num_rdns; ++first) {
            std::string before;
            std::string left;
            for (std::size_t i = 0; i < first; ++i) {
                before += i == 0 ? COUNTRY_RU : finished;
                left.insert(0, i == 0 ? "2.5.4.6=RU," : text);
            }
            for (const std::string& rdn : failing) {
                std::string after;
                for (std::size_t i = first + 1; i < num_rdns; ++i) {
                    after += i % 5 == 0 ? failing[0] : finished;
                }
                expect_printed(element(0x30, before + rdn + after), PDN_ORDER_REVERSED, NO_MAP, false, left);
            }
        }
    }
}

TEST(dn_print_spoiled, text_before_the_value_that_fails_stays_however_long_it_is) {
    for (std::size_t size = 480; size < 530; ++size) {
        const std::string value(size, 'a');
        for (const char* const failing : {"12 02 31 78", "14 03 61 62 5C", "1E 04 00 2C D8 00", "1C 00"}) {
            const std::string der = element(
                0x30, rdn_of(element(UTF8_STRING, value)) +
                          element(0x31, attribute_of(element(UTF8_STRING, "b,")) + attribute_of(from_hex(failing))));
            expect_printed(der, PDN_ORDER_AS_ENCODED, NO_MAP, false, "2.5.4.3=" + value + ",2.5.4.3=b\\,+2.5.4.3=");
            expect_printed(der, PDN_ORDER_REVERSED, NO_MAP, false, "2.5.4.3=" + value + ",");
        }
    }
}

// Arguments

TEST(dn_print_order, other_than_reversed_counts_as_encoded) {
    const std::string der = element(0x30, COUNTRY_RU + rdn_of(from_hex("13 01 61")));
    for (const int order : {2, 3, -1, 0x101, 0x7FFFFFFF}) {
        expect_printed(der, static_cast<PrintableDnOrder>(order), NO_MAP, true, "2.5.4.6=RU,2.5.4.3=a");
    }
}

TEST(dn_print_map, names_the_types_that_it_knows_and_no_others) {
    const parsed_map_t map("2.5.4.3 = MyName, a name\n2.5.4.10 = O\n");
    const std::string der = element(0x30, COUNTRY_RU + rdn_of(from_hex("13 01 61")));
    expect_printed(der, map.handle(), "2.5.4.6=RU,MYNAME=a", "MYNAME=a,2.5.4.6=RU");
}

TEST(dn_print_map, short_names_are_printed_as_they_are) {
    const struct {
        const char* map;
        const char* text;
    } cases[] = {{"", "2.5.4.6=RU"}, {"2.5.4.6 = , country\n", "=RU"}, {"2.5.4.6 = A+B;\"C\"\n", "A+B;\"C\"=RU"}};
    for (const auto& c : cases) {
        expect_printed(element(0x30, COUNTRY_RU), parsed_map_t(c.map).handle(), c.text, c.text);
    }
}

// Sizes

TEST(dn_print_size, beyond_the_input_costs_no_memory) {
    const exact_bytes_t der(element(0x30, COUNTRY_RU));
    for (const PrintableDnOrder order : DN_ORDERS) {
        std::string out;
        EXPECT_TRUE(asn_dn_to_printable(der.data(), 0xFFFFFFFF, out, order, OID_MAP_HANDLE_DEFAULT));
        EXPECT_EQ("C=RU", out);
        EXPECT_LT(out.capacity(), 1000u);
    }
}

TEST(dn_print_size, of_the_name_is_reserved) {
    std::string rdns;
    for (int i = 0; i < 40; ++i) {
        rdns += COUNTRY_RU; // 13 octets for five characters
    }
    std::string out = "held;";
    const exact_bytes_t der(element(0x30, rdns));
    ASSERT_TRUE(asn_dn_to_printable(der.data(), der.size(), out, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT));
    EXPECT_GE(out.capacity(), 5 + rdns.size());
}

TEST(dn_print_size, of_a_megabyte_prints_in_both_orders) {
    std::string rdns;
    std::string as_encoded;
    std::string reversed;
    const int num_rdns = 40000;
    for (int i = 0; i < num_rdns; ++i) {
        const char* const comma = i == 0 ? "" : ",";
        rdns += rdn_of(element(UTF8_STRING, "common name " + std::to_string(i)));
        as_encoded += comma + ("CN=common name " + std::to_string(i));
        reversed += comma + ("CN=common name " + std::to_string(num_rdns - 1 - i));
    }
    const std::string der = element(0x30, rdns);
    ASSERT_GT(der.size(), 1000000u);
    EXPECT_TRUE(as_encoded == print(der, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT).text);
    EXPECT_TRUE(reversed == print(der, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT).text);
}

TEST(dn_print_size, set_of_thousands_of_members_prints_in_their_order) {
    std::string members;
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        members += attribute_of(element(0x13, std::to_string(i)));
        expected += (i == 0 ? "" : "+") + ("CN=" + std::to_string(i));
    }
    const std::string der = element(0x30, element(0x31, members) + COUNTRY_RU);
    EXPECT_TRUE(expected + ",C=RU" == print(der, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT).text);
    EXPECT_TRUE("C=RU," + expected == print(der, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT).text);
}

// Values around the sizes that are written at a time, after values that leave less and less room for them.
TEST(dn_print_size, special_characters_are_escaped_in_values_of_every_size) {
    std::vector<std::size_t> sizes;
    for (std::size_t size = 1; size < 40; ++size) {
        sizes.push_back(size);
    }
    for (const std::size_t middle : {64u, 128u, 256u, 512u}) {
        for (std::size_t size = middle - 3; size < middle + 4; ++size) {
            sizes.push_back(size);
        }
    }
    for (const std::size_t size : sizes) {
        std::string at_ends(size, 'a');
        at_ends.front() = ',';
        at_ends.back() = '+';
        for (const std::string& text : {std::string(size, 'a'), std::string(size, ';'), at_ends}) {
            for (const unsigned char tag : {UTF8_STRING, T61_STRING, BMP_STRING, UNIVERSAL_STRING}) {
                const std::size_t before = size % 2 == 0 ? 512 - std::min<std::size_t>(size, 500) : size;
                const std::string plain(before, 'b');
                const std::string der = element(0x30, rdn_of(element(0x13, plain)) + rdn_of(string_of(tag, text)));
                const std::string printed = "2.5.4.3=" + with_escapes(text);
                expect_printed(der, NO_MAP, "2.5.4.3=" + plain + "," + printed, printed + ",2.5.4.3=" + plain);
            }
        }
    }
}

TEST(dn_print_size, t61_pairs_are_joined_wherever_they_stand) {
    for (std::size_t size = 50; size < 140; ++size) {
        const std::string plain(size, 'a');
        expect_printed(name_of(element(T61_STRING, plain + "\xC2" + "e,\xC2+" + plain)), PDN_ORDER_AS_ENCODED, NO_MAP,
                       true, "2.5.4.3=" + plain + "\xC3\xA9\\,\\+\xCC\x81" + plain);
    }
}

TEST(dn_print_size, long_values_print_whole) {
    const std::size_t size = 100000;
    const auto repeated = [](std::string_view text) {
        std::string all;
        for (std::size_t i = 0; i < size; ++i) {
            all += text;
        }
        return all;
    };
    const struct {
        std::string value;
        std::string text;
    } cases[] = {
        {element(UTF8_STRING, repeated("a")), repeated("a")},
        {element(0x16, repeated(",")), repeated("\\,")},
        {element(NUMERIC_STRING, repeated("7")), repeated("7")},
        {element(T61_STRING, repeated("b")), repeated("b")},
        {element(BMP_STRING, repeated("\x20\xAC")), repeated("€")},
        {element(0x04, repeated(",")), "#04830186A0" + repeated("2C")},
    };
    for (const auto& c : cases) {
        for (const PrintableDnOrder order : DN_ORDERS) {
            EXPECT_TRUE("2.5.4.3=" + c.text == print(name_of(c.value), order).text) << to_hex(c.value.substr(0, 10));
        }
    }
}

} // namespace
