/// @file
/// PKCS#12 with the reasons why something was refused, and friendly names in UTF-8.
#ifndef DERKIT_HELPERS_PKCS12_H
#define DERKIT_HELPERS_PKCS12_H

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "derkit/asn_helper.h"
#include "derkit/helpers/bytes.h"
#include "derkit/helpers/cursor.h"
#include "derkit/pkcs12_helper.h"
#include "derkit/t61.h"

namespace derkit {

/// @addtogroup helpers
/// @{

/// Converts a friendly name, or another BMPString, to UTF-8. Pairs of surrogates, which programs write although a
/// BMPString has none, become one character.
/// @param text  UTF-16, big-endian
/// @return UTF-8, or nothing for an odd number of bytes or a surrogate without its other half
inline maybe_string to_utf8(const bmp_string_t& text) {
    if (text.size % 2 != 0) {
        return maybe_string();
    }
    std::string utf8;
    for (unsigned int i = 0; i < text.size; i += 2) {
        unsigned int character = static_cast<unsigned int>(text.data[i] << 8 | text.data[i + 1]);
        if (character >= 0xD800 && character <= 0xDFFF) {
            const bool has_other_half = character <= 0xDBFF && text.size - i >= 4 && text.data[i + 2] >> 2 == 0xDC >> 2;
            if (!has_other_half) {
                return maybe_string();
            }
            i += 2;
            const unsigned int low = static_cast<unsigned int>(text.data[i] << 8 | text.data[i + 1]);
            character = 0x10000 + ((character & 0x3FF) << 10) + (low & 0x3FF);
        }
        char bytes[6];
        utf8.append(bytes, static_cast<unsigned int>(ldap_x_wc_to_utf8(bytes, character, sizeof bytes)));
    }
    return maybe_string(std::move(utf8));
}

/// Why a container could not be read.
enum class pkcs12_refusal : unsigned char {
    NONE,            ///< it was read
    CUT,             ///< the file ends before the container does
    MALFORMED,       ///< it is not PKCS#12 in DER
    SIGNED,          ///< authSafe is not id-data: it is signed, not protected by a password
    NO_MAC,          ///< nothing protects it
    UNSUPPORTED_MAC, ///< the MAC has a digest that the crypto object does not have
    WRONG_MAC,       ///< wrong password, or the file was altered
    CONTENTS,        ///< the MAC is good, but what it covers is malformed
    NOT_DECRYPTED,   ///< the container was read, but the crypto object refused to decrypt some of it
    SKIPPED          ///< the container was read, but some of it is encrypted in a way that the library does not know
};

/// @param refusal  any of them
/// @return a sentence without a full stop, in English, that explains it to people
inline const char* message_of(pkcs12_refusal refusal) noexcept {
    switch (refusal) {
    case pkcs12_refusal::NONE:
        return "the container was read";
    case pkcs12_refusal::CUT:
        return "the file is cut short";
    case pkcs12_refusal::MALFORMED:
        return "the file is not PKCS#12 in DER";
    case pkcs12_refusal::SIGNED:
        return "the container is signed, not protected by a password";
    case pkcs12_refusal::NO_MAC:
        return "the container has no MAC";
    case pkcs12_refusal::UNSUPPORTED_MAC:
        return "the digest of the MAC is not supported";
    case pkcs12_refusal::WRONG_MAC:
        return "the MAC does not match: wrong password, or the file was altered";
    case pkcs12_refusal::CONTENTS:
        return "the MAC matches, but what it covers is malformed";
    case pkcs12_refusal::NOT_DECRYPTED:
        return "some of the container could not be decrypted";
    case pkcs12_refusal::SKIPPED:
        return "some of the container is encrypted in an unknown way";
    }
    return "";
}

/// An operation of pbe_crypto_t.
enum class crypto_operation : unsigned char { VERIFY_MAC, MAKE_MAC, DECRYPT, ENCRYPT };

/// An operation that a crypto object refused.
struct refused_operation {
    crypto_operation operation = crypto_operation::VERIFY_MAC; ///< which one
    unsigned int iterations = 0;                               ///< iteration count of the file; 0 when writing
    unsigned int size = 0;                                     ///< bytes that it was for
};

/// Counts what is encrypted in a container at its outermost level: entries that are not id-data, and shrouded keys in
/// those that are.
///
///     AuthenticatedSafe ::= SEQUENCE OF ContentInfo     -- in an OCTET STRING     (RFC 7292 4.1)
///     ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER, content [0] ANY }
///     SafeContents ::= SEQUENCE OF SafeBag     -- in the OCTET STRING of id-data
///     SafeBag ::= SEQUENCE { bagId OBJECT IDENTIFIER, bagValue [0] ANY, bagAttributes SET OPTIONAL }
///
/// @param auth_safe  the OCTET STRING element, which the MAC covers
/// @return their number, up to the first malformed element
inline unsigned int count_encrypted(const blob_t& auth_safe) noexcept {
    const unsigned char id_data[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01}; // 1.2.840.113549.1.7.1
    const unsigned char id_shrouded_key_bag[] = {0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D,
                                                 0x01, 0x0C, 0x0A, 0x01, 0x02}; // 1.2.840.113549.1.12.10.1.2
    unsigned int count = 0;
    cursor entries = cursor(auth_safe).enter(asn_tag_t::OCTET_STRING).enter(asn_tag_t::SEQUENCE);
    while (!entries.empty()) {
        cursor entry = entries.enter(asn_tag_t::SEQUENCE);
        const blob_t content_type = entry.read(asn_tag_t::OBJECT_IDENTIFIER);
        if (!asn_oid_equal_(content_type, id_data)) {
            count += entry.ok() ? 1 : 0;
            continue;
        }
        cursor bags = entry.enter(asn_tag_t::CONTEXT_0).enter(asn_tag_t::OCTET_STRING).enter(asn_tag_t::SEQUENCE);
        while (!bags.empty()) {
            const blob_t bag_id = bags.enter(asn_tag_t::SEQUENCE).read(asn_tag_t::OBJECT_IDENTIFIER);
            count += asn_oid_equal_(bag_id, id_shrouded_key_bag) ? 1 : 0;
        }
    }
    return count;
}

/// A crypto object around your own that remembers what that refused, which the reader and the writer do not tell.
///
/// It passes everything on and changes no result. Exceptions of your object pass through. Use one for one container at
/// a time.
class recording_crypto final : public pbe_crypto_t {
  public:
    /// Wraps a crypto object.
    /// @param crypto   does the work; must outlive this object
    /// @param digests  hash codes of the MACs that it can verify, such as PKI_ALG_GOST_3411_94: a refused MAC of another
    ///                 one is unsupported, not wrong
    recording_crypto(pbe_crypto_t& crypto, std::vector<pki_alg_t> digests)
        : crypto_(crypto), digests_(std::move(digests)) {}

    /// @return what was refused since the object was made or clear() was called, in order
    const std::vector<refused_operation>& refusals() const noexcept { return refusals_; }
    /// @return the hash code of the last MAC that was to be verified; PKI_ALG_UNKNOWN before, and for a digest that the
    ///         library has no code for
    pki_alg_t mac_digest() const noexcept { return mac_digest_; }
    /// @return whether a MAC was to be verified: false if the reader stopped before
    bool mac_asked() const noexcept { return mac_asked_; }
    /// @return whether the last MAC was good
    bool mac_good() const noexcept { return mac_good_; }
    /// @return whether the digest of the last MAC is one that the wrapped object has
    bool mac_supported() const { return std::find(digests_.begin(), digests_.end(), mac_digest_) != digests_.end(); }

    /// @return how much of the last container is encrypted, but was not to be decrypted: the library does not know how.
    ///         What is encrypted within encrypted entries is not counted.
    unsigned int num_skipped() const noexcept { return num_encrypted_ - std::min(num_asked_, num_encrypted_); }

    /// Forgets everything.
    void clear() noexcept {
        covered_ = blob_t();
        num_encrypted_ = 0;
        num_asked_ = 0;
        refusals_.clear();
        mac_digest_ = PKI_ALG_UNKNOWN;
        mac_asked_ = false;
        mac_good_ = false;
    }

    /// Passes the question on.
    /// @param mac   as in the file
    /// @param data  what the MAC covers
    /// @param size  bytes of it
    /// @return what the wrapped object returns
    bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override {
        const blob_t digest = cursor(mac.digest_alg).read(asn_tag_t::OBJECT_IDENTIFIER);
        mac_digest_ = PKI_OID_TO_HASH_ALG(digest.data, digest.size);
        covered_ = to_blob(data, size);
        num_encrypted_ = count_encrypted(covered_);
        num_asked_ = 0;
        mac_asked_ = true;
        mac_good_ = false;
        mac_good_ = note(crypto_.verify_mac(mac, data, size), crypto_operation::VERIFY_MAC, mac.iterations, size);
        return mac_good_;
    }

    /// Passes the question on.
    /// @param data  what the MAC is to cover
    /// @param size  bytes of it
    /// @param mac   receives what the wrapped object chooses
    /// @return what the wrapped object returns
    bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) override {
        return note(crypto_.make_mac(data, size, mac), crypto_operation::MAKE_MAC, 0, size);
    }

    /// Passes the question on.
    /// @param params  as in the file
    /// @param data    ciphertext
    /// @param size    bytes of it
    /// @param out     receives the plaintext
    /// @return what the wrapped object returns
    bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) override {
        if (is_covered(data)) {
            ++num_asked_;
        }
        return note(crypto_.decrypt(params, data, size, out), crypto_operation::DECRYPT, params.iterations, size);
    }

    /// Passes the question on.
    /// @param data    plaintext
    /// @param size    bytes of it
    /// @param params  receive what the wrapped object chooses
    /// @param out     receives the ciphertext
    /// @return what the wrapped object returns
    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override {
        return note(crypto_.encrypt(data, size, params, out), crypto_operation::ENCRYPT, 0, size);
    }

  private:
    pbe_crypto_t& crypto_;
    std::vector<pki_alg_t> digests_;
    std::vector<refused_operation> refusals_;
    pki_alg_t mac_digest_ = PKI_ALG_UNKNOWN;
    bool mac_asked_ = false;
    bool mac_good_ = false;
    blob_t covered_; // by the MAC: ciphertext outside it was decrypted itself
    unsigned int num_encrypted_ = 0;
    unsigned int num_asked_ = 0; // of these

    bool is_covered(const void* data) const noexcept {
        const std::less<const unsigned char*> before;
        const unsigned char* const p = static_cast<const unsigned char*>(data);
        return covered_.size != 0 && !before(p, covered_.data) && before(p, covered_.data + covered_.size);
    }

    bool note(bool done, crypto_operation operation, unsigned int iterations, unsigned int size) {
        if (!done) {
            refused_operation refused;
            refused.operation = operation;
            refused.iterations = iterations;
            refused.size = size;
            refusals_.push_back(refused);
        }
        return done;
    }
};

/// Finds out why asn_read_pkcs12_easy() refused a file before it asked for the MAC.
///
///     PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }     (RFC 7292 4)
///
/// @param file  the file's bytes
/// @return the cause; pkcs12_refusal::MALFORMED if none of the others holds
inline pkcs12_refusal refusal_before_mac(const blob_t& file) noexcept {
    const unsigned char id_signed_data[] = {0x2A, 0x86, 0x48, 0x86, 0xF7,
                                            0x0D, 0x01, 0x07, 0x02}; // 1.2.840.113549.1.7.2
    unsigned char header[6] = {};
    std::copy_n(file.data, std::min(file.size, 6U), header);
    const bool may_be_pfx = file.size == 0 || header[0] == asn_tag_t::SEQUENCE;
    if (may_be_pfx && element_size(header, sizeof header) > file.size) {
        return pkcs12_refusal::CUT;
    }
    cursor pfx = cursor(file).enter(asn_tag_t::SEQUENCE);
    pfx.skip(asn_tag_t::INTEGER);
    cursor auth_safe = pfx.enter(asn_tag_t::SEQUENCE);
    const blob_t content_type = auth_safe.read(asn_tag_t::OBJECT_IDENTIFIER);
    if (!auth_safe.ok()) {
        return pkcs12_refusal::MALFORMED;
    }
    if (asn_oid_equal_(content_type, id_signed_data)) {
        return pkcs12_refusal::SIGNED;
    }
    return pfx.empty() ? pkcs12_refusal::NO_MAC : pkcs12_refusal::MALFORMED;
}

/// Reads a container as asn_read_pkcs12_easy() does, and says why that refused.
///
/// @param file       the file's bytes; they must outlive the container
/// @param crypto     forgets what it recorded before
/// @param container  bags are appended to what it holds, also after a failure
/// @return pkcs12_refusal::NONE, or the cause. With pkcs12_refusal::NOT_DECRYPTED and
///         pkcs12_refusal::SKIPPED, the rest of the container was read.
inline pkcs12_refusal read_pkcs12(const blob_t& file, recording_crypto& crypto, pkcs12_easy_t& container) {
    crypto.clear();
    if (asn_read_pkcs12_easy(file.data, file.size, &crypto, container)) {
        if (!crypto.refusals().empty()) {
            return pkcs12_refusal::NOT_DECRYPTED;
        }
        return crypto.num_skipped() != 0 ? pkcs12_refusal::SKIPPED : pkcs12_refusal::NONE;
    }
    if (!crypto.mac_asked()) {
        return refusal_before_mac(file);
    }
    if (crypto.mac_good()) {
        return pkcs12_refusal::CONTENTS;
    }
    return crypto.mac_supported() ? pkcs12_refusal::WRONG_MAC : pkcs12_refusal::UNSUPPORTED_MAC;
}

/// Writes a container as asn_write_pkcs12_easy() does, unless the crypto object refused anything: the writer itself
/// ignores that.
/// @param container  not changed
/// @param crypto     forgets what it recorded before
/// @return the file's bytes, or nothing if refusals() of `crypto` has something
inline maybe_string write_pkcs12(const pkcs12_easy_t& container, recording_crypto& crypto) {
    crypto.clear();
    std::string file;
    asn_write_pkcs12_easy(container, &crypto, file);
    return crypto.refusals().empty() ? maybe_string(std::move(file)) : maybe_string();
}

/// @}

} // namespace derkit

#endif
