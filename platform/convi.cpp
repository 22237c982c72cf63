#include "platform/convi.h"

namespace {

template <unsigned int WIDTH> unsigned int read_character(const unsigned char* in) {
    unsigned int character = 0;
    for (unsigned int i = 0; i < WIDTH; ++i) {
        character = character << 8 | in[i];
    }
    return character;
}

// UTF-8 length of a character; 0 for surrogates and values above U+10FFFF.
unsigned int utf8_size(unsigned int character) {
    if (character < 0x800) {
        return character < 0x80 ? 1 : 2;
    }
    if (character < 0x10000) {
        const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
        return surrogate ? 0 : 3;
    }
    return character <= 0x10FFFF ? 4 : 0;
}

// The first octet tells how many there are; each of the others carries six bits.
inline void write_utf8(unsigned int character, unsigned int size, char* out) {
    const auto last = [character](unsigned int shift) { return static_cast<char>(0x80 | (character >> shift & 0x3F)); };
    switch (size) {
    case 1:
        out[0] = static_cast<char>(character);
        break;
    case 2:
        out[0] = static_cast<char>(0xC0 | character >> 6);
        out[1] = last(0);
        break;
    case 3:
        out[0] = static_cast<char>(0xE0 | character >> 12);
        out[1] = last(6);
        out[2] = last(0);
        break;
    default:
        out[0] = static_cast<char>(0xF0 | character >> 18);
        out[1] = last(12);
        out[2] = last(6);
        out[3] = last(0);
    }
}

template <unsigned int WIDTH> unsigned int measure(const unsigned char* in, const unsigned char* end) {
    unsigned long long total = 0;
    for (; in != end; in += WIDTH) {
        const unsigned int size = utf8_size(read_character<WIDTH>(in));
        if (size == 0) {
            return 0;
        }
        total += size;
    }
    return total > 0xFFFFFFFF ? 0 : static_cast<unsigned int>(total);
}

template <unsigned int WIDTH>
unsigned int convert(const unsigned char* in, const unsigned char* end, char* out, unsigned int room) {
    unsigned int total = 0;
    for (; in != end; in += WIDTH) {
        const unsigned int character = read_character<WIDTH>(in);
        const unsigned int size = utf8_size(character);
        if (size == 0 || size > room - total) {
            return 0;
        }
        write_utf8(character, size, out + total);
        total += size;
    }
    return total;
}

} // namespace

convi::convi(unsigned int from, unsigned int to)
    : width_(to == CONVI_UTF8 && (from == CONVI_UCS2_BE || from == CONVI_UCS4_BE) ? from : 0) {}

unsigned int convi::get_outsize(const void* in, unsigned int size) const {
    if (width_ == 0 || size % width_ != 0) {
        return 0;
    }
    const unsigned char* const begin = static_cast<const unsigned char*>(in);
    const unsigned char* const end = begin + size;
    return width_ == CONVI_UCS2_BE ? measure<CONVI_UCS2_BE>(begin, end) : measure<CONVI_UCS4_BE>(begin, end);
}

unsigned int convi::convert_safe(const void* in, unsigned int size, char* out, unsigned int room) const {
    if (width_ == 0 || size % width_ != 0) {
        return 0;
    }
    const unsigned char* const begin = static_cast<const unsigned char*>(in);
    const unsigned char* const end = begin + size;
    return width_ == CONVI_UCS2_BE ? convert<CONVI_UCS2_BE>(begin, end, out, room)
                                   : convert<CONVI_UCS4_BE>(begin, end, out, room);
}
