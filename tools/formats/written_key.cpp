#include "formats/written_key.h"

#include <algorithm>
#include <utility>

#include "io/failure.h"

gost::private_key read_gost_key(std::string_view info, const std::string& place) {
    gost::result<gost::private_key> key = gost::private_key::read(info);
    if (!key) {
        throw failure_t(place, text_of(key.error()));
    }
    return *std::move(key);
}

gost::limits at_least_default(const gost::limits& cost) {
    gost::limits allowed;
    allowed.max_size = std::max(allowed.max_size, cost.max_size);
    allowed.max_iterations = std::max(allowed.max_iterations, cost.max_iterations);
    allowed.max_total_iterations = std::max(allowed.max_total_iterations, cost.max_total_iterations);
    allowed.max_depth = std::max(allowed.max_depth, cost.max_depth);
    allowed.max_bags = std::max(allowed.max_bags, cost.max_bags);
    allowed.max_attributes = std::max(allowed.max_attributes, cost.max_attributes);
    return allowed;
}

void warn_of_losses(std::string_view info, const std::string& place, console_t& console) {
    const gost::result<gost::key_outline> outline = gost::private_key::inspect(info);
    if (outline && outline->has_attributes) {
        console.warn(place, "attributes after the key are left out");
    }
    if (outline && outline->has_public_key) {
        console.warn(place, "the public key after the key is left out");
    }
}

gost::secret reshape_key(std::string_view info, gost::key_shape shape, const std::string& place) {
    gost::result<gost::secret> written = read_gost_key(info, place).write(shape);
    if (!written) {
        throw failure_t(place, text_of(written.error()));
    }
    return *std::move(written);
}
