#include "derkit/int2str.h"

#include <algorithm>
#include <cstring>

#include "util/ascii.h"
#include "util/string_room.h"

const IntToString I2S_LOG_LEVEL[] = {
    {0, "DISABLED"}, {1, "EVENTS"}, {2, "DETAILS"}, {3, "VERBOSE"}, {0, nullptr},
};

namespace {

bool equal_but_for_case(const char* a, const char* b) {
    while (ascii_lower(*a) == ascii_lower(*b)) {
        if (*a == '\0') {
            return true;
        }
        ++a;
        ++b;
    }
    return false;
}

// Works in octets, so that compilers convert many digits at once.
constexpr char hex_digit(int value) {
    return static_cast<char>(value + '0' + (value > 9 ? 'A' - '9' - 1 : 0));
}

char* write_hex_byte(unsigned char byte, char* out) {
    out[0] = hex_digit(byte >> 4);
    out[1] = hex_digit(byte & 0x0F);
    return out + 2;
}

constexpr unsigned int HEX_BLOCK_SIZE = 16;

// Converts a block from and to arrays of its own: their fixed sizes and distinct places let compilers vectorise.
void write_hex_block(const unsigned char* data, char* out) {
    unsigned char bytes[HEX_BLOCK_SIZE];
    char digits[2 * HEX_BLOCK_SIZE];
    std::memcpy(bytes, data, sizeof bytes);
    for (std::size_t i = 0; i < HEX_BLOCK_SIZE; ++i) {
        digits[2 * i] = hex_digit(bytes[i] >> 4);
        digits[2 * i + 1] = hex_digit(bytes[i] & 0x0F);
    }
    std::memcpy(out, digits, sizeof digits);
}

void write_hex(const unsigned char* data, unsigned int len, char* out) {
    if (len < HEX_BLOCK_SIZE) {
        for (unsigned int i = 0; i < len; ++i) {
            out = write_hex_byte(data[i], out);
        }
        return;
    }
    const unsigned int last_block = len - HEX_BLOCK_SIZE; // overlaps the block before it
    for (unsigned int i = 0;; i = std::min(i + HEX_BLOCK_SIZE, last_block)) {
        write_hex_block(data + i, out + 2ULL * i);
        if (i == last_block) {
            return;
        }
    }
}

void write_separated_hex(const unsigned char* data, unsigned int len, char* out, char sep) {
    out = write_hex_byte(data[0], out);
    for (unsigned int i = 1; i < len; ++i) {
        *out++ = sep;
        out = write_hex_byte(data[i], out);
    }
}

} // namespace

const char* IntToString::getString(unsigned int wanted, const char* dflt) const {
    for (const IntToString* row = this; row->name != nullptr; ++row) {
        if (row->value == wanted) {
            return row->name;
        }
    }
    return dflt;
}

unsigned int IntToString::getInt(const char* wanted, unsigned int dflt) const {
    for (const IntToString* row = this; row->name != nullptr; ++row) {
        if (equal_but_for_case(row->name, wanted)) {
            return row->value;
        }
    }
    return dflt;
}

// The arrays of write_hex_block are only indexed by constants. Guarding the stack for them would cost 6 %.
__attribute__((no_stack_protector)) void TO_HEX_STRING(const unsigned char* data, unsigned int len, char* out,
                                                       char sep) {
    const unsigned int num_bytes = std::max(len, 1U); // one byte is converted even when len is 0
    if (sep == '\0') {
        write_hex(data, num_bytes, out);
    } else {
        write_separated_hex(data, num_bytes, out, sep);
    }
}

std::string& TO_HEX_STD_STRING(const unsigned char* data, unsigned int len, std::string& out, char sep) {
    if (len == 0) {
        return out;
    }
    const unsigned long long num_separators = sep == '\0' ? 0 : len - 1;
    TO_HEX_STRING(data, len, append_room(out, 2ULL * len + num_separators), sep);
    return out;
}
