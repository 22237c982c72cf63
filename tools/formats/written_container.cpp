#include "formats/written_container.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "io/failure.h"

namespace {

auto content_of(const gost::bag& bag) {
    return std::tuple(bag.type, bag.value.view(), bag.friendly_name, bag.local_key_id);
}

// Writing puts bags into other entries.
std::vector<const gost::bag*> sorted_bags(const gost::container& container) {
    std::vector<const gost::bag*> bags = container.bags();
    std::ranges::sort(bags, [](const gost::bag* a, const gost::bag* b) { return content_of(*a) < content_of(*b); });
    return bags;
}

bool hold_the_same(const gost::container& a, const gost::container& b) {
    return std::ranges::equal(sorted_bags(a), sorted_bags(b), [](const gost::bag* one, const gost::bag* other) {
        return content_of(*one) == content_of(*other);
    });
}

} // namespace

std::string write_container(const gost::container& container, const secret_t& password,
                            const gost::write_options& options, const std::string& name) {
    gost::result<std::string> written = container.write(password.text(), options);
    if (!written) {
        throw failure_t(name, text_of(written.error()));
    }
    const gost::result<gost::container> read = gost::container::open(*written, password.text());
    if (!read) {
        throw failure_t(name, "cannot be opened again: " + text_of(read.error()));
    }
    if (!hold_the_same(container, *read)) {
        throw failure_t(name, "would not hold the same again");
    }
    return *std::move(written);
}
