// PKCS#7 ContentInfo, the wrapping of every layer of a container.
#include <gtest/gtest.h>

#include <string>

#include "asn/asn_builder.h"
#include "pkcs/pkcs7.h"
#include "support/expect.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/pkcs_der.h"
#include "testing/untouched.h"
#include "testing/views.h"

namespace {

const char* const DATA = "06 09 2A 86 48 86 F7 0D 01 07 01";

// Reading

struct content_info_case_t {
    const char* name;
    const char* input; // the content of the SEQUENCE
    bool accepted;
    const char* content_type;
    const char* content;
};
class content_info_reader : public testing::TestWithParam<content_info_case_t> {};

TEST_P(content_info_reader, gives_type_and_content) {
    const content_info_case_t& c = GetParam();
    const exact_bytes_t input(from_hex(c.input));
    pkcs7_content_info_t info = {untouched_view(), untouched_view()};
    EXPECT_EQ(c.accepted, asn_read_pkcs7_ContentInfo(input.data(), input.size(), info));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(c.content_type), chars_of(info.content_type)));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(c.content), chars_of(info.content)));
    EXPECT_TRUE(is_untouched_or_lies_in(info.content_type, input));
    EXPECT_TRUE(is_untouched_or_lies_in(info.content, input));
}

const content_info_case_t ACCEPTED[] = {
    {"data", "06 09 2A 86 48 86 F7 0D 01 07 01 A0 04 04 02 AA BB", true, "2A 86 48 86 F7 0D 01 07 01", "04 02 AA BB"},
    {"encrypted_data", "06 09 2A 86 48 86 F7 0D 01 07 06 A0 02 30 00", true, "2A 86 48 86 F7 0D 01 07 06", "30 00"},
    {"any_type", "06 01 2A A0 02 05 00", true, "2A", "05 00"},
    {"empty_type", "06 00 A0 02 05 00", true, "", "05 00"},
    {"empty_content", "06 01 2A A0 00", true, "2A", ""},
    {"content_that_is_no_element", "06 01 2A A0 03 FF FF FF", true, "2A", "FF FF FF"},
    {"two_elements", "06 01 2A A0 04 05 00 04 00", true, "2A", "05 00 04 00"},
    {"an_element_behind", "06 01 2A A0 02 05 00 05 00", true, "2A", "05 00"},
    {"bytes_behind", "06 01 2A A0 02 05 00 FF", true, "2A", "05 00"},
    {"lengths_with_octets_to_spare", "06 81 01 2A A0 84 00 00 00 02 05 00", true, "2A", "05 00"},
};
INSTANTIATE_TEST_SUITE_P(accepts, content_info_reader, testing::ValuesIn(ACCEPTED), case_name_t());

const content_info_case_t REFUSED[] = {
    {"nothing", "", false, "-", "-"},
    {"its_sequence", "30 07 06 01 2A A0 02 05 00", false, "-", "-"},
    {"no_type", "A0 02 05 00", false, "-", "-"},
    {"type_past_the_end", "06 7F 2A A0 02 05 00", false, "-", "-"},
    {"indefinite_type", "06 80 2A 00 00 A0 02 05 00", false, "-", "-"},
    {"wrapping_type", "06 84 FF FF FF FA A0 02 05 00", false, "-", "-"},
};
INSTANTIATE_TEST_SUITE_P(refuses, content_info_reader, testing::ValuesIn(REFUSED), case_name_t());

const content_info_case_t REFUSED_WITH_TYPE[] = {
    {"no_content", "06 01 2A", false, "2A", "-"},
    {"content_without_wrapper", "06 01 2A 05 00", false, "2A", "-"},
    {"primitive_wrapper", "06 01 2A 80 02 05 00", false, "2A", "-"},
    {"other_wrapper", "06 01 2A A1 02 05 00", false, "2A", "-"},
    {"wrapper_behind_something", "06 01 2A 05 00 A0 02 05 00", false, "2A", "-"},
    {"wrapper_past_the_end", "06 01 2A A0 03 05 00", false, "2A", "-"},
    {"indefinite_wrapper", "06 01 2A A0 80 05 00 00 00", false, "2A", "-"},
    {"five_length_octets", "06 01 2A A0 85 00 00 00 00 02 05 00", false, "2A", "-"},
    {"wrapping_content", "06 01 2A A0 84 FF FF FF FA 05 00", false, "2A", "-"},
};
INSTANTIATE_TEST_SUITE_P(refuses_but_gives_the_type, content_info_reader, testing::ValuesIn(REFUSED_WITH_TYPE),
                         case_name_t());

TEST(content_info_prefix, is_refused) {
    for_each_prefix(from_hex(DATA) + from_hex("A0 04 04 02 AA BB"), [](const exact_bytes_t& prefix) {
        pkcs7_content_info_t info;
        EXPECT_FALSE(asn_read_pkcs7_ContentInfo(prefix.data(), prefix.size(), info));
    });
}

struct data_case_t {
    const char* name;
    const char* input;
    bool accepted;
    const char* octets;
};
class data_reader : public testing::TestWithParam<data_case_t> {};

TEST_P(data_reader, gives_the_octets) {
    const data_case_t& c = GetParam();
    const exact_bytes_t input(from_hex(c.input));
    blob_t octets = untouched_view();
    EXPECT_EQ(c.accepted, asn_read_pkcs7_data(input.data(), input.size(), octets));
    EXPECT_TRUE(same_bytes(bytes_or_untouched(c.octets), chars_of(octets)));
    EXPECT_TRUE(is_untouched_or_lies_in(octets, input));
}

const data_case_t DATA_CASES[] = {
    {"octets", "04 02 AA BB", true, "AA BB"},
    {"empty", "04 00", true, ""},
    {"bytes_behind", "04 01 AA FF", true, "AA"},
    {"length_with_octets_to_spare", "04 82 00 01 AA", true, "AA"},
    {"nothing", "", false, "-"},
    {"constructed", "24 03 04 01 AA", false, "-"},
    {"empty_constructed", "24 00", false, "-"},
    {"sequence", "30 00", false, "-"},
    {"indefinite", "04 80 AA 00 00", false, "-"},
    {"past_the_end", "04 02 AA", false, "-"},
    {"five_length_octets", "04 85 00 00 00 00 01 AA", false, "-"},
    {"wrapping", "04 84 FF FF FF FA", false, "-"},
    {"wrapping_by_one", "04 84 FF FF FF FF AA", false, "-"},
};
INSTANTIATE_TEST_SUITE_P(, data_reader, testing::ValuesIn(DATA_CASES), case_name_t());

TEST(data_prefix, is_refused) {
    for_each_prefix(from_hex("04 82 00 02 AA BB"), [](const exact_bytes_t& prefix) {
        blob_t octets;
        EXPECT_FALSE(asn_read_pkcs7_data(prefix.data(), prefix.size(), octets));
    });
}

// Writing

TEST(content_info_oids, are_those_of_data_and_encrypted_data) {
    EXPECT_TRUE(same_bytes(der_oid(OID_DATA).octets, as_chars(g_oid_pkcs7_id_data, sizeof g_oid_pkcs7_id_data)));
    EXPECT_TRUE(same_bytes(der_oid(OID_ENCRYPTED_DATA).octets,
                           as_chars(g_oid_pkcs7_id_encrypted_data, sizeof g_oid_pkcs7_id_encrypted_data)));
}

std::string encoding_of(const asn_tag_t_<0>& node) {
    return std::string(as_chars(node.encoding(), node.encoding_size()));
}

// What a SEQUENCE holds to which a ContentInfo with this payload was appended.
std::string write_data(std::string_view payload) {
    asn_tag_t_<0> content(asn_tag_t::OCTET_STRING);
    content.add_bytes(payload.data(), static_cast<unsigned int>(payload.size()));
    asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
    asn_write_pkcs7_ContentInfo(g_oid_pkcs7_id_data, sizeof g_oid_pkcs7_id_data, content, out);
    return std::string(as_chars(out.encoding(), out.encoding_size()).substr(out.encoding_size() - out.content_size));
}

struct content_info_written_case_t {
    const char* name;
    std::size_t payload_size;
    const char* sequence;
    const char* wrapper; // and the header of the OCTET STRING
};
class content_info_encoding : public testing::TestWithParam<content_info_written_case_t> {};

TEST_P(content_info_encoding, is) {
    const content_info_written_case_t& c = GetParam();
    const std::string payload = counting_bytes(c.payload_size, 1);
    EXPECT_TRUE(same_bytes(from_hex(c.sequence) + from_hex(DATA) + from_hex(c.wrapper) + payload, write_data(payload)));
}

const content_info_written_case_t WRITTEN[] = {
    {"empty_payload", 0, "30 0F", "A0 02 04 00"},
    {"short_payload", 3, "30 12", "A0 05 04 03"},
    {"last_with_short_forms_alone", 112, "30 7F", "A0 72 04 70"},
    {"long_sequence", 113, "30 81 80", "A0 73 04 71"},
    {"long_wrapper", 126, "30 81 8E", "A0 81 80 04 7E"},
    {"long_at_every_level", 128, "30 81 91", "A0 81 83 04 81 80"},
    {"two_octets_for_the_sequence", 240, "30 82 01 01", "A0 81 F3 04 81 F0"},
    {"two_octets_at_every_level", 256, "30 82 01 13", "A0 82 01 04 04 82 01 00"},
};
INSTANTIATE_TEST_SUITE_P(, content_info_encoding, testing::ValuesIn(WRITTEN), case_name_t());

TEST(content_info_writer, appends_to_its_parent_and_leaves_the_content_as_it_is) {
    asn_tag_t_<0> content(asn_tag_t::SEQUENCE);
    content.add_bytes(nullptr, 0);
    asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
    out.add_element(asn_tag_t::INTEGER, from_hex("03"));
    asn_write_pkcs7_ContentInfo(g_oid_pkcs7_id_encrypted_data, sizeof g_oid_pkcs7_id_encrypted_data, content, out);
    EXPECT_TRUE(
        same_bytes(from_hex("30 14 02 01 03 30 0F 06 09 2A 86 48 86 F7 0D 01 07 06 A0 02 30 00"), encoding_of(out)));
    EXPECT_TRUE(same_bytes(from_hex("30 00"), encoding_of(content)));
    asn_write_pkcs7_ContentInfo(g_oid_pkcs7_id_data, sizeof g_oid_pkcs7_id_data, content, out);
    EXPECT_TRUE(same_bytes(from_hex("30 25 02 01 03 30 0F 06 09 2A 86 48 86 F7 0D 01 07 06 A0 02 30 00 "
                                    "30 0F 06 09 2A 86 48 86 F7 0D 01 07 01 A0 02 30 00"),
                           encoding_of(out)));
}

TEST(content_info_round_trip, gives_type_and_payload_back) {
    for (const std::size_t size : sizes_t{0, 1, 112, 113, 126, 128, 240, 256, 5000, 65000}) {
        SCOPED_TRACE(size);
        const std::string payload = counting_bytes(size, 1);
        const std::string written = write_data(payload);
        const std::size_t header_size =
            written.size() - encode_content(content_info(OID_DATA, der_octet_string(payload))).size();
        const exact_bytes_t input(std::string_view(written).substr(header_size));
        pkcs7_content_info_t info;
        EXPECT_TRUE(asn_read_pkcs7_ContentInfo(input.data(), input.size(), info));
        EXPECT_TRUE(same_bytes(der_oid(OID_DATA).octets, chars_of(info.content_type)));
        blob_t octets;
        EXPECT_TRUE(asn_read_pkcs7_data(info.content.data, info.content.size, octets));
        EXPECT_TRUE(same_bytes(payload, chars_of(octets)));
    }
}

} // namespace
