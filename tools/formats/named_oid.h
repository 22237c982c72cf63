// Object identifiers as dotted text, and the dictionary of their names: those of the OID map, of the library's
// algorithms, and of a table of standards' and other programs' names.
#ifndef DERKIT_TOOLS_FORMATS_NAMED_OID_H
#define DERKIT_TOOLS_FORMATS_NAMED_OID_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_helper.h"
#include "derkit/asn_oidmap.h"
#include "derkit/asn_types.h"

struct asn_cursor_t;

// DER content octets of dotted text, or nothing.
std::optional<std::string> oid_from_text(std::string_view dotted);

// The arcs that the library encodes for dotted text that is no OID, such as 1.40 or one with an arc above 32 bits; nothing
// if it encodes what the text says.
std::optional<std::string> find_other_arcs(std::string_view dotted);

// The content of a whole OBJECT IDENTIFIER element; any other octets are returned as they are.
std::string oid_content(const std::string& der);

// The arcs of DER content octets, whatever their size, or nothing if the last one is cut short or there is none.
std::optional<std::string> oid_arcs(std::string_view content);

// Dotted text that leads back to these content octets; "#" and their hexadecimal digits if no text does: the arcs are
// padded, cut short or above 32 bits. So different octets have different texts.
std::string oid_text(std::string_view content);

// Whether names are the same but for the case of ASCII letters.
bool is_same_name(std::string_view a, std::string_view b);

// The dictionary has the names of this map, for the whole run: there is one map in a run. Names beside it win.
void use_oid_map(oid_map_handle_t map);

// Makes the long names of a map's text known; the library has them by OID only.
void note_oids_of_map(std::string_view text);

// Of a hash, a key or a signature; size 0 if it has none.
oid_ref_t oid_of_algorithm(pki_alg_t alg);

// The content of the OID with any name of the dictionary, in either case.
std::optional<std::string> oid_from_name(const std::string& name);

// What the dictionary has for an OID; empty where it has nothing.
struct oid_names_t {
    std::string short_name; // of the map
    std::string long_name;  // of the map
    std::string algorithm;  // the library's name
    std::string name;       // of its standard
    std::string kind;       // "curve"
    std::vector<std::string> others;
};

oid_names_t names_of_oid(std::string_view content);

struct named_oid_t {
    std::string oid;  // as oid_text() has it; empty if there is none
    std::string name; // empty if it has none here

    bool is_hexadecimal() const { return oid.starts_with('#'); }
    bool operator==(const named_oid_t&) const = default;
};

// From DER content octets; for no octets, both are empty.
named_oid_t name_oid(const blob_t& content);

// As above. A digest whose own OID takes the place of a parameter set has the name that RFC 9215 gives to the set.
named_oid_t name_gost_param_set(const blob_t& content);

// GostR3410-PublicKeyParameters ::= SEQUENCE {                             RFC 4491 2.3.2, RFC 9215 4.2
//   publicKeyParamSet OBJECT IDENTIFIER, digestParamSet OBJECT IDENTIFIER OPTIONAL,
//   encryptionParamSet OBJECT IDENTIFIER OPTIONAL }
// Reads the OIDs at the start of its content, at most three.
std::vector<named_oid_t> read_gost_param_sets(asn_cursor_t& params);

// "PBES2 (1.2.840.113549.1.5.13)", or the OID alone, or "(no OID)".
std::string describe(const named_oid_t& oid);

#endif
