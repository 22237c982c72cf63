// Included first in every unit test.
#ifndef DERKIT_TESTS_PRECOMPILED_H
#define DERKIT_TESTS_PRECOMPILED_H

#include <gtest/gtest.h>

#include <string>

// From C++20 on, libstdc++ compiles the members of std::string again in every source: a fifth of the time that the unit
// tests take to compile. Here they are compiled once, in precompiled.cpp.
extern template class std::basic_string<char>;

#endif
