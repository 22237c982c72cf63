// What a certificate tells beside its names.
#ifndef DERKIT_TOOLS_COMMANDS_CERTIFICATE_FACTS_H
#define DERKIT_TOOLS_COMMANDS_CERTIFICATE_FACTS_H

#include <string>
#include <vector>

#include "derkit/asn_oidmap.h"
#include "formats/certificate.h"
#include "io/record.h"

// Adds serial number, validity (in local time too when `local` is set), algorithms and the size or the parameter sets
// of the key. Gives what is wrong with those that cannot be shown.
std::vector<std::string> add_certificate_facts(const certificate_t& certificate, const oid_map_handle_t& map,
                                               bool local, record_t& record);

#endif
