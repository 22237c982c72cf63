// ASCII case, whatever the process's locale is.
#ifndef DERKIT_ASCII_H
#define DERKIT_ASCII_H

#include <cstdint>

inline char ascii_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

inline char ascii_upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

inline constexpr std::uint64_t EACH_OCTET = 0x0101010101010101;

inline bool holds_zero_octet(std::uint64_t word) {
    return ((word - EACH_OCTET) & ~word & EACH_OCTET * 0x80) != 0;
}

// ascii_lower() of the eight characters of a word.
inline std::uint64_t ascii_lower_each(std::uint64_t word) {
    constexpr std::uint64_t TOP_BITS = EACH_OCTET * 0x80;
    const std::uint64_t low_bits = word & ~TOP_BITS;
    const std::uint64_t from_A = low_bits + EACH_OCTET * (0x80 - 'A');
    const std::uint64_t past_Z = low_bits + EACH_OCTET * (0x7F - 'Z');
    const std::uint64_t capitals = from_A & ~past_Z & ~word & TOP_BITS;
    return word | capitals >> 2; // 0x80 >> 2 is the distance of the cases
}

#endif
