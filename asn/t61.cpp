#include "derkit/t61.h"

#include <string_view>

#include "asn/t61_tables.h"
#include "util/string_room.h"

namespace {

constexpr unsigned int MAX_UTF8_SIZE = 6;

// A text of this size is converted in one pass, a longer one is measured first.
constexpr unsigned int SHORT_TEXT_SIZE = 64;
// Most UTF-8 octets for one byte: the ohm sign, or a prefix at the end, which becomes a zero and its mark.
constexpr unsigned int MAX_GROWTH = 3;

bool is_prefix(unsigned char byte) {
    return (byte & 0xF0) == 0xC0;
}

unsigned int composed(unsigned char prefix, unsigned char letter) {
    const unsigned int* const* const diacritic = cx_tab[prefix & 0x0F];
    const unsigned int* const letters = diacritic == nullptr ? nullptr : diacritic[letter >> 5];
    return letters == nullptr ? 0 : letters[letter & 0x1F];
}

// Calls `take` with one code point after another; returns false at a byte that T.61 does not define. The byte after a
// prefix is paired with it whatever it means on its own; a prefix at the end is paired with 0.
template <typename TAKE> bool decode(const unsigned char* p, const unsigned char* end, TAKE take) {
    while (p != end) {
        const unsigned char byte = *p++;
        const unsigned int code_point = t61_tab[byte];
        if (code_point == 0) {
            return false;
        }
        if (!is_prefix(byte)) {
            take(code_point);
            continue;
        }
        const unsigned char letter = p == end ? 0 : *p++;
        const unsigned int accent = accents[byte & 0x0F];
        const unsigned int precomposed = composed(byte, letter);
        if ((letter == ' ' || letter == 0) && accent != 0) {
            take(accent);
        } else if (precomposed != 0) {
            take(precomposed);
        } else {
            take(letter);
            take(code_point);
        }
    }
    return true;
}

unsigned int utf8_size(unsigned int code_point) {
    if (code_point < 0x80) {
        return 1;
    }
    if (code_point < 0x800) {
        return 2;
    }
    if (code_point < 0x10000) {
        return 3;
    }
    if (code_point < 0x200000) {
        return 4;
    }
    return code_point < 0x4000000 ? 5 : 6;
}

// Shorter than ldap_x_wc_to_utf8(), as the code points of T.61 lie below U+10000.
char* write_utf8(char* to, unsigned int code_point) {
    if (code_point < 0x80) {
        *to++ = static_cast<char>(code_point);
        return to;
    }
    if (code_point < 0x800) {
        *to++ = static_cast<char>(0xC0 | code_point >> 6);
    } else {
        *to++ = static_cast<char>(0xE0 | code_point >> 12);
        *to++ = static_cast<char>(0x80 | (code_point >> 6 & 0x3F));
    }
    *to++ = static_cast<char>(0x80 | (code_point & 0x3F));
    return to;
}

// Writes UTF-8 to `to` and returns its end, or null when T.61 does not define a byte.
char* convert(const unsigned char* p, const unsigned char* end, char* to) {
    const bool defined = decode(p, end, [&to](unsigned int code_point) { to = write_utf8(to, code_point); });
    return defined ? to : nullptr;
}

} // namespace

bool ldap_t61s_to_utf8s(const char* s, unsigned int len, std::string& out) {
    const unsigned char* const begin = reinterpret_cast<const unsigned char*>(s);
    const unsigned char* const end = begin + len;
    // Names are short: converting them into a local buffer is faster than measuring them first.
    if (len <= SHORT_TEXT_SIZE) {
        char text[SHORT_TEXT_SIZE * MAX_GROWTH];
        const char* const text_end = convert(begin, end, text);
        if (text_end == nullptr) {
            return false;
        }
        append_text(out, std::string_view(text, static_cast<std::size_t>(text_end - text)));
        return true;
    }
    unsigned long long total = 0;
    if (!decode(begin, end, [&total](unsigned int code_point) { total += utf8_size(code_point); })) {
        return false;
    }
    convert(begin, end, append_room(out, total));
    return true;
}

int ldap_x_wc_to_utf8(char* buf, unsigned int wc, unsigned int room) {
    if (wc > 0x7FFFFFFF) {
        return -1;
    }
    const unsigned int size = utf8_size(wc);
    if (buf == nullptr) {
        return static_cast<int>(size);
    }
    if (room < size) {
        return 0;
    }
    // The first byte tells how many there are; each of the others carries six bits.
    static constexpr unsigned char LEAD_MARKS[MAX_UTF8_SIZE + 1] = {0, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
    for (unsigned int i = size; --i != 0; wc >>= 6) {
        buf[i] = static_cast<char>(0x80 | (wc & 0x3F));
    }
    buf[0] = static_cast<char>(LEAD_MARKS[size] | wc);
    return static_cast<int>(size);
}
