// Names of certificates as text.
#ifndef DERKIT_TOOLS_COMMANDS_PRINTABLE_NAME_H
#define DERKIT_TOOLS_COMMANDS_PRINTABLE_NAME_H

#include <optional>

#include "derkit/asn_oidmap.h"
#include "derkit/asn_printable.h"
#include "derkit/asn_types.h"
#include "io/shown_text.h"

// The text of a DER Name, or nothing when it has none.
std::optional<shown_text_t> show_name(const blob_t& name, PrintableDnOrder order, oid_map_handle_t map);

// Tells whether the name, in either order, goes from its shown text back to DER and from there to the same text and
// the same types. Types are compared as OIDs too: a map can give two of them one short name.
bool comes_back_from_text(const blob_t& name, oid_map_handle_t map);

#endif
