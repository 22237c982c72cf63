/// @file
/// T.61 (TeletexString) and single code points to UTF-8. Pure functions, safe from any thread.
#ifndef DERKIT_T61_H
#define DERKIT_T61_H

#include <string>

#include "derkit/asn_types.h"

/// @defgroup characters T.61 and UTF-8
/// The functions are pure and may be called from any number of threads at once.
/// @{

/// Appends the UTF-8 form of T.61 text to `out`.
///
/// A diacritic prefix (0xC1-0xCF without 0xC9) and the letter behind it give the precomposed character, with a space
/// or a zero byte the spacing diacritic, with anything else that byte as a code point and the combining mark. The low
/// line, 0xCC, always gives the latter. The byte behind a prefix is taken as it is; a prefix at the end is paired
/// with 0.
///
/// @param s    T.61 bytes, no terminating zero needed; not in `out`
/// @param len  their number
/// @param out  receives the text behind what it holds; untouched on failure
/// @return false when T.61 does not define a byte (0x00 included) that stands behind no prefix.
/// @throws std::bad_alloc when `out` cannot grow
DERKIT_API bool ldap_t61s_to_utf8s(const char* s, unsigned int len, std::string& out);

/// Encodes one code point of up to 31 bits in one to six bytes (RFC 2279). Surrogates and values above U+10FFFF
/// are encoded like any other.
///
/// @param buf   receives the bytes, without a terminating zero; null to ask for their number alone
/// @param wc    code point
/// @param room  bytes that `buf` has room for; not looked at when `buf` is null
/// @return the number of bytes; 0 when `room` is too small; -1 when `wc` has its top bit set.
DERKIT_API int ldap_x_wc_to_utf8(char* buf, unsigned int wc, unsigned int room);

/// @}

#endif
