// Algorithms of keys and signatures by name.
#ifndef DERKIT_TOOLS_FORMATS_ALGORITHM_NAME_H
#define DERKIT_TOOLS_FORMATS_ALGORITHM_NAME_H

#include <optional>

#include "derkit/asn_oidmap.h"
#include "derkit/asn_types.h"
#include "formats/named_oid.h"
#include "io/record.h"

// From a complete AlgorithmIdentifier; nothing when no OID is in it. The library's names come first, then those of the
// map. A signature algorithm RSASSA-PSS
// is named with the hash that its parameters tell.
std::optional<named_oid_t> name_key_algorithm(const blob_t& algorithm, const oid_map_handle_t& map);
std::optional<named_oid_t> name_signature_algorithm(const blob_t& algorithm, const oid_map_handle_t& map);

// Adds the name, when there is one, and the OID.
void add_named(const char* name_key, const char* oid_key, const named_oid_t& named, record_t& record);

#endif
