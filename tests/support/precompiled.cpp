#include "support/precompiled.h"

template class std::basic_string<char>;
