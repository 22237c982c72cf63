// Calls every exported function from many threads at once, each thread on its own arguments and all of them on the same
// maps, and compares what came out with what one thread alone gets. ThreadSanitizer sees the rest.
//
//     threads_test SYMBOLS    the list of exported symbols: every function of it is called here
//
// TimeToString(long) is left out: it has one buffer for all callers.
#include <cxxabi.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "derkit/derkit.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"
#include "testing/views.h"

namespace {

constexpr unsigned int NUM_THREADS = 8;
constexpr unsigned int NUM_VARIANTS = 12; // of the arguments of a call
constexpr unsigned int NUM_ROUNDS = 20;

struct call_t {
    const char* function;
    std::string (*run)(unsigned int variant); // gives all that came out
};

unsigned int size_of(std::string_view bytes) {
    return static_cast<unsigned int>(bytes.size());
}

const unsigned char* bytes_of(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

std::string text(bool result) {
    return result ? "yes" : "no";
}

std::string text(const blob_t& view) {
    return "[" + std::string(chars_of(view)) + "]";
}

std::string text(const oid_ref_t& oid) {
    return oid.data == nullptr ? "none" : "[" + std::string(as_chars(oid.data, oid.size)) + "]";
}

std::string text(const OIDdescr_t* entry) {
    return entry == nullptr ? "none" : std::string(entry->oid_str) + "|" + entry->oid_sn + "|" + entry->oid_ln;
}

// ---- what all threads share ----

std::string map_text(unsigned int first, unsigned int num_lines) {
    std::string lines;
    for (unsigned int i = first; i < first + num_lines; ++i) {
        lines += "1.2.3." + std::to_string(i) + " = NAME" + std::to_string(i) + ", name " + std::to_string(i) + "\n";
    }
    return lines;
}

oid_map_handle_t parsed_map() {
    // Made by whichever thread comes first.
    static const std::shared_ptr<OIDmaps_t> map = [] {
        const std::string lines = map_text(0, NUM_VARIANTS / 2);
        return std::shared_ptr<OIDmaps_t>(oid_map_parse(lines.data(), size_of(lines)).map,
                                          [](OIDmaps_t* made) { oid_map_release({made}); });
    }();
    return {map.get()};
}

oid_map_handle_t shared_map(unsigned int variant) {
    const oid_map_handle_t maps[] = {OID_MAP_HANDLE_DEFAULT, OID_MAP_HANDLE_DEFAULT_FILE, parsed_map()};
    return maps[variant % 3];
}

// ---- arguments ----

pki_alg_t algorithm(unsigned int variant) {
    const IntToString* row = I2S_PKI_ALG_T;
    for (; variant != 0 && row[1].name != nullptr; variant -= 1) {
        row += 5;
    }
    return static_cast<pki_alg_t>(row->value);
}

std::string type_name(unsigned int variant) {
    const char* const names[] = {"CN", "c", "Street", "NAME1", "name7", "none"};
    return names[variant % 6];
}

std::string dotted_oid(unsigned int variant) {
    const char* const oids[] = {"2.5.4.3",
                                "1.2.3.4",
                                "1.2.3.40",
                                "0.9.2342.19200300.100.1.1",
                                "1.2.840.113549.1.1.1",
                                "1.2.840.113549.1.1.11",
                                "1.3.14.3.2.26"};
    return oids[variant % 7];
}

std::string oid_content(unsigned int variant) {
    return encode_content(der_oid(dotted_oid(variant)));
}

std::string printable_name(unsigned int variant) {
    const std::string number = std::to_string(variant);
    return "CN=user " + number + ",OU=\"a+b\"+2.5.4.7=Town\\2C" + number + ", C=RU,1.2.3.4=#0402" + "AB0" +
           std::string(1, "0123456789AB"[variant]);
}

std::string der_name(unsigned int variant) {
    const std::string number = std::to_string(variant);
    const auto rdn = [](const char* oid, int tag, std::string_view value) {
        return der_set({der_sequence({der_oid(oid), der_element(tag, value)})});
    };
    return encode(der_sequence({rdn("2.5.4.3", 0x14,
                                    "user \xC2"
                                    "e" +
                                        number),
                                rdn("1.2.3.4", 0x1E, std::string("\4\x10", 2)), rdn("2.5.4.6", 0x13, "RU"),
                                rdn("1.2.3.9", 0x30, number)}));
}

cert_time64_t certificate_time(unsigned int variant) {
    return (2000ULL + variant) << 40 | variant << 24 | variant << 16 | variant;
}

long system_time(unsigned int variant) {
    return 86400L * 200 * static_cast<long>(variant);
}

std::string digest(unsigned int variant) {
    return counting_bytes(20 + variant, variant);
}

std::string pss_algorithm(unsigned int variant) {
    const der_t hash = der_context_0({der_sequence({der_oid(variant % 2 == 0 ? "1.3.14.3.2.26" : "1.2.3")})});
    return encode(der_sequence({der_oid("1.2.840.113549.1.1.10"), der_sequence({hash})}));
}

// A key of either kind with parameters of GOST keys.
std::string public_key(unsigned int variant) {
    const der_t params = der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1")});
    const std::string numbers = encode(der_sequence({der_integer("00 C1"), der_integer("03")}));
    const std::string point = encode(der_octet_string(counting_bytes(64, variant)));
    const std::string bits = std::string(1, '\0') + (variant % 2 == 0 ? numbers : point);
    return encode(der_sequence({der_sequence({der_oid("1.2.643.2.2.19"), params}), der_element(0x03, bits)}));
}

pkcs8_pki_gost_t private_key(unsigned int variant, const std::string& bytes) {
    pkcs8_pki_gost_t key;
    key.key_type = variant % 3;
    key.private_key = view_of(bytes);
    return key;
}

pkcs5_pbe_gost_t pbe_params(unsigned int variant, const std::string& bytes) {
    pkcs5_pbe_gost_t params;
    params.salt = view_of(bytes);
    params.iv = view_of(std::string_view(bytes).substr(0, 8));
    params.iterations = 1001 + variant;
    return params;
}

std::string text(const pkcs5_pbe_gost_t& params) {
    return text(params.salt) + text(params.iv) + std::to_string(params.iterations);
}

std::string text(const pkcs12_mac_t& mac) {
    return text(mac.digest_alg) + text(mac.digest) + text(mac.salt) + std::to_string(mac.iterations);
}

std::string container(unsigned int variant) {
    encrypted_data_t encrypted;
    const std::string key = "key " + std::to_string(variant);
    encrypted.encrypted_content = der_element(0x80, entry_plaintext({key_bag(key, der_set({local_key_id(key)}))}));
    return encode(pfx_t({data_entry({cert_bag("certificate"), shrouded_key_bag(key)}), encrypted.entry()}).whole());
}

std::string text(const std::list<pkcs12_bag_t>& bags) {
    std::string all;
    for (const pkcs12_bag_t& bag : bags) {
        all += std::to_string(bag.type) + text(bag.value) + text(bag.local_key_id);
    }
    return all;
}

// ---- calls ----
//
// What is read is shown after the call has ended: operands of one expression have no order.

std::string look_up(pki_alg_t (*function)(const void*, unsigned int), unsigned int variant) {
    const std::string oid = oid_content(variant);
    return std::to_string(function(oid.data(), size_of(oid)));
}

std::string encrypted_key_of(unsigned int variant) {
    const std::string bytes = digest(variant);
    pkcs8_encrypted_pki_gost_t key;
    key.pbe = pbe_params(variant, bytes);
    key.encrypted_data = view_of(bytes);
    std::string out;
    asn_write_pkcs8_encrypted_pki_gost(key, out);
    return out;
}

std::string private_key_of(unsigned int variant) {
    const std::string bytes = digest(variant);
    std::string out;
    asn_write_pkcs8_pki_gost(private_key(variant, bytes), out);
    return out;
}

const call_t CALLS[] = {
    {"asn1_read_tag",
     [](unsigned int variant) {
         const std::string der = der_name(variant);
         unsigned int length = 0;
         const unsigned char* const content = asn1_read_tag(asn_tag_t::SEQUENCE, bytes_of(der), size_of(der), &length);
         return std::to_string(content - bytes_of(der)) + " " + std::to_string(length);
     }},
    {"asn_read_INTEGER",
     [](unsigned int variant) {
         const std::string content = counting_bytes(4, variant);
         unsigned int value = 0;
         const bool done = asn_read_INTEGER(content.data(), 4, value, 0xFFFFFFFF);
         return text(done) + std::to_string(value);
     }},
    {"asn_write_INTEGER",
     [](unsigned int variant) {
         std::string out;
         asn_write_INTEGER(0x01020304 * variant, out);
         return out;
     }},
    {"oid_str_to_asn_",
     [](unsigned int variant) {
         const std::string dotted = dotted_oid(variant);
         unsigned char out[512];
         const unsigned int size = oid_str_to_asn_(dotted.data(), dotted.data() + dotted.size(), out);
         return std::string(as_chars(out, size));
     }},
    {"oid_asn_to_str_",
     [](unsigned int variant) {
         const std::string content = oid_content(variant);
         std::string out;
         const int done = oid_asn_to_str_(bytes_of(content), bytes_of(content) + content.size(), out);
         return std::to_string(done) + out;
     }},
    {"oid_map_parse",
     [](unsigned int variant) {
         const std::string lines = map_text(variant, 10);
         const oid_map_handle_t map = oid_map_parse(lines.data(), size_of(lines));
         const std::string found = text(oid_map_find_sn(map, "NAME7", 5));
         oid_map_release(map);
         return found;
     }},
    {"oid_map_parse_",
     [](unsigned int variant) {
         const oid_map_handle_t map = oid_map_parse("", 0);
         const std::string lines = map_text(variant, 10);
         oid_map_parse_(*map.map, lines.data(), size_of(lines));
         const std::string found = text(oid_map_find_sn(map, "NAME7", 5));
         oid_map_release(map);
         return found;
     }},
    {"oid_map_release",
     [](unsigned int) {
         oid_map_release(oid_map_handle_t());
         return std::string();
     }},
    {"oid_map_find_asn",
     [](unsigned int variant) {
         const std::string content = oid_content(variant);
         return text(oid_map_find_asn(shared_map(variant), bytes_of(content), size_of(content)));
     }},
    {"oid_map_find_str",
     [](unsigned int variant) {
         const std::string dotted = dotted_oid(variant);
         return text(oid_map_find_str(shared_map(variant), dotted.data(), size_of(dotted)));
     }},
    {"oid_map_find_sn",
     [](unsigned int variant) {
         const std::string name = type_name(variant);
         return text(oid_map_find_sn(shared_map(variant), name.data(), size_of(name)));
     }},
    {"asn_dn_to_printable",
     [](unsigned int variant) {
         const std::string der = der_name(variant);
         std::string out;
         const PrintableDnOrder order = variant % 2 == 0 ? PDN_ORDER_AS_ENCODED : PDN_ORDER_REVERSED;
         const bool done = asn_dn_to_printable(bytes_of(der), size_of(der), out, order, shared_map(variant));
         return text(done) + out;
     }},
    {"asn_oid_to_printable",
     [](unsigned int variant) {
         const std::string der = encode(der_oid(dotted_oid(variant)));
         std::string out;
         const bool done = asn_oid_to_printable(bytes_of(der), size_of(der), out, true, shared_map(variant));
         return text(done) + out;
     }},
    {"printable_to_asn_dn",
     [](unsigned int variant) {
         std::string der;
         const bool done = printable_to_asn_dn(printable_name(variant).c_str(), der, shared_map(variant));
         return text(done) + der;
     }},
    {"printable_dn_normalize",
     [](unsigned int variant) {
         std::string out;
         std::string der;
         const bool done = printable_dn_normalize(printable_name(variant), out, &der, shared_map(variant));
         return text(done) + out + der;
     }},
    {"printable_dn_reverse",
     [](unsigned int variant) {
         std::string dn = printable_name(variant);
         printable_dn_reverse(dn.data());
         return dn;
     }},
    {"printable_dn_get_attr",
     [](unsigned int variant) {
         std::string out;
         const std::string type = type_name(variant);
         const bool done = printable_dn_get_attr(printable_name(variant).c_str(), type.c_str(), out, PDN_GET_ATTR_PAIR);
         return text(done) + out;
     }},
    {"printable_dn_contain_attrs",
     [](unsigned int variant) {
         return text(printable_dn_contain_attrs(printable_name(variant).c_str(), "CN=user 1, C=RU"));
     }},
    {"printable_dn_C_before_CN",
     [](unsigned int variant) { return text(printable_dn_C_before_CN(printable_name(variant).c_str())); }},
    {"ldap_t61s_to_utf8s",
     [](unsigned int variant) {
         const std::string in = "\xC2"
                                "e\xC1" +
                                std::string(10 * variant, 'x') + "\xE0"; // short and long texts
         std::string out;
         const bool done = ldap_t61s_to_utf8s(in.data(), size_of(in), out);
         return text(done) + out;
     }},
    {"ldap_x_wc_to_utf8",
     [](unsigned int variant) {
         char out[6];
         const int size = ldap_x_wc_to_utf8(out, 1U << (2 * variant), sizeof out);
         return std::string(out, static_cast<std::size_t>(size));
     }},
    {"TO_HEX_STRING",
     [](unsigned int variant) {
         const std::string data = digest(variant);
         std::string out(3 * data.size() - 1, ' ');
         TO_HEX_STRING(bytes_of(data), size_of(data), out.data(), ':');
         return out;
     }},
    {"TO_HEX_STD_STRING",
     [](unsigned int variant) {
         const std::string data = counting_bytes(1 + 10 * variant, variant); // of one block and of many
         std::string out;
         return TO_HEX_STD_STRING(bytes_of(data), size_of(data), out, '\0');
     }},
    {"IntToString::getString",
     [](unsigned int variant) -> std::string { return I2S_PKI_ALG_T->getString(algorithm(variant), "none"); }},
    {"IntToString::getInt",
     [](unsigned int variant) {
         const char* const names[] = {"details", "EVENTS", "none"};
         return std::to_string(I2S_LOG_LEVEL->getInt(names[variant % 3], 9));
     }},
    {"i2s::LogTimeToString",
     [](unsigned int variant) -> std::string {
         char buf[32];
         return i2s::LogTimeToString(system_time(variant), buf);
     }},
    {"TimeToString",
     [](unsigned int variant) {
         std::string out;
         return TimeToString(system_time(variant), out);
     }},
    {"CertTimeToStringGMT",
     [](unsigned int variant) {
         std::string out;
         return CertTimeToStringGMT(certificate_time(variant), out);
     }},
    {"CertTimeToLogStringGMT",
     [](unsigned int variant) {
         std::string out;
         return CertTimeToLogStringGMT(certificate_time(variant), out);
     }},
    {"CertTimeToString",
     [](unsigned int variant) {
         std::string out;
         return CertTimeToString(certificate_time(variant), out);
     }},
    {"CertTimeFromLogStringGMT",
     [](unsigned int variant) {
         return std::to_string(CertTimeFromLogStringGMT("2024.1." + std::to_string(variant) + " 1:2:3"));
     }},
    {"CertTimeTo_time_t",
     [](unsigned int variant) { return std::to_string(CertTimeTo_time_t(certificate_time(variant))); }},
    {"PKI_HASH_ALG_TO_OID", [](unsigned int variant) { return text(PKI_HASH_ALG_TO_OID(algorithm(variant))); }},
    {"PKI_KEY_ALG_TO_OID", [](unsigned int variant) { return text(PKI_KEY_ALG_TO_OID(algorithm(variant))); }},
    {"PKI_CERT_SIGN_ALG_TO_OID",
     [](unsigned int variant) { return text(PKI_CERT_SIGN_ALG_TO_OID(algorithm(variant))); }},
    {"asn_form_ike_signalg", [](unsigned int variant) { return text(asn_form_ike_signalg(algorithm(variant))); }},
    {"PKI_OID_TO_HASH_ALG", [](unsigned int variant) { return look_up(PKI_OID_TO_HASH_ALG, variant); }},
    {"PKI_OID_TO_KEY_ALG", [](unsigned int variant) { return look_up(PKI_OID_TO_KEY_ALG, variant); }},
    {"PKI_OID_TO_CERT_SIGN_ALG", [](unsigned int variant) { return look_up(PKI_OID_TO_CERT_SIGN_ALG, variant); }},
    {"PKI_OID_TO_ALG", [](unsigned int variant) { return look_up(PKI_OID_TO_ALG, variant); }},
    {"asn_add_alg_to_digest",
     [](unsigned int variant) {
         std::string bytes = digest(variant);
         asn_add_alg_to_digest(bytes, PKI_ALG_SHA256);
         return bytes;
     }},
    {"asn_read_alg_from_digest",
     [](unsigned int variant) {
         const std::string der = encode(der_sequence(
             {der_sequence({der_oid(dotted_oid(variant)), der_null()}), der_octet_string(digest(variant))}));
         asn_algorid_t out;
         const bool done = asn_read_alg_from_digest(&out, der);
         return text(done) + text(out.oid);
     }},
    {"asn_read_ike_signalg",
     [](unsigned int variant) {
         const std::string der = pss_algorithm(variant);
         asn_ike_signalg_t out;
         const int done = asn_read_ike_signalg(bytes_of(der), size_of(der), out);
         return std::to_string(done) + text(out.oid) + text(out.parameters);
     }},
    {"asn_ike_signalg_t::to_pki_alg",
     [](unsigned int variant) {
         const std::string der = pss_algorithm(variant);
         asn_ike_signalg_t alg;
         asn_read_ike_signalg(bytes_of(der), size_of(der), alg);
         return std::to_string(alg.to_pki_alg());
     }},
    {"asn_read_pubkey",
     [](unsigned int variant) {
         const std::string der = public_key(variant);
         asn_pubkey_t out;
         const int done = asn_read_pubkey(bytes_of(der), static_cast<long>(der.size()), out);
         return std::to_string(done) + text(out.algorithm) + text(out.parameters) + text(out.key);
     }},
    {"asn_read_rsa_pubkey",
     [](unsigned int variant) {
         const std::string der = public_key(variant);
         asn_pubkey_t key;
         asn_read_pubkey(bytes_of(der), static_cast<long>(der.size()), key);
         asn_rsa_pubkey_t out;
         const int done = asn_read_rsa_pubkey(key, out);
         return std::to_string(done) + text(out.modulus) + text(out.exponent);
     }},
    {"asn_read_gost_pubkey",
     [](unsigned int variant) {
         const std::string der = public_key(variant);
         asn_pubkey_t key;
         asn_read_pubkey(bytes_of(der), static_cast<long>(der.size()), key);
         asn_gost_pubkey_t out;
         const int done = asn_read_gost_pubkey(key, out);
         return std::to_string(done) + text(out.public_key_param_set) + text(out.key);
     }},
    {"asn_read_dsa_certsign",
     [](unsigned int variant) {
         const std::string der = encode(der_sequence({der_element(0x02, digest(variant)), der_integer("05")}));
         asn_dsa_certsign_t out;
         const int done = asn_read_dsa_certsign(bytes_of(der), size_of(der), out);
         return std::to_string(done) + text(out.r) + text(out.s);
     }},
    {"asn_write_pkcs8_pki_gost", private_key_of},
    {"asn_read_pkcs8_priv_key_info",
     [](unsigned int variant) {
         const std::string der = private_key_of(variant);
         asn_pkcs8_priv_key_info_t out;
         const bool done = asn_read_pkcs8_priv_key_info(bytes_of(der), size_of(der), out);
         return text(done) + text(out.algorithm) + text(out.private_key);
     }},
    {"asn_read_pkcs8_pki_gost",
     [](unsigned int variant) {
         const std::string der = private_key_of(variant);
         pkcs8_pki_gost_t out;
         const bool done = asn_read_pkcs8_pki_gost(der.data(), size_of(der), out);
         return text(done) + std::to_string(out.key_type) + text(out.private_key);
     }},
    {"asn_write_pkcs5_pbe_gost",
     [](unsigned int variant) {
         const std::string bytes = digest(variant);
         std::string out;
         asn_write_pkcs5_pbe_gost(pbe_params(variant, bytes), out);
         return out;
     }},
    {"asn_read_pkcs5_pbe_gost",
     [](unsigned int variant) {
         pbes2_t pbes2;
         pbes2.salt = der_octet_string(digest(variant));
         const std::string content = encode_content(pbes2.whole());
         pkcs5_pbe_gost_t out;
         const bool done = asn_read_pkcs5_pbe_gost(content.data(), size_of(content), out);
         return text(done) + text(out);
     }},
    {"asn_write_pkcs8_encrypted_pki_gost", encrypted_key_of},
    {"asn_read_pkcs8_encrypted_pki_gost",
     [](unsigned int variant) {
         const std::string der = encrypted_key_of(variant);
         pkcs8_encrypted_pki_gost_t out;
         const bool done = asn_read_pkcs8_encrypted_pki_gost(der.data(), size_of(der), out);
         return text(done) + text(out.pbe) + text(out.encrypted_data);
     }},
    {"asn_read_pkcs12_MacData",
     [](unsigned int variant) {
         mac_data_t mac;
         mac.digest = der_octet_string(digest(variant));
         const std::string content = encode_content(mac.whole());
         pkcs12_mac_t out;
         const bool done = asn_read_pkcs12_MacData(content.data(), size_of(content), out);
         return text(done) + text(out);
     }},
    {"asn_read_pkcs12_easy",
     [](unsigned int variant) {
         const std::string der = container(variant);
         scripted_crypto_t crypto = copying_crypto();
         pkcs12_easy_t easy;
         const bool done = asn_read_pkcs12_easy(der.data(), size_of(der), &crypto, easy);
         return text(done) + text(easy.plain_bags) + text(easy.encrypted_bags) + text(easy.mac);
     }},
    {"asn_write_pkcs12_easy",
     [](unsigned int variant) {
         const std::string bytes = digest(variant);
         pkcs12_easy_t easy;
         easy.plain_bags.resize(1 + variant);
         easy.plain_bags.back().value = view_of(bytes);
         easy.encrypted_bags = easy.plain_bags;
         scripted_crypto_t crypto = copying_crypto();
         std::string out;
         asn_write_pkcs12_easy(easy, &crypto, out);
         return out;
     }},
};

// ---- running them ----

using results_t = std::vector<std::string>; // of all calls with all variants

// Thread `number` starts somewhere else than its neighbours, so that different functions meet.
void run_all(unsigned int number, results_t& results) {
    const std::size_t num_results = std::size(CALLS) * NUM_VARIANTS;
    results.resize(num_results);
    for (std::size_t i = 0; i < num_results; ++i) {
        const std::size_t index = (i + number * num_results / NUM_THREADS) % num_results;
        results[index] = CALLS[index / NUM_VARIANTS].run(static_cast<unsigned int>(index % NUM_VARIANTS));
    }
}

// The threads wait for each other before the first round, so that what is made at the first use is made by all at once.
std::vector<results_t> run_in_threads() {
    std::vector<results_t> results(NUM_THREADS);
    std::atomic<unsigned int> num_ready = 0;
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < NUM_THREADS; ++number) {
        threads.emplace_back([number, &results, &num_ready] {
            for (++num_ready; num_ready != NUM_THREADS;) {
                std::this_thread::yield();
            }
            for (unsigned int round = 0; round < NUM_ROUNDS; ++round) {
                run_all(number + round, results[number]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return results;
}

unsigned int num_differences(const results_t& expected, const results_t& actual, unsigned int thread) {
    unsigned int count = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (actual[i] != expected[i]) {
            std::printf("%s, variant %zu, thread %u: expected [%s] but got [%s]\n", CALLS[i / NUM_VARIANTS].function,
                        i % NUM_VARIANTS, thread, to_hex(expected[i]).c_str(), to_hex(actual[i]).c_str());
            ++count;
        }
    }
    return count;
}

// "asn1_read_tag"; empty for a variable.
std::string function_name(const std::string& symbol) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), std::free);
    const std::string_view whole = name == nullptr ? std::string_view() : name.get();
    const std::size_t end = whole.find('(');
    return std::string(end == std::string_view::npos ? std::string_view() : whole.substr(0, end));
}

bool all_are_called(const char* list) {
    std::set<std::string> called;
    for (const call_t& call : CALLS) {
        called.insert(call.function);
    }
    bool complete = true;
    std::ifstream in(list);
    std::size_t num_functions = 0;
    for (std::string symbol; std::getline(in, symbol);) {
        const std::string name = function_name(symbol);
        if (name.empty()) {
            continue;
        }
        ++num_functions;
        if (!called.contains(name)) {
            std::printf("not called: %s\n", name.c_str());
            complete = false;
        }
    }
    return complete && num_functions != 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2 || !all_are_called(argv[1])) {
        return 1;
    }
    const std::vector<results_t> results = run_in_threads(); // first, so that nothing has been made beforehand
    results_t expected;
    run_all(0, expected);
    unsigned int count = 0;
    for (unsigned int thread = 0; thread < NUM_THREADS; ++thread) {
        count += num_differences(expected, results[thread], thread);
    }
    std::printf("%zu functions, %u threads, %u differences\n", std::size(CALLS), NUM_THREADS, count);
    return count == 0 ? 0 : 1;
}
