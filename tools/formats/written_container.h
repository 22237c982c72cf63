// PKCS#12 containers that are made.
#ifndef DERKIT_TOOLS_FORMATS_WRITTEN_CONTAINER_H
#define DERKIT_TOOLS_FORMATS_WRITTEN_CONTAINER_H

#include <string>

#include "derkit/gost/container.h"
#include "formats/refusal.h"
#include "io/secret.h"

// Writes a container, opens what was written and compares the bags: the file may soon be the only one that holds them.
// `name` is that of the new container. Opening it is allowed the given cost, and never less than the library's default.
// Throws failure_t.
std::string write_container(const gost::container& container, const secret_t& password,
                            const gost::write_options& options, const gost::limits& cost, const std::string& name);

#endif
