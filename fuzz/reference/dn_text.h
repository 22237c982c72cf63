// A second splitter of printable DNs, slow and obvious: for each character it looks from the start of the value whether
// the character is escaped or quoted.
#ifndef DERKIT_FUZZ_REFERENCE_DN_TEXT_H
#define DERKIT_FUZZ_REFERENCE_DN_TEXT_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct reference_attribute_t {
    std::string type;
    std::string value;
    bool plus_joined = false;
};

struct reference_dn_t {
    bool done = false;
    std::vector<reference_attribute_t> attributes; // on failure those before the error
};

// An odd number of consecutive backslashes before it.
inline bool is_escaped(std::string_view value, std::size_t position) {
    std::size_t num_backslashes = 0;
    while (num_backslashes < position && value[position - 1 - num_backslashes] == '\\') {
        ++num_backslashes;
    }
    return num_backslashes % 2 == 1;
}

// An odd number of unescaped quotes before it.
inline bool is_quoted(std::string_view value, std::size_t position) {
    bool quoted = false;
    for (std::size_t i = 0; i < position; ++i) {
        if (value[i] == '"' && !is_escaped(value, i)) {
            quoted = !quoted;
        }
    }
    return quoted;
}

// The size of the value at the start of a text.
inline std::size_t reference_value_size(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((text[i] == ',' || text[i] == '+') && !is_escaped(text, i) && !is_quoted(text, i)) {
            return i;
        }
    }
    return text.size();
}

inline std::string_view without_leading_blanks(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

inline reference_dn_t reference_split(std::string_view text) {
    reference_dn_t dn;
    std::string_view rest = without_leading_blanks(text);
    if (rest.empty()) {
        dn.done = true;
        return dn;
    }
    for (char separator = ',';;) {
        reference_attribute_t attribute;
        attribute.plus_joined = separator == '+';
        attribute.type = rest.substr(0, rest.find_first_of("= \t"));
        const bool has_type = attribute.type.find_first_not_of(",+") != std::string::npos;
        rest = without_leading_blanks(rest.substr(attribute.type.size()));
        if (!has_type || rest.empty() || rest[0] != '=') {
            return dn;
        }
        rest.remove_prefix(1);
        const std::size_t value_size = reference_value_size(rest);
        if (is_quoted(rest, value_size)) {
            return dn;
        }
        attribute.value = rest.substr(0, value_size);
        dn.attributes.push_back(attribute);
        if (value_size == rest.size()) {
            dn.done = true;
            return dn;
        }
        separator = rest[value_size];
        rest = without_leading_blanks(rest.substr(value_size + 1));
    }
}

#endif
