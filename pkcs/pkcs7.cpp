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

void asn_write_pkcs7_ContentInfo(const unsigned char* oid, unsigned int oid_size, const asn_tag_t_<0>& content,
                                 asn_tag_t_<0>& out) {
    asn_tag_t_<4096> info(asn_tag_t::SEQUENCE);
    info.add_element(asn_tag_t::OBJECT_IDENTIFIER, oid, oid_size);
    info.add_wrapped(asn_tag_t::CONTEXT_0, content);
    out.add_node(info);
}
