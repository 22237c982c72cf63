// The cryptography of GOST R 34.11-94 containers (RFC 4357, RFC 7292) for own_crypto.cpp, with libgcrypt.
#include <derkit/helpers/helpers.h>
#include <gcrypt.h>

class gost_crypto final : public pbe_crypto_t {
  public:
    explicit gost_crypto(const char* password) : password_(password) {}

    bool verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) override {
        const std::string keys = derive(mac.salt, mac.iterations, 96); // the key is the last third
        gcry_mac_hd_t handle = nullptr;
        if (keys.empty() || gcry_mac_open(&handle, GCRY_MAC_HMAC_GOSTR3411_CP, 0, nullptr) != 0) {
            return false;
        }
        const blob_t covered = derkit::cursor(data, size).read(asn_tag_t::OCTET_STRING);
        const bool good = mac.digest.size == 32 && gcry_mac_setkey(handle, &keys[64], 32) == 0 && // no shortened MAC
                          gcry_mac_write(handle, covered.data, covered.size) == 0 &&
                          gcry_mac_verify(handle, mac.digest.data, mac.digest.size) == 0;
        gcry_mac_close(handle);
        return good;
    }

    bool decrypt(const pkcs5_pbe_gost_t& by, const void* data, unsigned int size, std::string& out) override {
        const std::string key = derive(by.salt, by.iterations, 32);
        gcry_cipher_hd_t handle = nullptr;
        if (key.empty() || by.iv.size != 8 ||
            gcry_cipher_open(&handle, GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB, 0) != 0) {
            return false;
        }
        std::string plaintext(size, '\0'), s_box = "1.2.643.2.2.31.1";
        bool good = gcry_cipher_ctl(handle, GCRYCTL_SET_SBOX, &s_box[0], 0) == 0 &&
                    gcry_cipher_setkey(handle, key.data(), key.size()) == 0 &&
                    gcry_cipher_setiv(handle, by.iv.data, by.iv.size) == 0 &&
                    gcry_cipher_decrypt(handle, &plaintext[0], size, data, size) == 0;
        gcry_cipher_close(handle);
        derkit::cursor content = derkit::cursor(derkit::to_blob(plaintext)).enter(asn_tag_t::SEQUENCE);
        if (content.next_is(asn_tag_t::SEQUENCE)) { // bags, not a key: the library expects an OCTET STRING around them
            out.assign({'\x04', '\x84', char(size >> 24), char(size >> 16), char(size >> 8), char(size)});
        }
        out += plaintext;
        return good && content.ok();
    }

    // For writing.
    bool make_mac(const void*, unsigned int, pkcs12_mac_t&) override { return false; }
    bool encrypt(const void*, unsigned int, pkcs5_pbe_gost_t&, std::string&) override { return false; }

  private:
    std::string password_;

    // Nothing for more iterations than you want to wait for: the file chooses their number.
    std::string derive(const blob_t& salt, unsigned int iterations, std::size_t size) const {
        std::string key(size, '\0');
        const bool done = iterations <= 1000000 &&
                          gcry_kdf_derive(password_.data(), password_.size(), GCRY_KDF_PBKDF2, GCRY_MD_GOSTR3411_CP,
                                          salt.data, salt.size, iterations, key.size(), &key[0]) == 0;
        return done ? key : std::string();
    }
};
