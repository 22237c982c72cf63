// Asks libderkit-gost what went wrong, and lets libderkit hold the container.
#include <derkit/derkit.h>
#include <derkit/gost/gost.h>
#include <iostream>

int main() {
    const derkit::gost::secret password("password");
    derkit::gost::pbe_crypto crypto(password);
    const unsigned char mac[32] = {};
    // GOST R 34.11-94
    const unsigned char algorithm[] = {0x06, 0x06, 0x2A, 0x85, 0x03, 0x02, 0x02, 0x09};
    pkcs12_mac_t read;
    read.digest_alg.data = algorithm;
    read.digest_alg.size = sizeof algorithm;
    read.digest.data = mac;
    read.digest.size = sizeof mac;
    read.salt = read.digest;
    read.iterations = 1;
    if (crypto.verify_mac(read, "content", 7)) {
        return 1;
    }
    std::cout << crypto.refusals().front().message() << '\n';
}
