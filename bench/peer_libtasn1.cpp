// libtasn1: object identifiers.
#include <libtasn1.h>

#include "row.h"
#include "tasks.h"

namespace {

// Writes the whole element, identifier and length included, which is no less work.
struct to_der_t {
    unsigned char der[64];
    int size = 0;
    void operator()(const oid_t& oid) {
        size = sizeof der;
        if (asn1_object_id_der(oid.text.c_str(), der, &size, 0) != ASN1_SUCCESS) {
            size = 0;
        }
    }
    std::string shown() const { return listed_oid(as_chars(der, static_cast<std::size_t>(size))); }
};

struct to_text_t {
    char text[128];
    void operator()(const oid_t& oid) {
        int header = 0;
        text[0] = '\0';
        asn1_get_object_id_der(octets(oid.der) + 1, static_cast<int>(oid.der.size()) - 1, &header, text, sizeof text);
    }
    std::string shown() const { return text; }
};

const peer_registration_t registration("libtasn1", asn1_check_version(nullptr),
                                       {contender<to_der_t>("OID text to DER"),
                                        contender<to_text_t>("OID DER to text")});

} // namespace
