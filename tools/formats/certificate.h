// The fields of an X.509 certificate.
#ifndef DERKIT_TOOLS_FORMATS_CERTIFICATE_H
#define DERKIT_TOOLS_FORMATS_CERTIFICATE_H

#include <string>
#include <string_view>

#include "derkit/asn_types.h"

// Views into the bytes that were read.
struct certificate_t {
    blob_t serial_number;       // content of the INTEGER
    blob_t inner_signature;     // complete AlgorithmIdentifier, signed with the rest
    blob_t issuer;              // complete Name
    blob_t validity;            // content of Validity
    blob_t subject;             // complete Name
    blob_t public_key;          // complete SubjectPublicKeyInfo
    blob_t signature_algorithm; // complete AlgorithmIdentifier
    blob_t trailing;            // what stands behind the certificate
};

// RFC 7468 5.1 and the form that has trust settings behind the certificate.
inline constexpr std::string_view TRUSTED_LABEL = "TRUSTED CERTIFICATE";
bool is_certificate_label(std::string_view label);

// Reads a DER certificate. On failure `problem` says which field is missing.
bool read_certificate(std::string_view der, certificate_t& out, std::string& problem);

#endif
