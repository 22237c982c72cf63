// The name that tests of containers know scripted_crypto_t by.
#ifndef DERKIT_TESTING_RECORDING_CRYPTO_H
#define DERKIT_TESTING_RECORDING_CRYPTO_H

#include "testing/scripted_crypto.h"

using recording_crypto_t = scripted_crypto_t;

#endif
