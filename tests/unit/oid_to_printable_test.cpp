// Display names of single OIDs.
#include <gtest/gtest.h>

#include "derkit/asn_printable.h"
#include "support/expect.h"
#include "testing/bytes.h"

namespace {

constexpr oid_map_handle_t NO_MAP = {};

bool print_oid(std::string_view der, std::string& out, bool with_oid, oid_map_handle_t map) {
    const exact_bytes_t block(der);
    return asn_oid_to_printable(block.data(), block.size(), out, with_oid, map);
}

// Algorithms

struct oid_alg_case_t {
    const char* name;
    const char* der; // made by openssl asn1parse -genstr OID:...
    const char* dotted;
    const char* alg;
};

class oid_of_algorithm : public testing::TestWithParam<oid_alg_case_t> {};

TEST_P(oid_of_algorithm, is_replaced_by_the_algorithms_name) {
    const oid_alg_case_t& c = GetParam();
    for (const oid_map_handle_t map : {NO_MAP, OID_MAP_HANDLE_DEFAULT}) {
        std::string out = "held;";
        EXPECT_TRUE(print_oid(from_hex(c.der), out, false, map));
        EXPECT_EQ(c.alg, out);
        EXPECT_TRUE(print_oid(from_hex(c.der), out, true, map));
        EXPECT_EQ(c.alg + ("(" + std::string(c.dotted)) + ")", out);
    }
}

// An OID that several algorithms share gives the first one's name: no "(CPRO)" and no hash behind RSASSA-PSS.
const oid_alg_case_t ALGORITHMS[] = {
    {"md2", "06 08 2A 86 48 86 F7 0D 02 02", "1.2.840.113549.2.2", "MD2"},
    {"md5", "06 08 2A 86 48 86 F7 0D 02 05", "1.2.840.113549.2.5", "MD5"},
    {"sha", "06 05 2B 0E 03 02 12", "1.3.14.3.2.18", "SHA"},
    {"sha1", "06 05 2B 0E 03 02 1A", "1.3.14.3.2.26", "SHA1"},
    {"sha224", "06 09 60 86 48 01 65 03 04 02 04", "2.16.840.1.101.3.4.2.4", "SHA224"},
    {"sha256", "06 09 60 86 48 01 65 03 04 02 01", "2.16.840.1.101.3.4.2.1", "SHA256"},
    {"sha384", "06 09 60 86 48 01 65 03 04 02 02", "2.16.840.1.101.3.4.2.2", "SHA384"},
    {"sha512", "06 09 60 86 48 01 65 03 04 02 03", "2.16.840.1.101.3.4.2.3", "SHA512"},
    {"gost_94_hash", "06 06 2A 85 03 02 02 09", "1.2.643.2.2.9", "GOST 34.11-94"},
    {"gost_94_hash_qev", "06 09 2B 06 01 04 01 9C 56 01 05", "1.3.6.1.4.1.3670.1.5", "GOST 34.11-94 (QEV)"},
    {"gost_2012_hash_256", "06 08 2A 85 03 07 01 01 02 02", "1.2.643.7.1.1.2.2", "GOST 34.11-2012 256"},
    {"gost_2012_hash_512", "06 08 2A 85 03 07 01 01 02 03", "1.2.643.7.1.1.2.3", "GOST 34.11-2012 512"},
    {"rsa", "06 09 2A 86 48 86 F7 0D 01 01 01", "1.2.840.113549.1.1.1", "RSA"},
    {"dsa", "06 07 2A 86 48 CE 38 04 01", "1.2.840.10040.4.1", "DSA"},
    {"gost_94_key", "06 06 2A 85 03 02 02 14", "1.2.643.2.2.20", "GOST R 34.10-94"},
    {"gost_94_key_qev", "06 09 2B 06 01 04 01 9C 56 01 0A", "1.3.6.1.4.1.3670.1.10", "GOST R 34.10-94 (QEV)"},
    {"gost_94_key_signalcom", "06 0A 2B 06 01 04 01 AD 59 01 01 05", "1.3.6.1.4.1.5849.1.1.5",
     "GOST R 34.10-94 (SignalCOM)"},
    {"gost_2001_key", "06 06 2A 85 03 02 02 13", "1.2.643.2.2.19", "GOST R 34.10-2001"},
    {"gost_2001_key_signalcom", "06 0A 2B 06 01 04 01 AD 59 01 06 02", "1.3.6.1.4.1.5849.1.6.2",
     "GOST R 34.10-2001 (SignalCOM)"},
    {"gost_2012_key_256", "06 08 2A 85 03 07 01 01 01 01", "1.2.643.7.1.1.1.1", "GOST R 34.10-2012 256"},
    {"gost_2012_key_512", "06 08 2A 85 03 07 01 01 01 02", "1.2.643.7.1.1.1.2", "GOST R 34.10-2012 512"},
    {"sha1_rsa", "06 09 2A 86 48 86 F7 0D 01 01 05", "1.2.840.113549.1.1.5", "sha1RSA"},
    {"sha1_rsa_oiw", "06 05 2B 0E 03 02 1D", "1.3.14.3.2.29", "sha1RSA"},
    {"sha224_rsa", "06 09 2A 86 48 86 F7 0D 01 01 0E", "1.2.840.113549.1.1.14", "sha224RSA"},
    {"sha256_rsa", "06 09 2A 86 48 86 F7 0D 01 01 0B", "1.2.840.113549.1.1.11", "sha256RSA"},
    {"sha384_rsa", "06 09 2A 86 48 86 F7 0D 01 01 0C", "1.2.840.113549.1.1.12", "sha384RSA"},
    {"sha512_rsa", "06 09 2A 86 48 86 F7 0D 01 01 0D", "1.2.840.113549.1.1.13", "sha512RSA"},
    {"md2_rsa", "06 09 2A 86 48 86 F7 0D 01 01 02", "1.2.840.113549.1.1.2", "md2RSA"},
    {"md5_rsa", "06 09 2A 86 48 86 F7 0D 01 01 04", "1.2.840.113549.1.1.4", "md5RSA"},
    {"sha1_dsa", "06 07 2A 86 48 CE 38 04 03", "1.2.840.10040.4.3", "sha1DSA"},
    {"rsa_pss", "06 09 2A 86 48 86 F7 0D 01 01 0A", "1.2.840.113549.1.1.10", "RSASSA-PSS"},
    {"gost_94_signature", "06 06 2A 85 03 02 02 04", "1.2.643.2.2.4", "GOST R 34.11/34.10-94"},
    {"gost_94_signature_qev", "06 09 2B 06 01 04 01 9C 56 01 06", "1.3.6.1.4.1.3670.1.6",
     "GOST R 34.11/34.10-94 (QEV)"},
    {"gost_94_signature_signalcom", "06 0A 2B 06 01 04 01 AD 59 01 03 01", "1.3.6.1.4.1.5849.1.3.1",
     "GOST R 34.11/34.10-94 (SignalCOM)"},
    {"gost_2001_signature", "06 06 2A 85 03 02 02 03", "1.2.643.2.2.3", "GOST R 34.11/34.10-2001"},
    {"gost_2001_signature_signalcom", "06 0A 2B 06 01 04 01 AD 59 01 03 02", "1.3.6.1.4.1.5849.1.3.2",
     "GOST R 34.11/34.10-2001 (SignalCOM)"},
    {"gost_2012_signature_256", "06 08 2A 85 03 07 01 01 03 02", "1.2.643.7.1.1.3.2",
     "GOST R 34.11-2012/34.10-2012 256"},
    {"gost_2012_signature_512", "06 08 2A 85 03 07 01 01 03 03", "1.2.643.7.1.1.3.3",
     "GOST R 34.11-2012/34.10-2012 512"},
};

INSTANTIATE_TEST_SUITE_P(prints, oid_of_algorithm, testing::ValuesIn(ALGORITHMS), case_name_t());

// Other OIDs

TEST(oid_to_printable, name_of_the_map_replaces_what_the_string_held) {
    std::string out = "held;";
    EXPECT_TRUE(print_oid(from_hex("06 03 55 04 03"), out, false, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("CN", out);
    EXPECT_TRUE(print_oid(from_hex("06 03 55 04 08"), out, false, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("ST", out);
}

TEST(oid_to_printable, name_of_the_map_stands_without_the_oid) {
    std::string out = "held;";
    EXPECT_TRUE(print_oid(from_hex("06 09 2A 86 48 86 F7 0D 01 09 01"), out, true, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("E", out);
}

TEST(oid_to_printable, name_of_the_map_goes_before_the_algorithms) {
    const std::string text = "1.2.840.113549.1.1.1 = rsaKey, a key\n1.3.14.3.2.26 = , empty\n";
    const oid_map_handle_t map = oid_map_parse(text.data(), static_cast<unsigned int>(text.size()));
    std::string out = "held;";
    EXPECT_TRUE(print_oid(from_hex("06 09 2A 86 48 86 F7 0D 01 01 01"), out, true, map));
    EXPECT_EQ("RSAKEY", out);
    EXPECT_TRUE(print_oid(from_hex("06 05 2B 0E 03 02 1A"), out, true, map));
    EXPECT_EQ("", out);
    EXPECT_TRUE(print_oid(from_hex("06 08 2A 86 48 86 F7 0D 02 05"), out, false, map));
    EXPECT_EQ("MD5", out);
    oid_map_release(map);
}

struct oid_dotted_case_t {
    const char* name;
    const char* der;
    bool done;
    const char* appended;
};

class oid_without_a_name : public testing::TestWithParam<oid_dotted_case_t> {};

TEST_P(oid_without_a_name, is_appended_as_dotted_text) {
    const oid_dotted_case_t& c = GetParam();
    for (const bool with_oid : {false, true}) {
        std::string out = "held;";
        EXPECT_EQ(c.done, print_oid(from_hex(c.der), out, with_oid, NO_MAP));
        EXPECT_EQ("held;" + std::string(c.appended), out);
    }
}

const oid_dotted_case_t DOTTED[] = {
    {"attribute_type", "06 03 55 04 03", true, "2.5.4.3"},
    {"two_arcs", "06 01 2A", true, "1.2"},
    {"largest_arc", "06 06 2A 8F FF FF FF 7F", true, "1.2.4294967295"},
    {"first_arcs_come_from_a_plain_division", "06 02 78 01", true, "3.0.1"},
    {"algorithm_with_another_arc", "06 0A 2A 86 48 86 F7 0D 01 01 01 01", true, "1.2.840.113549.1.1.1.1"},
    {"algorithm_cut_by_one_arc", "06 08 2A 86 48 86 F7 0D 01 01", true, "1.2.840.113549.1.1"},
    {"padded_algorithm", "06 0A 2A 86 48 86 F7 0D 01 01 80 01", true, "1.2.840.113549.1.1.1"},
    {"long_length", "06 84 00 00 00 02 2A 03", true, "1.2.3"},
    {"bytes_behind_are_ignored", "06 02 2A 03 05 00 FF", true, "1.2.3"},
    // Of content that is cut short the finished arcs stay.
    {"empty_content", "06 00", false, ""},
    {"cut_in_the_first_arc", "06 01 AA", false, ""},
    {"cut_in_a_later_arc", "06 02 2A 86", false, "1.2."},
    // No OBJECT IDENTIFIER.
    {"nothing", "", false, ""},
    {"identifier_alone", "06", false, ""},
    {"octet_string", "04 03 55 04 03", false, ""},
    {"relative_oid", "0D 03 55 04 03", false, ""},
    {"tag_zero", "00 03 55 04 03", false, ""},
    {"content_without_header", "55 04 03", false, ""},
    {"content_beyond_the_end", "06 04 55 04 03", false, ""},
    {"indefinite_length", "06 80 55 04 03 00 00", false, ""},
    {"length_beyond_the_32_bit_end_by_one", "06 84 FF FF FF FB 55", false, ""},
    {"length_just_below_the_32_bit_end", "06 84 FF FF FF FE 55 04 03", false, ""},
    {"length_that_wraps_to_nothing", "06 84 FF FF FF FA", false, ""},
};

INSTANTIATE_TEST_SUITE_P(prints, oid_without_a_name, testing::ValuesIn(DOTTED), case_name_t());

TEST(oid_to_printable, map_without_the_oid_changes_nothing) {
    std::string out = "held;";
    EXPECT_TRUE(print_oid(from_hex("06 02 2A 03"), out, true, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("held;1.2.3", out);
    EXPECT_FALSE(print_oid(from_hex("06 00"), out, true, OID_MAP_HANDLE_DEFAULT));
    EXPECT_EQ("held;1.2.3", out);
}

TEST(oid_to_printable, fails_on_every_proper_prefix) {
    for (const char* const der : {"06 03 55 04 03", "06 09 2A 86 48 86 F7 0D 01 01 0B", "06 81 03 55 04 03"}) {
        for_each_prefix(from_hex(der), [](const exact_bytes_t& prefix) {
            std::string out = "held;";
            EXPECT_FALSE(asn_oid_to_printable(prefix.data(), prefix.size(), out, true, OID_MAP_HANDLE_DEFAULT));
            EXPECT_EQ("held;", out);
        });
    }
}

} // namespace
