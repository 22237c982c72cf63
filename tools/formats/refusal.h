// Why the GOST library refused something, in words of the tool.
#ifndef DERKIT_TOOLS_FORMATS_REFUSAL_H
#define DERKIT_TOOLS_FORMATS_REFUSAL_H

#include <string>

#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "formats/named_oid.h"

namespace gost = derkit::gost;

// The OID with the library's name, or with the tool's own if the library has none.
named_oid_t name_of(const gost::named_oid& oid);

// The library's sentence, with OIDs by name and the option that would change the matter.
std::string text_of(const gost::failure& failure);

#endif
