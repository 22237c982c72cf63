// What the usual case of every writer and text function takes from the heap when its output has room already.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "derkit/derkit.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/failing_allocator.h"
#include "testing/scripted_crypto.h"
#include "testing/views.h"

namespace {

// Made before anything is counted.
struct inputs_t {
    std::string name_text =
        "C=RU, ST=78 Saint Petersburg, O=\"Horns, Hooves\", OU=Research\\, Development+L=Office, CN=A \\C3\\A9";
    std::string name;
    std::string oid = from_hex("2A 85 03 07 01 01 01 01");
    std::string oid_element = from_hex("06 08 2A 85 03 07 01 01 01 01");
    std::string t61 = from_hex("4D C8 75 6C 6C 65 72");
    std::string time = "2026.11.21 10:11:12";
    std::string key = std::string(32, 'k');
    std::string salt = std::string(32, 's');
    std::string certificate = std::string(1500, 'c');
    std::string bag_name = std::string(40, 'n');
    std::string key_id = std::string(20, 'i');
    pkcs12_easy_t container;

    inputs_t() {
        printable_to_asn_dn(name_text.c_str(), name, OID_MAP_HANDLE_DEFAULT);
        container.encrypted_bags.push_back(bag_of(0, key, bag_name, key_id));
        container.plain_bags.push_back(bag_of(1, certificate, bag_name, key_id));
        container.plain_bags.push_back(bag_of(1, certificate));
    }
};

const inputs_t& in() {
    static const inputs_t inputs;
    return inputs;
}

const unsigned char* octets(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

unsigned int size_of(const std::string& bytes) {
    return static_cast<unsigned int>(bytes.size());
}

pkcs5_pbe_gost_t pbe() {
    pkcs5_pbe_gost_t parameters;
    parameters.salt = view_of(in().salt);
    parameters.iterations = 2000;
    parameters.iv = view_of(std::string_view(in().salt).substr(0, 8));
    return parameters;
}

// Its own allocations, the ciphertext, do not count.
scripted_crypto_t uncounted_crypto() {
    scripted_crypto_t crypto = copying_crypto();
    crypto.on_encrypt = [](std::string_view data, pkcs5_pbe_gost_t& params, std::string& out) {
        const unwatched_allocations_t unwatched;
        params = pbe();
        copy_bytes(data, out);
        return true;
    };
    return crypto;
}

struct count_case_t {
    const char* name;
    std::size_t allocations;
    bool (*call)(std::string& out);
};
class usual_case : public testing::TestWithParam<count_case_t> {};

TEST_P(usual_case, takes_no_more_blocks_than) {
    const count_case_t& c = GetParam();
    in();
    std::string out;
    out.reserve(65536);
    EXPECT_TRUE(c.call(out)); // what is made once is made now
    out.clear();
    bool done = false;
    std::size_t allocations = 0;
    {
        const watched_allocations_t watched;
        done = c.call(out);
        allocations = allocator.num_allocations;
    }
    EXPECT_TRUE(done);
    EXPECT_EQ(c.allocations, allocations);
}

const count_case_t CASES[] = {
    {"integer", 0, [](std::string& out) { return asn_write_INTEGER(2000, out), true; }},
    {"oid_to_text", 0,
     [](std::string& out) { return oid_asn_to_str_(octets(in().oid), octets(in().oid) + in().oid.size(), out) != 0; }},
    {"oid_to_printable", 0,
     [](std::string& out) {
         return asn_oid_to_printable(octets(in().oid_element), size_of(in().oid_element), out, true,
                                     OID_MAP_HANDLE_DEFAULT);
     }},
    {"name_to_text", 0,
     [](std::string& out) {
         return asn_dn_to_printable(octets(in().name), size_of(in().name), out, PDN_ORDER_AS_ENCODED,
                                    OID_MAP_HANDLE_DEFAULT);
     }},
    {"name_to_text_reversed", 0,
     [](std::string& out) {
         return asn_dn_to_printable(octets(in().name), size_of(in().name), out, PDN_ORDER_REVERSED,
                                    OID_MAP_HANDLE_DEFAULT);
     }},
    // One for all values that are longer than a string holds by itself and have escapes.
    {"text_to_name", 1,
     [](std::string& out) { return printable_to_asn_dn(in().name_text.c_str(), out, OID_MAP_HANDLE_DEFAULT); }},
    {"text_to_name_without_escapes", 0,
     [](std::string& out) {
         return printable_to_asn_dn("C=RU, O=An organisation of usual length, CN=Somebody with a long name", out,
                                    OID_MAP_HANDLE_DEFAULT);
     }},
    {"attribute_of_text", 0,
     [](std::string& out) { return printable_dn_get_attr(in().name_text.c_str(), "CN", out, PDN_GET_ATTR_PAIR); }},
    {"order_in_text", 0, [](std::string&) { return printable_dn_C_before_CN(in().name_text.c_str()); }},
    {"t61", 0, [](std::string& out) { return ldap_t61s_to_utf8s(in().t61.data(), size_of(in().t61), out); }},
    {"hex", 0, [](std::string& out) { return !TO_HEX_STD_STRING(octets(in().key), 32, out, ':').empty(); }},
    {"digest_info", 0,
     [](std::string& out) {
         out.assign(in().key);
         asn_add_alg_to_digest(out, PKI_ALG_SHA256);
         return true;
     }},
    {"gost_key", 0,
     [](std::string& out) {
         pkcs8_pki_gost_t key;
         key.key_type = 1;
         key.private_key = view_of(in().key);
         return asn_write_pkcs8_pki_gost(key, out), true;
     }},
    {"pbes2_parameters", 0, [](std::string& out) { return asn_write_pkcs5_pbe_gost(pbe(), out), true; }},
    {"encrypted_key", 0,
     [](std::string& out) {
         pkcs8_encrypted_pki_gost_t key;
         key.pbe = pbe();
         key.encrypted_data = view_of(in().salt);
         return asn_write_pkcs8_encrypted_pki_gost(key, out), true;
     }},
    // For plain and for encrypted bags SafeContents and the OCTET STRING around them; the EncryptedData; the
    // AuthenticatedSafe, which grows once, and the OCTET STRING around it; the PFX.
    {"container", 9,
     [](std::string& out) {
         scripted_crypto_t crypto = uncounted_crypto();
         return asn_write_pkcs12_easy(in().container, &crypto, out), true;
     }},
    {"time", 0,
     [](std::string& out) { return !CertTimeToStringGMT(CertTimeFromLogStringGMT(in().time), out).empty(); }},
};
INSTANTIATE_TEST_SUITE_P(, usual_case, testing::ValuesIn(CASES), case_name_t());

} // namespace
