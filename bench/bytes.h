// Bytes and DER of inputs and results. What writes DER is in testing/der.h.
#ifndef DERKIT_BENCH_BYTES_H
#define DERKIT_BENCH_BYTES_H

#include <string>
#include <string_view>

#include "testing/der.h"

inline const unsigned char* octets(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

inline unsigned int size32(std::string_view bytes) {
    return static_cast<unsigned int>(bytes.size());
}

// Turns small letters of ASCII into capital ones.
std::string upper_case(std::string text);

// Without blanks.
std::string upper_hex(std::string_view bytes);

// Bytes without a pattern, the same in every run.
std::string noise(std::size_t size, unsigned int seed);

inline std::string oid_content(const char* dotted) {
    return der_oid(dotted).octets;
}

struct element_t {
    unsigned int tag = 0;
    std::string_view content;
    std::string_view whole;
};

// Takes the first element off `rest`; throws an exception if there is none.
element_t take_element(std::string_view& rest);

// Walks over all elements, into constructed ones too, and counts them: the least that any reader of DER has to do.
std::size_t count_elements(std::string_view encoding);

#endif
