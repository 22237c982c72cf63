// GOST public keys: the parameter sets in the algorithm's parameters, the point in the bits (RFC 4491 2.3.2, RFC 9215).
#include <gtest/gtest.h>

#include <string>

#include "derkit/asn_helper.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

testing::AssertionResult holds(const char* hex, const blob_t& view) {
    return same_bytes(from_hex(hex), chars_of(view));
}

// A record that already holds something in every field.
asn_gost_pubkey_t used_record() {
    static const unsigned char junk[] = {0xDE, 0xAD};
    asn_gost_pubkey_t record;
    for (blob_t* const view :
         {&record.public_key_param_set, &record.digest_param_set, &record.encryption_param_set, &record.key}) {
        view->data = junk;
        view->size = sizeof junk;
    }
    return record;
}

struct parts_t {
    exact_bytes_t parameters;
    exact_bytes_t bits;
    asn_pubkey_t key;

    parts_t(std::string_view parameters_der, std::string_view bits_der) : parameters(parameters_der), bits(bits_der) {
        key.parameters.data = parameters.data();
        key.parameters.size = parameters.size();
        key.key.data = bits.data();
        key.key.size = bits.size();
    }
};

// Reading

struct gost_case_t {
    const char* name;
    const char* parameters;
    const char* public_key_param_set;
    const char* digest_param_set;
    const char* encryption_param_set; // null: absent
};
class gost_public_key : public testing::TestWithParam<gost_case_t> {};

TEST_P(gost_public_key, is_read_into_views_with_parameter_sets_as_whole_elements) {
    const gost_case_t& c = GetParam();
    const parts_t parts(from_hex(c.parameters), from_hex("04 04 DE F0 12 34"));
    asn_gost_pubkey_t out = used_record();
    ASSERT_EQ(1, asn_read_gost_pubkey(parts.key, out));
    EXPECT_TRUE(holds(c.public_key_param_set, out.public_key_param_set));
    EXPECT_TRUE(holds(c.digest_param_set, out.digest_param_set));
    EXPECT_TRUE(holds(c.encryption_param_set == nullptr ? "" : c.encryption_param_set, out.encryption_param_set));
    EXPECT_EQ(c.encryption_param_set == nullptr, out.encryption_param_set.data == nullptr);
    EXPECT_TRUE(holds("DE F0 12 34", out.key));
    EXPECT_EQ(parts.bits.data() + 2, out.key.data);
    for (const blob_t& view : {out.public_key_param_set, out.digest_param_set}) {
        EXPECT_EQ("\x06", chars_of(view).substr(0, 1));
        EXPECT_TRUE(lies_in(view, parts.parameters));
    }
}

const gost_case_t PARAMETERS[] = {
    // id-GostR3410-2001-CryptoPro-A-ParamSet, id-GostR3411-94-CryptoProParamSet, id-Gost28147-89-CryptoPro-A-ParamSet
    {"three_sets", "30 1B 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01 06 07 2A 85 03 02 02 1F 01",
     "06 07 2A 85 03 02 02 23 01", "06 07 2A 85 03 02 02 1E 01", "06 07 2A 85 03 02 02 1F 01"},
    {"two_sets", "30 12 06 07 2A 85 03 02 02 23 01 06 07 2A 85 03 02 02 1E 01", "06 07 2A 85 03 02 02 23 01",
     "06 07 2A 85 03 02 02 1E 01", nullptr},
    // id-tc26-gost-3410-2012-512-paramSetA, id-tc26-gost3411-12-512
    {"two_sets_of_2012", "30 15 06 09 2A 85 03 07 01 02 01 02 01 06 08 2A 85 03 07 01 01 02 03",
     "06 09 2A 85 03 07 01 02 01 02 01", "06 08 2A 85 03 07 01 01 02 03", nullptr},
    {"empty_oids", "30 06 06 00 06 00 06 00", "06 00", "06 00", "06 00"},
    {"lengths_with_octets_to_spare", "30 82 00 10 06 81 01 2A 06 82 00 01 2B 06 84 00 00 00 01 2C", "06 81 01 2A",
     "06 82 00 01 2B", "06 84 00 00 00 01 2C"},
    {"a_fourth_set_does_not_matter", "30 0C 06 01 2A 06 01 2B 06 01 2C 06 01 2D", "06 01 2A", "06 01 2B", "06 01 2C"},
    {"bytes_behind_the_sequence_do_not_matter", "30 06 06 01 2A 06 01 2B 05 00", "06 01 2A", "06 01 2B", nullptr},
};
INSTANTIATE_TEST_SUITE_P(with, gost_public_key, testing::ValuesIn(PARAMETERS), case_name_t());

const gost_case_t NO_THIRD[] = {
    {"another_identifier", "30 08 06 01 2A 06 01 2B 05 00", "06 01 2A", "06 01 2B", nullptr},
    {"in_fourth_place", "30 0B 06 01 2A 06 01 2B 05 00 06 01 2C", "06 01 2A", "06 01 2B", nullptr},
    {"behind_the_sequence", "30 06 06 01 2A 06 01 2B 06 01 2C", "06 01 2A", "06 01 2B", nullptr},
    {"past_the_sequence", "30 08 06 01 2A 06 01 2B 06 01 2C", "06 01 2A", "06 01 2B", nullptr},
    {"header_cut_short", "30 07 06 01 2A 06 01 2B 06", "06 01 2A", "06 01 2B", nullptr},
    {"indefinite_length", "30 0B 06 01 2A 06 01 2B 06 80 2C 00 00", "06 01 2A", "06 01 2B", nullptr},
    {"wrapping_length", "30 0D 06 01 2A 06 01 2B 06 84 FF FF FF FA 2C", "06 01 2A", "06 01 2B", nullptr},
};
INSTANTIATE_TEST_SUITE_P(third_set_that_cannot_be_read_counts_as_absent, gost_public_key, testing::ValuesIn(NO_THIRD),
                         case_name_t());

// Refusing

struct refused_parameters_t {
    const char* name;
    const char* parameters;
    const char* public_key_param_set; // kept nevertheless, or not touched
};
class refused_gost_parameters : public testing::TestWithParam<refused_parameters_t> {};

TEST_P(refused_gost_parameters, give_0_and_keep_a_set_that_was_read) {
    const parts_t parts(from_hex(GetParam().parameters), from_hex("04 04 DE F0 12 34"));
    asn_gost_pubkey_t out = {untouched_view(), untouched_view(), untouched_view(), untouched_view()};
    EXPECT_EQ(0, asn_read_gost_pubkey(parts.key, out));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(GetParam().public_key_param_set), chars_of(out.public_key_param_set)));
    for (const blob_t& view : {out.digest_param_set, out.encryption_param_set, out.key}) {
        EXPECT_TRUE(same_bytes(UNTOUCHED_BYTES, chars_of(view)));
    }
}

const refused_parameters_t REFUSED_PARAMETERS[] = {
    {"nothing", "", "-"},
    {"null", "05 00", "-"},
    {"empty_sequence", "30 00", "-"},
    {"sets_behind_the_sequence", "30 00 06 01 2A 06 01 2B", "-"},
    {"sequence_in_second_place", "05 00 30 06 06 01 2A 06 01 2B", "-"},
    {"sequence_past_the_end", "30 07 06 01 2A 06 01 2B", "-"},
    {"first_set_of_another_identifier", "30 06 04 01 2A 06 01 2B", "-"},
    {"first_set_past_the_sequence", "30 02 06 01 2A 06 01 2B", "-"},
    {"one_set", "30 03 06 01 2A", "06 01 2A"},
    {"second_set_behind_the_sequence", "30 03 06 01 2A 06 01 2B", "06 01 2A"},
    {"second_set_past_the_sequence", "30 05 06 01 2A 06 01 2B", "06 01 2A"},
    {"second_set_of_another_identifier", "30 06 06 01 2A 05 01 2B", "06 01 2A"},
    {"second_set_in_third_place", "30 08 06 01 2A 05 00 06 01 2B", "06 01 2A"},
    // Adding the header's size to these lengths wraps.
    {"wrapping_length_of_the_sequence", "30 84 FF FF FF FA 06 01 2A 06 01 2B", "-"},
    {"wrapping_length_of_the_first_set", "30 0A 06 84 FF FF FF FC 2A 06 01 2B", "-"},
    {"wrapping_length_of_the_second_set", "30 0A 06 01 2A 06 84 FF FF FF FF 2B", "06 01 2A"},
};
INSTANTIATE_TEST_SUITE_P(for_their_form, refused_gost_parameters, testing::ValuesIn(REFUSED_PARAMETERS), case_name_t());

TEST(gost_parameters_prefix, is_refused) {
    for_each_prefix(from_hex("30 09 06 01 2A 06 01 2B 06 01 2C"), [](const exact_bytes_t& prefix) {
        const parts_t parts(as_chars(prefix.data(), prefix.size()), from_hex("04 01 AA"));
        asn_gost_pubkey_t out;
        EXPECT_EQ(0, asn_read_gost_pubkey(parts.key, out));
    });
}

// The point

const char* const SETS = "30 09 06 01 2A 06 01 2B 06 01 2C";

void expect_sets(const asn_gost_pubkey_t& out) {
    EXPECT_TRUE(holds("06 01 2A", out.public_key_param_set));
    EXPECT_TRUE(holds("06 01 2B", out.digest_param_set));
    EXPECT_TRUE(holds("06 01 2C", out.encryption_param_set));
}

TEST(gost_point, is_the_content_of_the_octet_string) {
    const struct {
        const char* bits;
        const char* point;
    } cases[] = {
        {"04 03 00 AA BB", "00 AA BB"},
        {"04 82 00 02 AA BB", "AA BB"},
        {"04 00", ""},
        {"04 02 AA BB CC", "AA BB"}, // bytes behind it do not matter
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bits);
        const parts_t parts(from_hex(SETS), from_hex(c.bits));
        asn_gost_pubkey_t out;
        EXPECT_EQ(1, asn_read_gost_pubkey(parts.key, out));
        EXPECT_TRUE(holds(c.point, out.key));
        expect_sets(out);
    }
}

TEST(gost_point, that_cannot_be_read_is_refused_but_the_parameter_sets_stay) {
    for (const char* const bits : {"", "AA BB", "24 02 AA BB", "03 02 AA BB", "04 03 AA BB", "05 00 04 02 AA BB",
                                   "04 80 AA BB 00 00", "04 84 FF FF FF FA AA BB"}) {
        SCOPED_TRACE(bits);
        const parts_t parts(from_hex(SETS), from_hex(bits));
        asn_gost_pubkey_t out;
        EXPECT_EQ(0, asn_read_gost_pubkey(parts.key, out));
        expect_sets(out);
    }
}

TEST(gost_point, of_a_prefix_is_refused_but_the_parameter_sets_stay) {
    for_each_prefix(from_hex("04 81 03 AA BB CC"), [](const exact_bytes_t& prefix) {
        const parts_t parts(from_hex(SETS), as_chars(prefix.data(), prefix.size()));
        asn_gost_pubkey_t out;
        EXPECT_EQ(0, asn_read_gost_pubkey(parts.key, out));
        expect_sets(out);
    });
}

// asn_read_pubkey() gives the size 0xFFFFFFFF then; a reader that believed it would find a point in what lies behind.
TEST(gost_public_key_in_an_empty_bit_string, is_refused_but_the_parameter_sets_are_filled) {
    for (const char* const behind : {"", "AA 04 02 AA BB"}) {
        SCOPED_TRACE(behind);
        const exact_bytes_t input(from_hex("30 12 30 0E 06 01 55 30 09 06 01 2A 06 01 2B 06 01 2C 03 00") +
                                  from_hex(behind));
        asn_pubkey_t key;
        ASSERT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(input.size()), key));
        asn_gost_pubkey_t out;
        EXPECT_EQ(0, asn_read_gost_pubkey(key, out));
        expect_sets(out);
    }
}

TEST(gost_public_key_in_an_empty_bit_string, with_two_parameter_sets_has_no_third) {
    const exact_bytes_t input(from_hex("30 0F 30 0B 06 01 55 30 06 06 01 2A 06 01 2B 03 00"));
    asn_pubkey_t key;
    ASSERT_EQ(1, asn_read_pubkey(input.data(), static_cast<long>(input.size()), key));
    asn_gost_pubkey_t out = used_record();
    EXPECT_EQ(0, asn_read_gost_pubkey(key, out));
    EXPECT_TRUE(holds("06 01 2B", out.digest_param_set));
    EXPECT_EQ(0U, out.encryption_param_set.size);
    EXPECT_EQ(nullptr, out.encryption_param_set.data);
}

} // namespace
