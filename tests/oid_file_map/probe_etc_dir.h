// The configuration directory of the probe: what the environment says.
#ifndef DERKIT_TESTS_PROBE_ETC_DIR_H
#define DERKIT_TESTS_PROBE_ETC_DIR_H

// The directory, as it is to be returned.
constexpr char PROBE_ETC_DIR[] = "PROBE_ETC_DIR";

// Set: the directory is not returned, but this is thrown: "exception", "bad_alloc" or "int".
constexpr char PROBE_THROW[] = "PROBE_THROW";

// Set: whoever is root becomes nobody before the directory is returned, for root reads every file.
constexpr char PROBE_DROP_ROOT[] = "PROBE_DROP_ROOT";

// Set: no descriptor is left to open a file with, until allow_descriptors() is called.
constexpr char PROBE_NO_DESCRIPTORS[] = "PROBE_NO_DESCRIPTORS";

// Exit status when root cannot become nobody here.
constexpr int PROBE_CANNOT_DROP_ROOT = 77;

// How often systemEtcDir() was called.
extern int num_etc_dir_calls;

// What counts lines, or looks for leaks, opens files at the end.
void allow_descriptors();

#endif
