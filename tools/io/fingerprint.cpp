#include "io/fingerprint.h"

#include <gcrypt.h>

#include "io/cryptography.h"

namespace {

std::string digest_of(int algorithm, std::string_view bytes) {
    start_libgcrypt();
    std::string digest(gcry_md_get_algo_dlen(algorithm), '\0');
    gcry_md_hash_buffer(algorithm, digest.data(), bytes.data(), bytes.size());
    return digest;
}

} // namespace

std::string sha256_of(std::string_view bytes) {
    return digest_of(GCRY_MD_SHA256, bytes);
}

std::string streebog256_of(std::string_view bytes) {
    return digest_of(GCRY_MD_STRIBOG256, bytes);
}
