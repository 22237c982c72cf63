// Cases in plain text files, tests/data/vectors/*.txt. Every test of a subject runs every line of its files. Python reads
// them with tests/data/vectors.py.
//
// Each line is a case; its fields are separated by '|'. Lines that start with '#' are comments; the first other line names
// the fields. Trailing fields may be left out, and "-" means none. Bytes are hexadecimal. In text, "{0D 0A}" means these
// octets and "{}" the empty text; blanks at either end, '|', '{' and '}' are always written as octets.
#ifndef DERKIT_TESTING_VECTORS_H
#define DERKIT_TESTING_VECTORS_H

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

class vector_t {
  public:
    vector_t(std::string where, const std::vector<std::string>& names, std::vector<std::string> fields);

    // "names.txt:12"
    const std::string& where() const { return where_; }

    // As written, empty if left out.
    std::string field(std::string_view name) const;
    bool has(std::string_view name) const { return !field(name).empty() && field(name) != "-"; }

    // A field that is one of a few words; any other is a slip of the pen.
    std::string one_of(std::string_view name, std::initializer_list<std::string_view> words) const;
    bool yes(std::string_view name) const { return one_of(name, {"yes", "no"}) == "yes"; }

    std::string bytes(std::string_view name) const;
    unsigned int number(std::string_view name, int base = 10) const;
    std::string text(std::string_view name) const;
    // A field that is left out, or written "=", equals another.
    std::string text_or(std::string_view name, const std::string& other) const;

  private:
    std::string where_;
    std::vector<std::string> names_;
    std::vector<std::string> fields_;

    std::string required(std::string_view name) const;
};

// All cases of a file, in order; never none.
std::vector<vector_t> read_vectors(const std::string& file);

#endif
