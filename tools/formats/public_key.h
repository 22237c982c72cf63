// Public keys: what their encoding shows, and the names of algorithms.
#ifndef DERKIT_TOOLS_FORMATS_PUBLIC_KEY_H
#define DERKIT_TOOLS_FORMATS_PUBLIC_KEY_H

#include <optional>
#include <string>
#include <vector>

#include "derkit/asn_types.h"
#include "formats/named_oid.h"

// What a key for RSASSA-PSS is limited to (RFC 4055 3.1).
struct pss_params_t {
    named_oid_t hash;
    named_oid_t mask;      // function that generates the mask
    named_oid_t mask_hash; // hash of that function
    unsigned int salt_size = 0;
};

struct public_key_t {
    named_oid_t algorithm;
    unsigned int bits = 0; // of the modulus of RSA, of p of DSA, of the field of EC, of GOST; 0 if unknown
    blob_t modulus;        // of RSA, a view of the input; content of the INTEGER, perhaps without leading zeros
    blob_t exponent;       // likewise
    std::optional<pss_params_t> pss;     // of a key for RSASSA-PSS that has parameters
    std::vector<named_oid_t> param_sets; // GOST: of the key, of the digest, of the encryption
    std::optional<named_oid_t> curve;    // of an EC key that names one
};

// Reads a SubjectPublicKeyInfo (RFC 5280 4.1) that nothing follows. On failure `problem` says what is wrong; the
// algorithm is filled in if it could be read.
bool read_public_key(const blob_t& der, public_key_t& out, std::string& problem);

// The algorithm of a complete AlgorithmIdentifier, with the library's name or else that of the dictionary; the name of RSASSA-PSS
// contains the hash from its parameters. Nothing if there is no OID.
std::optional<named_oid_t> name_signature_algorithm(const blob_t& algorithm);

#endif
