#include "formats/name_parts.h"

#include "formats/asn1_value.h"
#include "formats/der.h"
#include "io/bytes.h"

namespace {

std::optional<std::string> text_of(std::string_view value) {
    asn1_header_t header;
    std::string problem;
    if (!read_asn1_header(value, header, problem) || header.tag.constructed) {
        return std::nullopt;
    }
    asn1_breaches_t breaches;
    const asn1_value_t read = read_asn1_value(header.tag, value.substr(header.size), breaches);
    const bool is_time =
        header.tag.is_universal(asn1_number::UTC_TIME) || header.tag.is_universal(asn1_number::GENERALIZED_TIME);
    return breaches.empty() && !is_time ? read.text : std::nullopt;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }      RFC 5280 4.1.2.4
bool read_attribute(asn_cursor_t in, rdn_t& rdn) {
    name_attribute_t attribute;
    attribute.type = chars(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    blob_t value;
    in.read_element(asn_tag_t::ANY, value);
    attribute.value = chars(value);
    if (!in.ok() || !in.empty()) {
        return false;
    }
    attribute.tag = static_cast<unsigned char>(attribute.value[0]);
    attribute.text = text_of(attribute.value);
    rdn.push_back(attribute);
    return true;
}

} // namespace

std::optional<std::vector<rdn_t>> read_name_parts(std::string_view der) {
    asn_cursor_t in = cursor_over(der);
    asn_cursor_t rdns = in.enter(asn_tag_t::SEQUENCE);
    std::vector<rdn_t> parts;
    while (!rdns.empty()) {
        asn_cursor_t members = rdns.enter(asn_tag_t::SET);
        rdn_t& rdn = parts.emplace_back();
        while (!members.empty()) {
            if (!read_attribute(members.enter(asn_tag_t::SEQUENCE), rdn)) {
                return std::nullopt;
            }
        }
        if (rdn.empty()) {
            return std::nullopt;
        }
    }
    return in.ok() && in.empty() && rdns.ok() ? std::optional(parts) : std::nullopt;
}

std::u32string code_points(std::string_view utf8) {
    std::u32string points;
    for (const char c : utf8) {
        const auto octet = static_cast<unsigned char>(c);
        if ((octet & 0xC0) == 0x80) {
            points.back() = points.back() << 6 | (octet & 0x3F);
        } else {
            points.push_back(octet < 0x80   ? octet
                             : octet < 0xE0 ? octet & 0x1F
                             : octet < 0xF0 ? octet & 0xF
                                            : octet & 7);
        }
    }
    return points;
}
