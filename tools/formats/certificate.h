// X.509 certificates: their fields, and the times of their validity.
#ifndef DERKIT_TOOLS_FORMATS_CERTIFICATE_H
#define DERKIT_TOOLS_FORMATS_CERTIFICATE_H

#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_types.h"
#include "derkit/int2str.h"

// Views into the bytes that were read.
struct certificate_t {
    blob_t encoding;            // the complete Certificate
    blob_t version;             // content of the INTEGER; empty in version 1
    blob_t serial_number;       // content of the INTEGER
    blob_t inner_signature;     // complete AlgorithmIdentifier, signed with the rest
    blob_t issuer;              // complete Name
    blob_t validity;            // content of Validity
    blob_t subject;             // complete Name
    blob_t public_key;          // complete SubjectPublicKeyInfo
    blob_t extensions;          // content of Extensions; empty if there are none
    blob_t signature_algorithm; // complete AlgorithmIdentifier
    blob_t trailing;            // what follows the certificate
};

// RFC 7468 5.1, and the label of a certificate that is followed by trust settings.
inline constexpr std::string_view TRUSTED_LABEL = "TRUSTED CERTIFICATE";
bool is_certificate_label(std::string_view label);

// Reads a DER certificate. On failure `problem` names the field that is missing.
bool read_certificate(std::string_view der, certificate_t& out, std::string& problem);

// The certificates in a file, at least one, each without what follows it: PEM, with any number of them, or DER. Throws
// failure_t.
std::vector<std::string> read_certificate_file(const std::string& file);

struct validity_t {
    cert_time64_t not_before = CERT_TIME64_INVALID;
    cert_time64_t not_after = CERT_TIME64_INVALID;
};

// From the content of a Validity (RFC 5280 4.1.2.5). A time that is not good is invalid, and `problems` receives what is
// wrong with it.
validity_t read_validity(const blob_t& content, std::vector<std::string>& problems);

#endif
