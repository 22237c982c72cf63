/// @file
/// Times, hexadecimal text and value-name tables.
#ifndef DERKIT_INT2STR_H
#define DERKIT_INT2STR_H

#include <string>

#include "derkit/asn_types.h"

/// @defgroup texts Times, hexadecimal text, value-name tables
/// All functions are safe from any thread on distinct arguments, TimeToString(long) excepted. The only exception
/// that leaves them is std::bad_alloc.
/// @{

/// UTC calendar time in bit fields: year (63-40), month from 0 (39-32), day (31-24), hour (23-16), minute (15-8),
/// second (7-0). A year below 1900 is invalid.
typedef unsigned long long cert_time64_t;

enum : cert_time64_t {
    CERT_TIME64_INVALID = ~0ULL ///< the invalid time, which a failed parse returns
};

/// Namespace of LogTimeToString().
namespace i2s {
/// Writes seconds since the epoch as local time "%Y.%m.%d %H:%M:%S".
/// @param t    seconds
/// @param buf  receives the text, zero-terminated
/// @return `buf`, or the constant text "0000.00.00 00:00:00" when the time cannot be broken down
DERKIT_API const char* LogTimeToString(long t, char (&buf)[32]);
} // namespace i2s

/// Appends seconds since the epoch as local time in the layout of ctime(), without its newline, or "Bad time".
/// @param t    seconds
/// @param out  the text is appended to it
/// @return `out`
DERKIT_API std::string& TimeToString(long t, std::string& out);

/// Writes the same to the system library's static buffer, which the next call overwrites: not reentrant.
/// @param t  seconds
/// @return the text, zero-terminated
DERKIT_API const char* TimeToString(long t);

/// Appends "%d.%m.%Y %H:%M:%S GMT", or "Error time" for an invalid time.
/// @param t    a time in UTC
/// @param out  the text is appended to it
/// @return `out`
DERKIT_API std::string& CertTimeToStringGMT(cert_time64_t t, std::string& out);

/// Assigns "%Y.%m.%d %H:%M:%S GMT", or "0000.00.00 00:00:00" for an invalid time.
/// @param t    a time in UTC
/// @param out  receives the text, which replaces what it held
/// @return `out`
DERKIT_API std::string& CertTimeToLogStringGMT(cert_time64_t t, std::string& out);

/// Appends the time as local time "%d.%m.%Y %H:%M:%S", or "Error time" for an invalid time. A time that cannot be
/// converted is appended unconverted, followed by " GMT", or by " UTC" when only the last step to local time fails.
/// @param t    a time in UTC
/// @param out  the text is appended to it
/// @return `out`
DERKIT_API std::string& CertTimeToString(cert_time64_t t, std::string& out);

/// Parses "year.month.day hour:minute:second"; fields need no leading zeros. The upper bounds of month, day, hour,
/// minute and second are not checked: month and day are cut to eight bits; a larger hour, minute or second carries into
/// the field before it.
/// @param s  the text; anything after the second is ignored
/// @return the time, or CERT_TIME64_INVALID
DERKIT_API cert_time64_t CertTimeFromLogStringGMT(const std::string& s);

/// Converts a time to seconds since the epoch. The offset from UTC is that of the present moment, not of `t`; where
/// `long` has 32 bits the sum wraps.
/// @param t  a time in UTC
/// @return the seconds; -1 for an invalid time or a failed conversion
DERKIT_API long CertTimeTo_time_t(cert_time64_t t);

/// One row of a value-name table. A table is an array of rows that ends with a row whose name is null; call the members
/// on its first row.
struct IntToString {
    unsigned int value = 0;     ///< the value
    const char* name = nullptr; ///< its name, zero-terminated; a null pointer ends the table

    /// Finds a name.
    /// @param value  the value to look for
    /// @param dflt   what to return when there is none; any pointer
    /// @return the name of the first row with `value`, or `dflt`
    DERKIT_API const char* getString(unsigned int value, const char* dflt) const;

    /// Finds a value.
    /// @param name  zero-terminated name to look for, without regard to ASCII case
    /// @param dflt  what to return when there is none
    /// @return the value of the first row with `name`, or `dflt`
    DERKIT_API unsigned int getInt(const char* name, unsigned int dflt) const;
};

/// Names of the log levels.
extern DERKIT_API const IntToString I2S_LOG_LEVEL[];

/// Display names of the algorithm codes (pki_alg_t).
extern DERKIT_API const IntToString I2S_PKI_ALG_T[];

/// Writes bytes as upper-case hexadecimal digits. Bytes and digits must not overlap.
/// @param data  bytes
/// @param len   their number; never 0, as one byte is always converted
/// @param out   receives 2 * len characters, and len - 1 more when `sep` is set; no terminating zero
/// @param sep   character between two bytes; NUL for none
DERKIT_API void TO_HEX_STRING(const unsigned char* data, unsigned int len, char* out, char sep);

/// Appends bytes as upper-case hexadecimal digits; no bytes append no digits. The bytes must not lie in `out`.
/// @param data  bytes
/// @param len   their number
/// @param out   receives 2 * len characters, and len - 1 more when `sep` is set, appended to what it holds
/// @param sep   character between two bytes; NUL for none
/// @return `out`
DERKIT_API std::string& TO_HEX_STD_STRING(const unsigned char* data, unsigned int len, std::string& out, char sep);

/// @}

#endif
