#include "gost/der.h"

#include "derkit/asn_oidmap.h"
#include "derkit/int2str.h"

namespace derkit::gost {

namespace {

// Deeper elements are not looked into: certificates and bags have no more than a dozen levels.
constexpr unsigned int MAX_DER_DEPTH = 64;
constexpr unsigned char BIT_STRING = 0x03;
constexpr char HEXADECIMAL = '#';

// "#2A85", for octets.
std::string hexadecimal_of(const blob_t& octets) {
    std::string text(1 + 2 * std::size_t{octets.size}, HEXADECIMAL);
    TO_HEX_STRING(octets.data, octets.size, text.data() + 1, '\0');
    return text;
}

unsigned int digit_value(char digit) {
    return static_cast<unsigned int>(digit <= '9' ? digit - '0' : digit - 'A' + 10);
}

std::string octets_of_digits(std::string_view digits) {
    std::string octets;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        octets += static_cast<char>(digit_value(digits[i]) << 4 | digit_value(digits[i + 1]));
    }
    return octets;
}

// What follows is filled by append().
template <typename OCTETS>
OCTETS element(OCTETS out, asn_tag_t::Type tag, std::initializer_list<std::string_view> parts) {
    std::size_t size = 0;
    for (const std::string_view part : parts) {
        size += part.size();
    }
    const std::string header = der_header(tag, size);
    out.reserve(header.size() + size);
    out.append(header);
    for (const std::string_view part : parts) {
        out.append(part);
    }
    return out;
}

bool is_whole(asn_cursor_t in, unsigned int depth, strings are);

// A string that holds DER does so as a single SEQUENCE; whatever else it holds has no inside.
bool is_whole_inside_string(std::string_view content, unsigned int depth) {
    asn_cursor_t in(blob_of(content));
    const asn_cursor_t sequence = in.next_is(asn_tag_t::SEQUENCE) ? in.enter(asn_tag_t::SEQUENCE) : in;
    const bool holds_der = in.ok() && in.empty() && !content.empty() && content[0] == char(asn_tag_t::SEQUENCE);
    return !holds_der || is_whole(sequence, depth, strings::OPENED);
}

bool is_whole_element(unsigned char identifier, const blob_t& content, unsigned int depth, strings are) {
    if (depth == 0) {
        return true;
    }
    if ((identifier & CONSTRUCTED) != 0) {
        return is_whole(asn_cursor_t(content), depth - 1, are);
    }
    if (are == strings::OPAQUE) {
        return true;
    }
    if (identifier == asn_tag_t::OCTET_STRING) {
        return is_whole_inside_string(text_of(content), depth - 1);
    }
    if (identifier == BIT_STRING) {
        return content.size != 0 && is_whole_inside_string(text_of(content).substr(1), depth - 1);
    }
    return true;
}

bool is_whole(asn_cursor_t in, unsigned int depth, strings are) {
    while (in.ok() && !in.empty()) {
        const unsigned char identifier = *in.p;
        const blob_t content = in.read(asn_tag_t::ANY);
        if (!in.ok() || !is_whole_element(identifier, content, depth, are)) {
            return false;
        }
    }
    return in.ok();
}

} // namespace

std::string der_header(asn_tag_t::Type tag, std::size_t content_size) {
    std::string length;
    for (std::size_t left = content_size; left != 0; left >>= 8) {
        length.insert(length.begin(), static_cast<char>(left & 0xFF));
    }
    if (content_size > 127) {
        length.insert(length.begin(), static_cast<char>(0x80 | length.size()));
    }
    return static_cast<char>(tag) + (content_size == 0 ? std::string(1, '\0') : length);
}

std::string der(asn_tag_t::Type tag, std::initializer_list<std::string_view> parts) {
    return element(std::string(), tag, parts);
}

secret secret_der(asn_tag_t::Type tag, std::initializer_list<std::string_view> parts) {
    return element(secret(), tag, parts);
}

std::string der_integer(std::uint64_t value) {
    std::string content;
    do {
        content.insert(content.begin(), static_cast<char>(value & 0xFF));
        value >>= 8;
    } while (value != 0);
    if ((static_cast<unsigned char>(content[0]) & 0x80) != 0) {
        content.insert(content.begin(), '\0');
    }
    return der(asn_tag_t::INTEGER, {content});
}

std::string der_oid(std::string_view dotted) {
    if (!dotted.empty() && dotted.front() == HEXADECIMAL) {
        return der(asn_tag_t::OBJECT_IDENTIFIER, {octets_of_digits(dotted.substr(1))});
    }
    unsigned char octets[512];
    const unsigned int size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), octets);
    return der(asn_tag_t::OBJECT_IDENTIFIER, {{reinterpret_cast<const char*>(octets), size}});
}

// The library's text has arcs of 32 bits, so that different octets may have the same.
std::string dotted_of(const blob_t& oid) {
    constexpr unsigned int MAX_SIZE = 128; // no OID in use is as long
    std::string dotted;
    if (oid.size == 0 || oid_asn_to_str_(oid.data, oid.data + oid.size, dotted) != 1) {
        return std::string();
    }
    const bool leads_back =
        oid.size <= MAX_SIZE && der_oid(dotted) == der(asn_tag_t::OBJECT_IDENTIFIER, {text_of(oid)});
    return leads_back ? dotted : hexadecimal_of(oid);
}

bool is_oid_text(std::string_view text) {
    if (text.empty()) {
        return false;
    }
    const std::string element = der_oid(text);
    return dotted_of(asn_cursor_t(blob_of(element)).read(asn_tag_t::OBJECT_IDENTIFIER)) == text;
}

result<std::uint32_t> read_iterations(asn_cursor_t& in) {
    const std::string_view content = text_of(in.read(asn_tag_t::INTEGER));
    if (!in.ok() || content.empty() || (static_cast<unsigned char>(content[0]) & 0x80) != 0) {
        return cause::malformed_parameters;
    }
    std::uint64_t value = 0;
    for (const char octet : content) {
        value = value << 8 | static_cast<unsigned char>(octet);
        if (value > 0xFFFFFFFF) {
            return cause::too_many_iterations;
        }
    }
    return static_cast<std::uint32_t>(value);
}

bool is_whole_der(std::string_view octets, asn_tag_t::Type tag, strings are) {
    asn_cursor_t in(blob_of(octets));
    const blob_t content = in.read(tag);
    return in.ok() && in.empty() &&
           is_whole_element(static_cast<unsigned char>(octets[0]), content, MAX_DER_DEPTH + 1, are);
}

} // namespace derkit::gost
