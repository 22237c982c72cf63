/// @file
/// Walking through DER.
#ifndef DERKIT_HELPERS_CURSOR_H
#define DERKIT_HELPERS_CURSOR_H

#include "derkit/asn_reader.h"
#include "derkit/asn_types.h"

namespace derkit {

/// @addtogroup helpers
/// @{

/// Computes how much of a stream one element takes, from its first octets.
/// @param header  first octet of the element
/// @param size    octets available there; six are enough for every header, and two for the shortest
/// @return the octets of header and content together; 0 if the header is cut short, or has the indefinite form or a
///         length of more than four octets
inline unsigned long long element_size(const unsigned char* header, unsigned int size) noexcept {
    const unsigned int num_length_octets = size >= 2 && header[1] >= 0x80 ? header[1] & 0x7FU : 0;
    const bool indefinite = size >= 2 && header[1] == 0x80;
    const unsigned int header_size = 2 + num_length_octets;
    if (size < header_size || indefinite || num_length_octets > 4) {
        return 0;
    }
    unsigned int content_size = 0; // stored for every whole header, whether or not the content is there
    asn1_read_tag(asn_tag_t::ANY, header, header_size, &content_size);
    return static_cast<unsigned long long>(header_size) + content_size;
}

/// A view of the octets that are left to read, which reads one element after the other.
///
/// On success a step moves past the element and returns a view of the input, which must outlive it. On failure the
/// cursor becomes empty and stays failed, and this and every later step returns an empty view: a reader takes its steps
/// in a straight line and asks ok() where it matters. An element fails when asn1_read_tag() refuses it or when its
/// content does not lie inside what is left.
///
/// A failure does not travel up: a cursor that enter() returned may fail while the one that it came from stays good.
/// Ask each cursor that was read from.
class cursor {
  public:
    /// Starts at the first octet of a view.
    /// @param bytes  what it views must outlive everything that is read
    explicit cursor(const blob_t& bytes) noexcept : p_(bytes.data), size_(bytes.size) {}

    /// Starts at an octet.
    /// @param data  first octet; must outlive everything that is read
    /// @param size  number of octets
    cursor(const void* data, unsigned int size) noexcept : p_(static_cast<const unsigned char*>(data)), size_(size) {}

    /// @return whether no step has failed
    bool ok() const noexcept { return ok_; }
    /// @return whether nothing is left to read; also after a failure
    bool empty() const noexcept { return size_ == 0; }
    /// @return what is left, unread
    blob_t rest() const noexcept { return view(p_, size_); }

    /// Tells whether the next element has an identifier: how optional fields are found.
    /// @param tag  an identifier octet; asn_tag_t::ANY is none
    /// @return whether it is next
    bool next_is(asn_tag_t::Type tag) const noexcept { return size_ != 0 && *p_ == tag; }

    /// Reads an element.
    /// @param tag  its identifier octet, or asn_tag_t::ANY
    /// @return its content; an empty view with a null pointer on failure
    blob_t read(asn_tag_t::Type tag) noexcept {
        unsigned int content_size = 0;
        const unsigned char* const content = asn1_read_tag(tag, p_, size_, &content_size);
        if (content == nullptr) {
            return fail();
        }
        const unsigned int available = size_ - static_cast<unsigned int>(content - p_);
        if (content_size > available) {
            return fail();
        }
        p_ = content + content_size;
        size_ = available - content_size;
        return view(content, content_size);
    }

    /// Reads an element.
    /// @param tag  its identifier octet, or asn_tag_t::ANY
    /// @return the whole element, identifier and length included; an empty view with a null pointer on failure
    blob_t read_element(asn_tag_t::Type tag) noexcept {
        const unsigned char* const begin = p_;
        read(tag);
        return ok_ ? view(begin, static_cast<unsigned int>(p_ - begin)) : blob_t();
    }

    /// Reads an element that contains others.
    /// @param tag  its identifier octet, or asn_tag_t::ANY
    /// @return a cursor over its content; a failed one on failure
    cursor enter(asn_tag_t::Type tag) noexcept {
        cursor inside(read(tag));
        inside.ok_ = ok_;
        return inside;
    }

    /// Reads an element whose content does not matter.
    /// @param tag  its identifier octet, or asn_tag_t::ANY
    void skip(asn_tag_t::Type tag) noexcept { read(tag); }

    /// Skips an optional element: does nothing if another one, or none, is next.
    /// @param tag  its identifier octet
    /// @return whether it was there and has been skipped
    bool skip_if(asn_tag_t::Type tag) noexcept {
        if (!next_is(tag)) {
            return false;
        }
        read(tag);
        return ok_;
    }

  private:
    const unsigned char* p_;
    unsigned int size_;
    bool ok_ = true;

    static blob_t view(const unsigned char* data, unsigned int size) noexcept {
        blob_t bytes;
        bytes.data = data;
        bytes.size = size;
        return bytes;
    }

    blob_t fail() noexcept {
        size_ = 0;
        ok_ = false;
        return blob_t();
    }
};

/// @}

} // namespace derkit

#endif
