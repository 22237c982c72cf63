// Where the system keeps its configuration. A stand-in that an integrator replaces by linking another one.
#ifndef DERKIT_SYSTEM_ETC_DIR_H
#define DERKIT_SYSTEM_ETC_DIR_H

#include <string>

// The system configuration directory, with its final slash. Called once, while the library is loaded and before static
// objects of ordinary priority exist: an implementation must not use any.
std::string systemEtcDir();

#endif
