// DER with one element spoiled and everything around it correct.
#ifndef DERKIT_TESTS_SPOILED_DER_H
#define DERKIT_TESTS_SPOILED_DER_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/der.h"

// Runs check(whole, element) for every element of a fresh copy of `whole`, the outermost first; `element` is in that
// copy and may be changed.
template <typename CHECK> void for_each_element(const der_t& whole, CHECK check) {
    std::size_t num_elements = 1;
    for (std::size_t index = 0; index < num_elements; ++index) {
        der_t copy = whole;
        std::vector<der_t*> elements;
        list_elements(copy, elements);
        num_elements = elements.size();
        SCOPED_TRACE("element " + std::to_string(index) + ": " + to_hex(encode(*elements.at(index))));
        check(copy, *elements[index]);
    }
}

// Runs check(whole without it, the element) for every element but the outermost.
template <typename CHECK> void for_each_element_left_out(const der_t& whole, CHECK check) {
    for_each_element(whole, [&](der_t& copy, der_t& element) {
        if (&element == &copy) {
            return;
        }
        const der_t left_out = element;
        element = der_raw("");
        check(copy, left_out);
    });
}

inline const std::string ROOM_AFTER(0x2000, '\0');

// Runs check(whole, element) for every element with every length that no reader may follow: the indefinite form, more
// than four octets, a length past the enclosing element, and lengths near 2^32. Read `whole` with ROOM_AFTER after it,
// so that the length past the enclosing element is inside the input; the outermost element is not given that length.
template <typename CHECK> void for_each_bad_length(const der_t& whole, CHECK check) {
    for (const char* const length : {"80", "85 00 00 00 00 01", "82 10 00", "84 FF FF FF F9", "84 FF FF FF FA",
                                     "84 FF FF FF FB", "84 FF FF FF FE", "84 FF FF FF FF"}) {
        SCOPED_TRACE("length " + std::string(length));
        for_each_element(whole, [&](der_t& copy, der_t& element) {
            if (&element == &copy && length == std::string("82 10 00")) {
                return;
            }
            element.length = from_hex(length);
            check(copy, element);
        });
    }
}

// Runs check(whole) for every element with a length of more octets than it needs.
template <typename CHECK> void for_each_long_length(const der_t& whole, CHECK check) {
    for_each_element(whole, [&](der_t& copy, der_t& element) {
        element.length = long_length(encode_content(element).size());
        check(copy);
    });
}

#endif
