// Every exported function that reads bytes or text of its caller, each behind one face, with inputs that it takes. What
// a function gave becomes a text in which views are offsets, so that answers from different places can be compared.
#ifndef DERKIT_TESTING_READERS_H
#define DERKIT_TESTING_READERS_H

#include <algorithm>
#include <cstring>
#include <list>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "derkit/derkit.h"
#include "testing/bytes.h"
#include "testing/der.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"
#include "testing/views.h"

struct read_answer_t {
    bool accepted = false;
    bool views_inside = true; // the input, or a plaintext that the container keeps
    std::string text;
};

inline bool operator==(const read_answer_t& a, const read_answer_t& b) {
    return a.accepted == b.accepted && a.views_inside == b.views_inside && a.text == b.text;
}

inline std::ostream& operator<<(std::ostream& out, const read_answer_t& answer) {
    return out << (answer.accepted ? "accepted" : "refused") << (answer.views_inside ? "" : ", a view lies outside")
               << answer.text;
}

// Notes what a reader of `size` octets from `data` on gave.
class answer_builder_t {
  public:
    answer_builder_t(const unsigned char* data, std::size_t size) : input_(as_chars(data, size)) {}

    void keep(const std::list<std::string>& buffers) { buffers_ = &buffers; }
    void accept(bool accepted) { answer_.accepted = accepted; }
    void number(const char* name, unsigned long long value) {
        answer_.text += std::string(" ") + name + "=" + std::to_string(value);
    }
    void bytes(const char* name, std::string_view value) {
        answer_.text += std::string(" ") + name + "=[" + to_hex(value) + "]";
    }

    // All that a view shows is read: where that is not the input's, a guard page may be next to it.
    template <typename VIEW> void view(const char* name, const VIEW& value) {
        answer_.text += std::string(" ") + name + "=";
        if (value.data == nullptr && value.size == 0) {
            answer_.text += "null";
            return;
        }
        if (lies_in(value, input_)) {
            const std::ptrdiff_t offset = reinterpret_cast<const char*>(value.data) - input_.data();
            answer_.text += std::to_string(offset) + "+" + std::to_string(value.size);
            touch(value.data, value.size);
        } else if (lies_in_a_buffer(value)) {
            answer_.text += "kept[" + to_hex(chars_of(value)) + "]";
        } else {
            answer_.text += "outside";
            answer_.views_inside = false;
        }
    }

    read_answer_t take() { return std::move(answer_); }

  private:
    std::string_view input_;
    const std::list<std::string>* buffers_ = nullptr;
    read_answer_t answer_;

    template <typename VIEW> bool lies_in_a_buffer(const VIEW& value) const {
        return buffers_ != nullptr && std::any_of(buffers_->begin(), buffers_->end(),
                                                  [&](const std::string& buffer) { return lies_in(value, buffer); });
    }

    static void touch(const unsigned char* data, std::size_t size) {
        const volatile unsigned char* const octets = data;
        for (std::size_t i = 0; i < size; ++i) {
            static_cast<void>(octets[i]);
        }
    }
};

// Readers of records: one encoding, taken apart into views

struct record_reader_t {
    const char* name;
    const char* function; // the exported one
    der_t sample;
    bool takes_content; // the content alone, without the outermost header
    read_answer_t (*read)(const unsigned char* data, unsigned int size);

    std::string input(const der_t& record) const { return takes_content ? encode_content(record) : encode(record); }
    std::string input() const { return input(sample); }
};

namespace readers {

inline der_t attribute_of(const char* type, const der_t& value) {
    return der_sequence({der_oid(type), value});
}

// An attribute of each kind of value, in five RDNs.
inline der_t name_sample() {
    const der_t bmp = der_element(0x1E, from_hex("04 1A 00 2C"));
    const der_t universal = der_element(0x1C, from_hex("00 01 F6 00 00 00 00 2B"));
    return der_sequence({der_set({attribute_of("2.5.4.6", der_element(0x13, "RU"))}),
                         der_set({attribute_of("2.5.4.3", der_element(0x0C, "a,b")), attribute_of("2.5.4.5", bmp)}),
                         der_set({attribute_of("2.5.4.10", universal)}),
                         der_set({attribute_of("1.2.643.100.1", der_element(0x12, "12 3")),
                                  attribute_of("2.5.4.11", der_element(0x14, "\xC2"
                                                                             "a+"))}),
                         der_set({attribute_of("1.2.840.113549.1.9.1", der_element(0x16, "a@b")),
                                  attribute_of("2.5.4.4", der_integer("01"))})});
}

inline der_t key_info_sample() {
    const der_t parameters = der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1")});
    return der_sequence({der_integer("00"), der_sequence({der_oid("1.2.643.2.2.19"), parameters}),
                         der_octet_string(der_octet_string(counting_bytes(32, 1)))});
}

inline der_t encrypted_entry(const der_members_t& bags) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext(bags)));
    return data.entry();
}

inline der_members_t bags_sample() {
    const der_t attributes = der_set({friendly_name(from_hex("04 1A 00 41")), local_key_id("id")});
    return {cert_bag("certificate", attributes), shrouded_key_bag(toy_cipher("shrouded key"), attributes),
            key_bag("key", attributes), safe_bag(OID_SECRET_BAG, der_null())};
}

inline der_t pfx_sample() {
    return pfx_t({data_entry(bags_sample()), encrypted_entry(bags_sample())}).whole();
}

inline der_t bit_string(const der_t& key) {
    return {0x03, std::string(1, '\0'), {key}, ""};
}

inline der_t rsa_sample() {
    return der_sequence({der_integer("00 C3 05 01 02"), der_integer("01 00 01")});
}

inline der_t rsa_key_sample() {
    return der_sequence({der_sequence({der_oid("1.2.840.113549.1.1.1"), der_null()}), bit_string(rsa_sample())});
}

inline der_t gost_key_sample() {
    const der_t parameters =
        der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1"), der_oid("1.2.643.2.2.31.1")});
    return der_sequence(
        {der_sequence({der_oid("1.2.643.2.2.19"), parameters}), bit_string(der_octet_string(counting_bytes(64, 1)))});
}

inline der_t pss_sample() {
    const der_t sha256 = der_sequence({der_oid("2.16.840.1.101.3.4.2.1"), der_null()});
    const der_t mgf1 = der_sequence({der_oid("1.2.840.113549.1.1.8"), sha256});
    return der_sequence({der_oid("1.2.840.113549.1.1.10"),
                         der_sequence({der_context_0({sha256}), der_element(0xA1, der_members_t{mgf1}),
                                       der_element(0xA2, der_members_t{der_integer("20")})})});
}

inline read_answer_t print_name(const unsigned char* data, unsigned int size, PrintableDnOrder order) {
    answer_builder_t answer(data, size);
    std::string out;
    answer.accept(asn_dn_to_printable(data, size, out, order, OID_MAP_HANDLE_DEFAULT));
    answer.bytes("text", out);
    return answer.take();
}

// A record whose only output are two views.
template <typename RECORD, auto FIRST, auto SECOND>
read_answer_t two_views(const unsigned char* data, unsigned int size,
                        int (*read)(const unsigned char*, unsigned int, RECORD&)) {
    answer_builder_t answer(data, size);
    RECORD out;
    answer.accept(read(data, size, out) != 0);
    answer.view("first", out.*FIRST);
    answer.view("second", out.*SECOND);
    return answer.take();
}

inline void note_pbe(answer_builder_t& answer, const pkcs5_pbe_gost_t& pbe) {
    answer.view("salt", pbe.salt);
    answer.number("iterations", pbe.iterations);
    answer.view("iv", pbe.iv);
}

inline void note_mac(answer_builder_t& answer, const pkcs12_mac_t& mac) {
    answer.view("digest_alg", mac.digest_alg);
    answer.view("digest", mac.digest);
    answer.view("macsalt", mac.salt);
    answer.number("count", mac.iterations);
}

inline void note_bags(answer_builder_t& answer, const char* where, const std::list<pkcs12_bag_t>& bags) {
    for (const pkcs12_bag_t& bag : bags) {
        answer.number(where, bag.type);
        answer.view("value", bag.value);
        answer.view("name", bag.friendly_name);
        answer.view("id", bag.local_key_id);
    }
}

inline read_answer_t read_container(const unsigned char* data, unsigned int size) {
    answer_builder_t answer(data, size);
    scripted_crypto_t crypto;
    pkcs12_easy_t easy;
    answer.accept(asn_read_pkcs12_easy(data, size, &crypto, easy));
    answer.keep(easy.decrypted_buffers);
    note_mac(answer, easy.mac);
    note_bags(answer, "plain", easy.plain_bags);
    note_bags(answer, "encrypted", easy.encrypted_bags);
    answer.bytes("calls", crypto.operations());
    return answer.take();
}

inline std::string element(char tag, const std::string& content) {
    return tag + der_length(content.size()) + content;
}

// A container of one encrypted entry. Put together quickly: it is asked for with every change of every octet.
inline std::string container_of_plaintext(std::string_view plaintext) {
    static const std::string DATA = encode(der_oid(OID_DATA));
    static const std::string ENCRYPTED_DATA = encode(der_oid(OID_ENCRYPTED_DATA));
    static const std::string ALGORITHM = encode(pbes2_t().whole());
    static const std::string MAC_DATA = encode(mac_data_t().whole());
    const std::string info = element(0x30, DATA + ALGORITHM + element('\x80', toy_cipher(plaintext)));
    const std::string data = element(0x30, from_hex("02 01 00") + info);
    const std::string entry = element(0x30, ENCRYPTED_DATA + element('\xA0', data));
    const std::string safe = element('\xA0', element(0x04, element(0x30, entry)));
    return element(0x30, from_hex("02 01 03") + element(0x30, DATA + safe) + MAC_DATA);
}

inline read_answer_t read_public_key(const unsigned char* data, unsigned int size, asn_pubkey_t& key) {
    answer_builder_t answer(data, size);
    const long available = static_cast<long>(size);
    answer.accept(asn_read_pubkey(data, available, key) != 0);
    answer.view("algorithm", key.algorithm);
    answer.view("parameters", key.parameters);
    if (key.key.size != 0xFFFFFFFF) { // that of an empty BIT STRING, which nobody may follow
        answer.view("key", key.key);
    }
    return answer.take();
}

inline read_answer_t read_rsa_key(const unsigned char* data, unsigned int size) {
    asn_pubkey_t key;
    const read_answer_t outer = read_public_key(data, size, key);
    answer_builder_t answer(data, size);
    asn_rsa_pubkey_t out;
    answer.accept(outer.accepted && asn_read_rsa_pubkey(key, out) != 0);
    answer.view("modulus", out.modulus);
    answer.view("exponent", out.exponent);
    return answer.take();
}

inline read_answer_t read_gost_key(const unsigned char* data, unsigned int size) {
    asn_pubkey_t key;
    const read_answer_t outer = read_public_key(data, size, key);
    answer_builder_t answer(data, size);
    asn_gost_pubkey_t out;
    answer.accept(outer.accepted && asn_read_gost_pubkey(key, out) != 0);
    answer.view("public", out.public_key_param_set);
    answer.view("digest", out.digest_param_set);
    answer.view("encryption", out.encryption_param_set);
    answer.view("point", out.key);
    return answer.take();
}

inline read_answer_t read_ike(const unsigned char* data, unsigned int size) {
    answer_builder_t answer(data, size);
    asn_ike_signalg_t out;
    const bool done = asn_read_ike_signalg(data, size, out) != 0;
    answer.accept(done);
    answer.view("oid", out.oid);
    answer.view("parameters", out.parameters);
    if (done) {
        answer.number("algorithm", out.to_pki_alg());
    }
    return answer.take();
}

} // namespace readers

// Where a record is read in two ways, each is a row.
inline const std::vector<record_reader_t>& record_readers() {
    using namespace readers;
    static const std::vector<record_reader_t> READERS = {
        {"name", "asn_dn_to_printable", name_sample(), false,
         [](const unsigned char* data, unsigned int size) { return print_name(data, size, PDN_ORDER_AS_ENCODED); }},
        {"name_reversed", "asn_dn_to_printable", name_sample(), false,
         [](const unsigned char* data, unsigned int size) { return print_name(data, size, PDN_ORDER_REVERSED); }},
        {"object_identifier", "asn_oid_to_printable", der_oid("1.2.643.100.1"), false,
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             std::string out;
             answer.accept(asn_oid_to_printable(data, size, out, true, OID_MAP_HANDLE_DEFAULT));
             answer.bytes("text", out);
             return answer.take();
         }},
        {"hash_object_identifier", "asn_oid_to_printable", der_oid("2.16.840.1.101.3.4.2.1"), false,
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             std::string out;
             answer.accept(asn_oid_to_printable(data, size, out, true, oid_map_handle_t()));
             answer.bytes("text", out);
             return answer.take();
         }},
        {"key_info", "asn_read_pkcs8_priv_key_info", key_info_sample(), false,
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             asn_pkcs8_priv_key_info_t out;
             answer.accept(asn_read_pkcs8_priv_key_info(data, size, out));
             answer.view("algorithm", out.algorithm);
             answer.view("key", out.private_key);
             return answer.take();
         }},
        {"gost_key", "asn_read_pkcs8_pki_gost", key_info_sample(), false,
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             pkcs8_pki_gost_t out;
             answer.accept(asn_read_pkcs8_pki_gost(data, size, out));
             answer.number("type", out.key_type);
             answer.view("key", out.private_key);
             return answer.take();
         }},
        {"pbes2", "asn_read_pkcs5_pbe_gost", pbes2_t().whole(), true,
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             pkcs5_pbe_gost_t out;
             answer.accept(asn_read_pkcs5_pbe_gost(data, size, out));
             note_pbe(answer, out);
             return answer.take();
         }},
        {"encrypted_key", "asn_read_pkcs8_encrypted_pki_gost", encrypted_key("data"), false,
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             pkcs8_encrypted_pki_gost_t out;
             answer.accept(asn_read_pkcs8_encrypted_pki_gost(data, size, out));
             note_pbe(answer, out.pbe);
             answer.view("data", out.encrypted_data);
             return answer.take();
         }},
        {"mac_data", "asn_read_pkcs12_MacData", mac_data_t().whole(), true,
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             pkcs12_mac_t out;
             answer.accept(asn_read_pkcs12_MacData(data, size, out));
             note_mac(answer, out);
             return answer.take();
         }},
        {"container", "asn_read_pkcs12_easy", pfx_sample(), false, read_container},
        // What is encrypted lies in a string of the container's, not in the input.
        {"plaintext_of_a_container", "asn_read_pkcs12_easy", der_octet_string(safe_contents(bags_sample())), false,
         [](const unsigned char* data, unsigned int size) {
             const exact_bytes_t container(container_of_plaintext(as_chars(data, size)));
             return read_container(container.data(), container.size());
         }},
        {"digest_info", "asn_read_alg_from_digest",
         der_sequence({der_sequence({der_oid("2.16.840.1.101.3.4.2.1"), der_null()}), der_octet_string("digest")}),
         false,
         [](const unsigned char* data, unsigned int size) {
             const std::string input(as_chars(data, size));
             answer_builder_t answer(reinterpret_cast<const unsigned char*>(input.data()), input.size());
             asn_algorid_t out;
             answer.accept(asn_read_alg_from_digest(&out, input));
             answer.view("oid", out.oid);
             return answer.take();
         }},
        {"ike_pss", "asn_read_ike_signalg", pss_sample(), false, read_ike},
        {"ike_pss_code", "asn_ike_signalg_t::to_pki_alg", pss_sample(), false, read_ike},
        {"ike_ecdsa", "asn_read_ike_signalg", der_sequence({der_oid("1.2.840.113549.1.1.11"), der_null()}), false,
         read_ike},
        {"public_key", "asn_read_pubkey", rsa_key_sample(), false,
         [](const unsigned char* data, unsigned int size) {
             asn_pubkey_t key;
             return read_public_key(data, size, key);
         }},
        {"rsa_key", "asn_read_rsa_pubkey", rsa_key_sample(), false, read_rsa_key},
        {"gost_public_key", "asn_read_gost_pubkey", gost_key_sample(), false, read_gost_key},
        {"dsa_signature", "asn_read_dsa_certsign", der_sequence({der_integer("00 81"), der_integer("02")}), false,
         [](const unsigned char* data, unsigned int size) {
             return two_views<asn_dsa_certsign_t, &asn_dsa_certsign_t::r, &asn_dsa_certsign_t::s>(
                 data, size, asn_read_dsa_certsign);
         }},
    };
    return READERS;
}

// All readers

enum class input_kind_t {
    SIZED,           // a pointer and a size
    ZERO_TERMINATED, // a pointer; a zero is put behind the input
    STRING           // a std::string
};

struct reader_t {
    std::string name;
    const char* function;
    input_kind_t kind;
    std::vector<std::string> samples; // inputs that are accepted
    read_answer_t (*read)(const unsigned char* data, unsigned int size);
};

namespace readers {

inline const char* chars(const unsigned char* data) {
    return reinterpret_cast<const char*>(data);
}

// Of keys that maps digest word by word, and of keys that are too long for that.
constexpr std::size_t LONG_KEY_SIZES[] = {21, 67};

// Keys of these sizes, all of whose octets are '*' in DER and 'N' in names.
inline oid_map_handle_t map_of_long_keys() {
    static const oid_map_handle_t map = [] {
        std::string text;
        for (const std::size_t size : LONG_KEY_SIZES) {
            text += "1.2";
            for (std::size_t i = 1; i < size; ++i) {
                text += ".42";
            }
            text += "=" + std::string(size, 'N') + "\n";
        }
        return oid_map_parse(text.data(), static_cast<unsigned int>(text.size()));
    }();
    return map;
}

// Found or not, and whose.
inline read_answer_t found_entry(const OIDdescr_t* entry) {
    answer_builder_t answer(nullptr, 0);
    answer.accept(entry != nullptr);
    if (entry != nullptr) {
        answer.bytes("entry", std::string_view(entry->oid_str, entry->oid_str_size));
    }
    return answer.take();
}

template <pki_alg_t (*FIND)(const void*, unsigned int)>
read_answer_t find_algorithm(const unsigned char* data, unsigned int size) {
    answer_builder_t answer(data, size);
    const pki_alg_t found = FIND(data, size);
    answer.accept(found != PKI_ALG_UNKNOWN);
    answer.number("algorithm", found);
    return answer.take();
}

// What a function that fills a string says and leaves in it.
template <typename CALL> read_answer_t to_string(CALL call) {
    answer_builder_t answer(nullptr, 0);
    std::string out = "held";
    answer.accept(call(out));
    answer.bytes("out", out);
    return answer.take();
}

// The octets of the samples' values, for the functions that write what a caller's views show.
inline read_answer_t write_to_string(void (*write)(const blob_t& bytes, std::string& out), const unsigned char* data,
                                     unsigned int size) {
    return to_string([&](std::string& out) {
        write(view_of(as_chars(data, size)), out);
        return true;
    });
}

inline read_answer_t yes_or_no(bool yes) {
    answer_builder_t answer(nullptr, 0);
    answer.accept(yes);
    return answer.take();
}

} // namespace readers

inline std::vector<reader_t> all_readers() {
    using namespace readers;
    using enum input_kind_t;
    const std::string t61 = "a\xC2"
                            "e\xCF"
                            "c b\xC1 \xA8";
    const std::string dn = "CN=\\2C a\\, b,OU=\"x,y\"+2.5.4.3=#0C0161,  O = z,C=RU";
    const std::string map_text = "1.2.3 = AB, a long name\r\n# no entry\n\t2.5.4.3=CN\n1.2.4 = AC , x=y";
    const std::string oid = from_hex("2A 85 03 02 02 13");
    const std::string hash_oid = from_hex("60 86 48 01 65 03 04 02 01");
    const std::string key_oid = from_hex("2A 86 48 86 F7 0D 01 01 01");
    const std::string sign_oid = from_hex("2A 86 48 86 F7 0D 01 01 0B");
    std::vector<reader_t> all = {
        {"asn1_read_tag",
         "asn1_read_tag",
         SIZED,
         {from_hex("04 02 01 02"), from_hex("30 84 00 00 00 01 FF")},
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             blob_t content;
             content.data = asn1_read_tag(asn_tag_t::ANY, data, size, &content.size);
             answer.accept(content.data != nullptr);
             answer.number("size", content.size);
             if (content.data != nullptr) {
                 answer.number("offset", static_cast<unsigned long long>(content.data - data));
             }
             return answer.take();
         }},
        {"asn_read_INTEGER",
         "asn_read_INTEGER",
         SIZED,
         {from_hex("00 81 02 03 04"), from_hex("01")},
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             unsigned int value = 77;
             answer.accept(asn_read_INTEGER(data, size, value, 0xFFFFFFFF));
             answer.number("value", value);
             return answer.take();
         }},
        {"oid_str_to_asn_",
         "oid_str_to_asn_",
         SIZED,
         {"1.2.840.113549.1.9.20", "2.4294967215"},
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             unsigned char out[512];
             const unsigned int written = oid_str_to_asn_(chars(data), chars(data) + size, out);
             answer.accept(written != 0);
             answer.bytes("oid", as_chars(out, written));
             return answer.take();
         }},
        {"oid_asn_to_str_",
         "oid_asn_to_str_",
         SIZED,
         {oid, from_hex("8F FF FF FF 7F 80 01")},
         [](const unsigned char* data, unsigned int size) {
             return to_string([&](std::string& out) { return oid_asn_to_str_(data, data + size, out) != 0; });
         }},
        {"oid_map_parse",
         "oid_map_parse",
         SIZED,
         {map_text},
         [](const unsigned char* data, unsigned int size) {
             const oid_map_handle_t map = oid_map_parse(chars(data), size);
             read_answer_t answer = found_entry(oid_map_find_sn(map, "ac", 2));
             oid_map_release(map);
             return answer;
         }},
        {"oid_map_parse_",
         "oid_map_parse_",
         SIZED,
         {map_text},
         [](const unsigned char* data, unsigned int size) {
             const oid_map_handle_t map = oid_map_parse("1.2.4 = OLD", 11);
             oid_map_parse_(*map.map, chars(data), size);
             read_answer_t answer = found_entry(oid_map_find_str(map, "1.2.4", 5));
             oid_map_release(map);
             return answer;
         }},
        {"oid_map_find_asn",
         "oid_map_find_asn",
         SIZED,
         {from_hex("55 04 03"), from_hex("2A 86 48 86 F7 0D 01 09 01")},
         [](const unsigned char* data, unsigned int size) {
             return found_entry(oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, data, size));
         }},
        {"oid_map_find_asn_of_long_keys",
         "oid_map_find_asn",
         SIZED,
         {std::string(LONG_KEY_SIZES[0], '*'), std::string(LONG_KEY_SIZES[1], '*')},
         [](const unsigned char* data, unsigned int size) {
             return found_entry(oid_map_find_asn(map_of_long_keys(), data, size));
         }},
        {"oid_map_find_str",
         "oid_map_find_str",
         SIZED,
         {"2.5.4.3", "0.9.2342.19200300.100.1.25"},
         [](const unsigned char* data, unsigned int size) {
             return found_entry(oid_map_find_str(OID_MAP_HANDLE_DEFAULT_FILE, chars(data), size));
         }},
        {"oid_map_find_sn",
         "oid_map_find_sn",
         SIZED,
         {"cn", "Street"},
         [](const unsigned char* data, unsigned int size) {
             return found_entry(oid_map_find_sn(OID_MAP_HANDLE_DEFAULT, chars(data), size));
         }},
        {"oid_map_find_sn_of_long_keys",
         "oid_map_find_sn",
         SIZED,
         {std::string(LONG_KEY_SIZES[0], 'n'), std::string(LONG_KEY_SIZES[1], 'n')},
         [](const unsigned char* data, unsigned int size) {
             return found_entry(oid_map_find_sn(map_of_long_keys(), chars(data), size));
         }},
        {"ldap_t61s_to_utf8s",
         "ldap_t61s_to_utf8s",
         SIZED,
         {t61, std::string(60, '\xE0') + t61 + "\xC2"}, // the longer one is measured first
         [](const unsigned char* data, unsigned int size) {
             return to_string([&](std::string& out) { return ldap_t61s_to_utf8s(chars(data), size, out); });
         }},
        {"PKI_OID_TO_HASH_ALG", "PKI_OID_TO_HASH_ALG", SIZED, {hash_oid}, find_algorithm<PKI_OID_TO_HASH_ALG>},
        {"PKI_OID_TO_KEY_ALG", "PKI_OID_TO_KEY_ALG", SIZED, {key_oid}, find_algorithm<PKI_OID_TO_KEY_ALG>},
        {"PKI_OID_TO_CERT_SIGN_ALG",
         "PKI_OID_TO_CERT_SIGN_ALG",
         SIZED,
         {sign_oid},
         find_algorithm<PKI_OID_TO_CERT_SIGN_ALG>},
        {"PKI_OID_TO_ALG", "PKI_OID_TO_ALG", SIZED, {hash_oid, key_oid, sign_oid}, find_algorithm<PKI_OID_TO_ALG>},
        {"TO_HEX_STRING",
         "TO_HEX_STRING",
         SIZED,
         {oid},
         [](const unsigned char* data, unsigned int size) {
             std::vector<char> out(size == 0 ? 0 : 3 * size - 1);
             if (size != 0) { // never without an octet
                 TO_HEX_STRING(data, size, out.data(), ':');
             }
             answer_builder_t answer(data, size);
             answer.accept(true);
             answer.bytes("out", std::string_view(out.data(), out.size()));
             return answer.take();
         }},
        {"TO_HEX_STD_STRING",
         "TO_HEX_STD_STRING",
         SIZED,
         {oid},
         [](const unsigned char* data, unsigned int size) {
             return to_string([&](std::string& out) { return &TO_HEX_STD_STRING(data, size, out, ' ') == &out; });
         }},

        // What writers are given as views.
        {"asn_write_pkcs8_pki_gost",
         "asn_write_pkcs8_pki_gost",
         SIZED,
         {oid},
         [](const unsigned char* data, unsigned int size) {
             return write_to_string(
                 [](const blob_t& bytes, std::string& out) {
                     pkcs8_pki_gost_t key;
                     key.private_key = bytes;
                     asn_write_pkcs8_pki_gost(key, out);
                 },
                 data, size);
         }},
        {"asn_write_pkcs5_pbe_gost",
         "asn_write_pkcs5_pbe_gost",
         SIZED,
         {oid},
         [](const unsigned char* data, unsigned int size) {
             return write_to_string(
                 [](const blob_t& bytes, std::string& out) {
                     pkcs5_pbe_gost_t pbe;
                     pbe.salt = bytes;
                     pbe.iv = bytes;
                     asn_write_pkcs5_pbe_gost(pbe, out);
                 },
                 data, size);
         }},
        {"asn_write_pkcs8_encrypted_pki_gost",
         "asn_write_pkcs8_encrypted_pki_gost",
         SIZED,
         {oid},
         [](const unsigned char* data, unsigned int size) {
             return write_to_string(
                 [](const blob_t& bytes, std::string& out) {
                     pkcs8_encrypted_pki_gost_t key;
                     key.encrypted_data = bytes;
                     key.pbe.salt = bytes;
                     asn_write_pkcs8_encrypted_pki_gost(key, out);
                 },
                 data, size);
         }},
        {"asn_write_pkcs12_easy",
         "asn_write_pkcs12_easy",
         SIZED,
         {oid},
         [](const unsigned char* data, unsigned int size) {
             return write_to_string(
                 [](const blob_t& bytes, std::string& out) {
                     pkcs12_easy_t easy;
                     pkcs12_bag_t bag;
                     bag.value = bag.local_key_id = bytes;
                     bag.friendly_name = view_of<bmp_string_t>(chars_of(bytes));
                     easy.plain_bags = easy.encrypted_bags = {bag};
                     easy.mac.digest = easy.mac.salt = bytes;
                     scripted_crypto_t crypto;
                     crypto.make_mac_answer = answer_t::NO;
                     asn_write_pkcs12_easy(easy, &crypto, out);
                 },
                 data, size);
         }},

        // Texts with a zero at the end.
        {"printable_dn_reverse",
         "printable_dn_reverse",
         ZERO_TERMINATED,
         {dn},
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             char* const text = const_cast<char*>(chars(data));
             const std::string before = text;
             answer.accept(printable_dn_reverse(text) == text);
             answer.bytes("text", text);
             // NOLINTNEXTLINE(bugprone-not-null-terminated-result): the zero behind the text never moved
             std::memcpy(text, before.data(), before.size()); // an input serves more than once
             return answer.take();
         }},
        {"printable_dn_get_attr",
         "printable_dn_get_attr",
         ZERO_TERMINATED,
         {dn},
         [](const unsigned char* data, unsigned int) {
             return to_string(
                 [&](std::string& out) { return printable_dn_get_attr(chars(data), "C", out, PDN_GET_ATTR_PAIR); });
         }},
        {"type_of_printable_dn_get_attr",
         "printable_dn_get_attr",
         ZERO_TERMINATED,
         {"CN", "2.5.4.3"},
         [](const unsigned char* data, unsigned int) {
             return to_string([&](std::string& out) {
                 return printable_dn_get_attr("CN=a,2.5.4.3=b", chars(data), out, PDN_GET_ATTR_VALUE);
             });
         }},
        {"printable_dn_contain_attrs",
         "printable_dn_contain_attrs",
         ZERO_TERMINATED,
         {dn},
         [](const unsigned char* data, unsigned int) {
             return yes_or_no(printable_dn_contain_attrs(chars(data), "C=RU"));
         }},
        {"rdns_of_printable_dn_contain_attrs",
         "printable_dn_contain_attrs",
         ZERO_TERMINATED,
         {"CN=a,C=RU", "O=\\,x"},
         [](const unsigned char* data, unsigned int) {
             return yes_or_no(printable_dn_contain_attrs("CN=a,O=\\,x,C=RU", chars(data)));
         }},
        {"printable_dn_C_before_CN",
         "printable_dn_C_before_CN",
         ZERO_TERMINATED,
         {"C=RU,CN=\"a\\,\"", "O=\\,"},
         [](const unsigned char* data, unsigned int) { return yes_or_no(printable_dn_C_before_CN(chars(data))); }},
        {"printable_to_asn_dn",
         "printable_to_asn_dn",
         ZERO_TERMINATED,
         {dn, "CN=\"\\\"\\a\"", "1.2=#040100"},
         [](const unsigned char* data, unsigned int) {
             return to_string(
                 [&](std::string& out) { return printable_to_asn_dn(chars(data), out, OID_MAP_HANDLE_DEFAULT); });
         }},
        {"name_for_getInt",
         "IntToString::getInt",
         ZERO_TERMINATED,
         {"verbose", "EVENTS"},
         [](const unsigned char* data, unsigned int) {
             answer_builder_t answer(nullptr, 0);
             const unsigned int value = I2S_LOG_LEVEL->getInt(chars(data), 77);
             answer.accept(value != 77);
             answer.number("value", value);
             return answer.take();
         }},

        // Strings.
        {"printable_dn_normalize",
         "printable_dn_normalize",
         STRING,
         {dn},
         [](const unsigned char* data, unsigned int size) {
             const std::string in(as_chars(data, size));
             return to_string(
                 [&](std::string& out) { return printable_dn_normalize(in, out, nullptr, OID_MAP_HANDLE_DEFAULT); });
         }},
        {"CertTimeFromLogStringGMT",
         "CertTimeFromLogStringGMT",
         STRING,
         {"2024.12.31 23:59:59", "1900.1.1 0:0:0"},
         [](const unsigned char* data, unsigned int size) {
             answer_builder_t answer(data, size);
             const cert_time64_t time = CertTimeFromLogStringGMT(std::string(as_chars(data, size)));
             answer.accept(time != CERT_TIME64_INVALID);
             answer.number("time", time);
             return answer.take();
         }},
        {"asn_add_alg_to_digest",
         "asn_add_alg_to_digest",
         STRING,
         {counting_bytes(32, 1)},
         [](const unsigned char* data, unsigned int size) {
             std::string digest(as_chars(data, size));
             asn_add_alg_to_digest(digest, PKI_ALG_SHA256);
             answer_builder_t answer(nullptr, 0);
             answer.accept(true);
             answer.bytes("out", digest);
             return answer.take();
         }},
    };
    for (const record_reader_t& reader : record_readers()) {
        const bool takes_string = std::string_view(reader.function) == "asn_read_alg_from_digest";
        all.push_back({reader.name, reader.function, takes_string ? STRING : SIZED, {reader.input()}, reader.read});
    }
    return all;
}

#endif
