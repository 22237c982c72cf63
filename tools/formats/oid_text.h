// OIDs as dotted text.
#ifndef DERKIT_TOOLS_FORMATS_OID_TEXT_H
#define DERKIT_TOOLS_FORMATS_OID_TEXT_H

#include <optional>
#include <string>
#include <string_view>

// DER content octets of dotted text, or nothing.
std::optional<std::string> oid_from_text(std::string_view dotted);

// Dotted text of DER content octets, or nothing.
std::optional<std::string> oid_to_text(std::string_view content);

#endif
