// derkit alg: everything known about an algorithm.
#include <algorithm>
#include <charconv>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "commands/commands.h"
#include "commands/facts.h"
#include "commands/options.h"
#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "formats/algorithm_der.h"
#include "formats/named_oid.h"
#include "formats/oid_table.h"
#include "io/bytes.h"

namespace {

struct alg_options_t {
    std::vector<std::string> algs;
    oid_map_option_t oid_map;
    bool json = false;
};

// Digest sizes in bytes. A vendor's variant of a hash has the same one.
struct digest_size_t {
    pki_alg_t hash;
    unsigned int size;
};
constexpr digest_size_t DIGEST_SIZES[] = {
    {PKI_ALG_SHA, 20},
    {PKI_ALG_SHA1, 20},
    {PKI_ALG_SHA224, 28},
    {PKI_ALG_SHA256, 32},
    {PKI_ALG_SHA384, 48},
    {PKI_ALG_SHA512, 64},
    {PKI_ALG_MD2, 16},
    {PKI_ALG_MD5, 16},
    {PKI_ALG_GOST_3411_94, 32},
    {PKI_ALG_GOST_3411_2012_256, 32},
    {PKI_ALG_GOST_3411_2012_512, 64},
};

unsigned int digest_size(pki_alg_t hash) {
    const unsigned int standard_form = hash & 0x00FF0000;
    const auto* const found = std::ranges::find(DIGEST_SIZES, standard_form, &digest_size_t::hash);
    return found != std::end(DIGEST_SIZES) ? found->size : 0;
}

// "0x" and hexadecimal digits, or decimal digits; 0 for anything else.
unsigned int read_code(std::string_view text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) {
        text.remove_prefix(2);
    }
    unsigned int code = 0;
    const std::from_chars_result end =
        std::from_chars(text.data(), text.data() + text.size(), code, hexadecimal ? 16 : 10);
    return end.ec == std::errc() && end.ptr == text.data() + text.size() ? code : 0;
}

// RFC 8017 9.2 note 1, FIPS 202: hashes without a code.
struct hash_row_t {
    std::string_view oid;
    unsigned int digest_size;
    bool in_digest_info; // with NULL for parameters
};
constexpr hash_row_t OTHER_HASHES[] = {
    {"2.16.840.1.101.3.4.2.5", 28, true},  {"2.16.840.1.101.3.4.2.6", 32, true},
    {"2.16.840.1.101.3.4.2.7", 28, false}, {"2.16.840.1.101.3.4.2.8", 32, false},
    {"2.16.840.1.101.3.4.2.9", 48, false}, {"2.16.840.1.101.3.4.2.10", 64, false},
};

// RFC 5758, RFC 3279, RFC 8702, RFC 8410: signatures without a code. Their AlgorithmIdentifiers have no parameters; RFC
// 7427 A and RFC 8420 use them in IKE.
struct signature_row_t {
    std::string_view oid;
    std::string_view hash; // empty if the algorithm includes it
    std::string_view key;
};
constexpr signature_row_t OTHER_SIGNATURES[] = {
    {"1.2.840.10045.4.1", "SHA-1", "id-ecPublicKey"},
    {"1.2.840.10045.4.3.1", "SHA-224", "id-ecPublicKey"},
    {"1.2.840.10045.4.3.2", "SHA-256", "id-ecPublicKey"},
    {"1.2.840.10045.4.3.3", "SHA-384", "id-ecPublicKey"},
    {"1.2.840.10045.4.3.4", "SHA-512", "id-ecPublicKey"},
    {"2.16.840.1.101.3.4.3.1", "SHA-224", "id-dsa"},
    {"2.16.840.1.101.3.4.3.2", "SHA-256", "id-dsa"},
    {"2.16.840.1.101.3.4.3.3", "SHA-384", "id-dsa"},
    {"2.16.840.1.101.3.4.3.4", "SHA-512", "id-dsa"},
    {"2.16.840.1.101.3.4.3.9", "SHA3-224", "id-ecPublicKey"},
    {"2.16.840.1.101.3.4.3.10", "SHA3-256", "id-ecPublicKey"},
    {"2.16.840.1.101.3.4.3.11", "SHA3-384", "id-ecPublicKey"},
    {"2.16.840.1.101.3.4.3.12", "SHA3-512", "id-ecPublicKey"},
    {"1.3.101.112", "", "id-Ed25519"},
    {"1.3.101.113", "", "id-Ed448"},
};

bool is_known(pki_alg_t alg) {
    return I2S_PKI_ALG_T->getString(alg, nullptr) != nullptr;
}

std::optional<std::string> find_oid(const std::string& text) {
    const std::optional<std::string> content = oid_from_text(text);
    return content.has_value() ? content : oid_from_name(text);
}

// By name or code, or by any name of its OID; unknown if it has no code.
pki_alg_t find_alg(const std::string& text, const std::optional<std::string>& content) {
    const pki_alg_t named = static_cast<pki_alg_t>(I2S_PKI_ALG_T->getInt(text.c_str(), PKI_ALG_UNKNOWN));
    const pki_alg_t coded = static_cast<pki_alg_t>(read_code(text));
    for (const pki_alg_t alg : {named, coded}) {
        if (alg != PKI_ALG_UNKNOWN && is_known(alg)) {
            return alg;
        }
    }
    return content.has_value() ? PKI_OID_TO_ALG(content->data(), size_of(*content)) : PKI_ALG_UNKNOWN;
}

// The DER that precedes the digest in its DigestInfo (RFC 8017 9.2, note 1). Its lengths include the digest.
std::string digest_info_prefix(pki_alg_t hash) {
    std::string digest_info(digest_size(hash), '\0');
    asn_add_alg_to_digest(digest_info, hash);
    digest_info.resize(digest_info.size() - digest_size(hash));
    return digest_info;
}

void add_coded(pki_alg_t alg, record_t& record) {
    record.add_code("code", alg);
    record.add("name", I2S_PKI_ALG_T->getString(alg, ""));
    const oid_ref_t oid = oid_of_algorithm(alg);
    if (oid.size != 0) {
        record.add("oid", oid_text(chars(oid.data, oid.size)));
    }
    if (PKI_HASH_ALG_TO_OID(alg).size != 0) {
        record.add("digest_size", digest_size(alg));
        record.add_bytes("digest_info_prefix", digest_info_prefix(alg));
    }
    const oid_ref_t ike = asn_form_ike_signalg(alg);
    if (ike.size != 0) {
        record.add_bytes("ike_algorithm_identifier", chars(ike.data, ike.size));
    }
}

// What standards say of an algorithm that the library has no code for.
void add_uncoded(const std::string& content, record_t& record) {
    const named_oid_t named = name_oid(make_blob(content));
    record.add("name", named.name);
    record.add("oid", named.oid);
    record.add_if("kind", names_of_oid(content).kind);
    const auto* const hash = std::ranges::find(OTHER_HASHES, named.oid, &hash_row_t::oid);
    if (hash != std::end(OTHER_HASHES)) {
        record.add("digest_size", hash->digest_size);
        if (hash->in_digest_info) {
            record.add_bytes("digest_info_prefix", form_digest_info_prefix(content, hash->digest_size));
        }
    }
    const auto* const signature = std::ranges::find(OTHER_SIGNATURES, named.oid, &signature_row_t::oid);
    if (signature != std::end(OTHER_SIGNATURES)) {
        record.add_if("hash", signature->hash);
        record.add("key", signature->key);
        record.add_bytes("ike_algorithm_identifier", identifier_without_parameters(content));
    }
}

// Whether the dictionary names it and has it for nothing else.
bool may_be_algorithm(const std::string& content) {
    const named_oid_t named = name_oid(make_blob(content));
    const oid_row_t* const row = find_oid_row(named.oid);
    return !named.name.empty() && (row == nullptr || is_algorithm(row->kind));
}

void show_algorithm(const std::string& given, const place_t& place, bool as_json, console_t& console) {
    const std::optional<std::string> content = find_oid(given);
    const pki_alg_t alg = find_alg(given, content);
    record_t record("algorithm", place);
    if (alg != PKI_ALG_UNKNOWN) {
        add_coded(alg, record);
    } else if (content.has_value() && may_be_algorithm(*content)) {
        add_uncoded(*content, record);
    } else {
        throw failure_t(given, "neither the name, nor the code, nor the OID of a known algorithm");
    }
    console.put(record, as_json);
}

void run(const alg_options_t& options, console_t& console) {
    options.oid_map.load();
    for_each_argument(options.algs, console, [&](const std::string& given, const place_t& place) {
        show_algorithm(given, place, options.json, console);
    });
}

} // namespace

void add_alg_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("alg", "Show an algorithm's code, name, OID and encodings");
    const auto options = std::make_shared<alg_options_t>();
    command.add_argument("ALGORITHM", options->algs,
                         "Name (sha256RSA, ecdsa-with-SHA256), code (0x00040001 or decimal) or dotted OID");
    options->oid_map.add_to(command);
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer(
        "A hash has digest_size (bytes) and digest_info_prefix: the DER before the digest in its "
        "DigestInfo. A signature algorithm has ike_algorithm_identifier: its DER for an IKE payload. Algorithms "
        "without a code, such as ECDSA with SHA-2 and EdDSA, are known to the tool only.\n"
        "Examples:\n"
        "  derkit alg SHA256\n"
        "  derkit alg 1.2.840.113549.1.1.11");
    command.set_action([options, &console] { run(*options, console); });
}
