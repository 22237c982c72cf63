// Answers questions about the two ready-made maps, one a line on standard input:
//
//   calls            how often the configuration directory was asked for
//   MAP list         all entries, in the order of their lines
//   MAP KEY TEXT     what is found; MAP is "default" or "file", KEY is "asn" (TEXT is hex), "str" or "sn"
//
// An entry is printed as DER|text|short name|long name, no entry as "none". A line with a dot ends every answer.
#include <charconv>
#include <iostream>
#include <string>
#include <string_view>

#include "asn/oid_map.h"
#include "probe_etc_dir.h"

namespace {

std::string from_hex(std::string_view hex) {
    std::string bytes;
    for (; hex.size() >= 2; hex.remove_prefix(2)) {
        unsigned char octet = 0;
        std::from_chars(hex.data(), hex.data() + 2, octet, 16);
        bytes.push_back(static_cast<char>(octet));
    }
    return bytes;
}

std::string to_hex(const unsigned char* bytes, unsigned int size) {
    const char* const digits = "0123456789ABCDEF";
    std::string hex;
    for (unsigned int i = 0; i < size; ++i) {
        hex.push_back(digits[bytes[i] >> 4]);
        hex.push_back(digits[bytes[i] & 15]);
    }
    return hex;
}

void print(const OIDdescr_t* entry) {
    if (entry == nullptr) {
        std::cout << "none\n";
        return;
    }
    std::cout << to_hex(entry->oid_asn, entry->oid_asn_size) << '|'
              << std::string_view(entry->oid_str, entry->oid_str_size) << '|'
              << std::string_view(entry->oid_sn, entry->oid_sn_size) << '|'
              << std::string_view(entry->oid_ln, entry->oid_ln_size) << '\n';
}

// Takes the word up to the next blank off the front of `line`.
std::string take_word(std::string& line) {
    const std::size_t end = line.find(' ');
    const std::string word = line.substr(0, end);
    line.erase(0, end == std::string::npos ? end : end + 1);
    return word;
}

const OIDdescr_t* find(oid_map_handle_t map, const std::string& key, const std::string& text) {
    if (key == "asn") {
        const std::string der = from_hex(text);
        return oid_map_find_asn(map, reinterpret_cast<const unsigned char*>(der.data()),
                                static_cast<unsigned int>(der.size()));
    }
    const unsigned int size = static_cast<unsigned int>(text.size());
    return key == "str" ? oid_map_find_str(map, text.data(), size) : oid_map_find_sn(map, text.data(), size);
}

void answer(std::string question) {
    const std::string first = take_word(question);
    if (first == "calls") {
        std::cout << num_etc_dir_calls << '\n';
        return;
    }
    const oid_map_handle_t map = first == "file" ? OID_MAP_HANDLE_DEFAULT_FILE : OID_MAP_HANDLE_DEFAULT;
    const std::string key = take_word(question);
    if (key != "list") {
        print(find(map, key, question));
        return;
    }
    for (const OIDdescr_t& entry : map.map->entries) {
        print(&entry);
    }
}

} // namespace

int main() {
    allow_descriptors();
    for (std::string question; std::getline(std::cin, question);) {
        answer(question);
        std::cout << ".\n";
    }
    return std::cout.flush() ? 0 : 1;
}
