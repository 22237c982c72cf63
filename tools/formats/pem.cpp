#include "formats/pem.h"

#include <algorithm>
#include <array>
#include <utility>

#include "io/failure.h"
#include "io/secret.h"

namespace {

constexpr std::string_view BEGIN = "-----BEGIN ";
constexpr std::string_view END = "-----END ";
constexpr std::string_view DASHES = "-----";
constexpr std::string_view BLANKS = " \t\v\f";
constexpr std::string_view LINE_ENDS = "\r\n";

std::string_view trim(std::string_view line) {
    const std::size_t first = line.find_first_not_of(BLANKS);
    return first == std::string_view::npos ? std::string_view()
                                           : line.substr(first, line.find_last_not_of(BLANKS) - first + 1);
}

// The label of a line "-----BEGIN label-----", or of its END; nothing for any other line, such as a whole block on one
// line: labels are shown in messages, where the key of such a block must not end up.
std::optional<std::string_view> boundary_label(std::string_view line, std::string_view opening) {
    if (!line.starts_with(opening) || !line.substr(opening.size()).ends_with(DASHES)) {
        return std::nullopt;
    }
    line.remove_prefix(opening.size());
    line.remove_suffix(DASHES.size());
    return line.find(DASHES) == std::string_view::npos ? std::optional(line) : std::nullopt;
}

constexpr std::string_view BASE64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr signed char NOT_BASE64 = -1;

constexpr std::array<signed char, 256> make_base64_values() {
    std::array<signed char, 256> values{};
    values.fill(NOT_BASE64);
    signed char value = 0;
    for (const char c : BASE64) {
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

// Decodes base64 without blanks (RFC 4648 4). Unused bits of the last character are ignored.
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

pem_reader_t::pem_reader_t(std::string_view text) : rest_(without_byte_order_mark(text)) {}

pem_reader_t::pem_reader_t(input_stream_t& file) : file_(&file) {
    const std::string_view start = file.look(BYTE_ORDER_MARK.size());
    rest_ = without_byte_order_mark(start);
    looked_at_ = start.size();
}

// Appends more of the file to the rest; false at its end.
bool pem_reader_t::look_further() {
    if (file_ == nullptr) {
        return false;
    }
    file_->pass(looked_at_ - rest_.size());
    const std::size_t old_size = rest_.size();
    rest_ = file_->look(old_size + 1);
    looked_at_ = rest_.size();
    return looked_at_ != old_size;
}

// The end of the line that rest_ starts with. After a CR at the end of rest_ there may be an LF, so more is read.
std::size_t pem_reader_t::find_line_end() {
    std::size_t end = rest_.find_first_of(LINE_ENDS);
    for (;;) {
        const std::size_t searched = rest_.size();
        const bool certain = end != std::string_view::npos && (rest_[end] == '\n' || end + 1 != searched);
        if (certain || !look_further()) {
            return end;
        }
        end = rest_.find_first_of(LINE_ENDS, std::min(end, searched));
    }
}

std::optional<std::string_view> pem_reader_t::next_line() {
    const std::size_t end = find_line_end();
    if (rest_.empty()) {
        return std::nullopt;
    }
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(line.size());
    if (!rest_.empty()) {
        rest_.remove_prefix(rest_.starts_with("\r\n") ? 2 : 1);
    }
    ++line_number_;
    return trim(line);
}

std::optional<std::string> pem_reader_t::next_begin() {
    if (next_label_.has_value()) {
        return std::exchange(next_label_, std::nullopt);
    }
    while (const std::optional<std::string_view> line = next_line()) {
        if (const std::optional<std::string_view> label = boundary_label(*line, BEGIN)) {
            return std::string(*label);
        }
    }
    return std::nullopt;
}

std::optional<pem_block_t> pem_reader_t::next() {
    if (file_ != nullptr) {
        file_->begin_item();
    }
    const std::optional<std::string> label = next_begin();
    if (!label.has_value()) {
        return std::nullopt;
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

// Collects the lines between BEGIN and END. Returns what is wrong, or nothing.
std::string pem_reader_t::read_body(const std::string& label, std::string& base64) {
    bool in_headers = false;
    for (;;) {
        const std::optional<std::string_view> line = next_line();
        if (!line.has_value()) {
            return "no END line";
        }
        if (const std::optional<std::string_view> next_label = boundary_label(*line, BEGIN)) {
            next_label_ = *next_label;
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

bool pem_blocks_t::any(const std::string& file, const char* wanted) const {
    if (num_taken == 0 && other_label.has_value()) {
        throw failure_t(file, std::string("holds ") + wanted + ", but " + *other_label);
    }
    return num_taken != 0;
}

pem_blocks_t take_pem_blocks(pem_reader_t& reader, bool (*is_wanted)(std::string_view label),
                             const std::function<void(pem_block_t& block, unsigned int number)>& take) {
    pem_blocks_t blocks;
    while (std::optional<pem_block_t> block = reader.next()) {
        const wipe_at_end_t wiping(block->der);
        if (is_wanted(block->label)) {
            take(*block, ++blocks.num_taken);
        } else {
            blocks.other_label = block->label;
        }
    }
    return blocks;
}
