// Object identifiers as dotted text, and the names of algorithms, content types and parameter sets.
#ifndef DERKIT_TOOLS_FORMATS_NAMED_OID_H
#define DERKIT_TOOLS_FORMATS_NAMED_OID_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_types.h"

struct asn_cursor_t;

// DER content octets of dotted text, or nothing.
std::optional<std::string> oid_from_text(std::string_view dotted);

// Dotted text of DER content octets, or nothing.
std::optional<std::string> oid_to_text(std::string_view content);

struct named_oid_t {
    std::string oid;  // dotted; hexadecimal if the octets are no OID
    std::string name; // empty if it has none here

    bool operator==(const named_oid_t&) const = default;
};

// From DER content octets.
named_oid_t name_oid(const blob_t& content);

// As above, with the name that RFC 4357 or RFC 9215 gives to a parameter set of keys, digests or GOST 28147-89, or to a
// digest whose own OID takes the place of a set.
named_oid_t name_gost_param_set(const blob_t& content);

// GostR3410-PublicKeyParameters ::= SEQUENCE {                             RFC 4491 2.3.2, RFC 9215 4.2
//   publicKeyParamSet OBJECT IDENTIFIER, digestParamSet OBJECT IDENTIFIER OPTIONAL,
//   encryptionParamSet OBJECT IDENTIFIER OPTIONAL }
// Reads the OIDs at the start of its content, at most three.
std::vector<named_oid_t> read_gost_param_sets(asn_cursor_t& params);

// "PBES2 (1.2.840.113549.1.5.13)", or the OID alone.
std::string describe(const named_oid_t& oid);

#endif
