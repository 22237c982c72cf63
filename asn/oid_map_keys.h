// Keys of OID maps: how the ordered indexes compare them, and their digests for looking them up at once.
#ifndef DERKIT_OID_MAP_KEYS_H
#define DERKIT_OID_MAP_KEYS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "util/ascii.h"

// What a key says in two words. Keys of at most sixteen octets are equal exactly when their digests are; digests of
// longer ones may be equal by chance.
struct key_digest_t {
    std::uint64_t first = EACH_OCTET;
    std::uint64_t last = EACH_OCTET;
    unsigned int size = 0;

    bool operator==(const key_digest_t& other) const {
        return first == other.first && last == other.last && size == other.size;
    }

    // Longer keys are left to the comparison: it looks at their sizes first and at most of them not at all.
    static constexpr unsigned int MAX_KEY_SIZE = 64;

    bool is_exact() const { return size <= 2 * WORD_SIZE; }

    // A place among `num_slots`. Keys that differ in one octet, as neighbours in a tree of OIDs do, may differ in the
    // upper bits of a product alone: so those are mixed in, and those decide.
    std::size_t home(std::size_t num_slots) const {
        const std::uint64_t sum = (first + size) * GOLDEN_RATIO + last * 0xC2B2AE3D27D4EB4F;
        const std::uint64_t mixed = (sum ^ sum >> 32) * GOLDEN_RATIO;
        return static_cast<std::size_t>((mixed >> 32) * static_cast<std::uint32_t>(num_slots) >> 32);
    }

    // `fold` maps each word of the key to what counts of it.
    template <typename FOLD> static key_digest_t of(const void* key, unsigned int key_size, FOLD fold) {
        const unsigned char* const p = static_cast<const unsigned char*>(key);
        key_digest_t digest;
        digest.size = key_size;
        if (!digest.is_exact()) {
            digest.last = fold(load_word(p + key_size - WORD_SIZE));
            for (unsigned int i = 0; i < key_size - WORD_SIZE; i += WORD_SIZE) {
                digest.first = (digest.first ^ fold(load_word(p + i))) * GOLDEN_RATIO;
                digest.first ^= digest.first >> 32;
            }
        } else if (key_size >= 4) {
            // Every octet is in some word, many are in several: so four loads serve all sizes.
            const unsigned int middle = key_size / 8 * 4;
            digest.first = fold(join(p, p + middle));
            digest.last = fold(join(p + key_size - 4, p + key_size - 4 - middle));
        } else if (key_size != 0) {
            const unsigned int octets = static_cast<unsigned int>(p[0] << 16 | p[key_size / 2] << 8 | p[key_size - 1]);
            digest.first = fold((EACH_OCTET << 24) | octets);
        }
        return digest;
    }

    // Compares what counts of two keys that have this digest.
    template <typename FOLD> bool equal_keys(const void* a, const void* b, FOLD fold) const {
        if (is_exact()) {
            return true;
        }
        const unsigned char* const p = static_cast<const unsigned char*>(a);
        const unsigned char* const q = static_cast<const unsigned char*>(b);
        for (unsigned int i = 0; i < size - WORD_SIZE; i += WORD_SIZE) {
            if (fold(load_word(p + i)) != fold(load_word(q + i))) {
                return false;
            }
        }
        return true; // the last word is in the digest as it is
    }

  private:
    static constexpr unsigned int WORD_SIZE = sizeof(std::uint64_t);
    static constexpr std::uint64_t GOLDEN_RATIO = 0x9E3779B97F4A7C15;

    static std::uint64_t load_word(const unsigned char* p) {
        std::uint64_t word = 0;
        std::memcpy(&word, p, sizeof word);
        return word;
    }

    static std::uint64_t join(const unsigned char* a, const unsigned char* b) {
        std::uint32_t halves[2] = {};
        std::memcpy(&halves[0], a, sizeof halves[0]);
        std::memcpy(&halves[1], b, sizeof halves[1]);
        return static_cast<std::uint64_t>(halves[0]) << 32 | halves[1];
    }
};

// Exact comparison of two keys of one size.
struct oid_memcmp_t {
    int operator()(const void* a, const void* b, unsigned int size) const {
        return size == 0 ? 0 : std::memcmp(a, b, size);
    }

    // Equal keys have equal digests. False when a key has none.
    static bool digest(const void* key, unsigned int size, key_digest_t& out) {
        if (size > key_digest_t::MAX_KEY_SIZE) {
            return false;
        }
        out = key_digest_t::of(key, size, [](std::uint64_t word) { return word; });
        return true;
    }

    static bool equal(const key_digest_t& digest, const void* a, const void* b) {
        return digest.equal_keys(a, b, [](std::uint64_t word) { return word; });
    }
};

// Comparison of two keys of one size without regard to ASCII case: strncasecmp() in the C locale, whatever the
// process's locale is. An index must keep its order when that changes. As there, a zero byte in both ends it.
struct oid_strcmp_t {
    int operator()(const char* a, const char* b, unsigned int size) const {
        for (unsigned int i = 0; i < size; ++i) {
            const int difference = folded(a[i]) - folded(b[i]);
            if (difference != 0 || a[i] == '\0') {
                return difference;
            }
        }
        return 0;
    }

    // As above; what stands behind a zero byte does not count, so a key with one has no digest.
    static bool digest(const char* key, unsigned int size, key_digest_t& out) {
        if (size > key_digest_t::MAX_KEY_SIZE) {
            return false;
        }
        bool zero_byte = false;
        out = key_digest_t::of(key, size, [&zero_byte](std::uint64_t word) {
            zero_byte |= holds_zero_octet(word);
            return ascii_lower_each(word);
        });
        return !zero_byte;
    }

    static bool equal(const key_digest_t& digest, const char* a, const char* b) {
        return digest.equal_keys(a, b, ascii_lower_each);
    }

  private:
    static int folded(char c) { return static_cast<unsigned char>(ascii_lower(c)); }
};

#endif
