// Hostile and damaged containers: what is refused and why, what it may cost, and what BER allows.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "gost/container_support.h"

namespace {

using namespace derkit::gost;

const der_t CERTIFICATE = cert_bag("certificate");

// The cause that opening and inspecting both fail with; of the first entry's refusal when they do not.
struct outcome {
    cause opened;
    cause entry;
};

std::string to_text(const outcome& o) {
    return std::string(name_of(o.opened)) + ", entry: " + name_of(o.entry);
}

outcome open_unverified(std::string_view file, const limits& cost = limits()) {
    open_options options = unverified();
    options.cost = cost;
    const result<container> opened = container::open(file, PASSWORD, options);
    if (!opened || opened->entries().empty()) {
        return {opened.why(), cause::none};
    }
    return {cause::none, opened->entries()[0].refusal.value_or(failure()).why};
}

TEST(MalformedContainer, IsRefusedWithAReason) {
    const der_t data = data_of(der_sequence({CERTIFICATE}));
    const std::string whole = pfx_of({data});
    const auto with_auth_safe = [](der_t auth_safe, der_members_t after = {}) {
        der_members_t members = {der_integer("03"), std::move(auth_safe)};
        members.insert(members.end(), after.begin(), after.end());
        return encode(der_sequence(members));
    };
    const auto with_bag = [](der_t bag) { return pfx_of_bags({std::move(bag)}); };
    const struct {
        const char* name;
        std::string file;
        outcome expected;
    } CASES[] = {
        {"whole", whole, {cause::none, cause::none}},
        {"octets after it", whole + "\n", {cause::none, cause::none}},
        {"nothing", "", {cause::malformed, cause::none}},
        {"text", "not a container", {cause::malformed, cause::none}},
        {"no SEQUENCE", "\x31" + whole.substr(1), {cause::malformed, cause::none}},
        {"no authSafe", encode(der_sequence({der_integer("03")})), {cause::malformed, cause::none}},
        {"two MacData",
         with_auth_safe(data_of(der_sequence({})), {der_sequence({}), der_sequence({})}),
         {cause::malformed, cause::none}},
        {"empty MacData",
         with_auth_safe(data_of(der_sequence({})), {der_sequence({})}),
         {cause::malformed, cause::none}},
        {"MacData of another type",
         with_auth_safe(data_of(der_sequence({})), {der_null()}),
         {cause::malformed, cause::none}},
        {"authSafe of another type",
         with_auth_safe(content_info_of("1.2.3", der_null())),
         {cause::unsupported_content, cause::none}},
        {"authSafe without content",
         with_auth_safe(der_sequence({der_oid("1.2.840.113549.1.7.1")})),
         {cause::malformed, cause::none}},
        {"authSafe without type", with_auth_safe(der_sequence({der_null()})), {cause::malformed, cause::none}},
        {"authSafe that is no OCTET STRING",
         with_auth_safe(content_info_of("1.2.840.113549.1.7.1", der_null())),
         {cause::malformed, cause::none}},
        {"authSafe with two OCTET STRINGs",
         with_auth_safe(der_sequence(
             {der_oid("1.2.840.113549.1.7.1"), der_context_0({der_octet_string("0"), der_octet_string("0")})})),
         {cause::malformed, cause::none}},
        {"AuthenticatedSafe that is no SEQUENCE", with_auth_safe(data_of(der_null())), {cause::malformed, cause::none}},
        {"AuthenticatedSafe of other elements", pfx_of({der_null()}), {cause::malformed, cause::none}},
        {"entry of another type",
         pfx_of({content_info_of("1.2.3", der_null())}),
         {cause::none, cause::unsupported_content}},
        {"signed entry",
         pfx_of({content_info_of("1.2.840.113549.1.7.2", der_null())}),
         {cause::none, cause::unsupported_content}},
        {"enveloped entry",
         pfx_of({content_info_of("1.2.840.113549.1.7.3", der_null())}),
         {cause::none, cause::recipient_needed}},
        {"data without OCTET STRING",
         pfx_of({content_info_of("1.2.840.113549.1.7.1", der_null())}),
         {cause::none, cause::malformed}},
        {"encrypted data without content",
         pfx_of({content_info_of("1.2.840.113549.1.7.6", der_sequence({der_integer("00")}))}),
         {cause::none, cause::malformed}},
        {"SafeContents that are no SEQUENCE", pfx_of({data_of(der_null())}), {cause::none, cause::malformed}},
        {"bag that is no SEQUENCE", with_bag(der_null()), {cause::none, cause::malformed}},
        {"bag without type", with_bag(der_sequence({der_null()})), {cause::none, cause::malformed}},
        {"bag without value", with_bag(der_sequence({der_oid("1.2.3")})), {cause::none, cause::malformed}},
        {"attributes of another type",
         with_bag(der_sequence({der_oid("1.2.3"), der_context_0({der_null()}), der_null()})),
         {cause::none, cause::malformed}},
        {"an element after the attributes",
         with_bag(der_sequence({der_oid("1.2.3"), der_context_0({der_null()}), der_set({}), der_null()})),
         {cause::none, cause::malformed}},
        {"attribute without values",
         with_bag(safe_bag("1.2.3", der_null(), {der_sequence({der_oid("1.2.840.113549.1.9.20")})})),
         {cause::none, cause::malformed}},
        {"attribute with an element after its values",
         with_bag(safe_bag("1.2.3", der_null(), {der_sequence({der_oid("1.2.3"), der_set({}), der_null()})})),
         {cause::none, cause::malformed}},
        {"attribute value that is cut short",
         with_bag(safe_bag("1.2.3", der_null(), {attribute_of("1.2.3", {der_raw("04 05 00")})})),
         {cause::none, cause::malformed}},
    };
    for (const auto& c : CASES) {
        EXPECT_EQ(to_text(open_unverified(c.file)), to_text(c.expected)) << c.name;
        const cause inspected = container::inspect(c.file).why();
        EXPECT_EQ(name_of(inspected), std::string(name_of(c.expected.opened))) << c.name;
    }
}

// A key inside encrypted data of other content, and of unknown encryption, is not looked for.
TEST(MalformedContainer, EncryptedEntriesSayWhy) {
    const auto entry_of = [](const char* content_type, der_t algorithm) {
        const der_t info = der_sequence({der_oid(content_type), std::move(algorithm), der_element(0x80, "12345678")});
        return content_info_of("1.2.840.113549.1.7.6", der_sequence({der_integer("00"), info}));
    };
    const der_t unknown = der_sequence({der_oid("1.2.3"), der_null()});
    const der_t vendor = der_sequence({der_oid("1.2.840.113549.1.12.1.80"), der_null()});
    const struct {
        der_t entry;
        cause why;
    } CASES[] = {
        {entry_of("1.2.840.113549.1.7.1", unknown), cause::unsupported_scheme},
        {entry_of("1.2.840.113549.1.7.1", vendor), cause::vendor_scheme},
        {entry_of("1.2.840.113549.1.7.2", unknown), cause::unsupported_content},
    };
    for (const auto& c : CASES) {
        EXPECT_EQ(to_text(open_unverified(pfx_of({c.entry}))), to_text({cause::none, c.why}));
    }
    EXPECT_EQ(container::inspect(pfx_of({CASES[1].entry}))->kind(), container_kind::vendor_export);
}

TEST(MalformedContainer, SignedOrForRecipientsIsListedAndNotOpened) {
    const der_t enveloped = content_info_of("1.2.840.113549.1.7.3", der_null());
    const auto signed_of = [](der_t entry) {
        const der_t info = der_sequence(
            {der_oid("1.2.840.113549.1.7.1"), der_context_0({der_octet_string(der_sequence({std::move(entry)}))})});
        return content_info_of("1.2.840.113549.1.7.2",
                               der_sequence({der_integer("01"), der_set({}), info, der_set({})}));
    };
    const der_t data = data_of(der_sequence({CERTIFICATE}));
    const auto with_auth_safe = [](der_t auth_safe) {
        return encode(der_sequence({der_integer("03"), std::move(auth_safe)}));
    };
    const struct {
        const char* name;
        std::string file;
        container_kind kind;
        cause refused;
        cause entry;
    } CASES[] = {
        {"signed", with_auth_safe(signed_of(data)), container_kind::signed_instead, cause::signed_instead, cause::none},
        {"signed and enveloped", with_auth_safe(signed_of(enveloped)), container_kind::for_recipient,
         cause::recipient_needed, cause::recipient_needed},
        {"enveloped", with_auth_safe(enveloped), container_kind::for_recipient, cause::recipient_needed,
         cause::recipient_needed},
    };
    for (const auto& c : CASES) {
        EXPECT_EQ(container::open(c.file, PASSWORD).why(), c.refused) << c.name;
        EXPECT_EQ(container::open(c.file, PASSWORD, unverified()).why(), c.refused) << c.name;
        const result<container> listed = container::inspect(c.file);
        ASSERT_TRUE(listed) << c.name;
        EXPECT_EQ(listed->kind(), c.kind) << c.name;
        ASSERT_EQ(listed->entries().size(), 1U) << c.name;
        EXPECT_EQ(listed->entries()[0].refusal.value_or(failure()).why, c.entry) << c.name;
    }
    EXPECT_EQ(container::inspect(with_auth_safe(content_info_of("1.2.840.113549.1.7.2", der_null()))).why(),
              cause::malformed);
    EXPECT_EQ(container::inspect(pfx_of({enveloped}))->kind(), container_kind::for_recipient);
}

TEST(MalformedContainer, UnsupportedMacSaysWhich) {
    const auto with_mac = [](const char* digest, std::size_t size, const char* iterations) {
        const der_t digest_info =
            der_sequence({der_sequence({der_oid(digest), der_null()}), der_octet_string(std::string(size, 'm'))});
        const der_t mac = der_sequence({digest_info, der_octet_string("saltsalt"), der_integer(iterations)});
        return encode(
            der_sequence({der_integer("03"), data_of(der_sequence({data_of(der_sequence({CERTIFICATE}))})), mac}));
    };
    const struct {
        const char* name;
        std::string file;
        cause why;
        mac_verdict verdict;
    } CASES[] = {
        {"wrong", with_mac("1.2.643.7.1.1.2.2", 32, "03"), cause::wrong_mac, mac_verdict::wrong},
        {"MD5", with_mac("1.2.840.113549.2.5", 16, "03"), cause::unsupported_mac, mac_verdict::unsupported},
        {"a short MAC", with_mac("1.2.643.7.1.1.2.2", 31, "03"), cause::malformed_parameters, mac_verdict::unsupported},
        {"no iterations", with_mac("1.2.643.7.1.1.2.2", 32, "00"), cause::malformed_parameters,
         mac_verdict::unsupported},
        {"too many iterations", with_mac("1.2.643.7.1.1.2.2", 32, "7F FF FF FF"), cause::too_many_iterations,
         mac_verdict::unsupported},
        {"iterations of more than 32 bits", with_mac("1.2.643.7.1.1.2.2", 32, "02 00 00 00 00"),
         cause::too_many_iterations, mac_verdict::unsupported},
    };
    for (const auto& c : CASES) {
        EXPECT_EQ(name_of(container::open(c.file, PASSWORD).why()), std::string(name_of(c.why))) << c.name;
        const result<container> opened = container::open(c.file, PASSWORD, unverified());
        ASSERT_TRUE(opened) << c.name;
        EXPECT_EQ(opened->mac().verdict, c.verdict) << c.name;
        EXPECT_EQ(opened->bags().size(), 1U) << c.name;
        const result<container> listed = container::inspect(c.file);
        ASSERT_TRUE(listed) << c.name;
        const bool is_unsupported = c.verdict == mac_verdict::unsupported;
        EXPECT_EQ(listed->mac().verdict, is_unsupported ? mac_verdict::unsupported : mac_verdict::not_checked)
            << c.name;
        EXPECT_EQ(listed->mac().scheme->unsupported.value_or(failure()).why, is_unsupported ? c.why : cause::none)
            << c.name;
    }
}

TEST(ContainerLimits, SizeBagsAndDepth) {
    const std::string three = pfx_of_bags({CERTIFICATE, bags_bag({CERTIFICATE})});
    const std::string deep = pfx_of_bags({bags_bag({bags_bag({})})});
    const std::string entries = pfx_of({data_of(der_sequence({})), data_of(der_sequence({}))});
    limits size, bags, depth, many_entries;
    size.max_size = three.size();
    bags.max_bags = 3;
    depth.max_depth = 2;
    many_entries.max_bags = 2;
    const auto both = [](std::string_view file, const limits& cost) {
        const cause opened = open_unverified(file, cost).opened;
        EXPECT_EQ(container::inspect(file, cost).why(), opened);
        return opened;
    };
    EXPECT_EQ(both(three, size), cause::none);
    EXPECT_EQ(both(three, bags), cause::none);
    EXPECT_EQ(both(deep, depth), cause::none);
    EXPECT_EQ(both(entries, many_entries), cause::none);
    --size.max_size;
    --bags.max_bags;
    --depth.max_depth;
    --many_entries.max_bags;
    EXPECT_EQ(both(three, size), cause::too_large);
    EXPECT_EQ(both(three, bags), cause::too_many_bags);
    EXPECT_EQ(both(deep, depth), cause::too_deep);
    EXPECT_EQ(both(entries, many_entries), cause::too_many_bags);
}

// Wherever the limit is noticed, the whole file is refused.
TEST(ContainerLimits, DepthHoldsAtEveryValue) {
    const auto nested = [](unsigned int depth) {
        der_t bags = bags_bag({});
        for (unsigned int i = 1; i < depth; ++i) {
            bags = bags_bag({bags});
        }
        return pfx_of_bags({bags});
    };
    const struct {
        unsigned int limit;
        unsigned int depth;
        cause expected;
    } CASES[] = {
        {0, 1, cause::too_deep},           {1, 1, cause::none},      {8, 8, cause::none},
        {8, 9, cause::too_deep},           {8, 30, cause::too_deep}, {20, 20, cause::none},
        {20, 21, cause::too_deep},         {64, 64, cause::none},    {64, 65, cause::too_deep},
        {64, 90, cause::too_deep},         {1000, 64, cause::none},  {1000, 65, cause::too_deep},
        {0xFFFFFFFF, 65, cause::too_deep},
    };
    for (const auto& c : CASES) {
        limits cost;
        cost.max_depth = c.limit;
        const std::string file = nested(c.depth);
        const std::string label = std::to_string(c.depth) + " deep, limit " + std::to_string(c.limit);
        EXPECT_EQ(to_text(open_unverified(file, cost)), to_text({c.expected, cause::none})) << label;
        EXPECT_EQ(name_of(container::inspect(file, cost).why()), std::string(name_of(c.expected))) << label;
    }
}

TEST(ContainerLimits, OtherElementsAreBoundedToo) {
    der_t value = der_null();
    for (int i = 0; i < 100; ++i) {
        value = der_sequence({value});
    }
    const std::string file = pfx_of_bags({cert_bag("x", {attribute_of("1.2.3", {value})})});
    EXPECT_EQ(to_text(open_unverified(file)), to_text({cause::too_deep, cause::none}));
    EXPECT_EQ(container::inspect(file).why(), cause::too_deep);
}

// In two bags, of which one is nested: three attributes, of which one is the name, and four values that are kept.
TEST(ContainerLimits, AttributesAndTheirValues) {
    const der_t name = attribute_of("1.2.840.113549.1.9.20", {der_element(0x1E, from_hex("00 41"))});
    const der_t three = attribute_of("1.2.3", {der_null(), der_null(), der_null()});
    const der_t one = attribute_of("1.2.3", {der_null()});
    const std::string file = pfx_of_bags({cert_bag("x", {name, three}), bags_bag({cert_bag("x", {one})})});
    limits cost;
    cost.max_attributes = 7;
    EXPECT_EQ(to_text(open_unverified(file, cost)), to_text({cause::none, cause::none}));
    EXPECT_TRUE(container::inspect(file, cost));
    --cost.max_attributes;
    EXPECT_EQ(to_text(open_unverified(file, cost)), to_text({cause::too_many_attributes, cause::none}));
    EXPECT_EQ(container::inspect(file, cost).why(), cause::too_many_attributes);

    const der_members_t many(limits().max_attributes, der_null());
    EXPECT_EQ(container::inspect(pfx_of_bags({cert_bag("x", {attribute_of("1.2.3", many)})})).why(),
              cause::too_many_attributes);
}

TEST(ContainerLimits, Iterations) {
    const result<std::string> file = key_and_certificate().write(PASSWORD, options_of(format::tc26));
    ASSERT_TRUE(file);
    open_options options;
    options.cost.max_iterations = 3;
    EXPECT_TRUE(container::open(*file, PASSWORD, options));
    options.cost.max_iterations = 2;
    EXPECT_EQ(container::open(*file, PASSWORD, options).why(), cause::too_many_iterations);
    const result<container> listed = container::inspect(*file, options.cost);
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->entries()[0].refusal->why, cause::too_many_iterations);
    EXPECT_EQ(listed->mac().scheme->unsupported->why, cause::too_many_iterations);
    // 3 iterations: two blocks for the MAC, one each for certificate and key.
    options = open_options();
    options.cost.max_total_iterations = 12;
    EXPECT_FALSE(container::open(*file, PASSWORD, options)->bags()[1]->refusal.has_value());
    options.cost.max_total_iterations = 11;
    EXPECT_EQ(container::open(*file, PASSWORD, options)->bags()[1]->refusal->why, cause::budget_exhausted);
    options.cost.max_total_iterations = 6;
    EXPECT_EQ(container::open(*file, "another", options).why(), cause::wrong_mac);
    options.cost.max_total_iterations = 5;
    EXPECT_EQ(container::open(*file, PASSWORD, options).why(), cause::budget_exhausted);
}

// Every prefix on a heap block of its exact size.
TEST(MalformedContainer, PrefixesAreRefused) {
    const result<std::string> whole = key_and_certificate().write(PASSWORD, options_of(format::rfc9548_omac));
    ASSERT_TRUE(whole);
    for (std::size_t size = 0; size < whole->size(); ++size) {
        const auto block = std::make_unique<char[]>(size);
        std::copy_n(whole->data(), size, block.get());
        EXPECT_EQ(container::open({block.get(), size}, PASSWORD).why(), cause::malformed) << size;
        EXPECT_EQ(container::inspect({block.get(), size}).why(), cause::malformed) << size;
    }
}

// Nothing comes out of a container in which one octet was changed, unless the change does not matter: only versions, and
// what says nothing but how to derive the key of the MAC, are not covered by it.
TEST(MalformedContainer, SpoiltOctetsAreNoticed) {
    for (const write_options& options : {options_of(format::tc26), options_of(format::aes)}) {
        write_options cheap = options;
        cheap.iterations = 1;
        const result<std::string> whole = key_and_certificate().write(PASSWORD, cheap);
        ASSERT_TRUE(whole);
        open_options bounded;
        bounded.cost.max_iterations = 10;
        std::size_t num_opened = 0;
        for (std::size_t at = 0; at < whole->size(); ++at) {
            std::string spoilt = *whole;
            spoilt[at] = static_cast<char>(spoilt[at] ^ 0x41);
            const result<container> opened = container::open(spoilt, PASSWORD, bounded);
            num_opened += opened.ok() ? 1 : 0;
            EXPECT_TRUE(!opened || opened->bags().size() == 2) << at;
        }
        // The version, and the parameters of the digest where there are any.
        EXPECT_LE(num_opened, 3U);
        EXPECT_GE(num_opened, 1U);
    }
}

// BER

std::string indefinite(const std::string& identifier, const std::string& content) {
    return from_hex(identifier) + from_hex("80") + content + from_hex("00 00");
}

std::string in_pieces(const std::string& octets) {
    const std::size_t half = octets.size() / 2;
    return indefinite("24", encode(der_octet_string(octets.substr(0, half))) +
                                indefinite("24", encode(der_octet_string(octets.substr(half)))));
}

TEST(BerContainer, IsReadLikeDer) {
    const std::string safe = encode(der_sequence({data_of(der_sequence({CERTIFICATE}))}));
    const std::string info =
        indefinite("30", encode(der_oid("1.2.840.113549.1.7.1")) + indefinite("A0", in_pieces(safe)));
    const std::string file = indefinite("30", encode(der_integer("03")) + info);
    const result<container> opened = container::open(file, PASSWORD, unverified());
    ASSERT_TRUE(opened) << opened.message();
    ASSERT_EQ(opened->bags().size(), 1U);
    EXPECT_EQ(opened->bags()[0]->value.view(), "certificate");
    for (std::size_t size = 0; size < file.size(); ++size) {
        EXPECT_EQ(container::inspect(file.substr(0, size)).why(), cause::malformed) << size;
    }
}

// The inner layers of what the library wrote, in BER: MAC and ciphertext are those of the joined pieces.
TEST(BerContainer, KeepsMacAndCiphertext) {
    const result<std::string> written = key_and_certificate().write(PASSWORD, options_of(format::tc26));
    ASSERT_TRUE(written);
    // PFX: version, ContentInfo { type, [0] { OCTET STRING } }, MacData
    const std::string_view file = *written;
    const std::size_t octets_at = file.find(encode(der_oid("1.2.840.113549.1.7.1"))) + 11 + 4;
    ASSERT_EQ(file[octets_at], '\4');
    const std::size_t size = static_cast<std::size_t>(static_cast<unsigned char>(file[octets_at + 2]) << 8 |
                                                      static_cast<unsigned char>(file[octets_at + 3]));
    const std::string safe(file.substr(octets_at + 4, size));
    const std::string mac(file.substr(octets_at + 4 + size));
    const std::string info =
        indefinite("30", encode(der_oid("1.2.840.113549.1.7.1")) + indefinite("A0", in_pieces(safe)));
    const result<container> opened =
        container::open(indefinite("30", encode(der_integer("03")) + info + mac), PASSWORD);
    ASSERT_TRUE(opened) << opened.message();
    EXPECT_EQ(opened->bags().size(), 2U);
}

TEST(BerContainer, IsBounded) {
    std::string deep;
    for (int i = 0; i < 40; ++i) {
        deep = indefinite("30", deep);
    }
    EXPECT_EQ(container::inspect(deep).why(), cause::too_deep);
    std::string many;
    for (int i = 0; i < 2'000'001; ++i) {
        many += std::string("\5\0", 2);
    }
    EXPECT_EQ(container::inspect(indefinite("30", many)).why(), cause::too_large);
    const std::string endless(100'000, '\x24');
    EXPECT_EQ(container::inspect(endless).why(), cause::malformed);
}

TEST(BerContainer, PiecesMustBeOctetStrings) {
    const std::string piece = indefinite("24", encode(der_integer("05")));
    const std::string info = indefinite("30", encode(der_oid("1.2.840.113549.1.7.1")) + indefinite("A0", piece));
    EXPECT_EQ(container::inspect(indefinite("30", encode(der_integer("03")) + info)).why(), cause::malformed);
    EXPECT_EQ(container::inspect(from_hex("04 80 00 00")).why(), cause::malformed);
    EXPECT_EQ(container::inspect(from_hex("1F")).why(), cause::malformed);
    EXPECT_EQ(container::inspect(from_hex("30 89 01 01 01 01 01 01 01 01 01")).why(), cause::malformed);
}

} // namespace
