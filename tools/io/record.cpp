#include "io/record.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "io/bytes.h"

namespace {

// One character of UTF-8; size 0 if the bytes are not UTF-8 (Unicode 3.9, table 3-7).
struct utf8_char_t {
    char32_t code = 0;
    std::size_t size = 0;
};

unsigned int octet(char c) {
    return static_cast<unsigned char>(c);
}

bool is_continuation(char c) {
    return (octet(c) & 0xC0) == 0x80;
}

std::size_t size_by_first_octet(unsigned int first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 2;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 3;
    }
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// Overlong forms, surrogates and codes above U+10FFFF are not UTF-8.
bool is_allowed(char32_t code, std::size_t size) {
    if (size == 3) {
        return code >= 0x800 && !(code >= 0xD800 && code <= 0xDFFF);
    }
    return size != 4 || (code >= 0x10000 && code <= 0x10FFFF);
}

utf8_char_t first_char(std::string_view text) {
    const unsigned int first = octet(text[0]);
    const std::size_t size = size_by_first_octet(first);
    if (size == 0 || size > text.size()) {
        return {};
    }
    char32_t code = size == 1 ? first : first & (0x7Fu >> size);
    for (std::size_t i = 1; i < size; ++i) {
        if (!is_continuation(text[i])) {
            return {};
        }
        code = code << 6 | (octet(text[i]) & 0x3F);
    }
    return is_allowed(code, size) ? utf8_char_t{code, size} : utf8_char_t{};
}

bool is_control(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F);
}

bool reorders_text(char32_t code) {
    return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

bool ends_a_line(char32_t code) {
    return code == 0x2028 || code == 0x2029;
}

bool is_shown(char32_t code) {
    return !is_control(code) && !reorders_text(code) && !ends_a_line(code);
}

void append_escaped(std::string_view bytes, std::string& out) {
    for (const char& byte : bytes) {
        out += '\\';
        out += to_hex(std::string_view(&byte, 1));
    }
}

} // namespace

shown_text_t::shown_text_t(std::string_view raw) {
    text_.reserve(raw.size());
    while (!raw.empty()) {
        const utf8_char_t next = first_char(raw);
        const std::string_view bytes = raw.substr(0, next.size == 0 ? 1 : next.size);
        if (next.size != 0 && is_shown(next.code)) {
            text_ += bytes;
        } else {
            append_escaped(bytes, text_);
        }
        raw.remove_prefix(bytes.size());
    }
}

shown_text_t shown_text_t::without_escapes(std::string_view raw) {
    shown_text_t shown;
    while (!raw.empty()) {
        const std::size_t size = std::min(raw.find('\\'), raw.size());
        shown.text_ += shown_text_t(raw.substr(0, size)).text_;
        raw.remove_prefix(size);
        if (!raw.empty()) {
            append_escaped(raw.substr(0, 1), shown.text_);
            raw.remove_prefix(1);
        }
    }
    return shown;
}

std::string record_t::lines(const shown_text_t& prefix) const {
    std::string out;
    for (const auto& [key, value] : fields_) {
        const shown_text_t* const text = std::get_if<shown_text_t>(&value);
        out += prefix.str();
        out += key;
        out += ": ";
        out += text != nullptr ? text->str() : std::to_string(std::get<long long>(value));
        out += '\n';
    }
    return out;
}

std::string record_t::json() const {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const auto& [key, value] : fields_) {
        const shown_text_t* const text = std::get_if<shown_text_t>(&value);
        if (text != nullptr) {
            object[key] = text->str();
        } else {
            object[key] = std::get<long long>(value);
        }
    }
    return object.dump() + "\n";
}
