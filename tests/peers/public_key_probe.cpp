// Prints what the readers of public keys, signature values and signature algorithms make of a DER file, for scripts
// that compare it with what other tools print. Every reader is tried: a line "READER 1" or "READER 0", and for a
// success "READER.FIELD HEX" for each of its fields.
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <iterator>
#include <string>

#include "derkit/derkit.h"

namespace {

struct field_t {
    const char* name;
    const blob_t& view;
};

// Returns whether the reader succeeded.
bool print_record(const char* reader, int result, std::initializer_list<field_t> fields) {
    std::cout << reader << ' ' << result << '\n';
    for (const field_t& field : fields) {
        std::string hex;
        if (result != 0) {
            TO_HEX_STD_STRING(field.view.data, field.view.size, hex, '\0');
            std::cout << reader << '.' << field.name << ' ' << hex << '\n';
        }
    }
    return result != 0;
}

void print_code(const char* reader, pki_alg_t code) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(code));
    std::cout << reader << ".code " << text << '\n';
}

void print_public_key(const unsigned char* data, unsigned int size) {
    asn_pubkey_t key;
    const int result = asn_read_pubkey(data, static_cast<long>(size), key);
    if (!print_record("public_key", result,
                      {{"algorithm", key.algorithm}, {"parameters", key.parameters}, {"key", key.key}})) {
        return;
    }
    print_code("public_key", PKI_OID_TO_KEY_ALG(key.algorithm.data, key.algorithm.size));
    asn_rsa_pubkey_t rsa;
    const int is_rsa = asn_read_rsa_pubkey(key, rsa);
    print_record("rsa", is_rsa, {{"modulus", rsa.modulus}, {"exponent", rsa.exponent}});
    asn_gost_pubkey_t gost;
    const int is_gost = asn_read_gost_pubkey(key, gost);
    print_record("gost", is_gost,
                 {{"public_key_param_set", gost.public_key_param_set},
                  {"digest_param_set", gost.digest_param_set},
                  {"encryption_param_set", gost.encryption_param_set},
                  {"key", gost.key}});
}

void print_dsa_signature(const unsigned char* data, unsigned int size) {
    asn_dsa_certsign_t signature;
    const int result = asn_read_dsa_certsign(data, size, signature);
    print_record("dsa_signature", result, {{"r", signature.r}, {"s", signature.s}});
}

void print_signature_algorithm(const unsigned char* data, unsigned int size) {
    asn_ike_signalg_t algorithm;
    const int result = asn_read_ike_signalg(data, size, algorithm);
    if (print_record("signature_algorithm", result, {{"oid", algorithm.oid}, {"parameters", algorithm.parameters}})) {
        print_code("signature_algorithm", algorithm.to_pki_alg());
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: public_key_probe FILE\n";
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    if (!file) {
        std::cerr << "public_key_probe: cannot read " << argv[1] << '\n';
        return 2;
    }
    const std::string der{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const auto* const data = reinterpret_cast<const unsigned char*>(der.data());
    const auto size = static_cast<unsigned int>(der.size());
    print_public_key(data, size);
    print_dsa_signature(data, size);
    print_signature_algorithm(data, size);
}
