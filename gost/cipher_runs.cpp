// The ciphers of PBES2 as their rows call them.
#include "gost/der.h"
#include "gost/scheme_tables.h"

namespace derkit::gost {

namespace {

result<secret> checked(result<secret> decrypted, plaintext expected) {
    if (decrypted && !is_plaintext(*decrypted, expected)) {
        return cause::wrong_password;
    }
    return decrypted;
}

result<secret> run_classic_checked(classic_cipher cipher, const cipher_run& run) {
    result<secret> done = run_classic(run.way, cipher, run.key, run.iv, run.data);
    return run.way == direction::DECRYPT ? checked(std::move(done), run.expected) : std::move(done);
}

// The IV is the first half block of the UKM.
result<secret> apply_acpkm(block_cipher_id cipher, section sections, std::string_view key, const cipher_run& run) {
    return ctr_acpkm(cipher, section_size(cipher, sections), key, run.iv.substr(0, block_size(cipher) / 2), run.data);
}

// A text that fits a section encrypts to the same octets under either size.
bool has_one_section(block_cipher_id cipher, std::size_t size) {
    return size <= section_size(cipher, section::tls);
}

// K(1) enciphers the plaintext and its OMAC under K(2) (RFC 9337 7.3).
constexpr std::size_t KEY_SIZE = 32;

result<secret> seal(block_cipher_id cipher, const secret& keys, const cipher_run& run) {
    const result<secret> mac = omac(cipher, keys.view().substr(KEY_SIZE), run.data);
    if (!mac) {
        return mac.error();
    }
    secret sealed(run.data);
    sealed.append(*mac);
    cipher_run whole = run;
    whole.data = sealed;
    return apply_acpkm(cipher, run.sections, keys.view().substr(0, KEY_SIZE), whole);
}

result<secret> unseal_with(section sections, block_cipher_id cipher, const secret& keys, const cipher_run& run) {
    result<secret> opened = apply_acpkm(cipher, sections, keys.view().substr(0, KEY_SIZE), run);
    if (!opened) {
        return opened;
    }
    const std::size_t size = opened->size() - block_size(cipher);
    const result<secret> mac = omac(cipher, keys.view().substr(KEY_SIZE), opened->view().substr(0, size));
    if (!mac) {
        return mac.error();
    }
    if (!equal_in_constant_time(*mac, opened->view().substr(size))) {
        return cause::wrong_omac;
    }
    opened->resize(size);
    return opened;
}

result<secret> unseal(block_cipher_id cipher, const secret& keys, const cipher_run& run) {
    if (run.data.size() < block_size(cipher)) {
        return cause::wrong_omac;
    }
    result<secret> opened = unseal_with(section::standard, cipher, keys, run);
    if (opened.why() == cause::wrong_omac && !has_one_section(cipher, run.data.size())) {
        opened = unseal_with(section::tls, cipher, keys, run);
    }
    if (opened && !is_plaintext(*opened, run.expected)) {
        return cause::malformed;
    }
    return opened;
}

} // namespace

result<secret> run_gost28147(const cipher_run& run) {
    result<secret> done = gost28147_cfb(run.way, run.sbox, run.key, run.iv, run.data);
    return run.way == direction::DECRYPT ? checked(std::move(done), run.expected) : std::move(done);
}

result<secret> run_aes(const cipher_run& run) {
    return run_classic_checked(classic_cipher::AES, run);
}

result<secret> run_triple_des(const cipher_run& run) {
    return run_classic_checked(classic_cipher::TRIPLE_DES, run);
}

// Whether the plaintext from the sections of TLS is the right one. When both are whole, the key changed inside strings
// only: then DER in those strings decides, and failing that the sections of TLS win, since programs write them.
bool tls_was_right(std::string_view with_tls, std::string_view with_standard, plaintext expected) {
    if (!is_plaintext(with_tls, expected)) {
        return false;
    }
    return is_plaintext(with_tls, expected, strings::OPENED) || !is_plaintext(with_standard, expected, strings::OPENED);
}

template <block_cipher_id CIPHER> result<secret> decrypt_acpkm(const cipher_run& run) {
    result<secret> with_tls = apply_acpkm(CIPHER, section::tls, run.key, run);
    if (!with_tls || has_one_section(CIPHER, run.data.size())) {
        return checked(std::move(with_tls), run.expected);
    }
    result<secret> with_standard = apply_acpkm(CIPHER, section::standard, run.key, run);
    if (!with_standard || tls_was_right(*with_tls, *with_standard, run.expected)) {
        return with_standard ? std::move(with_tls) : std::move(with_standard);
    }
    return checked(std::move(with_standard), run.expected);
}

// A text that would be read wrongly with standard sections is written with those of TLS.
template <block_cipher_id CIPHER> result<secret> encrypt_acpkm(const cipher_run& run) {
    result<secret> done = apply_acpkm(CIPHER, run.sections, run.key, run);
    if (!done || run.sections == section::tls || has_one_section(CIPHER, run.data.size())) {
        return done;
    }
    cipher_run reading = run;
    reading.data = *done;
    const result<secret> read = apply_acpkm(CIPHER, section::tls, run.key, reading);
    if (!read) {
        return read.error();
    }
    return tls_was_right(*read, run.data, run.expected) ? apply_acpkm(CIPHER, section::tls, run.key, run)
                                                        : std::move(done);
}

template <block_cipher_id CIPHER> result<secret> run_acpkm(const cipher_run& run) {
    return run.way == direction::DECRYPT ? decrypt_acpkm<CIPHER>(run) : encrypt_acpkm<CIPHER>(run);
}

template <block_cipher_id CIPHER> result<secret> run_acpkm_omac(const cipher_run& run) {
    constexpr std::string_view LABEL = "kdf tree";
    constexpr std::size_t SEED_SIZE = 8;
    const result<secret> keys = kdf_tree(run.key, LABEL, run.iv.substr(run.iv.size() - SEED_SIZE));
    if (!keys) {
        return keys.error();
    }
    return run.way == direction::ENCRYPT ? seal(CIPHER, *keys, run) : unseal(CIPHER, *keys, run);
}

template result<secret> run_acpkm<block_cipher_id::KUZNYECHIK>(const cipher_run& run);
template result<secret> run_acpkm<block_cipher_id::MAGMA>(const cipher_run& run);
template result<secret> run_acpkm_omac<block_cipher_id::KUZNYECHIK>(const cipher_run& run);
template result<secret> run_acpkm_omac<block_cipher_id::MAGMA>(const cipher_run& run);

} // namespace derkit::gost
