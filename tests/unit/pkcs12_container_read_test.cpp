// Reading a container: what its cryptography is asked and when, which entries count, and what the bags view.
#include <gtest/gtest.h>

#include <initializer_list>
#include <iterator>
#include <list>
#include <string>
#include <utility>

#include "derkit/pkcs12_helper.h"
#include "support/container_reading.h"
#include "support/der_reader.h"
#include "testing/pkcs_der.h"

namespace {

std::string read_container(container_reading_t& reading) {
    reading.accepted = asn_read_pkcs12_easy(reading.input.data(), reading.input.size(), &reading.crypto, reading.easy);
    return reading.text();
}

std::string read_container(std::string_view bytes) {
    container_reading_t reading(bytes);
    return read_container(reading);
}

// A container with one key and one field changed.
der_t pfx_with(der_t pfx_t::*field, const der_t& element) {
    pfx_t pfx({data_entry({key_bag("k")})});
    pfx.*field = element;
    return pfx.whole();
}

// Before the MAC is verified

struct early_case_t {
    const char* name;
    der_t whole;
    bool mac_is_read = false;
};

void expect_refused_at_once(std::initializer_list<early_case_t> cases) {
    for (const early_case_t& c : cases) {
        container_reading_t reading(encode(c.whole));
        EXPECT_EQ("no", read_container(reading)) << c.name;
        EXPECT_EQ(c.mac_is_read ? "digest" : "", chars_of(reading.easy.mac.digest)) << c.name;
    }
}

der_t pfx_with_content_info(der_members_t members) {
    der_t whole = pfx_t().whole();
    whole.members[1] = der_sequence(std::move(members));
    return whole;
}

TEST(container_reader, refuses_what_has_another_shape) {
    const der_t data = der_oid(OID_DATA);
    expect_refused_at_once({
        {"nothing", der_raw("")},
        {"empty sequence", der_sequence({})},
        {"no version", pfx_with(&pfx_t::version, der_raw(""))},
        {"ENUMERATED version", pfx_with(&pfx_t::version, der_element(0x0A, "\x03"))},
        {"no content info", der_sequence({der_integer("03"), mac_data_t().whole()})},
        {"empty content info", pfx_with_content_info({})},
        {"no content", pfx_with_content_info({data})},
        {"primitive content", pfx_with_content_info({data, der_element(0x80, "")})},
        {"content without wrapper", pfx_with_content_info({data, der_octet_string("")})},
    });
}

TEST(container_reader, refuses_another_type_of_content) {
    expect_refused_at_once({
        {"signed data", pfx_with(&pfx_t::content_type, der_oid(OID_SIGNED_DATA))},
        {"encrypted data", pfx_with(&pfx_t::content_type, der_oid(OID_ENCRYPTED_DATA))},
        {"empty", pfx_with(&pfx_t::content_type, der_raw("06 00"))},
        {"an octet short", pfx_with(&pfx_t::content_type, der_oid("1.2.840.113549.1.7"))},
        {"an octet long", pfx_with(&pfx_t::content_type, der_oid("1.2.840.113549.1.7.1.1"))},
    });
}

der_t pfx_with_mac(der_members_t digest_info, const der_t& rest) {
    return pfx_with(&pfx_t::mac_data, der_sequence({der_sequence(std::move(digest_info)), rest}));
}

TEST(container_reader, refuses_a_container_without_a_mac) {
    const der_t algorithm = der_sequence({});
    const der_t digest = der_octet_string("digest");
    expect_refused_at_once({
        {"none", pfx_with(&pfx_t::mac_data, der_raw(""))},
        {"set", pfx_with(&pfx_t::mac_data, der_set(mac_data_t().whole().members))},
        {"in fourth place", pfx_with(&pfx_t::mac_data, der_raw("05 00 30 00"))},
        {"half a header", pfx_with(&pfx_t::mac_data, der_raw("30"))},
        {"past the end", pfx_with(&pfx_t::mac_data, der_raw("30 01"))},
        {"empty", pfx_with(&pfx_t::mac_data, der_sequence({}))},
        {"no digest", pfx_with_mac({algorithm}, der_octet_string("s"))},
        {"no salt", pfx_with_mac({algorithm, digest}, der_raw("")), true},
        {"negative count", pfx_with_mac({algorithm, digest}, der_raw("04 00 02 01 80")), true},
    });
}

// A single octet is never compared; of more the first one is.
TEST(container_reader, compares_the_first_octet_of_a_version_of_several) {
    for (const char* const version : {"03", "02", "00", "FF", "03 00", "03 FF FF"}) {
        const der_t whole = pfx_with(&pfx_t::version, der_integer(version));
        EXPECT_EQ("yes key[6B] (verify_mac)", read_container(encode(whole))) << version;
    }
    expect_refused_at_once({
        {"empty", pfx_with(&pfx_t::version, der_integer(""))},
        {"two octets", pfx_with(&pfx_t::version, der_integer("00 03"))},
        {"three octets", pfx_with(&pfx_t::version, der_integer("02 03 03"))},
    });
}

// The MAC

TEST(container_mac, is_verified_first_and_over_the_whole_octet_string) {
    const pfx_t pfx({data_entry({key_bag("k")}), encrypted_entry({cert_bag("c")})});
    container_reading_t reading(encode(pfx.whole()));
    EXPECT_EQ("yes key[6B] / cert[63] (verify_mac decrypt)", read_container(reading));
    const crypto_call_t& call = reading.crypto.calls.front();
    EXPECT_TRUE(same_bytes(encode(pfx.content), call.data));
    EXPECT_TRUE(same_bytes(from_hex("06 06 2A 85 03 02 02 09 05 00"), call.digest_alg));
    EXPECT_EQ("digest", call.digest);
    EXPECT_EQ("macsalt", call.salt);
    EXPECT_EQ(2000U, call.iterations);
    const pkcs12_mac_t& mac = reading.easy.mac;
    EXPECT_EQ("06 06 2A 85 03 02 02 09 05 00", field_text(mac.digest_alg, reading.input));
    EXPECT_EQ(to_hex("digest"), field_text(mac.digest, reading.input));
    EXPECT_EQ(to_hex("macsalt"), field_text(mac.salt, reading.input));
    EXPECT_EQ(2000U, mac.iterations);
}

TEST(container_mac, is_over_all_that_the_wrapper_holds) {
    for (const char* const content : {"04 02 30 00", "04 02 30 00 FF", "04 02 30 00 04 01 AA", "04 81 02 30 00"}) {
        container_reading_t reading(encode(pfx_with(&pfx_t::content, der_raw(content))));
        EXPECT_EQ("yes (verify_mac)", read_container(reading)) << content;
        EXPECT_TRUE(same_bytes(from_hex(content), reading.crypto.calls.at(0).data));
    }
}

// A count that is left out or empty reaches verify_mac as 1.
TEST(container_mac, is_verified_with_one_iteration_by_default) {
    for (const char* const iterations : {"", "02 00"}) {
        mac_data_t mac_data;
        mac_data.iterations = der_raw(iterations);
        container_reading_t reading(encode(pfx_with(&pfx_t::mac_data, mac_data.whole())));
        read_container(reading);
        EXPECT_EQ(1U, reading.crypto.calls.at(0).iterations);
    }
}

// verify_mac is called with exactly these bytes whatever they are, so nothing was parsed before.
TEST(container_mac, is_verified_before_the_content_is_parsed) {
    const auto entries = [](der_members_t list) { return der_octet_string(der_sequence(std::move(list))); };
    const struct {
        const char* name;
        der_t content;
    } cases[] = {
        {"nothing", der_raw("")},
        {"garbage", der_raw("FF FF FF")},
        {"length that wraps", der_raw("04 84 FF FF FF FA 30 00")},
        {"past the end", der_raw("04 7F 30 00")},
        {"constructed octet string", der_raw("24 04 04 02 30 00")},
        {"no octet string", der_raw("30 00")},
        {"empty octet string", der_octet_string("")},
        {"set of entries", der_octet_string(der_set({}))},
        {"entries past the octet string", der_raw("04 02 30 01 00")},
        {"entry of another type", entries({der_set({})})},
        {"half an entry", entries({der_raw("30")})},
        {"empty entry", entries({der_sequence({})})},
        {"entry without content", entries({der_sequence({der_oid(OID_DATA)})})},
        {"unknown entry without content", entries({der_sequence({der_oid("1.2.3")})})},
        {"data without octets", entries({content_info(OID_DATA, safe_contents({}))})},
        {"data in constructed octets", entries({content_info(OID_DATA, der_raw("24 04 04 02 30 00"))})},
        {"data without SafeContents", entries({content_info(OID_DATA, der_octet_string(""))})},
        {"bad bag", entries({data_entry({der_null()})})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const answer_t answer : {answer_t::NO, answer_t::YES}) {
            container_reading_t reading(encode(pfx_with(&pfx_t::content, c.content)));
            reading.crypto.verify_mac_answer = answer;
            EXPECT_EQ("no (verify_mac)", read_container(reading));
            EXPECT_TRUE(same_bytes(encode(c.content), reading.crypto.calls.at(0).data));
            EXPECT_EQ("digest", chars_of(reading.easy.mac.digest));
        }
    }
}

TEST(container_mac, that_is_wrong_stops_the_reading) {
    container_reading_t reading(pfx_of({data_entry({key_bag("k"), shrouded("k")}), encrypted_entry({cert_bag("c")})}));
    reading.crypto.verify_mac_answer = answer_t::NO;
    EXPECT_EQ("no (verify_mac)", read_container(reading));
    reading.crypto.verify_mac_answer = answer_t::THROW;
    EXPECT_THROW(read_container(reading), crypto_failure_t);
    EXPECT_EQ("no (verify_mac verify_mac)", reading.text());
}

// Entries

struct entry_case_t {
    const char* name;
    der_t entry;
    const char* expected;
};

const char* const SKIPPED = "yes key[31] key[32] (verify_mac)";
const char* const REFUSED = "no key[31] (verify_mac)";
const char* const DECRYPTED = "yes key[31] key[32] / cert[63] (verify_mac decrypt)";
const char* const BAD_PLAINTEXT = "no key[31] (verify_mac decrypt)";

// The entry between two others, with the keys 31 and 32.
void expect_entries(std::initializer_list<entry_case_t> cases) {
    for (const entry_case_t& c : cases) {
        EXPECT_EQ(c.expected, read_container(pfx_of({data_entry({key_bag("1")}), c.entry, data_entry({key_bag("2")})})))
            << c.name;
    }
}

TEST(container_entry, holds_data) {
    expect_entries({
        {"no bags", data_entry({}), SKIPPED},
        {"bags", data_entry({cert_bag("c"), key_bag("k")}), "yes key[31] cert[63] key[6B] key[32] (verify_mac)"},
        {"shrouded key", data_entry({shrouded("k"), cert_bag("c")}),
         "yes key[31] cert[63] key[32] / key[6B] (verify_mac decrypt)"},
        {"bag that fails", data_entry({cert_bag("c"), der_null()}), "no key[31] cert[63] (verify_mac)"},
    });
}

TEST(container_entry, of_another_type_is_skipped) {
    expect_entries({
        {"signed data", content_info(OID_SIGNED_DATA, der_sequence({})), SKIPPED},
        {"enveloped data", content_info("1.2.840.113549.1.7.3", der_sequence({})), SKIPPED},
        {"unknown", content_info("1.2.3", der_raw("FF FF FF")), SKIPPED},
        {"empty", der_sequence({der_raw("06 00"), der_context_0({})}), SKIPPED},
    });
}

// An encrypted entry with a certificate, and one field changed, or two.
using encrypted_field_t = der_t encrypted_data_t::*;

der_t entry_with(encrypted_field_t field, const der_t& element, encrypted_field_t other = nullptr,
                 const der_t& other_element = der_raw("")) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext({cert_bag("c")})));
    data.*field = element;
    if (other != nullptr) {
        data.*other = other_element;
    }
    return data.entry();
}

constexpr encrypted_field_t VERSION = &encrypted_data_t::version;
constexpr encrypted_field_t CONTENT_TYPE = &encrypted_data_t::content_type;
constexpr encrypted_field_t ALGORITHM = &encrypted_data_t::algorithm;
constexpr encrypted_field_t CONTENT = &encrypted_data_t::encrypted_content;
constexpr encrypted_field_t LAST = &encrypted_data_t::last;

TEST(container_entry, holds_encrypted_data) {
    expect_entries({
        {"no bags", encrypted_entry({}), "yes key[31] key[32] (verify_mac decrypt)"},
        {"bags", encrypted_entry({cert_bag("c"), key_bag("k")}),
         "yes key[31] key[32] / cert[63] key[6B] (verify_mac decrypt)"},
        {"shrouded key", encrypted_entry({shrouded("k"), cert_bag("c")}),
         "yes key[31] key[32] / key[6B] cert[63] (verify_mac decrypt decrypt)"},
        {"version 5", entry_with(VERSION, der_integer("05")), DECRYPTED},
        {"negative version", entry_with(VERSION, der_integer("FF")), DECRYPTED},
        {"version that starts with 0", entry_with(VERSION, der_integer("00 05")), DECRYPTED},
        {"unprotected attributes", entry_with(LAST, der_element(0xA1, "\xFF")), DECRYPTED},
        {"any element at the end", entry_with(LAST, der_raw("00 00")), DECRYPTED},
        {"bytes after it", entry_with(LAST, der_raw("05 00 FF")), DECRYPTED},
    });
}

TEST(container_entry, that_is_encrypted_in_another_way_is_skipped) {
    pbes2_t sha_1;
    sha_1.hmac = der_oid("1.2.840.113549.2.7");
    expect_entries({
        {"other content", entry_with(CONTENT_TYPE, der_oid(OID_SIGNED_DATA)), SKIPPED},
        {"encrypted content", entry_with(CONTENT_TYPE, der_oid(OID_ENCRYPTED_DATA)), SKIPPED},
        {"other prf", entry_with(ALGORITHM, sha_1.whole()), SKIPPED},
        {"PBES1", entry_with(ALGORITHM, der_sequence({der_oid("1.2.840.113549.1.5.3")})), SKIPPED},
        {"empty algorithm", entry_with(ALGORITHM, der_sequence({})), SKIPPED},
        {"garbage for an algorithm", entry_with(ALGORITHM, der_element(0x30, "garbage")), SKIPPED},
    });
    for_each_bad_length(pbes2_t().whole(), [](const der_t& algorithm, const der_t& element) {
        if (&element != &algorithm) {
            expect_entries({{"algorithm that leads outside", entry_with(ALGORITHM, algorithm), SKIPPED}});
        }
    });
}

TEST(container_entry, with_malformed_encrypted_data_is_refused) {
    expect_entries({
        {"nothing", content_info(OID_ENCRYPTED_DATA, der_raw("")), REFUSED},
        {"octets", content_info(OID_ENCRYPTED_DATA, der_octet_string("")), REFUSED},
        {"empty", content_info(OID_ENCRYPTED_DATA, der_sequence({})), REFUSED},
        {"no version", entry_with(VERSION, der_raw("")), REFUSED},
        {"empty version", entry_with(VERSION, der_integer("")), REFUSED},
        {"version that starts with 1", entry_with(VERSION, der_integer("01 00")), REFUSED},
        {"version that starts with 3", entry_with(VERSION, der_integer("03 00")), REFUSED},
        {"no info", content_info(OID_ENCRYPTED_DATA, der_sequence({der_integer("00")})), REFUSED},
        {"no content type", entry_with(CONTENT_TYPE, der_raw("")), REFUSED},
        {"no algorithm", entry_with(ALGORITHM, der_raw("")), REFUSED},
        {"no content", entry_with(CONTENT, der_raw("")), REFUSED},
        {"constructed content", entry_with(CONTENT, der_raw("A0 02 04 00")), REFUSED},
        {"octet string for content", entry_with(CONTENT, der_raw("04 00")), REFUSED},
        {"half an element at the end", entry_with(LAST, der_raw("A1")), REFUSED},
        {"element past the end", entry_with(LAST, der_raw("A1 01")), REFUSED},
        {"length that wraps", entry_with(LAST, der_raw("A1 84 FF FF FF FA")), REFUSED},
        // Structure and version are judged before content type and parameters, for which the entry would be skipped.
        {"version and content type", entry_with(VERSION, der_integer("01 00"), CONTENT_TYPE, der_oid(OID_SIGNED_DATA)),
         REFUSED},
        {"version and parameters", entry_with(VERSION, der_integer(""), ALGORITHM, der_sequence({})), REFUSED},
        {"last element and content type", entry_with(LAST, der_raw("A1 01"), CONTENT_TYPE, der_oid(OID_SIGNED_DATA)),
         REFUSED},
        {"content and parameters", entry_with(CONTENT, der_raw(""), ALGORITHM, der_sequence({})), REFUSED},
    });
}

// The plaintext is an OCTET STRING around a SafeContents; what follows either is ignored.
TEST(container_entry, has_a_plaintext_in_an_octet_string) {
    const std::string bags = encode(safe_contents({cert_bag("c")}));
    expect_entries({
        {"nothing", encrypted_entry_of(""), BAD_PLAINTEXT},
        {"bare SafeContents", encrypted_entry_of(bags), BAD_PLAINTEXT},
        {"constructed octet string", encrypted_entry_of(from_hex("24 04 04 02 30 00")), BAD_PLAINTEXT},
        {"empty octet string", encrypted_entry_of(from_hex("04 00")), BAD_PLAINTEXT},
        {"octet string too long", encrypted_entry_of(from_hex("04 03 30 00")), BAD_PLAINTEXT},
        {"set of bags", encrypted_entry_of(from_hex("04 02 31 00")), BAD_PLAINTEXT},
        {"bag that fails", encrypted_entry({cert_bag("c"), der_null(), cert_bag("d")}),
         "no key[31] / cert[63] (verify_mac decrypt)"},
        {"bytes after the octet string", encrypted_entry_of(encode(der_octet_string(bags)) + "padding"), DECRYPTED},
        {"bytes after the SafeContents", encrypted_entry_of(encode(der_octet_string(bags + "padding"))), DECRYPTED},
    });
    const der_t plaintext = der_octet_string(safe_contents({cert_bag("c", der_set({local_key_id("\x07")}))}));
    for_each_bad_length(plaintext, [](const der_t& whole, const der_t&) {
        for (const std::string& spoiled : {encode(whole), encode(whole) + ROOM_AFTER}) {
            container_reading_t reading(pfx_of({encrypted_entry_of(spoiled)}));
            EXPECT_EQ("no (verify_mac decrypt)", read_container(reading));
            EXPECT_EQ(buffers_t{spoiled}, reading.easy.decrypted_buffers);
        }
    });
}

TEST(container_entries, are_read_in_file_order) {
    EXPECT_EQ("yes (verify_mac)", read_container(pfx_of({})));
    EXPECT_EQ("yes key[32] cert[36] / cert[31] key[33] key[34] key[35] (verify_mac decrypt decrypt decrypt decrypt)",
              read_container(pfx_of({encrypted_entry({cert_bag("1")}), data_entry({key_bag("2"), shrouded("3")}),
                                     encrypted_entry({shrouded("4"), key_bag("5")}), data_entry({cert_bag("6")})})));
}

TEST(container_entries, are_decrypted_under_their_parameters) {
    const std::string plaintext = entry_plaintext({cert_bag("c")});
    container_reading_t reading(pfx_of({encrypted_entry_of(plaintext)}));
    read_container(reading);
    const crypto_call_t& call = reading.crypto.calls.at(1);
    EXPECT_TRUE(same_bytes(toy_cipher(plaintext), call.data));
    EXPECT_EQ("salt", call.salt);
    EXPECT_EQ(2000U, call.iterations);
    EXPECT_EQ("iv", call.iv);
}

TEST(container_entries, that_cannot_be_decrypted_are_skipped) {
    container_reading_t reading(pfx_of({encrypted_entry({cert_bag("1")}), data_entry({key_bag("2")}),
                                        encrypted_entry({cert_bag("3")}), encrypted_entry_of("garbage")}));
    reading.crypto.decrypt_answers = {answer_t::NO, answer_t::YES, answer_t::NO};
    EXPECT_EQ("yes key[32] / cert[33] (verify_mac decrypt decrypt decrypt)", read_container(reading));
    EXPECT_EQ(buffers_t{entry_plaintext({cert_bag("3")})}, reading.easy.decrypted_buffers);
    for (const crypto_call_t& call : reading.crypto.calls) {
        EXPECT_EQ("", call.out);
    }
}

// Plaintexts

TEST(container_plaintexts, are_kept_nested_ones_first_and_not_copied) {
    const std::string first = entry_plaintext({cert_bag(counting_bytes(300, 1)), shrouded("1"), shrouded("2")});
    const std::string second = entry_plaintext({shrouded("4")});
    container_reading_t reading(
        pfx_of({encrypted_entry_of(first), data_entry({shrouded("3")}), encrypted_entry_of(second)}));
    read_container(reading);
    EXPECT_EQ((buffers_t{"1", "2", first, "3", "4", second}), reading.easy.decrypted_buffers);
    EXPECT_EQ(reading.crypto.decrypted_at.front(), std::next(reading.easy.decrypted_buffers.begin(), 2)->data());
}

TEST(container_plaintexts, are_kept_whatever_they_are) {
    for (const char* const plaintext :
         {"", "04", "30 00", "04 00", "04 02 31 00", "04 04 30 02 05 00", "04 02 30 00"}) {
        container_reading_t reading(pfx_of({encrypted_entry_of(from_hex(plaintext))}));
        const bool is_sound = plaintext == std::string("04 02 30 00");
        EXPECT_EQ(is_sound ? "yes (verify_mac decrypt)" : "no (verify_mac decrypt)", read_container(reading));
        EXPECT_EQ(buffers_t{from_hex(plaintext)}, reading.easy.decrypted_buffers) << plaintext;
    }
}

// However short the key, its bag views a kept plaintext, also inside an entry that fails later.
TEST(container_plaintexts, are_kept_when_a_later_bag_fails) {
    for (const std::size_t size : sizes_t{0, 1, 15, 16, 22, 23, 1000}) {
        SCOPED_TRACE(size);
        const std::string key = counting_bytes(size, 1);
        const std::string text = "key[" + to_hex(key) + "]";
        const std::string plaintext =
            entry_plaintext({cert_bag("c", der_set({local_key_id("\x07")})), shrouded(key), der_null()});
        container_reading_t reading(
            pfx_of({data_entry({shrouded(key)}), encrypted_entry_of(plaintext), encrypted_entry({})}));
        EXPECT_EQ("no / " + text + " cert[63] id[07] " + text + " (verify_mac decrypt decrypt decrypt)",
                  read_container(reading));
        EXPECT_EQ((buffers_t{key, key, plaintext}), reading.easy.decrypted_buffers);
    }
}

TEST(container_plaintexts, are_kept_when_a_later_entry_fails) {
    const std::string plaintext = entry_plaintext({cert_bag("c"), shrouded("k")});
    for (const der_t& bad : {der_null(), data_entry({der_null()}), content_info(OID_ENCRYPTED_DATA, der_null()),
                             content_info(OID_DATA, der_null())}) {
        container_reading_t reading(pfx_of({data_entry({key_bag("p")}), encrypted_entry_of(plaintext), bad}));
        EXPECT_EQ("no key[70] / cert[63] key[6B] (verify_mac decrypt decrypt)", read_container(reading));
        EXPECT_EQ((buffers_t{"k", plaintext}), reading.easy.decrypted_buffers) << to_hex(encode(bad));
    }
}

// The entry's own plaintext too: its first bag views it when a later key of it cannot be decrypted.
TEST(container_plaintexts, are_kept_when_decryption_throws) {
    const std::string plaintext = entry_plaintext({cert_bag("c"), shrouded("1"), shrouded("2")});
    container_reading_t nested(pfx_of({encrypted_entry_of(plaintext)}));
    nested.crypto.decrypt_answers = {answer_t::YES, answer_t::YES, answer_t::THROW};
    EXPECT_THROW(read_container(nested), crypto_failure_t);
    EXPECT_EQ("no / cert[63] key[31] (verify_mac decrypt decrypt decrypt)", nested.text());
    EXPECT_EQ((buffers_t{"1", plaintext}), nested.easy.decrypted_buffers);

    const std::string first = entry_plaintext({cert_bag("c")});
    container_reading_t later(pfx_of({data_entry({key_bag("p")}), encrypted_entry_of(first), encrypted_entry({})}));
    later.crypto.decrypt_answers = {answer_t::YES, answer_t::THROW};
    EXPECT_THROW(read_container(later), crypto_failure_t);
    EXPECT_EQ("no key[70] / cert[63] (verify_mac decrypt decrypt)", later.text());
    EXPECT_EQ(buffers_t{first}, later.easy.decrypted_buffers);
}

// A container that is used again

TEST(pkcs12_container, read_into_twice_holds_both) {
    const std::string plaintext = entry_plaintext({cert_bag("c")});
    container_reading_t first(pfx_of({data_entry({key_bag("p"), shrouded("k")}), encrypted_entry_of(plaintext)}));
    read_container(first);
    mac_data_t other_mac;
    other_mac.digest = der_octet_string("other digest");
    pfx_t second_pfx({data_entry({cert_bag("q"), shrouded("l")})});
    second_pfx.mac_data = other_mac.whole();
    const exact_bytes_t second(encode(second_pfx.whole()));
    EXPECT_TRUE(asn_read_pkcs12_easy(second.data(), second.size(), &first.crypto, first.easy));
    EXPECT_EQ("key[70]\ncert[71]", bags_text(first.easy.plain_bags));
    EXPECT_EQ("key[6B]\ncert[63]\nkey[6C]", bags_text(first.easy.encrypted_bags));
    EXPECT_EQ((buffers_t{"k", plaintext, "l"}), first.easy.decrypted_buffers);
    EXPECT_EQ("other digest", chars_of(first.easy.mac.digest));
}

TEST(pkcs12_container, keeps_its_bags_when_a_second_reading_fails) {
    container_reading_t reading(pfx_of({data_entry({key_bag("p"), shrouded("k")})}));
    read_container(reading);
    const exact_bytes_t bad(pfx_of({data_entry({cert_bag("q"), shrouded("l"), der_null()})}));
    EXPECT_FALSE(asn_read_pkcs12_easy(bad.data(), bad.size(), &reading.crypto, reading.easy));
    EXPECT_EQ("key[70]\ncert[71]", bags_text(reading.easy.plain_bags));
    EXPECT_EQ("key[6B]\nkey[6C]", bags_text(reading.easy.encrypted_bags));
    EXPECT_EQ((buffers_t{"k", "l"}), reading.easy.decrypted_buffers);
}

TEST(pkcs12_container, keeps_its_mac_as_far_as_a_second_reading_does_not_fill_it) {
    container_reading_t reading(pfx_of({}));
    read_container(reading);
    const exact_bytes_t bad_version(encode(pfx_with(&pfx_t::version, der_integer("00 03"))));
    EXPECT_FALSE(asn_read_pkcs12_easy(bad_version.data(), bad_version.size(), &reading.crypto, reading.easy));
    EXPECT_EQ("digest", chars_of(reading.easy.mac.digest));
    const exact_bytes_t no_salt(
        encode(pfx_with_mac({der_sequence({}), der_octet_string("other digest")}, der_raw(""))));
    EXPECT_FALSE(asn_read_pkcs12_easy(no_salt.data(), no_salt.size(), &reading.crypto, reading.easy));
    EXPECT_EQ("other digest", chars_of(reading.easy.mac.digest));
    EXPECT_EQ("macsalt", chars_of(reading.easy.mac.salt));
    EXPECT_EQ(2000U, reading.easy.mac.iterations);
}

TEST(pkcs12_container, keeps_its_views_when_it_moves) {
    container_reading_t reading(pfx_of({data_entry({key_bag("p"), shrouded("k")}), encrypted_entry({cert_bag("c")})}));
    const std::string before = read_container(reading);
    pkcs12_easy_t moved(std::move(reading.easy));
    EXPECT_TRUE(all_kept(reading.input, moved));
    reading.easy = std::move(moved);
    EXPECT_EQ(before, reading.text());
    EXPECT_EQ("digest", chars_of(reading.easy.mac.digest));
}

// The parameters of MAC and encryption are opaque here: the third entry is skipped for them and would fail for
// everything else.
TEST(container_reader, follows_the_rules_of_readers) {
    encrypted_data_t skipped;
    skipped.algorithm = der_element(0x30, "opaque");
    skipped.last = der_null();
    mac_data_t mac_data;
    mac_data.algorithm = der_element(0x30, "opaque");
    const der_t key = key_bag("k");
    const der_t unknown = content_info("1.2.3", der_raw(""));
    pfx_t pfx({data_entry({key}), unknown, skipped.entry()});
    pfx.mac_data = mac_data.whole();
    expect_rules_of_readers(
        [](std::string_view bytes) { return read_container(bytes); }, pfx.whole(),
        {.optional = {key, data_entry({key}), unknown, skipped.entry(), skipped.last, mac_data.iterations},
         .any_type = {skipped.last, mac_data.iterations},
         .open_end = {pfx.content.members[0], safe_contents({key}), key.members[1]}});
}

TEST(container_reader, refuses_every_prefix_without_asking_for_anything) {
    for_each_prefix(pfx_of({data_entry({key_bag("k")})}), [](const exact_bytes_t& prefix) {
        EXPECT_EQ("no", read_container(std::string_view(prefix.chars(), prefix.size())));
    });
}

} // namespace
