// RSAPublicKey inside the bits of a public key (RFC 8017 A.1.1).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"

namespace {

// "yes modulus | exponent"
std::string read_rsa(std::string_view bits) {
    const exact_bytes_t input(bits);
    asn_pubkey_t key;
    key.key.data = input.data();
    key.key.size = input.size();
    asn_rsa_pubkey_t out = {untouched_view(), untouched_view()};
    const int done = asn_read_rsa_pubkey(key, out);
    EXPECT_TRUE(done == 0 || done == 1);
    return read_text(done == 1, {field_text(out.modulus, input), field_text(out.exponent, input)});
}

TEST(rsa_public_key, follows_the_rules_of_readers) {
    const der_t exponent = der_integer("01 00 01");
    expect_rules_of_readers(read_rsa, der_sequence({der_integer("00 C3 05"), exponent}), {.reaches_out = {exponent}});
}

TEST(rsa_public_key, loses_leading_zeros_of_the_modulus) {
    expect_reads(read_rsa, {
                               {"one", "30 08 02 03 00 C3 05 02 01 03", "yes C3 05 | 03"},
                               {"several", "30 0A 02 05 00 00 00 7F 00 02 01 03", "yes 7F 00 | 03"},
                               {"none", "30 07 02 02 7F 05 02 01 03", "yes 7F 05 | 03"},
                               {"two zeros keep the last", "30 07 02 02 00 00 02 01 03", "yes 00 | 03"},
                               {"four zeros keep the last", "30 09 02 04 00 00 00 00 02 01 03", "yes 00 | 03"},
                               {"one zero", "30 06 02 01 00 02 01 03", "yes 00 | 03"},
                               {"zero and one", "30 07 02 02 00 01 02 01 03", "yes 01 | 03"},
                               {"negative", "30 07 02 02 C3 05 02 01 03", "yes C3 05 | 03"},
                               {"no octets", "30 05 02 00 02 01 03", "yes empty | 03"},
                           });
}

TEST(rsa_public_key, has_the_exponent_as_it_is) {
    expect_reads(read_rsa, {
                               {"leading zero", "30 0A 02 01 05 02 05 00 80 00 00 01", "yes 05 | 00 80 00 00 01"},
                               {"needless zeros", "30 09 02 01 05 02 04 00 00 00 03", "yes 05 | 00 00 00 03"},
                               {"negative", "30 06 02 01 05 02 01 FF", "yes 05 | FF"},
                               {"no octets", "30 05 02 01 05 02 00", "yes 05 | empty"},
                           });
}

// The SEQUENCE says 03 to 07 where 08 would be right.
TEST(rsa_public_key, may_have_an_exponent_outside_its_sequence) {
    expect_reads(read_rsa, {
                               {"by one octet", "30 07 02 01 05 02 03 01 00 01", "yes 05 | 01 00 01"},
                               {"its content", "30 05 02 01 05 02 03 01 00 01", "yes 05 | 01 00 01"},
                               {"half its header", "30 04 02 01 05 02 03 01 00 01", "yes 05 | 01 00 01"},
                               {"all of it", "30 03 02 01 05 02 03 01 00 01", "yes 05 | 01 00 01"},
                               {"reaching on", "30 08 02 01 05 02 05 01 00 01 AA BB CC", "yes 05 | 01 00 01 AA BB"},
                               {"past the key", "30 03 02 01 05 02 02 03", "no 05 | -"},
                               {"length that wraps", "30 04 02 02 00 C3 02 84 FF FF FF FF", "no C3 | -"},
                           });
}

TEST(rsa_public_key, keeps_what_was_read_when_it_is_refused) {
    expect_reads(read_rsa, {
                               {"nothing", "", "no - | -"},
                               {"empty sequence", "30 00", "no - | -"},
                               {"modulus after the sequence", "30 00 02 01 05 02 01 03", "no - | -"},
                               {"no modulus", "30 06 04 01 05 02 01 03", "no - | -"},
                               {"no exponent", "30 04 02 02 00 C3", "no C3 | -"},
                               {"exponent of another type", "30 07 02 02 00 C3 04 01 03", "no C3 | -"},
                               {"exponent in third place", "30 09 02 02 00 C3 05 00 02 01 03", "no C3 | -"},
                           });
}

// Whatever the algorithm is, the bits are read.
TEST(rsa_public_key, does_not_look_at_the_algorithm) {
    const exact_bytes_t input(from_hex("30 12 30 05 06 03 55 04 03 03 09 00 30 06 02 01 05 02 01 03"));
    asn_pubkey_t key;
    ASSERT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(input.size()), key));
    asn_rsa_pubkey_t out;
    EXPECT_EQ(1, asn_read_rsa_pubkey(key, out));
    EXPECT_EQ(input.data() + 16, out.modulus.data);
    EXPECT_EQ(input.data() + 19, out.exponent.data);
}

// asn_read_pubkey() then returns the size 0xFFFFFFFF, and what follows must not be taken for a key.
TEST(rsa_public_key, is_refused_in_an_empty_bit_string) {
    for (const char* const der :
         {"30 09 30 05 06 03 55 04 03 03 00", "30 09 30 05 06 03 55 04 03 03 00 AA 30 06 02 01 05 02 01 03"}) {
        const exact_bytes_t input(from_hex(der));
        asn_pubkey_t key;
        ASSERT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(input.size()), key)) << der;
        asn_rsa_pubkey_t out;
        EXPECT_EQ(0, asn_read_rsa_pubkey(key, out)) << der;
    }
}

} // namespace
