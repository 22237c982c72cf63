/// @file
/// All of the GOST library.
#ifndef DERKIT_GOST_GOST_H
#define DERKIT_GOST_GOST_H

#include "derkit/gost/container.h"
#include "derkit/gost/limits.h"
#include "derkit/gost/pbe_crypto.h"
#include "derkit/gost/pem.h"
#include "derkit/gost/private_key.h"
#include "derkit/gost/result.h"
#include "derkit/gost/scheme.h"
#include "derkit/gost/secret.h"

#endif
