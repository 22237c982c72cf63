// The option --oid-map, the same for every subcommand that names OIDs.
#ifndef DERKIT_TOOLS_COMMANDS_OID_MAP_OPTION_H
#define DERKIT_TOOLS_COMMANDS_OID_MAP_OPTION_H

#include <string>
#include <vector>

#include "derkit/asn_oidmap.h"

namespace CLI { // NOLINT(readability-identifier-naming): that library's name
class App;
}

class oid_map_option_t {
  public:
    void add_to(CLI::App& command);

    // Without the option: the built-in names and those of the system's qaroids.cfg. With it: the built-in names and
    // those of the files instead, the earlier file first; on a clash the earlier name wins, as it does with
    // qaroids.cfg. To be called once. Throws failure_t.
    oid_map_handle_t load() const;

  private:
    std::vector<std::string> files_;
};

#endif
