// Headers and INTEGERs against a reader that counts in 64 bits.
#include <optional>
#include <string>

#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "reference/tag_reader.h"
#include "support/input.h"

namespace {

constexpr unsigned int UNTOUCHED = 0xA5A5A5A5;
constexpr int MAX_DEPTH = 6;

// In 32 bits the sum may come out small, and then the element is accepted although it does not fit.
bool wraps(const reference_header_t& header) {
    return header.size + header.length > 0xFFFFFFFF;
}

void compare_header(asn_tag_t::Type tag, const exact_bytes_t& in) {
    const std::optional<reference_header_t> expected = reference_header(tag, in.text());
    unsigned int length = UNTOUCHED;
    const unsigned char* const content = asn1_read_tag(tag, in.data(), in.size(), &length);
    if (!expected) {
        require(content == nullptr && length == UNTOUCHED, "no header gives nothing");
        return;
    }
    require(length == expected->length, "the length is stored before it is judged");
    const bool accepted = expected->fits || (wraps(*expected) && (expected->size + length) % 0x100000000 <= in.size());
    require((content != nullptr) == accepted, "an element is accepted when it fits");
    require(content == nullptr || content == in.data() + expected->size, "content starts behind the header");
}

// The cursor must not wrap: it agrees with 64 bits everywhere.
void compare_elements(std::string_view bytes, int depth) {
    asn_cursor_t in(view_of(bytes));
    while (in.size != 0) {
        const std::string_view left = bytes.substr(bytes.size() - in.size);
        const std::optional<reference_header_t> expected = reference_header(0, left);
        const blob_t content = in.read(asn_tag_t::ANY);
        const bool fits = expected && expected->fits;
        require(in.ok() == fits, "a cursor takes what fits");
        if (!fits) {
            return;
        }
        const std::string_view inside =
            left.substr(static_cast<std::size_t>(expected->size), static_cast<std::size_t>(expected->length));
        require(chars_of(content).data() == inside.data() && content.size == inside.size(),
                "a cursor gives the content");
        require(in.size == left.size() - expected->size - expected->length, "a cursor moves behind the element");
        if (depth < MAX_DEPTH) {
            compare_elements(inside, depth + 1);
        }
    }
}

void compare_integer(const exact_bytes_t& content, unsigned int max) {
    if (content.size() == 0) {
        return;
    }
    const std::optional<unsigned int> expected = reference_integer(content.text(), max);
    unsigned int value = UNTOUCHED;
    require(asn_read_INTEGER(content.data(), content.size(), value, max) == expected.has_value(),
            "an INTEGER is accepted within its bound");
    require(value == expected.value_or(UNTOUCHED), "an INTEGER has this value");
}

} // namespace

void check_input(std::string_view input) {
    taker_t taker(input);
    const unsigned int max = static_cast<unsigned int>(taker.number(4));
    for (const std::string_view bytes : {input, taker.rest()}) {
        const exact_bytes_t block(bytes);
        compare_header(asn_tag_t::ANY, block);
        compare_header(asn_tag_t::SEQUENCE, block);
        compare_header(asn_tag_t::INTEGER, block);
        compare_elements(block.text(), 0);
        compare_integer(block, max);
        compare_integer(block, 0xFFFFFFFF);
    }
}
