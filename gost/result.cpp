#include "derkit/gost/result.h"

#include <array>

namespace derkit::gost {

namespace {

struct cause_texts {
    cause why;
    const char* name;
    const char* text;
};

constexpr std::array CAUSES = {
    cause_texts{cause::none, "none", "nothing was refused"},
    cause_texts{cause::malformed, "malformed", "the data is malformed or truncated"},
    cause_texts{cause::malformed_parameters, "malformed_parameters", "the parameters of an algorithm are malformed"},
    cause_texts{cause::too_large, "too_large", "the data is too large"},
    cause_texts{cause::too_deep, "too_deep", "bags are nested too deeply"},
    cause_texts{cause::too_many_bags, "too_many_bags", "there are too many bags"},
    cause_texts{cause::too_many_iterations, "too_many_iterations", "the iteration count is above the limit"},
    cause_texts{cause::budget_exhausted, "budget_exhausted",
                "the key derivations of the file together are above the limit"},
    cause_texts{cause::unsupported_mac, "unsupported_mac", "the MAC is of an unsupported algorithm"},
    cause_texts{cause::unsupported_scheme, "unsupported_scheme", "the encryption scheme is not supported"},
    cause_texts{cause::unsupported_kdf, "unsupported_kdf", "the key derivation function is not supported"},
    cause_texts{cause::unsupported_prf, "unsupported_prf", "the pseudo-random function is not supported"},
    cause_texts{cause::unsupported_cipher, "unsupported_cipher", "the cipher is not supported"},
    cause_texts{cause::unsupported_param_set, "unsupported_param_set", "the parameter set is not supported"},
    cause_texts{cause::unsupported_content, "unsupported_content", "the content type is not supported"},
    cause_texts{cause::unsupported_key, "unsupported_key", "the key is not a GOST R 34.10 key"},
    cause_texts{cause::vendor_scheme, "vendor_scheme", "encrypted by a vendor's own scheme, which is not supported"},
    cause_texts{cause::recipient_needed, "recipient_needed", "encrypted for a recipient's key, not under a password"},
    cause_texts{cause::password_needed, "password_needed", "encrypted, and no password was given"},
    cause_texts{cause::wrong_password, "wrong_password", "wrong password, or the encrypted data was altered"},
    cause_texts{cause::wrong_mac, "wrong_mac", "the MAC does not match: wrong password, or the file was altered"},
    cause_texts{cause::no_mac, "no_mac", "the container has no MAC"},
    cause_texts{cause::wrong_omac, "wrong_omac",
                "the OMAC does not match: wrong password, or the encrypted data was altered"},
    cause_texts{cause::unverified, "unverified", "withheld, because no good MAC vouches for it"},
    cause_texts{cause::invalid_argument, "invalid_argument", "invalid argument"},
    cause_texts{cause::invalid_text, "invalid_text", "the text is not UTF-8"},
    cause_texts{cause::key_out_of_range, "key_out_of_range", "the private key is out of range"},
    cause_texts{cause::public_key_mismatch, "public_key_mismatch", "the public key does not belong to the private key"},
    cause_texts{cause::crypto_failure, "crypto_failure", "the cryptographic library failed"},
    cause_texts{cause::too_many_attributes, "too_many_attributes", "the bags have too many attributes"},
    cause_texts{cause::signed_instead, "signed_instead", "signed instead of having a MAC; signatures are not verified"},
};

const cause_texts* find(cause why) noexcept {
    for (const cause_texts& texts : CAUSES) {
        if (texts.why == why) {
            return &texts;
        }
    }
    return nullptr;
}

} // namespace

const char* name_of(cause why) noexcept {
    const cause_texts* const found = find(why);
    return found != nullptr ? found->name : "unknown";
}

const char* text_of(cause why) noexcept {
    const cause_texts* const found = find(why);
    return found != nullptr ? found->text : "unknown cause";
}

} // namespace derkit::gost
