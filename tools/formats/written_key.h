// Private keys that are made.
#ifndef DERKIT_TOOLS_FORMATS_WRITTEN_KEY_H
#define DERKIT_TOOLS_FORMATS_WRITTEN_KEY_H

#include <string>
#include <string_view>

#include "derkit/gost/private_key.h"
#include "formats/refusal.h"
#include "io/console.h"

// A GOST key from its PrivateKeyInfo. `place` names it in messages. Throws failure_t.
gost::private_key read_gost_key(std::string_view info, const std::string& place);

// The limits of reading back what was written: the given ones, and never less than the library's default.
gost::limits at_least_default(const gost::limits& cost);

// Warns of what a PrivateKeyInfo has beside the key, which writing the key anew leaves out.
void warn_of_losses(std::string_view info, const std::string& place, console_t& console);

// The PrivateKeyInfo of the same GOST key in a shape. Throws failure_t.
gost::secret reshape_key(std::string_view info, gost::key_shape shape, const std::string& place);

#endif
