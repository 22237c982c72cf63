// How do I open a PKCS#12 container with my own cryptography? Lists the bags of a container, or says why it cannot.
// own_crypto.h has the cryptography.
#include "own_crypto.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

static void list(const std::list<pkcs12_bag_t>& bags) {
    for (const pkcs12_bag_t& bag : bags) {
        std::cout << (bag.type == 1 ? "certificate" : "key") << ", "
                  << derkit::to_utf8(bag.friendly_name).value_or("(no text)") << ", " << bag.value.size << " bytes\n";
    }
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: own_crypto FILE PASSWORD-FILE\n";
        return 2;
    }
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);

    std::ifstream file(argv[1], std::ios::binary), password_file(argv[2]);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::string password;
    std::getline(password_file, password);

    gost_crypto crypto(password.c_str());
    derkit::recording_crypto recording(crypto, {PKI_ALG_GOST_3411_94}); // the digest of MACs that crypto knows
    pkcs12_easy_t container;                                            // its bags view bytes and what was decrypted
    const derkit::pkcs12_refusal refusal = derkit::read_pkcs12(derkit::to_blob(bytes), recording, container);
    list(container.plain_bags);
    list(container.encrypted_bags);
    if (refusal != derkit::pkcs12_refusal::NONE) {
        std::cout << derkit::message_of(refusal) << '\n';
        return 1;
    }
    return 0;
}
