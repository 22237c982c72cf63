// Builds DER: the node that every writer uses.
#ifndef DERKIT_ASN_BUILDER_H
#define DERKIT_ASN_BUILDER_H

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "asn/asn_element.h"
#include "derkit/asn_types.h"

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

    // Appends parts (asn_element.h). They may view this node's own content.
    template <typename... PARTS> [[gnu::always_inline]] void add(const PARTS&... parts) {
        add_before(0, parts...);
    }

    // As above, in a growth step that has room for `more` octets after them, if a node can hold as many.
    template <typename... PARTS> [[gnu::always_inline]] void add_before(unsigned int more, const PARTS&... parts) {
        const unsigned int n =
            require_content_size((0ULL + ... + asn_part(parts).size()) + content_size) - content_size;
        const bool fits = more <= MAX_CONTENT_SIZE - content_size - n;
        const heap_block_t outgrown = make_room(n, fits ? n + more : n);
        unsigned char* end = back();
        ((end = asn_part(parts).write_to(end)), ...);
        content_size += n;
        write_header();
    }

    // Appends an element with this content.
    void add_element(asn_tag_t::Type child_tag, const void* content, unsigned int n) {
        add(asn_element(child_tag, asn_octets_t{static_cast<const unsigned char*>(content), n}));
    }
    void add_element(asn_tag_t::Type child_tag, std::string_view content) {
        add(asn_element(child_tag, content));
    }

    // Appends the complete encoding of another node.
    template <unsigned int M> void add_node(const asn_tag_t_<M>& child) {
        add_bytes(child.encoding(), child.encoding_size());
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
        if (!has_room(n)) {
            grow(0, n);
        }
    }

    // First octet of the encoding; valid until the next append.
    const unsigned char* encoding() const {
        return total_size == 0 ? buffer : buffer + HEADER_ROOM - (total_size - content_size);
    }

    unsigned int encoding_size() const {
        return total_size;
    }

    // Drops the content, so that the node serves for another element with the same tag.
    void clear() {
        if (content_size != 0) {
            content_size = 0;
            write_header();
        }
    }

    // The content octets; valid until the next append.
    blob_t content() const {
        return {content_size, buffer + HEADER_ROOM};
    }

    // The last n octets of the content; valid until the next append.
    blob_t last_octets(unsigned int n) const {
        return {n, buffer + HEADER_ROOM + content_size - n};
    }

    // Replaces `out` with the encoding.
    void assign_to(std::string& out) const {
        out.assign(reinterpret_cast<const char*>(encoding()), total_size);
    }

  private:
    unsigned char* back() {
        return buffer + HEADER_ROOM + content_size;
    }

    using heap_block_t = std::unique_ptr<unsigned char[]>;

    bool has_room(unsigned int n) const {
        const unsigned int new_size = require_content_size(0ULL + content_size + n);
        return capacity >= HEADER_ROOM && capacity - HEADER_ROOM >= new_size;
    }

    // Grows the node by room for `growth` octets unless the n octets fit that the caller appends next. Returns the heap
    // block that it has outgrown, if any, for parts that view it.
    heap_block_t make_room(unsigned int n, unsigned int growth) {
        return has_room(n) ? nullptr : grow(n, growth);
    }

    // All octets after the next n are zero.
    [[gnu::noinline]] heap_block_t grow(unsigned int n, unsigned int growth) {
        const unsigned int new_capacity = content_size + growth + HEADER_ROOM + GROWTH_SLACK;
        const unsigned int num_held = HEADER_ROOM + content_size;
        heap_block_t block(new unsigned char[new_capacity]);
        if (capacity == 0) {
            std::memset(block.get(), 0, HEADER_ROOM);
        } else {
            std::memcpy(block.get(), buffer, num_held);
        }
        std::memset(block.get() + num_held + n, 0, new_capacity - num_held - n);
        heap_block_t outgrown(buffer == inline_buffer ? nullptr : buffer);
        buffer = block.release();
        capacity = new_capacity;
        return outgrown;
    }

    void free_heap_block() {
        if (buffer != inline_buffer) {
            delete[] buffer;
        }
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

// A finished node is a part too.
template <unsigned int N> asn_octets_t asn_part(const asn_tag_t_<N>& node) {
    return {node.encoding(), node.encoding_size()};
}

#endif
