// Object identifiers: text to DER and back, short names by OID and back.
#include <algorithm>
#include <set>

#include "derkit/asn_oidmap.h"
#include "row.h"
#include "tasks.h"

namespace {

constexpr std::size_t NUM_LINES = 1000; // of the map

struct to_der_t {
    unsigned char buffer[512];
    unsigned int size = 0;
    void operator()(const oid_t& oid) {
        size = oid_str_to_asn_(oid.text.data(), oid.text.data() + oid.text.size(), buffer);
    }
    std::string shown() const { return std::string(as_chars(buffer, size)); }
};

struct to_text_t : output_t {
    void operator()(const oid_t& oid) {
        out.clear();
        oid_asn_to_str_(octets(oid.content), octets(oid.content) + oid.content.size(), out);
    }
};

// Random letters, two to about twenty of them, as in real names.
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

const std::vector<named_oid_t>& map_lines() {
    static const std::vector<named_oid_t> lines = [] {
        std::vector<named_oid_t> list = list_openssl_oids != nullptr ? list_openssl_oids() : make_up_named_oids();
        list.resize(std::min(list.size(), NUM_LINES));
        return list;
    }();
    return lines;
}

// All lines, but scattered, so that no two neighbours of the map follow each other.
std::vector<named_oid_t> lookups() {
    const std::vector<named_oid_t>& lines = map_lines();
    return make_inputs(lines.size(), [&lines](std::size_t i) { return lines[i * 389 % lines.size()]; });
}

oid_map_handle_t make_map() {
    std::string text;
    for (const named_oid_t& line : map_lines()) {
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
    std::string shown() const {
        return found == nullptr ? "" : std::string(as_chars(found->oid_asn, found->oid_asn_size));
    }
};

struct by_der_t {
    oid_map_handle_t map = shared_map();
    const OIDdescr_t* found = nullptr;
    void operator()(const named_oid_t& named) {
        found = oid_map_find_asn(map, octets(named.oid.content), size32(named.oid.content));
    }
    std::string shown() const { return found == nullptr ? "" : found->oid_sn; }
};

// OIDs of certificates, keys and containers.
std::vector<oid_t> common_oids() {
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

oid_t long_oid(std::size_t size) {
    oid_t oid = make_oid("1.2.840.113549");
    while (oid.content.size() < size) {
        oid.text += ".113549.1.311";
        oid.content += "\x86\xF7\x0D\x01\x82\x37";
    }
    return oid;
}

std::string content_of(const named_oid_t& named) {
    return named.oid.content;
}

} // namespace

oid_t make_oid(const std::string& text) {
    const der_t oid = der_oid(text);
    return {text, oid.octets, encode(oid)};
}

std::string listed_oid(std::string_view der) {
    const element_t oid = take_element(der);
    return oid.tag == 0x06 && der.empty() ? std::string(oid.content) : std::string();
}

void add_oid_rows(registry_t& registry) {
    registry.add<to_der_t>({"OID text to DER", {0.50, "OpenSSL"}, common_oids(), &oid_t::content, &oid_t::text});
    registry.add<to_text_t>({"OID DER to text", {0.20, "libtasn1"}, common_oids(), &oid_t::text, &oid_t::content});
    registry.add<by_name_t>({"short name to OID", {0.50, "OpenSSL"}, lookups(), content_of, &named_oid_t::name});
    registry.add<by_der_t>({"OID to short name", {0.20, "OpenSSL"}, lookups(), &named_oid_t::name, content_of});
}

void add_oid_sizes(registry_t& registry) {
    registry.add_series<to_text_t>({"OID DER to text", {}, for_each_size(long_oid), &oid_t::text}, SIZES);
}
