#include "gost/key_info.h"

#include <algorithm>
#include <iterator>

#include "asn/asn_cursor.h"
#include "gost/curve.h"
#include "gost/der.h"

namespace derkit::gost {

namespace {

constexpr auto CONTEXT_1_PRIMITIVE = asn_tag_t::Type(0x81);

// More than any program writes, and few enough to be multiplied quickly.
constexpr std::size_t MAX_MASKS = 16;

// RFC 4491 2.3.2, RFC 9215 4. Some programs keep a key under the identifier of its key agreement. The first row of a
// family is what is written for a new key.
constexpr family_row FAMILIES[] = {
    {"1.2.643.2.2.19", "GOST R 34.10-2001", key_family::gost2001, 32},
    {"1.2.643.7.1.1.1.1", "GOST R 34.10-2012 256", key_family::gost2012_256, 32},
    {"1.2.643.7.1.1.1.2", "GOST R 34.10-2012 512", key_family::gost2012_512, 64},
    {"1.2.643.2.2.98", "GOST R 34.10-2001 key agreement", key_family::gost2001, 32},
    {"1.2.643.7.1.1.6.1", "GOST R 34.10-2012 256 key agreement", key_family::gost2012_256, 32},
    {"1.2.643.7.1.1.6.2", "GOST R 34.10-2012 512 key agreement", key_family::gost2012_512, 64},
};

struct digest_param_set_row {
    std::string_view oid;
    std::string_view name;
};

constexpr digest_param_set_row DIGEST_PARAM_SETS[] = {
    {"1.2.643.2.2.30.0", "id-GostR3411-94-TestParamSet"},
    {"1.2.643.2.2.30.1", "id-GostR3411-94-CryptoProParamSet"},
    {"1.2.643.7.1.1.2.2", "id-tc26-gost3411-12-256"},
    {"1.2.643.7.1.1.2.3", "id-tc26-gost3411-12-512"},
};

named_oid curve_name(const std::string& oid) {
    const curve_row* const curve = find_curve(oid);
    return {oid, curve != nullptr ? std::string(curve->name) : std::string()};
}

named_oid digest_name(const std::string& oid) {
    const auto* const found = std::find_if(std::begin(DIGEST_PARAM_SETS), std::end(DIGEST_PARAM_SETS),
                                           [&oid](const digest_param_set_row& row) { return row.oid == oid; });
    return {oid, found != std::end(DIGEST_PARAM_SETS) ? std::string(found->name) : std::string()};
}

bool is_key_with_masks(std::string_view octets, std::size_t size) {
    return !octets.empty() && octets.size() % size == 0 && octets.size() / size <= MAX_MASKS + 1;
}

std::optional<shaped_key> little_endian_key(key_shape shape, std::string_view octets, std::size_t size) {
    if (!is_key_with_masks(octets, size)) {
        return std::nullopt;
    }
    return shaped_key{octets.size() == size ? shape : key_shape::masked, false, octets, {}};
}

// Some writers leave out the zero octet that keeps the number positive, so an INTEGER is never negative here.
std::optional<shaped_key> integer_key(std::string_view content, std::size_t size) {
    const std::size_t num_zeros = std::min(content.find_first_not_of('\0'), content.size());
    const std::string_view number = content.substr(num_zeros);
    if (content.empty() || number.size() > size) {
        return std::nullopt;
    }
    return shaped_key{key_shape::integer, true, number, {}};
}

// GostR3410-2012-KeyValueInfo ::= SEQUENCE {                                                        RFC 9548
//   GostR3410-2012-KeyValueMask, GostR3410-2012-PublicKey }
// Both are OCTET STRINGs.
std::optional<shaped_key> key_with_public_key(asn_cursor_t info, std::size_t size) {
    const std::string_view octets = text_of(info.read(asn_tag_t::OCTET_STRING));
    const std::string_view public_key = text_of(info.read(asn_tag_t::OCTET_STRING));
    if (!info.ok() || !info.empty() || public_key.size() != 2 * size) {
        return std::nullopt;
    }
    std::optional<shaped_key> key = little_endian_key(key_shape::octet_string, octets, size);
    if (key.has_value()) {
        key->public_key = public_key;
    }
    return key;
}

// Octets of the size of keys are keys, even if they look like DER: an OCTET STRING or INTEGER around a key is longer,
// and with its masks it has another size.
std::optional<shaped_key> recognise_key(std::string_view content, std::size_t size) {
    if (is_key_with_masks(content, size)) {
        return little_endian_key(key_shape::octets, content, size);
    }
    asn_cursor_t in(blob_of(content));
    std::optional<shaped_key> key;
    if (in.next_is(asn_tag_t::OCTET_STRING)) {
        key = little_endian_key(key_shape::octet_string, text_of(in.read(asn_tag_t::OCTET_STRING)), size);
    } else if (in.next_is(asn_tag_t::INTEGER)) {
        key = integer_key(text_of(in.read(asn_tag_t::INTEGER)), size);
    } else {
        key = key_with_public_key(in.enter(asn_tag_t::SEQUENCE), size);
    }
    return in.ok() && in.empty() ? key : std::nullopt;
}

// The BIT STRING of a SubjectPublicKeyInfo holds an OCTET STRING with x and y; some writers leave the latter out.
std::string_view point_of(std::string_view bits) {
    const std::string_view octets = bits.substr(std::min<std::size_t>(1, bits.size()));
    asn_cursor_t in(blob_of(octets));
    const std::string_view content = text_of(in.read(asn_tag_t::OCTET_STRING));
    return in.ok() && in.empty() ? content : octets;
}

// What may follow privateKey: attributes [0], publicKey [1] IMPLICIT BIT STRING. Anything else is ignored.
void read_optional_fields(asn_cursor_t& in, key_info& out) {
    while (in.ok() && !in.empty()) {
        if (in.next_is(CONTEXT_1_PRIMITIVE)) {
            out.public_key = point_of(text_of(in.read(CONTEXT_1_PRIMITIVE)));
        } else {
            out.has_attributes = out.has_attributes || in.next_is(asn_tag_t::CONTEXT_0);
            in.skip(asn_tag_t::ANY);
        }
    }
}

} // namespace

const family_row* find_family(std::string_view oid) {
    const auto* const found =
        std::find_if(std::begin(FAMILIES), std::end(FAMILIES), [oid](const family_row& row) { return row.oid == oid; });
    return found != std::end(FAMILIES) ? found : nullptr;
}

const family_row& row_of(key_family family) {
    return *std::find_if(std::begin(FAMILIES), std::end(FAMILIES) - 1,
                         [family](const family_row& row) { return row.family == family; });
}

// GostR3410-2012-PublicKeyParameters ::= SEQUENCE {                                                 RFC 9215 4
//   publicKeyParamSet OBJECT IDENTIFIER, digestParamSet OBJECT IDENTIFIER OPTIONAL }
// RFC 4491 has an encryptionParamSet after them, which is ignored.
key_param_sets read_param_sets(std::string_view parameters) {
    key_param_sets out;
    asn_cursor_t in(blob_of(parameters));
    asn_cursor_t sets = in.enter(asn_tag_t::SEQUENCE);
    out.curve = curve_name(dotted_of(sets.read(asn_tag_t::OBJECT_IDENTIFIER)));
    if (sets.next_is(asn_tag_t::OBJECT_IDENTIFIER)) {
        out.digest = digest_name(dotted_of(sets.read(asn_tag_t::OBJECT_IDENTIFIER)));
    }
    return out;
}

// OneAsymmetricKey ::= SEQUENCE {                                                                   RFC 5958 2
//   version Version, privateKeyAlgorithm AlgorithmIdentifier, privateKey OCTET STRING,
//   attributes [0] IMPLICIT Attributes OPTIONAL, publicKey [1] IMPLICIT BIT STRING OPTIONAL }
// Any version is accepted: some writers have a public key in version 0.
result<key_info> read_key_info(std::string_view der) {
    key_info out;
    asn_cursor_t in(blob_of(der));
    asn_cursor_t info = in.enter(asn_tag_t::SEQUENCE);
    info.skip(asn_tag_t::INTEGER);
    asn_cursor_t algorithm = info.enter(asn_tag_t::SEQUENCE);
    out.algorithm_oid = text_of(algorithm.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (!algorithm.empty()) {
        out.parameters = text_of(algorithm.rest());
        algorithm.skip(asn_tag_t::ANY);
    }
    const std::string_view content = text_of(info.read(asn_tag_t::OCTET_STRING));
    read_optional_fields(info, out);
    const bool whole_parameters =
        out.parameters.empty() || is_whole_der(out.parameters, asn_tag_t::ANY, strings::OPAQUE);
    if (!in.ok() || !in.empty() || !algorithm.ok() || !algorithm.empty() || !info.ok() || !whole_parameters) {
        return cause::malformed;
    }
    const std::string dotted = dotted_of(blob_of(out.algorithm_oid));
    out.family = find_family(dotted);
    out.algorithm = {dotted, out.family != nullptr ? std::string(out.family->name) : std::string()};
    if (out.family == nullptr) {
        return out;
    }
    out.param_sets = read_param_sets(out.parameters);
    out.key = recognise_key(content, out.family->size);
    if (out.key.has_value() && !out.key->public_key.empty()) {
        out.public_key = out.key->public_key;
    }
    return out;
}

bool is_encrypted_key_info(std::string_view der) {
    asn_cursor_t in(blob_of(der));
    return in.enter(asn_tag_t::SEQUENCE).next_is(asn_tag_t::SEQUENCE);
}

// EncryptedPrivateKeyInfo ::= SEQUENCE {                                                            RFC 5958 3
//   encryptionAlgorithm AlgorithmIdentifier, encryptedData OCTET STRING }
result<encrypted_key_info> read_encrypted_key_info(std::string_view der) {
    encrypted_key_info out;
    asn_cursor_t in(blob_of(der));
    asn_cursor_t info = in.enter(asn_tag_t::SEQUENCE);
    out.algorithm = info.read(asn_tag_t::SEQUENCE);
    out.ciphertext = info.read(asn_tag_t::OCTET_STRING);
    if (!info.ok() || !info.empty() || !in.empty()) {
        return cause::malformed;
    }
    return out;
}

std::string write_encrypted_key_info(const encrypted& made) {
    return der(asn_tag_t::SEQUENCE, {made.algorithm, der(asn_tag_t::OCTET_STRING, {made.ciphertext})});
}

// Certificate ::= SEQUENCE { tbsCertificate TBSCertificate, ... }                                   RFC 5280 4.1
// TBSCertificate ::= SEQUENCE { version [0] OPTIONAL, serialNumber INTEGER, signature AlgorithmIdentifier,
//   issuer Name, validity Validity, subject Name, subjectPublicKeyInfo SubjectPublicKeyInfo, ... }
// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
result<certificate_key> read_certificate_key(std::string_view certificate) {
    certificate_key out;
    asn_cursor_t in(blob_of(certificate));
    asn_cursor_t tbs = in.enter(asn_tag_t::SEQUENCE).enter(asn_tag_t::SEQUENCE);
    if (tbs.next_is(asn_tag_t::CONTEXT_0)) {
        tbs.skip(asn_tag_t::CONTEXT_0);
    }
    tbs.skip(asn_tag_t::INTEGER);
    for (int i = 0; i < 4; ++i) { // signature, issuer, validity, subject
        tbs.skip(asn_tag_t::SEQUENCE);
    }
    asn_cursor_t info = tbs.enter(asn_tag_t::SEQUENCE);
    asn_cursor_t algorithm = info.enter(asn_tag_t::SEQUENCE);
    out.algorithm = dotted_of(algorithm.read(asn_tag_t::OBJECT_IDENTIFIER));
    out.octets = point_of(text_of(info.read(asn_tag_t::BIT_STRING)));
    if (!info.ok() || !algorithm.ok()) {
        return cause::malformed;
    }
    return out;
}

} // namespace derkit::gost
