// DER for inputs and for checking results, written plainly and with nothing from the library.
#ifndef DERKIT_BENCH_DER_H
#define DERKIT_BENCH_DER_H

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

inline constexpr unsigned int TAG_INTEGER = 0x02;
inline constexpr unsigned int TAG_BIT_STRING = 0x03;
inline constexpr unsigned int TAG_OCTET_STRING = 0x04;
inline constexpr unsigned int TAG_NULL = 0x05;
inline constexpr unsigned int TAG_OID = 0x06;
inline constexpr unsigned int TAG_UTF8_STRING = 0x0C;
inline constexpr unsigned int TAG_PRINTABLE_STRING = 0x13;
inline constexpr unsigned int TAG_T61_STRING = 0x14;
inline constexpr unsigned int TAG_IA5_STRING = 0x16;
inline constexpr unsigned int TAG_BMP_STRING = 0x1E;
inline constexpr unsigned int TAG_SEQUENCE = 0x30;
inline constexpr unsigned int TAG_SET = 0x31;
inline constexpr unsigned int TAG_CONTEXT_0_PRIMITIVE = 0x80;
inline constexpr unsigned int TAG_CONTEXT_0 = 0xA0;
inline constexpr unsigned int TAG_CONTEXT_1 = 0xA1;
inline constexpr unsigned int TAG_CONTEXT_2 = 0xA2;

// A whole element around the parts.
std::string element(unsigned int tag, std::initializer_list<std::string_view> parts);

inline std::string sequence(std::initializer_list<std::string_view> parts) {
    return element(TAG_SEQUENCE, parts);
}

// Content octets of an OBJECT IDENTIFIER, and the whole element.
std::string oid_content(std::string_view dotted);
std::string oid_element(std::string_view dotted);

struct element_t {
    unsigned int tag = 0;
    std::string_view content;
    std::string_view whole;
};

// Takes the first element off `rest`; throws std::runtime_error when there is none.
element_t take_element(std::string_view& rest);

// Walks over all elements, into constructed ones too, and counts them: the least that any reader of DER has to do.
std::size_t count_elements(std::string_view encoding);

std::string upper_hex(std::string_view bytes);

inline const unsigned char* octets(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

inline unsigned int size32(std::string_view bytes) {
    return static_cast<unsigned int>(bytes.size());
}

// What a view of the library, or of anyone else, shows.
inline std::string_view as_chars(const unsigned char* data, std::size_t size) {
    return std::string_view(reinterpret_cast<const char*>(data), size);
}

// Bytes without a pattern, the same in every run.
std::string noise(std::size_t size, unsigned int seed);

#endif
