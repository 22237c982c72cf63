// Measurements for scripts: one JSON object a line, so that several runs can be put behind each other.
#ifndef DERKIT_BENCH_JSON_H
#define DERKIT_BENCH_JSON_H

#include <cstdio>
#include <memory>
#include <string>

#include "passes.h"

class json_writer_t {
  public:
    // Without a file name nothing is written.
    explicit json_writer_t(const std::string& file)
        : file_(file.empty() ? nullptr : std::fopen(file.c_str(), "w"), &std::fclose) {}

    void add_peers(const std::vector<registry_t::peer_t>& peers) {
        for (const registry_t::peer_t& peer : peers) {
            if (file_ != nullptr) {
                std::fprintf(file_.get(), "{\"peer\": \"%s\", \"version\": \"%s\"}\n", peer.name.c_str(),
                             peer.version.c_str());
            }
        }
    }

    // Names need no escapes: they are ours.
    void add(const judged_row_t& judged, std::size_t contender, const char* what, double value) {
        if (file_ == nullptr) {
            return;
        }
        const row_t& row = *judged.row;
        std::fprintf(file_.get(),
                     "{\"row\": \"%s\", \"contender\": \"%s\", \"limit\": %s, \"faithful\": %s, \"target\": %g, "
                     "\"against\": \"%s\", \"size\": %zu, \"%s\": %.17g}\n",
                     row.name.c_str(), row.contenders[contender].name.c_str(),
                     row.contenders[contender].is_limit ? "true" : "false",
                     judged.is_faithful(contender) ? "true" : "false", row.target.at_most, row.target.against.c_str(),
                     row.size, what, value);
    }

  private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

#endif
