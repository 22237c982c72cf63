// A container's cryptography that does none: it notes what it is asked, and can refuse or throw in every operation.
#ifndef DERKIT_TESTING_RECORDING_CRYPTO_H
#define DERKIT_TESTING_RECORDING_CRYPTO_H

#include <string>
#include <string_view>
#include <vector>

#include "derkit/pkcs12_helper.h"
#include "testing/views.h"

// Its own inverse.
inline std::string toy_cipher(std::string_view bytes) {
    std::string result(bytes);
    for (char& c : result) {
        c = static_cast<char>(c ^ 0x5A);
    }
    return result;
}

enum class answer_t { YES, NO, THROW };

// What an operation with the answer THROW throws.
struct crypto_failure_t {};

// One call, with copies of all that came along.
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

// Whatever it answers, an operation fills its outputs first: those of a refusal must not be used.
class recording_crypto_t final : public pbe_crypto_t {
  public:
    answer_t verify_mac_answer = answer_t::YES;
    answer_t make_mac_answer = answer_t::YES;
    answer_t encrypt_answer = answer_t::YES;
    std::vector<answer_t> decrypt_answers; // one for each call in turn; YES for those behind

    // What make_mac and encrypt fill in.
    std::string digest = from_hex("D1 D2 D3 D4");
    std::string mac_salt = from_hex("A1 A2");
    unsigned int mac_iterations = 2000;
    std::string pbe_salt = from_hex("51 52 53 54");
    unsigned int pbe_iterations = 1000;
    std::string iv = from_hex("E1 E2 E3 E4 E5 E6 E7 E8");

    std::vector<crypto_call_t> calls;
    std::vector<const char*> decrypted_at; // where each plaintext lay

    // "verify_mac decrypt decrypt"
    std::string operations() const {
        std::string text;
        for (const crypto_call_t& call : calls) {
            text += (text.empty() ? "" : " ") + call.operation;
        }
        return text;
    }

    bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override {
        crypto_call_t& call = note("verify_mac", data, size);
        call.digest_alg = chars_of(mac.digest_alg);
        call.digest = chars_of(mac.digest);
        call.salt = chars_of(mac.salt);
        call.iterations = mac.iterations;
        return give(verify_mac_answer);
    }

    bool make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) override {
        note("make_mac", data, size).is_fresh =
            is_null(mac.digest_alg) && is_null(mac.digest) && is_null(mac.salt) && mac.iterations == 0;
        mac.digest = view_of(digest);
        mac.salt = view_of(mac_salt);
        mac.iterations = mac_iterations;
        return give(make_mac_answer);
    }

    bool decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) override {
        crypto_call_t& call = note("decrypt", data, size);
        call.salt = chars_of(params.salt);
        call.iterations = params.iterations;
        call.iv = chars_of(params.iv);
        call.out = out;
        out = toy_cipher(call.data);
        decrypted_at.push_back(out.data());
        const std::size_t number = num_decryptions_++;
        return give(number < decrypt_answers.size() ? decrypt_answers[number] : answer_t::YES);
    }

    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override {
        crypto_call_t& call = note("encrypt", data, size);
        call.is_fresh = is_null(params.salt) && params.iterations == 0 && is_null(params.iv);
        call.out = out;
        params.salt = view_of(pbe_salt);
        params.iterations = pbe_iterations;
        params.iv = view_of(iv);
        out = toy_cipher(call.data);
        return give(encrypt_answer);
    }

  private:
    std::size_t num_decryptions_ = 0;

    static bool is_null(const blob_t& view) { return view.size == 0 && view.data == nullptr; }

    crypto_call_t& note(const char* operation, const void* data, unsigned int size) {
        calls.emplace_back();
        calls.back().operation = operation;
        calls.back().data.assign(static_cast<const char*>(data), size);
        return calls.back();
    }

    static bool give(answer_t answer) {
        if (answer == answer_t::THROW) {
            throw crypto_failure_t();
        }
        return answer == answer_t::YES;
    }
};

#endif
