// Names: to text, from text, and to canonical text.
#include "derkit/asn_printable.h"
#include "row.h"
#include "tasks.h"

namespace {

struct to_text_t : name_text_t {
    void operator()(const name_t& name) {
        text.clear();
        asn_dn_to_printable(octets(name.der), size32(name.der), text, PDN_ORDER_AS_ENCODED, OID_MAP_HANDLE_DEFAULT);
    }
};

// Last RDN first, as the peers print.
struct to_reversed_text_t {
    std::string text;
    void operator()(const name_t& name) {
        text.clear();
        asn_dn_to_printable(octets(name.der), size32(name.der), text, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT);
    }
    std::string shown() const { return listed_values(text, order_t::REVERSED); }
};

struct to_der_t : name_der_t {
    void operator()(const name_t& name) { printable_to_asn_dn(name.text.c_str(), der, OID_MAP_HANDLE_DEFAULT); }
};

struct normalize_t : name_text_t {
    void operator()(const name_t& name) { printable_dn_normalize(name.text, text, nullptr, OID_MAP_HANDLE_DEFAULT); }
};

std::string printed(const name_t& name) {
    to_text_t work;
    work(name);
    return work.text;
}

void add_to_text(registry_t& registry, const std::string& name, const target_t& target,
                 const std::vector<name_t>& names) {
    registry.add<to_text_t>({name, target, names, &name_t::values, &name_t::der, printed, der_side_t::INPUT});
    registry.add<to_reversed_text_t>(
        {name + ", last RDN first", target, names, &name_t::values, &name_t::der, printed, der_side_t::INPUT});
}

} // namespace

void add_name_rows(registry_t& registry) {
    add_to_text(registry, "name to text, roots", {0.20, FASTEST}, root_names());
    add_to_text(registry, "name to text, international", {0.04}, international_names());
    add_to_text(registry, "name to text, accented T.61", {}, accented_names());
    registry.add<to_der_t>({"text to name",
                            {0.20},
                            texts_of_roots(),
                            &name_t::attributes,
                            &name_t::text,
                            &name_t::der,
                            der_side_t::OUTPUT});
    registry.add<normalize_t>({"normalise name", {}, texts_of_roots(), &name_t::values, &name_t::text, &name_t::text});
}

void add_name_sizes(registry_t& registry) {
    const std::vector<name_t> names = for_each_size(long_name);
    registry.add_series<to_text_t>({"name to text", {}, names, &name_t::values}, SIZES);
    registry.add_series<to_der_t>({"text to name", {}, names, &name_t::attributes}, sizes_of(names, &name_t::der));
}
