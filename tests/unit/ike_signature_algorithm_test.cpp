// AlgorithmIdentifiers of IKE signature payloads: writing, reading, and the hash that RSASSA-PSS parameters name.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "derkit/asn_helper.h"
#include "support/expect.h"
#include "testing/algorithm_code.h"
#include "testing/bytes.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

const std::string RSASSA_PSS = from_hex("2A 86 48 86 F7 0D 01 01 0A");

// Writing, and reading back

struct ike_encoding_case_t {
    const char* name;
    unsigned int code;
    const char* der;
    unsigned int read_back; // the standard code; for RSASSA-PSS always with its hash
};
class ike_encoding : public testing::TestWithParam<ike_encoding_case_t> {};

TEST_P(ike_encoding, is_written_byte_for_byte) {
    const oid_ref_t der = asn_form_ike_signalg(static_cast<pki_alg_t>(GetParam().code));
    EXPECT_TRUE(same_bytes(from_hex(GetParam().der), as_chars(der.data, der.size)));
}

TEST_P(ike_encoding, reads_back) {
    const exact_bytes_t input(from_hex(GetParam().der));
    asn_ike_signalg_t out;
    ASSERT_EQ(1, asn_read_ike_signalg(input.data(), input.size(), out));
    EXPECT_EQ(code_text(GetParam().read_back), code_text(out.to_pki_alg()));
}

TEST_P(ike_encoding, is_refused_when_cut_short) {
    for_each_prefix(from_hex(GetParam().der), [](const exact_bytes_t& prefix) {
        asn_ike_signalg_t out;
        EXPECT_EQ(0, asn_read_ike_signalg(prefix.data(), prefix.size(), out));
    });
}

const ike_encoding_case_t ENCODINGS[] = {
    {"sha1_rsa", 0x00020001, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 05 05 00", 0x00020001},
    {"sha224_rsa", 0x00030001, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 0E 05 00", 0x00030001},
    {"sha256_rsa", 0x00040001, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 0B 05 00", 0x00040001},
    {"sha384_rsa", 0x00050001, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 0C 05 00", 0x00050001},
    {"sha512_rsa", 0x00060001, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 0D 05 00", 0x00060001},
    {"md2_rsa", 0x00070001, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 02 05 00", 0x00070001},
    {"md5_rsa", 0x00080001, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 04 05 00", 0x00080001},
    {"sha1_dsa", 0x00020003, "30 09 06 07 2A 86 48 CE 38 04 03", 0x00020003},
    {"rsassa_pss", 0x00000002, "30 0B 06 09 2A 86 48 86 F7 0D 01 01 0A", 0x00020002},
    {"sha1_rsassa_pss", 0x00020002, "30 0D 06 09 2A 86 48 86 F7 0D 01 01 0A 30 00", 0x00020002},
    {"sha224_rsassa_pss", 0x00030002,
     "30 1E 06 09 2A 86 48 86 F7 0D 01 01 0A 30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 04 05 00", 0x00030002},
    {"sha256_rsassa_pss", 0x00040002,
     "30 1E 06 09 2A 86 48 86 F7 0D 01 01 0A 30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 01 05 00", 0x00040002},
    {"sha384_rsassa_pss", 0x00050002,
     "30 1E 06 09 2A 86 48 86 F7 0D 01 01 0A 30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 02 05 00", 0x00050002},
    {"sha512_rsassa_pss", 0x00060002,
     "30 1E 06 09 2A 86 48 86 F7 0D 01 01 0A 30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00", 0x00060002},
    {"gost_3411_3410_94", 0x0009000E, "30 08 06 06 2A 85 03 02 02 04", 0x0009000E},
    {"gost_3411_3410_94_cryptopro", 0x0209000E, "30 08 06 06 2A 85 03 02 02 04", 0x0009000E},
    {"gost_3411_3410_94_qev", 0x0109000E, "30 0B 06 09 2B 06 01 04 01 9C 56 01 06", 0x0109000E},
    {"gost_3411_3410_94_signalcom", 0x0409000E, "30 0C 06 0A 2B 06 01 04 01 AD 59 01 03 01", 0x0409000E},
    {"gost_3411_3410_2001", 0x0009010E, "30 08 06 06 2A 85 03 02 02 03", 0x0009010E},
    {"gost_3411_3410_2001_cryptopro", 0x0209010E, "30 08 06 06 2A 85 03 02 02 03", 0x0009010E},
    {"gost_3411_3410_2001_signalcom", 0x0409010E, "30 0C 06 0A 2B 06 01 04 01 AD 59 01 03 02", 0x0409010E},
    {"gost_2012_256", 0x000A010F, "30 0A 06 08 2A 85 03 07 01 01 03 02", 0x000A010F},
    {"gost_2012_512", 0x000B0110, "30 0A 06 08 2A 85 03 07 01 01 03 03", 0x000B0110},
};
INSTANTIATE_TEST_SUITE_P(of_every_code, ike_encoding, testing::ValuesIn(ENCODINGS), case_name_t());

// A code has an encoding exactly when it has a signature OID.
TEST(ike_encoding_of_other_codes, is_the_null_reference) {
    for (const ike_encoding_case_t& row : ENCODINGS) {
        for (unsigned int bit = 0; bit < 32; ++bit) {
            const auto code = static_cast<pki_alg_t>(row.code ^ 1U << bit);
            const oid_ref_t der = asn_form_ike_signalg(code);
            EXPECT_EQ(PKI_CERT_SIGN_ALG_TO_OID(code).data == nullptr, der.data == nullptr) << code_text(code);
            EXPECT_EQ(der.data == nullptr, der.size == 0) << code_text(code);
        }
    }
    for (const unsigned int code : {0U, 0x00000001U, 0x00000003U, 0x00040000U, 0x00010003U, 0x00010001U, 0xFFFFFFFFU}) {
        const oid_ref_t der = asn_form_ike_signalg(static_cast<pki_alg_t>(code));
        EXPECT_TRUE(der.data == nullptr && der.size == 0) << code_text(code);
    }
}

// Reading

struct ike_read_case_t {
    const char* name;
    const char* input;
    const char* oid; // null: refused
    const char* parameters;
};
class ike_reader : public testing::TestWithParam<ike_read_case_t> {};

TEST_P(ike_reader, splits_oid_and_parameters) {
    const ike_read_case_t& c = GetParam();
    const exact_bytes_t input(from_hex(c.input));
    asn_ike_signalg_t out = {untouched_view(), untouched_view()};
    ASSERT_EQ(c.oid == nullptr ? 0 : 1, asn_read_ike_signalg(input.data(), input.size(), out));
    if (c.oid == nullptr) {
        EXPECT_TRUE(same_bytes(UNTOUCHED_BYTES, chars_of(out.oid)));
        EXPECT_TRUE(same_bytes(UNTOUCHED_BYTES, chars_of(out.parameters)));
        return;
    }
    EXPECT_TRUE(same_bytes(from_hex(c.oid), as_chars(out.oid.data, out.oid.size)));
    EXPECT_TRUE(same_bytes(from_hex(c.parameters), as_chars(out.parameters.data, out.parameters.size)));
    EXPECT_EQ(out.oid.data + out.oid.size, out.parameters.data);
    EXPECT_EQ(input.data() + input.size(), out.parameters.data + out.parameters.size);
}

const ike_read_case_t READ[] = {
    {"with_parameters", "30 07 06 03 55 04 03 05 00", "55 04 03", "05 00"},
    {"without_parameters", "30 05 06 03 55 04 03", "55 04 03", ""},
    {"bytes_behind_it_count_as_parameters", "30 07 06 03 55 04 03 05 00 AA BB", "55 04 03", "05 00 AA BB"},
    {"bytes_behind_it_alone_count_as_parameters", "30 05 06 03 55 04 03 AA", "55 04 03", "AA"},
    {"parameters_are_not_looked_at", "30 06 06 03 55 04 03 FF", "55 04 03", "FF"},
    {"empty_oid", "30 04 06 00 05 00", "", "05 00"},
    {"lengths_with_octets_to_spare", "30 82 00 08 06 81 03 55 04 03 05 00", "55 04 03", "05 00"},
};
INSTANTIATE_TEST_SUITE_P(accepts, ike_reader, testing::ValuesIn(READ), case_name_t());

const ike_read_case_t NOT_READ[] = {
    {"nothing", "", nullptr, nullptr},
    {"empty_sequence", "30 00", nullptr, nullptr},
    {"oid_not_inside", "30 00 06 03 55 04 03", nullptr, nullptr},
    {"oid_past_its_sequence", "30 03 06 03 55 04 03", nullptr, nullptr},
    {"no_sequence", "31 05 06 03 55 04 03", nullptr, nullptr},
    {"no_oid", "30 05 04 03 55 04 03", nullptr, nullptr},
    {"oid_in_second_place", "30 07 05 00 06 03 55 04 03", nullptr, nullptr},
    {"sequence_past_the_end", "30 06 06 03 55 04 03", nullptr, nullptr},
    // Adding the header's size to these lengths wraps.
    {"wrapping_length_of_the_sequence", "30 84 FF FF FF FA 06 03 55 04 03", nullptr, nullptr},
    {"wrapping_length_of_the_sequence_by_some", "30 84 FF FF FF FF 06 03 55 04 03", nullptr, nullptr},
    {"wrapping_length_of_the_oid", "30 09 06 84 FF FF FF FB 55 04 03", nullptr, nullptr},
};
INSTANTIATE_TEST_SUITE_P(refuses, ike_reader, testing::ValuesIn(NOT_READ), case_name_t());

TEST(ike_reader_result, of_the_second_sha1_rsa_is_sha1_rsa) {
    const exact_bytes_t input(from_hex("30 09 06 05 2B 0E 03 02 1D 05 00"));
    asn_ike_signalg_t out;
    ASSERT_EQ(1, asn_read_ike_signalg(input.data(), input.size(), out));
    EXPECT_EQ(code_text(0x00020001U), code_text(out.to_pki_alg()));
}

TEST(ike_reader_result, takes_bytes_behind_rsassa_pss_for_its_parameters) {
    const exact_bytes_t input(from_hex("30 0B 06 09 2A 86 48 86 F7 0D 01 01 0A AA"));
    asn_ike_signalg_t out;
    ASSERT_EQ(1, asn_read_ike_signalg(input.data(), input.size(), out));
    EXPECT_EQ(code_text(0U), code_text(out.to_pki_alg()));
}

// Refinement

unsigned int refined(std::string_view oid, std::string_view parameters) {
    const exact_bytes_t oid_block(oid);
    const exact_bytes_t parameters_block(parameters);
    asn_ike_signalg_t algorithm;
    algorithm.oid.data = oid_block.data();
    algorithm.oid.size = oid_block.size();
    algorithm.parameters.data = parameters_block.data();
    algorithm.parameters.size = parameters_block.size();
    return algorithm.to_pki_alg();
}

struct pss_case_t {
    const char* name;
    const char* parameters;
    unsigned int code;
};
class pss_refinement : public testing::TestWithParam<pss_case_t> {};

TEST_P(pss_refinement, gives_the_code) {
    EXPECT_EQ(code_text(GetParam().code), code_text(refined(RSASSA_PSS, from_hex(GetParam().parameters))));
}

const pss_case_t HASHES[] = {
    {"md2", "30 10 A0 0E 30 0C 06 08 2A 86 48 86 F7 0D 02 02 05 00", 0x00070002},
    {"md5", "30 10 A0 0E 30 0C 06 08 2A 86 48 86 F7 0D 02 05 05 00", 0x00080002},
    {"sha", "30 0D A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", 0x00010002},
    {"sha1", "30 0D A0 0B 30 09 06 05 2B 0E 03 02 1A 05 00", 0x00020002},
    {"sha224", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 04 05 00", 0x00030002},
    {"sha256", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 01 05 00", 0x00040002},
    {"sha384", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 02 05 00", 0x00050002},
    {"sha512", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00", 0x00060002},
    {"gost_3411_94", "30 0C A0 0A 30 08 06 06 2A 85 03 02 02 09", 0x00090002},
    {"vendor_falls_away", "30 0F A0 0D 30 0B 06 09 2B 06 01 04 01 9C 56 01 05", 0x00090002},
    {"gost_3411_2012_256", "30 0E A0 0C 30 0A 06 08 2A 85 03 07 01 01 02 02", 0x000A0002},
    {"gost_3411_2012_512", "30 0E A0 0C 30 0A 06 08 2A 85 03 07 01 01 02 03", 0x000B0002},
    {"hash_without_parameters", "30 0F A0 0D 30 0B 06 09 60 86 48 01 65 03 04 02 01", 0x00040002},
    {"hash_with_any_parameters", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 01 04 00", 0x00040002},
    {"unknown_hash", "30 09 A0 07 30 05 06 03 55 04 03", 0},
    {"empty_oid", "30 06 A0 04 30 02 06 00", 0},
    // A signature's OID is no hash, nor is a key's.
    {"oid_of_a_signature", "30 0F A0 0D 30 0B 06 09 2A 86 48 86 F7 0D 01 01 0B", 0},
    {"oid_of_a_key", "30 0F A0 0D 30 0B 06 09 2A 86 48 86 F7 0D 01 01 01", 0},
};
INSTANTIATE_TEST_SUITE_P(hash_names, pss_refinement, testing::ValuesIn(HASHES), case_name_t());

const pss_case_t DEFAULTS[] = {
    {"no_parameters", "", 0x00020002},
    {"empty_parameters", "30 00", 0x00020002},
    {"mask_alone", "30 0A A1 08 30 06 06 04 2A 03 04 05", 0x00020002},
    {"salt_length_alone", "30 05 A2 03 02 01 20", 0x00020002},
    {"trailer_alone", "30 05 A3 03 02 01 01", 0x00020002},
    {"mask_and_salt_length", "30 0F A1 08 30 06 06 04 2A 03 04 05 A2 03 02 01 20", 0x00020002},
    {"null_instead_of_fields", "30 02 05 00", 0x00020002},
    // Fields are looked for in their order only.
    {"hash_behind_the_mask", "30 17 A1 08 30 06 06 04 2A 03 04 05 A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", 0x00020002},
    {"hash_behind_the_salt_length", "30 12 A2 03 02 01 20 A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", 0x00020002},
};
INSTANTIATE_TEST_SUITE_P(sha1_without_a_hash, pss_refinement, testing::ValuesIn(DEFAULTS), case_name_t());

const pss_case_t WHOLE_PARAMETERS[] = {
    {"mask_with_parameters",
     "30 2F A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 01 05 00 A1 1C 30 1A 06 09 2A 86 48 86 F7 0D 01 01 08 30 0D "
     "06 09 60 86 48 01 65 03 04 02 01 05 00",
     0x00040002},
    {"all_four_fields",
     "30 39 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00 A1 1C 30 1A 06 09 2A 86 48 86 F7 0D 01 01 08 30 0D "
     "06 09 60 86 48 01 65 03 04 02 03 05 00 A2 03 02 01 40 A3 03 02 01 01",
     0x00060002},
    {"mask_of_another_hash",
     "30 2B A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 A1 1C 30 1A 06 09 2A 86 48 86 F7 0D 01 01 08 30 0D "
     "06 09 60 86 48 01 65 03 04 02 01 05 00",
     0x00010002},
    {"what_follows_is_not_looked_at", "30 14 A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 A2 03 02 01 20 FF FF", 0x00010002},
    {"lengths_with_octets_to_spare", "30 81 0F A0 81 0C 30 81 09 06 05 2B 0E 03 02 12 05 00", 0x00010002},
    {"bytes_behind_the_parameters", "30 0D A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 AA", 0x00010002},
};
INSTANTIATE_TEST_SUITE_P(whole, pss_refinement, testing::ValuesIn(WHOLE_PARAMETERS), case_name_t());

const pss_case_t MALFORMED[] = {
    {"no_sequence", "31 00", 0},
    {"null", "05 00", 0},
    {"sequence_past_the_end", "30 02 05", 0},
    {"hash_empty", "30 02 A0 00", 0},
    {"hash_cut_off", "30 01 A0", 0},
    {"hash_past_the_parameters", "30 0B A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", 0},
    {"hash_without_sequence", "30 09 A0 07 06 05 2B 0E 03 02 12", 0},
    {"hash_without_oid", "30 06 A0 04 30 02 05 00", 0},
    {"hash_of_an_empty_sequence", "30 04 A0 02 30 00", 0},
    {"hash_sequence_past_its_field", "30 0D A0 09 30 09 06 05 2B 0E 03 02 12 05 00", 0},
    {"hash_oid_past_its_sequence", "30 0B A0 09 30 07 06 06 2B 0E 03 02 12", 0},
    {"hash_parameters_cut_short", "30 0C A0 0A 30 08 06 05 2B 0E 03 02 12 05", 0},
    {"hash_parameters_past_their_sequence", "30 0D A0 0B 30 09 06 05 2B 0E 03 02 12 05 01", 0},
    {"mask_empty", "30 02 A1 00", 0},
    {"mask_cut_off", "30 01 A1", 0},
    {"mask_without_sequence", "30 04 A1 02 05 00", 0},
    {"mask_without_oid", "30 04 A1 02 30 00", 0},
    {"mask_parameters_cut_short", "30 0A A1 08 30 06 06 03 55 04 03 30", 0},
    {"mask_malformed_behind_a_good_hash", "30 0F A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 A1 00", 0},
    {"salt_length_empty", "30 02 A2 00", 0},
    {"salt_length_cut_off", "30 01 A2", 0},
    {"salt_length_of_another_tag", "30 05 A2 03 04 01 20", 0},
    {"salt_length_past_its_field", "30 05 A2 03 02 02 20", 0},
    {"salt_length_malformed_behind_a_good_hash", "30 0F A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 A2 00", 0},
};
INSTANTIATE_TEST_SUITE_P(malformed_is_unknown, pss_refinement, testing::ValuesIn(MALFORMED), case_name_t());

// Adding the header's size to these lengths wraps; nothing may follow them.
const pss_case_t WRAPPING_LENGTHS[] = {
    {"of_the_parameters", "30 84 FF FF FF FA A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", 0},
    {"of_the_parameters_by_some", "30 84 FF FF FF FF A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", 0},
    {"of_the_hash", "30 11 A0 84 FF FF FF FC 30 09 06 05 2B 0E 03 02 12 05 00", 0},
    {"of_the_hash_sequence", "30 11 A0 0F 30 84 FF FF FF FC 06 05 2B 0E 03 02 12 05 00", 0},
    {"of_the_hash_oid", "30 11 A0 0F 30 0D 06 84 FF FF FF FC 2B 0E 03 02 12 05 00", 0},
    {"of_the_hash_parameters", "30 11 A0 0F 30 0D 06 05 2B 0E 03 02 12 05 84 FF FF FF FA", 0},
    {"of_the_mask", "30 0E A1 84 FF FF FF FA 30 06 06 04 2A 03 04 05", 0},
    {"of_the_mask_sequence", "30 0E A1 0C 30 84 FF FF FF FA 06 04 2A 03 04 05", 0},
    {"of_the_salt_length", "30 09 A2 84 FF FF FF FA 02 01 20", 0},
    {"of_the_salt_length_integer", "30 09 A2 07 02 84 FF FF FF FA 20", 0},
};
INSTANTIATE_TEST_SUITE_P(wrapping_length_is_unknown, pss_refinement, testing::ValuesIn(WRAPPING_LENGTHS),
                         case_name_t());

TEST(pss_refinement_of_a_prefix, is_unknown) {
    for_each_prefix(from_hex("30 0D A0 0B 30 09 06 05 2B 0E 03 02 12 05 00"), [](const exact_bytes_t& parameters) {
        const std::string_view bytes = as_chars(parameters.data(), parameters.size());
        EXPECT_EQ(code_text(bytes.empty() ? 0x00020002U : 0U), code_text(refined(RSASSA_PSS, bytes)));
    });
}

// Only RSASSA-PSS has parameters that matter.
TEST(refinement, of_other_algorithms_does_not_look_at_parameters) {
    for (const char* const parameters :
         {"", "05 00", "FF", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00"}) {
        EXPECT_EQ(code_text(0x00040001U),
                  code_text(refined(from_hex("2A 86 48 86 F7 0D 01 01 0B"), from_hex(parameters))))
            << parameters;
        EXPECT_EQ(code_text(0U), code_text(refined(from_hex("55 04 03"), from_hex(parameters)))) << parameters;
    }
}

// A hash or a key is no signature.
TEST(refinement, of_what_is_no_signature_is_unknown) {
    EXPECT_EQ(code_text(0U), code_text(refined(from_hex("60 86 48 01 65 03 04 02 01"), "")));
    EXPECT_EQ(code_text(0U), code_text(refined(from_hex("2A 86 48 86 F7 0D 01 01 01"), "")));
}

TEST(refinement, of_an_empty_record_is_unknown) {
    EXPECT_EQ(code_text(0U), code_text(asn_ike_signalg_t().to_pki_alg()));
}

TEST(refinement, of_rsassa_pss_with_a_null_view_is_sha1) {
    const exact_bytes_t oid(RSASSA_PSS);
    asn_ike_signalg_t algorithm;
    algorithm.oid.data = oid.data();
    algorithm.oid.size = oid.size();
    EXPECT_EQ(code_text(0x00020002U), code_text(algorithm.to_pki_alg()));
}

} // namespace
