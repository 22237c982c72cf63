/// @file
/// All helpers. They are header-only and C++14; derkit/derkit.h does not include them.
#ifndef DERKIT_HELPERS_HELPERS_H
#define DERKIT_HELPERS_HELPERS_H

#include "derkit/helpers/bytes.h"
#include "derkit/helpers/cursor.h"
#include "derkit/helpers/names.h"
#include "derkit/helpers/pkcs12.h"

#endif
