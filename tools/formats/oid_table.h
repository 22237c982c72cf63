// What object identifiers are called in standards and by other programs.
#ifndef DERKIT_TOOLS_FORMATS_OID_TABLE_H
#define DERKIT_TOOLS_FORMATS_OID_TABLE_H

#include <span>
#include <string_view>

enum class oid_kind_t {
    ATTRIBUTE,
    EXTENSION,
    PURPOSE,
    ACCESS_METHOD,
    POLICY,
    KEY,
    SIGNATURE,
    HASH,
    MAC,
    CIPHER,
    SCHEME,
    MASK,
    CURVE,
    PARAM_SET,
    CONTENT_TYPE,
    BAG
};

// "signature"; for JSON and messages.
const char* name_of(oid_kind_t kind);

bool is_algorithm(oid_kind_t kind);

struct oid_row_t {
    oid_kind_t kind;
    std::string_view oid;    // dotted text
    std::string_view name;   // of its standard; empty if derkit has none for it
    std::string_view others; // aliases, with "|" between them
};

// All rows. An OID that stands for two things has a row for each; the first one has the aliases.
std::span<const oid_row_t> oid_table();

// The first row of an OID, or null.
const oid_row_t* find_oid_row(std::string_view oid);

#endif
