// Object identifiers to translate.
#ifndef DERKIT_BENCH_OIDS_H
#define DERKIT_BENCH_OIDS_H

#include <string>
#include <vector>

struct oid_t {
    std::string text;
    std::string content; // octets without identifier and length
    std::string der;
};

// Those that certificates, keys and containers use.
const std::vector<oid_t>& common_oids();

struct named_oid_t {
    oid_t oid;
    std::string name;     // upper case
    std::string spelling; // as OpenSSL writes it
};

// The lines of a map, a thousand of them: those of OpenSSL's own table where it is there, so that both search the
// same; made-up ones otherwise. The lookups run through all of them.
struct oid_table_t {
    std::vector<named_oid_t> lines;
    std::vector<named_oid_t> lookups;
};
const oid_table_t& oid_table();

// What fills the table when OpenSSL is there.
extern std::vector<named_oid_t> (*g_list_named_oids)();

oid_t make_oid(const std::string& text);

#endif
