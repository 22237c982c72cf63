#include "gost/pfx.h"

#include <algorithm>
#include <iterator>

#include "gost/ber.h"
#include "gost/der.h"

namespace derkit::gost {

namespace {

struct oid_name {
    std::string_view oid;
    std::string_view name;
};

// RFC 5652, RFC 7292 appendix D.
constexpr oid_name NAMES[] = {
    {OID_DATA, "data"},
    {OID_SIGNED_DATA, "signedData"},
    {OID_ENVELOPED_DATA, "envelopedData"},
    {OID_ENCRYPTED_DATA, "encryptedData"},
    {OID_KEY_BAG, "keyBag"},
    {OID_SHROUDED_KEY_BAG, "pkcs8ShroudedKeyBag"},
    {OID_CERT_BAG, "certBag"},
    {OID_CRL_BAG, "crlBag"},
    {OID_SECRET_BAG, "secretBag"},
    {OID_SAFE_CONTENTS_BAG, "safeContentsBag"},
    {OID_X509_CERTIFICATE, "x509Certificate"},
    {"1.2.840.113549.1.9.22.2", "sdsiCertificate"},
    {"1.2.840.113549.1.9.23.1", "x509CRL"},
};

} // namespace

named_oid name_container_oid(const blob_t& oid) {
    const std::string dotted = dotted_of(oid);
    const auto* const found =
        std::find_if(std::begin(NAMES), std::end(NAMES), [&dotted](const oid_name& row) { return row.oid == dotted; });
    return {dotted, found != std::end(NAMES) ? std::string(found->name) : std::string()};
}

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY OPTIONAL }     RFC 2315 7
result<content_info> read_content_info(asn_cursor_t in) {
    content_info out;
    out.type = name_container_oid(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (in.next_is(asn_tag_t::CONTEXT_0)) {
        out.content = text_of(in.read(asn_tag_t::CONTEXT_0));
    }
    if (!in.ok() || !in.empty() || out.type.oid.empty()) {
        return cause::malformed;
    }
    return out;
}

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }              RFC 7292 4
result<pfx> read_pfx(std::string_view der) {
    pfx out;
    asn_cursor_t in(blob_of(der));
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    fields.skip(asn_tag_t::INTEGER);
    const asn_cursor_t auth_safe = fields.enter(asn_tag_t::SEQUENCE);
    if (!fields.empty()) {
        out.mac_data = fields.read(asn_tag_t::SEQUENCE);
    }
    if (!fields.ok() || !fields.empty()) {
        return cause::malformed;
    }
    result<content_info> info = read_content_info(auth_safe);
    if (!info) {
        return info.error();
    }
    out.auth_safe = *std::move(info);
    return out;
}

// SignedData ::= SEQUENCE { version CMSVersion, digestAlgorithms SET OF DigestAlgorithmIdentifier,  RFC 5652 5.1
//   encapContentInfo EncapsulatedContentInfo, ... }
// EncapsulatedContentInfo ::= SEQUENCE { eContentType OBJECT IDENTIFIER, eContent [0] EXPLICIT OCTET STRING OPTIONAL }
// The signatures are not looked at.
result<std::string_view> read_signed_octets(std::string_view signed_data) {
    asn_cursor_t in(blob_of(signed_data));
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    fields.skip(asn_tag_t::INTEGER);
    fields.skip(asn_tag_t::SET);
    asn_cursor_t info = fields.enter(asn_tag_t::SEQUENCE);
    info.skip(asn_tag_t::OBJECT_IDENTIFIER);
    asn_cursor_t content = info.enter(asn_tag_t::CONTEXT_0);
    const std::string_view octets = text_of(content.read(asn_tag_t::OCTET_STRING));
    if (!content.ok()) {
        return cause::malformed;
    }
    return octets;
}

// EncryptedData ::= SEQUENCE { version CMSVersion, encryptedContentInfo EncryptedContentInfo, ... } RFC 5652 8
// EncryptedContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER,                                RFC 5652 6.1
//   contentEncryptionAlgorithm AlgorithmIdentifier, encryptedContent [0] IMPLICIT OCTET STRING OPTIONAL }
// Any version is accepted; attributes after the EncryptedContentInfo are ignored.
result<encrypted_data> read_encrypted_data(std::string_view element) {
    encrypted_data out;
    asn_cursor_t in(blob_of(element));
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    fields.skip(asn_tag_t::INTEGER);
    asn_cursor_t info = fields.enter(asn_tag_t::SEQUENCE);
    out.content_type = name_container_oid(info.read(asn_tag_t::OBJECT_IDENTIFIER));
    out.algorithm = info.read(asn_tag_t::SEQUENCE);
    if (info.next_is(asn_tag_t::CONTEXT_0)) {
        result<secret> joined = joined_octet_strings(text_of(info.read(asn_tag_t::CONTEXT_0)));
        if (!joined) {
            return joined.error();
        }
        out.joined = *std::move(joined);
        out.ciphertext = out.joined;
    } else {
        out.ciphertext = text_of(info.read(asn_tag_t::CONTEXT_0_PRIMITIVE));
    }
    if (!info.ok() || !info.empty()) {
        return cause::malformed;
    }
    return out;
}

result<std::string_view> read_octet_string(std::string_view element) {
    asn_cursor_t in(blob_of(element));
    const std::string_view octets = text_of(in.read(asn_tag_t::OCTET_STRING));
    if (!in.ok() || !in.empty()) {
        return cause::malformed;
    }
    return octets;
}

} // namespace derkit::gost
