#include "derkit/t61.h"

#include <algorithm>
#include <array>

#include "asn/t61_tables.h"
#include "util/string_room.h"

namespace {

constexpr unsigned int MAX_UTF8_SIZE = 6;

// What one step of the conversion takes from the input and gives.
struct t61_step_t {
    unsigned int num_bytes = 0;
    unsigned int num_code_points = 0;
    unsigned int code_points[2] = {};

    void give(unsigned int code_point) { code_points[num_code_points++] = code_point; }
};

constexpr std::array<bool, 256> make_ascii_in_both() {
    std::array<bool, 256> table = {};
    for (unsigned int byte = 1; byte < 0x80; ++byte) {
        table[byte] = t61_tab[byte] == byte;
    }
    return table;
}

// Whether a byte is the same ASCII character in T.61 and in UTF-8, as most are: those are taken as they stand.
bool is_ascii_in_both(unsigned char byte) {
    static constexpr std::array<bool, 256> TABLE = make_ascii_in_both();
    return TABLE[byte];
}

bool is_prefix(unsigned char byte) {
    return (byte & 0xF0) == 0xC0;
}

unsigned int composed(unsigned char prefix, unsigned char letter) {
    const unsigned int* const* const diacritic = cx_tab[prefix & 0x0F];
    const unsigned int* const letters = diacritic == nullptr ? nullptr : diacritic[letter >> 5];
    return letters == nullptr ? 0 : letters[letter & 0x1F];
}

// Takes a byte that T.61 defines, with the byte behind it when it is a prefix. That byte is paired as it is, whatever
// it is by itself; a prefix at the end is paired with 0.
t61_step_t take_step(const unsigned char* s, const unsigned char* end) {
    const bool last = end - s == 1;
    t61_step_t step;
    if (!is_prefix(s[0])) {
        step.num_bytes = 1;
        step.give(t61_tab[s[0]]);
        return step;
    }
    step.num_bytes = last ? 1 : 2;
    const unsigned char letter = last ? 0 : s[1];
    const unsigned int accent = accents[s[0] & 0x0F];
    if ((letter == ' ' || letter == 0) && accent != 0) {
        step.give(accent);
        return step;
    }
    const unsigned int precomposed = composed(s[0], letter);
    if (precomposed != 0) {
        step.give(precomposed);
        return step;
    }
    step.give(letter);
    step.give(t61_tab[s[0]]);
    return step;
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

const unsigned char* skip_ascii(const unsigned char* p, const unsigned char* end) {
    while (p != end && is_ascii_in_both(*p)) {
        ++p;
    }
    return p;
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

} // namespace

bool ldap_t61s_to_utf8s(const char* s, unsigned int len, std::string& out) {
    const unsigned char* const begin = reinterpret_cast<const unsigned char*>(s);
    const unsigned char* const end = begin + len;
    unsigned long long total = 0;
    for (const unsigned char* p = begin; p != end;) {
        const unsigned char* const run = skip_ascii(p, end);
        total += static_cast<unsigned int>(run - p);
        if (run == end) {
            break;
        }
        if (t61_tab[*run] == 0) {
            return false;
        }
        const t61_step_t step = take_step(run, end);
        for (unsigned int k = 0; k < step.num_code_points; ++k) {
            total += utf8_size(step.code_points[k]);
        }
        p = run + step.num_bytes;
    }
    if (total == 0) {
        return true;
    }
    char* to = append_room(out, total);
    for (const unsigned char* p = begin; p != end;) {
        const unsigned char* const run = skip_ascii(p, end);
        to = std::copy(p, run, to);
        if (run == end) {
            break;
        }
        const t61_step_t step = take_step(run, end);
        for (unsigned int k = 0; k < step.num_code_points; ++k) {
            to = write_utf8(to, step.code_points[k]);
        }
        p = run + step.num_bytes;
    }
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
    // The first byte says how many there are; each of the others carries six bits.
    static constexpr unsigned char LEAD_MARKS[MAX_UTF8_SIZE + 1] = {0, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
    for (unsigned int i = size; --i != 0; wc >>= 6) {
        buf[i] = static_cast<char>(0x80 | (wc & 0x3F));
    }
    buf[0] = static_cast<char>(LEAD_MARKS[size] | wc);
    return static_cast<int>(size);
}
