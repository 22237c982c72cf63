/// @file
/// PKCS#12 containers (RFC 7292) with GOST keys, as programs write them: opened, listed and written.
#ifndef DERKIT_GOST_CONTAINER_H
#define DERKIT_GOST_CONTAINER_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/gost/limits.h"
#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

/// @defgroup gost_containers Containers
/// @{

/// What kind of container a file is, by its MAC and by how its keys are encrypted, or by all its encrypted parts when no
/// encrypted key is visible. New kinds are added at the end; numbers are never reused.
enum class container_kind : int {
    unknown = 0,           ///< an algorithm is none of those that the library knows
    gost94 = 1,            ///< HMAC GOST R 34.11-94, GOST 28147-89; before the MAC is verified also gost94_pkcs12_kdf
    gost94_pkcs12_kdf = 2, ///< the same with a MAC key by RFC 7292 appendix B
    tc26 = 3,              ///< HMAC GOST R 34.11-2012, GOST 28147-89; before the MAC is verified also tc26_pkcs12_kdf
    tc26_pkcs12_kdf = 4,   ///< the same with a MAC key by RFC 7292 appendix B
    gost_mixed = 5,        ///< GOST R 34.11-94 for the MAC and 34.11-2012 for encryption, or the reverse
    ctr_acpkm = 6,         ///< Kuznyechik or Magma in CTR-ACPKM (RFC 9337)
    ctr_acpkm_omac = 7,    ///< the same with an OMAC inside the ciphertext
    ctr_acpkm_sha2 = 8,    ///< as ctr_acpkm, with HMAC-SHA-2 for encryption
    vendor_export = 9,     ///< a vendor's export of a key: named, not opened
    general = 10,          ///< AES, Triple DES or RC2 with SHA: what programs without GOST write
    no_mac = 11,           ///< no MAC; the schemes of its parts are any of the others
    for_recipient = 12,    ///< encrypted for a recipient's key: named, not opened
    mixed = 13,            ///< known algorithms in another combination, such as a MAC with SHA-256 and GOST 28147-89
    signed_instead = 14    ///< a signature in place of the MAC: named, not opened
};

/// @param kind  any number
/// @return a short name for people; "unknown" for other numbers
DERKIT_API const char* name_of(container_kind kind) noexcept;

/// The result of verifying a container's MAC.
enum class mac_verdict {
    not_checked, ///< it was not verified, because no password was given
    good,        ///< it matches
    wrong,       ///< it does not match: wrong password, or altered data
    none,        ///< the container has no MAC
    unsupported  ///< the library cannot verify it
};

/// The MAC of a container.
struct container_mac {
    mac_verdict verdict = mac_verdict::none; ///< the result of verifying it
    mac_key key = mac_key::unknown;          ///< where its key came from, when it is good
    std::optional<mac_scheme> scheme;        ///< how it is made; none without a MAC
};

/// An attribute of a bag.
struct attribute {
    std::string oid;                 ///< dotted
    std::vector<std::string> values; ///< complete DER elements
};

/// What a bag holds.
enum class bag_type {
    private_key, ///< a PrivateKeyInfo, in the clear or shrouded
    certificate, ///< an X.509 certificate
    bags,        ///< a SafeContents
    other        ///< anything else: a CRL, a secret, a certificate of another type
};

/// One bag.
struct bag {
    bag_type type = bag_type::other; ///< what it holds
    /// Type of the bag; of a certificate, a CRL or a secret see also value_type. Ignored when a key or an X.509
    /// certificate is written.
    named_oid id;
    named_oid value_type; ///< type of a certificate, a CRL or a secret
    /// The decrypted PrivateKeyInfo, the DER certificate, or for other bags the complete element in bagValue's [0].
    /// Empty for a bag of bags, and when `refusal` says why.
    secret value;
    std::optional<encryption_scheme> encryption; ///< of a shrouded key; none otherwise. Ignored when written.
    std::optional<failure> refusal;              ///< why `value` is empty

    std::optional<std::string> friendly_name; ///< in UTF-8
    std::optional<std::string> local_key_id;  ///< octets
    std::vector<attribute> attributes;        ///< all others in file order, a friendlyName that is not UTF-16 included

    std::vector<bag> nested; ///< the bags of a bag of bags
};

/// One entry of a container's AuthenticatedSafe.
struct entry {
    named_oid content_type;                      ///< id-data, id-encryptedData, …
    std::optional<encryption_scheme> encryption; ///< of an encrypted one; none otherwise
    std::optional<failure> refusal;              ///< why it was not opened
    std::vector<bag> bags;                       ///< in file order; empty when it was not opened
};

/// The contents of a container: read from a file, or to be written.
///
/// Distinct objects may be used in parallel.
class container {
  public:
    DERKIT_API container();  ///< Holds no bags.
    DERKIT_API ~container(); ///< Wipes all secrets.
    /// Takes over everything.
    /// @param other  is only fit to be destroyed or assigned to afterwards
    DERKIT_API container(container&& other) noexcept;
    /// Takes over everything.
    /// @param other  is only fit to be destroyed or assigned to afterwards
    /// @return the container itself
    DERKIT_API container& operator=(container&& other) noexcept;

    /// Opens a file. Entries and bags that could not be opened have a refusal; they are no failure of the whole.
    ///
    /// @param file      DER, whose lengths may take more octets than they need; outside of ciphertexts also BER with
    ///                  indefinite lengths and OCTET STRINGs in pieces. What follows the PFX is ignored. Not needed
    ///                  afterwards.
    /// @param password  UTF-8. An absent and an empty password are different keys in RFC 7292 appendix B; both are tried,
    ///                  whichever was given.
    /// @param options   cause::wrong_mac, cause::no_mac and cause::unsupported_mac are failures unless
    ///                  integrity::accept_unverified is set; and the limits
    /// @return the container; a failure also when the file is not a PFX, is signed or enveloped as a whole, or exceeds a
    ///         limit of size, depth or number
    DERKIT_API static result<container> open(std::string_view file, std::optional<std::string_view> password,
                                             const open_options& options = open_options());

    /// Reads everything that needs no password: the kind, every scheme and whether it is supported here, and the bags in
    /// entries that are not encrypted. Keys in the clear are withheld with cause::unverified, encrypted parts with
    /// cause::password_needed or the reason why no password would help. Signed and enveloped containers are listed too.
    ///
    /// @param file  as for open()
    /// @param cost  limits; an iteration count above its limit is the refusal of its part
    /// @return the container; a failure when the file is not a PFX or exceeds a limit
    DERKIT_API static result<container> inspect(std::string_view file, const limits& cost = limits());

    DERKIT_API container_kind kind() const noexcept; ///< @return the kind of the file; unknown for a new container
    /// @return the form of the file; standard until a good MAC or a plaintext shows otherwise
    DERKIT_API container_form form() const noexcept;
    DERKIT_API const container_mac& mac() const noexcept;          ///< @return the MAC of the file
    DERKIT_API const std::vector<entry>& entries() const noexcept; ///< @return the entries in file order

    /// @return all bags in file order, with a bag of bags replaced by its own. Valid until the container changes.
    DERKIT_API std::vector<const bag*> bags() const;

    /// Adds a bag. write() chooses the entry that it goes into.
    /// @param added  `type` and `value` at least; for bag_type::other also `id`
    DERKIT_API void add(bag added);

    /// Writes a new container with all bags in file order, under fresh salts and IVs: private keys shrouded, certificates
    /// and all others in an encrypted entry. format::native holds keys and certificates only, and no iteration counts
    /// with a zero octet.
    ///
    /// @param password  UTF-8; may be empty
    /// @param options   how to write it
    /// @return the file. Failures: the refusal of a bag or an entry that was not opened; cause::invalid_argument for
    ///         options that are no enumerator or do not fit the format, for an invalid OID, and for DER that is not
    ///         whole; cause::invalid_text for a password or a name that is not UTF-8; cause::too_deep for bags nested
    ///         deeper than limits::max_depth is by default
    DERKIT_API result<std::string> write(std::string_view password,
                                         const write_options& options = write_options()) const;

  private:
    struct state;
    std::unique_ptr<state> state_;
};

/// Encodes a bag as PEM: `PRIVATE KEY` or `CERTIFICATE`.
/// @param from  a bag
/// @return the text with its final line feed; empty for other bags and for a bag without value
DERKIT_API secret to_pem(const bag& from);

/// @}

} // namespace derkit::gost

#endif
