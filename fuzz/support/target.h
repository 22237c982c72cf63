// The parts of every fuzz target: its one function, and rules that must hold.
#ifndef DERKIT_FUZZ_TARGET_H
#define DERKIT_FUZZ_TARGET_H

#include <string_view>

// Checks the rules of a family on one input. Every target defines it.
void check_input(std::string_view input);

// Ends the process when a rule does not hold, so that the fuzzer keeps the input.
void require(bool holds, const char* rule);

// As above, and shows both sides as hex.
void require_same(std::string_view expected, std::string_view actual, const char* rule);

#endif
