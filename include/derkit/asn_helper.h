/// @file
/// Algorithm codes and their OIDs, DigestInfo, IKE signature algorithms, public keys.
#ifndef DERKIT_ASN_HELPER_H
#define DERKIT_ASN_HELPER_H

#include <string>

#include "derkit/asn_types.h"

/// @defgroup algorithms Algorithms and public keys
/// All tables are constant and all functions safe from any thread on distinct arguments. Readers copy nothing:
/// the views they fill point into the input, which must outlive the record; after a failure a record may be partly
/// filled.
/// @{

/// Code of a key, hash or signature algorithm.
///
/// Bits 0-7 name the key, cipher or MAC, bit 8 marks the elliptic-curve GOST keys, bits 16-23 name the hash and
/// bits 24-31 the vendor's variant. A signature algorithm is a key with its hash filled in; a bare hash has no key.
enum pki_alg_t : unsigned int {
    PKI_ALG_UNKNOWN = 0,
    PKI_ALG_RSA = 0x00000001,
    PKI_ALG_DSA = 0x00000003,
    PKI_ALG_DHKA = 0x00000004,
    PKI_ALG_OLD_DSA = 0x00000005,
    PKI_ALG_DHPN = 0x00000006,
    PKI_ALG_RC2 = 0x00000007,
    PKI_ALG_RC4 = 0x00000008,
    PKI_ALG_RC5 = 0x00000009,
    PKI_ALG_DES = 0x0000000A,
    PKI_ALG_2KEY_3DES = 0x0000000B,
    PKI_ALG_3KEY_3DES = 0x0000000C,
    PKI_ALG_GOST_R_3410_94 = 0x0000000E,
    PKI_ALG_GOST_R_3410_2001 = 0x0000010E,
    PKI_ALG_GOST_R_3410_2012_256 = 0x0000010F,
    PKI_ALG_GOST_R_3410_2012_512 = 0x00000110,
    PKI_ALG_GOST_R_3410_94_QEV = 0x0100000E,
    PKI_ALG_GOST_R_3410_94_CPRO = 0x0200000E,
    PKI_ALG_GOST_R_3410_2001_CPRO = 0x0200010E,
    PKI_ALG_GOST_R_3410_94_SIGNALCOM = 0x0400000E,
    PKI_ALG_GOST_R_3410_2001_SIGNALCOM = 0x0400010E,
    PKI_ALG_SHA = 0x00010000,
    PKI_ALG_SHA1 = 0x00020000,
    PKI_ALG_SHA224 = 0x00030000,
    PKI_ALG_SHA256 = 0x00040000,
    PKI_ALG_SHA384 = 0x00050000,
    PKI_ALG_SHA512 = 0x00060000,
    PKI_ALG_MD2 = 0x00070000,
    PKI_ALG_MD5 = 0x00080000,
    PKI_ALG_GOST_3411_94 = 0x00090000,
    PKI_ALG_GOST_3411_2012_256 = 0x000A0000,
    PKI_ALG_GOST_3411_2012_512 = 0x000B0000,
    PKI_ALG_GOST_3411_94_QEV = 0x01090000,
    PKI_ALG_GOST_3411_94_CPRO = 0x02090000,
    PKI_ALG_GOST_3411_94_SIGNALCOM = 0x04090000,
    PKI_ALG_SHA_RSA = 0x00010001,
    PKI_ALG_SHA1_RSA = 0x00020001,
    PKI_ALG_SHA224_RSA = 0x00030001,
    PKI_ALG_SHA256_RSA = 0x00040001,
    PKI_ALG_SHA384_RSA = 0x00050001,
    PKI_ALG_SHA512_RSA = 0x00060001,
    PKI_ALG_RSASSA_PSS = 0x00000002,
    PKI_ALG_SHA1_RSASSA_PSS = 0x00020002,
    PKI_ALG_SHA224_RSASSA_PSS = 0x00030002,
    PKI_ALG_SHA256_RSASSA_PSS = 0x00040002,
    PKI_ALG_SHA384_RSASSA_PSS = 0x00050002,
    PKI_ALG_SHA512_RSASSA_PSS = 0x00060002,
    PKI_ALG_MD2_RSA = 0x00070001,
    PKI_ALG_MD5_RSA = 0x00080001,
    PKI_ALG_SHA_DSA = 0x00010003,
    PKI_ALG_SHA1_DSA = 0x00020003,
    PKI_ALG_2KEY_3DES_SHA1 = 0x0002000B,
    PKI_ALG_3KEY_3DES_SHA1 = 0x0002000C,
    PKI_ALG_SHA1_HMAC = 0x0002000D,
    PKI_ALG_GOST_R_3411_3410_94 = 0x0009000E,
    PKI_ALG_GOST_R_3411_3410_2001 = 0x0009010E,
    PKI_ALG_GOST_R_3411_3410_2012_256 = 0x000A010F,
    PKI_ALG_GOST_R_3411_3410_2012_512 = 0x000B0110,
    PKI_ALG_GOST_R_3411_3410_94_QEV = 0x0109000E,
    PKI_ALG_GOST_R_3411_3410_94_CRYPTOPRO = 0x0209000E,
    PKI_ALG_GOST_R_3411_3410_2001_CRYPTOPRO = 0x0209010E,
    PKI_ALG_GOST_R_3411_3410_94_SIGNALCOM = 0x0409000E,
    PKI_ALG_GOST_R_3411_3410_2001_SIGNALCOM = 0x0409010E
};

/// A view of constant bytes in the library, valid as long as it is loaded: an OID's content octets or an encoded
/// AlgorithmIdentifier.
struct oid_ref_t {
    const unsigned char* data = nullptr; ///< first byte
    unsigned int size = 0;               ///< number of bytes
};

/// What the forward lookups return when they find nothing: a null pointer and size 0.
extern DERKIT_API const oid_ref_t g_null_oid;

/// Returns the OID of a hash algorithm.
/// @param alg  any value
/// @return the OID's content octets, or g_null_oid when `alg` is no hash that has one
DERKIT_API oid_ref_t PKI_HASH_ALG_TO_OID(pki_alg_t alg);
/// Returns the OID of a key algorithm.
/// @param alg  any value
/// @return the OID's content octets, or g_null_oid when `alg` is no key that has one
DERKIT_API oid_ref_t PKI_KEY_ALG_TO_OID(pki_alg_t alg);
/// Returns the OID of a certificate's signature algorithm. All RSASSA-PSS codes share one.
/// @param alg  any value
/// @return the OID's content octets, or g_null_oid when `alg` is no signature algorithm that has one
DERKIT_API oid_ref_t PKI_CERT_SIGN_ALG_TO_OID(pki_alg_t alg);
/// Returns the AlgorithmIdentifier of a signature algorithm for an IKE payload (RFC 7427).
/// @param alg  any value
/// @return complete DER, or g_null_oid when there is none
DERKIT_API oid_ref_t asn_form_ike_signalg(pki_alg_t alg);

/// Returns the hash algorithm of an OID, or the first, standard one of several that share it.
/// @param oid   content octets, without identifier and length
/// @param size  their number
/// @return its code; 0 when unknown
DERKIT_API pki_alg_t PKI_OID_TO_HASH_ALG(const void* oid, unsigned int size);
/// Returns the key algorithm of an OID, or the first, standard one of several that share it.
/// @param oid   content octets, without identifier and length
/// @param size  their number
/// @return its code; 0 when unknown
DERKIT_API pki_alg_t PKI_OID_TO_KEY_ALG(const void* oid, unsigned int size);
/// Returns the signature algorithm of an OID, or the first, standard one of several that share it.
/// @param oid   content octets, without identifier and length
/// @param size  their number
/// @return its code; 0 when unknown
DERKIT_API pki_alg_t PKI_OID_TO_CERT_SIGN_ALG(const void* oid, unsigned int size);
/// Returns the hash, else key, else signature algorithm of an OID, or the first, standard one of several that share it.
/// @param oid   content octets, without identifier and length
/// @param size  their number
/// @return its code; 0 when unknown
DERKIT_API pki_alg_t PKI_OID_TO_ALG(const void* oid, unsigned int size);

/// An algorithm's OID inside the caller's input.
struct asn_algorid_t {
    blob_t oid; ///< content octets
};

/// An AlgorithmIdentifier of an IKE signature payload.
struct asn_ike_signalg_t {
    blob_t oid;        ///< content octets
    blob_t parameters; ///< everything after the OID up to the end of the input

    /// Returns the code of the algorithm. For RSASSA-PSS the hash comes from the parameters (RFC 4055 3.1), SHA-1 when
    /// they name none.
    /// @return the code; 0 when the algorithm is unknown or its parameters are malformed
    DERKIT_API pki_alg_t to_pki_alg() const;
};

/// Replaces a raw digest by its DigestInfo (RFC 8017 9.2), with NULL parameters for every hash.
/// @param digest  raw digest on entry, DER on return
/// @param hash    a hash that PKI_HASH_ALG_TO_OID() knows; any other value is written with an empty OID
/// @throws std::bad_alloc and leaves `digest` unchanged
DERKIT_API void asn_add_alg_to_digest(std::string& digest, pki_alg_t hash);

/// Reads the hash OID of a DigestInfo. The AlgorithmIdentifier must have parameters.
/// @param out          view into `digest_info`; empty when the OID cannot be read, filled when only what follows it
///                     fails
/// @param digest_info  must outlive `out`
/// @return whether all of it was read
DERKIT_API bool asn_read_alg_from_digest(asn_algorid_t* out, const std::string& digest_info);

/// Reads an AlgorithmIdentifier of an IKE signature payload (RFC 7427).
/// @param data  the SEQUENCE
/// @param size  bytes available from `data` on
/// @param out   views into `data`, which must outlive them
/// @return 1, or 0 when there is no SEQUENCE with an OBJECT IDENTIFIER at its start
DERKIT_API int asn_read_ike_signalg(const unsigned char* data, unsigned int size, asn_ike_signalg_t& out);

/// A SubjectPublicKeyInfo (RFC 5280 4.1).
struct asn_pubkey_t {
    blob_t algorithm;  ///< content octets of the algorithm's OID
    blob_t parameters; ///< the elements after the OID; may be none
    blob_t key;        ///< content of the BIT STRING without its first octet
};

/// An RSA public key (RFC 8017 A.1.1).
struct asn_rsa_pubkey_t {
    blob_t modulus;  ///< without leading zero octets
    blob_t exponent; ///< as encoded
};

/// A GOST public key (RFC 4491, RFC 9215). The parameter sets are complete OBJECT IDENTIFIER elements.
struct asn_gost_pubkey_t {
    blob_t public_key_param_set; ///< OID of the curve
    blob_t digest_param_set;     ///< OID of the digest's parameters
    blob_t encryption_param_set; ///< OID of the cipher's parameters; size 0 and null when absent
    blob_t key;                  ///< the point: content of the OCTET STRING inside the key bits
};

/// A DSA signature value (RFC 3279 2.2.2).
struct asn_dsa_certsign_t {
    blob_t r; ///< as encoded, leading zero octets included
    blob_t s; ///< as encoded, leading zero octets included
};

/// Reads a SubjectPublicKeyInfo. The BIT STRING is bounded by the input, not by the outer SEQUENCE.
/// @param data  the SEQUENCE
/// @param size  bytes available; a negative size fails, one above 2^32 - 1 is taken as that
/// @param out   views into `data`, which must outlive them
/// @return 1, or 0 on failure. An empty BIT STRING succeeds with a key of size 0xFFFFFFFF, which the key readers
///         refuse: do not use it.
DERKIT_API int asn_read_pubkey(const unsigned char* data, long size, asn_pubkey_t& out);

/// Reads the RSA key inside a public key (RFC 8017 A.1.1). No sign or size checks.
/// @param key  as asn_read_pubkey() filled it; its algorithm is ignored
/// @param out  views into what `key` views
/// @return 1, or 0 on failure
DERKIT_API int asn_read_rsa_pubkey(const asn_pubkey_t& key, asn_rsa_pubkey_t& out);

/// Reads the parameter sets and the point of a GOST public key.
/// @param key  as asn_read_pubkey() filled it; its algorithm is ignored
/// @param out  views into what `key` views
/// @return 1, or 0 on failure
DERKIT_API int asn_read_gost_pubkey(const asn_pubkey_t& key, asn_gost_pubkey_t& out);

/// Reads a DSA signature value. The second INTEGER is bounded by the input, not by the SEQUENCE.
/// @param data  the SEQUENCE
/// @param size  bytes available from `data` on
/// @param out   views into `data`, which must outlive them
/// @return 1, or 0 on failure
DERKIT_API int asn_read_dsa_certsign(const unsigned char* data, unsigned int size, asn_dsa_certsign_t& out);

/// @}

#endif
