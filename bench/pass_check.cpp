// Which contenders do each row faithfully, and what those do that do not.
#include <cstdio>

#include "json.h"
#include "passes.h"

void run_check_pass(const std::vector<judged_row_t>& rows, const options_t& options, int, char**) {
    json_writer_t(options.json).add_peers(registry_t::instance().peers());
    for (const judged_row_t& judged : rows) {
        std::printf("== %s\n", judged.row->name.c_str());
        for (std::size_t i = 0; i < judged.mismatches.size(); ++i) {
            const contender_t& contender = judged.row->contenders[i];
            if (!contender.is_limit) {
                std::printf("%s: %s\n", contender.name.c_str(),
                            judged.is_faithful(i) ? "faithful" : judged.mismatches[i].c_str());
            }
        }
    }
}
