// Headers of elements, the cursor that walks them, and small INTEGERs.
#include <string>

#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "support/input.h"

namespace {

constexpr unsigned int UNTOUCHED = 0xA5A5A5A5;
constexpr unsigned int MAX_HEADER_SIZE = 6;
constexpr int MAX_DEPTH = 6;

// The first length whose sum with a header wraps in 32 bits, so that the content can be outside.
constexpr unsigned int FIRST_WRAPPING_LENGTH = 0xFFFFFFFF - MAX_HEADER_SIZE + 1;

std::string read_header(asn_tag_t::Type tag, const exact_bytes_t& in) {
    unsigned int length = UNTOUCHED;
    const unsigned char* const content = asn1_read_tag(tag, in.data(), in.size(), &length);
    read_text_t answer(in);
    answer.number(length);
    if (content != nullptr) {
        const std::size_t offset = static_cast<std::size_t>(content - in.data());
        require(offset >= 2 && offset <= MAX_HEADER_SIZE && offset <= in.size(), "content starts after its header");
        require(length >= FIRST_WRAPPING_LENGTH || length <= in.size() - offset, "content lies in the input");
        answer.number(offset);
    }
    return answer.text();
}

void check_header(std::string_view input) {
    const auto with_any = [](const exact_bytes_t& in) { return read_header(asn_tag_t::ANY, in); };
    const auto with_first = [](const exact_bytes_t& in) {
        return read_header(static_cast<asn_tag_t::Type>(in.size() == 0 ? 0 : in.data()[0]), in);
    };
    require_same(answer_of(with_any, input), answer_of(with_first, input), "an element's own identifier is accepted");
}

// What is written with the content of an element reads back as that content.
void check_written(asn_tag_t::Type tag, const blob_t& content) {
    asn_tag_t_<16> node(tag);
    node.add_bytes(content.data, content.size);
    std::string written;
    node.assign_to(written);
    const exact_bytes_t block(written);
    asn_cursor_t in(block.data(), block.size());
    require_same(chars_of(content), chars_of(in.read(tag)), "a written element reads back");
    require(in.ok() && in.empty(), "a written element is all of its bytes");
}

void check_elements(const blob_t& bytes, int depth) {
    asn_cursor_t in(bytes);
    const std::string_view all = chars_of(bytes);
    while (!in.empty()) {
        const std::string_view left = all.substr(all.size() - in.size);
        const blob_t content = in.read(asn_tag_t::ANY);
        if (!in.ok()) {
            require(in.empty() && content.size == 0, "a failed cursor is empty");
            in.skip(asn_tag_t::ANY);
            require(!in.ok(), "a failed cursor stays failed");
            return;
        }
        require(lies_in(content, left) && lies_in(in.rest(), left), "a cursor stays in its input");
        require(chars_of(content).end() == chars_of(in.rest()).begin(), "a cursor moves past the content");
        check_written(static_cast<asn_tag_t::Type>(left[0]), content);
        if (depth < MAX_DEPTH) {
            check_elements(content, depth + 1);
        }
    }
}

std::string read_integer(unsigned int max, const exact_bytes_t& in) {
    unsigned int value = UNTOUCHED;
    const bool done = asn_read_INTEGER(in.data(), in.size(), value, max);
    require(done || value == UNTOUCHED, "a refused INTEGER leaves the value");
    require(in.size() != 0 || (done && value == UNTOUCHED), "an empty INTEGER says nothing");
    return read_text_t(in).number(done).number(value).text();
}

void check_integer(std::string_view content, unsigned int max) {
    const auto bounded = [max](const exact_bytes_t& in) { return read_integer(max, in); };
    const auto unbounded = [](const exact_bytes_t& in) { return read_integer(0xFFFFFFFF, in); };
    const std::string answer = answer_of(bounded, content);
    if (answer[0] == '1') {
        require_same(answer, answer_of(unbounded, content), "a bound does not change a value");
    }
}

void check_written_integer(unsigned int value) {
    std::string out = "kept";
    asn_write_INTEGER(value, out);
    require_same("kept", out.substr(0, 4), "an INTEGER is appended");
    const exact_bytes_t content(out.substr(4));
    require(content.size() >= 1 && content.size() <= 5, "an INTEGER has one to five octets");
    unsigned int read = UNTOUCHED;
    require(asn_read_INTEGER(content.data(), content.size(), read, 0xFFFFFFFF), "a written INTEGER reads back");
    require(read == as_written(value), "a written INTEGER keeps the octets that are not zero");
}

} // namespace

void check_input(std::string_view input) {
    check_header(input);
    const exact_bytes_t block(input);
    check_elements(view_of(block.text()), 0);
    taker_t taker(input);
    const unsigned int number = static_cast<unsigned int>(taker.number(4));
    check_integer(taker.rest(), number);
    check_integer(input, 0xFFFFFFFF);
    check_written_integer(number);
}
