#include "io/hex.h"

#include "derkit/int2str.h"
#include "io/bytes.h"

namespace {

int digit_value(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

} // namespace

std::string to_hex(std::string_view bytes) {
    std::string hex;
    return TO_HEX_STD_STRING(octets(bytes), size_of(bytes), hex, '\0');
}

std::optional<std::string> from_hex(std::string_view text) {
    std::string bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ' || c == '\t' || c == ':') {
            continue;
        }
        const int digit = digit_value(c);
        if (digit < 0) {
            return std::nullopt;
        }
        if (high < 0) {
            high = digit;
            continue;
        }
        bytes.push_back(static_cast<char>(high << 4 | digit));
        high = -1;
    }
    return high < 0 ? std::optional(bytes) : std::nullopt;
}
