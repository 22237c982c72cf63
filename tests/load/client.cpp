// A library that needs the library and uses it at once when it is loaded.
#include "first_use.h"

namespace {

char seen[100]; // there before any constructor runs

[[gnu::constructor]] void use() {
    first_use().copy(seen, sizeof seen - 1);
}

} // namespace

extern "C" __attribute__((visibility("default"))) const char* what_the_constructor_saw();

const char* what_the_constructor_saw() {
    return seen;
}
