// What several commands show, and how messages name an object.
#ifndef DERKIT_TOOLS_COMMANDS_FACTS_H
#define DERKIT_TOOLS_COMMANDS_FACTS_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "formats/certificate.h"
#include "formats/name.h"
#include "formats/public_key.h"
#include "io/console.h"

// "FILE: key 2 (line 7)".
place_t place_in_pem(const std::string& file, const char* thing, unsigned int number, std::size_t line);

void warn_of_trailing(const std::string& subject, const char* thing, unsigned long long size, console_t& console);

// Handles one file after the other; what cannot be used is reported, and the others go on.
void for_each_file(const std::vector<std::string>& files, console_t& console,
                   const std::function<void(const std::string& file)>& handle);

// The same for arguments that are no files.
void for_each_argument(const std::vector<std::string>& arguments, console_t& console,
                       const std::function<void(const std::string& argument, const place_t& place)>& handle);

// Adds the OID, and a remark if it is in hexadecimal.
void add_oid(const char* key, const named_oid_t& named, record_t& record);

// As above, with the name in front, as far as there are any.
void add_named(const char* name_key, const char* oid_key, const std::optional<named_oid_t>& named, record_t& record);

// Adds the sets in the order of the parameters of a GOST key.
void add_param_sets(const std::vector<named_oid_t>& param_sets, record_t& record);

// Its algorithm, size and parameter sets.
void add_public_key(const public_key_t& key, record_t& record);

// The rest of its encoding: modulus and exponent, parameters of RSASSA-PSS.
void add_public_key_details(const public_key_t& key, record_t& record);

// Adds the times of a Validity, in local time too if `local` is set. Returns what is wrong with those that cannot be shown.
std::vector<std::string> add_validity(const blob_t& content, bool local, record_t& record);

// Adds version, serial number, validity (in local time too if `local` is set), algorithms, the size or the parameter sets
// of the key, fingerprints and extensions. Returns what is wrong with those that cannot be shown.
std::vector<std::string> add_certificate_facts(const certificate_t& certificate, const name_style_t& style, bool local,
                                               record_t& record);

// Adds the text of a DER Name.
void add_name(const char* key, const blob_t& name, const name_style_t& style, record_t& record);

// Writes the record's remarks. `subject` names its object.
void warn_of_remarks(const record_t& record, const std::string& subject, console_t& console);

#endif
