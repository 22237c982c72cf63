#include "pkcs/pkcs7.h"

#include "asn/asn_cursor.h"

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY OPTIONAL }     RFC 2315 7
// The content must be there.
bool asn_read_pkcs7_ContentInfo(const void* data, unsigned int size, pkcs7_content_info_t& info) {
    asn_cursor_t in(data, size);
    in.read(asn_tag_t::OBJECT_IDENTIFIER, info.content_type);
    in.read(asn_tag_t::CONTEXT_0, info.content);
    return in.ok();
}

bool asn_read_pkcs7_data(const void* data, unsigned int size, blob_t& out) {
    asn_cursor_t in(data, size);
    in.read(asn_tag_t::OCTET_STRING, out);
    return in.ok();
}

// EncryptedData ::= SEQUENCE { version Version, encryptedContentInfo EncryptedContentInfo, ... }    RFC 2315 13
// EncryptedContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER,                                RFC 2315 10.1
//   contentEncryptionAlgorithm AlgorithmIdentifier, encryptedContent [0] IMPLICIT OCTET STRING OPTIONAL }
// The encrypted content must be there. One further element after the EncryptedContentInfo must be well-formed when
// there is one; it is ignored, like all bytes after it and after the encrypted content.
bool asn_read_pkcs7_EncryptedData(const void* data, unsigned int size, pkcs7_encrypted_data_t& out) {
    asn_cursor_t in(data, size);
    asn_cursor_t encrypted_data = in.enter(asn_tag_t::SEQUENCE);
    out.version = encrypted_data.read(asn_tag_t::INTEGER);
    asn_cursor_t info = encrypted_data.enter(asn_tag_t::SEQUENCE);
    out.content_type = info.read(asn_tag_t::OBJECT_IDENTIFIER);
    out.algorithm = info.read(asn_tag_t::SEQUENCE);
    out.encrypted_content = info.read(asn_tag_t::CONTEXT_0_PRIMITIVE);
    if (!encrypted_data.empty()) {
        encrypted_data.skip(asn_tag_t::ANY);
    }
    return info.ok() && encrypted_data.ok();
}

void asn_write_pkcs7_ContentInfo(const unsigned char* oid, unsigned int oid_size, const asn_tag_t_<0>& content,
                                 asn_tag_t_<0>& out) {
    asn_tag_t_<4096> info(asn_tag_t::SEQUENCE);
    info.add_element(asn_tag_t::OBJECT_IDENTIFIER, oid, oid_size);
    info.add_wrapped(asn_tag_t::CONTEXT_0, content);
    out.add_node(info);
}

void asn_write_pkcs7_EncryptedData(const asn_tag_t_<300>& algorithm, const std::string& encrypted_content,
                                   asn_tag_t_<0>& encrypted_data) {
    asn_tag_t_<4096> info(asn_tag_t::SEQUENCE);
    info.add_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_pkcs7_id_data);
    info.add_node(algorithm);
    info.add_element(asn_tag_t::CONTEXT_0_PRIMITIVE, encrypted_content);

    encrypted_data.reserve(info.encoding_size());
    encrypted_data.add_element(asn_tag_t::INTEGER, PKCS7_ENCRYPTED_DATA_VERSION);
    encrypted_data.add_node(info);
}
