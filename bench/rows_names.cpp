// Names: to text, from text, and to canonical text.
#include "derkit/asn_printable.h"

#include "der.h"
#include "names.h"
#include "row.h"

namespace {

struct to_text_t {
    std::string text;
    void operator()(const name_t& name) {
        text.clear();
        asn_dn_to_printable(octets(name.der), size32(name.der), text, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT);
    }
    std::string shown(const name_t&) const { return listed_values(text, order_t::AS_ENCODED); }
};

struct to_der_t {
    std::string der;
    void operator()(const name_t& name) { printable_to_asn_dn(name.text.c_str(), der, OID_MAP_HANDLE_DEFAULT); }
    std::string shown(const name_t&) const { return listed_attributes(der, order_t::AS_ENCODED); }
};

struct normalize_t {
    std::string text;
    void operator()(const name_t& name) { printable_dn_normalize(name.text, text, nullptr, OID_MAP_HANDLE_DEFAULT); }
    std::string shown(const name_t&) const { return listed_values(text, order_t::AS_ENCODED); }
};

std::vector<std::string> encodings(const std::vector<name_t>& names) {
    std::vector<std::string> list;
    for (const name_t& name : names) {
        list.push_back(name.der);
    }
    return list;
}

std::vector<std::string> texts(const std::vector<name_t>& names) {
    std::vector<std::string> list;
    for (const name_t& name : names) {
        list.push_back(name.text);
    }
    return list;
}

void add_to_text(registry_t& registry, const char* row_name, const target_t& target, const std::vector<name_t>& names) {
    row_t& row = registry.add(row_name, target);
    std::vector<std::string> printed;
    for (const name_t& name : names) {
        row.expected.push_back(listed_values(name.rdns));
        to_text_t work;
        work(name);
        printed.push_back(work.text);
    }
    row.add<to_text_t>("derkit", names);
    row.add_limits(encodings(names), printed, der_side_t::INPUT);
}

} // namespace

void add_name_rows(registry_t& registry) {
    add_to_text(registry, "name to text, roots", {0.20, std::string(FASTEST)}, root_names());
    add_to_text(registry, "name to text, international", {0.04}, international_names());
    add_to_text(registry, "name to text, accented T.61", {}, accented_names());

    const std::vector<name_t>& names = texts_of_roots();
    row_t& to_der = registry.add("text to name", {0.20});
    row_t& normalize = registry.add("normalise name");
    for (const name_t& name : names) {
        to_der.expected.push_back(listed_attributes(name.rdns));
        normalize.expected.push_back(listed_values(name.rdns));
    }
    to_der.add<to_der_t>("derkit", names);
    to_der.add_limits(texts(names), encodings(names), der_side_t::OUTPUT);
    normalize.add<normalize_t>("derkit", names);
    normalize.add_limits(texts(names), texts(names), der_side_t::NONE);
}

void add_name_sizes(registry_t& registry) {
    static std::deque<std::vector<name_t>> inputs;
    for (const std::size_t size : SIZES) {
        inputs.push_back({long_name(size)});
        row_t& to_text = registry.add_size("name to text", size);
        to_text.expected.push_back(listed_values(inputs.back()[0].rdns));
        to_text.add<to_text_t>("derkit", inputs.back());
    }
    for (const std::vector<name_t>& input : inputs) {
        row_t& to_der = registry.add_size("text to name", input[0].der.size());
        to_der.expected.push_back(listed_attributes(input[0].rdns));
        to_der.add<to_der_t>("derkit", input);
    }
}
