#include "io/bytes.h"

#include <memory>
#include <stdexcept>

#include <iconv.h>

#include "io/secret.h"

namespace {

int digit_value(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

struct close_converter_t {
    void operator()(void* converter) const { iconv_close(converter); }
};

// `growth` is the largest number of output bytes for one input byte.
std::optional<std::string> convert(const char* to, const char* from, std::string_view text, std::size_t growth) {
    iconv_t opened = iconv_open(to, from);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the C library reports failure this way
    if (opened == reinterpret_cast<iconv_t>(-1)) {
        throw std::runtime_error(std::string("no converter from ") + from + " to " + to);
    }
    const std::unique_ptr<void, close_converter_t> converter(opened);
    std::string out(text.size() * growth, '\0');
    char* input = const_cast<char*>(text.data());
    std::size_t input_left = text.size();
    char* output = out.data();
    std::size_t output_left = out.size();
    if (iconv(converter.get(), &input, &input_left, &output, &output_left) != 0) {
        wipe(out.data(), out.size()); // it may be half a password
        return std::nullopt;
    }
    out.resize(out.size() - output_left);
    return out;
}

} // namespace

// Not with the library, which would leave a copy of a private key on the stack.
std::string to_hex(std::string_view bytes) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string hex;
    hex.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const unsigned int octet = static_cast<unsigned char>(c);
        hex.push_back(DIGITS[octet >> 4]);
        hex.push_back(DIGITS[octet & 0xF]);
    }
    return hex;
}

std::optional<std::string> from_hex(std::string_view text) {
    std::string bytes;
    int high = -1;
    for (const char c : text) {
        if (c == ' ' || c == '\t' || c == ':') {
            continue;
        }
        const int digit = digit_value(c);
        if (digit < 0) {
            return std::nullopt;
        }
        if (high < 0) {
            high = digit;
            continue;
        }
        bytes.push_back(static_cast<char>(high << 4 | digit));
        high = -1;
    }
    return high < 0 ? std::optional(bytes) : std::nullopt;
}

bool is_utf8(std::string_view text) {
    std::optional<std::string> wide = convert("UTF-16BE", "UTF-8", text, 2);
    if (wide.has_value()) {
        wipe(wide->data(), wide->size()); // it may be a password
    }
    return wide.has_value();
}

// Every octet is a character.
std::string utf8_from_latin1(std::string_view text) {
    return convert("UTF-8", "ISO-8859-1", text, 2).value_or("");
}

std::optional<std::string> utf8_from_utf16(std::string_view bytes) {
    return convert("UTF-8", "UTF-16BE", bytes, 2);
}
