// Text of names to DER.
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"
#include "asn/asn_printable_syntax.h"
#include "derkit/asn_printable.h"
#include "util/string_room.h"

namespace {

// Which string types can hold a character, from the narrowest on. The widest one of a value's characters decides.
enum string_class_t : unsigned char { FITS_PRINTABLE_STRING, FITS_IA5_STRING, FITS_UTF8_STRING };

// What PrintableString (X.680 41.4) has beside letters and digits.
constexpr std::string_view PRINTABLE_PUNCTUATION = " '()+,-./:=?";

constexpr std::array<string_class_t, 256> make_string_classes() {
    std::array<string_class_t, 256> classes = {};
    for (unsigned int c = 0; c < classes.size(); ++c) {
        const bool letter_or_digit = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        const bool printable =
            letter_or_digit || PRINTABLE_PUNCTUATION.find(static_cast<char>(c)) != std::string_view::npos;
        classes[c] = c >= 0x80 ? FITS_UTF8_STRING : printable ? FITS_PRINTABLE_STRING : FITS_IA5_STRING;
    }
    return classes;
}

string_class_t string_class_of(char c) {
    static constexpr std::array<string_class_t, 256> CLASSES = make_string_classes();
    return CLASSES[static_cast<unsigned char>(c)];
}

// A value as it goes into the DER. The content lies in the text or in the buffer that it was decoded into.
struct value_t {
    asn_tag_t::Type tag = asn_tag_t::PRINTABLE_STRING;
    std::string_view content;
};

// Collects the characters of a value and finds its string type.
class string_builder_t {
  public:
    explicit string_builder_t(std::string& buffer) : buffer_(buffer) { buffer_.clear(); }

    void add(char c) {
        widest_ = std::max(widest_, string_class_of(c));
        add_unseen(c);
    }

    // The character has no say in the string type.
    void add_unseen(char c) { append_char(buffer_, c); }

    value_t finish() const {
        static constexpr asn_tag_t::Type TAGS[] = {asn_tag_t::PRINTABLE_STRING, asn_tag_t::IA5_STRING,
                                                   asn_tag_t::UTF8_STRING};
        return {TAGS[widest_], buffer_};
    }

  private:
    std::string& buffer_;
    string_class_t widest_ = FITS_PRINTABLE_STRING;
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

// The text between the quotes. Only \" is an escape. A backslash before anything else is kept together with what
// follows, and is itself passed over in choosing the string type, as is an escaped quote. Bare quotes inside, which the
// syntax allows in pairs, are characters like others.
bool decode_quoted(std::string_view inner, std::string& buffer, value_t& out) {
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

// The digits behind '#', at least a tag and a length. The element may bring any tag, also 00; bytes behind it are
// dropped, and its length is written anew.
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

// Escapes are a backslash before a special character and \xx with two hexadecimal digits.
bool decode_plain(std::string_view text, std::string& buffer, value_t& out) {
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

bool decode_value(std::string_view text, std::string& buffer, value_t& out) {
    // What starts with a quote but does not end with one fails as a plain value.
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        return decode_quoted(text.substr(1, text.size() - 2), buffer, out);
    }
    if (text.size() >= 2 && text.front() == '#') {
        return decode_hex(text.substr(1), buffer, out);
    }
    return decode_plain(text, buffer, out);
}

// A short name of the map, else a dotted OID.
template <unsigned int N> bool add_type(const RDNdescr_t& attribute, oid_map_handle_t map, asn_tag_t_<N>& oid) {
    const std::size_t size = static_cast<std::size_t>(attribute.type_end - attribute.type_begin);
    const bool can_be_short_name = size <= 0xFFFFFFFF;
    if (map.map != nullptr && can_be_short_name) {
        const OIDdescr_t* const entry = oid_map_find_sn(map, attribute.type_begin, static_cast<unsigned int>(size));
        if (entry != nullptr) {
            oid.add_bytes(entry->oid_asn, entry->oid_asn_size);
            return true;
        }
    }
    unsigned char der[512];
    const unsigned int der_size = oid_str_to_asn_(attribute.type_begin, attribute.type_end, der);
    oid.add_bytes(der, der_size);
    return der_size != 0;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }      RFC 5280 4.1.2.4
template <unsigned int N>
bool add_attribute(const RDNdescr_t& attribute, oid_map_handle_t map, std::string& buffer, asn_tag_t_<N>& rdn) {
    asn_tag_t_<512> type(asn_tag_t::OBJECT_IDENTIFIER);
    if (!add_type(attribute, map, type)) {
        return false;
    }
    value_t decoded;
    const std::size_t text_size = static_cast<std::size_t>(attribute.value_end - attribute.value_begin);
    if (!decode_value(std::string_view(attribute.value_begin, text_size), buffer, decoded)) {
        return false;
    }
    asn_tag_t_<256> value(decoded.tag);
    value.add_text(decoded.content);

    asn_tag_t_<320> type_and_value(asn_tag_t::SEQUENCE);
    type_and_value.add_node(type);
    type_and_value.add_node(value);
    rdn.add_member(type_and_value);
    return true;
}

} // namespace

// Name ::= SEQUENCE OF RelativeDistinguishedName
// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
// Members of a SET stay in text order; X.690 11.6 would sort them.
bool printable_to_asn_dn(const char* dn, std::string& der, oid_map_handle_t map) {
    std::vector<RDNdescr_t> attributes;
    attributes.reserve(USUAL_NUM_ATTRIBUTES);
    if (printable_dn_parse(dn, attributes) == 0) {
        return false;
    }
    asn_tag_t_<1024> name(asn_tag_t::SEQUENCE);
    std::string buffer;
    for (auto attribute = attributes.cbegin(); attribute != attributes.cend();) {
        asn_tag_t_<512> rdn(asn_tag_t::SET);
        do {
            if (!add_attribute(*attribute, map, buffer, rdn)) {
                return false;
            }
            ++attribute;
        } while (attribute != attributes.cend() && attribute->plus_joined);
        name.add_member(rdn);
    }
    name.assign_to(der);
    return true;
}
