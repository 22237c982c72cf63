// Bytes and DER of inputs and results. What writes DER is in testing/der.h.
#ifndef DERKIT_BENCH_BYTES_H
#define DERKIT_BENCH_BYTES_H

#include <string>
#include <string_view>
#include <vector>

#include "testing/der.h"

inline const unsigned char* octets(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

inline unsigned int size32(std::string_view bytes) {
    return static_cast<unsigned int>(bytes.size());
}

// Converts ASCII letters to upper case.
std::string upper_case(std::string text);

// Without blanks.
std::string upper_hex(std::string_view bytes);

// Bytes without a pattern, the same in every run.
std::string noise(std::size_t size, unsigned int seed);

inline std::string oid_content(const char* dotted) {
    return der_oid(dotted).octets;
}

// make(0), make(1), ...
template <typename MAKE> auto make_inputs(std::size_t number, MAKE make) {
    std::vector<decltype(make(0))> list;
    for (unsigned int i = 0; i < number; ++i) {
        list.push_back(make(i));
    }
    return list;
}

// What a peer allocates and its caller frees; VIEW has `data` and `size`.
template <typename VIEW, auto FREE> struct received_t : VIEW {
    received_t() : VIEW() {}
    received_t(const received_t&) = delete;
    received_t& operator=(const received_t&) = delete;
    ~received_t() { clear(); }
    void clear() {
        FREE(this->data);
        static_cast<VIEW&>(*this) = VIEW();
    }
    std::string_view chars() const { return {reinterpret_cast<const char*>(this->data), this->size}; }
};

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
