#include "platform/convi.h"

namespace {

template <unsigned int WIDTH> unsigned int read_character(const unsigned char* in) {
    unsigned int character = 0;
    for (unsigned int i = 0; i < WIDTH; ++i) {
        character = character << 8 | in[i];
    }
    return character;
}

bool is_character(unsigned int value) {
    const unsigned int first_surrogate = 0xD800;
    const unsigned int num_surrogates = 0x800;
    return value - first_surrogate >= num_surrogates && value <= 0x10FFFF;
}

// Size of the output in octets; 0 for a text that holds anything but characters. Counts without branches on the
// characters, which are hard to foresee.
template <unsigned int WIDTH> unsigned long long measure(const unsigned char* in, const unsigned char* end) {
    unsigned long long num_below_80 = 0;
    unsigned long long num_below_800 = 0;
    unsigned long long num_above_FFFF = 0;
    const unsigned long long num_characters = static_cast<unsigned long long>(end - in) / WIDTH;
    for (; in != end; in += WIDTH) {
        const unsigned int character = read_character<WIDTH>(in);
        if (!is_character(character)) {
            return 0;
        }
        num_below_80 += character < 0x80 ? 1 : 0;
        num_below_800 += character < 0x800 ? 1 : 0;
        num_above_FFFF += character > 0xFFFF ? 1 : 0;
    }
    return 3 * num_characters - num_below_80 - num_below_800 + num_above_FFFF;
}

inline char* write_utf8(unsigned int character, char* out) {
    const auto put = [&out](unsigned int octet) { *out++ = static_cast<char>(octet); };
    if (character < 0x80) {
        put(character);
        return out;
    }
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
    return out;
}

template <unsigned int WIDTH> void convert(const unsigned char* in, const unsigned char* end, char* out) {
    for (; in != end; in += WIDTH) {
        out = write_utf8(read_character<WIDTH>(in), out);
    }
}

} // namespace

convi::convi(unsigned int from, unsigned int to)
    : width_(to == CONVI_UTF8 && (from == CONVI_UCS2_BE || from == CONVI_UCS4_BE) ? from : 0) {}

unsigned int convi::get_outsize(const void* in, unsigned int size) const {
    if (width_ == 0 || size % width_ != 0) {
        return 0;
    }
    const unsigned char* const begin = static_cast<const unsigned char*>(in);
    const unsigned long long total = width_ == CONVI_UCS2_BE ? measure<CONVI_UCS2_BE>(begin, begin + size)
                                                             : measure<CONVI_UCS4_BE>(begin, begin + size);
    return total > 0xFFFFFFFF ? 0 : static_cast<unsigned int>(total);
}

unsigned int convi::convert_safe(const void* in, unsigned int size, char* out, unsigned int room) const {
    const unsigned int total = get_outsize(in, size);
    if (total == 0 || total > room) {
        return 0;
    }
    const unsigned char* const begin = static_cast<const unsigned char*>(in);
    if (width_ == CONVI_UCS2_BE) {
        convert<CONVI_UCS2_BE>(begin, begin + size, out);
    } else {
        convert<CONVI_UCS4_BE>(begin, begin + size, out);
    }
    return total;
}
