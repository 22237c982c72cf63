// PKCS#12 containers: reading, with and without the encrypted parts, and writing.
#include "containers.h"
#include "der.h"
#include "derkit/pkcs12_helper.h"
#include "identity_crypto.h"
#include "row.h"

namespace {

std::string listed_container(const pkcs12_easy_t& easy) {
    std::string lines;
    for (const std::list<pkcs12_bag_t>* const bags : {&easy.plain_bags, &easy.encrypted_bags}) {
        for (const pkcs12_bag_t& bag : *bags) {
            lines += listed_bag(bag.type == 1, as_chars(bag.value.data, bag.value.size),
                                as_chars(bag.friendly_name.data, bag.friendly_name.size),
                                as_chars(bag.local_key_id.data, bag.local_key_id.size));
        }
    }
    return lines + listed_mac(as_chars(easy.mac.digest.data, easy.mac.digest.size),
                              as_chars(easy.mac.salt.data, easy.mac.salt.size), easy.mac.iterations);
}

template <bool IS_OPENED> struct read_t {
    identity_crypto_t crypto{IS_OPENED};
    pkcs12_easy_t easy;
    void operator()(const container_t& container) {
        easy = pkcs12_easy_t();
        asn_read_pkcs12_easy(container.der_to_read.data(), size32(container.der_to_read), &crypto, easy);
    }
    std::string shown(const container_t&) const { return listed_container(easy); }
};

struct write_t {
    identity_crypto_t crypto{true};
    std::string der;
    void operator()(const container_t& container) {
        crypto.container = &container;
        pkcs12_easy_t easy;
        easy.plain_bags.push_back(bag_of(container.key));
        for (const bag_t& certificate : container.certificates) {
            easy.encrypted_bags.push_back(bag_of(certificate));
        }
        asn_write_pkcs12_easy(easy, &crypto, der);
    }
    std::string shown(const container_t&) const { return der; }

    static pkcs12_bag_t bag_of(const bag_t& bag) {
        pkcs12_bag_t result;
        result.type = bag.is_certificate ? 1 : 0;
        result.value = view_of(bag.value);
        result.friendly_name.data = octets(bag.friendly_name);
        result.friendly_name.size = size32(bag.friendly_name);
        result.local_key_id = view_of(bag.local_key_id);
        return result;
    }
};

std::string attributes_der(const bag_t& bag) {
    const auto attribute = [](const char* oid, unsigned int tag, const std::string& value) {
        return sequence({oid_element(oid), element(TAG_SET, {element(tag, {value})})});
    };
    return element(TAG_SET, {attribute("1.2.840.113549.1.9.20", TAG_BMP_STRING, bag.friendly_name),
                             attribute("1.2.840.113549.1.9.21", TAG_OCTET_STRING, bag.local_key_id)});
}

std::string safe_bag(const char* oid, const std::string& value, const bag_t& bag) {
    return sequence({oid_element(oid), element(TAG_CONTEXT_0, {value}), attributes_der(bag)});
}

std::string certificate_bag(const bag_t& bag) {
    const std::string octet_string = element(TAG_OCTET_STRING, {bag.value});
    const std::string value =
        sequence({oid_element("1.2.840.113549.1.9.22.1"), element(TAG_CONTEXT_0, {octet_string})});
    return safe_bag("1.2.840.113549.1.12.10.1.3", value, bag);
}

std::string content_info(const char* oid, const std::string& content) {
    return sequence({oid_element(oid), element(TAG_CONTEXT_0, {content})});
}

constexpr const char* OID_DATA = "1.2.840.113549.1.7.1";

std::string data_entry(const std::string& bags) {
    return content_info(OID_DATA, element(TAG_OCTET_STRING, {sequence({bags})}));
}

// The plaintext is an OCTET STRING around the bags, and the ciphertext is the plaintext.
std::string encrypted_entry(const container_t& container) {
    std::string bags;
    for (const bag_t& certificate : container.certificates) {
        bags += certificate_bag(certificate);
    }
    const std::string ciphertext = element(TAG_OCTET_STRING, {sequence({bags})});
    const std::string info =
        sequence({oid_element(OID_DATA), pbes2_der(container.pbe_salt, container.iterations, container.iv),
                  element(TAG_CONTEXT_0_PRIMITIVE, {ciphertext})});
    return content_info("1.2.840.113549.1.7.6", sequence({element(TAG_INTEGER, {std::string(1, '\0')}), info}));
}

std::string pfx(const container_t& container, const std::string& key_bag) {
    const std::string authenticated_safe = sequence({data_entry(key_bag), encrypted_entry(container)});
    const std::string digest_info = sequence({sequence({oid_element("1.2.643.2.2.9"), element(TAG_NULL, {})}),
                                              element(TAG_OCTET_STRING, {container.digest})});
    const std::string mac_data =
        sequence({digest_info, element(TAG_OCTET_STRING, {container.mac_salt}), element(TAG_INTEGER, {"\x07\xD0"})});
    return sequence({element(TAG_INTEGER, {"\x03"}),
                     content_info(OID_DATA, element(TAG_OCTET_STRING, {authenticated_safe})), mac_data});
}

bag_t make_certificate(unsigned int seed, std::size_t size) {
    return {true, sequence({noise(size, seed)}), noise(16, seed + 1), noise(20, seed + 2)};
}

container_t make_container(unsigned int seed, std::size_t num_certificates, std::size_t certificate_size) {
    container_t container;
    container.key = {false, private_keys()[seed % private_keys().size()].der, noise(16, seed + 1), noise(20, seed + 2)};
    for (unsigned int i = 0; i < num_certificates; ++i) {
        container.certificates.push_back(make_certificate(seed + 3 * i, certificate_size));
    }
    container.pbe_salt = noise(8, seed + 3);
    container.iv = noise(8, seed + 4);
    container.digest = noise(32, seed + 5);
    container.mac_salt = noise(8, seed + 6);
    const std::string shrouded =
        encrypted_key_der(container.pbe_salt, container.iterations, container.iv, container.key.value);
    container.shrouded = {container.pbe_salt, container.iterations, container.iv, container.key.value, shrouded};
    container.der_to_read = pfx(container, safe_bag("1.2.840.113549.1.12.10.1.2", shrouded, container.key));
    container.der_to_write = pfx(container, safe_bag("1.2.840.113549.1.12.10.1.1", container.key.value, container.key));
    return container;
}

// Whether a length of three octets or more holds a zero octet; elements that large lie in each other.
bool has_zero_in_length(std::string_view elements) {
    constexpr std::size_t LARGE = 0x10000;
    while (elements.size() >= LARGE) {
        const std::string_view content = take_element(elements).content;
        if (content.size() < LARGE) {
            continue;
        }
        for (std::size_t rest = content.size(); rest != 0; rest >>= 8) {
            if ((rest & 0xFF) == 0) {
                return true;
            }
        }
        if (has_zero_in_length(content)) {
            return true;
        }
    }
    return false;
}

// The library leaves such an octet out, so a container that has one would not be written as it should be.
container_t make_large_container(std::size_t size) {
    std::size_t certificate_size = 900;
    const std::size_t num_certificates = size / certificate_size;
    container_t container = make_container(1, num_certificates, certificate_size);
    while (has_zero_in_length(container.der_to_write) || has_zero_in_length(container.der_to_read)) {
        container = make_container(1, num_certificates, ++certificate_size);
    }
    return container;
}

std::vector<container_t> make_containers() {
    std::vector<container_t> list;
    for (unsigned int i = 0; i < 4; ++i) {
        list.push_back(make_container(100 * i, 2, 900 + 37 * i));
    }
    return list;
}

std::string listed(const bag_t& bag) {
    return listed_bag(bag.is_certificate, bag.value, bag.friendly_name, bag.local_key_id);
}

std::string listed_all(const container_t& container) {
    std::string lines = listed(container.key);
    for (const bag_t& certificate : container.certificates) {
        lines += listed(certificate);
    }
    return lines + listed_mac(container.digest, container.mac_salt, container.iterations);
}

} // namespace

const std::vector<container_t>& containers() {
    static const std::vector<container_t> list = make_containers();
    return list;
}

std::string listed_bag(bool is_certificate, std::string_view value, std::string_view friendly_name,
                       std::string_view local_key_id) {
    return (is_certificate ? "certificate " : "key ") + upper_hex(value) + " " + upper_hex(friendly_name) + " " +
           upper_hex(local_key_id) + "\n";
}

std::string listed_mac(std::string_view digest, std::string_view salt, unsigned int iterations) {
    return "MAC " + upper_hex(digest) + " " + upper_hex(salt) + " " + std::to_string(iterations) + "\n";
}

void add_container_rows(registry_t& registry) {
    row_t& closed = registry.add("PKCS#12 read, closed", {0.04, "OpenSSL"});
    row_t& opened = registry.add("PKCS#12 read, opened", {0.06, "OpenSSL"});
    row_t& write = registry.add("PKCS#12 write", {0.08, "OpenSSL"});
    std::vector<std::string> encodings;
    std::vector<std::string> records;
    for (const container_t& container : containers()) {
        closed.expected.push_back(listed_mac(container.digest, container.mac_salt, container.iterations));
        opened.expected.push_back(listed_all(container));
        write.expected.push_back(container.der_to_write);
        encodings.push_back(container.der_to_read);
        records.emplace_back(sizeof(pkcs12_bag_t) * (1 + container.certificates.size()) + sizeof(pkcs12_mac_t), '\0');
    }
    closed.add<read_t<false>>("derkit", containers());
    closed.add_limits(encodings, records, der_side_t::INPUT);
    opened.add<read_t<true>>("derkit", containers());
    opened.add_limits(encodings, records, der_side_t::INPUT);
    write.add<write_t>("derkit", containers());
    write.add_limits(records, write.expected, der_side_t::OUTPUT);
}

void add_container_sizes(registry_t& registry) {
    static std::deque<std::vector<container_t>> inputs;
    for (const std::size_t size : SIZES) {
        inputs.push_back({make_large_container(size)});
        row_t& read = registry.add_size("PKCS#12 read", inputs.back()[0].der_to_read.size());
        read.expected.push_back(listed_all(inputs.back()[0]));
        read.add<read_t<true>>("derkit", inputs.back());
    }
    for (const std::vector<container_t>& input : inputs) {
        row_t& write = registry.add_size("PKCS#12 write", input[0].der_to_write.size());
        write.expected.push_back(input[0].der_to_write);
        write.add<write_t>("derkit", input);
    }
}
