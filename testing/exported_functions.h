// The names of all exported functions, from the list that the build exports by.
#ifndef DERKIT_TESTING_EXPORTED_FUNCTIONS_H
#define DERKIT_TESTING_EXPORTED_FUNCTIONS_H

#include <cxxabi.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>

inline std::string demangled(const std::string& symbol) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status),
                                                      std::free);
    return status == 0 ? text.get() : symbol;
}

// "printable_dn_reverse", "i2s::LogTimeToString", "IntToString::getInt"; overloads once, variables not.
inline std::set<std::string> exported_functions() {
    const std::filesystem::path root = std::filesystem::path(__FILE__).parent_path().parent_path();
    const char* const list = sizeof(void*) == 4 ? "libderkit.i386.symbols" : "libderkit.x86_64.symbols";
    std::ifstream in(root / "exports" / list);
    std::set<std::string> names;
    for (std::string symbol; std::getline(in, symbol);) {
        const std::string name = demangled(symbol);
        const std::size_t parameters = name.find('(');
        if (parameters != std::string::npos) {
            names.insert(name.substr(0, parameters));
        }
    }
    if (names.empty()) {
        throw std::runtime_error("no list of exported symbols");
    }
    return names;
}

#endif
