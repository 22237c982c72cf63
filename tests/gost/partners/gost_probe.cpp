// Opens and writes containers and keys through the public classes, on behalf of the comparisons with other programs: one
// JSON request a line on standard input, one JSON answer a line on standard output.
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "derkit/gost/gost.h"
#include "testing/bytes.h"

namespace {

using nlohmann::json;
using namespace derkit::gost;

std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::optional<std::string> password_of(const json& request, const char* field = "password") {
    return request.at(field).is_null() ? std::nullopt : std::optional<std::string>(request.at(field));
}

json to_json(const failure& refusal) {
    return {{"cause", name_of(refusal.why)}, {"message", refusal.message()}};
}

template <typename OPTIONAL> json or_null(const OPTIONAL& value) {
    return value.has_value() ? json(*value) : json();
}

json to_json(const encryption_scheme& scheme) {
    return {{"prf", scheme.prf.oid},
            {"cipher", scheme.cipher.oid},
            {"algorithm", scheme.algorithm.oid},
            {"iterations", scheme.iterations},
            {"unsupported", scheme.unsupported.has_value() ? to_json(*scheme.unsupported) : json()}};
}

json key_to_json(const private_key& key) {
    const result<std::string> public_key = key.public_key();
    return {{"family", name_of(key.family())},
            {"param_set", key.param_set().oid},
            {"shape", name_of(key.shape())},
            {"number", to_hex(key.number().view())},
            {"public_key", public_key ? json(to_hex(*public_key)) : to_json(public_key.error())}};
}

json to_json(const bag& from) {
    constexpr const char* TYPES[] = {"key", "certificate", "bags", "other"};
    json out = {{"type", TYPES[static_cast<int>(from.type)]},
                {"id", from.id.name},
                {"value", to_hex(from.value.view())},
                {"name", or_null(from.friendly_name)},
                {"local_key_id", from.local_key_id.has_value() ? json(to_hex(*from.local_key_id)) : json()},
                {"attributes", from.attributes.size()}};
    if (from.refusal.has_value()) {
        out["refusal"] = to_json(*from.refusal);
    } else if (from.type == bag_type::private_key) {
        const result<private_key> key = private_key::read(from.value);
        out["key"] = key ? key_to_json(*key) : to_json(key.error());
    }
    return out;
}

json to_json(const container& opened) {
    constexpr const char* VERDICTS[] = {"not checked", "good", "wrong", "none", "unsupported"};
    constexpr const char* KEYS[] = {"unknown", "pbkdf2", "pkcs12_kdf"};
    json out = {{"kind", static_cast<int>(opened.kind())},
                {"native", opened.form() == container_form::native},
                {"mac", VERDICTS[static_cast<int>(opened.mac().verdict)]},
                {"mac_key", KEYS[static_cast<int>(opened.mac().key)]},
                {"entries", json::array()},
                {"bags", json::array()}};
    for (const entry& one : opened.entries()) {
        out["entries"].push_back({{"type", one.content_type.name},
                                  {"encryption", one.encryption.has_value() ? to_json(*one.encryption) : json()},
                                  {"refusal", one.refusal.has_value() ? to_json(*one.refusal) : json()}});
    }
    for (const bag* const one : opened.bags()) {
        out["bags"].push_back(to_json(*one));
    }
    return out;
}

template <typename T> json to_json(const result<T>& got) {
    return got ? to_json(*got) : json{{"failure", to_json(got.error())}};
}

json open_container(const json& request) {
    open_options options;
    if (request.value("unverified", false)) {
        options.mac = integrity::accept_unverified;
    }
    return to_json(container::open(read_file(request.at("file")), password_of(request), options));
}

write_options options_of(const json& request) {
    static const std::pair<const char*, format> FORMATS[] = {
        {"gost94", format::gost94},   {"native", format::native},     {"tc26", format::tc26},
        {"rfc9548", format::rfc9548}, {"omac", format::rfc9548_omac}, {"aes", format::aes}};
    write_options options;
    for (const auto& [name, is] : FORMATS) {
        if (request.at("to") == name) {
            options.to = is;
        }
    }
    options.cipher = request.value("cipher", "") == "magma" ? block_cipher::magma : block_cipher::kuznyechik;
    options.sections = request.value("sections", "") == "tls" ? section::tls : section::standard;
    options.iterations = request.value("iterations", 8U);
    options.encrypt_certificates = request.value("encrypt_certificates", true);
    return options;
}

json written(const json& request, const result<std::string>& made) {
    if (!made) {
        return {{"failure", to_json(made.error())}};
    }
    std::ofstream(request.at("out").get<std::string>(), std::ios::binary) << *made;
    return {{"size", made->size()}};
}

json write_container(const json& request) {
    container made;
    for (const char* const type : {"keys", "certificates"}) {
        for (const std::string path : request.at(type)) {
            bag added;
            added.type = type == std::string("keys") ? bag_type::private_key : bag_type::certificate;
            added.value = secret(read_file(path));
            added.friendly_name = request.at("name").get<std::string>();
            added.local_key_id = "\1\2\3";
            made.add(std::move(added));
        }
    }
    return written(request, made.write(request.at("password").get<std::string>(), options_of(request)));
}

json convert_container(const json& request) {
    const result<container> opened = container::open(read_file(request.at("file")), password_of(request));
    if (!opened) {
        return to_json(opened);
    }
    return written(request, opened->write(request.at("new_password").get<std::string>(), options_of(request)));
}

result<private_key> read_key_of(const json& request) {
    return private_key::read(read_file(request.at("file")), password_of(request));
}

json read_key(const json& request) {
    const result<private_key> key = read_key_of(request);
    return key ? key_to_json(*key) : to_json(key.error());
}

json write_key(const json& request) {
    const result<private_key> key = read_key_of(request);
    if (!key) {
        return to_json(key.error());
    }
    constexpr std::pair<const char*, key_shape> SHAPES[] = {
        {"octets", key_shape::octets}, {"octet_string", key_shape::octet_string}, {"integer", key_shape::integer}};
    key_shape shape = key_shape::octets;
    for (const auto& [name, is] : SHAPES) {
        if (request.value("shape", "octets") == name) {
            shape = is;
        }
    }
    if (request.at("to") == "plain") {
        const result<secret> plain = key->write(shape);
        return written(request, plain ? result<std::string>(std::string(plain->view())) : plain.error());
    }
    return written(request,
                   key->write_encrypted(request.at("new_password").get<std::string>(), options_of(request), shape));
}

json belongs(const json& request) {
    const result<private_key> key = read_key_of(request);
    if (!key) {
        return to_json(key.error());
    }
    const result<bool> does = key->belongs_to(read_file(request.at("certificate")));
    return does ? json{{"belongs", *does}} : to_json(does.error());
}

json answer(const json& request) {
    static const std::pair<const char*, json (*)(const json&)> REQUESTS[] = {
        {"open", open_container},
        {"write", write_container},
        {"convert", convert_container},
        {"read key", read_key},
        {"write key", write_key},
        {"belongs", belongs},
        {"inspect", [](const json& asked) { return to_json(container::inspect(read_file(asked.at("file")))); }}};
    for (const auto& [name, does] : REQUESTS) {
        if (request.at("do") == name) {
            return does(request);
        }
    }
    return {{"failure", "unknown request"}};
}

} // namespace

int main() {
    for (std::string line; std::getline(std::cin, line);) {
        std::cout << answer(json::parse(line)).dump(-1, ' ', false, json::error_handler_t::replace) << std::endl;
    }
}
