// Reading a container: what its cryptography is asked and when, which entries count, and what the bags view.
#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <string>
#include <type_traits>
#include <utility>

#include "derkit/pkcs12_helper.h"
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
    explicit reading_t(const pfx_t& pfx) : reading_t(encode(pfx.whole())) {}

    reading_t& read() {
        accepted = asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy);
        EXPECT_TRUE(all_kept(input, easy));
        return *this;
    }

    std::string plain() const { return bags_text(easy.plain_bags); }
    std::string encrypted() const { return bags_text(easy.encrypted_bags); }
    bool is_empty() const {
        return easy.plain_bags.empty() && easy.encrypted_bags.empty() && easy.decrypted_buffers.empty();
    }
};

using buffers_t = std::list<std::string>;

der_t shrouded(std::string_view key) {
    return shrouded_key_bag(toy_cipher(key));
}

encrypted_data_t encrypted_data(std::string_view plaintext) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, toy_cipher(plaintext));
    return data;
}

der_t encrypted_entry(der_members_t bags) {
    return encrypted_data(entry_plaintext(std::move(bags))).entry();
}

// Before the MAC is verified

struct early_case_t {
    const char* name;
    der_t whole;
    bool mac_is_read;
};
class container_refused_at_once : public testing::TestWithParam<early_case_t> {};

TEST_P(container_refused_at_once, without_asking_for_anything) {
    reading_t reading(encode(GetParam().whole));
    reading.read();
    EXPECT_FALSE(reading.accepted);
    EXPECT_EQ("", reading.crypto.operations());
    EXPECT_TRUE(reading.is_empty());
    EXPECT_EQ(GetParam().mac_is_read ? "digest" : "", chars_of(reading.easy.mac.digest));
}

der_t pfx_with(der_t pfx_t::*field, const der_t& element) {
    pfx_t pfx({data_entry({key_bag("k")})});
    pfx.*field = element;
    return pfx.whole();
}

der_t pfx_with_content_info(const der_t& element) {
    der_t whole = pfx_t().whole();
    whole.members[1] = element;
    return whole;
}

der_t pfx_with_mac(const der_t& algorithm_and_digest, const der_t& behind) {
    return pfx_with(&pfx_t::mac_data, der_sequence({algorithm_and_digest, behind}));
}

const early_case_t REFUSED_BY_SHAPE[] = {
    {"nothing", der_raw(""), false},
    {"empty_sequence", der_sequence({}), false},
    {"set", der_set(pfx_t().whole().members), false},
    {"no_version", pfx_with(&pfx_t::version, der_raw("")), false},
    {"version_of_another_type", pfx_with(&pfx_t::version, der_element(0x0A, "\x03")), false},
    {"no_content_info", pfx_with_content_info(der_raw("")), false},
    {"content_info_of_another_type", pfx_with_content_info(der_set({})), false},
    {"empty_content_info", pfx_with_content_info(der_sequence({})), false},
    {"no_content", pfx_with_content_info(der_sequence({der_oid(OID_DATA)})), false},
    {"primitive_content", pfx_with_content_info(der_sequence({der_oid(OID_DATA), der_element(0x80, "")})), false},
    {"content_without_wrapper", pfx_with_content_info(der_sequence({der_oid(OID_DATA), der_octet_string("")})), false},
};
INSTANTIATE_TEST_SUITE_P(by_shape, container_refused_at_once, testing::ValuesIn(REFUSED_BY_SHAPE), case_name_t());

const early_case_t REFUSED_BY_CONTENT_TYPE[] = {
    {"signed_data", pfx_with(&pfx_t::content_type, der_oid(OID_SIGNED_DATA)), false},
    {"encrypted_data", pfx_with(&pfx_t::content_type, der_oid(OID_ENCRYPTED_DATA)), false},
    {"empty", pfx_with(&pfx_t::content_type, der_raw("06 00")), false},
    {"an_octet_short", pfx_with(&pfx_t::content_type, der_oid("1.2.840.113549.1.7")), false},
    {"an_octet_long", pfx_with(&pfx_t::content_type, der_oid("1.2.840.113549.1.7.1.1")), false},
};
INSTANTIATE_TEST_SUITE_P(by_content_type, container_refused_at_once, testing::ValuesIn(REFUSED_BY_CONTENT_TYPE),
                         case_name_t());

const early_case_t REFUSED_BY_MAC_DATA[] = {
    {"none", pfx_with(&pfx_t::mac_data, der_raw("")), false},
    {"of_another_type", pfx_with(&pfx_t::mac_data, der_set(mac_data_t().whole().members)), false},
    {"behind_something_else", pfx_with(&pfx_t::mac_data, der_raw("05 00 30 00")), false},
    {"half_a_header", pfx_with(&pfx_t::mac_data, der_raw("30")), false},
    {"past_the_end", pfx_with(&pfx_t::mac_data, der_raw("30 01")), false},
    {"empty", pfx_with(&pfx_t::mac_data, der_sequence({})), false},
    {"without_digest", pfx_with_mac(der_sequence({der_sequence({})}), der_octet_string("s")), false},
    {"without_salt", pfx_with_mac(der_sequence({der_sequence({}), der_octet_string("digest")}), der_raw("")), true},
    {"negative_count",
     pfx_with_mac(der_sequence({der_sequence({}), der_octet_string("digest")}), der_raw("04 00 02 01 80")), true},
};
INSTANTIATE_TEST_SUITE_P(by_mac_data, container_refused_at_once, testing::ValuesIn(REFUSED_BY_MAC_DATA), case_name_t());

const early_case_t REFUSED_BY_VERSION[] = {
    {"empty", pfx_with(&pfx_t::version, der_integer("")), false},
    {"two_octets", pfx_with(&pfx_t::version, der_integer("00 03")), false},
    {"three_octets", pfx_with(&pfx_t::version, der_integer("02 03 03")), false},
};
INSTANTIATE_TEST_SUITE_P(by_version, container_refused_at_once, testing::ValuesIn(REFUSED_BY_VERSION), case_name_t());

// One octet is never compared, of more the first.
TEST(container_version, may_be_any_octet_or_start_with_3) {
    for (const char* const version : {"03", "02", "00", "FF", "03 00", "03 FF FF"}) {
        SCOPED_TRACE(version);
        reading_t reading(encode(pfx_with(&pfx_t::version, der_integer(version))));
        EXPECT_TRUE(reading.read().accepted);
        EXPECT_EQ("key[6B]", reading.plain());
    }
}

// The MAC

TEST(container_mac, is_verified_first_over_the_whole_octet_string) {
    reading_t reading(pfx_t({data_entry({key_bag("k")}), encrypted_entry({cert_bag("c")})}));
    reading.read();
    EXPECT_TRUE(reading.accepted);
    ASSERT_EQ("verify_mac decrypt", reading.crypto.operations());
    const crypto_call_t& call = reading.crypto.calls.front();
    const der_t content = pfx_t({data_entry({key_bag("k")}), encrypted_entry({cert_bag("c")})}).content;
    EXPECT_TRUE(same_bytes(encode(content), call.data));
    EXPECT_TRUE(same_bytes(from_hex("06 06 2A 85 03 02 02 09 05 00"), call.digest_alg));
    EXPECT_EQ("digest", call.digest);
    EXPECT_EQ("macsalt", call.salt);
    EXPECT_EQ(2000U, call.iterations);
}

TEST(container_mac, stays_in_the_container) {
    reading_t reading{pfx_t()};
    reading.read();
    EXPECT_EQ("digest", chars_of(reading.easy.mac.digest));
    EXPECT_EQ("macsalt", chars_of(reading.easy.mac.salt));
    EXPECT_EQ(2000U, reading.easy.mac.iterations);
    EXPECT_TRUE(lies_in(reading.easy.mac.digest_alg, reading.input));
    EXPECT_TRUE(lies_in(reading.easy.mac.digest, reading.input));
    EXPECT_TRUE(lies_in(reading.easy.mac.salt, reading.input));
}

TEST(container_mac, is_over_all_that_the_wrapper_holds) {
    for (const char* const content : {"04 02 30 00", "04 02 30 00 FF", "04 02 30 00 04 01 AA", "04 81 02 30 00"}) {
        SCOPED_TRACE(content);
        reading_t reading(encode(pfx_with(&pfx_t::content, der_raw(content))));
        EXPECT_TRUE(reading.read().accepted);
        ASSERT_EQ("verify_mac", reading.crypto.operations());
        EXPECT_TRUE(same_bytes(from_hex(content), reading.crypto.calls.front().data));
    }
}

// A count that is left out or empty reaches verify_mac as 1.
TEST(container_mac, is_verified_with_one_iteration_by_default) {
    for (const char* const iterations : {"", "02 00"}) {
        mac_data_t mac_data;
        mac_data.iterations = der_raw(iterations);
        reading_t reading(encode(pfx_with(&pfx_t::mac_data, mac_data.whole())));
        EXPECT_TRUE(reading.read().accepted);
        EXPECT_EQ(1U, reading.crypto.calls.at(0).iterations);
    }
}

struct malformed_case_t {
    const char* name;
    der_t content;
};
class container_content : public testing::TestWithParam<malformed_case_t> {};

// That only verify_mac is called, with exactly these bytes, shows that nothing was looked at before.
TEST_P(container_content, is_not_parsed_before_the_mac_is_verified) {
    for (const answer_t answer : {answer_t::NO, answer_t::YES}) {
        reading_t reading(encode(pfx_with(&pfx_t::content, GetParam().content)));
        reading.crypto.verify_mac_answer = answer;
        EXPECT_FALSE(reading.read().accepted);
        ASSERT_EQ("verify_mac", reading.crypto.operations());
        EXPECT_TRUE(same_bytes(encode(GetParam().content), reading.crypto.calls.front().data));
        EXPECT_TRUE(reading.is_empty());
        EXPECT_EQ("digest", chars_of(reading.easy.mac.digest));
    }
}

der_t in_octets(const der_t& authenticated_safe) {
    return der_octet_string(authenticated_safe);
}

const malformed_case_t MALFORMED[] = {
    {"nothing", der_raw("")},
    {"garbage", der_raw("FF FF FF")},
    {"wrapping_length", der_raw("04 84 FF FF FF FA 30 00")},
    {"past_the_end", der_raw("04 7F 30 00")},
    {"constructed_octet_string", der_raw("24 04 04 02 30 00")},
    {"no_octet_string", der_raw("30 00")},
    {"empty_octet_string", der_octet_string("")},
    {"set_of_entries", in_octets(der_set({}))},
    {"entries_past_the_octet_string", der_raw("04 02 30 01 00")},
    {"entry_of_another_type", in_octets(der_sequence({der_set({})}))},
    {"half_an_entry", in_octets(der_sequence({der_raw("30")}))},
    {"empty_entry", in_octets(der_sequence({der_sequence({})}))},
    {"entry_without_content", in_octets(der_sequence({der_sequence({der_oid(OID_DATA)})}))},
    {"entry_of_unknown_type_without_content", in_octets(der_sequence({der_sequence({der_oid("1.2.3")})}))},
    {"data_without_octets", in_octets(der_sequence({content_info(OID_DATA, safe_contents({}))}))},
    {"data_in_constructed_octets", in_octets(der_sequence({content_info(OID_DATA, der_raw("24 04 04 02 30 00"))}))},
    {"data_without_safe_contents", in_octets(der_sequence({content_info(OID_DATA, der_octet_string(""))}))},
    {"bad_bag", in_octets(der_sequence({data_entry({der_null()})}))},
};
INSTANTIATE_TEST_SUITE_P(, container_content, testing::ValuesIn(MALFORMED), case_name_t());

TEST(container_mac, stops_a_sound_container_when_it_is_wrong) {
    reading_t reading(pfx_t({data_entry({key_bag("k"), shrouded("k")}), encrypted_entry({cert_bag("c")})}));
    reading.crypto.verify_mac_answer = answer_t::NO;
    EXPECT_FALSE(reading.read().accepted);
    EXPECT_EQ("verify_mac", reading.crypto.operations());
    EXPECT_TRUE(reading.is_empty());
}

TEST(container_mac, lets_through_what_verify_mac_throws) {
    reading_t reading(pfx_t({data_entry({key_bag("k")})}));
    reading.crypto.verify_mac_answer = answer_t::THROW;
    EXPECT_THROW(reading.read(), crypto_failure_t);
    EXPECT_TRUE(reading.is_empty());
}

// Entries

struct entry_case_t {
    const char* name;
    der_t entry;
    bool accepted;
    const char* plain; // between key[31] and key[32], which stand in the entries around it
    const char* encrypted;
    const char* operations; // behind verify_mac
};
class container_entry : public testing::TestWithParam<entry_case_t> {};

TEST_P(container_entry, gives) {
    const entry_case_t& c = GetParam();
    reading_t reading(pfx_t({data_entry({key_bag("1")}), c.entry, data_entry({key_bag("2")})}));
    EXPECT_EQ(c.accepted, reading.read().accepted);
    const auto behind = [](const std::string& separator, const char* text) {
        return *text == '\0' ? std::string() : separator + text;
    };
    EXPECT_EQ("key[31]" + behind("\n", c.plain) + (c.accepted ? "\nkey[32]" : ""), reading.plain());
    EXPECT_EQ(c.encrypted, reading.encrypted());
    EXPECT_EQ("verify_mac" + behind(" ", c.operations), reading.crypto.operations());
}

const entry_case_t PLAIN_ENTRIES[] = {
    {"no_bags", data_entry({}), true, "", "", ""},
    {"bags", data_entry({cert_bag("c"), key_bag("k")}), true, "cert[63]\nkey[6B]", "", ""},
    {"shrouded_key", data_entry({shrouded("k"), cert_bag("c")}), true, "cert[63]", "key[6B]", "decrypt"},
    {"bag_that_fails", data_entry({cert_bag("c"), der_null()}), false, "cert[63]", "", ""},
};
INSTANTIATE_TEST_SUITE_P(plain, container_entry, testing::ValuesIn(PLAIN_ENTRIES), case_name_t());

const entry_case_t SKIPPED_ENTRIES[] = {
    {"signed_data", content_info(OID_SIGNED_DATA, der_sequence({})), true, "", "", ""},
    {"enveloped_data", content_info("1.2.840.113549.1.7.3", der_sequence({})), true, "", "", ""},
    {"unknown_type", content_info("1.2.3", der_raw("FF FF FF")), true, "", "", ""},
    {"empty_type", der_sequence({der_raw("06 00"), der_context_0({})}), true, "", "", ""},
};
INSTANTIATE_TEST_SUITE_P(skipped, container_entry, testing::ValuesIn(SKIPPED_ENTRIES), case_name_t());

// One encrypted entry with a certificate in it, with one field changed.
der_t entry_with(der_t encrypted_data_t::*field, const der_t& element) {
    encrypted_data_t data = encrypted_data(entry_plaintext({cert_bag("c")}));
    data.*field = element;
    return data.entry();
}

der_t entry_with_two(der_t encrypted_data_t::*field, const der_t& element, der_t encrypted_data_t::*other_field,
                     const der_t& other_element) {
    encrypted_data_t data = encrypted_data(entry_plaintext({cert_bag("c")}));
    data.*field = element;
    data.*other_field = other_element;
    return data.entry();
}

const entry_case_t ENCRYPTED_ENTRIES[] = {
    {"no_bags", encrypted_entry({}), true, "", "", "decrypt"},
    {"bags", encrypted_entry({cert_bag("c"), key_bag("k")}), true, "", "cert[63]\nkey[6B]", "decrypt"},
    {"shrouded_key", encrypted_entry({shrouded("k"), cert_bag("c")}), true, "", "key[6B]\ncert[63]", "decrypt decrypt"},
    {"version_5", entry_with(&encrypted_data_t::version, der_integer("05")), true, "", "cert[63]", "decrypt"},
    {"negative_version", entry_with(&encrypted_data_t::version, der_integer("FF")), true, "", "cert[63]", "decrypt"},
    {"version_that_starts_with_0", entry_with(&encrypted_data_t::version, der_integer("00 05")), true, "", "cert[63]",
     "decrypt"},
    {"unprotected_attributes", entry_with(&encrypted_data_t::last, der_element(0xA1, "\xFF")), true, "", "cert[63]",
     "decrypt"},
    {"any_element_at_the_end", entry_with(&encrypted_data_t::last, der_raw("00 00")), true, "", "cert[63]", "decrypt"},
    {"bytes_behind_the_element_at_the_end", entry_with(&encrypted_data_t::last, der_raw("05 00 FF")), true, "",
     "cert[63]", "decrypt"},
};
INSTANTIATE_TEST_SUITE_P(encrypted, container_entry, testing::ValuesIn(ENCRYPTED_ENTRIES), case_name_t());

const der_t SHA_1_PRF = [] {
    pbes2_t pbes2;
    pbes2.hmac = der_oid("1.2.840.113549.2.7");
    return pbes2.whole();
}();

const entry_case_t SKIPPED_ENCRYPTED_ENTRIES[] = {
    {"other_content", entry_with(&encrypted_data_t::content_type, der_oid(OID_SIGNED_DATA)), true, "", "", ""},
    {"encrypted_content", entry_with(&encrypted_data_t::content_type, der_oid(OID_ENCRYPTED_DATA)), true, "", "", ""},
    {"other_prf", entry_with(&encrypted_data_t::algorithm, SHA_1_PRF), true, "", "", ""},
    {"pbes1", entry_with(&encrypted_data_t::algorithm, der_sequence({der_oid("1.2.840.113549.1.5.3")})), true, "", "",
     ""},
    {"empty_algorithm", entry_with(&encrypted_data_t::algorithm, der_sequence({})), true, "", "", ""},
    {"garbage_for_an_algorithm", entry_with(&encrypted_data_t::algorithm, der_element(0x30, "garbage")), true, "", "",
     ""},
};
INSTANTIATE_TEST_SUITE_P(skipped_encrypted, container_entry, testing::ValuesIn(SKIPPED_ENCRYPTED_ENTRIES),
                         case_name_t());

const entry_case_t BAD_ENCRYPTED_ENTRIES[] = {
    {"nothing", content_info(OID_ENCRYPTED_DATA, der_raw("")), false, "", "", ""},
    {"octets", content_info(OID_ENCRYPTED_DATA, der_octet_string("")), false, "", "", ""},
    {"empty", content_info(OID_ENCRYPTED_DATA, der_sequence({})), false, "", "", ""},
    {"no_version", entry_with(&encrypted_data_t::version, der_raw("")), false, "", "", ""},
    {"empty_version", entry_with(&encrypted_data_t::version, der_integer("")), false, "", "", ""},
    {"version_that_starts_with_1", entry_with(&encrypted_data_t::version, der_integer("01 00")), false, "", "", ""},
    {"version_that_starts_with_3", entry_with(&encrypted_data_t::version, der_integer("03 00")), false, "", "", ""},
    {"no_info", content_info(OID_ENCRYPTED_DATA, der_sequence({der_integer("00")})), false, "", "", ""},
    {"no_content_type", entry_with(&encrypted_data_t::content_type, der_raw("")), false, "", "", ""},
    {"no_algorithm", entry_with(&encrypted_data_t::algorithm, der_raw("")), false, "", "", ""},
    {"no_encrypted_content", entry_with(&encrypted_data_t::encrypted_content, der_raw("")), false, "", "", ""},
    {"constructed_content", entry_with(&encrypted_data_t::encrypted_content, der_raw("A0 02 04 00")), false, "", "",
     ""},
    {"octet_string_for_content", entry_with(&encrypted_data_t::encrypted_content, der_raw("04 00")), false, "", "", ""},
    {"half_an_element_at_the_end", entry_with(&encrypted_data_t::last, der_raw("A1")), false, "", "", ""},
    {"element_at_the_end_that_is_too_long", entry_with(&encrypted_data_t::last, der_raw("A1 01")), false, "", "", ""},
    {"element_at_the_end_that_wraps", entry_with(&encrypted_data_t::last, der_raw("A1 84 FF FF FF FA")), false, "", "",
     ""},
};
INSTANTIATE_TEST_SUITE_P(bad_encrypted, container_entry, testing::ValuesIn(BAD_ENCRYPTED_ENTRIES), case_name_t());

// Structure and version are judged before content type and parameters, which would let the entry be skipped.
const entry_case_t BAD_BEFORE_SKIPPED[] = {
    {"version_and_content_type",
     entry_with_two(&encrypted_data_t::version, der_integer("01 00"), &encrypted_data_t::content_type,
                    der_oid(OID_SIGNED_DATA)),
     false, "", "", ""},
    {"version_and_parameters",
     entry_with_two(&encrypted_data_t::version, der_integer(""), &encrypted_data_t::algorithm, der_sequence({})), false,
     "", "", ""},
    {"last_element_and_content_type",
     entry_with_two(&encrypted_data_t::last, der_raw("A1 01"), &encrypted_data_t::content_type,
                    der_oid(OID_SIGNED_DATA)),
     false, "", "", ""},
    {"encrypted_content_and_parameters",
     entry_with_two(&encrypted_data_t::encrypted_content, der_raw(""), &encrypted_data_t::algorithm, der_sequence({})),
     false, "", "", ""},
};
INSTANTIATE_TEST_SUITE_P(bad_though_it_would_be_skipped, container_entry, testing::ValuesIn(BAD_BEFORE_SKIPPED),
                         case_name_t());

// What is decrypted must be an OCTET STRING around a SafeContents; what follows either is ignored.
const entry_case_t PLAINTEXTS[] = {
    {"nothing", encrypted_data("").entry(), false, "", "", "decrypt"},
    {"bare_safe_contents", encrypted_data(encode(safe_contents({cert_bag("c")}))).entry(), false, "", "", "decrypt"},
    {"constructed_octet_string", encrypted_data(from_hex("24 04 04 02 30 00")).entry(), false, "", "", "decrypt"},
    {"empty_octet_string", encrypted_data(from_hex("04 00")).entry(), false, "", "", "decrypt"},
    {"octet_string_too_long", encrypted_data(from_hex("04 03 30 00")).entry(), false, "", "", "decrypt"},
    {"octet_string_that_wraps", encrypted_data(from_hex("04 84 FF FF FF FA")).entry(), false, "", "", "decrypt"},
    {"set_of_bags", encrypted_data(from_hex("04 02 31 00")).entry(), false, "", "", "decrypt"},
    {"bag_that_fails", encrypted_entry({cert_bag("c"), der_null(), cert_bag("d")}), false, "", "cert[63]", "decrypt"},
    {"bytes_behind_the_octet_string", encrypted_data(entry_plaintext({cert_bag("c")}) + "padding").entry(), true, "",
     "cert[63]", "decrypt"},
    {"bytes_behind_the_safe_contents",
     encrypted_data(encode(der_octet_string(encode(safe_contents({cert_bag("c")})) + "padding"))).entry(), true, "",
     "cert[63]", "decrypt"},
};
INSTANTIATE_TEST_SUITE_P(plaintext, container_entry, testing::ValuesIn(PLAINTEXTS), case_name_t());

TEST(container_entries, may_be_none) {
    reading_t reading{pfx_t()};
    EXPECT_TRUE(reading.read().accepted);
    EXPECT_TRUE(reading.is_empty());
}

TEST(container_entries, are_read_in_file_order) {
    reading_t reading(pfx_t({encrypted_entry({cert_bag("1")}), data_entry({key_bag("2"), shrouded("3")}),
                             encrypted_entry({shrouded("4"), key_bag("5")}), data_entry({cert_bag("6")})}));
    EXPECT_TRUE(reading.read().accepted);
    EXPECT_EQ("key[32]\ncert[36]", reading.plain());
    EXPECT_EQ("cert[31]\nkey[33]\nkey[34]\nkey[35]", reading.encrypted());
}

TEST(container_entries, that_are_encrypted_go_to_decrypt_with_their_parameters) {
    const std::string plaintext = entry_plaintext({cert_bag("c")});
    reading_t reading(pfx_t({encrypted_data(plaintext).entry()}));
    reading.read();
    ASSERT_EQ("verify_mac decrypt", reading.crypto.operations());
    const crypto_call_t& call = reading.crypto.calls.back();
    EXPECT_TRUE(same_bytes(toy_cipher(plaintext), call.data));
    EXPECT_EQ("salt", call.salt);
    EXPECT_EQ(2000U, call.iterations);
    EXPECT_EQ("iv", call.iv);
    EXPECT_EQ("", call.out);
}

TEST(container_entries, that_cannot_be_decrypted_are_skipped) {
    reading_t reading(pfx_t({encrypted_entry({cert_bag("1")}), data_entry({key_bag("2")}),
                             encrypted_entry({cert_bag("3")}), encrypted_data("garbage").entry()}));
    reading.crypto.decrypt_answers = {answer_t::NO, answer_t::YES, answer_t::NO};
    EXPECT_TRUE(reading.read().accepted);
    EXPECT_EQ("verify_mac decrypt decrypt decrypt", reading.crypto.operations());
    EXPECT_EQ("key[32]", reading.plain());
    EXPECT_EQ("cert[33]", reading.encrypted());
    EXPECT_EQ(buffers_t{entry_plaintext({cert_bag("3")})}, reading.easy.decrypted_buffers);
    for (const crypto_call_t& call : reading.crypto.calls) {
        EXPECT_EQ("", call.out);
    }
}

// Plaintexts and views. reading_t::read() checks that every view lies in the input or in a kept plaintext.

TEST(container_plaintexts, are_kept_nested_ones_first) {
    const std::string first = entry_plaintext({cert_bag("c"), shrouded("1"), shrouded("2")});
    const std::string second = entry_plaintext({shrouded("4")});
    reading_t reading(
        pfx_t({encrypted_data(first).entry(), data_entry({shrouded("3")}), encrypted_data(second).entry()}));
    EXPECT_TRUE(reading.read().accepted);
    EXPECT_EQ((buffers_t{"1", "2", first, "3", "4", second}), reading.easy.decrypted_buffers);
    EXPECT_EQ("cert[63]\nkey[31]\nkey[32]\nkey[33]\nkey[34]", reading.encrypted());
}

TEST(container_plaintexts, are_not_copied) {
    const std::string plaintext = entry_plaintext({cert_bag(counting_bytes(300, 1))});
    reading_t reading(pfx_t({encrypted_data(plaintext).entry()}));
    reading.read();
    EXPECT_EQ(reading.crypto.decrypted_at.front(), reading.easy.decrypted_buffers.front().data());
}

TEST(container_plaintexts, are_kept_whatever_they_are) {
    for (const char* const plaintext : {"", "04", "30 00", "04 00", "04 02 31 00", "04 04 30 02 05 00"}) {
        SCOPED_TRACE(plaintext);
        reading_t reading(pfx_t({encrypted_data(from_hex(plaintext)).entry()}));
        EXPECT_FALSE(reading.read().accepted);
        EXPECT_EQ(buffers_t{from_hex(plaintext)}, reading.easy.decrypted_buffers);
    }
    reading_t without_bags(pfx_t({encrypted_data(from_hex("04 02 30 00")).entry()}));
    EXPECT_TRUE(without_bags.read().accepted);
    EXPECT_EQ(buffers_t{from_hex("04 02 30 00")}, without_bags.easy.decrypted_buffers);
}

// However short the key, its bag views a kept plaintext, also inside an entry whose reading fails behind it.
TEST(container_plaintexts, are_kept_when_a_later_bag_fails) {
    for (const std::size_t size : sizes_t{0, 1, 15, 16, 22, 23, 1000}) {
        SCOPED_TRACE(size);
        const std::string key = counting_bytes(size, 1);
        const std::string plaintext =
            entry_plaintext({cert_bag("c", der_set({local_key_id("\x07")})), shrouded(key), der_null()});
        reading_t reading(pfx_t({data_entry({shrouded(key)}), encrypted_data(plaintext).entry(), encrypted_entry({})}));
        EXPECT_FALSE(reading.read().accepted);
        EXPECT_EQ("verify_mac decrypt decrypt decrypt", reading.crypto.operations());
        EXPECT_EQ((buffers_t{key, key, plaintext}), reading.easy.decrypted_buffers);
        EXPECT_EQ("key[" + to_hex(key) + "]\ncert[63] id[07]\nkey[" + to_hex(key) + "]", reading.encrypted());
    }
}

TEST(container_plaintexts, are_kept_when_a_later_entry_fails) {
    const std::string plaintext = entry_plaintext({cert_bag("c"), shrouded("k")});
    for (const der_t& bad : {der_null(), data_entry({der_null()}), content_info(OID_ENCRYPTED_DATA, der_null()),
                             content_info(OID_DATA, der_null())}) {
        SCOPED_TRACE(to_hex(encode(bad)));
        reading_t reading(pfx_t({data_entry({key_bag("p")}), encrypted_data(plaintext).entry(), bad}));
        EXPECT_FALSE(reading.read().accepted);
        EXPECT_EQ((buffers_t{"k", plaintext}), reading.easy.decrypted_buffers);
        EXPECT_EQ("key[70]", reading.plain());
        EXPECT_EQ("cert[63]\nkey[6B]", reading.encrypted());
    }
}

TEST(container_plaintexts, are_kept_when_decryption_of_a_later_entry_throws) {
    const std::string plaintext = entry_plaintext({cert_bag("c")});
    reading_t reading(pfx_t({data_entry({key_bag("p")}), encrypted_data(plaintext).entry(), encrypted_entry({})}));
    reading.crypto.decrypt_answers = {answer_t::YES, answer_t::THROW};
    EXPECT_THROW(reading.read(), crypto_failure_t);
    EXPECT_EQ(buffers_t{plaintext}, reading.easy.decrypted_buffers);
    EXPECT_TRUE(all_kept(reading.input, reading.easy));
    EXPECT_EQ("key[70]", reading.plain());
    EXPECT_EQ("cert[63]", reading.encrypted());
}

// The entry's own plaintext too: its first bag views it when the key behind that bag cannot be had.
TEST(container_plaintexts, are_kept_when_decryption_of_a_nested_key_throws) {
    const std::string plaintext = entry_plaintext({cert_bag("c"), shrouded("1"), shrouded("2")});
    reading_t reading(pfx_t({encrypted_data(plaintext).entry()}));
    reading.crypto.decrypt_answers = {answer_t::YES, answer_t::YES, answer_t::THROW};
    EXPECT_THROW(reading.read(), crypto_failure_t);
    EXPECT_EQ((buffers_t{"1", plaintext}), reading.easy.decrypted_buffers);
    EXPECT_TRUE(all_kept(reading.input, reading.easy));
    EXPECT_EQ("cert[63]\nkey[31]", reading.encrypted());
}

TEST(container, read_into_twice_holds_both) {
    const std::string first_plaintext = entry_plaintext({cert_bag("c")});
    reading_t first(pfx_t({data_entry({key_bag("p"), shrouded("k")}), encrypted_data(first_plaintext).entry()}));
    first.read();
    mac_data_t other_mac;
    other_mac.digest = der_octet_string("other digest");
    pfx_t second_pfx({data_entry({cert_bag("q"), shrouded("l")})});
    second_pfx.mac_data = other_mac.whole();
    const exact_bytes_t second(encode(second_pfx.whole()));
    EXPECT_TRUE(asn_read_pkcs12_easy(second.data(), second.size(), &first.crypto, first.easy));
    EXPECT_EQ("key[70]\ncert[71]", first.plain());
    EXPECT_EQ("key[6B]\ncert[63]\nkey[6C]", first.encrypted());
    EXPECT_EQ((buffers_t{"k", first_plaintext, "l"}), first.easy.decrypted_buffers);
    EXPECT_EQ("other digest", chars_of(first.easy.mac.digest));
}

TEST(container, keeps_its_bags_when_a_second_reading_fails) {
    reading_t reading(pfx_t({data_entry({key_bag("p"), shrouded("k")})}));
    reading.read();
    const exact_bytes_t bad(encode(pfx_t({data_entry({cert_bag("q"), shrouded("l"), der_null()})}).whole()));
    EXPECT_FALSE(asn_read_pkcs12_easy(bad.data(), bad.size(), &reading.crypto, reading.easy));
    EXPECT_EQ("key[70]\ncert[71]", reading.plain());
    EXPECT_EQ("key[6B]\nkey[6C]", reading.encrypted());
    EXPECT_EQ((buffers_t{"k", "l"}), reading.easy.decrypted_buffers);
}

// Of the MAC it keeps what the second reading did not come to.
TEST(container, keeps_its_mac_as_far_as_a_second_reading_does_not_fill_it) {
    reading_t reading{pfx_t()};
    reading.read();
    const exact_bytes_t bad_version(encode(pfx_with(&pfx_t::version, der_integer("00 03"))));
    EXPECT_FALSE(asn_read_pkcs12_easy(bad_version.data(), bad_version.size(), &reading.crypto, reading.easy));
    EXPECT_EQ("digest", chars_of(reading.easy.mac.digest));
    const der_t other_digest = der_sequence({der_sequence({}), der_octet_string("other digest")});
    const exact_bytes_t no_salt(encode(pfx_with_mac(other_digest, der_raw(""))));
    EXPECT_FALSE(asn_read_pkcs12_easy(no_salt.data(), no_salt.size(), &reading.crypto, reading.easy));
    EXPECT_EQ("other digest", chars_of(reading.easy.mac.digest));
    EXPECT_EQ("macsalt", chars_of(reading.easy.mac.salt));
    EXPECT_EQ(2000U, reading.easy.mac.iterations);
}

TEST(container, keeps_its_views_when_it_moves) {
    const std::string plaintext = entry_plaintext({cert_bag("c")});
    const exact_bytes_t input(
        encode(pfx_t({data_entry({key_bag("p"), shrouded("k")}), encrypted_data(plaintext).entry()}).whole()));
    pkcs12_easy_t last;
    {
        recording_crypto_t crypto;
        pkcs12_easy_t first;
        EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, first));
        pkcs12_easy_t second(std::move(first));
        EXPECT_EQ("key[6B]\ncert[63]", bags_text(second.encrypted_bags));
        EXPECT_TRUE(all_kept(input, second));
        last = std::move(second);
    }
    EXPECT_EQ("key[70]", bags_text(last.plain_bags));
    EXPECT_EQ("key[6B]\ncert[63]", bags_text(last.encrypted_bags));
    EXPECT_EQ("digest", chars_of(last.mac.digest));
    EXPECT_TRUE(all_kept(input, last));
}

// All elements that are walked. The parameters of MAC and encryption are opaque here: the entry is skipped for them and
// would fail for everything else.

pfx_t walked_pfx() {
    encrypted_data_t skipped;
    skipped.algorithm = der_element(0x30, "opaque");
    skipped.last = der_null();
    mac_data_t mac_data;
    mac_data.algorithm = der_element(0x30, "opaque");
    pfx_t pfx({data_entry({key_bag("k")}), content_info("1.2.3", der_raw("")), skipped.entry()});
    pfx.mac_data = mac_data.whole();
    return pfx;
}

TEST(container_reader, refuses_lengths_that_lead_outside) {
    for_each_bad_length(walked_pfx().whole(), [](const der_t& whole, const der_t&) {
        EXPECT_FALSE(reading_t(encode(whole)).read().accepted);
        EXPECT_FALSE(reading_t(encode(whole) + ROOM_BEHIND).read().accepted);
    });
}

TEST(container_reader, skips_an_entry_whose_parameters_lead_outside) {
    for_each_bad_length(pbes2_t().whole(), [](const der_t& algorithm, const der_t& element) {
        if (&element == &algorithm) {
            return;
        }
        reading_t reading(pfx_t({entry_with(&encrypted_data_t::algorithm, algorithm), data_entry({key_bag("k")})}));
        EXPECT_TRUE(reading.read().accepted);
        EXPECT_EQ("verify_mac", reading.crypto.operations());
        EXPECT_EQ("key[6B]", reading.plain());
    });
}

TEST(container_reader, refuses_lengths_that_lead_outside_a_plaintext) {
    const der_t plaintext = der_octet_string(safe_contents({cert_bag("c", der_set({local_key_id("\x07")}))}));
    for_each_bad_length(plaintext, [](const der_t& whole, const der_t&) {
        for (const std::string& spoiled : {encode(whole), encode(whole) + ROOM_BEHIND}) {
            reading_t reading(pfx_t({encrypted_data(spoiled).entry()}));
            EXPECT_FALSE(reading.read().accepted);
            EXPECT_EQ(buffers_t{spoiled}, reading.easy.decrypted_buffers);
        }
    });
}

TEST(container_reader, accepts_lengths_of_more_octets_than_needed) {
    for_each_long_length(walked_pfx().whole(), [](const der_t& whole) {
        reading_t reading(encode(whole));
        EXPECT_TRUE(reading.read().accepted);
        EXPECT_EQ("key[6B]", reading.plain());
    });
}

TEST(container_reader, tells_primitive_from_constructed) {
    for_each_element(walked_pfx().whole(), [](der_t& whole, der_t& element) {
        const bool may_be_of_any_type = element.tag == 0x05;
        const bool is_optional = &element == &whole.members[2].members[2];
        element.tag ^= 0x20;
        EXPECT_EQ(may_be_of_any_type || is_optional, reading_t(encode(whole)).read().accepted);
    });
}

TEST(container_reader, refuses_every_prefix_without_asking_for_anything) {
    for_each_prefix(encode(pfx_t({data_entry({key_bag("k")})}).whole()), [](const exact_bytes_t& prefix) {
        reading_t reading(std::string_view(prefix.chars(), prefix.size()));
        EXPECT_FALSE(reading.read().accepted);
        EXPECT_EQ("", reading.crypto.operations());
    });
}

struct end_case_t {
    const char* name;
    der_t& (*find)(der_t& whole);
};
class container_end : public testing::TestWithParam<end_case_t> {};

TEST_P(container_end, may_be_followed_by_anything) {
    der_t whole = pfx_t({data_entry({key_bag("k")}), encrypted_entry({cert_bag("c")})}).whole();
    GetParam().find(whole).members.push_back(der_raw("FF"));
    reading_t reading(encode(whole));
    EXPECT_TRUE(reading.read().accepted);
    EXPECT_EQ("key[6B]", reading.plain());
    EXPECT_EQ("cert[63]", reading.encrypted());
}

der_t& octets_in(der_t& whole) {
    return whole.members[1].members[1].members[0];
}
der_t& entry_in(der_t& whole, std::size_t index) {
    return octets_in(whole).members[0].members[index];
}

const end_case_t ENDS[] = {
    {"mac_data_in_the_container", [](der_t& whole) -> der_t& { return whole; }},
    {"count_in_the_mac_data", [](der_t& whole) -> der_t& { return whole.members[2]; }},
    {"digest_in_its_info", [](der_t& whole) -> der_t& { return whole.members[2].members[0]; }},
    {"wrapper", [](der_t& whole) -> der_t& { return whole.members[1]; }},
    {"octet_string", [](der_t& whole) -> der_t& { return whole.members[1].members[1]; }},
    {"list_of_entries", [](der_t& whole) -> der_t& { return octets_in(whole); }},
    {"wrapper_in_an_entry", [](der_t& whole) -> der_t& { return entry_in(whole, 0); }},
    {"octet_string_in_an_entry", [](der_t& whole) -> der_t& { return entry_in(whole, 0).members[1]; }},
    {"safe_contents", [](der_t& whole) -> der_t& { return entry_in(whole, 0).members[1].members[0]; }},
    {"encrypted_data", [](der_t& whole) -> der_t& { return entry_in(whole, 1).members[1]; }},
    {"encrypted_content", [](der_t& whole) -> der_t& { return entry_in(whole, 1).members[1].members[0].members[1]; }},
};
INSTANTIATE_TEST_SUITE_P(, container_end, testing::ValuesIn(ENDS), case_name_t());

TEST(container_reader, ignores_bytes_behind_it) {
    reading_t reading(encode(pfx_t({data_entry({key_bag("k")})}).whole()) + "\xFF");
    EXPECT_TRUE(reading.read().accepted);
    EXPECT_EQ("key[6B]", reading.plain());
}

// The interface that callers implement, in the eyes of a caller that was compiled elsewhere

// The slots of an object's vtable, called as functions of the C++ ABI: `this` is an argument like any other.
template <typename... ARGUMENTS> bool call_slot(pbe_crypto_t& object, std::size_t slot, ARGUMENTS... arguments) {
    using operation_t = bool (*)(pbe_crypto_t*, ARGUMENTS...);
    void** vtable = nullptr;
    std::memcpy(&vtable, static_cast<const void*>(&object), sizeof vtable);
    return reinterpret_cast<operation_t>(vtable[slot])(&object, arguments...);
}

TEST(crypto_slots, are_verify_mac_make_mac_decrypt_encrypt) {
    recording_crypto_t crypto;
    const void* const data = "data";
    pkcs12_mac_t mac;
    pkcs5_pbe_gost_t pbe;
    std::string out;
    EXPECT_TRUE((call_slot<const pkcs12_mac_t&, const void*, unsigned int>(crypto, 0, mac, data, 4)));
    EXPECT_TRUE((call_slot<const void*, unsigned int, pkcs12_mac_t&>(crypto, 1, data, 4, mac)));
    EXPECT_TRUE(
        (call_slot<const pkcs5_pbe_gost_t&, const void*, unsigned int, std::string&>(crypto, 2, pbe, data, 4, out)));
    EXPECT_TRUE((call_slot<const void*, unsigned int, pkcs5_pbe_gost_t&, std::string&>(crypto, 3, data, 4, pbe, out)));
    EXPECT_EQ("verify_mac make_mac decrypt encrypt", crypto.operations());
    for (const crypto_call_t& call : crypto.calls) {
        EXPECT_EQ("data", call.data);
    }
}

// A container would take its bags along but not what they view.
static_assert(std::is_move_constructible_v<pkcs12_easy_t> && std::is_move_assignable_v<pkcs12_easy_t>);
static_assert(!std::is_copy_constructible_v<pkcs12_easy_t> && !std::is_copy_assignable_v<pkcs12_easy_t>);

} // namespace
