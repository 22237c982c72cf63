// The inputs of each task, and the form in which the results of different contenders are compared.
#ifndef DERKIT_BENCH_TASKS_H
#define DERKIT_BENCH_TASKS_H

#include <string>
#include <string_view>
#include <vector>

#include "bytes.h"
#include "derkit/int2str.h"
#include "testing/views.h"

// A result that is compared as it is: a text, or DER.
struct output_t {
    std::string out;
    std::string shown() const { return out; }
};

// Names

struct attribute_t {
    std::string oid;   // content octets
    std::string value; // UTF-8
};
using rdn_t = std::vector<attribute_t>;

struct name_t {
    std::string der;
    std::string text;       // RFC 4514, but in the order of the DER; empty if an attribute has no short name
    std::string values;     // as listed_values
    std::string attributes; // as listed_attributes; empty for names that are not decoded
};

// Subjects of the certificates in Debian's bundle of roots, in the bundle's order.
std::vector<name_t> root_names();
// Those of them that have a text.
std::vector<name_t> texts_of_roots();
// Cyrillic and typographic text in UTF8String, BMPString and T61String. The T.61 has only characters that ISO 8859-1
// has in the same place, which is how most libraries read it.
std::vector<name_t> international_names();
// As above, but with accented letters in T61String.
std::vector<name_t> accented_names();
// A name of many attributes; its encoding has `size` bytes or a little more.
name_t long_name(std::size_t size);

// Returns false for a string that takes more than a few lines to decode: T.61 beyond ASCII.
bool decode_name(std::string_view der, std::vector<rdn_t>& rdns);

enum class order_t { AS_ENCODED, REVERSED };

// The values, one a line, of a name or of its text in any of the usual spellings. Text that does not split into
// attributes is described in a way that equals no values.
std::string listed_values(const std::vector<rdn_t>& rdns);
std::string listed_values(std::string_view text, order_t order);

// Types and values, one a line, of a name or of its DER.
std::string listed_attributes(const std::vector<rdn_t>& rdns);
std::string listed_attributes(std::string_view der, order_t order);

// A text and a name with the RDNs in the order of the input.
struct name_text_t {
    std::string text;
    std::string shown() const { return listed_values(text, order_t::AS_ENCODED); }
};
struct name_der_t {
    std::string der;
    std::string shown() const { return listed_attributes(der, order_t::AS_ENCODED); }
};

// Object identifiers

struct oid_t {
    std::string text;
    std::string content; // octets without identifier and length
    std::string der;
};
oid_t make_oid(const std::string& text);
// The content of an OBJECT IDENTIFIER; empty if the DER is anything else.
std::string listed_oid(std::string_view der);

struct named_oid_t {
    oid_t oid;
    std::string name;     // upper case
    std::string spelling; // as OpenSSL writes it
};
// OpenSSL's own table. Defined only if OpenSSL takes part; then both search the same names.
__attribute__((weak)) std::vector<named_oid_t> list_openssl_oids();

// Private keys of the GOST family

struct key_family_t {
    const char* algorithm;
    const char* public_key_param_set;
    std::size_t key_size;
};
inline constexpr key_family_t KEY_FAMILIES[] = {{"1.2.643.2.2.19", "1.2.643.2.2.35.1", 32},
                                                {"1.2.643.7.1.1.1.1", "1.2.643.7.1.2.1.1.1", 32},
                                                {"1.2.643.7.1.1.1.2", "1.2.643.7.1.2.1.2.1", 64}};
inline constexpr unsigned int NO_KEY_FAMILY = 3;
inline constexpr const char* OID_DIGEST_PARAM_SET = "1.2.643.2.2.30.1";
inline constexpr const char* OID_GOST_28147_PARAM_SET = "1.2.643.2.2.31.1";

// What a reader finds: views in contenders, strings in inputs.
template <typename BYTES> struct private_key_fields_t {
    unsigned int type = NO_KEY_FAMILY; // index of its family
    BYTES key;
    std::string shown() const { return std::to_string(type) + " " + upper_hex(key); }
};
using private_key_view_t = private_key_fields_t<std::string_view>;
struct private_key_t : private_key_fields_t<std::string> {
    std::string der;
};
std::vector<private_key_t> private_keys();

template <typename BYTES> struct encrypted_key_fields_t {
    BYTES salt;
    unsigned int iterations = 0;
    BYTES iv, encrypted;
    std::string shown() const {
        return upper_hex(salt) + " " + std::to_string(iterations) + " " + upper_hex(iv) + " " + upper_hex(encrypted);
    }
};
using encrypted_key_view_t = encrypted_key_fields_t<std::string_view>;
struct encrypted_key_t : encrypted_key_fields_t<std::string> {
    std::string der;
};

// Containers: a shrouded or plain key in the clear entry, two certificates in the encrypted one.

struct bag_t {
    bool is_certificate = false;
    std::string value;         // whole element
    std::string friendly_name; // UTF-16BE
    std::string local_key_id;
};
struct container_t {
    bag_t key; // in `der_to_read` it is shrouded: the same bytes, "encrypted"
    std::vector<bag_t> certificates;
    std::string pbe_salt;
    std::string iv;
    std::string digest;
    std::string mac_salt;
    unsigned int iterations = 2000;
    std::string der_to_read;
    std::string der_to_write;
};
std::string listed_bag(bool is_certificate, std::string_view value, std::string_view friendly_name,
                       std::string_view local_key_id);
std::string listed_mac(std::string_view digest, std::string_view salt, unsigned int iterations);

// Public keys, signatures, digests and algorithm identifiers

// Two numbers, without leading zero octets.
std::string listed_numbers(std::string_view first, std::string_view second);

struct rsa_key_t {
    std::string modulus; // without the leading zero octet
    std::string exponent;
    std::string key_der;
    std::string spki_der;
    std::string shown() const { return listed_numbers(modulus, exponent); }
};

template <typename BYTES> struct gost_key_fields_t {
    BYTES public_key_param_set, digest_param_set; // whole elements
    BYTES point;
    std::string shown() const { return std::string(public_key_param_set).append(digest_param_set).append(point); }
};
using gost_key_view_t = gost_key_fields_t<std::string_view>;
struct gost_key_t : gost_key_fields_t<std::string> {
    std::string spki_der;
};

struct dsa_signature_t {
    std::string r, s; // without leading zero octets
    std::string der;
    std::string shown() const { return listed_numbers(r, s); }
};

struct digest_t {
    unsigned int hash; // index into DIGEST_OIDS
    std::string value;
    std::string der;
    std::string oid; // content octets of the hash's
};
inline constexpr const char* DIGEST_OIDS[] = {"1.3.14.3.2.26", "2.16.840.1.101.3.4.2.1", "2.16.840.1.101.3.4.2.3"};

struct ike_algorithm_t {
    std::string code; // in decimal
    std::string der;
};
// The code of RSA, or of RSASSA-PSS, with a hash out of `hashes`: SHA-1, SHA-224, SHA-256, SHA-384, SHA-512.
std::string listed_ike_algorithm(int hash, const int (&hashes)[5], bool is_pss);

// Texts

struct t61_text_t {
    std::string t61;
    std::string utf8;
};

struct cert_time_t {
    cert_time64_t packed = 0;
    std::string packed_text;  // in decimal
    std::string display_text; // 31.12.2024 23:59:59 GMT
    std::string log_text;     // 2024.12.31 23:59:59 GMT
};

#endif
