#include <gtest/gtest.h>

#include <string>

#include "derkit/pkcs12_helper.h"
#include "gost/der.h"
#include "gost/schemes.h"
#include "gost/test_data.h"

namespace {

using namespace derkit::gost;

// PFX ::= SEQUENCE { version INTEGER, authSafe ContentInfo, macData MacData OPTIONAL }               RFC 7292 4
struct opened_pfx_t {
    pkcs12_mac_t mac;
    std::string_view octet_string; // of authSafe's [0]

    explicit opened_pfx_t(const std::string& file) {
        asn_cursor_t in(file);
        asn_cursor_t pfx = in.enter(asn_tag_t::SEQUENCE);
        pfx.skip(asn_tag_t::INTEGER);
        asn_cursor_t content_info = pfx.enter(asn_tag_t::SEQUENCE);
        content_info.skip(asn_tag_t::OBJECT_IDENTIFIER);
        octet_string = text_of(content_info.read(asn_tag_t::CONTEXT_0));
        const blob_t mac_data = pfx.read(asn_tag_t::SEQUENCE);
        if (!asn_read_pkcs12_MacData(mac_data.data, mac_data.size, mac)) {
            throw std::runtime_error("no MAC");
        }
    }
};

struct file_case_t {
    const char* file;
    const char* password;
    mac_key key;
    const char* digest;
};

const file_case_t FILES[] = {
    {"2001.p12", "секрет-2001", mac_key::pbkdf2, "GOST R 34.11-94"},
    {"empty-password.p12", "", mac_key::pbkdf2, "GOST R 34.11-94"},
    {"mac-by-pkcs12-kdf.p12", "секрет", mac_key::pkcs12_kdf, "GOST R 34.11-94"},
    {"streebog.p12", "secret", mac_key::pbkdf2, "GOST R 34.11-2012-256"},
    {"mixed-sha256-mac.p12", "secret", mac_key::pkcs12_kdf, "SHA-256"},
};

TEST(VerifyMac, FindsHowOpenSslDerivesTheKey) {
    for (const file_case_t& c : FILES) {
        const std::string file = test_data(c.file);
        const opened_pfx_t pfx(file);
        session under(c.password, limits());
        const result<verified_mac> verified = verify_mac(under, pfx.mac, pfx.octet_string);
        ASSERT_TRUE(verified) << c.file << ": " << verified.message();
        EXPECT_EQ(verified->key, c.key) << c.file;
        EXPECT_EQ(verified->form, container_form::standard) << c.file;
        const mac_scheme outline = outline_mac(pfx.mac, limits());
        EXPECT_EQ(outline.digest.name, c.digest) << c.file;
        EXPECT_FALSE(outline.unsupported.has_value()) << c.file;
    }
}

TEST(VerifyMac, NoticesAWrongPasswordAndAlteredContent) {
    for (const file_case_t& c : FILES) {
        const std::string file = test_data(c.file);
        const opened_pfx_t pfx(file);
        session other("другой", limits()), under(c.password, limits());
        EXPECT_EQ(verify_mac(other, pfx.mac, pfx.octet_string).why(), cause::wrong_mac) << c.file;
        std::string altered(pfx.octet_string);
        altered.back() = static_cast<char>(altered.back() ^ 1);
        EXPECT_EQ(verify_mac(under, pfx.mac, altered).why(), cause::wrong_mac) << c.file;
        EXPECT_EQ(verify_mac(under, pfx.mac, "").why(), cause::wrong_mac) << c.file;
    }
}

TEST(VerifyMac, OpensTheExamplesOfTheStandards) {
    for (const char* const name : {"r50.1.112-example.p12", "rfc9548-kuznyechik-omac.p12"}) {
        const std::optional<std::string> file = standard_example(name);
        if (!file.has_value()) {
            GTEST_SKIP() << "DERKIT_TEST_CORPUS has no " << name;
        }
        const opened_pfx_t pfx(*file);
        session under("Пароль для PFX", limits());
        const result<verified_mac> verified = verify_mac(under, pfx.mac, pfx.octet_string);
        ASSERT_TRUE(verified) << name << ": " << verified.message();
        EXPECT_EQ(verified->key, mac_key::pbkdf2) << name;
    }
}

TEST(VerifyMac, RefusesWhatItDoesNotKnow) {
    const std::string file = test_data("2001.p12");
    const opened_pfx_t pfx(file);
    const std::string other = der_oid("1.2.3.4"), cut = from_hex("06022A86");
    session under("секрет-2001", limits());
    const auto check = [&](const pkcs12_mac_t& mac, cause why, const std::string& detail) {
        const result<verified_mac> verified = verify_mac(under, mac, pfx.octet_string);
        ASSERT_FALSE(verified);
        EXPECT_STREQ(name_of(verified.why()), name_of(why));
        EXPECT_EQ(verified.error().detail, detail);
        const mac_scheme outline = outline_mac(mac, under.cost());
        ASSERT_TRUE(outline.unsupported.has_value());
        EXPECT_EQ(outline.unsupported->why, why);
    };
    pkcs12_mac_t mac = pfx.mac;
    mac.digest_alg = blob_of(other);
    check(mac, cause::unsupported_mac, "1.2.3.4");
    mac.digest_alg = blob_of(cut);
    check(mac, cause::malformed_parameters, "MacData");
    mac.digest_alg = blob_t();
    check(mac, cause::malformed_parameters, "MacData");
    mac = pfx.mac;
    mac.digest.size = 31;
    check(mac, cause::malformed_parameters, "MacData");
    mac = pfx.mac;
    mac.salt = blob_t();
    check(mac, cause::malformed_parameters, "MacData");
    mac = pfx.mac;
    mac.iterations = 0;
    check(mac, cause::malformed_parameters, "MacData");
    mac.iterations = limits().max_iterations + 1;
    check(mac, cause::too_many_iterations, "10000001");
}

// Reads a MacData that was just written.
pkcs12_mac_t read_mac(const std::string& mac_data) {
    pkcs12_mac_t mac;
    const blob_t content = asn_cursor_t(mac_data).read(asn_tag_t::SEQUENCE);
    EXPECT_TRUE(asn_read_pkcs12_MacData(content.data, content.size, mac)) << to_hex(mac_data);
    return mac;
}

TEST(MakeMacData, IsVerifiedInBothForms) {
    const std::string content(300, 'c'), element = der(asn_tag_t::OCTET_STRING, {content});
    const struct {
        format to;
        const char* digest;
        mac_key key;
    } CASES[] = {{format::gost94, "1.2.643.2.2.9", mac_key::pbkdf2},
                 {format::native, "1.2.643.2.2.9", mac_key::pbkdf2},
                 {format::tc26, "1.2.643.7.1.1.2.3", mac_key::pbkdf2},
                 {format::rfc9548, "1.2.643.7.1.1.2.3", mac_key::pbkdf2},
                 {format::rfc9548_omac, "1.2.643.7.1.1.2.3", mac_key::pbkdf2},
                 {format::aes, "2.16.840.1.101.3.4.2.1", mac_key::pkcs12_kdf}};
    for (const auto& c : CASES) {
        for (const std::uint32_t iterations : {1U, 256U}) {
            write_options options;
            options.to = c.to;
            options.iterations = iterations;
            session under("пароль", limits());
            const bool native = c.to == format::native;
            const result<std::string> written = make_mac_data(under, options, native ? element : content);
            ASSERT_TRUE(written) << written.message();
            const pkcs12_mac_t mac = read_mac(*written);
            EXPECT_EQ(mac.iterations, iterations);
            EXPECT_EQ(mac.salt.size, 32U);
            EXPECT_EQ(outline_mac(mac, limits()).digest.oid, c.digest);
            const result<verified_mac> verified = verify_mac(under, mac, element);
            ASSERT_TRUE(verified) << c.digest << ": " << verified.message();
            EXPECT_EQ(verified->key, c.key);
            EXPECT_EQ(verified->form, native ? container_form::native : container_form::standard);
        }
    }
}

TEST(MakeMacData, TakesTheFormatsIterationsUnlessToldOtherwise) {
    write_options options;
    options.to = format::gost94;
    session under("пароль", limits());
    const result<std::string> written = make_mac_data(under, options, "content");
    ASSERT_TRUE(written);
    EXPECT_EQ(read_mac(*written).iterations, 2000U);
}

// X.690 11.5: a value that is the default is left out.
TEST(MakeMacData, LeavesOutOneIteration) {
    write_options options;
    options.to = format::gost94;
    options.iterations = 1;
    session under("пароль", limits());
    const result<std::string> written = make_mac_data(under, options, "content");
    ASSERT_TRUE(written);
    asn_cursor_t in(*written);
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    fields.skip(asn_tag_t::SEQUENCE);
    fields.skip(asn_tag_t::OCTET_STRING);
    EXPECT_TRUE(fields.ok() && fields.empty()) << to_hex(*written);
}

TEST(VerifyMac, TakesAnEmptyPasswordForNoneAndTheReverse) {
    write_options options;
    options.to = format::aes;
    options.iterations = 2;
    const std::string element = der(asn_tag_t::OCTET_STRING, {"content"});
    for (const std::optional<std::string_view> password :
         {std::optional<std::string_view>(), std::optional<std::string_view>("")}) {
        session writing(password, limits());
        const result<std::string> written = make_mac_data(writing, options, "content");
        ASSERT_TRUE(written);
        session empty("", limits()), none(std::nullopt, limits()), other("x", limits());
        EXPECT_TRUE(verify_mac(empty, read_mac(*written), element));
        EXPECT_TRUE(verify_mac(none, read_mac(*written), element));
        EXPECT_EQ(verify_mac(other, read_mac(*written), element).why(), cause::wrong_mac);
    }
}

} // namespace
