#include "formats/private_key.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "formats/der.h"
#include "formats/pem.h"
#include "io/failure.h"

namespace {

constexpr unsigned char CONTEXT_1_PRIMITIVE = 0x81;

// Families that the GOST library has no keys of. RFC 4357 10.1 and 10.2.
constexpr std::pair<std::string_view, const char*> OLD_FAMILIES[] = {
    {"1.2.643.2.2.20", "GOST R 34.10-94"},
    {"1.2.643.2.2.99", "GOST R 34.10-94 key agreement"},
};

std::string other_family(const blob_t& algorithm) {
    const named_oid_t named = name_oid(algorithm);
    const auto* const old = std::ranges::find(OLD_FAMILIES, named.oid, [](const auto& row) { return row.first; });
    if (old != std::end(OLD_FAMILIES)) {
        return old->second;
    }
    return I2S_PKI_ALG_T->getString(PKI_OID_TO_KEY_ALG(algorithm.data, algorithm.size),
                                    named.name.empty() ? named.oid.c_str() : named.name.c_str());
}

// Algorithms other than GOST have one OID without a SEQUENCE, something else or nothing.
std::vector<named_oid_t> read_param_sets(asn_cursor_t params) {
    if (params.next_is(asn_tag_t::SEQUENCE)) {
        params = params.enter(asn_tag_t::SEQUENCE);
    }
    return read_gost_param_sets(params);
}

// What may follow privateKey: attributes [0], publicKey [1] IMPLICIT BIT STRING. Anything else is ignored.
void read_optional_fields(asn_cursor_t in, private_key_t& out) {
    while (in.ok() && !in.empty()) {
        const unsigned char tag = *in.p;
        in.skip(asn_tag_t::ANY);
        out.has_attributes = out.has_attributes || tag == asn_tag_t::CONTEXT_0;
        out.has_public_key = out.has_public_key || tag == CONTEXT_1_PRIMITIVE || tag == asn_tag_t::CONTEXT_1;
    }
}

// PrivateKeyInfo ::= SEQUENCE {                                                          RFC 5208 5, RFC 5958 2
//   version Version, privateKeyAlgorithm AlgorithmIdentifier, privateKey OCTET STRING,
//   attributes [0] IMPLICIT Attributes OPTIONAL, publicKey [1] IMPLICIT BIT STRING OPTIONAL }
void read_fields(std::string_view der, private_key_t& out, missing_field_t& missing) {
    asn_cursor_t in = cursor_over(der);
    asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    missing.check(in, "SEQUENCE");
    out.trailing = in.rest();
    key_info.skip(asn_tag_t::INTEGER);
    missing.check(key_info, "version");
    asn_cursor_t algorithm = key_info.enter(asn_tag_t::SEQUENCE);
    out.algorithm = algorithm.read(asn_tag_t::OBJECT_IDENTIFIER);
    missing.check(algorithm, "privateKeyAlgorithm");
    out.param_sets = read_param_sets(algorithm);
    out.content = key_info.read(asn_tag_t::OCTET_STRING);
    missing.check(key_info, "privateKey");
    read_optional_fields(key_info, out);
}

// What the GOST library says of the key.
void examine(std::string_view der, private_key_t& out) {
    const gost::result<gost::key_outline> outline = gost::private_key::inspect(der);
    out.is_gost = outline && outline->family.has_value();
    out.size = out.content.size;
    if (!out.is_gost) {
        out.family = other_family(out.algorithm);
        return;
    }
    out.family = outline->algorithm.name;
    if (outline->shape.has_value()) {
        out.shape = gost::name_of(*outline->shape);
        out.size = static_cast<unsigned int>(outline->size);
        out.has_public_key = out.has_public_key || outline->has_public_key;
    }
    gost::result<gost::private_key> key = gost::private_key::read(der);
    if (key) {
        out.key = *std::move(key);
    } else {
        out.fault = "not a key of " + out.family + ": " + text_of(key.error());
    }
}

// The element, which nothing may follow.
void require_key(std::string_view der, const std::string& name) {
    private_key_t key;
    std::string problem;
    if (!read_private_key(der, key, problem)) {
        throw failure_t(name, problem);
    }
    if (key.trailing.size != 0) {
        throw failure_t(name, "has " + std::to_string(key.trailing.size) + " bytes after the key");
    }
}

void require_encrypted_key(std::string_view der, const gost::limits& cost, const std::string& name) {
    const gost::result<gost::key_outline> outline = gost::private_key::inspect(der, cost);
    if (!outline) {
        throw failure_t(name, "neither a PrivateKeyInfo nor an EncryptedPrivateKeyInfo, or cut short");
    }
    if (outline->encryption->unsupported.has_value()) {
        throw failure_t(name, text_of(*outline->encryption->unsupported));
    }
}

// The only key among the blocks of a text. The caller wipes it.
pem_block_t find_key_block(std::string_view text, const std::string& name) {
    pem_reader_t reader(text);
    pem_block_t found;
    const pem_blocks_t blocks = take_pem_blocks(reader, is_key_label, [&](pem_block_t& block, unsigned int number) {
        if (number > 1) {
            throw failure_t(name, "holds more than one private key");
        }
        found = std::move(block);
    });
    if (blocks.num_taken == 0) {
        const std::string label = blocks.other_label.value_or("");
        throw failure_t(name, label.empty() ? "neither PEM nor DER of a PKCS#8 key"
                                            : "holds no PKCS#8 key (PRIVATE KEY), but " + label);
    }
    return found;
}

} // namespace

bool is_key_label(std::string_view label) {
    return label == "PRIVATE KEY" || label == "ENCRYPTED PRIVATE KEY";
}

bool read_private_key(std::string_view der, private_key_t& out, std::string& problem) {
    out = private_key_t();
    missing_field_t missing;
    read_fields(der, out, missing);
    if (!missing.none()) {
        problem = missing.problem("a PrivateKeyInfo");
        return false;
    }
    examine(der.substr(0, der.size() - out.trailing.size), out);
    return true;
}

key_form_t find_key_form(std::string_view der) {
    asn_cursor_t in = cursor_over(der);
    const asn_cursor_t key_info = in.enter(asn_tag_t::SEQUENCE);
    if (key_info.next_is(asn_tag_t::INTEGER)) {
        return key_form_t::PLAIN;
    }
    return key_info.next_is(asn_tag_t::SEQUENCE) ? key_form_t::ENCRYPTED : key_form_t::NEITHER;
}

key_file_t::key_file_t(const std::string& file, const gost::limits& cost) : cost_(cost), place_(input_name(file)) {
    std::string bytes = read_filled_input(file);
    const wipe_at_end_t wiped(bytes);
    if (find_key_form(bytes) != key_form_t::NEITHER) {
        der_ = bytes;
    } else {
        pem_block_t block = find_key_block(bytes, place_);
        const wipe_at_end_t wiped_block(block.der);
        place_ += " (line " + std::to_string(block.line) + ")";
        if (!block.problem.empty()) {
            throw failure_t(place_, block.problem);
        }
        der_ = block.der;
    }
    if (is_encrypted()) {
        require_encrypted_key(der_, cost_, place_);
    } else {
        require_key(der_, place_);
    }
}

gost::secret key_file_t::open(const std::optional<secret_t>& password) const {
    if (!is_encrypted()) {
        return gost::secret(der_);
    }
    const std::optional<std::string_view> text = password.has_value() ? std::optional(password->text()) : std::nullopt;
    gost::result<gost::secret> plain = gost::private_key::decrypt(der_, text, cost_);
    if (!plain) {
        throw failure_t(place_, text_of(plain.error()));
    }
    require_key(*plain, place_);
    return *std::move(plain);
}
