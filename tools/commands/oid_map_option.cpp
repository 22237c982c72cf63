#include "commands/oid_map_option.h"

#include <CLI/CLI.hpp>

#include "io/bytes.h"
#include "io/input_file.h"

void oid_map_option_t::add_to(CLI::App& command) {
    command
        .add_option("--oid-map", files_,
                    "Names of OIDs, a line \"OID = SHORT, long name\" each, in place of the system's qaroids.cfg; "
                    "repeatable")
        ->type_name("FILE")
        ->allow_extra_args(false); // one file for each --oid-map: what follows is an argument
}

oid_map_handle_t oid_map_option_t::load() const {
    if (files_.empty()) {
        return OID_MAP_HANDLE_DEFAULT_FILE;
    }
    // A map cannot be copied, so the files are added to the ready-made one of the built-in names: there is no second
    // table of those, and what the map held wins. It serves the whole process, which is this one command.
    for (const std::string& file : files_) {
        const std::string text = read_input(file);
        oid_map_parse_(*OID_MAP_HANDLE_DEFAULT.map, text.data(), size_of(text));
    }
    return OID_MAP_HANDLE_DEFAULT;
}
