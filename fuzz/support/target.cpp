#include "support/target.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "testing/bytes.h"

namespace {

// Larger inputs only slow a fuzzer down. Within this limit no element that the targets write comes near 65,536 octets,
// where the lengths that writers encode become too short.
constexpr std::size_t MAX_INPUT_SIZE = 8192;

void show(const char* label, std::string_view bytes) {
    std::fprintf(stderr, "%s [%s]\n", label, to_hex(bytes).c_str());
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
