// Bytes of the tool's strings as the library takes and gives them.
#ifndef DERKIT_TOOLS_IO_BYTES_H
#define DERKIT_TOOLS_IO_BYTES_H

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

#endif
