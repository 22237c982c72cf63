// Cases in plain text files, tests/data/vectors/*.txt. Every test of a subject runs every line of its files. Python reads
// them with tests/data/vectors.py.
//
// Each line is a case; its fields are separated by '|'. Lines that start with '#' are comments; the first other line names
// the fields. Trailing fields may be left out, and "-" means none. Bytes are hexadecimal. In text, "{0D 0A}" means these
// octets and "{}" the empty text; blanks at either end, '|', '{' and '}' are always written as octets.
#ifndef DERKIT_TESTING_VECTORS_H
#define DERKIT_TESTING_VECTORS_H

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "testing/bytes.h"
#include "testing/source_tree.h"

class vector_t {
  public:
    vector_t(std::string where, const std::vector<std::string>& names, std::vector<std::string> fields)
        : where_(std::move(where)), names_(names), fields_(std::move(fields)) {
        if (fields_.size() > names_.size()) {
            throw std::runtime_error(where_ + ": more fields than names");
        }
    }

    // "names.txt:12"
    const std::string& where() const { return where_; }

    // As written, empty if left out.
    std::string field(std::string_view name) const {
        const auto found = std::find(names_.begin(), names_.end(), name);
        if (found == names_.end()) {
            throw std::runtime_error(where_ + ": no field is named " + std::string(name));
        }
        const auto index = static_cast<std::size_t>(found - names_.begin());
        return index < fields_.size() ? fields_[index] : "";
    }

    bool has(std::string_view name) const { return !field(name).empty() && field(name) != "-"; }

    std::string bytes(std::string_view name) const { return field(name) == "{}" ? "" : from_hex(required(name)); }

    std::string text(std::string_view name) const {
        const std::string escaped = required(name);
        std::string text;
        for (std::size_t i = 0; i < escaped.size(); ++i) {
            if (escaped[i] == '{') {
                const std::size_t end = escaped.find('}', i);
                if (end == std::string::npos) {
                    throw std::runtime_error(where_ + ": a '{' that is not closed");
                }
                text += from_hex(std::string_view(escaped).substr(i + 1, end - i - 1));
                i = end;
            } else {
                text += escaped[i];
            }
        }
        return text;
    }

    // A field that is left out, or written "=", equals another.
    std::string text_or(std::string_view name, const std::string& other) const {
        return field(name).empty() || field(name) == "=" ? other : text(name);
    }

  private:
    std::string where_;
    std::vector<std::string> names_;
    std::vector<std::string> fields_;

    std::string required(std::string_view name) const {
        if (!has(name)) {
            throw std::runtime_error(where_ + ": needs the field " + std::string(name));
        }
        return field(name);
    }
};

inline std::vector<std::string> vector_fields(std::string_view line) {
    const std::string_view blank = " ";
    std::vector<std::string> fields;
    for (;;) {
        const std::size_t end = line.find('|');
        std::string_view field = line.substr(0, end);
        field.remove_prefix(std::min(field.find_first_not_of(blank), field.size()));
        field = field.substr(0, field.find_last_not_of(blank) + 1);
        fields.emplace_back(field);
        if (end == std::string_view::npos) {
            return fields;
        }
        line.remove_prefix(end + 1);
    }
}

// All cases of a file, in order; never none.
inline std::vector<vector_t> read_vectors(const std::string& file) {
    std::ifstream in(source_tree() / "tests/data/vectors" / file);
    std::vector<std::string> names;
    std::vector<vector_t> vectors;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (names.empty()) {
            names = vector_fields(line);
        } else {
            vectors.emplace_back(file + ":" + std::to_string(number), names, vector_fields(line));
        }
    }
    if (vectors.empty()) {
        throw std::runtime_error("no cases in " + file);
    }
    return vectors;
}

#endif
