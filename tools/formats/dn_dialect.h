// The texts of distinguished names that other programs write and read.
#ifndef DERKIT_TOOLS_FORMATS_DN_DIALECT_H
#define DERKIT_TOOLS_FORMATS_DN_DIALECT_H

#include <string>
#include <string_view>

#include "formats/name_parts.h"

struct dn_dialect_t;

// openssl, rfc4514, rfc2253, java or cryptopro; null for any other name.
const dn_dialect_t* find_dn_dialect(std::string_view name);

// The text of a name. Types that the dialect has no name for are dotted.
std::string write_dn(const dn_dialect_t& dialect, const std::vector<rdn_t>& rdns);

// The library's text, in the order of the DER, of a text in the dialect: types are dotted and values escaped. The
// dialect's names of types come first, then the dictionary's. Throws failure_t.
std::string read_dn(const dn_dialect_t& dialect, std::string_view text);

#endif
