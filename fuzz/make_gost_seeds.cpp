// Writes seeds for the targets of the GOST library: make_gost_seeds FOLDER makes FOLDER/TARGET/…. Everything is under
// the password of the targets, with one iteration.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include "derkit/gost/gost.h"
#include "support/gost.h"
#include "testing/bytes.h"

namespace {

using namespace derkit::gost;

struct seeds_t {
    std::filesystem::path folder;

    void write(const char* target, const std::string& name, std::string_view seed) const {
        std::filesystem::create_directories(folder / target);
        std::ofstream out(folder / target / name, std::ios::binary);
        out.exceptions(std::ios::badbit | std::ios::failbit);
        out << seed;
    }
};

bag bag_of(bag_type type, std::string_view value) {
    bag made;
    made.type = type;
    made.value = secret(value);
    made.friendly_name = "имя";
    made.local_key_id = "id";
    return made;
}

container container_with(const private_key& key, bool has_others) {
    container made;
    made.add(bag_of(bag_type::private_key, key.write().value()));
    made.add(bag_of(bag_type::certificate, from_hex("30 03 02 01 00")));
    if (has_others) {
        bag other = bag_of(bag_type::other, from_hex("30 05 06 03 2A 03 04"));
        other.id.oid = "1.2.840.113549.1.12.10.1.5";
        other.attributes.push_back({"1.2.3", {from_hex("05 00")}});
        bag bags;
        bags.type = bag_type::bags;
        bags.nested = {bag_of(bag_type::private_key, key.write().value()), other};
        made.add(std::move(bags));
    }
    return made;
}

void write_keys(const seeds_t& seeds, const std::string& name, const private_key& key) {
    for (const key_shape shape : {key_shape::octets, key_shape::octet_string, key_shape::integer}) {
        seeds.write("gost_private_key", name + '-' + name_of(shape), key.write(shape).value());
    }
}

void write_formats(const seeds_t& seeds, const private_key& key) {
    for (const format to :
         {format::gost94, format::native, format::tc26, format::rfc9548, format::rfc9548_omac, format::aes}) {
        for (const block_cipher cipher : {block_cipher::kuznyechik, block_cipher::magma}) {
            write_options options = cheap_options(to);
            options.cipher = cipher;
            const std::string name =
                std::to_string(static_cast<int>(to)) + '-' + std::to_string(static_cast<int>(cipher));
            seeds.write("gost_private_key", name, key.write_encrypted(GOST_PASSWORD, options).value());
            const container made = container_with(key, to != format::native);
            seeds.write("gost_container", name, made.write(GOST_PASSWORD, options).value());
            options.encrypt_certificates = false;
            seeds.write("gost_container", name + "-plain", made.write(GOST_PASSWORD, options).value());
        }
    }
}

void write_seeds(const seeds_t& seeds) {
    const std::string number = from_hex("0102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F20");
    const private_key key = private_key::from_number(key_family::gost2001, "1.2.643.2.2.35.1", number).value();
    write_keys(seeds, "2001", key);
    write_keys(seeds, "2012-256",
               private_key::from_number(key_family::gost2012_256, "1.2.643.7.1.2.1.1.1", number).value());
    write_keys(seeds, "2012-512",
               private_key::from_number(key_family::gost2012_512, "1.2.643.7.1.2.1.2.3", number + number).value());
    write_formats(seeds, key);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_gost_seeds FOLDER\n");
        return EXIT_FAILURE;
    }
    try {
        write_seeds({argv[1]});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
