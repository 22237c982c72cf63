#include "derkit/asn_helper.h"

#include <cstring>

#include "asn/asn_alg_tables.h"
#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"

const oid_ref_t g_null_oid;

namespace {

template <typename TABLE> oid_ref_t find_der(const TABLE& table, pki_alg_t alg) {
    for (const alg_row_t& row : table) {
        if (row.alg == alg) {
            return row.der;
        }
    }
    return g_null_oid;
}

template <typename TABLE> pki_alg_t find_alg(const TABLE& table, const void* oid, unsigned int size) {
    for (const alg_row_t& row : table) {
        if (row.der.size == size && std::memcmp(row.der.data, oid, size) == 0) {
            return row.alg;
        }
    }
    return PKI_ALG_UNKNOWN;
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }      RFC 5280 4.1.1.2
// Reads the field with the given tag around it; what stands behind the parameters is ignored.
bool read_tagged_algorithm(asn_cursor_t& in, asn_tag_t::Type tag, blob_t& oid) {
    asn_cursor_t field = in.enter(tag);
    asn_cursor_t algorithm = field.enter(asn_tag_t::SEQUENCE);
    oid = algorithm.read(asn_tag_t::OBJECT_IDENTIFIER);
    if (!algorithm.empty()) {
        algorithm.skip(asn_tag_t::ANY);
    }
    return algorithm.ok();
}

// RSASSA-PSS-params ::= SEQUENCE {                                                               RFC 8017 A.2.3
//   hashAlgorithm    [0] HashAlgorithm DEFAULT sha1,
//   maskGenAlgorithm [1] MaskGenAlgorithm DEFAULT mgf1SHA1,
//   saltLength       [2] INTEGER DEFAULT 20,
//   trailerField     [3] TrailerField DEFAULT trailerFieldBC }
// Mask and salt length must be well-formed, their values do not matter; what follows is ignored. Without a
// hashAlgorithm `hash` is a null view.
bool read_pss_hash(const blob_t& parameters, blob_t& hash) {
    asn_cursor_t in(parameters);
    asn_cursor_t pss = in.enter(asn_tag_t::SEQUENCE);
    if (pss.next_is(asn_tag_t::CONTEXT_0) && !read_tagged_algorithm(pss, asn_tag_t::CONTEXT_0, hash)) {
        return false;
    }
    blob_t mask;
    if (pss.next_is(asn_tag_t::CONTEXT_1) && !read_tagged_algorithm(pss, asn_tag_t::CONTEXT_1, mask)) {
        return false;
    }
    if (pss.next_is(asn_tag_t::CONTEXT_2)) {
        asn_cursor_t salt_length = pss.enter(asn_tag_t::CONTEXT_2);
        salt_length.skip(asn_tag_t::INTEGER);
        return salt_length.ok();
    }
    return pss.ok();
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
    asn_tag_t_<32> algorithm(asn_tag_t::SEQUENCE);
    algorithm.add_element(asn_tag_t::OBJECT_IDENTIFIER, hash_oid.data, hash_oid.size);
    algorithm.add_element(asn_tag_t::NULL_VALUE, blob_t());

    asn_tag_t_<128> digest_info(asn_tag_t::SEQUENCE);
    digest_info.add_node(algorithm);
    digest_info.add_element(asn_tag_t::OCTET_STRING, digest);
    digest_info.assign_to(digest);
}

// The parameters must be there, whatever they are, and so must the digest; bytes behind it are ignored.
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

// The parameters run to the end of the input, not of the SEQUENCE.
int asn_read_ike_signalg(const unsigned char* data, unsigned int size, asn_ike_signalg_t& out) {
    asn_cursor_t in(data, size);
    asn_cursor_t algorithm = in.enter(asn_tag_t::SEQUENCE);
    algorithm.read(asn_tag_t::OBJECT_IDENTIFIER, out.oid);
    if (!algorithm.ok()) {
        return 0;
    }
    out.parameters.data = out.oid.data + out.oid.size;
    out.parameters.size = size - static_cast<unsigned int>(out.parameters.data - data);
    return 1;
}

pki_alg_t asn_ike_signalg_t::to_pki_alg() const {
    const pki_alg_t alg = PKI_OID_TO_CERT_SIGN_ALG(oid.data, oid.size);
    if (alg != PKI_ALG_RSASSA_PSS) {
        return alg;
    }
    if (parameters.size == 0) {
        return PKI_ALG_SHA1_RSASSA_PSS;
    }
    blob_t hash_oid;
    if (!read_pss_hash(parameters, hash_oid)) {
        return PKI_ALG_UNKNOWN;
    }
    if (hash_oid.data == nullptr) {
        return PKI_ALG_SHA1_RSASSA_PSS;
    }
    const pki_alg_t hash = PKI_OID_TO_HASH_ALG(hash_oid.data, hash_oid.size);
    if (hash == PKI_ALG_UNKNOWN) {
        return PKI_ALG_UNKNOWN;
    }
    // The hash with the base of RSASSA-PSS; a vendor's variant falls away.
    constexpr unsigned int KEPT_BITS = 0xFFFFFD;
    return static_cast<pki_alg_t>((hash & KEPT_BITS) | PKI_ALG_RSASSA_PSS);
}
