#include "platform/convi.h"

namespace {

unsigned int read_character(const unsigned char* in, unsigned int width) {
    unsigned int character = 0;
    for (unsigned int i = 0; i < width; ++i) {
        character = character << 8 | in[i];
    }
    return character;
}

// UTF-8 length of a character; 0 for surrogates and values above U+10FFFF.
unsigned int utf8_size(unsigned int character) {
    if (character < 0x80) {
        return 1;
    }
    if (character < 0x800) {
        return 2;
    }
    if (character < 0x10000) {
        const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
        return surrogate ? 0 : 3;
    }
    return character <= 0x10FFFF ? 4 : 0;
}

void write_utf8(unsigned int character, unsigned int size, char* out) {
    static constexpr unsigned char LEAD_MARKS[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
    for (unsigned int i = size; --i != 0; character >>= 6) {
        out[i] = static_cast<char>(0x80 | (character & 0x3F));
    }
    out[0] = static_cast<char>(LEAD_MARKS[size] | character);
}

} // namespace

convi::convi(unsigned int from, unsigned int to)
    : width_(to == CONVI_UTF8 && (from == CONVI_UCS2_BE || from == CONVI_UCS4_BE) ? from : 0) {}

unsigned int convi::get_outsize(const void* in, unsigned int size) const {
    if (width_ == 0 || size % width_ != 0) {
        return 0;
    }
    const unsigned char* const bytes = static_cast<const unsigned char*>(in);
    unsigned long long total = 0;
    for (unsigned int i = 0; i < size; i += width_) {
        const unsigned int needed = utf8_size(read_character(bytes + i, width_));
        if (needed == 0) {
            return 0;
        }
        total += needed;
    }
    return total > 0xFFFFFFFF ? 0 : static_cast<unsigned int>(total);
}

unsigned int convi::convert_safe(const void* in, unsigned int size, char* out, unsigned int room) const {
    const unsigned int total = get_outsize(in, size);
    if (total == 0 || total > room) {
        return 0;
    }
    const unsigned char* const bytes = static_cast<const unsigned char*>(in);
    for (unsigned int i = 0; i < size; i += width_) {
        const unsigned int character = read_character(bytes + i, width_);
        const unsigned int written = utf8_size(character);
        write_utf8(character, written, out);
        out += written;
    }
    return total;
}
