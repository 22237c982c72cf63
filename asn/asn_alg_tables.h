// Algorithms and their encodings. Rows are searched in order and the first match counts, in both directions: where
// several codes share an OID, the standard one comes first.
#ifndef DERKIT_ASN_ALG_TABLES_H
#define DERKIT_ASN_ALG_TABLES_H

#include <algorithm>
#include <array>

#include "asn/asn_alg_oids.h"
#include "asn/asn_oid_literal.h"
#include "derkit/asn_helper.h"

struct alg_row_t {
    pki_alg_t alg;
    oid_ref_t der;
};

template <unsigned int N> constexpr oid_ref_t whole(const unsigned char (&der)[N]) {
    return {der, N};
}
template <unsigned int N> constexpr oid_ref_t whole(const octets_t<N>& der) {
    return whole(der.octets);
}

// One DER element around the given parts.
template <unsigned int... SIZES> consteval auto element(asn_tag_t::Type tag, const octets_t<SIZES>&... parts) {
    constexpr unsigned int CONTENT_SIZE = (0 + ... + SIZES);
    static_assert(CONTENT_SIZE < 0x80, "the length has one octet");
    octets_t<2 + CONTENT_SIZE> out = {{tag, CONTENT_SIZE}};
    [[maybe_unused]] unsigned char* end = out.octets + 2;
    ((end = std::copy_n(parts.octets, SIZES, end)), ...);
    return out;
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }      RFC 5280 4.1.1.2
template <oid_text_t OID, unsigned int... SIZES>
consteval auto algorithm_identifier(const octets_t<SIZES>&... parameters) {
    return element(asn_tag_t::SEQUENCE, element(asn_tag_t::OBJECT_IDENTIFIER, oid_content<OID>), parameters...);
}

// DSA and GOST (RFC 3279 2.2.2, RFC 4491 2.2), and RSASSA-PSS with no hash named.
template <oid_text_t OID> inline constexpr auto without_parameters = algorithm_identifier<OID>();

// RSA (RFC 8017 A.2.4), and the hashes inside RSASSA-PSS parameters.
template <oid_text_t OID>
inline constexpr auto with_null_parameters = algorithm_identifier<OID>(element(asn_tag_t::NULL_VALUE));

// RSASSA-PSS names its hash alone: mask, salt length and trailer keep their defaults, and so does SHA-1 as the hash
// (RFC 8017 A.2.3).
inline constexpr auto pss_with_defaults = algorithm_identifier<OID_RSASSA_PSS>(element(asn_tag_t::SEQUENCE));

template <oid_text_t HASH>
inline constexpr auto pss_with_hash = algorithm_identifier<OID_RSASSA_PSS>(
    element(asn_tag_t::SEQUENCE, element(asn_tag_t::CONTEXT_0, with_null_parameters<HASH>)));

// The same rows with the OID content inside each AlgorithmIdentifier, whose two headers have two octets each.
template <unsigned int N> constexpr std::array<alg_row_t, N> with_oids(const alg_row_t (&algorithm_identifiers)[N]) {
    std::array<alg_row_t, N> rows = {};
    for (unsigned int i = 0; i < N; ++i) {
        const unsigned char* const der = algorithm_identifiers[i].der.data;
        rows[i] = {algorithm_identifiers[i].alg, {der + 4, der[3]}};
    }
    return rows;
}

inline constexpr alg_row_t g_hash_alg_to_oid_map[] = {
    {PKI_ALG_MD2, whole(oid<"1.2.840.113549.2.2">)},
    {PKI_ALG_MD5, whole(oid<"1.2.840.113549.2.5">)},
    {PKI_ALG_SHA, whole(oid<"1.3.14.3.2.18">)},
    {PKI_ALG_SHA1, whole(oid<"1.3.14.3.2.26">)},
    {PKI_ALG_SHA224, whole(oid<OID_SHA224>)},
    {PKI_ALG_SHA256, whole(oid<OID_SHA256>)},
    {PKI_ALG_SHA384, whole(oid<OID_SHA384>)},
    {PKI_ALG_SHA512, whole(oid<OID_SHA512>)},
    {PKI_ALG_GOST_3411_94, whole(oid<OID_GOST_3411_94>)},
    {PKI_ALG_GOST_3411_94_CPRO, whole(oid<OID_GOST_3411_94>)},
    {PKI_ALG_GOST_3411_94_QEV, whole(oid<"1.3.6.1.4.1.3670.1.5">)},
    {PKI_ALG_GOST_3411_2012_256, whole(oid<"1.2.643.7.1.1.2.2">)},
    {PKI_ALG_GOST_3411_2012_512, whole(oid<"1.2.643.7.1.1.2.3">)},
};

inline constexpr alg_row_t g_key_alg_to_oid_map[] = {
    {PKI_ALG_RSA, whole(oid<"1.2.840.113549.1.1.1">)},
    {PKI_ALG_DSA, whole(oid<"1.2.840.10040.4.1">)},
    {PKI_ALG_GOST_R_3410_94, whole(oid<OID_GOST_R_3410_94>)},
    {PKI_ALG_GOST_R_3410_94_CPRO, whole(oid<OID_GOST_R_3410_94>)},
    {PKI_ALG_GOST_R_3410_94_QEV, whole(oid<"1.3.6.1.4.1.3670.1.10">)},
    {PKI_ALG_GOST_R_3410_94_SIGNALCOM, whole(oid<"1.3.6.1.4.1.5849.1.1.5">)},
    {PKI_ALG_GOST_R_3410_2001, whole(oid<OID_GOST_R_3410_2001>)},
    {PKI_ALG_GOST_R_3410_2001_CPRO, whole(oid<OID_GOST_R_3410_2001>)},
    {PKI_ALG_GOST_R_3410_2001_SIGNALCOM, whole(oid<"1.3.6.1.4.1.5849.1.6.2">)},
    {PKI_ALG_GOST_R_3410_2012_256, whole(oid<OID_GOST_R_3410_2012_256>)},
    {PKI_ALG_GOST_R_3410_2012_512, whole(oid<OID_GOST_R_3410_2012_512>)},
};

// Signature algorithms, each with its complete AlgorithmIdentifier.
inline constexpr alg_row_t g_ikesign_alg_to_asn_map[] = {
    {PKI_ALG_SHA1_RSA, whole(with_null_parameters<"1.2.840.113549.1.1.5">)},
    {PKI_ALG_SHA1_RSA, whole(with_null_parameters<"1.3.14.3.2.29">)},
    {PKI_ALG_SHA224_RSA, whole(with_null_parameters<"1.2.840.113549.1.1.14">)},
    {PKI_ALG_SHA256_RSA, whole(with_null_parameters<"1.2.840.113549.1.1.11">)},
    {PKI_ALG_SHA384_RSA, whole(with_null_parameters<"1.2.840.113549.1.1.12">)},
    {PKI_ALG_SHA512_RSA, whole(with_null_parameters<"1.2.840.113549.1.1.13">)},
    {PKI_ALG_MD2_RSA, whole(with_null_parameters<"1.2.840.113549.1.1.2">)},
    {PKI_ALG_MD5_RSA, whole(with_null_parameters<"1.2.840.113549.1.1.4">)},
    {PKI_ALG_SHA1_DSA, whole(without_parameters<"1.2.840.10040.4.3">)},
    {PKI_ALG_RSASSA_PSS, whole(without_parameters<OID_RSASSA_PSS>)},
    {PKI_ALG_SHA1_RSASSA_PSS, whole(pss_with_defaults)},
    {PKI_ALG_SHA224_RSASSA_PSS, whole(pss_with_hash<OID_SHA224>)},
    {PKI_ALG_SHA256_RSASSA_PSS, whole(pss_with_hash<OID_SHA256>)},
    {PKI_ALG_SHA384_RSASSA_PSS, whole(pss_with_hash<OID_SHA384>)},
    {PKI_ALG_SHA512_RSASSA_PSS, whole(pss_with_hash<OID_SHA512>)},
    {PKI_ALG_GOST_R_3411_3410_94, whole(without_parameters<OID_GOST_R_3411_3410_94>)},
    {PKI_ALG_GOST_R_3411_3410_94_CRYPTOPRO, whole(without_parameters<OID_GOST_R_3411_3410_94>)},
    {PKI_ALG_GOST_R_3411_3410_94_QEV, whole(without_parameters<"1.3.6.1.4.1.3670.1.6">)},
    {PKI_ALG_GOST_R_3411_3410_94_SIGNALCOM, whole(without_parameters<"1.3.6.1.4.1.5849.1.3.1">)},
    {PKI_ALG_GOST_R_3411_3410_2001, whole(without_parameters<OID_GOST_R_3411_3410_2001>)},
    {PKI_ALG_GOST_R_3411_3410_2001_CRYPTOPRO, whole(without_parameters<OID_GOST_R_3411_3410_2001>)},
    {PKI_ALG_GOST_R_3411_3410_2001_SIGNALCOM, whole(without_parameters<"1.3.6.1.4.1.5849.1.3.2">)},
    {PKI_ALG_GOST_R_3411_3410_2012_256, whole(without_parameters<"1.2.643.7.1.1.3.2">)},
    {PKI_ALG_GOST_R_3411_3410_2012_512, whole(without_parameters<"1.2.643.7.1.1.3.3">)},
};

inline constexpr auto g_signhash_alg_to_oid_map = with_oids(g_ikesign_alg_to_asn_map);

#endif
