// Dotted text of OIDs and content octets, both ways.
#include <algorithm>
#include <memory>
#include <string>

#include "derkit/asn_oidmap.h"
#include "support/input.h"

namespace {

constexpr std::size_t MAX_DER_SIZE = 506;
constexpr unsigned char PATTERN = 0xA5;

// On the heap, so that a write outside shows.
struct array_t {
    unsigned char bytes[512];
};

// Content octets; none for a text that is refused.
std::string encode(const exact_bytes_t& text) {
    const std::unique_ptr<array_t> out(new array_t);
    std::fill(std::begin(out->bytes), std::end(out->bytes), PATTERN);
    const unsigned int size = oid_str_to_asn_(text.chars(), text.chars() + text.size(), out->bytes);
    require(size <= MAX_DER_SIZE, "room for a header stays free");
    require(std::all_of(out->bytes + MAX_DER_SIZE, std::end(out->bytes), [](auto octet) { return octet == PATTERN; }),
            "nothing is written behind the room for content");
    return std::string(reinterpret_cast<const char*>(out->bytes), size);
}

std::string encode(std::string_view text) {
    return encode(exact_bytes_t(text));
}

// A digit that tells success, and the text.
std::string print(const exact_bytes_t& der) {
    std::string out = "kept";
    const int done = oid_asn_to_str_(der.data(), der.data() + der.size(), out);
    require(done == 0 || done == 1, "the result is 0 or 1");
    require_same("kept", out.substr(0, 4), "text is appended");
    return std::to_string(done) + out.substr(4);
}

// A first arc above 2, which the plain division by 40 can give, does not go back.
bool can_be_encoded(std::string_view text) {
    return text.size() >= 2 && text[0] <= '2' && text[1] == '.';
}

void check_text(std::string_view input) {
    const std::string der = answer_of([](const exact_bytes_t& text) { return encode(text); }, input);
    if (der.empty()) {
        return;
    }
    const std::string printed = print(exact_bytes_t(der));
    require(printed[0] == '1', "what was encoded prints");
    const std::string text = printed.substr(1);
    require_same(can_be_encoded(text) ? der : std::string(), encode(text), "printed text goes back to its octets");
}

void check_der(std::string_view input) {
    const std::string printed = answer_of(print, input);
    require(printed[0] == '1' || printed.size() == 1 || printed.back() == '.', "a failure keeps finished arcs");
    const std::string text = printed.substr(1);
    if (printed[0] == '0' || input.size() > MAX_DER_SIZE) {
        return;
    }
    const std::string der = encode(text);
    require(der.empty() != can_be_encoded(text), "printed text goes to octets when its first arc is below 3");
    if (!der.empty()) {
        require_same(printed, print(exact_bytes_t(der)), "octets of a printed text print the same");
    }
}

} // namespace

void check_input(std::string_view input) {
    check_text(input);
    check_der(input);
}
