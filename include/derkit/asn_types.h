/// @file
/// Types that every family of the library shares.
#ifndef DERKIT_ASN_TYPES_H
#define DERKIT_ASN_TYPES_H

/// @addtogroup primitives
/// @{

/// Marks what the shared library exports; everything else is hidden.
#define DERKIT_API __attribute__((visibility("default")))

/// A non-owning view of bytes.
///
/// Readers fill views that point into the caller's input, which must outlive them.
/// A default-constructed view is empty: no bytes and a null pointer.
struct blob_t {
    unsigned int size = 0;               ///< number of bytes
    const unsigned char* data = nullptr; ///< first byte
};

/// Scope of the identifier octets (X.690 8.1.2).
struct asn_tag_t {
    /// One identifier octet: class, constructed bit and tag number (low-tag-number form only).
    /// The enumerators are those that the library itself uses; any other octet is valid too.
    enum Type : unsigned char {
        ANY = 0x00, ///< reader's wildcard: any identifier is accepted
        INTEGER = 0x02,
        BIT_STRING = 0x03,
        OCTET_STRING = 0x04,
        NULL_VALUE = 0x05,
        OBJECT_IDENTIFIER = 0x06,
        UTF8_STRING = 0x0C,
        NUMERIC_STRING = 0x12,
        PRINTABLE_STRING = 0x13,
        T61_STRING = 0x14,
        IA5_STRING = 0x16,
        UNIVERSAL_STRING = 0x1C,
        BMP_STRING = 0x1E,
        SEQUENCE = 0x30,
        SET = 0x31,
        CONTEXT_0_PRIMITIVE = 0x80, ///< [0] IMPLICIT of a primitive type
        CONTEXT_0 = 0xA0,           ///< [0], constructed
        CONTEXT_1 = 0xA1,           ///< [1], constructed
        CONTEXT_2 = 0xA2            ///< [2], constructed
    };
};

/// @}

#endif
