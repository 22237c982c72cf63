// Printable DNs to DER names.
#include <string_view>

#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"
#include "asn/asn_printable_syntax.h"
#include "asn/asn_printable_traits.h"
#include "derkit/asn_printable.h"
#include "util/string_room.h"

namespace {

// The narrowest string type that holds all characters.
asn_tag_t::Type string_type(unsigned int traits) {
    if ((traits & NOT_IA5_STRING) != 0) {
        return asn_tag_t::UTF8_STRING;
    }
    return (traits & NOT_PRINTABLE_STRING) != 0 ? asn_tag_t::IA5_STRING : asn_tag_t::PRINTABLE_STRING;
}

// A value for the DER. Its content views the text, or the buffer that it was decoded into.
struct value_t {
    asn_tag_t::Type tag = asn_tag_t::PRINTABLE_STRING;
    std::string_view content;
};

// Collects the characters of a value and finds its string type.
class string_builder_t {
  public:
    explicit string_builder_t(std::string& buffer) : buffer_(buffer) { buffer_.clear(); }

    void add(char c) {
        traits_ |= traits_of(c);
        add_unseen(c);
    }

    // Adds a character that does not count for the string type.
    void add_unseen(char c) { append_char(buffer_, c); }

    value_t finish() const { return {string_type(traits_), buffer_}; }

  private:
    std::string& buffer_;
    unsigned int traits_ = 0;
};

constexpr int NOT_HEX = -1;

int hex_digit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : NOT_HEX;
}

// Reads two hexadecimal digits at the front of `text`.
bool read_hex_pair(std::string_view text, char& out) {
    if (text.size() < 2 || hex_digit(text[0]) == NOT_HEX || hex_digit(text[1]) == NOT_HEX) {
        return false;
    }
    out = static_cast<char>(hex_digit(text[0]) * 16 + hex_digit(text[1]));
    return true;
}

// The text between the quotes. Only \" is an escape. A backslash before anything else is kept, as is the character after
// it. Neither such a backslash nor an escaped quote counts for the string type. Bare quotes inside, which the syntax
// allows in pairs, are ordinary characters.
bool decode_quoted(std::string_view inner, std::string& buffer, value_t& out) {
    const unsigned int traits = traits_of_all(inner);
    if ((traits & BACKSLASH) == 0) {
        out = {string_type(traits), inner};
        return true;
    }
    string_builder_t string(buffer);
    for (std::size_t i = 0; i < inner.size(); ++i) {
        if (inner[i] != '\\') {
            string.add(inner[i]);
            continue;
        }
        if (++i == inner.size()) {
            return false;
        }
        if (inner[i] == '"') {
            string.add_unseen('"');
        } else {
            string.add_unseen('\\');
            string.add(inner[i]);
        }
    }
    out = string.finish();
    return true;
}

// The digits after '#', at least a tag and a length. The element may have any tag, even 00. Bytes after it are dropped,
// and its length is encoded anew.
bool decode_hex(std::string_view digits, std::string& buffer, value_t& out) {
    if (digits.size() % 2 != 0 || digits.size() < 4) {
        return false;
    }
    buffer.clear();
    for (; !digits.empty(); digits.remove_prefix(2)) {
        char byte = 0;
        if (!read_hex_pair(digits, byte)) {
            return false;
        }
        append_char(buffer, byte);
    }
    out.tag = static_cast<asn_tag_t::Type>(buffer[0]);
    asn_cursor_t der(buffer);
    const blob_t content = der.read(out.tag);
    out.content = std::string_view(reinterpret_cast<const char*>(content.data), content.size);
    return der.ok();
}

// An escape is a backslash before a special character or before two hexadecimal digits.
bool decode_plain(std::string_view text, unsigned int traits, std::string& buffer, value_t& out) {
    if ((traits & SPECIAL) == 0) {
        out = {string_type(traits), text};
        return true;
    }
    string_builder_t string(buffer);
    while (!text.empty()) {
        char c = text.front();
        text.remove_prefix(1);
        if (c == '\\') {
            if (read_hex_pair(text, c)) {
                text.remove_prefix(2);
            } else if (!text.empty() && is_special(text.front())) {
                c = text.front();
                text.remove_prefix(1);
            } else {
                return false;
            }
        } else if (is_special(c)) {
            return false;
        }
        string.add(c);
    }
    out = string.finish();
    return true;
}

bool decode_value(std::string_view text, unsigned int traits, std::string& buffer, value_t& out) {
    // A quote at the start alone fails as a plain value.
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        return decode_quoted(text.substr(1, text.size() - 2), buffer, out);
    }
    if (text.size() >= 2 && text.front() == '#') {
        return decode_hex(text.substr(1), buffer, out);
    }
    return decode_plain(text, traits, buffer, out);
}

// Appends the OID of a short name in the map, else of a dotted OID. False when it is neither.
template <unsigned int N> bool add_type(const RDNdescr_t& attribute, oid_map_handle_t map, asn_tag_t_<N>& out) {
    const std::string_view type = attribute.type();
    const bool can_be_short_name = type.size() <= 0xFFFFFFFF;
    if (map.map != nullptr && can_be_short_name) {
        const OIDdescr_t* const entry = oid_map_find_sn(map, type.data(), static_cast<unsigned int>(type.size()));
        if (entry != nullptr) {
            out.add_element(asn_tag_t::OBJECT_IDENTIFIER, entry->oid_asn, entry->oid_asn_size);
            return true;
        }
    }
    unsigned char der[512];
    const unsigned int der_size = oid_str_to_asn_(attribute.type_begin, attribute.type_end, der);
    out.add_element(asn_tag_t::OBJECT_IDENTIFIER, der, der_size);
    return der_size != 0;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }      RFC 5280 4.1.2.4
template <unsigned int N>
bool add_attribute(const RDNdescr_t& attribute, unsigned int value_traits, oid_map_handle_t map, std::string& buffer,
                   asn_tag_t_<N>& rdn) {
    asn_tag_t_<320> type_and_value(asn_tag_t::SEQUENCE);
    if (!add_type(attribute, map, type_and_value)) {
        return false;
    }
    value_t value;
    if (!decode_value(attribute.value(), value_traits, buffer, value)) {
        return false;
    }
    type_and_value.add_element(value.tag, value.content);
    rdn.add_member(type_and_value);
    return true;
}

} // namespace

// Name ::= SEQUENCE OF RelativeDistinguishedName
// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
// Members of a SET keep the order of the text; X.690 11.6 would sort them.
bool printable_to_asn_dn(const char* dn, std::string& der, oid_map_handle_t map) {
    asn_tag_t_<1024> name(asn_tag_t::SEQUENCE);
    std::string buffer; // for values with escapes
    dn_reader_t reader(dn);
    RDNdescr_t attribute;
    bool more = reader.next(attribute);
    while (more) {
        asn_tag_t_<512> rdn(asn_tag_t::SET);
        do {
            if (!add_attribute(attribute, reader.value_traits(), map, buffer, rdn)) {
                return false;
            }
            more = reader.next(attribute);
        } while (more && attribute.plus_joined);
        name.add_member(rdn);
    }
    if (reader.failed()) {
        return false;
    }
    name.assign_to(der);
    return true;
}
