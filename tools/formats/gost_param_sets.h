// The GOST parameter sets by name.
#ifndef DERKIT_TOOLS_FORMATS_GOST_PARAM_SETS_H
#define DERKIT_TOOLS_FORMATS_GOST_PARAM_SETS_H

#include <string_view>

#include "derkit/asn_types.h"

// The name that RFC 4357 or RFC 9215 gives to a parameter set of keys, digests or GOST 28147-89, and to a digest that
// stands for its own set; empty when there is none. Takes OID content octets.
std::string_view gost_param_set_name(const blob_t& oid);

#endif
