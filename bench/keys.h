// Private keys of the GOST family, plain and encrypted: what they hold and how that is encoded.
#ifndef DERKIT_BENCH_KEYS_H
#define DERKIT_BENCH_KEYS_H

#include <string>
#include <string_view>
#include <vector>

struct key_family_t {
    const char* algorithm;
    const char* public_key_param_set;
    std::size_t key_size;
};
inline constexpr key_family_t KEY_FAMILIES[] = {{"1.2.643.2.2.19", "1.2.643.2.2.35.1", 32},
                                                {"1.2.643.7.1.1.1.1", "1.2.643.7.1.2.1.1.1", 32},
                                                {"1.2.643.7.1.1.1.2", "1.2.643.7.1.2.1.2.1", 64}};
inline constexpr const char* DIGEST_PARAM_SET = "1.2.643.2.2.30.1";

struct private_key_t {
    unsigned int type; // index of its family
    std::string key;
    std::string der;
};
const std::vector<private_key_t>& private_keys();
std::string listed_private_key(unsigned int type, std::string_view key);

inline constexpr const char* OID_PBES2 = "1.2.840.113549.1.5.13";
inline constexpr const char* OID_PBKDF2 = "1.2.840.113549.1.5.12";
inline constexpr const char* OID_HMAC_GOST = "1.2.643.2.2.10";
inline constexpr const char* OID_GOST_28147 = "1.2.643.2.2.21";
inline constexpr const char* OID_GOST_28147_PARAM_SET = "1.2.643.2.2.31.1";

// Iteration counts whose octets are all other than zero.
struct encrypted_key_t {
    std::string salt;
    unsigned int iterations;
    std::string iv;
    std::string encrypted;
    std::string der;
};
const std::vector<encrypted_key_t>& encrypted_keys();
std::string listed_encrypted_key(std::string_view salt, unsigned int iterations, std::string_view iv,
                                 std::string_view encrypted);

std::string pbes2_der(std::string_view salt, unsigned int iterations, std::string_view iv);
std::string encrypted_key_der(std::string_view salt, unsigned int iterations, std::string_view iv,
                              std::string_view encrypted);

#endif
