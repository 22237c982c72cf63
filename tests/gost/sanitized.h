// Whether the program runs under AddressSanitizer.
#ifndef DERKIT_TESTS_GOST_SANITIZED_H
#define DERKIT_TESTS_GOST_SANITIZED_H

#if defined(__SANITIZE_ADDRESS__)
constexpr bool SANITIZED = true;
#elif defined(__has_feature)
constexpr bool SANITIZED = __has_feature(address_sanitizer);
#else
constexpr bool SANITIZED = false;
#endif

#endif
