// Escapes in the values of a printable DN.
#ifndef DERKIT_ASN_PRINTABLE_ESCAPE_H
#define DERKIT_ASN_PRINTABLE_ESCAPE_H

#include <algorithm>
#include <array>
#include <string_view>

#include "asn/asn_printable_traits.h"
#include "asn/t61_decoder.h"
#include "util/text_writer.h"

// Writes a backslash before a special character, and nothing before another. Needs room for it either way.
inline char* write_escape_of(char c, char* to) {
    *to = '\\';
    return to + (is_special(c) ? 1 : 0);
}

inline char* write_escaped(const char* p, const char* end, char* to) {
    while (p != end) {
        const char c = *p++;
        to = write_escape_of(c, to);
        *to++ = c;
    }
    return to;
}

// As above, N characters at a time, as long as there are so many. Blocks without a special character are just copied.
template <std::size_t N> [[gnu::always_inline]] inline char* write_blocks(const char*& p, const char* end, char* to) {
    for (; static_cast<std::size_t>(end - p) >= N; p += N) {
        to = (traits_of_block<N>(p) & SPECIAL) == 0 ? std::copy_n(p, N, to) : write_escaped(p, p + N, to);
    }
    return to;
}

inline constexpr std::size_t SHORT_TEXT_SIZE = text_writer_t::BUFFER_SIZE / 2;

// Puts text with a backslash before every special character. Blanks, controls and bytes above 0x7F are unchanged.
[[gnu::always_inline]] inline void put_short_escaped(std::string_view text, text_writer_t& out) {
    const char* p = text.data();
    const char* const end = p + text.size();
    char* to = out.room(2 * text.size());
    to = write_blocks<8>(p, end, to);
    out.advance_to(write_escaped(p, end, to));
}

// As above, for text of any size.
[[gnu::noinline]] inline void put_escaped(std::string_view text, text_writer_t& out) {
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, SHORT_TEXT_SIZE);
        put_short_escaped(piece, out);
        text.remove_prefix(piece.size());
    }
}

// A character with a backslash before it if it is special.
constexpr utf8_t escaped(utf8_t character) {
    const char c = character.octets[0];
    return character.size != 0 && is_special(c) ? utf8_t{{'\\', c}, 2} : character;
}

constexpr std::array<utf8_t, 256> make_escaped_t61_characters() {
    std::array<utf8_t, 256> characters = T61_CHARACTERS;
    for (utf8_t& character : characters) {
        character = escaped(character);
    }
    return characters;
}

// T.61 with all special characters escaped.
struct escaped_t61_t {
    static constexpr std::array<utf8_t, 256> CHARACTERS = make_escaped_t61_characters();
    static constexpr utf8_t letter(unsigned char byte) { return escaped(utf8_character(byte)); }
};

#endif
