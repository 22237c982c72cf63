// SafeContents: the bags of one entry of a container, read and written.
#include <gtest/gtest.h>

#include <initializer_list>
#include <list>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "asn/asn_builder.h"
#include "asn/asn_cursor.h"
#include "derkit/pkcs12_helper.h"
#include "pkcs/pkcs12_bags.h"
#include "support/container_reading.h"
#include "support/der_reader.h"
#include "testing/pkcs_der.h"

namespace {

std::string read_bags(container_reading_t& reading, bool from_encrypted = false) {
    pkcs12_easy_wrap_t wrap = {&reading.easy, &reading.crypto};
    reading.accepted = asn_read_pkcs12_bags(reading.input.data(), reading.input.size(), from_encrypted, wrap);
    return reading.text();
}

std::string read_bags(std::string_view bytes, bool from_encrypted = false) {
    container_reading_t reading(bytes);
    return read_bags(reading, from_encrypted);
}

std::string bytes_of_bags(der_members_t bags) {
    return encode(safe_contents(std::move(bags)));
}

// Where bags go

TEST(safe_contents_reader, takes_an_empty_list) {
    for (const char* const input : {"30 00", "30 00 FF", "30 81 00"}) {
        EXPECT_EQ("yes", read_bags(from_hex(input)));
        EXPECT_EQ("yes", read_bags(from_hex(input), true));
    }
}

TEST(safe_contents_reader, keeps_file_order_and_puts_decrypted_keys_with_the_encrypted_bags) {
    const std::string input = bytes_of_bags({key_bag("a"), shrouded("b"), cert_bag("c"), shrouded("d"), key_bag("e")});
    EXPECT_EQ("yes key[61] cert[63] key[65] / key[62] key[64] (decrypt decrypt)", read_bags(input));
    EXPECT_EQ("yes / key[61] key[62] cert[63] key[64] key[65] (decrypt decrypt)", read_bags(input, true));
}

TEST(safe_contents_reader, appends_to_what_the_container_holds) {
    container_reading_t reading(bytes_of_bags({cert_bag("new"), shrouded("new")}));
    reading.easy.decrypted_buffers.emplace_back("old");
    pkcs12_bag_t old;
    old.value = view_of(reading.easy.decrypted_buffers.front());
    reading.easy.plain_bags.push_back(old);
    reading.easy.encrypted_bags.push_back(old);
    EXPECT_EQ("yes key[6F 6C 64] cert[6E 65 77] / key[6F 6C 64] key[6E 65 77] (decrypt)", read_bags(reading));
    EXPECT_EQ((buffers_t{"old", "new"}), reading.easy.decrypted_buffers);
}

TEST(safe_contents_reader, views_the_input_for_bags_that_are_not_shrouded) {
    for (const bool from_encrypted : {false, true}) {
        container_reading_t reading(
            bytes_of_bags({key_bag("k", der_set({friendly_name("ab"), local_key_id("i")})), cert_bag("c")}));
        EXPECT_EQ(from_encrypted ? "yes / key[6B] name[61 62] id[69] cert[63]"
                                 : "yes key[6B] name[61 62] id[69] cert[63]",
                  read_bags(reading, from_encrypted));
        EXPECT_TRUE(reading.easy.decrypted_buffers.empty());
    }
}

// One bag

struct bag_case_t {
    const char* name;
    der_t bag;
    const char* expected; // what it adds; null: it fails
};

// The bag between two others: after a failure the first one stays and the second one is not reached.
void expect_bags(std::initializer_list<bag_case_t> cases) {
    for (const bag_case_t& c : cases) {
        const std::string text = read_bags(bytes_of_bags({key_bag("1"), c.bag, key_bag("2")}));
        if (c.expected == nullptr) {
            EXPECT_EQ("no key[31]", text) << c.name;
        } else {
            const std::string separator = *c.expected == '\0' ? "" : " ";
            EXPECT_EQ("yes key[31]" + separator + c.expected + " key[32]", text) << c.name;
        }
    }
}

TEST(safe_bag_reader, takes_all_of_the_value_for_a_key) {
    expect_bags({
        {"private key info", key_bag(encode(der_sequence({der_integer("00")}))), "key[30 03 02 01 00]"},
        {"nothing", key_bag(""), "key[]"},
        {"what is no element", key_bag("\x30\x7F"), "key[30 7F]"},
        {"several elements", key_bag(from_hex("05 00 05 00")), "key[05 00 05 00]"},
    });
}

der_t cert_bag_with(const std::string& value) {
    return safe_bag(OID_CERT_BAG, der_raw(value));
}

TEST(safe_bag_reader, takes_the_octets_for_a_certificate) {
    expect_bags({
        {"certificate", cert_bag_with("30 13 06 0A 2A 86 48 86 F7 0D 01 09 16 01 A0 05 04 03 30 01 FF"),
         "cert[30 01 FF]"},
        {"empty", cert_bag(""), "cert[]"},
        {"another kind", cert_bag_with("30 12 06 0A 2A 86 48 86 F7 0D 01 09 16 02 A0 04 04 02 AA BB"), "cert[AA BB]"},
        {"empty kind", cert_bag_with("30 08 06 00 A0 04 04 02 AA BB"), "cert[AA BB]"},
        {"bytes after the octets", cert_bag_with("30 09 06 01 2A A0 04 04 01 AA FF"), "cert[AA]"},
        {"bytes after the wrapper", cert_bag_with("30 09 06 01 2A A0 03 04 01 AA FF"), "cert[AA]"},
        {"bytes after the sequence", cert_bag_with("30 08 06 01 2A A0 03 04 01 AA FF"), "cert[AA]"},
        {"no sequence at all", cert_bag_with(""), nullptr},
        {"no sequence", cert_bag_with("06 01 2A A0 03 04 01 AA"), nullptr},
        {"no kind", cert_bag_with("30 05 A0 03 04 01 AA"), nullptr},
        {"no octets", cert_bag_with("30 05 06 01 2A A0 00"), nullptr},
        {"no wrapper", cert_bag_with("30 06 06 01 2A 04 01 AA"), nullptr},
        {"primitive wrapper", cert_bag_with("30 08 06 01 2A 80 03 04 01 AA"), nullptr},
        {"constructed octets", cert_bag_with("30 0A 06 01 2A A0 05 24 03 04 01 AA"), nullptr},
        {"SDSI certificate", cert_bag_with("30 08 06 01 2A A0 03 16 01 41"), nullptr},
        {"octets past the wrapper", cert_bag_with("30 08 06 01 2A A0 03 04 02 AA BB"), nullptr},
        {"length that wraps", cert_bag_with("30 0C 06 01 2A A0 07 04 84 FF FF FF FA AA"), nullptr},
    });
}

TEST(safe_bag_reader, skips_bags_of_other_kinds) {
    expect_bags({
        {"crl", safe_bag(OID_CRL_BAG, der_null()), ""},
        {"secret", safe_bag(OID_SECRET_BAG, der_raw("FF FF FF")), ""},
        {"nested SafeContents", safe_bag("1.2.840.113549.1.12.10.1.6", safe_contents({key_bag("k")})), ""},
        {"unknown", safe_bag("1.2.3", der_raw("")), ""},
        {"unknown with attributes", safe_bag("1.2.3", der_null(), der_set({friendly_name("ab")})), ""},
        {"an octet more than a key", safe_bag("1.2.840.113549.1.12.10.1.1.1", der_null()), ""},
        {"an octet less than a key", safe_bag("1.2.840.113549.1.12.10.1", der_null()), ""},
        {"empty kind", der_sequence({der_raw("06 00"), der_context_0({der_null()})}), ""},
        {"key encrypted in another way", safe_bag(OID_SHROUDED_KEY_BAG, der_null()), ""},
        {"shrouded key without anything", safe_bag(OID_SHROUDED_KEY_BAG, der_raw("")), ""},
    });
}

TEST(safe_bag_reader, fails_on_what_is_no_bag) {
    expect_bags({
        {"set", der_set(key_bag("k").members), nullptr},
        {"empty", der_sequence({}), nullptr},
        {"no kind", der_sequence({der_context_0({der_null()})}), nullptr},
        {"no value", der_sequence({der_oid(OID_KEY_BAG)}), nullptr},
        {"attributes in place of a value", der_sequence({der_oid(OID_KEY_BAG), der_set({})}), nullptr},
        {"primitive value", der_sequence({der_oid(OID_KEY_BAG), der_element(0x80, "k")}), nullptr},
        {"unknown kind without a value", der_sequence({der_oid("1.2.3")}), nullptr},
        {"a byte", der_raw("30"), nullptr},
    });
}

// Attributes

der_t key_with(const der_t& after_the_value) {
    return key_bag("k", after_the_value);
}

TEST(safe_bag_reader, reads_attributes) {
    const der_t other_values =
        der_sequence({der_oid(OID_LOCAL_KEY_ID), der_set({der_octet_string("\x01")}), der_raw("FF")});
    expect_bags({
        {"none", key_with(der_set({})), "key[6B]"},
        {"name", key_with(der_set({friendly_name(from_hex("04 1A 00 41"))})), "key[6B] name[04 1A 00 41]"},
        {"name of odd size", key_with(der_set({friendly_name("abc")})), "key[6B] name[61 62 63]"},
        {"id", key_with(der_set({local_key_id("\x01")})), "key[6B] id[01]"},
        {"id before name", key_with(der_set({local_key_id("\x01"), friendly_name("a")})), "key[6B] name[61] id[01]"},
        {"empty ones", key_with(der_set({local_key_id(""), friendly_name("")})), "key[6B]"},
        {"of a certificate", cert_bag("c", der_set({friendly_name("a"), local_key_id("\x01")})),
         "cert[63] name[61] id[01]"},
        {"two names", key_with(der_set({friendly_name("a"), friendly_name("b")})), "key[6B] name[62]"},
        {"two ids", key_with(der_set({local_key_id("\x01"), local_key_id("\x02")})), "key[6B] id[02]"},
        {"the second name empty", key_with(der_set({friendly_name("ab"), friendly_name("")})), "key[6B]"},
        {"others",
         key_with(der_set({attribute("1.2.3", der_null()), local_key_id("\x01"), attribute("1.2", der_raw(""))})),
         "key[6B] id[01]"},
        {"other whose values are no elements", key_with(der_set({attribute("1.2.3", der_raw("FF FF"))})), "key[6B]"},
        {"further values", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_raw("04 01 01 04 01 02"))})),
         "key[6B] id[01]"},
        {"further values that are no elements",
         key_with(der_set({attribute(OID_FRIENDLY_NAME, der_raw("1E 01 41 FF"))})), "key[6B] name[41]"},
        {"bytes after the values", key_with(der_set({other_values})), "key[6B] id[01]"},
        {"bytes after the set", key_with(der_raw("31 00 FF")), "key[6B]"},
        // Only a SET right after the value is taken for attributes.
        {"bytes for a set", key_with(der_raw("FF FF")), "key[6B]"},
        {"sequence for a set", key_with(der_sequence({friendly_name("ab")})), "key[6B]"},
        {"set in fourth place", key_with(der_raw("05 00 31 7F")), "key[6B]"},
    });
}

TEST(safe_bag_reader, fails_on_attributes_that_are_malformed) {
    expect_bags({
        {"set past the end", key_with(der_raw("31 01")), nullptr},
        {"half a header", key_with(der_raw("31")), nullptr},
        {"length that wraps", key_with(der_raw("31 84 FF FF FF FA")), nullptr},
        {"no sequence", key_with(der_set({der_null()})), nullptr},
        {"empty attribute", key_with(der_set({der_sequence({})})), nullptr},
        {"no OID", key_with(der_set({der_sequence({der_set({})})})), nullptr},
        {"no values", key_with(der_set({der_sequence({der_oid("1.2.3")})})), nullptr},
        {"name as UTF8String", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_element(0x0C, "ab"))})), nullptr},
        {"name without a value", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_raw(""))})), nullptr},
        {"name past its set", key_with(der_set({attribute(OID_FRIENDLY_NAME, der_raw("1E 02 00"))})), nullptr},
        {"id as INTEGER", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_integer("01"))})), nullptr},
        {"id without a value", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_raw(""))})), nullptr},
        {"id as second value", key_with(der_set({attribute(OID_LOCAL_KEY_ID, der_raw("05 00 04 01 01"))})), nullptr},
        {"the last of three", key_with(der_set({friendly_name("a"), local_key_id("\x01"), der_null()})), nullptr},
        {"on a certificate", cert_bag("c", der_set({der_null()})), nullptr},
        {"on a crl", safe_bag(OID_CRL_BAG, der_null(), der_set({der_null()})), nullptr},
        {"on a secret", safe_bag(OID_SECRET_BAG, der_null(), der_raw("31 01")), nullptr},
        {"on a shrouded key", shrouded("k", der_set({der_null()})), nullptr},
    });
}

// Shrouded keys

TEST(shrouded_key_bag, is_decrypted_under_its_parameters) {
    for (const bool from_encrypted : {false, true}) {
        container_reading_t reading(
            bytes_of_bags({shrouded("key", der_set({friendly_name("ab"), local_key_id("\x01")}))}));
        EXPECT_EQ("yes / key[6B 65 79] name[61 62] id[01] (decrypt)", read_bags(reading, from_encrypted));
        EXPECT_EQ(buffers_t{"key"}, reading.easy.decrypted_buffers);
        const crypto_call_t& call = reading.crypto.calls.at(0);
        EXPECT_TRUE(same_bytes(toy_cipher("key"), call.data));
        EXPECT_EQ("salt", call.salt);
        EXPECT_EQ(2000U, call.iterations);
        EXPECT_EQ("iv", call.iv);
        EXPECT_EQ("", call.out);
    }
}

// An empty count says nothing, and the record was fresh.
TEST(shrouded_key_bag, has_no_iterations_when_its_count_is_empty) {
    pbes2_t pbes2;
    pbes2.iterations = der_integer("");
    container_reading_t reading(bytes_of_bags({safe_bag(OID_SHROUDED_KEY_BAG, encrypted_key("data", pbes2))}));
    read_bags(reading);
    EXPECT_EQ(0U, reading.crypto.calls.at(0).iterations);
}

// A string may hold short text inside itself (15 or 22 bytes in the usual libraries): the bag must view what the
// container keeps then too. Longer text keeps its address, so it was not copied.
TEST(shrouded_key_bag, views_the_kept_plaintext_of_any_length) {
    for (const std::size_t size : sizes_t{0, 1, 14, 15, 16, 22, 23, 24, 100, 100000}) {
        SCOPED_TRACE(size);
        const std::string plaintext = counting_bytes(size, 1);
        container_reading_t reading(bytes_of_bags({shrouded(plaintext), shrouded(plaintext)}));
        const std::string key = "key[" + to_hex(plaintext) + "]";
        EXPECT_EQ("yes / " + key + " " + key + " (decrypt decrypt)", read_bags(reading));
        const pkcs12_easy_t& easy = reading.easy;
        ASSERT_EQ(2U, easy.decrypted_buffers.size());
        EXPECT_TRUE(lies_in(easy.encrypted_bags.front().value, easy.decrypted_buffers.front()));
        EXPECT_TRUE(lies_in(easy.encrypted_bags.back().value, easy.decrypted_buffers.back()));
        EXPECT_TRUE(size < 100 || reading.crypto.decrypted_at.front() == easy.decrypted_buffers.front().data());
    }
}

TEST(shrouded_key_bag, is_skipped_when_it_cannot_be_decrypted) {
    container_reading_t reading(bytes_of_bags({shrouded("1"), shrouded("2"), cert_bag("c"), shrouded("\xFF")}));
    reading.crypto.decrypt_answers = {answer_t::YES, answer_t::NO};
    EXPECT_EQ("yes / key[31] cert[63] key[FF] (decrypt decrypt decrypt)", read_bags(reading, true));
    EXPECT_EQ("", reading.crypto.calls.back().out);
    EXPECT_EQ((buffers_t{"1", "\xFF"}), reading.easy.decrypted_buffers);
}

// Whatever is wrong inside the encrypted key, its bag is skipped and nothing is decrypted.
TEST(shrouded_key_bag, is_skipped_when_it_is_encrypted_in_another_way) {
    const auto expect_skipped = [](const der_t& key, const der_t&) {
        EXPECT_EQ("yes cert[63]", read_bags(bytes_of_bags({safe_bag(OID_SHROUDED_KEY_BAG, key), cert_bag("c")})));
    };
    for_each_element_left_out(encrypted_key("data"), expect_skipped);
    for_each_bad_length(encrypted_key("data"), expect_skipped);
    pbes2_t with_sha_1;
    with_sha_1.hmac = der_oid("1.2.840.113549.2.7");
    expect_skipped(encrypted_key("data", with_sha_1), der_null());
}

TEST(shrouded_key_bag, may_be_followed_by_anything_in_its_wrapper) {
    der_t bag = shrouded("k");
    bag.members[1].members.push_back(der_raw("FF"));
    EXPECT_EQ("yes / key[6B] (decrypt)", read_bags(bytes_of_bags({bag})));
}

// Failures

TEST(safe_contents_reader, keeps_bags_and_plaintexts_when_a_later_bag_fails) {
    const der_t name = der_set({friendly_name("ab")});
    for (const der_t& bad : {der_null(), der_raw("30"), cert_bag_with(""), key_with(der_set({der_null()}))}) {
        SCOPED_TRACE(to_hex(encode(bad)));
        container_reading_t reading(bytes_of_bags({cert_bag("c"), shrouded("k", name), bad, cert_bag("unreached")}));
        EXPECT_EQ("no cert[63] / key[6B] name[61 62] (decrypt)", read_bags(reading));
        EXPECT_EQ(buffers_t{"k"}, reading.easy.decrypted_buffers);
    }
    container_reading_t reading(
        bytes_of_bags({cert_bag("c"), shrouded("k", name), shrouded("x"), cert_bag("unreached")}));
    reading.crypto.decrypt_answers = {answer_t::YES, answer_t::THROW};
    EXPECT_THROW(read_bags(reading), crypto_failure_t);
    EXPECT_EQ("no cert[63] / key[6B] name[61 62] (decrypt decrypt)", reading.text());
    EXPECT_EQ(buffers_t{"k"}, reading.easy.decrypted_buffers);
}

TEST(safe_contents_reader, follows_the_rules_of_readers) {
    const der_t attributes = der_set({friendly_name("ab"), local_key_id("\x01")});
    const der_t key = key_bag("k", attributes);
    const der_t certificate = cert_bag("c");
    const der_t whole = safe_contents({key, certificate});
    expect_rules_of_readers([](std::string_view bytes) { return read_bags(bytes); }, whole,
                            {.optional = {key, certificate, attributes, friendly_name("ab"), local_key_id("\x01")},
                             .any_type = {attributes},
                             .open_end = {whole, attributes, key.members[1]}});
    EXPECT_EQ("yes key[6B] name[61 62] id[01] cert[63]", read_bags(encode(whole) + "\xFF"));
}

// Cut inside, with the length of the SEQUENCE right: whole bags are read, half of one fails.
TEST(safe_contents_reader, reads_as_far_as_bags_are_whole) {
    const std::string first = encode(key_bag("k"));
    for_each_prefix(first + encode(cert_bag("c")), [&](const exact_bytes_t& prefix) {
        const bool is_whole = prefix.size() == 0 || prefix.size() == first.size();
        const std::string expected = prefix.size() < first.size() ? "" : " key[6B]";
        EXPECT_EQ((is_whole ? "yes" : "no") + expected,
                  read_bags(encode(der_element(0x30, std::string_view(prefix.chars(), prefix.size())))));
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

std::string write_bags(const std::list<pkcs12_bag_t>& bags) {
    return appended([&](asn_tag_t_<0>& out) { asn_write_pkcs12_bags(bags, out); });
}

std::string write_bag(const pkcs12_bag_t& bag) {
    const std::string written = write_bags({bag});
    asn_cursor_t in(written);
    return std::string(chars_of(in.read(asn_tag_t::SEQUENCE)));
}

TEST(safe_bag_writer, writes_byte_for_byte) {
    const std::string value = from_hex("30 03 02 01 00");
    const std::string key = "30 14 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 05 30 03 02 01 00";
    const std::string empty_key = "06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 01 A0 00 ";
    const std::string name = "30 11 06 09 2A 86 48 86 F7 0D 01 09 14 31 04 1E 02 41 42 ";
    const std::string id = "30 10 06 09 2A 86 48 86 F7 0D 01 09 15 31 03 04 01 07 ";
    const struct {
        const char* name;
        pkcs12_bag_t bag;
        std::string expected;
    } cases[] = {
        {"key", bag_of(0, value), key},
        {"type 2 is a key", bag_of(2, value), key},
        {"highest type is a key", bag_of(0xFFFFFFFF, value), key},
        {"empty key", bag_of(0, ""), "30 0F " + empty_key},
        {"fresh bag", pkcs12_bag_t(), "30 0F " + empty_key},
        {"certificate", bag_of(1, "\xAA\xBB"),
         "30 23 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 03 A0 14 30 12 06 0A 2A 86 48 86 F7 0D 01 09 16 01 "
         "A0 04 04 02 AA BB"},
        {"empty certificate", bag_of(1, ""),
         "30 21 06 0B 2A 86 48 86 F7 0D 01 0C 0A 01 03 A0 12 30 10 06 0A 2A 86 48 86 F7 0D 01 09 16 01 A0 02 04 00"},
        {"friendlyName", bag_of(0, "", "AB"), "30 24 " + empty_key + "31 13 " + name},
        {"localKeyId", bag_of(0, "", "", "\x07"), "30 23 " + empty_key + "31 12 " + id},
        {"friendlyName before localKeyId", bag_of(0, "", "AB", "\x07"), "30 36 " + empty_key + "31 25 " + name + id},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(same_bytes(from_hex(c.expected), write_bag(c.bag))) << c.name;
    }
}

TEST(safe_bag_writer, takes_values_of_any_length) {
    for (const std::size_t size : sizes_t{100, 122, 123, 127, 128, 250, 256, 1000, 60000}) {
        SCOPED_TRACE(size);
        const std::string value = counting_bytes(size, 1);
        EXPECT_TRUE(same_bytes(encode(key_bag(value)), write_bag(bag_of(0, value))));
        EXPECT_TRUE(same_bytes(encode(cert_bag(value)), write_bag(bag_of(1, value))));
        EXPECT_TRUE(same_bytes(encode(key_bag("", der_set({friendly_name(value)}))), write_bag(bag_of(0, "", value))));
        EXPECT_TRUE(
            same_bytes(encode(key_bag("", der_set({local_key_id(value)}))), write_bag(bag_of(0, "", "", value))));
    }
}

TEST(safe_bag_writer, throws_when_there_is_no_memory_and_leaves_the_parent_alone) {
    pkcs12_bag_t fields[] = {bag_of(0, "v"), bag_of(1, "v"), bag_of(0, "v", "n"), bag_of(0, "v", "n", "i")};
    fields[0].value.size = fields[1].value.size = fields[2].friendly_name.size = fields[3].local_key_id.size =
        0xFFFFFFFF;
    for (const pkcs12_bag_t& bag : fields) {
        EXPECT_EQ(
            "", appended([&](asn_tag_t_<0>& out) { EXPECT_THROW(asn_write_pkcs12_bags({bag}, out), std::bad_alloc); }));
    }
}

TEST(safe_contents_writer, writes_bags_in_list_order) {
    EXPECT_TRUE(same_bytes(from_hex("30 00"), write_bags({})));
    const std::list<pkcs12_bag_t> bags = {bag_of(1, "c1", "n"), bag_of(0, "k"), bag_of(1, "c2", "", "i")};
    const der_t expected = safe_contents(
        {cert_bag("c1", der_set({friendly_name("n")})), key_bag("k"), cert_bag("c2", der_set({local_key_id("i")}))});
    EXPECT_TRUE(same_bytes(encode(expected), write_bags(bags)));
}

// Their length has no zero octet, so the header is that of DER.
TEST(safe_contents_writer, writes_ten_thousand_bags_that_read_back) {
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
    container_reading_t reading(written);
    read_bags(reading);
    EXPECT_TRUE(reading.accepted);
    EXPECT_TRUE(bags_text(reading.easy.plain_bags) == bags_text(bags));
}

TEST(safe_contents_writer, writes_what_reads_back) {
    const std::string long_value = counting_bytes(40000, 1);
    const std::list<pkcs12_bag_t> bags = {
        bag_of(0, "k"),
        bag_of(1, "c", "n", "i"),
        bag_of(0, ""),
        bag_of(1, "", "", "i"),
        bag_of(0, long_value, "n"),
        bag_of(1, "c", std::string_view(long_value).substr(0, 300), std::string_view(long_value).substr(0, 200)),
    };
    container_reading_t plain(write_bags(bags));
    read_bags(plain, false);
    EXPECT_EQ(bags_text(bags), bags_text(plain.easy.plain_bags));
    container_reading_t encrypted(write_bags(bags));
    read_bags(encrypted, true);
    EXPECT_EQ(bags_text(bags), bags_text(encrypted.easy.encrypted_bags));
    EXPECT_EQ("yes key[76]", read_bags(write_bags({bag_of(7, "v")}))) << "an unknown type is written as a key";
}

} // namespace
