// Algorithm codes to OIDs and back: every row of the hash, key and signature tables, and that there are no others.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "derkit/asn_helper.h"
#include "derkit/asn_oidmap.h"
#include "support/expect.h"
#include "testing/algorithm_code.h"
#include "testing/bytes.h"

namespace {

struct oid_row_t {
    unsigned int code;
    const char* oid;
};

// In the order of the lookups: the first row with a code, or with an OID, counts.

const std::vector<oid_row_t> HASHES = {
    {0x00070000, "1.2.840.113549.2.2"},     // MD2
    {0x00080000, "1.2.840.113549.2.5"},     // MD5
    {0x00010000, "1.3.14.3.2.18"},          // SHA
    {0x00020000, "1.3.14.3.2.26"},          // SHA-1
    {0x00030000, "2.16.840.1.101.3.4.2.4"}, // SHA-224
    {0x00040000, "2.16.840.1.101.3.4.2.1"}, // SHA-256
    {0x00050000, "2.16.840.1.101.3.4.2.2"}, // SHA-384
    {0x00060000, "2.16.840.1.101.3.4.2.3"}, // SHA-512
    {0x00090000, "1.2.643.2.2.9"},          // GOST R 34.11-94
    {0x02090000, "1.2.643.2.2.9"},          // the same, CryptoPro
    {0x01090000, "1.3.6.1.4.1.3670.1.5"},   // the same, QEV
    {0x000A0000, "1.2.643.7.1.1.2.2"},      // GOST R 34.11-2012, 256 bits
    {0x000B0000, "1.2.643.7.1.1.2.3"},      // GOST R 34.11-2012, 512 bits
};

const std::vector<oid_row_t> KEYS = {
    {0x00000001, "1.2.840.113549.1.1.1"},   // RSA
    {0x00000003, "1.2.840.10040.4.1"},      // DSA
    {0x0000000E, "1.2.643.2.2.20"},         // GOST R 34.10-94
    {0x0200000E, "1.2.643.2.2.20"},         // the same, CryptoPro
    {0x0100000E, "1.3.6.1.4.1.3670.1.10"},  // the same, QEV
    {0x0400000E, "1.3.6.1.4.1.5849.1.1.5"}, // the same, SignalCOM
    {0x0000010E, "1.2.643.2.2.19"},         // GOST R 34.10-2001
    {0x0200010E, "1.2.643.2.2.19"},         // the same, CryptoPro
    {0x0400010E, "1.3.6.1.4.1.5849.1.6.2"}, // the same, SignalCOM
    {0x0000010F, "1.2.643.7.1.1.1.1"},      // GOST R 34.10-2012, 256 bits
    {0x00000110, "1.2.643.7.1.1.1.2"},      // GOST R 34.10-2012, 512 bits
};

const std::vector<oid_row_t> SIGNATURES = {
    {0x00020001, "1.2.840.113549.1.1.5"},   // SHA-1 with RSA
    {0x00020001, "1.3.14.3.2.29"},          // the same, read but not written
    {0x00030001, "1.2.840.113549.1.1.14"},  // SHA-224 with RSA
    {0x00040001, "1.2.840.113549.1.1.11"},  // SHA-256 with RSA
    {0x00050001, "1.2.840.113549.1.1.12"},  // SHA-384 with RSA
    {0x00060001, "1.2.840.113549.1.1.13"},  // SHA-512 with RSA
    {0x00070001, "1.2.840.113549.1.1.2"},   // MD2 with RSA
    {0x00080001, "1.2.840.113549.1.1.4"},   // MD5 with RSA
    {0x00020003, "1.2.840.10040.4.3"},      // SHA-1 with DSA
    {0x00000002, "1.2.840.113549.1.1.10"},  // RSASSA-PSS
    {0x00020002, "1.2.840.113549.1.1.10"},  // RSASSA-PSS, SHA-1
    {0x00030002, "1.2.840.113549.1.1.10"},  // RSASSA-PSS, SHA-224
    {0x00040002, "1.2.840.113549.1.1.10"},  // RSASSA-PSS, SHA-256
    {0x00050002, "1.2.840.113549.1.1.10"},  // RSASSA-PSS, SHA-384
    {0x00060002, "1.2.840.113549.1.1.10"},  // RSASSA-PSS, SHA-512
    {0x0009000E, "1.2.643.2.2.4"},          // GOST R 34.11-94 with GOST R 34.10-94
    {0x0209000E, "1.2.643.2.2.4"},          // the same, CryptoPro
    {0x0109000E, "1.3.6.1.4.1.3670.1.6"},   // the same, QEV
    {0x0409000E, "1.3.6.1.4.1.5849.1.3.1"}, // the same, SignalCOM
    {0x0009010E, "1.2.643.2.2.3"},          // GOST R 34.11-94 with GOST R 34.10-2001
    {0x0209010E, "1.2.643.2.2.3"},          // the same, CryptoPro
    {0x0409010E, "1.3.6.1.4.1.5849.1.3.2"}, // the same, SignalCOM
    {0x000A010F, "1.2.643.7.1.1.3.2"},      // GOST R 34.11-2012 with GOST R 34.10-2012, 256 bits
    {0x000B0110, "1.2.643.7.1.1.3.3"},      // the same, 512 bits
};

std::string oid_content(std::string_view dotted) {
    unsigned char der[512];
    const unsigned int size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), der);
    return std::string(as_chars(der, size));
}

std::string bytes_of(const oid_ref_t& reference) {
    return std::string(as_chars(reference.data, reference.size));
}

bool is_null(const oid_ref_t& reference) {
    return reference.data == nullptr && reference.size == 0;
}

struct algorithm_family_t {
    const char* name;
    const std::vector<oid_row_t>& rows;
    oid_ref_t (*to_oid)(pki_alg_t);
    pki_alg_t (*from_oid)(const void*, unsigned int);
};

class algorithm_lookup : public testing::TestWithParam<algorithm_family_t> {
  protected:
    const std::vector<oid_row_t>& rows = GetParam().rows;

    const oid_row_t* row_of_code(unsigned int code) const {
        const auto found =
            std::find_if(rows.begin(), rows.end(), [code](const oid_row_t& row) { return row.code == code; });
        return found == rows.end() ? nullptr : &*found;
    }
    unsigned int first_code_of(std::string_view oid) const {
        const auto found =
            std::find_if(rows.begin(), rows.end(), [oid](const oid_row_t& row) { return row.oid == oid; });
        return found == rows.end() ? 0 : found->code;
    }
    unsigned int read(std::string_view content) const {
        const exact_bytes_t oid(content);
        return GetParam().from_oid(oid.data(), oid.size());
    }
};

TEST_P(algorithm_lookup, gives_the_first_oid_of_every_code) {
    for (const oid_row_t& row : rows) {
        const std::string expected = oid_content(row_of_code(row.code)->oid);
        EXPECT_TRUE(same_bytes(expected, bytes_of(GetParam().to_oid(static_cast<pki_alg_t>(row.code))))) << row.oid;
    }
}

TEST_P(algorithm_lookup, gives_the_first_code_of_every_oid) {
    for (const oid_row_t& row : rows) {
        EXPECT_EQ(code_text(first_code_of(row.oid)), code_text(read(oid_content(row.oid)))) << row.oid;
    }
}

// Every combination of base algorithm, generation flag, hash and vendor, and some with bits outside these fields.
TEST_P(algorithm_lookup, gives_the_null_reference_for_every_other_code) {
    for (const unsigned int stray : {0U, 0x200U, 0x8000U}) {
        for (unsigned int vendor = 0; vendor < 9; ++vendor) {
            for (unsigned int hash = 0; hash < 0x11; ++hash) {
                for (unsigned int key = 0; key < 0x200; ++key) {
                    const unsigned int code = vendor << 24 | hash << 16 | stray | key;
                    const bool known = row_of_code(code) != nullptr;
                    ASSERT_EQ(!known, is_null(GetParam().to_oid(static_cast<pki_alg_t>(code)))) << code_text(code);
                }
            }
        }
    }
    EXPECT_TRUE(is_null(GetParam().to_oid(static_cast<pki_alg_t>(0xFFFFFFFF))));
}

TEST_P(algorithm_lookup, gives_zero_for_an_oid_that_is_cut_short) {
    for (const oid_row_t& row : rows) {
        for_each_prefix(oid_content(row.oid), [](const exact_bytes_t& oid) {
            EXPECT_EQ(code_text(0), code_text(GetParam().from_oid(oid.data(), oid.size())));
        });
    }
}

TEST_P(algorithm_lookup, gives_zero_for_an_oid_that_goes_on) {
    for (const oid_row_t& row : rows) {
        EXPECT_EQ(code_text(0), code_text(read(oid_content(row.oid) + '\1'))) << row.oid;
        EXPECT_EQ(code_text(0), code_text(read(oid_content(row.oid) + '\0'))) << row.oid;
    }
}

TEST_P(algorithm_lookup, compares_every_octet_of_an_oid) {
    for (const oid_row_t& row : rows) {
        const std::string content = oid_content(row.oid);
        for (std::size_t i = 0; i < content.size(); ++i) {
            std::string other = content;
            other[i] = static_cast<char>(other[i] ^ 0x40);
            EXPECT_EQ(code_text(0), code_text(read(other))) << to_hex(other);
        }
    }
}

TEST_P(algorithm_lookup, gives_zero_for_no_oid) {
    EXPECT_EQ(code_text(0), code_text(GetParam().from_oid(nullptr, 0)));
}

// Only the hash, key and signature tables together know all OIDs.
TEST_P(algorithm_lookup, knows_only_the_oids_of_its_family) {
    for (const auto* family : {&HASHES, &KEYS, &SIGNATURES}) {
        for (const oid_row_t& row : *family) {
            EXPECT_EQ(code_text(first_code_of(row.oid)), code_text(read(oid_content(row.oid)))) << row.oid;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(family, algorithm_lookup,
                         testing::Values(algorithm_family_t{"hashes", HASHES, PKI_HASH_ALG_TO_OID, PKI_OID_TO_HASH_ALG},
                                         algorithm_family_t{"keys", KEYS, PKI_KEY_ALG_TO_OID, PKI_OID_TO_KEY_ALG},
                                         algorithm_family_t{"signatures", SIGNATURES, PKI_CERT_SIGN_ALG_TO_OID,
                                                            PKI_OID_TO_CERT_SIGN_ALG}),
                         case_name_t());

TEST(algorithm_of_any_family, is_found_for_every_oid) {
    const std::function<unsigned int(const std::string&)> read = [](const std::string& content) {
        const exact_bytes_t oid(content);
        return PKI_OID_TO_ALG(oid.data(), oid.size());
    };
    EXPECT_EQ(code_text(0x00000001), code_text(read(from_hex("2A 86 48 86 F7 0D 01 01 01"))));
    for (const auto* family : {&HASHES, &KEYS, &SIGNATURES}) {
        std::string last;
        for (const oid_row_t& row : *family) {
            // Rows that share an OID stand next to each other.
            const std::string content = oid_content(row.oid);
            if (content != last) {
                EXPECT_EQ(code_text(row.code), code_text(read(content))) << row.oid;
            }
            last = content;
        }
    }
}

TEST(algorithm_of_any_family, is_zero_for_an_unknown_oid) {
    const exact_bytes_t common_name(from_hex("55 04 03"));
    EXPECT_EQ(code_text(0), code_text(PKI_OID_TO_ALG(common_name.data(), common_name.size())));
    EXPECT_EQ(code_text(0), code_text(PKI_OID_TO_ALG(nullptr, 0)));
}

TEST(null_oid, is_a_null_pointer_and_size_zero) {
    EXPECT_TRUE(is_null(g_null_oid));
}

// What several codes share reads back as the standard one.
struct shared_oid_case_t {
    const char* name;
    pki_alg_t (*from_oid)(const void*, unsigned int);
    const char* oid; // hex
    unsigned int code;
};
class shared_oid : public testing::TestWithParam<shared_oid_case_t> {};

TEST_P(shared_oid, reads_back_as_the_standard_code) {
    const exact_bytes_t oid(from_hex(GetParam().oid));
    EXPECT_EQ(code_text(GetParam().code), code_text(GetParam().from_oid(oid.data(), oid.size())));
    EXPECT_EQ(code_text(GetParam().code), code_text(PKI_OID_TO_ALG(oid.data(), oid.size())));
}

const shared_oid_case_t SHARED_OIDS[] = {
    {"gost_3411_94", PKI_OID_TO_HASH_ALG, "2A 85 03 02 02 09", 0x00090000},
    {"gost_3410_94", PKI_OID_TO_KEY_ALG, "2A 85 03 02 02 14", 0x0000000E},
    {"gost_3410_2001", PKI_OID_TO_KEY_ALG, "2A 85 03 02 02 13", 0x0000010E},
    {"gost_3411_3410_94", PKI_OID_TO_CERT_SIGN_ALG, "2A 85 03 02 02 04", 0x0009000E},
    {"gost_3411_3410_2001", PKI_OID_TO_CERT_SIGN_ALG, "2A 85 03 02 02 03", 0x0009010E},
    {"rsassa_pss_without_hash", PKI_OID_TO_CERT_SIGN_ALG, "2A 86 48 86 F7 0D 01 01 0A", 0x00000002},
    {"sha1_rsa", PKI_OID_TO_CERT_SIGN_ALG, "2A 86 48 86 F7 0D 01 01 05", 0x00020001},
    {"sha1_rsa_under_its_other_oid", PKI_OID_TO_CERT_SIGN_ALG, "2B 0E 03 02 1D", 0x00020001},
};
INSTANTIATE_TEST_SUITE_P(first_row_wins, shared_oid, testing::ValuesIn(SHARED_OIDS), case_name_t());

TEST(vendor_code, is_written_with_the_standard_oid) {
    EXPECT_TRUE(same_bytes(from_hex("2A 85 03 02 02 09"), bytes_of(PKI_HASH_ALG_TO_OID(PKI_ALG_GOST_3411_94_CPRO))));
}

} // namespace
