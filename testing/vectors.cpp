#include "testing/vectors.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "testing/bytes.h"
#include "testing/source_tree.h"

namespace {

std::vector<std::string> fields_of(std::string_view line) {
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

} // namespace

vector_t::vector_t(std::string where, const std::vector<std::string>& names, std::vector<std::string> fields)
    : where_(std::move(where)), names_(names), fields_(std::move(fields)) {
    if (fields_.size() > names_.size()) {
        throw std::runtime_error(where_ + ": more fields than names");
    }
}

std::string vector_t::field(std::string_view name) const {
    const auto found = std::find(names_.begin(), names_.end(), name);
    if (found == names_.end()) {
        throw std::runtime_error(where_ + ": no field is named " + std::string(name));
    }
    const auto index = static_cast<std::size_t>(found - names_.begin());
    return index < fields_.size() ? fields_[index] : "";
}

std::string vector_t::one_of(std::string_view name, std::initializer_list<std::string_view> words) const {
    if (std::find(words.begin(), words.end(), field(name)) == words.end()) {
        throw std::runtime_error(where_ + ": \"" + field(name) + "\" is not allowed in " + std::string(name));
    }
    return field(name);
}

std::string vector_t::bytes(std::string_view name) const {
    return field(name) == "{}" ? "" : from_hex(required(name));
}

unsigned int vector_t::number(std::string_view name, int base) const {
    return static_cast<unsigned int>(std::stoul(required(name), nullptr, base));
}

std::string vector_t::text(std::string_view name) const {
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

std::string vector_t::text_or(std::string_view name, const std::string& other) const {
    return field(name).empty() || field(name) == "=" ? other : text(name);
}

std::string vector_t::required(std::string_view name) const {
    if (!has(name)) {
        throw std::runtime_error(where_ + ": needs the field " + std::string(name));
    }
    return field(name);
}

std::vector<vector_t> read_vectors(const std::string& file) {
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
            names = fields_of(line);
        } else {
            vectors.emplace_back(file + ":" + std::to_string(number), names, fields_of(line));
        }
    }
    if (vectors.empty()) {
        throw std::runtime_error("no cases in " + file);
    }
    return vectors;
}
