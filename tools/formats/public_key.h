// Public keys: what their encoding tells.
#ifndef DERKIT_TOOLS_FORMATS_PUBLIC_KEY_H
#define DERKIT_TOOLS_FORMATS_PUBLIC_KEY_H

#include <optional>
#include <string>
#include <vector>

#include "derkit/asn_oidmap.h"
#include "derkit/asn_types.h"
#include "formats/named_oid.h"
#include "io/record.h"

struct public_key_t {
    named_oid_t algorithm;
    unsigned int bits = 0;               // of the modulus of RSA, of p of DSA, of GOST; 0 when not known
    std::vector<named_oid_t> param_sets; // GOST: of the key, of the digest, of the encryption
    std::optional<named_oid_t> curve;    // of an EC key that names one
};

// Reads a SubjectPublicKeyInfo (RFC 5280 4.1) with nothing behind it. On failure `problem` says what is wrong; the
// algorithm is filled in when it could be read.
bool read_public_key(const blob_t& der, const oid_map_handle_t& map, public_key_t& out, std::string& problem);

void add_public_key(const public_key_t& key, record_t& record);

#endif
