#include "gost/crypto.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <type_traits>

#include <gcrypt.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

namespace derkit::gost {

namespace {

constexpr const char* OLDEST_GCRYPT = "1.10.0";

struct digest_row {
    digest_id id;
    int digest;
    int mac;
    std::size_t size;
    std::size_t block_size; // v of RFC 7292 B.2
    const char* name;
};

constexpr std::array DIGESTS = {
    digest_row{digest_id::GOST94, GCRY_MD_GOSTR3411_CP, GCRY_MAC_HMAC_GOSTR3411_CP, 32, 32, "GOST R 34.11-94"},
    digest_row{digest_id::STREEBOG256, GCRY_MD_STRIBOG256, GCRY_MAC_HMAC_STRIBOG256, 32, 64, "GOST R 34.11-2012"},
    digest_row{digest_id::STREEBOG512, GCRY_MD_STRIBOG512, GCRY_MAC_HMAC_STRIBOG512, 64, 64, "GOST R 34.11-2012"},
    digest_row{digest_id::SHA1, GCRY_MD_SHA1, GCRY_MAC_HMAC_SHA1, 20, 64, "SHA-1"},
    digest_row{digest_id::SHA224, GCRY_MD_SHA224, GCRY_MAC_HMAC_SHA224, 28, 64, "SHA-224"},
    digest_row{digest_id::SHA256, GCRY_MD_SHA256, GCRY_MAC_HMAC_SHA256, 32, 64, "SHA-256"},
    digest_row{digest_id::SHA384, GCRY_MD_SHA384, GCRY_MAC_HMAC_SHA384, 48, 128, "SHA-384"},
    digest_row{digest_id::SHA512, GCRY_MD_SHA512, GCRY_MAC_HMAC_SHA512, 64, 128, "SHA-512"},
};

const digest_row& row_of(digest_id digest) {
    return *std::find_if(DIGESTS.begin(), DIGESTS.end(), [digest](const digest_row& row) { return row.id == digest; });
}

struct close_handle {
    void operator()(gcry_md_hd_t digest) const { gcry_md_close(digest); }
    void operator()(gcry_mac_hd_t mac) const { gcry_mac_close(mac); }
    void operator()(gnutls_hmac_hd_t mac) const { gnutls_hmac_deinit(mac, nullptr); }
};

template <typename HANDLE> using closed_at_end = std::unique_ptr<std::remove_pointer_t<HANDLE>, close_handle>;

// One block of I = S || P, plus B and 1, modulo 2 to its number of bits (RFC 7292 B.2 6 C).
void add_and_increment(unsigned char* block, std::string_view b) {
    unsigned int carry = 1;
    for (std::size_t i = b.size(); i-- != 0;) {
        carry += static_cast<unsigned int>(block[i]) + static_cast<unsigned char>(b[i]);
        block[i] = static_cast<unsigned char>(carry & 0xFF);
        carry >>= 8;
    }
}

// Octets repeated to whole blocks; no block of no octets (RFC 7292 B.2 2 and 3).
void append_repeated(secret& to, std::string_view octets, std::size_t size_of_block) {
    const std::size_t end = to.size() + (octets.size() + size_of_block - 1) / size_of_block * size_of_block;
    while (to.size() < end) {
        to.append(octets.substr(0, std::min(octets.size(), end - to.size())));
    }
}

// The digest of `first` and `second`, hashed again until it was hashed `iterations` times.
result<secret> digest_repeatedly(const digest_row& row, std::string_view first, std::string_view second,
                                 std::uint32_t iterations) {
    gcry_md_hd_t opened = nullptr;
    if (const gcry_error_t error = gcry_md_open(&opened, row.digest, 0); error != 0) {
        return gcrypt_failure(row.name, error);
    }
    const closed_at_end<gcry_md_hd_t> digest(opened);
    gcry_md_write(opened, first.data(), first.size());
    gcry_md_write(opened, second.data(), second.size());
    secret out(row.size);
    for (std::uint32_t i = 0; i < iterations; ++i) {
        if (i != 0) {
            gcry_md_reset(opened);
            gcry_md_write(opened, out.data(), out.size());
        }
        const unsigned char* const value = gcry_md_read(opened, row.digest);
        if (value == nullptr) {
            return failure{cause::crypto_failure, row.name};
        }
        std::memcpy(out.data(), value, out.size());
    }
    return out;
}

} // namespace

std::size_t digest_size(digest_id digest) {
    return row_of(digest).size;
}

std::size_t block_size(block_cipher_id cipher) {
    return cipher == block_cipher_id::KUZNYECHIK ? 16 : 8;
}

failure gcrypt_failure(const char* what, unsigned int error) {
    return {cause::crypto_failure, std::string(what) + ": " + gcry_strerror(error)};
}

failure gnutls_failure(const char* what, int error) {
    const char* const text = gnutls_strerror(error);
    return {cause::crypto_failure, std::string(what) + ": " + (text != nullptr ? text : "unknown error")};
}

// An application that has begun to initialise libgcrypt finishes it as it wants, with or without secure memory.
result<bool> start_gcrypt() {
    static const bool usable = [] {
        const bool begun = gcry_control(GCRYCTL_ANY_INITIALIZATION_P) != 0;
        if (gcry_check_version(OLDEST_GCRYPT) == nullptr) {
            return false;
        }
        if (!begun) {
            gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
            gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        }
        return true;
    }();
    if (!usable) {
        return failure{cause::crypto_failure, std::string("libgcrypt is older than ") + OLDEST_GCRYPT};
    }
    return true;
}

result<std::string> random_octets(std::size_t size) {
    std::string octets(size, '\0');
    if (const result<bool> started = start_gcrypt(); !started) {
        return started.error();
    }
    gcry_randomize(octets.data(), octets.size(), GCRY_STRONG_RANDOM);
    return octets;
}

result<secret> hmac(digest_id digest, std::string_view key, std::string_view data) {
    if (const result<bool> started = start_gcrypt(); !started) {
        return started.error();
    }
    const digest_row& row = row_of(digest);
    gcry_mac_hd_t opened = nullptr;
    if (const gcry_error_t error = gcry_mac_open(&opened, row.mac, 0, nullptr); error != 0) {
        return gcrypt_failure(row.name, error);
    }
    const closed_at_end<gcry_mac_hd_t> mac(opened);
    secret out(row.size);
    std::size_t size = out.size();
    gcry_error_t error = gcry_mac_setkey(opened, key.data(), key.size());
    if (error == 0) {
        error = gcry_mac_write(opened, data.data(), data.size());
    }
    if (error == 0) {
        error = gcry_mac_read(opened, out.data(), &size);
    }
    if (error != 0 || size != out.size()) {
        return gcrypt_failure(row.name, error);
    }
    return out;
}

result<secret> omac(block_cipher_id cipher, std::string_view key, std::string_view data) {
    const gnutls_mac_algorithm_t algorithm =
        cipher == block_cipher_id::KUZNYECHIK ? GNUTLS_MAC_KUZNYECHIK_OMAC : GNUTLS_MAC_MAGMA_OMAC;
    secret out(block_size(cipher));
    if (gnutls_hmac_get_len(algorithm) != out.size()) {
        return failure{cause::crypto_failure, "OMAC"};
    }
    gnutls_hmac_hd_t opened = nullptr;
    int error = gnutls_hmac_init(&opened, algorithm, key.data(), key.size());
    if (error < 0) {
        return gnutls_failure("OMAC", error);
    }
    const closed_at_end<gnutls_hmac_hd_t> mac(opened);
    error = gnutls_hmac(opened, data.data(), data.size());
    if (error < 0) {
        return gnutls_failure("OMAC", error);
    }
    gnutls_hmac_output(opened, out.data());
    return out;
}

result<secret> pbkdf2(digest_id digest, std::string_view password, std::string_view salt, std::uint32_t iterations,
                      std::size_t size) {
    if (salt.empty() || iterations == 0) {
        return cause::malformed_parameters;
    }
    if (const result<bool> started = start_gcrypt(); !started) {
        return started.error();
    }
    secret out(size);
    const char* const octets = password.empty() ? "" : password.data();
    const gcry_error_t error = gcry_kdf_derive(octets, password.size(), GCRY_KDF_PBKDF2, row_of(digest).digest,
                                               salt.data(), salt.size(), iterations, out.size(), out.data());
    if (error != 0) {
        return gcrypt_failure("PBKDF2", error);
    }
    return out;
}

result<secret> pkcs12_kdf(digest_id digest, pkcs12_purpose purpose, std::string_view password, std::string_view salt,
                          std::uint32_t iterations, std::size_t size) {
    if (salt.empty() || iterations == 0) {
        return cause::malformed_parameters;
    }
    if (const result<bool> started = start_gcrypt(); !started) {
        return started.error();
    }
    const digest_row& row = row_of(digest);
    const std::string diversifier(row.block_size, static_cast<char>(purpose));
    secret input;
    append_repeated(input, salt, row.block_size);
    append_repeated(input, password, row.block_size);
    secret out;
    out.reserve(size + row.size);
    while (true) {
        const result<secret> octets = digest_repeatedly(row, diversifier, input, iterations);
        if (!octets) {
            return octets.error();
        }
        out.append(*octets);
        if (out.size() >= size) {
            out.resize(size);
            return out;
        }
        secret b;
        append_repeated(b, *octets, row.block_size); // one block: no digest is longer
        for (std::size_t i = 0; i < input.size(); i += row.block_size) {
            add_and_increment(input.data() + i, b);
        }
    }
}

result<secret> kdf_tree(std::string_view key, std::string_view label, std::string_view seed) {
    constexpr std::string_view SEPARATOR("\0", 1);
    constexpr std::string_view NUM_BITS("\x02\x00", 2);
    secret out;
    for (const std::string_view i : {"\x01", "\x02"}) {
        std::string input(i);
        input.append(label).append(SEPARATOR).append(seed).append(NUM_BITS);
        const result<secret> derived = hmac(digest_id::STREEBOG256, key, input);
        if (!derived) {
            return derived.error();
        }
        out.append(*derived);
    }
    return out;
}

} // namespace derkit::gost
