// libgcrypt and GnuTLS that answer wrongly when told to. The linker passes every call of the program to these
// (--wrap in CMakeLists.txt).
#ifndef DERKIT_TESTS_GOST_CRYPTO_FAULTS_H
#define DERKIT_TESTS_GOST_CRYPTO_FAULTS_H

#include <cstddef>

struct crypto_faults_t {
    bool counting = false;
    std::size_t num_calls = 0; // while counting
    std::size_t failing = 0;   // the call that fails, counted from 1; 0: none
    std::size_t num_open = 0;  // handles, always
};
extern crypto_faults_t crypto_faults;

// Runs `body` while its nth call fails, and returns whether there were that many.
template <typename BODY> bool with_failing_call(std::size_t n, BODY body) {
    crypto_faults.counting = true;
    crypto_faults.num_calls = 0;
    crypto_faults.failing = n;
    body();
    crypto_faults.counting = false;
    return crypto_faults.num_calls >= n;
}

#endif
