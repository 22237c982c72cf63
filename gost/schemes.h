// What protects the parts of a file under a password: encryption and MAC, read and written by the same tables.
#ifndef DERKIT_GOST_SCHEMES_H
#define DERKIT_GOST_SCHEMES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "derkit/gost/limits.h"
#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "derkit/gost/secret.h"
#include "derkit/pkcs12_helper.h"
#include "gost/crypto.h"
#include "gost/der.h"

namespace derkit::gost {

// A password at work on one file: the keys derived so far, and what they cost. Repeated derivations are free.
class session {
  public:
    session(std::optional<std::string_view> password, const limits& cost);

    // PBKDF2 of the password's octets; with no password that of no octets.
    result<secret> pbkdf2_key(digest_id digest, std::string_view salt, std::uint32_t iterations, std::size_t size);

    // RFC 7292 appendix B of the password as UTF-16.
    result<secret> pkcs12_key(digest_id digest, pkcs12_purpose purpose, std::string_view salt, std::uint32_t iterations,
                              std::size_t size);

    // No password and an empty one are the same to a person but not to appendix B. Changes one into the other and
    // returns true; with any other password nothing changes.
    bool swap_empty_and_none();

    const limits& cost() const { return cost_; }

  private:
    struct derived {
        std::string what; // the arguments
        secret key;
    };

    std::optional<secret> password_;
    bool none_for_pkcs12_;
    limits cost_;
    std::uint64_t spent_ = 0;
    std::vector<derived> derived_;

    const secret* find(const std::string& what) const;
    // What the limits say against a derivation; its cost is counted.
    cause charge(digest_id digest, std::uint32_t iterations, std::size_t size);
    result<secret> remember(std::string what, result<secret> key);
};

// What a plaintext must be for its password to be right.
enum class plaintext {
    PRIVATE_KEY_INFO, // SEQUENCE that begins with an INTEGER
    SAFE_CONTENTS     // SEQUENCE of SEQUENCEs; or an OCTET STRING around one, as in the native form
};

// Tells whether `octets` is that and nothing else, with whole elements in every depth.
bool is_plaintext(std::string_view octets, plaintext expected, strings are = strings::OPAQUE);

// The text for people of an OID that the tables of schemes have; with an empty name for all others.
named_oid name_scheme_oid(const blob_t& oid);

// Reads an AlgorithmIdentifier's content without using it. Parameters that are malformed, unknown algorithms and
// iteration counts above limits::max_iterations are noted in encryption_scheme::unsupported.
encryption_scheme outline_encryption(const blob_t& algorithm, const limits& cost);

// The same of a MAC that asn_read_pkcs12_MacData() read.
mac_scheme outline_mac(const pkcs12_mac_t& mac, const limits& cost);

// Decrypts. `algorithm` is an AlgorithmIdentifier's content. A ciphertext without an OMAC whose plaintext is not what
// is expected is cause::wrong_password.
result<secret> decrypt(session& under, const blob_t& algorithm, const blob_t& ciphertext, plaintext expected);

struct encrypted {
    std::string algorithm; // the AlgorithmIdentifier, complete
    std::string ciphertext;
};

inline failure first_of(failure first, failure second) {
    return first.why != cause::none ? std::move(first) : std::move(second);
}

// Why nothing can be written with these options; cause::none when it can.
failure check_options(const write_options& options);

// Why nothing is written under this password: only UTF-8 is the same password to every program.
failure check_new_password(std::string_view password);

// Encrypts under a fresh salt and IV. Of the options, format, cipher, sections and iterations count; format::native is
// the same as format::gost94. `plain` is what decrypt() will expect.
result<encrypted> encrypt(session& under, const write_options& options, std::string_view plain, plaintext expected);

struct verified_mac {
    mac_key key = mac_key::unknown;
    container_form form = container_form::standard;
};

// Verifies the MAC over what authSafe's [0] holds: the complete OCTET STRING element, of which the standard form covers
// the content. cause::wrong_mac when no way of deriving its key fits.
result<verified_mac> verify_mac(session& under, const pkcs12_mac_t& mac, std::string_view octet_string);

// The key of a MAC by PBKDF2: the last 32 of 96 octets (R 50.1.112-2016).
result<secret> pbkdf2_mac_key(session& under, digest_id digest, std::string_view salt, std::uint32_t iterations);

// The complete MacData element over `covered`, with a fresh salt.
result<std::string> make_mac_data(session& under, const write_options& options, std::string_view covered);

} // namespace derkit::gost

#endif
