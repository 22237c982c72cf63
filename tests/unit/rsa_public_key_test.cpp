// RSAPublicKey inside the bits of a public key (RFC 8017 A.1.1).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"

namespace {

// "yes modulus, exponent"
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

TEST(rsa_public_key, is_read_as_the_cases_say) {
    expect_reads(read_rsa, "rsa-public-key.txt");
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
