// OIDs of keys and containers.
#ifndef DERKIT_PKCS_OIDS_H
#define DERKIT_PKCS_OIDS_H

#include "asn/asn_alg_oids.h"
#include "asn/asn_oid_literal.h"

// Algorithms of keys and of the MAC (RFC 4357, RFC 9215).
inline constexpr const auto& g_oid_ALG_GOST_341001 = oid<OID_GOST_R_3410_2001>;
inline constexpr const auto& g_oid_ALG_GOST_341012_256 = oid<OID_GOST_R_3410_2012_256>;
inline constexpr const auto& g_oid_ALG_GOST_341012_512 = oid<OID_GOST_R_3410_2012_512>;
inline constexpr const auto& g_oid_GOSTR3411 = oid<OID_GOST_3411_94>;

// Parameter sets of keys (RFC 4357, RFC 7836).
inline constexpr const auto& g_id_GostR3410_2001_CryptoPro_A_ParamSet = oid<"1.2.643.2.2.35.1">;
inline constexpr const auto& g_oid_tc26_gost_3410_12_256_paramSetA = oid<"1.2.643.7.1.2.1.1.1">;
inline constexpr const auto& g_oid_tc26_gost_3410_12_512_paramSetA = oid<"1.2.643.7.1.2.1.2.1">;
inline constexpr const auto& g_id_GostR3411_94_CryptoProParamSet = oid<"1.2.643.2.2.30.1">;

// Encryption under a password (RFC 8018, RFC 4357).
inline constexpr const auto& g_oid_PBES2 = oid<"1.2.840.113549.1.5.13">;
inline constexpr const auto& g_oid_PBKDF2 = oid<"1.2.840.113549.1.5.12">;
inline constexpr const auto& g_oid_HMAC_GOSTR3411 = oid<"1.2.643.2.2.10">;
inline constexpr const auto& g_oid_gost28147_89 = oid<"1.2.643.2.2.21">;
inline constexpr const auto& g_oid_encryptionParamSet = oid<"1.2.643.2.2.31.1">;

// Content types (RFC 2315 14).
inline constexpr const auto& g_oid_pkcs7_id_data = oid<"1.2.840.113549.1.7.1">;
inline constexpr const auto& g_oid_pkcs7_id_encrypted_data = oid<"1.2.840.113549.1.7.6">;

// Bags and their attributes (RFC 7292, RFC 2985).
inline constexpr const auto& g_oid_pkcs12_id_keyBag = oid<"1.2.840.113549.1.12.10.1.1">;
inline constexpr const auto& g_oid_pkcs12_id_shroudedKeyBag = oid<"1.2.840.113549.1.12.10.1.2">;
inline constexpr const auto& g_oid_pkcs12_id_certBag = oid<"1.2.840.113549.1.12.10.1.3">;
inline constexpr const auto& g_oid_pkcs9_ct_x509Certificate = oid<"1.2.840.113549.1.9.22.1">;
inline constexpr const auto& g_oid_pkcs9_at_friendlyName = oid<"1.2.840.113549.1.9.20">;
inline constexpr const auto& g_oid_pkcs9_at_localKeyId = oid<"1.2.840.113549.1.9.21">;

#endif
