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
/// Lenient where DER is not: a length may take more octets than it needs. The indefinite form and
/// lengths of more than four octets are refused.
///
/// @param tag   identifier octet expected, or asn_tag_t::ANY to accept every one
/// @param p     first octet of the element; not read when `size` is below 2
/// @param size  octets available from `p` on (what is left of the enclosing content)
/// @param len   receives the content length in octets. It is stored before the bound check, so it may
///              have changed although the call failed; a header that is cut short stores nothing.
/// @return the first content octet, or a null pointer on failure.
///
/// The bound check adds header and content length in 32 bits. For content lengths within 6 of 2^32 that
/// sum wraps and the content reported can lie outside the input: compare `*len` with what is left before
/// you follow it.
DERKIT_API const unsigned char* asn1_read_tag(asn_tag_t::Type tag, const unsigned char* p, unsigned int size,
                                              unsigned int* len);

/// Decodes the content octets of a non-negative INTEGER (X.690 8.3).
///
/// An empty content succeeds and leaves `value` untouched. The bounds apply to the value formed by all
/// octets but the last; the complete value is stored in its low 32 bits, so five octets 01 00 00 00 00 give 0.
///
/// @param p      content octets, without identifier and length
/// @param size   their number
/// @param value  receives the low 32 bits; untouched on failure
/// @param max    upper bound for the value of every proper prefix
/// @return false for a negative number, or when a proper prefix exceeds `max` or 32 bits.
DERKIT_API bool asn_read_INTEGER(const void* p, unsigned int size, unsigned int& value, unsigned int max);

/// Appends the content octets of an INTEGER to `out`, without identifier and length.
///
/// Every zero octet of the value is left out, inner and trailing ones too: 0x100 is written 01 and 0x10080
/// is written 01 80. Values without such an octet come out as DER. A 00 is put in front of a first octet
/// with its top bit set; 0 is written as the single octet 00.
///
/// @param value  any value
/// @param out    receives the octets behind what it holds
/// @throws std::bad_alloc when `out` cannot grow
DERKIT_API void asn_write_INTEGER(unsigned int value, std::string& out);

/// Compares an OBJECT IDENTIFIER with a constant one.
/// @param oid  content octets, without identifier and length
/// @param der  content octets of the other
/// @return whether they are the same
template <unsigned int N> inline bool asn_oid_equal_(const blob_t& oid, const unsigned char (&der)[N]) {
    return oid.size == N && std::memcmp(oid.data, der, N) == 0;
}

/// @}

#endif
