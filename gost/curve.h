// The elliptic curves of GOST R 34.10, on libgcrypt. Numbers are octets, highest first, as many as the curve has; points
// are x and y, each lowest octet first.
#ifndef DERKIT_GOST_CURVE_H
#define DERKIT_GOST_CURVE_H

#include <cstddef>
#include <string>
#include <string_view>

#include "derkit/gost/result.h"
#include "derkit/gost/secret.h"

namespace derkit::gost {

struct curve_row {
    std::string_view oid;
    std::string_view name; // for people
    const char* gcrypt;    // libgcrypt's name
    std::size_t size;      // octets of a number
};

// The row of a parameter set; null when it is unknown.
const curve_row* find_curve(std::string_view oid);

// Tells whether a number is not zero and below the order.
result<bool> is_private_number(const curve_row& curve, std::string_view number);

// The product of two numbers modulo the order.
result<secret> multiply_numbers(const curve_row& curve, std::string_view a, std::string_view b);

// The public key of a private number.
result<std::string> multiply_generator(const curve_row& curve, std::string_view number);

} // namespace derkit::gost

#endif
