// OBJECT IDENTIFIERs, written dotted and encoded by the compiler (X.690 8.19).
//
//     inline constexpr const auto& g_oid_name = oid<"1.2.3.4">; // const unsigned char[3] with static storage
//
// Text that is not an OID does not compile.
#ifndef DERKIT_ASN_OID_LITERAL_H
#define DERKIT_ASN_OID_LITERAL_H

#include <algorithm>
#include <cstddef>
#include <string_view>

// A string literal as a template argument. An OID with several users is a named constant of this type.
template <std::size_t SIZE> struct oid_text_t {
    char text[SIZE] = {};

    // cppcheck-suppress noExplicitConstructor ; template arguments are string literals
    consteval oid_text_t(const char (&literal)[SIZE]) { std::copy_n(literal, SIZE, text); }
    constexpr std::string_view view() const { return {text, SIZE - 1}; }
};

template <unsigned int N> struct octets_t { unsigned char octets[N]; };

inline constexpr unsigned long long MAX_ARC = 0xFFFFFFFF;
inline constexpr unsigned long long NO_ARC = ~0ULL;

// Removes the first arc and its dot from `dotted` and returns it; NO_ARC when it is not a decimal number of 32 bits
// without leading zeros, or when `dotted` ends with a dot.
constexpr unsigned long long take_arc(std::string_view& dotted) {
    const std::string_view digits = dotted.substr(0, dotted.find('.'));
    const bool padded = digits.size() > 1 && digits[0] == '0';
    if (digits.empty() || padded || dotted.ends_with('.')) {
        return NO_ARC;
    }
    unsigned long long arc = 0;
    for (const char c : digits) {
        arc = arc * 10 + static_cast<unsigned int>(c - '0');
        if (c < '0' || c > '9' || arc > MAX_ARC) {
            return NO_ARC;
        }
    }
    dotted.remove_prefix(std::min(digits.size() + 1, dotted.size()));
    return arc;
}

// Content octets while they are encoded: no arc has more octets than digits.
template <std::size_t CAPACITY> struct oid_encoding_t {
    unsigned char octets[CAPACITY] = {};
    unsigned int size = 0;

    constexpr void add_subidentifier(unsigned long long value) {
        unsigned int shift = 0;
        while (value >> shift >= 0x80) {
            shift += 7;
        }
        for (; shift != 0; shift -= 7) {
            octets[size++] = static_cast<unsigned char>(0x80 | (value >> shift & 0x7F));
        }
        octets[size++] = static_cast<unsigned char>(value & 0x7F);
    }
};

// No octets when the text is not an OID. By value: under -fsanitize=undefined, g++ does not take the address of a
// template argument for a constant.
template <std::size_t SIZE> consteval oid_encoding_t<SIZE> encode_oid(oid_text_t<SIZE> text) {
    std::string_view dotted = text.view();
    const unsigned long long first = take_arc(dotted);
    const unsigned long long second = take_arc(dotted);
    // The first two arcs share a subidentifier, which also fits 32 bits (X.690 8.19.4).
    const unsigned long long max_second = first == 2 ? MAX_ARC - 80 : 39;
    if (first > 2 || second > max_second) {
        return {};
    }
    oid_encoding_t<SIZE> encoding;
    encoding.add_subidentifier(40 * first + second);
    while (!dotted.empty()) {
        const unsigned long long arc = take_arc(dotted);
        if (arc == NO_ARC) {
            return {};
        }
        encoding.add_subidentifier(arc);
    }
    return encoding;
}

template <oid_text_t TEXT> inline constexpr auto oid_encoding = encode_oid(TEXT);

template <oid_text_t TEXT>
concept is_oid = (oid_encoding<TEXT>.size != 0);

template <oid_text_t TEXT>
requires is_oid<TEXT>
consteval auto make_oid_content() {
    octets_t<oid_encoding<TEXT>.size> content = {};
    std::copy_n(oid_encoding<TEXT>.octets, oid_encoding<TEXT>.size, content.octets);
    return content;
}

template <oid_text_t TEXT> inline constexpr auto oid_content = make_oid_content<TEXT>();

// The content octets.
template <oid_text_t TEXT>
requires is_oid<TEXT>
inline constexpr const auto& oid = oid_content<TEXT>.octets;

#endif
