#include "passes.h"

results_t::results_t(const std::string& json)
    : json_(json.empty() ? nullptr : std::fopen(json.c_str(), "w"), &std::fclose) {}

void results_t::add_peer(const peer_t& peer) {
    if (json_ != nullptr) {
        std::fprintf(json_.get(), "{\"peer\": \"%s\", \"version\": \"%s\"}\n", peer.name.c_str(), peer.version.c_str());
    }
}

// Names need no escapes: they are ours.
void results_t::add(const judged_row_t& judged, std::size_t contender, const char* what, double value) {
    const row_t& row = *judged.row;
    const contender_t& by = row.contenders[contender];
    std::printf("%-32s %-20s %14.2f %s\n", row.name.c_str(), by.name.c_str(), value, what);
    if (json_ != nullptr) {
        std::fprintf(json_.get(),
                     "{\"row\": \"%s\", \"contender\": \"%s\", \"limit\": %s, \"faithful\": %s, \"target\": %g, "
                     "\"against\": \"%s\", \"size\": %zu, \"%s\": %.17g}\n",
                     row.name.c_str(), by.name.c_str(), by.is_limit ? "true" : "false",
                     judged.is_faithful(contender) ? "true" : "false", row.target.at_most, row.target.against.c_str(),
                     row.size, what, value);
    }
}
