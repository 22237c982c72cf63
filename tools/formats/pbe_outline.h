// What a file shows of its encryption or authentication by password.
#ifndef DERKIT_TOOLS_FORMATS_PBE_OUTLINE_H
#define DERKIT_TOOLS_FORMATS_PBE_OUTLINE_H

#include <optional>
#include <string>

#include "derkit/asn_types.h"
#include "formats/named_oid.h"

// Missing fields stay empty.
struct pbe_outline_t {
    named_oid_t scheme;
    std::optional<named_oid_t> kdf;
    std::optional<named_oid_t> prf;       // of PBKDF2
    std::optional<named_oid_t> cipher;    // or the MAC of PBMAC1
    std::optional<named_oid_t> param_set; // of the cipher
    std::optional<unsigned int> salt_size;
    std::optional<unsigned int> iterations;
    std::optional<unsigned int> iv_size;
    std::string declined; // why it cannot be decrypted here, whatever the password; empty if it can
};

// From the content of an AlgorithmIdentifier. Malformed parameters are omitted.
pbe_outline_t outline_pbe(const blob_t& algorithm);

// Why a salt and a count cannot be used; empty if they can.
std::string decline_derivation(unsigned int salt_size, unsigned int iterations);

#endif
