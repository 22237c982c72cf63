// The configuration directory is what the environment says.
#include <cstdlib>
#include <string>

#include "platform/system_etc_dir.h"

std::string systemEtcDir() {
    const char* const dir = std::getenv("PROBE_ETC_DIR");
    if (dir == nullptr) {
        std::abort();
    }
    return dir;
}
