#include "formats/certificate.h"

#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "io/bytes.h"

namespace {

// Remembers the first field that could not be read.
class missing_field_t {
  public:
    void check(const asn_cursor_t& behind_field, const char* field) {
        if (name_ == nullptr && !behind_field.ok()) {
            name_ = field;
        }
    }
    const char* name() const { return name_; }

  private:
    const char* name_ = nullptr;
};

// Reads an element and gives all of it: identifier, length and content.
blob_t read_element(asn_cursor_t& in, asn_tag_t::Type tag) {
    blob_t element = in.rest();
    in.skip(tag);
    element.size = in.ok() ? element.size - in.size : 0;
    return element;
}

bool is_cut_short(std::string_view der) {
    unsigned int content_size = 0;
    return asn1_read_tag(asn_tag_t::SEQUENCE, octets(der), size_of(der), &content_size) == nullptr && content_size != 0;
}

// TBSCertificate ::= SEQUENCE {                                            RFC 5280 4.1
//   version [0] EXPLICIT Version DEFAULT v1, serialNumber INTEGER, signature AlgorithmIdentifier,
//   issuer Name, validity Validity, subject Name, subjectPublicKeyInfo SubjectPublicKeyInfo, ... }
// What follows the key is not looked at.
void read_tbs_certificate(asn_cursor_t tbs, certificate_t& out, missing_field_t& missing) {
    if (tbs.next_is(asn_tag_t::CONTEXT_0)) {
        tbs.skip(asn_tag_t::CONTEXT_0);
    }
    missing.check(tbs, "version");
    out.serial_number = tbs.read(asn_tag_t::INTEGER);
    missing.check(tbs, "serialNumber");
    out.inner_signature = read_element(tbs, asn_tag_t::SEQUENCE);
    missing.check(tbs, "signature");
    out.issuer = read_element(tbs, asn_tag_t::SEQUENCE);
    missing.check(tbs, "issuer");
    out.validity = tbs.read(asn_tag_t::SEQUENCE);
    missing.check(tbs, "validity");
    out.subject = read_element(tbs, asn_tag_t::SEQUENCE);
    missing.check(tbs, "subject");
    out.public_key = read_element(tbs, asn_tag_t::SEQUENCE);
    missing.check(tbs, "subjectPublicKeyInfo");
}

// Certificate ::= SEQUENCE {                                               RFC 5280 4.1
//   tbsCertificate TBSCertificate, signatureAlgorithm AlgorithmIdentifier, signatureValue BIT STRING }
void read_fields(asn_cursor_t in, certificate_t& out, missing_field_t& missing) {
    asn_cursor_t certificate = in.enter(asn_tag_t::SEQUENCE);
    missing.check(in, "Certificate");
    const asn_cursor_t tbs = certificate.enter(asn_tag_t::SEQUENCE);
    missing.check(certificate, "tbsCertificate");
    read_tbs_certificate(tbs, out, missing);
    out.signature_algorithm = read_element(certificate, asn_tag_t::SEQUENCE);
    missing.check(certificate, "signatureAlgorithm");
    certificate.skip(asn_tag_t::BIT_STRING);
    missing.check(certificate, "signatureValue");
    out.trailing = in.rest();
}

} // namespace

bool is_certificate_label(std::string_view label) {
    return label == "CERTIFICATE" || label == "X509 CERTIFICATE" || label == TRUSTED_LABEL;
}

bool read_certificate(std::string_view der, certificate_t& out, std::string& problem) {
    missing_field_t missing;
    read_fields(asn_cursor_t(der.data(), size_of(der)), out, missing);
    if (missing.name() == nullptr) {
        return true;
    }
    problem = is_cut_short(der) ? "the certificate is cut short"
                                : std::string("not a certificate: ") + missing.name() + " is missing or malformed";
    return false;
}
