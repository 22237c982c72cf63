// What cannot be asserted at compile time of the public records: what fresh ones hold, what a move keeps, which slot of
// the vtable an operation has.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "derkit/derkit.h"

namespace {

template <typename RECORD> class fresh_public_record : public testing::Test {};

using public_records = testing::Types<blob_t, OIDdescr_t, oid_map_handle_t, pkcs8_pki_gost_t, asn_pkcs8_priv_key_info_t,
                                      pkcs5_pbe_gost_t, pkcs8_encrypted_pki_gost_t, bmp_string_t, pkcs12_bag_t,
                                      pkcs12_mac_t, oid_ref_t, asn_algorid_t, asn_ike_signalg_t, asn_pubkey_t,
                                      asn_rsa_pubkey_t, asn_gost_pubkey_t, asn_dsa_certsign_t, IntToString>;
TYPED_TEST_SUITE(fresh_public_record, public_records);

// Default initialisation, `RECORD record;`, in memory that held something else. All fields are pointers or numbers of
// 32 bits, one in each place of a pointer; a constant shows that none is left uninitialised.
TYPED_TEST(fresh_public_record, is_empty) {
    [[maybe_unused]] constexpr TypeParam constant;
    alignas(TypeParam) unsigned char memory[sizeof(TypeParam)];
    std::memset(memory, 0xA5, sizeof memory);
    new (memory) TypeParam;
    for (std::size_t place = 0; place < sizeof memory; place += sizeof(void*)) {
        unsigned int low_bits = 1;
        std::memcpy(&low_bits, memory + place, sizeof low_bits);
        EXPECT_EQ(0U, low_bits) << "field at " << place;
    }
}

TEST(fresh_public_container, is_empty) {
    alignas(pkcs12_easy_t) unsigned char memory[sizeof(pkcs12_easy_t)];
    std::memset(memory, 0xA5, sizeof memory);
    const pkcs12_easy_t* const easy = new (memory) pkcs12_easy_t;
    EXPECT_TRUE(easy->plain_bags.empty() && easy->encrypted_bags.empty() && easy->decrypted_buffers.empty());
    EXPECT_TRUE(easy->mac.digest_alg.data == nullptr && easy->mac.digest_alg.size == 0);
    EXPECT_TRUE(easy->mac.digest.data == nullptr && easy->mac.digest.size == 0);
    EXPECT_TRUE(easy->mac.salt.data == nullptr && easy->mac.salt.size == 0 && easy->mac.iterations == 0);
    easy->~pkcs12_easy_t();
}

// Bags point into the container's plaintexts: short ones too must stay where they are.
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

// The vtable slot that a call through this pointer to a member goes to (Itanium C++ ABI 2.3). A virtual function is marked
// by a lowest bit: that of its place in bytes, or on ARM that of the adjustment of this.
template <typename OPERATION> std::size_t slot_of(OPERATION operation) {
    std::array<std::size_t, 2> place_and_adjustment{};
    static_assert(sizeof operation == sizeof place_and_adjustment);
    std::memcpy(place_and_adjustment.data(), &operation, sizeof operation);
    EXPECT_EQ(1U, (place_and_adjustment[0] | place_and_adjustment[1]) % sizeof(void*));
    return place_and_adjustment[0] / sizeof(void*);
}

TEST(public_crypto_interface, keeps_the_order_of_its_slots) {
    EXPECT_EQ(0U, slot_of(&pbe_crypto_t::verify_mac));
    EXPECT_EQ(1U, slot_of(&pbe_crypto_t::make_mac));
    EXPECT_EQ(2U, slot_of(&pbe_crypto_t::decrypt));
    EXPECT_EQ(3U, slot_of(&pbe_crypto_t::encrypt));
}

} // namespace
