/// @file
/// ASN.1 primitives: one element's header, small INTEGERs, comparison of OIDs.
#ifndef DERKIT_ASN_READER_H
#define DERKIT_ASN_READER_H

#include <cstring>
#include <string>

#include "derkit/asn_types.h"

/// @defgroup primitives ASN.1 primitives
/// All functions are pure and may be called from any number of threads at once.
/// @{

/// Reads the identifier and the length of one element (X.690 8.1.2, 8.1.3).
///
/// A length may take more octets than it needs, which DER forbids. The indefinite form and lengths of more than four
/// octets are refused.
///
/// @param tag   expected identifier octet, or asn_tag_t::ANY to accept any
/// @param p     first octet of the element; not read when `size` is below 2
/// @param size  octets available from `p` on (what is left of the enclosing content)
/// @param len   receives the content length in octets. It is stored before the bounds check, so it may change even
///              though the call fails; a truncated header stores nothing.
/// @return the first content octet, or a null pointer on failure.
///
/// The bounds check adds header and content length in 32 bits. For content lengths within 6 of 2^32 that sum wraps, and
/// the reported content can lie outside the input: compare `*len` with what is left before you use it.
DERKIT_API const unsigned char* asn1_read_tag(asn_tag_t::Type tag, const unsigned char* p, unsigned int size,
                                              unsigned int* len);

/// Decodes the content octets of a non-negative INTEGER (X.690 8.3).
///
/// An empty content succeeds and leaves `value` unchanged. The bounds apply to the value of all octets but the last; of
/// the complete value the low 32 bits are stored, so the five octets 01 00 00 00 00 read as 0.
///
/// @param p      content octets, without identifier and length
/// @param size   their number
/// @param value  receives the low 32 bits; unchanged on failure
/// @param max    upper bound for the value of every proper prefix
/// @return whether it was decoded; false for a negative number, or when a proper prefix exceeds `max` or 32 bits
DERKIT_API bool asn_read_INTEGER(const void* p, unsigned int size, unsigned int& value, unsigned int max);

/// Appends the content octets of an INTEGER to `out`, without identifier and length.
///
/// Every zero octet of the value is dropped, inner and trailing ones too: 0x100 is written 01, and 0x10080 is written
/// 01 80. Values without a zero octet are written as DER. A 00 is prepended to a first octet with its top bit set; 0 is
/// written as the single octet 00.
///
/// @param value  any value
/// @param out    the octets are appended to it
/// @throws std::bad_alloc when `out` cannot grow
DERKIT_API void asn_write_INTEGER(unsigned int value, std::string& out);

/// Compares an OBJECT IDENTIFIER with a constant one.
/// @param oid  content octets, without identifier and length
/// @param der  content octets of the constant
/// @return whether they are the same
template <unsigned int N> inline bool asn_oid_equal_(const blob_t& oid, const unsigned char (&der)[N]) {
    return oid.size == N && std::memcmp(oid.data, der, N) == 0;
}

/// @}

#endif
