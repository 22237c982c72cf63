// The MAC of a container: MacData of RFC 7292, with keys also as R 50.1.112-2016 derives them.
#include "gost/der.h"
#include "gost/scheme_tables.h"
#include "gost/schemes.h"

namespace derkit::gost {

namespace {

constexpr std::size_t PBKDF2_OCTETS = 96; // of which the last are the key
constexpr std::size_t PBKDF2_KEY_SIZE = 32;

// What a MAC covers in either form.
std::string_view covered(std::string_view octet_string, container_form form) {
    asn_cursor_t in(blob_of(octet_string));
    return form == container_form::native ? octet_string : text_of(in.read(asn_tag_t::OCTET_STRING));
}

result<secret> mac_key_of(session& under, mac_key from, digest_id digest, std::string_view salt,
                          std::uint32_t iterations) {
    return from == mac_key::pbkdf2
               ? pbkdf2_mac_key(under, digest, salt, iterations)
               : under.pkcs12_key(digest, pkcs12_purpose::MAC, salt, iterations, digest_size(digest));
}

// Tries both forms; cause::wrong_mac when neither fits.
result<container_form> find_form(digest_id digest, const secret& key, const pkcs12_mac_t& mac,
                                 std::string_view octet_string) {
    for (const container_form form : {container_form::standard, container_form::native}) {
        const result<secret> expected = hmac(digest, key, covered(octet_string, form));
        if (!expected) {
            return expected.error();
        }
        if (equal_in_constant_time(*expected, text_of(mac.digest))) {
            return form;
        }
    }
    return cause::wrong_mac;
}

result<verified_mac> verify_with(session& under, mac_key from, digest_id digest, const pkcs12_mac_t& mac,
                                 std::string_view octet_string) {
    const result<secret> key = mac_key_of(under, from, digest, text_of(mac.salt), mac.iterations);
    if (!key) {
        return key.error();
    }
    const result<container_form> form = find_form(digest, *key, mac, octet_string);
    if (!form) {
        return form.error();
    }
    return verified_mac{from, *form};
}

failure refusal_of(const mac_row* row, const pkcs12_mac_t& mac, const named_oid& digest, const limits& cost) {
    if (digest.oid.empty()) {
        return {cause::malformed_parameters, "MacData"};
    }
    if (row == nullptr) {
        return {cause::unsupported_mac, digest.oid};
    }
    if (mac.digest.size != digest_size(row->digest) || mac.salt.size == 0 || mac.iterations == 0) {
        return {cause::malformed_parameters, "MacData"};
    }
    const bool too_many = mac.iterations > cost.max_iterations;
    return too_many ? failure{cause::too_many_iterations, std::to_string(mac.iterations)} : failure();
}

named_oid digest_of(const pkcs12_mac_t& mac) {
    return name_scheme_oid(asn_cursor_t(mac.digest_alg).read(asn_tag_t::OBJECT_IDENTIFIER));
}

} // namespace

result<secret> pbkdf2_mac_key(session& under, digest_id digest, std::string_view salt, std::uint32_t iterations) {
    result<secret> key = under.pbkdf2_key(digest, salt, iterations, PBKDF2_OCTETS);
    if (key) {
        key->remove_prefix(PBKDF2_OCTETS - PBKDF2_KEY_SIZE);
    }
    return key;
}

mac_scheme outline_mac(const pkcs12_mac_t& mac, const limits& cost) {
    mac_scheme outline;
    outline.digest = digest_of(mac);
    outline.iterations = mac.iterations;
    outline.salt_size = mac.salt.size;
    failure refused = refusal_of(find_row(MACS, outline.digest.oid), mac, outline.digest, cost);
    if (refused.why != cause::none) {
        outline.unsupported = std::move(refused);
    }
    return outline;
}

result<verified_mac> verify_mac(session& under, const pkcs12_mac_t& mac, std::string_view octet_string) {
    const named_oid digest = digest_of(mac);
    const mac_row* const row = find_row(MACS, digest.oid);
    if (failure refused = refusal_of(row, mac, digest, under.cost()); refused.why != cause::none) {
        return refused;
    }
    const result<verified_mac> first =
        verify_with(under, row->by_pbkdf2 ? mac_key::pbkdf2 : mac_key::pkcs12_kdf, row->digest, mac, octet_string);
    result<verified_mac> verified = first;
    if (row->by_pbkdf2 && verified.why() == cause::wrong_mac) {
        verified = verify_with(under, mac_key::pkcs12_kdf, row->digest, mac, octet_string);
    }
    if (verified.why() == cause::wrong_mac && under.swap_empty_and_none()) {
        verified = verify_with(under, mac_key::pkcs12_kdf, row->digest, mac, octet_string);
    }
    // Only the usual derivation was affordable, and it did not match: most likely the password is wrong.
    return verified.why() == cause::budget_exhausted ? first : verified;
}

// MacData ::= SEQUENCE { mac DigestInfo, macSalt OCTET STRING, iterations INTEGER DEFAULT 1 }        RFC 7292 A
// DigestInfo ::= SEQUENCE { digestAlgorithm AlgorithmIdentifier, digest OCTET STRING }               RFC 2315 9.4
result<std::string> make_mac_data(session& under, const write_options& options, std::string_view covered_octets) {
    const format_row* const format = find_format(options.to);
    if (format == nullptr) {
        return failure{cause::invalid_argument, "format"};
    }
    const mac_row& row = *find_row(MACS, format->mac);
    const std::uint32_t iterations = iterations_of(options, *format);
    const result<std::string> salt = random_octets(SALT_SIZE);
    if (!salt) {
        return salt.error();
    }
    const mac_key from = row.by_pbkdf2 ? mac_key::pbkdf2 : mac_key::pkcs12_kdf;
    const result<secret> key = mac_key_of(under, from, row.digest, *salt, iterations);
    if (!key) {
        return key.error();
    }
    const result<secret> mac = hmac(row.digest, *key, covered_octets);
    if (!mac) {
        return mac.error();
    }
    const std::string null = row.null_parameters ? der(asn_tag_t::NULL_VALUE, {}) : std::string();
    const std::string algorithm = der(asn_tag_t::SEQUENCE, {der_oid(row.oid), null});
    const std::string digest_info = der(asn_tag_t::SEQUENCE, {algorithm, der(asn_tag_t::OCTET_STRING, {*mac})});
    const std::string count = iterations != 1 ? der_integer(iterations) : std::string();
    return der(asn_tag_t::SEQUENCE, {digest_info, der(asn_tag_t::OCTET_STRING, {*salt}), count});
}

} // namespace derkit::gost
