// PBES2 parameters, for keys and containers alike.
#ifndef DERKIT_PKCS5_PBES2_H
#define DERKIT_PKCS5_PBES2_H

#include "asn/asn_builder.h"
#include "derkit/pkcs8_helper.h"

// Reads as asn_read_pkcs5_pbe_gost() does.
bool asn_read_pkcs5_PBES2(const void* data, unsigned int size, pkcs5_pbe_gost_t& out);

// Fills an empty SEQUENCE with what asn_write_pkcs5_pbe_gost() writes.
void asn_write_pkcs5_PBES2(const pkcs5_pbe_gost_t& in, asn_tag_t_<300>& algorithm);

#endif
