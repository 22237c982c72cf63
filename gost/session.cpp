#include "gost/schemes.h"

namespace derkit::gost {

namespace {

// Keys that are kept; a container has a handful of salts. A further key replaces the oldest one.
constexpr std::size_t MAX_REMEMBERED = 16;

// Names a derivation by its arguments; the salt, of any octets, comes last.
std::string name_of_derivation(char kind, digest_id digest, std::uint32_t iterations, std::size_t size,
                               std::string_view salt) {
    std::string name(1, kind);
    for (const std::size_t argument : {static_cast<std::size_t>(digest), static_cast<std::size_t>(iterations), size}) {
        name += std::to_string(argument);
        name += ' ';
    }
    return name.append(salt);
}

std::optional<secret> copy_of(std::optional<std::string_view> password) {
    return password.has_value() ? std::optional<secret>(secret(*password)) : std::nullopt;
}

} // namespace

session::session(std::optional<std::string_view> password, const limits& cost)
    : password_(copy_of(password)), none_for_pkcs12_(!password.has_value()), cost_(cost) {}

result<secret> session::pbkdf2_key(digest_id digest, std::string_view salt, std::uint32_t iterations,
                                   std::size_t size) {
    std::string what = name_of_derivation('P', digest, iterations, size, salt);
    if (const secret* const known = find(what); known != nullptr) {
        return *known;
    }
    if (const cause refused = charge(digest, iterations, size); refused != cause::none) {
        return failure{refused, std::to_string(iterations)};
    }
    const std::string_view octets = password_.has_value() ? password_->view() : std::string_view();
    return remember(std::move(what), pbkdf2(digest, octets, salt, iterations, size));
}

result<secret> session::pkcs12_key(digest_id digest, pkcs12_purpose purpose, std::string_view salt,
                                   std::uint32_t iterations, std::size_t size) {
    const char kind = static_cast<char>((none_for_pkcs12_ ? 'a' : 'A') + static_cast<int>(purpose));
    std::string what = name_of_derivation(kind, digest, iterations, size, salt);
    if (const secret* const known = find(what); known != nullptr) {
        return *known;
    }
    if (const cause refused = charge(digest, iterations, size); refused != cause::none) {
        return failure{refused, std::to_string(iterations)};
    }
    const std::string_view octets = password_.has_value() ? password_->view() : std::string_view();
    const secret password = none_for_pkcs12_ ? secret() : bmp_password(octets);
    return remember(std::move(what), pkcs12_kdf(digest, purpose, password, salt, iterations, size));
}

bool session::swap_empty_and_none() {
    if (password_.has_value() && !password_->empty()) {
        return false;
    }
    none_for_pkcs12_ = !none_for_pkcs12_;
    return true;
}

const secret* session::find(const std::string& what) const {
    for (const derived& known : derived_) {
        if (known.what == what) {
            return &known.key;
        }
    }
    return nullptr;
}

cause session::charge(digest_id digest, std::uint32_t iterations, std::size_t size) {
    if (iterations > cost_.max_iterations) {
        return cause::too_many_iterations;
    }
    const std::uint64_t blocks = (size + digest_size(digest) - 1) / digest_size(digest);
    const std::uint64_t cost = blocks * iterations;
    if (cost > cost_.max_total_iterations - spent_) {
        return cause::budget_exhausted;
    }
    spent_ += cost;
    return cause::none;
}

result<secret> session::remember(std::string what, result<secret> key) {
    if (key) {
        if (derived_.size() == MAX_REMEMBERED) {
            derived_.erase(derived_.begin());
        }
        derived_.push_back({std::move(what), *key});
    }
    return key;
}

} // namespace derkit::gost
