// The names of all exported functions, from the list that the build exports by.
#ifndef DERKIT_TESTING_EXPORTED_FUNCTIONS_H
#define DERKIT_TESTING_EXPORTED_FUNCTIONS_H

#include <set>
#include <string>

// "printable_dn_reverse", "i2s::LogTimeToString", "IntToString::getInt"; overloads once, variables not.
std::set<std::string> exported_functions();

#endif
