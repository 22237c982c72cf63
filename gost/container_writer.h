// Writes containers.
#ifndef DERKIT_GOST_CONTAINER_WRITER_H
#define DERKIT_GOST_CONTAINER_WRITER_H

#include <string>
#include <string_view>
#include <vector>

#include "derkit/gost/container.h"

namespace derkit::gost {

// No limits of cost, for what the caller writes.
limits unlimited();

// Writes the bags of all entries.
result<std::string> write_container(const std::vector<entry>& entries, std::string_view password,
                                    const write_options& options);

} // namespace derkit::gost

#endif
