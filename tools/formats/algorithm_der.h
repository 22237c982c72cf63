// The DER of algorithms that the library has no code for.
#ifndef DERKIT_TOOLS_FORMATS_ALGORITHM_DER_H
#define DERKIT_TOOLS_FORMATS_ALGORITHM_DER_H

#include <string>
#include <string_view>

// AlgorithmIdentifier of an OID, given by its content octets, without parameters.
std::string identifier_without_parameters(std::string_view oid);

// The octets that precede the digest in its DigestInfo (RFC 8017 9.2), with NULL for parameters.
std::string form_digest_info_prefix(std::string_view oid, unsigned int digest_size);

#endif
