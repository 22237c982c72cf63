#include "io/cryptography.h"

#include <stdexcept>

#include <gcrypt.h>

namespace {

// More than all numbers and keys that are in use at a time.
constexpr unsigned int SECURE_MEMORY_SIZE = 65536;

} // namespace

void start_libgcrypt() {
    if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P) != 0) {
        return;
    }
    if (gcry_check_version("1.10.0") == nullptr) {
        throw std::runtime_error("libgcrypt is older than 1.10");
    }
    // Where memory may not be locked, it is used unlocked, without a warning.
    gcry_control(GCRYCTL_DISABLE_SECMEM_WARN);
    gcry_control(GCRYCTL_INIT_SECMEM, SECURE_MEMORY_SIZE, 0);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
}
