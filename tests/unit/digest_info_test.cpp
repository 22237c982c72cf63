// DigestInfo: a digest with its hash's OID, as PKCS #1 v1.5 signs it.
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/expect.h"
#include "testing/algorithm_code.h"
#include "testing/bytes.h"

namespace {

std::string digest_of(std::size_t size) {
    std::string digest;
    for (std::size_t i = 0; i < size; ++i) {
        digest.push_back(static_cast<char>(i));
    }
    return digest;
}

std::string digest_info(std::string digest, unsigned int hash) {
    asn_add_alg_to_digest(digest, static_cast<pki_alg_t>(hash));
    return digest;
}

// Writing

struct digest_info_case_t {
    const char* name;
    unsigned int hash;
    std::size_t digest_size;
    const char* header; // all that stands in front of the digest
};
class digest_info_writer : public testing::TestWithParam<digest_info_case_t> {};

TEST_P(digest_info_writer, puts_the_header_in_front_of_the_digest) {
    const digest_info_case_t& c = GetParam();
    const std::string digest = digest_of(c.digest_size);
    EXPECT_TRUE(same_bytes(from_hex(c.header) + digest, digest_info(digest, c.hash)));
}

// RFC 8017 9.2 prints these.
const digest_info_case_t PRINTED_HEADERS[] = {
    {"md2", 0x00070000, 16, "30 20 30 0C 06 08 2A 86 48 86 F7 0D 02 02 05 00 04 10"},
    {"md5", 0x00080000, 16, "30 20 30 0C 06 08 2A 86 48 86 F7 0D 02 05 05 00 04 10"},
    {"sha1", 0x00020000, 20, "30 21 30 09 06 05 2B 0E 03 02 1A 05 00 04 14"},
    {"sha224", 0x00030000, 28, "30 2D 30 0D 06 09 60 86 48 01 65 03 04 02 04 05 00 04 1C"},
    {"sha256", 0x00040000, 32, "30 31 30 0D 06 09 60 86 48 01 65 03 04 02 01 05 00 04 20"},
    {"sha384", 0x00050000, 48, "30 41 30 0D 06 09 60 86 48 01 65 03 04 02 02 05 00 04 30"},
    {"sha512", 0x00060000, 64, "30 51 30 0D 06 09 60 86 48 01 65 03 04 02 03 05 00 04 40"},
};
INSTANTIATE_TEST_SUITE_P(rfc_8017, digest_info_writer, testing::ValuesIn(PRINTED_HEADERS), case_name_t());

// The parameters are NULL for every hash, for those of GOST too.
const digest_info_case_t OTHER_HEADERS[] = {
    {"sha", 0x00010000, 20, "30 21 30 09 06 05 2B 0E 03 02 12 05 00 04 14"},
    {"gost_3411_94", 0x00090000, 32, "30 2E 30 0A 06 06 2A 85 03 02 02 09 05 00 04 20"},
    {"gost_3411_94_cryptopro", 0x02090000, 32, "30 2E 30 0A 06 06 2A 85 03 02 02 09 05 00 04 20"},
    {"gost_3411_94_qev", 0x01090000, 32, "30 31 30 0D 06 09 2B 06 01 04 01 9C 56 01 05 05 00 04 20"},
    {"gost_3411_2012_256", 0x000A0000, 32, "30 30 30 0C 06 08 2A 85 03 07 01 01 02 02 05 00 04 20"},
    {"gost_3411_2012_512", 0x000B0000, 64, "30 50 30 0C 06 08 2A 85 03 07 01 01 02 03 05 00 04 40"},
};
INSTANTIATE_TEST_SUITE_P(null_parameters, digest_info_writer, testing::ValuesIn(OTHER_HEADERS), case_name_t());

// The code is looked up as it is: a signature does not stand for its hash.
const digest_info_case_t UNKNOWN_HASHES[] = {
    {"no_algorithm", 0x00000000, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"all_bits", 0xFFFFFFFF, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"hash_without_oid", 0x04090000, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"signature", 0x00040001, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"key", 0x00000001, 3, "30 0B 30 04 06 00 05 00 04 03"},
    {"empty_digest", 0x00000000, 0, "30 08 30 04 06 00 05 00 04 00"},
};
INSTANTIATE_TEST_SUITE_P(unknown_hash_has_empty_oid, digest_info_writer, testing::ValuesIn(UNKNOWN_HASHES),
                         case_name_t());

// The digest is wrapped whatever its size; lengths grow with it (X.690 8.1.3).
const digest_info_case_t SIZES[] = {
    {"empty", 0x00020000, 0, "30 0D 30 09 06 05 2B 0E 03 02 1A 05 00 04 00"},
    {"last_with_short_lengths", 0x00020000, 114, "30 7F 30 09 06 05 2B 0E 03 02 1A 05 00 04 72"},
    {"first_with_long_outer_length", 0x00020000, 115, "30 81 80 30 09 06 05 2B 0E 03 02 1A 05 00 04 73"},
    {"last_with_short_inner_length", 0x00020000, 127, "30 81 8C 30 09 06 05 2B 0E 03 02 1A 05 00 04 7F"},
    {"first_with_long_inner_length", 0x00020000, 128, "30 81 8E 30 09 06 05 2B 0E 03 02 1A 05 00 04 81 80"},
    {"two_length_octets", 0x00020000, 256, "30 82 01 0F 30 09 06 05 2B 0E 03 02 1A 05 00 04 82 01 00"},
    {"kilobytes", 0x00020000, 5000, "30 82 13 97 30 09 06 05 2B 0E 03 02 1A 05 00 04 82 13 88"},
};
INSTANTIATE_TEST_SUITE_P(any_size, digest_info_writer, testing::ValuesIn(SIZES), case_name_t());

// Reading

const char* const SHA1_HEADER = "30 21 30 09 06 05 2B 0E 03 02 1A 05 00 04 14";

struct digest_read_t {
    bool accepted;
    bool points_into_input;
    std::string oid;
};

// Reads into a record that already holds something.
digest_read_t read_digest_info(const std::string& input) {
    static const unsigned char junk[] = {1, 2, 3};
    asn_algorid_t out;
    out.oid.data = junk;
    out.oid.size = 3;
    digest_read_t read;
    read.accepted = asn_read_alg_from_digest(&out, input);
    const char* const oid = reinterpret_cast<const char*>(out.oid.data);
    read.points_into_input = oid >= input.data() && oid + out.oid.size <= input.data() + input.size();
    read.oid = oid == nullptr ? "none" : std::string(oid, out.oid.size);
    EXPECT_TRUE(oid != nullptr || out.oid.size == 0);
    return read;
}

struct digest_read_case_t {
    const char* name;
    const char* input;
    bool accepted;
    const char* oid; // in hex; null: the record is empty afterwards
};
class digest_info_reader : public testing::TestWithParam<digest_read_case_t> {};

TEST_P(digest_info_reader, gives_the_oid) {
    const digest_read_case_t& c = GetParam();
    const digest_read_t read = read_digest_info(from_hex(c.input));
    EXPECT_EQ(c.accepted, read.accepted);
    EXPECT_TRUE(same_bytes(c.oid == nullptr ? "none" : from_hex(c.oid), read.oid));
    EXPECT_EQ(c.oid != nullptr, read.points_into_input);
}

const digest_read_case_t ACCEPTED[] = {
    {"sha1", "30 10 30 09 06 05 2B 0E 03 02 1A 05 00 04 03 61 62 63", true, "2B 0E 03 02 1A"},
    {"any_oid", "30 0D 30 07 06 03 55 04 03 05 00 04 02 61 62", true, "55 04 03"},
    {"empty_oid", "30 08 30 04 06 00 05 00 04 00", true, ""},
    {"any_parameters", "30 0E 30 0A 06 03 55 04 03 30 03 02 01 05 04 00", true, "55 04 03"},
    {"parameters_of_tag_zero", "30 0B 30 07 06 03 55 04 03 00 00 04 00", true, "55 04 03"},
    {"more_behind_the_parameters", "30 0D 30 09 06 03 55 04 03 05 00 05 00 04 00", true, "55 04 03"},
    {"more_behind_the_digest", "30 0D 30 07 06 03 55 04 03 05 00 04 00 05 00", true, "55 04 03"},
    {"more_behind_it_all", "30 0B 30 07 06 03 55 04 03 05 00 04 00 FF", true, "55 04 03"},
    {"lengths_with_octets_to_spare", "30 82 00 10 30 81 0A 06 81 03 55 04 03 05 82 00 00 04 81 00", true, "55 04 03"},
};
INSTANTIATE_TEST_SUITE_P(accepts, digest_info_reader, testing::ValuesIn(ACCEPTED), case_name_t());

const digest_read_case_t REFUSED_WITHOUT_OID[] = {
    {"nothing", "", false, nullptr},
    {"no_sequence", "31 0B 30 07 06 03 55 04 03 05 00 04 00", false, nullptr},
    {"empty_sequence", "30 00", false, nullptr},
    {"algorithm_not_inside", "30 00 30 07 06 03 55 04 03 05 00 04 00", false, nullptr},
    {"algorithm_past_the_end", "30 09 30 08 06 03 55 04 03 05 00", false, nullptr},
    {"algorithm_of_another_tag", "30 0B 31 07 06 03 55 04 03 05 00 04 00", false, nullptr},
    {"digest_in_front", "30 0B 04 00 30 07 06 03 55 04 03 05 00", false, nullptr},
    {"no_oid", "30 06 30 02 05 00 04 00", false, nullptr},
    {"empty_algorithm", "30 04 30 00 04 00", false, nullptr},
    {"oid_past_its_algorithm", "30 0B 30 07 06 06 55 04 03 05 00 04 00", false, nullptr},
    {"indefinite_length", "30 80 30 07 06 03 55 04 03 05 00 04 00 00 00", false, nullptr},
};
INSTANTIATE_TEST_SUITE_P(refuses_and_empties_the_record, digest_info_reader, testing::ValuesIn(REFUSED_WITHOUT_OID),
                         case_name_t());

const digest_read_case_t REFUSED_WITH_OID[] = {
    {"no_parameters", "30 09 30 05 06 03 55 04 03 04 00", false, "55 04 03"},
    {"parameters_cut_short", "30 0A 30 06 06 03 55 04 03 05 04 00", false, "55 04 03"},
    {"parameters_past_the_algorithm", "30 0B 30 07 06 03 55 04 03 05 02 04 00", false, "55 04 03"},
    {"no_digest", "30 09 30 07 06 03 55 04 03 05 00", false, "55 04 03"},
    {"digest_not_inside", "30 09 30 07 06 03 55 04 03 05 00 04 00", false, "55 04 03"},
    {"digest_of_another_tag", "30 0B 30 07 06 03 55 04 03 05 00 03 00", false, "55 04 03"},
    {"digest_past_the_end", "30 0C 30 07 06 03 55 04 03 05 00 04 02 61", false, "55 04 03"},
};
INSTANTIATE_TEST_SUITE_P(refuses_and_keeps_the_oid, digest_info_reader, testing::ValuesIn(REFUSED_WITH_OID),
                         case_name_t());

// A length so near to 2^32 that adding the header's wraps must not be followed.
const digest_read_case_t WRAPPING_LENGTHS[] = {
    {"of_the_whole", "30 84 FF FF FF FA 30 07 06 03 55 04 03 05 00 04 00", false, nullptr},
    {"of_the_whole_by_one", "30 84 FF FF FF FF 30 07 06 03 55 04 03 05 00 04 00", false, nullptr},
    {"of_the_algorithm", "30 0F 30 84 FF FF FF FB 06 03 55 04 03 05 00 04 00", false, nullptr},
    {"of_the_oid", "30 0F 30 0B 06 84 FF FF FF FB 55 04 03 05 00 04 00", false, nullptr},
    {"of_the_parameters", "30 0F 30 0B 06 03 55 04 03 05 84 FF FF FF FA 04 00", false, "55 04 03"},
    {"of_the_digest", "30 0F 30 07 06 03 55 04 03 05 00 04 84 FF FF FF FA", false, "55 04 03"},
};
INSTANTIATE_TEST_SUITE_P(refuses_wrapping_lengths, digest_info_reader, testing::ValuesIn(WRAPPING_LENGTHS),
                         case_name_t());

TEST(digest_info_prefix, is_refused_and_empties_the_record) {
    for_each_prefix(from_hex(SHA1_HEADER) + digest_of(20), [](const exact_bytes_t& prefix) {
        const digest_read_t read = read_digest_info(std::string(prefix.chars(), prefix.size()));
        EXPECT_FALSE(read.accepted);
        EXPECT_EQ("none", read.oid);
    });
}

TEST(digest_info_round_trip, gives_the_hash_back) {
    for (const unsigned int hash : {0x00010000U, 0x00020000U, 0x00030000U, 0x00040000U, 0x00050000U, 0x00060000U,
                                    0x00070000U, 0x00080000U, 0x00090000U, 0x01090000U, 0x000A0000U, 0x000B0000U}) {
        for (const std::size_t size : {0U, 20U, 64U, 200U, 70000U}) {
            const digest_read_t read = read_digest_info(digest_info(digest_of(size), hash));
            EXPECT_TRUE(read.accepted) << code_text(hash) << ", " << size << " bytes";
            const auto oid_size = static_cast<unsigned int>(read.oid.size());
            EXPECT_EQ(code_text(hash), code_text(PKI_OID_TO_HASH_ALG(read.oid.data(), oid_size)));
        }
    }
}

} // namespace
