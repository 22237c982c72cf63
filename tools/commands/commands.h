// The subcommands. Each declares itself with its options and does its work once the command line has been parsed.
#ifndef DERKIT_TOOLS_COMMANDS_COMMANDS_H
#define DERKIT_TOOLS_COMMANDS_COMMANDS_H

#include "commands/command_line.h"
#include "io/console.h"

void add_alg_command(command_t& parent, console_t& console);
void add_asn1_command(command_t& parent, console_t& console);
void add_cert_command(command_t& parent, console_t& console);
void add_dn_command(command_t& parent, console_t& console);
void add_dn_compare(command_t& dn, console_t& console);
void add_names_command(command_t& parent, console_t& console);
void add_oid_command(command_t& parent, console_t& console);
void add_spki_command(command_t& parent, console_t& console);
void add_time_command(command_t& parent, console_t& console);

// With the GOST library only.
void add_key_command(command_t& parent, console_t& console);
void add_key_convert(command_t& key, console_t& console);
void add_p12_show(command_t& p12, console_t& console);
void add_p12_extract(command_t& p12, console_t& console);
void add_p12_make(command_t& p12, console_t& console);
void add_p12_convert(command_t& p12, console_t& console);
void add_p12_password(command_t& p12, console_t& console);

#endif
