// Public keys, DSA signatures, DigestInfo, algorithm identifiers of IKE.
#include "algorithms.h"
#include "der.h"
#include "derkit/asn_helper.h"
#include "keys.h"
#include "row.h"

namespace {

struct read_rsa_key_t {
    asn_pubkey_t key;
    asn_rsa_pubkey_t numbers;
    void operator()(const rsa_key_t& input) {
        asn_read_pubkey(octets(input.spki_der), static_cast<long>(input.spki_der.size()), key);
        asn_read_rsa_pubkey(key, numbers);
    }
    std::string shown(const rsa_key_t&) const {
        return listed_numbers(as_chars(numbers.modulus.data, numbers.modulus.size),
                              as_chars(numbers.exponent.data, numbers.exponent.size));
    }
};

struct read_bare_rsa_key_t {
    asn_rsa_pubkey_t numbers;
    void operator()(const rsa_key_t& input) {
        asn_pubkey_t key;
        key.key.data = octets(input.key_der);
        key.key.size = size32(input.key_der);
        asn_read_rsa_pubkey(key, numbers);
    }
    std::string shown(const rsa_key_t&) const {
        return listed_numbers(as_chars(numbers.modulus.data, numbers.modulus.size),
                              as_chars(numbers.exponent.data, numbers.exponent.size));
    }
};

struct read_gost_key_t {
    asn_pubkey_t key;
    asn_gost_pubkey_t gost;
    void operator()(const gost_key_t& input) {
        asn_read_pubkey(octets(input.spki_der), static_cast<long>(input.spki_der.size()), key);
        asn_read_gost_pubkey(key, gost);
    }
    std::string shown(const gost_key_t&) const {
        std::string bytes;
        for (const blob_t& view : {gost.public_key_param_set, gost.digest_param_set, gost.key}) {
            bytes += as_chars(view.data, view.size);
        }
        return bytes;
    }
};

struct read_signature_t {
    asn_dsa_certsign_t signature;
    void operator()(const dsa_signature_t& input) {
        asn_read_dsa_certsign(octets(input.der), size32(input.der), signature);
    }
    std::string shown(const dsa_signature_t&) const {
        return listed_numbers(as_chars(signature.r.data, signature.r.size),
                              as_chars(signature.s.data, signature.s.size));
    }
};

struct write_digest_t {
    std::string der;
    void operator()(const digest_t& digest) {
        static constexpr pki_alg_t CODES[] = {PKI_ALG_SHA1, PKI_ALG_SHA256, PKI_ALG_SHA512};
        der.assign(digest.value);
        asn_add_alg_to_digest(der, CODES[digest.hash]);
    }
    std::string shown(const digest_t&) const { return der; }
};

struct read_digest_t {
    asn_algorid_t algorithm;
    void operator()(const digest_t& digest) { asn_read_alg_from_digest(&algorithm, digest.der); }
    std::string shown(const digest_t&) const { return std::string(as_chars(algorithm.oid.data, algorithm.oid.size)); }
};

struct read_ike_algorithm_t {
    unsigned int code = 0;
    void operator()(const ike_algorithm_t& input) {
        asn_ike_signalg_t algorithm;
        asn_read_ike_signalg(octets(input.der), size32(input.der), algorithm);
        code = algorithm.to_pki_alg();
    }
    std::string shown(const ike_algorithm_t&) const { return std::to_string(code); }
};

std::string_view without_zeros(std::string_view number) {
    while (number.size() > 1 && number.front() == '\0') {
        number.remove_prefix(1);
    }
    return number;
}

// A positive INTEGER; the number has no leading zero octets.
std::string unsigned_integer(const std::string& number) {
    const bool is_high = (static_cast<unsigned char>(number.at(0)) & 0x80) != 0;
    return element(TAG_INTEGER, {is_high ? std::string(1, '\0') : std::string(), number});
}

std::string number(std::size_t size, unsigned int seed) {
    std::string bytes = noise(size, seed);
    bytes[0] = static_cast<char>(seed % 2 == 0 ? 0xC5 : 0x45);
    return bytes;
}

std::string bit_string(const std::string& bytes) {
    return element(TAG_BIT_STRING, {std::string(1, '\0'), bytes});
}

std::vector<rsa_key_t> make_rsa_keys() {
    std::vector<rsa_key_t> keys;
    for (unsigned int i = 0; i < 12; ++i) {
        rsa_key_t key;
        key.modulus = number(i % 3 == 0 ? 512 : 256, 2 * i);
        key.exponent = std::string("\x01\x00\x01", 3);
        key.key_der = sequence({unsigned_integer(key.modulus), unsigned_integer(key.exponent)});
        const std::string algorithm = sequence({oid_element("1.2.840.113549.1.1.1"), element(TAG_NULL, {})});
        key.spki_der = sequence({algorithm, bit_string(key.key_der)});
        keys.push_back(key);
    }
    return keys;
}

std::vector<gost_key_t> make_gost_keys() {
    std::vector<gost_key_t> keys;
    for (unsigned int i = 0; i < 12; ++i) {
        const key_family_t& family = KEY_FAMILIES[i % 3];
        gost_key_t key;
        key.public_key_param_set = oid_element(family.public_key_param_set);
        key.digest_param_set = oid_element(DIGEST_PARAM_SET);
        key.point = noise(2 * family.key_size, i);
        const std::string parameters = sequence({key.public_key_param_set, key.digest_param_set});
        key.spki_der = sequence({sequence({oid_element(family.algorithm), parameters}),
                                 bit_string(element(TAG_OCTET_STRING, {key.point}))});
        keys.push_back(key);
    }
    return keys;
}

std::vector<dsa_signature_t> make_dsa_signatures() {
    std::vector<dsa_signature_t> signatures;
    for (unsigned int i = 0; i < 12; ++i) {
        dsa_signature_t signature;
        signature.r = number(i % 2 == 0 ? 20 : 32, i);
        signature.s = number(i % 2 == 0 ? 20 : 32, i + 101);
        signature.der = sequence({unsigned_integer(signature.r), unsigned_integer(signature.s)});
        signatures.push_back(signature);
    }
    return signatures;
}

std::vector<digest_t> make_digests() {
    constexpr std::size_t SIZES[] = {20, 32, 64};
    std::vector<digest_t> list;
    for (unsigned int i = 0; i < 12; ++i) {
        const std::string value = noise(SIZES[i % 3], i);
        const std::string algorithm = sequence({oid_element(DIGEST_OIDS[i % 3]), element(TAG_NULL, {})});
        list.push_back({i % 3, value, sequence({algorithm, element(TAG_OCTET_STRING, {value})})});
    }
    return list;
}

std::string pss_algorithm(const char* hash, unsigned int salt_length) {
    const std::string null = element(TAG_NULL, {});
    const std::string hash_algorithm = sequence({oid_element(hash), null});
    const std::string mask = sequence({oid_element("1.2.840.113549.1.1.8"), hash_algorithm});
    const std::string salt = element(TAG_INTEGER, {std::string(1, static_cast<char>(salt_length))});
    return sequence({oid_element("1.2.840.113549.1.1.10"),
                     sequence({element(TAG_CONTEXT_0, {hash_algorithm}), element(TAG_CONTEXT_1, {mask}),
                               element(TAG_CONTEXT_2, {salt})})});
}

std::vector<ike_algorithm_t> make_ike_algorithms() {
    const auto rsa = [](const char* oid) { return sequence({oid_element(oid), element(TAG_NULL, {})}); };
    return {{PKI_ALG_SHA1_RSA, rsa("1.2.840.113549.1.1.5")},
            {PKI_ALG_SHA224_RSA, rsa("1.2.840.113549.1.1.14")},
            {PKI_ALG_SHA256_RSA, rsa("1.2.840.113549.1.1.11")},
            {PKI_ALG_SHA384_RSA, rsa("1.2.840.113549.1.1.12")},
            {PKI_ALG_SHA512_RSA, rsa("1.2.840.113549.1.1.13")},
            {PKI_ALG_SHA256_RSASSA_PSS, pss_algorithm("2.16.840.1.101.3.4.2.1", 32)},
            {PKI_ALG_SHA384_RSASSA_PSS, pss_algorithm("2.16.840.1.101.3.4.2.2", 48)},
            {PKI_ALG_SHA512_RSASSA_PSS, pss_algorithm("2.16.840.1.101.3.4.2.3", 64)}};
}

// Fills the expectations and adds the library; limits are those of a reader.
template <typename WORK, typename INPUT, typename DER, typename LISTED>
row_t& add_reader(registry_t& registry, const char* name, const target_t& target, const std::vector<INPUT>& inputs,
                  DER der_of, LISTED listed, std::size_t record_size) {
    row_t& row = registry.add(name, target);
    std::vector<std::string> encodings;
    for (const INPUT& input : inputs) {
        row.expected.push_back(listed(input));
        encodings.push_back(der_of(input));
    }
    row.add<WORK>("derkit", inputs);
    row.add_limits(encodings, std::vector<std::string>(inputs.size(), std::string(record_size, '\0')),
                   der_side_t::INPUT);
    return row;
}

} // namespace

const std::vector<rsa_key_t>& rsa_keys() {
    static const std::vector<rsa_key_t> keys = make_rsa_keys();
    return keys;
}

const std::vector<gost_key_t>& gost_keys() {
    static const std::vector<gost_key_t> keys = make_gost_keys();
    return keys;
}

const std::vector<dsa_signature_t>& dsa_signatures() {
    static const std::vector<dsa_signature_t> signatures = make_dsa_signatures();
    return signatures;
}

const std::vector<digest_t>& digests() {
    static const std::vector<digest_t> list = make_digests();
    return list;
}

const std::vector<ike_algorithm_t>& ike_algorithms() {
    static const std::vector<ike_algorithm_t> list = make_ike_algorithms();
    return list;
}

std::string listed_numbers(std::string_view first, std::string_view second) {
    return upper_hex(without_zeros(first)) + " " + upper_hex(without_zeros(second));
}

void add_algorithm_rows(registry_t& registry) {
    const target_t primitives_080 = {0.80, "mbedTLS primitives"};
    const auto rsa_numbers = [](const rsa_key_t& key) { return listed_numbers(key.modulus, key.exponent); };
    add_reader<read_rsa_key_t>(
        registry, "SubjectPublicKeyInfo, RSA key", primitives_080, rsa_keys(),
        [](const rsa_key_t& key) { return key.spki_der; }, rsa_numbers,
        sizeof(asn_pubkey_t) + sizeof(asn_rsa_pubkey_t));
    add_reader<read_bare_rsa_key_t>(
        registry, "RSA key alone", {1.0, "mbedTLS primitives"}, rsa_keys(),
        [](const rsa_key_t& key) { return key.key_der; }, rsa_numbers, sizeof(asn_rsa_pubkey_t));
    add_reader<read_gost_key_t>(
        registry, "SubjectPublicKeyInfo, GOST key", {}, gost_keys(), [](const gost_key_t& key) { return key.spki_der; },
        [](const gost_key_t& key) { return key.public_key_param_set + key.digest_param_set + key.point; },
        sizeof(asn_pubkey_t) + sizeof(asn_gost_pubkey_t));
    add_reader<read_signature_t>(
        registry, "DSA signature", {0.09, "mbedTLS"}, dsa_signatures(),
        [](const dsa_signature_t& signature) { return signature.der; },
        [](const dsa_signature_t& signature) { return listed_numbers(signature.r, signature.s); },
        sizeof(asn_dsa_certsign_t));
    add_reader<read_digest_t>(
        registry, "DigestInfo read", {0.60, "mbedTLS primitives"}, digests(),
        [](const digest_t& digest) { return digest.der; },
        [](const digest_t& digest) { return oid_content(DIGEST_OIDS[digest.hash]); }, sizeof(asn_algorid_t));

    row_t& write = registry.add("DigestInfo write", {0.70, "mbedTLS primitives"});
    std::vector<std::string> values;
    for (const digest_t& digest : digests()) {
        write.expected.push_back(digest.der);
        values.push_back(digest.value);
    }
    write.add<write_digest_t>("derkit", digests());
    write.add_limits(values, write.expected, der_side_t::OUTPUT);

    add_reader<read_ike_algorithm_t>(
        registry, "IKE identifier to algorithm", {}, ike_algorithms(),
        [](const ike_algorithm_t& algorithm) { return algorithm.der; },
        [](const ike_algorithm_t& algorithm) { return std::to_string(algorithm.code); }, sizeof(pki_alg_t));
}
