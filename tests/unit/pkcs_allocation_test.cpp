// Memory of keys and containers: what readers allocate, and what writers and readers leave behind when there is none.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <list>
#include <new>
#include <string>

#include "asn/asn_builder.h"
#include "derkit/pkcs12_helper.h"
#include "derkit/pkcs8_helper.h"
#include "pkcs/pkcs12_bags.h"
#include "pkcs/pkcs7.h"
#include "support/bags.h"
#include "support/bytes.h"
#include "support/der.h"
#include "support/pkcs_der.h"
#include "support/recording_crypto.h"
#include "support/views.h"

// The compiler sees free() behind delete, but not that new below takes from malloc().
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

namespace {

bool counting = false;
std::size_t num_allocations = 0;
std::size_t failing_allocation = 0; // counted from 1; 0: none fails
std::ptrdiff_t num_live = 0;

} // namespace

void* operator new(std::size_t size) {
    if (counting) {
        ++num_allocations;
        if (num_allocations == failing_allocation) {
            throw std::bad_alloc();
        }
    }
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++num_live;
    return block;
}

void operator delete(void* block) noexcept {
    num_live -= block != nullptr ? 1 : 0;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

// A sanitizer's own forms for arrays would not come here.
void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete[](void* block) noexcept {
    operator delete(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

// Counts, and fails one allocation if asked to, as long as it lives.
class counting_t {
  public:
    explicit counting_t(std::size_t failing = 0) {
        num_allocations = 0;
        failing_allocation = failing;
        counting = true;
    }
    ~counting_t() { counting = false; }
    counting_t(const counting_t&) = delete;
    counting_t& operator=(const counting_t&) = delete;
};

template <typename RUN> std::size_t allocations_of(RUN run) {
    const counting_t count;
    run();
    return num_allocations;
}

der_t shrouded(std::string_view key) {
    return shrouded_key_bag(toy_cipher(key));
}

der_t encrypted_entry(der_members_t bags) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext(std::move(bags))));
    return data.entry();
}

// Decrypts like recording_crypto_t; its own allocations do not count.
class uncounted_crypto_t final : public pbe_crypto_t {
  public:
    bool verify_mac(const pkcs12_mac_t&, const void*, unsigned int) override { return true; }
    bool make_mac(const void*, unsigned int, pkcs12_mac_t&) override { return false; }
    bool decrypt(const pkcs5_pbe_gost_t&, const void* data, unsigned int size, std::string& out) override {
        counting = false;
        out = toy_cipher(std::string_view(static_cast<const char*>(data), size));
        counting = true;
        return true;
    }
    bool encrypt(const void*, unsigned int, pkcs5_pbe_gost_t&, std::string&) override { return false; }
};

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
    uncounted_crypto_t crypto;
    pkcs12_easy_t easy;
    const std::size_t allocated =
        allocations_of([&] { EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy)); });
    EXPECT_EQ(2U, easy.plain_bags.size());
    EXPECT_EQ(4U, easy.encrypted_bags.size());
    EXPECT_EQ(3U, easy.decrypted_buffers.size());
    EXPECT_EQ(2U + 4U + 3U, allocated);
}

TEST(container_memory, running_out_leaves_whole_bags_that_view_what_is_there) {
    const exact_bytes_t input(encode(pfx_t({data_entry({key_bag("k"), shrouded(counting_bytes(100, 1))}),
                                            encrypted_entry({cert_bag("d"), shrouded("k"), key_bag("e")})})
                                         .whole()));
    bool done = false;
    for (std::size_t failing = 1; !done; ++failing) {
        SCOPED_TRACE("allocation " + std::to_string(failing));
        const std::ptrdiff_t live_before = num_live;
        {
            recording_crypto_t crypto;
            pkcs12_easy_t easy;
            try {
                const counting_t count(failing);
                done = asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy);
            } catch (const std::bad_alloc&) {
            }
            EXPECT_TRUE(all_kept(input, easy));
        }
        EXPECT_EQ(live_before, num_live);
    }
}

// Writers

struct allocating_writer_case_t {
    const char* name;
    void (*write)(std::string& out);
};
class writer_without_memory : public testing::TestWithParam<allocating_writer_case_t> {};

TEST_P(writer_without_memory, throws_keeps_the_output_and_frees_what_it_had) {
    bool done = false;
    std::size_t failing = 1;
    for (; !done; ++failing) {
        SCOPED_TRACE("allocation " + std::to_string(failing));
        std::string out = "what was there before";
        const std::ptrdiff_t live_before = num_live;
        try {
            const counting_t count(failing);
            GetParam().write(out);
            done = true;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ("what was there before", out);
            EXPECT_EQ(live_before, num_live);
        }
    }
    EXPECT_GT(failing, 4U) << "too little was written to need memory";
}

const std::string LONG = counting_bytes(2000, 1);

const allocating_writer_case_t WRITERS[] = {
    {"of_a_gost_key",
     [](std::string& out) {
         pkcs8_pki_gost_t key;
         key.private_key = view_of(LONG);
         asn_write_pkcs8_pki_gost(key, out);
     }},
    {"of_pbes2_parameters",
     [](std::string& out) {
         pkcs5_pbe_gost_t pbe;
         pbe.salt = view_of(LONG);
         pbe.iv = view_of(LONG);
         pbe.iterations = 0xFFFFFFFF;
         asn_write_pkcs5_pbe_gost(pbe, out);
     }},
    {"of_an_encrypted_key",
     [](std::string& out) {
         pkcs8_encrypted_pki_gost_t key;
         key.pbe.salt = view_of(LONG);
         key.encrypted_data = view_of(LONG);
         asn_write_pkcs8_encrypted_pki_gost(key, out);
     }},
    {"of_a_container",
     [](std::string& out) {
         pkcs12_easy_t easy;
         easy.plain_bags = {bag_of(1, LONG, LONG, LONG), bag_of(0, LONG)};
         easy.encrypted_bags = {bag_of(0, LONG, LONG), bag_of(1, LONG)};
         recording_crypto_t crypto;
         crypto.digest = LONG;
         asn_write_pkcs12_easy(easy, &crypto, out);
     }},
};
INSTANTIATE_TEST_SUITE_P(, writer_without_memory, testing::ValuesIn(WRITERS), case_name_t());

} // namespace
