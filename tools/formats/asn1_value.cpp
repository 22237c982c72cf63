#include "formats/asn1_value.h"

#include <algorithm>

#include "derkit/t61.h"
#include "formats/iso_time.h"
#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

unsigned int octet_at(std::string_view content, std::size_t place) {
    return static_cast<unsigned char>(content[place]);
}

void read_boolean(std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    if (content.size() != 1) {
        add_ber_breach(breaches, "8.2.1", "a BOOLEAN has one octet");
        value.octets = content;
        return;
    }
    value.boolean = content[0] != 0;
    if (content[0] != 0 && octet_at(content, 0) != 0xFF) {
        add_der_breach(breaches, "11.1", "true is FF");
    }
}

// Two's complement.
void read_integer(std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    if (content.empty()) {
        add_ber_breach(breaches, "8.3.1", "a number has an octet at least");
        return;
    }
    const unsigned int sign = octet_at(content, 0) & 0x80;
    if (content.size() > 1 && ((content[0] == 0 && (octet_at(content, 1) & 0x80) == 0) ||
                               (octet_at(content, 0) == 0xFF && (octet_at(content, 1) & 0x80) != 0))) {
        add_ber_breach(breaches, "8.3.2", "a number begins with an octet that it does not need");
    }
    if (content.size() > sizeof(long long)) {
        value.octets = content;
        return;
    }
    unsigned long long bits = sign != 0 ? ~0ULL : 0ULL;
    for (std::size_t i = 0; i < content.size(); ++i) {
        bits = bits << 8 | octet_at(content, i);
    }
    value.integer = static_cast<long long>(bits);
}

void read_bit_string(std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    if (content.empty()) {
        add_ber_breach(breaches, "8.6.2.2", "a BIT STRING begins with the number of its unused bits");
        return;
    }
    const unsigned int unused = octet_at(content, 0);
    value.octets = content.substr(1);
    value.unused_bits = unused;
    if (unused > 7) {
        add_ber_breach(breaches, "8.6.2.2", "at most seven bits are unused");
    } else if (unused != 0 && content.size() == 1) {
        add_ber_breach(breaches, "8.6.2.3", "a BIT STRING without bits has no unused ones");
    } else if (unused != 0 && (octet_at(content, content.size() - 1) & ((1u << unused) - 1)) != 0) {
        add_der_breach(breaches, "11.2.1", "unused bits are zero");
    }
}

void check_subidentifiers(std::string_view content, asn1_breaches_t& breaches) {
    bool at_start = true;
    bool padded = false;
    for (std::size_t i = 0; i < content.size(); ++i) {
        padded = padded || (at_start && octet_at(content, i) == 0x80);
        at_start = (octet_at(content, i) & 0x80) == 0;
    }
    if (padded) {
        add_ber_breach(breaches, "8.19.2", "an arc begins with zeros");
    }
    if (!at_start) {
        add_ber_breach(breaches, "8.19.2", "the last arc is cut short");
    }
}

void read_oid(std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    if (content.empty()) {
        add_ber_breach(breaches, "8.19.2", "an OBJECT IDENTIFIER has an arc at least");
        return;
    }
    value.oid = content;
    check_subidentifiers(content, breaches);
}

bool all_digits(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

// YYYYMMDDHHMMSS, as ISO 8601 has it; empty if no calendar from 1900 on does.
std::string iso_time(std::string_view digits) {
    constexpr std::string_view FORM = "####-##-##T##:##:##Z";
    std::string text;
    for (const char c : FORM) {
        text += c == '#' ? digits.front() : c;
        digits.remove_prefix(c == '#' ? 1 : 0);
    }
    return time_from_utc_text(text).has_value() ? text : "";
}

// Two digits of a year from 50 on belong to the twentieth century (RFC 5280 4.1.2.5.1).
void read_utc_time(std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    value.text = content;
    if (content.size() != 13 || content.back() != 'Z' || !all_digits(content.substr(0, 12))) {
        add_der_breach(breaches, "11.8", "a UTCTime is YYMMDDHHMMSSZ");
        return;
    }
    value.time = iso_time((content[0] >= '5' ? "19" : "20") + std::string(content.substr(0, 12)));
    if (value.time.empty()) {
        add_ber_breach(breaches, "11.8", "no calendar has the time");
    }
}

// A fraction of a second does not end with zero (X.690 11.7).
void read_generalized_time(std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    value.text = content;
    const bool ends_well = content.ends_with('Z') && content.size() >= 15 && all_digits(content.substr(0, 14));
    const std::string_view fraction = ends_well ? content.substr(14, content.size() - 15) : "";
    const bool good_fraction = fraction.empty() || (fraction.size() > 1 && fraction[0] == '.' &&
                                                    all_digits(fraction.substr(1)) && !fraction.ends_with('0'));
    if (!ends_well || !good_fraction) {
        add_der_breach(breaches, "11.7", "a GeneralizedTime is YYYYMMDDHHMMSS, a fraction or none, and Z");
        return;
    }
    if (fraction.empty()) {
        value.time = iso_time(content);
    }
}

bool is_printable_string_character(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           std::string_view(" '()+,-./:=?").find(c) != std::string_view::npos;
}

bool is_numeric_string_character(char c) {
    return (c >= '0' && c <= '9') || c == ' ';
}

bool is_ia5_character(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

bool is_visible_character(char c) {
    return c >= 0x20 && c < 0x7F;
}

// Strings of one octet a character, as subsets of ASCII.
struct ascii_string_t {
    unsigned int number;
    bool (*allows)(char c);
    const char* problem;
};

constexpr ascii_string_t ASCII_STRINGS[] = {
    {asn1_number::NUMERIC_STRING, is_numeric_string_character, "a NumericString has digits and blanks only"},
    {asn1_number::PRINTABLE_STRING, is_printable_string_character, "a PrintableString has a character outside its set"},
    {asn1_number::IA5_STRING, is_ia5_character, "an IA5String has an octet above 7F"},
    {asn1_number::VISIBLE_STRING, is_visible_character, "a VisibleString has a character outside its set"},
};

std::optional<std::string> utf8_from_universal(std::string_view content) {
    std::string text;
    if (content.size() % 4 != 0) {
        return std::nullopt;
    }
    for (std::size_t i = 0; i < content.size(); i += 4) {
        const unsigned int code = octet_at(content, i) << 24 | octet_at(content, i + 1) << 16 |
                                  octet_at(content, i + 2) << 8 | octet_at(content, i + 3);
        char utf8[6];
        if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
            return std::nullopt;
        }
        text.append(utf8, static_cast<std::size_t>(ldap_x_wc_to_utf8(utf8, code, sizeof(utf8))));
    }
    return text;
}

std::optional<std::string> utf8_from_t61(std::string_view content) {
    std::string text;
    return ldap_t61s_to_utf8s(content.data(), size_of(content), text) ? std::optional(text) : std::nullopt;
}

void read_wide_text(const std::optional<std::string>& text, std::string_view content, const char* problem,
                    asn1_value_t& value, asn1_breaches_t& breaches) {
    if (text.has_value()) {
        value.text = text;
        return;
    }
    value.octets = content;
    add_ber_breach(breaches, "8.23", problem);
}

// Returns false for a type that is no string of characters.
bool read_text(unsigned int number, std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    const auto* const ascii = std::ranges::find(ASCII_STRINGS, number, &ascii_string_t::number);
    if (ascii != std::end(ASCII_STRINGS)) {
        value.text = content;
        if (!std::ranges::all_of(content, ascii->allows)) {
            add_ber_breach(breaches, "8.23", ascii->problem);
        }
        return true;
    }
    switch (number) {
    case asn1_number::UTF8_STRING:
        value.text = content;
        if (!is_utf8(content)) {
            add_ber_breach(breaches, "8.23", "a UTF8String is not UTF-8");
        }
        return true;
    case asn1_number::T61_STRING:
        read_wide_text(utf8_from_t61(content), content, "a T61String has an octet that T.61 has not", value, breaches);
        return true;
    case asn1_number::BMP_STRING:
        read_wide_text(utf8_from_utf16(content), content, "a BMPString is not of characters of two octets", value,
                       breaches);
        return true;
    case asn1_number::UNIVERSAL_STRING:
        read_wide_text(utf8_from_universal(content), content, "a UniversalString is not of characters of four octets",
                       value, breaches);
        return true;
    default:
        return false;
    }
}

void read_universal(unsigned int number, std::string_view content, asn1_value_t& value, asn1_breaches_t& breaches) {
    switch (number) {
    case asn1_number::BOOLEAN:
        return read_boolean(content, value, breaches);
    case asn1_number::INTEGER:
    case asn1_number::ENUMERATED:
        return read_integer(content, value, breaches);
    case asn1_number::BIT_STRING:
        return read_bit_string(content, value, breaches);
    case asn1_number::OBJECT_IDENTIFIER:
        return read_oid(content, value, breaches);
    case asn1_number::UTC_TIME:
        return read_utc_time(content, value, breaches);
    case asn1_number::GENERALIZED_TIME:
        return read_generalized_time(content, value, breaches);
    default:
        break;
    }
    if (number == asn1_number::NULL_VALUE && !content.empty()) {
        add_ber_breach(breaches, "8.8.2", "a NULL has no octets");
    }
    if (number == asn1_number::RELATIVE_OID) {
        check_subidentifiers(content, breaches);
    }
    if (!read_text(number, content, value, breaches)) {
        value.octets = content;
    }
}

constexpr unsigned int MAX_DEPTH = 64; // of elements whose octets may be opened as DER

bool is_der(std::string_view octets, unsigned int depth);

bool are_der_elements(std::string_view octets, unsigned int depth) {
    while (!octets.empty()) {
        asn1_header_t header;
        std::string problem;
        const bool is_definite = read_asn1_header(octets, header, problem) && header.content_size.has_value();
        if (!is_definite || *header.content_size > octets.size() - header.size) {
            return false;
        }
        const std::size_t size = header.size + static_cast<std::size_t>(*header.content_size);
        if (!is_der(octets.substr(0, size), depth)) {
            return false;
        }
        octets.remove_prefix(size);
    }
    return true;
}

// One element that has all of the octets.
bool is_der(std::string_view octets, unsigned int depth) {
    asn1_header_t header;
    std::string problem;
    if (depth == 0 || !read_asn1_header(octets, header, problem) || !header.breaches.empty()) {
        return false;
    }
    const std::string_view content = octets.substr(header.size);
    if (header.content_size != content.size()) {
        return false;
    }
    if (header.tag.constructed) {
        return are_der_elements(content, depth - 1);
    }
    asn1_breaches_t breaches;
    read_asn1_value(header.tag, content, breaches);
    const bool is_known = header.tag.tag_class != asn1_class_t::UNIVERSAL || asn1_form(header.tag) != asn1_form_t::ANY;
    return breaches.empty() && is_known && !header.tag.is_universal(asn1_number::END_OF_CONTENTS);
}

} // namespace

asn1_value_t read_asn1_value(const asn1_tag_t& tag, std::string_view content, asn1_breaches_t& breaches) {
    asn1_value_t value;
    if (tag.tag_class == asn1_class_t::UNIVERSAL) {
        read_universal(tag.number, content, value, breaches);
    } else {
        value.octets = content;
    }
    return value;
}

asn1_value_t read_start_of_asn1_value(const asn1_tag_t& tag, std::string_view start) {
    if (asn1_form(tag) == asn1_form_t::STRING) {
        asn1_breaches_t of_a_part;
        return read_asn1_value(tag, start, of_a_part);
    }
    asn1_value_t value;
    value.octets = start;
    return value;
}

bool is_der_element(std::string_view octets) {
    asn1_header_t header;
    std::string problem;
    return read_asn1_header(octets, header, problem) && header.tag.tag_class == asn1_class_t::UNIVERSAL &&
           is_der(octets, MAX_DEPTH);
}
