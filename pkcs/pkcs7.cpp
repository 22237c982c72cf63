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
