/// @file
/// GOST R 34.10 private keys: PKCS#8 (RFC 5208, RFC 5958) and PBES2 (RFC 8018) in the GOST profile.
#ifndef DERKIT_PKCS8_HELPER_H
#define DERKIT_PKCS8_HELPER_H

#include <string>

#include "derkit/asn_types.h"

/// @defgroup keys GOST private keys
/// Readers copy and allocate nothing: the views they fill point into the input, which must outlive the record.
/// A record may be partly filled after a failure. Writers assign the finished element to `out`, which their input may
/// view; the only exception is std::bad_alloc, and `out` is unchanged then. All functions are safe from any thread on
/// distinct arguments.
///
/// Lengths of 65,536 octets or more are written too short when any of their octets but the lowest is zero; keys and
/// their parameters stay far below that.
/// @{

/// A GOST private key.
struct pkcs8_pki_gost_t {
    unsigned int key_type = 0; ///< 0: GOST R 34.10-2001, 1: 34.10-2012 with 256 bits, 2: 34.10-2012 with 512 bits
    blob_t private_key;        ///< content of the OCTET STRING inside privateKey; any length
};

/// Any PrivateKeyInfo, split into its algorithm and its key octets.
struct asn_pkcs8_priv_key_info_t {
    blob_t algorithm;   ///< content octets of the algorithm's OBJECT IDENTIFIER
    blob_t private_key; ///< content octets of the privateKey OCTET STRING
};

/// PBES2 parameters: PBKDF2 with HMAC GOST R 34.11-94, GOST 28147-89.
struct pkcs5_pbe_gost_t {
    blob_t salt;                 ///< PBKDF2 salt; any length
    unsigned int iterations = 0; ///< PBKDF2 iteration count
    blob_t iv;                   ///< initialisation vector; any length (GOST 28147-89 takes 8 bytes)
};

/// A GOST EncryptedPrivateKeyInfo.
struct pkcs8_encrypted_pki_gost_t {
    pkcs5_pbe_gost_t pbe;  ///< encryption parameters
    blob_t encrypted_data; ///< content octets of encryptedData
};

/// Reads any PrivateKeyInfo. The version is ignored; the algorithm must have parameters; attributes and bytes after the
/// element are ignored.
/// @param data  the SEQUENCE
/// @param size  bytes available from `data` on
/// @param out   views into `data`
/// @return whether it was read
DERKIT_API bool asn_read_pkcs8_priv_key_info(const unsigned char* data, unsigned int size,
                                             asn_pkcs8_priv_key_info_t& out);

/// Reads a GOST PrivateKeyInfo whose privateKey holds an OCTET STRING. Parameter sets and key length are not
/// checked. `key_type` may be set although the result is false.
/// @param data  the SEQUENCE
/// @param size  bytes available from `data` on
/// @param out   view into `data`
/// @return whether it was read; false also for another algorithm and for keys that are not in an OCTET STRING
DERKIT_API bool asn_read_pkcs8_pki_gost(const void* data, unsigned int size, pkcs8_pki_gost_t& out);

/// Writes a GOST PrivateKeyInfo with the parameter sets of its key type (CryptoPro A, or TC26 set A) and the
/// GOST R 34.11-94 CryptoPro digest parameters. An unknown key type is written with empty OIDs.
/// @param in   the key
/// @param out  receives the element, which replaces what it held
DERKIT_API void asn_write_pkcs8_pki_gost(const pkcs8_pki_gost_t& in, std::string& out);

/// Reads PBES2 parameters.
/// @param data  content of the AlgorithmIdentifier, from the PBES2 OBJECT IDENTIFIER on, without the SEQUENCE header
///              that asn_write_pkcs5_pbe_gost() writes
/// @param size  bytes of that content
/// @param out   views into `data`; an empty iteration count leaves `iterations` unchanged
/// @return whether they were read; false also for every other scheme, key derivation or cipher
DERKIT_API bool asn_read_pkcs5_pbe_gost(const void* data, unsigned int size, pkcs5_pbe_gost_t& out);

/// Writes the PBES2 AlgorithmIdentifier, SEQUENCE included. The iteration count is written by
/// asn_write_INTEGER(): its zero octets are dropped.
/// @param in   the parameters
/// @param out  receives the element, which replaces what it held
DERKIT_API void asn_write_pkcs5_pbe_gost(const pkcs5_pbe_gost_t& in, std::string& out);

/// Reads an EncryptedPrivateKeyInfo. `encrypted_data` is filled also when the algorithm is then refused.
/// @param data  the SEQUENCE
/// @param size  bytes available from `data` on
/// @param out   views into `data`
/// @return whether it was read
DERKIT_API bool asn_read_pkcs8_encrypted_pki_gost(const void* data, unsigned int size, pkcs8_encrypted_pki_gost_t& out);

/// Writes an EncryptedPrivateKeyInfo.
/// @param in   parameters and ciphertext
/// @param out  receives the element, which replaces what it held
DERKIT_API void asn_write_pkcs8_encrypted_pki_gost(const pkcs8_encrypted_pki_gost_t& in, std::string& out);

/// @}

#endif
