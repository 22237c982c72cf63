// The one way in which readers walk DER.
#ifndef DERKIT_ASN_CURSOR_H
#define DERKIT_ASN_CURSOR_H

#include <algorithm>
#include <string>

#include "derkit/asn_reader.h"
#include "derkit/asn_types.h"

// Whether the first length octet announces this number of further ones: none means the indefinite form, more than four
// are refused.
inline bool asn_is_long_form(unsigned int num_length_octets) {
    return num_length_octets - 1 < 4;
}

// Padding zeros are accepted, and so is a long form where the short one would do (X.690 10.1 forbids both).
inline unsigned int asn_read_length_octets(const unsigned char* octets, unsigned int num_length_octets) {
    unsigned int length = octets[0];
    for (unsigned int i = 1; i < num_length_octets; ++i) {
        length = length << 8 | octets[i];
    }
    return length;
}

// A view of the octets that are left to read: `size` of them from `p` on.
//
// Every step reads one element at `p`. On success the cursor moves past the element, and what the step hands out
// is a view into the input, valid as long as that. On failure the cursor becomes empty and stays failed, whatever
// is asked of it later, and the step hands out an empty view; so a reader may take its steps in a straight line
// and ask `ok()` where it matters.
//
// An element fails when asn1_read_tag() refuses it and also when its content does not lie inside what is left:
// the 32-bit sum of asn1_read_tag() wraps for lengths near 2^32, and nothing may follow such a length. The header is
// read in place and not by that function, since most of the time of a reader is spent here.
struct asn_cursor_t {
    const unsigned char* p;
    unsigned int size;

    asn_cursor_t(const void* data, unsigned int data_size)
        : p(static_cast<const unsigned char*>(data)), size(data_size) {}
    explicit asn_cursor_t(const blob_t& bytes) : p(bytes.data), size(bytes.size) {}
    // Sizes are of 32 bits: a longer string is read up to there.
    explicit asn_cursor_t(const std::string& bytes)
        : asn_cursor_t(bytes.data(), static_cast<unsigned int>(std::min<std::size_t>(bytes.size(), 0xFFFFFFFF))) {}

    explicit asn_cursor_t(std::string&&) = delete; // would view what is gone at once

    bool ok() const { return ok_; }
    bool empty() const { return size == 0; }

    // Tells whether something is left and starts with this identifier octet: how optional fields are found.
    bool next_is(asn_tag_t::Type tag) const { return size != 0 && *p == tag; }

    // What is left, not looked at.
    blob_t rest() const { return make_view(p, size); }

    // Reads an element and gives its content.
    blob_t read(asn_tag_t::Type tag) {
        if (size < 2 || (tag != asn_tag_t::ANY && p[0] != tag)) {
            return fail();
        }
        const unsigned int first_length_octet = p[1];
        return first_length_octet < 0x80 ? take(2, first_length_octet) : read_long_form(first_length_octet & 0x7F);
    }

    // As above, into a field of a record. The field keeps its value on failure.
    void read(asn_tag_t::Type tag, blob_t& field) {
        const blob_t content = read(tag);
        if (ok_) {
            field = content;
        }
    }

    // As above, with all of the element, header included.
    void read_element(asn_tag_t::Type tag, blob_t& field) {
        const unsigned char* const begin = p;
        read(tag);
        if (ok_) {
            field = make_view(begin, static_cast<unsigned int>(p - begin));
        }
    }

    // Reads an element and gives a cursor over its content; a failed one when there is no such element.
    asn_cursor_t enter(asn_tag_t::Type tag) {
        asn_cursor_t inside(read(tag));
        inside.ok_ = ok_;
        return inside;
    }

    // Reads an element whose content does not matter.
    void skip(asn_tag_t::Type tag) { read(tag); }

  private:
    bool ok_ = true;

    static blob_t make_view(const unsigned char* data, unsigned int data_size) {
        blob_t view;
        view.size = data_size;
        view.data = data;
        return view;
    }

    blob_t read_long_form(unsigned int num_length_octets) {
        if (!asn_is_long_form(num_length_octets) || size < num_length_octets + 2) {
            return fail();
        }
        return take(num_length_octets + 2, asn_read_length_octets(p + 2, num_length_octets));
    }

    // Moves past an element whose header lies inside what is left.
    blob_t take(unsigned int header_size, unsigned int content_size) {
        if (content_size > size - header_size) {
            return fail();
        }
        const unsigned char* const content = p + header_size;
        p = content + content_size;
        size -= header_size + content_size;
        return make_view(content, content_size);
    }

    blob_t fail() {
        size = 0;
        ok_ = false;
        return blob_t();
    }
};

#endif
