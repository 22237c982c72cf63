#include "support/target.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "derkit/int2str.h"

namespace {

// Beyond this a fuzzer only gets slower. No element that the targets make of an input comes near 65,536 octets then,
// from where on the writers' lengths can come out too short.
constexpr std::size_t MAX_INPUT_SIZE = 8192;

void show(const char* label, std::string_view bytes) {
    std::string hex;
    TO_HEX_STD_STRING(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned int>(bytes.size()),
                      hex, ' ');
    std::fprintf(stderr, "%s [%s]\n", label, hex.c_str());
}

} // namespace

void require(bool holds, const char* rule) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", rule);
        std::abort();
    }
}

void require_same(std::string_view expected, std::string_view actual, const char* rule) {
    if (expected != actual) {
        show("expected", expected);
        show("but got ", actual);
        require(false, rule);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size <= MAX_INPUT_SIZE) {
        check_input(std::string_view(reinterpret_cast<const char*>(data), size));
    }
    return 0;
}
