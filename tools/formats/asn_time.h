// Times of certificates.
#ifndef DERKIT_TOOLS_FORMATS_ASN_TIME_H
#define DERKIT_TOOLS_FORMATS_ASN_TIME_H

#include <string>

#include "derkit/asn_types.h"
#include "derkit/int2str.h"

struct validity_t {
    std::string not_before;
    std::string not_after;
};

// From the content of a Validity (RFC 5280 4.1.2.5): "2030-12-31T23:59:59Z". A time in another form than the two that
// certificates may have is given as it stands.
bool read_validity(const blob_t& content, validity_t& out);

struct validity_times_t {
    cert_time64_t not_before = CERT_TIME64_INVALID;
    cert_time64_t not_after = CERT_TIME64_INVALID;
};

// As above, as times. On failure `problem` says what is wrong with which time; the other one may be good.
bool read_validity_times(const blob_t& content, validity_times_t& out, std::string& problem);

#endif
