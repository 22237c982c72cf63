// UTF-8 and the big-endian UTF-16 of PKCS#12.
#ifndef DERKIT_TOOLS_IO_UTF16_H
#define DERKIT_TOOLS_IO_UTF16_H

#include <optional>
#include <string>
#include <string_view>

// Big-endian UTF-16 without a byte order mark; nothing when the text is not UTF-8.
std::optional<std::string> utf16_from_utf8(std::string_view text);

// UTF-8; nothing when the bytes are not big-endian UTF-16.
std::optional<std::string> utf8_from_utf16(std::string_view bytes);

#endif
