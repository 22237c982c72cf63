// The syntax of a printable DN, as every user of such text takes it apart.
#ifndef DERKIT_ASN_PRINTABLE_SYNTAX_H
#define DERKIT_ASN_PRINTABLE_SYNTAX_H

#include <array>
#include <string_view>
#include <vector>

// What a character says about the value that it is in, one bit each.
enum trait_t : unsigned char {
    NOT_PRINTABLE_STRING = 0x01, // not one of the characters of PrintableString (X.680 41.4)
    NOT_IA5_STRING = 0x02,
    SPECIAL = 0x04, // a plain value holds it only behind a backslash
    BACKSLASH = 0x08,
    VALUE_MARK = 0x10 // ends a value or decides what does
};

constexpr bool is_among(unsigned int c, std::string_view characters) {
    return c < 0x80 && characters.find(static_cast<char>(c)) != std::string_view::npos;
}

constexpr unsigned char make_traits(unsigned int c) {
    const bool letter_or_digit = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    unsigned int traits = 0;
    if (!letter_or_digit && !is_among(c, " '()+,-./:=?")) {
        traits |= NOT_PRINTABLE_STRING;
    }
    if (c >= 0x80) {
        traits |= NOT_IA5_STRING;
    }
    if (is_among(c, "\"#+,;<=>\\")) {
        traits |= SPECIAL;
    }
    if (c == '\\') {
        traits |= BACKSLASH;
    }
    if (c == '\0' || is_among(c, ",+\"\\")) {
        traits |= VALUE_MARK;
    }
    return static_cast<unsigned char>(traits);
}

constexpr std::array<unsigned char, 256> make_all_traits() {
    std::array<unsigned char, 256> traits = {};
    for (unsigned int c = 0; c < traits.size(); ++c) {
        traits[c] = make_traits(c);
    }
    return traits;
}

inline constexpr std::array<unsigned char, 256> TRAITS = make_all_traits();

inline unsigned int traits_of(char c) {
    return TRAITS[static_cast<unsigned char>(c)];
}

inline bool is_special(char c) {
    return (traits_of(c) & SPECIAL) != 0;
}

// One attribute of a printable DN; views into the caller's text.
struct RDNdescr_t {
    const char* type_begin = nullptr;
    const char* type_end = nullptr;    // blanks between the type and '=' are outside
    const char* value_begin = nullptr; // right behind '=': leading blanks belong to the value
    const char* value_end = nullptr;   // the separator or the final zero: trailing blanks belong to the value
    bool plus_joined = false;          // in one RDN with the attribute before it
};

// Takes a zero-terminated DN apart, attribute by attribute, in text order.
//
// DN        ::= [ attribute { ( "," | "+" ) attribute } ], blanks in front of every attribute
// attribute ::= type, blanks, "=", value
// type      ::= characters up to the first "=" or blank, not separators alone
// value     ::= characters up to the first "," or "+" that is neither in double quotes nor behind a backslash
class dn_reader_t {
  public:
    explicit dn_reader_t(const char* dn);

    // False behind the last attribute and from a syntax error on.
    bool next(RDNdescr_t& attribute);

    bool failed() const { return failed_; }

    // The traits of all characters of the last attribute's value.
    unsigned int value_traits() const { return value_traits_; }

  private:
    const char* p_;
    unsigned int value_traits_ = 0;
    bool at_end_;
    bool failed_ = false;
    bool plus_joined_ = false; // the next attribute

    const char* read_value(const char* p, RDNdescr_t& attribute);
};

// Appends all attributes of a DN to `out`. Returns nonzero on success. On a syntax error it returns 0 and `out` holds
// what came before the error.
int printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out);

#endif
