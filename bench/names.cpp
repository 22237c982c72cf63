// Names to print and to encode.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tasks.h"
#include "testing/iconv.h"

namespace {

constexpr const char* ROOT_BUNDLE = "/etc/ssl/certs/ca-certificates.crt";

struct type_t {
    std::string_view name;
    const char* oid;
};
constexpr type_t TYPES[] = {
    {"C", "2.5.4.6"}, {"ST", "2.5.4.8"}, {"L", "2.5.4.7"}, {"O", "2.5.4.10"}, {"OU", "2.5.4.11"}, {"CN", "2.5.4.3"},
};

enum string_tag_t { UTF8_STRING = 0x0C, PRINTABLE_STRING = 0x13, T61_STRING = 0x14, BMP_STRING = 0x1E };

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

std::string text_of(const std::vector<rdn_t>& rdns) {
    std::string text;
    for (const rdn_t& rdn : rdns) {
        for (const attribute_t& attribute : rdn) {
            const auto is_type = [&attribute](const type_t& type) { return oid_content(type.oid) == attribute.oid; };
            const auto type = std::find_if(std::begin(TYPES), std::end(TYPES), is_type);
            if (type == std::end(TYPES)) {
                return std::string();
            }
            text += text.empty() ? "" : &attribute == &rdn.front() ? "," : "+";
            text.append(type->name).append("=").append(escaped(attribute.value));
        }
    }
    return text;
}

std::string_view subject_of(std::string_view certificate) {
    constexpr unsigned int VERSION = 0xA0;
    std::string_view whole = take_element(certificate).content;
    std::string_view tbs = take_element(whole).content;
    if (take_element(tbs).tag == VERSION) {
        take_element(tbs); // serial number
    }
    take_element(tbs); // signature
    take_element(tbs); // issuer
    take_element(tbs); // validity
    return take_element(tbs).whole;
}

struct value_t {
    std::string_view type;
    string_tag_t tag;
    const char* utf8;
};

std::string content_of(const value_t& value) {
    const char* const encoding = value.tag == BMP_STRING ? "UTF-16BE" : value.tag == T61_STRING ? "T.61-8BIT" : "UTF-8";
    return iconv_text("UTF-8", encoding, value.utf8).value();
}

name_t make_name(const std::vector<value_t>& values) {
    name_t name;
    der_members_t rdns;
    for (const value_t& value : values) {
        const auto is_type = [&value](const type_t& type) { return type.name == value.type; };
        const char* const oid = std::find_if(std::begin(TYPES), std::end(TYPES), is_type)->oid;
        rdns.push_back(der_set({der_sequence({der_oid(oid), der_element(value.tag, content_of(value))})}));
        name.rdns.push_back({{oid_content(oid), value.utf8}});
    }
    name.der = encode(der_sequence(rdns));
    name.text = text_of(name.rdns);
    return name;
}

} // namespace

std::vector<name_t> root_names() {
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

std::vector<name_t> texts_of_roots() {
    std::vector<name_t> names = root_names();
    std::erase_if(names, [](const name_t& name) { return name.text.empty(); });
    return names;
}

std::vector<name_t> international_names() {
    const char* const cities[] = {"Москва", "Санкт-Петербург", "Нижний Новгород", "Екатеринбург"};
    const char* const firms[] = {"ООО «Ромашка»", "ЗАО Удостоверяющий центр, г. Москва", "АО «Связь+»"};
    const char* const people[] = {"Иванов Иван Иванович", "Щёголева Юлия Объездчикова"};
    const char* const offices[] = {"§ 7 «Dienst» ±½ ¶ 3", "£ 5 · µ ¿?"};
    std::vector<name_t> names;
    for (const char* const city : cities) {
        for (const char* const firm : firms) {
            for (const char* const person : people) {
                names.push_back(make_name({{"C", PRINTABLE_STRING, "RU"},
                                           {"ST", UTF8_STRING, city},
                                           {"L", BMP_STRING, city},
                                           {"O", UTF8_STRING, firm},
                                           {"OU", T61_STRING, offices[names.size() % 2]},
                                           {"OU", BMP_STRING, "Отдел кадров"},
                                           {"CN", UTF8_STRING, person}}));
            }
        }
    }
    return names;
}

std::vector<name_t> accented_names() {
    const name_t name = make_name({{"C", PRINTABLE_STRING, "DE"},
                                   {"L", T61_STRING, "Köln"},
                                   {"O", T61_STRING, "Société Générale"},
                                   {"CN", UTF8_STRING, "Иванов Иван"}});
    return std::vector<name_t>(16, name);
}

name_t long_name(std::size_t size) {
    static const std::vector<name_t> parts = texts_of_roots();
    name_t name;
    std::string content;
    for (std::size_t i = 0; content.size() < size; ++i) {
        const name_t& part = parts[i % parts.size()];
        std::string_view rest = part.der;
        content += take_element(rest).content;
        name.text += (name.text.empty() ? "" : ",") + part.text;
        name.rdns.insert(name.rdns.end(), part.rdns.begin(), part.rdns.end());
    }
    name.der = encode(der_element(0x30, content));
    return name;
}
