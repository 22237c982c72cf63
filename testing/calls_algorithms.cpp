// Algorithms, public keys and signature values.
#include "testing/calls.h"

namespace {

using size_type = std::size_t;

const std::string KEY_OID = from_hex("2A 86 48 86 F7 0D 01 01 01");
const std::string HASH_OID = from_hex("60 86 48 01 65 03 04 02 01");
const std::string SIGN_OID = from_hex("2A 86 48 86 F7 0D 01 01 0B");

template <pki_alg_t (*FIND)(const void*, unsigned int)> bool find_algorithm(run_t& run) {
    const pki_alg_t found = run.call([&] { return FIND(run.data, run.size); });
    run.note(found);
    return found != PKI_ALG_UNKNOWN;
}

call_t finding_call(const char* function, std::vector<std::string> samples, bool (*run)(run_t&)) {
    return {.function = function,
            .samples = std::move(samples),
            .run = run,
            .shapes = {{"a long OID", [](size_type size) { return std::string(size, '\x2A'); }, LARGE, false}}};
}

template <oid_ref_t (*FIND)(pki_alg_t)> bool find_oid(run_t& run) {
    const oid_ref_t found = run.call([&] { return FIND(static_cast<pki_alg_t>(run.number())); });
    run.note(as_chars(found.data, found.size));
    return found.data != nullptr;
}

call_t naming_call(const char* function, pki_alg_t sample, bool (*run)(run_t&)) {
    return {.function = function, .input = input_t::NUMBER, .samples = {number_input(sample)}, .run = run};
}

der_t bit_string(const der_t& key) {
    return {0x03, std::string(1, '\0'), {key}, ""};
}

der_t rsa_key_sample() {
    const der_t key = der_sequence({der_integer("00 C3 05 01 02"), der_integer("01 00 01")});
    return der_sequence({der_sequence({der_oid("1.2.840.113549.1.1.1"), der_null()}), bit_string(key)});
}

der_t gost_key_sample() {
    const der_t parameters =
        der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1"), der_oid("1.2.643.2.2.31.1")});
    return der_sequence(
        {der_sequence({der_oid("1.2.643.2.2.19"), parameters}), bit_string(der_octet_string(counting_bytes(64, 1)))});
}

const std::string PSS_OID = encode(der_oid("1.2.840.113549.1.1.10"));

der_t pss_sample() {
    const der_t sha256 = der_sequence({der_oid("2.16.840.1.101.3.4.2.1"), der_null()});
    const der_t mgf1 = der_sequence({der_oid("1.2.840.113549.1.1.8"), sha256});
    return der_sequence({der_oid("1.2.840.113549.1.1.10"),
                         der_sequence({der_context_0({sha256}), der_element(0xA1, der_members_t{mgf1}),
                                       der_element(0xA2, der_members_t{der_integer("20")})})});
}

bool read_ike(run_t& run) {
    asn_ike_signalg_t out;
    const bool done = run.call([&] { return asn_read_ike_signalg(run.data, run.size, out); }) != 0;
    run.note(out.oid);
    run.note(out.parameters);
    return done;
}

bool find_ike_code(run_t& run) {
    asn_ike_signalg_t algorithm;
    const bool done = asn_read_ike_signalg(run.data, run.size, algorithm) != 0;
    const pki_alg_t code = run.call([&] { return algorithm.to_pki_alg(); });
    if (done) {
        run.note(code);
    }
    return done;
}

int read_key(run_t& run, asn_pubkey_t& key) {
    return asn_read_pubkey(run.data, static_cast<long>(run.size), key);
}

bool read_public_key(run_t& run) {
    asn_pubkey_t key;
    const bool done = run.call([&] { return read_key(run, key); }) != 0;
    run.note(key.algorithm);
    run.note(key.parameters);
    if (key.key.size != 0xFFFFFFFF) { // that of an empty BIT STRING, which nobody may follow
        run.note(key.key);
    }
    return done;
}

bool read_rsa_key(run_t& run) {
    asn_pubkey_t key;
    const bool done = read_key(run, key) != 0;
    asn_rsa_pubkey_t out;
    const bool accepted = done && run.call([&] { return asn_read_rsa_pubkey(key, out); }) != 0;
    run.note(out.modulus);
    run.note(out.exponent);
    return accepted;
}

bool read_gost_key(run_t& run) {
    asn_pubkey_t key;
    const bool done = read_key(run, key) != 0;
    asn_gost_pubkey_t out;
    const bool accepted = done && run.call([&] { return asn_read_gost_pubkey(key, out); }) != 0;
    for (const blob_t& view : {out.public_key_param_set, out.digest_param_set, out.encryption_param_set, out.key}) {
        run.note(view);
    }
    return accepted;
}

std::string public_key(std::string_view algorithm, std::string_view parameters, std::string_view key) {
    const std::string bits = std::string(1, '\0') + std::string(key);
    return element(0x30, element(0x30, element(0x06, algorithm) + std::string(parameters)) + element(0x03, bits));
}

} // namespace

std::vector<call_t> lookup_calls() {
    return {
        finding_call("PKI_OID_TO_HASH_ALG", {HASH_OID}, find_algorithm<PKI_OID_TO_HASH_ALG>),
        finding_call("PKI_OID_TO_KEY_ALG", {KEY_OID}, find_algorithm<PKI_OID_TO_KEY_ALG>),
        finding_call("PKI_OID_TO_CERT_SIGN_ALG", {SIGN_OID}, find_algorithm<PKI_OID_TO_CERT_SIGN_ALG>),
        finding_call("PKI_OID_TO_ALG", {HASH_OID, KEY_OID, SIGN_OID}, find_algorithm<PKI_OID_TO_ALG>),
        naming_call("PKI_HASH_ALG_TO_OID", PKI_ALG_SHA256, find_oid<PKI_HASH_ALG_TO_OID>),
        naming_call("PKI_KEY_ALG_TO_OID", PKI_ALG_RSA, find_oid<PKI_KEY_ALG_TO_OID>),
        naming_call("PKI_CERT_SIGN_ALG_TO_OID", PKI_ALG_SHA256_RSA, find_oid<PKI_CERT_SIGN_ALG_TO_OID>),
        naming_call("asn_form_ike_signalg", PKI_ALG_SHA256_RSA, find_oid<asn_form_ike_signalg>),
    };
}

std::vector<call_t> digest_calls() {
    return {
        // Replaces what it is given.
        {.function = "asn_add_alg_to_digest",
         .input = input_t::STRING,
         .samples = {counting_bytes(32, 1)},
         .run =
             [](run_t& run) {
                 run.hold(run.text());
                 run.call([&] { asn_add_alg_to_digest(run.out, PKI_ALG_SHA256); });
                 return true;
             },
         .shapes = {{"a long digest", [](size_type size) { return std::string(size, 'd'); }}},
         .left = as_it_was},
        {.name = "digest_info",
         .function = "asn_read_alg_from_digest",
         .input = input_t::STRING,
         .run =
             [](run_t& run) {
                 const std::string input(run.text());
                 asn_algorid_t out;
                 const bool done = run.call([&] { return asn_read_alg_from_digest(&out, input); });
                 run.note(done && lies_in(out.oid, input) ? chars_of(out.oid) : "nothing");
                 return done;
             },
         .shapes = {{"nested lengths",
                     [](size_type size) {
                         const std::string oid = encode(der_oid("1.2.3"));
                         return element(0x30, element(0x30, oid + nested_lengths(size / 2)) +
                                                  element(0x04, std::string(size / 2, 'd')));
                     }}},
         .record =
             der_sequence({der_sequence({der_oid("2.16.840.1.101.3.4.2.1"), der_null()}), der_octet_string("digest")})},
        {.name = "ike_pss",
         .function = "asn_read_ike_signalg",
         .run = read_ike,
         .shapes = {{"nested lengths",
                     [](size_type size) { return element(0x30, PSS_OID + element(0x30, nested_lengths(size))); }}},
         .record = pss_sample()},
        {.name = "ike_ecdsa",
         .function = "asn_read_ike_signalg",
         .run = read_ike,
         .record = der_sequence({der_oid("1.2.840.113549.1.1.11"), der_null()})},
        {.name = "ike_pss_code",
         .function = "asn_ike_signalg_t::to_pki_alg",
         .run = find_ike_code,
         .shapes = {{"nested lengths",
                     [](size_type size) { return element(0x30, PSS_OID + element(0x30, nested_lengths(size))); }},
                    {"long parameters",
                     [](size_type size) {
                         const std::string sha1 = encode(der_oid("1.3.14.3.2.26"));
                         const std::string hash =
                             element(0xA0, element(0x30, sha1 + element(0x04, std::string(size / 3, 'h'))));
                         const std::string mask = element(0xA1, element(0x30, sha1 + nested_lengths(size / 3)));
                         const std::string salt = element(0xA2, element(0x02, std::string(size / 3, '\1')));
                         return element(0x30, PSS_OID + element(0x30, hash + mask + salt));
                     }}},
         .record = pss_sample()},
    };
}

std::vector<call_t> public_key_calls() {
    return {
        {.name = "public_key",
         .function = "asn_read_pubkey",
         .run = read_public_key,
         .shapes = {{"nested parameters",
                     [](size_type size) { return public_key(KEY_OID, nested_lengths(size), "key"); }},
                    {"a long key", [](size_type size) { return public_key(KEY_OID, "", std::string(size, 'k')); }}},
         .record = rsa_key_sample()},
        {.name = "rsa_key",
         .function = "asn_read_rsa_pubkey",
         .run = read_rsa_key,
         .shapes = {{"zeros",
                     [](size_type size) {
                         const std::string numbers = element(0x02, std::string(size, '\0')) + element(0x02, "\x03");
                         return public_key(KEY_OID, "", element(0x30, numbers));
                     }}},
         .record = rsa_key_sample()},
        {.name = "gost_public_key",
         .function = "asn_read_gost_pubkey",
         .run = read_gost_key,
         .shapes = {{"long parameter sets and a long key",
                     [](size_type size) {
                         const std::string set = element(0x06, std::string(size / 4, '\x01'));
                         return public_key(KEY_OID, element(0x30, set + set + set),
                                           element(0x04, std::string(size / 4, 'k')));
                     }}},
         .record = gost_key_sample()},
        {.name = "dsa_signature",
         .function = "asn_read_dsa_certsign",
         .run =
             [](run_t& run) {
                 asn_dsa_certsign_t out;
                 const int done = run.call([&] { return asn_read_dsa_certsign(run.data, run.size, out); });
                 run.note(out.r);
                 run.note(out.s);
                 return done != 0;
             },
         .shapes = {{"zeros",
                     [](size_type size) {
                         const std::string number = element(0x02, std::string(size / 2, '\0'));
                         return element(0x30, number + number);
                     }}},
         .record = der_sequence({der_integer("00 81"), der_integer("02")})},
    };
}
