// Bytes as the library takes them, and conversions between bytes and text.
#ifndef DERKIT_TOOLS_IO_BYTES_H
#define DERKIT_TOOLS_IO_BYTES_H

#include <optional>
#include <string>
#include <string_view>

#include "derkit/asn_types.h"

inline const unsigned char* octets(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

// Everything that the tool handles is far below 2^32 bytes: see MAX_INPUT_SIZE.
inline unsigned int size_of(std::string_view bytes) {
    return static_cast<unsigned int>(bytes.size());
}

inline std::string_view chars(const unsigned char* data, unsigned int size) {
    return std::string_view(reinterpret_cast<const char*>(data), size);
}

inline std::string_view chars(const blob_t& bytes) {
    return chars(bytes.data, bytes.size);
}

inline blob_t make_blob(const void* data, unsigned int size) {
    blob_t blob;
    blob.data = static_cast<const unsigned char*>(data);
    blob.size = size;
    return blob;
}

inline blob_t make_blob(std::string_view bytes) {
    return make_blob(bytes.data(), size_of(bytes));
}

// Upper-case digits without separators.
std::string to_hex(std::string_view bytes);

// Accepts digits of either case, with blanks and colons anywhere. Nothing if any other character occurs or the number
// of digits is odd.
std::optional<std::string> from_hex(std::string_view text);

bool is_utf8(std::string_view text);

std::string utf8_from_latin1(std::string_view text);

// Nothing if the bytes are not big-endian UTF-16.
std::optional<std::string> utf8_from_utf16(std::string_view bytes);

#endif
