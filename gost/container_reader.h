// Opens containers, and lists what they tell without a password.
#ifndef DERKIT_GOST_CONTAINER_READER_H
#define DERKIT_GOST_CONTAINER_READER_H

#include <optional>
#include <string_view>
#include <vector>

#include "derkit/gost/container.h"

namespace derkit::gost {

struct container_content {
    container_kind kind = container_kind::unknown;
    container_form form = container_form::standard;
    container_mac mac;
    std::vector<entry> entries;
};

result<container_content> open_container(std::string_view file, std::optional<std::string_view> password,
                                         const open_options& options);

result<container_content> inspect_container(std::string_view file, const limits& cost);

} // namespace derkit::gost

#endif
