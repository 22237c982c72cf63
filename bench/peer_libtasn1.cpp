// libtasn1: object identifiers.
#include <libtasn1.h>

#include "der.h"
#include "oids.h"
#include "row.h"

namespace {

// The whole element; identifier and length in front of the content are no less work.
struct to_der_t {
    unsigned char der[64];
    int size = 0;
    void operator()(const oid_t& oid) {
        size = sizeof der;
        if (asn1_object_id_der(oid.text.c_str(), der, &size, 0) != ASN1_SUCCESS) {
            size = 0;
        }
    }
    std::string shown(const oid_t& oid) const {
        return as_chars(der, static_cast<std::size_t>(size)) == oid.der ? oid.content : "";
    }
};

struct to_text_t {
    char text[128];
    void operator()(const oid_t& oid) {
        int header = 0;
        text[0] = '\0';
        asn1_get_object_id_der(octets(oid.der) + 1, static_cast<int>(oid.der.size()) - 1, &header, text, sizeof text);
    }
    std::string shown(const oid_t&) const { return text; }
};

void add(registry_t& registry) {
    registry.add_peer("libtasn1", asn1_check_version(nullptr));
    registry.find("OID text to DER").add<to_der_t>("libtasn1", common_oids());
    registry.find("OID DER to text").add<to_text_t>("libtasn1", common_oids());
}

const peer_registration_t registration(add);

} // namespace
