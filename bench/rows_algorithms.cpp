// Public keys, DSA signatures, DigestInfo, algorithm identifiers of IKE.
#include "derkit/asn_helper.h"
#include "row.h"
#include "tasks.h"

namespace {

struct read_bare_rsa_key_t {
    asn_pubkey_t key;
    asn_rsa_pubkey_t numbers;
    void operator()(const rsa_key_t& input) {
        key.key = view_of(input.key_der);
        asn_read_rsa_pubkey(key, numbers);
    }
    std::string shown() const { return listed_numbers(chars_of(numbers.modulus), chars_of(numbers.exponent)); }
};

struct read_rsa_key_t : read_bare_rsa_key_t {
    void operator()(const rsa_key_t& input) {
        asn_read_pubkey(octets(input.spki_der), static_cast<long>(input.spki_der.size()), key);
        asn_read_rsa_pubkey(key, numbers);
    }
};

struct read_gost_key_t {
    asn_pubkey_t key;
    asn_gost_pubkey_t gost;
    void operator()(const gost_key_t& input) {
        asn_read_pubkey(octets(input.spki_der), static_cast<long>(input.spki_der.size()), key);
        asn_read_gost_pubkey(key, gost);
    }
    std::string shown() const {
        return gost_key_view_t{chars_of(gost.public_key_param_set), chars_of(gost.digest_param_set), chars_of(gost.key)}
            .shown();
    }
};

struct read_signature_t {
    asn_dsa_certsign_t signature;
    void operator()(const dsa_signature_t& input) {
        asn_read_dsa_certsign(octets(input.der), size32(input.der), signature);
    }
    std::string shown() const { return listed_numbers(chars_of(signature.r), chars_of(signature.s)); }
};

struct write_digest_t : output_t {
    void operator()(const digest_t& digest) {
        static constexpr pki_alg_t CODES[] = {PKI_ALG_SHA1, PKI_ALG_SHA256, PKI_ALG_SHA512};
        out.assign(digest.value);
        asn_add_alg_to_digest(out, CODES[digest.hash]);
    }
};

struct read_digest_t {
    asn_algorid_t algorithm;
    void operator()(const digest_t& digest) { asn_read_alg_from_digest(&algorithm, digest.der); }
    std::string shown() const { return std::string(chars_of(algorithm.oid)); }
};

struct read_ike_algorithm_t {
    unsigned int code = 0;
    void operator()(const ike_algorithm_t& input) {
        asn_ike_signalg_t algorithm;
        asn_read_ike_signalg(octets(input.der), size32(input.der), algorithm);
        code = algorithm.to_pki_alg();
    }
    std::string shown() const { return std::to_string(code); }
};

// A positive INTEGER; the number has no leading zero octets.
der_t unsigned_integer(const std::string& number) {
    const bool is_high = (static_cast<unsigned char>(number.at(0)) & 0x80) != 0;
    return der_element(0x02, (is_high ? std::string(1, '\0') : std::string()) + number);
}

der_t bit_string(const der_t& content) {
    return der_element(0x03, std::string(1, '\0') + encode(content));
}

der_t algorithm_with_null(const char* oid) {
    return der_sequence({der_oid(oid), der_null()});
}

std::string make_number(std::size_t size, unsigned int seed) {
    std::string bytes = noise(size, seed);
    bytes[0] = static_cast<char>(seed % 2 == 0 ? 0xC5 : 0x45);
    return bytes;
}

std::string_view without_zeros(std::string_view number) {
    while (number.size() > 1 && number.front() == '\0') {
        number.remove_prefix(1);
    }
    return number;
}

rsa_key_t make_rsa_key(unsigned int i) {
    const std::string modulus = make_number(i % 3 == 0 ? 512 : 256, 2 * i);
    const std::string exponent("\x01\x00\x01", 3);
    const der_t key = der_sequence({unsigned_integer(modulus), unsigned_integer(exponent)});
    const der_t spki = der_sequence({algorithm_with_null("1.2.840.113549.1.1.1"), bit_string(key)});
    return {modulus, exponent, encode(key), encode(spki)};
}

gost_key_t make_gost_key(unsigned int i) {
    const key_family_t& family = KEY_FAMILIES[i % 3];
    const der_t public_key_param_set = der_oid(family.public_key_param_set);
    const der_t digest_param_set = der_oid(OID_DIGEST_PARAM_SET);
    const std::string point = noise(2 * family.key_size, i);
    const der_t parameters = der_sequence({public_key_param_set, digest_param_set});
    const der_t spki =
        der_sequence({der_sequence({der_oid(family.algorithm), parameters}), bit_string(der_octet_string(point))});
    return {{encode(public_key_param_set), encode(digest_param_set), point}, encode(spki)};
}

dsa_signature_t make_dsa_signature(unsigned int i) {
    const std::size_t size = i % 2 == 0 ? 20 : 32;
    const std::string r = make_number(size, i);
    const std::string s = make_number(size, i + 101);
    return {r, s, encode(der_sequence({unsigned_integer(r), unsigned_integer(s)}))};
}

digest_t make_digest(unsigned int i) {
    constexpr std::size_t DIGEST_SIZES[] = {20, 32, 64};
    const std::string value = noise(DIGEST_SIZES[i % 3], i);
    const char* const oid = DIGEST_OIDS[i % 3];
    const der_t info = der_sequence({algorithm_with_null(oid), der_octet_string(value)});
    return {i % 3, value, encode(info), oid_content(oid)};
}

ike_algorithm_t ike_rsa(unsigned int code, const char* oid) {
    return {std::to_string(code), encode(algorithm_with_null(oid))};
}

ike_algorithm_t ike_pss(unsigned int code, const char* hash_oid, const char* salt_length) {
    const der_t hash = algorithm_with_null(hash_oid);
    const der_t mask = der_sequence({der_oid("1.2.840.113549.1.1.8"), hash});
    const der_t parameters = der_sequence({der_context_0({hash}), der_element(0xA1, der_members_t{mask}),
                                           der_element(0xA2, der_members_t{der_integer(salt_length)})});
    return {std::to_string(code), encode(der_sequence({der_oid("1.2.840.113549.1.1.10"), parameters}))};
}

std::vector<ike_algorithm_t> ike_algorithms() {
    return {ike_rsa(PKI_ALG_SHA1_RSA, "1.2.840.113549.1.1.5"),
            ike_rsa(PKI_ALG_SHA224_RSA, "1.2.840.113549.1.1.14"),
            ike_rsa(PKI_ALG_SHA256_RSA, "1.2.840.113549.1.1.11"),
            ike_rsa(PKI_ALG_SHA384_RSA, "1.2.840.113549.1.1.12"),
            ike_rsa(PKI_ALG_SHA512_RSA, "1.2.840.113549.1.1.13"),
            ike_pss(PKI_ALG_SHA256_RSASSA_PSS, "2.16.840.1.101.3.4.2.1", "20"),
            ike_pss(PKI_ALG_SHA384_RSASSA_PSS, "2.16.840.1.101.3.4.2.2", "30"),
            ike_pss(PKI_ALG_SHA512_RSASSA_PSS, "2.16.840.1.101.3.4.2.3", "40")};
}

} // namespace

std::string listed_numbers(std::string_view first, std::string_view second) {
    return upper_hex(without_zeros(first)) + " " + upper_hex(without_zeros(second));
}

std::string listed_ike_algorithm(int hash, const int (&hashes)[5], bool is_pss) {
    constexpr pki_alg_t RSA[] = {PKI_ALG_SHA1_RSA, PKI_ALG_SHA224_RSA, PKI_ALG_SHA256_RSA, PKI_ALG_SHA384_RSA,
                                 PKI_ALG_SHA512_RSA};
    constexpr pki_alg_t PSS[] = {PKI_ALG_SHA1_RSASSA_PSS, PKI_ALG_SHA224_RSASSA_PSS, PKI_ALG_SHA256_RSASSA_PSS,
                                 PKI_ALG_SHA384_RSASSA_PSS, PKI_ALG_SHA512_RSASSA_PSS};
    for (std::size_t i = 0; i < std::size(hashes); ++i) {
        if (hashes[i] == hash) {
            return std::to_string(is_pss ? PSS[i] : RSA[i]);
        }
    }
    return "refused";
}

void add_algorithm_rows(registry_t& registry) {
    const target_t none;
    registry.add_reader<read_rsa_key_t, asn_pubkey_t, asn_rsa_pubkey_t>(
        "SubjectPublicKeyInfo, RSA key", {0.80, "mbedTLS primitives"}, make_inputs(12, make_rsa_key), &rsa_key_t::shown,
        &rsa_key_t::spki_der);
    registry.add_reader<read_bare_rsa_key_t, asn_rsa_pubkey_t>("RSA key alone", {1.0, "mbedTLS primitives"},
                                                               make_inputs(12, make_rsa_key), &rsa_key_t::shown,
                                                               &rsa_key_t::key_der);
    registry.add_reader<read_gost_key_t, asn_pubkey_t, asn_gost_pubkey_t>("SubjectPublicKeyInfo, GOST key", none,
                                                                          make_inputs(12, make_gost_key),
                                                                          &gost_key_t::shown, &gost_key_t::spki_der);
    registry.add_reader<read_signature_t, asn_dsa_certsign_t>("DSA signature", {0.09, "mbedTLS"},
                                                              make_inputs(12, make_dsa_signature),
                                                              &dsa_signature_t::shown, &dsa_signature_t::der);
    registry.add_reader<read_digest_t, asn_algorid_t>("DigestInfo read", {0.60, "mbedTLS primitives"},
                                                      make_inputs(12, make_digest), &digest_t::oid, &digest_t::der);
    registry.add_writer<write_digest_t>("DigestInfo write", {0.70, "mbedTLS primitives"}, make_inputs(12, make_digest),
                                        &digest_t::der, &digest_t::value);
    registry.add_reader<read_ike_algorithm_t, pki_alg_t>("IKE identifier to algorithm", none, ike_algorithms(),
                                                         &ike_algorithm_t::code, &ike_algorithm_t::der);
}
