// PKCS#7 contents: the wrapping of every layer of a container.
#ifndef DERKIT_PKCS7_H
#define DERKIT_PKCS7_H

#include <string>

#include "asn/asn_builder.h"
#include "derkit/asn_types.h"
#include "pkcs/pkcs_oids.h"

// The records view the input.
struct pkcs7_content_info_t {
    blob_t content_type; // content octets of the OBJECT IDENTIFIER
    blob_t content;      // content octets of [0]: the inner element with its header
};

inline constexpr unsigned char PKCS7_ENCRYPTED_DATA_VERSION[] = {0};

struct pkcs7_encrypted_data_t {
    blob_t version;           // content octets of the INTEGER
    blob_t content_type;      // content octets of the OBJECT IDENTIFIER
    blob_t algorithm;         // content octets of the AlgorithmIdentifier
    blob_t encrypted_content; // content octets of [0]
};

// Reads the content of a ContentInfo SEQUENCE. The content type is not judged; bytes after [0] are ignored.
bool asn_read_pkcs7_ContentInfo(const void* data, unsigned int size, pkcs7_content_info_t& info);

// Reads the OCTET STRING of an id-data content. Bytes after it are ignored; a constructed one is refused.
bool asn_read_pkcs7_data(const void* data, unsigned int size, blob_t& out);

// Reads an EncryptedData SEQUENCE. Version, content type and algorithm are not judged.
bool asn_read_pkcs7_EncryptedData(const void* data, unsigned int size, pkcs7_encrypted_data_t& out);

// A ContentInfo to be written.
template <unsigned int N, typename CONTENT>
auto pkcs7_content_info(const unsigned char (&content_type)[N], const CONTENT& content) {
    return asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, content_type),
                       asn_element(asn_tag_t::CONTEXT_0, content));
}

// An EncryptedData to be written, which encrypts id-data.
template <unsigned int N>
auto pkcs7_encrypted_data(const asn_tag_t_<N>& algorithm, const std::string& encrypted_content) {
    return asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::INTEGER, PKCS7_ENCRYPTED_DATA_VERSION),
                       asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_pkcs7_id_data),
                                   algorithm, asn_element(asn_tag_t::CONTEXT_0_PRIMITIVE, encrypted_content)));
}

#endif
