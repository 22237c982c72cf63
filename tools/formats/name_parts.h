// The attributes of a distinguished name, with their octets and their text.
#ifndef DERKIT_TOOLS_FORMATS_NAME_PARTS_H
#define DERKIT_TOOLS_FORMATS_NAME_PARTS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct name_attribute_t {
    std::string type;                // content octets of its OID
    std::string value;               // a whole element
    unsigned int tag = 0;            // of the value: its first octet
    std::optional<std::string> text; // UTF-8 of a string that is what its type says
};

using rdn_t = std::vector<name_attribute_t>;

// The RDNs of a DER Name (X.501 9.2); nothing if it is malformed.
std::optional<std::vector<rdn_t>> read_name_parts(std::string_view der);

// The code points of UTF-8 without errors.
std::u32string code_points(std::string_view utf8);

#endif
