#include "commands/p12_inputs.h"

#include <string_view>

#include "formats/certificate.h"
#include "formats/encrypted_key.h"
#include "formats/pem.h"
#include "formats/private_key.h"
#include "io/bytes.h"
#include "io/failure.h"
#include "io/input_file.h"

namespace {

std::string read_not_empty(const std::string& file) {
    std::string bytes = read_input(file);
    if (bytes.empty()) {
        throw failure_t(input_name(file), "is empty");
    }
    return bytes;
}

// The element alone, without what stands behind it.
std::string require_key(std::string_view der, const std::string& name) {
    private_key_t key;
    std::string problem;
    if (!read_private_key(der, key, problem)) {
        throw failure_t(name, problem);
    }
    if (key.trailing.size != 0) {
        throw failure_t(name, std::to_string(key.trailing.size) + " bytes stand behind the key");
    }
    return std::string(der);
}

std::string require_decrypted_key(std::string_view der, const std::string& name,
                                  const std::optional<secret_t>& password) {
    encrypted_key_t encrypted;
    if (!read_encrypted_key(der, encrypted)) {
        throw failure_t(name, "neither a PrivateKeyInfo nor an EncryptedPrivateKeyInfo, or cut short");
    }
    if (!encrypted.encryption.declined.empty()) {
        throw failure_t(name, "the key " + encrypted.encryption.declined);
    }
    std::optional<std::string> plaintext = decrypt_key(encrypted, password);
    if (!plaintext.has_value()) {
        throw failure_t(name, "wrong password for the encrypted key, or the key is damaged");
    }
    const wipe_at_end_t wiped(*plaintext);
    return require_key(*plaintext, name);
}

std::string open_key(std::string_view der, const std::string& name, const std::optional<secret_t>& password) {
    const bool encrypted = find_key_form(der) == key_form_t::ENCRYPTED;
    return encrypted ? require_decrypted_key(der, name, password) : require_key(der, name);
}

// The only key among the blocks of a text.
pem_block_t find_key_block(std::string_view text, const std::string& name) {
    pem_reader_t reader(text);
    std::optional<pem_block_t> found;
    std::string other_label;
    while (std::optional<pem_block_t> block = reader.next()) {
        if (!is_key_label(block->label)) {
            other_label = block->label;
        } else if (found.has_value()) {
            throw failure_t(name, "holds more than one private key");
        } else {
            found = std::move(block);
        }
    }
    if (!found.has_value()) {
        throw failure_t(name, other_label.empty() ? "neither PEM nor DER of a PKCS#8 key"
                                                  : "holds no PKCS#8 key (PRIVATE KEY), but " + other_label);
    }
    return std::move(*found);
}

// RFC 7468 5.1, and the form that has trust settings behind the certificate.
bool is_certificate_label(const std::string& label) {
    return label == "CERTIFICATE" || label == "X509 CERTIFICATE" || label == "TRUSTED CERTIFICATE";
}

// The element alone, without what stands behind it.
std::string require_certificate(const pem_block_t& block, const std::string& name) {
    certificate_t certificate;
    std::string problem = block.problem;
    if (!problem.empty() || !read_certificate(block.der, certificate, problem)) {
        throw failure_t(name + " (line " + std::to_string(block.line) + ")", problem);
    }
    return block.der.substr(0, block.der.size() - certificate.trailing.size);
}

std::vector<std::string> read_certificate_blocks(std::string_view text, const std::string& name) {
    pem_reader_t reader(text);
    std::vector<std::string> certificates;
    while (const std::optional<pem_block_t> block = reader.next()) {
        if (is_certificate_label(block->label)) {
            certificates.push_back(require_certificate(*block, name));
        }
    }
    return certificates;
}

} // namespace

std::string read_key_file(const std::string& file, const std::optional<secret_t>& password) {
    std::string bytes = read_not_empty(file);
    const wipe_at_end_t wiped(bytes);
    const std::string name = input_name(file);
    if (find_key_form(bytes) != key_form_t::NEITHER) {
        return open_key(bytes, name, password);
    }
    pem_block_t block = find_key_block(bytes, name);
    const wipe_at_end_t wiped_block(block.der);
    const std::string place = name + " (line " + std::to_string(block.line) + ")";
    if (!block.problem.empty()) {
        throw failure_t(place, block.problem);
    }
    return open_key(block.der, place, password);
}

// A file is DER when a certificate can be read from it.
std::vector<std::string> read_certificate_file(const std::string& file) {
    const std::string bytes = read_not_empty(file);
    const std::string name = input_name(file);
    certificate_t certificate;
    std::string problem;
    if (read_certificate(bytes, certificate, problem)) {
        return {bytes.substr(0, bytes.size() - certificate.trailing.size)};
    }
    std::vector<std::string> certificates = read_certificate_blocks(bytes, name);
    if (certificates.empty()) {
        const bool starts_like_der = bytes[0] == static_cast<char>(asn_tag_t::SEQUENCE);
        throw failure_t(name, starts_like_der ? problem : "holds no certificate");
    }
    return certificates;
}
