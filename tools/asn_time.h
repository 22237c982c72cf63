// Times of certificates as text.
#ifndef DERKIT_TOOLS_ASN_TIME_H
#define DERKIT_TOOLS_ASN_TIME_H

#include <string>

#include "derkit/asn_types.h"

struct validity_t {
    std::string not_before;
    std::string not_after;
};

// From the content of a Validity (RFC 5280 4.1.2.5): "2030-12-31T23:59:59Z". A time in another form than the two that
// certificates may have is given as it stands.
bool read_validity(const blob_t& content, validity_t& out);

#endif
