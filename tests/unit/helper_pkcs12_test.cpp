// The helpers for PKCS#12: friendly names, and the reason why a container was refused.
#include "derkit/helpers/pkcs12.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/expect.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"
#include "testing/views.h"

namespace {

using derkit::crypto_operation;
using derkit::pkcs12_refusal;
using derkit::recording_crypto;

const std::vector<pki_alg_t> DIGESTS{PKI_ALG_SHA256, PKI_ALG_GOST_3411_94};

// Code points and their forms in UTF-8 and UTF-16 are those of RFC 3629 and RFC 2781.
TEST(helper_friendly_name, becomes_utf8) {
    const struct {
        const char* utf16;
        const char* utf8;
    } cases[] = {
        {"", ""},
        {"0041", "41"},
        {"0000", "00"},
        {"007F 0080", "7F C2 80"},
        {"07FF 0800", "DF BF E0 A0 80"},
        {"041A 043B 044E 0447", "D0 9A D0 BB D1 8E D1 87"},
        {"D7FF E000", "ED 9F BF EE 80 80"},
        {"FFFF", "EF BF BF"},
        {"D800 DC00", "F0 90 80 80"},
        {"D808 DF45 003D", "F0 92 8D 85 3D"},
        {"DBFF DFFF", "F4 8F BF BF"},
        {"00", nullptr},
        {"0041 00", nullptr},
        {"D800", nullptr},
        {"0041 DBFF", nullptr},
        {"DC00", nullptr},
        {"DC00 D800", nullptr},
        {"DC00 DC00", nullptr},
        {"D800 0041", nullptr},
        {"D800 E000", nullptr},
        {"D800 D800 DC00", nullptr},
        {"D800 DC", nullptr},
    };
    for (const auto& c : cases) {
        const exact_bytes_t utf16(from_hex(c.utf16));
        const derkit::maybe_string utf8 = derkit::to_utf8(view_of<bmp_string_t>(utf16.text()));
        EXPECT_EQ(utf8.ok(), c.utf8 != nullptr) << c.utf16;
        EXPECT_TRUE(same_bytes(from_hex(c.utf8 != nullptr ? c.utf8 : ""), *utf8)) << c.utf16;
    }
}

struct refusal_case_t {
    const char* name;
    std::string file;
    pkcs12_refusal expected;
    answer_t verify_mac = answer_t::YES;
    answer_t decrypt = answer_t::YES;
};

std::string file_of(const pfx_t& pfx) {
    return encode(pfx.whole());
}

pfx_t pfx_with_mac(const char* digest) {
    pfx_t pfx({data_entry({key_bag("k")})});
    mac_data_t mac;
    mac.algorithm = der_sequence({der_oid(digest), der_null()});
    pfx.mac_data = mac.whole();
    return pfx;
}

pfx_t pfx_with_content(const der_t& content) {
    pfx_t pfx;
    pfx.content = content;
    return pfx;
}

std::vector<refusal_case_t> refusals() {
    const std::string good = file_of(pfx_with_mac(OID_GOST_3411));
    encrypted_data_t encrypted;
    encrypted.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext({key_bag("k")})));
    const std::string with_encrypted = file_of(pfx_t({encrypted.entry()}));
    encrypted_data_t by_another_cipher = encrypted;
    by_another_cipher.algorithm = der_sequence({der_oid("1.2.3"), der_null()});
    const std::string with_two = file_of(pfx_t({encrypted.entry(), by_another_cipher.entry()}));
    const der_t shrouded_otherwise = safe_bag(
        OID_SHROUDED_KEY_BAG, der_sequence({der_sequence({der_oid("1.2.3"), der_null()}), der_octet_string("k")}));
    pfx_t without_mac({data_entry({key_bag("k")})});
    without_mac.mac_data = der_raw("");
    pfx_t signed_data;
    signed_data.content_type = der_oid(OID_SIGNED_DATA);
    pfx_t signed_without_mac = signed_data;
    signed_without_mac.mac_data = der_raw("");
    pfx_t other_type;
    other_type.content_type = der_oid(OID_ENCRYPTED_DATA);
    pfx_t broken_mac;
    broken_mac.mac_data = der_sequence({});
    return {
        {"good", good, pkcs12_refusal::NONE},
        {"good, encrypted", with_encrypted, pkcs12_refusal::NONE},
        {"nothing", "", pkcs12_refusal::CUT},
        {"one byte", good.substr(0, 1), pkcs12_refusal::CUT},
        {"the header alone", good.substr(0, 2), pkcs12_refusal::CUT},
        {"without the last byte", good.substr(0, good.size() - 1), pkcs12_refusal::CUT},
        {"a header with half its length", from_hex("30 82 01"), pkcs12_refusal::CUT},
        {"the largest length", from_hex("30 84 FF FF FF FF 02 01 03"), pkcs12_refusal::CUT},
        {"indefinite length", from_hex("30 80 02 01 03 00 00"), pkcs12_refusal::MALFORMED},
        {"text", "-----BEGIN PKCS12-----", pkcs12_refusal::MALFORMED},
        {"another element", from_hex("04 05 01"), pkcs12_refusal::MALFORMED},
        {"an empty sequence", from_hex("30 00"), pkcs12_refusal::MALFORMED},
        {"a sequence of nothing known", from_hex("30 05 02 01 03 30 00"), pkcs12_refusal::MALFORMED},
        {"another content type", file_of(other_type), pkcs12_refusal::MALFORMED},
        {"a broken MAC", file_of(broken_mac), pkcs12_refusal::MALFORMED},
        {"no MAC", file_of(without_mac), pkcs12_refusal::NO_MAC},
        {"signed", file_of(signed_data), pkcs12_refusal::SIGNED},
        {"signed, no MAC", file_of(signed_without_mac), pkcs12_refusal::SIGNED},
        {"wrong MAC", good, pkcs12_refusal::WRONG_MAC, answer_t::NO},
        {"wrong MAC of another digest", file_of(pfx_with_mac("2.16.840.1.101.3.4.2.1")), pkcs12_refusal::WRONG_MAC,
         answer_t::NO},
        {"unsupported MAC", file_of(pfx_with_mac("2.16.840.1.101.3.4.2.3")), pkcs12_refusal::UNSUPPORTED_MAC,
         answer_t::NO},
        {"unknown MAC", file_of(pfx_with_mac("1.2.3")), pkcs12_refusal::UNSUPPORTED_MAC, answer_t::NO},
        {"a MAC that the object had after all", file_of(pfx_with_mac("1.2.3")), pkcs12_refusal::NONE},
        {"broken contents", file_of(pfx_with_content(der_octet_string("\x30\x7F"))), pkcs12_refusal::CONTENTS},
        {"two entries, one encrypted in another way", with_two, pkcs12_refusal::SKIPPED},
        {"the other one is not decrypted", with_two, pkcs12_refusal::NOT_DECRYPTED, answer_t::YES, answer_t::NO},
        {"a shrouded key", file_of(pfx_t({data_entry({shrouded_key_bag("k")})})), pkcs12_refusal::NONE},
        {"a key shrouded in another way", file_of(pfx_t({data_entry({shrouded_otherwise})})), pkcs12_refusal::SKIPPED},
        {"not decrypted", with_encrypted, pkcs12_refusal::NOT_DECRYPTED, answer_t::YES, answer_t::NO},
    };
}

TEST(helper_read_pkcs12, says_why_a_container_is_refused) {
    for (const refusal_case_t& c : refusals()) {
        const exact_bytes_t file(c.file);
        scripted_crypto_t crypto;
        crypto.verify_mac_answer = c.verify_mac;
        crypto.decrypt_answers = {c.decrypt};
        recording_crypto recording(crypto, DIGESTS);
        pkcs12_easy_t container;
        EXPECT_STREQ(message_of(c.expected),
                     message_of(derkit::read_pkcs12(view_of(file.text()), recording, container)))
            << c.name;
        scripted_crypto_t again;
        again.verify_mac_answer = c.verify_mac;
        again.decrypt_answers = {c.decrypt};
        pkcs12_easy_t same;
        const bool read = asn_read_pkcs12_easy(file.data(), file.size(), &again, same);
        EXPECT_EQ(read, c.expected == pkcs12_refusal::NONE || c.expected >= pkcs12_refusal::NOT_DECRYPTED) << c.name;
        EXPECT_EQ(crypto.operations(), again.operations()) << c.name;
        EXPECT_EQ(container.encrypted_bags.size(), same.encrypted_bags.size()) << c.name;
    }
}

TEST(helper_read_pkcs12, has_a_message_for_every_refusal) {
    std::vector<std::string> messages;
    for (int i = 0; i <= static_cast<int>(pkcs12_refusal::SKIPPED); ++i) {
        messages.emplace_back(derkit::message_of(static_cast<pkcs12_refusal>(i)));
        EXPECT_NE(messages.back(), "") << i;
        EXPECT_EQ(std::count(messages.begin(), messages.end(), messages.back()), 1) << messages.back();
    }
}

TEST(helper_recording_crypto, remembers_what_was_refused) {
    const std::string file = file_of(pfx_with_mac("2.16.840.1.101.3.4.2.3"));
    scripted_crypto_t crypto;
    crypto.verify_mac_answer = answer_t::NO;
    recording_crypto recording(crypto, DIGESTS);
    EXPECT_FALSE(recording.mac_asked());
    EXPECT_EQ(recording.mac_digest(), PKI_ALG_UNKNOWN);
    pkcs12_easy_t container;
    EXPECT_FALSE(asn_read_pkcs12_easy(file.data(), static_cast<unsigned int>(file.size()), &recording, container));
    EXPECT_TRUE(recording.mac_asked());
    EXPECT_FALSE(recording.mac_good());
    EXPECT_FALSE(recording.mac_supported());
    EXPECT_EQ(recording.mac_digest(), PKI_ALG_SHA512);
    ASSERT_EQ(recording.refusals().size(), 1u);
    EXPECT_EQ(recording.refusals()[0].operation, crypto_operation::VERIFY_MAC);
    EXPECT_EQ(recording.refusals()[0].iterations, 2000u);
    EXPECT_EQ(recording.refusals()[0].size, crypto.calls[0].data.size());

    recording.clear();
    EXPECT_TRUE(recording.refusals().empty());
    EXPECT_FALSE(recording.mac_asked());
    EXPECT_EQ(recording.mac_digest(), PKI_ALG_UNKNOWN);
}

TEST(helper_recording_crypto, does_not_count_what_encrypted_entries_contain) {
    encrypted_data_t encrypted;
    encrypted.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext({shrouded_key_bag("k")})));
    const std::string file = file_of(pfx_t({encrypted.entry()}));
    scripted_crypto_t crypto;
    recording_crypto recording(crypto, DIGESTS);
    pkcs12_easy_t container;
    EXPECT_EQ(derkit::read_pkcs12(view_of(file), recording, container), pkcs12_refusal::NONE);
    EXPECT_EQ(crypto.operations(), "verify_mac decrypt decrypt");
    EXPECT_EQ(recording.num_skipped(), 0u);
}

TEST(helper_recording_crypto, lets_exceptions_pass) {
    const std::string file = file_of(pfx_with_mac(OID_GOST_3411));
    scripted_crypto_t crypto;
    crypto.verify_mac_answer = answer_t::THROW;
    recording_crypto recording(crypto, DIGESTS);
    pkcs12_easy_t container;
    EXPECT_THROW(derkit::read_pkcs12(view_of(file), recording, container), crypto_failure_t);
    EXPECT_TRUE(recording.mac_asked());
    EXPECT_FALSE(recording.mac_good());
    EXPECT_TRUE(recording.refusals().empty());
}

TEST(helper_write_pkcs12, writes_unless_something_was_refused) {
    const std::string key = encode(der_sequence({}));
    pkcs12_easy_t container;
    container.encrypted_bags.emplace_back();
    container.encrypted_bags.back().value = view_of(key);

    scripted_crypto_t good;
    recording_crypto recording(good, DIGESTS);
    const derkit::maybe_string written = derkit::write_pkcs12(container, recording);
    std::string expected;
    asn_write_pkcs12_easy(container, &good, expected);
    ASSERT_TRUE(written);
    EXPECT_TRUE(same_bytes(expected, *written));

    const struct {
        answer_t make_mac;
        answer_t encrypt;
        crypto_operation refused;
    } cases[] = {{answer_t::NO, answer_t::YES, crypto_operation::MAKE_MAC},
                 {answer_t::YES, answer_t::NO, crypto_operation::ENCRYPT}};
    for (const auto& c : cases) {
        scripted_crypto_t crypto;
        crypto.make_mac_answer = c.make_mac;
        crypto.encrypt_answer = c.encrypt;
        recording_crypto refusing(crypto, DIGESTS);
        EXPECT_FALSE(derkit::write_pkcs12(container, refusing));
        ASSERT_EQ(refusing.refusals().size(), 1u);
        EXPECT_EQ(refusing.refusals()[0].operation, c.refused);
    }
}

} // namespace
