#include "formats/held_names.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "formats/certificate.h"
#include "formats/der.h"
#include "formats/extensions.h"

namespace {

constexpr asn_tag_t::Type UTC_TIME_TAG = static_cast<asn_tag_t::Type>(0x17);
constexpr asn_tag_t::Type GENERALIZED_TIME_TAG = static_cast<asn_tag_t::Type>(0x18);
constexpr asn_tag_t::Type DIRECTORY_NAME_TAG = static_cast<asn_tag_t::Type>(0xA4);
constexpr std::string_view EXTENSION_REQUEST = "1.2.840.113549.1.9.14";
constexpr std::string_view SIGNED_DATA = "1.2.840.113549.1.7.2";
constexpr std::string_view ENVELOPED_DATA = "1.2.840.113549.1.7.3";
constexpr std::string_view AUTH_ENVELOPED_DATA = "1.2.840.113549.1.9.16.1.23";
constexpr const char* CERTIFICATE = "certificate";
constexpr const char* REQUEST = "request";
constexpr const char* CRL = "CRL";
constexpr const char* PKCS7 = "PKCS#7";
constexpr unsigned int MAX_VALUE_DEPTH = 32; // of an extension's value, which has a few levels in standards

bool next_is_time(const asn_cursor_t& in) {
    return in.next_is(UTC_TIME_TAG) || in.next_is(GENERALIZED_TIME_TAG);
}

// Whether the element is a SEQUENCE of SETs of SEQUENCEs that begin with an OID.
bool is_name(const blob_t& element) {
    asn_cursor_t in(element);
    asn_cursor_t rdns = in.enter(asn_tag_t::SEQUENCE);
    while (!rdns.empty()) {
        asn_cursor_t attributes = rdns.enter(asn_tag_t::SET);
        while (!attributes.empty()) {
            if (!attributes.enter(asn_tag_t::SEQUENCE).next_is(asn_tag_t::OBJECT_IDENTIFIER)) {
                return false;
            }
        }
        if (!attributes.ok()) {
            return false;
        }
    }
    return in.ok() && in.empty() && rdns.ok();
}

// Walks one object and remembers the first thing that is wrong with it.
class name_finder_t {
  public:
    name_finder_t(const take_name_t& take, std::string& problem) : take_(take), problem_(problem) {}

    void take_certificate(std::string_view der, const std::string& prefix);
    void take_crl(asn_cursor_t in, const std::string& prefix);
    void take_request(asn_cursor_t in);
    void take_content_info(asn_cursor_t in);

  private:
    const take_name_t& take_;
    std::string& problem_;

    bool fine() const { return problem_.empty(); }
    void check(const asn_cursor_t& in, const std::string& what);
    void take_field(asn_cursor_t& in, const std::string& where);
    void take_extensions(asn_cursor_t in, const std::string& prefix);
    void take_directory_names(asn_cursor_t in, const std::string& where, unsigned int depth);
    void take_revoked(asn_cursor_t in, const std::string& prefix);
    void take_attributes(asn_cursor_t in);
    void take_signed_data(asn_cursor_t in);
    void take_enveloped_data(asn_cursor_t in);
    void take_certificates_and_crls(asn_cursor_t& in);
    void take_certificate_set(asn_cursor_t in);
    void take_signers(asn_cursor_t in);
    void take_recipients(asn_cursor_t in);
    void take_key_agreement(asn_cursor_t in, const std::string& prefix);
    void take_issuer_and_serial(asn_cursor_t in, const std::string& prefix);
};

void name_finder_t::check(const asn_cursor_t& in, const std::string& what) {
    if (fine() && !in.ok()) {
        problem_ = what + " is missing or malformed";
    }
}

void name_finder_t::take_field(asn_cursor_t& in, const std::string& where) {
    blob_t name;
    in.read_element(asn_tag_t::SEQUENCE, name);
    check(in, where);
    if (in.ok()) {
        take_(where, name);
    }
}

// The directoryNames in the value of an extension, whatever its structure.
void name_finder_t::take_directory_names(asn_cursor_t in, const std::string& where, unsigned int depth) {
    constexpr unsigned int CONSTRUCTED = 0x20;
    while (depth < MAX_VALUE_DEPTH && !in.empty()) {
        const unsigned int tag = *in.p;
        const blob_t content = in.read(asn_tag_t::ANY);
        if (in.ok() && tag == DIRECTORY_NAME_TAG && is_name(content)) {
            take_(where, content);
        } else if (in.ok() && (tag & CONSTRUCTED) != 0) {
            take_directory_names(asn_cursor_t(content), where, depth + 1);
        }
    }
}

void name_finder_t::take_extensions(asn_cursor_t in, const std::string& prefix) {
    std::vector<extension_t> extensions;
    if (!read_extensions(in, extensions) && fine()) {
        problem_ = prefix + "an extension is malformed";
    }
    for (const extension_t& extension : extensions) {
        take_directory_names(asn_cursor_t(extension.value), prefix + title_of(extension), 0);
    }
}

void name_finder_t::take_certificate(std::string_view der, const std::string& prefix) {
    certificate_t certificate;
    std::string problem;
    if (!read_certificate(der, certificate, problem)) {
        problem_ = prefix + problem;
        return;
    }
    take_(prefix + "issuer", certificate.issuer);
    take_(prefix + "subject", certificate.subject);
    take_extensions(asn_cursor_t(certificate.extensions), prefix);
}

// TBSCertList ::= SEQUENCE {                                              RFC 5280 5.1
//   version INTEGER OPTIONAL, signature AlgorithmIdentifier, issuer Name, thisUpdate Time, nextUpdate Time OPTIONAL,
//   revokedCertificates SEQUENCE OF SEQUENCE { ... } OPTIONAL, crlExtensions [0] EXPLICIT Extensions OPTIONAL }
void name_finder_t::take_crl(asn_cursor_t in, const std::string& prefix) {
    asn_cursor_t crl = in.enter(asn_tag_t::SEQUENCE);
    asn_cursor_t tbs = crl.enter(asn_tag_t::SEQUENCE);
    if (tbs.next_is(asn_tag_t::INTEGER)) {
        tbs.skip(asn_tag_t::INTEGER);
    }
    tbs.skip(asn_tag_t::SEQUENCE);
    take_field(tbs, prefix + "issuer");
    while (next_is_time(tbs)) {
        tbs.skip(asn_tag_t::ANY);
    }
    if (tbs.next_is(asn_tag_t::SEQUENCE)) {
        take_revoked(tbs.enter(asn_tag_t::SEQUENCE), prefix);
    }
    if (tbs.next_is(asn_tag_t::CONTEXT_0)) {
        take_extensions(tbs.enter(asn_tag_t::CONTEXT_0).enter(asn_tag_t::SEQUENCE), prefix);
    }
    check(tbs, prefix + "tbsCertList");
}

// SEQUENCE { userCertificate INTEGER, revocationDate Time, crlEntryExtensions Extensions OPTIONAL }
void name_finder_t::take_revoked(asn_cursor_t in, const std::string& prefix) {
    for (unsigned int number = 1; in.ok() && !in.empty(); ++number) {
        asn_cursor_t entry = in.enter(asn_tag_t::SEQUENCE);
        entry.skip(asn_tag_t::INTEGER);
        entry.skip(asn_tag_t::ANY);
        check(entry, prefix + "revoked " + std::to_string(number));
        if (entry.next_is(asn_tag_t::SEQUENCE)) {
            take_extensions(entry.enter(asn_tag_t::SEQUENCE), prefix + "revoked " + std::to_string(number) + ": ");
        }
    }
}

// CertificationRequestInfo ::= SEQUENCE {                                 RFC 2986 4.1
//   version INTEGER, subject Name, subjectPKInfo SubjectPublicKeyInfo, attributes [0] Attributes }
void name_finder_t::take_request(asn_cursor_t in) {
    asn_cursor_t info = in.enter(asn_tag_t::SEQUENCE).enter(asn_tag_t::SEQUENCE);
    info.skip(asn_tag_t::INTEGER);
    take_field(info, "subject");
    info.skip(asn_tag_t::SEQUENCE);
    check(info, "subjectPKInfo");
    if (info.next_is(asn_tag_t::CONTEXT_0)) {
        take_attributes(info.enter(asn_tag_t::CONTEXT_0));
    }
}

// Attribute ::= SEQUENCE { type OBJECT IDENTIFIER, values SET OF ANY }; extensionRequest: Extensions     RFC 2985 5.4.2
void name_finder_t::take_attributes(asn_cursor_t in) {
    while (in.ok() && !in.empty()) {
        asn_cursor_t attribute = in.enter(asn_tag_t::SEQUENCE);
        const blob_t type = attribute.read(asn_tag_t::OBJECT_IDENTIFIER);
        asn_cursor_t values = attribute.enter(asn_tag_t::SET);
        check(values, "an attribute");
        if (values.ok() && name_oid(type).oid == EXTENSION_REQUEST) {
            take_extensions(values.enter(asn_tag_t::SEQUENCE), "");
        }
    }
}

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY }     RFC 5652 3
void name_finder_t::take_content_info(asn_cursor_t in) {
    asn_cursor_t info = in.enter(asn_tag_t::SEQUENCE);
    const named_oid_t type = name_oid(info.read(asn_tag_t::OBJECT_IDENTIFIER));
    asn_cursor_t content = info.enter(asn_tag_t::CONTEXT_0);
    const asn_cursor_t fields = content.enter(asn_tag_t::SEQUENCE);
    check(fields, "content");
    if (!fine()) {
        return;
    }
    if (type.oid == SIGNED_DATA) {
        take_signed_data(fields);
    } else if (type.oid == ENVELOPED_DATA || type.oid == AUTH_ENVELOPED_DATA) {
        take_enveloped_data(fields);
    } else {
        problem_ = "no names are read from " + describe(type);
    }
}

// SignedData ::= SEQUENCE {                                               RFC 5652 5.1
//   version INTEGER, digestAlgorithms SET, encapContentInfo SEQUENCE, certificates [0] IMPLICIT SET OPTIONAL,
//   crls [1] IMPLICIT SET OPTIONAL, signerInfos SET OF SignerInfo }
void name_finder_t::take_signed_data(asn_cursor_t in) {
    in.skip(asn_tag_t::INTEGER);
    in.skip(asn_tag_t::SET);
    in.skip(asn_tag_t::SEQUENCE);
    take_certificates_and_crls(in);
    const asn_cursor_t signers = in.enter(asn_tag_t::SET);
    check(in, "signerInfos");
    take_signers(signers);
}

void name_finder_t::take_certificates_and_crls(asn_cursor_t& in) {
    if (in.next_is(asn_tag_t::CONTEXT_0)) {
        take_certificate_set(in.enter(asn_tag_t::CONTEXT_0));
    }
    if (in.next_is(asn_tag_t::CONTEXT_1)) {
        asn_cursor_t crls = in.enter(asn_tag_t::CONTEXT_1);
        for (unsigned int number = 1; crls.ok() && !crls.empty() && fine(); ++number) {
            blob_t crl;
            crls.read_element(asn_tag_t::ANY, crl);
            check(crls, "crls");
            if (asn_cursor_t(crl).next_is(asn_tag_t::SEQUENCE)) {
                take_crl(asn_cursor_t(crl), "CRL " + std::to_string(number) + ": ");
            }
        }
    }
}

// CertificateChoices: those that are not X.509 certificates have tags of their own and are passed over.
void name_finder_t::take_certificate_set(asn_cursor_t in) {
    for (unsigned int number = 1; in.ok() && !in.empty() && fine(); ++number) {
        blob_t choice;
        in.read_element(asn_tag_t::ANY, choice);
        check(in, "certificates");
        if (asn_cursor_t(choice).next_is(asn_tag_t::SEQUENCE)) {
            take_certificate(chars(choice), "certificate " + std::to_string(number) + ": ");
        }
    }
}

// IssuerAndSerialNumber ::= SEQUENCE { issuer Name, serialNumber INTEGER }. What else identifies a certificate has
// another tag and no name.
void name_finder_t::take_issuer_and_serial(asn_cursor_t in, const std::string& prefix) {
    if (in.next_is(asn_tag_t::SEQUENCE)) {
        asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
        take_field(fields, prefix + "issuer");
    }
}

// SignerInfo ::= SEQUENCE { version INTEGER, sid SignerIdentifier, ... }   RFC 5652 5.3
void name_finder_t::take_signers(asn_cursor_t in) {
    for (unsigned int number = 1; in.ok() && !in.empty() && fine(); ++number) {
        const std::string which = "signer " + std::to_string(number);
        asn_cursor_t signer = in.enter(asn_tag_t::SEQUENCE);
        signer.skip(asn_tag_t::INTEGER);
        check(signer, which);
        take_issuer_and_serial(signer, which + ": ");
    }
}

// EnvelopedData ::= SEQUENCE {                                            RFC 5652 6.1
//   version INTEGER, originatorInfo [0] IMPLICIT SEQUENCE { [0] certs, [1] crls } OPTIONAL,
//   recipientInfos SET OF RecipientInfo, ... }
void name_finder_t::take_enveloped_data(asn_cursor_t in) {
    in.skip(asn_tag_t::INTEGER);
    if (in.next_is(asn_tag_t::CONTEXT_0)) {
        asn_cursor_t originator = in.enter(asn_tag_t::CONTEXT_0);
        take_certificates_and_crls(originator);
    }
    const asn_cursor_t recipients = in.enter(asn_tag_t::SET);
    check(in, "recipientInfos");
    take_recipients(recipients);
}

// RecipientInfo ::= CHOICE { ktri SEQUENCE { version INTEGER, rid RecipientIdentifier, ... },
//   kari [1] KeyAgreeRecipientInfo, ... }; the others have no names       RFC 5652 6.2
void name_finder_t::take_recipients(asn_cursor_t in) {
    for (unsigned int number = 1; in.ok() && !in.empty() && fine(); ++number) {
        const std::string which = "recipient " + std::to_string(number);
        const bool is_key_transport = in.next_is(asn_tag_t::SEQUENCE);
        const bool is_key_agreement = in.next_is(asn_tag_t::CONTEXT_1);
        asn_cursor_t recipient = in.enter(asn_tag_t::ANY);
        check(in, which);
        recipient.skip(asn_tag_t::INTEGER);
        if (is_key_transport) {
            take_issuer_and_serial(recipient, which + ": ");
        } else if (is_key_agreement) {
            take_key_agreement(recipient, which + ": ");
        }
    }
}

// KeyAgreeRecipientInfo ::= SEQUENCE {                                    RFC 5652 6.2.2
//   version INTEGER, originator [0] EXPLICIT OriginatorIdentifierOrKey, ukm [1] EXPLICIT OCTET STRING OPTIONAL,
//   keyEncryptionAlgorithm AlgorithmIdentifier,
//   recipientEncryptedKeys SEQUENCE OF SEQUENCE { rid KeyAgreeRecipientIdentifier, encryptedKey OCTET STRING } }
void name_finder_t::take_key_agreement(asn_cursor_t in, const std::string& prefix) {
    take_issuer_and_serial(in.enter(asn_tag_t::CONTEXT_0), prefix + "originator: ");
    if (in.next_is(asn_tag_t::CONTEXT_1)) {
        in.skip(asn_tag_t::CONTEXT_1);
    }
    in.skip(asn_tag_t::SEQUENCE);
    asn_cursor_t keys = in.enter(asn_tag_t::SEQUENCE);
    check(keys, prefix + "recipientEncryptedKeys");
    for (unsigned int number = 1; keys.ok() && !keys.empty(); ++number) {
        const asn_cursor_t key = keys.enter(asn_tag_t::SEQUENCE);
        take_issuer_and_serial(key, prefix + "key " + std::to_string(number) + ": ");
    }
}

// The identifier octet of the n-th element of the to-be-signed part, which tells what it is part of.
struct outline_t {
    bool begins_with_oid = false;
    std::vector<unsigned int> tags;
};

outline_t outline_of(std::string_view der) {
    constexpr std::size_t ENOUGH = 4;
    outline_t outline;
    asn_cursor_t in = cursor_over(der);
    asn_cursor_t object = in.enter(asn_tag_t::SEQUENCE);
    outline.begins_with_oid = object.next_is(asn_tag_t::OBJECT_IDENTIFIER);
    asn_cursor_t fields = object.enter(asn_tag_t::SEQUENCE);
    while (!fields.empty() && outline.tags.size() < ENOUGH) {
        outline.tags.push_back(*fields.p);
        fields.skip(asn_tag_t::ANY);
    }
    return outline;
}

// A CRL has a time after its issuer, with a version before or without one.
bool is_crl(const outline_t& outline) {
    const std::vector<unsigned int>& tags = outline.tags;
    const std::size_t time = !tags.empty() && tags[0] == asn_tag_t::INTEGER ? 3 : 2;
    return tags.size() > time && (tags[time] == UTC_TIME_TAG || tags[time] == GENERALIZED_TIME_TAG);
}

// A request has its key after its name, and then attributes or nothing.
bool is_request(const outline_t& outline) {
    const std::vector<unsigned int>& tags = outline.tags;
    return tags.size() >= 3 && tags[0] == asn_tag_t::INTEGER && tags[1] == asn_tag_t::SEQUENCE &&
           tags[2] == asn_tag_t::SEQUENCE && (tags.size() == 3 || tags[3] == asn_tag_t::CONTEXT_0);
}

} // namespace

bool is_label_with_names(std::string_view label) {
    static constexpr std::string_view LABELS[] = {
        "CERTIFICATE REQUEST", "NEW CERTIFICATE REQUEST", "X509 CRL", "PKCS7", "CMS", "PKCS #7 SIGNED DATA"};
    return is_certificate_label(label) || std::ranges::find(LABELS, label) != std::end(LABELS);
}

const char* kind_of_holder(std::string_view der) {
    const outline_t outline = outline_of(der);
    if (outline.begins_with_oid) {
        return PKCS7;
    }
    if (is_crl(outline)) {
        return CRL;
    }
    if (is_request(outline)) {
        return REQUEST;
    }
    certificate_t certificate;
    std::string problem;
    return read_certificate(der, certificate, problem) ? CERTIFICATE : "";
}

void find_names(std::string_view der, const take_name_t& take, std::string& problem) {
    name_finder_t finder(take, problem);
    const std::string_view kind = kind_of_holder(der);
    if (kind == PKCS7) {
        finder.take_content_info(cursor_over(der));
    } else if (kind == CRL) {
        finder.take_crl(cursor_over(der), "");
    } else if (kind == REQUEST) {
        finder.take_request(cursor_over(der));
    } else {
        finder.take_certificate(der, "");
    }
}
