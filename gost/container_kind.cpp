#include "gost/container_kind.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "gost/pfx.h"

namespace derkit::gost {

namespace {

// What decides about an encryption; OTHER is one that this library does not know.
enum class family { GOST94, GOST2012, ACPKM, ACPKM_OMAC, ACPKM_SHA2, SHA, VENDOR, OTHER };

struct oid_family {
    std::string_view oid;
    family is;
};

constexpr std::string_view OID_GOST_28147_89 = "1.2.643.2.2.21";

constexpr oid_family DIGEST_FAMILIES[] = {
    {"1.2.643.2.2.9", family::GOST94},       {"1.2.643.7.1.1.2.2", family::GOST2012},
    {"1.2.643.7.1.1.2.3", family::GOST2012}, {"1.3.14.3.2.26", family::SHA},
    {"2.16.840.1.101.3.4.2.1", family::SHA}, {"2.16.840.1.101.3.4.2.2", family::SHA},
    {"2.16.840.1.101.3.4.2.3", family::SHA}, {"2.16.840.1.101.3.4.2.4", family::SHA},
};

constexpr oid_family PRFS[] = {
    {"1.2.643.2.2.10", family::GOST94},
    {"1.2.643.7.1.1.4.1", family::GOST2012},
    {"1.2.643.7.1.1.4.2", family::GOST2012},
};

constexpr oid_family CIPHERS[] = {
    {"1.2.643.7.1.1.5.1.1", family::ACPKM},
    {"1.2.643.7.1.1.5.2.1", family::ACPKM},
    {"1.2.643.7.1.1.5.1.2", family::ACPKM_OMAC},
    {"1.2.643.7.1.1.5.2.2", family::ACPKM_OMAC},
};

constexpr std::string_view OLD_PBE = "1.2.840.113549.1.12.1.";
constexpr std::string_view VENDOR_PBE = "1.2.840.113549.1.12.1.80";
constexpr std::string_view AES = "2.16.840.1.101.3.4.1.";
constexpr std::string_view TRIPLE_DES = "1.2.840.113549.3.7";

bool starts_with(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

template <std::size_t N> family find(const oid_family (&table)[N], std::string_view oid) {
    const auto* const found = std::find_if(table, table + N, [oid](const oid_family& row) { return row.oid == oid; });
    return found != table + N ? found->is : family::OTHER;
}

family family_of(const encryption_scheme& scheme) {
    if (scheme.algorithm.oid == VENDOR_PBE) {
        return family::VENDOR;
    }
    if (starts_with(scheme.algorithm.oid, OLD_PBE)) {
        return family::SHA;
    }
    const std::string_view cipher = scheme.cipher.oid;
    const family prf = find(PRFS, scheme.prf.oid);
    if (cipher == OID_GOST_28147_89) {
        return prf;
    }
    if (starts_with(cipher, AES) || cipher == TRIPLE_DES) {
        return family::SHA;
    }
    const family by_cipher = find(CIPHERS, cipher);
    return by_cipher == family::ACPKM && prf == family::OTHER ? family::ACPKM_SHA2 : by_cipher;
}

void add_keys(const std::vector<bag>& bags, std::vector<family>& to) {
    for (const bag& one : bags) {
        if (one.encryption.has_value()) {
            to.push_back(family_of(*one.encryption));
        }
        add_keys(one.nested, to);
    }
}

// The families of the keys; of the entries where no key is seen.
std::vector<family> deciding_families(const std::vector<entry>& entries) {
    std::vector<family> families;
    for (const entry& one : entries) {
        add_keys(one.bags, families);
    }
    if (families.empty()) {
        for (const entry& one : entries) {
            if (one.encryption.has_value()) {
                families.push_back(family_of(*one.encryption));
            }
        }
    }
    return families;
}

bool has_enveloped_data(const std::vector<entry>& entries) {
    return std::any_of(entries.begin(), entries.end(),
                       [](const entry& one) { return one.content_type.oid == OID_ENVELOPED_DATA; });
}

bool is_gost_28147(family encryption) {
    return encryption == family::GOST94 || encryption == family::GOST2012;
}

container_kind kind_of_gost_28147(family mac, family encryption, bool by_pkcs12_kdf) {
    if (!is_gost_28147(mac)) {
        return container_kind::unknown;
    }
    if (mac != encryption) {
        return container_kind::gost_mixed;
    }
    if (mac == family::GOST94) {
        return by_pkcs12_kdf ? container_kind::gost94_pkcs12_kdf : container_kind::gost94;
    }
    return by_pkcs12_kdf ? container_kind::tc26_pkcs12_kdf : container_kind::tc26;
}

container_kind kind_of(family mac, family encryption, bool by_pkcs12_kdf) {
    switch (encryption) {
    case family::GOST94:
    case family::GOST2012:
        return kind_of_gost_28147(mac, encryption, by_pkcs12_kdf);
    case family::ACPKM:
        return container_kind::ctr_acpkm;
    case family::ACPKM_OMAC:
        return container_kind::ctr_acpkm_omac;
    case family::ACPKM_SHA2:
        return container_kind::ctr_acpkm_sha2;
    case family::SHA:
        return mac == family::SHA ? container_kind::general : container_kind::unknown;
    case family::VENDOR:
    case family::OTHER:
        break;
    }
    return container_kind::unknown;
}

// Several families are one kind only when each is of GOST 28147-89.
std::optional<family> common_family(const std::vector<family>& families, family mac) {
    if (families.empty()) {
        return mac; // all is in the clear
    }
    if (std::all_of(families.begin(), families.end(), [&](family one) { return one == families.front(); })) {
        return families.front();
    }
    if (std::all_of(families.begin(), families.end(), is_gost_28147)) {
        return mac == family::GOST94 ? family::GOST2012 : family::GOST94;
    }
    return std::nullopt;
}

} // namespace

container_kind classify(const container_mac& mac, const std::vector<entry>& entries) {
    const std::vector<family> families = deciding_families(entries);
    if (std::find(families.begin(), families.end(), family::VENDOR) != families.end()) {
        return container_kind::vendor_export;
    }
    if (has_enveloped_data(entries)) {
        return container_kind::for_recipient;
    }
    if (!mac.scheme.has_value()) {
        return container_kind::no_mac;
    }
    const family digest = find(DIGEST_FAMILIES, mac.scheme->digest.oid);
    const std::optional<family> encryption = common_family(families, digest);
    return encryption.has_value() ? kind_of(digest, *encryption, mac.key == mac_key::pkcs12_kdf)
                                  : container_kind::unknown;
}

} // namespace derkit::gost
