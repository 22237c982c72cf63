#include "gost/container_kind.h"

#include <algorithm>
#include <array>
#include <vector>

#include "gost/pfx.h"
#include "gost/scheme_tables.h"

namespace derkit::gost {

namespace {

// A kind by the algorithms of the MAC and of one encryption.
struct kind_row {
    hash_family mac;
    hash_family prf;
    cipher_family cipher;
    container_kind kind;
    container_kind by_pkcs12_kdf; // with a MAC key of RFC 7292 appendix B
};

// The first row of a MAC is also the kind of a container that encrypts nothing.
constexpr std::array KINDS = {
    kind_row{hash_family::GOST94, hash_family::GOST94, cipher_family::GOST_28147, container_kind::gost94,
             container_kind::gost94_pkcs12_kdf},
    kind_row{hash_family::GOST2012, hash_family::GOST2012, cipher_family::GOST_28147, container_kind::tc26,
             container_kind::tc26_pkcs12_kdf},
    kind_row{hash_family::GOST94, hash_family::GOST2012, cipher_family::GOST_28147, container_kind::gost_mixed,
             container_kind::gost_mixed},
    kind_row{hash_family::GOST2012, hash_family::GOST94, cipher_family::GOST_28147, container_kind::gost_mixed,
             container_kind::gost_mixed},
    kind_row{hash_family::GOST2012, hash_family::GOST2012, cipher_family::CTR_ACPKM, container_kind::ctr_acpkm,
             container_kind::ctr_acpkm},
    kind_row{hash_family::GOST2012, hash_family::GOST2012, cipher_family::CTR_ACPKM_OMAC,
             container_kind::ctr_acpkm_omac, container_kind::ctr_acpkm_omac},
    kind_row{hash_family::GOST2012, hash_family::SHA, cipher_family::CTR_ACPKM, container_kind::ctr_acpkm_sha2,
             container_kind::ctr_acpkm_sha2},
    kind_row{hash_family::SHA, hash_family::SHA, cipher_family::GENERAL, container_kind::general,
             container_kind::general},
};

struct mac_facts {
    hash_family family;
    bool by_pkcs12_kdf;

    container_kind choose(const kind_row& row) const { return by_pkcs12_kdf ? row.by_pkcs12_kdf : row.kind; }
};

container_kind kind_of(const mac_facts& mac, hash_family prf, cipher_family cipher) {
    for (const kind_row& row : KINDS) {
        if (row.mac == mac.family && row.prf == prf && row.cipher == cipher) {
            return mac.choose(row);
        }
    }
    return container_kind::mixed;
}

container_kind kind_of_unencrypted(const mac_facts& mac) {
    return mac.choose(
        *std::find_if(KINDS.begin(), KINDS.end() - 1, [&mac](const kind_row& row) { return row.mac == mac.family; }));
}

// container_kind::unknown for algorithms without a row.
container_kind kind_of(const mac_facts& mac, const encryption_scheme& scheme) {
    if (find_row(PKCS12_SCHEMES, scheme.algorithm.oid) != nullptr) {
        return kind_of(mac, hash_family::SHA, cipher_family::GENERAL);
    }
    const prf_row* const prf = find_row(PRFS, scheme.prf.oid);
    const cipher_row* const cipher = find_row(CIPHERS, scheme.cipher.oid);
    return prf != nullptr && cipher != nullptr ? kind_of(mac, prf->family, cipher->family) : container_kind::unknown;
}

bool is_of_gost_28147(container_kind kind) {
    switch (kind) {
    case container_kind::gost94:
    case container_kind::gost94_pkcs12_kdf:
    case container_kind::tc26:
    case container_kind::tc26_pkcs12_kdf:
    case container_kind::gost_mixed:
        return true;
    default:
        return false;
    }
}

// The kind of a container with encryptions of both kinds.
container_kind combined(container_kind a, container_kind b) {
    if (a == b) {
        return a;
    }
    if (a == container_kind::unknown || b == container_kind::unknown) {
        return container_kind::unknown;
    }
    return is_of_gost_28147(a) && is_of_gost_28147(b) ? container_kind::gost_mixed : container_kind::mixed;
}

using schemes_t = std::vector<const encryption_scheme*>;

void add_keys(const std::vector<bag>& bags, schemes_t& to) {
    for (const bag& one : bags) {
        if (one.encryption.has_value()) {
            to.push_back(&*one.encryption);
        }
        add_keys(one.nested, to);
    }
}

// Those of the keys, or where no encrypted key is seen, those of the entries.
schemes_t deciding_schemes(const std::vector<entry>& entries) {
    schemes_t schemes;
    for (const entry& one : entries) {
        add_keys(one.bags, schemes);
    }
    if (schemes.empty()) {
        for (const entry& one : entries) {
            if (one.encryption.has_value()) {
                schemes.push_back(&*one.encryption);
            }
        }
    }
    return schemes;
}

bool is_vendors(const encryption_scheme* scheme) {
    return scheme->algorithm.oid == VENDOR_SCHEME;
}

} // namespace

bool has_enveloped_data(const std::vector<entry>& entries) {
    return std::any_of(entries.begin(), entries.end(),
                       [](const entry& one) { return one.content_type.oid == OID_ENVELOPED_DATA; });
}

container_kind classify(const container_mac& mac, const std::vector<entry>& entries) {
    const schemes_t schemes = deciding_schemes(entries);
    if (std::any_of(schemes.begin(), schemes.end(), is_vendors)) {
        return container_kind::vendor_export;
    }
    if (has_enveloped_data(entries)) {
        return container_kind::for_recipient;
    }
    if (!mac.scheme.has_value()) {
        return container_kind::no_mac;
    }
    const mac_row* const digest = find_row(MACS, mac.scheme->digest.oid);
    if (digest == nullptr) {
        return container_kind::unknown;
    }
    const mac_facts facts = {digest->family, mac.key == mac_key::pkcs12_kdf};
    if (schemes.empty()) {
        return kind_of_unencrypted(facts);
    }
    container_kind kind = kind_of(facts, *schemes.front());
    for (const encryption_scheme* const scheme : schemes) {
        kind = combined(kind, kind_of(facts, *scheme));
    }
    return kind;
}

} // namespace derkit::gost
