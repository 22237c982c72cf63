#include "bytes.h"

#include <algorithm>
#include <random>
#include <stdexcept>

std::string upper_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
}

std::string upper_hex(std::string_view bytes) {
    std::string hex = to_hex(bytes);
    std::erase(hex, ' ');
    return hex;
}

std::string noise(std::size_t size, unsigned int seed) {
    std::minstd_rand random(seed + 1);
    std::string bytes;
    while (bytes.size() < size) {
        bytes.push_back(static_cast<char>(random() >> 8 & 0xFF));
    }
    return bytes;
}

element_t take_element(std::string_view& rest) {
    const auto octet = [&rest](std::size_t i) {
        return static_cast<std::size_t>(static_cast<unsigned char>(rest.at(i)));
    };
    element_t taken;
    taken.tag = static_cast<unsigned int>(octet(0));
    std::size_t length = octet(1);
    std::size_t header = 2;
    if (length >= 0x80) {
        const std::size_t end = header + (length & 0x7F);
        for (length = 0; header != end; ++header) {
            length = length << 8 | octet(header);
        }
    }
    if (length > rest.size() - header) {
        throw std::runtime_error("an element is cut short");
    }
    taken.content = rest.substr(header, length);
    taken.whole = rest.substr(0, header + length);
    rest.remove_prefix(header + length);
    return taken;
}

std::size_t count_elements(std::string_view encoding) {
    const unsigned char* p = octets(encoding);
    const unsigned char* const end = p + encoding.size();
    std::size_t count = 0;
    while (end - p >= 2) {
        constexpr unsigned int CONSTRUCTED = 0x20;
        const bool is_constructed = (p[0] & CONSTRUCTED) != 0;
        std::size_t length = p[1];
        p += 2;
        if (length >= 0x80) {
            std::size_t num_octets = length & 0x7F;
            for (length = 0; num_octets != 0 && p != end; --num_octets) {
                length = length << 8 | *p++;
            }
        }
        if (length > static_cast<std::size_t>(end - p)) {
            break;
        }
        ++count;
        // The members of a constructed element come next.
        p += is_constructed ? 0 : length;
    }
    return count;
}
