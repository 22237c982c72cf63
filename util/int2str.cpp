#include "derkit/int2str.h"

#include <immintrin.h>

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

constexpr char DIGITS[] = "0123456789ABCDEF";

char* write_hex_byte(unsigned char byte, char* out) {
    out[0] = DIGITS[byte >> 4];
    out[1] = DIGITS[byte & 0x0F];
    return out + 2;
}

constexpr unsigned char hex_digit(unsigned char value) {
    return static_cast<unsigned char>(value + '0' + (value > 9 ? 'A' - '9' - 1 : 0));
}

// Arrays of fixed size and arithmetic in octets let compilers convert all bytes of a block at once.
constexpr unsigned int HEX_BLOCK_SIZE = 16;
// From here on it pays to ask what the processor can do.
constexpr unsigned int LONG_HEX_SIZE = 64;

void write_hex_block(const unsigned char* data, char* out) {
    unsigned char bytes[HEX_BLOCK_SIZE];
    unsigned char digits[2 * HEX_BLOCK_SIZE];
    std::memcpy(bytes, data, sizeof bytes);
    for (std::size_t i = 0; i < HEX_BLOCK_SIZE; ++i) {
        digits[2 * i] = hex_digit(bytes[i] >> 4);
        digits[2 * i + 1] = hex_digit(bytes[i] & 0x0F);
    }
    std::memcpy(out, digits, sizeof digits);
}

[[gnu::target("avx2")]] __m128i load_16_octets(const void* octets) {
    return _mm_loadu_si128(static_cast<const __m128i*>(octets));
}

// A block by AVX2: each byte becomes two, its high half first, and each half looks its digit up.
[[gnu::target("avx2")]] void write_hex_block_avx2(const unsigned char* data, char* out) {
    const __m256i digits = _mm256_broadcastsi128_si256(load_16_octets(DIGITS));
    const __m256i bytes = _mm256_cvtepu8_epi16(load_16_octets(data));
    const __m256i halves = _mm256_or_si256(_mm256_srli_epi16(bytes, 4), _mm256_slli_epi16(bytes, 8));
    const __m256i indexes = _mm256_and_si256(halves, _mm256_set1_epi8(0x0F));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_shuffle_epi8(digits, indexes));
}

[[gnu::target("avx2")]] void write_hex_avx2(const unsigned char* data, unsigned int len, char* out) {
    const unsigned int last_block = len - HEX_BLOCK_SIZE;
    for (unsigned int i = 0; i < last_block; i += HEX_BLOCK_SIZE) {
        write_hex_block_avx2(data + i, out + 2ULL * i);
    }
    write_hex_block_avx2(data + last_block, out + 2ULL * last_block);
}

// The last block overlaps the one before it.
void write_hex(const unsigned char* data, unsigned int len, char* out) {
    if (len < HEX_BLOCK_SIZE) {
        for (unsigned int i = 0; i < len; ++i) {
            out = write_hex_byte(data[i], out);
        }
        return;
    }
    if (len >= LONG_HEX_SIZE && __builtin_cpu_supports("avx2")) {
        write_hex_avx2(data, len, out);
        return;
    }
    const unsigned int last_block = len - HEX_BLOCK_SIZE;
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

void TO_HEX_STRING(const unsigned char* data, unsigned int len, char* out, char sep) {
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
