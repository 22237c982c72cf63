// Bytes in hexadecimal text and back, and inputs on heap blocks of their exact size.
#ifndef DERKIT_TESTING_BYTES_H
#define DERKIT_TESTING_BYTES_H

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

// A copy of bytes at the start of a heap block that ends with `after`, so that a sanitizer sees every access outside.
// `after` is not part of the bytes: a reader must not depend on it.
class exact_bytes_t {
  public:
    explicit exact_bytes_t(std::string_view bytes, std::string_view after = {})
        : block_(new unsigned char[bytes.size() + after.size()]), size_(bytes.size()) {
        std::copy(after.begin(), after.end(), std::copy(bytes.begin(), bytes.end(), block_.get()));
    }
    unsigned char* data() const { return block_.get(); }
    char* chars() const { return reinterpret_cast<char*>(block_.get()); }
    unsigned int size() const { return static_cast<unsigned int>(size_); }
    std::string_view text() const { return std::string_view(chars(), size_); }

  private:
    std::unique_ptr<unsigned char[]> block_;
    std::size_t size_;
};

#endif
