#include "gost/container_writer.h"

#include <limits>
#include <optional>
#include <utility>

#include "gost/bag_reader.h"
#include "gost/der.h"
#include "gost/key_info.h"
#include "gost/pfx.h"
#include "gost/scheme_tables.h"
#include "gost/schemes.h"

namespace derkit::gost {

namespace {

constexpr unsigned int PFX_VERSION = 3;
constexpr unsigned int ENCRYPTED_DATA_VERSION = 0;

// PKCS12Attribute ::= SEQUENCE { attrId OBJECT IDENTIFIER, attrValues SET OF ANY }                  RFC 7292 4.2
std::string write_attribute(std::string_view oid, std::string_view values) {
    return der(asn_tag_t::SEQUENCE, {der_oid(oid), der(asn_tag_t::SET, {values})});
}

// The bagAttributes of a bag; no octets when it has none.
result<std::string> write_attributes(const bag& from) {
    std::string all;
    if (from.friendly_name.has_value()) {
        const std::optional<secret> utf16 = utf16_from_utf8(*from.friendly_name);
        if (!utf16.has_value()) {
            return failure{cause::invalid_text, "friendlyName"};
        }
        all += write_attribute(OID_FRIENDLY_NAME, der(asn_tag_t::BMP_STRING, {*utf16}));
    }
    if (from.local_key_id.has_value()) {
        all += write_attribute(OID_LOCAL_KEY_ID, der(asn_tag_t::OCTET_STRING, {*from.local_key_id}));
    }
    for (const attribute& one : from.attributes) {
        if (!is_oid_text(one.oid)) {
            return failure{cause::invalid_argument, "an attribute without OBJECT IDENTIFIER"};
        }
        std::string values;
        for (const std::string& value : one.values) {
            values += value;
        }
        all += write_attribute(one.oid, values);
    }
    return all.empty() ? all : der(asn_tag_t::SET, {all});
}

// SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] EXPLICIT ANY,                        RFC 7292 4.2
//   bagAttributes SET OF PKCS12Attribute OPTIONAL }
result<secret> write_safe_bag(std::string_view id, std::string_view value, const bag& from) {
    const result<std::string> attributes = write_attributes(from);
    if (!attributes) {
        return attributes.error();
    }
    return secret_der(asn_tag_t::SEQUENCE, {der_oid(id), secret_der(asn_tag_t::CONTEXT_0, {value}), *attributes});
}

// A bag that was read but not opened cannot be written.
failure refusal_of(const bag& from) {
    if (from.refusal.has_value()) {
        return *from.refusal;
    }
    const bool needs_value = from.type != bag_type::bags;
    return needs_value && from.value.empty() ? failure{cause::invalid_argument, "a bag without value"} : failure();
}

class bag_writer {
  public:
    bag_writer(session& under, const write_options& options) : under_(under), options_(options) {}

    // SafeContents ::= SEQUENCE OF SafeBag                                                          RFC 7292 4.2
    result<secret> write(const std::vector<const bag*>& bags) {
        secret all;
        for (const bag* const one : bags) {
            const result<secret> written = write_bag(*one);
            if (!written) {
                return written.error();
            }
            all.append(*written);
        }
        return secret_der(asn_tag_t::SEQUENCE, {all});
    }

  private:
    session& under_;
    const write_options& options_;

    result<secret> write_bag(const bag& from) {
        if (failure refused = refusal_of(from); refused.why != cause::none) {
            return refused;
        }
        switch (from.type) {
        case bag_type::private_key:
            return write_key(from);
        case bag_type::certificate:
            return write_certificate(from);
        case bag_type::bags:
            return write_nested(from);
        case bag_type::other:
            break;
        }
        return write_other(from);
    }

    // The native form has keys in the clear inside its encrypted entry.
    result<secret> write_key(const bag& from) {
        if (!is_plaintext(from.value, plaintext::PRIVATE_KEY_INFO)) {
            return failure{cause::invalid_argument, "a key that is no PrivateKeyInfo"};
        }
        if (options_.to == format::native) {
            return write_safe_bag(OID_KEY_BAG, from.value, from);
        }
        const result<encrypted> made = encrypt(under_, options_, from.value, plaintext::PRIVATE_KEY_INFO);
        if (!made) {
            return made.error();
        }
        return write_safe_bag(OID_SHROUDED_KEY_BAG, write_encrypted_key_info(*made), from);
    }

    // CertBag ::= SEQUENCE { certId OBJECT IDENTIFIER, certValue [0] EXPLICIT OCTET STRING }        RFC 7292 4.2.3
    result<secret> write_certificate(const bag& from) {
        const std::string octets = der(asn_tag_t::OCTET_STRING, {from.value});
        const std::string cert_value = der(asn_tag_t::CONTEXT_0, {octets});
        return write_safe_bag(OID_CERT_BAG, der(asn_tag_t::SEQUENCE, {der_oid(OID_X509_CERTIFICATE), cert_value}),
                              from);
    }

    result<secret> write_nested(const bag& from) {
        std::vector<const bag*> inside;
        for (const bag& one : from.nested) {
            inside.push_back(&one);
        }
        const result<secret> written = write(inside);
        return written ? write_safe_bag(OID_SAFE_CONTENTS_BAG, *written, from) : written;
    }

    result<secret> write_other(const bag& from) {
        if (!is_oid_text(from.id.oid) || !is_whole_der(from.value, asn_tag_t::ANY)) {
            return failure{cause::invalid_argument, "a bag without type, or whose value is no element"};
        }
        return write_safe_bag(from.id.oid, from.value, from);
    }
};

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] EXPLICIT ANY OPTIONAL }     RFC 2315 7
std::string write_content_info(std::string_view type, std::string_view content) {
    return der(asn_tag_t::SEQUENCE, {der_oid(type), der(asn_tag_t::CONTEXT_0, {content})});
}

std::string write_data(std::string_view octets) {
    return write_content_info(OID_DATA, der(asn_tag_t::OCTET_STRING, {octets}));
}

// EncryptedData ::= SEQUENCE { version CMSVersion, encryptedContentInfo EncryptedContentInfo, ... } RFC 5652 8
// EncryptedContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER,                                RFC 5652 6.1
//   contentEncryptionAlgorithm AlgorithmIdentifier, encryptedContent [0] IMPLICIT OCTET STRING OPTIONAL }
std::string write_encrypted_data(const encrypted& made) {
    const std::string info = der(asn_tag_t::SEQUENCE, {der_oid(OID_DATA), made.algorithm,
                                                       der(asn_tag_t::CONTEXT_0_PRIMITIVE, {made.ciphertext})});
    return write_content_info(OID_ENCRYPTED_DATA,
                              der(asn_tag_t::SEQUENCE, {der_integer(ENCRYPTED_DATA_VERSION), info}));
}

// Readers choose their limits, but bags nested deeper than the default allows are refused.
limits limits_of_check() {
    limits cost = unlimited();
    cost.max_bags = std::numeric_limits<std::size_t>::max();
    cost.max_attributes = std::numeric_limits<std::size_t>::max();
    return cost;
}

class container_writer {
  public:
    container_writer(session& under, const write_options& options)
        : under_(under), options_(options), bags_(under, options) {}

    result<std::string> write(const std::vector<entry>& entries) {
        for (const entry& one : entries) {
            if (one.refusal.has_value()) {
                return *one.refusal;
            }
            for (const bag& held : one.bags) {
                (is_encrypted(held) ? encrypted_ : plain_).push_back(&held);
            }
        }
        const result<std::string> content = write_entries();
        return content ? write_pfx(der(asn_tag_t::SEQUENCE, {*content})) : content;
    }

  private:
    session& under_;
    const write_options& options_;
    bag_writer bags_;
    std::vector<const bag*> encrypted_;
    std::vector<const bag*> plain_;

    bool is_native() const { return options_.to == format::native; }

    // A shrouded key needs no second encryption.
    bool is_encrypted(const bag& held) const {
        switch (held.type) {
        case bag_type::private_key:
            return is_native();
        case bag_type::certificate:
            return options_.encrypt_certificates;
        case bag_type::bags:
        case bag_type::other:
            break;
        }
        return true;
    }

    result<std::string> write_entries() {
        std::string entries;
        if (!encrypted_.empty()) {
            const result<std::string> written = write_encrypted_entry();
            if (!written) {
                return written;
            }
            entries += *written;
        }
        if (!plain_.empty()) {
            const result<secret> bags = write_bags(plain_);
            if (!bags) {
                return bags.error();
            }
            entries += write_data(*bags);
        }
        return entries;
    }

    // A SafeContents that a reader takes apart again.
    result<secret> write_bags(const std::vector<const bag*>& from) {
        result<secret> written = bags_.write(from);
        if (!written) {
            return written;
        }
        const limits cost = limits_of_check();
        bag_reader reader(nullptr, cost);
        const result<std::vector<bag>> read = reader.read(*written);
        if (reader.exceeded() != cause::none) {
            return reader.exceeded();
        }
        if (!read || !is_plaintext(*written, plaintext::SAFE_CONTENTS)) {
            return failure{cause::invalid_argument, "a bag with DER that is not whole, which no reader would accept"};
        }
        return written;
    }

    result<std::string> write_encrypted_entry() {
        const result<secret> bags = write_bags(encrypted_);
        if (!bags) {
            return bags.error();
        }
        const secret plain = is_native() ? secret_der(asn_tag_t::OCTET_STRING, {*bags}) : *bags;
        const result<encrypted> made = encrypt(under_, options_, plain, plaintext::SAFE_CONTENTS);
        return made ? result<std::string>(write_encrypted_data(*made)) : made.error();
    }

    // PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }          RFC 7292 4
    result<std::string> write_pfx(const std::string& authenticated_safe) {
        const std::string octets = der(asn_tag_t::OCTET_STRING, {authenticated_safe});
        const result<std::string> mac = make_mac_data(under_, options_, is_native() ? octets : authenticated_safe);
        if (!mac) {
            return mac.error();
        }
        return der(asn_tag_t::SEQUENCE, {der_integer(PFX_VERSION), write_content_info(OID_DATA, octets), *mac});
    }
};

bool holds_only_keys_and_certificates(const std::vector<entry>& entries) {
    for (const entry& one : entries) {
        for (const bag& held : one.bags) {
            if (held.type == bag_type::bags || held.type == bag_type::other) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

limits unlimited() {
    limits none;
    none.max_iterations = std::numeric_limits<std::uint32_t>::max();
    none.max_total_iterations = std::numeric_limits<std::uint64_t>::max();
    return none;
}

result<std::string> write_container(const std::vector<entry>& entries, std::string_view password,
                                    const write_options& options) {
    if (failure refused = first_of(check_options(options), check_new_password(password)); refused.why != cause::none) {
        return refused;
    }
    session under(password, unlimited());
    if (options.to != format::native) {
        return container_writer(under, options).write(entries);
    }
    if (!holds_only_keys_and_certificates(entries)) {
        return failure{cause::invalid_argument, "the native form holds keys and certificates only"};
    }
    if (!is_native_count(options.iterations)) {
        return failure{cause::invalid_argument, "the native form has no iteration counts with a zero octet"};
    }
    return container_writer(under, options).write(entries);
}

} // namespace derkit::gost
