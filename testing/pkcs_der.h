// Encodings of keys and containers for tests (RFC 8018, RFC 5208, RFC 2315, RFC 7292); every part can be changed.
#ifndef DERKIT_TESTING_PKCS_DER_H
#define DERKIT_TESTING_PKCS_DER_H

#include <string>
#include <string_view>

#include "testing/der.h"

inline constexpr const char* OID_PBES2 = "1.2.840.113549.1.5.13";
inline constexpr const char* OID_PBKDF2 = "1.2.840.113549.1.5.12";
inline constexpr const char* OID_HMAC_GOST = "1.2.643.2.2.10";
inline constexpr const char* OID_GOST_28147 = "1.2.643.2.2.21";
inline constexpr const char* OID_GOST_3411 = "1.2.643.2.2.9";
inline constexpr const char* OID_DATA = "1.2.840.113549.1.7.1";
inline constexpr const char* OID_SIGNED_DATA = "1.2.840.113549.1.7.2";
inline constexpr const char* OID_ENCRYPTED_DATA = "1.2.840.113549.1.7.6";
inline constexpr const char* OID_KEY_BAG = "1.2.840.113549.1.12.10.1.1";
inline constexpr const char* OID_SHROUDED_KEY_BAG = "1.2.840.113549.1.12.10.1.2";
inline constexpr const char* OID_CERT_BAG = "1.2.840.113549.1.12.10.1.3";
inline constexpr const char* OID_CRL_BAG = "1.2.840.113549.1.12.10.1.4";
inline constexpr const char* OID_SECRET_BAG = "1.2.840.113549.1.12.10.1.5";
inline constexpr const char* OID_X509_CERTIFICATE = "1.2.840.113549.1.9.22.1";
inline constexpr const char* OID_FRIENDLY_NAME = "1.2.840.113549.1.9.20";
inline constexpr const char* OID_LOCAL_KEY_ID = "1.2.840.113549.1.9.21";

// The AlgorithmIdentifier of the GOST profile of PBES2.
struct pbes2_t {
    der_t pbes2 = der_oid(OID_PBES2);
    der_t pbkdf2 = der_oid(OID_PBKDF2);
    der_t salt = der_octet_string("salt");
    der_t iterations = der_integer("07 D0");
    der_t key_length = der_raw("");
    der_t hmac = der_oid(OID_HMAC_GOST);
    der_t hmac_params = der_null();
    der_t gost_28147 = der_oid(OID_GOST_28147);
    der_t iv = der_octet_string("iv");
    der_t param_set = der_oid("1.2.643.2.2.31.1");

    der_t whole() const {
        const der_t derivation =
            der_sequence({pbkdf2, der_sequence({salt, iterations, key_length, der_sequence({hmac, hmac_params})})});
        const der_t scheme = der_sequence({gost_28147, der_sequence({iv, param_set})});
        return der_sequence({pbes2, der_sequence({derivation, scheme})});
    }
};

inline der_t encrypted_key(std::string_view encrypted_data, const pbes2_t& pbes2 = {}) {
    return der_sequence({pbes2.whole(), der_octet_string(encrypted_data)});
}

// Bags

inline der_t attribute(const char* oid, const der_t& value) {
    return der_sequence({der_oid(oid), der_set({value})});
}
inline der_t friendly_name(std::string_view text) {
    return attribute(OID_FRIENDLY_NAME, der_element(0x1E, text));
}
inline der_t local_key_id(std::string_view id) {
    return attribute(OID_LOCAL_KEY_ID, der_octet_string(id));
}

inline der_t safe_bag(const char* oid, const der_t& value, const der_t& attributes = der_raw("")) {
    return der_sequence({der_oid(oid), der_context_0({value}), attributes});
}
inline der_t key_bag(std::string_view key, const der_t& attributes = der_raw("")) {
    return safe_bag(OID_KEY_BAG, der_element(-1, key), attributes);
}
inline der_t cert_bag(std::string_view certificate, const der_t& attributes = der_raw("")) {
    const der_t value = der_sequence({der_oid(OID_X509_CERTIFICATE), der_context_0({der_octet_string(certificate)})});
    return safe_bag(OID_CERT_BAG, value, attributes);
}
inline der_t shrouded_key_bag(std::string_view encrypted_data, const der_t& attributes = der_raw("")) {
    return safe_bag(OID_SHROUDED_KEY_BAG, encrypted_key(encrypted_data), attributes);
}
inline der_t safe_contents(der_members_t bags) {
    return der_sequence(std::move(bags));
}

// Entries

inline der_t content_info(const char* oid, const der_t& content) {
    return der_sequence({der_oid(oid), der_context_0({content})});
}
inline der_t data_entry(der_members_t bags) {
    return content_info(OID_DATA, der_octet_string(safe_contents(std::move(bags))));
}

struct encrypted_data_t {
    der_t version = der_integer("00");
    der_t content_type = der_oid(OID_DATA);
    der_t algorithm = pbes2_t().whole();
    der_t encrypted_content = der_element(0x80, "");
    der_t last = der_raw("");

    der_t whole() const {
        return der_sequence({version, der_sequence({content_type, algorithm, encrypted_content}), last});
    }
    der_t entry() const { return content_info(OID_ENCRYPTED_DATA, whole()); }
};

// The plaintext of an encrypted entry of a container.
inline std::string entry_plaintext(der_members_t bags) {
    return encode(der_octet_string(safe_contents(std::move(bags))));
}

// The whole file

struct mac_data_t {
    der_t algorithm = der_sequence({der_oid(OID_GOST_3411), der_null()});
    der_t digest = der_octet_string("digest");
    der_t salt = der_octet_string("macsalt");
    der_t iterations = der_integer("07 D0");

    der_t whole() const { return der_sequence({der_sequence({algorithm, digest}), salt, iterations}); }
};

struct pfx_t {
    der_t version = der_integer("03");
    der_t content_type = der_oid(OID_DATA);
    der_t content = der_octet_string(der_sequence({})); // of authSafe: the AuthenticatedSafe in an OCTET STRING
    der_t mac_data = mac_data_t().whole();

    pfx_t() = default;
    explicit pfx_t(der_members_t entries) : content(der_octet_string(der_sequence(std::move(entries)))) {}

    der_t whole() const {
        return der_sequence({version, der_sequence({content_type, der_context_0({content})}), mac_data});
    }
};

#endif
