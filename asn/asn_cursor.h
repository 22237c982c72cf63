// The one way in which readers walk DER.
#ifndef DERKIT_ASN_CURSOR_H
#define DERKIT_ASN_CURSOR_H

#include <algorithm>
#include <string>

#include "asn/asn_tag_reader.h"
#include "derkit/asn_types.h"

// A view of the octets that are left to read: `size` of them from `p` on.
//
// Every step reads one element at `p`. On success the cursor moves past the element and the step returns a view of the
// input, which must outlive it. On failure the cursor becomes empty and stays failed, and this and every later step
// returns an empty view. So a reader takes its steps in a straight line and asks `ok()` where it matters.
//
// A failed cursor returns only failed cursors, but a failure does not travel up: a cursor that enter() returned may
// fail while the one that it came from stays good. Ask each cursor that was read from.
//
// An element fails when asn1_read_tag() refuses it, and when its content does not lie inside what is left: the 32-bit
// sum of asn1_read_tag() wraps for lengths near 2^32, and nothing may follow such a length.
struct asn_cursor_t {
    const unsigned char* p;
    unsigned int size;

    asn_cursor_t(const void* data, unsigned int data_size)
        : p(static_cast<const unsigned char*>(data)), size(data_size) {}
    explicit asn_cursor_t(const blob_t& bytes) : p(bytes.data), size(bytes.size) {}
    // Sizes have 32 bits: a longer string is read up to 2^32 - 1.
    explicit asn_cursor_t(const std::string& bytes)
        : asn_cursor_t(bytes.data(), static_cast<unsigned int>(std::min<std::size_t>(bytes.size(), 0xFFFFFFFF))) {}

    explicit asn_cursor_t(std::string&&) = delete; // the view would dangle

    bool ok() const { return ok_; }
    bool empty() const { return size == 0; }

    // Tells whether the next element has this identifier octet: how optional fields are found.
    bool next_is(asn_tag_t::Type tag) const { return size != 0 && *p == tag; }

    // What is left, unread.
    blob_t rest() const { return make_view(p, size); }

    // Reads an element and returns its content.
    blob_t read(asn_tag_t::Type tag) {
        unsigned int content_size = 0;
        const unsigned char* const content = asn_read_tag_inline(tag, p, size, &content_size);
        if (content == nullptr) {
            return fail();
        }
        const unsigned int available = size - static_cast<unsigned int>(content - p);
        if (content_size > available) {
            return fail();
        }
        p = content + content_size;
        size = available - content_size;
        return make_view(content, content_size);
    }

    // As above, into a field of a record. The field keeps its value on failure.
    void read(asn_tag_t::Type tag, blob_t& field) {
        const blob_t content = read(tag);
        if (ok_) {
            field = content;
        }
    }

    // As above, with the header of the element included.
    void read_element(asn_tag_t::Type tag, blob_t& field) {
        const unsigned char* const begin = p;
        read(tag);
        if (ok_) {
            field = make_view(begin, static_cast<unsigned int>(p - begin));
        }
    }

    // Reads an element and returns a cursor over its content; a failed one when there is no such element.
    asn_cursor_t enter(asn_tag_t::Type tag) {
        asn_cursor_t inside(read(tag));
        inside.ok_ = ok_;
        return inside;
    }

    // Reads an element whose content does not matter.
    void skip(asn_tag_t::Type tag) { read(tag); }

    // Returns this cursor with its end moved to that of `outer`: for a last field that may run past its SEQUENCE up to
    // the end of the input. This cursor was entered from `outer`, which has not moved since. A failed one stays failed.
    asn_cursor_t up_to_end_of(const asn_cursor_t& outer) const {
        asn_cursor_t longer = *this;
        if (ok_) {
            longer.size += outer.size;
        }
        return longer;
    }

  private:
    bool ok_ = true;

    static blob_t make_view(const unsigned char* data, unsigned int data_size) {
        blob_t view;
        view.size = data_size;
        view.data = data;
        return view;
    }

    blob_t fail() {
        size = 0;
        ok_ = false;
        return blob_t();
    }
};

#endif
