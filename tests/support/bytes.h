// Bytes in tests: hex in and out, comparison that shows both sides, inputs on heap blocks of their exact size.
#ifndef DERKIT_TESTS_BYTES_H
#define DERKIT_TESTS_BYTES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

// "30 0D 06" to three bytes; blanks may stand anywhere.
inline std::string from_hex(std::string_view hex) {
    const std::string_view digits = "0123456789ABCDEFabcdef";
    std::string bytes;
    int high = -1;
    for (const char c : hex) {
        if (c == ' ' || c == '\n') {
            continue;
        }
        const std::size_t found = digits.find(c);
        if (found == std::string_view::npos) {
            throw std::invalid_argument("not hexadecimal: " + std::string(hex));
        }
        const int digit = static_cast<int>(found < 16 ? found : found - 6);
        if (high < 0) {
            high = digit;
            continue;
        }
        bytes.push_back(static_cast<char>(high * 16 + digit));
        high = -1;
    }
    if (high >= 0) {
        throw std::invalid_argument("odd number of digits: " + std::string(hex));
    }
    return bytes;
}

// Bytes to "30 0D 06".
inline std::string to_hex(std::string_view bytes) {
    const char* const digits = "0123456789ABCDEF";
    std::string hex;
    for (const char c : bytes) {
        const unsigned char octet = static_cast<unsigned char>(c);
        hex += hex.empty() ? "" : " ";
        hex += digits[octet >> 4];
        hex += digits[octet & 15];
    }
    return hex;
}

inline std::string_view as_chars(const unsigned char* data, std::size_t size) {
    return std::string_view(reinterpret_cast<const char*>(data), size);
}

inline std::string to_hex(const unsigned char* data, std::size_t size) {
    return to_hex(as_chars(data, size));
}

// EXPECT_TRUE(same_bytes(expected, actual)) << which case: a failure shows both sides as hex.
inline testing::AssertionResult same_bytes(std::string_view expected, std::string_view actual) {
    if (expected == actual) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "expected [" << to_hex(expected) << "] but got [" << to_hex(actual) << "]";
}

// A copy of bytes in a heap block of exactly their size, so that a sanitizer sees every read outside.
class exact_bytes_t {
  public:
    explicit exact_bytes_t(std::string_view bytes) : block_(new unsigned char[bytes.size()]), size_(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), block_.get());
    }
    const unsigned char* data() const { return block_.get(); }
    const char* chars() const { return reinterpret_cast<const char*>(block_.get()); }
    unsigned int size() const { return static_cast<unsigned int>(size_); }

  private:
    std::unique_ptr<unsigned char[]> block_;
    std::size_t size_;
};

// Runs `check` on every proper prefix of `bytes`, each in a block of its own size.
template <typename CHECK> void for_each_prefix(std::string_view bytes, CHECK check) {
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        SCOPED_TRACE("the first " + std::to_string(size) + " bytes of " + to_hex(bytes));
        check(exact_bytes_t(bytes.substr(0, size)));
    }
}

// Names a parameterised case after its `name` member.
struct case_name_t {
    template <typename CASE> std::string operator()(const testing::TestParamInfo<CASE>& info) const {
        return info.param.name;
    }
};

#endif
