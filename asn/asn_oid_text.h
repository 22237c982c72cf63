// Dotted text of OBJECT IDENTIFIERs.
#ifndef DERKIT_ASN_OID_TEXT_H
#define DERKIT_ASN_OID_TEXT_H

#include "util/text_writer.h"

// Puts what oid_asn_to_str_() appends: all arcs, or those before the one that is cut short. Returns false for the latter.
bool put_oid(const unsigned char* p, const unsigned char* end, text_writer_t& out);

#endif
