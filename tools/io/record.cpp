#include "io/record.h"

#include <algorithm>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "io/bytes.h"

namespace {

using json_t = nlohmann::ordered_json;

// The version of the JSON output: the MAJOR of what docs/derkit.schema.json describes.
constexpr int FORMAT = 1;

std::string code_text(unsigned int code) {
    char text[sizeof "0x00040001"];
    static_cast<void>(std::snprintf(text, sizeof text, "0x%08X", code));
    return text;
}

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

// Writes values in both forms.
class record_t::writer_t {
  public:
    static void append_lines(const record_t& record, const std::string& indent, std::string& out) {
        for (const auto& [key, value] : record.fields_) {
            out += indent;
            out += key;
            out += ':';
            std::visit([&](const auto& typed) { append(typed, indent, out); }, value);
        }
    }

    static json_t object(const record_t& record) {
        json_t object = json_t::object();
        add_fields(record, object);
        return object;
    }

    static void add_fields(const record_t& record, json_t& object) {
        for (const auto& [key, value] : record.fields_) {
            object[key] = std::visit([](const auto& typed) { return json(typed); }, value);
        }
    }

  private:
    static void append_line(const std::string& text, std::string& out) {
        out += ' ';
        out += text;
        out += '\n';
    }

    static void append(const shown_text_t& text, const std::string&, std::string& out) { append_line(text.str(), out); }
    static void append(long long number, const std::string&, std::string& out) {
        append_line(std::to_string(number), out);
    }
    static void append(bool value, const std::string&, std::string& out) { append_line(value ? "yes" : "no", out); }
    static void append(code_t code, const std::string&, std::string& out) { append_line(code_text(code.number), out); }

    static void append(const texts_t& texts, const std::string& indent, std::string& out) {
        out += '\n';
        for (const shown_text_t& text : texts) {
            out += indent;
            out += '-';
            append_line(text.str(), out);
        }
    }

    // The mark takes the place of the first line's indentation.
    static void append(const parts_t& parts, const std::string& indent, std::string& out) {
        out += '\n';
        for (const record_t& part : parts) {
            const std::size_t mark = out.size() + indent.size();
            append_lines(part, indent + "  ", out);
            out[mark] = '-';
        }
    }

    static json_t json(const shown_text_t& text) { return text.str(); }
    static json_t json(long long number) { return number; }
    static json_t json(bool value) { return value; }
    static json_t json(code_t code) { return code.number; }

    static json_t json(const texts_t& texts) {
        json_t array = json_t::array();
        for (const shown_text_t& text : texts) {
            array.push_back(text.str());
        }
        return array;
    }

    static json_t json(const parts_t& parts) {
        json_t array = json_t::array();
        for (const record_t& part : parts) {
            array.push_back(object(part));
        }
        return array;
    }
};

void record_t::add_bytes(const char* key, std::string_view bytes) {
    add(key, to_hex(bytes));
}

std::string record_t::lines() const {
    std::string out;
    writer_t::append_lines(*this, "", out);
    return out;
}

std::string record_t::json() const {
    json_t object = {{"format", FORMAT}, {"object", object_}};
    object["file"] = shown_text_t(place_.file).str();
    object["index"] = place_.index;
    writer_t::add_fields(*this, object);
    return object.dump() + "\n";
}
