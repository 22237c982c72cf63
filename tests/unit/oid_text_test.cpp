// Dotted text of object identifiers to DER content octets and back (X.690 8.19).
#include <algorithm>
#include <string>

#include "derkit/asn_oidmap.h"
#include "support/names.h"
#include "support/vectors.h"
#include "testing/parsed_map.h"

namespace {

constexpr unsigned int OUT_SIZE = 512;
constexpr unsigned int LARGEST_CONTENT = 506;
constexpr char UNTOUCHED = '\xA5';

// Text to DER in an array that shows what was written.
struct encoded_t {
    std::string content;
    std::string rest;
};

encoded_t encode_oid(std::string_view text) {
    const exact_bytes_t input(text);
    unsigned char out[OUT_SIZE];
    std::fill(out, out + OUT_SIZE, static_cast<unsigned char>(UNTOUCHED));
    const unsigned int size = oid_str_to_asn_(input.chars(), input.chars() + input.size(), out);
    EXPECT_LE(size, LARGEST_CONTENT);
    return {std::string(as_chars(out, size)), std::string(as_chars(out + size, OUT_SIZE - size))};
}

void expect_oid_text(std::string_view content, bool done, const std::string& text) {
    const exact_bytes_t input(content);
    std::string out = "held ";
    EXPECT_EQ(done ? 1 : 0, oid_asn_to_str_(input.data(), input.data() + input.size(), out)) << to_hex(content);
    EXPECT_EQ("held " + text, out) << to_hex(content);
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// A name of this type, with the value "a".
std::string name_of_type(std::string_view content) {
    return element(0x30, element(0x31, element(0x30, element(0x06, content) + from_hex("13 01 61"))));
}

// The OID on a line of a map that has this text; nothing if the line is refused.
std::string oid_of_line(const std::string& text) {
    const parsed_map_t map(text + " = NAME");
    const OIDdescr_t* const entry = oid_map_find_sn(map.handle(), "name", 4);
    return entry == nullptr ? "" : std::string(as_chars(entry->oid_asn, entry->oid_asn_size));
}

// Cases from files

// By itself, as the type of an attribute, and on the line of a map.
TEST(oid_text, encodes) {
    for_each_vector("oids.txt", [](const vector_t& vector) {
        const std::string way = vector.one_of("way", {"both", "encode", "print", "cut"});
        if (way == "print" || way == "cut") {
            return;
        }
        const std::string text = vector.text("text");
        const std::string content = vector.bytes("content");
        const encoded_t encoded = encode_oid(text);
        EXPECT_TRUE(same_bytes(content, encoded.content));
        EXPECT_EQ(std::string(encoded.rest.size(), UNTOUCHED), encoded.rest);
        expect_encoded(text + "=a", NO_MAP, name_of_type(content));
        EXPECT_TRUE(same_bytes(content, oid_of_line(text)));
    });
}

const std::initializer_list<std::string_view> RULES = {"one arc", "empty arc", "first arc", "range", "character"};

TEST(oid_text, refuses_what_breaks_a_rule) {
    for_each_vector("oids-refused.txt", [](const vector_t& vector) {
        const std::string text = vector.text("text");
        EXPECT_TRUE(same_bytes("", encode_oid(text).content));
        if (vector.one_of("rule", RULES) != "character") { // blanks and zeros have a meaning of their own there
            expect_not_encoded(text + "=a", NO_MAP);
            EXPECT_EQ("", oid_of_line(text));
        }
    });
}

TEST(oid_text, prints) {
    for_each_vector("oids.txt", [](const vector_t& vector) {
        const std::string content = vector.bytes("content");
        const bool done = vector.field("way") != "cut";
        const std::string text = vector.text_or("canonical", vector.text("text"));
        expect_oid_text(content, done, text);
        expect_printed(name_of_type(content), PDN_ORDER_AS_ENCODED, NO_MAP, done, done ? text + "=a" : text);
    });
}

TEST(oid_text, arcs_of_every_number_of_digits_print) {
    std::string text = "1.2";
    for (unsigned int power = 10; power < 1000000000; power *= 10) {
        text += "." + std::to_string(power - 1) + "." + std::to_string(power);
    }
    text += ".999999999.1000000000.4294967295.0";
    expect_oid_text(encode_content(der_oid(text)), true, text);
}

// Ends of the input and of the output

TEST(oid_text_range, ends_where_it_is_told_to) {
    const std::string text = "2.5.4.3";
    unsigned char out[OUT_SIZE];
    EXPECT_EQ(2u, oid_str_to_asn_(text.data(), text.data() + 5, out));
    EXPECT_TRUE(same_bytes(from_hex("55 04"), as_chars(out, 2)));
}

TEST(oid_text_range, every_prefix_prints_whole_arcs_or_fails) {
    const struct {
        bool done;
        const char* text;
    } expected[] = {{false, ""},         {true, "1.2"},       {false, "1.2."},         {true, "1.2.840"},
                    {false, "1.2.840."}, {false, "1.2.840."}, {true, "1.2.840.113549"}};
    const std::string content = from_hex("2A 86 48 86 F7 0D 01");
    for (std::size_t size = 0; size < content.size(); ++size) {
        expect_oid_text(content.substr(0, size), expected[size].done, expected[size].text);
    }
}

// At most 506 octets: six of the array stay free.
TEST(oid_text_limit, content_of_506_octets_fits_and_one_more_fails) {
    const std::string full = "2.5" + repeated(".1", LARGEST_CONTENT - 1);
    const encoded_t encoded = encode_oid(full);
    EXPECT_TRUE(same_bytes("\x55" + std::string(LARGEST_CONTENT - 1, '\x01'), encoded.content));
    EXPECT_EQ(std::string(6, UNTOUCHED), encoded.rest);
    const encoded_t too_long = encode_oid(full + repeated(".1", 100));
    EXPECT_EQ("", too_long.content);
    EXPECT_EQ(std::string(6, UNTOUCHED), too_long.rest.substr(LARGEST_CONTENT));
    EXPECT_EQ("", encode_oid(full + ".1").content);
}

TEST(oid_text_limit, applies_to_the_whole_of_the_last_subidentifier) {
    const struct {
        const char* arc;
        unsigned int size;
    } arcs[] = {{".128", 2}, {".16384", 3}, {".2097152", 4}, {".4294967295", 5}};
    for (const auto& arc : arcs) {
        const std::string fits = "2.5" + repeated(".1", LARGEST_CONTENT - 1 - arc.size);
        EXPECT_EQ(LARGEST_CONTENT, encode_oid(fits + arc.arc).content.size()) << arc.arc;
        EXPECT_EQ("", encode_oid(fits + ".1" + arc.arc).content) << arc.arc;
    }
}

TEST(oid_text_limit, does_not_count_characters) {
    const std::string zeros(2000, '0');
    EXPECT_TRUE(same_bytes(from_hex("55 04 03"), encode_oid(zeros + "2." + zeros + "5.4." + zeros + "3").content));
}

constexpr std::size_t LONG_ARC = 65536;

TEST(oid_arc_of_64_kilobytes, is_refused_unless_it_is_zeros) {
    for (const char digit : {'1', '4', '9'}) {
        EXPECT_EQ("", encode_oid("1.2." + std::string(LONG_ARC, digit)).content);
        expect_not_encoded("1.2." + std::string(LONG_ARC, digit) + "=a", NO_MAP);
    }
    EXPECT_TRUE(same_bytes(from_hex("2A 05"), encode_oid("1.2." + std::string(LONG_ARC, '0') + "5").content));
    EXPECT_TRUE(same_bytes(from_hex("2A 00"), encode_oid("1.2." + std::string(LONG_ARC, '0')).content));
    EXPECT_EQ("", encode_oid("1." + std::string(LONG_ARC, '0') + "4294967296").content);
}

TEST(oid_arc_of_64_kilobytes, keeps_its_low_32_bits_in_der) {
    expect_oid_text('\x2A' + std::string(LONG_ARC, '\x80') + '\x05', true, "1.2.5");
    expect_oid_text('\x2A' + std::string(LONG_ARC, '\xFF') + '\x7F', true, "1.2.4294967295");
    expect_oid_text('\x2A' + std::string(LONG_ARC, '\xFF'), false, "1.2.");
    expect_oid_text(std::string(LONG_ARC, '\x80'), false, "");
}

TEST(oid_of_64_kilobytes, prints_all_its_arcs) {
    const std::string text = "1.2" + repeated(".127", LONG_ARC);
    expect_oid_text('\x2A' + std::string(LONG_ARC, '\x7F'), true, text);
    EXPECT_EQ("", encode_oid(text).content);
}

TEST(oid_text_output, is_whole_wherever_the_longest_arcs_stand) {
    for (unsigned int num_short = 0; num_short <= 130; ++num_short) {
        const std::string text = "1.2" + repeated(".1", num_short) + repeated(".4294967295", 25);
        const std::string content = "\x2A" + repeated("\x01", num_short) + repeated("\x8F\xFF\xFF\xFF\x7F", 25);
        expect_oid_text(content, true, text);
        expect_oid_text(content + "\x86", false, text + ".");
    }
}

// Text and DER correspond one to one unless a second arc is 40 or more.
TEST(oid_text_round_trip, holds_for_every_pair_of_first_arcs_below_40) {
    for (unsigned int first = 0; first <= 2; ++first) {
        for (unsigned int second = 0; second < 40; ++second) {
            const std::string text = std::to_string(first) + "." + std::to_string(second) + ".113549.0.4294967295";
            expect_oid_text(encode_oid(text).content, true, text);
        }
    }
}

} // namespace
