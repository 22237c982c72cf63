// The kind of a container by the algorithms in it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gost/container_kind.h"
#include "gost/scheme_tables.h"

namespace {

using namespace derkit::gost;

constexpr const char *MAC_94 = "1.2.643.2.2.9", *MAC_2012 = "1.2.643.7.1.1.2.3", *MAC_SHA = "2.16.840.1.101.3.4.2.1";
constexpr const char *PRF_94 = "1.2.643.2.2.10", *PRF_2012 = "1.2.643.7.1.1.4.2", *PRF_SHA = "1.2.840.113549.2.9";
constexpr const char *GOST_28147 = "1.2.643.2.2.21", *KUZNYECHIK = "1.2.643.7.1.1.5.2.1",
                     *MAGMA_OMAC = "1.2.643.7.1.1.5.1.2", *AES = "2.16.840.1.101.3.4.1.42",
                     *AES_GCM = "2.16.840.1.101.3.4.1.46";
constexpr const char *RC2 = "1.2.840.113549.1.12.1.6", *VENDOR = "1.2.840.113549.1.12.1.80";

encryption_scheme scheme_of(const char* prf, const char* cipher) {
    encryption_scheme scheme;
    scheme.algorithm.oid = PBES2;
    scheme.prf.oid = prf;
    scheme.cipher.oid = cipher;
    return scheme;
}

encryption_scheme old_scheme_of(const char* algorithm) {
    encryption_scheme scheme;
    scheme.algorithm.oid = algorithm;
    return scheme;
}

container_mac mac_of(std::string_view digest, mac_key key = mac_key::unknown) {
    container_mac mac;
    mac.key = key;
    mac.scheme.emplace();
    mac.scheme->digest.oid = digest;
    return mac;
}

entry entry_of(encryption_scheme scheme) {
    entry made;
    made.encryption = std::move(scheme);
    return made;
}

bag key_under(encryption_scheme scheme) {
    bag made;
    made.type = bag_type::private_key;
    made.encryption = std::move(scheme);
    return made;
}

std::vector<entry> entries_of(const std::vector<encryption_scheme>& schemes) {
    std::vector<entry> entries;
    for (const encryption_scheme& scheme : schemes) {
        entries.push_back(entry_of(scheme));
    }
    return entries;
}

TEST(ContainerKind, FollowsFromMacAndEncryption) {
    const struct {
        const char* mac;
        mac_key key;
        std::vector<encryption_scheme> schemes;
        container_kind expected;
    } CASES[] = {
        {MAC_94, mac_key::pbkdf2, {scheme_of(PRF_94, GOST_28147)}, container_kind::gost94},
        {MAC_94, mac_key::unknown, {scheme_of(PRF_94, GOST_28147)}, container_kind::gost94},
        {MAC_94, mac_key::pkcs12_kdf, {scheme_of(PRF_94, GOST_28147)}, container_kind::gost94_pkcs12_kdf},
        {MAC_2012, mac_key::pbkdf2, {scheme_of(PRF_2012, GOST_28147)}, container_kind::tc26},
        {MAC_2012, mac_key::pkcs12_kdf, {scheme_of(PRF_2012, GOST_28147)}, container_kind::tc26_pkcs12_kdf},
        {MAC_94, mac_key::pbkdf2, {scheme_of(PRF_2012, GOST_28147)}, container_kind::gost_mixed},
        {MAC_2012, mac_key::pkcs12_kdf, {scheme_of(PRF_94, GOST_28147)}, container_kind::gost_mixed},
        {MAC_2012, mac_key::pbkdf2, {scheme_of(PRF_2012, KUZNYECHIK)}, container_kind::ctr_acpkm},
        {MAC_2012, mac_key::pbkdf2, {scheme_of(PRF_2012, MAGMA_OMAC)}, container_kind::ctr_acpkm_omac},
        {MAC_2012, mac_key::pbkdf2, {scheme_of(PRF_SHA, KUZNYECHIK)}, container_kind::ctr_acpkm_sha2},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_SHA, AES)}, container_kind::general},
        {MAC_SHA, mac_key::pkcs12_kdf, {old_scheme_of(RC2)}, container_kind::general},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_SHA, AES), old_scheme_of(RC2)}, container_kind::general},
        // nothing is encrypted
        {MAC_94, mac_key::pkcs12_kdf, {}, container_kind::gost94_pkcs12_kdf},
        {MAC_2012, mac_key::pbkdf2, {}, container_kind::tc26},
        {MAC_SHA, mac_key::pkcs12_kdf, {}, container_kind::general},
        // several families
        {MAC_94,
         mac_key::pbkdf2,
         {scheme_of(PRF_94, GOST_28147), scheme_of(PRF_2012, GOST_28147)},
         container_kind::gost_mixed},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_94, GOST_28147)}, container_kind::mixed},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_2012, KUZNYECHIK)}, container_kind::mixed},
        {MAC_94, mac_key::pbkdf2, {scheme_of(PRF_SHA, AES)}, container_kind::mixed},
        {MAC_2012, mac_key::pbkdf2, {old_scheme_of(RC2)}, container_kind::mixed},
        {MAC_94, mac_key::pbkdf2, {scheme_of(PRF_94, KUZNYECHIK)}, container_kind::mixed},
        {MAC_94, mac_key::pbkdf2, {scheme_of(PRF_SHA, GOST_28147)}, container_kind::mixed},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_94, AES)}, container_kind::mixed},
        {MAC_2012, mac_key::pbkdf2, {scheme_of(PRF_SHA, MAGMA_OMAC)}, container_kind::mixed},
        {MAC_2012,
         mac_key::pbkdf2,
         {scheme_of(PRF_2012, KUZNYECHIK), scheme_of(PRF_2012, GOST_28147)},
         container_kind::mixed},
        // algorithms that the library does not know
        {"1.2.840.113549.2.5", mac_key::unknown, {scheme_of(PRF_SHA, AES)}, container_kind::unknown},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_SHA, AES_GCM)}, container_kind::unknown},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of("1.2.3", AES)}, container_kind::unknown},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_SHA, AES), old_scheme_of("1.2.3")}, container_kind::unknown},
        {MAC_SHA, mac_key::pkcs12_kdf, {scheme_of(PRF_SHA, AES), old_scheme_of(VENDOR)}, container_kind::vendor_export},
    };
    for (const auto& c : CASES) {
        const std::string label = std::string(c.mac) +
                                  (c.schemes.empty() ? "" : ", " + c.schemes.front().cipher.oid + ", ") +
                                  std::to_string(&c - CASES);
        EXPECT_STREQ(name_of(classify(mac_of(c.mac, c.key), entries_of(c.schemes))), name_of(c.expected)) << label;
    }
}

// A scheme that gets a row needs no other place to be known.
TEST(ContainerKind, IsKnownOfEveryRow) {
    for (const mac_row& mac : MACS) {
        for (const prf_row& prf : PRFS) {
            for (const cipher_row& cipher : CIPHERS) {
                const auto schemes = {scheme_of(prf.oid.data(), cipher.oid.data())};
                EXPECT_NE(classify(mac_of(mac.oid), entries_of(schemes)), container_kind::unknown)
                    << mac.name << ", " << prf.name << ", " << cipher.name;
            }
        }
        for (const pkcs12_scheme_row& row : PKCS12_SCHEMES) {
            EXPECT_NE(classify(mac_of(mac.oid), entries_of({old_scheme_of(row.oid.data())})), container_kind::unknown)
                << mac.name << ", " << row.name;
        }
    }
}

TEST(ContainerKind, FollowsKeysBeforeCertificates) {
    std::vector<entry> entries = entries_of({scheme_of(PRF_SHA, AES)});
    bag around;
    around.type = bag_type::bags;
    around.nested.push_back(key_under(scheme_of(PRF_94, GOST_28147)));
    entries.emplace_back().bags.push_back(around);
    EXPECT_STREQ(name_of(classify(mac_of(MAC_94), entries)), name_of(container_kind::gost94));
    EXPECT_STREQ(name_of(classify(container_mac(), entries)), name_of(container_kind::no_mac));
    entries.emplace_back().content_type.oid = "1.2.840.113549.1.7.3";
    EXPECT_STREQ(name_of(classify(mac_of(MAC_94), entries)), name_of(container_kind::for_recipient));
}

} // namespace
