#include "formats/gost_pbe_crypto.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <type_traits>

#include <gcrypt.h>

#include "asn/asn_cursor.h"
#include "io/bytes.h"

namespace {

constexpr const char* CRYPTOPRO_A_SBOX = "1.2.643.2.2.31.1";

constexpr std::size_t KEY_SIZE = 32;           // GOST 28147-89 and HMAC alike
constexpr std::size_t PBKDF2_MAC_SIZE = 96;    // of which the last KEY_SIZE octets are the MAC key
constexpr std::size_t DIGEST_BLOCK_SIZE = 32;  // GOST R 34.11-94; its output is as long
constexpr unsigned char PKCS12_KDF_MAC_ID = 3; // RFC 7292 B.3

// More than all keys that are in use at a time.
constexpr unsigned int SECURE_MEMORY_SIZE = 65536;

// 07 D0: without a zero octet, so the library writes it without loss.
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
        // Where memory may not be locked, it is used unlocked, without a warning.
        gcry_control(GCRYCTL_DISABLE_SECMEM_WARN);
        gcry_control(GCRYCTL_INIT_SECMEM, SECURE_MEMORY_SIZE, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    static_cast<void>(started);
}

struct close_t {
    void operator()(gcry_md_hd_t digest) const { gcry_md_close(digest); }
    void operator()(gcry_cipher_hd_t cipher) const { gcry_cipher_close(cipher); }
    void operator()(gcry_mac_hd_t mac) const { gcry_mac_close(mac); }
};

template <typename HANDLE> using closed_at_end_t = std::unique_ptr<std::remove_pointer_t<HANDLE>, close_t>;

// GOST R 34.11-94.
class digest_t {
  public:
    digest_t() {
        gcry_md_hd_t opened = nullptr;
        require(gcry_md_open(&opened, GCRY_MD_GOSTR3411_CP, GCRY_MD_FLAG_SECURE), "GOST R 34.11-94");
        handle_.reset(opened);
    }

    void add(const void* bytes, std::size_t size) { gcry_md_write(handle_.get(), bytes, size); }

    // Stores the digest and starts anew.
    void finish(secret_t& out) {
        std::memcpy(out.data(), gcry_md_read(handle_.get(), GCRY_MD_GOSTR3411_CP), out.size());
        gcry_md_reset(handle_.get());
    }

  private:
    closed_at_end_t<gcry_md_hd_t> handle_;
};

// GOST 28147-89.
closed_at_end_t<gcry_cipher_hd_t> make_cipher(const secret_t& key, const blob_t& iv) {
    gcry_cipher_hd_t opened = nullptr;
    require(gcry_cipher_open(&opened, GCRY_CIPHER_GOST28147_MESH, GCRY_CIPHER_MODE_CFB, GCRY_CIPHER_SECURE),
            "GOST 28147-89");
    closed_at_end_t<gcry_cipher_hd_t> cipher(opened);
    require(gcry_cipher_ctl(opened, GCRYCTL_SET_SBOX, const_cast<char*>(CRYPTOPRO_A_SBOX), 0), "S-box");
    require(gcry_cipher_setkey(opened, key.data(), key.size()), "key of GOST 28147-89");
    require(gcry_cipher_setiv(opened, iv.data, iv.size), "IV of GOST 28147-89");
    return cipher;
}

void compute_mac(const secret_t& key, const blob_t& data, unsigned char* out, std::size_t size) {
    constexpr const char* NAME = "HMAC GOST R 34.11-94";
    gcry_mac_hd_t opened = nullptr;
    require(gcry_mac_open(&opened, GCRY_MAC_HMAC_GOSTR3411_CP, GCRY_MAC_FLAG_SECURE, nullptr), NAME);
    const closed_at_end_t<gcry_mac_hd_t> mac(opened);
    require(gcry_mac_setkey(opened, key.data(), key.size()), NAME);
    require(gcry_mac_write(opened, data.data, data.size), NAME);
    require(gcry_mac_read(opened, out, &size), NAME);
}

// Compares in a time that does not depend on where bytes differ.
bool equal(const unsigned char* a, const unsigned char* b, std::size_t size) {
    unsigned int difference = 0;
    for (std::size_t i = 0; i < size; ++i) {
        difference |= static_cast<unsigned int>(a[i] ^ b[i]);
    }
    return difference == 0;
}

// Adds whole blocks of repeated bytes (RFC 7292 B.2 2 and 3); no block for no bytes.
void add_repeated(digest_t& digest, const unsigned char* bytes, std::size_t size) {
    std::size_t left = (size + DIGEST_BLOCK_SIZE - 1) / DIGEST_BLOCK_SIZE * DIGEST_BLOCK_SIZE;
    while (left != 0) {
        const std::size_t added = std::min(left, size);
        digest.add(bytes, added);
        left -= added;
    }
}

// The container chooses these: without a limit it could keep the machine busy for hours.
bool is_usable(const blob_t& salt, unsigned int iterations) {
    return salt.size != 0 && iterations != 0 && iterations <= gost_pbe_crypto_t::MAX_ITERATIONS;
}

// Derives a MAC key (RFC 7292 B.2), in one round: the key is as long as the digest.
secret_t pkcs12_mac_key(const secret_t& password, const blob_t& salt, unsigned int iterations) {
    secret_t key(KEY_SIZE);
    digest_t digest;
    add_repeated(digest, &PKCS12_KDF_MAC_ID, sizeof PKCS12_KDF_MAC_ID);
    add_repeated(digest, salt.data, salt.size);
    add_repeated(digest, password.data(), password.size());
    digest.finish(key);
    for (unsigned int i = 1; i < iterations; ++i) {
        digest.add(key.data(), key.size());
        digest.finish(key);
    }
    return key;
}

// A PrivateKeyInfo starts with its version, a SafeContents holds bags or nothing. Either fills the plaintext: CFB mode
// has no padding.
enum class plaintext_t { PRIVATE_KEY, SAFE_CONTENTS, WRAPPED_SAFE_CONTENTS, GARBAGE };

plaintext_t recognise(const std::string& plaintext) {
    asn_cursor_t in(plaintext);
    if (in.next_is(asn_tag_t::OCTET_STRING)) {
        const asn_cursor_t wrapped = in.enter(asn_tag_t::OCTET_STRING);
        const bool wraps_bags = in.ok() && in.empty() && wrapped.next_is(asn_tag_t::SEQUENCE);
        return wraps_bags ? plaintext_t::WRAPPED_SAFE_CONTENTS : plaintext_t::GARBAGE;
    }
    const asn_cursor_t content = in.enter(asn_tag_t::SEQUENCE);
    if (!in.empty()) {
        return plaintext_t::GARBAGE;
    }
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

// The content of the OCTET STRING element that the library passes to be written. The library can write lengths of
// 65,536 octets or more too short; such a truncated content must not pass for the whole.
blob_t content_of(const blob_t& octet_string) {
    asn_cursor_t in(octet_string);
    const blob_t content = in.read(asn_tag_t::OCTET_STRING);
    if (!in.ok() || !in.empty()) {
        throw std::runtime_error("the size of the container does not fit into its header");
    }
    return content;
}

blob_t covered_by_new_mac(const blob_t& octet_string, container_profile_t profile) {
    return profile == container_profile_t::NATIVE ? octet_string : content_of(octet_string);
}

// What the MAC of a file covers: nothing if the file holds no OCTET STRING there.
blob_t covered_by_mac(const blob_t& octet_string, container_profile_t profile) {
    asn_cursor_t in(octet_string);
    return profile == container_profile_t::NATIVE ? octet_string : in.read(asn_tag_t::OCTET_STRING);
}

// UTF-8 to big-endian UTF-16 with its terminator (RFC 7292 B.1). Bytes that are not UTF-8 are widened one by one, as
// OpenSSL does.
secret_t bmp_password(std::string_view utf8) {
    constexpr std::size_t TERMINATOR_SIZE = 2;
    std::optional<std::string> wide = utf16_from_utf8(utf8);
    if (!wide.has_value()) {
        wide.emplace(2 * utf8.size(), '\0');
        for (std::size_t i = 0; i < utf8.size(); ++i) {
            (*wide)[2 * i + 1] = utf8[i];
        }
    }
    secret_t password(wide->size() + TERMINATOR_SIZE);
    std::copy(wide->begin(), wide->end(), password.data());
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.InnerPointer): data() is asked for after the last change of the string
    wipe(wide->data(), wide->size());
    return password;
}

} // namespace

gost_pbe_crypto_t::gost_pbe_crypto_t(const std::optional<secret_t>& password, container_profile_t profile)
    : password_(password), profile_(profile) {
    start_libgcrypt();
}

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
    compute_mac(key, covered_by_new_mac(make_blob(data, size), profile_), mac_.data(), mac_.size());
    mac.digest = make_blob(mac_.data(), MAC_SIZE);
    return true;
}

// The cipher does not detect a wrong password; a plaintext that is neither a key nor bags does. Bags without the OCTET
// STRING that the library expects around them get one.
bool gost_pbe_crypto_t::decrypt(const pkcs5_pbe_gost_t& params, const void* data, unsigned int size, std::string& out) {
    if (!is_usable(params.salt, params.iterations) || params.iv.size != IV_SIZE) {
        return false;
    }
    const secret_t key = derive_key(params.salt, params.iterations, KEY_SIZE);
    const std::string header = octet_string_header(size);
    out.reserve(size + header.size()); // so that no copy of the plaintext is left behind by growth
    out.assign(static_cast<const char*>(data), size);
    require(gcry_cipher_decrypt(make_cipher(key, params.iv).get(), out.data(), out.size(), nullptr, 0), "decryption");
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
    require(gcry_cipher_encrypt(make_cipher(key, params.iv).get(), out.data(), out.size(), nullptr, 0), "encryption");
    return true;
}

secret_t gost_pbe_crypto_t::derive_mac_key(const blob_t& salt, unsigned int iterations, mac_key_t source) const {
    if (source == mac_key_t::PKCS12_KDF) {
        return pkcs12_mac_key(password_.has_value() ? bmp_password(password_->text()) : secret_t(0), salt, iterations);
    }
    const secret_t octets = derive_key(salt, iterations, PBKDF2_MAC_SIZE);
    return secret_t(octets.text().substr(PBKDF2_MAC_SIZE - KEY_SIZE));
}

secret_t gost_pbe_crypto_t::derive_key(const blob_t& salt, unsigned int iterations, std::size_t size) const {
    const std::string_view password = password_.has_value() ? password_->text() : std::string_view("");
    secret_t key(size);
    require(gcry_kdf_derive(password.data(), password.size(), GCRY_KDF_PBKDF2, GCRY_MD_GOSTR3411_CP, salt.data,
                            salt.size, iterations, key.size(), key.data()),
            "PBKDF2");
    return key;
}
