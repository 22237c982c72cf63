// T.61 text and single code points to UTF-8.
#include <algorithm>
#include <memory>
#include <string>

#include "derkit/t61.h"
#include "support/input.h"

namespace {

constexpr int MAX_UTF8_SIZE = 6;

// A digit for success, and the text.
std::string convert(const exact_bytes_t& in) {
    std::string out = "kept";
    const bool done = ldap_t61s_to_utf8s(in.chars(), in.size(), out);
    require_same("kept", out.substr(0, 4), "text is appended");
    require(done || out.size() == 4, "a failure appends nothing");
    return std::to_string(done) + out.substr(4);
}

// A diacritic and the byte after it are one step. A text converts to the results of its steps, when each of
// them converts.
void check_steps(std::string_view text, const std::string& answer) {
    std::string expected = "1";
    while (!text.empty() && expected[0] == '1') {
        const bool is_prefix = (static_cast<unsigned char>(text[0]) & 0xF0) == 0xC0;
        const std::string_view step = text.substr(0, is_prefix ? 2 : 1);
        const std::string converted = convert(exact_bytes_t(step));
        expected = converted[0] == '1' ? expected + converted.substr(1) : "0";
        text.remove_prefix(step.size());
    }
    require_same(expected, answer, "a text is converted step by step");
}

unsigned int decode(std::string_view utf8) {
    const unsigned char lead = static_cast<unsigned char>(utf8[0]);
    if (utf8.size() == 1) {
        require(lead < 0x80, "one byte is ASCII");
        return lead;
    }
    // As many ones as there are bytes, a zero, and the upper bits of the value.
    const unsigned int num_value_bits = 7 - static_cast<unsigned int>(utf8.size());
    const unsigned int marks = 0xFF00U >> utf8.size() & 0xFF;
    require((unsigned{lead} >> num_value_bits << num_value_bits) == marks, "the first byte tells the number of bytes");
    unsigned int value = lead - marks;
    for (const char c : utf8.substr(1)) {
        require((static_cast<unsigned char>(c) & 0xC0) == 0x80, "every further byte carries six bits");
        value = value << 6 | (static_cast<unsigned char>(c) & 0x3F);
    }
    return value;
}

void check_code_point(unsigned int code_point) {
    const int size = ldap_x_wc_to_utf8(nullptr, code_point, 0);
    if (code_point > 0x7FFFFFFF) {
        require(size == -1, "32 bits are too many");
        return;
    }
    require(size >= 1 && size <= MAX_UTF8_SIZE, "a code point takes one to six bytes");
    for (int room = 0; room <= MAX_UTF8_SIZE; ++room) {
        const exact_bytes_t buffer(std::string(static_cast<std::size_t>(room), '?'));
        const int written = ldap_x_wc_to_utf8(buffer.chars(), code_point, buffer.size());
        if (room < size) {
            require(written == 0 && buffer.text().find_first_not_of('?') == std::string_view::npos,
                    "too little room is left alone");
        } else {
            require(written == size, "as many bytes are written as were announced");
            require(decode(buffer.text().substr(0, static_cast<std::size_t>(size))) == code_point,
                    "the bytes hold the code point");
            require(buffer.text().find_first_not_of('?', static_cast<std::size_t>(size)) == std::string_view::npos,
                    "nothing is written after them");
        }
    }
}

} // namespace

void check_input(std::string_view input) {
    check_steps(input, answer_of(convert, input));
    check_code_point(static_cast<unsigned int>(taker_t(input).number(4)));
}
