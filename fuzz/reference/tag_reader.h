// A second reader of headers and INTEGERs: it counts in 64 bits, where no sum wraps.
#ifndef DERKIT_FUZZ_REFERENCE_TAG_READER_H
#define DERKIT_FUZZ_REFERENCE_TAG_READER_H

#include <algorithm>
#include <optional>
#include <string_view>

struct reference_header_t {
    unsigned long long size = 0;   // identifier and length octets
    unsigned long long length = 0; // of the content
    bool fits = false;             // the content lies in the input
};

// Empty without a complete header with this identifier (0: any).
inline std::optional<reference_header_t> reference_header(unsigned char tag, std::string_view input) {
    if (input.size() < 2 || (tag != 0 && input[0] != static_cast<char>(tag))) {
        return std::nullopt;
    }
    const unsigned char first = static_cast<unsigned char>(input[1]);
    const unsigned int num_octets = first < 0x80 ? 0 : first - 0x80U;
    if (first == 0x80 || num_octets > 4 || input.size() < 2U + num_octets) {
        return std::nullopt;
    }
    reference_header_t header;
    header.size = 2U + num_octets;
    header.length = num_octets == 0 ? first : 0;
    for (const char octet : input.substr(2, num_octets)) {
        header.length = header.length * 256 + static_cast<unsigned char>(octet);
    }
    header.fits = header.size + header.length <= input.size();
    return header;
}

// Empty when the content is refused. Not for empty content, which says nothing about the value.
inline std::optional<unsigned int> reference_integer(std::string_view content, unsigned int max) {
    const unsigned char last = static_cast<unsigned char>(content.back());
    if ((static_cast<unsigned char>(content.front()) & 0x80) != 0) {
        return std::nullopt;
    }
    std::string_view prefix = content.substr(0, content.size() - 1);
    prefix.remove_prefix(std::min(prefix.find_first_not_of('\0'), prefix.size()));
    if (prefix.size() > 4) {
        return std::nullopt; // past 32 bits
    }
    unsigned long long value = 0;
    for (const char octet : prefix) {
        value = value * 256 + static_cast<unsigned char>(octet);
    }
    if (value > max) {
        return std::nullopt;
    }
    return static_cast<unsigned int>(value * 256 + last);
}

#endif
