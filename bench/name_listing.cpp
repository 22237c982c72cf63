#include "name_listing.h"

#include <algorithm>

#include "der.h"

namespace {

void append_utf8(unsigned int code_point, std::string& out) {
    const auto add = [&out](unsigned int octet) { out.push_back(static_cast<char>(octet)); };
    if (code_point < 0x80) {
        add(code_point);
    } else if (code_point < 0x800) {
        add(0xC0 | code_point >> 6);
        add(0x80 | (code_point & 0x3F));
    } else {
        add(0xE0 | code_point >> 12);
        add(0x80 | (code_point >> 6 & 0x3F));
        add(0x80 | (code_point & 0x3F));
    }
}

// False for a string whose characters take more than these few lines to read.
bool decode_value(const element_t& value, std::string& utf8) {
    utf8.clear();
    if (value.tag == TAG_BMP_STRING) {
        for (std::size_t i = 0; i + 1 < value.content.size(); i += 2) {
            const unsigned int high = static_cast<unsigned char>(value.content[i]);
            append_utf8(high << 8 | static_cast<unsigned char>(value.content[i + 1]), utf8);
        }
        return true;
    }
    utf8 = value.content;
    return value.tag != TAG_T61_STRING ||
           std::all_of(utf8.begin(), utf8.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

int hex_digit(char c) {
    const std::size_t found = std::string_view("0123456789ABCDEFabcdef").find(c);
    return found == std::string_view::npos ? -1 : static_cast<int>(found < 16 ? found : found - 6);
}

std::string bytes_of(std::string_view hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes.push_back(static_cast<char>(hex_digit(hex[i]) * 16 + hex_digit(hex[i + 1])));
    }
    return bytes;
}

// Takes the character behind a backslash, or the byte that two digits there stand for.
char take_escaped(std::string_view& text) {
    const bool is_hex = text.size() >= 2 && hex_digit(text[0]) >= 0 && hex_digit(text[1]) >= 0;
    const char c = is_hex ? bytes_of(text.substr(0, 2))[0] : text.front();
    text.remove_prefix(is_hex ? 2 : 1);
    return c;
}

// The digits stand for a whole element; where they do not, nobody could read them back.
std::string decode_or(const std::string& otherwise, std::string_view der) {
    try {
        std::string decoded;
        return decode_value(take_element(der), decoded) ? decoded : otherwise;
    } catch (const std::exception&) {
        return otherwise;
    }
}

// Takes one value off the text, up to the separator behind it, and undoes quotes, backslashes and the #hex form.
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
    if (!is_encoded) {
        return value;
    }
    const std::string der = bytes_of(std::string_view(value).substr(1));
    return decode_or(value, der);
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

std::string listed(const std::vector<rdn_t>& rdns, bool with_types) {
    std::string lines;
    for (const rdn_t& rdn : rdns) {
        for (const attribute_t& attribute : rdn) {
            lines += (with_types ? upper_hex(attribute.oid) + "=" : "") + attribute.value + "\n";
        }
    }
    return lines;
}

void put_in_order(std::vector<rdn_t>& rdns, order_t order) {
    if (order == order_t::REVERSED) {
        std::reverse(rdns.begin(), rdns.end());
    }
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
    return listed(rdns, false);
}

std::string listed_values(std::string_view text, order_t order) {
    std::vector<rdn_t> rdns;
    if (!split_text(text, rdns)) {
        return "not attributes: " + std::string(text);
    }
    put_in_order(rdns, order);
    return listed(rdns, false);
}

std::string listed_attributes(const std::vector<rdn_t>& rdns) {
    return listed(rdns, true);
}

std::string listed_attributes(std::string_view der, order_t order) {
    std::vector<rdn_t> rdns;
    if (der.empty() || !decode_name(der, rdns)) {
        return "not a name: " + upper_hex(der);
    }
    put_in_order(rdns, order);
    return listed(rdns, true);
}
