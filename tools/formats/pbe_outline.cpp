#include "formats/pbe_outline.h"

#include <string_view>

#include "asn/asn_cursor.h"
#include "derkit/asn_reader.h"
#include "derkit/pkcs8_helper.h"
#include "formats/gost_pbe_crypto.h"

namespace {

constexpr std::string_view OID_PBKDF2 = "1.2.840.113549.1.5.12";
constexpr std::string_view OID_PBES2 = "1.2.840.113549.1.5.13";
constexpr std::string_view OID_PBMAC1 = "1.2.840.113549.1.5.14";
constexpr std::string_view OID_HMAC_GOST_34_11_94 = "1.2.643.2.2.10";
constexpr std::string_view OID_GOST_28147_89 = "1.2.643.2.2.21";
constexpr std::string_view OID_CRYPTOPRO_A = "1.2.643.2.2.31.1";

constexpr unsigned int GOST_IV_SIZE = 8;

std::optional<unsigned int> size_if(const asn_cursor_t& read_from, const blob_t& content) {
    return read_from.ok() ? std::optional(content.size) : std::nullopt;
}

std::optional<unsigned int> read_count(asn_cursor_t& in) {
    const blob_t content = in.read(asn_tag_t::INTEGER);
    unsigned int count = 0;
    const bool done = in.ok() && asn_read_INTEGER(content.data, content.size, count, 0xFFFFFFFF);
    return done ? std::optional(count) : std::nullopt;
}

// prf AlgorithmIdentifier DEFAULT algid-hmacWithSHA1                       RFC 8018 appendix A.2
named_oid_t read_prf(asn_cursor_t& pbkdf2) {
    if (!pbkdf2.next_is(asn_tag_t::SEQUENCE)) {
        return {"1.2.840.113549.2.7", "HMAC SHA-1"};
    }
    return name_oid(pbkdf2.enter(asn_tag_t::SEQUENCE).read(asn_tag_t::OBJECT_IDENTIFIER));
}

// PBKDF2-params ::= SEQUENCE { salt CHOICE { specified OCTET STRING, ... }, iterationCount INTEGER,
//   keyLength INTEGER OPTIONAL, prf AlgorithmIdentifier DEFAULT ... }      RFC 8018 appendix A.2
void read_kdf(asn_cursor_t kdf, pbe_outline_t& out) {
    out.kdf = name_oid(kdf.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (out.kdf->oid != OID_PBKDF2) {
        return;
    }
    asn_cursor_t params = kdf.enter(asn_tag_t::SEQUENCE);
    const blob_t salt = params.read(asn_tag_t::OCTET_STRING);
    out.salt_size = size_if(params, salt);
    out.iterations = read_count(params);
    if (params.next_is(asn_tag_t::INTEGER)) {
        params.skip(asn_tag_t::INTEGER);
    }
    if (params.ok()) {
        out.prf = read_prf(params);
    }
}

// Gost28147-89-Parameters ::= SEQUENCE { iv OCTET STRING, encryptionParamSet OBJECT IDENTIFIER }    RFC 4357 8.1
// Most other ciphers have the IV alone.
void read_cipher(asn_cursor_t cipher, pbe_outline_t& out) {
    out.cipher = name_oid(cipher.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (cipher.next_is(asn_tag_t::OCTET_STRING)) {
        const blob_t iv = cipher.read(asn_tag_t::OCTET_STRING);
        out.iv_size = size_if(cipher, iv);
    } else if (out.cipher->oid == OID_GOST_28147_89) {
        asn_cursor_t params = cipher.enter(asn_tag_t::SEQUENCE);
        const blob_t iv = params.read(asn_tag_t::OCTET_STRING);
        out.iv_size = size_if(params, iv);
        const blob_t param_set = params.read(asn_tag_t::OBJECT_IDENTIFIER);
        if (params.ok()) {
            out.param_set = name_oid(param_set);
        }
    }
}

// PBES2-params ::= SEQUENCE { keyDerivationFunc AlgorithmIdentifier, encryptionScheme AlgorithmIdentifier }
// PBMAC1-params has the MAC in the place of the cipher.                    RFC 8018 appendix A.4 and A.5
void read_derived_key_params(asn_cursor_t params, pbe_outline_t& out) {
    const asn_cursor_t kdf = params.enter(asn_tag_t::SEQUENCE);
    const asn_cursor_t cipher = params.enter(asn_tag_t::SEQUENCE);
    if (params.ok()) {
        read_kdf(kdf, out);
        read_cipher(cipher, out);
    }
}

// PBEParameter ::= SEQUENCE { salt OCTET STRING, iterationCount INTEGER }  RFC 8018 appendix A.3, RFC 7292 appendix C
void read_pbe1_params(asn_cursor_t params, pbe_outline_t& out) {
    const blob_t salt = params.read(asn_tag_t::OCTET_STRING);
    out.salt_size = size_if(params, salt);
    out.iterations = read_count(params);
}

bool is_other(const std::optional<named_oid_t>& named, std::string_view expected) {
    return named.has_value() && named->oid != expected;
}

// The library's record of parameters has no place for the parameter set, so the library ignores it.
std::string decline(const blob_t& algorithm, const pbe_outline_t& pbe) {
    if (pbe.scheme.oid != OID_PBES2) {
        return "is encrypted with " + describe(pbe.scheme) + "; only PBES2 is read";
    }
    if (is_other(pbe.cipher, OID_GOST_28147_89)) {
        return "is encrypted with " + describe(*pbe.cipher) + "; only GOST 28147-89 is read";
    }
    if (is_other(pbe.kdf, OID_PBKDF2)) {
        return "has a key derived with " + describe(*pbe.kdf) + "; only PBKDF2 is read";
    }
    if (is_other(pbe.prf, OID_HMAC_GOST_34_11_94)) {
        return "has a key derived with " + describe(*pbe.prf) + "; only HMAC GOST R 34.11-94 is read";
    }
    if (is_other(pbe.param_set, OID_CRYPTOPRO_A)) {
        return "is encrypted with the parameter set " + describe(*pbe.param_set) +
               "; only id-Gost28147-89-CryptoPro-A-ParamSet is read";
    }
    pkcs5_pbe_gost_t params;
    if (!asn_read_pkcs5_pbe_gost(algorithm.data, algorithm.size, params)) {
        return "has malformed parameters of its encryption";
    }
    if (params.iv.size != GOST_IV_SIZE) {
        return "has an IV of " + std::to_string(params.iv.size) + " bytes instead of 8";
    }
    return decline_derivation(params.salt.size, params.iterations);
}

} // namespace

pbe_outline_t outline_pbe(const blob_t& algorithm) {
    pbe_outline_t out;
    asn_cursor_t in(algorithm);
    out.scheme = name_oid(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (out.scheme.oid == OID_PBES2 || out.scheme.oid == OID_PBMAC1) {
        read_derived_key_params(in.enter(asn_tag_t::SEQUENCE), out);
    } else if (in.next_is(asn_tag_t::SEQUENCE)) {
        read_pbe1_params(in.enter(asn_tag_t::SEQUENCE), out);
    }
    out.declined = decline(algorithm, out);
    return out;
}

std::string decline_derivation(unsigned int salt_size, unsigned int iterations) {
    if (salt_size == 0) {
        return "has an empty salt";
    }
    if (iterations == 0) {
        return "has an iteration count of 0";
    }
    if (iterations > gost_pbe_crypto_t::MAX_ITERATIONS) {
        return "asks for " + std::to_string(iterations) + " iterations; at most " +
               std::to_string(gost_pbe_crypto_t::MAX_ITERATIONS) + " are accepted";
    }
    return "";
}
