// GOST private keys: reading in every shape, plain and encrypted, and writing what was read.
#include <optional>
#include <string>

#include "derkit/gost/private_key.h"
#include "support/gost.h"
#include "support/input.h"

namespace {

using namespace derkit::gost;

void check_same_key(const private_key& expected, const result<private_key>& actual, const char* rule) {
    require(actual.ok(), rule);
    require_same(expected.number().view(), actual->number().view(), rule);
    require(expected.family() == actual->family(), rule);
    require(expected.param_set().oid == actual->param_set().oid, rule);
}

void check_written(const private_key& key) {
    for (const key_shape shape : {key_shape::octets, key_shape::octet_string, key_shape::integer}) {
        const result<secret> written = key.write(shape);
        require(written.ok() || shape == key_shape::integer, "a key is written in every shape");
        if (written) {
            const result<private_key> again = private_key::read(*written);
            check_same_key(key, again, "a written key reads back");
            require(again->shape() == shape, "a written key has the shape that was asked for");
        }
    }
    const result<std::string> encrypted = key.write_encrypted(GOST_PASSWORD, cheap_options(format::tc26));
    require(encrypted.ok(), "a key is encrypted");
    check_same_key(key, private_key::read(*encrypted, GOST_PASSWORD), "an encrypted key reads back");
}

void check_public_key(const private_key& key) {
    const result<std::string> point = key.public_key();
    require(point.ok() || point.why() == cause::unsupported_param_set, "a key on a known curve has a public key");
    require(!point || point->size() == 2 * key.number().size(), "a public key is x and y");
}

std::string read(const exact_bytes_t& in) {
    const std::string_view der(reinterpret_cast<const char*>(in.data()), in.size());
    const result<key_outline> outline = private_key::inspect(der, cheap_limits());
    const result<private_key> key = private_key::read(der, GOST_PASSWORD, cheap_limits());
    require(outline.ok() || !key, "a key that is read can be inspected");
    if (!key) {
        return std::string("refused: ") + name_of(key.why());
    }
    require(outline->encryption.has_value() || outline->shape == key->shape(), "a key has the shape of its outline");
    check_written(*key);
    check_public_key(*key);
    return std::string(key->number().view()) + name_of(key->shape());
}

} // namespace

void check_input(std::string_view input) {
    const exact_bytes_t alone(input);
    const std::string answer = read(alone);
    if (!answer.starts_with("refused")) {
        const exact_bytes_t longer(std::string(input) + '\0');
        require(read(longer).starts_with("refused"), "nothing may follow a key");
    }
}
