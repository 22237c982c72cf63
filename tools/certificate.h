// The names in an X.509 certificate, and its validity.
#ifndef DERKIT_TOOLS_CERTIFICATE_H
#define DERKIT_TOOLS_CERTIFICATE_H

#include <string>
#include <string_view>

#include "derkit/asn_types.h"

// Views into the bytes that were read.
struct certificate_t {
    blob_t issuer;   // complete Name
    blob_t validity; // content of Validity
    blob_t subject;  // complete Name
    blob_t trailing; // what stands behind the certificate
};

// Reads a DER certificate. On failure `problem` says which field is missing.
bool read_certificate(std::string_view der, certificate_t& out, std::string& problem);

#endif
