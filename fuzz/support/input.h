// Inputs of fuzz targets: on heap blocks of their exact size, alone and with other bytes behind them.
#ifndef DERKIT_FUZZ_INPUT_H
#define DERKIT_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "derkit/asn_types.h"
#include "support/target.h"

// Bytes in a heap block that ends right behind `behind`, so that a sanitizer sees every read outside. What is behind
// does not count as the block's: its readers must not look there.
class block_t {
  public:
    explicit block_t(std::string_view bytes, std::string_view behind = std::string_view())
        : memory_(new unsigned char[bytes.size() + behind.size()]), size_(static_cast<unsigned int>(bytes.size())) {
        std::copy(behind.begin(), behind.end(), std::copy(bytes.begin(), bytes.end(), memory_.get()));
    }
    unsigned char* data() const { return memory_.get(); }
    char* chars() const { return reinterpret_cast<char*>(memory_.get()); }
    unsigned int size() const { return size_; }
    std::string_view text() const { return std::string_view(chars(), size_); }

  private:
    std::unique_ptr<unsigned char[]> memory_;
    unsigned int size_;
};

template <typename VIEW> std::string_view chars_of(const VIEW& view) {
    return std::string_view(reinterpret_cast<const char*>(view.data), view.size);
}

template <typename VIEW = blob_t> VIEW view_of(std::string_view bytes) {
    VIEW view;
    view.size = static_cast<unsigned int>(bytes.size());
    view.data = reinterpret_cast<const unsigned char*>(bytes.data());
    return view;
}

// Tells whether a view points into these bytes; an empty one may stand at their end.
template <typename VIEW> bool lies_in(const VIEW& view, std::string_view bytes) {
    const char* const data = reinterpret_cast<const char*>(view.data);
    const char* const end = bytes.data() + bytes.size();
    const std::less<const char*> before;
    return data != nullptr && !before(data, bytes.data()) && !before(end, data) &&
           view.size <= static_cast<std::size_t>(end - data);
}

// What a reader answered, as text that can be compared: numbers, bytes, and views as their places in the input.
class answer_t {
  public:
    explicit answer_t(const block_t& input) : input_(input) {}

    answer_t& number(unsigned long long value) {
        text_ += std::to_string(value) + ";";
        return *this;
    }

    answer_t& bytes(std::string_view value) {
        number(value.size());
        text_ += value;
        return *this;
    }

    // A null view has no bytes; any other must lie in the input.
    template <typename VIEW> answer_t& view(const VIEW& view) {
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
    const block_t& input_;
    std::string text_;
};

// The answer of `reader` to a block of exactly these bytes. It must be the same whatever stands behind them.
template <typename READER> std::string answer_of(READER reader, std::string_view input) {
    using namespace std::string_view_literals;
    const std::string answer = reader(block_t(input));
    for (const std::string_view behind : {"\x00\x00\x00\x00\x00\x00\x00\x00"sv, "\x02\x01\x05\x04\x03\x30\x01="sv}) {
        require_same(answer, reader(block_t(input, behind)), "what stands behind an input does not matter");
    }
    return answer;
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

// Takes values off the front of an input; what it does not have is 0 or empty.
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

    // An octet with the size, and so many bytes.
    std::string_view counted() { return bytes(octet()); }

    std::string_view rest() const { return rest_; }

  private:
    std::string_view rest_;
};

#endif
