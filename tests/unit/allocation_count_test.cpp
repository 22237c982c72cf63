// What calls take from the heap when their output has room already, and what containers take.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "pkcs/pkcs7.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/calls.h"
#include "testing/library_allocations.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"

namespace {

template <typename RUN> std::size_t allocations_of(RUN run) {
    const watched_allocations_t watched;
    run();
    return allocator.num_allocations;
}

class usual_case : public testing::TestWithParam<call_t> {};

TEST_P(usual_case, takes_no_more_blocks_than) {
    for (const std::string& sample : GetParam().samples) {
        const exact_bytes_t octets(octets_for(GetParam(), sample));
        for (const bool first_time : {true, false}) { // constants are made the first time
            run_t run(octets.data(), static_cast<unsigned int>(sample.size()));
            run.room = 65536;
            run.hold("");
            library_allocations_t library;
            run.observer = &library;
            EXPECT_TRUE(GetParam().run(run));
            const std::size_t num_allocations = allocator.num_allocations;
            EXPECT_TRUE(first_time || num_allocations == GetParam().blocks) << num_allocations << to_hex(sample);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, usual_case,
                         testing::ValuesIn(calls_where([](const call_t& call) { return call.blocks != ANY_NUMBER; })),
                         case_name_t());

TEST(written_container, takes_a_block_for_the_plaintext_and_one_for_the_file) {
    const std::string key(32, 'k');
    const std::string certificate(1500, 'c');
    const std::string name(40, 'n');
    const std::string key_id(20, 'i');
    pkcs12_easy_t easy;
    easy.encrypted_bags = {bag_of(0, key, name, key_id)};
    easy.plain_bags = {bag_of(1, certificate, name, key_id), bag_of(1, certificate)};
    scripted_crypto_t crypto = copying_crypto();
    crypto.on_encrypt = [](std::string_view data, pkcs5_pbe_gost_t& params, std::string& out) {
        const unwatched_allocations_t unwatched;
        params.salt = view_of("a salt of thirty-two octets, as i");
        params.iterations = 2000;
        copy_bytes(data, out);
        return true;
    };
    std::string out;
    out.reserve(65536);
    EXPECT_EQ(2U, allocations_of([&] { asn_write_pkcs12_easy(easy, &crypto, out); }));
}

// A list node for each bag and each plaintext; the plaintext itself is the one that decrypt made.
TEST(read_container, takes_list_nodes) {
    encrypted_data_t entry;
    entry.encrypted_content = der_element(
        0x80, toy_cipher(entry_plaintext({cert_bag("d"), shrouded_key_bag(toy_cipher("k")), key_bag("e")})));
    const std::string key = counting_bytes(100, 1);
    const exact_bytes_t input(encode(
        pfx_t({data_entry({key_bag(key), cert_bag("c"), shrouded_key_bag(toy_cipher(key))}), entry.entry()}).whole()));
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

// Whatever the input.
TEST(content_info, is_read_without_memory) {
    const auto read = [](const exact_bytes_t& input) {
        pkcs7_content_info_t info;
        blob_t octets;
        return asn_read_pkcs7_ContentInfo(input.data(), input.size(), info) &&
               asn_read_pkcs7_data(info.content.data, info.content.size, octets);
    };
    const std::string whole = encode_content(content_info(OID_DATA, der_octet_string("data")));
    const exact_bytes_t input(whole);
    EXPECT_EQ(0U, allocations_of([&] { EXPECT_TRUE(read(input)); }));
    for_each_prefix(whole, [&](const exact_bytes_t& prefix) { EXPECT_EQ(0U, allocations_of([&] { read(prefix); })); });
}

} // namespace
