// Dss-Sig-Value (RFC 3279 2.2.2).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"

namespace {

// "yes r, s"
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

TEST(dsa_signature, is_read_as_the_cases_say) {
    expect_reads(read_dsa, "dsa-signature.txt");
}

} // namespace
