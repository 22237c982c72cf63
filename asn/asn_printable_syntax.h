// Splitting a printable DN into its attributes.
#ifndef DERKIT_ASN_PRINTABLE_SYNTAX_H
#define DERKIT_ASN_PRINTABLE_SYNTAX_H

#include <cstddef>
#include <string_view>
#include <vector>

inline bool is_blank(char c) {
    return c == ' ' || c == '\t';
}

// One attribute of a printable DN; views into the caller's text.
struct RDNdescr_t {
    const char* type_begin = nullptr;
    const char* type_end = nullptr;    // blanks between the type and '=' are outside
    const char* value_begin = nullptr; // right after '=': leading blanks belong to the value
    const char* value_end = nullptr;   // the separator or the final zero: trailing blanks belong to the value
    bool plus_joined = false;          // in one RDN with the attribute before it

    std::string_view type() const { return {type_begin, static_cast<std::size_t>(type_end - type_begin)}; }
    std::string_view value() const { return {value_begin, static_cast<std::size_t>(value_end - value_begin)}; }
};

// Splits a zero-terminated DN into its attributes, in text order.
//
// DN        ::= [ attribute { ( "," | "+" ) attribute } ], blanks before every attribute
// attribute ::= type, blanks, "=", value
// type      ::= characters up to the first "=" or blank, not separators alone
// value     ::= characters up to the first "," or "+" that is neither in double quotes nor after a backslash
class dn_reader_t {
  public:
    explicit dn_reader_t(const char* dn);

    // False after the last attribute, and from a syntax error on.
    bool next(RDNdescr_t& attribute);

    bool failed() const { return failed_; }

    // The classes of all characters in the last attribute's value.
    unsigned int value_traits() const { return value_traits_; }

  private:
    const char* p_;
    const char* end_; // the final zero
    unsigned int value_traits_ = 0;
    bool at_end_;
    bool failed_ = false;
    bool plus_joined_ = false; // the next attribute

    const char* read_value(const char* p, RDNdescr_t& attribute);
};

// Appends all attributes of a DN to `out` and returns nonzero. On a syntax error it returns 0, and the attributes before
// the error stay in `out`.
int printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out);

#endif
