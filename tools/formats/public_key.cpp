#include "formats/public_key.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <string_view>

#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"
#include "derkit/asn_printable.h"
#include "derkit/int2str.h"
#include "io/bytes.h"

namespace {

constexpr std::string_view EC_PUBLIC_KEY = "1.2.840.10045.2.1"; // RFC 5480 2.1.1

// The first field of an AlgorithmIdentifier: content, and all of the element.
struct algorithm_oid_t {
    blob_t content;
    blob_t element;
};

std::optional<algorithm_oid_t> read_oid(const blob_t& algorithm) {
    asn_cursor_t in(algorithm);
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    asn_cursor_t same_fields = fields;
    algorithm_oid_t oid;
    fields.read(asn_tag_t::OBJECT_IDENTIFIER, oid.content);
    same_fields.read_element(asn_tag_t::OBJECT_IDENTIFIER, oid.element);
    return fields.ok() ? std::optional(oid) : std::nullopt;
}

// An OID without a name in the map is printed dotted.
std::string name_in_map(const blob_t& oid_element, const std::string& dotted, const oid_map_handle_t& map) {
    std::string name;
    const bool done = asn_oid_to_printable(oid_element.data, oid_element.size, name, false, map);
    return done && name != dotted ? name : "";
}

named_oid_t name_algorithm(pki_alg_t alg, const algorithm_oid_t& oid, const oid_map_handle_t& map) {
    named_oid_t named = name_oid(oid.content);
    const char* const known = I2S_PKI_ALG_T->getString(alg, nullptr);
    const std::string name = known != nullptr ? known : name_in_map(oid.element, named.oid, map);
    if (!name.empty()) {
        named.name = name;
    }
    return named;
}

// The parameters of RSASSA-PSS may name a hash that has no code: then the OID alone counts.
pki_alg_t signature_alg(const blob_t& algorithm, const blob_t& oid) {
    asn_ike_signalg_t signature;
    const bool done = asn_read_ike_signalg(algorithm.data, algorithm.size, signature) != 0;
    const pki_alg_t refined = done ? signature.to_pki_alg() : PKI_ALG_UNKNOWN;
    return refined != PKI_ALG_UNKNOWN ? refined : PKI_OID_TO_CERT_SIGN_ALG(oid.data, oid.size);
}

// A key for RSASSA-PSS alone has the OID of the signatures (RFC 4055 3.1).
pki_alg_t key_alg(const blob_t& oid) {
    const pki_alg_t alg = PKI_OID_TO_KEY_ALG(oid.data, oid.size);
    return alg != PKI_ALG_UNKNOWN ? alg : PKI_OID_TO_ALG(oid.data, oid.size);
}

std::optional<named_oid_t> name_key_algorithm(const blob_t& algorithm, const oid_map_handle_t& map) {
    const std::optional<algorithm_oid_t> oid = read_oid(algorithm);
    return oid.has_value() ? std::optional(name_algorithm(key_alg(oid->content), *oid, map)) : std::nullopt;
}

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
    const unsigned int octets_after_first = size_of(octets_of_number.substr(begin + 1));
    const unsigned char first = static_cast<unsigned char>(octets_of_number[begin]);
    return 8 * octets_after_first + static_cast<unsigned int>(std::bit_width(first));
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

// Without the digest's set, which GOST R 34.10-2012 may omit, asn_read_gost_pubkey() refuses the key.
bool read_gost(const asn_pubkey_t& key, public_key_t& out) {
    asn_cursor_t in(key.parameters);
    asn_cursor_t parameters = in.enter(asn_tag_t::SEQUENCE);
    out.param_sets = read_gost_param_sets(parameters);
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

std::optional<named_oid_t> name_signature_algorithm(const blob_t& algorithm, const oid_map_handle_t& map) {
    const std::optional<algorithm_oid_t> oid = read_oid(algorithm);
    return oid.has_value() ? std::optional(name_algorithm(signature_alg(algorithm, oid->content), *oid, map))
                           : std::nullopt;
}

bool read_public_key(const blob_t& der, const oid_map_handle_t& map, public_key_t& out, std::string& problem) {
    out.algorithm = name_key_algorithm(algorithm_of(der), map).value_or(named_oid_t());
    asn_pubkey_t key;
    // The library reads an empty BIT STRING too, with a size that wrapped.
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
