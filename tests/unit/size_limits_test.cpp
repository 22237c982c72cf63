// Sizes at which a length takes another octet, a counter wraps, or 32 bits end.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "derkit/derkit.h"
#include "support/expect.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/calls.h"
#include "testing/der.h"
#include "testing/failing_allocator.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"
#include "testing/views.h"
#include "util/string_room.h"

namespace {

// Where one more length octet is needed, or the last one becomes zero.
const sizes_t SIZES = {0, 1, 126, 127, 128, 129, 254, 255, 256, 257, 65533, 65534, 65535, 65536, 65537, 65792};
const sizes_t LARGE_SIZES = {0xFFFFFF, 0x1000000};

// Reading

// Octets with marked ends, so that a view that is off by one shows.
std::string marked_bytes(std::size_t size) {
    std::string bytes(size, 'x');
    if (size != 0) {
        bytes.front() = 'a';
        bytes.back() = 'z';
    }
    return bytes;
}

void expect_view(const std::string& expected, const blob_t& view) {
    EXPECT_TRUE(chars_of(view) == expected) << view.size << " octets";
}

TEST(readers, return_fields_of_every_size) {
    for (const std::size_t size : SIZES) {
        SCOPED_TRACE(size);
        const std::string field = marked_bytes(size);
        const der_t parameters = der_sequence({der_oid("1.2.643.2.2.19"), der_null()});
        const std::string key =
            encode(der_sequence({der_integer("00"), parameters, der_octet_string(der_octet_string(field))}));
        pkcs8_pki_gost_t key_out;
        EXPECT_TRUE(asn_read_pkcs8_pki_gost(key.data(), view_of(key).size, key_out));
        expect_view(field, key_out.private_key);

        pbes2_t pbes2;
        pbes2.salt = der_octet_string(field);
        const std::string encrypted = encode(encrypted_key(field, pbes2));
        pkcs8_encrypted_pki_gost_t encrypted_out;
        EXPECT_TRUE(asn_read_pkcs8_encrypted_pki_gost(encrypted.data(), view_of(encrypted).size, encrypted_out));
        expect_view(field, encrypted_out.encrypted_data);
        expect_view(field, encrypted_out.pbe.salt);

        const std::string signature = encode(der_sequence({der_element(0x02, field), der_element(0x02, field)}));
        asn_dsa_certsign_t signature_out;
        EXPECT_EQ(1, asn_read_dsa_certsign(view_of(signature).data, view_of(signature).size, signature_out));
        expect_view(field, signature_out.r);
        expect_view(field, signature_out.s);
    }
}

TEST(containers, return_bags_of_every_size) {
    for (const sizes_t& sizes : {SIZES, LARGE_SIZES}) {
        for (const std::size_t size : sizes) {
            SCOPED_TRACE(size);
            const std::string field = marked_bytes(size);
            const der_t attributes = der_set({friendly_name(field.substr(0, 70000))});
            const exact_bytes_t input(encode(pfx_t({data_entry({cert_bag(field, attributes)})}).whole()));
            scripted_crypto_t crypto;
            pkcs12_easy_t easy;
            EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
            ASSERT_EQ(1U, easy.plain_bags.size());
            expect_view(field, easy.plain_bags.front().value);
            EXPECT_TRUE(chars_of(easy.plain_bags.front().friendly_name) == field.substr(0, 70000));
        }
    }
}

void expect_printed(const std::string& value) {
    const der_t attribute = der_sequence({der_oid("2.5.4.3"), der_element(0x0C, value)});
    const exact_bytes_t der(encode(der_sequence({der_set({attribute})})));
    for (const PrintableDnOrder order : {PDN_ORDER_AS_ENCODED, PDN_ORDER_REVERSED}) {
        std::string text;
        EXPECT_TRUE(asn_dn_to_printable(der.data(), der.size(), text, order, OID_MAP_HANDLE_DEFAULT));
        EXPECT_TRUE(text == "CN=" + value) << value.size();
    }
}

TEST(names, print_values_of_every_size) {
    for (const sizes_t& sizes : {SIZES, LARGE_SIZES}) {
        for (const std::size_t size : sizes) {
            expect_printed(marked_bytes(size));
        }
    }
}

// Writing

// Sizes at which the lengths that writers encode change.
const sizes_t WRITTEN_SIZES = {0,     1,     126,   127,      128,       129,       254,      255,
                               256,   257,   65533, 65534,    65535,     65536,     65537,    65538,
                               65540, 65542, 65792, 0xFFFFFF, 0x1000000, 0x1000001, 0x1010101};

// An element as writers encode it: with a length that is minimal (X.690 10.1) below 65,536, and from there on has only
// the octets from the lowest up to the first zero octet, the lowest itself excepted.
std::string written(char tag, const std::string& content) {
    std::string octets;
    for (std::size_t rest = content.size(); rest != 0 && (octets.empty() || (rest & 0xFF) != 0); rest >>= 8) {
        octets.insert(octets.begin(), static_cast<char>(rest & 0xFF));
    }
    const std::string length =
        content.size() < 128 ? der_length(content.size()) : static_cast<char>(0x80 | octets.size()) + octets;
    return tag + length + content;
}

std::string written_key(const std::string& octets) {
    const std::string algorithm = encode(der_sequence(
        {der_oid("1.2.643.2.2.19"), der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1")})}));
    return written(0x30, from_hex("02 01 00") + algorithm + written(0x04, written(0x04, octets)));
}

std::string write_key(const std::string& octets) {
    pkcs8_pki_gost_t key;
    key.private_key = view_of(octets);
    std::string out;
    asn_write_pkcs8_pki_gost(key, out);
    return out;
}

void expect_same_start(const std::string& expected, const std::string& actual) {
    EXPECT_EQ(expected.size(), actual.size());
    EXPECT_TRUE(expected == actual) << "expected [" << to_hex(expected.substr(0, 60)) << "...] but got ["
                                    << to_hex(actual.substr(0, 60)) << "...]";
}

TEST(gost_key_writer, has_exact_lengths_below_65536_at_every_level) {
    // Every level passes 127 and 255, and the outermost one reaches 65,535.
    for (std::size_t size = 0; size < 600; ++size) {
        const std::string octets = marked_bytes(size);
        EXPECT_TRUE(same_bytes(written_key(octets), write_key(octets))) << size;
    }
    for (std::size_t size = 65480; size <= 65494; ++size) {
        const std::string octets = marked_bytes(size);
        expect_same_start(written_key(octets), write_key(octets));
        pkcs8_pki_gost_t back;
        const std::string whole = write_key(octets);
        EXPECT_TRUE(asn_read_pkcs8_pki_gost(whole.data(), view_of(whole).size, back)) << size;
        expect_view(octets, back.private_key);
    }
}

// 65,536 is written 81 00: the inner OCTET STRING, which then has 65,539 octets with its header, is short already, and
// so are the two elements around it.
TEST(gost_key_writer, shortens_the_lengths_of_a_key_of_65536_octets) {
    const std::string octets = marked_bytes(65536);
    const std::string actual = write_key(octets);
    EXPECT_EQ("30 81 27", to_hex(actual.substr(0, 3)));
    expect_same_start(written_key(octets), actual);
    pkcs8_pki_gost_t back;
    EXPECT_TRUE(asn_read_pkcs8_pki_gost(actual.data(), view_of(actual).size, back));
    EXPECT_EQ(0U, back.private_key.size) << "what reads back is a key of no octets";
}

// A SafeContents of exactly 65,536 octets in a container that is otherwise right.
TEST(container_writer, shortens_the_length_of_safe_contents_of_65536_octets) {
    const auto bag_of_size = [](std::size_t size) { return encode(key_bag(marked_bytes(size))); };
    std::size_t value_size = 65536 - (bag_of_size(65000).size() - 65000);
    ASSERT_EQ(65536U, bag_of_size(value_size).size());
    const std::string value = marked_bytes(value_size);

    pkcs12_easy_t easy;
    easy.plain_bags = {bag_of(0, value)};
    scripted_crypto_t crypto;
    std::string out;
    asn_write_pkcs12_easy(easy, &crypto, out);

    const std::string octets = written(0x04, written(0x30, bag_of_size(value_size)));
    const std::string entry = written(0x30, encode(der_oid(OID_DATA)) + written('\xA0', octets));
    const std::string authenticated = written(0x04, written(0x30, entry));
    const std::string info = written(0x30, encode(der_oid(OID_DATA)) + written('\xA0', authenticated));
    mac_data_t mac;
    mac.digest = der_octet_string(crypto.digest);
    mac.salt = der_octet_string(crypto.mac_salt);
    EXPECT_EQ("04 81 1A 30 81 17 30 81 14", to_hex(authenticated.substr(0, 9)));
    expect_same_start(written(0x30, from_hex("02 01 03") + info + encode(mac.whole())), out);
    EXPECT_EQ(authenticated, crypto.calls.at(0).data) << "the MAC is over what is written";

    const exact_bytes_t input(out);
    pkcs12_easy_t back;
    EXPECT_FALSE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, back));
    EXPECT_TRUE(all_kept(input, back));
}

// One octet less reads back, and so does 65,792 (01 01 00), whose only zero octet is the lowest.
TEST(container_writer, reads_back_around_sizes_that_do_not) {
    for (const std::size_t size : sizes_t{65000, 65400, 65800, 66000, 0x10FFFF - 200}) {
        const std::string value = marked_bytes(size);
        pkcs12_easy_t easy;
        easy.plain_bags = {bag_of(1, value)};
        scripted_crypto_t crypto;
        std::string out;
        asn_write_pkcs12_easy(easy, &crypto, out);
        const exact_bytes_t input(out);
        pkcs12_easy_t back;
        EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, back)) << size;
        ASSERT_EQ(1U, back.plain_bags.size()) << size;
        expect_view(value, back.plain_bags.front().value);
    }
}

void expect_end(const std::string& end, const std::string& actual) {
    EXPECT_TRUE(actual.ends_with(end)) << "[" << to_hex(end.substr(0, 10)) << "...], " << end.size();
}

TEST(writers, encode_octet_strings_of_every_size) {
    for (const std::size_t size : WRITTEN_SIZES) {
        const std::string octets = marked_bytes(size);
        pkcs8_encrypted_pki_gost_t key;
        key.encrypted_data = view_of(octets);
        std::string out;
        asn_write_pkcs8_encrypted_pki_gost(key, out);
        expect_end(written(0x04, octets), out);
        std::string digest = octets;
        asn_add_alg_to_digest(digest, PKI_ALG_SHA256);
        expect_end(written(0x04, octets), digest);
    }
}

// More than a builder holds

// Views of more than there is: refused before any octet is read.
TEST(writers, refuse_content_that_passes_32_bits_before_they_read_it) {
    const unsigned char* const nowhere = reinterpret_cast<const unsigned char*>(0x10);
    blob_t huge;
    huge.data = nowhere;
    for (const unsigned int size : {0xFFFFFFFFU, 0xFFFFFFFEU, 0xFFFFFFEAU}) {
        huge.size = size;
        std::string out = "held";
        pkcs8_pki_gost_t key;
        key.private_key = huge;
        EXPECT_THROW(asn_write_pkcs8_pki_gost(key, out), std::bad_alloc);
        for (blob_t pkcs5_pbe_gost_t::*const field : {&pkcs5_pbe_gost_t::salt, &pkcs5_pbe_gost_t::iv}) {
            pkcs8_encrypted_pki_gost_t encrypted;
            encrypted.pbe.*field = huge;
            EXPECT_THROW(asn_write_pkcs5_pbe_gost(encrypted.pbe, out), std::bad_alloc);
            EXPECT_THROW(asn_write_pkcs8_encrypted_pki_gost(encrypted, out), std::bad_alloc);
        }
        pkcs8_encrypted_pki_gost_t encrypted;
        encrypted.encrypted_data = huge;
        EXPECT_THROW(asn_write_pkcs8_encrypted_pki_gost(encrypted, out), std::bad_alloc);

        scripted_crypto_t crypto;
        crypto.make_mac_answer = answer_t::NO;
        for (blob_t pkcs12_mac_t::*const field : {&pkcs12_mac_t::digest, &pkcs12_mac_t::salt}) {
            pkcs12_easy_t easy;
            easy.mac.*field = huge;
            EXPECT_THROW(asn_write_pkcs12_easy(easy, &crypto, out), std::bad_alloc);
        }
        for (int field = 0; field < 3; ++field) {
            pkcs12_easy_t easy;
            pkcs12_bag_t bag;
            blob_t& view = field == 0 ? bag.value : bag.local_key_id;
            view = huge;
            if (field == 2) {
                bag.local_key_id = blob_t();
                bag.friendly_name.size = size;
                bag.friendly_name.data = nowhere;
            }
            easy.plain_bags = {bag};
            EXPECT_THROW(asn_write_pkcs12_easy(easy, &crypto, out), std::bad_alloc);
            easy.plain_bags.front().type = 1;
            EXPECT_THROW(asn_write_pkcs12_easy(easy, &crypto, out), std::bad_alloc);
        }
        EXPECT_EQ("held", out);
    }
}

// Content that fits alone but not with what surrounds it. Allocations past a gigabyte fail here as the builder's own
// refusal does, so no octet is read.
TEST(writers, refuse_sums_that_pass_32_bits) {
    constexpr std::size_t GIGABYTE = 1U << 30;
    blob_t huge;
    huge.data = reinterpret_cast<const unsigned char*>(0x10);
    for (const unsigned int size : {0xFFFFFFE9U, 0xFFFFFFE8U, 0xFFFFFF00U, 0x80000000U, 0x7FFFFFFFU}) {
        huge.size = size;
        std::string out = "held";
        pkcs8_pki_gost_t key;
        key.private_key = huge;
        const watched_allocations_t watched(0, false, GIGABYTE);
        EXPECT_THROW(asn_write_pkcs8_pki_gost(key, out), std::bad_alloc);
        EXPECT_EQ("held", out);
    }
}

// Inputs of up to 2^32 - 1 octets

// Address space that takes no memory until it is touched. Not every machine has enough.
class sparse_input_t {
  public:
    explicit sparse_input_t(std::size_t size) : size_(size) {
        void* const mapped =
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        data_ = mapped == MAP_FAILED ? nullptr : static_cast<unsigned char*>(mapped);
    }
    ~sparse_input_t() {
        if (data_ != nullptr) {
            munmap(data_, size_);
        }
    }
    sparse_input_t(const sparse_input_t&) = delete;
    sparse_input_t& operator=(const sparse_input_t&) = delete;

    bool is_there() const { return data_ != nullptr; }
    unsigned char* data() const { return data_; }
    unsigned int size() const { return static_cast<unsigned int>(size_); }

    // Copies bytes to the start and returns the number of octets after them.
    unsigned int put(std::string_view bytes) const {
        std::memcpy(data_, bytes.data(), bytes.size());
        return static_cast<unsigned int>(size_ - bytes.size());
    }

  private:
    std::size_t size_;
    unsigned char* data_;
};

// Octets, or the identifier of an element whose content runs to the end of the input.
struct part_t {
    part_t(int identifier) : tag(identifier) {}
    part_t(std::string bytes) : octets(std::move(bytes)) {}

    int tag = -1;
    std::string octets;
};

// The start of an input of `size` octets.
std::string open_ended(const std::vector<part_t>& parts, unsigned int size) {
    constexpr unsigned int HEADER_SIZE = 6;
    std::string bytes;
    for (const part_t& part : parts) {
        const unsigned int rest = size - static_cast<unsigned int>(bytes.size()) - HEADER_SIZE;
        bytes += part.tag < 0 ? part.octets : static_cast<char>(part.tag) + long_length(rest);
    }
    return bytes;
}

class sparse_input : public testing::TestWithParam<unsigned int> {
  protected:
    const sparse_input_t input{GetParam()};

    void SetUp() override {
        if (!input.is_there()) {
            GTEST_SKIP() << "this process has no room for " << GetParam() << " octets";
        }
    }
};

TEST_P(sparse_input, is_read_to_its_end) {
    const unsigned int size = input.size();

    unsigned int length = 0;
    input.put(open_ended({0x04}, size));
    EXPECT_EQ(input.data() + 6, asn1_read_tag(asn_tag_t::OCTET_STRING, input.data(), size, &length));
    EXPECT_EQ(size - 6, length);
    EXPECT_EQ(nullptr, asn1_read_tag(asn_tag_t::OCTET_STRING, input.data(), size - 1, &length));

    const std::string algorithm = encode(der_sequence({der_oid("1.2.643.2.2.19"), der_null()}));
    unsigned int rest = input.put(open_ended({0x30, from_hex("02 01 00") + algorithm, 0x04, 0x04}, size));
    pkcs8_pki_gost_t key;
    EXPECT_TRUE(asn_read_pkcs8_pki_gost(input.data(), size, key));
    EXPECT_EQ(rest, key.private_key.size);
    EXPECT_EQ(input.data() + size, key.private_key.data + key.private_key.size);

    rest = input.put(open_ended({0x30, encode(pbes2_t().whole()), 0x04}, size));
    pkcs8_encrypted_pki_gost_t encrypted;
    EXPECT_TRUE(asn_read_pkcs8_encrypted_pki_gost(input.data(), size, encrypted));
    EXPECT_EQ(rest, encrypted.encrypted_data.size);

    rest = input.put(open_ended({encode(mac_data_t().whole().members[0]), 0x04}, size));
    pkcs12_mac_t mac;
    EXPECT_TRUE(asn_read_pkcs12_MacData(input.data(), size, mac));
    EXPECT_EQ(rest, mac.salt.size);

    rest = input.put(open_ended({0x30, from_hex("02 01 05"), 0x02}, size));
    asn_dsa_certsign_t signature;
    EXPECT_EQ(1, asn_read_dsa_certsign(input.data(), size, signature));
    EXPECT_EQ(rest, signature.s.size);

    rest = input.put(open_ended({0x30, encode(der_oid("1.2.840.113549.1.1.11"))}, size));
    asn_ike_signalg_t ike;
    EXPECT_EQ(1, asn_read_ike_signalg(input.data(), size, ike));
    EXPECT_EQ(rest, ike.parameters.size);
    EXPECT_EQ(PKI_ALG_SHA256_RSA, ike.to_pki_alg());
}

// A size is a `long` there, which has no more than 31 bits on one of the targets.
TEST_P(sparse_input, holds_a_public_key) {
    const std::string algorithm = encode(der_sequence({der_oid("1.2.840.113549.1.1.1"), der_null()}));
    const unsigned int rest = input.put(open_ended({0x30, algorithm, 0x03}, input.size()));
    asn_pubkey_t key;
    const long size = static_cast<long>(input.size());
    if (size < 0) {
        EXPECT_EQ(0, asn_read_pubkey(input.data(), size, key));
        return;
    }
    ASSERT_EQ(1, asn_read_pubkey(input.data(), size, key));
    EXPECT_EQ(rest - 1, key.key.size);

    input.put(open_ended({0x30, algorithm, 0x03, from_hex("00"), 0x30, from_hex("02 02 00 05"), 0x02}, input.size()));
    ASSERT_EQ(1, asn_read_pubkey(input.data(), size, key));
    EXPECT_EQ(input.data() + input.size(), key.key.data + key.key.size);
    asn_rsa_pubkey_t rsa;
    ASSERT_EQ(1, asn_read_rsa_pubkey(key, rsa));
    EXPECT_TRUE(same_bytes("\x05", chars_of(rsa.modulus)));
    EXPECT_EQ(input.data() + input.size(), rsa.exponent.data + rsa.exponent.size);
}

TEST_P(sparse_input, holds_a_container_with_a_key_as_large) {
    const std::string mac = encode(mac_data_t().whole());
    const unsigned int mac_size = static_cast<unsigned int>(mac.size());
    const unsigned int end = input.size() - mac_size;
    std::string front =
        open_ended({0x30, from_hex("02 01 03"), 0x30, encode(der_oid(OID_DATA)), 0xA0, 0x04, 0x30, 0x30,
                    encode(der_oid(OID_DATA)), 0xA0, 0x04, 0x30, 0x30, encode(der_oid(OID_KEY_BAG)), 0xA0},
                   end);
    front.replace(1, 5, long_length(input.size() - 6)); // the MAC is inside the outermost element alone
    const unsigned int value_size = input.put(front) - mac_size;
    std::memcpy(input.data() + end, mac.data(), mac.size());

    // Says yes without looking at the octets.
    scripted_crypto_t crypto;
    crypto.records = false;
    std::size_t authenticated_size = 0;
    crypto.on_verify_mac = [&](const pkcs12_mac_t&, std::string_view data) {
        authenticated_size = data.size();
        return true;
    };
    pkcs12_easy_t easy;
    EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
    ASSERT_EQ(1U, easy.plain_bags.size());
    EXPECT_EQ(value_size, easy.plain_bags.front().value.size);
    EXPECT_EQ(input.data() + front.size(), easy.plain_bags.front().value.data);
    EXPECT_EQ("digest", chars_of(easy.mac.digest));
    EXPECT_LT(value_size, authenticated_size);
}

TEST_P(sparse_input, holds_a_container) {
    // A small container followed by all that room, and one that claims to fill the room, with its MAC outside.
    const std::string small = encode(pfx_t({data_entry({cert_bag("c")})}).whole());
    input.put(small);
    scripted_crypto_t crypto;
    pkcs12_easy_t easy;
    EXPECT_TRUE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
    EXPECT_EQ("cert[63]", bags_text(easy.plain_bags));

    input.put(open_ended({0x30, from_hex("02 01 03"), 0x30, encode(der_oid(OID_DATA)), 0xA0}, input.size()));
    EXPECT_FALSE(asn_read_pkcs12_easy(input.data(), input.size(), &crypto, easy));
    EXPECT_EQ("verify_mac", crypto.operations()) << "of the small one alone";
}

// A size alone costs neither time nor memory: no string exceeds 16 megabytes.
TEST_P(sparse_input, costs_no_memory_by_its_size) {
    const unsigned int size = input.size();
    const std::string type = encode(der_oid("2.5.4.3"));
    input.put(open_ended({0x30, 0x31, 0x30, type, 0x04}, size));
    std::string out = "held";
    for (const PrintableDnOrder order : {PDN_ORDER_AS_ENCODED, PDN_ORDER_REVERSED}) {
        const watched_allocations_t watched(0, false, 16 << 20);
        EXPECT_THROW(asn_dn_to_printable(input.data(), size, out, order, oid_map_handle_t()), std::bad_alloc);
    }
    {
        const watched_allocations_t watched(0, false, 16 << 20);
        EXPECT_THROW(TO_HEX_STD_STRING(input.data(), size, out, '\0'), std::bad_alloc);
        EXPECT_THROW(TO_HEX_STD_STRING(input.data(), size, out, ':'), std::bad_alloc);
        EXPECT_FALSE(ldap_t61s_to_utf8s(reinterpret_cast<const char*>(input.data()) + 100, size - 100, out));
    }
    EXPECT_EQ("held", out);
    EXPECT_EQ(PKI_ALG_UNKNOWN, PKI_OID_TO_ALG(input.data(), size));
    unsigned char oid[512];
    const char* const text = reinterpret_cast<const char*>(input.data());
    EXPECT_EQ(0U, oid_str_to_asn_(text, text + size, oid));
    unsigned int value = 7;
    std::memcpy(input.data(), "\x01\x02\x03\x04\x05\x06", 6);
    EXPECT_FALSE(asn_read_INTEGER(input.data(), size, value, 0xFFFFFFFF));
    EXPECT_EQ(7U, value);
}

INSTANTIATE_TEST_SUITE_P(of_octets, sparse_input, testing::Values(0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU),
                         testing::PrintToStringParamName());

// The smallest inputs, for every reader and every octet.

TEST(smallest_input, of_no_octets_may_be_anywhere) {
    for (const call_t& call : all_calls()) {
        if (call.input == input_t::BYTES) {
            const unsigned char* const nowhere = reinterpret_cast<const unsigned char*>(0x10);
            const exact_bytes_t empty("");
            EXPECT_EQ(answer_to(call, empty.data(), 0), answer_to(call, nowhere, 0)) << call.name;
        }
    }
}

TEST(smallest_input, of_one_octet_is_no_record) {
    for (const call_t& call : record_calls()) {
        for (unsigned int octet = 0; octet < 256; ++octet) {
            const exact_bytes_t input(std::string(1, static_cast<char>(octet)));
            const call_answer_t answer = answer_to(call, input.data(), input.size());
            EXPECT_FALSE(answer.accepted) << call.name << " " << octet;
            EXPECT_TRUE(answer.views_inside) << call.name << " " << octet;
        }
    }
}

// A sum that no string can reach; where pointers have 64 bits no call has enough memory to get there.
TEST(size_limits, text_that_no_string_can_hold_counts_as_memory_that_cannot_be_had) {
    std::string out = "kept";
    const unsigned long long largest = out.max_size() - out.size();
    EXPECT_NO_THROW(require_room(out, largest));
    EXPECT_THROW(require_room(out, largest + 1), std::bad_alloc);
    EXPECT_THROW(append_room(out, largest + 1), std::bad_alloc);
    EXPECT_EQ(out, "kept");
}

} // namespace
