#include "formats/pfx_outline.h"

#include "asn/asn_cursor.h"
#include "derkit/pkcs12_helper.h"
#include "formats/private_key.h"
#include "io/bytes.h"

namespace {

constexpr std::string_view OID_DATA = "1.2.840.113549.1.7.1";
constexpr std::string_view OID_SIGNED_DATA = "1.2.840.113549.1.7.2";
constexpr std::string_view OID_ENVELOPED_DATA = "1.2.840.113549.1.7.3";
constexpr std::string_view OID_ENCRYPTED_DATA = "1.2.840.113549.1.7.6";
constexpr std::string_view OID_GOST_34_11_94 = "1.2.643.2.2.9";
constexpr std::string_view OID_FRIENDLY_NAME = "1.2.840.113549.1.9.20";
constexpr std::string_view OID_LOCAL_KEY_ID = "1.2.840.113549.1.9.21";

constexpr unsigned char CONSTRUCTED = 0x20;
constexpr unsigned char INDEFINITE_LENGTH = 0x80;
constexpr unsigned int GOST_MAC_SIZE = 32;

constexpr unsigned char PFX_VERSION = 3;
constexpr unsigned char ENCRYPTED_DATA_VERSION = 0;

// Why `bytes` does not start with such an element.
std::string find_fault(const blob_t& bytes, asn_tag_t::Type tag) {
    const bool constructed = bytes.size != 0 && bytes.data[0] == (tag | CONSTRUCTED);
    const bool expected = constructed || (bytes.size != 0 && (tag == asn_tag_t::ANY || bytes.data[0] == tag));
    if (expected && bytes.size > 1 && bytes.data[1] == INDEFINITE_LENGTH) {
        return "has an indefinite length (BER), which is not read";
    }
    if (expected && constructed && tag != bytes.data[0]) {
        return "is in pieces (BER), which is not read";
    }
    return expected ? "is cut short" : "is missing";
}

// Takes steps through DER and remembers the first that failed.
class walk_t {
  public:
    explicit walk_t(std::string& problem) : problem_(problem) {}

    // The place that messages name.
    void set_place(const std::string& place) { place_ = place; }

    blob_t read(asn_cursor_t& in, asn_tag_t::Type tag, const char* field) {
        const bool was_ok = in.ok();
        const blob_t from_here = in.rest();
        const blob_t content = in.read(tag);
        if (was_ok && !in.ok()) {
            fail(std::string(field) + " " + find_fault(from_here, tag));
        }
        return content;
    }

    asn_cursor_t enter(asn_cursor_t& in, asn_tag_t::Type tag, const char* field) {
        asn_cursor_t again = in;
        read(in, tag, field);
        return again.enter(tag);
    }

    void fail(const std::string& what) {
        if (problem_.empty()) {
            problem_ = place_.empty() ? what : place_ + ": " + what;
        }
    }

    bool failed() const { return !problem_.empty(); }

  private:
    std::string& problem_;
    std::string place_;
};

// As lenient as the library: any version of one octet; of more octets only the first counts.
void check_version(const blob_t& version, unsigned char expected, walk_t& walk) {
    const bool accepted = version.size == 1 || (version.size != 0 && version.data[0] == expected);
    if (!walk.failed() && !accepted) {
        walk.fail("version is malformed");
    }
}

void outline_shrouded_key(const blob_t& value, bag_outline_t& bag) {
    encrypted_key_t key;
    const bool done = read_encrypted_key(chars(value), key);
    bag.ciphertext = chars(key.ciphertext);
    bag.encryption.emplace();
    if (done) {
        bag.encryption = key.encryption;
    } else {
        bag.encryption->declined = "is malformed";
    }
}

// CertBag ::= SEQUENCE { certId OBJECT IDENTIFIER, certValue [0] EXPLICIT OCTET STRING }            RFC 7292 4.2.3
void walk_cert_bag(const blob_t& value, walk_t& walk) {
    asn_cursor_t in(value);
    asn_cursor_t cert_bag = walk.enter(in, asn_tag_t::SEQUENCE, "CertBag");
    walk.read(cert_bag, asn_tag_t::OBJECT_IDENTIFIER, "certId");
    asn_cursor_t cert_value = walk.enter(cert_bag, asn_tag_t::CONTEXT_0, "certValue");
    walk.read(cert_value, asn_tag_t::OCTET_STRING, "the certificate");
}

// PKCS12Attribute ::= SEQUENCE { attrId OBJECT IDENTIFIER, attrValues SET OF ANY }                  RFC 7292 4.2
void walk_attribute(asn_cursor_t attribute, walk_t& walk) {
    const std::string id = name_oid(walk.read(attribute, asn_tag_t::OBJECT_IDENTIFIER, "attrId")).oid;
    asn_cursor_t values = walk.enter(attribute, asn_tag_t::SET, "attrValues");
    if (id == OID_FRIENDLY_NAME) {
        walk.read(values, asn_tag_t::BMP_STRING, "the BMPString of friendlyName");
    } else if (id == OID_LOCAL_KEY_ID) {
        walk.read(values, asn_tag_t::OCTET_STRING, "the OCTET STRING of localKeyId");
    }
}

void walk_attributes(asn_cursor_t attributes, walk_t& walk) {
    while (!attributes.empty() && !walk.failed()) {
        walk_attribute(walk.enter(attributes, asn_tag_t::SEQUENCE, "PKCS12Attribute"), walk);
    }
}

// SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] EXPLICIT ANY,                        RFC 7292 4.2
//   bagAttributes SET OF PKCS12Attribute OPTIONAL }
bag_outline_t outline_bag(asn_cursor_t safe_bag, walk_t& walk) {
    bag_outline_t bag;
    bag.type = name_oid(walk.read(safe_bag, asn_tag_t::OBJECT_IDENTIFIER, "bagId"));
    const blob_t value = walk.read(safe_bag, asn_tag_t::CONTEXT_0, "bagValue");
    bag.size = value.size;
    if (safe_bag.next_is(asn_tag_t::SET)) {
        walk_attributes(walk.enter(safe_bag, asn_tag_t::SET, "bagAttributes"), walk);
    }
    if (walk.failed()) {
        return bag;
    }
    bag.is_key = bag.type.oid == OID_KEY_BAG || bag.type.oid == OID_SHROUDED_KEY_BAG;
    bag.is_certificate = bag.type.oid == OID_CERT_BAG;
    if (bag.type.oid == OID_SHROUDED_KEY_BAG) {
        outline_shrouded_key(value, bag);
    } else if (bag.is_certificate) {
        walk_cert_bag(value, walk);
    } else if (!bag.is_key) {
        bag.declined = "is of a type that is not read";
    }
    return bag;
}

// EncryptedData ::= SEQUENCE { version Version, encryptedContentInfo EncryptedContentInfo, ... }    RFC 2315 13
// EncryptedContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER,                                RFC 2315 10.1
//   contentEncryptionAlgorithm AlgorithmIdentifier, encryptedContent [0] IMPLICIT OCTET STRING OPTIONAL }
void outline_encrypted_data(const blob_t& content, entry_outline_t& entry, walk_t& walk) {
    asn_cursor_t in(content);
    asn_cursor_t encrypted_data = walk.enter(in, asn_tag_t::SEQUENCE, "EncryptedData");
    const blob_t version = walk.read(encrypted_data, asn_tag_t::INTEGER, "version");
    asn_cursor_t info = walk.enter(encrypted_data, asn_tag_t::SEQUENCE, "EncryptedContentInfo");
    const named_oid_t type = name_oid(walk.read(info, asn_tag_t::OBJECT_IDENTIFIER, "contentType"));
    const blob_t algorithm = walk.read(info, asn_tag_t::SEQUENCE, "contentEncryptionAlgorithm");
    entry.ciphertext = chars(walk.read(info, asn_tag_t::CONTEXT_0_PRIMITIVE, "encryptedContent"));
    if (!encrypted_data.empty()) {
        walk.read(encrypted_data, asn_tag_t::ANY, "what follows EncryptedContentInfo");
    }
    check_version(version, ENCRYPTED_DATA_VERSION, walk);
    if (walk.failed()) {
        return;
    }
    entry.encryption = outline_pbe(algorithm);
    if (type.oid != OID_DATA) {
        entry.encryption->declined = "holds " + describe(type) + " instead of data";
    }
}

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY OPTIONAL }     RFC 2315 7
entry_outline_t outline_entry(asn_cursor_t content_info, const std::string& place, walk_t& walk, std::string& problem) {
    entry_outline_t entry;
    entry.content_type = name_oid(walk.read(content_info, asn_tag_t::OBJECT_IDENTIFIER, "contentType"));
    const blob_t content = walk.read(content_info, asn_tag_t::CONTEXT_0, "content");
    entry.size = content.size;
    if (walk.failed()) {
        return entry;
    }
    if (entry.content_type.oid == OID_DATA) {
        asn_cursor_t in(content);
        const blob_t safe_contents = walk.read(in, asn_tag_t::OCTET_STRING, "the OCTET STRING of data");
        if (in.ok()) {
            entry.bags = outline_safe_contents(safe_contents, place, problem);
        }
    } else if (entry.content_type.oid == OID_ENCRYPTED_DATA) {
        outline_encrypted_data(content, entry, walk);
    } else if (entry.content_type.oid == OID_ENVELOPED_DATA) {
        entry.declined = "is encrypted for a public key, which is not read";
    } else {
        entry.declined = "is of a type that is not read";
    }
    return entry;
}

// AuthenticatedSafe ::= SEQUENCE OF ContentInfo                            RFC 7292 4.1
void outline_authenticated_safe(const blob_t& octets, pfx_outline_t& out, walk_t& walk) {
    asn_cursor_t in(octets);
    asn_cursor_t entries = walk.enter(in, asn_tag_t::SEQUENCE, "AuthenticatedSafe");
    while (!entries.empty() && !walk.failed()) {
        const std::string place = entry_place(out.entries.size());
        walk.set_place(place);
        const asn_cursor_t content_info = walk.enter(entries, asn_tag_t::SEQUENCE, "ContentInfo");
        if (content_info.ok()) {
            out.entries.push_back(outline_entry(content_info, place, walk, out.problem));
        }
    }
}

std::string decline(const mac_outline_t& mac) {
    const named_oid_t& algorithm = mac.algorithm.scheme;
    if (algorithm.oid != OID_GOST_34_11_94) {
        return "is made with " + describe(algorithm) + "; only GOST R 34.11-94 is read";
    }
    if (mac.size != GOST_MAC_SIZE) {
        return "has " + std::to_string(mac.size) + " bytes instead of 32";
    }
    return decline_derivation(mac.salt_size, mac.iterations);
}

mac_outline_t outline_mac(const pkcs12_mac_t& read) {
    mac_outline_t mac;
    mac.algorithm = outline_pbe(read.digest_alg);
    mac.size = read.digest.size;
    mac.salt_size = read.salt.size;
    mac.iterations = read.iterations;
    mac.declined = decline(mac);
    return mac;
}

} // namespace

std::string entry_place(std::size_t index) {
    return "entry " + std::to_string(index + 1);
}

std::string bag_place(const std::string& entry, std::size_t index) {
    return entry + ", bag " + std::to_string(index + 1);
}

// SafeContents ::= SEQUENCE OF SafeBag                                     RFC 7292 4.2
std::vector<bag_outline_t> outline_safe_contents(const blob_t& bytes, const std::string& place, std::string& problem) {
    std::vector<bag_outline_t> bags;
    walk_t walk(problem);
    walk.set_place(place);
    asn_cursor_t in(bytes);
    asn_cursor_t safe_contents = walk.enter(in, asn_tag_t::SEQUENCE, "SafeContents");
    while (!safe_contents.empty() && !walk.failed()) {
        walk.set_place(bag_place(place, bags.size()));
        const asn_cursor_t safe_bag = walk.enter(safe_contents, asn_tag_t::SEQUENCE, "SafeBag");
        if (safe_bag.ok()) {
            bags.push_back(outline_bag(safe_bag, walk));
        }
    }
    return bags;
}

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }              RFC 7292 4
// The MAC is read even if what it covers is damaged.
pfx_outline_t outline_pfx(std::string_view bytes) {
    pfx_outline_t out;
    walk_t walk(out.problem);
    asn_cursor_t in(bytes.data(), size_of(bytes));
    asn_cursor_t pfx = walk.enter(in, asn_tag_t::SEQUENCE, "PFX");
    out.trailing_size = in.size;
    const blob_t version = walk.read(pfx, asn_tag_t::INTEGER, "version");
    asn_cursor_t auth_safe = walk.enter(pfx, asn_tag_t::SEQUENCE, "authSafe");
    const named_oid_t type =
        name_oid(walk.read(auth_safe, asn_tag_t::OBJECT_IDENTIFIER, "the contentType of authSafe"));
    if (!walk.failed() && type.oid == OID_SIGNED_DATA) {
        out.declined = "is protected by a public key (authSafe is signedData); only protection by a password is read";
        return out;
    }
    if (!walk.failed() && type.oid != OID_DATA) {
        walk.fail("authSafe is " + describe(type) + "; only data is read");
    }
    asn_cursor_t content = walk.enter(auth_safe, asn_tag_t::CONTEXT_0, "the content of authSafe");
    const blob_t octets = walk.read(content, asn_tag_t::OCTET_STRING, "the OCTET STRING of authSafe");
    if (pfx.next_is(asn_tag_t::SEQUENCE)) {
        pkcs12_mac_t mac;
        const blob_t mac_data = walk.read(pfx, asn_tag_t::SEQUENCE, "MacData");
        if (pfx.ok() && !asn_read_pkcs12_MacData(mac_data.data, mac_data.size, mac)) {
            walk.fail("MacData is malformed");
        } else if (pfx.ok()) {
            out.mac = outline_mac(mac);
        }
    }
    check_version(version, PFX_VERSION, walk);
    if (!walk.failed()) {
        outline_authenticated_safe(octets, out, walk);
    }
    if (out.mac.has_value() && !out.mac->declined.empty()) {
        out.declined = "its MAC " + out.mac->declined;
    } else if (!out.mac.has_value() && out.problem.empty()) {
        out.declined = "has no MAC; containers without one are not read";
    }
    return out;
}
