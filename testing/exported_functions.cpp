#include "testing/exported_functions.h"

#include <cxxabi.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace {

std::string demangled(const std::string& symbol) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status),
                                                      std::free);
    return status == 0 ? text.get() : symbol;
}

} // namespace

std::set<std::string> exported_functions() {
    std::ifstream in(DERKIT_EXPORTS);
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
