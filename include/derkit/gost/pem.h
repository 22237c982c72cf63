/// @file
/// PEM (RFC 7468).
#ifndef DERKIT_GOST_PEM_H
#define DERKIT_GOST_PEM_H

#include <string_view>

#include "derkit/gost/result.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

/// @defgroup gost_pem PEM
/// @{

/// Encodes octets as PEM.
/// @param label  such as `PRIVATE KEY`
/// @param der    octets
/// @return the text with its final line feed
DERKIT_API secret to_pem(std::string_view label, std::string_view der);

/// Decodes the first PEM block with a label. Text around it and other blocks are ignored.
/// @param text   any text
/// @param label  such as `ENCRYPTED PRIVATE KEY`
/// @return the octets; cause::malformed when there is no such block, or when it has no end or is not base64
DERKIT_API result<secret> from_pem(std::string_view text, std::string_view label);

/// @}

} // namespace derkit::gost

#endif
