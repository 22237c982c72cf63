#include "pkcs/pkcs12_bags.h"

#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "pkcs/pkcs_oids.h"

namespace {

// PKCS12Attribute ::= SEQUENCE { attrId OBJECT IDENTIFIER, attrValues SET OF ANY }                  RFC 7292 4.2
// The first value counts, further ones are ignored. Other attributes are ignored too; a repeated one overwrites.
bool read_attribute(asn_cursor_t attribute, pkcs12_bag_t& bag) {
    const blob_t id = attribute.read(asn_tag_t::OBJECT_IDENTIFIER);
    asn_cursor_t values = attribute.enter(asn_tag_t::SET);
    if (!values.ok()) {
        return false;
    }
    if (asn_oid_equal_(id, g_oid_pkcs9_at_friendlyName)) {
        const blob_t name = values.read(asn_tag_t::BMP_STRING);
        bag.friendly_name.size = name.size;
        bag.friendly_name.data = name.data;
    } else if (asn_oid_equal_(id, g_oid_pkcs9_at_localKeyId)) {
        values.read(asn_tag_t::OCTET_STRING, bag.local_key_id);
    }
    return values.ok();
}

bool read_attributes(asn_cursor_t attributes, pkcs12_bag_t& bag) {
    while (!attributes.empty()) {
        if (!read_attribute(attributes.enter(asn_tag_t::SEQUENCE), bag)) {
            return false;
        }
    }
    return attributes.ok();
}

// CertBag ::= SEQUENCE { certId OBJECT IDENTIFIER, certValue [0] EXPLICIT OCTET STRING }            RFC 7292 4.2.3
// Any certId is accepted.
bool read_certificate(const blob_t& bag_value, blob_t& certificate) {
    asn_cursor_t in(bag_value);
    asn_cursor_t cert_bag = in.enter(asn_tag_t::SEQUENCE);
    cert_bag.skip(asn_tag_t::OBJECT_IDENTIFIER);
    asn_cursor_t cert_value = cert_bag.enter(asn_tag_t::CONTEXT_0);
    cert_value.read(asn_tag_t::OCTET_STRING, certificate);
    return cert_value.ok();
}

// A key that is encrypted in another way, or that cannot be decrypted, is not an error: its bag is left out.
void read_shrouded_key(const blob_t& bag_value, pkcs12_bag_t& bag, const pkcs12_easy_wrap_t& wrap) {
    pkcs8_encrypted_pki_gost_t key;
    if (!asn_read_pkcs8_encrypted_pki_gost(bag_value.data, bag_value.size, key)) {
        return;
    }
    // In a list node from the start: the bag views these bytes, which must not move.
    std::list<std::string> plaintext(1);
    if (!wrap.crypto->decrypt(key.pbe, key.encrypted_data.data, key.encrypted_data.size, plaintext.front())) {
        return;
    }
    std::list<std::string>& buffers = wrap.easy->decrypted_buffers;
    buffers.splice(buffers.end(), plaintext);
    bag.type = PKCS12_BAG_KEY;
    bag.value = asn_cursor_t(buffers.back()).rest();
    wrap.easy->encrypted_bags.push_back(bag);
}

// SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] EXPLICIT ANY,                        RFC 7292 4.2
//   bagAttributes SET OF PKCS12Attribute OPTIONAL }
// Bags of other kinds are left out, but their attributes must be well-formed too.
bool read_bag(asn_cursor_t safe_bag, std::list<pkcs12_bag_t>& bags, const pkcs12_easy_wrap_t& wrap) {
    pkcs12_bag_t bag;
    const blob_t id = safe_bag.read(asn_tag_t::OBJECT_IDENTIFIER);
    const blob_t value = safe_bag.read(asn_tag_t::CONTEXT_0);
    if (!safe_bag.ok()) {
        return false;
    }
    if (safe_bag.next_is(asn_tag_t::SET) && !read_attributes(safe_bag.enter(asn_tag_t::SET), bag)) {
        return false;
    }
    if (asn_oid_equal_(id, g_oid_pkcs12_id_keyBag)) {
        bag.type = PKCS12_BAG_KEY;
        bag.value = value;
        bags.push_back(bag);
    } else if (asn_oid_equal_(id, g_oid_pkcs12_id_shroudedKeyBag)) {
        read_shrouded_key(value, bag, wrap);
    } else if (asn_oid_equal_(id, g_oid_pkcs12_id_certBag)) {
        bag.type = PKCS12_BAG_CERTIFICATE;
        if (!read_certificate(value, bag.value)) {
            return false;
        }
        bags.push_back(bag);
    }
    return true;
}

// An attribute without a value is left out.
template <unsigned int N>
auto attribute(const unsigned char (&id)[N], asn_tag_t::Type value_tag, const asn_octets_t& value) {
    return asn_optional_t(value.size() != 0,
                          asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, id),
                                      asn_element(asn_tag_t::SET, asn_element(value_tag, value))));
}

auto attributes(const pkcs12_bag_t& bag) {
    const asn_octets_t name = {bag.friendly_name.data, bag.friendly_name.size};
    const asn_octets_t key_id = asn_part(bag.local_key_id);
    return asn_optional_t(name.size() != 0 || key_id.size() != 0,
                          asn_element(asn_tag_t::SET,
                                      attribute(g_oid_pkcs9_at_friendlyName, asn_tag_t::BMP_STRING, name),
                                      attribute(g_oid_pkcs9_at_localKeyId, asn_tag_t::OCTET_STRING, key_id)));
}

auto cert_bag(const blob_t& certificate) {
    return asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_pkcs9_ct_x509Certificate),
                       asn_element(asn_tag_t::CONTEXT_0, asn_element(asn_tag_t::OCTET_STRING, certificate)));
}

auto safe_bag(const pkcs12_bag_t& bag) {
    const bool is_certificate = bag.type == PKCS12_BAG_CERTIFICATE;
    const blob_t id = is_certificate ? asn_view_of(g_oid_pkcs12_id_certBag) : asn_view_of(g_oid_pkcs12_id_keyBag);
    return asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, id),
                       asn_element(asn_tag_t::CONTEXT_0, asn_optional_t(is_certificate, cert_bag(bag.value)),
                                   asn_optional_t(!is_certificate, asn_part(bag.value))),
                       attributes(bag));
}

} // namespace

// SafeContents ::= SEQUENCE OF SafeBag                                                              RFC 7292 4.2
// cppcheck-suppress constParameter ; it changes what the wrap points to
bool asn_read_pkcs12_bags(const void* data, unsigned int size, bool from_encrypted, pkcs12_easy_wrap_t& wrap) {
    asn_cursor_t in(data, size);
    asn_cursor_t safe_contents = in.enter(asn_tag_t::SEQUENCE);
    std::list<pkcs12_bag_t>& bags = from_encrypted ? wrap.easy->encrypted_bags : wrap.easy->plain_bags;
    while (!safe_contents.empty()) {
        if (!read_bag(safe_contents.enter(asn_tag_t::SEQUENCE), bags, wrap)) {
            return false;
        }
    }
    return safe_contents.ok();
}

pkcs12_safe_contents_t::pkcs12_safe_contents_t(const std::list<pkcs12_bag_t>& bags) : bags_(&bags) {
    unsigned long long content_size = 0;
    for (const pkcs12_bag_t& bag : bags) {
        content_size += safe_bag(bag).size();
    }
    content_size_ = require_content_size(content_size);
}

unsigned int pkcs12_safe_contents_t::size() const {
    return header_size(content_size_) + content_size_;
}

unsigned char* pkcs12_safe_contents_t::write_to(unsigned char* to) const {
    unsigned char* end = write_header(to, asn_tag_t::SEQUENCE, content_size_);
    for (const pkcs12_bag_t& bag : *bags_) {
        end = safe_bag(bag).write_to(end);
    }
    return end;
}

void asn_write_pkcs12_bags(const std::list<pkcs12_bag_t>& bags, asn_tag_t_<0>& out) {
    out.add(pkcs12_safe_contents_t(bags));
}
