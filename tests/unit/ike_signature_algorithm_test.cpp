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

// "yes OID | parameters"
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

TEST(ike_signature_algorithm, is_split_into_oid_and_all_that_follows) {
    expect_reads(read_ike, {
                               {"parameters", "30 07 06 03 55 04 03 05 00", "yes 55 04 03 | 05 00"},
                               {"no parameters", "30 05 06 03 55 04 03", "yes 55 04 03 | empty"},
                               {"bytes after it", "30 07 06 03 55 04 03 05 00 AA BB", "yes 55 04 03 | 05 00 AA BB"},
                               {"only bytes after it", "30 05 06 03 55 04 03 AA", "yes 55 04 03 | AA"},
                               {"parameters that are no element", "30 06 06 03 55 04 03 FF", "yes 55 04 03 | FF"},
                               {"empty OID", "30 04 06 00 05 00", "yes empty | 05 00"},
                           });
}

TEST(ike_signature_algorithm, is_refused_and_touches_nothing) {
    expect_reads(read_ike, {
                               {"nothing", "", "no - | -"},
                               {"empty sequence", "30 00", "no - | -"},
                               {"OID not inside", "30 00 06 03 55 04 03", "no - | -"},
                               {"OID past its sequence", "30 03 06 03 55 04 03", "no - | -"},
                               {"no OID", "30 05 04 03 55 04 03", "no - | -"},
                               {"OID in second place", "30 07 05 00 06 03 55 04 03", "no - | -"},
                               {"length that wraps", "30 09 06 84 FF FF FF FB 55 04 03", "no - | -"},
                           });
}

TEST(ike_signature_algorithm, has_these_codes) {
    expect_reads(read_code, {
                                {"the other OID of sha1RSA", "30 09 06 05 2B 0E 03 02 1D 05 00", "0x00020001"},
                                {"bytes after RSASSA-PSS", "30 0B 06 09 2A 86 48 86 F7 0D 01 01 0A AA", "0x00000000"},
                            });
}

// Refinement of RSASSA-PSS

TEST(rsassa_pss, has_the_hash_of_its_parameters) {
    const char* const unknown = "0x00000000";
    expect_reads(
        pss_code,
        {
            {"MD2", "30 10 A0 0E 30 0C 06 08 2A 86 48 86 F7 0D 02 02 05 00", "0x00070002"},
            {"MD5", "30 10 A0 0E 30 0C 06 08 2A 86 48 86 F7 0D 02 05 05 00", "0x00080002"},
            {"SHA", "30 0D A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", "0x00010002"},
            {"SHA-1", "30 0D A0 0B 30 09 06 05 2B 0E 03 02 1A 05 00", "0x00020002"},
            {"SHA-224", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 04 05 00", "0x00030002"},
            {"SHA-256", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 01 05 00", "0x00040002"},
            {"SHA-384", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 02 05 00", "0x00050002"},
            {"SHA-512", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00", "0x00060002"},
            {"GOST R 34.11-94", "30 0C A0 0A 30 08 06 06 2A 85 03 02 02 09", "0x00090002"},
            {"the same without its vendor", "30 0F A0 0D 30 0B 06 09 2B 06 01 04 01 9C 56 01 05", "0x00090002"},
            {"GOST R 34.11-2012, 256 bits", "30 0E A0 0C 30 0A 06 08 2A 85 03 07 01 01 02 02", "0x000A0002"},
            {"GOST R 34.11-2012, 512 bits", "30 0E A0 0C 30 0A 06 08 2A 85 03 07 01 01 02 03", "0x000B0002"},
            {"no parameters of the hash", "30 0F A0 0D 30 0B 06 09 60 86 48 01 65 03 04 02 01", "0x00040002"},
            {"any of its parameters", "30 11 A0 0F 30 0D 06 09 60 86 48 01 65 03 04 02 01 04 00", "0x00040002"},
            {"another hash for the mask",
             "30 2B A0 0B 30 09 06 05 2B 0E 03 02 12 05 00 A1 1C 30 1A 06 09 2A 86 48 86 F7 0D 01 01 08 30 0D "
             "06 09 60 86 48 01 65 03 04 02 01 05 00",
             "0x00010002"},
            {"unknown hash", "30 09 A0 07 30 05 06 03 55 04 03", unknown},
            {"empty OID", "30 06 A0 04 30 02 06 00", unknown},
            {"OID of a signature", "30 0F A0 0D 30 0B 06 09 2A 86 48 86 F7 0D 01 01 0B", unknown},
            {"OID of a key", "30 0F A0 0D 30 0B 06 09 2A 86 48 86 F7 0D 01 01 01", unknown},
        });
}

TEST(rsassa_pss, has_sha1_by_default) {
    expect_reads(
        pss_code,
        {
            {"no parameters", "", "0x00020002"},
            {"empty parameters", "30 00", "0x00020002"},
            {"mask alone", "30 0A A1 08 30 06 06 04 2A 03 04 05", "0x00020002"},
            {"salt length alone", "30 05 A2 03 02 01 20", "0x00020002"},
            {"trailer alone", "30 05 A3 03 02 01 01", "0x00020002"},
            {"mask and salt length", "30 0F A1 08 30 06 06 04 2A 03 04 05 A2 03 02 01 20", "0x00020002"},
            {"null in place of fields", "30 02 05 00", "0x00020002"},
            // Fields are looked for in their order only.
            {"hash after the mask", "30 17 A1 08 30 06 06 04 2A 03 04 05 A0 0B 30 09 06 05 2B 0E 03 02 12 05 00",
             "0x00020002"},
            {"hash after the salt length", "30 12 A2 03 02 01 20 A0 0B 30 09 06 05 2B 0E 03 02 12 05 00", "0x00020002"},
        });
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
