// OIDs that the compiler encodes, against the encoder that runs.
#include "asn/asn_oid_literal.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "asn/asn_alg_tables.h"
#include "asn/asn_builder.h"
#include "derkit/asn_oidmap.h"
#include "pkcs/pkcs_oids.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

// Whether oid<TEXT> compiles.
template <oid_text_t TEXT>
concept compiles = requires {
    oid<TEXT>;
};

// Every arc at its bounds.
static_assert(compiles<"0.0"> && compiles<"0.39"> && !compiles<"0.40">);
static_assert(compiles<"1.0"> && compiles<"1.39"> && !compiles<"1.40">);
static_assert(compiles<"2.0"> && compiles<"2.40"> && compiles<"2.999">);
static_assert(!compiles<"3.0"> && !compiles<"3.1"> && !compiles<"9.1"> && !compiles<"4294967295.1">);
static_assert(compiles<"2.4294967215"> && !compiles<"2.4294967216">); // 80 more is 2^32
static_assert(compiles<"1.2.4294967295"> && !compiles<"1.2.4294967296"> && !compiles<"1.2.99999999999999999999">);

// At least two arcs, none of them empty.
static_assert(!compiles<""> && !compiles<"1"> && !compiles<"2">);
static_assert(!compiles<"."> && !compiles<"1."> && !compiles<".1"> && !compiles<"1.2."> && !compiles<"1..2">);
static_assert(!compiles<"1.2..3"> && !compiles<"1.2.3.">);

// Digits without padding.
static_assert(!compiles<"01.2"> && !compiles<"1.02"> && !compiles<"1.2.00"> && compiles<"1.2.0.0">);
static_assert(!compiles<"1.2.x"> && !compiles<"1.2.3 "> && !compiles<" 1.2.3"> && !compiles<"1.2.-3">);
static_assert(!compiles<"1.2./"> && !compiles<"1.2.:"> && !compiles<"1.2\0003"> && !compiles<"1.2.3\0">);

// One OID has one storage, however often it is written.
static_assert(&oid<"1.2.643.2.2.9"> == &oid<OID_GOST_3411_94>);

std::string encoded(std::string_view dotted) {
    unsigned char der[512];
    const unsigned int size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), der);
    return std::string(as_chars(der, size));
}

std::string dotted_text(const oid_ref_t& octets) {
    std::string text;
    EXPECT_NE(0, oid_asn_to_str_(octets.data, octets.data + octets.size, text));
    return text;
}

struct oid_literal_case_t {
    const char* name;
    const char* dotted;
    oid_ref_t octets;
};

template <oid_text_t TEXT> oid_literal_case_t written(const char* name) {
    return {name, TEXT.text, whole(oid<TEXT>)};
}

class oid_literal : public testing::TestWithParam<oid_literal_case_t> {};

TEST_P(oid_literal, is_what_the_encoder_makes_of_the_text) {
    const auto& [name, dotted, octets] = GetParam();
    EXPECT_TRUE(same_bytes(encoded(dotted), as_chars(octets.data, octets.size))) << dotted;
}

INSTANTIATE_TEST_SUITE_P(of_every_size, oid_literal,
                         testing::Values(written<"0.0">("all_zero"), written<"2.47">("largest_of_one_octet"),
                                         written<"2.48">("smallest_of_two_octets"),
                                         written<"2.4294967215">("largest_second_arc"),
                                         written<"1.2.127.128">("one_and_two_octets"),
                                         written<"1.2.16383.16384">("two_and_three_octets"),
                                         written<"1.2.2097151.2097152">("three_and_four_octets"),
                                         written<"1.2.268435455.268435456">("four_and_five_octets"),
                                         written<"1.2.4294967295">("largest_arc"), written<"1.2.0.0.1">("zero_arcs")),
                         case_name_t());

// Those of keys and containers, by the names of their standards.
INSTANTIATE_TEST_SUITE_P(
    of_pkcs, oid_literal,
    testing::Values(
        oid_literal_case_t{"CryptoPro_A", "1.2.643.2.2.35.1", whole(g_id_GostR3410_2001_CryptoPro_A_ParamSet)},
        oid_literal_case_t{"tc26_256_A", "1.2.643.7.1.2.1.1.1", whole(g_oid_tc26_gost_3410_12_256_paramSetA)},
        oid_literal_case_t{"tc26_512_A", "1.2.643.7.1.2.1.2.1", whole(g_oid_tc26_gost_3410_12_512_paramSetA)},
        oid_literal_case_t{"digest_CryptoPro", "1.2.643.2.2.30.1", whole(g_id_GostR3411_94_CryptoProParamSet)},
        oid_literal_case_t{"PBES2", "1.2.840.113549.1.5.13", whole(g_oid_PBES2)},
        oid_literal_case_t{"PBKDF2", "1.2.840.113549.1.5.12", whole(g_oid_PBKDF2)},
        oid_literal_case_t{"HMAC_GOSTR3411", "1.2.643.2.2.10", whole(g_oid_HMAC_GOSTR3411)},
        oid_literal_case_t{"Gost28147_89", "1.2.643.2.2.21", whole(g_oid_gost28147_89)},
        oid_literal_case_t{"cipher_CryptoPro_A", "1.2.643.2.2.31.1", whole(g_oid_encryptionParamSet)},
        oid_literal_case_t{"data", "1.2.840.113549.1.7.1", whole(g_oid_pkcs7_id_data)},
        oid_literal_case_t{"encryptedData", "1.2.840.113549.1.7.6", whole(g_oid_pkcs7_id_encrypted_data)},
        oid_literal_case_t{"keyBag", "1.2.840.113549.1.12.10.1.1", whole(g_oid_pkcs12_id_keyBag)},
        oid_literal_case_t{"shroudedKeyBag", "1.2.840.113549.1.12.10.1.2", whole(g_oid_pkcs12_id_shroudedKeyBag)},
        oid_literal_case_t{"certBag", "1.2.840.113549.1.12.10.1.3", whole(g_oid_pkcs12_id_certBag)},
        oid_literal_case_t{"x509Certificate", "1.2.840.113549.1.9.22.1", whole(g_oid_pkcs9_ct_x509Certificate)},
        oid_literal_case_t{"friendlyName", "1.2.840.113549.1.9.20", whole(g_oid_pkcs9_at_friendlyName)},
        oid_literal_case_t{"localKeyId", "1.2.840.113549.1.9.21", whole(g_oid_pkcs9_at_localKeyId)}),
    case_name_t());

// Their values are checked in algorithm_lookup_test.cpp.
TEST(oid_literals_of_algorithms, are_what_the_encoder_makes_of_their_text) {
    const auto check = [](const auto& table) {
        for (const alg_row_t& row : table) {
            const std::string dotted = dotted_text(row.der);
            EXPECT_TRUE(same_bytes(encoded(dotted), as_chars(row.der.data, row.der.size))) << dotted;
        }
    };
    check(g_hash_alg_to_oid_map);
    check(g_key_alg_to_oid_map);
    check(g_signhash_alg_to_oid_map);
}

} // namespace
