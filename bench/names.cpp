#include "names.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "der.h"

namespace {

constexpr const char* ROOT_BUNDLE = "/etc/ssl/certs/ca-certificates.crt";

struct type_t {
    const char* name;
    const char* oid;
};
constexpr type_t TYPES[] = {
    {"C", "2.5.4.6"}, {"ST", "2.5.4.8"}, {"L", "2.5.4.7"}, {"O", "2.5.4.10"}, {"OU", "2.5.4.11"}, {"CN", "2.5.4.3"},
};

std::string from_base64(std::string_view text) {
    std::string bytes;
    unsigned int bits = 0;
    int num_bits = 0;
    for (const char c : text) {
        constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        const std::size_t digit = ALPHABET.find(c);
        if (digit == std::string_view::npos) {
            continue;
        }
        bits = bits << 6 | static_cast<unsigned int>(digit);
        num_bits += 6;
        if (num_bits >= 8) {
            num_bits -= 8;
            bytes.push_back(static_cast<char>(bits >> num_bits & 0xFF));
        }
    }
    return bytes;
}

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

// Code points below 0x10000.
std::vector<unsigned int> code_points(std::string_view utf8) {
    std::vector<unsigned int> result;
    for (const char c : utf8) {
        const unsigned int octet = static_cast<unsigned char>(c);
        if ((octet & 0xC0) == 0x80) {
            result.back() = result.back() << 6 | (octet & 0x3F);
        } else {
            result.push_back(octet < 0x80 ? octet : octet < 0xE0 ? octet & 0x1F : octet & 0x0F);
        }
    }
    return result;
}

std::string encode_value(unsigned int tag, std::string_view utf8) {
    std::string content;
    for (const unsigned int code_point : code_points(utf8)) {
        if (tag == TAG_BMP_STRING) {
            content.push_back(static_cast<char>(code_point >> 8));
            content.push_back(static_cast<char>(code_point & 0xFF));
        } else if (tag == TAG_T61_STRING) {
            content.push_back(static_cast<char>(code_point)); // the same place as in ISO 8859-1
        } else {
            append_utf8(code_point, content);
        }
    }
    return element(tag, {content});
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

std::string escaped(std::string_view value) {
    std::string text;
    for (const char c : value) {
        if (std::string_view("\"+,;<>\\").find(c) != std::string_view::npos) {
            text.push_back('\\');
        }
        text.push_back(c);
    }
    return text;
}

const char* type_name(const std::string& oid) {
    for (const type_t& type : TYPES) {
        if (oid_content(type.oid) == oid) {
            return type.name;
        }
    }
    return nullptr;
}

std::string text_of(const std::vector<rdn_t>& rdns) {
    std::string text;
    for (const rdn_t& rdn : rdns) {
        for (const attribute_t& attribute : rdn) {
            const char* const type = type_name(attribute.oid);
            if (type == nullptr) {
                return std::string();
            }
            text += text.empty() ? "" : &attribute == &rdn.front() ? "," : "+";
            text += std::string(type) + "=" + escaped(attribute.value);
        }
    }
    return text;
}

std::string_view subject_of(std::string_view certificate) {
    std::string_view whole = take_element(certificate).content;
    std::string_view tbs = take_element(whole).content;
    element_t field = take_element(tbs);
    if (field.tag == TAG_CONTEXT_0) {
        field = take_element(tbs); // a version stands in front of the serial number
    }
    take_element(tbs); // signature
    take_element(tbs); // issuer
    take_element(tbs); // validity
    return take_element(tbs).whole;
}

std::vector<name_t> read_roots() {
    std::ifstream file(ROOT_BUNDLE, std::ios::binary);
    const std::string pem((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    constexpr std::string_view BEGIN = "-----BEGIN CERTIFICATE-----";
    std::vector<name_t> names;
    for (std::size_t at = pem.find(BEGIN); at != std::string::npos; at = pem.find(BEGIN, at)) {
        at += BEGIN.size();
        const std::string certificate = from_base64(std::string_view(pem).substr(at, pem.find('-', at) - at));
        name_t name;
        name.der = subject_of(certificate);
        if (decode_name(name.der, name.rdns)) {
            name.text = text_of(name.rdns);
            names.push_back(std::move(name));
        }
    }
    if (names.empty()) {
        throw std::runtime_error("no certificates in " + std::string(ROOT_BUNDLE) + " (package ca-certificates)");
    }
    return names;
}

struct typed_value_t {
    const char* type;
    unsigned int tag;
    std::string utf8;
    std::string t61 = {}; // content octets, where they are not those of ISO 8859-1
};

name_t make_name(const std::vector<typed_value_t>& values) {
    name_t name;
    std::string content;
    for (const typed_value_t& value : values) {
        const auto is_wanted = [&value](const type_t& type) { return type.name == std::string_view(value.type); };
        const std::string oid = oid_content(std::find_if(std::begin(TYPES), std::end(TYPES), is_wanted)->oid);
        const std::string encoded =
            value.t61.empty() ? encode_value(value.tag, value.utf8) : element(value.tag, {value.t61});
        content += element(TAG_SET, {sequence({element(TAG_OID, {oid}), encoded})});
        name.rdns.push_back({{oid, value.utf8}});
    }
    name.der = sequence({content});
    name.text = text_of(name.rdns);
    return name;
}

std::vector<name_t> make_international_names() {
    const char* const cities[] = {"Москва", "Санкт-Петербург", "Нижний Новгород", "Екатеринбург"};
    const char* const firms[] = {"ООО «Ромашка»", "ЗАО Удостоверяющий центр, г. Москва", "АО «Связь+»"};
    const char* const people[] = {"Иванов Иван Иванович", "Щёголева Юлия Объездчикова"};
    const char* const offices[] = {"§ 7 «Dienst» ±½ ¶ 3", "£ 5 · µ ¿?"};
    std::vector<name_t> names;
    for (const char* const city : cities) {
        for (const char* const firm : firms) {
            for (const char* const person : people) {
                names.push_back(make_name({{"C", TAG_PRINTABLE_STRING, "RU"},
                                           {"ST", TAG_UTF8_STRING, city},
                                           {"L", TAG_BMP_STRING, city},
                                           {"O", TAG_UTF8_STRING, firm},
                                           {"OU", TAG_T61_STRING, offices[names.size() % 2]},
                                           {"OU", TAG_BMP_STRING, "Отдел кадров"},
                                           {"CN", TAG_UTF8_STRING, person}}));
            }
        }
    }
    return names;
}

std::vector<name_t> make_accented_names() {
    std::vector<name_t> names;
    for (int i = 0; i < 16; ++i) {
        names.push_back(make_name({{"C", TAG_PRINTABLE_STRING, "DE"},
                                   {"L", TAG_T61_STRING, "Köln", "K\xC8oln"},
                                   {"O", TAG_T61_STRING, "Société Générale",
                                    "Soci\xC2"
                                    "et\xC2"
                                    "e G\xC2"
                                    "en\xC2"
                                    "erale"},
                                   {"CN", TAG_UTF8_STRING, "Иванов Иван"}}));
    }
    return names;
}

std::vector<name_t> select_texts() {
    std::vector<name_t> names;
    std::copy_if(root_names().begin(), root_names().end(), std::back_inserter(names),
                 [](const name_t& name) { return !name.text.empty(); });
    return names;
}

int hex_digit(char c) {
    const std::size_t found = std::string_view("0123456789ABCDEFabcdef").find(c);
    return found == std::string_view::npos ? -1 : static_cast<int>(found < 16 ? found : found - 6);
}

// Takes one value off the text, up to the separator behind it, and undoes quotes, backslashes and the #hex form.
std::string take_value(std::string_view& text) {
    std::string value;
    const bool is_encoded = text.starts_with('#');
    bool is_quoted = false;
    std::size_t kept = 0; // up to the last character that is no blank before the separator
    while (!text.empty()) {
        const char c = text.front();
        if (!is_quoted && (c == ',' || c == '+')) {
            break;
        }
        text.remove_prefix(1);
        if (c == '"') {
            is_quoted = !is_quoted;
            continue;
        }
        if (c != '\\' || text.empty()) {
            value.push_back(c);
        } else if (text.size() >= 2 && hex_digit(text[0]) >= 0 && hex_digit(text[1]) >= 0) {
            value.push_back(static_cast<char>(hex_digit(text[0]) * 16 + hex_digit(text[1])));
            text.remove_prefix(2);
        } else {
            value.push_back(text.front());
            text.remove_prefix(1);
        }
        kept = value.size();
    }
    value.resize(kept);
    if (!is_encoded) {
        return value;
    }
    std::string der;
    for (std::size_t i = 1; i + 1 < value.size(); i += 2) {
        der.push_back(static_cast<char>(hex_digit(value[i]) * 16 + hex_digit(value[i + 1])));
    }
    std::string_view rest = der;
    std::string decoded;
    return decode_value(take_element(rest), decoded) ? decoded : value;
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

const std::vector<name_t>& root_names() {
    static const std::vector<name_t> names = read_roots();
    return names;
}

const std::vector<name_t>& international_names() {
    static const std::vector<name_t> names = make_international_names();
    return names;
}

const std::vector<name_t>& accented_names() {
    static const std::vector<name_t> names = make_accented_names();
    return names;
}

const std::vector<name_t>& texts_of_roots() {
    static const std::vector<name_t> names = select_texts();
    return names;
}

std::string listed_values(const name_t& name) {
    return listed(name.rdns, false);
}

std::string listed_values(std::string_view text, order_t order) {
    std::vector<rdn_t> rdns;
    if (!split_text(text, rdns)) {
        return "not attributes: " + std::string(text);
    }
    put_in_order(rdns, order);
    return listed(rdns, false);
}

std::string listed_attributes(const name_t& name) {
    return listed(name.rdns, true);
}

std::string listed_attributes(std::string_view der, order_t order) {
    std::vector<rdn_t> rdns;
    if (der.empty() || !decode_name(der, rdns)) {
        return "not a name: " + upper_hex(der);
    }
    put_in_order(rdns, order);
    return listed(rdns, true);
}

name_t long_name(std::size_t size) {
    name_t name;
    std::string content;
    for (std::size_t i = 0; content.size() < size; ++i) {
        const name_t& part = texts_of_roots()[i % texts_of_roots().size()];
        std::string_view rest = part.der;
        content += take_element(rest).content;
        name.text += (name.text.empty() ? "" : ",") + part.text;
        name.rdns.insert(name.rdns.end(), part.rdns.begin(), part.rdns.end());
    }
    name.der = sequence({content});
    return name;
}
