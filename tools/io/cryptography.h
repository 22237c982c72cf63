// The state of libgcrypt, which the GOST library computes with.
#ifndef DERKIT_TOOLS_IO_CRYPTOGRAPHY_H
#define DERKIT_TOOLS_IO_CRYPTOGRAPHY_H

// Starts libgcrypt with secure memory: the GOST library by itself would do without. To be called before anything is
// decrypted; calls after the first have no effect. Throws std::runtime_error.
void start_libgcrypt();

#endif
