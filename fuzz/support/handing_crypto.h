// A container's cryptography for fuzzing: a "ciphertext" is an instruction which bytes to hand back.
#ifndef DERKIT_FUZZ_HANDING_CRYPTO_H
#define DERKIT_FUZZ_HANDING_CRYPTO_H

#include <algorithm>
#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/pkcs12_helper.h"
#include "support/input.h"

// What the crypto object throws.
struct crypto_failure_t {};

// First octet of a ciphertext. Any other is not looked at: what is behind it is the plaintext.
enum instruction_t : unsigned char {
    HAND_PART = 'P', // a part of the input: two octets for its place, two for its size
    HAND_NOTHING = 'N',
    REFUSE = 'R', // with an output that must not be used
    THROW = 'T',
};

class handing_crypto_t final : public pbe_crypto_t {
  public:
    explicit handing_crypto_t(const block_t& input) : input_(input) {}

    unsigned int num_verified = 0;
    bool accepted = false;
    std::vector<const char*> handed_at; // where each plaintext lies

    // The digest tells the answer.
    bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override {
        ++num_verified;
        require(lies_in(as_view(data, size), input_.text()), "the MAC is over a part of the input");
        const std::string_view digest = chars_of(mac.digest);
        const char answer = digest.empty() ? '\0' : digest[0];
        if (answer == THROW) {
            throw crypto_failure_t();
        }
        accepted = answer != REFUSE;
        return accepted;
    }

    // The container's own is written.
    bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) override {
        require(mac.digest.data == nullptr && mac.salt.data == nullptr && mac.iterations == 0, "a MAC record is fresh");
        touch(data, size);
        return false;
    }

    bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) override {
        require(accepted, "nothing is decrypted before the MAC is verified");
        require(out.empty(), "the output arrives empty");
        touch(params.salt.data, params.salt.size);
        touch(params.iv.data, params.iv.size);
        taker_t taker(chars_of(as_view(data, size)));
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
        handed_at.push_back(out.data());
        return true;
    }

    // The instruction to hand back the same.
    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override {
        require(params.salt.data == nullptr && params.iv.data == nullptr && params.iterations == 0 && out.empty(),
                "parameters are fresh");
        params.salt = view_of("salt");
        params.iterations = 1000;
        params.iv = view_of("a vector");
        out = " ";
        out += chars_of(as_view(data, size));
        return false; // nobody looks
    }

    // The plaintexts are kept where they were handed over, whatever their order.
    void require_kept(const std::list<std::string>& buffers) const {
        std::vector<const char*> handed = handed_at;
        std::vector<const char*> kept;
        for (const std::string& buffer : buffers) {
            kept.push_back(buffer.data());
        }
        std::sort(handed.begin(), handed.end(), std::less<const char*>());
        std::sort(kept.begin(), kept.end(), std::less<const char*>());
        require(handed == kept, "every plaintext is kept where it was");
    }

  private:
    const block_t& input_;
    std::size_t handed_size_ = 0;

    static blob_t as_view(const void* data, unsigned int size) {
        blob_t view;
        view.size = size;
        view.data = static_cast<const unsigned char*>(data);
        return view;
    }

    // A sanitizer sees whether the bytes can be read.
    static void touch(const void* data, unsigned int size) {
        const std::string copy(static_cast<const char*>(data), data == nullptr ? 0 : size);
        require(copy.size() == size, "what is handed over has its size");
    }
};

#endif
