// Fingerprints of certificates.
#ifndef DERKIT_TOOLS_IO_FINGERPRINT_H
#define DERKIT_TOOLS_IO_FINGERPRINT_H

#include <string>
#include <string_view>

std::string sha256_of(std::string_view bytes);

// GOST R 34.11-2012 with 256 bits, as RFC 6986 prints it.
std::string streebog256_of(std::string_view bytes);

#endif
