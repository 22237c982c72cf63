// PrivateKeyInfo: the generic reader, and GOST keys read and written.
#include <gtest/gtest.h>

#include <string>

#include "derkit/pkcs8_helper.h"
#include "support/der_reader.h"

namespace {

const char* const FAMILIES[] = {"1.2.643.2.2.19", "1.2.643.7.1.1.1.1", "1.2.643.7.1.1.1.2"}; // by key_type

// The parameters name a set that the writer never writes, so it cannot be compared.
der_t key_info(const der_t& algorithm, const der_t& private_key, const der_t& parameters = der_raw("06 02 2A 24")) {
    return der_sequence({der_integer("00"), der_sequence({algorithm, parameters}), der_octet_string(private_key)});
}

// "yes algorithm, private key"
std::string read_any(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    asn_pkcs8_priv_key_info_t info = {untouched_view(), untouched_view()};
    const bool accepted = asn_read_pkcs8_priv_key_info(input.data(), input.size(), info);
    return read_text(accepted, {field_text(info.algorithm, input), field_text(info.private_key, input)});
}

// "yes key type, private key"
std::string read_gost(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    pkcs8_pki_gost_t key;
    key.key_type = UNTOUCHED_NUMBER;
    key.private_key = untouched_view();
    const bool accepted = asn_read_pkcs8_pki_gost(input.data(), input.size(), key);
    return read_text(accepted, {field_text(key.key_type), field_text(key.private_key, input)});
}

std::string write_gost(unsigned int key_type, std::string_view private_key) {
    pkcs8_pki_gost_t key;
    key.key_type = key_type;
    key.private_key = view_of(private_key);
    std::string out = "what was there before";
    asn_write_pkcs8_pki_gost(key, out);
    return out;
}

// Any key

TEST(private_key_info, follows_the_rules_of_readers) {
    const der_t parameters = der_null();
    const der_t whole = key_info(der_oid("1.2.3"), der_raw("AA BB"), parameters);
    expect_rules_of_readers(read_any, whole, {.any_type = {parameters}, .open_end = {whole.members[2]}});
}

TEST(private_key_info, is_read_as_the_cases_say) {
    expect_reads(read_any, "private-key-info.txt");
}

// GOST keys, read

TEST(gost_key, follows_the_rules_of_readers) {
    const der_t parameters = der_element(0x30, "not looked at");
    expect_rules_of_readers(read_gost, key_info(der_oid(FAMILIES[2]), der_octet_string("key"), parameters),
                            {.any_type = {parameters}});
}

TEST(gost_key, has_the_type_of_its_algorithm_whatever_the_parameters) {
    for (unsigned int key_type = 0; key_type < 3; ++key_type) {
        for (const char* const parameters :
             {"05 00", "00 00", "30 00", "30 09 06 07 2A 85 03 02 02 24 00", "30 02 FF FF"}) {
            const der_t info = key_info(der_oid(FAMILIES[key_type]), der_octet_string("key"), der_raw(parameters));
            EXPECT_EQ("yes " + std::to_string(key_type) + ", 6B 65 79", read_gost(encode(info))) << parameters;
        }
    }
}

TEST(gost_key, has_its_type_even_when_there_is_no_octet_string_inside) {
    for (unsigned int key_type = 0; key_type < 3; ++key_type) {
        for (const char* const private_key :
             {"", "02 01 09", "24 04 04 02 01 02", "04", "04 01", "04 80 00 00", "FF FF"}) {
            SCOPED_TRACE(private_key);
            const std::string input = encode(key_info(der_oid(FAMILIES[key_type]), der_raw(private_key)));
            EXPECT_EQ("no " + std::to_string(key_type) + ", -", read_gost(input));
            EXPECT_TRUE(is_accepted(read_any(input)));
        }
    }
}

TEST(gost_key, accepts_versions_attributes_and_bytes_after_it) {
    der_t whole = key_info(der_oid(FAMILIES[1]), der_octet_string("key"));
    whole.members[0] = der_integer("01");
    whole.members.push_back(der_context_0({der_sequence({der_oid("1.2.3"), der_set({der_null()})})}));
    EXPECT_EQ("yes 1, 6B 65 79", read_gost(encode(whole) + "after it"));
}

TEST(gost_key, of_another_algorithm_is_refused_and_touches_nothing) {
    for (const char* const oid : {
             "06 00",                            // nothing
             "06 05 2A 85 03 02 02",             // an octet short
             "06 06 2A 85 03 02 02 14",          // GOST R 34.10-94
             "06 06 2A 85 03 02 02 12",          //
             "06 07 2A 85 03 02 02 13 00",       // GOST R 34.10-2001 and an octet
             "06 07 2A 85 03 07 01 01 01",       // an octet short
             "06 08 2A 85 03 07 01 01 01 00",    //
             "06 08 2A 85 03 07 01 01 01 03",    //
             "06 08 2A 85 03 07 01 01 03 02",    // a signature of GOST R 34.10-2012
             "06 08 2A 85 03 02 02 13 00 00",    //
             "06 09 2A 85 03 07 01 01 01 01 00", // GOST R 34.10-2012 and an octet
             "06 09 2A 86 48 86 F7 0D 01 01 01", // RSA
         }) {
        SCOPED_TRACE(oid);
        const std::string input = encode(key_info(der_raw(oid), der_octet_string("key")));
        EXPECT_EQ("no -, -", read_gost(input));
        EXPECT_TRUE(is_accepted(read_any(input)));
    }
}

// The type is stored once the generic reader has succeeded.
TEST(gost_key, touches_nothing_when_the_generic_reader_fails) {
    const std::string whole = encode(key_info(der_oid(FAMILIES[0]), der_octet_string("key")));
    for_each_prefix(whole, [](const exact_bytes_t& prefix) {
        EXPECT_EQ("no -, -", read_gost(std::string_view(prefix.chars(), prefix.size())));
    });
    for_each_element_left_out(key_info(der_oid(FAMILIES[0]), der_raw("04 01 AA"), der_null()),
                              [](const der_t& rest, const der_t&) { EXPECT_EQ("no -, -", read_gost(encode(rest))); });
}

// GOST keys, written

TEST(gost_key, is_written_byte_for_byte) {
    const struct {
        const char* name;
        unsigned int key_type;
        std::size_t size;
        const char* header; // all that precedes the key
    } cases[] = {
        {"2001, 32 bytes", 0, 32,
         "30 45 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 "
         "04 22 04 20"},
        {"2012 of 256 bits, 32 bytes", 1, 32,
         "30 49 02 01 00 30 20 06 08 2A 85 03 07 01 01 01 01 30 14 06 09 2A 85 03 07 01 02 01 01 01 "
         "06 07 2A 85 03 02 02 1E 01 04 22 04 20"},
        {"2012 of 512 bits, 64 bytes", 2, 64,
         "30 69 02 01 00 30 20 06 08 2A 85 03 07 01 01 01 02 30 14 06 09 2A 85 03 07 01 02 01 02 01 "
         "06 07 2A 85 03 02 02 1E 01 04 42 04 40"},
        {"type 5", 5, 3, "30 1B 02 01 00 30 0F 06 00 30 0B 06 00 06 07 2A 85 03 02 02 1E 01 04 05 04 03"},
        {"highest type", 0xFFFFFFFF, 0,
         "30 18 02 01 00 30 0F 06 00 30 0B 06 00 06 07 2A 85 03 02 02 1E 01 04 02 04 00"},
        {"2001, empty", 0, 0,
         "30 25 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 "
         "04 02 04 00"},
        {"2001, 200 bytes", 0, 200,
         "30 81 EF 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E "
         "01 04 81 CB 04 81 C8"},
        {"2001, 1000 bytes", 0, 1000,
         "30 82 04 11 02 01 00 30 1C 06 06 2A 85 03 02 02 13 30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E "
         "01 04 82 03 EC 04 82 03 E8"},
    };
    for (const auto& c : cases) {
        const std::string key = counting_bytes(c.size, 1);
        EXPECT_TRUE(same_bytes(from_hex(c.header) + key, write_gost(c.key_type, key))) << c.name;
    }
}

TEST(gost_key, of_an_unknown_type_is_written_but_not_read) {
    EXPECT_EQ("no -, -", read_gost(write_gost(5, "key")));
    EXPECT_EQ("yes empty, 04 03 6B 65 79", read_any(write_gost(5, "key")));
}

TEST(gost_key, reads_back) {
    for (unsigned int key_type = 0; key_type < 3; ++key_type) {
        for (const std::size_t size : sizes_t{0, 1, 32, 33, 64, 95, 96, 120, 127, 128, 250, 255, 256, 500, 65000}) {
            const std::string key = counting_bytes(size, key_type);
            EXPECT_EQ("yes " + std::to_string(key_type) + ", " + (size == 0 ? "empty" : to_hex(key)),
                      read_gost(write_gost(key_type, key)))
                << size << " bytes";
        }
    }
}

} // namespace
