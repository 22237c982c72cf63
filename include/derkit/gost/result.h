/// @file
/// What calls of the GOST library return: a value, or the cause of a failure.
#ifndef DERKIT_GOST_RESULT_H
#define DERKIT_GOST_RESULT_H

#include <cstdlib>
#include <string>
#include <utility>
#include <variant>

#include "derkit/asn_types.h"

namespace derkit::gost {

/// @defgroup gost_results Results
/// Failures are values. The only exception that the library throws is std::bad_alloc.
/// @{

/// Why something was refused. New causes are added at the end; numbers are never reused.
enum class cause : int {
    none = 0,                   ///< nothing was refused
    malformed = 1,              ///< the input is not the expected DER structure, or is cut short
    malformed_parameters = 2,   ///< an algorithm is known but its parameters are not what its standard says
    too_large = 3,              ///< the input is larger than limits::max_size, or does not fit a DER length of 32 bits
    too_deep = 4,               ///< bags are nested deeper than limits::max_depth, or other elements too deeply
    too_many_bags = 5,          ///< more bags than limits::max_bags
    too_many_iterations = 6,    ///< one iteration count is above limits::max_iterations
    budget_exhausted = 7,       ///< all key derivations together would exceed limits::max_total_iterations
    unsupported_mac = 8,        ///< the MAC of the container is of an algorithm that the library does not have
    unsupported_scheme = 9,     ///< encryption by a scheme other than PBES2 and the two old ones of PKCS#12
    unsupported_kdf = 10,       ///< PBES2 with a key derivation function other than PBKDF2
    unsupported_prf = 11,       ///< PBKDF2 with a pseudo-random function that the library does not have
    unsupported_cipher = 12,    ///< PBES2 with a cipher that the library does not have
    unsupported_param_set = 13, ///< a parameter set (S-box or curve) that the library does not know
    unsupported_content = 14,   ///< a content type other than data and encryptedData
    unsupported_key = 15,       ///< a key of another algorithm than GOST R 34.10
    vendor_scheme = 16,         ///< a vendor's own encryption of exported keys, recognised by its identifier
    recipient_needed = 17,      ///< the content is encrypted for a recipient's key, not under a password
    password_needed = 18,       ///< encrypted, and no password was given
    wrong_password = 19,        ///< decryption yields no valid plaintext: wrong password, or altered data
    wrong_mac = 20,             ///< the MAC of the container does not match: wrong password, or altered data
    no_mac = 21,                ///< the container has no MAC, so nothing vouches for it
    wrong_omac = 22,            ///< the OMAC inside a ciphertext does not match: wrong password, or altered data
    unverified = 23,            ///< withheld, because no good MAC vouches for it
    invalid_argument = 24,      ///< an argument is invalid, or does not fit the format
    invalid_text = 25,          ///< text that is not UTF-8 where it must be
    key_out_of_range = 26,      ///< the private key is zero or not below the order of its curve, or of a wrong length
    public_key_mismatch = 27,   ///< the public key stored with a private key is not that key's
    crypto_failure = 28,        ///< libgcrypt or GnuTLS reported a failure, or cannot be used
    too_many_attributes = 29,   ///< more attributes and values than limits::max_attributes
    signed_instead = 30         ///< the container has a signature in place of a MAC, which is not verified here
};

/// @param why  any number
/// @return the enumerator's own name, such as "wrong_mac"; "unknown" for other numbers
DERKIT_API const char* name_of(cause why) noexcept;

/// @param why  any number
/// @return a sentence for people in English, without a final stop; "unknown cause" for other numbers
DERKIT_API const char* text_of(cause why) noexcept;

/// A cause, and what it concerns.
struct failure {
    cause why = cause::none; ///< the cause
    std::string detail;      ///< an OID, a number or another library's message; never a secret; may be empty

    /// @return the cause's sentence, with the detail after a colon if there is one
    std::string message() const {
        return detail.empty() ? std::string(text_of(why)) : std::string(text_of(why)) + ": " + detail;
    }
};

/// A value, or the reason why there is none.
///
/// Asking for the value of a failure is a defect of the program, which ends by std::abort().
template <typename T> class [[nodiscard]] result {
  public:
    /// Holds a value.
    /// @param value  to be moved into the result
    result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    /// Holds a failure.
    /// @param refusal  cause and detail
    result(failure refusal) : state_(std::in_place_index<1>, std::move(refusal)) {}
    /// Holds a failure without detail.
    /// @param why  cause
    result(cause why) : state_(std::in_place_index<1>, failure{why, std::string()}) {}

    /// @return whether there is a value
    bool ok() const noexcept { return state_.index() == 0; }
    /// @return whether there is a value
    explicit operator bool() const noexcept { return ok(); }

    T& value() & { return *checked(std::get_if<0>(&state_)); }              ///< @return the value
    const T& value() const& { return *checked(std::get_if<0>(&state_)); }   ///< @return the value
    T&& value() && { return std::move(*checked(std::get_if<0>(&state_))); } ///< @return the value, to move from
    T& operator*() & { return value(); }                                    ///< @return the value
    const T& operator*() const& { return value(); }                         ///< @return the value
    T&& operator*() && { return std::move(*this).value(); }                 ///< @return the value, to move from
    T* operator->() { return &value(); }                                    ///< @return the value
    const T* operator->() const { return &value(); }                        ///< @return the value

    /// @return the cause; cause::none when there is a value
    cause why() const noexcept { return ok() ? cause::none : std::get_if<1>(&state_)->why; }
    /// @return the failure; there must be one
    const failure& error() const { return *checked(std::get_if<1>(&state_)); }
    /// @return a text for people; empty when there is a value
    std::string message() const { return ok() ? std::string() : error().message(); }

  private:
    std::variant<T, failure> state_;

    template <typename POINTER> static POINTER checked(POINTER held) {
        if (held == nullptr) {
            std::abort();
        }
        return held;
    }
};

/// @}

} // namespace derkit::gost

#endif
