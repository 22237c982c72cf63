// T.61 bytes to the UTF-8 of one character after another.
#ifndef DERKIT_T61_DECODER_H
#define DERKIT_T61_DECODER_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "asn/t61_tables.h"
#include "util/text_writer.h"

// The UTF-8 of a character below U+10000; none if the size is 0.
struct utf8_t {
    char octets[3];
    unsigned char size;
};

constexpr utf8_t utf8_character(unsigned int code_point) {
    const auto octet = [](unsigned int mark, unsigned int bits) { return static_cast<char>(mark | bits); };
    const char last = octet(0x80, code_point & 0x3F);
    if (code_point < 0x80) {
        return {{octet(0, code_point)}, 1};
    }
    if (code_point < 0x800) {
        return {{octet(0xC0, code_point >> 6), last}, 2};
    }
    return {{octet(0xE0, code_point >> 12), octet(0x80, code_point >> 6 & 0x3F), last}, 3};
}

// Needs room for four octets; the one or two after the character are overwritten by what comes next.
inline char* write_utf8(const utf8_t& character, char* to) {
    std::memcpy(to, &character, sizeof character);
    return to + character.size;
}

constexpr bool is_t61_prefix(unsigned int byte) {
    return (byte & 0xF0) == 0xC0;
}

// Each byte on its own; none for prefixes and for bytes that T.61 leaves undefined.
constexpr std::array<utf8_t, 256> make_t61_characters() {
    std::array<utf8_t, 256> characters = {};
    for (unsigned int byte = 0; byte < characters.size(); ++byte) {
        if (t61_tab[byte] != 0 && !is_t61_prefix(byte)) {
            characters[byte] = utf8_character(t61_tab[byte]);
        }
    }
    return characters;
}

// What a prefix makes of the byte after it.
struct t61_prefix_t {
    utf8_t mark;   // the combining mark; none if T.61 does not define the prefix
    utf8_t accent; // the spacing diacritic, or none
    // Precomposed characters, or none: capital letters, small letters, ligatures.
    std::array<std::array<utf8_t, 32>, 3> letters;
};

inline constexpr unsigned int NO_T61_LETTERS = 3;

// By the high three bits of a byte: its place among the letters of a prefix.
inline constexpr unsigned char T61_LETTER_PLACES[8] = {
    NO_T61_LETTERS, NO_T61_LETTERS, 0, 1, NO_T61_LETTERS, NO_T61_LETTERS, NO_T61_LETTERS, 2,
};

constexpr utf8_t utf8_or_none(unsigned int code_point) {
    return code_point == 0 ? utf8_t{} : utf8_character(code_point);
}

constexpr t61_prefix_t make_t61_prefix(unsigned int low_bits) {
    t61_prefix_t prefix = {utf8_or_none(t61_tab[0xC0 | low_bits]), utf8_or_none(accents[low_bits]), {}};
    for (unsigned int high_bits = 0; high_bits < 8 && cx_tab[low_bits] != nullptr; ++high_bits) {
        const unsigned int* const code_points = cx_tab[low_bits][high_bits];
        for (unsigned int i = 0; i < 32 && code_points != nullptr; ++i) {
            prefix.letters[T61_LETTER_PLACES[high_bits]][i] = utf8_or_none(code_points[i]);
        }
    }
    return prefix;
}

constexpr std::array<t61_prefix_t, 16> make_t61_prefixes() {
    std::array<t61_prefix_t, 16> prefixes = {};
    for (unsigned int i = 0; i < prefixes.size(); ++i) {
        prefixes[i] = make_t61_prefix(i);
    }
    return prefixes;
}

inline constexpr std::array<utf8_t, 256> T61_CHARACTERS = make_t61_characters();
inline constexpr std::array<t61_prefix_t, 16> T61_PREFIXES = make_t61_prefixes();

// T.61 as it is. A byte that no prefix composes with is a code point of its own.
struct plain_t61_t {
    static constexpr const std::array<utf8_t, 256>& CHARACTERS = T61_CHARACTERS;
    static constexpr utf8_t letter(unsigned char byte) { return utf8_character(byte); }
};

// The characters of a prefix and the byte after it, whatever that means on its own.
template <typename ALPHABET, typename PUT>
char* put_t61_pair(const t61_prefix_t& prefix, unsigned char letter, char* to, PUT put) {
    const unsigned int place = T61_LETTER_PLACES[letter >> 5];
    if (place != NO_T61_LETTERS && prefix.letters[place][letter & 0x1F].size != 0) {
        return put(prefix.letters[place][letter & 0x1F], to);
    }
    if ((letter == ' ' || letter == 0) && prefix.accent.size != 0) {
        return put(prefix.accent, to);
    }
    return put(prefix.mark, put(ALPHABET::letter(letter), to));
}

// Text of at most this size is put in one piece.
inline constexpr std::ptrdiff_t T61_PIECE_SIZE = 64;

// Calls put(utf8, to), which writes one character to `to` and returns its end, for one character after another. A
// prefix at the end is paired with 0. Returns false at a byte that T.61 does not define.
template <typename ALPHABET, typename PUT>
bool put_t61(const unsigned char* p, const unsigned char* end, text_writer_t& writer, PUT put) {
    while (p != end) {
        // Four octets a byte suffice for a letter, an escape and a mark; the last pair may begin at the piece's end.
        char* to = writer.room(4 * (T61_PIECE_SIZE + 1));
        const unsigned char* const piece_end = p + std::min(end - p, T61_PIECE_SIZE);
        do {
            const unsigned int byte = *p++;
            const utf8_t& character = ALPHABET::CHARACTERS[byte];
            if (character.size != 0) {
                to = put(character, to);
                continue;
            }
            const t61_prefix_t& prefix = T61_PREFIXES[byte & 0x0F];
            if (!is_t61_prefix(byte) || prefix.mark.size == 0) {
                return false;
            }
            const unsigned char letter = p == end ? 0 : *p++;
            to = put_t61_pair<ALPHABET>(prefix, letter, to, put);
        } while (p < piece_end);
        writer.advance_to(to);
    }
    return true;
}

#endif
