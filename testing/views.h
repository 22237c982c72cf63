// Views in tests: what they show, and whose bytes they point to.
#ifndef DERKIT_TESTING_VIEWS_H
#define DERKIT_TESTING_VIEWS_H

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "derkit/pkcs12_helper.h"
#include "testing/bytes.h"

template <typename VIEW> std::string_view chars_of(const VIEW& view) {
    return as_chars(view.data, view.size);
}

template <typename VIEW = blob_t> VIEW view_of(std::string_view bytes) {
    VIEW view;
    view.size = static_cast<unsigned int>(bytes.size());
    view.data = reinterpret_cast<const unsigned char*>(bytes.data());
    return view;
}

// Tells whether a view points into these bytes; an empty one may stand at their end.
template <typename VIEW> bool lies_in(const VIEW& view, std::string_view bytes) {
    const char* const data = reinterpret_cast<const char*>(view.data);
    const char* const end = bytes.data() + bytes.size();
    const std::less<const char*> before;
    return data != nullptr && !before(data, bytes.data()) && !before(end, data) &&
           view.size <= static_cast<std::size_t>(end - data);
}

template <typename VIEW> bool lies_in(const VIEW& view, const exact_bytes_t& bytes) {
    return lies_in(view, bytes.text());
}

// for (const std::size_t size : sizes_t{0, 1, 127, 128})
using sizes_t = std::initializer_list<std::size_t>;

// Bytes that differ from their neighbours, so that a view in the wrong place shows.
inline std::string counting_bytes(std::size_t size, unsigned int first) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes.push_back(static_cast<char>((first + i) & 0xFF));
    }
    return bytes;
}

#endif
