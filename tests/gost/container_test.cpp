// Containers: what is written comes back, files of other programs, what each part says of itself.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "derkit/pkcs12_helper.h"
#include "gost/container_support.h"

namespace {

using namespace derkit::gost;

std::string label_of(const write_options& options) {
    return "format " + std::to_string(static_cast<int>(options.to)) + ", cipher " +
           std::to_string(static_cast<int>(options.cipher));
}

container_kind kind_of(format to) {
    switch (to) {
    case format::gost94:
    case format::native:
        return container_kind::gost94;
    case format::tc26:
        return container_kind::tc26;
    case format::rfc9548:
        return container_kind::ctr_acpkm;
    case format::rfc9548_omac:
        return container_kind::ctr_acpkm_omac;
    case format::aes:
        return container_kind::general;
    }
    return container_kind::unknown;
}

TEST(Container, ComesBackInEveryFormat) {
    for (const write_options& options : all_formats()) {
        const std::string label = label_of(options);
        const result<std::string> file = key_and_certificate().write(PASSWORD, options);
        ASSERT_TRUE(file) << label << file.message();
        const result<container> opened = container::open(*file, PASSWORD);
        ASSERT_TRUE(opened) << label << opened.message();
        EXPECT_EQ(opened->kind(), kind_of(options.to)) << label;
        EXPECT_EQ(opened->form() == container_form::native, options.to == format::native) << label;
        EXPECT_EQ(opened->mac().verdict, mac_verdict::good) << label;
        EXPECT_EQ(opened->mac().key, options.to == format::aes ? mac_key::pkcs12_kdf : mac_key::pbkdf2) << label;
        EXPECT_EQ(opened->mac().scheme->iterations, 3U) << label;
        std::multiset<std::string> values;
        for (const bag* const one : opened->bags()) {
            EXPECT_FALSE(one->refusal.has_value()) << label;
            values.emplace(one->value.view());
            if (one->type == bag_type::private_key) {
                EXPECT_EQ(one->friendly_name, "Ключ") << label;
                EXPECT_EQ(one->local_key_id, "\1\2") << label;
            } else {
                EXPECT_FALSE(one->friendly_name.has_value()) << label;
                EXPECT_FALSE(one->local_key_id.has_value()) << label;
            }
        }
        EXPECT_EQ(values, (std::multiset<std::string>{key_der(), certificate_der()})) << label;
    }
}

TEST(Container, OpensUnderItsPasswordOnly) {
    for (const write_options& options : all_formats()) {
        const result<std::string> file = key_and_certificate().write(PASSWORD, options);
        ASSERT_TRUE(file);
        EXPECT_EQ(container::open(*file, "another").why(), cause::wrong_mac) << label_of(options);
        EXPECT_EQ(container::open(*file, "").why(), cause::wrong_mac) << label_of(options);
        EXPECT_EQ(container::open(*file, std::nullopt).why(), cause::wrong_mac) << label_of(options);
    }
}

TEST(Container, EmptyPasswordAndNoneAreTheSame) {
    for (const write_options& options : all_formats()) {
        const result<std::string> file = key_and_certificate().write("", options);
        ASSERT_TRUE(file);
        EXPECT_TRUE(container::open(*file, "")) << label_of(options);
        EXPECT_TRUE(container::open(*file, std::nullopt)) << label_of(options);
    }
}

// With a wrong password, whoever asks for it gets what is in the clear, and a reason for everything else.
TEST(Container, HandsOutUnverifiedPartsOnRequest) {
    write_options options = options_of(format::tc26);
    options.encrypt_certificates = false;
    const result<std::string> file = key_and_certificate().write(PASSWORD, options);
    ASSERT_TRUE(file);
    const result<container> opened = container::open(*file, "another", unverified());
    ASSERT_TRUE(opened) << opened.message();
    EXPECT_EQ(opened->mac().verdict, mac_verdict::wrong);
    for (const bag* const one : opened->bags()) {
        if (one->type == bag_type::private_key) {
            ASSERT_TRUE(one->refusal.has_value());
            EXPECT_EQ(one->refusal->why, cause::wrong_password);
            EXPECT_TRUE(one->value.empty());
        } else {
            EXPECT_EQ(one->value.view(), certificate_der());
        }
    }
    EXPECT_EQ(opened->bags().size(), 2U);
}

TEST(Container, ListsItsOutsideWithoutPassword) {
    for (const write_options& options : all_formats()) {
        const result<std::string> file = key_and_certificate().write(PASSWORD, options);
        ASSERT_TRUE(file);
        const result<container> listed = container::inspect(*file);
        ASSERT_TRUE(listed) << label_of(options);
        EXPECT_EQ(listed->kind(), kind_of(options.to)) << label_of(options);
        EXPECT_EQ(listed->mac().verdict, mac_verdict::not_checked);
        EXPECT_FALSE(listed->mac().scheme->unsupported.has_value());
        std::vector<cause> causes;
        for (const entry& one : listed->entries()) {
            if (one.refusal.has_value()) {
                causes.push_back(one.refusal->why);
                ASSERT_TRUE(one.encryption.has_value()) << label_of(options);
                EXPECT_EQ(one.encryption->iterations, 3U) << label_of(options);
                EXPECT_NE(one.encryption->cipher.name, "") << label_of(options);
            }
        }
        for (const bag* const one : listed->bags()) {
            ASSERT_TRUE(one->refusal.has_value()) << label_of(options);
            causes.push_back(one->refusal->why);
            EXPECT_TRUE(one->value.empty()) << label_of(options);
        }
        const std::size_t num_parts = options.to == format::native ? 1 : 2;
        EXPECT_EQ(causes, std::vector<cause>(num_parts, cause::password_needed)) << label_of(options);
    }
}

// Files that openssl made with its GOST engine (tests/data/make.sh).
TEST(Container, OpensFilesOfOpenssl) {
    const struct {
        const char* file;
        const char* password;
        container_kind kind;
        mac_key key;
        std::size_t num_bags;
    } CASES[] = {
        {"2001.p12", "секрет-2001", container_kind::gost94, mac_key::pbkdf2, 2},
        {"2012-256.p12", "секрет-2012-256", container_kind::gost94, mac_key::pbkdf2, 2},
        {"2012-512.p12", "секрет-2012-512", container_kind::gost94, mac_key::pbkdf2, 2},
        {"chain.p12", "секрет", container_kind::gost94, mac_key::pbkdf2, 4},
        {"mac-by-pkcs12-kdf.p12", "секрет", container_kind::gost94_pkcs12_kdf, mac_key::pkcs12_kdf, 2},
        {"empty-password.p12", "", container_kind::gost94, mac_key::pbkdf2, 2},
        {"streebog.p12", "secret", container_kind::tc26, mac_key::pbkdf2, 2},
        {"mixed-sha256-mac.p12", "secret", container_kind::mixed, mac_key::pkcs12_kdf, 2},
        {"mixed-aes.p12", "secret", container_kind::mixed, mac_key::pbkdf2, 2},
    };
    for (const auto& c : CASES) {
        const result<container> opened = container::open(test_data(c.file), c.password);
        ASSERT_TRUE(opened) << c.file << ": " << opened.message();
        EXPECT_EQ(opened->kind(), c.kind) << c.file;
        EXPECT_EQ(opened->mac().key, c.key) << c.file;
        EXPECT_EQ(opened->bags().size(), c.num_bags) << c.file;
        for (const bag* const one : opened->bags()) {
            EXPECT_FALSE(one->refusal.has_value()) << c.file;
            EXPECT_NE(to_pem(*one).size(), 0U) << c.file;
        }
    }
    EXPECT_EQ(container::open(test_data("broken-mac.p12"), "секрет-2001").why(), cause::wrong_mac);
    EXPECT_EQ(container::open(test_data("broken-cut.p12"), "секрет-2001").why(), cause::malformed);
}

TEST(Container, WithoutMacNeedsTheWord) {
    const std::string file = test_data("no-mac.p12");
    EXPECT_EQ(container::open(file, "secret").why(), cause::no_mac);
    const result<container> opened = container::open(file, "secret", unverified());
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->kind(), container_kind::no_mac);
    EXPECT_EQ(opened->mac().verdict, mac_verdict::none);
    EXPECT_FALSE(opened->mac().scheme.has_value());
    EXPECT_EQ(opened->bags().size(), 2U);
}

// The examples of R 50.1.112-2016 and RFC 9548, from a folder of the caller's.
TEST(Container, OpensTheStandardsExamples) {
    const struct {
        const char* file;
        container_kind kind;
    } CASES[] = {{"r50.1.112-example.p12", container_kind::tc26},
                 {"rfc9548-kuznyechik-omac.p12", container_kind::ctr_acpkm_omac}};
    const char* const corpus = std::getenv("DERKIT_TEST_CORPUS");
    for (const auto& c : CASES) {
        const std::filesystem::path path =
            std::filesystem::path(corpus != nullptr ? corpus : "") / "gost-containers" / c.file;
        if (!std::filesystem::exists(path)) {
            GTEST_SKIP() << path;
        }
        std::ifstream in(path, std::ios::binary);
        const std::string file(std::istreambuf_iterator<char>(in), {});
        const result<container> opened = container::open(file, "Пароль для PFX");
        ASSERT_TRUE(opened) << c.file << ": " << opened.message();
        EXPECT_EQ(opened->kind(), c.kind) << c.file;
        std::optional<private_key> key;
        std::string certificate;
        for (const bag* const one : opened->bags()) {
            EXPECT_FALSE(one->refusal.has_value()) << c.file;
            if (one->type == bag_type::private_key) {
                key = private_key::read(one->value).value();
            } else if (one->type == bag_type::certificate) {
                certificate = one->value.view();
            }
        }
        ASSERT_TRUE(key.has_value()) << c.file;
        EXPECT_TRUE(key->belongs_to(certificate).value()) << c.file;
    }
}

TEST(Container, NativeFormIsReadByTheCoreLibrary) {
    const result<std::string> file = key_and_certificate().write(PASSWORD, options_of(format::native));
    ASSERT_TRUE(file);
    pbe_crypto crypto(PASSWORD);
    pkcs12_easy_t easy;
    ASSERT_TRUE(asn_read_pkcs12_easy(file->data(), static_cast<unsigned int>(file->size()), &crypto, easy));
    EXPECT_EQ(crypto.form(), container_form::native);
    ASSERT_EQ(easy.encrypted_bags.size(), 2U);
    const pkcs12_bag_t& key = easy.encrypted_bags.front();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(key.value.data), key.value.size), key_der());
    EXPECT_EQ(key.local_key_id.size, 2U);
}

TEST(Container, OpensWhatTheCoreLibraryWrites) {
    for (const container_form form : {container_form::standard, container_form::native}) {
        pbe_crypto crypto(PASSWORD, form);
        pkcs12_easy_t easy;
        pkcs12_bag_t key;
        const std::string der = key_der();
        key.value.data = reinterpret_cast<const unsigned char*>(der.data());
        key.value.size = static_cast<unsigned int>(der.size());
        easy.encrypted_bags.push_back(key);
        easy.plain_bags.push_back(key);
        std::string file;
        asn_write_pkcs12_easy(easy, &crypto, file);
        const result<container> opened = container::open(file, PASSWORD);
        ASSERT_TRUE(opened) << opened.message();
        EXPECT_EQ(opened->form(), form);
        ASSERT_EQ(opened->bags().size(), 2U);
        for (const bag* const one : opened->bags()) {
            EXPECT_EQ(one->value.view(), der);
        }
    }
}

TEST(Container, NativeFormHasNoLossyCounts) {
    for (const std::uint32_t iterations : {2048U, 65537U, 256U}) {
        write_options options = options_of(format::native);
        options.iterations = iterations;
        EXPECT_EQ(key_and_certificate().write(PASSWORD, options).why(), cause::invalid_argument) << iterations;
    }
    write_options options = options_of(format::native);
    options.iterations = 0; // the default
    const result<std::string> file = key_and_certificate().write(PASSWORD, options);
    ASSERT_TRUE(file);
    EXPECT_EQ(container::inspect(*file)->mac().scheme->iterations, 2000U);
}

TEST(Container, NewFormatsTakeManyIterations) {
    write_options options = options_of(format::tc26);
    options.iterations = 0;
    const result<std::string> file = key_and_certificate().write(PASSWORD, options);
    ASSERT_TRUE(file);
    const result<container> listed = container::inspect(*file);
    EXPECT_EQ(listed->mac().scheme->iterations, 100'001U);
    EXPECT_EQ(listed->entries().front().encryption->iterations, 100'001U);
}

// What one bag says of itself when it is read.
struct seen_bag {
    bag_type type;
    std::string id;
    std::string value_type;
    std::string value;
    cause refusal;
};

const der_t SECRET = der_sequence({der_oid("1.2.3"), der_context_0({der_octet_string("secret")})});

TEST(ContainerBags, AreTold) {
    const der_t sdsi = der_sequence({der_oid("1.2.840.113549.1.9.22.2"), der_context_0({der_element(0x16, "text")})});
    const der_t crl = der_sequence({der_oid("1.2.840.113549.1.9.23.1"), der_context_0({der_octet_string("crl")})});
    const der_t vendor =
        der_sequence({der_sequence({der_oid("1.2.840.113549.1.12.1.80"), der_null()}), der_octet_string("?")});
    const struct {
        const char* name;
        der_t bag;
        seen_bag opened;
        cause inspected;
    } CASES[] = {
        {"certificate",
         cert_bag("certificate"),
         {bag_type::certificate, "certBag", "x509Certificate", "certificate", cause::none},
         cause::none},
        {"key",
         safe_bag("1.2.840.113549.1.12.10.1.1", der_sequence({der_integer("00")})),
         {bag_type::private_key, "keyBag", "", encode(der_sequence({der_integer("00")})), cause::none},
         cause::unverified},
        {"another certificate",
         safe_bag("1.2.840.113549.1.12.10.1.3", sdsi),
         {bag_type::other, "certBag", "sdsiCertificate", encode(sdsi), cause::none},
         cause::none},
        {"CRL",
         safe_bag("1.2.840.113549.1.12.10.1.4", crl),
         {bag_type::other, "crlBag", "x509CRL", encode(crl), cause::none},
         cause::none},
        {"secret",
         safe_bag("1.2.840.113549.1.12.10.1.5", SECRET),
         {bag_type::other, "secretBag", "", encode(SECRET), cause::none},
         cause::unverified},
        {"unknown",
         safe_bag("1.2.3.4", der_null()),
         {bag_type::other, "", "", from_hex("05 00"), cause::none},
         cause::unverified},
        {"shrouded by a vendor",
         safe_bag("1.2.840.113549.1.12.10.1.2", vendor),
         {bag_type::private_key, "pkcs8ShroudedKeyBag", "", "", cause::vendor_scheme},
         cause::vendor_scheme},
        {"malformed shrouded key",
         safe_bag("1.2.840.113549.1.12.10.1.2", der_null()),
         {bag_type::private_key, "pkcs8ShroudedKeyBag", "", "", cause::malformed},
         cause::malformed},
        {"malformed certificate",
         safe_bag("1.2.840.113549.1.12.10.1.3", der_null()),
         {bag_type::other, "certBag", "", "", cause::malformed},
         cause::malformed},
        {"certificate in no OCTET STRING",
         safe_bag("1.2.840.113549.1.12.10.1.3",
                  der_sequence({der_oid("1.2.840.113549.1.9.22.1"), der_context_0({der_null()})})),
         {bag_type::certificate, "certBag", "x509Certificate", "", cause::malformed},
         cause::malformed},
    };
    for (const auto& c : CASES) {
        const std::string file = pfx_of_bags({c.bag});
        const result<container> opened = container::open(file, PASSWORD, unverified());
        const result<container> listed = container::inspect(file);
        ASSERT_TRUE(opened && listed) << c.name;
        ASSERT_EQ(opened->bags().size(), 1U) << c.name;
        const bag& one = *opened->bags()[0];
        EXPECT_EQ(one.type, c.opened.type) << c.name;
        EXPECT_EQ(one.id.name, c.opened.id) << c.name;
        EXPECT_EQ(one.value_type.name, c.opened.value_type) << c.name;
        EXPECT_EQ(to_hex(one.value.view()), to_hex(c.opened.value)) << c.name;
        EXPECT_EQ(one.refusal.value_or(failure()).why, c.opened.refusal) << c.name;
        const bag& outside = *listed->bags()[0];
        EXPECT_EQ(outside.refusal.value_or(failure()).why, c.inspected) << c.name;
        EXPECT_EQ(outside.value.empty(), c.inspected != cause::none) << c.name;
    }
}

TEST(ContainerBags, HaveAttributes) {
    const der_t name = attribute_of("1.2.840.113549.1.9.20", {der_element(0x1E, from_hex("04 18 00 41"))});
    const der_t surrogate = attribute_of("1.2.840.113549.1.9.20", {der_element(0x1E, from_hex("D8 00"))});
    const der_t two_names = attribute_of("1.2.840.113549.1.9.20", {der_element(0x1E, "\0a"), der_element(0x1E, "\0b")});
    const der_t utf8_name = attribute_of("1.2.840.113549.1.9.20", {der_element(0x0C, "name")});
    const der_t id = attribute_of("1.2.840.113549.1.9.21", {der_octet_string("\1\2\3")});
    const der_t other = attribute_of("1.2.3", {der_null(), der_integer("05")});
    const der_t none = attribute_of("1.2.3", {});
    const struct {
        const char* label;
        der_members_t attributes;
        std::optional<std::string> name;
        std::optional<std::string> id;
        std::vector<std::size_t> other_values; // numbers of values of the others
    } CASES[] = {
        {"none", {}, std::nullopt, std::nullopt, {}},
        {"name and id", {name, id}, "ИA", "\1\2\3", {}},
        {"others keep their order", {other, id, none}, std::nullopt, "\1\2\3", {2, 0}},
        {"a second name", {name, name}, "ИA", std::nullopt, {1}},
        {"a second id", {id, id}, std::nullopt, "\1\2\3", {1}},
        {"half a surrogate pair", {surrogate}, std::nullopt, std::nullopt, {1}},
        {"two names in one", {two_names}, std::nullopt, std::nullopt, {2}},
        {"a name that is no BMPString", {utf8_name}, std::nullopt, std::nullopt, {1}},
    };
    for (const auto& c : CASES) {
        const result<container> opened =
            container::open(pfx_of_bags({cert_bag("x", c.attributes)}), PASSWORD, unverified());
        ASSERT_TRUE(opened) << c.label;
        ASSERT_EQ(opened->bags().size(), 1U) << c.label;
        const bag& one = *opened->bags()[0];
        EXPECT_EQ(one.friendly_name, c.name) << c.label;
        EXPECT_EQ(one.local_key_id, c.id) << c.label;
        std::vector<std::size_t> other_values;
        for (const attribute& extra : one.attributes) {
            other_values.push_back(extra.values.size());
        }
        EXPECT_EQ(other_values, c.other_values) << c.label;
    }
}

TEST(ContainerBags, OfAllTypesAreWrittenAndComeBack) {
    container made;
    bag inside;
    inside.type = bag_type::bags;
    inside.nested.push_back(key_bag(key_der()));
    inside.nested.push_back(certificate_bag(certificate_der()));
    made.add(std::move(inside));
    bag other;
    other.id.oid = "1.2.840.113549.1.12.10.1.5";
    other.value = secret(encode(SECRET));
    other.attributes.push_back({"1.2.3", {encode(der_null()), encode(der_integer("05"))}});
    made.add(std::move(other));
    for (const write_options& options : all_formats()) {
        const result<std::string> file = made.write(PASSWORD, options);
        if (options.to == format::native) {
            EXPECT_EQ(file.why(), cause::invalid_argument);
            continue;
        }
        ASSERT_TRUE(file) << label_of(options) << file.message();
        const result<container> opened = container::open(*file, PASSWORD);
        ASSERT_TRUE(opened) << label_of(options) << opened.message();
        const std::vector<const bag*> bags = opened->bags();
        ASSERT_EQ(bags.size(), 3U) << label_of(options);
        EXPECT_EQ(bags[0]->value.view(), key_der()) << label_of(options);
        EXPECT_TRUE(bags[0]->encryption.has_value()) << label_of(options);
        EXPECT_EQ(bags[1]->value.view(), certificate_der()) << label_of(options);
        EXPECT_EQ(bags[2]->value.view(), encode(SECRET)) << label_of(options);
        ASSERT_EQ(bags[2]->attributes.size(), 1U) << label_of(options);
        EXPECT_EQ(to_hex(bags[2]->attributes[0].values[1]), "02 01 05") << label_of(options);
        const result<std::string> again = opened->write("new", options_of(format::tc26));
        ASSERT_TRUE(again) << label_of(options);
        EXPECT_EQ(container::open(*again, "new")->bags().size(), 3U) << label_of(options);
    }
}

TEST(ContainerWriter, RefusesWhatItCannotWrite) {
    bag no_value = key_bag("");
    bag no_key = key_bag("not a key");
    bag no_type;
    no_type.value = secret(encode(der_null()));
    bag no_element;
    no_element.id.oid = "1.2.3";
    no_element.value = secret(std::string_view("?"));
    bag not_opened = key_bag("");
    not_opened.refusal = failure{cause::vendor_scheme, "1.2.840.113549.1.12.1.80"};
    bag bad_name = certificate_bag("certificate");
    bad_name.friendly_name = "\xFF";
    bag nested;
    nested.type = bag_type::bags;
    nested.nested.push_back(no_key);
    bag bad_id;
    bad_id.id.oid = "1.2.x";
    bad_id.value = secret(encode(der_null()));
    bag bad_type = key_bag(key_der());
    bad_type.attributes.push_back({"not an OID", {encode(der_null())}});
    bag wrapping_type = key_bag(key_der());
    wrapping_type.attributes.push_back({"1.2.4294967297", {encode(der_null())}});
    bag cut_short = key_bag(key_der());
    cut_short.attributes.push_back({"1.2.3", {from_hex("04 05 01")}});
    bag deep;
    deep.type = bag_type::bags;
    for (unsigned int i = 0; i < limits().max_depth; ++i) {
        bag around;
        around.type = bag_type::bags;
        around.nested.push_back(std::move(deep));
        deep = std::move(around);
    }
    const struct {
        const char* name;
        const bag& added;
        cause why;
    } CASES[] = {
        {"a key without value", no_value, cause::invalid_argument},
        {"a key that is none", no_key, cause::invalid_argument},
        {"another bag without type", no_type, cause::invalid_argument},
        {"another bag that is no element", no_element, cause::invalid_argument},
        {"a bag that was not opened", not_opened, cause::vendor_scheme},
        {"a name that is not UTF-8", bad_name, cause::invalid_text},
        {"a bag of bags", nested, cause::invalid_argument},
        {"another bag whose type is no OID", bad_id, cause::invalid_argument},
        {"a key with an attribute whose type is no OID", bad_type, cause::invalid_argument},
        {"a key with an attribute whose arcs are too large", wrapping_type, cause::invalid_argument},
        {"a key with an attribute that is cut short", cut_short, cause::invalid_argument},
        {"bags nested more deeply than a reader allows", deep, cause::too_deep},
    };
    for (const auto& c : CASES) {
        container made;
        made.add(c.added);
        EXPECT_EQ(name_of(made.write(PASSWORD, options_of(format::tc26)).why()), std::string(name_of(c.why))) << c.name;
    }
    const result<std::string> file = key_and_certificate().write(PASSWORD, options_of(format::tc26));
    ASSERT_TRUE(file);
    EXPECT_EQ(container::inspect(*file)->write(PASSWORD, options_of(format::tc26)).why(), cause::password_needed);
}

// Also where nothing is to be encrypted.
TEST(ContainerWriter, RefusesOptionsAndPasswordsThatItCannotUse) {
    write_options format_99 = options_of(format::tc26), cipher_99 = options_of(format::rfc9548),
                  sections_99 = cipher_99;
    format_99.to = static_cast<format>(99);
    cipher_99.cipher = static_cast<block_cipher>(99);
    sections_99.sections = static_cast<section>(99);
    const struct {
        const char* password;
        write_options options;
        const char* message;
    } CASES[] = {
        {PASSWORD, format_99, "invalid argument: format"},
        {PASSWORD, cipher_99, "invalid argument: cipher"},
        {PASSWORD, sections_99, "invalid argument: sections"},
        {"\xCF\xC1", options_of(format::tc26), "the text is not UTF-8: password"},
        {"\xED\xA0\x80", options_of(format::aes), "the text is not UTF-8: password"}, // a surrogate
        {"\xC0\x80", options_of(format::native), "the text is not UTF-8: password"},  // an overlong zero
    };
    const private_key key = private_key::read(key_der()).value();
    for (const auto& c : CASES) {
        EXPECT_EQ(key_and_certificate().write(c.password, c.options).message(), c.message);
        EXPECT_EQ(container().write(c.password, c.options).message(), c.message);
        EXPECT_EQ(key.write_encrypted(c.password, c.options).message(), c.message);
    }
}

TEST(ContainerWriter, WritesNothingButTheFrame) {
    for (const write_options& options : all_formats()) {
        const result<std::string> file = container().write(PASSWORD, options);
        ASSERT_TRUE(file);
        const result<container> opened = container::open(*file, PASSWORD);
        ASSERT_TRUE(opened) << label_of(options);
        EXPECT_TRUE(opened->entries().empty());
    }
}

TEST(ContainerWriter, WritesLongContents) {
    const std::string long_certificate = encode(der_sequence({der_octet_string(std::string(300'000, 'x'))}));
    for (write_options options : all_formats()) {
        for (const section sections : {section::standard, section::tls}) {
            options.sections = sections;
            container made = key_and_certificate();
            made.add(certificate_bag(long_certificate));
            const result<std::string> file = made.write(PASSWORD, options);
            ASSERT_TRUE(file) << label_of(options);
            const result<container> opened = container::open(*file, PASSWORD);
            ASSERT_TRUE(opened) << label_of(options) << opened.message();
            ASSERT_EQ(opened->bags().size(), 3U) << label_of(options);
        }
    }
}

TEST(ContainerPem, IsOfKeysAndCertificates) {
    EXPECT_EQ(to_pem(key_bag(key_der())).view(), test_data("2012-256.key.pem"));
    EXPECT_EQ(to_pem(certificate_bag(certificate_der())).view(), test_data("2012-256.cert.pem"));
    EXPECT_TRUE(to_pem(key_bag("")).empty());
    bag other;
    other.value = secret(std::string_view("?"));
    EXPECT_TRUE(to_pem(other).empty());
}

TEST(ContainerNames, AreForPeople) {
    std::set<std::string> names;
    for (int i = 0; i <= static_cast<int>(container_kind::signed_instead); ++i) {
        EXPECT_TRUE(names.insert(name_of(static_cast<container_kind>(i))).second) << i;
    }
    EXPECT_EQ(name_of(static_cast<container_kind>(99)), std::string("unknown"));
}

TEST(ContainerObject, Moves) {
    container made = key_and_certificate();
    container moved = std::move(made);
    EXPECT_EQ(moved.bags().size(), 2U);
    container other;
    other = std::move(moved);
    EXPECT_EQ(other.bags().size(), 2U);
}

} // namespace
