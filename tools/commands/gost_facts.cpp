#include "commands/gost_facts.h"

#include "commands/facts.h"

namespace {

void add_named(const char* name_key, const char* oid_key, const gost::named_oid& oid, record_t& record) {
    if (!oid.oid.empty()) {
        add_named(name_key, oid_key, name_of(oid), record);
    }
}

void add_derivation(std::uint32_t iterations, std::size_t salt_size, record_t& record) {
    record.add("salt_size", static_cast<unsigned int>(salt_size));
    record.add("iterations", iterations);
}

} // namespace

void add_encryption(const gost::encryption_scheme& scheme, record_t& record) {
    add_named("scheme", "scheme_oid", scheme.algorithm, record);
    add_named("kdf", "kdf_oid", scheme.kdf, record);
    add_named("prf", "prf_oid", scheme.prf, record);
    if (scheme.salt_size != 0 || scheme.iterations != 0) {
        add_derivation(scheme.iterations, scheme.salt_size, record);
    }
    add_named("cipher", "cipher_oid", scheme.cipher, record);
    add_named("cipher_param_set", "cipher_param_set_oid", scheme.param_set, record);
}

void add_mac(const gost::mac_scheme& scheme, record_t& record) {
    add_named("algorithm", "algorithm_oid", scheme.digest, record);
    add_derivation(scheme.iterations, scheme.salt_size, record);
}
