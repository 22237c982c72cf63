// DigestInfo: a digest with its hash's OID, as PKCS #1 v1.5 signs it.
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/der_reader.h"
#include "support/vectors.h"
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

TEST(pkcs1_digest_info, is_written_with_a_header_for_its_hash) {
    for_each_vector("digest-infos.txt", [](const vector_t& vector) {
        const std::string digest = counting_bytes(vector.number("digest size"), 0);
        EXPECT_TRUE(same_bytes(vector.bytes("header") + digest, digest_info(digest, vector.number("hash", 16))));
    });
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
    for_each_vector("digest-infos.txt", [](const vector_t& vector) {
        const unsigned int hash = vector.number("hash", 16);
        const std::string written = digest_info(counting_bytes(vector.number("digest size"), 0), hash);
        asn_algorid_t out;
        EXPECT_TRUE(asn_read_alg_from_digest(&out, written));
        const bool is_known = PKI_HASH_ALG_TO_OID(static_cast<pki_alg_t>(hash)).data != nullptr;
        const unsigned int standard = hash == 0x02090000 ? 0x00090000 : hash;
        EXPECT_EQ(code_text(is_known ? standard : 0), code_text(PKI_OID_TO_HASH_ALG(out.oid.data, out.oid.size)));
    });
}

} // namespace
