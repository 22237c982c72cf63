// What programs were compiled against: sizes and fields of the public records, values of the enumerators, types of the
// exported functions and objects. It includes every public header, so it is in the uppermost folder.
#include <cstddef>
#include <list>
#include <string>
#include <type_traits>

#include "derkit/derkit.h"

// Records, in units of a pointer: 4 bytes on i386, 8 on x86-64

namespace {

constexpr std::size_t PTR = sizeof(void*);

template <typename RECORD, std::size_t NUM_POINTERS> constexpr bool is_plain_record() {
    static_assert(std::is_standard_layout_v<RECORD>);
    static_assert(std::is_trivially_copyable_v<RECORD>);
    static_assert(std::is_trivially_destructible_v<RECORD>);
    static_assert(std::is_nothrow_default_constructible_v<RECORD>);
    static_assert(sizeof(RECORD) == NUM_POINTERS * PTR);
    return true;
}

} // namespace

static_assert(is_plain_record<blob_t, 2>());
static_assert(offsetof(blob_t, size) == 0 && offsetof(blob_t, data) == PTR);

static_assert(is_plain_record<OIDdescr_t, 8>());
static_assert(offsetof(OIDdescr_t, oid_asn) == 0 && offsetof(OIDdescr_t, oid_asn_size) == PTR);
static_assert(offsetof(OIDdescr_t, oid_str) == 2 * PTR && offsetof(OIDdescr_t, oid_str_size) == 3 * PTR);
static_assert(offsetof(OIDdescr_t, oid_sn) == 4 * PTR && offsetof(OIDdescr_t, oid_sn_size) == 5 * PTR);
static_assert(offsetof(OIDdescr_t, oid_ln) == 6 * PTR && offsetof(OIDdescr_t, oid_ln_size) == 7 * PTR);

static_assert(is_plain_record<oid_map_handle_t, 1>());
static_assert(offsetof(oid_map_handle_t, map) == 0);

static_assert(is_plain_record<pkcs8_pki_gost_t, 3>());
static_assert(offsetof(pkcs8_pki_gost_t, key_type) == 0 && offsetof(pkcs8_pki_gost_t, private_key) == PTR);

static_assert(is_plain_record<asn_pkcs8_priv_key_info_t, 4>());
static_assert(offsetof(asn_pkcs8_priv_key_info_t, algorithm) == 0);
static_assert(offsetof(asn_pkcs8_priv_key_info_t, private_key) == 2 * PTR);

static_assert(is_plain_record<pkcs5_pbe_gost_t, 5>());
static_assert(offsetof(pkcs5_pbe_gost_t, salt) == 0 && offsetof(pkcs5_pbe_gost_t, iterations) == 2 * PTR);
static_assert(offsetof(pkcs5_pbe_gost_t, iv) == 3 * PTR);

static_assert(is_plain_record<pkcs8_encrypted_pki_gost_t, 7>());
static_assert(offsetof(pkcs8_encrypted_pki_gost_t, pbe) == 0);
static_assert(offsetof(pkcs8_encrypted_pki_gost_t, encrypted_data) == 5 * PTR);

static_assert(is_plain_record<bmp_string_t, 2>());
static_assert(offsetof(bmp_string_t, size) == 0 && offsetof(bmp_string_t, data) == PTR);

static_assert(is_plain_record<pkcs12_bag_t, 7>());
static_assert(offsetof(pkcs12_bag_t, type) == 0 && offsetof(pkcs12_bag_t, value) == PTR);
static_assert(offsetof(pkcs12_bag_t, friendly_name) == 3 * PTR && offsetof(pkcs12_bag_t, local_key_id) == 5 * PTR);

static_assert(is_plain_record<pkcs12_mac_t, 7>());
static_assert(offsetof(pkcs12_mac_t, digest_alg) == 0 && offsetof(pkcs12_mac_t, digest) == 2 * PTR);
static_assert(offsetof(pkcs12_mac_t, salt) == 4 * PTR && offsetof(pkcs12_mac_t, iterations) == 6 * PTR);

static_assert(is_plain_record<oid_ref_t, 2>());
static_assert(offsetof(oid_ref_t, data) == 0 && offsetof(oid_ref_t, size) == PTR);

static_assert(is_plain_record<asn_algorid_t, 2>());
static_assert(offsetof(asn_algorid_t, oid) == 0);

static_assert(is_plain_record<asn_ike_signalg_t, 4>());
static_assert(offsetof(asn_ike_signalg_t, oid) == 0 && offsetof(asn_ike_signalg_t, parameters) == 2 * PTR);

static_assert(is_plain_record<asn_pubkey_t, 6>());
static_assert(offsetof(asn_pubkey_t, algorithm) == 0 && offsetof(asn_pubkey_t, parameters) == 2 * PTR);
static_assert(offsetof(asn_pubkey_t, key) == 4 * PTR);

static_assert(is_plain_record<asn_rsa_pubkey_t, 4>());
static_assert(offsetof(asn_rsa_pubkey_t, modulus) == 0 && offsetof(asn_rsa_pubkey_t, exponent) == 2 * PTR);

static_assert(is_plain_record<asn_gost_pubkey_t, 8>());
static_assert(offsetof(asn_gost_pubkey_t, public_key_param_set) == 0);
static_assert(offsetof(asn_gost_pubkey_t, digest_param_set) == 2 * PTR);
static_assert(offsetof(asn_gost_pubkey_t, encryption_param_set) == 4 * PTR);
static_assert(offsetof(asn_gost_pubkey_t, key) == 6 * PTR);

static_assert(is_plain_record<asn_dsa_certsign_t, 4>());
static_assert(offsetof(asn_dsa_certsign_t, r) == 0 && offsetof(asn_dsa_certsign_t, s) == 2 * PTR);

static_assert(is_plain_record<IntToString, 2>());
static_assert(offsetof(IntToString, value) == 0 && offsetof(IntToString, name) == PTR);

// The size of a list is the standard library's. A container does not copy: the bags of a copy would view the source.
constexpr std::size_t LIST = sizeof(std::list<pkcs12_bag_t>);
static_assert(sizeof(pkcs12_easy_t) == 3 * LIST + sizeof(pkcs12_mac_t));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof" // std::list is no standard-layout type, yet its place is fixed
static_assert(offsetof(pkcs12_easy_t, plain_bags) == 0 && offsetof(pkcs12_easy_t, encrypted_bags) == LIST);
static_assert(offsetof(pkcs12_easy_t, mac) == 2 * LIST);
static_assert(offsetof(pkcs12_easy_t, decrypted_buffers) == 2 * LIST + sizeof(pkcs12_mac_t));
#pragma GCC diagnostic pop
static_assert(!std::is_copy_constructible_v<pkcs12_easy_t> && !std::is_copy_assignable_v<pkcs12_easy_t>);
static_assert(std::is_move_constructible_v<pkcs12_easy_t> && std::is_move_assignable_v<pkcs12_easy_t>);

// Nobody makes or destroys one through the interface, whose only slots are the four operations.
static_assert(sizeof(pbe_crypto_t) == PTR && std::is_abstract_v<pbe_crypto_t>);
static_assert(!std::has_virtual_destructor_v<pbe_crypto_t> && !std::is_destructible_v<pbe_crypto_t>);

// Enumerators and numbers. The codes of algorithms are in the table of their names.

static_assert(std::is_same_v<int, std::underlying_type_t<PrintableDnGetAttr>>);
static_assert(PDN_GET_ATTR_PAIR == 0 && PDN_GET_ATTR_VALUE == 1);
static_assert(std::is_same_v<int, std::underlying_type_t<PrintableDnOrder>>);
static_assert(PDN_ORDER_AS_ENCODED == 0 && PDN_ORDER_REVERSED == 1);
static_assert(std::is_same_v<unsigned int, std::underlying_type_t<pki_alg_t>> && PKI_ALG_UNKNOWN == 0);
static_assert(std::is_same_v<unsigned long long, cert_time64_t> && CERT_TIME64_INVALID == 0xFFFFFFFFFFFFFFFF);

static_assert(std::is_same_v<unsigned char, std::underlying_type_t<asn_tag_t::Type>>);
static_assert(asn_tag_t::ANY == 0x00 && asn_tag_t::INTEGER == 0x02 && asn_tag_t::BIT_STRING == 0x03);
static_assert(asn_tag_t::OCTET_STRING == 0x04 && asn_tag_t::NULL_VALUE == 0x05);
static_assert(asn_tag_t::OBJECT_IDENTIFIER == 0x06 && asn_tag_t::UTF8_STRING == 0x0C);
static_assert(asn_tag_t::NUMERIC_STRING == 0x12 && asn_tag_t::PRINTABLE_STRING == 0x13);
static_assert(asn_tag_t::T61_STRING == 0x14 && asn_tag_t::IA5_STRING == 0x16);
static_assert(asn_tag_t::UNIVERSAL_STRING == 0x1C && asn_tag_t::BMP_STRING == 0x1E);
static_assert(asn_tag_t::SEQUENCE == 0x30 && asn_tag_t::SET == 0x31 && asn_tag_t::CONTEXT_0_PRIMITIVE == 0x80);
static_assert(asn_tag_t::CONTEXT_0 == 0xA0 && asn_tag_t::CONTEXT_1 == 0xA1 && asn_tag_t::CONTEXT_2 == 0xA2);

// Functions and objects. A symbol's name tells neither a function's result nor an object's type.

namespace {

using bytes_t = const unsigned char*;
using u32 = unsigned int;

// Accepts a function of exactly this type: pointers to functions of other types do not convert.
template <typename TYPE> constexpr bool is(TYPE) {
    return true;
}

} // namespace

// ASN.1 primitives
static_assert(is<bytes_t (*)(asn_tag_t::Type, bytes_t, u32, u32*)>(asn1_read_tag));
static_assert(is<bool (*)(const void*, u32, u32&, u32)>(asn_read_INTEGER));
static_assert(is<void (*)(u32, std::string&)>(asn_write_INTEGER));
static_assert(is<bool (*)(const blob_t&, const unsigned char (&)[6])>(asn_oid_equal_<6>));

// OIDs and OID maps
static_assert(is<u32 (*)(const char*, const char*, unsigned char (&)[512])>(oid_str_to_asn_));
static_assert(is<int (*)(bytes_t, bytes_t, std::string&)>(oid_asn_to_str_));
static_assert(is<oid_map_handle_t (*)(const char*, u32)>(oid_map_parse));
static_assert(is<void (*)(OIDmaps_t&, const char*, u32)>(oid_map_parse_));
static_assert(is<void (*)(oid_map_handle_t)>(oid_map_release));
static_assert(is<const OIDdescr_t* (*)(oid_map_handle_t, bytes_t, u32)>(oid_map_find_asn));
static_assert(is<const OIDdescr_t* (*)(oid_map_handle_t, const char*, u32)>(oid_map_find_str));
static_assert(is<const OIDdescr_t* (*)(oid_map_handle_t, const char*, u32)>(oid_map_find_sn));
static_assert(std::is_same_v<const oid_map_handle_t, decltype(OID_MAP_HANDLE_DEFAULT)>);
static_assert(std::is_same_v<const oid_map_handle_t, decltype(OID_MAP_HANDLE_DEFAULT_FILE)>);

// Distinguished names
static_assert(is<char* (*)(char*)>(printable_dn_reverse));
static_assert(is<bool (*)(const char*, const char*, std::string&, PrintableDnGetAttr)>(printable_dn_get_attr));
static_assert(is<bool (*)(const char*, const char*)>(printable_dn_contain_attrs));
static_assert(is<bool (*)(const char*)>(printable_dn_C_before_CN));
static_assert(is<bool (*)(bytes_t, u32, std::string&, PrintableDnOrder, oid_map_handle_t)>(asn_dn_to_printable));
static_assert(is<bool (*)(bytes_t, u32, std::string&, bool, oid_map_handle_t)>(asn_oid_to_printable));
static_assert(is<bool (*)(const char*, std::string&, oid_map_handle_t)>(printable_to_asn_dn));
static_assert(is<bool (*)(const std::string&, std::string&, std::string*, oid_map_handle_t)>(printable_dn_normalize));

// T.61 and wide characters
static_assert(is<bool (*)(const char*, u32, std::string&)>(ldap_t61s_to_utf8s));
static_assert(is<int (*)(char*, u32, u32)>(ldap_x_wc_to_utf8));

// GOST keys
static_assert(is<bool (*)(bytes_t, u32, asn_pkcs8_priv_key_info_t&)>(asn_read_pkcs8_priv_key_info));
static_assert(is<bool (*)(const void*, u32, pkcs8_pki_gost_t&)>(asn_read_pkcs8_pki_gost));
static_assert(is<void (*)(const pkcs8_pki_gost_t&, std::string&)>(asn_write_pkcs8_pki_gost));
static_assert(is<bool (*)(const void*, u32, pkcs5_pbe_gost_t&)>(asn_read_pkcs5_pbe_gost));
static_assert(is<void (*)(const pkcs5_pbe_gost_t&, std::string&)>(asn_write_pkcs5_pbe_gost));
static_assert(is<bool (*)(const void*, u32, pkcs8_encrypted_pki_gost_t&)>(asn_read_pkcs8_encrypted_pki_gost));
static_assert(is<void (*)(const pkcs8_encrypted_pki_gost_t&, std::string&)>(asn_write_pkcs8_encrypted_pki_gost));

// PKCS#12
static_assert(is<bool (*)(const void*, u32, pkcs12_mac_t&)>(asn_read_pkcs12_MacData));
static_assert(is<bool (*)(const void*, u32, pbe_crypto_t*, pkcs12_easy_t&)>(asn_read_pkcs12_easy));
static_assert(is<void (*)(const pkcs12_easy_t&, pbe_crypto_t*, std::string&)>(asn_write_pkcs12_easy));
static_assert(is<bool (pbe_crypto_t::*)(const pkcs12_mac_t&, const void*, u32)>(&pbe_crypto_t::verify_mac));
static_assert(is<bool (pbe_crypto_t::*)(const void*, u32, pkcs12_mac_t&)>(&pbe_crypto_t::make_mac));
static_assert(
    is<bool (pbe_crypto_t::*)(const pkcs5_pbe_gost_t&, const void*, u32, std::string&)>(&pbe_crypto_t::decrypt));
static_assert(is<bool (pbe_crypto_t::*)(const void*, u32, pkcs5_pbe_gost_t&, std::string&)>(&pbe_crypto_t::encrypt));

// Algorithms and keys
static_assert(is<oid_ref_t (*)(pki_alg_t)>(PKI_HASH_ALG_TO_OID));
static_assert(is<oid_ref_t (*)(pki_alg_t)>(PKI_KEY_ALG_TO_OID));
static_assert(is<oid_ref_t (*)(pki_alg_t)>(PKI_CERT_SIGN_ALG_TO_OID));
static_assert(is<oid_ref_t (*)(pki_alg_t)>(asn_form_ike_signalg));
static_assert(is<pki_alg_t (*)(const void*, u32)>(PKI_OID_TO_HASH_ALG));
static_assert(is<pki_alg_t (*)(const void*, u32)>(PKI_OID_TO_KEY_ALG));
static_assert(is<pki_alg_t (*)(const void*, u32)>(PKI_OID_TO_CERT_SIGN_ALG));
static_assert(is<pki_alg_t (*)(const void*, u32)>(PKI_OID_TO_ALG));
static_assert(is<pki_alg_t (asn_ike_signalg_t::*)() const>(&asn_ike_signalg_t::to_pki_alg));
static_assert(is<void (*)(std::string&, pki_alg_t)>(asn_add_alg_to_digest));
static_assert(is<bool (*)(asn_algorid_t*, const std::string&)>(asn_read_alg_from_digest));
static_assert(is<int (*)(bytes_t, u32, asn_ike_signalg_t&)>(asn_read_ike_signalg));
static_assert(is<int (*)(bytes_t, long, asn_pubkey_t&)>(asn_read_pubkey));
static_assert(is<int (*)(const asn_pubkey_t&, asn_rsa_pubkey_t&)>(asn_read_rsa_pubkey));
static_assert(is<int (*)(const asn_pubkey_t&, asn_gost_pubkey_t&)>(asn_read_gost_pubkey));
static_assert(is<int (*)(bytes_t, u32, asn_dsa_certsign_t&)>(asn_read_dsa_certsign));
static_assert(std::is_same_v<const oid_ref_t, decltype(g_null_oid)>);

// Times, hexadecimal text, value-name tables
static_assert(is<const char* (*)(long, char (&)[32])>(i2s::LogTimeToString));
static_assert(is<std::string& (*)(long, std::string&)>(TimeToString));
static_assert(is<const char* (*)(long)>(TimeToString));
static_assert(is<std::string& (*)(cert_time64_t, std::string&)>(CertTimeToStringGMT));
static_assert(is<std::string& (*)(cert_time64_t, std::string&)>(CertTimeToLogStringGMT));
static_assert(is<std::string& (*)(cert_time64_t, std::string&)>(CertTimeToString));
static_assert(is<cert_time64_t (*)(const std::string&)>(CertTimeFromLogStringGMT));
static_assert(is<long (*)(cert_time64_t)>(CertTimeTo_time_t));
static_assert(is<const char* (IntToString::*)(u32, const char*) const>(&IntToString::getString));
static_assert(is<u32 (IntToString::*)(const char*, u32) const>(&IntToString::getInt));
static_assert(is<void (*)(bytes_t, u32, char*, char)>(TO_HEX_STRING));
static_assert(is<std::string& (*)(bytes_t, u32, std::string&, char)>(TO_HEX_STD_STRING));
static_assert(std::is_same_v<const IntToString[], decltype(I2S_LOG_LEVEL)>);
static_assert(std::is_same_v<const IntToString[], decltype(I2S_PKI_ALG_T)>);
