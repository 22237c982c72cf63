// What a PKCS#12 container shows without its password.
#ifndef DERKIT_TOOLS_FORMATS_PFX_OUTLINE_H
#define DERKIT_TOOLS_FORMATS_PFX_OUTLINE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/asn_types.h"
#include "formats/named_oid.h"
#include "formats/pbe_outline.h"

// Bags that the library reads.
constexpr const char* OID_KEY_BAG = "1.2.840.113549.1.12.10.1.1";
constexpr const char* OID_SHROUDED_KEY_BAG = "1.2.840.113549.1.12.10.1.2";
constexpr const char* OID_CERT_BAG = "1.2.840.113549.1.12.10.1.3";

struct bag_outline_t {
    named_oid_t type;
    bool is_key = false;
    bool is_certificate = false;
    unsigned int size = 0;                   // of its value, in bytes
    std::optional<pbe_outline_t> encryption; // of a shrouded key
    std::string ciphertext;                  // of a shrouded key
    std::string declined;                    // why bags of this type are not read; empty for those that are
};

// One ContentInfo of the AuthenticatedSafe.
struct entry_outline_t {
    named_oid_t content_type;
    unsigned int size = 0;                   // of its content, in bytes
    std::optional<pbe_outline_t> encryption; // of encryptedData
    std::string ciphertext;                  // of encryptedData
    std::vector<bag_outline_t> bags;         // of data
    std::string declined;                    // why entries of this type are not read; empty for those that are
};

struct mac_outline_t {
    pbe_outline_t algorithm; // a digest, or PBMAC1 with its parameters
    unsigned int size = 0;   // of the MAC, in bytes
    unsigned int salt_size = 0;
    unsigned int iterations = 0;
    std::string declined; // why it cannot be verified here, whatever the password; empty if it can
};

struct pfx_outline_t {
    std::optional<mac_outline_t> mac;
    std::vector<entry_outline_t> entries;
    unsigned int trailing_size = 0; // of what follows the container, in bytes
    std::string problem;            // what ended the walk early; empty if nothing did
    std::string declined;           // why the container is not read, whatever the password; empty if it can be

    // The problem, preceded by a verdict on the container.
    std::string fault() const {
        return (mac.has_value() || !entries.empty() ? "damaged: " : "not a PKCS#12 container: ") + problem;
    }

    // Whether there is anything to show.
    bool is_container() const { return problem.empty() || mac.has_value() || !entries.empty(); }
};

pfx_outline_t outline_pfx(std::string_view bytes);

// The bags of a SafeContents. `problem` says what ended the walk early; `place` precedes it.
std::vector<bag_outline_t> outline_safe_contents(const blob_t& bytes, const std::string& place, std::string& problem);

// "entry 2", "entry 2, bag 1"; both count from 1.
std::string entry_place(std::size_t index);
std::string bag_place(const std::string& entry, std::size_t index);

#endif
