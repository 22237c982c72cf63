// Faults that readers of such records are known for: lengths that overflow, memory taken because a length asks for it,
// and fields without content. Every element of every record in turn.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "support/expect.h"
#include "support/spoiled_der.h"
#include "testing/bytes.h"
#include "testing/calls.h"
#include "testing/guard_page.h"
#include "testing/library_allocations.h"

namespace {

const guarded_pages_t& pages() {
    static const guarded_pages_t PAGES;
    return PAGES;
}

// The input ends at a page that may not be touched.
call_answer_t read_guarded(const call_t& reader, const std::string& input) {
    return answer_to(reader, pages().put_last(input), static_cast<unsigned int>(input.size()));
}

// Lengths around 2^31, and all that wrap with one header of up to six octets or with two.
std::vector<unsigned int> overflowing_lengths() {
    std::vector<unsigned int> lengths = {0x7FFFFFFF, 0x80000000, 0x7FFFFFFA, 0x80000006, 0xC0000000};
    for (unsigned int k = 0; k <= 16; ++k) {
        lengths.push_back(0xFFFFFFFF - k);
    }
    return lengths;
}

// ---- length_overflow ----

class length_overflow : public testing::TestWithParam<call_t> {};

// A length that wraps in no sum but is past the end like the others: they must all be judged alike.
constexpr unsigned int MERELY_TOO_LONG = 0x00FFFFFF;

bool prints_octets_of_lengths(const call_t& reader) {
    return std::string_view(reader.function) == "asn_dn_to_printable"; // values print in hexadecimal
}

TEST_P(length_overflow, is_judged_like_any_length_past_the_end) {
    const call_t& reader = GetParam();
    for_each_element(*reader.record, [&](der_t& record, der_t& element) {
        element.length = long_length(MERELY_TOO_LONG);
        const call_answer_t expected = read_guarded(reader, reader.input_of(record));
        EXPECT_TRUE(expected.views_inside) << expected;
        for (const unsigned int length : overflowing_lengths()) {
            element.length = long_length(length);
            const call_answer_t answer = read_guarded(reader, reader.input_of(record));
            EXPECT_TRUE(answer.views_inside) << "length " << length << answer;
            EXPECT_EQ(expected.accepted, answer.accepted) << "length " << length << answer;
            if (!prints_octets_of_lengths(reader)) {
                EXPECT_EQ(expected.text, answer.text) << "length " << length;
            }
        }
    });
}

TEST_P(length_overflow, of_the_whole_is_refused) {
    const call_t& reader = GetParam();
    if (reader.takes_content) {
        return; // the outermost header is not part of the input
    }
    der_t record = *reader.record;
    for (const unsigned int length : overflowing_lengths()) {
        record.length = long_length(length);
        EXPECT_FALSE(read_guarded(reader, encode(record)).accepted) << length;
    }
}

// All lengths of a record at once, so that a sum over several levels can wrap too.
TEST_P(length_overflow, of_every_element_at_once_stays_inside) {
    const call_t& reader = GetParam();
    for (const unsigned int length : overflowing_lengths()) {
        der_t record = *reader.record;
        std::vector<der_t*> elements;
        list_elements(record, elements);
        for (der_t* const element : elements) {
            element->length = long_length(length);
        }
        const call_answer_t answer = read_guarded(reader, reader.input_of(record));
        EXPECT_TRUE(answer.views_inside) << length << answer;
        EXPECT_FALSE(answer.accepted) << length << answer;
    }
}

INSTANTIATE_TEST_SUITE_P(, length_overflow, testing::ValuesIn(record_calls()), case_name_t());

// ---- claimed_length_allocation ----

class claimed_length_allocation : public testing::TestWithParam<call_t> {};

// Memory depends on the octets that are there, not on a length.
TEST_P(claimed_length_allocation, is_bounded_by_the_input) {
    const call_t& reader = GetParam();
    for_each_element(*reader.record, [&](der_t& record, der_t& element) {
        for (const unsigned int length : {0x0000FFFFU, 0x00FFFFFFU, 0x0FFFFFFFU, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            element.length = long_length(length);
            const std::string input = reader.input_of(record);
            library_allocations_t library;
            run_t run(pages().put_last(input), static_cast<unsigned int>(input.size()));
            run.observer = &library;
            reader.run(run);
            EXPECT_GE(1024 + 4 * input.size(), allocator.largest) << length;
        }
    });
}

INSTANTIATE_TEST_SUITE_P(, claimed_length_allocation, testing::ValuesIn(record_calls()), case_name_t());

// Elements in hexadecimal text.
TEST(claimed_length_allocation_of_text, is_bounded_by_the_input) {
    for (const char* const dn : {"CN=#0C847FFFFFFF61", "CN=#0C8480000000", "CN=#0C84FFFFFFFA61", "CN=#0C84FFFFFFFF",
                                 "CN=#0C83FFFFFF61", "CN=#300484FFFFFFFA"}) {
        std::string der = "held";
        const watched_allocations_t watched;
        const bool accepted = printable_to_asn_dn(dn, der, OID_MAP_HANDLE_DEFAULT);
        const std::size_t largest = allocator.largest;
        EXPECT_GE(4096U, largest) << dn;
        EXPECT_EQ(dn == std::string("CN=#300484FFFFFFFA"), accepted) << dn; // its content is taken as it is
        EXPECT_EQ(accepted, der != "held") << dn;
    }
}

// ---- zero_length_fields ----

// What becomes of each record when an element has no content, for all elements in the order in which they are written:
// "a" for accepted, "r" for refused, blanks between the parts.
std::map<std::string, std::string> zero_length_verdicts() {
    // Only values may be empty, except wide strings, which must convert.
    const std::string name = "a  r rra  r rra rrr  r rrr  r rra rra  r rra rra ";
    // A salt, a count, the parameters of the HMAC, an initialisation vector, a parameter set.
    const std::string pbes2 = "r r r r r r a a r r a r r r a a ";
    const std::string attributes = "a r a r a r a r a ";
    const std::string cert_bag = "r a r r a r a " + attributes;
    // A key that cannot be decrypted is left out.
    const std::string shrouded_bag = "r a a a " + std::string(16, 'a') + " a " + attributes;
    const std::string bags = cert_bag + shrouded_bag + "r a a " + attributes + "r a a a ";
    // An algorithm that is not ours leaves the entry out; so does another type of content.
    const std::string encrypted_entry = "r a r r r r a " + std::string(16, 'a') + " r ";
    const std::string mac_data = "r r a a a a a a ";
    return {
        {"name", name},
        {"name_reversed", name},
        {"object_identifier", "r"},
        {"unknown_object_identifier", "r"},
        {"named_object_identifier", "r"},
        {"signature_object_identifier", "r"},
        {"hash_object_identifier", "r"},
        {"key_info", "r a r a a a a a a"},
        {"gost_key", "r a r r a a a r a"},
        {"pbes2", pbes2},
        {"encrypted_key", "r " + pbes2 + "a"},
        {"mac_data", mac_data},
        {"container", "r r r r r r a  r a r r a " + bags + encrypted_entry + mac_data},
        {"plaintext_of_a_container", "r a " + bags},
        {"digest_info", "r r a a a"},
        {"ike_pss", "r a aaaaaaaaaaaaa"},
        {"ike_pss_code", "r a aaaaaaaaaaaaa"},
        {"ike_ecdsa", "r a a"},
        {"public_key", "r r a a a a a a"},
        {"rsa_key", "r r a a r r a a"},
        {"gost_public_key", "r r a r a a a r a"},
        {"dsa_signature", "r a a"},
    };
}

der_t emptied(const der_t& element) {
    return der_element(element.tag, "");
}

TEST(zero_length_fields, are_judged_one_by_one) {
    std::map<std::string, std::string> all_verdicts = zero_length_verdicts();
    for (const call_t& reader : record_calls()) {
        SCOPED_TRACE(reader.name);
        std::string verdicts = all_verdicts[reader.name];
        verdicts.erase(std::remove(verdicts.begin(), verdicts.end(), ' '), verdicts.end());
        std::size_t index = 0;
        for_each_element(*reader.record, [&](der_t& record, der_t& element) {
            ASSERT_LT(index, verdicts.size());
            element = emptied(element);
            const call_answer_t answer = read_guarded(reader, reader.input_of(record));
            EXPECT_EQ(verdicts[index] == 'a', answer.accepted) << answer;
            EXPECT_TRUE(answer.views_inside) << answer;
            ++index;
        });
        EXPECT_EQ(verdicts.size(), index);
    }
}

// The same with the header in its longest form, and with the length alone set to zero, so that the content turns into
// what follows.
TEST(zero_length_fields, may_have_a_longer_header_and_something_after_it) {
    for (const call_t& reader : record_calls()) {
        SCOPED_TRACE(reader.name);
        for_each_element(*reader.record, [&](der_t& record, der_t& element) {
            element.length = from_hex("00");
            EXPECT_TRUE(read_guarded(reader, reader.input_of(record)).views_inside);
            element = emptied(element);
            const bool accepted = read_guarded(reader, reader.input_of(record)).accepted;
            element.length = long_length(0);
            const call_answer_t answer = read_guarded(reader, reader.input_of(record));
            EXPECT_TRUE(answer.views_inside) << answer;
            EXPECT_EQ(accepted, answer.accepted) << answer;
        });
    }
}

// Malformed RSASSA-PSS parameters make the code unknown, ignored ones change nothing, and without a hash it is SHA-1.
TEST(zero_length_fields, of_pss_parameters_lead_to_these_codes) {
    const pki_alg_t SAME = PKI_ALG_SHA256_RSASSA_PSS;
    const std::vector<pki_alg_t> codes = {PKI_ALG_UNKNOWN, // the whole
                                          PKI_ALG_UNKNOWN, // its algorithm
                                          PKI_ALG_SHA1_RSASSA_PSS,
                                          // [0], the hash
                                          PKI_ALG_UNKNOWN, PKI_ALG_UNKNOWN, PKI_ALG_UNKNOWN, SAME,
                                          // [1], the mask
                                          PKI_ALG_UNKNOWN, PKI_ALG_UNKNOWN, SAME, SAME, SAME, SAME,
                                          // [2], the salt length
                                          PKI_ALG_UNKNOWN, SAME};
    std::size_t index = 0;
    for_each_element(*call_named("ike_pss").record, [&](der_t& record, der_t& element) {
        element = emptied(element);
        const exact_bytes_t input(encode(record));
        asn_ike_signalg_t out;
        const bool done = asn_read_ike_signalg(input.data(), input.size(), out) != 0;
        EXPECT_EQ(index != 0, done);
        EXPECT_EQ(codes.at(index), out.to_pki_alg());
        ++index;
    });
    EXPECT_EQ(codes.size(), index);
}

} // namespace
