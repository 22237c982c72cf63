// Helpers for reading DER with the library's cursor.
#ifndef DERKIT_TOOLS_FORMATS_DER_H
#define DERKIT_TOOLS_FORMATS_DER_H

#include <algorithm>
#include <string>
#include <string_view>

#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "io/bytes.h"
#include "io/input.h"

// Remembers the first field that could not be read.
class missing_field_t {
  public:
    // Call it right after reading the field.
    void check(const asn_cursor_t& in, const char* field) {
        if (name_ == nullptr && !in.ok()) {
            name_ = field;
        }
    }

    bool none() const { return name_ == nullptr; }

    // "not a certificate: validity is missing or malformed".
    std::string problem(const char* structure) const {
        return std::string("not ") + structure + ": " + name_ + " is missing or malformed";
    }

  private:
    const char* name_ = nullptr;
};

inline asn_cursor_t cursor_over(std::string_view der) {
    return asn_cursor_t(make_blob(der));
}

// The first element; all octets if they do not begin with a whole one.
inline std::string_view first_element(std::string_view bytes) {
    asn_cursor_t in = cursor_over(bytes);
    in.skip(asn_tag_t::ANY);
    return in.ok() ? bytes.substr(0, bytes.size() - in.size) : bytes;
}

// The first element of a file and up to a few bytes after it. Less if the file is cut short; only a few bytes if it does
// not start with `tag`.
inline std::string_view look_at_element(input_stream_t& input, asn_tag_t::Type tag) {
    constexpr std::size_t MAX_HEADER_SIZE = 6; // identifier, and length in at most five octets
    const std::string_view start = input.look(MAX_HEADER_SIZE);
    unsigned int content_size = 0; // set even if the content is not there yet
    asn1_read_tag(tag, octets(start), size_of(start), &content_size);
    return input.look(std::min<std::size_t>(content_size, MAX_INPUT_SIZE) + MAX_HEADER_SIZE);
}

#endif
