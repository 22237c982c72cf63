// A container's cryptography that follows a script: it answers, refuses or throws as told, and records its calls.
#ifndef DERKIT_TESTING_SCRIPTED_CRYPTO_H
#define DERKIT_TESTING_SCRIPTED_CRYPTO_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/pkcs12_helper.h"
#include "testing/views.h"

// Ciphers for tests. Each is its own inverse and takes no memory but the output's.
inline void toggle_bits(std::string_view bytes, std::string& out) {
    out = bytes;
    for (char& c : out) {
        c = static_cast<char>(c ^ 0x5A);
    }
}
inline void copy_bytes(std::string_view bytes, std::string& out) {
    out = bytes;
}

inline std::string toy_cipher(std::string_view bytes) {
    std::string result;
    toggle_bits(bytes, result);
    return result;
}

enum class answer_t { YES, NO, THROW };

// What an operation throws when its answer is THROW.
struct crypto_failure_t {};

// One call, with copies of its arguments.
struct crypto_call_t {
    std::string operation;
    std::string data;
    std::string digest_alg; // of a MAC record
    std::string digest;
    std::string salt; // of either record
    unsigned int iterations = 0;
    std::string iv;        // of PBES2 parameters
    std::string out;       // what the output held on arrival
    bool is_fresh = false; // the record to be filled had null views and no iterations
};

// By default every operation succeeds. It fills its outputs whatever it answers: those of a refusal must not be used.
// With `records` off, the object itself takes no memory, neither when it is made nor when it is called.
class scripted_crypto_t final : public pbe_crypto_t {
  public:
    answer_t verify_mac_answer = answer_t::YES;
    answer_t make_mac_answer = answer_t::YES;
    answer_t encrypt_answer = answer_t::YES;
    std::vector<answer_t> decrypt_answers; // one for each call in turn, then YES

    // What make_mac and encrypt fill in.
    std::string digest = "\xD1\xD2\xD3\xD4";
    std::string mac_salt = "\xA1\xA2";
    unsigned int mac_iterations = 2000;
    std::string pbe_salt = "\x51\x52\x53\x54";
    unsigned int pbe_iterations = 1000;
    std::string iv = "\xE1\xE2\xE3\xE4\xE5\xE6\xE7\xE8";
    void (*cipher)(std::string_view bytes, std::string& out) = toggle_bits;

    // Run in place of all that the operation does by itself, except recording.
    std::function<bool(const pkcs12_mac_t& mac, std::string_view data)> on_verify_mac;
    std::function<bool(std::string_view data, pkcs12_mac_t& mac)> on_make_mac;
    std::function<bool(const pkcs5_pbe_gost_t& params, std::string_view data, std::string& out)> on_decrypt;
    std::function<bool(std::string_view data, pkcs5_pbe_gost_t& params, std::string& out)> on_encrypt;

    bool records = true;
    std::vector<crypto_call_t> calls;
    std::vector<const char*> decrypted_at; // where each plaintext is

    // "verify_mac decrypt decrypt"
    std::string operations() const {
        std::string text;
        for (const crypto_call_t& call : calls) {
            text += (text.empty() ? "" : " ") + call.operation;
        }
        return text;
    }

    bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override {
        if (records) {
            crypto_call_t& call = record("verify_mac", data, size);
            call.digest_alg = chars_of(mac.digest_alg);
            call.digest = chars_of(mac.digest);
            call.salt = chars_of(mac.salt);
            call.iterations = mac.iterations;
        }
        return on_verify_mac ? on_verify_mac(mac, bytes_at(data, size)) : reply(verify_mac_answer);
    }

    bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) override {
        if (records) {
            record("make_mac", data, size).is_fresh =
                is_null(mac.digest_alg) && is_null(mac.digest) && is_null(mac.salt) && mac.iterations == 0;
        }
        if (on_make_mac) {
            return on_make_mac(bytes_at(data, size), mac);
        }
        mac.digest = view_of(digest);
        mac.salt = view_of(mac_salt);
        mac.iterations = mac_iterations;
        return reply(make_mac_answer);
    }

    bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) override {
        if (records) {
            crypto_call_t& call = record("decrypt", data, size);
            call.salt = chars_of(params.salt);
            call.iterations = params.iterations;
            call.iv = chars_of(params.iv);
            call.out = out;
        }
        if (on_decrypt) {
            return on_decrypt(params, bytes_at(data, size), out);
        }
        cipher(bytes_at(data, size), out);
        if (records) {
            decrypted_at.push_back(out.data());
        }
        const std::size_t number = num_decryptions_++;
        return reply(number < decrypt_answers.size() ? decrypt_answers[number] : answer_t::YES);
    }

    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override {
        if (records) {
            crypto_call_t& call = record("encrypt", data, size);
            call.is_fresh = is_null(params.salt) && params.iterations == 0 && is_null(params.iv);
            call.out = out;
        }
        if (on_encrypt) {
            return on_encrypt(bytes_at(data, size), params, out);
        }
        params.salt = view_of(pbe_salt);
        params.iterations = pbe_iterations;
        params.iv = view_of(iv);
        cipher(bytes_at(data, size), out);
        return reply(encrypt_answer);
    }

  private:
    std::size_t num_decryptions_ = 0;

    static std::string_view bytes_at(const void* data, unsigned int size) {
        return std::string_view(static_cast<const char*>(data), size);
    }

    static bool is_null(const blob_t& view) { return view.size == 0 && view.data == nullptr; }

    crypto_call_t& record(const char* operation, const void* data, unsigned int size) {
        calls.emplace_back();
        calls.back().operation = operation;
        calls.back().data = bytes_at(data, size);
        return calls.back();
    }

    static bool reply(answer_t answer) {
        if (answer == answer_t::THROW) {
            throw crypto_failure_t();
        }
        return answer == answer_t::YES;
    }
};

// One that copies and records nothing, so that what is measured is the container.
inline scripted_crypto_t copying_crypto() {
    scripted_crypto_t crypto;
    crypto.cipher = copy_bytes;
    crypto.records = false;
    return crypto;
}

#endif
