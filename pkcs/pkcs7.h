// PKCS#7 ContentInfo (RFC 2315 7), the wrapping of every layer of a container.
#ifndef DERKIT_PKCS7_H
#define DERKIT_PKCS7_H

#include "asn/asn_builder.h"
#include "derkit/asn_types.h"

// 1.2.840.113549.1.7.1
inline constexpr unsigned char g_oid_pkcs7_id_data[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
// 1.2.840.113549.1.7.6
inline constexpr unsigned char g_oid_pkcs7_id_encrypted_data[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x06};

// Views into the input.
struct pkcs7_content_info_t {
    blob_t content_type; // content octets of the OBJECT IDENTIFIER
    blob_t content;      // content octets of [0]: the inner element with its header
};

// Reads the content of a ContentInfo SEQUENCE. The content type is not judged; bytes behind [0] are ignored.
bool asn_read_pkcs7_ContentInfo(const void* data, unsigned int size, pkcs7_content_info_t& info);

// Reads the OCTET STRING of an id-data content. Bytes behind it are ignored; a constructed one is refused.
bool asn_read_pkcs7_data(const void* data, unsigned int size, blob_t& out);

// Appends a ContentInfo to `out`.
void asn_write_pkcs7_ContentInfo(const unsigned char* oid, unsigned int oid_size, const asn_tag_t_<0>& content,
                                 asn_tag_t_<0>& out);

#endif
