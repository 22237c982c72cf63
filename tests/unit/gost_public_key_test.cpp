// GOST public keys: the parameter sets in the algorithm's parameters, the point in the bits (RFC 4491 2.3.2, RFC 9215).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"

namespace {

const std::string SETS = from_hex("30 09 06 01 2A 06 01 2B 06 01 2C");
const std::string POINT = from_hex("04 04 DE F0 12 34");

// "yes public key set, digest set, encryption set, point"
std::string read_gost(std::string_view parameters, std::string_view bits) {
    const exact_bytes_t sets(parameters);
    const exact_bytes_t point(bits);
    asn_pubkey_t key;
    key.parameters = view_of(std::string_view(sets.chars(), sets.size()));
    key.key = view_of(std::string_view(point.chars(), point.size()));
    asn_gost_pubkey_t out = {untouched_view(), untouched_view(), untouched_view(), untouched_view()};
    const int done = asn_read_gost_pubkey(key, out);
    EXPECT_TRUE(done == 0 || done == 1);
    return read_text(done == 1, {field_text(out.public_key_param_set, sets), field_text(out.digest_param_set, sets),
                                 field_text(out.encryption_param_set, sets), field_text(out.key, point)});
}

// "yes public key set, digest set, encryption set, DE F0 12 34"
std::string read_sets(std::string_view parameters) {
    return read_gost(parameters, POINT);
}

// "yes 06 01 2A, 06 01 2B, 06 01 2C, point"
std::string read_point(std::string_view bits) {
    return read_gost(SETS, bits);
}

TEST(gost_public_key, follows_the_rules_of_readers) {
    expect_rules_of_readers(read_sets, der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1")}),
                            {.shows_headers = true});
    expect_rules_of_readers(read_point, der_octet_string("point"));
}

TEST(gost_public_key, has_its_sets_read_as_the_cases_say) {
    expect_reads(read_sets, "gost-public-key-sets.txt");
}

TEST(gost_public_key, has_its_point_read_as_the_cases_say) {
    expect_reads(read_point, "gost-public-key-point.txt");
}

// asn_read_pubkey() then returns the size 0xFFFFFFFF, and what follows must not be taken for a point.
TEST(gost_public_key, is_refused_in_an_empty_bit_string_but_keeps_its_sets) {
    for (const char* const der : {"30 12 30 0E 06 01 55 30 09 06 01 2A 06 01 2B 06 01 2C 03 00",
                                  "30 12 30 0E 06 01 55 30 09 06 01 2A 06 01 2B 06 01 2C 03 00 AA 04 02 AA BB",
                                  "30 0F 30 0B 06 01 55 30 06 06 01 2A 06 01 2B 03 00"}) {
        SCOPED_TRACE(der);
        const exact_bytes_t input(from_hex(der));
        asn_pubkey_t key;
        ASSERT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(input.size()), key));
        asn_gost_pubkey_t out = {untouched_view(), untouched_view(), untouched_view(), untouched_view()};
        EXPECT_EQ(0, asn_read_gost_pubkey(key, out));
        EXPECT_EQ("06 01 2A", field_text(out.public_key_param_set, input));
        EXPECT_EQ("06 01 2B", field_text(out.digest_param_set, input));
        const bool has_third = key.parameters.size == 11;
        EXPECT_EQ(has_third ? "06 01 2C" : "null", field_text(out.encryption_param_set, input));
    }
}

} // namespace
