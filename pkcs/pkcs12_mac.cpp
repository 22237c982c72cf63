#include "pkcs/pkcs12_mac.h"

#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "pkcs/pkcs_oids.h"

namespace {

constexpr unsigned int DEFAULT_ITERATIONS = 1;

} // namespace

// MacData ::= SEQUENCE { mac DigestInfo, macSalt OCTET STRING, iterations INTEGER DEFAULT 1 }       RFC 7292 4
// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }
// The algorithm is not judged, bytes at the end are ignored, and an empty INTEGER means the default.
bool asn_read_pkcs12_MacData(const void* data, unsigned int size, pkcs12_mac_t& mac) {
    asn_cursor_t in(data, size);
    asn_cursor_t digest_info = in.enter(asn_tag_t::SEQUENCE);
    digest_info.read(asn_tag_t::SEQUENCE, mac.digest_alg);
    digest_info.read(asn_tag_t::OCTET_STRING, mac.digest);
    if (!digest_info.ok()) {
        return false;
    }
    in.read(asn_tag_t::OCTET_STRING, mac.salt);
    blob_t iterations;
    if (in.next_is(asn_tag_t::INTEGER)) {
        iterations = in.read(asn_tag_t::INTEGER);
    }
    if (!in.ok()) {
        return false;
    }
    if (iterations.size == 0) {
        mac.iterations = DEFAULT_ITERATIONS;
        return true;
    }
    return asn_read_INTEGER(iterations.data, iterations.size, mac.iterations, 0xFFFFFFFF);
}

void asn_write_pkcs12_MacData(const pkcs12_mac_t& mac, asn_tag_t_<0>& out) {
    out.add(asn_element(
        asn_tag_t::SEQUENCE,
        asn_element(asn_tag_t::SEQUENCE,
                    asn_element(asn_tag_t::SEQUENCE, asn_element(asn_tag_t::OBJECT_IDENTIFIER, g_oid_GOSTR3411),
                                asn_element(asn_tag_t::NULL_VALUE)),
                    asn_element(asn_tag_t::OCTET_STRING, mac.digest)),
        asn_element(asn_tag_t::OCTET_STRING, mac.salt),
        asn_element(asn_tag_t::INTEGER, asn_integer_t(mac.iterations))));
}
