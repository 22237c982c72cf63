// A second decoder of the values in printable DNs.
#ifndef DERKIT_FUZZ_REFERENCE_DN_VALUE_H
#define DERKIT_FUZZ_REFERENCE_DN_VALUE_H

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "reference/tag_reader.h"

struct reference_value_t {
    unsigned char tag = 0;
    std::string content;
};

// PrintableString, else IA5String, else UTF8String.
inline unsigned char reference_string_tag(std::string_view characters) {
    const std::string_view printable = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789 '()+,-./:=?";
    if (std::any_of(characters.begin(), characters.end(), [](char c) { return static_cast<unsigned char>(c) > 127; })) {
        return 0x0C;
    }
    return characters.find_first_not_of(printable) == std::string_view::npos ? 0x13 : 0x16;
}

inline std::optional<char> reference_octet(std::string_view digits) {
    if (digits.size() != 2 || digits.find_first_not_of("0123456789ABCDEFabcdef") != std::string_view::npos) {
        return std::nullopt;
    }
    return static_cast<char>(std::stoi(std::string(digits), nullptr, 16));
}

inline std::optional<reference_value_t> reference_quoted(std::string_view inner) {
    reference_value_t value;
    std::string deciding; // the characters that choose the string type
    for (std::size_t i = 0; i < inner.size(); ++i) {
        if (inner[i] == '\\' && i + 1 == inner.size()) {
            return std::nullopt;
        }
        if (inner.substr(i, 2) == "\\\"") {
            value.content += '"';
            ++i;
        } else if (inner[i] == '\\') {
            value.content += inner.substr(i, 2);
            deciding += inner[++i];
        } else {
            value.content += inner[i];
            deciding += inner[i];
        }
    }
    value.tag = reference_string_tag(deciding);
    return value;
}

inline std::optional<reference_value_t> reference_hex(std::string_view digits) {
    std::string der;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const std::optional<char> octet = reference_octet(digits.substr(i, 2));
        if (!octet) {
            return std::nullopt;
        }
        der += *octet;
    }
    const std::optional<reference_header_t> header = reference_header(0, der);
    if (!header || !header->fits) {
        return std::nullopt;
    }
    reference_value_t value;
    value.tag = static_cast<unsigned char>(der[0]);
    value.content = der.substr(static_cast<std::size_t>(header->size), static_cast<std::size_t>(header->length));
    return value;
}

inline std::optional<reference_value_t> reference_plain(std::string_view text) {
    const std::string_view special = "\"#+,;<=>\\";
    reference_value_t value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (special.find(text[i]) == std::string_view::npos) {
            value.content += text[i];
        } else if (text[i] != '\\' || i + 1 == text.size()) {
            return std::nullopt;
        } else if (const std::optional<char> octet = reference_octet(text.substr(i + 1, 2))) {
            value.content += *octet;
            i += 2;
        } else if (special.find(text[++i]) != std::string_view::npos) {
            value.content += text[i];
        } else {
            return std::nullopt;
        }
    }
    value.tag = reference_string_tag(value.content);
    return value;
}

// Empty for a value that is refused.
inline std::optional<reference_value_t> reference_value(std::string_view text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
        return reference_quoted(text.substr(1, text.size() - 2));
    }
    if (text.size() >= 2 && text.front() == '#') {
        return reference_hex(text.substr(1));
    }
    return reference_plain(text);
}

#endif
