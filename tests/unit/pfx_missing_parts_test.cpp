// Containers without a part, or with something else in its place: every OPTIONAL and every [0].
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/expect.h"
#include "testing/bags.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/guard_page.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"

namespace {

// A container with every part that may be left out.
struct full_container_t {
    der_t cert_value = der_context_0({der_octet_string("c")});
    der_t cert_bag_value;
    der_t cert_attributes = der_set({friendly_name("n1"), local_key_id("id")});
    der_t shrouded_bag_value = der_context_0({encrypted_key(toy_cipher("k"))});
    der_t key_bag_value = der_context_0({der_element(-1, "e")});
    der_t plain_content;
    der_t encrypted_content = der_element(0x80, toy_cipher(entry_plaintext({cert_bag("d")})));
    der_t key_length = der_integer("20");
    der_t prf_parameters = der_null();
    der_t prf;
    der_t unprotected_attributes = der_element(0xA1, der_members_t{attribute("1.2.3", der_null())});
    der_t encrypted_entry_content;
    der_t authenticated_content;
    der_t mac_algorithm_parameters = der_null();
    der_t mac_iterations = der_integer("07 D0");
    der_t mac_data;
};

// A part is spoiled when it is put in its place; what surrounds it is built afterwards.
using part_t = der_t full_container_t::*;

class spoiler_t {
  public:
    spoiler_t(part_t part, der_t (*spoil)(const der_t& part, int tag), int tag)
        : part_(part), spoil_(spoil), tag_(tag) {}

    std::string container() {
        fix(&full_container_t::cert_value);
        set(&full_container_t::cert_bag_value,
            der_context_0({der_sequence({der_oid(OID_X509_CERTIFICATE), c_.cert_value})}));
        fix(&full_container_t::cert_attributes);
        fix(&full_container_t::shrouded_bag_value);
        fix(&full_container_t::key_bag_value);
        const der_t bags = safe_contents({der_sequence({der_oid(OID_CERT_BAG), c_.cert_bag_value, c_.cert_attributes}),
                                          der_sequence({der_oid(OID_SHROUDED_KEY_BAG), c_.shrouded_bag_value}),
                                          der_sequence({der_oid(OID_KEY_BAG), c_.key_bag_value})});
        set(&full_container_t::plain_content, der_context_0({der_octet_string(bags)}));
        const der_t plain_entry = der_sequence({der_oid(OID_DATA), c_.plain_content});

        set(&full_container_t::authenticated_content,
            der_context_0({der_octet_string(der_sequence({plain_entry, encrypted_entry()}))}));
        const der_t auth_safe = der_sequence({der_oid(OID_DATA), c_.authenticated_content});
        set(&full_container_t::mac_data, mac_data());
        return encode(der_sequence({der_integer("03"), auth_safe, c_.mac_data}));
    }

  private:
    const part_t part_;
    der_t (*const spoil_)(const der_t& part, int tag);
    const int tag_;
    full_container_t c_;

    void fix(part_t part) {
        if (part == part_) {
            c_.*part = spoil_(c_.*part, tag_);
        }
    }
    void set(part_t part, const der_t& value) {
        c_.*part = value;
        fix(part);
    }

    der_t encrypted_entry() {
        fix(&full_container_t::encrypted_content);
        fix(&full_container_t::key_length);
        fix(&full_container_t::prf_parameters);
        set(&full_container_t::prf, der_sequence({der_oid(OID_HMAC_GOST), c_.prf_parameters}));
        fix(&full_container_t::unprotected_attributes);
        const der_t derivation = der_sequence(
            {der_oid(OID_PBKDF2), der_sequence({der_octet_string("salt"), der_integer("05"), c_.key_length, c_.prf})});
        const der_t cipher = der_sequence(
            {der_oid(OID_GOST_28147), der_sequence({der_octet_string("iv"), der_oid("1.2.643.2.2.31.1")})});
        encrypted_data_t data;
        data.algorithm = der_sequence({der_oid(OID_PBES2), der_sequence({derivation, cipher})});
        data.encrypted_content = c_.encrypted_content;
        data.last = c_.unprotected_attributes;
        set(&full_container_t::encrypted_entry_content, der_context_0({data.whole()}));
        return der_sequence({der_oid(OID_ENCRYPTED_DATA), c_.encrypted_entry_content});
    }

    der_t mac_data() {
        fix(&full_container_t::mac_algorithm_parameters);
        fix(&full_container_t::mac_iterations);
        mac_data_t mac;
        mac.algorithm = der_sequence({der_oid(OID_GOST_3411), c_.mac_algorithm_parameters});
        mac.iterations = c_.mac_iterations;
        return mac.whole();
    }
};

// The result of reading a container: the values of its bags, plain ones before the slash and those with a name in upper
// case, "_" for an empty value; then the iterations of its MAC. It starts with an exclamation mark when the container is
// refused.
std::string letters_of(const std::list<pkcs12_bag_t>& bags) {
    std::string letters;
    for (const pkcs12_bag_t& bag : bags) {
        const std::string value(chars_of(bag.value));
        const bool has_name = bag.friendly_name.size != 0;
        EXPECT_EQ(has_name, bag.local_key_id.size != 0);
        letters += value.empty() ? "_" : has_name ? std::string(1, static_cast<char>(value[0] - 'a' + 'A')) : value;
    }
    return letters;
}

std::string outcome_of(const std::string& container) {
    static const guarded_pages_t PAGES;
    scripted_crypto_t crypto;
    pkcs12_easy_t easy;
    const unsigned char* const input = PAGES.put_last(container);
    const bool accepted = asn_read_pkcs12_easy(input, static_cast<unsigned int>(container.size()), &crypto, easy);
    const std::string letters = letters_of(easy.plain_bags) + "/" + letters_of(easy.encrypted_bags);
    return (accepted ? "" : "!") + letters + " " + std::to_string(easy.mac.iterations);
}

der_t removed(const der_t&, int) {
    return der_raw("");
}
der_t emptied(const der_t& part, int) {
    return der_element(part.tag, "");
}
der_t replaced_by_null(const der_t&, int) {
    return der_null();
}
der_t retagged(const der_t& part, int tag) {
    der_t other = part;
    other.tag = tag;
    return other;
}

const std::string WHOLE = "Ce/kd 2000";

struct missing_part_case_t {
    const char* name;
    part_t part;
    std::string when_removed;
    std::string when_emptied;
    std::string when_null;
    std::string under_another_tag;
    int own_tag; // a universal one that the part has
};

class pfx_missing_parts : public testing::TestWithParam<missing_part_case_t> {
  protected:
    std::string outcome(der_t (*spoil)(const der_t& part, int tag), int tag = 0) const {
        return outcome_of(spoiler_t(GetParam().part, spoil, tag).container());
    }
};

TEST_P(pfx_missing_parts, have_these_outcomes) {
    const missing_part_case_t& c = GetParam();
    EXPECT_EQ(c.when_removed, outcome(removed));
    EXPECT_EQ(c.when_emptied, outcome(emptied));
    EXPECT_EQ(c.when_null, outcome(replaced_by_null));
}

// Primitive and constructed, with the same content.
TEST_P(pfx_missing_parts, have_these_outcomes_under_every_universal_tag) {
    const missing_part_case_t& c = GetParam();
    constexpr int NUM_UNIVERSAL_TAGS = 30;
    constexpr int CONSTRUCTED = 0x20;
    for (int number = 0; number <= NUM_UNIVERSAL_TAGS; ++number) {
        for (const int tag : {number, number | CONSTRUCTED}) {
            EXPECT_EQ(tag == c.own_tag ? WHOLE : c.under_another_tag, outcome(retagged, tag)) << "tag " << tag;
        }
    }
}

constexpr int NO_UNIVERSAL_TAG = -1;

const missing_part_case_t PARTS[] = {
    {"mac_data", &full_container_t::mac_data, "!/ 0", "!/ 0", "!/ 0", "!/ 0", 0x30},
    // Without a count there is one iteration; what replaces it does not matter.
    {"mac_iterations", &full_container_t::mac_iterations, "Ce/kd 1", "Ce/kd 1", "Ce/kd 1", "Ce/kd 1", 0x02},
    {"mac_algorithm_parameters", &full_container_t::mac_algorithm_parameters, WHOLE, WHOLE, WHOLE, WHOLE, 0x05},
    {"content_of_the_auth_safe", &full_container_t::authenticated_content, "!/ 0", "!/ 2000", "!/ 0", "!/ 0",
     NO_UNIVERSAL_TAG},
    {"content_of_a_data_entry", &full_container_t::plain_content, "!/ 2000", "!/ 2000", "!/ 2000", "!/ 2000",
     NO_UNIVERSAL_TAG},
    {"content_of_an_encrypted_entry", &full_container_t::encrypted_entry_content, "!Ce/k 2000", "!Ce/k 2000",
     "!Ce/k 2000", "!Ce/k 2000", NO_UNIVERSAL_TAG},
    {"encrypted_content", &full_container_t::encrypted_content, "!Ce/k 2000", "!Ce/k 2000", "!Ce/k 2000", "!Ce/k 2000",
     NO_UNIVERSAL_TAG},
    {"unprotected_attributes", &full_container_t::unprotected_attributes, WHOLE, WHOLE, WHOLE, WHOLE, NO_UNIVERSAL_TAG},
    // An entry that is not encrypted in our way is left out.
    {"key_length", &full_container_t::key_length, WHOLE, WHOLE, "Ce/k 2000", "Ce/k 2000", 0x02},
    {"prf", &full_container_t::prf, "Ce/k 2000", "Ce/k 2000", "Ce/k 2000", "Ce/k 2000", 0x30},
    {"prf_parameters", &full_container_t::prf_parameters, "Ce/k 2000", WHOLE, WHOLE, WHOLE, 0x05},
    {"value_of_a_certificate_bag", &full_container_t::cert_bag_value, "!/ 2000", "!/ 2000", "!/ 2000", "!/ 2000",
     NO_UNIVERSAL_TAG},
    {"value_of_a_certificate", &full_container_t::cert_value, "!/ 2000", "!/ 2000", "!/ 2000", "!/ 2000",
     NO_UNIVERSAL_TAG},
    // What is no SET is no list of attributes.
    {"attributes", &full_container_t::cert_attributes, "ce/kd 2000", "ce/kd 2000", "ce/kd 2000", "ce/kd 2000", 0x31},
    {"value_of_a_shrouded_key_bag", &full_container_t::shrouded_bag_value, "!C/ 2000", "Ce/d 2000", "!C/ 2000",
     "!C/ 2000", NO_UNIVERSAL_TAG},
    {"value_of_a_key_bag", &full_container_t::key_bag_value, "!C/k 2000", "C_/kd 2000", "!C/k 2000", "!C/k 2000",
     NO_UNIVERSAL_TAG},
};
INSTANTIATE_TEST_SUITE_P(, pfx_missing_parts, testing::ValuesIn(PARTS), case_name_t());

TEST(pfx_without_missing_parts, is_whole) {
    EXPECT_EQ(WHOLE, outcome_of(spoiler_t(nullptr, removed, 0).container()));
}

} // namespace
