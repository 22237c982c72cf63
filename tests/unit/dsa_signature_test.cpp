// Dss-Sig-Value (RFC 3279 2.2.2).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"

namespace {

// "yes r | s"
std::string read_dsa(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    asn_dsa_certsign_t out = {untouched_view(), untouched_view()};
    const int done = asn_read_dsa_certsign(input.data(), input.size(), out);
    EXPECT_TRUE(done == 0 || done == 1);
    return read_text(done == 1, {field_text(out.r, input), field_text(out.s, input)});
}

TEST(dsa_signature, follows_the_rules_of_readers) {
    const der_t s = der_integer("33 44");
    expect_rules_of_readers(read_dsa, der_sequence({der_integer("11 22"), s}), {.reaches_out = {s}});
}

TEST(dsa_signature, holds_numbers_as_they_are) {
    expect_reads(read_dsa, {
                               {"short", "30 08 02 02 11 22 02 02 33 44", "yes 11 22 | 33 44"},
                               {"leading zeros", "30 0A 02 03 00 C1 22 02 03 00 D3 44", "yes 00 C1 22 | 00 D3 44"},
                               {"needless zeros", "30 0A 02 03 00 00 01 02 03 00 00 00", "yes 00 00 01 | 00 00 00"},
                               {"negative", "30 06 02 01 FF 02 01 80", "yes FF | 80"},
                               {"no octets", "30 04 02 00 02 00", "yes empty | empty"},
                           });
}

// The SEQUENCE says 03 to 06 where 07 would be right.
TEST(dsa_signature, may_have_an_s_outside_its_sequence) {
    expect_reads(read_dsa, {
                               {"by one octet", "30 06 02 01 11 02 02 33 44", "yes 11 | 33 44"},
                               {"its content", "30 05 02 01 11 02 02 33 44", "yes 11 | 33 44"},
                               {"half its header", "30 04 02 01 11 02 02 33 44", "yes 11 | 33 44"},
                               {"all of it", "30 03 02 01 11 02 02 33 44", "yes 11 | 33 44"},
                               {"reaching on", "30 07 02 01 11 02 04 33 44 55 66 77", "yes 11 | 33 44 55 66"},
                               {"past the input", "30 03 02 01 11 02 02 33", "no 11 | -"},
                               {"length that wraps", "30 04 02 02 00 C1 02 84 FF FF FF FF", "no 00 C1 | -"},
                           });
}

TEST(dsa_signature, keeps_what_was_read_when_it_is_refused) {
    expect_reads(read_dsa, {
                               {"nothing", "", "no - | -"},
                               {"empty sequence", "30 00", "no - | -"},
                               {"r after the sequence", "30 00 02 01 11 02 01 33", "no - | -"},
                               {"no r", "30 06 04 01 11 02 01 33", "no - | -"},
                               {"no s", "30 04 02 02 00 C1", "no 00 C1 | -"},
                               {"s of another type", "30 07 02 02 00 C1 04 01 33", "no 00 C1 | -"},
                               {"s in third place", "30 09 02 02 00 C1 05 00 02 01 33", "no 00 C1 | -"},
                           });
}

} // namespace
