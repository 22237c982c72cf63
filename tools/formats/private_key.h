// GOST private keys in the shapes in which they are met.
#ifndef DERKIT_TOOLS_FORMATS_PRIVATE_KEY_H
#define DERKIT_TOOLS_FORMATS_PRIVATE_KEY_H

#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_types.h"

// Views into the bytes that were read.
struct private_key_t {
    blob_t algorithm;               // OID content
    std::string family;             // "GOST R 34.10-2001", "GOST R 34.10-2012 256", "GOST R 34.10-2012 512", or the
                                    // name or dotted OID of another algorithm
    bool is_gost = false;           // whether the family is one of GOST, so that its shapes are known
    std::vector<blob_t> param_sets; // OID contents of the parameters, in order
    std::string shape;              // how the key octets are wrapped: "OCTET STRING", "INTEGER", "raw",
                                    // "SEQUENCE of OCTET STRING and public key", perhaps with ", key and mask" or
                                    // ", key and 2 masks" behind it; "unknown"
    bool readable = false;          // whether the library's own reader finds the same octets
    blob_t secret;                  // the key octets, masks included; empty when the shape is not known
    unsigned int bits = 0;          // size of the key; 0 when not known
    bool has_attributes = false;
    bool has_public_key = false;
    blob_t content;  // of privateKey
    blob_t trailing; // what stands behind the PrivateKeyInfo
};

// Whether PEM says by this label that it holds a PrivateKeyInfo or an EncryptedPrivateKeyInfo (RFC 7468, 10 and 11).
bool is_key_label(std::string_view label);

// Reads a PrivateKeyInfo (RFC 5208, RFC 5958). On failure `problem` says what is wrong.
bool read_private_key(std::string_view der, private_key_t& out, std::string& problem);

#endif
