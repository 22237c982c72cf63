#include "tools/pem.h"

#include <array>

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr std::string_view BEGIN = "-----BEGIN ";
constexpr std::string_view END = "-----END ";
constexpr std::string_view DASHES = "-----";
constexpr std::string_view BLANKS = " \t\v\f";

std::string_view trim(std::string_view line) {
    const std::size_t first = line.find_first_not_of(BLANKS);
    return first == std::string_view::npos ? std::string_view()
                                           : line.substr(first, line.find_last_not_of(BLANKS) - first + 1);
}

// The label of a line "-----BEGIN label-----", or of its END; nothing for another line.
std::optional<std::string_view> boundary_label(std::string_view line, std::string_view opening) {
    if (!line.starts_with(opening) || !line.substr(opening.size()).ends_with(DASHES)) {
        return std::nullopt;
    }
    line.remove_prefix(opening.size());
    line.remove_suffix(DASHES.size());
    return line;
}

constexpr signed char NOT_BASE64 = -1;

constexpr std::array<signed char, 256> make_base64_values() {
    std::array<signed char, 256> values{};
    values.fill(NOT_BASE64);
    signed char value = 0;
    for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")) {
        values[static_cast<unsigned char>(c)] = value++;
    }
    return values;
}

constexpr std::array<signed char, 256> BASE64_VALUES = make_base64_values();

std::string_view without_padding(std::string_view text) {
    for (int i = 0; i < 2 && text.ends_with('='); ++i) {
        text.remove_suffix(1);
    }
    return text;
}

// Decodes base64 without blanks (RFC 4648 4). Unused bits of the last character are not looked at.
bool decode_base64(std::string_view text, std::string& out) {
    if (text.empty() || text.size() % 4 != 0) {
        return false;
    }
    out.reserve(text.size() / 4 * 3 + 2);
    unsigned int bits = 0;
    unsigned int num_bits = 0;
    for (const char c : without_padding(text)) {
        const signed char value = BASE64_VALUES[static_cast<unsigned char>(c)];
        if (value == NOT_BASE64) {
            return false;
        }
        bits = (bits << 6 | static_cast<unsigned int>(value)) & 0xFFFF;
        num_bits += 6;
        if (num_bits >= 8) {
            num_bits -= 8;
            out.push_back(static_cast<char>(bits >> num_bits & 0xFF));
        }
    }
    return true;
}

void append_without_blanks(std::string_view line, std::string& out) {
    for (const char c : line) {
        if (BLANKS.find(c) == std::string_view::npos) {
            out.push_back(c);
        }
    }
}

} // namespace

pem_reader_t::pem_reader_t(std::string_view text) : rest_(text) {
    if (rest_.starts_with(BYTE_ORDER_MARK)) {
        rest_.remove_prefix(BYTE_ORDER_MARK.size());
    }
}

std::optional<std::string_view> pem_reader_t::next_line() {
    if (rest_.empty()) {
        return std::nullopt;
    }
    const std::size_t end = rest_.find_first_of("\r\n");
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(line.size());
    if (!rest_.empty()) {
        rest_.remove_prefix(rest_.starts_with("\r\n") ? 2 : 1);
    }
    ++line_number_;
    return trim(line);
}

std::optional<pem_block_t> pem_reader_t::next() {
    while (const std::optional<std::string_view> line = next_line()) {
        const std::optional<std::string_view> label = boundary_label(*line, BEGIN);
        if (!label.has_value()) {
            continue;
        }
        pem_block_t block;
        block.label = *label;
        block.line = line_number_;
        std::string base64;
        block.problem = read_body(block.label, base64);
        if (block.problem.empty() && !decode_base64(base64, block.der)) {
            block.problem = "not valid base64";
        }
        return block;
    }
    return std::nullopt;
}

// Collects what stands between BEGIN and END. Gives what is wrong, or nothing.
std::string pem_reader_t::read_body(const std::string& label, std::string& base64) {
    bool in_headers = false;
    for (;;) {
        const std::string_view from_here = rest_;
        const std::optional<std::string_view> line = next_line();
        if (!line.has_value()) {
            return "no END line";
        }
        if (boundary_label(*line, BEGIN).has_value()) {
            rest_ = from_here;
            --line_number_;
            return "no END line before the next BEGIN";
        }
        if (const std::optional<std::string_view> end_label = boundary_label(*line, END)) {
            return *end_label == label ? "" : "the END line says " + std::string(*end_label);
        }
        // Headers end at an empty line.
        in_headers = !line->empty() && (in_headers || line->find(':') != std::string_view::npos);
        if (!in_headers) {
            append_without_blanks(*line, base64);
        }
    }
}
