// Signature algorithms of IKE payloads, and the hash inside RSASSA-PSS parameters.
#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"

namespace {

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }      RFC 5280 4.1.1.2
// Reads one inside the given tag; whatever follows the parameters is ignored.
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
// Mask and salt length must be well-formed but their values do not matter; what follows is ignored. `hash` keeps its
// value when there is no hashAlgorithm.
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

// The parameters run to the end of the input, not of the SEQUENCE.
int asn_read_ike_signalg(const unsigned char* data, unsigned int size, asn_ike_signalg_t& out) {
    asn_cursor_t in(data, size);
    asn_cursor_t algorithm = in.enter(asn_tag_t::SEQUENCE);
    algorithm.read(asn_tag_t::OBJECT_IDENTIFIER, out.oid);
    if (!algorithm.ok()) {
        return 0;
    }
    out.parameters = algorithm.up_to_end_of(in).rest();
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
    // The hash with the base of RSASSA-PSS, without the vendor's variant.
    constexpr unsigned int KEPT_BITS = 0xFFFFFD;
    return static_cast<pki_alg_t>((hash & KEPT_BITS) | PKI_ALG_RSASSA_PSS);
}
