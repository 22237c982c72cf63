// DigestInfo: a digest with its hash's OID, as PKCS #1 v1.5 signs it.
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"
#include "testing/algorithm_code.h"

namespace {

std::string digest_info(std::string digest, unsigned int hash) {
    asn_add_alg_to_digest(digest, static_cast<pki_alg_t>(hash));
    return digest;
}

// "yes OID"
std::string read_digest_info(std::string_view bytes) {
    const std::string input(bytes);
    asn_algorid_t out = {untouched_view()};
    const bool accepted = asn_read_alg_from_digest(&out, input);
    EXPECT_TRUE(out.oid.size == 0 || lies_in(out.oid, input));
    return read_text(accepted, {out.oid.data == nullptr ? "null"
                                : out.oid.size == 0     ? "empty"
                                                        : to_hex(chars_of(out.oid))});
}

// Writing

struct digest_info_case_t {
    const char* name;
    unsigned int hash;
    std::size_t digest_size;
    const char* header; // all that precedes the digest
};

const digest_info_case_t WRITTEN[] = {
    // RFC 8017 9.2 prints these.
    {"MD2", 0x00070000, 16, "30 20 30 0C 06 08 2A 86 48 86 F7 0D 02 02 05 00 04 10"},
    {"MD5", 0x00080000, 16, "30 20 30 0C 06 08 2A 86 48 86 F7 0D 02 05 05 00 04 10"},
    {"SHA-1", 0x00020000, 20, "30 21 30 09 06 05 2B 0E 03 02 1A 05 00 04 14"},
    {"SHA-224", 0x00030000, 28, "30 2D 30 0D 06 09 60 86 48 01 65 03 04 02 04 05 00 04 1C"},
    {"SHA-256", 0x00040000, 32, "30 31 30 0D 06 09 60 86 48 01 65 03 04 02 01 05 00 04 20"},
    {"SHA-384", 0x00050000, 48, "30 41 30 0D 06 09 60 86 48 01 65 03 04 02 02 05 00 04 30"},
    {"SHA-512", 0x00060000, 64, "30 51 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00 04 40"},
    // The parameters are NULL for every hash, those of GOST included.
    {"SHA", 0x00010000, 20, "30 21 30 09 06 05 2B 0E 03 02 12 05 00 04 14"},
    {"GOST R 34.11-94", 0x00090000, 32, "30 2E 30 0A 06 06 2A 85 03 02 02 09 05 00 04 20"},
    {"the same of CryptoPro", 0x02090000, 32, "30 2E 30 0A 06 06 2A 85 03 02 02 09 05 00 04 20"},
    {"the same of QEV", 0x01090000, 32, "30 31 30 0D 06 09 2B 06 01 04 01 9C 56 01 05 05 00 04 20"},
    {"GOST R 34.11-2012, 256 bits", 0x000A0000, 32, "30 30 30 0C 06 08 2A 85 03 07 01 01 02 02 05 00 04 20"},
    {"GOST R 34.11-2012, 512 bits", 0x000B0000, 64, "30 50 30 0C 06 08 2A 85 03 07 01 01 02 03 05 00 04 40"},
    // An unknown hash has an empty OID. The code is looked up as it is: a signature is not taken for its hash.
    {"no algorithm", 0x00000000, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"all bits", 0xFFFFFFFF, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"hash without OID", 0x04090000, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"signature", 0x00040001, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"key", 0x00000001, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"no algorithm, empty digest", 0x00000000, 0, "30 08 30 04 06 00 05 00 04 00"},
    // A digest of any size is wrapped; lengths grow with it (X.690 8.1.3).
    {"empty", 0x00020000, 0, "30 0D 30 09 06 05 2B 0E 03 02 1A 05 00 04 00"},
    {"last with short lengths", 0x00020000, 114, "30 7F 30 09 06 05 2B 0E 03 02 1A 05 00 04 72"},
    {"first with a long outer length", 0x00020000, 115, "30 81 80 30 09 06 05 2B 0E 03 02 1A 05 00 04 73"},
    {"last with a short inner length", 0x00020000, 127, "30 81 8C 30 09 06 05 2B 0E 03 02 1A 05 00 04 7F"},
    {"first with a long inner length", 0x00020000, 128, "30 81 8E 30 09 06 05 2B 0E 03 02 1A 05 00 04 81 80"},
    {"two length octets", 0x00020000, 256, "30 82 01 0F 30 09 06 05 2B 0E 03 02 1A 05 00 04 82 01 00"},
    {"three length octets", 0x00020000, 70000, "30 83 01 11 80 30 09 06 05 2B 0E 03 02 1A 05 00 04 83 01 11 70"},
    {"kilobytes", 0x00020000, 5000, "30 82 13 97 30 09 06 05 2B 0E 03 02 1A 05 00 04 82 13 88"},
};

TEST(pkcs1_digest_info, is_written_with_a_header_for_its_hash) {
    for (const digest_info_case_t& c : WRITTEN) {
        const std::string digest = counting_bytes(c.digest_size, 0);
        EXPECT_TRUE(same_bytes(from_hex(c.header) + digest, digest_info(digest, c.hash))) << c.name;
    }
}

// Reading

TEST(pkcs1_digest_info, follows_the_rules_of_readers) {
    const der_t parameters = der_null();
    expect_rules_of_readers(read_digest_info,
                            der_sequence({der_sequence({der_oid("2.5.4.3"), parameters}), der_octet_string("digest")}),
                            {.any_type = {parameters}});
}

TEST(pkcs1_digest_info, is_read_as_the_cases_say) {
    expect_reads(read_digest_info, "digest-info.txt");
}

TEST(pkcs1_digest_info, has_its_hash_read_back) {
    for (const digest_info_case_t& c : WRITTEN) {
        const std::string written = digest_info(counting_bytes(c.digest_size, 0), c.hash);
        asn_algorid_t out;
        EXPECT_TRUE(asn_read_alg_from_digest(&out, written)) << c.name;
        const bool is_known = PKI_HASH_ALG_TO_OID(static_cast<pki_alg_t>(c.hash)).data != nullptr;
        const unsigned int standard = c.hash == 0x02090000 ? 0x00090000 : c.hash;
        EXPECT_EQ(code_text(is_known ? standard : 0), code_text(PKI_OID_TO_HASH_ALG(out.oid.data, out.oid.size)))
            << c.name;
    }
}

} // namespace
