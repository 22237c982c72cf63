// Keys of OID maps, compared and hashed eight octets at a time.
#ifndef DERKIT_OID_MAP_KEYS_H
#define DERKIT_OID_MAP_KEYS_H

#include <cstdint>
#include <cstring>

#include "util/ascii.h"

// Reads a key in words. All words of two keys of one size are equal exactly when the keys are: the last word overlaps
// the one before it, and the octets of a key of less than eight fill a part of one word, some of them twice.
class key_words_t {
  public:
    key_words_t(const void* key, unsigned int size) : p_(static_cast<const unsigned char*>(key)), size_(size) {}

    bool empty() const { return size_ == 0; }

    std::uint64_t take() {
        if (size_ < WORD_SIZE) {
            return take_short();
        }
        const std::uint64_t word = load<std::uint64_t>(p_);
        const unsigned int step = size_ < 2 * WORD_SIZE && size_ != WORD_SIZE ? size_ - WORD_SIZE : WORD_SIZE;
        p_ += step;
        size_ -= step;
        return word;
    }

  private:
    static constexpr unsigned int WORD_SIZE = sizeof(std::uint64_t);

    const unsigned char* p_;
    unsigned int size_;

    template <typename WORD> static WORD load(const unsigned char* p) {
        WORD word;
        std::memcpy(&word, p, sizeof word);
        return word;
    }

    std::uint64_t take_short() {
        const unsigned char* const p = p_;
        const unsigned int size = size_;
        size_ = 0;
        if (size < sizeof(std::uint32_t)) {
            return static_cast<std::uint64_t>(p[0]) << 16 | static_cast<std::uint64_t>(p[size / 2]) << 8 | p[size - 1];
        }
        return static_cast<std::uint64_t>(load<std::uint32_t>(p)) << 32 |
               load<std::uint32_t>(p + size - sizeof(std::uint32_t));
    }
};

// Spreads what the words of a key say over all bits.
class key_hash_t {
  public:
    explicit key_hash_t(unsigned int size) : state_(size) {}

    void add(std::uint64_t word) {
        constexpr std::uint64_t GOLDEN_RATIO = 0x9E3779B97F4A7C15;
        state_ = (state_ ^ word) * GOLDEN_RATIO;
        state_ ^= state_ >> 32;
    }

    std::size_t value() const { return static_cast<std::size_t>(state_); }

  private:
    std::uint64_t state_;
};

// Exact comparison of two keys of one size.
struct oid_memcmp_t {
    int operator()(const void* a, const void* b, unsigned int size) const {
        return size == 0 ? 0 : std::memcmp(a, b, size);
    }

    static bool equal(const void* a, const void* b, unsigned int size) {
        key_words_t words_of_a(a, size);
        key_words_t words_of_b(b, size);
        while (!words_of_a.empty()) {
            if (words_of_a.take() != words_of_b.take()) {
                return false;
            }
        }
        return true;
    }

    // Equal keys have one hash.
    static std::size_t hash(const void* key, unsigned int size) {
        key_hash_t hash(size);
        for (key_words_t words(key, size); !words.empty();) {
            hash.add(words.take());
        }
        return hash.value();
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

    static bool equal(const char* a, const char* b, unsigned int size) {
        key_words_t words_of_a(a, size);
        key_words_t words_of_b(b, size);
        while (!words_of_a.empty()) {
            if (ascii_lower_each(words_of_a.take()) != ascii_lower_each(words_of_b.take())) {
                return oid_strcmp_t()(a, b, size) == 0; // a zero byte may stand in front of the difference
            }
        }
        return true;
    }

    // Equal keys have one hash: all that hold a zero byte, as what stands behind it does not count.
    static std::size_t hash(const char* key, unsigned int size) {
        key_hash_t hash(size);
        for (key_words_t words(key, size); !words.empty();) {
            const std::uint64_t word = words.take();
            hash.add(ascii_lower_each(word));
        }
        return size != 0 && std::memchr(key, '\0', size) != nullptr ? size : hash.value();
    }

  private:
    static int folded(char c) { return static_cast<unsigned char>(ascii_lower(c)); }
};

#endif
