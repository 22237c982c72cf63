// Everything that containers and private keys do with a password, as cases for tests that let something fail.
#ifndef DERKIT_TESTS_GOST_WORK_WITH_CONTAINERS_H
#define DERKIT_TESTS_GOST_WORK_WITH_CONTAINERS_H

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "derkit/gost/container.h"
#include "derkit/gost/private_key.h"

// The first refusal of anything in a container.
inline derkit::gost::cause first_refusal(const derkit::gost::container& opened) {
    for (const derkit::gost::entry& one : opened.entries()) {
        if (one.refusal.has_value()) {
            return one.refusal->why;
        }
    }
    for (const derkit::gost::bag* const one : opened.bags()) {
        if (one->refusal.has_value()) {
            return one->refusal->why;
        }
    }
    return derkit::gost::cause::none;
}

// Writes a container with a key twice, once as the standard has it and once inside a bag of bags, and opens it.
inline derkit::gost::cause write_and_open(const derkit::gost::write_options& options, std::string_view password,
                                          std::string_view private_key_info) {
    using namespace derkit::gost;
    bag key;
    key.type = bag_type::private_key;
    key.value = secret(private_key_info);
    key.friendly_name = "name";
    container made;
    if (options.to != format::native) {
        bag bags;
        bags.type = bag_type::bags;
        bags.nested.push_back(key);
        made.add(std::move(bags));
    }
    made.add(std::move(key));
    const result<std::string> file = made.write(password, options);
    if (!file) {
        return file.why();
    }
    const result<container> opened = container::open(*file, password);
    return opened ? first_refusal(*opened) : opened.why();
}

// Writes a key under a password, reads it and computes its public key. Its number is what ends `octets`.
inline derkit::gost::cause write_and_read_key(std::string_view password, std::string_view octets) {
    using namespace derkit::gost;
    constexpr std::size_t SIZE = 32;
    const secret number =
        octets.size() < SIZE ? secret(std::string(SIZE, '\1')) : secret(octets.substr(octets.size() - SIZE));
    const result<private_key> key = private_key::from_number(key_family::gost2001, "1.2.643.2.2.35.1", number);
    if (!key) {
        return key.why();
    }
    write_options options;
    options.iterations = 3;
    const result<std::string> written = key->write_encrypted(password, options, key_shape::integer);
    if (!written) {
        return written.why();
    }
    const result<private_key> read = private_key::read(*written, password);
    if (!read) {
        return read.why();
    }
    const result<secret> masked = read->write(key_shape::octet_string);
    return masked ? read->public_key().why() : masked.why();
}

#endif
