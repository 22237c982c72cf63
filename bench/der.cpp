#include "der.h"

#include <charconv>
#include <random>
#include <stdexcept>

namespace {

std::string length_octets(std::size_t length) {
    if (length < 0x80) {
        return std::string(1, static_cast<char>(length));
    }
    std::string big_endian;
    for (; length != 0; length >>= 8) {
        big_endian.insert(big_endian.begin(), static_cast<char>(length & 0xFF));
    }
    return static_cast<char>(0x80 | big_endian.size()) + big_endian;
}

std::string base_128(unsigned long long value) {
    std::string text(1, static_cast<char>(value & 0x7F));
    while ((value >>= 7) != 0) {
        text.insert(text.begin(), static_cast<char>(0x80 | (value & 0x7F)));
    }
    return text;
}

} // namespace

std::string element(unsigned int tag, std::initializer_list<std::string_view> parts) {
    std::string content;
    for (const std::string_view part : parts) {
        content += part;
    }
    return static_cast<char>(tag) + length_octets(content.size()) + content;
}

std::string oid_content(std::string_view dotted) {
    std::string content;
    unsigned long long first = 0;
    const char* const end = dotted.data() + dotted.size();
    int index = 0;
    for (const char* p = dotted.data(); p < end; ++index) {
        unsigned long long arc = 0;
        p = std::from_chars(p, end, arc).ptr + 1;
        if (index == 0) {
            first = arc;
        } else {
            content += base_128(index == 1 ? first * 40 + arc : arc);
        }
    }
    return content;
}

std::string oid_element(std::string_view dotted) {
    return element(TAG_OID, {oid_content(dotted)});
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

std::string upper_hex(std::string_view bytes) {
    const char* const digits = "0123456789ABCDEF";
    std::string hex;
    for (const char c : bytes) {
        const unsigned char octet = static_cast<unsigned char>(c);
        hex += digits[octet >> 4];
        hex += digits[octet & 15];
    }
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
