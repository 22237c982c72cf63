// The syntax of a printable DN, as every user of such text takes it apart.
#ifndef DERKIT_ASN_PRINTABLE_SYNTAX_H
#define DERKIT_ASN_PRINTABLE_SYNTAX_H

#include <array>
#include <string_view>
#include <vector>

constexpr std::array<bool, 256> make_special_characters() {
    std::array<bool, 256> table = {};
    for (const char c : std::string_view("\"#+,;<=>\\")) {
        table[static_cast<unsigned char>(c)] = true;
    }
    return table;
}

inline constexpr std::array<bool, 256> SPECIAL_CHARACTERS = make_special_characters();

// Characters that a plain value holds only behind a backslash.
constexpr bool is_special(char c) {
    return SPECIAL_CHARACTERS[static_cast<unsigned char>(c)];
}

// One attribute of a printable DN; views into the caller's text.
struct RDNdescr_t {
    const char* type_begin = nullptr;
    const char* type_end = nullptr;    // blanks between the type and '=' are outside
    const char* value_begin = nullptr; // right behind '=': leading blanks belong to the value
    const char* value_end = nullptr;   // the separator or the final zero: trailing blanks belong to the value
    bool plus_joined = false;          // in one RDN with the attribute before it
};

// Attributes that callers of printable_dn_parse() make room for beforehand.
inline constexpr unsigned int USUAL_NUM_ATTRIBUTES = 10;

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

  private:
    const char* p_;
    bool at_end_;
    bool failed_ = false;
    bool plus_joined_ = false; // the next attribute
};

// Appends all attributes of a DN to `out`. Returns nonzero on success. On a syntax error it returns 0 and `out` holds
// what came before the error.
int printable_dn_parse(const char* dn, std::vector<RDNdescr_t>& out);

#endif
