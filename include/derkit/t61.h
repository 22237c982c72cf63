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
/// A diacritic prefix (0xC1-0xCF without 0xC9) and the letter after it become the precomposed character. Before a space
/// or a zero byte the prefix becomes the spacing diacritic; before anything else that byte becomes a code point
/// followed by the combining mark, as it always does after 0xCC, the low line. The byte after a prefix is used as it
/// is; a prefix at the end is paired with 0.
///
/// @param s    T.61 bytes, no terminating zero needed; not in `out`
/// @param len  their number
/// @param out  the text is appended to it; unchanged on failure
/// @return whether it was converted; false when a byte that follows no prefix is undefined in T.61, as 0x00 is
/// @throws std::bad_alloc when `out` cannot grow
DERKIT_API bool ldap_t61s_to_utf8s(const char* s, unsigned int len, std::string& out);

/// Encodes one code point of up to 31 bits in one to six bytes (RFC 2279). Surrogates and values above U+10FFFF
/// are encoded like any other.
///
/// @param buf   receives the bytes, without a terminating zero; null to get only their number
/// @param wc    code point
/// @param room  bytes that `buf` has room for; ignored when `buf` is null
/// @return the number of bytes; 0 when `room` is too small; -1 when `wc` has its top bit set
DERKIT_API int ldap_x_wc_to_utf8(char* buf, unsigned int wc, unsigned int room);

/// @}

#endif
