// PKCS#7 ContentInfo, the wrapping of every layer of a container.
#include <gtest/gtest.h>

#include <string>

#include "asn/asn_builder.h"
#include "pkcs/pkcs7.h"
#include "support/der_reader.h"
#include "testing/pkcs_der.h"

namespace {

// "yes content type, content"
std::string read_content_info(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    pkcs7_content_info_t info = {untouched_view(), untouched_view()};
    const bool accepted = asn_read_pkcs7_ContentInfo(input.data(), input.size(), info);
    return read_text(accepted, {field_text(info.content_type, input), field_text(info.content, input)});
}

// "yes octets"
std::string read_data(std::string_view bytes) {
    const exact_bytes_t input(bytes);
    blob_t octets = untouched_view();
    const bool accepted = asn_read_pkcs7_data(input.data(), input.size(), octets);
    return read_text(accepted, {field_text(octets, input)});
}

// What a SEQUENCE with 02 01 03 becomes when a ContentInfo with this element is appended.
template <unsigned int N>
std::string write_content_info(const unsigned char (&type)[N], asn_tag_t::Type tag, std::string_view content) {
    asn_tag_t_<0> out(asn_tag_t::SEQUENCE);
    out.add_bytes("\x02\x01\x03", 3);
    out.add(pkcs7_content_info(type, asn_element(tag, content)));
    return std::string(as_chars(out.encoding(), out.encoding_size()));
}

// Reading

TEST(pkcs7_content_info, follows_the_rules_of_readers) {
    const der_t content = der_element(0xA0, "content");
    expect_rules_of_readers(read_content_info, der_sequence({der_oid(OID_DATA), content}), {.takes_content = true});
    expect_rules_of_readers(read_data, der_octet_string("octets"));
}

TEST(pkcs7_content_info, is_read_as_the_cases_say) {
    expect_reads(read_content_info, "content-info.txt");
}

TEST(content_info_data, is_read_as_the_cases_say) {
    expect_reads(read_data, "content-info-data.txt");
}

// Writing

struct content_info_written_case_t {
    const char* name;
    std::size_t payload_size;
    const char* sequence;
    const char* wrapper; // and the header of the OCTET STRING
};

TEST(pkcs7_content_info, is_written_with_the_length_of_its_payload_and_reads_back) {
    const content_info_written_case_t cases[] = {
        {"empty", 0, "30 0F", "A0 02 04 00"},
        {"short", 3, "30 12", "A0 05 04 03"},
        {"last with short lengths", 112, "30 7F", "A0 72 04 70"},
        {"long sequence", 113, "30 81 80", "A0 73 04 71"},
        {"long wrapper", 126, "30 81 8E", "A0 81 80 04 7E"},
        {"long at every level", 128, "30 81 91", "A0 81 83 04 81 80"},
        {"two octets for the sequence", 240, "30 82 01 01", "A0 81 F3 04 81 F0"},
        {"two octets at every level", 256, "30 82 01 13", "A0 82 01 04 04 82 01 00"},
        {"kilobytes", 65000, "30 82 FD FB", "A0 82 FD EC 04 82 FD E8"},
    };
    for (const content_info_written_case_t& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string payload = counting_bytes(c.payload_size, 1);
        const std::string content = from_hex(std::string("06 09 2A 86 48 86 F7 0D 01 07 01") + c.wrapper) + payload;
        const der_t parent = der_sequence({der_integer("03"), der_element(-1, from_hex(c.sequence) + content)});
        EXPECT_TRUE(
            same_bytes(encode(parent), write_content_info(g_oid_pkcs7_id_data, asn_tag_t::OCTET_STRING, payload)));
        const exact_bytes_t input(content);
        pkcs7_content_info_t info;
        EXPECT_TRUE(asn_read_pkcs7_ContentInfo(input.data(), input.size(), info));
        EXPECT_TRUE(same_bytes(der_oid(OID_DATA).octets, chars_of(info.content_type)));
        blob_t octets;
        EXPECT_TRUE(asn_read_pkcs7_data(info.content.data, info.content.size, octets));
        EXPECT_TRUE(same_bytes(payload, chars_of(octets)));
    }
}

TEST(pkcs7_content_info, is_written_around_any_element) {
    EXPECT_TRUE(same_bytes(from_hex("30 14 02 01 03 30 0F 06 09 2A 86 48 86 F7 0D 01 07 06 A0 02 30 00"),
                           write_content_info(g_oid_pkcs7_id_encrypted_data, asn_tag_t::SEQUENCE, "")));
}

} // namespace
