/// @file
/// GOST R 34.10 private keys: PKCS#8 (RFC 5208, RFC 5958) in the shapes that programs write, plain and encrypted.
#ifndef DERKIT_GOST_PRIVATE_KEY_H
#define DERKIT_GOST_PRIVATE_KEY_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "derkit/gost/limits.h"
#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

/// @defgroup gost_keys Private keys
/// @{

/// The algorithm of a key.
enum class key_family {
    gost2001,     ///< GOST R 34.10-2001
    gost2012_256, ///< GOST R 34.10-2012 with 256 bits
    gost2012_512  ///< GOST R 34.10-2012 with 512 bits
};

/// What the privateKey OCTET STRING of a PrivateKeyInfo holds.
enum class key_shape {
    octets,       ///< the number alone, lowest octet first
    octet_string, ///< the same in an OCTET STRING, as asn_write_pkcs8_pki_gost() writes
    integer,      ///< an INTEGER
    masked        ///< the number times a mask, and the mask (RFC 9548); read only
};

/// @param family  any number
/// @return a name for people; "unknown" for other numbers
DERKIT_API const char* name_of(key_family family) noexcept;
/// @param shape  any number
/// @return a name for people; "unknown" for other numbers
DERKIT_API const char* name_of(key_shape shape) noexcept;

/// What a PKCS#8 file tells without a password.
struct key_outline {
    std::optional<encryption_scheme> encryption; ///< of an EncryptedPrivateKeyInfo, which tells nothing else
    named_oid algorithm;                         ///< of a PrivateKeyInfo
    named_oid param_set;                         ///< curve
    named_oid digest_param_set;                  ///< parameters of the digest
    std::optional<key_family> family;            ///< none for other algorithms
    std::optional<key_shape> shape;              ///< none when it is unknown
    std::size_t size = 0;                        ///< octets of the key; with its masks when it is masked
    bool has_public_key = false;                 ///< OneAsymmetricKey with the public key
    bool has_attributes = false;                 ///< whether attributes follow the key
};

/// A GOST R 34.10 private key.
///
/// Distinct objects may be used in parallel.
class private_key {
  public:
    DERKIT_API ~private_key(); ///< Wipes the key.
    /// Copies a key.
    /// @param other  to be copied
    DERKIT_API private_key(const private_key& other);
    /// Copies a key. On std::bad_alloc nothing has changed.
    /// @param other  to be copied
    /// @return the key itself
    DERKIT_API private_key& operator=(const private_key& other);
    /// Takes over a key.
    /// @param other  is only fit to be destroyed or assigned to afterwards
    DERKIT_API private_key(private_key&& other) noexcept;
    /// Takes over a key.
    /// @param other  is only fit to be destroyed or assigned to afterwards
    /// @return the key itself
    DERKIT_API private_key& operator=(private_key&& other) noexcept;

    /// Reads a PrivateKeyInfo or an EncryptedPrivateKeyInfo. A public key in it is compared with the private key.
    ///
    /// @param der       the element; octets after it are refused
    /// @param password  UTF-8; only needed when the key is encrypted
    /// @param cost      limits of size and iterations
    /// @return the key, from which a mask has been removed
    DERKIT_API static result<private_key>
    read(std::string_view der, std::optional<std::string_view> password = std::nullopt, const limits& cost = limits());

    /// Decrypts an EncryptedPrivateKeyInfo, whatever the algorithm of its key.
    ///
    /// @param der       the element; octets after it are refused
    /// @param password  UTF-8
    /// @param cost      limits of size and iterations
    /// @return the PrivateKeyInfo
    DERKIT_API static result<secret> decrypt(std::string_view der, std::optional<std::string_view> password,
                                             const limits& cost = limits());

    /// Makes a key of a number.
    ///
    /// @param family     algorithm
    /// @param param_set  dotted OID of the curve
    /// @param number     highest octet first, 32 or 64 octets as the family demands; not zero and below the order
    /// @return the key
    DERKIT_API static result<private_key> from_number(key_family family, std::string_view param_set,
                                                      std::string_view number);

    /// Reads everything that needs no password.
    /// @param der   as for read()
    /// @param cost  limit of size
    /// @return the outline; a failure when it is neither PrivateKeyInfo nor EncryptedPrivateKeyInfo
    DERKIT_API static result<key_outline> inspect(std::string_view der, const limits& cost = limits());

    DERKIT_API key_family family() const noexcept;          ///< @return the algorithm
    DERKIT_API const named_oid& param_set() const noexcept; ///< @return the curve
    DERKIT_API const named_oid&
    digest_param_set() const noexcept;           ///< @return the digest's parameters; no OID where there are none
    DERKIT_API key_shape shape() const noexcept; ///< @return that of the file; octets after from_number()

    /// @return the number, highest octet first: 32 or 64 octets
    DERKIT_API const secret& number() const noexcept;

    /// @return x and y, each lowest octet first: 64 or 128 octets, as in the OCTET STRING of a SubjectPublicKeyInfo
    ///         (RFC 4491, RFC 9215); cause::unsupported_param_set when libgcrypt lacks the curve
    DERKIT_API result<std::string> public_key() const;

    /// Tells whether a certificate is for this key.
    /// @param certificate  DER
    /// @return whether its public key is that of this key; a failure when the certificate cannot be read or the public
    ///         key cannot be computed
    DERKIT_API result<bool> belongs_to(std::string_view certificate) const;

    /// Writes a PrivateKeyInfo with the parameter sets of the key.
    /// @param shape  all but key_shape::masked
    /// @return the element; cause::invalid_argument for key_shape::masked, and for key_shape::integer when the INTEGER has
    ///         the size of the number, because readers would take it for bare octets
    DERKIT_API result<secret> write(key_shape shape = key_shape::octets) const;

    /// Writes an EncryptedPrivateKeyInfo.
    /// @param password  UTF-8; may be empty
    /// @param options   format::native is the same as format::gost94
    /// @param shape     as for write()
    /// @return the element; cause::invalid_argument for options that are no enumerator, cause::invalid_text for a
    ///         password that is not UTF-8, and as for write()
    DERKIT_API result<std::string> write_encrypted(std::string_view password,
                                                   const write_options& options = write_options(),
                                                   key_shape shape = key_shape::octets) const;

  private:
    struct state;
    std::unique_ptr<state> state_;
    explicit private_key(std::unique_ptr<state> made) noexcept;
};

/// @}

} // namespace derkit::gost

#endif
