// Distinguished names as text.
#ifndef DERKIT_TOOLS_FORMATS_NAME_H
#define DERKIT_TOOLS_FORMATS_NAME_H

#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_oidmap.h"
#include "derkit/asn_printable.h"
#include "derkit/asn_types.h"
#include "io/record.h"

struct name_style_t {
    PrintableDnOrder order = PDN_ORDER_AS_ENCODED;
    oid_map_handle_t map;       // of short names
    bool latin1_in_t61 = false; // T61Strings hold Latin-1, as some issuers have it
};

struct shown_name_t {
    shown_text_t text;
    std::string remark; // what is shown in hexadecimal, and why; empty if nothing is
};

// The text of a DER Name (X.501 9.2). It is the library's, except for what has no text that leads back to the same DER:
// a type is shown as oid_text() does, and a value, RDN or rest of the name that the library refuses as "#" and its DER
// in hexadecimal.
shown_name_t show_name(const blob_t& name, const name_style_t& style);

// The values of all attributes of a type, given by its content octets, as show_name() writes them. Those after a malformed
// part of the name are left out.
std::vector<std::string> values_of_type(const blob_t& name, std::string_view type);

#endif
