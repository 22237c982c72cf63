// Algorithms by object identifier, each in one row that readers and writers share.
#ifndef DERKIT_GOST_SCHEME_TABLES_H
#define DERKIT_GOST_SCHEME_TABLES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "derkit/gost/limits.h"
#include "derkit/gost/scheme.h"
#include "gost/ciphers.h"
#include "gost/crypto.h"
#include "gost/schemes.h"

namespace derkit::gost {

// RFC 8018 A.4, A.2.
inline constexpr std::string_view PBES2 = "1.2.840.113549.1.5.13";
inline constexpr std::string_view PBKDF2 = "1.2.840.113549.1.5.12";

// What an algorithm belongs to; together they make the kind of a container.
enum class hash_family { GOST94, GOST2012, SHA };
enum class cipher_family { GOST_28147, CTR_ACPKM, CTR_ACPKM_OMAC, GENERAL };

// A pseudo-random function of PBKDF2 (RFC 8018 B.1, RFC 4357, RFC 9337 7.2).
struct prf_row {
    std::string_view oid;
    std::string_view name;
    digest_id digest;
    hash_family family;
};

inline constexpr std::array PRFS = {
    prf_row{"1.2.840.113549.2.7", "HMAC-SHA-1", digest_id::SHA1, hash_family::SHA}, // the first one is the default
    prf_row{"1.2.840.113549.2.8", "HMAC-SHA-224", digest_id::SHA224, hash_family::SHA},
    prf_row{"1.2.840.113549.2.9", "HMAC-SHA-256", digest_id::SHA256, hash_family::SHA},
    prf_row{"1.2.840.113549.2.10", "HMAC-SHA-384", digest_id::SHA384, hash_family::SHA},
    prf_row{"1.2.840.113549.2.11", "HMAC-SHA-512", digest_id::SHA512, hash_family::SHA},
    prf_row{"1.2.643.2.2.10", "HMAC GOST R 34.11-94", digest_id::GOST94, hash_family::GOST94},
    prf_row{"1.2.643.7.1.1.4.1", "HMAC GOST R 34.11-2012-256", digest_id::STREEBOG256, hash_family::GOST2012},
    prf_row{"1.2.643.7.1.1.4.2", "HMAC GOST R 34.11-2012-512", digest_id::STREEBOG512, hash_family::GOST2012},
};

// A digest of MacData, and how the key of its HMAC is derived.
struct mac_row {
    std::string_view oid;
    std::string_view name;
    digest_id digest;
    hash_family family;
    bool by_pbkdf2;       // R 50.1.112-2016; otherwise only RFC 7292 appendix B
    bool null_parameters; // written
};

inline constexpr std::array MACS = {
    mac_row{"1.3.14.3.2.26", "SHA-1", digest_id::SHA1, hash_family::SHA, false, true},
    mac_row{"2.16.840.1.101.3.4.2.4", "SHA-224", digest_id::SHA224, hash_family::SHA, false, true},
    mac_row{"2.16.840.1.101.3.4.2.1", "SHA-256", digest_id::SHA256, hash_family::SHA, false, true},
    mac_row{"2.16.840.1.101.3.4.2.2", "SHA-384", digest_id::SHA384, hash_family::SHA, false, true},
    mac_row{"2.16.840.1.101.3.4.2.3", "SHA-512", digest_id::SHA512, hash_family::SHA, false, true},
    mac_row{"1.2.643.2.2.9", "GOST R 34.11-94", digest_id::GOST94, hash_family::GOST94, true, true},
    mac_row{"1.2.643.7.1.1.2.2", "GOST R 34.11-2012-256", digest_id::STREEBOG256, hash_family::GOST2012, true, false},
    mac_row{"1.2.643.7.1.1.2.3", "GOST R 34.11-2012-512", digest_id::STREEBOG512, hash_family::GOST2012, true, false},
};

// An S-box of GOST 28147-89 (RFC 4357 11.2, RFC 7836 C).
struct sbox_row {
    std::string_view oid;
    std::string_view name;
};

inline constexpr std::array SBOXES = {
    sbox_row{"1.2.643.2.2.31.1", "id-Gost28147-89-CryptoPro-A-ParamSet"},
    sbox_row{"1.2.643.2.2.31.2", "id-Gost28147-89-CryptoPro-B-ParamSet"},
    sbox_row{"1.2.643.2.2.31.3", "id-Gost28147-89-CryptoPro-C-ParamSet"},
    sbox_row{"1.2.643.2.2.31.4", "id-Gost28147-89-CryptoPro-D-ParamSet"},
    sbox_row{"1.2.643.7.1.2.5.1.1", "id-tc26-gost-28147-param-Z"},
};

// What the parameters of a cipher look like.
enum class parameters_form {
    IV,          // OCTET STRING
    IV_AND_SBOX, // SEQUENCE { iv OCTET STRING, encryptionParamSet OBJECT IDENTIFIER } (RFC 4490 5.1.1)
    UKM          // SEQUENCE { ukm OCTET STRING } (RFC 9337 7.3)
};

// One run of a cipher over one plaintext or ciphertext.
struct cipher_run {
    direction way;
    std::string_view key;
    std::string_view iv; // or UKM
    std::string_view sbox;
    std::string_view data;
    plaintext expected;
    section sections; // of encryption; decryption finds them out
};

// A cipher of PBES2.
struct cipher_row {
    std::string_view oid;
    std::string_view name;
    cipher_family family;
    std::size_t key_size;
    parameters_form form;
    std::size_t iv_size; // of the UKM too
    // Decryption whose plaintext is not what is expected is cause::wrong_password or cause::wrong_omac.
    result<secret> (*run)(const cipher_run& run);
};

result<secret> run_gost28147(const cipher_run& run);
result<secret> run_aes(const cipher_run& run);
result<secret> run_triple_des(const cipher_run& run);
template <block_cipher_id CIPHER> result<secret> run_acpkm(const cipher_run& run);
template <block_cipher_id CIPHER> result<secret> run_acpkm_omac(const cipher_run& run);

// RFC 8018 B.2, RFC 3565, RFC 4357, RFC 9337 7.3.
inline constexpr std::array CIPHERS = {
    cipher_row{"1.2.840.113549.3.7", "DES-EDE3-CBC", cipher_family::GENERAL, 24, parameters_form::IV, 8,
               run_triple_des},
    cipher_row{"2.16.840.1.101.3.4.1.2", "AES-128-CBC", cipher_family::GENERAL, 16, parameters_form::IV, 16, run_aes},
    cipher_row{"2.16.840.1.101.3.4.1.22", "AES-192-CBC", cipher_family::GENERAL, 24, parameters_form::IV, 16, run_aes},
    cipher_row{"2.16.840.1.101.3.4.1.42", "AES-256-CBC", cipher_family::GENERAL, 32, parameters_form::IV, 16, run_aes},
    cipher_row{"1.2.643.2.2.21", "GOST 28147-89 CFB", cipher_family::GOST_28147, 32, parameters_form::IV_AND_SBOX, 8,
               run_gost28147},
    cipher_row{"1.2.643.7.1.1.5.1.1", "Magma CTR-ACPKM", cipher_family::CTR_ACPKM, 32, parameters_form::UKM, 12,
               run_acpkm<block_cipher_id::MAGMA>},
    cipher_row{"1.2.643.7.1.1.5.1.2", "Magma CTR-ACPKM-OMAC", cipher_family::CTR_ACPKM_OMAC, 32, parameters_form::UKM,
               12, run_acpkm_omac<block_cipher_id::MAGMA>},
    cipher_row{"1.2.643.7.1.1.5.2.1", "Kuznyechik CTR-ACPKM", cipher_family::CTR_ACPKM, 32, parameters_form::UKM, 16,
               run_acpkm<block_cipher_id::KUZNYECHIK>},
    cipher_row{"1.2.643.7.1.1.5.2.2", "Kuznyechik CTR-ACPKM-OMAC", cipher_family::CTR_ACPKM_OMAC, 32,
               parameters_form::UKM, 16, run_acpkm_omac<block_cipher_id::KUZNYECHIK>},
};

// A scheme of RFC 7292 appendix C: key and IV by appendix B with SHA-1. All are hash_family::SHA and
// cipher_family::GENERAL.
struct pkcs12_scheme_row {
    std::string_view oid;
    std::string_view name;
    classic_cipher cipher;
    std::size_t key_size;
};

inline constexpr std::array PKCS12_SCHEMES = {
    pkcs12_scheme_row{"1.2.840.113549.1.12.1.1", "PBE-SHA1-RC4-128", classic_cipher::RC4, 16},
    pkcs12_scheme_row{"1.2.840.113549.1.12.1.2", "PBE-SHA1-RC4-40", classic_cipher::RC4, 5},
    pkcs12_scheme_row{"1.2.840.113549.1.12.1.3", "PBE-SHA1-3DES", classic_cipher::TRIPLE_DES, 24},
    pkcs12_scheme_row{"1.2.840.113549.1.12.1.4", "PBE-SHA1-2DES", classic_cipher::TRIPLE_DES, 16},
    pkcs12_scheme_row{"1.2.840.113549.1.12.1.5", "PBE-SHA1-RC2-128", classic_cipher::RC2_128, 16},
    pkcs12_scheme_row{"1.2.840.113549.1.12.1.6", "PBE-SHA1-RC2-40", classic_cipher::RC2_40, 5},
};

// A vendor's encryption of exported keys: named, not opened.
inline constexpr std::string_view VENDOR_SCHEME = "1.2.840.113549.1.12.1.80";

// Names of the other OIDs of schemes.
struct other_oid_row {
    std::string_view oid;
    std::string_view name;
};

inline constexpr std::array OTHER_OIDS = {
    other_oid_row{PBES2, "PBES2"},
    other_oid_row{PBKDF2, "PBKDF2"},
    other_oid_row{VENDOR_SCHEME, "a vendor's export of keys"},
    other_oid_row{"1.2.840.113549.1.5.14", "PBMAC1"},
    other_oid_row{"1.3.6.1.4.1.11591.4.11", "scrypt"},
    other_oid_row{"1.2.840.113549.3.2", "RC2-CBC"},
    other_oid_row{"1.2.643.2.2.31.0", "id-Gost28147-89-TestParamSet"},
};

// What a format is written with.
struct format_row {
    format id;
    std::string_view prf;
    std::string_view kuznyechik; // the cipher; of formats without a choice the same for both
    std::string_view magma;
    std::string_view sbox; // only of GOST 28147-89
    std::string_view mac;
    std::uint32_t iterations; // unless the caller chooses
};

inline constexpr std::array FORMATS = {
    format_row{format::gost94, "1.2.643.2.2.10", "1.2.643.2.2.21", "1.2.643.2.2.21", "1.2.643.2.2.31.1",
               "1.2.643.2.2.9", 2'000},
    format_row{format::native, "1.2.643.2.2.10", "1.2.643.2.2.21", "1.2.643.2.2.21", "1.2.643.2.2.31.1",
               "1.2.643.2.2.9", 2'000},
    format_row{format::tc26, "1.2.643.7.1.1.4.2", "1.2.643.2.2.21", "1.2.643.2.2.21", "1.2.643.7.1.2.5.1.1",
               "1.2.643.7.1.1.2.3", 100'001},
    format_row{format::rfc9548, "1.2.643.7.1.1.4.2", "1.2.643.7.1.1.5.2.1", "1.2.643.7.1.1.5.1.1", "",
               "1.2.643.7.1.1.2.3", 100'001},
    format_row{format::rfc9548_omac, "1.2.643.7.1.1.4.2", "1.2.643.7.1.1.5.2.2", "1.2.643.7.1.1.5.1.2", "",
               "1.2.643.7.1.1.2.3", 100'001},
    format_row{format::aes, "1.2.840.113549.2.9", "2.16.840.1.101.3.4.1.42", "2.16.840.1.101.3.4.1.42", "",
               "2.16.840.1.101.3.4.2.1", 100'001},
};

// Finds a row by its OID; null when there is none.
template <typename TABLE> const typename TABLE::value_type* find_row(const TABLE& table, std::string_view oid) {
    for (const auto& row : table) {
        if (row.oid == oid) {
            return &row;
        }
    }
    return nullptr;
}

// The row of a format; null for other numbers.
const format_row* find_format(format id);

// The iteration count to write; 0 when the caller's is none.
std::uint32_t iterations_of(const write_options& options, const format_row& row);

} // namespace derkit::gost

#endif
