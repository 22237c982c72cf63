// What a program's first code does with the library, in a static initialiser or in a constructor of a library.
#ifndef DERKIT_TESTS_FIRST_USE_H
#define DERKIT_TESTS_FIRST_USE_H

#include <string>

#include "derkit/derkit.h"

// "a name, with a type of the configuration file;is that built in;T.61;algorithm"
inline constexpr char FIRST_USE_EXPECTED[] = "CN=a,FOO=b;no;\u00E9;RSA";

inline std::string first_use() {
    std::string result;
    printable_dn_normalize("cn=a, 1.2.3=b", result, nullptr, OID_MAP_HANDLE_DEFAULT_FILE);
    result += oid_map_find_sn(OID_MAP_HANDLE_DEFAULT, "FOO", 3) == nullptr ? ";no;" : ";yes;";
    ldap_t61s_to_utf8s("\xC2\x65", 2, result);
    return result + ";" + I2S_PKI_ALG_T->getString(PKI_ALG_RSA, "none");
}

#endif
