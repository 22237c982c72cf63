// PKCS#12 containers: reading, with and without the encrypted parts, and writing.
#include "derkit/pkcs12_helper.h"
#include "row.h"
#include "tasks.h"
#include "testing/bags.h"
#include "testing/pkcs_der.h"

namespace {

// Copies in place of computing, so that what is measured is the container. A crypto object that follows a script costs
// instructions that show in the rows.
class copying_crypto_t final : public pbe_crypto_t {
  public:
    const container_t* container = nullptr; // whose MAC and parameters are written

    explicit copying_crypto_t(bool decrypts) : decrypts_(decrypts) {}

    bool verify_mac(const pkcs12_mac_t&, const void*, unsigned int) override { return true; }

    bool make_mac(const void*, unsigned int, pkcs12_mac_t& mac) override {
        mac.digest = view_of(container->digest);
        mac.salt = view_of(container->mac_salt);
        mac.iterations = container->iterations;
        return true;
    }

    bool decrypt(const pkcs5_pbe_gost_t&, const void* data, unsigned int size, std::string& out) override {
        if (decrypts_) {
            out.assign(static_cast<const char*>(data), size);
        }
        return decrypts_;
    }

    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t& params, std::string& out) override {
        params.salt = view_of(container->pbe_salt);
        params.iterations = container->iterations;
        params.iv = view_of(container->iv);
        out.assign(static_cast<const char*>(data), size);
        return true;
    }

  private:
    bool decrypts_;
};

template <bool IS_OPENED> struct read_t {
    copying_crypto_t crypto{IS_OPENED};
    pkcs12_easy_t easy;
    void operator()(const container_t& container) {
        easy = pkcs12_easy_t();
        asn_read_pkcs12_easy(container.der_to_read.data(), size32(container.der_to_read), &crypto, easy);
    }
    std::string shown() const {
        std::string lines;
        for (const std::list<pkcs12_bag_t>* const bags : {&easy.plain_bags, &easy.encrypted_bags}) {
            for (const pkcs12_bag_t& bag : *bags) {
                lines += listed_bag(bag.type == 1, chars_of(bag.value), chars_of(bag.friendly_name),
                                    chars_of(bag.local_key_id));
            }
        }
        return lines + listed_mac(chars_of(easy.mac.digest), chars_of(easy.mac.salt), easy.mac.iterations);
    }
};

struct write_t : output_t {
    copying_crypto_t crypto{true};
    void operator()(const container_t& input) {
        crypto.container = &input;
        pkcs12_easy_t easy;
        easy.plain_bags.push_back(record_of(input.key));
        for (const bag_t& certificate : input.certificates) {
            easy.encrypted_bags.push_back(record_of(certificate));
        }
        asn_write_pkcs12_easy(easy, &crypto, out);
    }

    static pkcs12_bag_t record_of(const bag_t& bag) {
        return bag_of(bag.is_certificate ? 1 : 0, bag.value, bag.friendly_name, bag.local_key_id);
    }
};

der_t attributes_of(const bag_t& bag) {
    return der_set({friendly_name(bag.friendly_name), local_key_id(bag.local_key_id)});
}

pbes2_t pbes2_of(const container_t& container) {
    pbes2_t pbes2;
    pbes2.salt = der_octet_string(container.pbe_salt);
    pbes2.iv = der_octet_string(container.iv);
    return pbes2;
}

std::string pfx(const container_t& container, const der_t& key) {
    der_members_t certificates;
    for (const bag_t& certificate : container.certificates) {
        certificates.push_back(cert_bag(certificate.value, attributes_of(certificate)));
    }
    encrypted_data_t encrypted;
    encrypted.algorithm = pbes2_of(container).whole();
    encrypted.encrypted_content = der_element(0x80, entry_plaintext(certificates));
    pfx_t pfx({data_entry({key}), encrypted.entry()});
    mac_data_t mac;
    mac.digest = der_octet_string(container.digest);
    mac.salt = der_octet_string(container.mac_salt);
    pfx.mac_data = mac.whole();
    return encode(pfx.whole());
}

container_t make_container(unsigned int seed, std::size_t num_certificates, std::size_t certificate_size) {
    container_t container;
    container.key = {false, private_keys()[seed % 12].der, noise(16, seed + 1), noise(20, seed + 2)};
    for (unsigned int i = 0; i < num_certificates; ++i) {
        const unsigned int own_seed = seed + 3 * i;
        const std::string certificate = encode(der_element(0x30, noise(certificate_size, own_seed)));
        container.certificates.push_back({true, certificate, noise(16, own_seed + 1), noise(20, own_seed + 2)});
    }
    container.pbe_salt = noise(8, seed + 3);
    container.iv = noise(8, seed + 4);
    container.digest = noise(32, seed + 5);
    container.mac_salt = noise(8, seed + 6);
    const der_t shrouded = encrypted_key(container.key.value, pbes2_of(container));
    container.der_to_read = pfx(container, safe_bag(OID_SHROUDED_KEY_BAG, shrouded, attributes_of(container.key)));
    container.der_to_write = pfx(container, key_bag(container.key.value, attributes_of(container.key)));
    return container;
}

// Tells whether a length of three octets or more holds a zero octet. Elements that large are nested.
bool has_zero_in_length(std::string_view elements) {
    constexpr std::size_t LARGE = 0x10000;
    while (elements.size() >= LARGE) {
        const std::string_view content = take_element(elements).content;
        if (content.size() < LARGE) {
            continue;
        }
        if (der_length(content.size()).find('\0') != std::string::npos || has_zero_in_length(content)) {
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

constexpr std::size_t NUM_BAGS = 3; // a key and two certificates

std::vector<container_t> containers() {
    return make_inputs(4, [](unsigned int i) { return make_container(100 * i, NUM_BAGS - 1, 900 + 37 * i); });
}

constexpr std::size_t NUM_BAGS_OF_CHAIN = 4; // a key and three certificates

std::vector<container_t> chains() {
    return make_inputs(
        4, [](unsigned int i) { return make_container(100 * i + 50, NUM_BAGS_OF_CHAIN - 1, 1200 + 41 * i); });
}

std::string listed_mac_of(const container_t& container) {
    return listed_mac(container.digest, container.mac_salt, container.iterations);
}

std::string listed(const container_t& container) {
    const auto line = [](const bag_t& bag) {
        return listed_bag(bag.is_certificate, bag.value, bag.friendly_name, bag.local_key_id);
    };
    std::string lines = line(container.key);
    for (const bag_t& certificate : container.certificates) {
        lines += line(certificate);
    }
    return lines + listed_mac_of(container);
}

} // namespace

std::string listed_bag(bool is_certificate, std::string_view value, std::string_view friendly_name,
                       std::string_view local_key_id) {
    return (is_certificate ? "certificate " : "key ") + upper_hex(value) + " " + upper_hex(friendly_name) + " " +
           upper_hex(local_key_id) + "\n";
}

std::string listed_mac(std::string_view digest, std::string_view salt, unsigned int iterations) {
    return "MAC " + upper_hex(digest) + " " + upper_hex(salt) + " " + std::to_string(iterations) + "\n";
}

void add_container_rows(registry_t& registry) {
    registry.add_reader<read_t<false>, pkcs12_bag_t[NUM_BAGS], pkcs12_mac_t>(
        "PKCS#12 read, closed", {0.04, "OpenSSL"}, containers(), listed_mac_of, &container_t::der_to_read);
    registry.add_reader<read_t<true>, pkcs12_bag_t[NUM_BAGS], pkcs12_mac_t>(
        "PKCS#12 read, opened", {0.06, "OpenSSL"}, containers(), listed, &container_t::der_to_read);
    registry.add_writer<write_t>("PKCS#12 write", {0.08, "OpenSSL"}, containers(), &container_t::der_to_write,
                                 RECORD<pkcs12_bag_t[NUM_BAGS], pkcs12_mac_t>);
    registry.add_reader<read_t<true>, pkcs12_bag_t[NUM_BAGS_OF_CHAIN], pkcs12_mac_t>(
        "PKCS#12 read, opened, chain of three", {}, chains(), listed, &container_t::der_to_read);
    registry.add_writer<write_t>("PKCS#12 write, chain of three", {}, chains(), &container_t::der_to_write,
                                 RECORD<pkcs12_bag_t[NUM_BAGS_OF_CHAIN], pkcs12_mac_t>);
}

void add_container_sizes(registry_t& registry) {
    const std::vector<container_t> inputs = for_each_size(make_large_container);
    registry.add_series<read_t<true>>({"PKCS#12 read", {}, inputs, listed},
                                      sizes_of(inputs, &container_t::der_to_read));
    registry.add_series<write_t>({"PKCS#12 write", {}, inputs, &container_t::der_to_write},
                                 sizes_of(inputs, &container_t::der_to_write));
}
