// What kind of container a file is.
#ifndef DERKIT_GOST_CONTAINER_KIND_H
#define DERKIT_GOST_CONTAINER_KIND_H

#include <vector>

#include "derkit/gost/container.h"

namespace derkit::gost {

// Judges by the MAC and by how the keys that can be seen are encrypted; where there are none, by all encrypted parts.
container_kind classify(const container_mac& mac, const std::vector<entry>& entries);

} // namespace derkit::gost

#endif
