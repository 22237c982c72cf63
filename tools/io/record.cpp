#include "io/record.h"

#include <nlohmann/json.hpp>

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
