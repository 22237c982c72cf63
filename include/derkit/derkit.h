/// @file
/// The whole library.
#ifndef DERKIT_DERKIT_H
#define DERKIT_DERKIT_H

#include "derkit/asn_helper.h"
#include "derkit/asn_oidmap.h"
#include "derkit/asn_printable.h"
#include "derkit/asn_reader.h"
#include "derkit/asn_types.h"
#include "derkit/int2str.h"
#include "derkit/pkcs12_helper.h"
#include "derkit/pkcs8_helper.h"
#include "derkit/t61.h"

#endif
