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

// An empty value writes nothing.
template <unsigned int N, typename T, unsigned int M>
void asn_write_pkcs12_attr(const unsigned char (&oid)[N], asn_tag_t::Type value_tag, const T& value,
                           asn_tag_t_<M>& out) {
    if (value.size == 0) {
        return;
    }
    asn_tag_t_<256> attribute(asn_tag_t::SEQUENCE);
    attribute.add_element(asn_tag_t::OBJECT_IDENTIFIER, oid);
    attribute.add_nested(asn_tag_t::SET, value_tag, value.data, value.size);
    out.add_node(attribute);
}

// Estimated encoded size of the bags.
unsigned long long estimated_size(const std::list<pkcs12_bag_t>& bags) {
    constexpr unsigned long long OVERHEAD = 128; // headers and OIDs of a bag, its name and key id
    unsigned long long size = 0;
    for (const pkcs12_bag_t& bag : bags) {
        size += bag.value.size + OVERHEAD;
    }
    return size;
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

void asn_write_pkcs12_bags(const std::list<pkcs12_bag_t>& bags, asn_tag_t_<0>& out) {
    asn_tag_t_<0> safe_contents(asn_tag_t::SEQUENCE);
    safe_contents.reserve_estimate(estimated_size(bags));
    safe_contents.add_bytes(nullptr, 0); // a list without bags is an element too
    for (const pkcs12_bag_t& bag : bags) {
        asn_write_pkcs12_bag(bag, safe_contents);
    }
    out.add_node(safe_contents);
}

void asn_write_pkcs12_bag(const pkcs12_bag_t& bag, asn_tag_t_<0>& out) {
    asn_tag_t_<2048> safe_bag(asn_tag_t::SEQUENCE);
    if (bag.type == PKCS12_BAG_CERTIFICATE) {
        asn_tag_t_<2048> cert_bag(asn_tag_t::SEQUENCE);
        cert_bag.add_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_pkcs9_ct_x509Certificate);
        cert_bag.add_nested(asn_tag_t::CONTEXT_0, asn_tag_t::OCTET_STRING, bag.value.data, bag.value.size);
        safe_bag.add_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_pkcs12_id_certBag);
        safe_bag.add_wrapped(asn_tag_t::CONTEXT_0, cert_bag);
    } else {
        safe_bag.add_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_pkcs12_id_keyBag);
        safe_bag.add_element(asn_tag_t::CONTEXT_0, bag.value);
    }
    asn_tag_t_<256> attributes(asn_tag_t::SET);
    asn_write_pkcs12_attr(g_oid_pkcs9_at_friendlyName, asn_tag_t::BMP_STRING, bag.friendly_name, attributes);
    asn_write_pkcs12_attr(g_oid_pkcs9_at_localKeyId, asn_tag_t::OCTET_STRING, bag.local_key_id, attributes);
    if (attributes.content_size != 0) {
        safe_bag.add_node(attributes);
    }
    out.add_member(safe_bag);
}
