// The exported functions and objects under the types that callers were compiled against. A symbol's name does not tell
// a function's result nor an object's type, so the list of exports does not watch these.
#include <string>
#include <type_traits>

#include "derkit/derkit.h"

namespace {

using bytes_t = const unsigned char*;
using u32 = unsigned int;

// Takes a function for exactly one type: pointers to functions of other types do not convert.
template <typename TYPE> constexpr bool is(TYPE) {
    return true;
}

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

} // namespace
