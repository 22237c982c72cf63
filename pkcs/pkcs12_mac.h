// Writing a container's MacData.
#ifndef DERKIT_PKCS12_MAC_H
#define DERKIT_PKCS12_MAC_H

#include "asn/asn_builder.h"
#include "derkit/pkcs12_helper.h"

// Appends the MacData to `out`, with GOST R 34.11-94 as its digest algorithm.
void asn_write_pkcs12_MacData(const pkcs12_mac_t& mac, asn_tag_t_<0>& out);

#endif
