#include "formats/named_oid.h"

#include <algorithm>
#include <initializer_list>
#include <span>

#include "asn/asn_cursor.h"
#include "derkit/asn_oidmap.h"
#include "io/bytes.h"

namespace {

constexpr std::size_t MAX_GOST_PARAM_SETS = 3;

struct row_t {
    std::string_view oid;
    std::string_view name;
};

constexpr row_t NAMES[] = {
    // content types: RFC 2315 14
    {"1.2.840.113549.1.7.1", "data"},
    {"1.2.840.113549.1.7.2", "signedData"},
    {"1.2.840.113549.1.7.3", "envelopedData"},
    {"1.2.840.113549.1.7.4", "signedAndEnvelopedData"},
    {"1.2.840.113549.1.7.5", "digestedData"},
    {"1.2.840.113549.1.7.6", "encryptedData"},
    // bags: RFC 7292 appendix D
    {"1.2.840.113549.1.12.10.1.1", "keyBag"},
    {"1.2.840.113549.1.12.10.1.2", "pkcs8ShroudedKeyBag"},
    {"1.2.840.113549.1.12.10.1.3", "certBag"},
    {"1.2.840.113549.1.12.10.1.4", "crlBag"},
    {"1.2.840.113549.1.12.10.1.5", "secretBag"},
    {"1.2.840.113549.1.12.10.1.6", "safeContentsBag"},
    // encryption and authentication by password: RFC 8018 appendix C, RFC 7292 appendix C, RFC 7914 7
    {"1.2.840.113549.1.5.1", "pbeWithMD2AndDES-CBC"},
    {"1.2.840.113549.1.5.3", "pbeWithMD5AndDES-CBC"},
    {"1.2.840.113549.1.5.4", "pbeWithMD2AndRC2-CBC"},
    {"1.2.840.113549.1.5.6", "pbeWithMD5AndRC2-CBC"},
    {"1.2.840.113549.1.5.10", "pbeWithSHA1AndDES-CBC"},
    {"1.2.840.113549.1.5.11", "pbeWithSHA1AndRC2-CBC"},
    {"1.2.840.113549.1.5.12", "PBKDF2"},
    {"1.2.840.113549.1.5.13", "PBES2"},
    {"1.2.840.113549.1.5.14", "PBMAC1"},
    {"1.2.840.113549.1.12.1.1", "pbeWithSHAAnd128BitRC4"},
    {"1.2.840.113549.1.12.1.2", "pbeWithSHAAnd40BitRC4"},
    {"1.2.840.113549.1.12.1.3", "pbeWithSHAAnd3-KeyTripleDES-CBC"},
    {"1.2.840.113549.1.12.1.4", "pbeWithSHAAnd2-KeyTripleDES-CBC"},
    {"1.2.840.113549.1.12.1.5", "pbeWithSHAAnd128BitRC2-CBC"},
    {"1.2.840.113549.1.12.1.6", "pbeWithSHAAnd40BitRC2-CBC"},
    {"1.3.6.1.4.1.11591.4.11", "scrypt"},
    // HMAC: RFC 8018 appendix C, RFC 4357 10, RFC 7836 4.1
    {"1.2.840.113549.2.7", "HMAC SHA-1"},
    {"1.2.840.113549.2.8", "HMAC SHA-224"},
    {"1.2.840.113549.2.9", "HMAC SHA-256"},
    {"1.2.840.113549.2.10", "HMAC SHA-384"},
    {"1.2.840.113549.2.11", "HMAC SHA-512"},
    {"1.2.840.113549.2.12", "HMAC SHA-512/224"},
    {"1.2.840.113549.2.13", "HMAC SHA-512/256"},
    {"1.2.643.2.2.10", "HMAC GOST R 34.11-94"},
    {"1.2.643.7.1.1.4.1", "HMAC GOST R 34.11-2012 256"},
    {"1.2.643.7.1.1.4.2", "HMAC GOST R 34.11-2012 512"},
    // digests: RFC 8017 appendix B, RFC 4357 10, RFC 9215 appendix A
    {"1.2.840.113549.2.5", "MD5"},
    {"1.3.14.3.2.26", "SHA-1"},
    {"2.16.840.1.101.3.4.2.1", "SHA-256"},
    {"2.16.840.1.101.3.4.2.2", "SHA-384"},
    {"2.16.840.1.101.3.4.2.3", "SHA-512"},
    {"2.16.840.1.101.3.4.2.4", "SHA-224"},
    {"1.2.643.2.2.9", "GOST R 34.11-94"},
    {"1.2.643.7.1.1.2.2", "GOST R 34.11-2012 256"},
    {"1.2.643.7.1.1.2.3", "GOST R 34.11-2012 512"},
    // ciphers: RFC 8018 appendix C, RFC 3565 4.1, RFC 5084 3.2, RFC 4357 10, RFC 9337 7.3
    {"1.3.14.3.2.7", "DES-CBC"},
    {"1.2.840.113549.3.2", "RC2-CBC"},
    {"1.2.840.113549.3.7", "DES-EDE3-CBC"},
    {"2.16.840.1.101.3.4.1.2", "AES-128-CBC"},
    {"2.16.840.1.101.3.4.1.6", "AES-128-GCM"},
    {"2.16.840.1.101.3.4.1.22", "AES-192-CBC"},
    {"2.16.840.1.101.3.4.1.26", "AES-192-GCM"},
    {"2.16.840.1.101.3.4.1.42", "AES-256-CBC"},
    {"2.16.840.1.101.3.4.1.46", "AES-256-GCM"},
    {"1.2.643.2.2.21", "GOST 28147-89"},
    {"1.2.643.7.1.1.5.1.1", "Magma CTR-ACPKM"},
    {"1.2.643.7.1.1.5.1.2", "Magma CTR-ACPKM-OMAC"},
    {"1.2.643.7.1.1.5.2.1", "Kuznyechik CTR-ACPKM"},
    {"1.2.643.7.1.1.5.2.2", "Kuznyechik CTR-ACPKM-OMAC"},
    // keys and signatures: RFC 5480 2.1, RFC 5758 3, RFC 3279 2.2.3, RFC 8410 3, RFC 4055 2.2
    {"1.2.840.10045.2.1", "id-ecPublicKey"},
    {"1.2.840.10045.4.1", "ecdsa-with-SHA1"},
    {"1.2.840.10045.4.3.1", "ecdsa-with-SHA224"},
    {"1.2.840.10045.4.3.2", "ecdsa-with-SHA256"},
    {"1.2.840.10045.4.3.3", "ecdsa-with-SHA384"},
    {"1.2.840.10045.4.3.4", "ecdsa-with-SHA512"},
    {"2.16.840.1.101.3.4.3.1", "id-dsa-with-sha224"},
    {"2.16.840.1.101.3.4.3.2", "id-dsa-with-sha256"},
    {"1.3.101.110", "id-X25519"},
    {"1.3.101.111", "id-X448"},
    {"1.3.101.112", "id-Ed25519"},
    {"1.3.101.113", "id-Ed448"},
    {"1.2.840.113549.1.1.8", "MGF1"},
    // curves: RFC 5480 2.1.1.1, SEC 2, RFC 5639 4.1
    {"1.3.132.0.1", "sect163k1"},
    {"1.3.132.0.10", "secp256k1"},
    {"1.3.132.0.15", "sect163r2"},
    {"1.3.132.0.16", "sect283k1"},
    {"1.3.132.0.17", "sect283r1"},
    {"1.3.132.0.26", "sect233k1"},
    {"1.3.132.0.27", "sect233r1"},
    {"1.3.132.0.36", "sect409k1"},
    {"1.3.132.0.37", "sect409r1"},
    {"1.3.132.0.38", "sect571k1"},
    {"1.3.132.0.39", "sect571r1"},
    {"1.3.36.3.3.2.8.1.1.1", "brainpoolP160r1"},
    {"1.3.36.3.3.2.8.1.1.2", "brainpoolP160t1"},
    {"1.3.36.3.3.2.8.1.1.3", "brainpoolP192r1"},
    {"1.3.36.3.3.2.8.1.1.4", "brainpoolP192t1"},
    {"1.3.36.3.3.2.8.1.1.5", "brainpoolP224r1"},
    {"1.3.36.3.3.2.8.1.1.6", "brainpoolP224t1"},
    {"1.3.36.3.3.2.8.1.1.7", "brainpoolP256r1"},
    {"1.3.36.3.3.2.8.1.1.8", "brainpoolP256t1"},
    {"1.3.36.3.3.2.8.1.1.9", "brainpoolP320r1"},
    {"1.3.36.3.3.2.8.1.1.10", "brainpoolP320t1"},
    {"1.3.36.3.3.2.8.1.1.11", "brainpoolP384r1"},
    {"1.3.36.3.3.2.8.1.1.12", "brainpoolP384t1"},
    {"1.3.36.3.3.2.8.1.1.13", "brainpoolP512r1"},
    {"1.3.36.3.3.2.8.1.1.14", "brainpoolP512t1"},
    {"1.2.840.10045.3.1.1", "secp192r1"},
    {"1.3.132.0.33", "secp224r1"},
    {"1.2.840.10045.3.1.7", "secp256r1"},
    {"1.3.132.0.34", "secp384r1"},
    {"1.3.132.0.35", "secp521r1"},
};

// Parameter sets of GOST 28147-89, named as such and wherever else they occur: RFC 4357 11.2, RFC 7836 appendix C
constexpr row_t CIPHER_PARAM_SETS[] = {
    {"1.2.643.2.2.31.0", "id-Gost28147-89-TestParamSet"},
    {"1.2.643.2.2.31.1", "id-Gost28147-89-CryptoPro-A-ParamSet"},
    {"1.2.643.2.2.31.2", "id-Gost28147-89-CryptoPro-B-ParamSet"},
    {"1.2.643.2.2.31.3", "id-Gost28147-89-CryptoPro-C-ParamSet"},
    {"1.2.643.2.2.31.4", "id-Gost28147-89-CryptoPro-D-ParamSet"},
    {"1.2.643.7.1.2.5.1.1", "id-tc26-gost-28147-param-Z"},
};

constexpr row_t OTHER_PARAM_SETS[] = {
    // RFC 4357: GOST R 34.11-94
    {"1.2.643.2.2.30.0", "id-GostR3411-94-TestParamSet"},
    {"1.2.643.2.2.30.1", "id-GostR3411-94-CryptoProParamSet"},
    // RFC 4357: other sets of GOST 28147-89
    {"1.2.643.2.2.31.5", "id-Gost28147-89-CryptoPro-Oscar-1-1-ParamSet"},
    {"1.2.643.2.2.31.6", "id-Gost28147-89-CryptoPro-Oscar-1-0-ParamSet"},
    {"1.2.643.2.2.31.7", "id-Gost28147-89-CryptoPro-RIC-1-ParamSet"},
    // RFC 4357: GOST R 34.10-94
    {"1.2.643.2.2.32.0", "id-GostR3410-94-TestParamSet"},
    {"1.2.643.2.2.32.2", "id-GostR3410-94-CryptoPro-A-ParamSet"},
    {"1.2.643.2.2.32.3", "id-GostR3410-94-CryptoPro-B-ParamSet"},
    {"1.2.643.2.2.32.4", "id-GostR3410-94-CryptoPro-C-ParamSet"},
    {"1.2.643.2.2.32.5", "id-GostR3410-94-CryptoPro-D-ParamSet"},
    {"1.2.643.2.2.33.1", "id-GostR3410-94-CryptoPro-XchA-ParamSet"},
    {"1.2.643.2.2.33.2", "id-GostR3410-94-CryptoPro-XchB-ParamSet"},
    {"1.2.643.2.2.33.3", "id-GostR3410-94-CryptoPro-XchC-ParamSet"},
    // RFC 4357: GOST R 34.10-2001, used by GOST R 34.10-2012 too
    {"1.2.643.2.2.35.0", "id-GostR3410-2001-TestParamSet"},
    {"1.2.643.2.2.35.1", "id-GostR3410-2001-CryptoPro-A-ParamSet"},
    {"1.2.643.2.2.35.2", "id-GostR3410-2001-CryptoPro-B-ParamSet"},
    {"1.2.643.2.2.35.3", "id-GostR3410-2001-CryptoPro-C-ParamSet"},
    {"1.2.643.2.2.36.0", "id-GostR3410-2001-CryptoPro-XchA-ParamSet"},
    {"1.2.643.2.2.36.1", "id-GostR3410-2001-CryptoPro-XchB-ParamSet"},
    // RFC 9215 and RFC 7836: GOST R 34.10-2012
    {"1.2.643.7.1.2.1.1.1", "id-tc26-gost-3410-2012-256-paramSetA"},
    {"1.2.643.7.1.2.1.1.2", "id-tc26-gost-3410-2012-256-paramSetB"},
    {"1.2.643.7.1.2.1.1.3", "id-tc26-gost-3410-2012-256-paramSetC"},
    {"1.2.643.7.1.2.1.1.4", "id-tc26-gost-3410-2012-256-paramSetD"},
    {"1.2.643.7.1.2.1.2.0", "id-tc26-gost-3410-2012-512-paramSetTest"},
    {"1.2.643.7.1.2.1.2.1", "id-tc26-gost-3410-2012-512-paramSetA"},
    {"1.2.643.7.1.2.1.2.2", "id-tc26-gost-3410-2012-512-paramSetB"},
    {"1.2.643.7.1.2.1.2.3", "id-tc26-gost-3410-2012-512-paramSetC"},
    // RFC 9215: GOST R 34.11-2012 has no parameters, so its own OID takes their place
    {"1.2.643.7.1.1.2.2", "id-tc26-gost3411-12-256"},
    {"1.2.643.7.1.1.2.3", "id-tc26-gost3411-12-512"},
};

// Empty if no table has the OID. Only one content has this text, so texts are compared instead.
std::string find_name(std::initializer_list<std::span<const row_t>> tables, std::string_view oid) {
    for (const std::span<const row_t> table : tables) {
        const auto found = std::ranges::find(table, oid, &row_t::oid);
        if (found != table.end()) {
            return std::string(found->name);
        }
    }
    return "";
}

// A decimal number without limit.
class decimal_t {
  public:
    // Appends seven bits.
    void append(unsigned int bits) {
        unsigned long long carry = bits;
        for (unsigned int& digits : groups_) {
            carry += digits * 128ULL;
            digits = static_cast<unsigned int>(carry % GROUP);
            carry /= GROUP;
        }
        if (carry != 0) {
            groups_.push_back(static_cast<unsigned int>(carry));
        }
    }

    bool is_below(unsigned int number) const { return groups_.empty() || (groups_.size() == 1 && groups_[0] < number); }

    // The number must not be below the other one.
    void subtract(unsigned int number) {
        for (unsigned int& digits : groups_) {
            const bool borrows = digits < number;
            digits = (borrows ? digits + GROUP : digits) - number;
            number = borrows ? 1 : 0;
        }
    }

    std::string text() const {
        std::string text;
        for (const unsigned int digits : groups_) {
            const std::string group = std::to_string(digits);
            text.insert(0, std::string(GROUP_SIZE - group.size(), '0') + group);
        }
        const std::size_t first = text.find_first_not_of('0');
        return first == std::string::npos ? "0" : text.substr(first);
    }

  private:
    static constexpr unsigned int GROUP = 1'000'000'000;
    static constexpr std::size_t GROUP_SIZE = 9;

    std::vector<unsigned int> groups_; // the lowest first
};

// Removes the first subidentifier. Nothing if it is cut short.
std::optional<decimal_t> take_subidentifier(std::string_view& content) {
    decimal_t number;
    while (!content.empty()) {
        const unsigned int octet = static_cast<unsigned char>(content[0]);
        content.remove_prefix(1);
        number.append(octet & 0x7F);
        if ((octet & 0x80) == 0) {
            return number;
        }
    }
    return std::nullopt;
}

// The first two arcs share a subidentifier (X.690 8.19.4).
std::string first_arcs(decimal_t shared) {
    const unsigned int first = shared.is_below(40) ? 0 : shared.is_below(80) ? 1 : 2;
    shared.subtract(40 * first);
    return std::to_string(first) + "." + shared.text();
}

std::string without_leading_zeros(std::string_view dotted) {
    std::string text;
    bool at_start = true; // of an arc
    for (std::size_t i = 0; i < dotted.size(); ++i) {
        const bool last_of_arc = i + 1 == dotted.size() || dotted[i + 1] == '.';
        if (at_start && dotted[i] == '0' && !last_of_arc) {
            continue;
        }
        text += dotted[i];
        at_start = dotted[i] == '.';
    }
    return text;
}

} // namespace

std::optional<std::string> oid_from_text(std::string_view dotted) {
    unsigned char content[512];
    const unsigned int size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), content);
    return size != 0 ? std::optional(std::string(chars(content, size))) : std::nullopt;
}

std::optional<std::string> find_other_arcs(std::string_view dotted) {
    const std::optional<std::string> content = oid_from_text(dotted);
    if (!content.has_value()) {
        return std::nullopt;
    }
    const std::optional<std::string> arcs = oid_arcs(*content);
    return arcs != without_leading_zeros(dotted) ? arcs : std::nullopt;
}

std::string oid_content(const std::string& der) {
    asn_cursor_t in(der);
    const blob_t content = in.read(asn_tag_t::OBJECT_IDENTIFIER);
    const bool is_element = in.ok() && in.empty() && content.size != 0;
    return is_element ? std::string(chars(content)) : der;
}

std::optional<std::string> oid_arcs(std::string_view content) {
    const std::optional<decimal_t> shared = take_subidentifier(content);
    if (!shared.has_value()) {
        return std::nullopt;
    }
    std::string arcs = first_arcs(*shared);
    while (!content.empty()) {
        const std::optional<decimal_t> arc = take_subidentifier(content);
        if (!arc.has_value()) {
            return std::nullopt;
        }
        arcs += "." + arc->text();
    }
    return arcs;
}

std::string oid_text(std::string_view content) {
    // Text never leads to more octets than this, and long numbers take long to convert.
    constexpr std::size_t MAX_CONTENT_SIZE = 506;
    if (content.size() <= MAX_CONTENT_SIZE) {
        const std::optional<std::string> arcs = oid_arcs(content);
        if (arcs.has_value() && oid_from_text(*arcs) == content) {
            return *arcs;
        }
    }
    return "#" + to_hex(content);
}

named_oid_t name_oid(const blob_t& content) {
    const std::string oid = content.size == 0 ? "" : oid_text(chars(content));
    return {oid, find_name({NAMES, CIPHER_PARAM_SETS}, oid)};
}

named_oid_t name_gost_param_set(const blob_t& content) {
    const std::string oid = content.size == 0 ? "" : oid_text(chars(content));
    return {oid, find_name({CIPHER_PARAM_SETS, OTHER_PARAM_SETS}, oid)};
}

std::vector<named_oid_t> read_gost_param_sets(asn_cursor_t& params) {
    std::vector<named_oid_t> param_sets;
    while (param_sets.size() < MAX_GOST_PARAM_SETS && params.next_is(asn_tag_t::OBJECT_IDENTIFIER)) {
        const blob_t oid = params.read(asn_tag_t::OBJECT_IDENTIFIER);
        if (params.ok()) {
            param_sets.push_back(name_gost_param_set(oid));
        }
    }
    return param_sets;
}

std::string describe(const named_oid_t& oid) {
    if (oid.oid.empty()) {
        return "(no OID)";
    }
    return oid.name.empty() ? oid.oid : oid.name + " (" + oid.oid + ")";
}
