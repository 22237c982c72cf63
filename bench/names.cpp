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
    if (tag != TAG_BMP_STRING && tag != TAG_T61_STRING) {
        return element(tag, {utf8});
    }
    std::string content;
    for (const unsigned int code_point : code_points(utf8)) {
        if (tag == TAG_BMP_STRING) {
            content.push_back(static_cast<char>(code_point >> 8));
        }
        content.push_back(static_cast<char>(code_point & 0xFF)); // T.61: the same place as in ISO 8859-1
    }
    return element(tag, {content});
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
