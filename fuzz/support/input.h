// Inputs of fuzz targets: on heap blocks of their exact size, alone and followed by other bytes.
#ifndef DERKIT_FUZZ_INPUT_H
#define DERKIT_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "support/target.h"
#include "testing/views.h"

// A reader's answer as text that can be compared: numbers, bytes, and views as their places in the input.
class read_text_t {
  public:
    explicit read_text_t(const exact_bytes_t& input) : input_(input) {}

    read_text_t& number(unsigned long long value) {
        text_ += std::to_string(value) + ";";
        return *this;
    }

    read_text_t& bytes(std::string_view value) {
        number(value.size());
        text_ += value;
        return *this;
    }

    // A null view has no bytes; any other must lie in the input.
    template <typename VIEW> read_text_t& view(const VIEW& view) {
        if (view.data == nullptr) {
            require(view.size == 0, "a null view has no bytes");
            text_ += "null;";
            return *this;
        }
        require(lies_in(view, input_.text()), "a view lies in the input");
        return number(static_cast<unsigned long long>(view.data - input_.data())).number(view.size);
    }

    const std::string& text() const { return text_; }

  private:
    const exact_bytes_t& input_;
    std::string text_;
};

// The answer of `reader` to a block of exactly these bytes. It must be the same whatever follows them.
template <typename READER> std::string answer_of(READER reader, std::string_view input) {
    using namespace std::string_view_literals;
    const std::string answer = reader(exact_bytes_t(input));
    for (const std::string_view after : {"\x00\x00\x00\x00\x00\x00\x00\x00"sv, "\x02\x01\x05\x04\x03\x30\x01="sv}) {
        require_same(answer, reader(exact_bytes_t(input, after)), "what follows an input does not matter");
    }
    return answer;
}

// What is left of an INTEGER that is written without its zero octets.
inline unsigned int as_written(unsigned int value) {
    unsigned int kept = 0;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned int octet = value >> shift & 0xFF;
        kept = octet == 0 ? kept : kept << 8 | octet;
    }
    return kept;
}

// A zero-terminated text: the input up to its first zero byte.
inline std::string_view up_to_zero(std::string_view input) {
    return input.substr(0, input.find('\0'));
}

// As answer_of(), for readers of zero-terminated text.
template <typename READER> std::string answer_to_text(READER reader, std::string_view text) {
    std::string terminated(text);
    terminated.push_back('\0');
    return answer_of(reader, terminated);
}

// Takes values from the start of an input; missing ones are 0 or empty.
class taker_t {
  public:
    explicit taker_t(std::string_view input) : rest_(input) {}

    unsigned int octet() {
        const std::string_view taken = bytes(1);
        return taken.empty() ? 0 : static_cast<unsigned char>(taken[0]);
    }

    // Big-endian.
    unsigned long long number(unsigned int num_octets) {
        unsigned long long value = 0;
        for (; num_octets != 0; --num_octets) {
            value = value << 8 | octet();
        }
        return value;
    }

    std::string_view bytes(std::size_t size) {
        const std::string_view taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    // An octet with a size, then that many bytes.
    std::string_view counted() { return bytes(octet()); }

    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

#endif
