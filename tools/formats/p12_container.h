// PKCS#12 containers, opened.
#ifndef DERKIT_TOOLS_FORMATS_P12_CONTAINER_H
#define DERKIT_TOOLS_FORMATS_P12_CONTAINER_H

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "derkit/pkcs12_helper.h"
#include "formats/gost_pbe_crypto.h"
#include "formats/pfx_outline.h"
#include "io/secret.h"

// A container as the library reads it, wiped at the end.
struct wiped_easy_t {
    pkcs12_easy_t easy;

    wiped_easy_t() = default;
    ~wiped_easy_t() {
        for (std::string& plaintext : easy.decrypted_buffers) {
            wipe(plaintext.data(), plaintext.size());
        }
    }
    wiped_easy_t(const wiped_easy_t&) = delete;
    wiped_easy_t& operator=(const wiped_easy_t&) = delete;
};

// Types of bags.
constexpr unsigned int KEY_BAG = 0;
constexpr unsigned int CERTIFICATE_BAG = 1;

struct opened_bag_t {
    const pkcs12_bag_t* bag = nullptr;
    bool encrypted = false; // whether it is, in the file
};

// The outline of a container that may be opened with the right password. Throws failure_t for any other.
pfx_outline_t outline_readable_pfx(const std::string& file, std::string_view bytes);

// A container whose MAC is good, with its bags in the order in which the library returns them: unencrypted ones first.
//
// The library skips entries and bags that it does not read; here each of them is reported.
class p12_container_t {
  public:
    // `file` names it in messages. Throws failure_t if it cannot be read at all.
    p12_container_t(const std::string& file, std::string bytes, const std::optional<secret_t>& password);
    p12_container_t(const p12_container_t&) = delete;
    p12_container_t& operator=(const p12_container_t&) = delete;

    const pfx_outline_t& outline() const { return outline_; }
    container_profile_t profile() const { return crypto_.profile(); }
    mac_key_t mac_key() const { return *crypto_.verified_mac_key(); }
    const std::vector<opened_bag_t>& keys() const { return keys_; }
    const std::vector<opened_bag_t>& certificates() const { return certificates_; }

    // What was skipped, and why: "entry 2, bag 1 (crlBag) is not read".
    const std::vector<std::string>& skipped() const { return skipped_; }

  private:
    std::string bytes_;
    pfx_outline_t outline_;
    gost_pbe_crypto_t crypto_;
    wiped_easy_t read_;
    std::vector<opened_bag_t> keys_;
    std::vector<opened_bag_t> certificates_;
    std::vector<std::string> skipped_;

    void sort(const std::list<pkcs12_bag_t>& bags, bool encrypted);
};

#endif
