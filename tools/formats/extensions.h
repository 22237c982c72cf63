// Extensions of certificates, requests and CRLs.
#ifndef DERKIT_TOOLS_FORMATS_EXTENSIONS_H
#define DERKIT_TOOLS_FORMATS_EXTENSIONS_H

#include <string>
#include <vector>

#include "asn/asn_cursor.h"
#include "formats/name.h"
#include "formats/named_oid.h"
#include "io/record.h"

// A view into the bytes that were read.
struct extension_t {
    blob_t oid;
    bool is_critical = false;
    blob_t value; // content of the OCTET STRING
};

// From the content of Extensions. Returns false if one is malformed; those before it are there.
bool read_extensions(asn_cursor_t in, std::vector<extension_t>& out);

// The name, or else the OID.
std::string title_of(const extension_t& extension);

// Name, OID, criticality and what the value says: names, usages, purposes, constraints and key identifiers; of any other
// extension the size of the value in octets, and the value if it is short. `problem` receives what is wrong with it.
record_t describe_extension(const extension_t& extension, const name_style_t& style, std::string& problem);

#endif
