// Containers with misbehaving cryptography, inputs that are freed before the container, and writers whose output is also
// their input.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "derkit/asn_helper.h"
#include "derkit/asn_printable.h"
#include "derkit/pkcs12_helper.h"
#include "support/container_reading.h"
#include "support/expect.h"
#include "testing/guard_page.h"

namespace {

const std::string KEY = counting_bytes(100, 1);

// Every kind of place that asks for a plaintext, twice.
std::string usual_pfx() {
    return pfx_of({data_entry({cert_bag("c"), shrouded(KEY), shrouded("k")}),
                   encrypted_entry({shrouded(KEY), cert_bag("d", der_set({friendly_name("ab")})), shrouded("k")})});
}

bool read(const exact_bytes_t& input, pbe_crypto_t& crypto, pkcs12_easy_t& easy) {
    return asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy);
}

// Exceptions

// An exception from any call is passed on unchanged, and what was read stays.
TEST(throwing_crypto, has_its_exception_passed_on_and_leaves_whole_bags) {
    const exact_bytes_t input(usual_pfx());
    constexpr std::size_t NUM_DECRYPTIONS = 5;
    for (std::size_t throwing = 0; throwing < NUM_DECRYPTIONS; ++throwing) {
        SCOPED_TRACE("decryption " + std::to_string(throwing));
        scripted_crypto_t crypto;
        crypto.decrypt_answers.assign(throwing, answer_t::YES);
        crypto.decrypt_answers.push_back(answer_t::THROW);
        pkcs12_easy_t easy;
        EXPECT_THROW(read(input, crypto, easy), crypto_failure_t);
        EXPECT_TRUE(all_kept(input, easy));
        crypto.decrypt_answers.clear();
        EXPECT_TRUE(read(input, crypto, easy));
        EXPECT_TRUE(all_kept(input, easy));
    }
    scripted_crypto_t crypto;
    crypto.verify_mac_answer = answer_t::THROW;
    pkcs12_easy_t easy;
    EXPECT_THROW(read(input, crypto, easy), crypto_failure_t);
    EXPECT_EQ("", bags_text(easy.plain_bags) + bags_text(easy.encrypted_bags));
}

TEST(refusing_crypto, leaves_out_what_it_refuses_wherever_that_is) {
    const exact_bytes_t input(usual_pfx());
    constexpr unsigned int NUM_DECRYPTIONS = 5;
    for (unsigned int refused = 0; refused < 1U << NUM_DECRYPTIONS; ++refused) {
        scripted_crypto_t crypto;
        for (unsigned int i = 0; i < NUM_DECRYPTIONS; ++i) {
            crypto.decrypt_answers.push_back((refused >> i & 1) != 0 ? answer_t::NO : answer_t::YES);
        }
        pkcs12_easy_t easy;
        EXPECT_TRUE(read(input, crypto, easy));
        EXPECT_TRUE(all_kept(input, easy));
        std::size_t num_kept = 0;
        for (std::size_t i = 0; i < crypto.decrypted_at.size(); ++i) {
            num_kept += crypto.decrypt_answers[i] == answer_t::YES ? 1 : 0;
        }
        EXPECT_EQ(num_kept, easy.decrypted_buffers.size()) << refused;
    }
}

// Plaintexts

// Answers every decryption with `plaintext`.
scripted_crypto_t answering_crypto(const std::string& plaintext) {
    scripted_crypto_t crypto;
    crypto.on_decrypt = [plaintext](const pkcs5_pbe_gost_t&, std::string_view, std::string& out) {
        out = plaintext;
        return true;
    };
    return crypto;
}

TEST(empty_plaintext, is_an_empty_key_and_no_entry) {
    scripted_crypto_t crypto = answering_crypto("");
    const exact_bytes_t key(pfx_of({data_entry({shrouded("k"), cert_bag("c")})}));
    pkcs12_easy_t easy;
    EXPECT_TRUE(read(key, crypto, easy));
    EXPECT_EQ("cert[63]", bags_text(easy.plain_bags));
    EXPECT_EQ("key[]", bags_text(easy.encrypted_bags));
    EXPECT_TRUE(all_kept(key, easy));

    const exact_bytes_t entry(pfx_of({encrypted_entry({cert_bag("c")}), data_entry({cert_bag("d")})}));
    EXPECT_FALSE(read(entry, crypto, easy));
    EXPECT_EQ("cert[63]", bags_text(easy.plain_bags)) << "nothing after the entry is read";
    EXPECT_TRUE(all_kept(key, easy));
}

// Every prefix of a plaintext. The container keeps it whether it could be read or not.
TEST(short_plaintext, is_refused_at_every_size) {
    const exact_bytes_t input(pfx_of({encrypted_entry({cert_bag("c")})}));
    const std::string whole = entry_plaintext({cert_bag("c"), key_bag(KEY, der_set({local_key_id("id")}))});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string plaintext = whole.substr(0, size);
        scripted_crypto_t crypto = answering_crypto(plaintext);
        pkcs12_easy_t easy;
        EXPECT_FALSE(read(input, crypto, easy)) << size;
        EXPECT_EQ("", bags_text(easy.encrypted_bags)) << size;
        ASSERT_EQ(1U, easy.decrypted_buffers.size()) << size;
        EXPECT_EQ(plaintext, easy.decrypted_buffers.front()) << size;
    }
}

// Far more than was encrypted, and more than the whole file has.
TEST(huge_plaintext, is_read_like_any_other) {
    constexpr std::size_t HUGE = 16 << 20;
    scripted_crypto_t crypto = answering_crypto(entry_plaintext({key_bag(std::string(HUGE, 'k')), cert_bag("c")}));
    const exact_bytes_t input(pfx_of({encrypted_entry({})}));
    pkcs12_easy_t easy;
    EXPECT_TRUE(read(input, crypto, easy));
    ASSERT_EQ(2U, easy.encrypted_bags.size());
    EXPECT_EQ(HUGE, easy.encrypted_bags.front().value.size);
    EXPECT_EQ("cert[63]", bag_text(easy.encrypted_bags.back()));
    EXPECT_TRUE(all_kept(input, easy));
}

// Lengths of more octets than they need move everything after them one octet at a time, so that 16-bit characters and
// numbers come to every kind of address. The sanitizers report a misaligned read.
TEST(misaligned_plaintext, is_read_at_every_address) {
    const exact_bytes_t input(pfx_of({encrypted_entry({})}));
    for (std::size_t shift = 0; shift <= 4; ++shift) {
        const der_t bag = cert_bag("c", der_set({friendly_name(from_hex("04 1A 04 3B")), local_key_id("id")}));
        der_t octets = der_octet_string(safe_contents({bag, shrouded("k")}));
        if (shift != 0) {
            const std::string length = long_length(encode_content(octets).size());
            octets.length = static_cast<char>(0x80 | shift) + length.substr(5 - shift);
        }
        scripted_crypto_t crypto = answering_crypto(encode(octets));
        pkcs12_easy_t easy;
        EXPECT_TRUE(read(input, crypto, easy)) << shift;
        EXPECT_EQ("cert[63] name[04 1A 04 3B] id[69 64]", bag_text(easy.encrypted_bags.front())) << shift;
        EXPECT_TRUE(all_kept(input, easy));
    }
}

// References that are kept

// Its arguments are in the input or in a plaintext that the container keeps, and the container keeps the string that it
// filled: all of it lasts as long as input and container.
TEST(crypto_that_keeps_references, finds_them_valid_after_the_reading) {
    struct kept_t {
        blob_t salt;
        blob_t data;
        std::string* out;
    };
    pkcs12_mac_t mac;
    blob_t mac_data;
    std::vector<kept_t> decryptions;
    scripted_crypto_t crypto;
    crypto.on_verify_mac = [&](const pkcs12_mac_t& given, std::string_view data) {
        mac = given;
        mac_data = view_of(data);
        return true;
    };
    crypto.on_decrypt = [&](const pkcs5_pbe_gost_t& params, std::string_view data, std::string& out) {
        decryptions.push_back({params.salt, view_of(data), &out});
        toggle_bits(data, out);
        return true;
    };
    const exact_bytes_t input(usual_pfx());
    pkcs12_easy_t easy;
    EXPECT_TRUE(read(input, crypto, easy));
    const pkcs12_easy_t moved = std::move(easy);
    EXPECT_EQ("digest", chars_of(mac.digest));
    EXPECT_TRUE(lies_in(mac.digest, input));
    EXPECT_TRUE(lies_in(mac_data, input));
    ASSERT_EQ(5U, decryptions.size());
    for (const kept_t& kept : decryptions) {
        EXPECT_TRUE(is_kept(kept.data, input, moved));
        EXPECT_TRUE(is_kept(kept.salt, input, moved));
        EXPECT_EQ("salt", chars_of(kept.salt));
        EXPECT_EQ(toy_cipher(chars_of(kept.data)), *kept.out);
        const auto is_it = [&](const std::string& buffer) { return &buffer == kept.out; };
        EXPECT_TRUE(std::any_of(moved.decrypted_buffers.begin(), moved.decrypted_buffers.end(), is_it));
    }
}

TEST(crypto_that_swaps_strings, changes_nothing_that_was_read) {
    const exact_bytes_t input(usual_pfx());
    pkcs12_easy_t easy;
    {
        // Exchanges the string's storage for its own, and back at the next call.
        std::string own(1000, 'x');
        scripted_crypto_t crypto;
        crypto.on_decrypt = [&](const pkcs5_pbe_gost_t&, std::string_view data, std::string& out) {
            own = toy_cipher(data);
            out.swap(own);
            return true;
        };
        EXPECT_TRUE(read(input, crypto, easy));
    }
    scripted_crypto_t plain_crypto;
    pkcs12_easy_t expected;
    EXPECT_TRUE(read(input, plain_crypto, expected));
    EXPECT_EQ(bags_text(expected.encrypted_bags), bags_text(easy.encrypted_bags));
    EXPECT_TRUE(all_kept(input, easy));
}

TEST(crypto_that_reads_containers_itself, disturbs_none) {
    const exact_bytes_t inner(usual_pfx());
    const exact_bytes_t outer(usual_pfx());
    pkcs12_easy_t inner_easy;
    scripted_crypto_t crypto;
    crypto.on_decrypt = [&](const pkcs5_pbe_gost_t&, std::string_view data, std::string& out) {
        scripted_crypto_t inner_crypto;
        EXPECT_TRUE(read(inner, inner_crypto, inner_easy));
        toggle_bits(data, out);
        return true;
    };
    pkcs12_easy_t easy;
    EXPECT_TRUE(read(outer, crypto, easy));
    EXPECT_TRUE(all_kept(outer, easy));
    EXPECT_TRUE(all_kept(inner, inner_easy));
    EXPECT_EQ(5U * easy.encrypted_bags.size(), inner_easy.encrypted_bags.size());
}

// Outputs that view inputs

TEST(crypto_whose_records_view_what_it_was_given, is_written_down) {
    for (const std::string& value : {std::string("k"), KEY, std::string(20000, 'k')}) {
        pkcs12_easy_t easy;
        easy.encrypted_bags = {bag_of(0, value)};
        std::string authenticated;
        scripted_crypto_t crypto;
        crypto.on_make_mac = [&](std::string_view data, pkcs12_mac_t& mac) {
            authenticated = data;
            mac.digest = view_of(data);
            mac.salt = view_of(data.substr(data.size() - 1));
            mac.iterations = 5;
            return true;
        };
        crypto.on_encrypt = [](std::string_view data, pkcs5_pbe_gost_t& params, std::string& out) {
            toggle_bits(data, out);
            params.salt = view_of(out);
            params.iv = view_of(data);
            params.iterations = 7;
            return true;
        };
        std::string out;
        asn_write_pkcs12_easy(easy, &crypto, out);

        const std::string plaintext = entry_plaintext({key_bag(value)});
        encrypted_data_t data;
        pbes2_t pbes2;
        pbes2.salt = der_octet_string(toy_cipher(plaintext));
        pbes2.iv = der_octet_string(plaintext);
        pbes2.iterations = der_integer("07");
        data.algorithm = pbes2.whole();
        data.encrypted_content = der_element(0x80, toy_cipher(plaintext));
        pfx_t pfx({data.entry()});
        mac_data_t mac;
        mac.digest = der_octet_string(authenticated);
        mac.salt = der_octet_string(authenticated.substr(authenticated.size() - 1));
        mac.iterations = der_integer("05");
        pfx.mac_data = mac.whole();
        EXPECT_EQ(plaintext, crypto.calls.at(0).data);
        EXPECT_EQ(encode(pfx.content), authenticated);
        EXPECT_TRUE(encode(pfx.whole()) == out) << value.size();
    }
}

// Containers and inputs, each freed before the other

TEST(container, read_into_twice_from_two_inputs_outlives_both) {
    const guarded_pages_t first;
    const guarded_pages_t second;
    const std::string bytes = usual_pfx();
    const unsigned int size = static_cast<unsigned int>(bytes.size());
    std::optional<pkcs12_easy_t> easy(std::in_place);
    scripted_crypto_t crypto;
    EXPECT_TRUE(asn_read_pkcs12_easy(first.put_last(bytes), size, &crypto, *easy));
    EXPECT_TRUE(asn_read_pkcs12_easy(second.put_first(bytes), size, &crypto, *easy));
    EXPECT_EQ(2U, easy->plain_bags.size());
    EXPECT_EQ(10U, easy->encrypted_bags.size());
    EXPECT_EQ(10U, easy->decrypted_buffers.size());
    // From here on a read of an input ends the program.
    first.forbid();
    second.forbid();
    pkcs12_easy_t moved = std::move(*easy);
    easy.reset();
    pkcs12_easy_t assigned;
    assigned = std::move(moved);
    EXPECT_EQ(KEY, chars_of(assigned.encrypted_bags.front().value)) << "a plaintext is the container's own";
    assigned.encrypted_bags.clear();
    EXPECT_EQ(10U, assigned.decrypted_buffers.size());
}

TEST(container, may_be_destroyed_before_its_input) {
    const exact_bytes_t input(usual_pfx());
    const std::string before(input.chars(), input.size());
    scripted_crypto_t crypto;
    for (int i = 0; i < 3; ++i) {
        const std::unique_ptr<pkcs12_easy_t> easy = std::make_unique<pkcs12_easy_t>();
        EXPECT_TRUE(read(input, crypto, *easy));
    }
    EXPECT_EQ(before, std::string(input.chars(), input.size()));
}

// With a failed reading in between, after which the MAC is the broken file's.
TEST(container, read_into_again_after_a_failure_holds_all_that_was_read) {
    const exact_bytes_t good(usual_pfx());
    const exact_bytes_t broken(pfx_of({data_entry({cert_bag("b"), shrouded("x")}), der_null()}));
    scripted_crypto_t crypto;
    pkcs12_easy_t easy;
    EXPECT_TRUE(read(good, crypto, easy));
    EXPECT_FALSE(read(broken, crypto, easy));
    EXPECT_TRUE(read(good, crypto, easy));
    EXPECT_EQ("cert[63]\ncert[62]\ncert[63]", bags_text(easy.plain_bags));
    EXPECT_EQ(5U + 1U + 5U, easy.encrypted_bags.size());
    EXPECT_TRUE(lies_in(easy.mac.digest, good));
}

// A container's bags may be those of another one, whose plaintexts they view.
TEST(container, is_written_from_views_of_plaintexts) {
    const exact_bytes_t input(usual_pfx());
    scripted_crypto_t crypto;
    pkcs12_easy_t easy;
    EXPECT_TRUE(read(input, crypto, easy));
    std::string out;
    asn_write_pkcs12_easy(easy, &crypto, out);
    const exact_bytes_t written(out);
    pkcs12_easy_t again;
    EXPECT_TRUE(read(written, crypto, again));
    EXPECT_EQ(bags_text(easy.plain_bags), bags_text(again.plain_bags));
    EXPECT_EQ(bags_text(easy.encrypted_bags), bags_text(again.encrypted_bags));
}

// Outputs that are also inputs

// A writer assigns its output at the end, so its input may be in the output.
struct aliasing_case_t {
    const char* name;
    std::string input;
    void (*write)(const blob_t& input, std::string& out);
};
class writer_into_its_input : public testing::TestWithParam<aliasing_case_t> {};

TEST_P(writer_into_its_input, writes_the_same) {
    std::string expected;
    GetParam().write(view_of(GetParam().input), expected);
    std::string out = GetParam().input;
    GetParam().write(view_of(out), out);
    EXPECT_TRUE(same_bytes(expected, out));
    EXPECT_NE(GetParam().input, out);
}

const aliasing_case_t ALIASING[] = {
    {"gost_key", KEY,
     [](const blob_t& input, std::string& out) {
         pkcs8_pki_gost_t key;
         key.private_key = input;
         asn_write_pkcs8_pki_gost(key, out);
     }},
    {"pbes2_parameters", KEY,
     [](const blob_t& input, std::string& out) {
         pkcs5_pbe_gost_t pbe;
         pbe.salt = pbe.iv = input;
         asn_write_pkcs5_pbe_gost(pbe, out);
     }},
    {"encrypted_key", KEY,
     [](const blob_t& input, std::string& out) {
         pkcs8_encrypted_pki_gost_t key;
         key.pbe.salt = key.encrypted_data = input;
         asn_write_pkcs8_encrypted_pki_gost(key, out);
     }},
    {"container", KEY,
     [](const blob_t& input, std::string& out) {
         scripted_crypto_t crypto;
         crypto.make_mac_answer = answer_t::NO;
         pkcs12_easy_t easy;
         pkcs12_bag_t bag;
         bag.value = bag.local_key_id = input;
         easy.plain_bags = easy.encrypted_bags = {bag};
         easy.mac.digest = easy.mac.salt = input;
         asn_write_pkcs12_easy(easy, &crypto, out);
     }},
    {"name", "CN=a name that is long enough to live on the heap,C=RU",
     [](const blob_t& input, std::string& out) {
         const std::string with_a_zero(chars_of(input)); // a view has none
         EXPECT_TRUE(printable_to_asn_dn(input.data == view_of(out).data ? out.c_str() : with_a_zero.c_str(), out,
                                         OID_MAP_HANDLE_DEFAULT));
     }},
};
INSTANTIATE_TEST_SUITE_P(, writer_into_its_input, testing::ValuesIn(ALIASING), case_name_t());

TEST(normalised_name, may_replace_its_text_and_its_der) {
    const std::string text = "CN=\\61 name that is long enough to live on the heap,C=\"RU\"";
    const std::string expected = "CN=a name that is long enough to live on the heap,C=RU";
    std::string in = text;
    std::string der;
    EXPECT_TRUE(printable_dn_normalize(in, in, &der, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ(expected, in);

    in = text;
    std::string out;
    EXPECT_TRUE(printable_dn_normalize(in, out, &in, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ(expected, out);
    EXPECT_TRUE(same_bytes(der, in));
}

TEST(attribute, may_come_from_the_text_that_it_is_appended_to) {
    for (const std::size_t room : sizes_t{0, 1000}) {
        std::string text = "CN=" + std::string(50, 'a') + ",C=RU";
        const std::string expected = text + text.substr(0, 53);
        text.reserve(room);
        EXPECT_TRUE(printable_dn_get_attr(text.c_str(), "CN", text, PDN_GET_ATTR_PAIR));
        EXPECT_EQ(expected, text);
    }
}

} // namespace
