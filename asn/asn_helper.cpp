// Lookups between algorithm codes and OIDs, and DigestInfo.
#include "derkit/asn_helper.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "asn/asn_alg_tables.h"
#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"

const oid_ref_t g_null_oid;

namespace {

template <typename TABLE> oid_ref_t find_der(const TABLE& table, pki_alg_t alg) {
    const auto row =
        std::find_if(std::begin(table), std::end(table), [alg](const alg_row_t& r) { return r.alg == alg; });
    return row == std::end(table) ? g_null_oid : row->der;
}

template <typename TABLE> pki_alg_t find_alg(const TABLE& table, const void* oid, unsigned int size) {
    for (const alg_row_t& row : table) {
        if (row.der.size == size && std::memcmp(row.der.data, oid, size) == 0) {
            return row.alg;
        }
    }
    return PKI_ALG_UNKNOWN;
}

} // namespace

oid_ref_t PKI_HASH_ALG_TO_OID(pki_alg_t alg) {
    return find_der(g_hash_alg_to_oid_map, alg);
}

oid_ref_t PKI_KEY_ALG_TO_OID(pki_alg_t alg) {
    return find_der(g_key_alg_to_oid_map, alg);
}

oid_ref_t PKI_CERT_SIGN_ALG_TO_OID(pki_alg_t alg) {
    return find_der(g_signhash_alg_to_oid_map, alg);
}

oid_ref_t asn_form_ike_signalg(pki_alg_t alg) {
    return find_der(g_ikesign_alg_to_asn_map, alg);
}

pki_alg_t PKI_OID_TO_HASH_ALG(const void* oid, unsigned int size) {
    return find_alg(g_hash_alg_to_oid_map, oid, size);
}

pki_alg_t PKI_OID_TO_KEY_ALG(const void* oid, unsigned int size) {
    return find_alg(g_key_alg_to_oid_map, oid, size);
}

pki_alg_t PKI_OID_TO_CERT_SIGN_ALG(const void* oid, unsigned int size) {
    return find_alg(g_signhash_alg_to_oid_map, oid, size);
}

pki_alg_t PKI_OID_TO_ALG(const void* oid, unsigned int size) {
    const pki_alg_t hash = PKI_OID_TO_HASH_ALG(oid, size);
    if (hash != PKI_ALG_UNKNOWN) {
        return hash;
    }
    const pki_alg_t key = PKI_OID_TO_KEY_ALG(oid, size);
    return key != PKI_ALG_UNKNOWN ? key : PKI_OID_TO_CERT_SIGN_ALG(oid, size);
}

// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }           RFC 8017 9.2
// An unknown hash is not an error: its OID is empty, written 06 00.
void asn_add_alg_to_digest(std::string& digest, pki_alg_t hash) {
    const oid_ref_t hash_oid = PKI_HASH_ALG_TO_OID(hash);
    asn_tag_t_<128> digest_info(asn_tag_t::SEQUENCE);
    digest_info.add(asn_element(asn_tag_t::SEQUENCE,
                                asn_element(asn_tag_t::OBJECT_IDENTIFIER, asn_octets_t{hash_oid.data, hash_oid.size}),
                                asn_element(asn_tag_t::NULL_VALUE)),
                    asn_element(asn_tag_t::OCTET_STRING, digest));
    digest_info.assign_to(digest);
}

// Some parameters and the digest must be there; bytes after the digest are ignored.
bool asn_read_alg_from_digest(asn_algorid_t* out, const std::string& digest_info) {
    *out = asn_algorid_t();
    asn_cursor_t in(digest_info);
    asn_cursor_t info = in.enter(asn_tag_t::SEQUENCE);
    asn_cursor_t algorithm = info.enter(asn_tag_t::SEQUENCE);
    algorithm.read(asn_tag_t::OBJECT_IDENTIFIER, out->oid);
    algorithm.skip(asn_tag_t::ANY);
    info.skip(asn_tag_t::OCTET_STRING);
    return algorithm.ok() && info.ok();
}
