#include "derkit/gost/private_key.h"

#include <algorithm>
#include <utility>

#include "asn/asn_cursor.h"
#include "gost/container_writer.h"
#include "gost/curve.h"
#include "gost/der.h"
#include "gost/key_info.h"
#include "gost/schemes.h"

namespace derkit::gost {

struct private_key::state {
    key_family family = key_family::gost2001;
    std::string algorithm_oid; // content octets
    std::string parameters;    // complete element; empty without
    named_oid param_set;
    named_oid digest_param_set;
    const curve_row* curve = nullptr; // null when it is unknown
    key_shape shape = key_shape::octets;
    secret number; // highest octet first

    static result<std::unique_ptr<state>> read(std::string_view der);
};

namespace {

// RFC 9215 4: no digest is named with the 256-bit curves of GOST R 34.10-2012 and with the twisted 512-bit curve; with
// all others, the one of the key's size.
std::string_view digest_of(key_family family, std::string_view param_set) {
    constexpr std::string_view NEW_CURVES_256 = "1.2.643.7.1.2.1.1.";
    constexpr std::string_view TWISTED_CURVE_512 = "1.2.643.7.1.2.1.2.3";
    if (family == key_family::gost2001) {
        return "1.2.643.2.2.30.1";
    }
    if (param_set.substr(0, NEW_CURVES_256.size()) == NEW_CURVES_256 || param_set == TWISTED_CURVE_512) {
        return {};
    }
    return family == key_family::gost2012_256 ? "1.2.643.7.1.1.2.2" : "1.2.643.7.1.1.2.3";
}

std::string new_parameters(key_family family, std::string_view param_set) {
    const std::string_view digest = digest_of(family, param_set);
    return der(asn_tag_t::SEQUENCE, {der_oid(param_set), digest.empty() ? std::string() : der_oid(digest)});
}

secret reversed(std::string_view octets) {
    secret out(octets.size());
    std::reverse_copy(octets.begin(), octets.end(), out.data());
    return out;
}

// Fills up to the size of a key with zeros in front.
secret padded(std::string_view number, std::size_t size) {
    secret out(size);
    std::copy(number.begin(), number.end(), out.data() + (size - number.size()));
    return out;
}

// K = KM * M1 * ... * Mk mod q, each number with its lowest octet first (RFC 9548 appendix A).
result<secret> without_masks(std::string_view octets, std::size_t size, const curve_row& curve) {
    secret number = reversed(octets.substr(0, size));
    for (std::size_t at = size; at != octets.size(); at += size) {
        result<secret> product = multiply_numbers(curve, number, reversed(octets.substr(at, size)));
        if (!product) {
            return product.error();
        }
        number = *std::move(product);
    }
    return number;
}

failure unknown_curve(const named_oid& param_set) {
    return {cause::unsupported_param_set, param_set.oid};
}

result<secret> number_of(const shaped_key& key, std::size_t size, const curve_row* curve, const named_oid& param_set) {
    if (key.is_big_endian) {
        return padded(key.octets, size);
    }
    if (key.octets.size() == size) {
        return reversed(key.octets);
    }
    if (curve == nullptr) {
        return unknown_curve(param_set);
    }
    return without_masks(key.octets, size, *curve);
}

// On an unknown curve, zero is the only number known to be out of range.
result<bool> check_range(const secret& number, const curve_row* curve) {
    if (curve != nullptr && curve->size != number.size()) {
        return cause::malformed_parameters;
    }
    if (curve == nullptr) {
        return std::any_of(number.data(), number.data() + number.size(),
                           [](unsigned char octet) { return octet != 0; });
    }
    return is_private_number(*curve, number);
}

failure first_failure(const result<bool>& range) {
    return range ? failure{cause::key_out_of_range, {}} : range.error();
}

// A public key on an unknown curve cannot be compared.
result<bool> check_public_key(const secret& number, const curve_row* curve, std::string_view public_key) {
    if (public_key.empty() || curve == nullptr) {
        return true;
    }
    const result<std::string> computed = multiply_generator(*curve, number);
    if (!computed) {
        return computed.error();
    }
    return *computed == public_key;
}

result<secret> decrypted_key(std::string_view der, std::optional<std::string_view> password, const limits& cost) {
    const result<encrypted_key_info> info = read_encrypted_key_info(der);
    if (!info) {
        return info.error();
    }
    const encryption_scheme scheme = outline_encryption(info->algorithm, cost);
    if (scheme.unsupported.has_value()) {
        return *scheme.unsupported;
    }
    if (!password.has_value()) {
        return cause::password_needed;
    }
    session under(password, cost);
    return decrypt(under, info->algorithm, info->ciphertext, plaintext::PRIVATE_KEY_INFO);
}

// The number as an INTEGER: positive and as short as it can be (X.690 8.3).
secret integer_of(const secret& number) {
    const std::size_t size = number.size();
    std::size_t first = 0;
    while (first + 1 < size && number.data()[first] == 0) {
        ++first;
    }
    const bool looks_negative = (number.data()[first] & 0x80) != 0;
    const std::string_view zero(looks_negative ? std::string_view("\0", 1) : std::string_view());
    return secret_der(asn_tag_t::INTEGER, {zero, number.view().substr(first)});
}

secret content_of(const secret& number, key_shape shape) {
    if (shape == key_shape::integer) {
        return integer_of(number);
    }
    secret octets = reversed(number);
    return shape == key_shape::octet_string ? secret_der(asn_tag_t::OCTET_STRING, {octets}) : octets;
}

key_outline outline_of(const key_info& info) {
    key_outline out;
    out.algorithm = info.algorithm;
    out.param_set = info.param_sets.curve;
    out.digest_param_set = info.param_sets.digest;
    if (info.family != nullptr) {
        out.family = info.family->family;
    }
    if (info.key.has_value()) {
        out.shape = info.key->shape;
        out.size = info.key->is_big_endian ? info.family->size : info.key->octets.size();
    }
    out.has_public_key = !info.public_key.empty();
    out.has_attributes = info.has_attributes;
    return out;
}

} // namespace

const char* name_of(key_family family) noexcept {
    switch (family) {
    case key_family::gost2001:
        return "GOST R 34.10-2001";
    case key_family::gost2012_256:
        return "GOST R 34.10-2012 256";
    case key_family::gost2012_512:
        return "GOST R 34.10-2012 512";
    }
    return "unknown";
}

const char* name_of(key_shape shape) noexcept {
    switch (shape) {
    case key_shape::octets:
        return "octets";
    case key_shape::octet_string:
        return "OCTET STRING";
    case key_shape::integer:
        return "INTEGER";
    case key_shape::masked:
        return "masked";
    }
    return "unknown";
}

// Reads a PrivateKeyInfo.
result<std::unique_ptr<private_key::state>> private_key::state::read(std::string_view der) {
    const result<key_info> info = read_key_info(der);
    if (!info) {
        return info.error();
    }
    if (info->family == nullptr) {
        return failure{cause::unsupported_key, info->algorithm.oid};
    }
    if (info->param_sets.curve.oid.empty()) {
        return cause::malformed_parameters;
    }
    if (!info->key.has_value()) {
        return cause::malformed;
    }
    auto made = std::make_unique<state>();
    made->family = info->family->family;
    made->algorithm_oid = info->algorithm_oid;
    made->parameters = info->parameters;
    made->param_set = info->param_sets.curve;
    made->digest_param_set = info->param_sets.digest;
    made->curve = find_curve(info->param_sets.curve.oid);
    made->shape = info->key->shape;
    result<secret> number = number_of(*info->key, info->family->size, made->curve, made->param_set);
    if (!number) {
        return number.error();
    }
    made->number = *std::move(number);
    const result<bool> in_range = check_range(made->number, made->curve);
    if (!in_range || !*in_range) {
        return first_failure(in_range);
    }
    const result<bool> matches = check_public_key(made->number, made->curve, info->public_key);
    if (!matches || !*matches) {
        return matches ? failure{cause::public_key_mismatch, {}} : matches.error();
    }
    return made;
}

private_key::private_key(std::unique_ptr<state> made) noexcept : state_(std::move(made)) {}
private_key::~private_key() = default;
private_key::private_key(const private_key& other) : state_(std::make_unique<state>(*other.state_)) {}
private_key::private_key(private_key&& other) noexcept = default;
private_key& private_key::operator=(private_key&& other) noexcept = default;

private_key& private_key::operator=(const private_key& other) {
    if (this != &other) {
        state_ = std::make_unique<state>(*other.state_);
    }
    return *this;
}

result<private_key> private_key::read(std::string_view der, std::optional<std::string_view> password,
                                      const limits& cost) {
    if (der.size() > cost.max_size) {
        return cause::too_large;
    }
    secret plain;
    if (is_encrypted_key_info(der)) {
        result<secret> decrypted = decrypted_key(der, password, cost);
        if (!decrypted) {
            return decrypted.error();
        }
        plain = *std::move(decrypted);
        der = plain;
    }
    result<std::unique_ptr<state>> made = state::read(der);
    return made ? result<private_key>(private_key(*std::move(made))) : made.error();
}

result<secret> private_key::decrypt(std::string_view der, std::optional<std::string_view> password,
                                    const limits& cost) {
    return der.size() > cost.max_size ? cause::too_large : decrypted_key(der, password, cost);
}

result<private_key> private_key::from_number(key_family family, std::string_view param_set, std::string_view number) {
    const curve_row* const curve = find_curve(param_set);
    if (curve == nullptr) {
        return failure{cause::unsupported_param_set, std::string(param_set)};
    }
    const family_row& row = row_of(family);
    if (curve->size != row.size) {
        return failure{cause::invalid_argument, "a curve of another size than the key's"};
    }
    if (number.size() != row.size) {
        return cause::key_out_of_range;
    }
    auto made = std::make_unique<state>();
    made->family = family;
    const std::string oid = der_oid(row.oid);
    asn_cursor_t in(blob_of(oid));
    made->algorithm_oid = text_of(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    made->parameters = new_parameters(family, param_set);
    made->param_set = {std::string(param_set), std::string(curve->name)};
    made->digest_param_set = read_param_sets(made->parameters).digest;
    made->curve = curve;
    made->number = secret(number);
    const result<bool> in_range = check_range(made->number, curve);
    if (!in_range || !*in_range) {
        return first_failure(in_range);
    }
    return private_key(std::move(made));
}

result<key_outline> private_key::inspect(std::string_view der, const limits& cost) {
    if (der.size() > cost.max_size) {
        return cause::too_large;
    }
    if (is_encrypted_key_info(der)) {
        const result<encrypted_key_info> info = read_encrypted_key_info(der);
        if (!info) {
            return info.error();
        }
        key_outline out;
        out.encryption = outline_encryption(info->algorithm, cost);
        return out;
    }
    const result<key_info> info = read_key_info(der);
    return info ? result<key_outline>(outline_of(*info)) : info.error();
}

key_family private_key::family() const noexcept {
    return state_->family;
}

const named_oid& private_key::param_set() const noexcept {
    return state_->param_set;
}

const named_oid& private_key::digest_param_set() const noexcept {
    return state_->digest_param_set;
}

key_shape private_key::shape() const noexcept {
    return state_->shape;
}

const secret& private_key::number() const noexcept {
    return state_->number;
}

result<std::string> private_key::public_key() const {
    return state_->curve != nullptr ? multiply_generator(*state_->curve, state_->number)
                                    : result<std::string>(unknown_curve(state_->param_set));
}

result<bool> private_key::belongs_to(std::string_view certificate) const {
    const result<certificate_key> theirs = read_certificate_key(certificate);
    if (!theirs) {
        return theirs.error();
    }
    const family_row* const family = find_family(theirs->algorithm);
    if (family == nullptr || family->family != state_->family) {
        return false;
    }
    const result<std::string> ours = public_key();
    if (!ours) {
        return ours.error();
    }
    return theirs->octets == *ours;
}

// PrivateKeyInfo ::= SEQUENCE {                                                                     RFC 5208 5
//   version Version, privateKeyAlgorithm AlgorithmIdentifier, privateKey OCTET STRING, ... }
result<secret> private_key::write(key_shape shape) const {
    if (shape == key_shape::masked) {
        return failure{cause::invalid_argument, "masks are not written"};
    }
    const secret content = content_of(state_->number, shape);
    if (shape == key_shape::integer && content.size() == state_->number.size()) {
        return failure{cause::invalid_argument, "as an INTEGER this key would be taken for bare octets"};
    }
    const std::string algorithm = der(asn_tag_t::SEQUENCE, {der(asn_tag_t::OBJECT_IDENTIFIER, {state_->algorithm_oid}),
                                                            std::string_view(state_->parameters)});
    const secret octets = secret_der(asn_tag_t::OCTET_STRING, {content});
    return secret_der(asn_tag_t::SEQUENCE, {der_integer(0), algorithm, octets});
}

result<std::string> private_key::write_encrypted(std::string_view password, const write_options& options,
                                                 key_shape shape) const {
    const result<secret> plain = write(shape);
    if (!plain) {
        return plain.error();
    }
    if (failure refused = first_of(check_options(options), check_new_password(password)); refused.why != cause::none) {
        return refused;
    }
    session under(password, unlimited());
    const result<encrypted> made = encrypt(under, options, *plain, plaintext::PRIVATE_KEY_INFO);
    return made ? result<std::string>(write_encrypted_key_info(*made)) : made.error();
}

} // namespace derkit::gost
