// Programs that were built against the library rely on the size of every public record and on where its fields lie.
#include <cstddef>
#include <type_traits>

#include "derkit/asn_helper.h"
#include "derkit/asn_oidmap.h"
#include "derkit/int2str.h"

namespace {

constexpr std::size_t PTR = sizeof(void*);

template <typename RECORD> constexpr bool is_plain_record() {
    return std::is_standard_layout_v<RECORD> && std::is_trivially_copyable_v<RECORD>;
}

} // namespace

static_assert(is_plain_record<blob_t>() && sizeof(blob_t) == 2 * PTR);
static_assert(offsetof(blob_t, size) == 0 && offsetof(blob_t, data) == PTR);

static_assert(is_plain_record<OIDdescr_t>() && sizeof(OIDdescr_t) == 8 * PTR);
static_assert(offsetof(OIDdescr_t, oid_asn) == 0 && offsetof(OIDdescr_t, oid_asn_size) == PTR);
static_assert(offsetof(OIDdescr_t, oid_str) == 2 * PTR && offsetof(OIDdescr_t, oid_str_size) == 3 * PTR);
static_assert(offsetof(OIDdescr_t, oid_sn) == 4 * PTR && offsetof(OIDdescr_t, oid_sn_size) == 5 * PTR);
static_assert(offsetof(OIDdescr_t, oid_ln) == 6 * PTR && offsetof(OIDdescr_t, oid_ln_size) == 7 * PTR);

static_assert(is_plain_record<oid_map_handle_t>() && sizeof(oid_map_handle_t) == PTR);
static_assert(offsetof(oid_map_handle_t, map) == 0);

static_assert(is_plain_record<oid_ref_t>() && sizeof(oid_ref_t) == 2 * PTR);
static_assert(offsetof(oid_ref_t, data) == 0 && offsetof(oid_ref_t, size) == PTR);

static_assert(is_plain_record<asn_algorid_t>() && sizeof(asn_algorid_t) == 2 * PTR);
static_assert(offsetof(asn_algorid_t, oid) == 0);

static_assert(is_plain_record<asn_ike_signalg_t>() && sizeof(asn_ike_signalg_t) == 4 * PTR);
static_assert(offsetof(asn_ike_signalg_t, oid) == 0 && offsetof(asn_ike_signalg_t, parameters) == 2 * PTR);

static_assert(is_plain_record<asn_pubkey_t>() && sizeof(asn_pubkey_t) == 6 * PTR);
static_assert(offsetof(asn_pubkey_t, algorithm) == 0 && offsetof(asn_pubkey_t, parameters) == 2 * PTR);
static_assert(offsetof(asn_pubkey_t, key) == 4 * PTR);

static_assert(is_plain_record<asn_rsa_pubkey_t>() && sizeof(asn_rsa_pubkey_t) == 4 * PTR);
static_assert(offsetof(asn_rsa_pubkey_t, modulus) == 0 && offsetof(asn_rsa_pubkey_t, exponent) == 2 * PTR);

static_assert(is_plain_record<asn_gost_pubkey_t>() && sizeof(asn_gost_pubkey_t) == 8 * PTR);
static_assert(offsetof(asn_gost_pubkey_t, public_key_param_set) == 0);
static_assert(offsetof(asn_gost_pubkey_t, digest_param_set) == 2 * PTR);
static_assert(offsetof(asn_gost_pubkey_t, encryption_param_set) == 4 * PTR);
static_assert(offsetof(asn_gost_pubkey_t, key) == 6 * PTR);

static_assert(is_plain_record<asn_dsa_certsign_t>() && sizeof(asn_dsa_certsign_t) == 4 * PTR);
static_assert(offsetof(asn_dsa_certsign_t, r) == 0 && offsetof(asn_dsa_certsign_t, s) == 2 * PTR);

static_assert(is_plain_record<IntToString>() && sizeof(IntToString) == 2 * PTR);
static_assert(offsetof(IntToString, value) == 0 && offsetof(IntToString, name) == PTR);

static_assert(sizeof(pki_alg_t) == 4 && sizeof(cert_time64_t) == 8 && sizeof(asn_tag_t::Type) == 1);
