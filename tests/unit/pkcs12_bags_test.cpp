// SafeContents: the bags of one entry of a container, read and written.
#include <gtest/gtest.h>

#include <list>
#include <new>
#include <string>
#include <vector>

#include "asn/asn_builder.h"
#include "derkit/pkcs12_helper.h"
#include "pkcs/pkcs12_bags.h"
#include "support/expect.h"
#include "support/spoiled_der.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/pkcs_der.h"
#include "testing/recording_crypto.h"
#include "testing/views.h"

namespace {

// One reading into a container of its own; the input lives as long as this.
struct reading_t {
    exact_bytes_t input;
    recording_crypto_t crypto;
    pkcs12_easy_t easy;
    bool accepted = false;

    explicit reading_t(std::string_view bytes) : input(bytes) {}
    explicit reading_t(der_members_t bags) : input(encode(safe_contents(std::move(bags)))) {}

    void read(bool from_encrypted) {
        pkcs12_easy_wrap_t wrap = {&easy, &crypto};
        accepted = asn_read_pkcs12_bags(input.data(), input.size(), from_encrypted, wrap);
    }
};

struct bags_read_t {
    bool accepted;
    std::string plain;
    std::string encrypted;
    std::string operations;
};

bags_read_t read_bags(std::string_view bytes, bool from_encrypted = false) {
    reading_t reading(bytes);
    reading.read(from_encrypted);
    return {reading.accepted, bags_text(reading.easy.plain_bags), bags_text(reading.easy.encrypted_bags),
            reading.crypto.operations()};
}

bags_read_t read_bags(der_members_t bags, bool from_encrypted = false) {
    return read_bags(encode(safe_contents(std::move(bags))), from_encrypted);
}

der_t shrouded(std::string_view key, const der_t& attributes = der_raw("")) {
    return shrouded_key_bag(toy_cipher(key), attributes);
}

// Where bags go

TEST(safe_contents_reader, takes_an_empty_list) {
    for (const bool from_encrypted : {false, true}) {
        for (const char* const input : {"30 00", "30 00 FF", "30 81 00"}) {
            const bags_read_t read = read_bags(from_hex(input), from_encrypted);
            EXPECT_TRUE(read.accepted);
            EXPECT_EQ("", read.plain + read.encrypted + read.operations);
        }
    }
}

TEST(safe_contents_reader, puts_plain_bags_in_file_order_and_decrypted_keys_apart) {
    const bags_read_t read = read_bags({key_bag("a"), shrouded("b"), cert_bag("c"), shrouded("d"), key_bag("e")});
    EXPECT_TRUE(read.accepted);
    EXPECT_EQ("key[61]\ncert[63]\nkey[65]", read.plain);
    EXPECT_EQ("key[62]\nkey[64]", read.encrypted);
}

TEST(safe_contents_reader, puts_all_bags_of_an_encrypted_entry_together_in_file_order) {
    const bags_read_t read = read_bags({key_bag("a"), shrouded("b"), cert_bag("c"), shrouded("d"), key_bag("e")}, true);
    EXPECT_TRUE(read.accepted);
    EXPECT_EQ("", read.plain);
    EXPECT_EQ("key[61]\nkey[62]\ncert[63]\nkey[64]\nkey[65]", read.encrypted);
}

TEST(safe_contents_reader, appends_behind_what_the_container_holds) {
    reading_t reading({cert_bag("new"), shrouded("new")});
    pkcs12_bag_t old;
    old.value = view_of("old");
    reading.easy.plain_bags.push_back(old);
    reading.easy.encrypted_bags.push_back(old);
    reading.easy.decrypted_buffers.emplace_back("old");
    reading.read(false);
    EXPECT_TRUE(reading.accepted);
    EXPECT_EQ("key[6F 6C 64]\ncert[6E 65 77]", bags_text(reading.easy.plain_bags));
    EXPECT_EQ("key[6F 6C 64]\nkey[6E 65 77]", bags_text(reading.easy.encrypted_bags));
    EXPECT_EQ((std::list<std::string>{"old", "new"}), reading.easy.decrypted_buffers);
}

TEST(safe_contents_reader, views_the_input_for_plain_bags) {
    reading_t reading({key_bag("key", der_set({friendly_name("name"), local_key_id("id")})), cert_bag("certificate")});
    for (const bool from_encrypted : {false, true}) {
        reading.read(from_encrypted);
        ASSERT_TRUE(reading.accepted);
    }
    for (const auto* const bags : {&reading.easy.plain_bags, &reading.easy.encrypted_bags}) {
        EXPECT_TRUE(lies_in(bags->front().value, reading.input));
        EXPECT_TRUE(lies_in(bags->front().friendly_name, reading.input));
        EXPECT_TRUE(lies_in(bags->front().local_key_id, reading.input));
        EXPECT_TRUE(lies_in(bags->back().value, reading.input));
    }
    EXPECT_TRUE(reading.easy.decrypted_buffers.empty());
}

// One bag: what it gives, or that it fails

struct bag_case_t {
    const char* name;
    der_t bag;
    bool accepted;
    const char* expected;
};
class safe_bag_reader : public testing::TestWithParam<bag_case_t> {};

// The bag between two others: those in front stay after a failure, those behind are not reached.
TEST_P(safe_bag_reader, gives) {
    const bag_case_t& c = GetParam();
    const bags_read_t read = read_bags({key_bag("1"), c.bag, key_bag("2")});
    EXPECT_EQ(c.accepted, read.accepted);
    const std::string expected = *c.expected == '\0' ? "" : std::string("\n") + c.expected;
    EXPECT_EQ("key[31]" + expected + (c.accepted ? "\nkey[32]" : ""), read.plain);
    EXPECT_EQ("", read.encrypted);
    EXPECT_EQ("", read.operations);
}

const bag_case_t KEYS[] = {
    {"private_key_info", key_bag(encode(der_sequence({der_integer("00")}))), true, "key[30 03 02 01 00]"},
    {"nothing", key_bag(""), true, "key[]"},
    {"what_is_no_element", key_bag("\x30\x7F"), true, "key[30 7F]"},
    {"several_elements", key_bag(from_hex("05 00 05 00")), true, "key[05 00 05 00]"},
};
INSTANTIATE_TEST_SUITE_P(for_a_key_all_of_the_value, safe_bag_reader, testing::ValuesIn(KEYS), case_name_t());

der_t cert_bag_with(const std::string& value) {
    return safe_bag(OID_CERT_BAG, der_raw(value));
}

const bag_case_t CERTIFICATES[] = {
    {"certificate", cert_bag_with("30 13 06 0A 2A 86 48 86 F7 0D 01 09 16 01 A0 05 04 03 30 01 FF"), true,
     "cert[30 01 FF]"},
    {"empty_certificate", cert_bag(""), true, "cert[]"},
    {"certificate_of_another_kind", cert_bag_with("30 12 06 0A 2A 86 48 86 F7 0D 01 09 16 02 A0 04 04 02 AA BB"), true,
     "cert[AA BB]"},
    {"empty_kind", cert_bag_with("30 08 06 00 A0 04 04 02 AA BB"), true, "cert[AA BB]"},
    {"bytes_behind_the_octets", cert_bag_with("30 09 06 01 2A A0 04 04 01 AA FF"), true, "cert[AA]"},
    {"bytes_behind_the_wrapper", cert_bag_with("30 09 06 01 2A A0 03 04 01 AA FF"), true, "cert[AA]"},
    {"bytes_behind_the_sequence", cert_bag_with("30 08 06 01 2A A0 03 04 01 AA FF"), true, "cert[AA]"},
};
INSTANTIATE_TEST_SUITE_P(for_a_certificate_its_octets, safe_bag_reader, testing::ValuesIn(CERTIFICATES), case_name_t());

const bag_case_t BAD_CERTIFICATES[] = {
    {"nothing", cert_bag_with(""), false, ""},
    {"no_sequence", cert_bag_with("06 01 2A A0 03 04 01 AA"), false, ""},
    {"no_kind", cert_bag_with("30 05 A0 03 04 01 AA"), false, ""},
    {"no_octets", cert_bag_with("30 05 06 01 2A A0 00"), false, ""},
    {"no_wrapper", cert_bag_with("30 06 06 01 2A 04 01 AA"), false, ""},
    {"primitive_wrapper", cert_bag_with("30 08 06 01 2A 80 03 04 01 AA"), false, ""},
    {"constructed_octets", cert_bag_with("30 0A 06 01 2A A0 05 24 03 04 01 AA"), false, ""},
    {"sdsi_certificate", cert_bag_with("30 08 06 01 2A A0 03 16 01 41"), false, ""},
    {"octets_past_the_wrapper", cert_bag_with("30 08 06 01 2A A0 03 04 02 AA BB"), false, ""},
    {"wrapping_octets", cert_bag_with("30 0C 06 01 2A A0 07 04 84 FF FF FF FA AA"), false, ""},
};
INSTANTIATE_TEST_SUITE_P(fails_on_a_certificate, safe_bag_reader, testing::ValuesIn(BAD_CERTIFICATES), case_name_t());

const bag_case_t OTHER_BAGS[] = {
    {"crl", safe_bag(OID_CRL_BAG, der_null()), true, ""},
    {"secret", safe_bag(OID_SECRET_BAG, der_raw("FF FF FF")), true, ""},
    {"nested_safe_contents", safe_bag("1.2.840.113549.1.12.10.1.6", safe_contents({key_bag("k")})), true, ""},
    {"unknown", safe_bag("1.2.3", der_raw("")), true, ""},
    {"unknown_with_attributes", safe_bag("1.2.3", der_null(), der_set({friendly_name("ab")})), true, ""},
    {"an_octet_more_than_a_key", safe_bag("1.2.840.113549.1.12.10.1.1.1", der_null()), true, ""},
    {"an_octet_less_than_a_key", safe_bag("1.2.840.113549.1.12.10.1", der_null()), true, ""},
    {"empty_kind", der_sequence({der_raw("06 00"), der_context_0({der_null()})}), true, ""},
    {"key_that_is_not_encrypted_as_we_know", safe_bag(OID_SHROUDED_KEY_BAG, der_null()), true, ""},
    {"shrouded_key_without_anything", safe_bag(OID_SHROUDED_KEY_BAG, der_raw("")), true, ""},
};
INSTANTIATE_TEST_SUITE_P(nothing_for_others, safe_bag_reader, testing::ValuesIn(OTHER_BAGS), case_name_t());

const bag_case_t BAD_BAGS[] = {
    {"no_sequence", der_set(key_bag("k").members), false, ""},
    {"empty", der_sequence({}), false, ""},
    {"no_kind", der_sequence({der_context_0({der_null()})}), false, ""},
    {"no_value", der_sequence({der_oid(OID_KEY_BAG)}), false, ""},
    {"attributes_instead_of_a_value", der_sequence({der_oid(OID_KEY_BAG), der_set({})}), false, ""},
    {"primitive_value", der_sequence({der_oid(OID_KEY_BAG), der_element(0x80, "k")}), false, ""},
    {"unknown_without_a_value", der_sequence({der_oid("1.2.3")}), false, ""},
    {"a_byte", der_raw("30"), false, ""},
};
INSTANTIATE_TEST_SUITE_P(fails_on_a_bag, safe_bag_reader, testing::ValuesIn(BAD_BAGS), case_name_t());

// Attributes

der_t key_with(const der_t& behind_the_value) {
    return key_bag("k", behind_the_value);
}

const bag_case_t ATTRIBUTES[] = {
    {"none", key_with(der_set({})), true, "key[6B]"},
    {"friendly_name", key_with(der_set({friendly_name(from_hex("04 1A 00 41"))})), true, "key[6B] name[04 1A 00 41]"},
    {"friendly_name_of_odd_size", key_with(der_set({friendly_name("abc")})), true, "key[6B] name[61 62 63]"},
    {"local_key_id", key_with(der_set({local_key_id("\x01")})), true, "key[6B] id[01]"},
    {"both", key_with(der_set({friendly_name("ab"), local_key_id("\x01")})), true, "key[6B] name[61 62] id[01]"},
    {"both_the_other_way_round", key_with(der_set({local_key_id("\x01"), friendly_name("ab")})), true,
     "key[6B] name[61 62] id[01]"},
    {"empty_ones", key_with(der_set({local_key_id(""), friendly_name("")})), true, "key[6B]"},
    {"on_a_certificate", cert_bag("c", der_set({friendly_name("ab"), local_key_id("\x01")})), true,
     "cert[63] name[61 62] id[01]"},
    {"repeated_name", key_with(der_set({friendly_name("ab"), friendly_name("cd")})), true, "key[6B] name[63 64]"},
    {"repeated_id", key_with(der_set({local_key_id("\x01"), friendly_name("ab"), local_key_id("\x02")})), true,
     "key[6B] name[61 62] id[02]"},
    {"repeated_and_then_empty", key_with(der_set({friendly_name("ab"), friendly_name("")})), true, "key[6B]"},
    {"others", key_with(der_set({attribute("1.2.3", der_null()), local_key_id("\x01"), attribute("1.2", der_raw(""))})),
     true, "key[6B] id[01]"},
    {"other_whose_values_are_no_elements", key_with(der_set({attribute("1.2.3", der_raw("FF FF"))})), true, "key[6B]"},
    {"further_values", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_raw("04 01 01 04 01 02"))})), true,
     "key[6B] id[01]"},
    {"further_values_that_are_no_elements", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_raw("1E 01 41 FF"))})),
     true, "key[6B] name[41]"},
    {"bytes_behind_the_values",
     key_with(der_set({der_sequence({der_oid(OID_LOCAL_KEY_ID), der_set({der_octet_string("\x01")}), der_raw("FF")})})),
     true, "key[6B] id[01]"},
    {"bytes_behind_the_set", key_with(der_raw("31 00 FF")), true, "key[6B]"},
};
INSTANTIATE_TEST_SUITE_P(attributes, safe_bag_reader, testing::ValuesIn(ATTRIBUTES), case_name_t());

// Only a SET right behind the value is taken for attributes.
const bag_case_t NO_ATTRIBUTES[] = {
    {"bytes", key_with(der_raw("FF FF")), true, "key[6B]"},
    {"sequence", key_with(der_sequence({friendly_name("ab")})), true, "key[6B]"},
    {"set_behind_something_else", key_with(der_raw("05 00 31 7F")), true, "key[6B]"},
};
INSTANTIATE_TEST_SUITE_P(takes_for_no_attributes, safe_bag_reader, testing::ValuesIn(NO_ATTRIBUTES), case_name_t());

const bag_case_t BAD_ATTRIBUTES[] = {
    {"set_past_the_end", key_with(der_raw("31 01")), false, ""},
    {"half_a_header", key_with(der_raw("31")), false, ""},
    {"wrapping_set", key_with(der_raw("31 84 FF FF FF FA")), false, ""},
    {"no_sequence", key_with(der_set({der_null()})), false, ""},
    {"empty_attribute", key_with(der_set({der_sequence({})})), false, ""},
    {"attribute_without_oid", key_with(der_set({der_sequence({der_set({})})})), false, ""},
    {"attribute_without_values", key_with(der_set({der_sequence({der_oid("1.2.3")})})), false, ""},
    {"name_as_utf8_string", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_element(0x0C, "ab"))})), false, ""},
    {"name_without_a_value", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_raw(""))})), false, ""},
    {"name_past_its_set", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_raw("1E 02 00"))})), false, ""},
    {"name_that_wraps", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_raw("1E 84 FF FF FF FB"))})), false, ""},
    {"id_as_integer", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_integer("01"))})), false, ""},
    {"id_without_a_value", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_raw(""))})), false, ""},
    {"id_as_the_second_value", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_raw("05 00 04 01 01"))})), false, ""},
    {"the_last_of_several", key_with(der_set({friendly_name("ab"), local_key_id("\x01"), der_null()})), false, ""},
    {"on_a_certificate", cert_bag("c", der_set({der_null()})), false, ""},
    {"on_a_crl", safe_bag(OID_CRL_BAG, der_null(), der_set({der_null()})), false, ""},
    {"on_a_secret", safe_bag(OID_SECRET_BAG, der_null(), der_raw("31 01")), false, ""},
    {"on_a_shrouded_key", shrouded("k", der_set({der_null()})), false, ""},
};
INSTANTIATE_TEST_SUITE_P(fails_on_attributes, safe_bag_reader, testing::ValuesIn(BAD_ATTRIBUTES), case_name_t());

// Shrouded keys

TEST(shrouded_key_bag_reader, asks_to_decrypt_the_data_under_the_parameters) {
    for (const bool from_encrypted : {false, true}) {
        reading_t reading({shrouded("plaintext", der_set({friendly_name("ab"), local_key_id("\x01")}))});
        reading.read(from_encrypted);
        EXPECT_TRUE(reading.accepted);
        ASSERT_EQ("decrypt", reading.crypto.operations());
        const crypto_call_t& call = reading.crypto.calls.front();
        EXPECT_TRUE(same_bytes(toy_cipher("plaintext"), call.data));
        EXPECT_EQ("salt", call.salt);
        EXPECT_EQ(2000U, call.iterations);
        EXPECT_EQ("iv", call.iv);
        EXPECT_EQ("", call.out);
        EXPECT_EQ("", bags_text(reading.easy.plain_bags));
        EXPECT_EQ("key[" + to_hex("plaintext") + "] name[61 62] id[01]", bags_text(reading.easy.encrypted_bags));
        EXPECT_EQ(std::list<std::string>{"plaintext"}, reading.easy.decrypted_buffers);
    }
}

// An empty count says nothing, and the record was fresh.
TEST(shrouded_key_bag_reader, hands_on_no_iterations_for_an_empty_count) {
    pbes2_t pbes2;
    pbes2.iterations = der_integer("");
    reading_t reading({safe_bag(OID_SHROUDED_KEY_BAG, encrypted_key("data", pbes2))});
    reading.read(false);
    ASSERT_EQ("decrypt", reading.crypto.operations());
    EXPECT_EQ(0U, reading.crypto.calls.front().iterations);
}

// A string may hold short text inside itself (15 or 22 bytes in the usual libraries): also then the bag views what the
// container keeps. Longer text keeps its address, so it was not copied.
TEST(shrouded_key_bag_reader, views_the_kept_plaintext_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 14, 15, 16, 22, 23, 24, 100, 100000}) {
        SCOPED_TRACE(size);
        const std::string plaintext = counting_bytes(size, 1);
        reading_t reading({shrouded(plaintext), shrouded(plaintext)});
        reading.read(false);
        EXPECT_TRUE(reading.accepted);
        const pkcs12_easy_t& easy = reading.easy;
        ASSERT_EQ(2U, easy.encrypted_bags.size());
        ASSERT_EQ(2U, easy.decrypted_buffers.size());
        EXPECT_TRUE(lies_in(easy.encrypted_bags.front().value, easy.decrypted_buffers.front()));
        EXPECT_TRUE(lies_in(easy.encrypted_bags.back().value, easy.decrypted_buffers.back()));
        for (const pkcs12_bag_t& bag : easy.encrypted_bags) {
            EXPECT_TRUE(same_bytes(plaintext, chars_of(bag.value)));
        }
        if (size >= 100) {
            EXPECT_EQ(reading.crypto.decrypted_at.front(), easy.decrypted_buffers.front().data());
        }
    }
}

TEST(shrouded_key_bag_reader, does_not_parse_the_plaintext) {
    const bags_read_t read = read_bags({shrouded("\xFF\xFF")});
    EXPECT_TRUE(read.accepted);
    EXPECT_EQ("key[FF FF]", read.encrypted);
}

TEST(shrouded_key_bag_reader, leaves_out_what_cannot_be_decrypted) {
    reading_t reading({shrouded("first"), shrouded("second"), cert_bag("c"), shrouded("third")});
    reading.crypto.decrypt_answers = {answer_t::YES, answer_t::NO};
    reading.read(true);
    EXPECT_TRUE(reading.accepted);
    EXPECT_EQ("decrypt decrypt decrypt", reading.crypto.operations());
    EXPECT_EQ("", reading.crypto.calls.back().out);
    EXPECT_EQ("key[" + to_hex("first") + "]\ncert[63]\nkey[" + to_hex("third") + "]",
              bags_text(reading.easy.encrypted_bags));
    EXPECT_EQ((std::list<std::string>{"first", "third"}), reading.easy.decrypted_buffers);
}

// Whatever is wrong inside the encrypted key, the bag is just left out, and nothing is decrypted.
TEST(shrouded_key_bag_reader, leaves_out_what_is_encrypted_in_another_way) {
    const auto expect_left_out = [](const der_t& key) {
        const bags_read_t read = read_bags({safe_bag(OID_SHROUDED_KEY_BAG, key), cert_bag("c")});
        EXPECT_TRUE(read.accepted);
        EXPECT_EQ("cert[63]", read.plain);
        EXPECT_EQ("", read.encrypted + read.operations);
    };
    for_each_element_left_out(encrypted_key("data"), [&](const der_t& key, const der_t&) { expect_left_out(key); });
    for_each_bad_length(encrypted_key("data"), [&](const der_t& key, const der_t&) { expect_left_out(key); });
    pbes2_t with_sha_1;
    with_sha_1.hmac = der_oid("1.2.840.113549.2.7");
    expect_left_out(encrypted_key("data", with_sha_1));
}

TEST(shrouded_key_bag_reader, ignores_what_follows_the_encrypted_key) {
    der_t bag = shrouded("k");
    bag.members[1].members.push_back(der_raw("FF"));
    EXPECT_EQ("key[6B]", read_bags({bag}).encrypted);
}

// Views on every path

void expect_views_of_a_failed_reading(const reading_t& reading) {
    const pkcs12_easy_t& easy = reading.easy;
    EXPECT_FALSE(reading.accepted);
    EXPECT_EQ("cert[63]", bags_text(easy.plain_bags));
    EXPECT_EQ("key[6B] name[61 62]", bags_text(easy.encrypted_bags));
    EXPECT_EQ(std::list<std::string>{"k"}, easy.decrypted_buffers);
    EXPECT_TRUE(all_kept(reading.input, easy));
}

const der_t READ_BEFORE_THE_FAILURE[] = {cert_bag("c"), shrouded("k", der_set({friendly_name("ab")}))};

TEST(safe_contents_reader, keeps_bags_and_plaintexts_when_a_later_bag_fails) {
    for (const der_t& bad : {der_null(), der_raw("30"), cert_bag_with(""), key_with(der_set({der_null()}))}) {
        SCOPED_TRACE(to_hex(encode(bad)));
        reading_t reading({READ_BEFORE_THE_FAILURE[0], READ_BEFORE_THE_FAILURE[1], bad, cert_bag("behind")});
        reading.read(false);
        expect_views_of_a_failed_reading(reading);
    }
}

TEST(safe_contents_reader, keeps_bags_and_plaintexts_when_decryption_throws) {
    reading_t reading({READ_BEFORE_THE_FAILURE[0], READ_BEFORE_THE_FAILURE[1], shrouded("x"), cert_bag("behind")});
    reading.crypto.decrypt_answers = {answer_t::YES, answer_t::THROW};
    EXPECT_THROW(reading.read(false), crypto_failure_t);
    expect_views_of_a_failed_reading(reading);
}

// All elements of a SafeContents that are walked

der_t walked_safe_contents() {
    return safe_contents({key_bag("k", der_set({friendly_name("ab"), local_key_id("\x01")})), cert_bag("c")});
}

const char* const WALKED = "key[6B] name[61 62] id[01]\ncert[63]";

TEST(safe_contents_reader, refuses_lengths_that_lead_outside) {
    for_each_bad_length(walked_safe_contents(), [](const der_t& whole, const der_t&) {
        EXPECT_FALSE(read_bags(encode(whole)).accepted);
        EXPECT_FALSE(read_bags(encode(whole) + ROOM_BEHIND).accepted);
    });
}

TEST(safe_contents_reader, accepts_lengths_of_more_octets_than_needed) {
    for_each_long_length(walked_safe_contents(), [](const der_t& whole) {
        const bags_read_t read = read_bags(encode(whole));
        EXPECT_TRUE(read.accepted);
        EXPECT_EQ(WALKED, read.plain);
    });
}

TEST(safe_contents_reader, tells_primitive_from_constructed) {
    for_each_element(walked_safe_contents(), [](der_t& whole, der_t& element) {
        const bool are_attributes = &element == &whole.members[0].members[2];
        element.tag ^= 0x20;
        EXPECT_EQ(are_attributes, read_bags(encode(whole)).accepted) << "a SET that is none is ignored";
    });
}

TEST(safe_contents_reader, ignores_bytes_behind_it) {
    EXPECT_EQ(WALKED, read_bags(encode(walked_safe_contents()) + "\xFF").plain);
}

TEST(safe_contents_reader, refuses_every_prefix) {
    for_each_prefix(encode(walked_safe_contents()), [](const exact_bytes_t& prefix) {
        const bags_read_t read = read_bags(std::string_view(prefix.chars(), prefix.size()));
        EXPECT_FALSE(read.accepted);
        EXPECT_EQ("", read.plain);
    });
}

// Cut inside, with the SEQUENCE's length right: whole bags are read, half of one fails.
TEST(safe_contents_reader, reads_as_far_as_bags_are_whole) {
    const std::string first = encode(walked_safe_contents().members[0]);
    for_each_prefix(encode_content(walked_safe_contents()), [&](const exact_bytes_t& prefix) {
        const bags_read_t read = read_bags(encode(der_element(0x30, std::string_view(prefix.chars(), prefix.size()))));
        EXPECT_EQ(prefix.size() == 0 || prefix.size() == first.size(), read.accepted);
        EXPECT_EQ(prefix.size() < first.size() ? "" : "key[6B] name[61 62] id[01]", read.plain);
    });
}

// Writing

// What the writers append to a SEQUENCE that already holds something.
template <typename WRITE> std::string appended(WRITE write) {
    asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
    out.add_bytes("before", 6);
    write(out);
    const std::string_view encoding = as_chars(out.encoding(), out.encoding_size());
    const std::string_view content = encoding.substr(encoding.size() - out.content_size);
    EXPECT_EQ("before", content.substr(0, 6));
    return std::string(content.substr(6));
}

std::string write_bag(const pkcs12_bag_t& bag) {
    return appended([&](asn_tag_t_<0>& out) { asn_write_pkcs12_bag(bag, out); });
}

std::string write_bags(const std::list<pkcs12_bag_t>& bags) {
    return appended([&](asn_tag_t_<0>& out) { asn_write_pkcs12_bags(bags, out); });
}

struct bag_written_case_t {
    const char* name;
    pkcs12_bag_t bag;
    const char* expected;
};
class safe_bag_encoding : public testing::TestWithParam<bag_written_case_t> {};

TEST_P(safe_bag_encoding, is) {
    EXPECT_TRUE(same_bytes(from_hex(GetParam().expected), write_bag(GetParam().bag)));
}

const char* const KEY = "30 14 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 05 30 03 02 01 00";
const bag_written_case_t WRITTEN_KEYS[] = {
    {"key", bag_of(0, std::string_view("\x30\x03\x02\x01\x00", 5)), KEY},
    {"type_2", bag_of(2, std::string_view("\x30\x03\x02\x01\x00", 5)), KEY},
    {"highest_type", bag_of(0xFFFFFFFF, std::string_view("\x30\x03\x02\x01\x00", 5)), KEY},
    {"empty_key", bag_of(0, ""), "30 0F 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00"},
    {"fresh_bag", pkcs12_bag_t(), "30 0F 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00"},
};
INSTANTIATE_TEST_SUITE_P(of_all_but_certificates, safe_bag_encoding, testing::ValuesIn(WRITTEN_KEYS), case_name_t());

const bag_written_case_t WRITTEN_CERTIFICATES[] = {
    {"certificate", bag_of(1, "\xAA\xBB"),
     "30 23 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 03 A0 14 30 12 06 0A 2A 86 48 86 F7 0D 01 09 16 01 A0 04 04 02 AA BB"},
    {"empty_certificate", bag_of(1, ""),
     "30 21 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 03 A0 12 30 10 06 0A 2A 86 48 86 F7 0D 01 09 16 01 A0 02 04 00"},
};
INSTANTIATE_TEST_SUITE_P(of_certificates, safe_bag_encoding, testing::ValuesIn(WRITTEN_CERTIFICATES), case_name_t());

const bag_written_case_t WRITTEN_ATTRIBUTES[] = {
    {"friendly_name", bag_of(0, "", "AB"),
     "30 24 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00 31 13 30 11 06 09 2A 86 48 86 F7 0D 01 09 14 31 04 1E 02 41 "
     "42"},
    {"local_key_id", bag_of(0, "", "", "\x07"),
     "30 23 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00 31 12 30 10 06 09 2A 86 48 86 F7 0D 01 09 15 31 03 04 01 07"},
    {"friendly_name_before_local_key_id", bag_of(0, "", "AB", "\x07"),
     "30 36 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00 31 25 30 11 06 09 2A 86 48 86 F7 0D 01 09 14 31 04 1E 02 41 "
     "42 30 10 06 09 2A 86 48 86 F7 0D 01 09 15 31 03 04 01 07"},
};
INSTANTIATE_TEST_SUITE_P(with_attributes, safe_bag_encoding, testing::ValuesIn(WRITTEN_ATTRIBUTES), case_name_t());

TEST(safe_bag_writer, takes_values_of_any_length) {
    for (const std::size_t size : sizes_t{100, 122, 123, 127, 128, 250, 256, 1000, 60000}) {
        SCOPED_TRACE(size);
        const std::string value = counting_bytes(size, 1);
        const std::string name = counting_bytes(size, 2);
        const std::string id = counting_bytes(size, 3);
        EXPECT_TRUE(same_bytes(encode(key_bag(value)), write_bag(bag_of(0, value))));
        EXPECT_TRUE(same_bytes(encode(cert_bag(value)), write_bag(bag_of(1, value))));
        EXPECT_TRUE(same_bytes(encode(key_bag("", der_set({friendly_name(name)}))), write_bag(bag_of(0, "", name))));
        EXPECT_TRUE(same_bytes(encode(key_bag("", der_set({local_key_id(id)}))), write_bag(bag_of(0, "", "", id))));
    }
}

TEST(safe_bag_writer, throws_when_there_is_no_memory_and_leaves_the_parent_alone) {
    pkcs12_bag_t fields[] = {bag_of(0, "v"), bag_of(1, "v"), bag_of(0, "v", "n"), bag_of(0, "v", "n", "i")};
    fields[0].value.size = fields[1].value.size = fields[2].friendly_name.size = fields[3].local_key_id.size =
        0xFFFFFFFF;
    for (const pkcs12_bag_t& bag : fields) {
        EXPECT_EQ("",
                  appended([&](asn_tag_t_<0>& out) { EXPECT_THROW(asn_write_pkcs12_bag(bag, out), std::bad_alloc); }));
    }
}

TEST(safe_contents_writer, writes_an_element_for_an_empty_list) {
    EXPECT_TRUE(same_bytes(from_hex("30 00"), write_bags({})));
}

TEST(safe_contents_writer, writes_bags_in_list_order) {
    const std::list<pkcs12_bag_t> bags = {bag_of(1, "c1", "n"), bag_of(0, "k"), bag_of(1, "c2", "", "i")};
    const der_t expected = safe_contents(
        {cert_bag("c1", der_set({friendly_name("n")})), key_bag("k"), cert_bag("c2", der_set({local_key_id("i")}))});
    EXPECT_TRUE(same_bytes(encode(expected), write_bags(bags)));
}

// Its length holds no zero octet, so that the header is the one of DER.
TEST(safe_contents_writer, writes_ten_thousand_bags) {
    std::vector<std::string> values;
    for (unsigned int i = 0; i < 10000; ++i) {
        values.push_back("value " + std::to_string(10000 + i));
    }
    std::list<pkcs12_bag_t> bags;
    der_members_t expected;
    for (const std::string& value : values) {
        bags.push_back(bag_of(bags.size() % 2, value, "n"));
        const der_t name = der_set({friendly_name("n")});
        expected.push_back(bags.back().type == 1 ? cert_bag(value, name) : key_bag(value, name));
    }
    const std::string written = write_bags(bags);
    EXPECT_TRUE(written == encode(safe_contents(std::move(expected))));
    const bags_read_t read = read_bags(written);
    EXPECT_TRUE(read.accepted);
    EXPECT_TRUE(read.plain == bags_text(bags));
}

TEST(safe_contents_round_trip, gives_the_bags_back) {
    const std::string long_value = counting_bytes(40000, 1);
    const std::list<pkcs12_bag_t> bags = {
        bag_of(0, "k"),
        bag_of(1, "c", "n", "i"),
        bag_of(0, ""),
        bag_of(1, "", "", "i"),
        bag_of(0, long_value, "n"),
        bag_of(1, "c", std::string_view(long_value).substr(0, 300), std::string_view(long_value).substr(0, 200)),
    };
    const bags_read_t from_plain = read_bags(write_bags(bags), false);
    EXPECT_TRUE(from_plain.accepted);
    EXPECT_EQ(bags_text(bags), from_plain.plain);
    const bags_read_t from_encrypted = read_bags(write_bags(bags), true);
    EXPECT_TRUE(from_encrypted.accepted);
    EXPECT_EQ(bags_text(bags), from_encrypted.encrypted);
    EXPECT_EQ("", from_plain.encrypted + from_encrypted.plain);
}

TEST(safe_contents_round_trip, gives_a_key_back_for_an_unknown_type) {
    EXPECT_EQ("key[76]", read_bags(write_bags({bag_of(7, "v")})).plain);
}

} // namespace
