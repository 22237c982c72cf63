// Text of PKCS#12: UTF-16, big-endian (RFC 7292 B.1, RFC 2781), and UTF-8 (RFC 3629).
#include "gost/crypto.h"

namespace derkit::gost {

namespace {

constexpr char32_t INVALID = 0xFFFFFFFF;
constexpr char32_t FIRST_SURROGATE = 0xD800;
constexpr char32_t FIRST_LOW_SURROGATE = 0xDC00;
constexpr char32_t AFTER_SURROGATES = 0xE000;
constexpr char32_t FIRST_SUPPLEMENTARY = 0x10000;
constexpr char32_t AFTER_LAST = 0x110000;

bool is_surrogate(char32_t unit) {
    return unit >= FIRST_SURROGATE && unit < AFTER_SURROGATES;
}

// Takes the first character of `utf8`, which is not empty; INVALID when it is none.
char32_t take_utf8(std::string_view& utf8) {
    const unsigned int first = static_cast<unsigned char>(utf8[0]);
    const std::size_t size = first < 0x80 ? 1 : first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (size == 0 || first >= 0xF8 || size > utf8.size()) {
        return INVALID;
    }
    char32_t character = size == 1 ? first : first & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const unsigned int octet = static_cast<unsigned char>(utf8[i]);
        if ((octet & 0xC0) != 0x80) {
            return INVALID;
        }
        character = character << 6 | (octet & 0x3F);
    }
    constexpr char32_t SMALLEST[] = {0, 0, 0x80, 0x800, FIRST_SUPPLEMENTARY};
    if (character < SMALLEST[size] || character >= AFTER_LAST || is_surrogate(character)) {
        return INVALID;
    }
    utf8.remove_prefix(size);
    return character;
}

void append_unit(secret& utf16, char32_t unit) {
    const char octets[] = {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
    utf16.append({octets, sizeof octets});
}

char32_t take_unit(std::string_view& utf16) {
    const char32_t unit =
        static_cast<char32_t>(static_cast<unsigned char>(utf16[0]) << 8 | static_cast<unsigned char>(utf16[1]));
    utf16.remove_prefix(2);
    return unit;
}

void append_utf8(std::string& utf8, char32_t character) {
    const unsigned int size = character < 0x80 ? 1 : character < 0x800 ? 2 : character < FIRST_SUPPLEMENTARY ? 3 : 4;
    if (size == 1) {
        utf8.push_back(static_cast<char>(character));
        return;
    }
    constexpr unsigned int MARKS[] = {0, 0, 0xC0, 0xE0, 0xF0};
    utf8.push_back(static_cast<char>(MARKS[size] | character >> (6 * (size - 1))));
    for (unsigned int left = size - 1; left-- != 0;) {
        utf8.push_back(static_cast<char>(0x80 | (character >> (6 * left) & 0x3F)));
    }
}

} // namespace

std::optional<secret> utf16_from_utf8(std::string_view utf8) {
    secret utf16;
    utf16.reserve(2 * utf8.size());
    while (!utf8.empty()) {
        const char32_t character = take_utf8(utf8);
        if (character == INVALID) {
            return std::nullopt;
        }
        if (character < FIRST_SUPPLEMENTARY) {
            append_unit(utf16, character);
        } else {
            append_unit(utf16, FIRST_SURROGATE + ((character - FIRST_SUPPLEMENTARY) >> 10));
            append_unit(utf16, FIRST_LOW_SURROGATE + ((character - FIRST_SUPPLEMENTARY) & 0x3FF));
        }
    }
    return utf16;
}

std::optional<std::string> utf8_from_utf16(std::string_view utf16) {
    std::string utf8;
    if (utf16.size() % 2 != 0) {
        return std::nullopt;
    }
    while (!utf16.empty()) {
        char32_t character = take_unit(utf16);
        if (is_surrogate(character)) {
            const char32_t low = character < FIRST_LOW_SURROGATE && !utf16.empty() ? take_unit(utf16) : 0;
            if (low < FIRST_LOW_SURROGATE || low >= AFTER_SURROGATES) {
                return std::nullopt;
            }
            character = FIRST_SUPPLEMENTARY + ((character - FIRST_SURROGATE) << 10) + (low - FIRST_LOW_SURROGATE);
        }
        append_utf8(utf8, character);
    }
    return utf8;
}

secret bmp_password(std::string_view utf8) {
    constexpr std::string_view TERMINATOR("\0\0", 2);
    std::optional<secret> wide = utf16_from_utf8(utf8);
    if (!wide.has_value()) {
        wide.emplace();
        for (const char octet : utf8) {
            append_unit(*wide, static_cast<unsigned char>(octet));
        }
    }
    wide->append(TERMINATOR);
    return std::move(*wide);
}

} // namespace derkit::gost
