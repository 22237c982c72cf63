// OIDs of algorithms that are needed in more than one place. All others stand in the tables that use them.
#ifndef DERKIT_ASN_ALG_OIDS_H
#define DERKIT_ASN_ALG_OIDS_H

#include "asn/asn_oid_literal.h"

inline constexpr oid_text_t OID_SHA224 = "2.16.840.1.101.3.4.2.4";
inline constexpr oid_text_t OID_SHA256 = "2.16.840.1.101.3.4.2.1";
inline constexpr oid_text_t OID_SHA384 = "2.16.840.1.101.3.4.2.2";
inline constexpr oid_text_t OID_SHA512 = "2.16.840.1.101.3.4.2.3";
inline constexpr oid_text_t OID_GOST_3411_94 = "1.2.643.2.2.9";

inline constexpr oid_text_t OID_GOST_R_3410_94 = "1.2.643.2.2.20";
inline constexpr oid_text_t OID_GOST_R_3410_2001 = "1.2.643.2.2.19";
inline constexpr oid_text_t OID_GOST_R_3410_2012_256 = "1.2.643.7.1.1.1.1";
inline constexpr oid_text_t OID_GOST_R_3410_2012_512 = "1.2.643.7.1.1.1.2";

inline constexpr oid_text_t OID_RSASSA_PSS = "1.2.840.113549.1.1.10";
inline constexpr oid_text_t OID_GOST_R_3411_3410_94 = "1.2.643.2.2.4";
inline constexpr oid_text_t OID_GOST_R_3411_3410_2001 = "1.2.643.2.2.3";

#endif
