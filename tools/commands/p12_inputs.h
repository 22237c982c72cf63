// Keys and certificates that are to go into a container.
#ifndef DERKIT_TOOLS_COMMANDS_P12_INPUTS_H
#define DERKIT_TOOLS_COMMANDS_P12_INPUTS_H

#include <optional>
#include <string>
#include <vector>

#include "io/secret.h"

// The PrivateKeyInfo in a file: PKCS#8, plain or encrypted under `password`, PEM or DER. The caller wipes it. Throws
// failure_t.
std::string read_key_file(const std::string& file, const std::optional<secret_t>& password);

// The certificates in a file, at least one: PEM, with any number of them, or DER. Throws failure_t.
std::vector<std::string> read_certificate_file(const std::string& file);

#endif
