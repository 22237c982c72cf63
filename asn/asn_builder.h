// Builds DER: the node that every writer uses.
#ifndef DERKIT_ASN_BUILDER_H
#define DERKIT_ASN_BUILDER_H

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "derkit/asn_reader.h"
#include "derkit/asn_types.h"

// Octets kept free before the content, for an identifier and at most five length octets.
inline constexpr unsigned int HEADER_ROOM = 6;
// Octets that a growth step leaves free after the content.
inline constexpr unsigned int GROWTH_SLACK = 16;
// The largest content whose buffer size fits 32 bits.
inline constexpr unsigned int MAX_CONTENT_SIZE = 0xFFFFFFFF - HEADER_ROOM - GROWTH_SLACK;

// Inline octets of a node. Its first header is written into them, so only a node without any has less than header room.
constexpr unsigned int inline_storage_size(unsigned int n) {
    return n == 0 ? 0 : std::max(n, HEADER_ROOM);
}

// A view of a constant.
template <unsigned int M> constexpr blob_t asn_view_of(const unsigned char (&bytes)[M]) {
    blob_t view;
    view.size = M;
    view.data = bytes;
    return view;
}

// Copies without a call what most contents are: OIDs, integers and small parameters.
inline void copy_octets(unsigned char* to, const unsigned char* from, unsigned int n) {
    if (n > 16) {
        std::memcpy(to, from, n);
    } else if (n >= 8) {
        std::memcpy(to, from, 8);
        std::memcpy(to + n - 8, from + n - 8, 8);
    } else if (n >= 4) {
        std::memcpy(to, from, 4);
        std::memcpy(to + n - 4, from + n - 4, 4);
    } else if (n != 0) {
        to[0] = from[0];
        to[n / 2] = from[n / 2];
        to[n - 1] = from[n - 1];
    }
}

inline unsigned char length_octet(unsigned int n, unsigned int index) {
    return static_cast<unsigned char>(index < 4 ? n >> (8 * index) : 0);
}

// Content of up to 127 octets takes the short form. For more, length octets are written from the lowest up to the
// first that is zero, so a length of 65,536 or more that has a zero octet is written too short: 65,536 as 81 00. This
// output is fixed. Below 65,536 the header is exact and minimal.
inline unsigned int header_size(unsigned int n) {
    unsigned int num_length_octets = 0;
    if (n > 127) {
        do {
            ++num_length_octets;
        } while (length_octet(n, num_length_octets) != 0);
    }
    return 2 + num_length_octets;
}

// Writes the header of n content octets directly before them.
inline void write_header_before(unsigned char* content, asn_tag_t::Type identifier, unsigned int n) {
    const unsigned int num_length_octets = header_size(n) - 2;
    unsigned char* p = content;
    *--p = static_cast<unsigned char>(n);
    if (num_length_octets != 0) {
        for (unsigned int i = 1; i < num_length_octets; ++i) {
            *--p = length_octet(n, i);
        }
        *--p = static_cast<unsigned char>(0x80 | num_length_octets);
    }
    *--p = identifier;
}

// One element under construction (X.690 8.1).
//
// Content grows at the end of `buffer`, after the header room; every append rewrites the header directly before it, so
// that the encoding is complete and contiguous at any moment. N is the room inside the node: an element that outgrows
// it moves to the heap, which a well-chosen N avoids.
//
// A node of N = 0 has no encoding, and adds nothing to a parent, until its first append, which may be empty.
//
// Content past MAX_CONTENT_SIZE is refused with std::bad_alloc before anything changes. A node belongs to one thread.
template <unsigned int N> struct asn_tag_t_ {
    asn_tag_t::Type tag;       // identifier octet
    unsigned int total_size;   // identifier, length and content
    unsigned char* buffer;     // inline_buffer, or an owned heap block after growth
    unsigned int capacity;     // size of buffer
    unsigned int content_size; // content octets appended so far
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic" // the layout asks for an array of no octets when N is 0
    unsigned char inline_buffer[inline_storage_size(N)];
#pragma GCC diagnostic pop

    // cppcheck-suppress uninitMemberVar ; octets are written before they count as content
    explicit asn_tag_t_(asn_tag_t::Type identifier)
        : tag(identifier), total_size(0), buffer(inline_buffer), capacity(N), content_size(0) {
        if constexpr (N != 0) {
            write_header();
        }
    }
    ~asn_tag_t_() {
        free_heap_block();
    }
    asn_tag_t_(const asn_tag_t_&) = delete;
    asn_tag_t_& operator=(const asn_tag_t_&) = delete;

    // Appends n content octets.
    void add_bytes(const void* bytes, unsigned int n) {
        make_room(n, n);
        copy(bytes, n);
        write_header();
    }

    // Appends the complete encoding of another node.
    template <unsigned int M> void add_node(const asn_tag_t_<M>& child) {
        add_bytes(child.encoding(), child.encoding_size());
    }

    // Appends an element with this content, as a node of its own would be.
    void add_element(asn_tag_t::Type child_tag, const void* content, unsigned int n) {
        const unsigned int size_of_header = header_size(n);
        reserve_with_headers(size_of_header, n);
        content_size += size_of_header;
        write_header_before(back(), child_tag, n);
        copy(content, n);
        write_header();
    }
    void add_element(asn_tag_t::Type child_tag, const blob_t& content) {
        add_element(child_tag, content.data, content.size);
    }
    // A size of more than 32 bits is refused like any content that is too large.
    void add_element(asn_tag_t::Type child_tag, std::string_view content) {
        if (content.size() > MAX_CONTENT_SIZE) {
            throw std::bad_alloc();
        }
        add_element(child_tag, content.data(), static_cast<unsigned int>(content.size()));
    }
    template <unsigned int M> void add_element(asn_tag_t::Type child_tag, const unsigned char (&content)[M]) {
        add_element(child_tag, content, M);
    }

    // Appends an element that contains just one other element: an explicit tag, a SET OF one.
    void add_nested(asn_tag_t::Type outer_tag, asn_tag_t::Type inner_tag, const void* content, unsigned int n) {
        const unsigned int size_of_inner_header = header_size(n);
        if (n > MAX_CONTENT_SIZE - size_of_inner_header) {
            throw std::bad_alloc();
        }
        const unsigned int inner_size = size_of_inner_header + n;
        reserve_with_headers(header_size(inner_size), inner_size);
        content_size += header_size(inner_size);
        write_header_before(back(), outer_tag, inner_size);
        add_element(inner_tag, content, n);
    }

    // Appends an INTEGER with the content that asn_write_INTEGER() writes.
    void add_integer(unsigned int value) {
        std::string content; // five octets at most, no allocation
        asn_write_INTEGER(value, content);
        add_element(asn_tag_t::INTEGER, content);
    }

    // Appends an element that contains just another node: an explicit tag, or an OCTET STRING around DER.
    template <unsigned int M> void add_wrapped(asn_tag_t::Type wrapper_tag, const asn_tag_t_<M>& child) {
        add_element(wrapper_tag, child.encoding(), child.encoding_size());
    }

    // Appends one of many members of a SET OF or SEQUENCE OF. Growing by just what is needed is quadratic for a long list;
    // this at least doubles the room, so that a list costs linear time.
    template <unsigned int M> void add_member(const asn_tag_t_<M>& child) {
        const unsigned int n = child.encoding_size();
        make_room(n, std::max(n, std::min(content_size, MAX_CONTENT_SIZE - content_size)));
        add_node(child);
    }

    // Makes room for n more content octets in one growth step. Neither content nor header change.
    void reserve(unsigned int n) {
        make_room(n, n);
    }

    // Reserves an estimate of the content to come; one that no node can hold is ignored.
    void reserve_estimate(unsigned long long n) {
        if (n <= MAX_CONTENT_SIZE - content_size) {
            reserve(static_cast<unsigned int>(n));
        }
    }

    // First octet of the encoding; valid until the next append.
    const unsigned char* encoding() const {
        return total_size == 0 ? buffer : buffer + HEADER_ROOM - (total_size - content_size);
    }

    unsigned int encoding_size() const {
        return total_size;
    }

    // Replaces `out` with the encoding.
    void assign_to(std::string& out) const {
        out.assign(reinterpret_cast<const char*>(encoding()), total_size);
    }

  private:
    unsigned char* back() {
        return buffer + HEADER_ROOM + content_size;
    }

    void reserve_with_headers(unsigned int size_of_headers, unsigned int n) {
        if (n > MAX_CONTENT_SIZE - size_of_headers) {
            throw std::bad_alloc();
        }
        make_room(size_of_headers + n, size_of_headers + n);
    }

    // Grows the node by room for `growth` octets unless n more content octets fit.
    void make_room(unsigned int n, unsigned int growth) {
        if (n > MAX_CONTENT_SIZE - content_size) {
            throw std::bad_alloc();
        }
        if (capacity < HEADER_ROOM || capacity - HEADER_ROOM < content_size + n) {
            grow(content_size + growth + HEADER_ROOM + GROWTH_SLACK);
        }
    }

    void free_heap_block() {
        if (buffer != inline_buffer) {
            delete[] buffer;
        }
    }

    [[gnu::noinline]] void grow(unsigned int new_capacity) {
        unsigned char* const block = new unsigned char[new_capacity]();
        if (capacity != 0) {
            std::memcpy(block, buffer, HEADER_ROOM + content_size);
        }
        free_heap_block();
        buffer = block;
        capacity = new_capacity;
    }

    void copy(const void* bytes, unsigned int n) {
        copy_octets(back(), static_cast<const unsigned char*>(bytes), n);
        content_size += n;
    }

    void write_header() {
        total_size = content_size + header_size(content_size);
        write_header_before(buffer + HEADER_ROOM, tag, content_size);
    }
};

#endif
