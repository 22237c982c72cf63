// Object identifiers with the names that algorithms and content types go by.
#ifndef DERKIT_TOOLS_FORMATS_NAMED_OID_H
#define DERKIT_TOOLS_FORMATS_NAMED_OID_H

#include <string>

#include "derkit/asn_types.h"

struct named_oid_t {
    std::string oid;  // dotted; hexadecimal when the octets are no OID
    std::string name; // empty when it has none here

    bool operator==(const named_oid_t&) const = default;
};

// From DER content octets.
named_oid_t name_oid(const blob_t& content);

// "PBES2 (1.2.840.113549.1.5.13)", or the OID alone.
std::string describe(const named_oid_t& oid);

#endif
