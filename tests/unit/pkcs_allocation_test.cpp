// Memory of keys and containers: what readers allocate.
#include <gtest/gtest.h>

#include <cstddef>
#include <list>
#include <string>

#include "derkit/pkcs12_helper.h"
#include "derkit/pkcs8_helper.h"
#include "pkcs/pkcs7.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/failing_allocator.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"
#include "testing/views.h"

namespace {

template <typename RUN> std::size_t allocations_of(RUN run) {
    const watched_allocations_t watched;
    run();
    return allocator.num_allocations;
}

der_t shrouded(std::string_view key) {
    return shrouded_key_bag(toy_cipher(key));
}

der_t encrypted_entry(der_members_t bags) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext(std::move(bags))));
    return data.entry();
}

// Readers

struct allocating_reader_case_t {
    const char* name;
    der_t input;
    bool (*read)(const unsigned char* data, unsigned int size);
};
class reader_without_memory : public testing::TestWithParam<allocating_reader_case_t> {};

// Also not for input that fails, wherever that is.
TEST_P(reader_without_memory, allocates_nothing) {
    const allocating_reader_case_t& c = GetParam();
    const exact_bytes_t input(encode_content(c.input));
    bool accepted = false;
    EXPECT_EQ(0U, allocations_of([&] { accepted = c.read(input.data(), input.size()); }));
    EXPECT_TRUE(accepted);
    for_each_prefix(encode_content(c.input), [&](const exact_bytes_t& prefix) {
        EXPECT_EQ(0U, allocations_of([&] { c.read(prefix.data(), prefix.size()); }));
    });
}

der_t content_of_one(const der_t& element) {
    return der_sequence({element});
}

const der_t KEY_INFO = der_sequence({der_integer("00"), der_sequence({der_oid("1.2.643.2.2.19"), der_null()}),
                                     der_octet_string(der_octet_string(counting_bytes(32, 1)))});

const allocating_reader_case_t READERS[] = {
    {"of_a_key_info", content_of_one(KEY_INFO),
     [](const unsigned char* data, unsigned int size) {
         asn_pkcs8_priv_key_info_t info;
         return asn_read_pkcs8_priv_key_info(data, size, info);
     }},
    {"of_a_gost_key", content_of_one(KEY_INFO),
     [](const unsigned char* data, unsigned int size) {
         pkcs8_pki_gost_t key;
         return asn_read_pkcs8_pki_gost(data, size, key);
     }},
    {"of_pbes2_parameters", pbes2_t().whole(),
     [](const unsigned char* data, unsigned int size) {
         pkcs5_pbe_gost_t pbe;
         return asn_read_pkcs5_pbe_gost(data, size, pbe);
     }},
    {"of_an_encrypted_key", content_of_one(encrypted_key("data")),
     [](const unsigned char* data, unsigned int size) {
         pkcs8_encrypted_pki_gost_t key;
         return asn_read_pkcs8_encrypted_pki_gost(data, size, key);
     }},
    {"of_a_content_info", content_info(OID_DATA, der_octet_string("data")),
     [](const unsigned char* data, unsigned int size) {
         pkcs7_content_info_t info;
         blob_t octets;
         return asn_read_pkcs7_ContentInfo(data, size, info) &&
                asn_read_pkcs7_data(info.content.data, info.content.size, octets);
     }},
    {"of_a_mac", mac_data_t().whole(),
     [](const unsigned char* data, unsigned int size) {
         pkcs12_mac_t mac;
         return asn_read_pkcs12_MacData(data, size, mac);
     }},
};
INSTANTIATE_TEST_SUITE_P(, reader_without_memory, testing::ValuesIn(READERS), case_name_t());

// A list node for each bag and for each plaintext; the plaintext itself is the one that decrypt made.
TEST(container_memory, is_that_of_list_nodes) {
    const exact_bytes_t input(
        encode(pfx_t({data_entry({key_bag(counting_bytes(100, 1)), cert_bag("c"), shrouded(counting_bytes(100, 1))}),
                      encrypted_entry({cert_bag("d"), shrouded("k"), key_bag("e")})})
                   .whole()));
    scripted_crypto_t crypto;
    crypto.records = false;
    crypto.on_decrypt = [](const pkcs5_pbe_gost_t&, std::string_view data, std::string& out) {
        const unwatched_allocations_t unwatched;
        toggle_bits(data, out);
        return true;
    };
    pkcs12_easy_t easy;
    const std::size_t allocated =
        allocations_of([&] { EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy)); });
    EXPECT_EQ(2U, easy.plain_bags.size());
    EXPECT_EQ(4U, easy.encrypted_bags.size());
    EXPECT_EQ(3U, easy.decrypted_buffers.size());
    EXPECT_EQ(2U + 4U + 3U, allocated);
}

} // namespace
