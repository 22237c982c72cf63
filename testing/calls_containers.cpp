// Private keys and PKCS#12 containers.
#include "testing/calls.h"
#include "testing/pkcs_der.h"
#include "testing/scripted_crypto.h"

namespace {

using size_type = std::size_t;

void note(run_t& run, const asn_pkcs8_priv_key_info_t& info) {
    run.note(info.algorithm);
    run.note(info.private_key);
}
void note(run_t& run, const pkcs8_pki_gost_t& key) {
    run.note(key.key_type);
    run.note(key.private_key);
}
void note(run_t& run, const pkcs5_pbe_gost_t& pbe) {
    run.note(pbe.salt);
    run.note(pbe.iterations);
    run.note(pbe.iv);
}
void note(run_t& run, const pkcs8_encrypted_pki_gost_t& key) {
    note(run, key.pbe);
    run.note(key.encrypted_data);
}
void note(run_t& run, const pkcs12_mac_t& mac) {
    run.note(mac.digest_alg);
    run.note(mac.digest);
    run.note(mac.salt);
    run.note(mac.iterations);
}
void note(run_t& run, const std::list<pkcs12_bag_t>& bags) {
    for (const pkcs12_bag_t& bag : bags) {
        run.note(bag.type);
        run.note(bag.value);
        run.note(bag.friendly_name);
        run.note(bag.local_key_id);
    }
}

template <typename RECORD, bool (*READ)(const void*, unsigned int, RECORD&)> bool read_record(run_t& run) {
    RECORD out;
    const bool done = run.call([&] { return READ(run.data, run.size, out); });
    note(run, out);
    return done;
}

template <typename RECORD, void (*WRITE)(const RECORD&, std::string&)> bool write_record(run_t& run, RECORD record) {
    run.call([&] { WRITE(record, run.out); });
    return true;
}

der_t key_info_sample() {
    const der_t parameters = der_sequence({der_oid("1.2.643.2.2.35.1"), der_oid("1.2.643.2.2.30.1")});
    return der_sequence({der_integer("00"), der_sequence({der_oid("1.2.643.2.2.19"), parameters}),
                         der_octet_string(der_octet_string(counting_bytes(32, 1)))});
}

// A PrivateKeyInfo with nested parameters and a long key.
std::string large_key_info(size_type size) {
    const std::string algorithm = element(0x30, encode(der_oid("1.2.643.2.2.19")) + nested_lengths(size / 2));
    const std::string key = element(0x04, element(0x04, std::string(size / 2, 'k')));
    return element(0x30, encode(der_integer("00")) + algorithm + key);
}

der_t zeros_for_a_count(size_type size) {
    return der_element(0x02, std::string(size, '\0'));
}

} // namespace

std::vector<call_t> reading_key_calls() {
    return {
        {.name = "key_info",
         .function = "asn_read_pkcs8_priv_key_info",
         .run =
             [](run_t& run) {
                 asn_pkcs8_priv_key_info_t out;
                 const bool done = run.call([&] { return asn_read_pkcs8_priv_key_info(run.data, run.size, out); });
                 note(run, out);
                 return done;
             },
         .shapes = {{"nested parameters", large_key_info}},
         .record = key_info_sample()},
        {.name = "gost_key",
         .function = "asn_read_pkcs8_pki_gost",
         .run = read_record<pkcs8_pki_gost_t, asn_read_pkcs8_pki_gost>,
         .shapes = {{"nested parameters", large_key_info}},
         .record = key_info_sample()},
        {.name = "pbes2",
         .function = "asn_read_pkcs5_pbe_gost",
         .run = read_record<pkcs5_pbe_gost_t, asn_read_pkcs5_pbe_gost>,
         .shapes = {{"a long salt, zeros for a count",
                     [](size_type size) {
                         pbes2_t pbes2;
                         pbes2.salt = der_octet_string(std::string(size / 2, 's'));
                         pbes2.iterations = zeros_for_a_count(size / 2);
                         return encode_content(pbes2.whole());
                     }}},
         .record = pbes2_t().whole(),
         .takes_content = true},
        {.name = "encrypted_key",
         .function = "asn_read_pkcs8_encrypted_pki_gost",
         .run = read_record<pkcs8_encrypted_pki_gost_t, asn_read_pkcs8_encrypted_pki_gost>,
         .shapes = {{"zeros for a count, long data",
                     [](size_type size) {
                         pbes2_t pbes2;
                         pbes2.iterations = zeros_for_a_count(size / 2);
                         return encode(encrypted_key(std::string(size / 2, 'e'), pbes2));
                     }}},
         .record = encrypted_key("data")},
    };
}

namespace {

pkcs5_pbe_gost_t pbe_of(const run_t& run) {
    return {run.view(), 2000, view_of(run.text().substr(0, run.size / 4))};
}

} // namespace

// What they write are views of the input.
std::vector<call_t> writing_key_calls() {
    const auto any_octets = [](size_type size) { return std::string(size, 'k'); };
    const std::string sample = counting_bytes(32, 7);
    return {
        {.function = "asn_write_pkcs8_pki_gost",
         .samples = {sample},
         .run =
             [](run_t& run) {
                 pkcs8_pki_gost_t key;
                 key.key_type = 1;
                 key.private_key = run.view();
                 return write_record<pkcs8_pki_gost_t, asn_write_pkcs8_pki_gost>(run, key);
             },
         .shapes = {{"a long key", any_octets}},
         .left = as_it_was},
        {.function = "asn_write_pkcs5_pbe_gost",
         .samples = {sample},
         .run =
             [](run_t& run) {
                 const pkcs5_pbe_gost_t pbe = pbe_of(run);
                 return write_record<pkcs5_pbe_gost_t, asn_write_pkcs5_pbe_gost>(run, pbe);
             },
         .shapes = {{"a long salt and a long vector", any_octets}},
         .left = as_it_was},
        {.function = "asn_write_pkcs8_encrypted_pki_gost",
         .samples = {sample},
         .run =
             [](run_t& run) {
                 const pkcs8_encrypted_pki_gost_t key = {pbe_of(run), run.view()};
                 return write_record<pkcs8_encrypted_pki_gost_t, asn_write_pkcs8_encrypted_pki_gost>(run, key);
             },
         .shapes = {{"long fields", any_octets}},
         .left = as_it_was},
    };
}

namespace {

// Containers

der_t encrypted_entry(const der_members_t& bags) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, toy_cipher(entry_plaintext(bags)));
    return data.entry();
}

der_members_t bags_sample() {
    const der_t attributes = der_set({friendly_name(from_hex("04 1A 00 41")), local_key_id("id")});
    return {cert_bag("certificate", attributes), shrouded_key_bag(toy_cipher("shrouded key"), attributes),
            key_bag("key", attributes), safe_bag(OID_SECRET_BAG, der_null())};
}

// Built quickly, since it is needed for every change of every octet.
std::string container_of_entries(std::string_view entries) {
    static const std::string VERSION = encode(der_integer("03"));
    static const std::string DATA = encode(der_oid(OID_DATA));
    static const std::string MAC_DATA = encode(mac_data_t().whole());
    const std::string content = element(0xA0, element(0x04, element(0x30, entries)));
    return element(0x30, VERSION + element(0x30, DATA + content) + MAC_DATA);
}

std::string plain_entry(std::string_view bags) {
    static const std::string DATA = encode(der_oid(OID_DATA));
    return element(0x30, DATA + element(0xA0, element(0x04, element(0x30, bags))));
}

std::string entry_of_plaintext(std::string_view plaintext) {
    static const std::string VERSION = encode(der_integer("00"));
    static const std::string ENCRYPTED_DATA = encode(der_oid(OID_ENCRYPTED_DATA));
    static const std::string DATA_BY_PBES2 = encode(der_oid(OID_DATA)) + encode(pbes2_t().whole());
    const std::string info = element(0x30, DATA_BY_PBES2 + element(0x80, toy_cipher(plaintext)));
    return element(0x30, ENCRYPTED_DATA + element(0xA0, element(0x30, VERSION + info)));
}

std::string entry_of_bags(std::string_view bags) {
    return entry_of_plaintext(element(0x04, element(0x30, bags)));
}

bool read_container(run_t& run, const exact_bytes_t* file = nullptr) {
    scripted_crypto_t crypto;
    crypto.records = false;
    pkcs12_easy_t easy;
    const unsigned char* const data = file == nullptr ? run.data : file->data();
    const unsigned int size = file == nullptr ? run.size : file->size();
    const bool done = run.call([&] { return asn_read_pkcs12_easy(data, size, &crypto, easy); });
    run.keep(easy.decrypted_buffers);
    if (file == nullptr) {
        note(run, easy.mac);
    }
    note(run, easy.plain_bags);
    note(run, easy.encrypted_bags);
    return done;
}

// Writes a plain and an encrypted bag for each part of the input; vertical bars separate them.
bool write_container(run_t& run) {
    pkcs12_easy_t easy;
    for (std::string_view rest = run.text(); !rest.empty();) {
        const std::string_view part = rest.substr(0, rest.find('|'));
        pkcs12_bag_t bag;
        bag.type = easy.plain_bags.size() % 2;
        bag.value = bag.local_key_id = view_of(part);
        bag.friendly_name = view_of<bmp_string_t>(part.substr(0, 16));
        easy.plain_bags.push_back(bag);
        easy.encrypted_bags.push_back(bag);
        rest.remove_prefix(std::min(rest.size(), part.size() + 1));
    }
    easy.mac.digest = easy.mac.salt = run.view();
    scripted_crypto_t crypto;
    crypto.records = false;
    crypto.make_mac_answer = answer_t::NO;
    run.call([&] { asn_write_pkcs12_easy(easy, &crypto, run.out); });
    return true;
}

std::vector<shape_t> container_shapes() {
    return {
        {"bags",
         [](size_type size) { return container_of_entries(plain_entry(repeated(encode(key_bag("key")), size))); }},
        {"bags that are encrypted",
         [](size_type size) { return container_of_entries(entry_of_bags(repeated(encode(key_bag("key")), size))); },
         BRIEF},
        {"shrouded keys",
         [](size_type size) {
             return container_of_entries(plain_entry(repeated(encode(shrouded_key_bag("key")), size)));
         },
         BRIEF},
        {"encrypted entries",
         [](size_type size) { return container_of_entries(repeated(entry_of_bags(encode(key_bag("key"))), size)); },
         BRIEF},
        {"attributes of one bag",
         [](size_type size) {
             const der_t attributes = der_element(0x31, repeated(encode(friendly_name("ab")), size));
             return container_of_entries(plain_entry(encode(key_bag("key", attributes))));
         },
         BRIEF},
        {"bags, the last one broken",
         [](size_type size) {
             return container_of_entries(plain_entry(repeated(encode(cert_bag("certificate")), size) + "\x30"));
         },
         BRIEF, false},
        {"nested lengths",
         [](size_type size) { return container_of_entries(plain_entry(encode(key_bag(nested_lengths(size))))); }},
    };
}

} // namespace

std::vector<call_t> pkcs12_calls() {
    return {
        {.name = "mac_data",
         .function = "asn_read_pkcs12_MacData",
         .run = read_record<pkcs12_mac_t, asn_read_pkcs12_MacData>,
         .shapes = {{"a long digest, zeros for a count",
                     [](size_type size) {
                         mac_data_t mac;
                         mac.digest = der_octet_string(std::string(size / 2, 'd'));
                         mac.iterations = zeros_for_a_count(size / 2);
                         return encode_content(mac.whole());
                     }}},
         .record = mac_data_t().whole(),
         .takes_content = true},
        {.name = "container",
         .function = "asn_read_pkcs12_easy",
         .run = [](run_t& run) { return read_container(run); },
         .shapes = container_shapes(),
         .left = as_it_was,
         .blocks = ANY_NUMBER,
         .record = pfx_t({data_entry(bags_sample()), encrypted_entry(bags_sample())}).whole()},
        // The plaintext is in a string of the container's, not in the input.
        {.name = "plaintext_of_a_container",
         .function = "asn_read_pkcs12_easy",
         .run =
             [](run_t& run) {
                 const exact_bytes_t file(container_of_entries(entry_of_plaintext(run.text())));
                 return read_container(run, &file);
             },
         .left = as_it_was,
         .blocks = ANY_NUMBER,
         .record = der_octet_string(safe_contents(bags_sample()))},
        {.function = "asn_write_pkcs12_easy",
         .samples = {"key|certificate|second key", counting_bytes(32, 1)},
         .run = write_container,
         .shapes = {{"bags", [](size_type size) { return repeated("a bag with a value of 32 octets|", size); }, BRIEF},
                    {"one long bag", [](size_type size) { return std::string(size, 'v'); }}},
         .left = as_it_was,
         .blocks = ANY_NUMBER},
    };
}
