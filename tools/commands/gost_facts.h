// What commands show of keys and containers.
#ifndef DERKIT_TOOLS_COMMANDS_GOST_FACTS_H
#define DERKIT_TOOLS_COMMANDS_GOST_FACTS_H

#include "derkit/gost/scheme.h"
#include "formats/refusal.h"
#include "io/record.h"

// Algorithms by name and OID, iterations and the size of the salt.
void add_encryption(const gost::encryption_scheme& scheme, record_t& record);
void add_mac(const gost::mac_scheme& scheme, record_t& record);

#endif
