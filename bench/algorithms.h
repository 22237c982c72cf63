// Public keys, signatures, digests and algorithm identifiers to read and to write.
#ifndef DERKIT_BENCH_ALGORITHMS_H
#define DERKIT_BENCH_ALGORITHMS_H

#include <string>
#include <string_view>
#include <vector>

struct rsa_key_t {
    std::string modulus; // without the leading zero octet
    std::string exponent;
    std::string key_der;
    std::string spki_der;
};
const std::vector<rsa_key_t>& rsa_keys();

struct gost_key_t {
    std::string public_key_param_set; // whole element
    std::string digest_param_set;     // whole element
    std::string point;
    std::string spki_der;
};
const std::vector<gost_key_t>& gost_keys();

struct dsa_signature_t {
    std::string r; // without leading zero octets
    std::string s;
    std::string der;
};
const std::vector<dsa_signature_t>& dsa_signatures();

struct digest_t {
    unsigned int hash; // index into DIGEST_OIDS
    std::string value;
    std::string der;
};
inline constexpr const char* DIGEST_OIDS[] = {"1.3.14.3.2.26", "2.16.840.1.101.3.4.2.1", "2.16.840.1.101.3.4.2.3"};
const std::vector<digest_t>& digests();

struct ike_algorithm_t {
    unsigned int code;
    std::string der;
};
const std::vector<ike_algorithm_t>& ike_algorithms();

// Numbers joined, without leading zero octets.
std::string listed_numbers(std::string_view first, std::string_view second);

#endif
