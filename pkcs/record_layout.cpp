// Programs that were built against the library rely on the size of every public record and on where its fields lie.
#include <cstddef>
#include <type_traits>

#include "derkit/pkcs12_helper.h"
#include "derkit/pkcs8_helper.h"

namespace {

constexpr std::size_t PTR = sizeof(void*);

template <typename RECORD> constexpr bool is_plain_record() {
    return std::is_standard_layout_v<RECORD> && std::is_trivially_copyable_v<RECORD>;
}

} // namespace

static_assert(is_plain_record<pkcs8_pki_gost_t>() && sizeof(pkcs8_pki_gost_t) == 3 * PTR);
static_assert(offsetof(pkcs8_pki_gost_t, key_type) == 0 && offsetof(pkcs8_pki_gost_t, private_key) == PTR);

static_assert(is_plain_record<asn_pkcs8_priv_key_info_t>() && sizeof(asn_pkcs8_priv_key_info_t) == 4 * PTR);
static_assert(offsetof(asn_pkcs8_priv_key_info_t, algorithm) == 0);
static_assert(offsetof(asn_pkcs8_priv_key_info_t, private_key) == 2 * PTR);

static_assert(is_plain_record<pkcs5_pbe_gost_t>() && sizeof(pkcs5_pbe_gost_t) == 5 * PTR);
static_assert(offsetof(pkcs5_pbe_gost_t, salt) == 0 && offsetof(pkcs5_pbe_gost_t, iterations) == 2 * PTR);
static_assert(offsetof(pkcs5_pbe_gost_t, iv) == 3 * PTR);

static_assert(is_plain_record<pkcs8_encrypted_pki_gost_t>() && sizeof(pkcs8_encrypted_pki_gost_t) == 7 * PTR);
static_assert(offsetof(pkcs8_encrypted_pki_gost_t, pbe) == 0);
static_assert(offsetof(pkcs8_encrypted_pki_gost_t, encrypted_data) == 5 * PTR);

static_assert(is_plain_record<bmp_string_t>() && sizeof(bmp_string_t) == 2 * PTR);
static_assert(offsetof(bmp_string_t, size) == 0 && offsetof(bmp_string_t, data) == PTR);

static_assert(is_plain_record<pkcs12_bag_t>() && sizeof(pkcs12_bag_t) == 7 * PTR);
static_assert(offsetof(pkcs12_bag_t, type) == 0 && offsetof(pkcs12_bag_t, value) == PTR);
static_assert(offsetof(pkcs12_bag_t, friendly_name) == 3 * PTR && offsetof(pkcs12_bag_t, local_key_id) == 5 * PTR);

static_assert(is_plain_record<pkcs12_mac_t>() && sizeof(pkcs12_mac_t) == 7 * PTR);
static_assert(offsetof(pkcs12_mac_t, digest_alg) == 0 && offsetof(pkcs12_mac_t, digest) == 2 * PTR);
static_assert(offsetof(pkcs12_mac_t, salt) == 4 * PTR && offsetof(pkcs12_mac_t, iterations) == 6 * PTR);

constexpr std::size_t LIST = sizeof(std::list<pkcs12_bag_t>);
static_assert(sizeof(pkcs12_easy_t) == 3 * LIST + sizeof(pkcs12_mac_t));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof" // std::list is no standard-layout type, yet its place is fixed
static_assert(offsetof(pkcs12_easy_t, plain_bags) == 0 && offsetof(pkcs12_easy_t, encrypted_bags) == LIST);
static_assert(offsetof(pkcs12_easy_t, mac) == 2 * LIST);
static_assert(offsetof(pkcs12_easy_t, decrypted_buffers) == 2 * LIST + sizeof(pkcs12_mac_t));
#pragma GCC diagnostic pop
static_assert(!std::is_copy_constructible_v<pkcs12_easy_t> && !std::is_copy_assignable_v<pkcs12_easy_t>);

static_assert(sizeof(pbe_crypto_t) == PTR && !std::has_virtual_destructor_v<pbe_crypto_t>);
