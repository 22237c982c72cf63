// The text of a distinguished name before it is parsed: its attributes, and what is wrong with one.
#ifndef DERKIT_TOOLS_FORMATS_DN_TEXT_H
#define DERKIT_TOOLS_FORMATS_DN_TEXT_H

#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_oidmap.h"

// The parts between commas and plus signs that are neither escaped nor quoted.
std::vector<std::string_view> split_dn(std::string_view text);

// The first attribute that the library refuses, and why: "attribute 3: type emailAddress is not in the map; E is". Empty
// if each would be taken alone.
std::string explain_refusal(std::string_view text, oid_map_handle_t map);

// The attributes, counted from 1, whose values begin with a blank, as in "C = RU".
std::vector<unsigned int> find_leading_blanks(std::string_view text);

// The text without the blanks at the beginning of values.
std::string without_leading_blanks(std::string_view text);

// A value without the escapes of the text: "a\,b\00" is the octets "a,b" and zero. What begins with "#" stays as it is.
std::string unescape(std::string_view value);

#endif
