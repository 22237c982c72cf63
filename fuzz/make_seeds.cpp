// Writes seeds for every target from the catalogue of calls: make_seeds FOLDER makes FOLDER/TARGET/CALL-….
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "testing/calls.h"

namespace {

// The first row whose text is part of a function's name tells its targets.
struct target_t {
    std::string_view part;
    std::array<const char*, 2> targets;
};
constexpr target_t TARGETS[] = {
    {"asn1_read_tag", {"tag_reader", "tag_reader_vs_64bit"}},
    {"_INTEGER", {"tag_reader", "tag_reader_vs_64bit"}},
    {"oid_str_to_asn_", {"oid_text", "oid_text_vs_slow"}},
    {"oid_asn_to_str_", {"oid_text", "oid_text_vs_slow"}},
    {"oid_map_", {"oid_map"}},
    {"_to_printable", {"der_name"}},
    {"TO_HEX_", {"der_name"}},
    {"printable_", {"dn_text", "dn_text_vs_slow"}},
    {"ldap_", {"t61"}},
    {"pkcs8", {"gost_keys"}},
    {"pkcs5", {"gost_keys"}},
    {"pkcs12", {"pkcs12", "pkcs12_parts"}},
    {"PKI_", {"algorithms"}},
    {"IntToString", {"algorithms"}},
    {"digest", {"algorithms"}},
    {"ike_signalg", {"algorithms"}},
    {"pubkey", {"public_keys"}},
    {"dsa_certsign", {"public_keys"}},
    {"Time", {"times"}},
};

const target_t& targets_of(std::string_view function) {
    for (const target_t& row : TARGETS) {
        if (function.find(row.part) != std::string_view::npos) {
            return row;
        }
    }
    throw std::logic_error("no target for " + std::string(function));
}

struct seeds_t {
    std::filesystem::path folder;
    std::size_t number = 0;

    void write(const call_t& call, const std::string& seed) {
        for (const char* const target : targets_of(call.function).targets) {
            if (target != nullptr) {
                std::filesystem::create_directories(folder / target);
                std::ofstream out(folder / target / (call.name + "-" + std::to_string(number)), std::ios::binary);
                out.exceptions(std::ios::badbit | std::ios::failbit);
                out << seed;
            }
        }
        ++number;
    }
};

// Also with every length of its elements in more octets than needed.
std::string in_long_form(const call_t& call) {
    der_t record = *call.record;
    std::vector<der_t*> elements;
    list_elements(record, elements);
    for (std::size_t i = elements.size(); i-- != 0;) { // the innermost first: lengths depend on what is inside
        elements[i]->length = long_length(encode_content(*elements[i]).size());
    }
    return call.input_of(record);
}

void write_seeds(const call_t& call, seeds_t& seeds) {
    for (const std::string& sample : call.samples) {
        seeds.write(call, sample);
        seeds.write(call, sample.substr(0, sample.size() - (sample.empty() ? 0 : 1)));
        seeds.write(call, sample + from_hex("30 03 02 01 00"));
    }
    if (call.record) {
        seeds.write(call, in_long_form(call));
    }
    constexpr std::size_t SHAPE_SIZE = 300;
    for (const shape_t& shape : call.shapes) {
        seeds.write(call, shape.make(SHAPE_SIZE));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds FOLDER\n");
        return EXIT_FAILURE;
    }
    try {
        seeds_t seeds = {argv[1]};
        for (const call_t& call : all_calls()) {
            write_seeds(call, seeds);
        }
        std::printf("%zu seeds\n", seeds.number);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
