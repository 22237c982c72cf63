#include "derkit/gost/pbe_crypto.h"

#include <algorithm>
#include <string>

#include "gost/ciphers.h"
#include "gost/crypto.h"
#include "gost/der.h"
#include "gost/scheme_tables.h"
#include "gost/schemes.h"

namespace derkit::gost {

namespace {

constexpr std::size_t IV_SIZE = 8;
constexpr std::size_t KEY_SIZE = 32;
constexpr std::string_view CRYPTOPRO_A = "1.2.643.2.2.31.1";

std::string_view octets_of(const void* data, unsigned int size) {
    return {static_cast<const char*>(data), size};
}

// The content of the OCTET STRING element that the library passes; nothing when its header, which the library can write
// too short for lengths of 65,536 octets or more, does not cover all of it.
std::optional<std::string_view> content_of(std::string_view octet_string) {
    asn_cursor_t in(blob_of(octet_string));
    const blob_t content = in.read(asn_tag_t::OCTET_STRING);
    return in.ok() && in.empty() ? std::optional(text_of(content)) : std::nullopt;
}

bool is_octet_string(std::string_view octets) {
    return !octets.empty() && octets[0] == static_cast<char>(asn_tag_t::OCTET_STRING);
}

} // namespace

struct pbe_crypto::state {
    session under;
    container_form form;
    std::uint32_t iterations;
    mac_key verified = mac_key::unknown;
    std::vector<failure> refusals = {};

    // The writer holds views of these until it returns.
    std::string mac_salt = {};
    secret mac = {};
    std::string salt = {};
    std::string iv = {};

    bool refuse(failure why) {
        refusals.push_back(std::move(why));
        return false;
    }

    failure check_iterations() const {
        const bool usable = iterations != 0 && is_native_count(iterations);
        return usable ? failure() : failure{cause::invalid_argument, std::to_string(iterations) + " iterations"};
    }

    // Fills `salt` and `iv` and derives their key.
    result<secret> new_key();
};

result<secret> pbe_crypto::state::new_key() {
    if (failure refused = check_iterations(); refused.why != cause::none) {
        return refused;
    }
    result<std::string> new_salt = random_octets(SALT_SIZE);
    result<std::string> new_iv = random_octets(IV_SIZE);
    if (!new_salt || !new_iv) {
        return !new_salt ? new_salt.error() : new_iv.error();
    }
    salt = std::move(*new_salt);
    iv = std::move(*new_iv);
    return under.pbkdf2_key(digest_id::GOST94, salt, iterations, KEY_SIZE);
}

pbe_crypto::pbe_crypto(std::optional<std::string_view> password, container_form form, const limits& cost)
    : state_(new state{session(password, cost), form, find_format(format::gost94)->iterations}) {}

pbe_crypto::~pbe_crypto() = default;

void pbe_crypto::set_iterations(std::uint32_t iterations) noexcept {
    state_->iterations = iterations;
}

const std::vector<failure>& pbe_crypto::refusals() const noexcept {
    return state_->refusals;
}

void pbe_crypto::clear_refusals() noexcept {
    state_->refusals.clear();
}

mac_key pbe_crypto::verified_mac_key() const noexcept {
    return state_->verified;
}

container_form pbe_crypto::form() const noexcept {
    return state_->form;
}

bool pbe_crypto::verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) {
    state_->verified = mac_key::unknown;
    const result<verified_mac> verified = gost::verify_mac(state_->under, mac, octets_of(data, size));
    if (!verified) {
        return state_->refuse(verified.error());
    }
    state_->verified = verified->key;
    state_->form = verified->form;
    return true;
}

bool pbe_crypto::make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) {
    const std::string_view element = octets_of(data, size);
    const std::optional<std::string_view> covered =
        state_->form == container_form::native ? element : content_of(element);
    if (!covered.has_value()) {
        return state_->refuse({cause::too_large, std::to_string(size) + " octets"});
    }
    if (failure refused = state_->check_iterations(); refused.why != cause::none) {
        return state_->refuse(std::move(refused));
    }
    result<std::string> salt = random_octets(SALT_SIZE);
    if (!salt) {
        return state_->refuse(salt.error());
    }
    const result<secret> key = pbkdf2_mac_key(state_->under, digest_id::GOST94, *salt, state_->iterations);
    if (!key) {
        return state_->refuse(key.error());
    }
    result<secret> made = hmac(digest_id::GOST94, *key, *covered);
    if (!made) {
        return state_->refuse(made.error());
    }
    state_->mac_salt = std::move(*salt);
    state_->mac = std::move(*made);
    mac.salt = blob_of(state_->mac_salt);
    mac.iterations = state_->iterations;
    mac.digest = blob_of(state_->mac);
    return true;
}

// Bags without the OCTET STRING that the library expects around them get one.
bool pbe_crypto::decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) {
    out.clear();
    if (params.salt.size == 0 || params.iterations == 0 || params.iv.size != IV_SIZE) {
        return state_->refuse({cause::malformed_parameters, "PBES2"});
    }
    const result<secret> key =
        state_->under.pbkdf2_key(digest_id::GOST94, text_of(params.salt), params.iterations, KEY_SIZE);
    if (!key) {
        return state_->refuse(key.error());
    }
    const result<secret> plain =
        gost28147_cfb(direction::DECRYPT, CRYPTOPRO_A, *key, text_of(params.iv), octets_of(data, size));
    if (!plain) {
        return state_->refuse(plain.error());
    }
    const bool is_key = is_plaintext(*plain, plaintext::PRIVATE_KEY_INFO);
    if (!is_key && !is_plaintext(*plain, plaintext::SAFE_CONTENTS)) {
        return state_->refuse({cause::wrong_password, std::string()});
    }
    const std::string header =
        is_key || is_octet_string(*plain) ? std::string() : der_header(asn_tag_t::OCTET_STRING, plain->size());
    out.reserve(header.size() + plain->size()); // so that growth leaves no copy of the plaintext
    out.append(header);
    out.append(plain->view());
    return true;
}

// `data` is an OCTET STRING around the SafeContents; standard containers have none around theirs.
bool pbe_crypto::encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) {
    out.clear();
    const std::string_view element = octets_of(data, size);
    const bool unwrap = state_->form == container_form::standard && is_octet_string(element);
    const std::optional<std::string_view> plain = unwrap ? content_of(element) : element;
    if (!plain.has_value()) {
        return state_->refuse({cause::too_large, std::to_string(size) + " octets"});
    }
    const result<secret> key = state_->new_key();
    if (!key) {
        return state_->refuse(key.error());
    }
    const result<secret> done = gost28147_cfb(direction::ENCRYPT, CRYPTOPRO_A, *key, state_->iv, *plain);
    if (!done) {
        return state_->refuse(done.error());
    }
    params.salt = blob_of(state_->salt);
    params.iterations = state_->iterations;
    params.iv = blob_of(state_->iv);
    out.assign(done->view());
    return true;
}

} // namespace derkit::gost
