// The distinguished names in certificates, requests, CRLs and PKCS#7 or CMS files.
#ifndef DERKIT_TOOLS_FORMATS_HELD_NAMES_H
#define DERKIT_TOOLS_FORMATS_HELD_NAMES_H

#include <functional>
#include <string>
#include <string_view>

#include "derkit/asn_types.h"

// Receives a DER Name, and where it stands: "issuer", "subjectAltName", "certificate 2: subject", "signer 1: issuer".
using take_name_t = std::function<void(const std::string& where, const blob_t& name)>;

// Labels of PEM: RFC 7468, and older ones.
bool is_label_with_names(std::string_view label);

// "certificate", "request", "CRL" or "PKCS#7"; "" if it is none of these.
const char* kind_of_holder(std::string_view der);

// Hands all names of an object to `take` in the order in which they stand; what follows the object is ignored. `problem`
// receives what is wrong first, after which some names may be left out.
void find_names(std::string_view der, const take_name_t& take, std::string& problem);

#endif
