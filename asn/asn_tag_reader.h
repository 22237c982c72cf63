// asn1_read_tag(), inlined into the readers of the library.
#ifndef DERKIT_ASN_TAG_READER_H
#define DERKIT_ASN_TAG_READER_H

#include "derkit/asn_types.h"

// Readers spend most of their time here.
inline const unsigned char* asn_read_tag_inline(asn_tag_t::Type tag, const unsigned char* p, unsigned int size,
                                                unsigned int* len) {
    if (size < 2) {
        return nullptr;
    }
    if (tag != asn_tag_t::ANY && p[0] != tag) {
        return nullptr;
    }
    const unsigned int first_length_octet = p[1];
    if (first_length_octet < 0x80) {
        *len = first_length_octet;
        return size < first_length_octet + 2 ? nullptr : p + 2;
    }
    const unsigned int num_length_octets = first_length_octet & 0x7F;
    const bool indefinite = num_length_octets == 0;
    if (indefinite || num_length_octets > 4 || size < num_length_octets + 2) {
        return nullptr;
    }
    // Leading zeros and a long form where the short one would do are accepted (X.690 10.1 forbids both).
    unsigned int length = p[2];
    for (unsigned int i = 1; i < num_length_octets; ++i) {
        length = length << 8 | p[2 + i];
    }
    *len = length;
    // The sum wraps for lengths near 2^32; asn_cursor_t refuses such results.
    return size < length + num_length_octets + 2 ? nullptr : p + 2 + num_length_octets;
}

#endif
