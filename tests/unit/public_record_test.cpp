// The public records as programs were built against them: sizes, places of the fields, and what a fresh record holds.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "derkit/derkit.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

// Places and sizes, in bytes

struct place_t {
    const char* name;
    std::size_t actual;
    std::size_t on_i386;
    std::size_t on_x86_64;
};
class public_record : public testing::TestWithParam<place_t> {};

TEST_P(public_record, keeps_its_place) {
    EXPECT_EQ(sizeof(void*) == 4 ? GetParam().on_i386 : GetParam().on_x86_64, GetParam().actual);
}

const place_t SHARED[] = {
    {"blob_size", offsetof(blob_t, size), 0, 0},
    {"blob_data", offsetof(blob_t, data), 4, 8},
    {"blob", sizeof(blob_t), 8, 16},
    {"identifier_octet", sizeof(asn_tag_t::Type), 1, 1},
};
INSTANTIATE_TEST_SUITE_P(shared, public_record, testing::ValuesIn(SHARED), case_name_t());

const place_t OID_MAPS[] = {
    {"descr_oid_asn", offsetof(OIDdescr_t, oid_asn), 0, 0},
    {"descr_oid_asn_size", offsetof(OIDdescr_t, oid_asn_size), 4, 8},
    {"descr_oid_str", offsetof(OIDdescr_t, oid_str), 8, 16},
    {"descr_oid_str_size", offsetof(OIDdescr_t, oid_str_size), 12, 24},
    {"descr_oid_sn", offsetof(OIDdescr_t, oid_sn), 16, 32},
    {"descr_oid_sn_size", offsetof(OIDdescr_t, oid_sn_size), 20, 40},
    {"descr_oid_ln", offsetof(OIDdescr_t, oid_ln), 24, 48},
    {"descr_oid_ln_size", offsetof(OIDdescr_t, oid_ln_size), 28, 56},
    {"descr", sizeof(OIDdescr_t), 32, 64},
    {"handle_map", offsetof(oid_map_handle_t, map), 0, 0},
    {"handle", sizeof(oid_map_handle_t), 4, 8},
};
INSTANTIATE_TEST_SUITE_P(oid_maps, public_record, testing::ValuesIn(OID_MAPS), case_name_t());

const place_t NAMES[] = {
    {"get_attr", sizeof(PrintableDnGetAttr), 4, 4},
    {"order", sizeof(PrintableDnOrder), 4, 4},
};
INSTANTIATE_TEST_SUITE_P(names, public_record, testing::ValuesIn(NAMES), case_name_t());

const place_t GOST_KEYS[] = {
    {"pki_gost_key_type", offsetof(pkcs8_pki_gost_t, key_type), 0, 0},
    {"pki_gost_private_key", offsetof(pkcs8_pki_gost_t, private_key), 4, 8},
    {"pki_gost", sizeof(pkcs8_pki_gost_t), 12, 24},
    {"priv_key_info_algorithm", offsetof(asn_pkcs8_priv_key_info_t, algorithm), 0, 0},
    {"priv_key_info_private_key", offsetof(asn_pkcs8_priv_key_info_t, private_key), 8, 16},
    {"priv_key_info", sizeof(asn_pkcs8_priv_key_info_t), 16, 32},
    {"pbe_salt", offsetof(pkcs5_pbe_gost_t, salt), 0, 0},
    {"pbe_iterations", offsetof(pkcs5_pbe_gost_t, iterations), 8, 16},
    {"pbe_iv", offsetof(pkcs5_pbe_gost_t, iv), 12, 24},
    {"pbe", sizeof(pkcs5_pbe_gost_t), 20, 40},
    {"encrypted_pki_pbe", offsetof(pkcs8_encrypted_pki_gost_t, pbe), 0, 0},
    {"encrypted_pki_encrypted_data", offsetof(pkcs8_encrypted_pki_gost_t, encrypted_data), 20, 40},
    {"encrypted_pki", sizeof(pkcs8_encrypted_pki_gost_t), 28, 56},
};
INSTANTIATE_TEST_SUITE_P(gost_keys, public_record, testing::ValuesIn(GOST_KEYS), case_name_t());

const place_t PKCS12[] = {
    {"bmp_string_size", offsetof(bmp_string_t, size), 0, 0},
    {"bmp_string_data", offsetof(bmp_string_t, data), 4, 8},
    {"bmp_string", sizeof(bmp_string_t), 8, 16},
    {"bag_type", offsetof(pkcs12_bag_t, type), 0, 0},
    {"bag_value", offsetof(pkcs12_bag_t, value), 4, 8},
    {"bag_friendly_name", offsetof(pkcs12_bag_t, friendly_name), 12, 24},
    {"bag_local_key_id", offsetof(pkcs12_bag_t, local_key_id), 20, 40},
    {"bag", sizeof(pkcs12_bag_t), 28, 56},
    {"mac_digest_alg", offsetof(pkcs12_mac_t, digest_alg), 0, 0},
    {"mac_digest", offsetof(pkcs12_mac_t, digest), 8, 16},
    {"mac_salt", offsetof(pkcs12_mac_t, salt), 16, 32},
    {"mac_iterations", offsetof(pkcs12_mac_t, iterations), 24, 48},
    {"mac", sizeof(pkcs12_mac_t), 28, 56},
    {"crypto", sizeof(pbe_crypto_t), 4, 8},
};
INSTANTIATE_TEST_SUITE_P(pkcs12, public_record, testing::ValuesIn(PKCS12), case_name_t());

const place_t ALGORITHMS_AND_KEYS[] = {
    {"alg", sizeof(pki_alg_t), 4, 4},
    {"oid_ref_data", offsetof(oid_ref_t, data), 0, 0},
    {"oid_ref_size", offsetof(oid_ref_t, size), 4, 8},
    {"oid_ref", sizeof(oid_ref_t), 8, 16},
    {"algorid_oid", offsetof(asn_algorid_t, oid), 0, 0},
    {"algorid", sizeof(asn_algorid_t), 8, 16},
    {"ike_signalg_oid", offsetof(asn_ike_signalg_t, oid), 0, 0},
    {"ike_signalg_parameters", offsetof(asn_ike_signalg_t, parameters), 8, 16},
    {"ike_signalg", sizeof(asn_ike_signalg_t), 16, 32},
    {"pubkey_algorithm", offsetof(asn_pubkey_t, algorithm), 0, 0},
    {"pubkey_parameters", offsetof(asn_pubkey_t, parameters), 8, 16},
    {"pubkey_key", offsetof(asn_pubkey_t, key), 16, 32},
    {"pubkey", sizeof(asn_pubkey_t), 24, 48},
    {"rsa_pubkey_modulus", offsetof(asn_rsa_pubkey_t, modulus), 0, 0},
    {"rsa_pubkey_exponent", offsetof(asn_rsa_pubkey_t, exponent), 8, 16},
    {"rsa_pubkey", sizeof(asn_rsa_pubkey_t), 16, 32},
    {"gost_pubkey_public_key_param_set", offsetof(asn_gost_pubkey_t, public_key_param_set), 0, 0},
    {"gost_pubkey_digest_param_set", offsetof(asn_gost_pubkey_t, digest_param_set), 8, 16},
    {"gost_pubkey_encryption_param_set", offsetof(asn_gost_pubkey_t, encryption_param_set), 16, 32},
    {"gost_pubkey_key", offsetof(asn_gost_pubkey_t, key), 24, 48},
    {"gost_pubkey", sizeof(asn_gost_pubkey_t), 32, 64},
    {"dsa_certsign_r", offsetof(asn_dsa_certsign_t, r), 0, 0},
    {"dsa_certsign_s", offsetof(asn_dsa_certsign_t, s), 8, 16},
    {"dsa_certsign", sizeof(asn_dsa_certsign_t), 16, 32},
};
INSTANTIATE_TEST_SUITE_P(algorithms_and_keys, public_record, testing::ValuesIn(ALGORITHMS_AND_KEYS), case_name_t());

const place_t UTILITIES[] = {
    {"row_value", offsetof(IntToString, value), 0, 0},
    {"row_name", offsetof(IntToString, name), 4, 8},
    {"row", sizeof(IntToString), 8, 16},
    {"certificate_time", sizeof(cert_time64_t), 8, 8},
};
INSTANTIATE_TEST_SUITE_P(utilities, public_record, testing::ValuesIn(UTILITIES), case_name_t());

// A container holds lists, whose size is the standard library's; its fields still follow each other.
TEST(public_container, keeps_the_order_of_its_fields) {
    const pkcs12_easy_t easy;
    const char* const start = reinterpret_cast<const char*>(&easy);
    const auto place = [start](const void* field) {
        return static_cast<std::size_t>(static_cast<const char*>(field) - start);
    };
    const std::size_t list_size = sizeof(easy.plain_bags);
    EXPECT_EQ(0U, place(&easy.plain_bags));
    EXPECT_EQ(list_size, place(&easy.encrypted_bags));
    EXPECT_EQ(2 * list_size, place(&easy.mac));
    EXPECT_EQ(2 * list_size + sizeof(pkcs12_mac_t), place(&easy.decrypted_buffers));
    EXPECT_EQ(3 * list_size + sizeof(pkcs12_mac_t), sizeof easy);
}

// What a record is

template <typename RECORD> class plain_public_record : public testing::Test {};

using plain_public_records =
    testing::Types<blob_t, OIDdescr_t, oid_map_handle_t, pkcs8_pki_gost_t, asn_pkcs8_priv_key_info_t, pkcs5_pbe_gost_t,
                   pkcs8_encrypted_pki_gost_t, bmp_string_t, pkcs12_bag_t, pkcs12_mac_t, oid_ref_t, asn_algorid_t,
                   asn_ike_signalg_t, asn_pubkey_t, asn_rsa_pubkey_t, asn_gost_pubkey_t, asn_dsa_certsign_t,
                   IntToString>;
TYPED_TEST_SUITE(plain_public_record, plain_public_records);

TYPED_TEST(plain_public_record, is_of_standard_layout) {
    EXPECT_TRUE(std::is_standard_layout_v<TypeParam>);
}

TYPED_TEST(plain_public_record, is_trivially_copyable) {
    EXPECT_TRUE(std::is_trivially_copyable_v<TypeParam>);
    EXPECT_TRUE(std::is_trivially_destructible_v<TypeParam>);
}

TYPED_TEST(plain_public_record, can_be_made_without_exceptions) {
    EXPECT_TRUE(std::is_nothrow_default_constructible_v<TypeParam>);
}

bool is_empty(const blob_t& view) {
    return view.size == 0 && view.data == nullptr;
}

bool is_empty(const bmp_string_t& text) {
    return text.size == 0 && text.data == nullptr;
}

bool is_empty(const oid_ref_t& reference) {
    return reference.size == 0 && reference.data == nullptr;
}

bool is_empty(const OIDdescr_t& entry) {
    return entry.oid_asn == nullptr && entry.oid_asn_size == 0 && entry.oid_str == nullptr && entry.oid_str_size == 0 &&
           entry.oid_sn == nullptr && entry.oid_sn_size == 0 && entry.oid_ln == nullptr && entry.oid_ln_size == 0;
}

bool is_empty(const oid_map_handle_t& handle) {
    return handle.map == nullptr;
}

bool is_empty(const pkcs8_pki_gost_t& key) {
    return key.key_type == 0 && is_empty(key.private_key);
}

bool is_empty(const asn_pkcs8_priv_key_info_t& key) {
    return is_empty(key.algorithm) && is_empty(key.private_key);
}

bool is_empty(const pkcs5_pbe_gost_t& pbe) {
    return is_empty(pbe.salt) && pbe.iterations == 0 && is_empty(pbe.iv);
}

bool is_empty(const pkcs8_encrypted_pki_gost_t& key) {
    return is_empty(key.pbe) && is_empty(key.encrypted_data);
}

bool is_empty(const pkcs12_bag_t& bag) {
    return bag.type == 0 && is_empty(bag.value) && is_empty(bag.friendly_name) && is_empty(bag.local_key_id);
}

bool is_empty(const pkcs12_mac_t& mac) {
    return is_empty(mac.digest_alg) && is_empty(mac.digest) && is_empty(mac.salt) && mac.iterations == 0;
}

bool is_empty(const asn_algorid_t& algorithm) {
    return is_empty(algorithm.oid);
}

bool is_empty(const asn_ike_signalg_t& algorithm) {
    return is_empty(algorithm.oid) && is_empty(algorithm.parameters);
}

bool is_empty(const asn_pubkey_t& key) {
    return is_empty(key.algorithm) && is_empty(key.parameters) && is_empty(key.key);
}

bool is_empty(const asn_rsa_pubkey_t& key) {
    return is_empty(key.modulus) && is_empty(key.exponent);
}

bool is_empty(const asn_gost_pubkey_t& key) {
    return is_empty(key.public_key_param_set) && is_empty(key.digest_param_set) && is_empty(key.encryption_param_set) &&
           is_empty(key.key);
}

bool is_empty(const asn_dsa_certsign_t& signature) {
    return is_empty(signature.r) && is_empty(signature.s);
}

bool is_empty(const IntToString& row) {
    return row.value == 0 && row.name == nullptr;
}

// Default initialisation, `RECORD record;`, in memory that held something else.
TYPED_TEST(plain_public_record, is_empty_when_fresh) {
    alignas(TypeParam) unsigned char memory[sizeof(TypeParam)];
    std::memset(memory, 0xA5, sizeof memory);
    const TypeParam* const record = new (memory) TypeParam;
    EXPECT_TRUE(is_empty(*record));
}

TEST(public_container, is_empty_when_fresh) {
    alignas(pkcs12_easy_t) unsigned char memory[sizeof(pkcs12_easy_t)];
    std::memset(memory, 0xA5, sizeof memory);
    const pkcs12_easy_t* const easy = new (memory) pkcs12_easy_t;
    EXPECT_TRUE(easy->plain_bags.empty() && easy->encrypted_bags.empty() && easy->decrypted_buffers.empty());
    EXPECT_TRUE(is_empty(easy->mac));
    easy->~pkcs12_easy_t();
}

// Bags point into the container's plaintexts: the short ones, too, must stay where they are.
TEST(public_container, takes_its_plaintexts_along_when_it_moves) {
    pkcs12_easy_t easy;
    easy.decrypted_buffers.emplace_back("abc");
    const char* const text = easy.decrypted_buffers.front().data();
    pkcs12_easy_t moved(std::move(easy));
    EXPECT_EQ(text, moved.decrypted_buffers.front().data());
    pkcs12_easy_t assigned;
    assigned = std::move(moved);
    EXPECT_EQ(text, assigned.decrypted_buffers.front().data());
}

TEST(public_container, does_not_copy) {
    EXPECT_FALSE(std::is_copy_constructible_v<pkcs12_easy_t>);
    EXPECT_FALSE(std::is_copy_assignable_v<pkcs12_easy_t>);
}

// Values

TEST(public_values, of_enumerations) {
    EXPECT_EQ(0, PDN_GET_ATTR_PAIR);
    EXPECT_EQ(1, PDN_GET_ATTR_VALUE);
    EXPECT_EQ(0, PDN_ORDER_AS_ENCODED);
    EXPECT_EQ(1, PDN_ORDER_REVERSED);
    EXPECT_TRUE((std::is_same_v<int, std::underlying_type_t<PrintableDnGetAttr>>));
    EXPECT_TRUE((std::is_same_v<int, std::underlying_type_t<PrintableDnOrder>>));
    EXPECT_TRUE((std::is_same_v<unsigned int, std::underlying_type_t<pki_alg_t>>));
    EXPECT_TRUE((std::is_same_v<unsigned char, std::underlying_type_t<asn_tag_t::Type>>));
}

TEST(public_values, of_identifier_octets) {
    EXPECT_EQ(0x00, asn_tag_t::ANY);
    EXPECT_EQ(0x02, asn_tag_t::INTEGER);
    EXPECT_EQ(0x03, asn_tag_t::BIT_STRING);
    EXPECT_EQ(0x04, asn_tag_t::OCTET_STRING);
    EXPECT_EQ(0x05, asn_tag_t::NULL_VALUE);
    EXPECT_EQ(0x06, asn_tag_t::OBJECT_IDENTIFIER);
    EXPECT_EQ(0x0C, asn_tag_t::UTF8_STRING);
    EXPECT_EQ(0x12, asn_tag_t::NUMERIC_STRING);
    EXPECT_EQ(0x13, asn_tag_t::PRINTABLE_STRING);
    EXPECT_EQ(0x14, asn_tag_t::T61_STRING);
    EXPECT_EQ(0x16, asn_tag_t::IA5_STRING);
    EXPECT_EQ(0x1C, asn_tag_t::UNIVERSAL_STRING);
    EXPECT_EQ(0x1E, asn_tag_t::BMP_STRING);
    EXPECT_EQ(0x30, asn_tag_t::SEQUENCE);
    EXPECT_EQ(0x31, asn_tag_t::SET);
    EXPECT_EQ(0x80, asn_tag_t::CONTEXT_0_PRIMITIVE);
    EXPECT_EQ(0xA0, asn_tag_t::CONTEXT_0);
    EXPECT_EQ(0xA1, asn_tag_t::CONTEXT_1);
    EXPECT_EQ(0xA2, asn_tag_t::CONTEXT_2);
}

TEST(public_values, of_certificate_times) {
    EXPECT_TRUE((std::is_same_v<unsigned long long, cert_time64_t>));
    EXPECT_EQ(std::numeric_limits<unsigned long long>::max(), CERT_TIME64_INVALID);
}

// The interface that callers implement

// The vtable slot that a call through this pointer to a member goes to (Itanium C++ ABI 2.3): one more than its
// place in bytes.
template <typename OPERATION> std::size_t slot_of(OPERATION operation) {
    std::size_t place = 0;
    static_assert(sizeof operation == 2 * sizeof place);
    std::memcpy(&place, &operation, sizeof place);
    EXPECT_EQ(1U, place % sizeof(void*));
    return place / sizeof(void*);
}

TEST(crypto_interface, keeps_the_order_of_its_slots) {
    EXPECT_EQ(0U, slot_of(&pbe_crypto_t::verify_mac));
    EXPECT_EQ(1U, slot_of(&pbe_crypto_t::make_mac));
    EXPECT_EQ(2U, slot_of(&pbe_crypto_t::decrypt));
    EXPECT_EQ(3U, slot_of(&pbe_crypto_t::encrypt));
}

TEST(crypto_interface, has_no_slots_for_a_destructor) {
    EXPECT_FALSE(std::has_virtual_destructor_v<pbe_crypto_t>);
}

TEST(crypto_interface, is_neither_made_nor_destroyed_through_itself) {
    EXPECT_TRUE(std::is_abstract_v<pbe_crypto_t>);
    EXPECT_FALSE(std::is_destructible_v<pbe_crypto_t>);
}

} // namespace
