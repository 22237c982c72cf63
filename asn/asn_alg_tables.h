// Algorithms and their encodings. Rows are searched in order and the first match counts, in both directions: where
// several codes share an OID, the standard one stands first.
#ifndef DERKIT_ASN_ALG_TABLES_H
#define DERKIT_ASN_ALG_TABLES_H

#include <array>

#include "derkit/asn_helper.h"

struct alg_row_t {
    pki_alg_t alg;
    oid_ref_t der;
};

template <unsigned int N> constexpr oid_ref_t whole(const unsigned char (&der)[N]) {
    return {der, N};
}

// The same rows with the OID content inside each AlgorithmIdentifier, whose two headers are of two octets each.
template <unsigned int N> constexpr std::array<alg_row_t, N> with_oids(const alg_row_t (&algorithm_identifiers)[N]) {
    std::array<alg_row_t, N> rows = {};
    for (unsigned int i = 0; i < N; ++i) {
        const unsigned char* const der = algorithm_identifiers[i].der.data;
        rows[i] = {algorithm_identifiers[i].alg, {der + 4, der[3]}};
    }
    return rows;
}

// OID content octets of hash algorithms.

// 1.2.840.113549.2.2
inline constexpr unsigned char asn_oid_ALG_MD2[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x02, 0x02};
// 1.2.840.113549.2.5
inline constexpr unsigned char asn_oid_ALG_MD5[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x02, 0x05};
// 1.3.14.3.2.18
inline constexpr unsigned char asn_oid_ALG_SHA[] = {0x2B, 0x0E, 0x03, 0x02, 0x12};
// 1.3.14.3.2.26
inline constexpr unsigned char asn_oid_ALG_SHA1[] = {0x2B, 0x0E, 0x03, 0x02, 0x1A};
// 2.16.840.1.101.3.4.2.4
inline constexpr unsigned char asn_oid_ALG_SHA224[] = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x04};
// 2.16.840.1.101.3.4.2.1
inline constexpr unsigned char asn_oid_ALG_SHA256[] = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01};
// 2.16.840.1.101.3.4.2.2
inline constexpr unsigned char asn_oid_ALG_SHA384[] = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02};
// 2.16.840.1.101.3.4.2.3
inline constexpr unsigned char asn_oid_ALG_SHA512[] = {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03};
// 1.2.643.2.2.9
inline constexpr unsigned char asn_oid_ALG_GOST_3411_94[] = {0x2A, 0x85, 0x03, 0x02, 0x02, 0x09};
// 1.3.6.1.4.1.3670.1.5
inline constexpr unsigned char asn_oid_ALG_GOST_3411_94_QEV[] = {0x2B, 0x06, 0x01, 0x04, 0x01, 0x9C, 0x56, 0x01, 0x05};
// 1.2.643.7.1.1.2.2
inline constexpr unsigned char asn_oid_ALG_GOST_3411_2012_256[] = {0x2A, 0x85, 0x03, 0x07, 0x01, 0x01, 0x02, 0x02};
// 1.2.643.7.1.1.2.3
inline constexpr unsigned char asn_oid_ALG_GOST_3411_2012_512[] = {0x2A, 0x85, 0x03, 0x07, 0x01, 0x01, 0x02, 0x03};

// OID content octets of key algorithms.

// 1.2.840.113549.1.1.1
inline constexpr unsigned char asn_oid_ALG_RSA[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};
// 1.2.840.10040.4.1
inline constexpr unsigned char asn_oid_ALG_DSA[] = {0x2A, 0x86, 0x48, 0xCE, 0x38, 0x04, 0x01};
// 1.2.643.2.2.20
inline constexpr unsigned char asn_oid_ALG_GOST_R_3410_94[] = {0x2A, 0x85, 0x03, 0x02, 0x02, 0x14};
// 1.3.6.1.4.1.3670.1.10
inline constexpr unsigned char asn_oid_ALG_GOST_R_3410_94_QEV[] = {0x2B, 0x06, 0x01, 0x04, 0x01,
                                                                   0x9C, 0x56, 0x01, 0x0A};
// 1.3.6.1.4.1.5849.1.1.5
inline constexpr unsigned char asn_oid_ALG_GOST_R_3410_94_SIGNALCOM[] = {0x2B, 0x06, 0x01, 0x04, 0x01,
                                                                         0xAD, 0x59, 0x01, 0x01, 0x05};
// 1.2.643.2.2.19
inline constexpr unsigned char asn_oid_ALG_GOST_R_3410_2001[] = {0x2A, 0x85, 0x03, 0x02, 0x02, 0x13};
// 1.3.6.1.4.1.5849.1.6.2
inline constexpr unsigned char asn_oid_ALG_GOST_R_3410_2001_SIGNALCOM[] = {0x2B, 0x06, 0x01, 0x04, 0x01,
                                                                           0xAD, 0x59, 0x01, 0x06, 0x02};
// 1.2.643.7.1.1.1.1
inline constexpr unsigned char asn_oid_ALG_GOST_R_3410_2012_256[] = {0x2A, 0x85, 0x03, 0x07, 0x01, 0x01, 0x01, 0x01};
// 1.2.643.7.1.1.1.2
inline constexpr unsigned char asn_oid_ALG_GOST_R_3410_2012_512[] = {0x2A, 0x85, 0x03, 0x07, 0x01, 0x01, 0x01, 0x02};

// AlgorithmIdentifiers of signature algorithms. RSA has NULL parameters (RFC 8017 A.2.4), DSA and GOST have none (RFC
// 3279 2.2.2, RFC 4491 2.2). RSASSA-PSS names its hash alone and leaves mask, salt length and trailer to their defaults
// (RFC 8017 A.2.3); SHA-1 is a default too.

// 1.2.840.113549.1.1.5
inline constexpr unsigned char asn_algid_SHA1_RSA[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                       0xF7, 0x0D, 0x01, 0x01, 0x05, 0x05, 0x00};
// 1.3.14.3.2.29
inline constexpr unsigned char asn_algid_SHA1_RSA_OIW[] = {0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E,
                                                           0x03, 0x02, 0x1D, 0x05, 0x00};
// 1.2.840.113549.1.1.14
inline constexpr unsigned char asn_algid_SHA224_RSA[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                         0xF7, 0x0D, 0x01, 0x01, 0x0E, 0x05, 0x00};
// 1.2.840.113549.1.1.11
inline constexpr unsigned char asn_algid_SHA256_RSA[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                         0xF7, 0x0D, 0x01, 0x01, 0x0B, 0x05, 0x00};
// 1.2.840.113549.1.1.12
inline constexpr unsigned char asn_algid_SHA384_RSA[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                         0xF7, 0x0D, 0x01, 0x01, 0x0C, 0x05, 0x00};
// 1.2.840.113549.1.1.13
inline constexpr unsigned char asn_algid_SHA512_RSA[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                         0xF7, 0x0D, 0x01, 0x01, 0x0D, 0x05, 0x00};
// 1.2.840.113549.1.1.2
inline constexpr unsigned char asn_algid_MD2_RSA[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                      0xF7, 0x0D, 0x01, 0x01, 0x02, 0x05, 0x00};
// 1.2.840.113549.1.1.4
inline constexpr unsigned char asn_algid_MD5_RSA[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                      0xF7, 0x0D, 0x01, 0x01, 0x04, 0x05, 0x00};
// 1.2.840.10040.4.3
inline constexpr unsigned char asn_algid_SHA1_DSA[] = {0x30, 0x09, 0x06, 0x07, 0x2A, 0x86,
                                                       0x48, 0xCE, 0x38, 0x04, 0x03};
// 1.2.840.113549.1.1.10
inline constexpr unsigned char asn_algid_RSASSA_PSS[] = {0x30, 0x0B, 0x06, 0x09, 0x2A, 0x86, 0x48,
                                                         0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A};
// 1.2.840.113549.1.1.10
inline constexpr unsigned char asn_algid_SHA1_RSASSA_PSS[] = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                              0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x00};
// 1.2.840.113549.1.1.10
inline constexpr unsigned char asn_algid_SHA224_RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x04, 0x05, 0x00};
// 1.2.840.113549.1.1.10
inline constexpr unsigned char asn_algid_SHA256_RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00};
// 1.2.840.113549.1.1.10
inline constexpr unsigned char asn_algid_SHA384_RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02, 0x05, 0x00};
// 1.2.840.113549.1.1.10
inline constexpr unsigned char asn_algid_SHA512_RSASSA_PSS[] = {
    0x30, 0x1E, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0A, 0x30, 0x11, 0xA0,
    0x0F, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03, 0x05, 0x00};
// 1.2.643.2.2.4
inline constexpr unsigned char asn_algid_GOST_R_3411_3410_94[] = {0x30, 0x08, 0x06, 0x06, 0x2A,
                                                                  0x85, 0x03, 0x02, 0x02, 0x04};
// 1.3.6.1.4.1.3670.1.6
inline constexpr unsigned char asn_algid_GOST_R_3411_3410_94_QEV[] = {0x30, 0x0B, 0x06, 0x09, 0x2B, 0x06, 0x01,
                                                                      0x04, 0x01, 0x9C, 0x56, 0x01, 0x06};
// 1.3.6.1.4.1.5849.1.3.1
inline constexpr unsigned char asn_algid_GOST_R_3411_3410_94_SIGNALCOM[] = {0x30, 0x0C, 0x06, 0x0A, 0x2B, 0x06, 0x01,
                                                                            0x04, 0x01, 0xAD, 0x59, 0x01, 0x03, 0x01};
// 1.2.643.2.2.3
inline constexpr unsigned char asn_algid_GOST_R_3411_3410_2001[] = {0x30, 0x08, 0x06, 0x06, 0x2A,
                                                                    0x85, 0x03, 0x02, 0x02, 0x03};
// 1.3.6.1.4.1.5849.1.3.2
inline constexpr unsigned char asn_algid_GOST_R_3411_3410_2001_SIGNALCOM[] = {0x30, 0x0C, 0x06, 0x0A, 0x2B, 0x06, 0x01,
                                                                              0x04, 0x01, 0xAD, 0x59, 0x01, 0x03, 0x02};
// 1.2.643.7.1.1.3.2
inline constexpr unsigned char asn_algid_GOST_R_3411_3410_2012_256[] = {0x30, 0x0A, 0x06, 0x08, 0x2A, 0x85,
                                                                        0x03, 0x07, 0x01, 0x01, 0x03, 0x02};
// 1.2.643.7.1.1.3.3
inline constexpr unsigned char asn_algid_GOST_R_3411_3410_2012_512[] = {0x30, 0x0A, 0x06, 0x08, 0x2A, 0x85,
                                                                        0x03, 0x07, 0x01, 0x01, 0x03, 0x03};

inline constexpr alg_row_t g_hash_alg_to_oid_map[] = {
    {PKI_ALG_MD2, whole(asn_oid_ALG_MD2)},
    {PKI_ALG_MD5, whole(asn_oid_ALG_MD5)},
    {PKI_ALG_SHA, whole(asn_oid_ALG_SHA)},
    {PKI_ALG_SHA1, whole(asn_oid_ALG_SHA1)},
    {PKI_ALG_SHA224, whole(asn_oid_ALG_SHA224)},
    {PKI_ALG_SHA256, whole(asn_oid_ALG_SHA256)},
    {PKI_ALG_SHA384, whole(asn_oid_ALG_SHA384)},
    {PKI_ALG_SHA512, whole(asn_oid_ALG_SHA512)},
    {PKI_ALG_GOST_3411_94, whole(asn_oid_ALG_GOST_3411_94)},
    {PKI_ALG_GOST_3411_94_CPRO, whole(asn_oid_ALG_GOST_3411_94)},
    {PKI_ALG_GOST_3411_94_QEV, whole(asn_oid_ALG_GOST_3411_94_QEV)},
    {PKI_ALG_GOST_3411_2012_256, whole(asn_oid_ALG_GOST_3411_2012_256)},
    {PKI_ALG_GOST_3411_2012_512, whole(asn_oid_ALG_GOST_3411_2012_512)},
};

inline constexpr alg_row_t g_key_alg_to_oid_map[] = {
    {PKI_ALG_RSA, whole(asn_oid_ALG_RSA)},
    {PKI_ALG_DSA, whole(asn_oid_ALG_DSA)},
    {PKI_ALG_GOST_R_3410_94, whole(asn_oid_ALG_GOST_R_3410_94)},
    {PKI_ALG_GOST_R_3410_94_CPRO, whole(asn_oid_ALG_GOST_R_3410_94)},
    {PKI_ALG_GOST_R_3410_94_QEV, whole(asn_oid_ALG_GOST_R_3410_94_QEV)},
    {PKI_ALG_GOST_R_3410_94_SIGNALCOM, whole(asn_oid_ALG_GOST_R_3410_94_SIGNALCOM)},
    {PKI_ALG_GOST_R_3410_2001, whole(asn_oid_ALG_GOST_R_3410_2001)},
    {PKI_ALG_GOST_R_3410_2001_CPRO, whole(asn_oid_ALG_GOST_R_3410_2001)},
    {PKI_ALG_GOST_R_3410_2001_SIGNALCOM, whole(asn_oid_ALG_GOST_R_3410_2001_SIGNALCOM)},
    {PKI_ALG_GOST_R_3410_2012_256, whole(asn_oid_ALG_GOST_R_3410_2012_256)},
    {PKI_ALG_GOST_R_3410_2012_512, whole(asn_oid_ALG_GOST_R_3410_2012_512)},
};

// Signature algorithms, each with its complete AlgorithmIdentifier.
inline constexpr alg_row_t g_ikesign_alg_to_asn_map[] = {
    {PKI_ALG_SHA1_RSA, whole(asn_algid_SHA1_RSA)},
    {PKI_ALG_SHA1_RSA, whole(asn_algid_SHA1_RSA_OIW)},
    {PKI_ALG_SHA224_RSA, whole(asn_algid_SHA224_RSA)},
    {PKI_ALG_SHA256_RSA, whole(asn_algid_SHA256_RSA)},
    {PKI_ALG_SHA384_RSA, whole(asn_algid_SHA384_RSA)},
    {PKI_ALG_SHA512_RSA, whole(asn_algid_SHA512_RSA)},
    {PKI_ALG_MD2_RSA, whole(asn_algid_MD2_RSA)},
    {PKI_ALG_MD5_RSA, whole(asn_algid_MD5_RSA)},
    {PKI_ALG_SHA1_DSA, whole(asn_algid_SHA1_DSA)},
    {PKI_ALG_RSASSA_PSS, whole(asn_algid_RSASSA_PSS)},
    {PKI_ALG_SHA1_RSASSA_PSS, whole(asn_algid_SHA1_RSASSA_PSS)},
    {PKI_ALG_SHA224_RSASSA_PSS, whole(asn_algid_SHA224_RSASSA_PSS)},
    {PKI_ALG_SHA256_RSASSA_PSS, whole(asn_algid_SHA256_RSASSA_PSS)},
    {PKI_ALG_SHA384_RSASSA_PSS, whole(asn_algid_SHA384_RSASSA_PSS)},
    {PKI_ALG_SHA512_RSASSA_PSS, whole(asn_algid_SHA512_RSASSA_PSS)},
    {PKI_ALG_GOST_R_3411_3410_94, whole(asn_algid_GOST_R_3411_3410_94)},
    {PKI_ALG_GOST_R_3411_3410_94_CRYPTOPRO, whole(asn_algid_GOST_R_3411_3410_94)},
    {PKI_ALG_GOST_R_3411_3410_94_QEV, whole(asn_algid_GOST_R_3411_3410_94_QEV)},
    {PKI_ALG_GOST_R_3411_3410_94_SIGNALCOM, whole(asn_algid_GOST_R_3411_3410_94_SIGNALCOM)},
    {PKI_ALG_GOST_R_3411_3410_2001, whole(asn_algid_GOST_R_3411_3410_2001)},
    {PKI_ALG_GOST_R_3411_3410_2001_CRYPTOPRO, whole(asn_algid_GOST_R_3411_3410_2001)},
    {PKI_ALG_GOST_R_3411_3410_2001_SIGNALCOM, whole(asn_algid_GOST_R_3411_3410_2001_SIGNALCOM)},
    {PKI_ALG_GOST_R_3411_3410_2012_256, whole(asn_algid_GOST_R_3411_3410_2012_256)},
    {PKI_ALG_GOST_R_3411_3410_2012_512, whole(asn_algid_GOST_R_3411_3410_2012_512)},
};

inline constexpr auto g_signhash_alg_to_oid_map = with_oids(g_ikesign_alg_to_asn_map);

#endif
