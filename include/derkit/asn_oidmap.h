/// @file
/// Object identifiers: dotted text to DER and back, and maps that name them.
#ifndef DERKIT_ASN_OIDMAP_H
#define DERKIT_ASN_OIDMAP_H

#include <string>

#include "derkit/asn_types.h"

/// @defgroup oids Object identifiers and OID maps
/// All functions are safe from any thread on distinct arguments; a map may be searched from any number of threads while
/// none changes or releases it. The only exception is std::bad_alloc.
/// @{

/// Encodes dotted text as the content octets of an OBJECT IDENTIFIER (X.690 8.19).
///
/// Leading zeros of an arc are ignored and arcs are limited to 32 bits. A second arc of 40 or more is accepted after 0
/// and 1 too: 1.50 becomes the subidentifier 90, which reads back as 2.10. The first subidentifier is computed in 32
/// bits and wraps.
///
/// @param begin  first character; the text needs no terminating zero
/// @param end    one past the last character
/// @param out    receives at most 506 octets: six stay free, so that identifier and length fit in front;
///               undefined after a failure
/// @return the number of octets written; 0 on failure, also for a text of one arc
///
/// Pure; safe from any thread.
DERKIT_API unsigned int oid_str_to_asn_(const char* begin, const char* end, unsigned char (&out)[512]);

/// Appends the dotted text of OBJECT IDENTIFIER content octets to `out`.
///
/// The first subidentifier is simply divided by 40, so 120 prints as 3.0. Subidentifiers wrap at 32 bits; padded ones
/// (leading 0x80) are accepted.
///
/// @param begin  first content octet
/// @param end    one past the last content octet
/// @param out    the text is appended to it; the octets must not lie in it. After a failure it keeps what was appended,
///               including the dot after the last finished arc.
/// @return 1 on success; 0 for an empty range or when the last subidentifier is cut short
/// @throws std::bad_alloc when `out` cannot grow
///
/// Safe from any thread on distinct strings.
DERKIT_API int oid_asn_to_str_(const unsigned char* begin, const unsigned char* end, std::string& out);

/// One entry of an OID map. All texts lie in one block that the map owns; they live as long as the map.
struct OIDdescr_t {
    unsigned char* oid_asn = nullptr; ///< DER content octets; also the start of the entry's block
    unsigned int oid_asn_size = 0;    ///< their number
    char* oid_str = nullptr;          ///< dotted text as written in the map's text, zero-terminated
    unsigned int oid_str_size = 0;    ///< its length without the zero
    char* oid_sn = nullptr;           ///< short name in upper case, zero-terminated; may be empty
    unsigned int oid_sn_size = 0;     ///< its length without the zero
    char* oid_ln = nullptr;           ///< long name, zero-terminated; may be empty
    unsigned int oid_ln_size = 0;     ///< its length without the zero
};

struct OIDmaps_t; // opaque

/// Handle of an OID map. A default-constructed handle is empty.
struct oid_map_handle_t {
    OIDmaps_t* map = nullptr; ///< the map, or a null pointer
};

/// Creates a map from text.
///
/// One entry a line: `OID = SHORT, long name`, with any number of blanks (spaces, tabs) between the parts. Lines end
/// with CR or LF. Lines that do not start with a dotted OID followed by `=` are comments; lines with an invalid OID are
/// dropped. Short names are stored in upper case. The long name is optional and runs to the end of its line, trailing
/// blanks included. If anything but a comma follows the short name, the rest of the line is a comment. On duplicates
/// the first line wins, separately by DER, by dotted text and by short name.
///
/// @param text  the map's text; needs no terminating zero and is not kept
/// @param size  its length in bytes
/// @return a handle that is never empty; release it with oid_map_release()
/// @throws std::bad_alloc without leaking anything
///
/// A map may be searched from any number of threads at once.
DERKIT_API oid_map_handle_t oid_map_parse(const char* text, unsigned int size);

/// Adds lines to a map; see oid_map_parse() for the format. On duplicates the entries already in the map win.
///
/// @param map   a map that oid_map_parse() made
/// @param text  the lines; needs no terminating zero and is not kept
/// @param size  its length in bytes
/// @throws std::bad_alloc; the lines before the failing one stay in the map, and that one may be found by some of its
///         keys
///
/// No other thread may use the map during the call.
DERKIT_API void oid_map_parse_(OIDmaps_t& map, const char* text, unsigned int size);

/// Destroys a map made by oid_map_parse() with all its entries.
/// @param map  never one of the two ready-made maps; an empty handle is ignored. No other thread may use the map.
DERKIT_API void oid_map_release(oid_map_handle_t map);

/// Finds an entry by the DER content octets of its OID.
///
/// @param map   a handle that is not empty
/// @param der   content octets, without identifier and length
/// @param size  their number
/// @return the entry, owned by the map and valid until its release, or a null pointer when there is none
DERKIT_API const OIDdescr_t* oid_map_find_asn(oid_map_handle_t map, const unsigned char* der, unsigned int size);

/// Finds an entry by its dotted text, compared exactly as written in the map's text.
///
/// @param map   a handle that is not empty
/// @param text  dotted text; needs no terminating zero
/// @param size  its length in bytes
/// @return the entry, owned by the map and valid until its release, or a null pointer when there is none
DERKIT_API const OIDdescr_t* oid_map_find_str(oid_map_handle_t map, const char* text, unsigned int size);

/// Finds an entry by its short name, without regard to ASCII case.
///
/// @param map   a handle that is not empty
/// @param name  short name; needs no terminating zero
/// @param size  its length in bytes
/// @return the entry, owned by the map and valid until its release, or a null pointer when there is none
DERKIT_API const OIDdescr_t* oid_map_find_sn(oid_map_handle_t map, const char* name, unsigned int size);

/// The built-in map: 23 short names of 22 attribute types of distinguished names (X.520, RFC 4519, RFC 2985).
/// Complete when the library is loaded and never changed afterwards.
///
/// Both ready-made maps and their entries may be used until dlclose() unloads the library, and while the process exits
/// until the library's static objects are destroyed. That is after the destructors of static objects and the exit
/// handlers that were registered after the library was loaded: all of those of a program that is linked with it. Stop
/// threads that use a map before the process exits. A child made by fork() has maps of its own, which are as good.
extern DERKIT_API const oid_map_handle_t OID_MAP_HANDLE_DEFAULT;

/// The built-in map followed by the lines of `qaroids.cfg` in the system configuration directory, read once when the
/// library is loaded. An absent, empty or unreadable file adds nothing. It ends with OID_MAP_HANDLE_DEFAULT.
extern DERKIT_API const oid_map_handle_t OID_MAP_HANDLE_DEFAULT_FILE;

/// @}

#endif
