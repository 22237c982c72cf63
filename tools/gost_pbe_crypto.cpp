#include "tools/gost_pbe_crypto.h"

#include <stdexcept>
#include <string_view>
#include <vector>

#include <gcrypt.h>

#include "asn/asn_cursor.h"
#include "tools/utf16.h"

namespace {

constexpr const char* CRYPTOPRO_A_SBOX = "1.2.643.2.2.31.1";

constexpr std::size_t KEY_SIZE = 32;           // GOST 28147-89 and HMAC alike
constexpr std::size_t PBKDF2_MAC_SIZE = 96;    // of which the last KEY_SIZE octets are the MAC key
constexpr std::size_t DIGEST_BLOCK_SIZE = 32;  // GOST R 34.11-94; its output is as long
constexpr unsigned char PKCS12_KDF_MAC_ID = 3; // RFC 7292 B.3

// 07 D0: no octet of it is zero, so it is written without loss.
constexpr unsigned int ITERATIONS = 2000;

void require(gcry_error_t error, const char* what) {
    if (error != 0) {
        throw std::runtime_error(std::string(what) + ": " + gcry_strerror(error));
    }
}

void start_libgcrypt() {
    static const bool started = [] {
        if (gcry_check_version("1.10.0") == nullptr) {
            throw std::runtime_error("libgcrypt is older than 1.10");
        }
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    static_cast<void>(started);
}

class digest_t {
  public:
    digest_t() { require(gcry_md_open(&handle_, GCRY_MD_GOSTR3411_CP, 0), "GOST R 34.11-94"); }
    ~digest_t() { gcry_md_close(handle_); }
    digest_t(const digest_t&) = delete;
    digest_t& operator=(const digest_t&) = delete;

    void add(const void* bytes, std::size_t size) { gcry_md_write(handle_, bytes, size); }
    const unsigned char* finish() { return gcry_md_read(handle_, GCRY_MD_GOSTR3411_CP); }

  private:
    gcry_md_hd_t handle_ = nullptr;
};

class cipher_t {
  public:
    cipher_t(const secret_t& key, const blob_t& iv) {
        require(gcry_cipher_open(&handle_, GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB, 0), "GOST 28147-89");
        try {
            require(gcry_cipher_ctl(handle_, GCRYCTL_SET_SBOX, const_cast<char*>(CRYPTOPRO_A_SBOX), 0), "S-box");
            require(gcry_cipher_setkey(handle_, key.data(), key.size()), "key of GOST 28147-89");
            require(gcry_cipher_setiv(handle_, iv.data, iv.size), "IV of GOST 28147-89");
        } catch (...) {
            gcry_cipher_close(handle_);
            throw;
        }
    }
    ~cipher_t() { gcry_cipher_close(handle_); }
    cipher_t(const cipher_t&) = delete;
    cipher_t& operator=(const cipher_t&) = delete;

    void encrypt(std::string& bytes) {
        require(gcry_cipher_encrypt(handle_, bytes.data(), bytes.size(), nullptr, 0), "encryption");
    }
    void decrypt(std::string& bytes) {
        require(gcry_cipher_decrypt(handle_, bytes.data(), bytes.size(), nullptr, 0), "decryption");
    }

  private:
    gcry_cipher_hd_t handle_ = nullptr;
};

void compute_mac(const secret_t& key, const blob_t& data, unsigned char* out, std::size_t size) {
    gcry_mac_hd_t handle = nullptr;
    require(gcry_mac_open(&handle, GCRY_MAC_HMAC_GOSTR3411_CP, 0, nullptr), "HMAC GOST R 34.11-94");
    gcry_error_t error = gcry_mac_setkey(handle, key.data(), key.size());
    if (error == 0) {
        error = gcry_mac_write(handle, data.data, data.size);
    }
    if (error == 0) {
        error = gcry_mac_read(handle, out, &size);
    }
    gcry_mac_close(handle);
    require(error, "HMAC GOST R 34.11-94");
}

// Compares in a time that does not tell where bytes differ.
bool equal(const unsigned char* a, const unsigned char* b, std::size_t size) {
    unsigned int difference = 0;
    for (std::size_t i = 0; i < size; ++i) {
        difference |= static_cast<unsigned int>(a[i] ^ b[i]);
    }
    return difference == 0;
}

// Fills whole blocks by repeating bytes (RFC 7292 B.2 2 and 3); no bytes give no block.
void append_repeated(const unsigned char* bytes, std::size_t size, std::vector<unsigned char>& out) {
    const std::size_t total = (size + DIGEST_BLOCK_SIZE - 1) / DIGEST_BLOCK_SIZE * DIGEST_BLOCK_SIZE;
    for (std::size_t i = 0; i < total; ++i) {
        out.push_back(bytes[i % size]);
    }
}

// The last of these a container can ask for without keeping the machine busy for minutes.
bool is_usable(const blob_t& salt, unsigned int iterations) {
    return salt.size != 0 && iterations != 0 && iterations <= gost_pbe_crypto_t::MAX_ITERATIONS;
}

// Key derivation of RFC 7292 B.2 for a MAC key, which takes one round: the key is as long as the digest.
secret_t pkcs12_mac_key(const std::vector<unsigned char>& password, const blob_t& salt, unsigned int iterations) {
    const std::vector<unsigned char> diversifier(DIGEST_BLOCK_SIZE, PKCS12_KDF_MAC_ID);
    std::vector<unsigned char> input;
    append_repeated(salt.data, salt.size, input);
    append_repeated(password.data(), password.size(), input);
    secret_t key(KEY_SIZE);
    for (unsigned int i = 0; i < iterations; ++i) {
        digest_t digest;
        if (i == 0) {
            digest.add(diversifier.data(), diversifier.size());
            digest.add(input.data(), input.size());
        } else {
            digest.add(key.data(), key.size());
        }
        std::memcpy(key.data(), digest.finish(), KEY_SIZE);
    }
    wipe(input.data(), input.size());
    return key;
}

// A PrivateKeyInfo starts with its version, a SafeContents holds bags or nothing.
enum class plaintext_t { PRIVATE_KEY, SAFE_CONTENTS, WRAPPED_SAFE_CONTENTS, GARBAGE };

plaintext_t recognise(const std::string& plaintext) {
    asn_cursor_t in(plaintext);
    if (in.next_is(asn_tag_t::OCTET_STRING)) {
        in.skip(asn_tag_t::OCTET_STRING);
        return in.ok() ? plaintext_t::WRAPPED_SAFE_CONTENTS : plaintext_t::GARBAGE;
    }
    const asn_cursor_t content = in.enter(asn_tag_t::SEQUENCE);
    if (content.next_is(asn_tag_t::INTEGER)) {
        return plaintext_t::PRIVATE_KEY;
    }
    const bool has_bags = content.ok() && (content.empty() || content.next_is(asn_tag_t::SEQUENCE));
    return has_bags ? plaintext_t::SAFE_CONTENTS : plaintext_t::GARBAGE;
}

// The header of an OCTET STRING around `size` octets.
std::string octet_string_header(std::size_t size) {
    std::string length;
    for (std::size_t rest = size; rest != 0; rest >>= 8) {
        length.insert(length.begin(), static_cast<char>(rest & 0xFF));
    }
    if (size > 127) {
        length.insert(length.begin(), static_cast<char>(0x80 | length.size()));
    }
    return static_cast<char>(asn_tag_t::OCTET_STRING) + (size == 0 ? std::string(1, '\0') : length);
}

blob_t make_blob(const void* data, unsigned int size) {
    blob_t blob;
    blob.data = static_cast<const unsigned char*>(data);
    blob.size = size;
    return blob;
}

// The content of the OCTET STRING element that the library hands over.
blob_t content_of(const blob_t& octet_string) {
    asn_cursor_t in(octet_string);
    return in.read(asn_tag_t::OCTET_STRING);
}

blob_t covered_by_mac(const blob_t& octet_string, container_profile_t profile) {
    return profile == container_profile_t::NATIVE ? octet_string : content_of(octet_string);
}

// UTF-8 to big-endian UTF-16 with its terminator (RFC 7292 B.1). What is not UTF-8 has no such form; its bytes are
// widened one by one, as OpenSSL does.
void append_bmp_password(std::string_view utf8, std::vector<unsigned char>& out) {
    out.reserve(2 * utf8.size() + 2); // so that no copy is left behind by growth
    std::optional<std::string> wide = utf16_from_utf8(utf8);
    if (wide.has_value()) {
        out.insert(out.end(), wide->begin(), wide->end());
        wipe(wide->data(), wide->size());
    } else {
        for (const char byte : utf8) {
            out.insert(out.end(), {0, static_cast<unsigned char>(byte)});
        }
    }
    out.insert(out.end(), {0, 0});
}

} // namespace

gost_pbe_crypto_t::gost_pbe_crypto_t(const std::optional<secret_t>& password, container_profile_t profile)
    : password_(password), profile_(profile) {
    start_libgcrypt();
}

gost_pbe_crypto_t::~gost_pbe_crypto_t() = default;

bool gost_pbe_crypto_t::verify_mac(const pkcs12_mac_t& mac, const void* data, unsigned int size) {
    verified_mac_key_.reset();
    if (mac.digest.size != MAC_SIZE || !is_usable(mac.salt, mac.iterations)) {
        return false;
    }
    const blob_t element = make_blob(data, size);
    for (const mac_key_t source : {mac_key_t::PBKDF2, mac_key_t::PKCS12_KDF}) {
        const secret_t key = derive_mac_key(mac.salt, mac.iterations, source);
        for (const container_profile_t profile : {container_profile_t::STANDARD, container_profile_t::NATIVE}) {
            std::array<unsigned char, MAC_SIZE> expected;
            compute_mac(key, covered_by_mac(element, profile), expected.data(), expected.size());
            if (equal(expected.data(), mac.digest.data, MAC_SIZE)) {
                verified_mac_key_ = source;
                profile_ = profile;
                return true;
            }
        }
    }
    return false;
}

bool gost_pbe_crypto_t::make_mac(const void* data, unsigned int size, pkcs12_mac_t& mac) {
    gcry_randomize(mac_salt_.data(), mac_salt_.size(), GCRY_STRONG_RANDOM);
    mac.salt = make_blob(mac_salt_.data(), SALT_SIZE);
    mac.iterations = ITERATIONS;
    const secret_t key = derive_mac_key(mac.salt, mac.iterations, mac_key_t::PBKDF2);
    compute_mac(key, covered_by_mac(make_blob(data, size), profile_), mac_.data(), mac_.size());
    mac.digest = make_blob(mac_.data(), MAC_SIZE);
    return true;
}

// A plaintext that is neither a key nor bags shows a wrong password: the cipher itself does not notice. Bags without
// the OCTET STRING that the library expects around them get one.
bool gost_pbe_crypto_t::decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) {
    if (!is_usable(params.salt, params.iterations) || params.iv.size != IV_SIZE) {
        return false;
    }
    const secret_t key = derive_key(params.salt, params.iterations, KEY_SIZE);
    const std::string header = octet_string_header(size);
    out.reserve(size + header.size()); // so that no copy of the plaintext is left behind by growth
    out.assign(static_cast<const char*>(data), size);
    cipher_t(key, params.iv).decrypt(out);
    switch (recognise(out)) {
    case plaintext_t::GARBAGE:
        return false;
    case plaintext_t::SAFE_CONTENTS:
        out.insert(0, header);
        return true;
    case plaintext_t::PRIVATE_KEY:
    case plaintext_t::WRAPPED_SAFE_CONTENTS:
        return true;
    }
    return false;
}

// `data` is an OCTET STRING around the SafeContents; encrypted keys and standard containers have none around theirs.
bool gost_pbe_crypto_t::encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) {
    gcry_randomize(salt_.data(), salt_.size(), GCRY_STRONG_RANDOM);
    gcry_randomize(iv_.data(), iv_.size(), GCRY_STRONG_RANDOM);
    params.salt = make_blob(salt_.data(), SALT_SIZE);
    params.iterations = ITERATIONS;
    params.iv = make_blob(iv_.data(), IV_SIZE);
    const blob_t element = make_blob(data, size);
    const bool unwrap =
        profile_ == container_profile_t::STANDARD && size != 0 && element.data[0] == asn_tag_t::OCTET_STRING;
    const blob_t plaintext = unwrap ? content_of(element) : element;
    const secret_t key = derive_key(params.salt, params.iterations, KEY_SIZE);
    out.assign(reinterpret_cast<const char*>(plaintext.data), plaintext.size);
    cipher_t(key, params.iv).encrypt(out);
    return true;
}

secret_t gost_pbe_crypto_t::derive_mac_key(const blob_t& salt, unsigned int iterations, mac_key_t source) const {
    if (source == mac_key_t::PKCS12_KDF) {
        std::vector<unsigned char> password;
        if (password_.has_value()) {
            append_bmp_password(password_->text(), password);
        }
        secret_t key = pkcs12_mac_key(password, salt, iterations);
        wipe(password.data(), password.size());
        return key;
    }
    const secret_t octets = derive_key(salt, iterations, PBKDF2_MAC_SIZE);
    return secret_t(octets.text().substr(PBKDF2_MAC_SIZE - KEY_SIZE));
}

secret_t gost_pbe_crypto_t::derive_key(const blob_t& salt, unsigned int iterations, std::size_t size) const {
    const std::string_view password = password_.has_value() ? password_->text() : std::string_view("", 0);
    secret_t key(size);
    require(gcry_kdf_derive(password.data(), password.size(), GCRY_KDF_PBKDF2, GCRY_MD_GOSTR3411_CP, salt.data,
                            salt.size, iterations, key.size(), key.data()),
            "PBKDF2");
    return key;
}
