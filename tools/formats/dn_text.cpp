#include "formats/dn_text.h"

#include "derkit/asn_printable.h"
#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

std::string_view trim_blanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool is_known_type(const std::string& type, oid_map_handle_t map) {
    return oid_from_text(type).has_value() || oid_map_find_sn(map, type.data(), size_of(type)) != nullptr;
}

bool is_taken(std::string_view attribute, oid_map_handle_t map) {
    std::string der;
    return printable_to_asn_dn(std::string(attribute).c_str(), der, map);
}

// What to write instead of a type that is known by another name.
std::string suggestion_for(const std::string& type, oid_map_handle_t map) {
    const std::optional<std::string> content = oid_from_name(type);
    if (!content.has_value()) {
        return "";
    }
    const OIDdescr_t* const entry = oid_map_find_asn(map, octets(*content), size_of(*content));
    return entry != nullptr ? "; " + std::string(entry->oid_sn, entry->oid_sn_size) + " is"
                            : "; its OID " + oid_text(*content) + " is taken";
}

// Empty if the library takes the attribute.
std::string problem_of(std::string_view attribute, oid_map_handle_t map) {
    const std::size_t equals = attribute.find('=');
    if (equals == std::string_view::npos) {
        return trim_blanks(attribute).empty() ? "is empty" : "has no =";
    }
    const std::string type(trim_blanks(attribute.substr(0, equals)));
    if (type.empty()) {
        return "has no type";
    }
    if (!is_known_type(type, map)) {
        return "type " + type + " is not in the map" + suggestion_for(type, map);
    }
    if (is_taken(attribute, map)) {
        return "";
    }
    const bool blank_is_wrong = is_taken(without_leading_blanks(attribute), map);
    return "the value of " + type + " is malformed" +
           (blank_is_wrong ? " (--loose takes it without the blank in front)" : "");
}

// The place after the first "=", or that after the last character.
std::size_t begin_of_value(std::string_view attribute) {
    const std::size_t equals = attribute.find('=');
    return equals == std::string_view::npos ? attribute.size() : equals + 1;
}

} // namespace

std::vector<std::string_view> split_dn(std::string_view text) {
    std::vector<std::string_view> attributes;
    std::size_t begin = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            quoted = !quoted;
        } else if (!quoted && (text[i] == ',' || text[i] == '+')) {
            attributes.push_back(text.substr(begin, i - begin));
            begin = i + 1;
        }
    }
    attributes.push_back(text.substr(begin));
    return attributes;
}

std::string explain_refusal(std::string_view text, oid_map_handle_t map) {
    unsigned int number = 0;
    for (const std::string_view attribute : split_dn(text)) {
        ++number;
        const std::string problem = problem_of(attribute, map);
        if (!problem.empty()) {
            return "attribute " + std::to_string(number) + ": " + problem;
        }
    }
    return "";
}

std::vector<unsigned int> find_leading_blanks(std::string_view text) {
    std::vector<unsigned int> found;
    unsigned int number = 0;
    for (const std::string_view attribute : split_dn(text)) {
        ++number;
        if (attribute.substr(begin_of_value(attribute)).starts_with(' ')) {
            found.push_back(number);
        }
    }
    return found;
}

std::string without_leading_blanks(std::string_view text) {
    std::string loose;
    for (const std::string_view attribute : split_dn(text)) {
        const std::size_t value = begin_of_value(attribute);
        const std::size_t first = std::min(attribute.find_first_not_of(' ', value), attribute.size());
        loose += attribute.substr(0, value);
        loose += attribute.substr(first);
        const char* const end = attribute.data() + attribute.size();
        if (end != text.data() + text.size()) {
            loose += *end;
        }
    }
    return loose;
}

std::string unescape(std::string_view value) {
    if (value.starts_with('#')) {
        return std::string(value);
    }
    std::string raw;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            raw += value[i];
            continue;
        }
        const std::optional<std::string> octet = i + 2 < value.size() && value[i + 1] != ' ' && value[i + 2] != ' '
                                                     ? from_hex(value.substr(i + 1, 2))
                                                     : std::nullopt;
        raw += octet.has_value() && octet->size() == 1 ? *octet : std::string(1, value[i + 1]);
        i += octet.has_value() && octet->size() == 1 ? 2 : 1;
    }
    return raw;
}
