#include "gost/schemes.h"

#include <algorithm>

#include "gost/der.h"
#include "gost/scheme_tables.h"

namespace derkit::gost {

namespace {

constexpr std::size_t TWO_KEYS_OF_DES = 16;
constexpr std::size_t ONE_KEY_OF_DES = 8;

// The AlgorithmIdentifier of an encryption under a password, with views of it. Either `cipher` and `prf` or `old` is set.
struct parsed_scheme {
    const cipher_row* cipher = nullptr;
    const prf_row* prf = nullptr;
    const pkcs12_scheme_row* old = nullptr;
    std::string_view salt;
    std::uint32_t iterations = 0;
    std::optional<std::uint32_t> key_size; // where the file says it
    std::string_view iv;                   // or UKM
    const sbox_row* sbox = nullptr;        // of GOST 28147-89
};

template <typename ROW> named_oid name_of_row(const ROW& row) {
    return {std::string(row.oid), std::string(row.name)};
}

failure malformed(std::string_view what) {
    return {cause::malformed_parameters, std::string(what)};
}

failure over_limit(std::uint32_t iterations, const limits& cost) {
    return iterations > cost.max_iterations ? failure{cause::too_many_iterations, std::to_string(iterations)}
                                            : failure();
}

void note_salt(const parsed_scheme& parsed, encryption_scheme& outline) {
    outline.iterations = parsed.iterations;
    outline.salt_size = parsed.salt.size();
}

// PBKDF2-params ::= SEQUENCE {                                                                       RFC 8018 A.2
//   salt CHOICE { specified OCTET STRING, otherSource AlgorithmIdentifier },
//   iterationCount INTEGER (1..MAX), keyLength INTEGER (1..MAX) OPTIONAL,
//   prf AlgorithmIdentifier DEFAULT algid-hmacWithSHA1 }
// Another source of salt is refused. Parameters of the PRF are not looked at: programs write NULL, nothing or others.
failure read_pbkdf2(asn_cursor_t in, const limits& cost, parsed_scheme& parsed, encryption_scheme& outline) {
    parsed.salt = text_of(in.read(asn_tag_t::OCTET_STRING));
    const result<std::uint32_t> iterations = read_iterations(in);
    if (!iterations) {
        return iterations.error();
    }
    parsed.iterations = *iterations;
    note_salt(parsed, outline);
    if (in.next_is(asn_tag_t::INTEGER)) {
        const result<std::uint32_t> key_size = read_iterations(in);
        parsed.key_size = key_size ? *key_size : 0;
    }
    parsed.prf = &PRFS.front();
    outline.prf = name_of_row(PRFS.front());
    if (in.next_is(asn_tag_t::SEQUENCE)) {
        outline.prf = name_scheme_oid(in.enter(asn_tag_t::SEQUENCE).read(asn_tag_t::OBJECT_IDENTIFIER));
        parsed.prf = find_row(PRFS, outline.prf.oid);
    }
    if (!in.ok() || !in.empty() || parsed.salt.empty() || parsed.iterations == 0) {
        return malformed("PBKDF2");
    }
    return parsed.prf == nullptr ? failure{cause::unsupported_prf, outline.prf.oid} : over_limit(*iterations, cost);
}

failure read_kdf(asn_cursor_t in, const limits& cost, parsed_scheme& parsed, encryption_scheme& outline) {
    outline.kdf = name_scheme_oid(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (outline.kdf.oid.empty()) {
        return malformed("PBES2");
    }
    if (outline.kdf.oid != PBKDF2) {
        return {cause::unsupported_kdf, outline.kdf.oid};
    }
    return read_pbkdf2(in.enter(asn_tag_t::SEQUENCE), cost, parsed, outline);
}

// The three forms of parameters; see parameters_form.
failure read_cipher_parameters(asn_cursor_t in, parsed_scheme& parsed, encryption_scheme& outline) {
    const parameters_form form = parsed.cipher->form;
    asn_cursor_t fields = form == parameters_form::IV ? in : in.enter(asn_tag_t::SEQUENCE);
    parsed.iv = text_of(fields.read(asn_tag_t::OCTET_STRING));
    if (form == parameters_form::IV_AND_SBOX) {
        outline.param_set = name_scheme_oid(fields.read(asn_tag_t::OBJECT_IDENTIFIER));
        parsed.sbox = find_row(SBOXES, outline.param_set.oid);
    }
    if (!fields.ok() || !fields.empty() || parsed.iv.size() != parsed.cipher->iv_size) {
        return malformed(parsed.cipher->name);
    }
    const bool unknown_sbox = form == parameters_form::IV_AND_SBOX && parsed.sbox == nullptr;
    return unknown_sbox ? failure{cause::unsupported_param_set, outline.param_set.oid} : failure();
}

failure read_cipher(asn_cursor_t in, parsed_scheme& parsed, encryption_scheme& outline) {
    outline.cipher = name_scheme_oid(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (outline.cipher.oid.empty()) {
        return malformed("PBES2");
    }
    parsed.cipher = find_row(CIPHERS, outline.cipher.oid);
    if (parsed.cipher == nullptr) {
        return {cause::unsupported_cipher, outline.cipher.oid};
    }
    return read_cipher_parameters(in, parsed, outline);
}

// PBES2-params ::= SEQUENCE {                                                                        RFC 8018 A.4
//   keyDerivationFunc AlgorithmIdentifier, encryptionScheme AlgorithmIdentifier }
failure read_pbes2(asn_cursor_t in, const limits& cost, parsed_scheme& parsed, encryption_scheme& outline) {
    const asn_cursor_t kdf = in.enter(asn_tag_t::SEQUENCE);
    const asn_cursor_t cipher = in.enter(asn_tag_t::SEQUENCE);
    if (!in.ok() || !in.empty()) {
        return malformed("PBES2");
    }
    failure refused = first_of(read_kdf(kdf, cost, parsed, outline), read_cipher(cipher, parsed, outline));
    if (refused.why == cause::none && parsed.key_size.value_or(parsed.cipher->key_size) != parsed.cipher->key_size) {
        return malformed("PBKDF2");
    }
    return refused;
}

// pkcs-12PbeParams ::= SEQUENCE { salt OCTET STRING, iterations INTEGER }                            RFC 7292 C
failure read_pkcs12_scheme(asn_cursor_t in, const limits& cost, parsed_scheme& parsed, encryption_scheme& outline) {
    parsed.salt = text_of(in.read(asn_tag_t::OCTET_STRING));
    const result<std::uint32_t> iterations = read_iterations(in);
    if (!iterations) {
        return iterations.error();
    }
    parsed.iterations = *iterations;
    note_salt(parsed, outline);
    if (!in.empty() || parsed.salt.empty() || parsed.iterations == 0) {
        return malformed(parsed.old->name);
    }
    return over_limit(*iterations, cost);
}

failure read_scheme(const blob_t& algorithm, const limits& cost, parsed_scheme& parsed, encryption_scheme& outline) {
    asn_cursor_t in(algorithm);
    outline.algorithm = name_scheme_oid(in.read(asn_tag_t::OBJECT_IDENTIFIER));
    if (outline.algorithm.oid.empty()) {
        return malformed("AlgorithmIdentifier");
    }
    if (outline.algorithm.oid == PBES2) {
        return read_pbes2(in.enter(asn_tag_t::SEQUENCE), cost, parsed, outline);
    }
    parsed.old = find_row(PKCS12_SCHEMES, outline.algorithm.oid);
    if (parsed.old != nullptr) {
        outline.prf = {"1.3.14.3.2.26", "SHA-1"};
        return read_pkcs12_scheme(in.enter(asn_tag_t::SEQUENCE), cost, parsed, outline);
    }
    const bool vendor = outline.algorithm.oid == VENDOR_SCHEME;
    return {vendor ? cause::vendor_scheme : cause::unsupported_scheme, outline.algorithm.oid};
}

result<secret> decrypt_pbes2(session& under, const parsed_scheme& scheme, std::string_view data, plaintext expected) {
    const cipher_row& cipher = *scheme.cipher;
    const result<secret> key = under.pbkdf2_key(scheme.prf->digest, scheme.salt, scheme.iterations, cipher.key_size);
    if (!key) {
        return key.error();
    }
    const std::string_view sbox = scheme.sbox != nullptr ? scheme.sbox->oid : std::string_view();
    return cipher.run({direction::DECRYPT, *key, scheme.iv, sbox, data, expected, section::standard});
}

result<secret> decrypt_pkcs12(session& under, const parsed_scheme& scheme, std::string_view data, plaintext expected) {
    const pkcs12_scheme_row& row = *scheme.old;
    result<secret> key =
        under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::KEY, scheme.salt, scheme.iterations, row.key_size);
    if (!key) {
        return key;
    }
    if (row.cipher == classic_cipher::TRIPLE_DES && row.key_size == TWO_KEYS_OF_DES) {
        key->append(key->view().substr(0, ONE_KEY_OF_DES)); // the third key is the first
    }
    secret iv;
    if (const std::size_t iv_size = block_size(row.cipher); iv_size != 0) {
        result<secret> derived =
            under.pkcs12_key(digest_id::SHA1, pkcs12_purpose::IV, scheme.salt, scheme.iterations, iv_size);
        if (!derived) {
            return derived;
        }
        iv = std::move(*derived);
    }
    result<secret> opened = run_classic(direction::DECRYPT, row.cipher, *key, iv, data);
    if (opened && !is_plaintext(*opened, expected)) {
        return cause::wrong_password;
    }
    return opened;
}

// A file under an empty password may have been made with none, and the reverse.
result<secret> decrypt_pkcs12_either_way(session& under, const parsed_scheme& scheme, std::string_view data,
                                         plaintext expected) {
    result<secret> opened = decrypt_pkcs12(under, scheme, data, expected);
    if (opened.why() == cause::wrong_password && under.swap_empty_and_none()) {
        opened = decrypt_pkcs12(under, scheme, data, expected);
    }
    return opened;
}

std::string write_cipher_parameters(const cipher_row& cipher, std::string_view iv, std::string_view sbox) {
    const std::string iv_element = der(asn_tag_t::OCTET_STRING, {iv});
    switch (cipher.form) {
    case parameters_form::IV:
        return iv_element;
    case parameters_form::IV_AND_SBOX:
        return der(asn_tag_t::SEQUENCE, {iv_element, der_oid(sbox)});
    case parameters_form::UKM:
        return der(asn_tag_t::SEQUENCE, {iv_element});
    }
    return std::string();
}

std::string write_pbkdf2(std::string_view salt, std::uint32_t iterations, std::string_view prf) {
    const std::string prf_element = der(asn_tag_t::SEQUENCE, {der_oid(prf), der(asn_tag_t::NULL_VALUE, {})});
    const std::string parameters =
        der(asn_tag_t::SEQUENCE, {der(asn_tag_t::OCTET_STRING, {salt}), der_integer(iterations), prf_element});
    return der(asn_tag_t::SEQUENCE, {der_oid(PBKDF2), parameters});
}

// Null for a cipher that is no enumerator.
const cipher_row* cipher_of(const format_row& row, block_cipher cipher) {
    switch (cipher) {
    case block_cipher::kuznyechik:
        return find_row(CIPHERS, row.kuznyechik);
    case block_cipher::magma:
        return find_row(CIPHERS, row.magma);
    }
    return nullptr;
}

bool is_known(section sections) {
    return sections == section::standard || sections == section::tls;
}

} // namespace

const format_row* find_format(format id) {
    const auto* const found =
        std::find_if(FORMATS.begin(), FORMATS.end(), [id](const format_row& row) { return row.id == id; });
    return found != FORMATS.end() ? found : nullptr;
}

failure check_options(const write_options& options) {
    const format_row* const row = find_format(options.to);
    if (row == nullptr) {
        return {cause::invalid_argument, "format"};
    }
    if (cipher_of(*row, options.cipher) == nullptr) {
        return {cause::invalid_argument, "cipher"};
    }
    return is_known(options.sections) ? failure() : failure{cause::invalid_argument, "sections"};
}

failure check_new_password(std::string_view password) {
    return utf16_from_utf8(password).has_value() ? failure() : failure{cause::invalid_text, "password"};
}

std::uint32_t iterations_of(const write_options& options, const format_row& row) {
    return options.iterations != 0 ? options.iterations : row.iterations;
}

named_oid name_scheme_oid(const blob_t& oid) {
    named_oid named = {dotted_of(oid), std::string()};
    const auto take_name = [&named](const auto& table) {
        if (const auto* const row = find_row(table, named.oid); row != nullptr) {
            named.name = row->name;
        }
    };
    take_name(PRFS);
    take_name(MACS);
    take_name(SBOXES);
    take_name(CIPHERS);
    take_name(PKCS12_SCHEMES);
    take_name(OTHER_OIDS);
    return named;
}

bool is_plaintext(std::string_view octets, plaintext expected, strings are) {
    asn_cursor_t in(blob_of(octets));
    const bool wrapped = expected == plaintext::SAFE_CONTENTS && in.next_is(asn_tag_t::OCTET_STRING);
    if (wrapped) {
        const asn_cursor_t inside = in.enter(asn_tag_t::OCTET_STRING);
        return in.ok() && in.empty() && inside.next_is(asn_tag_t::SEQUENCE) &&
               is_plaintext(text_of(inside.rest()), expected, are);
    }
    const asn_cursor_t content = in.enter(asn_tag_t::SEQUENCE);
    const bool begins_well = expected == plaintext::PRIVATE_KEY_INFO
                                 ? content.next_is(asn_tag_t::INTEGER)
                                 : content.empty() || content.next_is(asn_tag_t::SEQUENCE);
    return in.ok() && in.empty() && begins_well && is_whole_der(octets, asn_tag_t::SEQUENCE, are);
}

encryption_scheme outline_encryption(const blob_t& algorithm, const limits& cost) {
    encryption_scheme outline;
    parsed_scheme parsed;
    if (failure refused = read_scheme(algorithm, cost, parsed, outline); refused.why != cause::none) {
        outline.unsupported = std::move(refused);
    }
    return outline;
}

result<secret> decrypt(session& under, const blob_t& algorithm, const blob_t& ciphertext, plaintext expected) {
    encryption_scheme outline;
    parsed_scheme scheme;
    if (failure refused = read_scheme(algorithm, under.cost(), scheme, outline); refused.why != cause::none) {
        return refused;
    }
    return scheme.old == nullptr ? decrypt_pbes2(under, scheme, text_of(ciphertext), expected)
                                 : decrypt_pkcs12_either_way(under, scheme, text_of(ciphertext), expected);
}

result<encrypted> encrypt(session& under, const write_options& options, std::string_view plain, plaintext expected) {
    if (failure refused = check_options(options); refused.why != cause::none) {
        return refused;
    }
    const format_row* const row = find_format(options.to);
    const cipher_row* const cipher = cipher_of(*row, options.cipher);
    const std::uint32_t iterations = iterations_of(options, *row);
    const result<std::string> salt = random_octets(SALT_SIZE);
    const result<std::string> iv = random_octets(cipher->iv_size);
    if (!salt || !iv) {
        return !salt ? salt.error() : iv.error();
    }
    const result<secret> key = under.pbkdf2_key(find_row(PRFS, row->prf)->digest, *salt, iterations, cipher->key_size);
    if (!key) {
        return key.error();
    }
    const result<secret> done =
        cipher->run({direction::ENCRYPT, *key, *iv, row->sbox, plain, expected, options.sections});
    if (!done) {
        return done.error();
    }
    const std::string encryption =
        der(asn_tag_t::SEQUENCE, {der_oid(cipher->oid), write_cipher_parameters(*cipher, *iv, row->sbox)});
    const std::string parameters = der(asn_tag_t::SEQUENCE, {write_pbkdf2(*salt, iterations, row->prf), encryption});
    return encrypted{der(asn_tag_t::SEQUENCE, {der_oid(PBES2), parameters}), std::string(done->view())};
}

} // namespace derkit::gost
