// What kind of public key is this? Shows a SubjectPublicKeyInfo in DER.
#include <derkit/derkit.h>
#include <derkit/helpers/helpers.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

static bool show_rsa(const asn_pubkey_t& key) {
    asn_rsa_pubkey_t rsa;
    if (asn_read_rsa_pubkey(key, rsa) == 0) {
        return false;
    }
    std::cout << "modulus: " << derkit::to_hex(rsa.modulus) << "\nexponent: " << derkit::to_hex(rsa.exponent) << '\n';
    return true;
}

static bool show_gost(const asn_pubkey_t& key) {
    asn_gost_pubkey_t gost;
    if (asn_read_gost_pubkey(key, gost) == 0) {
        return false;
    }
    const blob_t set = derkit::cursor(gost.public_key_param_set).read(asn_tag_t::OBJECT_IDENTIFIER);
    std::cout << "parameter set: " << derkit::oid_to_text(set).value_or("none") << "\nkey: " << derkit::to_hex(gost.key)
              << '\n';
    return true;
}

int main(int argc, char** argv) {
    std::ifstream file(argc > 1 ? argv[1] : "public.der", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const blob_t der = derkit::to_blob(bytes);
    asn_pubkey_t key; // views into bytes
    const bool done = asn_read_pubkey(der.data, static_cast<long>(der.size), key) != 0;
    if (!done || key.key.size > der.size) { // an empty BIT STRING reads as 2^32 - 1 octets
        std::cout << "not a public key\n";
        return 1;
    }
    const pki_alg_t algorithm = PKI_OID_TO_KEY_ALG(key.algorithm.data, key.algorithm.size);
    std::cout << I2S_PKI_ALG_T->getString(algorithm, "unknown algorithm") << ", "
              << derkit::oid_to_text(key.algorithm).value_or("no OID") << '\n';
    switch (algorithm) {
    case PKI_ALG_RSA:
        return show_rsa(key) ? 0 : 1;
    case PKI_ALG_GOST_R_3410_2001:
    case PKI_ALG_GOST_R_3410_2012_256:
    case PKI_ALG_GOST_R_3410_2012_512:
        return show_gost(key) ? 0 : 1;
    default:
        std::cout << "key: " << derkit::to_hex(key.key) << '\n';
        return 0;
    }
}
