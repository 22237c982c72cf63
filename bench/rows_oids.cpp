// Object identifiers: text to DER and back, short names by OID and back.
#include <algorithm>
#include <set>

#include "der.h"
#include "derkit/asn_oidmap.h"
#include "oids.h"
#include "row.h"

namespace {

constexpr std::size_t NUM_LINES = 1000;

struct to_der_t {
    unsigned char buffer[512];
    unsigned int size = 0;
    void operator()(const oid_t& oid) {
        size = oid_str_to_asn_(oid.text.data(), oid.text.data() + oid.text.size(), buffer);
    }
    std::string shown(const oid_t&) const { return std::string(as_chars(buffer, size)); }
};

struct to_text_t {
    std::string text;
    void operator()(const oid_t& oid) {
        text.clear();
        oid_asn_to_str_(octets(oid.content), octets(oid.content) + oid.content.size(), text);
    }
    std::string shown(const oid_t&) const { return text; }
};

// Letters at random, two to about twenty of them, as in the names that people give.
std::string make_up_name(unsigned int seed) {
    std::string name;
    for (const char c : noise(2 + seed * 7919 % 19, seed)) {
        name.push_back(static_cast<char>('A' + static_cast<unsigned char>(c) % 26));
    }
    return name;
}

std::vector<named_oid_t> make_up_named_oids() {
    std::vector<named_oid_t> list;
    std::set<std::string> seen;
    for (unsigned int i = 0; list.size() < NUM_LINES; ++i) {
        const std::string name = make_up_name(i);
        if (seen.insert(name).second) {
            list.push_back(
                {make_oid("1.3.6.1.4.1." + std::to_string(i * i + 1) + "." + std::to_string(i)), name, name});
        }
    }
    return list;
}

oid_table_t make_table() {
    oid_table_t table;
    table.lines = g_list_named_oids != nullptr ? g_list_named_oids() : make_up_named_oids();
    table.lines.resize(std::min(table.lines.size(), NUM_LINES));
    // Scattered, so that no two neighbours of the map follow each other.
    for (std::size_t i = 0; i < table.lines.size(); ++i) {
        table.lookups.push_back(table.lines[i * 389 % table.lines.size()]);
    }
    return table;
}

oid_map_handle_t make_map() {
    std::string text;
    for (const named_oid_t& line : oid_table().lines) {
        text += line.oid.text + " = " + line.spelling + "\n";
    }
    return oid_map_parse(text.data(), size32(text));
}

// Never released: the map serves until the program ends.
oid_map_handle_t shared_map() {
    static const oid_map_handle_t map = make_map();
    return map;
}

struct by_name_t {
    oid_map_handle_t map = shared_map();
    const OIDdescr_t* found = nullptr;
    void operator()(const named_oid_t& named) {
        found = oid_map_find_sn(map, named.spelling.data(), size32(named.spelling));
    }
    std::string shown(const named_oid_t&) const {
        return found == nullptr ? "" : std::string(as_chars(found->oid_asn, found->oid_asn_size));
    }
};

struct by_der_t {
    oid_map_handle_t map = shared_map();
    const OIDdescr_t* found = nullptr;
    void operator()(const named_oid_t& named) {
        found = oid_map_find_asn(map, octets(named.oid.content), size32(named.oid.content));
    }
    std::string shown(const named_oid_t&) const { return found == nullptr ? "" : found->oid_sn; }
};

std::vector<oid_t> make_common_oids() {
    std::vector<oid_t> oids;
    for (const char* const text :
         {"2.5.4.3", "2.5.4.6", "2.5.29.15", "2.5.29.37", "1.2.840.113549.1.1.1", "1.2.840.113549.1.1.11",
          "1.2.840.113549.1.7.1", "1.2.840.113549.1.12.10.1.3", "1.2.643.2.2.19", "1.2.643.7.1.1.1.1",
          "1.2.643.7.1.2.1.1.1", "1.2.643.100.111", "1.3.6.1.5.5.7.3.1", "1.3.6.1.4.1.311.20.2.3",
          "0.9.2342.19200300.100.1.25", "2.16.840.1.101.3.4.2.1"}) {
        oids.push_back(make_oid(text));
    }
    return oids;
}

} // namespace

std::vector<named_oid_t> (*g_list_named_oids)() = nullptr;

oid_t make_oid(const std::string& text) {
    return {text, oid_content(text), oid_element(text)};
}

const std::vector<oid_t>& common_oids() {
    static const std::vector<oid_t> oids = make_common_oids();
    return oids;
}

const oid_table_t& oid_table() {
    static const oid_table_t table = make_table();
    return table;
}

void add_oid_rows(registry_t& registry) {
    const std::vector<oid_t>& oids = common_oids();
    row_t& to_der = registry.add("OID text to DER", {0.50, "OpenSSL"});
    row_t& to_text = registry.add("OID DER to text", {0.20, "libtasn1"});
    for (const oid_t& oid : oids) {
        to_der.expected.push_back(oid.content);
        to_text.expected.push_back(oid.text);
    }
    to_der.add<to_der_t>("derkit", oids);
    to_der.add_limits(to_text.expected, to_der.expected, der_side_t::NONE);
    to_text.add<to_text_t>("derkit", oids);
    to_text.add_limits(to_der.expected, to_text.expected, der_side_t::NONE);

    const std::vector<named_oid_t>& lookups = oid_table().lookups;
    row_t& by_name = registry.add("short name to OID", {0.45, "OpenSSL"});
    row_t& by_der = registry.add("OID to short name", {0.20, "OpenSSL"});
    for (const named_oid_t& named : lookups) {
        by_name.expected.push_back(named.oid.content);
        by_der.expected.push_back(named.name);
    }
    by_name.add<by_name_t>("derkit", lookups);
    by_name.add_limits(by_der.expected, by_name.expected, der_side_t::NONE);
    by_der.add<by_der_t>("derkit", lookups);
    by_der.add_limits(by_name.expected, by_der.expected, der_side_t::NONE);
}

void add_oid_sizes(registry_t& registry) {
    static std::deque<std::vector<oid_t>> inputs;
    for (const std::size_t size : SIZES) {
        oid_t oid = make_oid("1.2.840.113549");
        while (oid.content.size() < size) {
            oid.text += ".113549.1.311";
            oid.content += std::string("\x86\xF7\x0D\x01\x82\x37");
        }
        inputs.push_back({oid});
        row_t& row = registry.add_size("OID DER to text", size);
        row.expected.push_back(oid.text);
        row.add<to_text_t>("derkit", inputs.back());
    }
}
