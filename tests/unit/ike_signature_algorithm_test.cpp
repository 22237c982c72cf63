// AlgorithmIdentifiers of IKE signature payloads (RFC 7427): writing, reading, and the hash of RSASSA-PSS parameters.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "derkit/asn_helper.h"
#include "support/algorithms.h"
#include "support/der_reader.h"
#include "testing/algorithm_code.h"

namespace {

const std::string RSASSA_PSS = der_oid("1.2.840.113549.1.1.10").octets;

// "yes OID, parameters"
std::string read_ike(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    asn_ike_signalg_t out = {untouched_view(), untouched_view()};
    const int done = asn_read_ike_signalg(input.data(), input.size(), out);
    EXPECT_TRUE(done == 0 || done == 1);
    EXPECT_TRUE(done == 0 || out.oid.data + out.oid.size == out.parameters.data);
    return read_text(done == 1, {field_text(out.oid, input), field_text(out.parameters, input)});
}

std::string code_of(const asn_ike_signalg_t& algorithm) {
    return code_text(algorithm.to_pki_alg());
}

// The code of a whole AlgorithmIdentifier.
std::string read_code(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    asn_ike_signalg_t out;
    return asn_read_ike_signalg(input.data(), input.size(), out) == 1 ? code_of(out) : "refused";
}

// The code of an OID with parameters.
std::string refined(std::string_view oid, std::string_view parameters) {
    const exact_bytes_t oid_block(oid);
    const exact_bytes_t parameters_block(parameters);
    asn_ike_signalg_t algorithm;
    algorithm.oid = view_of(std::string_view(oid_block.chars(), oid_block.size()));
    algorithm.parameters = view_of(std::string_view(parameters_block.chars(), parameters_block.size()));
    return code_of(algorithm);
}

std::string pss_code(std::string_view parameters) {
    return refined(RSASSA_PSS, parameters);
}

// Writing, and reading back

TEST(ike_signature_algorithm, is_written_with_the_parameters_of_its_code_and_reads_back) {
    for (const algorithms::row_t& row : algorithms::ROWS) {
        SCOPED_TRACE(row.name);
        const oid_ref_t written = asn_form_ike_signalg(row.enumerator);
        if (row.kind != algorithms::SIGNATURE) {
            EXPECT_TRUE(written.data == nullptr && written.size == 0);
            continue;
        }
        const std::string expected = encode(der_sequence({der_oid(row.oid), der_raw(row.parameters)}));
        EXPECT_TRUE(same_bytes(expected, as_chars(written.data, written.size)));
        const bool is_pss = algorithms::first_code_of(row.oid) == PKI_ALG_RSASSA_PSS;
        const bool has_no_hash = row.enumerator == PKI_ALG_RSASSA_PSS; // so SHA-1 is its hash
        const unsigned int hash_of_pss = has_no_hash ? 0x00020002 : row.code;
        EXPECT_EQ(code_text(is_pss ? hash_of_pss : algorithms::first_code_of(row.oid)), read_code(expected));
    }
}

TEST(ike_signature_algorithm, is_written_byte_for_byte) {
    const oid_ref_t rsa = asn_form_ike_signalg(static_cast<pki_alg_t>(0x00040001));
    EXPECT_TRUE(same_bytes(from_hex("30 0D 06 09 2A 86 48 86 F7 0D 01 01 0B 05 00"), as_chars(rsa.data, rsa.size)));
    const oid_ref_t pss = asn_form_ike_signalg(static_cast<pki_alg_t>(0x00040002));
    EXPECT_TRUE(same_bytes(from_hex("30 1E 06 09 2A 86 48 86 F7 0D 01 01 0A 30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 "
                                    "04 02 01 05 00"),
                           as_chars(pss.data, pss.size)));
}

// A code has an encoding exactly when it has a signature OID.
TEST(ike_signature_algorithm, is_not_written_for_other_codes) {
    for (const algorithms::row_t& row : algorithms::ROWS) {
        for (unsigned int bit = 0; bit < 32; ++bit) {
            const auto code = static_cast<pki_alg_t>(row.code ^ 1U << bit);
            const oid_ref_t der = asn_form_ike_signalg(code);
            EXPECT_EQ(PKI_CERT_SIGN_ALG_TO_OID(code).data == nullptr, der.data == nullptr) << code_text(code);
            EXPECT_EQ(der.data == nullptr, der.size == 0) << code_text(code);
        }
    }
    for (const unsigned int code : {0U, 0xFFFFFFFFU}) {
        EXPECT_EQ(nullptr, asn_form_ike_signalg(static_cast<pki_alg_t>(code)).data) << code_text(code);
    }
}

// Reading

TEST(ike_signature_algorithm, follows_the_rules_of_readers) {
    const der_t whole = der_sequence({der_oid("2.5.4.3"), der_raw("FF")});
    expect_rules_of_readers(read_ike, whole, {.open_end = {whole}});
}

TEST(ike_signature_algorithm, is_read_as_the_cases_say) {
    expect_reads(read_ike, "ike-algorithm.txt");
}

TEST(ike_signature_algorithm, has_the_code_of_its_case) {
    expect_reads(read_code, "ike-algorithm-code.txt");
}

// Refinement of RSASSA-PSS

TEST(rsassa_pss, has_the_code_of_its_case) {
    expect_reads(pss_code, "pss-parameters.txt");
}

// "yes code" of a known one. What is malformed makes the code unknown, whatever hash was found before.
TEST(rsassa_pss, follows_the_rules_of_readers) {
    const auto read_pss = [](std::string_view parameters) {
        const std::string code = pss_code(parameters);
        return read_text(code != code_text(0) && !parameters.empty(), {code});
    };
    const der_t hash_parameters = der_null();
    const der_t mask_parameters = der_element(0x30, "mask");
    const der_t hash = der_context_0({der_sequence({der_oid("2.16.840.1.101.3.4.2.3"), hash_parameters})});
    const der_t mask = der_element(0xA1, {der_sequence({der_oid("1.2.840.113549.1.1.8"), mask_parameters})});
    const der_t salt_length = der_element(0xA2, {der_integer("40")});
    const der_t trailer = der_element(0xA3, "not looked at");
    const std::vector<der_t> optional = {hash, mask, salt_length, hash_parameters, mask_parameters};
    expect_rules_of_readers(read_pss, der_sequence({hash, mask, salt_length}),
                            {.optional = optional, .any_type = optional});
    EXPECT_EQ("0x00060002", pss_code(encode(der_sequence({hash, mask, salt_length, trailer}))));
}

TEST(rsassa_pss, is_unknown_with_malformed_parameters) {
    for (const char* const parameters : {
             "05 00",                                              // no SEQUENCE
             "30 01 A0",                                           // half a header of [0]
             "30 09 A0 07 06 05 2B 0E 03 02 12",                   // no SEQUENCE in it
             "30 04 A0 02 30 00",                                  // no OID
             "30 0C A0 0A 30 08 06 05 2B 0E 03 02 12 05",          // half a header of its parameters
             "30 0F A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 A1 00", // nothing in [1] after a good hash
             "30 0A A1 08 30 06 06 03 55 04 03 30",                // half a header of its parameters
             "30 0F A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 A2 00", // nothing in [2] after a good hash
             "30 05 A2 03 04 01 20",                               // no INTEGER in it
             "30 05 A2 03 02 02 20",                               // INTEGER past its field
         }) {
        EXPECT_EQ("0x00000000", pss_code(from_hex(parameters))) << parameters;
    }
}

TEST(rsassa_pss, with_a_null_view_has_sha1) {
    const exact_bytes_t oid(RSASSA_PSS);
    asn_ike_signalg_t algorithm;
    algorithm.oid.data = oid.data();
    algorithm.oid.size = oid.size();
    EXPECT_EQ("0x00020002", code_of(algorithm));
}

// Only RSASSA-PSS has parameters that matter. A hash or a key is no signature.
TEST(ike_signature_algorithm, does_not_look_at_other_parameters) {
    for (const char* const parameters :
         {"", "05 00", "FF", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00"}) {
        SCOPED_TRACE(parameters);
        EXPECT_EQ("0x00040001", refined(from_hex("2A 86 48 86 F7 0D 01 01 0B"), from_hex(parameters)));
        EXPECT_EQ("0x00000000", refined(from_hex("55 04 03"), from_hex(parameters)));
        EXPECT_EQ("0x00000000", refined(from_hex("60 86 48 01 65 03 04 02 01"), from_hex(parameters)));
        EXPECT_EQ("0x00000000", refined(from_hex("2A 86 48 86 F7 0D 01 01 01"), from_hex(parameters)));
    }
    EXPECT_EQ("0x00000000", code_of(asn_ike_signalg_t()));
}

} // namespace
