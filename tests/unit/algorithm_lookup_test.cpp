// Algorithm codes to OIDs and back: every row of the hash, key and signature tables, and that there are no others.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "derkit/asn_helper.h"
#include "support/algorithms.h"
#include "support/expect.h"
#include "testing/algorithm_code.h"
#include "testing/bytes.h"

namespace {

std::string bytes_of(const oid_ref_t& reference) {
    return std::string(as_chars(reference.data, reference.size));
}

bool is_null(const oid_ref_t& reference) {
    return reference.data == nullptr && reference.size == 0;
}

using from_oid_t = pki_alg_t (*)(const void*, unsigned int);

std::string code_of(from_oid_t from_oid, std::string_view content) {
    const exact_bytes_t oid(content);
    return code_text(from_oid(oid.data(), oid.size()));
}

struct algorithm_family_t {
    const char* name;
    algorithms::kind_t kind;
    oid_ref_t (*to_oid)(pki_alg_t);
    from_oid_t from_oid;
};
class algorithm_lookup : public testing::TestWithParam<algorithm_family_t> {
  protected:
    bool holds(const algorithms::row_t& row) const { return row.kind == GetParam().kind; }
};

TEST_P(algorithm_lookup, returns_the_oid_of_every_code) {
    for (const algorithms::row_t& row : algorithms::ROWS) {
        const oid_ref_t oid = GetParam().to_oid(row.enumerator);
        if (holds(row)) {
            EXPECT_TRUE(same_bytes(algorithms::content_of(row), bytes_of(oid))) << row.name;
        } else {
            EXPECT_TRUE(is_null(oid)) << row.name;
        }
    }
}

TEST_P(algorithm_lookup, returns_the_first_code_of_every_oid) {
    for (const algorithms::row_t& row : algorithms::ROWS) {
        const unsigned int expected = holds(row) ? algorithms::first_code_of(row.oid) : 0;
        EXPECT_EQ(code_text(expected), code_of(GetParam().from_oid, algorithms::content_of(row))) << row.name;
    }
}

// Every combination of base algorithm, generation flag, hash and vendor, and some with bits outside these fields.
TEST_P(algorithm_lookup, returns_the_null_reference_for_every_other_code) {
    std::set<unsigned int> known;
    for (const algorithms::row_t& row : algorithms::ROWS) {
        if (holds(row)) {
            known.insert(row.code);
        }
    }
    for (const unsigned int stray : {0U, 0x200U, 0x8000U}) {
        for (unsigned int vendor = 0; vendor < 9; ++vendor) {
            for (unsigned int hash = 0; hash < 0x11; ++hash) {
                for (unsigned int key = 0; key < 0x200; ++key) {
                    const unsigned int code = vendor << 24 | hash << 16 | stray | key;
                    const bool found = !is_null(GetParam().to_oid(static_cast<pki_alg_t>(code)));
                    ASSERT_EQ(known.count(code) == 1, found) << code_text(code);
                }
            }
        }
    }
    EXPECT_TRUE(is_null(GetParam().to_oid(static_cast<pki_alg_t>(0xFFFFFFFF))));
}

TEST_P(algorithm_lookup, compares_size_and_every_octet_of_an_oid) {
    const from_oid_t from_oid = GetParam().from_oid;
    for (const algorithms::row_t& row : algorithms::ROWS) {
        const std::string content = algorithms::content_of(row);
        for_each_prefix(content, [&](const exact_bytes_t& oid) {
            EXPECT_EQ(code_text(0), code_text(from_oid(oid.data(), oid.size())));
        });
        EXPECT_EQ(code_text(0), code_of(from_oid, content + '\1')) << row.oid;
        EXPECT_EQ(code_text(0), code_of(from_oid, content + '\0')) << row.oid;
        for (std::size_t i = 0; i < content.size(); ++i) {
            std::string other = content;
            other[i] = static_cast<char>(other[i] ^ 0x40);
            EXPECT_EQ(code_text(0), code_of(from_oid, other)) << to_hex(other);
        }
    }
    EXPECT_EQ(code_text(0), code_text(from_oid(nullptr, 0)));
}

const algorithm_family_t FAMILIES[] = {
    {"hashes", algorithms::HASH, PKI_HASH_ALG_TO_OID, PKI_OID_TO_HASH_ALG},
    {"keys", algorithms::KEY, PKI_KEY_ALG_TO_OID, PKI_OID_TO_KEY_ALG},
    {"signatures", algorithms::SIGNATURE, PKI_CERT_SIGN_ALG_TO_OID, PKI_OID_TO_CERT_SIGN_ALG},
};
INSTANTIATE_TEST_SUITE_P(of, algorithm_lookup, testing::ValuesIn(FAMILIES), case_name_t());

TEST(algorithm_of_any_family, is_found_for_every_oid) {
    for (const algorithms::row_t& row : algorithms::ROWS) {
        EXPECT_EQ(code_text(algorithms::first_code_of(row.oid)), code_of(PKI_OID_TO_ALG, algorithms::content_of(row)))
            << row.name;
    }
    EXPECT_EQ(code_text(0), code_of(PKI_OID_TO_ALG, from_hex("55 04 03")));
    EXPECT_EQ(code_text(0), code_text(PKI_OID_TO_ALG(nullptr, 0)));
}

TEST(null_oid, is_a_null_pointer_and_size_zero) {
    EXPECT_TRUE(is_null(g_null_oid));
}

// An OID that several codes share reads back as the standard one.
TEST(shared_oid, reads_back_as_the_standard_code) {
    const struct {
        from_oid_t from_oid;
        const char* oid;
        unsigned int code;
    } cases[] = {
        {PKI_OID_TO_HASH_ALG, "1.2.643.2.2.9", 0x00090000},
        {PKI_OID_TO_KEY_ALG, "1.2.643.2.2.20", 0x0000000E},
        {PKI_OID_TO_KEY_ALG, "1.2.643.2.2.19", 0x0000010E},
        {PKI_OID_TO_CERT_SIGN_ALG, "1.2.643.2.2.4", 0x0009000E},
        {PKI_OID_TO_CERT_SIGN_ALG, "1.2.643.2.2.3", 0x0009010E},
        {PKI_OID_TO_CERT_SIGN_ALG, "1.2.840.113549.1.1.10", 0x00000002}, // RSASSA-PSS without a hash
        {PKI_OID_TO_CERT_SIGN_ALG, "1.2.840.113549.1.1.5", 0x00020001},
        {PKI_OID_TO_CERT_SIGN_ALG, algorithms::OTHER_SHA1_RSA_OID, 0x00020001},
    };
    for (const auto& c : cases) {
        const std::string oid = der_oid(c.oid).octets;
        EXPECT_EQ(code_text(c.code), code_of(c.from_oid, oid)) << c.oid;
        EXPECT_EQ(code_text(c.code), code_of(PKI_OID_TO_ALG, oid)) << c.oid;
    }
}

} // namespace
