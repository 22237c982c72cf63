// Private keys, plain and encrypted: reading and writing.
#include "der.h"
#include "derkit/pkcs8_helper.h"
#include "keys.h"
#include "row.h"

namespace {

blob_t view_of(std::string_view bytes) {
    blob_t view;
    view.size = size32(bytes);
    view.data = octets(bytes);
    return view;
}

struct read_key_t {
    pkcs8_pki_gost_t key;
    void operator()(const private_key_t& input) { asn_read_pkcs8_pki_gost(input.der.data(), size32(input.der), key); }
    std::string shown(const private_key_t&) const {
        return listed_private_key(key.key_type, as_chars(key.private_key.data, key.private_key.size));
    }
};

struct write_key_t {
    std::string der;
    void operator()(const private_key_t& input) {
        pkcs8_pki_gost_t key;
        key.key_type = input.type;
        key.private_key = view_of(input.key);
        asn_write_pkcs8_pki_gost(key, der);
    }
    std::string shown(const private_key_t&) const { return der; }
};

struct read_encrypted_key_t {
    pkcs8_encrypted_pki_gost_t key;
    void operator()(const encrypted_key_t& input) {
        asn_read_pkcs8_encrypted_pki_gost(input.der.data(), size32(input.der), key);
    }
    std::string shown(const encrypted_key_t&) const {
        return listed_encrypted_key(as_chars(key.pbe.salt.data, key.pbe.salt.size), key.pbe.iterations,
                                    as_chars(key.pbe.iv.data, key.pbe.iv.size),
                                    as_chars(key.encrypted_data.data, key.encrypted_data.size));
    }
};

struct write_encrypted_key_t {
    std::string der;
    void operator()(const encrypted_key_t& input) {
        pkcs8_encrypted_pki_gost_t key;
        key.pbe.salt = view_of(input.salt);
        key.pbe.iterations = input.iterations;
        key.pbe.iv = view_of(input.iv);
        key.encrypted_data = view_of(input.encrypted);
        asn_write_pkcs8_encrypted_pki_gost(key, der);
    }
    std::string shown(const encrypted_key_t&) const { return der; }
};

std::string integer(unsigned int value) {
    std::string content;
    for (; value != 0; value >>= 8) {
        content.insert(content.begin(), static_cast<char>(value & 0xFF));
    }
    if (content.empty() || (static_cast<unsigned char>(content[0]) & 0x80) != 0) {
        content.insert(content.begin(), '\0');
    }
    return element(TAG_INTEGER, {content});
}

std::vector<private_key_t> make_private_keys() {
    std::vector<private_key_t> keys;
    for (unsigned int i = 0; i < 12; ++i) {
        const key_family_t& family = KEY_FAMILIES[i % 3];
        const std::string key = noise(family.key_size, i);
        const std::string parameters =
            sequence({oid_element(family.public_key_param_set), oid_element(DIGEST_PARAM_SET)});
        const std::string octet_string = element(TAG_OCTET_STRING, {element(TAG_OCTET_STRING, {key})});
        keys.push_back(
            {i % 3, key, sequence({integer(0), sequence({oid_element(family.algorithm), parameters}), octet_string})});
    }
    return keys;
}

std::vector<encrypted_key_t> make_encrypted_keys() {
    std::vector<encrypted_key_t> keys;
    for (unsigned int i = 0; i < 12; ++i) {
        const std::string salt = noise(i % 2 == 0 ? 8 : 32, i);
        const unsigned int iterations = i % 3 == 0 ? 2000 : i % 3 == 1 ? 100 : 70001;
        const std::string iv = noise(8, i + 100);
        const std::string encrypted = noise(71 + i % 3 * 32, i + 200);
        keys.push_back({salt, iterations, iv, encrypted, encrypted_key_der(salt, iterations, iv, encrypted)});
    }
    return keys;
}

} // namespace

std::string pbes2_der(std::string_view salt, unsigned int iterations, std::string_view iv) {
    const std::string prf = sequence({oid_element(OID_HMAC_GOST), element(TAG_NULL, {})});
    const std::string derivation =
        sequence({oid_element(OID_PBKDF2), sequence({element(TAG_OCTET_STRING, {salt}), integer(iterations), prf})});
    const std::string cipher =
        sequence({oid_element(OID_GOST_28147),
                  sequence({element(TAG_OCTET_STRING, {iv}), oid_element(OID_GOST_28147_PARAM_SET)})});
    return sequence({oid_element(OID_PBES2), sequence({derivation, cipher})});
}

std::string encrypted_key_der(std::string_view salt, unsigned int iterations, std::string_view iv,
                              std::string_view encrypted) {
    return sequence({pbes2_der(salt, iterations, iv), element(TAG_OCTET_STRING, {encrypted})});
}

const std::vector<private_key_t>& private_keys() {
    static const std::vector<private_key_t> keys = make_private_keys();
    return keys;
}

const std::vector<encrypted_key_t>& encrypted_keys() {
    static const std::vector<encrypted_key_t> keys = make_encrypted_keys();
    return keys;
}

std::string listed_private_key(unsigned int type, std::string_view key) {
    return std::to_string(type) + " " + upper_hex(key);
}

std::string listed_encrypted_key(std::string_view salt, unsigned int iterations, std::string_view iv,
                                 std::string_view encrypted) {
    return upper_hex(salt) + " " + std::to_string(iterations) + " " + upper_hex(iv) + " " + upper_hex(encrypted);
}

void add_key_rows(registry_t& registry) {
    row_t& read = registry.add("PKCS#8 read", {0.60, "mbedTLS primitives"});
    row_t& write = registry.add("PKCS#8 write", {1.5, "mbedTLS primitives"});
    for (const private_key_t& key : private_keys()) {
        read.expected.push_back(listed_private_key(key.type, key.key));
        write.expected.push_back(key.der);
    }
    const std::vector<std::string> key_records(private_keys().size(), std::string(sizeof(pkcs8_pki_gost_t), '\0'));
    read.add<read_key_t>("derkit", private_keys());
    read.add_limits(write.expected, key_records, der_side_t::INPUT);
    write.add<write_key_t>("derkit", private_keys());
    write.add_limits(key_records, write.expected, der_side_t::OUTPUT);

    row_t& read_encrypted = registry.add("encrypted key read", {0.70, "mbedTLS primitives"});
    row_t& write_encrypted = registry.add("encrypted key write", {1.2, "mbedTLS primitives"});
    for (const encrypted_key_t& key : encrypted_keys()) {
        read_encrypted.expected.push_back(listed_encrypted_key(key.salt, key.iterations, key.iv, key.encrypted));
        write_encrypted.expected.push_back(key.der);
    }
    const std::vector<std::string> encrypted_records(encrypted_keys().size(),
                                                     std::string(sizeof(pkcs8_encrypted_pki_gost_t), '\0'));
    read_encrypted.add<read_encrypted_key_t>("derkit", encrypted_keys());
    read_encrypted.add_limits(write_encrypted.expected, encrypted_records, der_side_t::INPUT);
    write_encrypted.add<write_encrypted_key_t>("derkit", encrypted_keys());
    write_encrypted.add_limits(encrypted_records, write_encrypted.expected, der_side_t::OUTPUT);
}
