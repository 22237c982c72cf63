// Reads PrivateKeyInfo and OneAsymmetricKey in the shapes that programs write GOST keys in.
#ifndef DERKIT_GOST_KEY_INFO_H
#define DERKIT_GOST_KEY_INFO_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "derkit/asn_types.h"
#include "derkit/gost/private_key.h"
#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "gost/schemes.h"

namespace derkit::gost {

struct family_row {
    std::string_view oid;
    std::string_view name; // for people
    key_family family;
    std::size_t size; // octets of a key
};

// The row of an algorithm; null when it is not of GOST R 34.10-2001 or 34.10-2012.
const family_row* find_family(std::string_view oid);
// The algorithm that keys of a family have.
const family_row& row_of(key_family family);

struct key_param_sets {
    named_oid curve;
    named_oid digest; // without OID where the file has none
};

// Reads the parameters of a key's AlgorithmIdentifier; without OIDs when they are malformed.
key_param_sets read_param_sets(std::string_view parameters);

// The octets of a key as they are in the file: in a shape, with masks perhaps.
struct shaped_key {
    key_shape shape = key_shape::octets;
    bool is_big_endian = false;  // as an INTEGER
    std::string_view octets;     // the key and its masks; of an INTEGER without leading zeros
    std::string_view public_key; // in GostR3410-2012-KeyValueInfo; empty without
};

// Views into the file.
struct key_info {
    std::string_view algorithm_oid; // content octets
    std::string_view parameters;    // complete element; empty without
    named_oid algorithm;
    key_param_sets param_sets;
    const family_row* family = nullptr;
    std::optional<shaped_key> key; // none in an unknown shape, or of another algorithm
    std::string_view public_key;   // x and y of OneAsymmetricKey or GostR3410-2012-KeyValueInfo; empty without
    bool has_attributes = false;
};

// Reads one element, after which nothing may follow.
result<key_info> read_key_info(std::string_view der);

// Tells whether octets start like an EncryptedPrivateKeyInfo: a SEQUENCE in a SEQUENCE.
bool is_encrypted_key_info(std::string_view der);

// What an EncryptedPrivateKeyInfo consists of. Views into the file.
struct encrypted_key_info {
    blob_t algorithm; // content octets of the AlgorithmIdentifier
    blob_t ciphertext;
};

// Reads one element, after which nothing may follow.
result<encrypted_key_info> read_encrypted_key_info(std::string_view der);

// The complete element.
std::string write_encrypted_key_info(const encrypted& made);

// The public key in a certificate and its algorithm. The octets are a view into the certificate.
struct certificate_key {
    std::string algorithm;   // dotted
    std::string_view octets; // x and y; empty for keys that are no OCTET STRING
};

result<certificate_key> read_certificate_key(std::string_view certificate);

} // namespace derkit::gost

#endif
