// Bytes as hexadecimal text and back.
#ifndef DERKIT_TOOLS_IO_HEX_H
#define DERKIT_TOOLS_IO_HEX_H

#include <optional>
#include <string>
#include <string_view>

// Upper-case digits, nothing between the bytes.
std::string to_hex(std::string_view bytes);

// Digits of either case; blanks and colons may stand anywhere. Nothing when another character or an odd digit is left.
std::optional<std::string> from_hex(std::string_view text);

#endif
