#include "gost/bag_reader.h"

#include <optional>
#include <utility>

#include "gost/ber.h"
#include "gost/der.h"
#include "gost/key_info.h"
#include "gost/pfx.h"

namespace derkit::gost {

namespace {

std::string element_of(asn_tag_t::Type tag, const blob_t& content) {
    return der(tag, {text_of(content)});
}

// The single value of an attribute, if it has this type.
std::optional<std::string_view> only_value(asn_cursor_t values, asn_tag_t::Type tag) {
    const std::string_view content = text_of(values.read(tag));
    return values.ok() && values.empty() ? std::optional<std::string_view>(content) : std::nullopt;
}

bool take_friendly_name(asn_cursor_t values, bag& out) {
    const std::optional<std::string_view> utf16 = only_value(values, asn_tag_t::BMP_STRING);
    if (!utf16.has_value() || out.friendly_name.has_value()) {
        return false;
    }
    out.friendly_name = utf8_from_utf16(*utf16);
    return out.friendly_name.has_value();
}

bool take_local_key_id(asn_cursor_t values, bag& out) {
    const std::optional<std::string_view> octets = only_value(values, asn_tag_t::OCTET_STRING);
    if (!octets.has_value() || out.local_key_id.has_value()) {
        return false;
    }
    out.local_key_id = std::string(*octets);
    return true;
}

// CertBag ::= SEQUENCE { certId OBJECT IDENTIFIER, certValue [0] EXPLICIT OCTET STRING }            RFC 7292 4.2.3
// Of another type of certificate, the value is the whole CertBag.
void read_certificate(std::string_view value, bag& out) {
    asn_cursor_t in(blob_of(value));
    asn_cursor_t cert_bag = in.enter(asn_tag_t::SEQUENCE);
    out.value_type = name_container_oid(cert_bag.read(asn_tag_t::OBJECT_IDENTIFIER));
    asn_cursor_t cert_value = cert_bag.enter(asn_tag_t::CONTEXT_0);
    if (out.value_type.oid == OID_X509_CERTIFICATE) {
        out.type = bag_type::certificate;
        value = text_of(cert_value.read(asn_tag_t::OCTET_STRING));
    }
    if (!cert_value.ok() || !cert_bag.empty()) {
        out.refusal = failure{cause::malformed, {}};
        return;
    }
    out.value = secret(value);
}

// CRLBag ::= SEQUENCE { crlId OBJECT IDENTIFIER, crlValue [0] EXPLICIT ANY }                        RFC 7292 4.2.4
// SecretBag ::= SEQUENCE { secretTypeId OBJECT IDENTIFIER, secretValue [0] EXPLICIT ANY }           RFC 7292 4.2.5
named_oid type_inside(std::string_view value) {
    asn_cursor_t in(blob_of(value));
    return name_container_oid(in.enter(asn_tag_t::SEQUENCE).read(asn_tag_t::OBJECT_IDENTIFIER));
}

} // namespace

// Returns false when the file has more than the limit.
bool bag_reader::count_attribute_or_value() {
    if (num_attributes_ == cost_.max_attributes) {
        exceeded_ = cause::too_many_attributes;
        return false;
    }
    ++num_attributes_;
    return true;
}

// The values of an attribute as complete elements.
bool bag_reader::read_values(asn_cursor_t in, std::vector<std::string>& out) {
    while (in.ok() && !in.empty()) {
        if (!count_attribute_or_value()) {
            return false;
        }
        const auto tag = static_cast<asn_tag_t::Type>(*in.p);
        out.push_back(element_of(tag, in.read(asn_tag_t::ANY)));
    }
    return in.ok();
}

// PKCS12Attribute ::= SEQUENCE { attrId OBJECT IDENTIFIER, attrValues SET OF ANY }                  RFC 7292 4.2
// A second friendlyName or localKeyId, and one of another form, is kept like any other attribute.
bool bag_reader::read_attribute(asn_cursor_t in, bag& out) {
    attribute read;
    read.oid = dotted_of(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    const asn_cursor_t values = in.enter(asn_tag_t::SET);
    if (!in.ok() || !in.empty() || !count_attribute_or_value()) {
        return false;
    }
    if ((read.oid == OID_FRIENDLY_NAME && take_friendly_name(values, out)) ||
        (read.oid == OID_LOCAL_KEY_ID && take_local_key_id(values, out))) {
        return true;
    }
    if (!read_values(values, read.values)) {
        return false;
    }
    out.attributes.push_back(std::move(read));
    return true;
}

bool bag_reader::read_attributes(asn_cursor_t in, bag& out) {
    while (in.ok() && !in.empty()) {
        if (!read_attribute(in.enter(asn_tag_t::SEQUENCE), out)) {
            return false;
        }
    }
    return in.ok();
}

result<secret> bag_reader::decrypt_part(const blob_t& algorithm, std::string_view ciphertext,
                                        const encryption_scheme& scheme, plaintext expected) {
    if (scheme.unsupported.has_value()) {
        return *scheme.unsupported;
    }
    if (under_ == nullptr) {
        return cause::password_needed;
    }
    return decrypt(*under_, algorithm, blob_of(ciphertext), expected);
}

void bag_reader::read_shrouded_key(std::string_view value, bag& out) {
    out.type = bag_type::private_key;
    const result<encrypted_key_info> info = read_encrypted_key_info(value);
    if (!info) {
        out.refusal = info.error();
        return;
    }
    out.encryption = outline_encryption(info->algorithm, cost_);
    result<secret> plain =
        decrypt_part(info->algorithm, text_of(info->ciphertext), *out.encryption, plaintext::PRIVATE_KEY_INFO);
    if (plain) {
        out.value = *std::move(plain);
    } else {
        out.refusal = plain.error();
    }
}

void bag_reader::read_nested(std::string_view value, unsigned int depth, bag& out) {
    out.type = bag_type::bags;
    if (depth >= max_depth_of(cost_)) {
        exceeded_ = cause::too_deep;
        return;
    }
    result<std::vector<bag>> nested = read_bags(value, depth + 1);
    if (nested) {
        out.nested = *std::move(nested);
    } else {
        out.refusal = nested.error();
    }
}

// Without a password, everything that may be secret is withheld.
void bag_reader::read_value(std::string_view value, unsigned int depth, bag& out) {
    const std::string_view id = out.id.oid;
    if (id == OID_SHROUDED_KEY_BAG) {
        read_shrouded_key(value, out);
        return;
    }
    if (id == OID_SAFE_CONTENTS_BAG) {
        read_nested(value, depth, out);
        return;
    }
    if (id == OID_CERT_BAG) {
        read_certificate(value, out);
        return;
    }
    if (id == OID_KEY_BAG) {
        out.type = bag_type::private_key;
    } else if (id == OID_CRL_BAG || id == OID_SECRET_BAG) {
        out.value_type = type_inside(value);
    }
    if (under_ == nullptr && id != OID_CRL_BAG) {
        out.refusal = failure{cause::unverified, {}};
    } else {
        out.value = secret(value);
    }
}

// SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] EXPLICIT ANY,                        RFC 7292 4.2
//   bagAttributes SET OF PKCS12Attribute OPTIONAL }
result<bag> bag_reader::read_bag(asn_cursor_t in, unsigned int depth) {
    bag out;
    out.id = name_container_oid(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    const std::string_view value = text_of(in.read(asn_tag_t::CONTEXT_0));
    if (!in.ok() || out.id.oid.empty()) {
        return cause::malformed;
    }
    if (!in.empty() && !read_attributes(in.enter(asn_tag_t::SET), out)) {
        return cause::malformed;
    }
    if (!in.empty()) {
        return cause::malformed;
    }
    read_value(value, depth, out);
    return out;
}

result<std::vector<bag>> bag_reader::read_bags(std::string_view safe_contents, unsigned int depth) {
    std::vector<bag> bags;
    asn_cursor_t in(blob_of(safe_contents));
    asn_cursor_t members = in.enter(asn_tag_t::SEQUENCE);
    while (members.ok() && !members.empty() && exceeded_ == cause::none) {
        if (++num_bags_ > cost_.max_bags) {
            exceeded_ = cause::too_many_bags;
            break;
        }
        result<bag> one = read_bag(members.enter(asn_tag_t::SEQUENCE), depth);
        if (!one) {
            return one.error();
        }
        bags.push_back(*std::move(one));
    }
    if (!members.ok() || !in.empty()) {
        return cause::malformed;
    }
    return bags;
}

// SafeContents ::= SEQUENCE OF SafeBag                                                              RFC 7292 4.2
result<std::vector<bag>> bag_reader::read(std::string_view safe_contents) {
    const result<definite_octets> octets = with_definite_lengths(safe_contents, max_depth_of(cost_));
    if (octets) {
        return read_bags(octets->view(), 0);
    }
    if (octets.why() != cause::malformed) {
        exceeded_ = octets.why();
    }
    return octets.error();
}

} // namespace derkit::gost
