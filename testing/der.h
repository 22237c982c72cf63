// A plain DER writer that uses nothing from the library: whole encodings to read or to expect.
#ifndef DERKIT_TESTING_DER_H
#define DERKIT_TESTING_DER_H

#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "testing/bytes.h"

// An element whose content is `octets` and then `members`.
struct der_t {
    int tag; // identifier octet; below 0: no header at all, just the content
    std::string octets;
    std::vector<der_t> members;
    std::string length; // length octets to write in place of the right ones
};

inline std::string der_length(std::size_t length) {
    if (length < 0x80) {
        return std::string(1, static_cast<char>(length));
    }
    std::string octets;
    for (; length != 0; length >>= 8) {
        octets.insert(octets.begin(), static_cast<char>(length & 0xFF));
    }
    return static_cast<char>(0x80 | octets.size()) + octets;
}

// A length in four octets, often more than it needs: valid BER.
inline std::string long_length(std::size_t length) {
    std::string octets = from_hex("84");
    for (int shift = 24; shift >= 0; shift -= 8) {
        octets.push_back(static_cast<char>(length >> shift & 0xFF));
    }
    return octets;
}

inline std::string encode(const der_t& element);

inline std::string encode_content(const der_t& element) {
    std::string content = element.octets;
    for (const der_t& member : element.members) {
        content += encode(member);
    }
    return content;
}

inline std::string encode(const der_t& element) {
    std::string content = encode_content(element);
    if (element.tag < 0) {
        return content;
    }
    const std::string length = element.length.empty() ? der_length(content.size()) : element.length;
    return static_cast<char>(element.tag) + length + content;
}

// Elements

using der_members_t = std::vector<der_t>;

inline der_t der_element(int tag, std::string_view content) {
    return {tag, std::string(content), {}, ""};
}
inline der_t der_element(int tag, der_members_t members) {
    return {tag, "", std::move(members), ""};
}
inline der_t der_raw(std::string_view hex) {
    return der_element(-1, from_hex(hex));
}
inline der_t der_integer(std::string_view hex) {
    return der_element(0x02, from_hex(hex));
}
inline der_t der_octet_string(std::string_view content) {
    return der_element(0x04, content);
}
inline der_t der_octet_string(const der_t& member) {
    return der_element(0x04, der_members_t{member});
}
inline der_t der_null() {
    return der_element(0x05, "");
}
inline der_t der_sequence(der_members_t members) {
    return der_element(0x30, std::move(members));
}
inline der_t der_set(der_members_t members) {
    return der_element(0x31, std::move(members));
}
inline der_t der_context_0(der_members_t members) {
    return der_element(0xA0, std::move(members));
}

// X.690 8.19, from dotted text.
inline der_t der_oid(const std::string& text) {
    std::vector<unsigned long> arcs;
    std::istringstream in(text);
    for (std::string arc; std::getline(in, arc, '.');) {
        arcs.push_back(std::stoul(arc));
    }
    std::string content(1, static_cast<char>(arcs.at(0) * 40 + arcs.at(1)));
    for (std::size_t i = 2; i < arcs.size(); ++i) {
        std::string base_128(1, static_cast<char>(arcs[i] & 0x7F));
        for (unsigned long rest = arcs[i] >> 7; rest != 0; rest >>= 7) {
            base_128.insert(base_128.begin(), static_cast<char>(0x80 | (rest & 0x7F)));
        }
        content += base_128;
    }
    return der_element(0x06, content);
}

// Spoiling

// All elements, in the order in which they are written; content without a header is not one.
inline void list_elements(der_t& element, std::vector<der_t*>& list) {
    if (element.tag >= 0) {
        list.push_back(&element);
    }
    for (der_t& member : element.members) {
        list_elements(member, list);
    }
}

#endif
