// Printable DNs to DER names.
#include <algorithm>
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

// Room for a value that has to be decoded. No value of usual size takes memory.
// cppcheck-suppress noConstructor ; what is read from the room has been written there
class value_buffer_t {
  public:
    // Valid until the next call.
    char* room(std::size_t size) {
        if (size <= sizeof short_value_) {
            return short_value_;
        }
        if (size > long_value_.size()) {
            long_value_.clear();
            append_room(long_value_, size);
        }
        return long_value_.data();
    }

  private:
    char short_value_[256];
    std::string long_value_;
};

// Collects the characters of a value, which has no more of them than its text, and finds its string type.
class string_builder_t {
  public:
    string_builder_t(value_buffer_t& buffer, std::string_view text) : begin_(buffer.room(text.size())), end_(begin_) {}

    void add(char c) {
        traits_ |= traits_of(c);
        add_unseen(c);
    }

    // Adds a character that does not count for the string type.
    void add_unseen(char c) { *end_++ = c; }

    value_t finish() const {
        return {string_type(traits_), std::string_view(begin_, static_cast<std::size_t>(end_ - begin_))};
    }

  private:
    char* const begin_;
    char* end_;
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
bool decode_quoted(std::string_view inner, value_buffer_t& buffer, value_t& out) {
    const unsigned int traits = traits_of_all(inner);
    if ((traits & BACKSLASH) == 0) {
        out = {string_type(traits), inner};
        return true;
    }
    string_builder_t string(buffer, inner);
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
bool decode_hex(std::string_view digits, value_buffer_t& buffer, value_t& out) {
    if (digits.size() % 2 != 0 || digits.size() < 4) {
        return false;
    }
    const std::size_t size = digits.size() / 2;
    char* const octets = buffer.room(size);
    for (std::size_t i = 0; i < size; ++i) {
        if (!read_hex_pair(digits.substr(2 * i), octets[i])) {
            return false;
        }
    }
    out.tag = static_cast<asn_tag_t::Type>(octets[0]);
    asn_cursor_t der(octets, static_cast<unsigned int>(std::min<std::size_t>(size, 0xFFFFFFFF)));
    const blob_t content = der.read(out.tag);
    out.content = std::string_view(reinterpret_cast<const char*>(content.data), content.size);
    return der.ok();
}

// Reads what a backslash escapes at the front of `text`: a special character or two hexadecimal digits.
bool read_escaped(std::string_view& text, char& out) {
    if (read_hex_pair(text, out)) {
        text.remove_prefix(2);
        return true;
    }
    if (text.empty() || !is_special(text.front())) {
        return false;
    }
    out = text.front();
    text.remove_prefix(1);
    return true;
}

bool decode_plain(std::string_view text, unsigned int traits, value_buffer_t& buffer, value_t& out) {
    if ((traits & SPECIAL) == 0) {
        out = {string_type(traits), text};
        return true;
    }
    string_builder_t string(buffer, text);
    while (!text.empty()) {
        char c = text.front();
        text.remove_prefix(1);
        if (is_special(c) && (c != '\\' || !read_escaped(text, c))) {
            return false;
        }
        string.add(c);
    }
    out = string.finish();
    return true;
}

bool decode_value(std::string_view text, unsigned int traits, value_buffer_t& buffer, value_t& out) {
    // A quote at the start alone fails as a plain value.
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        return decode_quoted(text.substr(1, text.size() - 2), buffer, out);
    }
    if (text.size() >= 2 && text.front() == '#') {
        return decode_hex(text.substr(1), buffer, out);
    }
    return decode_plain(text, traits, buffer, out);
}

// Finds the OID of a short name in the map, or else encodes a dotted OID. False when the type is neither.
bool find_type(std::string_view type, oid_map_handle_t map, unsigned char (&encoded)[512], blob_t& out) {
    const bool can_be_short_name = type.size() <= 0xFFFFFFFF;
    if (map.map != nullptr && can_be_short_name) {
        const OIDdescr_t* const entry = oid_map_find_sn(map, type.data(), static_cast<unsigned int>(type.size()));
        if (entry != nullptr) {
            out = {entry->oid_asn_size, entry->oid_asn};
            return true;
        }
    }
    out = {oid_str_to_asn_(type.data(), type.data() + type.size(), encoded), encoded};
    return out.size != 0;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }      RFC 5280 4.1.2.4
[[gnu::always_inline]] inline auto encoded(const blob_t& type, const value_t& value) {
    return asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, type),
                       asn_element(value.tag, value.content));
}

} // namespace

// Name ::= SEQUENCE OF RelativeDistinguishedName
// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
// Members of a SET keep the order of the text; X.690 11.6 would sort them.
bool printable_to_asn_dn(const char* dn, std::string& der, oid_map_handle_t map) {
    asn_tag_t_<1024> name(asn_tag_t::SEQUENCE);
    value_buffer_t buffer; // for values with escapes
    unsigned char encoded_type[512];
    blob_t type;
    value_t value;
    dn_reader_t reader(dn);
    RDNdescr_t attribute;
    asn_tag_t_<512> joined(asn_tag_t::SET); // the attributes of an RDN but for the last one
    for (bool more = reader.next(attribute); more;) {
        if (!find_type(attribute.type(), map, encoded_type, type) ||
            !decode_value(attribute.value(), reader.value_traits(), buffer, value)) {
            return false;
        }
        more = reader.next(attribute);
        // Each growth step doubles the room, so that long names take linear time.
        if (more && attribute.plus_joined) {
            joined.add_before(joined.content_size, encoded(type, value));
        } else {
            name.add_before(name.content_size, asn_element(asn_tag_t::SET, joined.content(), encoded(type, value)));
            joined.clear();
        }
    }
    if (reader.failed()) {
        return false;
    }
    name.assign_to(der);
    return true;
}
