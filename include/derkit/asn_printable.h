/// @file
/// Distinguished names: DER to one-line text and back, and operations on the text.
#ifndef DERKIT_ASN_PRINTABLE_H
#define DERKIT_ASN_PRINTABLE_H

#include <string>

#include "derkit/asn_oidmap.h"
#include "derkit/asn_types.h"

/// @defgroup names Distinguished names
/// A printable DN is a line such as `CN=user1,OU=Sales+L=Town,O=Example,C=RU`: attributes `type=value`, joined
/// by `+` within one RDN, RDNs joined by `,`. A value is plain, with backslash escapes (`\,` or two hexadecimal
/// digits as in `\2C`), or in double quotes, or `#` and the hexadecimal DER of a whole element.
/// Types are short names of an OID map, in either case, or dotted OIDs. The operations on text alone compare types and
/// texts byte by byte.
///
/// All functions are safe from any thread on distinct arguments; maps may be shared.
/// The only exception that leaves them is std::bad_alloc.
/// @{

/// What printable_dn_get_attr() returns. Values other than PDN_GET_ATTR_VALUE count as PDN_GET_ATTR_PAIR.
enum PrintableDnGetAttr : int {
    PDN_GET_ATTR_PAIR = 0, ///< type, `=` and value exactly as written
    PDN_GET_ATTR_VALUE = 1 ///< the value exactly as written: quotes and backslashes stay
};

/// Order of the RDNs in a text. Values other than PDN_ORDER_REVERSED count as PDN_ORDER_AS_ENCODED.
enum PrintableDnOrder : int {
    PDN_ORDER_AS_ENCODED = 0, ///< as in the DER
    PDN_ORDER_REVERSED = 1    ///< last RDN of the DER first, as RFC 4514 writes names
};

/// Reverses the order of the RDNs of a zero-terminated DN in place.
///
/// Every RDN keeps its text and inner order. Blanks before an RDN move with it:
/// `CN=a, O=b` becomes ` O=b,CN=a`.
///
/// @param dn  changed in place; its length stays
/// @return `dn`, or a null pointer when the text does not parse and is left unchanged
DERKIT_API char* printable_dn_reverse(char* dn);

/// Appends the first attribute whose type equals `type` to `out`.
///
/// @param dn    zero-terminated DN
/// @param type  zero-terminated type; "cn" does not match "CN"
/// @param out   the text is appended to it; may contain `dn`; unchanged when the result is false
/// @param what  the whole pair or the value alone
/// @return whether there is such an attribute; false also when `dn` does not parse
DERKIT_API bool printable_dn_get_attr(const char* dn, const char* type, std::string& out, PrintableDnGetAttr what);

/// Tells whether `dn` contains the RDN texts of `rdns` in the same order, possibly with others between them.
///
/// The text is scanned, not parsed, and no blank is skipped: `CN=a, O=b` does not contain `O=b`. A mismatch at a comma
/// of `dn` skips the RDN after it: `CN=a,CN=ab` does not contain `CN=ab`. The scan ends at an RDN that merely starts
/// with the rest of `rdns`: `CN=ab,CN=a` does not contain `CN=a`. An empty `rdns` is contained in an empty `dn` and in
/// one that starts with a comma.
///
/// @param dn    zero-terminated DN
/// @param rdns  zero-terminated RDNs, joined by `,`
/// @return whether `dn` contains them
DERKIT_API bool printable_dn_contain_attrs(const char* dn, const char* rdns);

/// Tells whether no attribute `CN` precedes the first attribute `C`, or there is no `C`.
/// @param dn  zero-terminated DN
/// @return whether it is so; false when `dn` does not parse
DERKIT_API bool printable_dn_C_before_CN(const char* dn);

/// Appends the text of a DER Name (X.501 9.2) to `out`.
///
/// UTF8String, NumericString, PrintableString, T61String, IA5String, UniversalString and BMPString values
/// become UTF-8 with `"`, `#`, `+`, `,`, `;`, `<`, `=`, `>` and `\` escaped by a backslash; values of other
/// types become `#` and upper-case hexadecimal DER. Other bytes, controls too, are written as they are.
///
/// @param der    the Name, a SEQUENCE; bytes after it are ignored
/// @param len    bytes available from `der` on
/// @param out    the text is appended to it; `der` must not lie in it. After a failure it keeps all that was written in
///               encoded order, or the finished RDNs in reversed order, each with its comma. After a failure to
///               allocate it keeps some of the text in encoded order, and none in reversed order.
/// @param order  order of the RDNs
/// @param map    names the attribute types; if it is empty, types are dotted OIDs
/// @return whether it was written; false for malformed DER, a NumericString with anything but digits and spaces, a
///         T61String, BMPString or UniversalString that holds no text of its kind, and an empty BMPString or
///         UniversalString. Strings of other types are not checked.
DERKIT_API bool asn_dn_to_printable(const unsigned char* der, unsigned int len, std::string& out,
                                    PrintableDnOrder order, oid_map_handle_t map);

/// Writes the display name of one DER OBJECT IDENTIFIER element.
///
/// The short name from `map`, or else the algorithm's name, is assigned to `out`; the dotted text of an OID that has
/// neither is appended to it. `der` must not lie in `out`.
///
/// @param der       the element: tag, length and content
/// @param len       bytes available from `der` on
/// @param out       receives the name, which replaces or follows what it holds
/// @param with_oid  whether to add the dotted text in parentheses after an algorithm's name
/// @param map       may be empty
/// @return false when there is no such element, or its content is malformed and has no name; `out` then keeps the part
///         of the dotted text that was appended. An algorithm's name is a success whether or not the dotted text after
///         it is complete.
DERKIT_API bool asn_oid_to_printable(const unsigned char* der, unsigned int len, std::string& out, bool with_oid,
                                     oid_map_handle_t map);

/// Encodes a zero-terminated DN as a DER Name.
///
/// The string type follows the characters alone: PrintableString, else IA5String, else (a byte above 0x7F)
/// UTF8String; a `#` value brings its own. The members of a multi-valued RDN are written in text order, not
/// sorted as X.690 11.6 asks.
///
/// @param dn   zero-terminated DN
/// @param der  receives the whole element, which replaces what it held; may contain `dn`; unchanged on failure
/// @param map  short names of types; if it is empty, only dotted OIDs are accepted
/// @return whether it was encoded; false when the text does not parse, a type is unknown or a value is malformed
DERKIT_API bool printable_to_asn_dn(const char* dn, std::string& der, oid_map_handle_t map);

/// Converts a DN to its canonical text by encoding and printing it (PDN_ORDER_AS_ENCODED).
///
/// @param in   the DN, up to its first zero byte; may be one of the outputs
/// @param out  receives the text, which replaces what it held; unchanged when `in` does not encode
/// @param der  when not null, receives the DER Name; unchanged when `in` does not encode; never the same as `out`
/// @param map  used in both directions; may be empty
/// @return whether both succeeded; false when `in` does not encode, or its DER does not print (a `#` value can hold
///         such DER)
DERKIT_API bool printable_dn_normalize(const std::string& in, std::string& out, std::string* der, oid_map_handle_t map);

/// @}

#endif
