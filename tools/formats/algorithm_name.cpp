#include "formats/algorithm_name.h"

#include <string>

#include "asn/asn_cursor.h"
#include "derkit/asn_helper.h"
#include "derkit/asn_printable.h"
#include "derkit/int2str.h"

namespace {

// The first field of an AlgorithmIdentifier: content, and all of the element.
struct algorithm_oid_t {
    blob_t content;
    blob_t element;
};

std::optional<algorithm_oid_t> read_oid(const blob_t& algorithm) {
    asn_cursor_t in(algorithm);
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    asn_cursor_t same_fields = fields;
    algorithm_oid_t oid;
    fields.read(asn_tag_t::OBJECT_IDENTIFIER, oid.content);
    same_fields.read_element(asn_tag_t::OBJECT_IDENTIFIER, oid.element);
    return fields.ok() ? std::optional(oid) : std::nullopt;
}

// What has no name in the map is printed dotted.
std::string name_in_map(const blob_t& oid_element, const std::string& dotted, const oid_map_handle_t& map) {
    std::string name;
    const bool done = asn_oid_to_printable(oid_element.data, oid_element.size, name, false, map);
    return done && name != dotted ? name : "";
}

named_oid_t name_algorithm(pki_alg_t alg, const algorithm_oid_t& oid, const oid_map_handle_t& map) {
    named_oid_t named = name_oid(oid.content);
    const char* const known = I2S_PKI_ALG_T->getString(alg, nullptr);
    const std::string name = known != nullptr ? known : name_in_map(oid.element, named.oid, map);
    if (!name.empty()) {
        named.name = name;
    }
    return named;
}

// The OID alone tells what RSASSA-PSS is; its parameters may name a hash that has no code.
pki_alg_t signature_alg(const blob_t& algorithm, const blob_t& oid) {
    asn_ike_signalg_t signature;
    const bool done = asn_read_ike_signalg(algorithm.data, algorithm.size, signature) != 0;
    const pki_alg_t refined = done ? signature.to_pki_alg() : PKI_ALG_UNKNOWN;
    return refined != PKI_ALG_UNKNOWN ? refined : PKI_OID_TO_CERT_SIGN_ALG(oid.data, oid.size);
}

// A key for RSASSA-PSS alone has the OID of the signatures (RFC 4055 3.1).
pki_alg_t key_alg(const blob_t& oid) {
    const pki_alg_t alg = PKI_OID_TO_KEY_ALG(oid.data, oid.size);
    return alg != PKI_ALG_UNKNOWN ? alg : PKI_OID_TO_ALG(oid.data, oid.size);
}

} // namespace

std::optional<named_oid_t> name_key_algorithm(const blob_t& algorithm, const oid_map_handle_t& map) {
    const std::optional<algorithm_oid_t> oid = read_oid(algorithm);
    return oid.has_value() ? std::optional(name_algorithm(key_alg(oid->content), *oid, map)) : std::nullopt;
}

std::optional<named_oid_t> name_signature_algorithm(const blob_t& algorithm, const oid_map_handle_t& map) {
    const std::optional<algorithm_oid_t> oid = read_oid(algorithm);
    return oid.has_value() ? std::optional(name_algorithm(signature_alg(algorithm, oid->content), *oid, map))
                           : std::nullopt;
}

void add_named(const char* name_key, const char* oid_key, const named_oid_t& named, record_t& record) {
    if (!named.name.empty()) {
        record.add(name_key, shown_text_t(named.name));
    }
    record.add(oid_key, shown_text_t(named.oid));
}
