#include "formats/written_container.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "formats/written_key.h"
#include "io/failure.h"

namespace {

auto place_of(const gost::bag& bag) {
    return std::tuple(bag.type, bag.friendly_name, bag.local_key_id, bag.value.view());
}

bool are_same(const gost::bag& a, const gost::bag& b) {
    return a.type == b.type && a.friendly_name == b.friendly_name && a.local_key_id == b.local_key_id &&
           gost::equal_in_constant_time(a.value, b.value);
}

// Writing puts bags into other entries.
std::vector<const gost::bag*> sorted_bags(const gost::container& container) {
    std::vector<const gost::bag*> bags = container.bags();
    std::ranges::sort(bags, [](const gost::bag* a, const gost::bag* b) { return place_of(*a) < place_of(*b); });
    return bags;
}

bool hold_the_same(const gost::container& a, const gost::container& b) {
    return std::ranges::equal(sorted_bags(a), sorted_bags(b),
                              [](const gost::bag* one, const gost::bag* other) { return are_same(*one, *other); });
}

} // namespace

std::string write_container(const gost::container& container, const secret_t& password,
                            const gost::write_options& options, const gost::limits& cost, const std::string& name) {
    gost::result<std::string> written = container.write(password.text(), options);
    if (!written) {
        throw failure_t(name, text_of(written.error()));
    }
    const gost::result<gost::container> read =
        gost::container::open(*written, password.text(), {.cost = at_least_default(cost)});
    if (!read) {
        throw failure_t(name, "cannot be opened again: " + text_of(read.error()));
    }
    if (!hold_the_same(container, *read)) {
        throw failure_t(name, "would not hold the same again");
    }
    return *std::move(written);
}
