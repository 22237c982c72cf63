// Classes of the characters in a printable DN.
#ifndef DERKIT_ASN_PRINTABLE_TRAITS_H
#define DERKIT_ASN_PRINTABLE_TRAITS_H

#include <array>
#include <string_view>

// Character classes, one bit each.
enum trait_t : unsigned char {
    SPECIAL = 0x01,              // needs one backslash before it outside quotes
    NOT_PRINTABLE_STRING = 0x02, // not one of the characters of PrintableString (X.680 41.4)
    NOT_IA5_STRING = 0x04,
    BACKSLASH = 0x08,
    VALUE_MARK = 0x10, // ends a value, or changes what does
    TYPE_END = 0x20
};

constexpr bool is_among(unsigned int c, std::string_view characters) {
    return c < 0x80 && characters.find(static_cast<char>(c)) != std::string_view::npos;
}

constexpr unsigned char make_traits(unsigned int c) {
    const bool letter_or_digit = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    unsigned int traits = 0;
    if (!letter_or_digit && !is_among(c, " '()+,-./:=?")) {
        traits |= NOT_PRINTABLE_STRING;
    }
    if (c >= 0x80) {
        traits |= NOT_IA5_STRING;
    }
    if (is_among(c, "\"#+,;<=>\\")) {
        traits |= SPECIAL;
    }
    if (c == '\\') {
        traits |= BACKSLASH;
    }
    if (c == '\0' || is_among(c, ",+\"\\")) {
        traits |= VALUE_MARK;
    }
    if (c == '\0' || is_among(c, "= \t")) {
        traits |= TYPE_END;
    }
    return static_cast<unsigned char>(traits);
}

constexpr std::array<unsigned char, 256> make_all_traits() {
    std::array<unsigned char, 256> traits = {};
    for (unsigned int c = 0; c < traits.size(); ++c) {
        traits[c] = make_traits(c);
    }
    return traits;
}

inline constexpr std::array<unsigned char, 256> TRAITS = make_all_traits();

constexpr unsigned int traits_of(char c) {
    return TRAITS[static_cast<unsigned char>(c)];
}

// The classes of N characters together.
template <std::size_t N> unsigned int traits_of_block(const char* p) {
    if constexpr (N == 1) {
        return traits_of(*p);
    } else {
        return traits_of_block<N / 2>(p) | traits_of_block<N - N / 2>(p + N / 2);
    }
}

inline unsigned int traits_of_all(std::string_view text) {
    unsigned int traits = 0;
    for (; text.size() >= 8; text.remove_prefix(8)) {
        traits |= traits_of_block<8>(text.data());
    }
    for (const char c : text) {
        traits |= traits_of(c);
    }
    return traits;
}

constexpr bool is_special(char c) {
    return (traits_of(c) & SPECIAL) != 0;
}

#endif
