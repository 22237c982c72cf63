// Prints what the readers of public keys, signature values and signature algorithms make of a DER file, for scripts
// that compare it with what other tools print. Every reader is tried: a line "READER 1" or "READER 0", and for a
// success "READER.FIELD HEX" for each of its fields.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "derkit/derkit.h"

namespace {

void print_field(const char* reader, const char* field, const blob_t& view) {
    std::string hex;
    std::cout << reader << '.' << field << ' ' << TO_HEX_STD_STRING(view.data, view.size, hex, '\0') << '\n';
}

void print_code(const char* reader, pki_alg_t code) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned int>(code));
    std::cout << reader << ".code " << text << '\n';
}

int print_result(const char* reader, int result) {
    std::cout << reader << ' ' << result << '\n';
    return result;
}

void print_rsa(const asn_pubkey_t& key) {
    asn_rsa_pubkey_t rsa;
    if (print_result("rsa", asn_read_rsa_pubkey(key, rsa))) {
        print_field("rsa", "modulus", rsa.modulus);
        print_field("rsa", "exponent", rsa.exponent);
    }
}

void print_gost(const asn_pubkey_t& key) {
    asn_gost_pubkey_t gost;
    if (print_result("gost", asn_read_gost_pubkey(key, gost))) {
        print_field("gost", "public_key_param_set", gost.public_key_param_set);
        print_field("gost", "digest_param_set", gost.digest_param_set);
        print_field("gost", "encryption_param_set", gost.encryption_param_set);
        print_field("gost", "key", gost.key);
    }
}

void print_public_key(const std::string& der) {
    asn_pubkey_t key;
    const auto* const data = reinterpret_cast<const unsigned char*>(der.data());
    if (print_result("public_key", asn_read_pubkey(data, static_cast<long>(der.size()), key))) {
        print_field("public_key", "algorithm", key.algorithm);
        print_field("public_key", "parameters", key.parameters);
        print_field("public_key", "key", key.key);
        print_code("public_key", PKI_OID_TO_KEY_ALG(key.algorithm.data, key.algorithm.size));
        print_rsa(key);
        print_gost(key);
    }
}

void print_dsa_signature(const std::string& der) {
    asn_dsa_certsign_t signature;
    const auto* const data = reinterpret_cast<const unsigned char*>(der.data());
    if (print_result("dsa_signature", asn_read_dsa_certsign(data, static_cast<unsigned int>(der.size()), signature))) {
        print_field("dsa_signature", "r", signature.r);
        print_field("dsa_signature", "s", signature.s);
    }
}

void print_signature_algorithm(const std::string& der) {
    asn_ike_signalg_t algorithm;
    const auto* const data = reinterpret_cast<const unsigned char*>(der.data());
    if (print_result("signature_algorithm",
                     asn_read_ike_signalg(data, static_cast<unsigned int>(der.size()), algorithm))) {
        print_field("signature_algorithm", "oid", algorithm.oid);
        print_field("signature_algorithm", "parameters", algorithm.parameters);
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
    print_public_key(der);
    print_dsa_signature(der);
    print_signature_algorithm(der);
}
