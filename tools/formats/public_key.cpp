#include "formats/public_key.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <string_view>

#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"
#include "formats/algorithm_name.h"
#include "formats/gost_param_sets.h"
#include "io/bytes.h"

namespace {

constexpr std::string_view EC_PUBLIC_KEY = "1.2.840.10045.2.1"; // RFC 5480 2.1.1
constexpr unsigned int MAX_GOST_PARAM_SETS = 3;

using read_details_t = bool (*)(const asn_pubkey_t& key, public_key_t& out);

struct details_row_t {
    pki_alg_t alg;
    read_details_t read;
};

// Bits of a number without regard to its sign.
unsigned int count_bits(std::string_view octets_of_number) {
    const std::size_t begin = octets_of_number.find_first_not_of('\0');
    if (begin == std::string_view::npos) {
        return 0;
    }
    const unsigned int octets_behind_first = size_of(octets_of_number.substr(begin + 1));
    const unsigned char first = static_cast<unsigned char>(octets_of_number[begin]);
    return 8 * octets_behind_first + static_cast<unsigned int>(std::bit_width(first));
}

bool read_rsa(const asn_pubkey_t& key, public_key_t& out) {
    asn_rsa_pubkey_t rsa;
    if (asn_read_rsa_pubkey(key, rsa) == 0) {
        return false;
    }
    out.bits = count_bits(chars(rsa.modulus));
    return out.bits != 0;
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

// GostR3410-PublicKeyParameters ::= SEQUENCE {                             RFC 4491 2.3.2, RFC 9215 4.2
//   publicKeyParamSet OBJECT IDENTIFIER, digestParamSet OBJECT IDENTIFIER OPTIONAL,
//   encryptionParamSet OBJECT IDENTIFIER OPTIONAL }
// Without the digest, as GOST R 34.10-2012 has it, asn_read_gost_pubkey() takes no key.
bool read_gost(const asn_pubkey_t& key, public_key_t& out) {
    asn_cursor_t in(key.parameters);
    asn_cursor_t parameters = in.enter(asn_tag_t::SEQUENCE);
    while (out.param_sets.size() < MAX_GOST_PARAM_SETS && parameters.next_is(asn_tag_t::OBJECT_IDENTIFIER)) {
        const blob_t oid = parameters.read(asn_tag_t::OBJECT_IDENTIFIER);
        if (parameters.ok()) {
            out.param_sets.push_back({name_oid(oid).oid, std::string(gost_param_set_name(oid))});
        }
    }
    // A point is two numbers of the key's size.
    asn_cursor_t bits(key.key);
    out.bits = 4 * bits.read(asn_tag_t::OCTET_STRING).size;
    return parameters.ok() && !out.param_sets.empty() && out.bits != 0;
}

// ECParameters ::= CHOICE { namedCurve OBJECT IDENTIFIER, ... }            RFC 5480 2.1.1
void read_curve(const asn_pubkey_t& key, public_key_t& out) {
    asn_cursor_t in(key.parameters);
    const blob_t curve = in.read(asn_tag_t::OBJECT_IDENTIFIER);
    if (in.ok()) {
        out.curve = name_oid(curve);
    }
}

constexpr details_row_t DETAILS[] = {
    {PKI_ALG_RSA, read_rsa},
    {PKI_ALG_RSASSA_PSS, read_rsa},
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
    const auto* const row =
        std::find_if(std::begin(DETAILS), std::end(DETAILS), [&](const details_row_t& r) { return r.alg == alg; });
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

bool read_public_key(const blob_t& der, const oid_map_handle_t& map, public_key_t& out, std::string& problem) {
    out.algorithm = name_key_algorithm(algorithm_of(der), map).value_or(named_oid_t());
    asn_pubkey_t key;
    // An empty BIT STRING is read too, with a size that wrapped.
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

void add_public_key(const public_key_t& key, record_t& record) {
    static constexpr const char* KEYS[MAX_GOST_PARAM_SETS][2] = {
        {"param_set", "param_set_oid"},
        {"digest_param_set", "digest_param_set_oid"},
        {"encryption_param_set", "encryption_param_set_oid"},
    };
    if (key.algorithm.oid.empty()) {
        return;
    }
    add_named("public_key_algorithm", "public_key_algorithm_oid", key.algorithm, record);
    if (key.bits != 0) {
        record.add("public_key_bits", key.bits);
    }
    for (std::size_t i = 0; i < key.param_sets.size(); ++i) {
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): there are never more sets than rows
        add_named(KEYS[i][0], KEYS[i][1], key.param_sets[i], record);
    }
    if (key.curve.has_value()) {
        add_named("curve", "curve_oid", *key.curve, record);
    }
}
