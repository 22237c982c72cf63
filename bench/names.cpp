// Names to print and to encode.
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

#include "tasks.h"
#include "testing/vectors.h"

namespace {

constexpr const char* ROOT_BUNDLE = "/etc/ssl/certs/ca-certificates.crt";

// Short names by the contents of the types' OIDs.
const std::map<std::string, std::string> SHORT_NAMES = {
    {oid_content("2.5.4.6"), "C"},  {oid_content("2.5.4.8"), "ST"},  {oid_content("2.5.4.7"), "L"},
    {oid_content("2.5.4.10"), "O"}, {oid_content("2.5.4.11"), "OU"}, {oid_content("2.5.4.3"), "CN"},
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
            const auto type = SHORT_NAMES.find(attribute.oid);
            if (type == SHORT_NAMES.end()) {
                return std::string();
            }
            text += text.empty() ? "" : &attribute == &rdn.front() ? "," : "+";
            text.append(type->second).append("=").append(escaped(attribute.value));
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

// The cases of names with this beginning.
std::vector<name_t> names_of_cases(std::string_view beginning) {
    std::vector<name_t> names;
    for (const vector_t& vector : read_vectors("names.txt")) {
        if (vector.field("case").starts_with(beginning)) {
            const std::string text = vector.text("text");
            names.push_back({vector.bytes("DER"), text, listed_values(text, order_t::AS_ENCODED), ""});
        }
    }
    return names;
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
        const std::string_view der = subject_of(certificate);
        std::vector<rdn_t> rdns;
        if (decode_name(der, rdns)) {
            names.push_back({std::string(der), text_of(rdns), listed_values(rdns), listed_attributes(rdns)});
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
    return names_of_cases("measured: international");
}

std::vector<name_t> accented_names() {
    return std::vector<name_t>(16, names_of_cases("measured: accented").at(0));
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
        name.values += part.values;
        name.attributes += part.attributes;
    }
    name.der = encode(der_element(0x30, content));
    return name;
}
