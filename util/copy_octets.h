// Copying short runs of octets.
#ifndef DERKIT_COPY_OCTETS_H
#define DERKIT_COPY_OCTETS_H

#include <cstddef>
#include <cstring>

// Copies without a call what most runs are: short names, OIDs, integers, small parameters and keys. Returns the end of
// the copy.
template <typename OCTET>
[[gnu::always_inline]] inline OCTET* copy_octets(OCTET* to, const OCTET* from, std::size_t n) {
    static_assert(sizeof(OCTET) == 1);
    if (n > 32) {
        std::memcpy(to, from, n);
    } else if (n >= 16) {
        std::memcpy(to, from, 16);
        std::memcpy(to + n - 16, from + n - 16, 16);
    } else if (n >= 8) {
        std::memcpy(to, from, 8);
        std::memcpy(to + n - 8, from + n - 8, 8);
    } else if (n >= 4) {
        std::memcpy(to, from, 4);
        std::memcpy(to + n - 4, from + n - 4, 4);
    } else if (n != 0) {
        to[0] = from[0];
        to[n / 2] = from[n / 2];
        to[n - 1] = from[n - 1];
    }
    return to + n;
}

#endif
