// Turns what BER allows beside DER into what the readers take (X.690 8.1.3.6, 8.7.3): indefinite lengths become definite
// ones, and OCTET STRINGs in pieces are joined.
#ifndef DERKIT_GOST_BER_H
#define DERKIT_GOST_BER_H

#include <string_view>
#include <utility>

#include "derkit/gost/limits.h"
#include "derkit/gost/result.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

// Octets as they were, or rewritten ones. Moving keeps the view valid.
class definite_octets {
  public:
    // A view of octets that the caller keeps alive.
    explicit definite_octets(std::string_view same) : same_(same) {}
    explicit definite_octets(secret rewritten) : rewritten_(std::move(rewritten)), is_rewritten_(true) {}

    std::string_view view() const { return is_rewritten_ ? rewritten_.view() : same_; }

  private:
    std::string_view same_;
    secret rewritten_;
    bool is_rewritten_ = false;
};

// How deep bags may be nested: limits::max_depth within limits::MAX_DEPTH.
unsigned int max_depth_of(const limits& cost);

// Reads the first element of `ber`; what follows it is left out. Octets that need no change are not copied. Elements
// inside OCTET STRINGs are not looked at. cause::malformed when it is cut short, cause::too_deep beyond 32 levels and
// those of `nested_bags` bags inside each other, cause::too_large when there are more than two million elements to rewrite.
result<definite_octets> with_definite_lengths(std::string_view ber, unsigned int nested_bags = 0);

// The octets of `pieces`, a sequence of OCTET STRINGs, joined; cause::malformed when it is anything else.
result<secret> joined_octet_strings(std::string_view pieces);

} // namespace derkit::gost

#endif
