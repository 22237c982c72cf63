// GOST public keys: the parameter sets in the algorithm's parameters, the point in the bits (RFC 4491 2.3.2, RFC 9215).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"

namespace {

const std::string SETS = from_hex("30 09 06 01 2A 06 01 2B 06 01 2C");
const std::string POINT = from_hex("04 04 DE F0 12 34");

// "yes public key set | digest set | encryption set | point"
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

// "yes public key set | digest set | encryption set | DE F0 12 34"
std::string read_sets(std::string_view parameters) {
    return read_gost(parameters, POINT);
}

// "yes 06 01 2A | 06 01 2B | 06 01 2C | point"
std::string read_point(std::string_view bits) {
    return read_gost(SETS, bits);
}

TEST(gost_public_key, follows_the_rules_of_readers) {
    expect_rules_of_readers(read_sets, der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1")}),
                            {.shows_headers = true});
    expect_rules_of_readers(read_point, der_octet_string("point"));
}

TEST(gost_public_key, has_parameter_sets_as_whole_elements) {
    expect_reads(
        read_sets,
        {
            // id-GostR3410-2001-CryptoPro-A-ParamSet, id-GostR3411-94-CryptoProParamSet,
            // id-Gost28147-89-CryptoPro-A-ParamSet
            {"three", "30 1B 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 06 07 2A 85 03 02 02 1F 01",
             "yes 06 07 2A 85 03 02 02 23 01 | 06 07 2A 85 03 02 02 1E 01 | 06 07 2A 85 03 02 02 1F 01 | DE F0 12 34"},
            {"two", "30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01",
             "yes 06 07 2A 85 03 02 02 23 01 | 06 07 2A 85 03 02 02 1E 01 | null | DE F0 12 34"},
            // id-tc26-gost-3410-2012-512-paramSetA, id-tc26-gost3411-12-512
            {"two of 2012", "30 15 06 09 2A 85 03 07 01 02 01 02 01 06 08 2A 85 03 07 01 01 02 03",
             "yes 06 09 2A 85 03 07 01 02 01 02 01 | 06 08 2A 85 03 07 01 01 02 03 | null | DE F0 12 34"},
            {"empty OIDs", "30 06 06 00 06 00 06 00", "yes 06 00 | 06 00 | 06 00 | DE F0 12 34"},
            {"lengths with octets to spare", "30 82 00 10 06 81 01 2A 06 82 00 01 2B 06 84 00 00 00 01 2C",
             "yes 06 81 01 2A | 06 82 00 01 2B | 06 84 00 00 00 01 2C | DE F0 12 34"},
            {"a fourth", "30 0C 06 01 2A 06 01 2B 06 01 2C 06 01 2D",
             "yes 06 01 2A | 06 01 2B | 06 01 2C | DE F0 12 34"},
        });
}

TEST(gost_public_key, has_no_encryption_set_when_there_is_no_oid_in_third_place) {
    const char* const without = "yes 06 01 2A | 06 01 2B | null | DE F0 12 34";
    expect_reads(read_sets, {
                                {"another type", "30 08 06 01 2A 06 01 2B 05 00", without},
                                {"in fourth place", "30 0B 06 01 2A 06 01 2B 05 00 06 01 2C", without},
                                {"after the sequence", "30 06 06 01 2A 06 01 2B 06 01 2C", without},
                                {"past the sequence", "30 08 06 01 2A 06 01 2B 06 01 2C", without},
                                {"half a header", "30 07 06 01 2A 06 01 2B 06", without},
                                {"indefinite length", "30 0B 06 01 2A 06 01 2B 06 80 2C 00 00", without},
                                {"length that wraps", "30 0D 06 01 2A 06 01 2B 06 84 FF FF FF FA 2C", without},
                            });
}

TEST(gost_public_key, keeps_what_was_read_when_its_sets_are_refused) {
    expect_reads(read_sets, {
                                {"nothing", "", "no - | - | - | -"},
                                {"null", "05 00", "no - | - | - | -"},
                                {"empty sequence", "30 00", "no - | - | - | -"},
                                {"sets after the sequence", "30 00 06 01 2A 06 01 2B", "no - | - | - | -"},
                                {"sequence in second place", "05 00 30 06 06 01 2A 06 01 2B", "no - | - | - | -"},
                                {"no first set", "30 06 04 01 2A 06 01 2B", "no - | - | - | -"},
                                {"one set", "30 03 06 01 2A", "no 06 01 2A | - | - | -"},
                                {"second after the sequence", "30 03 06 01 2A 06 01 2B", "no 06 01 2A | - | - | -"},
                                {"second of another type", "30 06 06 01 2A 05 01 2B", "no 06 01 2A | - | - | -"},
                                {"second in third place", "30 08 06 01 2A 05 00 06 01 2B", "no 06 01 2A | - | - | -"},
                            });
}

TEST(gost_public_key, has_the_content_of_the_octet_string_for_a_point) {
    expect_reads(read_point, {
                                 {"some octets", "04 03 00 AA BB", "yes 06 01 2A | 06 01 2B | 06 01 2C | 00 AA BB"},
                                 {"none", "04 00", "yes 06 01 2A | 06 01 2B | 06 01 2C | empty"},
                                 {"bytes after it", "04 01 AA CC", "yes 06 01 2A | 06 01 2B | 06 01 2C | AA"},
                             });
}

TEST(gost_public_key, keeps_its_sets_when_the_point_is_refused) {
    const char* const sets_alone = "no 06 01 2A | 06 01 2B | 06 01 2C | -";
    expect_reads(read_point, {
                                 {"nothing", "", sets_alone},
                                 {"no element", "AA BB", sets_alone},
                                 {"constructed", "24 02 AA BB", sets_alone},
                                 {"bit string", "03 02 AA BB", sets_alone},
                                 {"in second place", "05 00 04 02 AA BB", sets_alone},
                                 {"past the end", "04 03 AA BB", sets_alone},
                                 {"length that wraps", "04 84 FF FF FF FA AA BB", sets_alone},
                             });
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
