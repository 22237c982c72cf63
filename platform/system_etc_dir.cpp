#include "platform/system_etc_dir.h"

// The build may name another directory (CMake: DERKIT_SYSTEM_ETC_DIR).
#ifndef DERKIT_SYSTEM_ETC_DIR
#define DERKIT_SYSTEM_ETC_DIR "/etc/"
#endif

std::string systemEtcDir() {
    return DERKIT_SYSTEM_ETC_DIR;
}
