// A plain reading of names, by which results are judged.
#include <algorithm>

#include "tasks.h"
#include "testing/iconv.h"

namespace {

// Returns false for a string that takes more than these few lines to decode.
bool decode_value(const element_t& value, std::string& utf8) {
    constexpr unsigned int T61_STRING = 0x14;
    constexpr unsigned int BMP_STRING = 0x1E;
    const bool is_ascii =
        std::all_of(value.content.begin(), value.content.end(), [](char c) { return (c & 0x80) == 0; });
    utf8 = value.tag == BMP_STRING ? iconv_text("UTF-16BE", "UTF-8", value.content).value_or("") : value.content;
    return value.tag != T61_STRING || is_ascii;
}

bool is_hex(std::string_view text) {
    return text.size() >= 2 && text.substr(0, 2).find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
}

// Takes the character after a backslash, or the byte that two digits there stand for.
char take_escaped(std::string_view& text) {
    const std::size_t size = is_hex(text) ? 2 : 1;
    const char c = size == 2 ? from_hex(text.substr(0, 2))[0] : text.front();
    text.remove_prefix(size);
    return c;
}

// "#" and the digits of a whole element. Digits that are none are kept: nobody could read them back.
std::string decode_or_keep(const std::string& digits) {
    try {
        const std::string der = from_hex(std::string_view(digits).substr(1));
        std::string_view rest = der;
        std::string decoded;
        return decode_value(take_element(rest), decoded) ? decoded : digits;
    } catch (const std::exception&) {
        return digits;
    }
}

// Takes one value off the text, up to the next separator, and undoes quotes, backslashes and the #hex form.
std::string take_value(std::string_view& text) {
    const bool is_encoded = text.starts_with('#');
    std::string value;
    bool is_quoted = false;
    while (!text.empty() && (is_quoted || (text.front() != ',' && text.front() != '+'))) {
        const char c = text.front();
        text.remove_prefix(1);
        if (c == '"') {
            is_quoted = !is_quoted;
        } else {
            value.push_back(c == '\\' && !text.empty() ? take_escaped(text) : c);
        }
    }
    return is_encoded ? decode_or_keep(value) : value;
}

bool split_text(std::string_view text, std::vector<rdn_t>& rdns) {
    bool starts_rdn = true;
    while (!text.empty()) {
        const std::size_t equals = text.find('=');
        if (equals == std::string_view::npos ||
            text.substr(0, equals).find_first_of(",+\\\"") != std::string_view::npos) {
            return false;
        }
        text.remove_prefix(equals + 1);
        if (starts_rdn) {
            rdns.emplace_back();
        }
        rdns.back().push_back({std::string(), take_value(text)});
        if (!text.empty()) {
            starts_rdn = text.front() == ',';
            text.remove_prefix(1);
        }
    }
    return true;
}

std::string listed(std::vector<rdn_t> rdns, order_t order, bool with_types) {
    if (order == order_t::REVERSED) {
        std::reverse(rdns.begin(), rdns.end());
    }
    std::string lines;
    for (const rdn_t& rdn : rdns) {
        for (const attribute_t& attribute : rdn) {
            lines += (with_types ? upper_hex(attribute.oid) + "=" : "") + attribute.value + "\n";
        }
    }
    return lines;
}

} // namespace

bool decode_name(std::string_view der, std::vector<rdn_t>& rdns) {
    std::string_view rest = take_element(der).content;
    while (!rest.empty()) {
        std::string_view members = take_element(rest).content;
        rdn_t& rdn = rdns.emplace_back();
        while (!members.empty()) {
            std::string_view attribute = take_element(members).content;
            const std::string oid(take_element(attribute).content);
            std::string value;
            if (!decode_value(take_element(attribute), value)) {
                return false;
            }
            rdn.push_back({oid, value});
        }
    }
    return true;
}

std::string listed_values(const std::vector<rdn_t>& rdns) {
    return listed(rdns, order_t::AS_ENCODED, false);
}

std::string listed_values(std::string_view text, order_t order) {
    std::vector<rdn_t> rdns;
    return split_text(text, rdns) ? listed(rdns, order, false) : "not attributes: " + std::string(text);
}

std::string listed_attributes(const std::vector<rdn_t>& rdns) {
    return listed(rdns, order_t::AS_ENCODED, true);
}

std::string listed_attributes(std::string_view der, order_t order) {
    std::vector<rdn_t> rdns;
    return !der.empty() && decode_name(der, rdns) ? listed(rdns, order, true) : "not a name: " + upper_hex(der);
}
