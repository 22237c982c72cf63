// Classes of faults that other implementations have had with text: characters of wide strings, texts that end inside an
// escape, and lists of awkward lengths.
#include <string>
#include <string_view>
#include <vector>

#include "derkit/derkit.h"
#include "support/names.h"
#include "testing/bags.h"
#include "testing/guard_page.h"
#include "testing/iconv.h"
#include "testing/parsed_map.h"
#include "testing/pkcs_der.h"
#include "testing/recording_crypto.h"

using namespace std::string_view_literals;

namespace {

const guarded_pages_t& pages() {
    static const guarded_pages_t PAGES(1 << 20);
    return PAGES;
}

// The terminating zero is the last octet in front of a page that may not be touched.
const char* guarded_text(std::string_view text) {
    return reinterpret_cast<const char*>(pages().put_last(std::string(text) + '\0'));
}

// Wide strings

constexpr const char* REFUSED = "refused";
constexpr unsigned char BMP_STRING = 0x1E;
constexpr unsigned char UNIVERSAL_STRING = 0x1C;

bool is_surrogate(char32_t code_point) {
    return code_point >= 0xD800 && code_point <= 0xDFFF;
}

std::string big_endian(char32_t code_point, int width) {
    std::string bytes;
    for (int i = width; i-- != 0;) {
        bytes.push_back(static_cast<char>(code_point >> (8 * i) & 0xFF));
    }
    return bytes;
}

// 256 characters, so that each is told from its neighbours and iconv need not be opened for each.
std::string block_of(char32_t first, int width) {
    std::string content;
    for (char32_t code_point = first; code_point < first + 0x100; ++code_point) {
        content += big_endian(code_point, width);
    }
    return content;
}

std::string printed_value(unsigned char tag, std::string_view content) {
    const std::string name = name_of(element(tag, content));
    const unsigned char* const der = pages().put_last(name);
    std::string text;
    const unsigned int size = static_cast<unsigned int>(name.size());
    const bool done = asn_dn_to_printable(der, size, text, PDN_ORDER_AS_ENCODED, NO_MAP);
    return done ? text.substr("2.5.4.3="sv.size()) : REFUSED;
}

// What the C library makes of a text; the characters from U+0080 on need no escapes.
std::string by_iconv(const char* encoding, std::string_view content) {
    return iconv_text(encoding, "UTF-8", content).value();
}

TEST(wide_string_code_points, of_the_basic_plane_all_convert_but_surrogates) {
    for (char32_t code_point = 0; code_point <= 0xFFFF; ++code_point) {
        const std::string value = printed_value(BMP_STRING, big_endian(code_point, 2));
        ASSERT_EQ(is_surrogate(code_point), value == REFUSED) << static_cast<unsigned int>(code_point);
    }
    for (char32_t first = 0x100; first <= 0xFFFF; first += 0x100) {
        const std::string content = block_of(first, 2);
        const std::string expected = is_surrogate(first) ? REFUSED : by_iconv("UTF-16BE", content);
        ASSERT_TRUE(same_bytes(expected, printed_value(BMP_STRING, content))) << static_cast<unsigned int>(first);
    }
}

TEST(wide_string_code_points, of_all_planes_convert_but_surrogates) {
    for (char32_t first = 0x100; first <= 0x10FFFF; first += 0x100) {
        const std::string content = block_of(first, 4);
        const std::string expected = is_surrogate(first) ? REFUSED : by_iconv("UTF-32BE", content);
        ASSERT_TRUE(same_bytes(expected, printed_value(UNIVERSAL_STRING, content))) << static_cast<unsigned int>(first);
    }
    for (char32_t surrogate = 0xD800; surrogate <= 0xDFFF; ++surrogate) {
        ASSERT_EQ(REFUSED, printed_value(UNIVERSAL_STRING, big_endian(surrogate, 4)));
    }
}

TEST(wide_string_code_points, past_the_last_plane_are_refused) {
    std::vector<char32_t> code_points = {0x110001U,   0x1FFFFFU,   0x3FFFFFFU,  0x7FFFFFFFU,
                                         0x8000D800U, 0xFFFF0041U, 0xFFFFFFFEU, 0xFFFFFFFFU};
    for (unsigned int shift = 0; shift < 15; ++shift) {
        code_points.push_back(0x110000U << shift);
        code_points.push_back(0x200000U << (shift % 11));
    }
    for (const char32_t code_point : code_points) {
        EXPECT_EQ(REFUSED, printed_value(UNIVERSAL_STRING, big_endian(code_point, 4)));
        EXPECT_EQ(REFUSED, printed_value(UNIVERSAL_STRING, big_endian('a', 4) + big_endian(code_point, 4)));
    }
}

TEST(wide_string_code_points, of_U_0000_stay_wherever_they_are) {
    EXPECT_TRUE(same_bytes("\0"sv, printed_value(BMP_STRING, from_hex("00 00"))));
    EXPECT_TRUE(same_bytes("a\0b\0"sv, printed_value(BMP_STRING, from_hex("00 61 00 00 00 62 00 00"))));
    EXPECT_TRUE(same_bytes("\0\0"sv, printed_value(UNIVERSAL_STRING, from_hex("00 00 00 00 00 00 00 00"))));
    EXPECT_TRUE(same_bytes("a\0b"sv, printed_value(UNIVERSAL_STRING, from_hex("00 00 00 61 00 00 00 00 00 00 00 62"))));
}

TEST(wide_string_code_points, that_are_cut_are_refused) {
    const struct {
        unsigned char tag;
        const char* encoding;
        std::size_t width;
        const char* content;
    } cases[] = {{BMP_STRING, "UTF-16BE", 2, "04 1F 04 40 04 38 20 AC 00 41"},
                 {UNIVERSAL_STRING, "UTF-32BE", 4, "00 00 04 1F 00 01 F6 00 00 10 FF FF 00 00 00 41"}};
    for (const auto& c : cases) {
        const std::string whole = from_hex(c.content);
        for (std::size_t size = 0; size <= whole.size(); ++size) {
            const std::string content = whole.substr(0, size);
            const std::string expected = size == 0 || size % c.width != 0 ? REFUSED : by_iconv(c.encoding, content);
            EXPECT_EQ(expected, printed_value(c.tag, content)) << c.encoding << ", " << size;
        }
    }
}

// A bag's name is not converted but returned as it is.
TEST(wide_string_code_points, of_a_bags_name_are_not_looked_at) {
    for (const std::string hex : {"00", "00 41 00", "D8 00", "DC 00 D8 00", "00 00", "00 41 00 00 00 42", "FF FF"}) {
        const exact_bytes_t input(
            encode(pfx_t({data_entry({cert_bag("c", der_set({friendly_name(from_hex(hex))}))})}).whole()));
        recording_crypto_t crypto;
        pkcs12_easy_t easy;
        EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
        EXPECT_EQ("cert[63] name[" + hex + "]", bags_text(easy.plain_bags));
    }
}

// Truncated escapes

// Texts in pieces that no cut may divide: a text may end after each piece. The first is the start of an attribute.
TEST(truncated_escapes, do_not_encode) {
    const std::vector<std::string> texts[] = {
        {"CN=", "a", "\\,", "b", "\\\\", "\\\"", "\\+", "\\=", "\\#", "\\<", "\\>", "\\;", "c"},
        {"CN=", "\\2C", "a", "\\D0", "\\9F", "\\00", "\\fF", "b"},
        {"CN=", "\"a,b\"", ",O=", "\"\"", "+C=", "\"x\\\"y\"", ",L=", "\"\\\\\"", ",S=", "\"+\""},
        {"CN=", "\"\\\"\"", ",O=", "\"a\\,\"", ",C=", "R"},
        {"CN=", "#0C03616263", ",O=", "#1300", ",C=", "R"},
        {"CN=", "a", ",O=", "b", "+2.5.4.11=", "c", ", C=", " "},
    };
    for (const std::vector<std::string>& pieces : texts) {
        std::string whole;
        for (const std::string& piece : pieces) {
            for (std::size_t size = 1; size <= piece.size(); ++size) {
                const std::string text = whole + piece.substr(0, size);
                const bool is_whole = size == piece.size();
                std::string out = "held";
                EXPECT_EQ(is_whole, printable_to_asn_dn(guarded_text(text), out, OID_MAP_HANDLE_DEFAULT)) << text;
                EXPECT_EQ(is_whole, out != "held") << text;
                std::string normal = "held";
                EXPECT_EQ(is_whole, printable_dn_normalize(text, normal, nullptr, OID_MAP_HANDLE_DEFAULT)) << text;
                EXPECT_EQ(is_whole, normal != "held") << text;
            }
            whole += piece;
        }
    }
}

// Lists

class list_counts : public testing::TestWithParam<std::size_t> {
  protected:
    const std::size_t count = GetParam();
};

std::string number_text(std::size_t i) {
    return "v" + std::to_string(i);
}

// A name as text and DER, in every operation.
void expect_name(const std::string& text, const std::string& der, const std::string& reversed) {
    expect_encoded(text, OID_MAP_HANDLE_DEFAULT, der);
    expect_printed(der, OID_MAP_HANDLE_DEFAULT, text, reversed);
    std::string out = text;
    EXPECT_EQ(out.data(), printable_dn_reverse(out.data()));
    EXPECT_EQ(reversed, out);
    EXPECT_TRUE(printable_dn_contain_attrs(guarded_text(text), text.c_str()));
    EXPECT_TRUE(printable_dn_C_before_CN(guarded_text(text)));
}

std::string organisation(std::size_t i) {
    return element(0x30, from_hex("06 03 55 04 0A") + element(0x13, number_text(i)));
}

TEST_P(list_counts, of_rdns) {
    std::string text;
    std::string reversed;
    std::string rdns;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string rdn = "O=" + number_text(i);
        text += (i == 0 ? "" : ",") + rdn;
        reversed = rdn + (i == 0 ? "" : ",") + reversed;
        rdns += element(0x31, organisation(i));
    }
    expect_name(text, element(0x30, rdns), reversed);
    std::string value;
    EXPECT_EQ(count != 0, printable_dn_get_attr(text.c_str(), "O", value, PDN_GET_ATTR_VALUE));
    EXPECT_EQ(count != 0 ? "v0" : "", value);
    EXPECT_FALSE(printable_dn_get_attr(text.c_str(), "CN", value, PDN_GET_ATTR_VALUE));
}

TEST_P(list_counts, of_attributes_in_an_rdn) {
    std::string text;
    std::string attributes;
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : "+") + ("O=" + number_text(i));
        attributes += organisation(i);
    }
    const std::string der = element(0x30, element(0x31, attributes));
    if (count == 0) { // an RDN has one at least
        expect_not_printed(der);
    } else {
        expect_name(text, der, text);
    }
}

TEST_P(list_counts, of_bags) {
    pkcs12_easy_t easy;
    std::vector<std::string> values;
    for (std::size_t i = 0; i < count; ++i) {
        values.push_back(number_text(i));
    }
    der_members_t bags;
    for (std::size_t i = 0; i < count; ++i) {
        easy.plain_bags.push_back(bag_of(i % 2, values[i], "name", values[i]));
        const der_t attributes = der_set({friendly_name("name"), local_key_id(values[i])});
        bags.push_back(i % 2 == 0 ? key_bag(values[i], attributes) : cert_bag(values[i], attributes));
    }
    easy.encrypted_bags = easy.plain_bags;
    recording_crypto_t crypto;
    std::string out;
    asn_write_pkcs12_easy(easy, &crypto, out);
    if (count != 0) {
        EXPECT_TRUE(same_bytes(entry_plaintext(bags), crypto.calls.at(0).data));
    }
    const exact_bytes_t input(out);
    pkcs12_easy_t back;
    EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, back));
    EXPECT_EQ(count, back.plain_bags.size());
    EXPECT_EQ(bags_text(easy.plain_bags), bags_text(back.plain_bags));
    EXPECT_EQ(bags_text(easy.plain_bags), bags_text(back.encrypted_bags));
}

// Shrouded keys, each with a plaintext of its own; entries; and attributes, of which one alone counts.
TEST_P(list_counts, of_keys_entries_and_attributes_of_bags) {
    der_members_t keys;
    der_members_t entries;
    der_members_t attributes;
    std::string expected_keys;
    std::string expected_certs;
    for (std::size_t i = 0; i < count; ++i) {
        keys.push_back(shrouded_key_bag(toy_cipher(number_text(i))));
        entries.push_back(data_entry({cert_bag(number_text(i))}));
        attributes.push_back(i + 1 == count ? local_key_id("last") : attribute("1.2.3", der_null()));
        expected_keys += (i == 0 ? "" : "\n") + bag_text(bag_of(0, number_text(i)));
        expected_certs += bag_text(bag_of(1, number_text(i))) + "\n";
    }
    entries.push_back(data_entry(keys));
    entries.push_back(data_entry({cert_bag("c", der_set(attributes))}));
    const exact_bytes_t input(encode(pfx_t(entries).whole()));
    recording_crypto_t crypto;
    pkcs12_easy_t easy;
    EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
    EXPECT_EQ(expected_keys, bags_text(easy.encrypted_bags));
    EXPECT_EQ(expected_certs + bag_text(bag_of(1, "c", "", count == 0 ? "" : "last")), bags_text(easy.plain_bags));
    EXPECT_EQ(count, easy.decrypted_buffers.size());
    EXPECT_TRUE(all_kept(input, easy));
}

TEST_P(list_counts, of_lines_of_a_map) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += "1.2." + std::to_string(i) + " = N" + std::to_string(i) + "\n";
    }
    const parsed_map_t map(text);
    for (std::size_t i = 0; i <= count; ++i) {
        const std::string name = "n" + std::to_string(i);
        const OIDdescr_t* const entry =
            oid_map_find_sn(map.handle(), name.data(), static_cast<unsigned int>(name.size()));
        ASSERT_EQ(i < count, entry != nullptr) << i;
        EXPECT_TRUE(entry == nullptr || entry->oid_str == "1.2." + std::to_string(i)) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(, list_counts, testing::Values(0U, 1U, 31U, 32U, 33U, 1000U),
                         testing::PrintToStringParamName());

} // namespace
