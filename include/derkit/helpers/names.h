/// @file
/// Names and object identifiers as functions that return a value, and an OID map that releases itself.
#ifndef DERKIT_HELPERS_NAMES_H
#define DERKIT_HELPERS_NAMES_H

#include <string>

#include "derkit/asn_oidmap.h"
#include "derkit/asn_printable.h"
#include "derkit/helpers/bytes.h"

namespace derkit {

/// @addtogroup helpers
/// @{

/// An OID map of your own, released with the object. It moves but does not copy. Pass it wherever a handle is wanted.
///
/// It has only the lines that it was given, not the built-in names; oid_map_parse() says how a line looks. Any number of
/// threads may search it while none adds to it.
class oid_map {
  public:
    /// Creates a map.
    /// @param lines  the map's text, which is not kept
    explicit oid_map(const std::string& lines = std::string()) : handle_(parse(lines)) {}

    /// Takes over the map.
    /// @param other  keeps an empty handle
    oid_map(oid_map&& other) noexcept : handle_(other.handle_) { other.handle_ = oid_map_handle_t(); }
    /// Exchanges the maps.
    /// @param other  receives the map that this object had
    /// @return the object itself
    oid_map& operator=(oid_map&& other) noexcept {
        const oid_map_handle_t mine = handle_;
        handle_ = other.handle_;
        other.handle_ = mine;
        return *this;
    }
    oid_map(const oid_map&) = delete;
    oid_map& operator=(const oid_map&) = delete;
    ~oid_map() { oid_map_release(handle_); }

    /// Adds lines; on duplicates the entries already in the map win. No other thread may use the map during the call.
    /// @param lines  as for the constructor; nothing happens in a map that was moved from
    void add(const std::string& lines) {
        if (handle_.map != nullptr) {
            const blob_t text = to_blob(lines);
            oid_map_parse_(*handle_.map, reinterpret_cast<const char*>(text.data), text.size);
        }
    }

    /// Finds an entry.
    /// @param text  a dotted OID, as written in the map's text, or a short name in either case
    /// @return the entry, valid as long as the map, or a null pointer when there is none
    const OIDdescr_t* find(const std::string& text) const {
        if (handle_.map == nullptr) {
            return nullptr;
        }
        const blob_t wanted = to_blob(text);
        const char* const first = reinterpret_cast<const char*>(wanted.data);
        const OIDdescr_t* const found = oid_map_find_sn(handle_, first, wanted.size);
        return found != nullptr ? found : oid_map_find_str(handle_, first, wanted.size);
    }

    /// Finds an entry.
    /// @param oid  content octets of an OBJECT IDENTIFIER
    /// @return the entry, valid as long as the map, or a null pointer when there is none
    const OIDdescr_t* find(const blob_t& oid) const {
        return handle_.map != nullptr ? oid_map_find_asn(handle_, oid.data, oid.size) : nullptr;
    }

    /// @return the handle for functions that take one; it stays the object's
    oid_map_handle_t handle() const noexcept { return handle_; }
    /// @return the same: a map is used as its handle
    operator oid_map_handle_t() const noexcept { return handle_; }

  private:
    oid_map_handle_t handle_;

    static oid_map_handle_t parse(const std::string& lines) {
        const blob_t text = to_blob(lines);
        return oid_map_parse(reinterpret_cast<const char*>(text.data), text.size);
    }
};

/// Converts a DER Name to text; see asn_dn_to_printable().
/// @param der    the Name, a SEQUENCE; bytes after it are ignored
/// @param order  order of the RDNs
/// @param map    names the attribute types; an empty handle for dotted OIDs
/// @return the text, or nothing if the Name is malformed
inline maybe_string name_to_text(const blob_t& der, PrintableDnOrder order = PDN_ORDER_AS_ENCODED,
                                 oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT) {
    std::string text;
    return asn_dn_to_printable(der.data, der.size, text, order, map) ? maybe_string(std::move(text)) : maybe_string();
}

/// Encodes text as a DER Name; see printable_to_asn_dn().
/// @param text  the RDNs in the order of the encoding, such as `CN=user1,O=Example,C=RU`
/// @param map   short names of attribute types; an empty handle to accept dotted OIDs only
/// @return the whole element, or nothing if the text does not parse, a type is unknown or a value is malformed. Text
///         with a zero character is refused; the exported function would end there.
inline maybe_string text_to_name(const std::string& text, oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT) {
    std::string der;
    const bool done = text.find('\0') == std::string::npos && printable_to_asn_dn(text.c_str(), der, map);
    return done ? maybe_string(std::move(der)) : maybe_string();
}

/// Converts text to the one text that its encoding prints as, for comparisons; see printable_dn_normalize(). Texts of
/// the same name in another case or order differ; the string type does not show, so names of different encodings may have
/// the same text.
/// @param text  as for text_to_name()
/// @param map   used in both directions
/// @return the canonical text, or nothing if the text does not encode or its encoding does not print
inline maybe_string canonical_name(const std::string& text, oid_map_handle_t map = OID_MAP_HANDLE_DEFAULT) {
    std::string canonical;
    const bool done = text.find('\0') == std::string::npos && printable_dn_normalize(text, canonical, nullptr, map);
    return done ? maybe_string(std::move(canonical)) : maybe_string();
}

/// Finds the value of the first attribute of a type; see printable_dn_get_attr().
/// @param text  a name, best a canonical one
/// @param type  compared byte by byte, so in upper case for canonical text
/// @return the value as written, with its backslashes, or nothing if there is no such attribute
inline maybe_string attribute_of(const std::string& text, const std::string& type) {
    std::string value;
    const bool found = printable_dn_get_attr(text.c_str(), type.c_str(), value, PDN_GET_ATTR_VALUE);
    return found ? maybe_string(std::move(value)) : maybe_string();
}

/// Reverses the order of the RDNs; see printable_dn_reverse().
/// @param text  a name
/// @return the name in the other order, or nothing if the text does not parse
inline maybe_string reversed_name(std::string text) {
    const bool done = text.find('\0') == std::string::npos && printable_dn_reverse(&text[0]) != nullptr;
    return done ? maybe_string(std::move(text)) : maybe_string();
}

/// Converts the content octets of an OBJECT IDENTIFIER to dotted text; see oid_asn_to_str_().
/// @param oid  content octets, without identifier and length
/// @return the text, or nothing if the octets are no OID
inline maybe_string oid_to_text(const blob_t& oid) {
    std::string text;
    const bool done = oid_asn_to_str_(oid.data, oid.data + oid.size, text) != 0;
    return done ? maybe_string(std::move(text)) : maybe_string();
}

/// Encodes dotted text as the content octets of an OBJECT IDENTIFIER; see oid_str_to_asn_().
/// @param text  such as `2.5.4.3`
/// @return content octets, without identifier and length, or nothing if the text is no OID
inline maybe_string text_to_oid(const std::string& text) {
    unsigned char octets[512];
    const unsigned int size = oid_str_to_asn_(text.data(), text.data() + text.size(), octets);
    return size != 0 ? maybe_string(to_string(to_blob(octets, size))) : maybe_string();
}

/// @}

} // namespace derkit

#endif
