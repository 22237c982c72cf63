#include "formats/public_key.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <string_view>

#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"
#include "derkit/asn_reader.h"
#include "derkit/int2str.h"
#include "io/bytes.h"

namespace {

constexpr std::string_view EC_PUBLIC_KEY = "1.2.840.10045.2.1"; // RFC 5480 2.1.1
constexpr std::string_view PRIME_FIELD = "1.2.840.10045.1.1";   // RFC 3279 2.3.5
constexpr std::string_view CHARACTERISTIC_TWO_FIELD = "1.2.840.10045.1.2";
constexpr const char* MGF1 = "1.2.840.113549.1.1.8"; // RFC 4055 2.2

// The content of the first field of an AlgorithmIdentifier.
std::optional<blob_t> read_oid(const blob_t& algorithm) {
    asn_cursor_t in(algorithm);
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    const blob_t oid = fields.read(asn_tag_t::OBJECT_IDENTIFIER);
    return fields.ok() ? std::optional(oid) : std::nullopt;
}

// The name of the algorithm that was recognised, else that of any algorithm with the OID, else that of the dictionary.
named_oid_t name_algorithm(pki_alg_t alg, const blob_t& oid) {
    named_oid_t named = name_oid(oid);
    const char* const other = I2S_PKI_ALG_T->getString(PKI_OID_TO_ALG(oid.data, oid.size), named.name.c_str());
    named.name = std::string(I2S_PKI_ALG_T->getString(alg, other));
    return named;
}

// The parameters of RSASSA-PSS may name a hash without a code: then only the OID counts.
pki_alg_t signature_alg(const blob_t& algorithm, const blob_t& oid) {
    asn_ike_signalg_t signature;
    const bool done = asn_read_ike_signalg(algorithm.data, algorithm.size, signature) != 0;
    const pki_alg_t refined = done ? signature.to_pki_alg() : PKI_ALG_UNKNOWN;
    return refined != PKI_ALG_UNKNOWN ? refined : PKI_OID_TO_CERT_SIGN_ALG(oid.data, oid.size);
}

// A key for RSASSA-PSS only has the OID of the signatures (RFC 4055 3.1).
pki_alg_t key_alg(const blob_t& oid) {
    const pki_alg_t alg = PKI_OID_TO_KEY_ALG(oid.data, oid.size);
    return alg != PKI_ALG_UNKNOWN ? alg : PKI_OID_TO_ALG(oid.data, oid.size);
}

std::optional<named_oid_t> name_key_algorithm(const blob_t& algorithm) {
    const std::optional<blob_t> oid = read_oid(algorithm);
    return oid.has_value() ? std::optional(name_algorithm(key_alg(*oid), *oid)) : std::nullopt;
}

using read_details_t = bool (*)(const asn_pubkey_t& key, public_key_t& out);

struct details_row_t {
    pki_alg_t alg;
    read_details_t read;
};

// The bits of a number, taken as unsigned.
unsigned int count_bits(std::string_view octets_of_number) {
    const std::size_t begin = octets_of_number.find_first_not_of('\0');
    if (begin == std::string_view::npos) {
        return 0;
    }
    const unsigned int octets_after_first = size_of(octets_of_number.substr(begin + 1));
    const unsigned char first = static_cast<unsigned char>(octets_of_number[begin]);
    return 8 * octets_after_first + static_cast<unsigned int>(std::bit_width(first));
}

bool read_rsa(const asn_pubkey_t& key, public_key_t& out) {
    asn_rsa_pubkey_t rsa;
    if (asn_read_rsa_pubkey(key, rsa) == 0) {
        return false;
    }
    out.modulus = rsa.modulus;
    out.exponent = rsa.exponent;
    out.bits = count_bits(chars(rsa.modulus));
    return out.bits != 0;
}

// The content of the next field, if it has this tag; empty, with the cursor where it was, if it is left out.
asn_cursor_t enter_optional(asn_cursor_t& fields, asn_tag_t::Type tag) {
    return fields.next_is(tag) ? fields.enter(tag) : asn_cursor_t(blob_t());
}

// AlgorithmIdentifier, moved to the field after the OID.
named_oid_t read_algorithm(asn_cursor_t& algorithm) {
    return name_oid(algorithm.read(asn_tag_t::OBJECT_IDENTIFIER));
}

// HashAlgorithm ::= AlgorithmIdentifier
bool read_hash(asn_cursor_t in, named_oid_t& hash) {
    asn_cursor_t algorithm = in.enter(asn_tag_t::SEQUENCE);
    hash = read_algorithm(algorithm);
    return algorithm.ok();
}

// MaskGenAlgorithm ::= AlgorithmIdentifier, with a HashAlgorithm for MGF1
bool read_mask(asn_cursor_t in, pss_params_t& out) {
    asn_cursor_t algorithm = in.enter(asn_tag_t::SEQUENCE);
    out.mask = read_algorithm(algorithm);
    out.mask_hash = named_oid_t();
    return algorithm.ok() && (out.mask.oid != MGF1 || read_hash(algorithm, out.mask_hash));
}

bool read_salt_size(asn_cursor_t in, unsigned int& size) {
    const blob_t content = in.read(asn_tag_t::INTEGER);
    return in.ok() && asn_read_INTEGER(content.data, content.size, size, 0xFFFFFF);
}

// RSASSA-PSS-params ::= SEQUENCE {                                         RFC 4055 3.1
//   hashAlgorithm [0] HashAlgorithm DEFAULT sha1, maskGenAlgorithm [1] MaskGenAlgorithm DEFAULT mgf1SHA1,
//   saltLength [2] INTEGER DEFAULT 20, trailerField [3] INTEGER DEFAULT 1 }
bool read_pss_params(asn_cursor_t params, pss_params_t& out) {
    const named_oid_t sha1 = {"1.3.14.3.2.26", "SHA-1"};
    out = {sha1, {MGF1, "MGF1"}, sha1, 20};
    const asn_cursor_t hash = enter_optional(params, asn_tag_t::CONTEXT_0);
    const asn_cursor_t mask = enter_optional(params, asn_tag_t::CONTEXT_1);
    const asn_cursor_t salt_size = enter_optional(params, asn_tag_t::CONTEXT_2);
    return params.ok() && (hash.empty() || read_hash(hash, out.hash)) && (mask.empty() || read_mask(mask, out)) &&
           (salt_size.empty() || read_salt_size(salt_size, out.salt_size));
}

// Without parameters the key is for any hash and salt.
bool read_rsa_pss(const asn_pubkey_t& key, public_key_t& out) {
    if (!read_rsa(key, out)) {
        return false;
    }
    if (key.parameters.size == 0) {
        return true;
    }
    asn_cursor_t in(key.parameters);
    out.pss.emplace();
    return read_pss_params(in.enter(asn_tag_t::SEQUENCE), *out.pss);
}

// Dss-Parms ::= SEQUENCE { p INTEGER, q INTEGER, g INTEGER }               RFC 3279 2.3.2
// A key without them has those of its issuer.
bool read_dsa(const asn_pubkey_t& key, public_key_t& out) {
    if (key.parameters.size == 0) {
        return true;
    }
    asn_cursor_t in(key.parameters);
    asn_cursor_t parameters = in.enter(asn_tag_t::SEQUENCE);
    const blob_t p = parameters.read(asn_tag_t::INTEGER);
    out.bits = count_bits(chars(p));
    return out.bits != 0;
}

// asn_read_gost_pubkey() refuses a key without the digest's set, which GOST R 34.10-2012 may omit.
bool read_gost(const asn_pubkey_t& key, public_key_t& out) {
    asn_cursor_t in(key.parameters);
    asn_cursor_t parameters = in.enter(asn_tag_t::SEQUENCE);
    out.param_sets = read_gost_param_sets(parameters);
    // A point is two numbers of the key's size.
    asn_cursor_t bits(key.key);
    out.bits = 4 * bits.read(asn_tag_t::OCTET_STRING).size;
    return parameters.ok() && !out.param_sets.empty() && out.bits != 0;
}

struct curve_t {
    std::string_view oid;
    unsigned int bits; // of the field
};

// RFC 5480 2.1.1.1, SEC 2, RFC 5639 4.1
constexpr curve_t CURVES[] = {
    {"1.2.840.10045.3.1.1", 192},   {"1.2.840.10045.3.1.7", 256},   {"1.3.132.0.1", 163},
    {"1.3.132.0.10", 256},          {"1.3.132.0.15", 163},          {"1.3.132.0.16", 283},
    {"1.3.132.0.17", 283},          {"1.3.132.0.26", 233},          {"1.3.132.0.27", 233},
    {"1.3.132.0.33", 224},          {"1.3.132.0.34", 384},          {"1.3.132.0.35", 521},
    {"1.3.132.0.36", 409},          {"1.3.132.0.37", 409},          {"1.3.132.0.38", 571},
    {"1.3.132.0.39", 571},          {"1.3.36.3.3.2.8.1.1.1", 160},  {"1.3.36.3.3.2.8.1.1.2", 160},
    {"1.3.36.3.3.2.8.1.1.3", 192},  {"1.3.36.3.3.2.8.1.1.4", 192},  {"1.3.36.3.3.2.8.1.1.5", 224},
    {"1.3.36.3.3.2.8.1.1.6", 224},  {"1.3.36.3.3.2.8.1.1.7", 256},  {"1.3.36.3.3.2.8.1.1.8", 256},
    {"1.3.36.3.3.2.8.1.1.9", 320},  {"1.3.36.3.3.2.8.1.1.10", 320}, {"1.3.36.3.3.2.8.1.1.11", 384},
    {"1.3.36.3.3.2.8.1.1.12", 384}, {"1.3.36.3.3.2.8.1.1.13", 512}, {"1.3.36.3.3.2.8.1.1.14", 512},
};

unsigned int curve_bits(const named_oid_t& curve) {
    const auto* const found = std::ranges::find(CURVES, curve.oid, &curve_t::oid);
    return found != std::end(CURVES) ? found->bits : 0;
}

// FieldID ::= SEQUENCE { fieldType OBJECT IDENTIFIER, parameters ANY }     RFC 3279 2.3.5
// Prime-p ::= INTEGER; Characteristic-two ::= SEQUENCE { m INTEGER, ... }
unsigned int field_bits(asn_cursor_t field) {
    const std::string type = name_oid(field.read(asn_tag_t::OBJECT_IDENTIFIER)).oid;
    if (type == PRIME_FIELD) {
        return count_bits(chars(field.read(asn_tag_t::INTEGER)));
    }
    unsigned int bits = 0;
    if (type == CHARACTERISTIC_TWO_FIELD) {
        const blob_t m = field.enter(asn_tag_t::SEQUENCE).read(asn_tag_t::INTEGER);
        asn_read_INTEGER(m.data, m.size, bits, 0xFFFFFF);
    }
    return bits;
}

// ECParameters ::= CHOICE {                                                RFC 5480 2.1.1, RFC 3279 2.3.5
//   namedCurve OBJECT IDENTIFIER, specifiedCurve SEQUENCE { version INTEGER, fieldID FieldID, ... }, ... }
void read_curve(const asn_pubkey_t& key, public_key_t& out) {
    asn_cursor_t in(key.parameters);
    if (in.next_is(asn_tag_t::SEQUENCE)) {
        asn_cursor_t curve = in.enter(asn_tag_t::SEQUENCE);
        curve.skip(asn_tag_t::INTEGER);
        out.bits = field_bits(curve.enter(asn_tag_t::SEQUENCE));
        return;
    }
    const blob_t curve = in.read(asn_tag_t::OBJECT_IDENTIFIER);
    if (in.ok()) {
        out.curve = name_oid(curve);
        out.bits = curve_bits(*out.curve);
    }
}

constexpr details_row_t DETAILS[] = {
    {PKI_ALG_RSA, read_rsa},
    {PKI_ALG_RSASSA_PSS, read_rsa_pss},
    {PKI_ALG_DSA, read_dsa},
    {PKI_ALG_GOST_R_3410_2001, read_gost},
    {PKI_ALG_GOST_R_3410_2012_256, read_gost},
    {PKI_ALG_GOST_R_3410_2012_512, read_gost},
};

bool read_details(const asn_pubkey_t& key, public_key_t& out) {
    if (out.algorithm.oid == EC_PUBLIC_KEY) {
        read_curve(key, out);
        return true;
    }
    const pki_alg_t alg = PKI_OID_TO_ALG(key.algorithm.data, key.algorithm.size);
    const auto* const row = std::ranges::find(DETAILS, alg, &details_row_t::alg);
    return row == std::end(DETAILS) || row->read(key, out);
}

blob_t algorithm_of(const blob_t& der) {
    asn_cursor_t in(der);
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    blob_t algorithm;
    key_info.read_element(asn_tag_t::SEQUENCE, algorithm);
    return algorithm;
}

} // namespace

std::optional<named_oid_t> name_signature_algorithm(const blob_t& algorithm) {
    const std::optional<blob_t> oid = read_oid(algorithm);
    return oid.has_value() ? std::optional(name_algorithm(signature_alg(algorithm, *oid), *oid)) : std::nullopt;
}

bool read_public_key(const blob_t& der, public_key_t& out, std::string& problem) {
    out.algorithm = name_key_algorithm(algorithm_of(der)).value_or(named_oid_t());
    asn_pubkey_t key;
    // The library accepts an empty BIT STRING, with a size that wraps.
    if (out.algorithm.oid.empty() || asn_read_pubkey(der.data, static_cast<long>(der.size), key) == 0 ||
        key.key.size > der.size) {
        problem = "the public key is malformed";
        return false;
    }
    if (!read_details(key, out)) {
        problem = "the public key is no key of " + describe(out.algorithm);
        return false;
    }
    return true;
}
