#include "gost/ciphers.h"

#include <algorithm>
#include <array>
#include <memory>
#include <numeric>
#include <string>
#include <type_traits>

#include <gcrypt.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

namespace derkit::gost {

namespace {

struct close_cipher {
    void operator()(gcry_cipher_hd_t cipher) const { gcry_cipher_close(cipher); }
};

using gcrypt_cipher = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, close_cipher>;

struct gcrypt_run {
    int algorithm;
    int mode;
    std::string sbox; // only of GOST 28147-89
    const char* name; // in failures
};

gcry_error_t prepare(gcry_cipher_hd_t cipher, gcrypt_run& run, std::string_view key, std::string_view iv) {
    gcry_error_t error = 0;
    if (!run.sbox.empty()) {
        error = gcry_cipher_ctl(cipher, GCRYCTL_SET_SBOX, run.sbox.data(), 0);
    }
    if (error == 0) {
        error = gcry_cipher_setkey(cipher, key.data(), key.size());
    }
    if (error == 0 && !iv.empty()) {
        error = gcry_cipher_setiv(cipher, iv.data(), iv.size());
    }
    return error;
}

// Replaces `data` with what the cipher makes of it.
result<secret> run_gcrypt(direction way, gcrypt_run run, std::string_view key, std::string_view iv, secret data) {
    if (const result<bool> started = start_gcrypt(); !started) {
        return started.error();
    }
    gcry_cipher_hd_t opened = nullptr;
    gcry_error_t error = gcry_cipher_open(&opened, run.algorithm, run.mode, 0);
    if (error != 0) {
        return gcrypt_failure(run.name, error);
    }
    const gcrypt_cipher cipher(opened);
    error = prepare(opened, run, key, iv);
    if (error == 0 && !data.empty()) {
        error = way == direction::ENCRYPT ? gcry_cipher_encrypt(opened, data.data(), data.size(), nullptr, 0)
                                          : gcry_cipher_decrypt(opened, data.data(), data.size(), nullptr, 0);
    }
    if (error != 0) {
        return gcrypt_failure(run.name, error);
    }
    return data;
}

int algorithm_of(classic_cipher cipher, std::size_t key_size) {
    switch (cipher) {
    case classic_cipher::AES:
        return key_size == 16 ? GCRY_CIPHER_AES128 : key_size == 24 ? GCRY_CIPHER_AES192 : GCRY_CIPHER_AES256;
    case classic_cipher::TRIPLE_DES:
        return GCRY_CIPHER_3DES;
    case classic_cipher::RC2_40:
        return GCRY_CIPHER_RFC2268_40;
    case classic_cipher::RC2_128:
        return GCRY_CIPHER_RFC2268_128;
    case classic_cipher::RC4:
        return GCRY_CIPHER_ARCFOUR;
    }
    return GCRY_CIPHER_NONE;
}

void append_padding(secret& data, std::size_t block) {
    const std::size_t size = block - data.size() % block;
    data.append(std::string(size, static_cast<char>(size)));
}

// False when there is no right padding at the end.
bool remove_padding(secret& data, std::size_t block) {
    if (data.empty()) {
        return false;
    }
    const std::size_t size = data.data()[data.size() - 1];
    if (size == 0 || size > block || size > data.size()) {
        return false;
    }
    const std::string_view padding = data.view().substr(data.size() - size);
    if (!equal_in_constant_time(padding, std::string(size, static_cast<char>(size)))) {
        return false;
    }
    data.resize(data.size() - size);
    return true;
}

gnutls_datum_t datum_of(std::string_view octets) {
    // GnuTLS does not write through it.
    return {reinterpret_cast<unsigned char*>(const_cast<char*>(octets.data())),
            static_cast<unsigned int>(octets.size())};
}

// CTR-ACPKM of GnuTLS has the sections of TLS. Shorter runs, each with a handle of its own that starts at the right
// counter, never reach the end of one, so here the sections are chosen freely.
class acpkm_stream {
  public:
    acpkm_stream(block_cipher_id cipher, std::size_t section_size, std::string_view key, std::string_view iv)
        : cipher_(cipher), block_size_(block_size(cipher)), section_size_(section_size), key_(key), counter_(iv) {
        counter_.resize(block_size_);
    }

    // Returns 0 or an error of GnuTLS.
    int apply_to(secret& data) {
        for (std::size_t done = 0; done < data.size();) {
            if (left_in_section_ == 0) {
                const int error = done == 0 ? 0 : change_key();
                if (error < 0) {
                    return error;
                }
                left_in_section_ = section_size_;
            }
            const std::size_t size = std::min({data.size() - done, left_in_section_, longest_run()});
            const int error = add_keystream(counter_, data.data() + done, size);
            if (error < 0) {
                return error;
            }
            advance_counter(size / block_size_);
            left_in_section_ -= size;
            done += size;
        }
        return 0;
    }

  private:
    static constexpr unsigned char FIRST_OF_D = 0x80; // D of RFC 8645 6.2.1 is 80 81 … 9F

    block_cipher_id cipher_;
    std::size_t block_size_;
    std::size_t section_size_;
    secret key_;
    secret counter_;
    std::size_t left_in_section_ = 0;

    std::size_t longest_run() const { return section_size(cipher_, section::tls); }

    int add_keystream(std::string_view start, unsigned char* data, std::size_t size) const {
        const gnutls_cipher_algorithm_t algorithm =
            cipher_ == block_cipher_id::KUZNYECHIK ? GNUTLS_CIPHER_KUZNYECHIK_CTR_ACPKM : GNUTLS_CIPHER_MAGMA_CTR_ACPKM;
        const gnutls_datum_t key = datum_of(key_);
        const gnutls_datum_t iv = datum_of(start);
        gnutls_cipher_hd_t handle = nullptr;
        int error = gnutls_cipher_init(&handle, algorithm, &key, &iv);
        if (error < 0) {
            return error;
        }
        error = gnutls_cipher_encrypt(handle, data, size);
        gnutls_cipher_deinit(handle);
        return error;
    }

    // The next key is the encryption of D, block by block; that of one block is the keystream at this counter.
    int change_key() {
        secret d(key_.size());
        std::iota(d.data(), d.data() + d.size(), FIRST_OF_D);
        secret next(key_.size());
        for (std::size_t i = 0; i < next.size(); i += block_size_) {
            const int error = add_keystream(d.view().substr(i, block_size_), next.data() + i, block_size_);
            if (error < 0) {
                return error;
            }
        }
        key_ = std::move(next);
        return 0;
    }

    void advance_counter(std::size_t blocks) {
        for (std::size_t i = block_size_; i-- != 0 && blocks != 0; blocks >>= 8) {
            blocks += counter_.data()[i];
            counter_.data()[i] = static_cast<unsigned char>(blocks & 0xFF);
        }
    }
};

} // namespace

result<secret> gost28147_cfb(direction way, std::string_view sbox, std::string_view key, std::string_view iv,
                             std::string_view data) {
    return run_gcrypt(way, {GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB, std::string(sbox), "GOST 28147-89"}, key,
                      iv, secret(data));
}

std::size_t block_size(classic_cipher cipher) {
    return cipher == classic_cipher::RC4 ? 0 : cipher == classic_cipher::AES ? 16 : 8;
}

result<secret> run_classic(direction way, classic_cipher cipher, std::string_view key, std::string_view iv,
                           std::string_view data) {
    const std::size_t block = block_size(cipher);
    const int mode = block == 0 ? GCRY_CIPHER_MODE_STREAM : GCRY_CIPHER_MODE_CBC;
    secret text(data);
    if (way == direction::ENCRYPT && block != 0) {
        append_padding(text, block);
    }
    if (block != 0 && text.size() % block != 0) {
        return cause::wrong_password;
    }
    result<secret> done =
        run_gcrypt(way, {algorithm_of(cipher, key.size()), mode, {}, "cipher"}, key, iv, std::move(text));
    if (done && way == direction::DECRYPT && block != 0 && !remove_padding(*done, block)) {
        return cause::wrong_password;
    }
    return done;
}

std::size_t section_size(block_cipher_id cipher, section sections) {
    const bool kuznyechik = cipher == block_cipher_id::KUZNYECHIK;
    if (sections == section::tls) {
        return kuznyechik ? 4096 : 1024;
    }
    return kuznyechik ? 256 * 1024 : 8 * 1024;
}

result<secret> ctr_acpkm(block_cipher_id cipher, std::size_t section_size, std::string_view key, std::string_view iv,
                         std::string_view data) {
    secret text(data);
    const int error = acpkm_stream(cipher, section_size, key, iv).apply_to(text);
    if (error < 0) {
        return gnutls_failure("CTR-ACPKM", error);
    }
    return text;
}

} // namespace derkit::gost
