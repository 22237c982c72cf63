// Elements to be written: a tree of descriptions whose sizes are known before the first octet is written.
//
//     asn_element(asn_tag_t::SEQUENCE,
//                 asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_gost28147_89),
//                 asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OCTET_STRING, iv)))
//
// reads like the type that it encodes. asn_tag_t_::add() writes a tree in one go: every octet is copied once, to where it
// stays. A tree holds views of what it is made of.
//
// Content of more than MAX_CONTENT_SIZE octets is refused with std::bad_alloc when the tree is made.
#ifndef DERKIT_ASN_ELEMENT_H
#define DERKIT_ASN_ELEMENT_H

#include <cstring>
#include <new>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "derkit/asn_types.h"
#include "util/copy_octets.h"

// Octets kept free before a node's content, for an identifier and at most five length octets.
inline constexpr unsigned int HEADER_ROOM = 6;
// Octets that a node's growth step leaves free after the content.
inline constexpr unsigned int GROWTH_SLACK = 16;
// The largest content whose buffer size fits 32 bits.
inline constexpr unsigned int MAX_CONTENT_SIZE = 0xFFFFFFFF - HEADER_ROOM - GROWTH_SLACK;

inline unsigned int require_content_size(unsigned long long size) {
    if (size > MAX_CONTENT_SIZE) {
        throw std::bad_alloc();
    }
    return static_cast<unsigned int>(size);
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

// Writes the header of n content octets and returns its end.
inline unsigned char* write_header(unsigned char* to, asn_tag_t::Type identifier, unsigned int n) {
    unsigned char* const content = to + header_size(n);
    write_header_before(content, identifier, n);
    return content;
}

// A part of an element's content has size(), and write_to(), which returns the end of what it wrote. The parts:

// Octets at hand: the content of a primitive element, or complete DER.
struct asn_octets_t {
    const unsigned char* octets;
    unsigned int num_octets;

    unsigned int size() const { return num_octets; }
    unsigned char* write_to(unsigned char* to) const { return copy_octets(to, octets, num_octets); }
};

// A constant, such as an OID: its size and its header are constants too.
template <unsigned int M> struct asn_constant_t {
    const unsigned char* octets;

    static constexpr unsigned int size() { return M; }
    unsigned char* write_to(unsigned char* to) const {
        std::memcpy(to, octets, M);
        return to + M;
    }
};

// The content of an INTEGER. Every zero octet is omitted, inner ones too: 0x10080 is 01 80. A first octet with its top
// bit set gets a zero octet before it; 0 is one zero octet.
class asn_integer_t {
  public:
    static constexpr unsigned int MAX_SIZE = 5;

    explicit asn_integer_t(unsigned int value) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            const unsigned int octet = value >> shift & 0xFF;
            if (octet != 0) {
                size_ += size_ == 0 && octet >= 0x80 ? 2 : 1;
                octets_ = octets_ << 8 | octet;
            }
        }
        size_ += value == 0 ? 1 : 0;
    }
    unsigned int size() const { return size_; }
    unsigned char* write_to(unsigned char* to) const {
        for (unsigned int i = size_; i != 0; --i) {
            *to++ = static_cast<unsigned char>(i > 4 ? 0 : octets_ >> 8 * (i - 1));
        }
        return to;
    }

  private:
    unsigned int octets_ = 0; // without the zero octet before them
    unsigned int size_ = 0;
};

// Parts one after the other.
template <typename... PARTS> struct asn_parts_t {
    unsigned int size() const { return 0; }
    unsigned char* write_to(unsigned char* to) const { return to; }
};
template <typename FIRST, typename... REST> struct asn_parts_t<FIRST, REST...> {
    FIRST first;
    asn_parts_t<REST...> rest;

    [[gnu::always_inline]] asn_parts_t(const FIRST& f, const REST&... r) : first(f), rest(r...) {}
    [[gnu::always_inline]] unsigned char* write_to(unsigned char* to) const {
        return rest.write_to(first.write_to(to));
    }
};

// Identifier, length and the parts of the content.
template <typename... PARTS> class asn_element_t {
  public:
    [[gnu::always_inline]] explicit asn_element_t(asn_tag_t::Type tag, const PARTS&... parts)
        : tag_(tag), content_size_(require_content_size((0ULL + ... + parts.size()))), parts_(parts...) {}

    unsigned int size() const { return header_size(content_size_) + content_size_; }
    [[gnu::always_inline]] unsigned char* write_to(unsigned char* to) const {
        return parts_.write_to(write_header(to, tag_, content_size_));
    }

  private:
    asn_tag_t::Type tag_;
    unsigned int content_size_;
    asn_parts_t<PARTS...> parts_;
};

// A part that may be left out: an OPTIONAL element, or one branch of a CHOICE.
template <typename PART> class asn_optional_t {
  public:
    asn_optional_t(bool present, const PART& part) : present_(present), part_(part) {}

    unsigned int size() const { return present_ ? part_.size() : 0; }
    unsigned char* write_to(unsigned char* to) const { return present_ ? part_.write_to(to) : to; }

  private:
    bool present_;
    PART part_;
};

// What counts as a part.
inline asn_octets_t asn_part(const blob_t& content) {
    return {content.data, content.size};
}
inline asn_octets_t asn_part(std::string_view content) {
    return {reinterpret_cast<const unsigned char*>(content.data()), require_content_size(content.size())};
}
template <unsigned int M> asn_constant_t<M> asn_part(const unsigned char (&content)[M]) {
    return {content};
}
template <typename PART>
requires requires(const PART& part, unsigned char* to) {
    part.write_to(to);
}
const PART& asn_part(const PART& part) {
    return part;
}
template <typename T> using asn_part_of = std::decay_t<decltype(asn_part(std::declval<const T&>()))>;

template <typename... CONTENT>
[[gnu::always_inline]] inline asn_element_t<asn_part_of<CONTENT>...> asn_element(asn_tag_t::Type tag,
                                                                                 const CONTENT&... content) {
    return asn_element_t<asn_part_of<CONTENT>...>(tag, asn_part(content)...);
}

#endif
