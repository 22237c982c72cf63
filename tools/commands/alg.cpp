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
#include "derkit/asn_helper.h"
#include "derkit/int2str.h"
#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

struct alg_options_t {
    std::vector<std::string> algs;
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

unsigned int code_of_oid(const std::string& dotted) {
    const std::optional<std::string> content = oid_from_text(dotted);
    return content.has_value() ? PKI_OID_TO_ALG(content->data(), size_of(*content)) : PKI_ALG_UNKNOWN;
}

pki_alg_t find_alg(const std::string& text) {
    unsigned int code = I2S_PKI_ALG_T->getInt(text.c_str(), PKI_ALG_UNKNOWN);
    if (code == PKI_ALG_UNKNOWN) {
        code = read_code(text);
    }
    if (code == PKI_ALG_UNKNOWN) {
        code = code_of_oid(text);
    }
    if (I2S_PKI_ALG_T->getString(code, nullptr) == nullptr) {
        throw failure_t(text, "neither the name, nor the code, nor the OID of a known algorithm");
    }
    return static_cast<pki_alg_t>(code);
}

oid_ref_t find_oid(pki_alg_t alg) {
    for (oid_ref_t (*const lookup)(pki_alg_t) : {PKI_HASH_ALG_TO_OID, PKI_KEY_ALG_TO_OID, PKI_CERT_SIGN_ALG_TO_OID}) {
        const oid_ref_t oid = lookup(alg);
        if (oid.size != 0) {
            return oid;
        }
    }
    return g_null_oid;
}

// The DER that precedes the digest in its DigestInfo (RFC 8017 9.2, note 1). Its lengths include the digest.
std::string digest_info_prefix(pki_alg_t hash) {
    std::string digest_info(digest_size(hash), '\0');
    asn_add_alg_to_digest(digest_info, hash);
    digest_info.resize(digest_info.size() - digest_size(hash));
    return digest_info;
}

void show_algorithm(const std::string& given, const place_t& place, bool as_json, console_t& console) {
    const pki_alg_t alg = find_alg(given);
    record_t record("algorithm", place);
    record.add_code("code", alg);
    record.add("name", I2S_PKI_ALG_T->getString(alg, ""));
    const oid_ref_t oid = find_oid(alg);
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
    console.put(record, as_json);
}

void run(const alg_options_t& options, console_t& console) {
    for_each_argument(options.algs, console, [&](const std::string& given, const place_t& place) {
        show_algorithm(given, place, options.json, console);
    });
}

} // namespace

void add_alg_command(command_t& parent, console_t& console) {
    command_t command = parent.add_subcommand("alg", "Show an algorithm's code, name, OID and encodings");
    const auto options = std::make_shared<alg_options_t>();
    command.add_argument("ALGORITHM", options->algs, "Name (sha256RSA), code (0x00040001 or decimal) or dotted OID");
    command.add_flag("--json", options->json, "One JSON object a line");
    command.set_footer("A hash has digest_size (bytes) and digest_info_prefix: the DER before the digest in its "
                       "DigestInfo. A signature algorithm has ike_algorithm_identifier: its DER for an IKE payload.\n"
                       "Examples:\n"
                       "  derkit alg SHA256\n"
                       "  derkit alg 1.2.840.113549.1.1.11");
    command.set_action([options, &console] { run(*options, console); });
}
