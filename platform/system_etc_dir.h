// The system configuration directory: a stand-in, which an integrator can replace at link time.
#ifndef DERKIT_SYSTEM_ETC_DIR_H
#define DERKIT_SYSTEM_ETC_DIR_H

#include <string>

// Returns the directory with its final slash. Called once, while the library is loaded and before static objects of
// ordinary priority exist: an implementation must not use any.
std::string systemEtcDir();

#endif
