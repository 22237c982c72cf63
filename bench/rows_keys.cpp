// Private keys, plain and encrypted: reading and writing.
#include "derkit/pkcs8_helper.h"
#include "row.h"
#include "tasks.h"
#include "testing/pkcs_der.h"

namespace {

struct read_key_t {
    pkcs8_pki_gost_t key;
    void operator()(const private_key_t& input) { asn_read_pkcs8_pki_gost(input.der.data(), size32(input.der), key); }
    std::string shown() const { return private_key_view_t{key.key_type, chars_of(key.private_key)}.shown(); }
};

struct write_key_t : output_t {
    void operator()(const private_key_t& input) {
        pkcs8_pki_gost_t key;
        key.key_type = input.type;
        key.private_key = view_of(input.key);
        asn_write_pkcs8_pki_gost(key, out);
    }
};

struct read_encrypted_key_t {
    pkcs8_encrypted_pki_gost_t key;
    void operator()(const encrypted_key_t& input) {
        asn_read_pkcs8_encrypted_pki_gost(input.der.data(), size32(input.der), key);
    }
    std::string shown() const {
        return encrypted_key_view_t{chars_of(key.pbe.salt), key.pbe.iterations, chars_of(key.pbe.iv),
                                    chars_of(key.encrypted_data)}
            .shown();
    }
};

struct write_encrypted_key_t : output_t {
    void operator()(const encrypted_key_t& input) {
        pkcs8_encrypted_pki_gost_t key;
        key.pbe.salt = view_of(input.salt);
        key.pbe.iterations = input.iterations;
        key.pbe.iv = view_of(input.iv);
        key.encrypted_data = view_of(input.encrypted);
        asn_write_pkcs8_encrypted_pki_gost(key, out);
    }
};

// Iteration counts have no zero octet: the library would leave it out.
constexpr struct {
    unsigned int number;
    const char* hex;
} ITERATIONS[] = {{2000, "07 D0"}, {100, "64"}, {70001, "01 11 71"}};

encrypted_key_t make_encrypted_key(unsigned int i) {
    encrypted_key_t key = {
        {noise(i % 2 == 0 ? 8 : 32, i), ITERATIONS[i % 3].number, noise(8, i + 100), noise(71 + i % 3 * 32, i + 200)},
        ""};
    pbes2_t pbes2;
    pbes2.salt = der_octet_string(key.salt);
    pbes2.iterations = der_integer(ITERATIONS[i % 3].hex);
    pbes2.iv = der_octet_string(key.iv);
    key.der = encode(encrypted_key(key.encrypted, pbes2));
    return key;
}

private_key_t make_private_key(unsigned int i) {
    const key_family_t& family = KEY_FAMILIES[i % 3];
    const std::string key = noise(family.key_size, i);
    const der_t parameters = der_sequence({der_oid(family.public_key_param_set), der_oid(OID_DIGEST_PARAM_SET)});
    const der_t algorithm = der_sequence({der_oid(family.algorithm), parameters});
    const der_t octet_string = der_octet_string(der_octet_string(key));
    return {{i % 3, key}, encode(der_sequence({der_integer("00"), algorithm, octet_string}))};
}

std::vector<private_key_t> private_keys_of_512_bits() {
    return make_inputs(12, [](unsigned int i) { return make_private_key(3 * i + 2); });
}

} // namespace

std::vector<private_key_t> private_keys() {
    return make_inputs(12, make_private_key);
}

void add_key_rows(registry_t& registry) {
    registry.add_reader<read_key_t, pkcs8_pki_gost_t>("PKCS#8 read", {0.60, "mbedTLS primitives"}, private_keys(),
                                                      &private_key_t::shown, &private_key_t::der);
    registry.add_writer<write_key_t>("PKCS#8 write", {1.5, "mbedTLS primitives"}, private_keys(), &private_key_t::der,
                                     RECORD<pkcs8_pki_gost_t>);
    registry.add_reader<read_key_t, pkcs8_pki_gost_t>("PKCS#8 read, 512 bits", {}, private_keys_of_512_bits(),
                                                      &private_key_t::shown, &private_key_t::der);
    registry.add_writer<write_key_t>("PKCS#8 write, 512 bits", {}, private_keys_of_512_bits(), &private_key_t::der,
                                     RECORD<pkcs8_pki_gost_t>);
    registry.add_reader<read_encrypted_key_t, pkcs8_encrypted_pki_gost_t>(
        "encrypted key read", {0.70, "mbedTLS primitives"}, make_inputs(12, make_encrypted_key),
        &encrypted_key_t::shown, &encrypted_key_t::der);
    registry.add_writer<write_encrypted_key_t>("encrypted key write", {1.2, "mbedTLS primitives"},
                                               make_inputs(12, make_encrypted_key), &encrypted_key_t::der,
                                               RECORD<pkcs8_encrypted_pki_gost_t>);
}
