// What kind of container a file is.
#ifndef DERKIT_GOST_CONTAINER_KIND_H
#define DERKIT_GOST_CONTAINER_KIND_H

#include <vector>

#include "derkit/gost/container.h"

namespace derkit::gost {

// Whether an entry is encrypted for a recipient.
bool has_enveloped_data(const std::vector<entry>& entries);

// Goes by the MAC and by how the visible keys are encrypted; where no encrypted key is visible, by all encrypted parts.
container_kind classify(const container_mac& mac, const std::vector<entry>& entries);

} // namespace derkit::gost

#endif
