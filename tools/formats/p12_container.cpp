#include "formats/p12_container.h"

#include <map>
#include <set>

#include "asn/asn_cursor.h"
#include "io/bytes.h"
#include "io/failure.h"

namespace {

constexpr const char* UNDECRYPTABLE =
    "cannot be decrypted: it is damaged, or encrypted under another password than the MAC";

// Passes the library's calls to the real cryptography and remembers the results.
//
// The cryptography does not see parameters that the library's record has no place for, so ciphertexts that the outline
// declines are declined here.
class noting_crypto_t final : public pbe_crypto_t {
  public:
    noting_crypto_t(gost_pbe_crypto_t& crypto, const pfx_outline_t& outline) : crypto_(crypto) {
        for (const entry_outline_t& entry : outline.entries) {
            note_declined(entry.encryption, entry.ciphertext);
            note_declined(entry.bags);
        }
    }

    bool mac_is_good() const { return mac_is_good_; }

    // What is wrong inside a decrypted entry; empty if nothing is.
    const std::string& problem() const { return problem_; }

    // The bags inside a ciphertext, none for a key; null if it was not decrypted.
    const std::vector<bag_outline_t>* find_decrypted(const std::string& ciphertext) const {
        const auto found = decrypted_.find(ciphertext);
        return found != decrypted_.end() ? &found->second : nullptr;
    }

    bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override {
        mac_is_good_ = crypto_.verify_mac(mac, data, size);
        return mac_is_good_;
    }

    bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) override {
        return crypto_.make_mac(data, size, mac);
    }

    bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) override {
        const std::string ciphertext(static_cast<const char*>(data), size);
        if (declined_.contains(ciphertext) || !crypto_.decrypt(params, data, size, out)) {
            return false;
        }
        note_decrypted(ciphertext, out);
        return true;
    }

    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override {
        return crypto_.encrypt(data, size, params, out);
    }

  private:
    gost_pbe_crypto_t& crypto_;
    bool mac_is_good_ = false;
    std::string problem_;
    std::set<std::string> declined_;
    std::map<std::string, std::vector<bag_outline_t>> decrypted_;

    void note_declined(const std::optional<pbe_outline_t>& encryption, const std::string& ciphertext) {
        if (encryption.has_value() && !encryption->declined.empty()) {
            declined_.insert(ciphertext);
        }
    }

    void note_declined(const std::vector<bag_outline_t>& bags) {
        for (const bag_outline_t& bag : bags) {
            note_declined(bag.encryption, bag.ciphertext);
        }
    }

    // Bags come in an OCTET STRING, a key does not.
    void note_decrypted(const std::string& ciphertext, const std::string& plaintext) {
        // cppcheck-suppress variableScope ; a key has an entry too, without bags
        std::vector<bag_outline_t>& bags = decrypted_[ciphertext];
        asn_cursor_t in(plaintext);
        if (in.next_is(asn_tag_t::OCTET_STRING)) {
            bags = outline_safe_contents(in.read(asn_tag_t::OCTET_STRING), "an encrypted entry", problem_);
            note_declined(bags);
        }
    }
};

// Finds what the library skipped by counting what it should have returned.
class audit_t {
  public:
    audit_t(const noting_crypto_t& crypto, std::vector<std::string>& out) : crypto_(crypto), out_(out) {}

    void look_at(const pfx_outline_t& outline) {
        for (std::size_t i = 0; i < outline.entries.size(); ++i) {
            look_at(outline.entries[i], entry_place(i));
        }
    }

    // Whatever else happens, nothing is missing silently.
    void compare(std::size_t num_read) {
        if (num_read != num_expected_) {
            out_.push_back("holds " + std::to_string(num_expected_) + " keys and certificates, of which " +
                           std::to_string(num_read) + " were read");
        }
    }

  private:
    const noting_crypto_t& crypto_;
    std::vector<std::string>& out_;
    std::size_t num_expected_ = 0;

    void look_at(const entry_outline_t& entry, const std::string& place) {
        if (entry.encryption.has_value()) {
            const std::vector<bag_outline_t>* const bags =
                find_decrypted(place, entry.content_type, *entry.encryption, entry.ciphertext);
            if (bags != nullptr) {
                look_at(*bags, place);
            }
        } else if (entry.declined.empty()) {
            look_at(entry.bags, place);
        } else {
            report(place, entry.content_type, entry.declined);
        }
    }

    void look_at(const std::vector<bag_outline_t>& bags, const std::string& place) {
        for (std::size_t i = 0; i < bags.size(); ++i) {
            look_at(bags[i], bag_place(place, i));
        }
    }

    void look_at(const bag_outline_t& bag, const std::string& place) {
        if (bag.encryption.has_value()) {
            num_expected_ += find_decrypted(place, bag.type, *bag.encryption, bag.ciphertext) != nullptr ? 1 : 0;
        } else if (bag.declined.empty()) {
            ++num_expected_;
        } else {
            report(place, bag.type, bag.declined);
        }
    }

    const std::vector<bag_outline_t>* find_decrypted(const std::string& place, const named_oid_t& type,
                                                     const pbe_outline_t& encryption, const std::string& ciphertext) {
        if (!encryption.declined.empty()) {
            report(place, type, encryption.declined);
            return nullptr;
        }
        const std::vector<bag_outline_t>* const bags = crypto_.find_decrypted(ciphertext);
        if (bags == nullptr) {
            report(place, type, UNDECRYPTABLE);
        }
        return bags;
    }

    void report(const std::string& place, const named_oid_t& type, const std::string& what) {
        const std::string& name = type.name.empty() ? type.oid : type.name;
        out_.push_back(place + (name.empty() ? " " : " (" + name + ") ") + what);
    }
};

std::string explain_failure(const pfx_outline_t& outline, const noting_crypto_t& crypto) {
    if (!outline.problem.empty()) {
        return outline.fault();
    }
    if (!crypto.mac_is_good()) {
        return "the MAC is wrong: wrong password, or the container was changed after the MAC was made";
    }
    return crypto.problem().empty() ? "its MAC is good, but what it covers cannot be read"
                                    : "its MAC is good, but it is damaged: " + crypto.problem();
}

} // namespace

pfx_outline_t outline_readable_pfx(const std::string& file, std::string_view bytes) {
    pfx_outline_t outline = outline_pfx(bytes);
    if (!outline.declined.empty() || !outline.mac.has_value()) {
        throw failure_t(file, outline.declined.empty() ? outline.fault() : outline.declined);
    }
    return outline;
}

p12_container_t::p12_container_t(const std::string& file, std::string bytes, const std::optional<secret_t>& password)
    : bytes_(std::move(bytes)), outline_(outline_readable_pfx(file, bytes_)),
      crypto_(password, container_profile_t::STANDARD) {
    noting_crypto_t crypto(crypto_, outline_);
    if (!asn_read_pkcs12_easy(bytes_.data(), size_of(bytes_), &crypto, read_.easy)) {
        throw failure_t(file, explain_failure(outline_, crypto));
    }
    sort(read_.easy.plain_bags, false);
    sort(read_.easy.encrypted_bags, true);
    audit_t audit(crypto, skipped_);
    audit.look_at(outline_);
    audit.compare(keys_.size() + certificates_.size());
    if (!outline_.problem.empty()) {
        skipped_.push_back(outline_.problem);
    }
}

void p12_container_t::sort(const std::list<pkcs12_bag_t>& bags, bool encrypted) {
    for (const pkcs12_bag_t& bag : bags) {
        (bag.type == CERTIFICATE_BAG ? certificates_ : keys_).push_back({&bag, encrypted});
    }
}
