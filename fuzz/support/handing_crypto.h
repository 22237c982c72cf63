// A container's cryptography for fuzzing: a "ciphertext" is an instruction that says which bytes to return.
#ifndef DERKIT_FUZZ_HANDING_CRYPTO_H
#define DERKIT_FUZZ_HANDING_CRYPTO_H

#include <algorithm>
#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "support/input.h"
#include "testing/scripted_crypto.h"

// First octet of a ciphertext. After any other octet the rest is the plaintext.
enum instruction_t : unsigned char {
    HAND_PART = 'P', // a part of the input: two octets for its place, two for its size
    HAND_NOTHING = 'N',
    REFUSE = 'R', // with an output that must not be used
    THROW = 'T',
};

class handing_crypto_t {
  public:
    explicit handing_crypto_t(const exact_bytes_t& input) : input_(input) {
        crypto_.records = false;
        crypto_.on_verify_mac = [this](const pkcs12_mac_t& mac, std::string_view data) {
            return verify_mac(mac, data);
        };
        crypto_.on_make_mac = make_mac;
        crypto_.on_decrypt = [this](const pkcs5_pbe_gost_t& params, std::string_view data, std::string& out) {
            return decrypt(params, data, out);
        };
        crypto_.on_encrypt = encrypt;
    }
    handing_crypto_t(const handing_crypto_t&) = delete;
    handing_crypto_t& operator=(const handing_crypto_t&) = delete;

    unsigned int num_verified = 0;
    bool accepted = false;

    pbe_crypto_t* object() { return &crypto_; }

    // Plaintexts are kept at the addresses where they were returned, in any order.
    void require_kept(const std::list<std::string>& buffers) const {
        std::vector<const char*> handed = handed_at_;
        std::vector<const char*> kept;
        for (const std::string& buffer : buffers) {
            kept.push_back(buffer.data());
        }
        std::sort(handed.begin(), handed.end(), std::less<const char*>());
        std::sort(kept.begin(), kept.end(), std::less<const char*>());
        require(handed == kept, "every plaintext is kept where it was");
    }

  private:
    const exact_bytes_t& input_;
    scripted_crypto_t crypto_;
    std::vector<const char*> handed_at_;
    std::size_t handed_size_ = 0;

    // The digest says what to answer.
    bool verify_mac(const pkcs12_mac_t& mac, std::string_view data) {
        ++num_verified;
        require(lies_in(view_of(data), input_.text()), "the MAC is over a part of the input");
        const std::string_view digest = chars_of(mac.digest);
        const char answer = digest.empty() ? '\0' : digest[0];
        if (answer == THROW) {
            throw crypto_failure_t();
        }
        accepted = answer != REFUSE;
        return accepted;
    }

    // Declines, so that the container's own MAC is written.
    static bool make_mac(std::string_view data, pkcs12_mac_t& mac) {
        require(mac.digest.data == nullptr && mac.salt.data == nullptr && mac.iterations == 0, "a MAC record is fresh");
        touch(data);
        return false;
    }

    bool decrypt(const pkcs5_pbe_gost_t& params, std::string_view data, std::string& out) {
        require(accepted, "nothing is decrypted before the MAC is verified");
        require(out.empty(), "the output arrives empty");
        touch(chars_of(params.salt));
        touch(chars_of(params.iv));
        taker_t taker(data);
        const unsigned int instruction = taker.octet();
        if (instruction == THROW) {
            throw crypto_failure_t();
        }
        if (instruction == HAND_PART) {
            const std::size_t place = static_cast<std::size_t>(taker.number(2));
            const std::size_t part_size = static_cast<std::size_t>(taker.number(2));
            out = input_.text().substr(std::min(place, input_.text().size()), part_size);
        } else if (instruction != HAND_NOTHING) {
            out = taker.rest();
        }
        // Parts of parts would grow without end.
        constexpr std::size_t MAX_HANDED_SIZE = 16384;
        handed_size_ += out.size();
        if (instruction == REFUSE || handed_size_ > MAX_HANDED_SIZE) {
            return false;
        }
        handed_at_.push_back(out.data());
        return true;
    }

    // Writes the instruction to return the same bytes.
    static bool encrypt(std::string_view data, pkcs5_pbe_gost_t& params, std::string& out) {
        require(params.salt.data == nullptr && params.iv.data == nullptr && params.iterations == 0 && out.empty(),
                "parameters are fresh");
        params.salt = view_of("salt");
        params.iterations = 1000;
        params.iv = view_of("a vector");
        out = " ";
        out += data;
        return false; // ignored
    }

    // A sanitizer sees whether the bytes can be read.
    static void touch(std::string_view bytes) {
        const std::string copy(bytes);
        require(copy.size() == bytes.size(), "an argument has its size");
    }
};

#endif
