#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "asn/asn_cursor.h"
#include "gost/der.h"
#include "gost/scheme_tables.h"
#include "gost/schemes.h"
#include "gost/test_data.h"

namespace {

using namespace derkit::gost;

constexpr std::string_view PASSWORD = "пароль";
constexpr const char* KEY_2001 = "3043020100301c06062a8503020213301206072a85030202230106072a850302021e0104"
                                 "20ff801c1a40f22d30628afd532450a1737d63d4198546f356c1c27339505176aa";

// EncryptedPrivateKeyInfo ::= SEQUENCE { AlgorithmIdentifier, OCTET STRING }                         RFC 5958 3
struct encrypted_key_t {
    blob_t algorithm, ciphertext;

    explicit encrypted_key_t(const std::string& der) {
        asn_cursor_t in(der);
        asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
        algorithm = fields.read(asn_tag_t::SEQUENCE);
        ciphertext = fields.read(asn_tag_t::OCTET_STRING);
    }
};

std::string hex_of(const result<secret>& got) {
    return got ? to_hex(got->view()) : std::string(name_of(got.why())) + ": " + got.message();
}

TEST(Decrypt, OpensWhatOpenSslEncrypts) {
    const auto vectors = read_vectors("encrypted_keys.txt");
    EXPECT_EQ(vectors.size(), 20U);
    for (const auto& [options, der] : vectors) {
        const encrypted_key_t key(der);
        session under(PASSWORD, limits());
        EXPECT_EQ(hex_of(decrypt(under, key.algorithm, key.ciphertext, plaintext::PRIVATE_KEY_INFO)),
                  to_hex(from_hex(KEY_2001)))
            << options;
        EXPECT_FALSE(outline_encryption(key.algorithm, limits()).unsupported.has_value()) << options;
    }
}

TEST(Decrypt, NoticesAWrongPasswordAndEveryOtherPlaintext) {
    for (const auto& [options, der] : read_vectors("encrypted_keys.txt")) {
        const encrypted_key_t key(der);
        for (const char* const password : {"", "пароль ", "другой"}) {
            session under(password, limits());
            EXPECT_EQ(decrypt(under, key.algorithm, key.ciphertext, plaintext::PRIVATE_KEY_INFO).why(),
                      cause::wrong_password)
                << options << " under " << password;
        }
        session none(std::nullopt, limits());
        EXPECT_EQ(decrypt(none, key.algorithm, key.ciphertext, plaintext::PRIVATE_KEY_INFO).why(),
                  cause::wrong_password)
            << options;
        session under(PASSWORD, limits());
        EXPECT_EQ(decrypt(under, key.algorithm, key.ciphertext, plaintext::SAFE_CONTENTS).why(), cause::wrong_password)
            << options;
    }
}

struct format_case_t {
    format to;
    block_cipher cipher;
    const char* prf;
    const char* cipher_name;
    const char* param_set;
    std::uint32_t iterations;
};

const format_case_t FORMAT_CASES[] = {
    {format::gost94, block_cipher::kuznyechik, "1.2.643.2.2.10", "GOST 28147-89 CFB", "1.2.643.2.2.31.1", 2000},
    {format::native, block_cipher::magma, "1.2.643.2.2.10", "GOST 28147-89 CFB", "1.2.643.2.2.31.1", 2000},
    {format::tc26, block_cipher::kuznyechik, "1.2.643.7.1.1.4.2", "GOST 28147-89 CFB", "1.2.643.7.1.2.5.1.1", 100001},
    {format::rfc9548, block_cipher::kuznyechik, "1.2.643.7.1.1.4.2", "Kuznyechik CTR-ACPKM", "", 100001},
    {format::rfc9548, block_cipher::magma, "1.2.643.7.1.1.4.2", "Magma CTR-ACPKM", "", 100001},
    {format::rfc9548_omac, block_cipher::kuznyechik, "1.2.643.7.1.1.4.2", "Kuznyechik CTR-ACPKM-OMAC", "", 100001},
    {format::rfc9548_omac, block_cipher::magma, "1.2.643.7.1.1.4.2", "Magma CTR-ACPKM-OMAC", "", 100001},
    {format::aes, block_cipher::kuznyechik, "1.2.840.113549.2.9", "AES-256-CBC", "", 100001},
};

write_options options_of(const format_case_t& c, std::uint32_t iterations) {
    write_options options;
    options.to = c.to;
    options.cipher = c.cipher;
    options.iterations = iterations;
    return options;
}

blob_t content_of(const std::string& sequence) {
    return asn_cursor_t(sequence).read(asn_tag_t::SEQUENCE);
}

// SafeContents of about this size: bags of octets.
std::string safe_contents(std::size_t size) {
    std::string bags;
    while (bags.size() < size) {
        const std::size_t left = std::min<std::size_t>(size - bags.size(), 300);
        bags += der(asn_tag_t::SEQUENCE, {der(asn_tag_t::OCTET_STRING, {std::string(left, 'x')})});
    }
    return der(asn_tag_t::SEQUENCE, {bags});
}

TEST(Encrypt, IsReadBackInEveryFormatAndSize) {
    for (const format_case_t& c : FORMAT_CASES) {
        for (const section sections : {section::standard, section::tls}) {
            for (const std::size_t size : {0U, 700U, 1000U, 1100U, 4000U, 4200U, 9000U}) {
                write_options options = options_of(c, 1);
                options.sections = sections;
                const std::string plain = safe_contents(size);
                session under(PASSWORD, limits());
                const result<encrypted> written = encrypt(under, options, plain, plaintext::SAFE_CONTENTS);
                ASSERT_TRUE(written) << written.message();
                EXPECT_EQ(written->ciphertext.find(plain), std::string::npos);
                session reading(PASSWORD, limits());
                const result<secret> read = decrypt(reading, content_of(written->algorithm),
                                                    blob_of(written->ciphertext), plaintext::SAFE_CONTENTS);
                ASSERT_TRUE(read) << c.cipher_name << ", " << plain.size() << ": " << read.message();
                EXPECT_EQ(read->view(), plain);
            }
        }
    }
}

TEST(Encrypt, SaysWhatTheFormatDemands) {
    for (const format_case_t& c : FORMAT_CASES) {
        session under(PASSWORD, limits());
        const result<encrypted> written =
            encrypt(under, options_of(c, 256), from_hex(KEY_2001), plaintext::PRIVATE_KEY_INFO);
        ASSERT_TRUE(written) << written.message();
        const encryption_scheme scheme = outline_encryption(content_of(written->algorithm), limits());
        EXPECT_FALSE(scheme.unsupported.has_value());
        EXPECT_EQ(scheme.algorithm.oid, "1.2.840.113549.1.5.13");
        EXPECT_EQ(scheme.algorithm.name, "PBES2");
        EXPECT_EQ(scheme.kdf.name, "PBKDF2");
        EXPECT_EQ(scheme.prf.oid, c.prf);
        EXPECT_EQ(scheme.cipher.name, c.cipher_name);
        EXPECT_EQ(scheme.param_set.oid, c.param_set);
        EXPECT_EQ(scheme.iterations, 256U);
        EXPECT_EQ(iterations_of(options_of(c, 0), *find_format(c.to)), c.iterations);
        EXPECT_EQ(scheme.salt_size, 32U);
    }
}

TEST(Encrypt, TakesAFreshSaltAndIvEachTime) {
    for (const format_case_t& c : FORMAT_CASES) {
        session under(PASSWORD, limits());
        const result<encrypted> first = encrypt(under, options_of(c, 1), "text", plaintext::SAFE_CONTENTS);
        const result<encrypted> second = encrypt(under, options_of(c, 1), "text", plaintext::SAFE_CONTENTS);
        ASSERT_TRUE(first && second);
        EXPECT_NE(first->algorithm, second->algorithm);
        EXPECT_NE(first->ciphertext, second->ciphertext);
    }
}

TEST(Encrypt, RefusesAFormatThatIsNone) {
    write_options options;
    options.to = static_cast<format>(99);
    session under(PASSWORD, limits());
    EXPECT_EQ(encrypt(under, options, "text", plaintext::SAFE_CONTENTS).why(), cause::invalid_argument);
    EXPECT_EQ(make_mac_data(under, options, "text").why(), cause::invalid_argument);
}

// The key changes inside the last string, so both kinds of sections make a whole text, of which only one is right.
TEST(Encrypt, ATextThatSectionsDoNotTellApartIsReadBackTheSame) {
    const std::string plain =
        der(asn_tag_t::SEQUENCE, {der(asn_tag_t::SEQUENCE, {der(asn_tag_t::OCTET_STRING, {std::string(1200, 'x')})})});
    const write_options options = options_of(FORMAT_CASES[4], 1);
    session under(PASSWORD, limits());
    const result<encrypted> written = encrypt(under, options, plain, plaintext::SAFE_CONTENTS);
    ASSERT_TRUE(written);
    const result<secret> read =
        decrypt(under, content_of(written->algorithm), blob_of(written->ciphertext), plaintext::SAFE_CONTENTS);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->view(), plain);
}

TEST(Decrypt, NoticesEveryAlteredOctetUnderAnOmac) {
    session under(PASSWORD, limits());
    const write_options options = options_of(FORMAT_CASES[6], 1);
    const result<encrypted> written = encrypt(under, options, safe_contents(20), plaintext::SAFE_CONTENTS);
    ASSERT_TRUE(written);
    for (std::size_t i = 0; i < written->ciphertext.size(); ++i) {
        std::string altered = written->ciphertext;
        altered[i] = static_cast<char>(altered[i] ^ 1);
        EXPECT_EQ(decrypt(under, content_of(written->algorithm), blob_of(altered), plaintext::SAFE_CONTENTS).why(),
                  cause::wrong_omac)
            << i;
    }
    for (const std::size_t size : {0U, 7U, 8U}) {
        EXPECT_EQ(decrypt(under, content_of(written->algorithm), blob_of(written->ciphertext.substr(0, size)),
                          plaintext::SAFE_CONTENTS)
                      .why(),
                  cause::wrong_omac)
            << size;
    }
    EXPECT_EQ(
        decrypt(under, content_of(written->algorithm), blob_of(written->ciphertext), plaintext::PRIVATE_KEY_INFO).why(),
        cause::malformed);
}

struct refused_case_t {
    const char* what;
    const char* algorithm;
    cause why;
    const char* detail;
};

// Contents of AlgorithmIdentifier. In PBES2: 06092A864886F70D01050D 30.. { 30.. { PBKDF2 … }, 30.. { cipher … } }.
#define PBKDF2_OID "06092A864886F70D01050C"
#define PBES2_OID "06092A864886F70D01050D"
const refused_case_t REFUSED[] = {
    {"nothing", "", cause::malformed_parameters, "AlgorithmIdentifier"},
    {"an OID that ends inside an arc", "06022A86", cause::malformed_parameters, "AlgorithmIdentifier"},
    {"another scheme", "06032A0304", cause::unsupported_scheme, "1.2.3.4"},
    {"a vendor's scheme", "060A2A864886F70D010C0150", cause::vendor_scheme, "1.2.840.113549.1.12.1.80"},
    {"PBES2 without parameters", PBES2_OID, cause::malformed_parameters, "PBES2"},
    {"PBES2 with one part", PBES2_OID "3002 3000", cause::malformed_parameters, "PBES2"},
    {"PBES2 with a third part", PBES2_OID "3006 3000 3000 3000", cause::malformed_parameters, "PBES2"},
    {"PBES2 with empty parts", PBES2_OID "3004 3000 3000", cause::malformed_parameters, "PBES2"},
    {"another KDF", PBES2_OID "3009 3005 06032A0304 3000", cause::unsupported_kdf, "1.2.3.4"},
    {"PBKDF2 without parameters", PBES2_OID "300F 300B " PBKDF2_OID "3000", cause::malformed_parameters, ""},
    {"PBKDF2 with a salt from elsewhere", PBES2_OID "3016 3012 " PBKDF2_OID "3005 3000 020101 3000",
     cause::malformed_parameters, ""},
    {"PBKDF2 without salt", PBES2_OID "3016 3012 " PBKDF2_OID "3005 0400 020101 3000", cause::malformed_parameters,
     "PBKDF2"},
    {"PBKDF2 without iterations", PBES2_OID "3014 3010 " PBKDF2_OID "3003 040173 3000", cause::malformed_parameters,
     ""},
    {"no iterations", PBES2_OID "3017 3013 " PBKDF2_OID "3006 040173 020100 3000", cause::malformed_parameters,
     "PBKDF2"},
    {"too many iterations", PBES2_OID "301A 3016 " PBKDF2_OID "3009 040173 020400989681 3000",
     cause::too_many_iterations, "10000001"},
    {"iterations of more than 32 bits", PBES2_OID "301B 3017 " PBKDF2_OID "300A 040173 02050100000001 3000",
     cause::too_many_iterations, ""},
    {"another PRF", PBES2_OID "301E 301A " PBKDF2_OID "300D 040173 020101 3005 06032A0304 3000", cause::unsupported_prf,
     "1.2.3.4"},
    {"something after the PRF", PBES2_OID "301D 3019 " PBKDF2_OID "300C 040173 020101 3002 0500 0500 3000",
     cause::malformed_parameters, "PBKDF2"},
    {"another cipher", PBES2_OID "301C 3013 " PBKDF2_OID "3006 040173 020101 3005 06032A0304",
     cause::unsupported_cipher, "1.2.3.4"},
    {"AES without IV", PBES2_OID "3022 3013 " PBKDF2_OID "3006 040173 020101 300B 060960864801650304012A",
     cause::malformed_parameters, "AES-256-CBC"},
    {"AES with a short IV", PBES2_OID "3025 3013 " PBKDF2_OID "3006 040173 020101 300E 060960864801650304012A 040169",
     cause::malformed_parameters, "AES-256-CBC"},
    {"GOST 28147-89 with another S-box",
     PBES2_OID "3030 3013 " PBKDF2_OID "3006 040173 020101 3019 06062A8503020215 300F 0408 0102030405060708 06032A0304",
     cause::unsupported_param_set, "1.2.3.4"},
    {"Magma with the UKM of Kuznyechik",
     PBES2_OID "3036 3013 " PBKDF2_OID
               "3006 040173 020101 301F 06092A850307010105 0101 3012 0410 00112233445566778899AABBCCDDEEFF",
     cause::malformed_parameters, "Magma CTR-ACPKM"},
    {"a key length that is not the cipher's",
     PBES2_OID "3037 3016 " PBKDF2_OID
               "3009 040173 020101 020110 301D 060960864801650304012A 0410 00112233445566778899AABBCCDDEEFF",
     cause::malformed_parameters, "PBKDF2"},
    {"an old scheme without parameters", "060A2A864886F70D010C0103", cause::malformed_parameters, ""},
    {"an old scheme without salt", "060A2A864886F70D010C0103 3005 0400 020101", cause::malformed_parameters,
     "PBE-SHA1-3DES"},
    {"an old scheme with too many iterations", "060A2A864886F70D010C0103 3009 040173 020400989681",
     cause::too_many_iterations, "10000001"},
};

TEST(Schemes, RefuseWhatTheyDoNotKnow) {
    for (const refused_case_t& c : REFUSED) {
        const std::string algorithm = from_hex(c.algorithm);
        const encryption_scheme outline = outline_encryption(blob_of(algorithm), limits());
        ASSERT_TRUE(outline.unsupported.has_value()) << c.what;
        EXPECT_STREQ(name_of(outline.unsupported->why), name_of(c.why)) << c.what;
        EXPECT_EQ(outline.unsupported->detail, c.detail) << c.what;
        session under(PASSWORD, limits());
        EXPECT_EQ(decrypt(under, blob_of(algorithm), blob_t(), plaintext::SAFE_CONTENTS).why(), c.why) << c.what;
    }
}

TEST(Schemes, TheirLastIterationIsOpened) {
    const std::string algorithm = from_hex("060A2A864886F70D010C0103 3009 040173 020400989680");
    EXPECT_FALSE(outline_encryption(blob_of(algorithm), limits()).unsupported.has_value());
}

TEST(Schemes, HaveDistinctIdentifiersThatConvertBothWays) {
    std::set<std::string_view> seen;
    const auto check = [&seen](const auto& table) {
        for (const auto& row : table) {
            EXPECT_TRUE(seen.insert(row.oid).second) << row.oid;
            const std::string element = der_oid(row.oid);
            const blob_t content = asn_cursor_t(element).read(asn_tag_t::OBJECT_IDENTIFIER);
            EXPECT_EQ(dotted_of(content), row.oid);
            EXPECT_EQ(name_scheme_oid(content).name, row.name);
        }
    };
    check(PRFS);
    check(MACS);
    check(SBOXES);
    check(CIPHERS);
    check(PKCS12_SCHEMES);
    check(OTHER_OIDS);
    for (const format_row& row : FORMATS) {
        EXPECT_NE(find_row(PRFS, row.prf), nullptr);
        EXPECT_NE(find_row(MACS, row.mac), nullptr);
        EXPECT_NE(find_row(CIPHERS, row.kuznyechik), nullptr);
        EXPECT_NE(find_row(CIPHERS, row.magma), nullptr);
    }
}

TEST(Session, CountsWhatADerivationCosts) {
    limits cost;
    cost.max_total_iterations = 10;
    session under("password", cost);
    EXPECT_TRUE(under.pbkdf2_key(digest_id::SHA1, "salt", 2, 40)); // two blocks: 4
    EXPECT_TRUE(under.pbkdf2_key(digest_id::SHA1, "salt", 2, 40)); // again: free
    EXPECT_TRUE(under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::KEY, "salt", 5, 20));
    EXPECT_EQ(under.pbkdf2_key(digest_id::SHA1, "salt", 2, 20).why(), cause::budget_exhausted);
    EXPECT_TRUE(under.pbkdf2_key(digest_id::SHA1, "salt", 1, 20));
    EXPECT_EQ(under.pbkdf2_key(digest_id::SHA1, "tlas", 1, 20).why(), cause::budget_exhausted);
}

TEST(Session, RefusesMoreIterationsThanTheLimit) {
    limits cost;
    cost.max_iterations = 3;
    session under("password", cost);
    EXPECT_TRUE(under.pbkdf2_key(digest_id::SHA1, "salt", 3, 20));
    EXPECT_EQ(under.pbkdf2_key(digest_id::SHA1, "salt", 4, 20).message(), "the iteration count is above the limit: 4");
    EXPECT_EQ(under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::MAC, "salt", 4, 20).why(), cause::too_many_iterations);
}

TEST(Session, TellsDerivationsApart) {
    session under("password", limits());
    std::set<std::string> keys;
    const auto add = [&keys](const result<secret>& key) {
        ASSERT_TRUE(key) << key.message();
        EXPECT_TRUE(keys.insert(std::string(key->view())).second);
    };
    for (int round = 0; round < 2; ++round) {
        keys.clear();
        add(under.pbkdf2_key(digest_id::SHA1, "salt", 1, 32));
        add(under.pbkdf2_key(digest_id::SHA256, "salt", 1, 32));
        add(under.pbkdf2_key(digest_id::SHA1, "salt", 2, 32));
        add(under.pbkdf2_key(digest_id::SHA1, "salt", 1, 33));
        add(under.pbkdf2_key(digest_id::SHA1, "tlas", 1, 32));
        add(under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::KEY, "salt", 1, 32));
        add(under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::IV, "salt", 1, 32));
        add(under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::MAC, "salt", 1, 32));
    }
    for (int i = 0; i < 40; ++i) { // more than are remembered
        add(under.pbkdf2_key(digest_id::SHA1, std::to_string(i), 1, 32));
    }
}

TEST(Session, SwapsAnEmptyPasswordAndNone) {
    session some("password", limits()), empty("", limits()), none(std::nullopt, limits());
    EXPECT_FALSE(some.swap_empty_and_none());
    const auto key = [](session& under) {
        return hex_of(under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::MAC, "salt", 1, 20));
    };
    const std::string of_empty = key(empty), of_none = key(none);
    EXPECT_NE(of_empty, of_none);
    EXPECT_TRUE(empty.swap_empty_and_none());
    EXPECT_TRUE(none.swap_empty_and_none());
    EXPECT_EQ(key(empty), of_none);
    EXPECT_EQ(key(none), of_empty);
}

} // namespace
