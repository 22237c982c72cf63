// A container's cryptography that does none, so that what is timed is the container.
#ifndef DERKIT_BENCH_IDENTITY_CRYPTO_H
#define DERKIT_BENCH_IDENTITY_CRYPTO_H

#include "containers.h"
#include "der.h"
#include "derkit/pkcs12_helper.h"

inline blob_t view_of(std::string_view bytes) {
    blob_t view;
    view.size = size32(bytes);
    view.data = octets(bytes);
    return view;
}

class identity_crypto_t final : public pbe_crypto_t {
  public:
    const container_t* container = nullptr; // whose MAC and parameters are written

    explicit identity_crypto_t(bool decrypts) : decrypts_(decrypts) {}

    bool verify_mac(const pkcs12_mac_t&, const void*, unsigned int) override { return true; }

    bool make_mac(const void*, unsigned int, pkcs12_mac_t& mac) override {
        mac.digest = view_of(container->digest);
        mac.salt = view_of(container->mac_salt);
        mac.iterations = container->iterations;
        return true;
    }

    bool decrypt(const pkcs5_pbe_gost_t&, const void* data, unsigned int size, std::string& out) override {
        if (decrypts_) {
            out.assign(static_cast<const char*>(data), size);
        }
        return decrypts_;
    }

    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override {
        params.salt = view_of(container->pbe_salt);
        params.iterations = container->iterations;
        params.iv = view_of(container->iv);
        out.assign(static_cast<const char*>(data), size);
        return true;
    }

  private:
    bool decrypts_;
};

#endif
