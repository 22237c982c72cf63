#include "formats/dn_dialect.h"

#include <algorithm>
#include <optional>
#include <span>

#include "formats/named_oid.h"
#include "io/bytes.h"
#include "io/failure.h"

struct dn_type_name_t {
    std::string_view oid;
    std::string_view name;
};

// How a value is written that has special characters.
enum class dn_quoting_t {
    NEVER,     // a backslash is in front of each
    BACKSLASH, // in double quotes, with a backslash in front of quotes and backslashes
    DOUBLED    // in double quotes, with quotes twice; backslashes mean themselves
};

namespace {

// objects.txt of OpenSSL: what it calls types in names
constexpr dn_type_name_t OPENSSL_NAMES[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "serialNumber"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "street"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "title"},
    {"2.5.4.13", "description"},
    {"2.5.4.15", "businessCategory"},
    {"2.5.4.17", "postalCode"},
    {"2.5.4.20", "telephoneNumber"},
    {"2.5.4.41", "name"},
    {"2.5.4.42", "GN"},
    {"2.5.4.43", "initials"},
    {"2.5.4.44", "generationQualifier"},
    {"2.5.4.46", "dnQualifier"},
    {"2.5.4.65", "pseudonym"},
    {"2.5.4.97", "organizationIdentifier"},
    {"0.9.2342.19200300.100.1.1", "UID"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "emailAddress"},
    {"1.2.840.113549.1.9.2", "unstructuredName"},
    {"1.2.643.3.131.1.1", "INN"},
    {"1.2.643.100.1", "OGRN"},
    {"1.2.643.100.3", "SNILS"},
    {"1.2.643.100.5", "OGRNIP"},
};

// RFC 4514 3, RFC 2253 2.3
constexpr dn_type_name_t RFC_NAMES[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "STREET"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"0.9.2342.19200300.100.1.1", "UID"},
    {"0.9.2342.19200300.100.1.25", "DC"},
};

// X500Principal.toString()
constexpr dn_type_name_t JAVA_NAMES[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SURNAME"},
    {"2.5.4.5", "SERIALNUMBER"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "ST"},
    {"2.5.4.9", "STREET"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "T"},
    {"2.5.4.42", "GIVENNAME"},
    {"2.5.4.43", "INITIALS"},
    {"2.5.4.44", "GENERATION"},
    {"2.5.4.46", "DNQ"},
    {"0.9.2342.19200300.100.1.1", "UID"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "EMAILADDRESS"},
};

// The X.500 names of CertNameToStr() and CertStrToName(), and those of Russian certificates
constexpr dn_type_name_t CRYPTOPRO_NAMES[] = {
    {"2.5.4.3", "CN"},
    {"2.5.4.4", "SN"},
    {"2.5.4.5", "SERIALNUMBER"},
    {"2.5.4.6", "C"},
    {"2.5.4.7", "L"},
    {"2.5.4.8", "S"},
    {"2.5.4.9", "STREET"},
    {"2.5.4.10", "O"},
    {"2.5.4.11", "OU"},
    {"2.5.4.12", "T"},
    {"2.5.4.13", "Description"},
    {"2.5.4.17", "PostalCode"},
    {"2.5.4.20", "Phone"},
    {"2.5.4.42", "G"},
    {"2.5.4.43", "I"},
    {"0.9.2342.19200300.100.1.25", "DC"},
    {"1.2.840.113549.1.9.1", "E"},
    {"1.2.643.3.131.1.1", "INN"},
    {"1.2.643.100.1", "OGRN"},
    {"1.2.643.100.3", "SNILS"},
    {"1.2.643.100.5", "OGRNIP"},
};

constexpr std::string_view RFC_SPECIALS = ",+\"\\<>;";

} // namespace

struct dn_dialect_t {
    std::string_view name;
    bool reversed;              // the last RDN comes first
    std::string_view separator; // of RDNs
    std::string_view plus;      // between the attributes of an RDN
    std::string_view equals;
    std::span<const dn_type_name_t> names;
    std::string_view dotted_prefix;
    bool hex_for_dotted; // the value of a dotted type is hexadecimal
    dn_quoting_t quoting;
    std::string_view specials; // at any place
};

namespace {

constexpr dn_dialect_t DIALECTS[] = {
    {"openssl", false, ", ", " + ", " = ", OPENSSL_NAMES, "", false, dn_quoting_t::BACKSLASH, ",+<>;"},
    {"rfc4514", true, ",", "+", "=", RFC_NAMES, "", true, dn_quoting_t::NEVER, RFC_SPECIALS},
    {"rfc2253", true, ",", "+", "=", RFC_NAMES, "", true, dn_quoting_t::NEVER, RFC_SPECIALS},
    {"java", true, ", ", " + ", "=", JAVA_NAMES, "OID.", false, dn_quoting_t::BACKSLASH, ",+=\n<>#;\\\""},
    {"cryptopro", false, ", ", " + ", "=", CRYPTOPRO_NAMES, "OID.", false, dn_quoting_t::DOUBLED, ",+=\"\n<>#;"},
};

bool is_dialect(const dn_dialect_t& dialect, std::string_view name) {
    return dialect.name == name;
}

char lower_letter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

std::string lower_hex(std::string_view bytes) {
    std::string hex = to_hex(bytes);
    std::ranges::transform(hex, hex.begin(), lower_letter);
    return hex;
}

bool is_control(char c) {
    return (c >= 0 && c < 0x20) || c == 0x7F;
}

// Java has no text for a NumericString and a UniversalString.
bool has_text(const dn_dialect_t& dialect, const name_attribute_t& attribute) {
    constexpr unsigned int NUMERIC_STRING = 0x12;
    constexpr unsigned int UNIVERSAL_STRING = 0x1C;
    const bool is_hex_in_java =
        is_dialect(dialect, "java") && (attribute.tag == NUMERIC_STRING || attribute.tag == UNIVERSAL_STRING);
    return attribute.text.has_value() && !is_hex_in_java;
}

std::string escaped(const dn_dialect_t& dialect, std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool at_end = i == 0 || i + 1 == text.size();
        const bool is_special = dialect.specials.find(text[i]) != std::string_view::npos ||
                                (text[i] == ' ' && at_end) || (text[i] == '#' && i == 0);
        if (is_control(text[i])) {
            out += '\\';
            out += to_hex(text.substr(i, 1));
        } else {
            out += is_special ? "\\" : "";
            out += text[i];
        }
    }
    return out;
}

bool needs_quotes(const dn_dialect_t& dialect, std::string_view text) {
    if (text.empty()) {
        return dialect.quoting == dn_quoting_t::DOUBLED;
    }
    const bool has_double_blank = is_dialect(dialect, "java") && text.find("  ") != std::string_view::npos;
    return text.front() == ' ' || text.back() == ' ' || text.front() == '#' || has_double_blank ||
           text.find_first_of(dialect.specials) != std::string_view::npos;
}

std::string quoted(const dn_dialect_t& dialect, std::string_view text) {
    const bool with_controls = is_dialect(dialect, "openssl");
    std::string out;
    for (const char& c : text) {
        if (dialect.quoting == dn_quoting_t::DOUBLED) {
            out += c == '"' ? "\"\"" : std::string(1, c);
        } else if (with_controls && is_control(c)) {
            out += '\\';
            out += to_hex(std::string_view(&c, 1));
        } else {
            out += c == '"' || c == '\\' ? "\\" : "";
            out += c;
        }
    }
    return needs_quotes(dialect, text) ? "\"" + out + "\"" : out;
}

std::string write_value(const dn_dialect_t& dialect, const name_attribute_t& attribute, bool is_dotted) {
    if (!has_text(dialect, attribute) || (is_dotted && dialect.hex_for_dotted)) {
        return "#" + (is_dialect(dialect, "openssl") ? to_hex(attribute.value) : lower_hex(attribute.value));
    }
    return dialect.quoting == dn_quoting_t::NEVER ? escaped(dialect, *attribute.text)
                                                  : quoted(dialect, *attribute.text);
}

std::string write_attribute(const dn_dialect_t& dialect, const name_attribute_t& attribute) {
    const std::string oid = oid_text(attribute.type);
    const auto named = std::ranges::find(dialect.names, oid, &dn_type_name_t::oid);
    const bool is_dotted = named == dialect.names.end();
    std::string text = is_dotted ? std::string(dialect.dotted_prefix) + oid : std::string(named->name);
    return text + std::string(dialect.equals) + write_value(dialect, attribute, is_dotted);
}

// Reads a text from the front.
class dn_text_reader_t {
  public:
    dn_text_reader_t(const dn_dialect_t& dialect, std::string_view text)
        : dialect_(dialect), text_(text), rest_(text) {}

    std::string read() {
        std::vector<std::string> rdns;
        skip_blanks();
        while (!rest_.empty() || !rdns.empty()) {
            rdns.push_back(read_rdn());
            if (rest_.empty()) {
                break;
            }
            rest_.remove_prefix(1);
        }
        if (dialect_.reversed) {
            std::ranges::reverse(rdns);
        }
        std::string out;
        for (const std::string& rdn : rdns) {
            out += (out.empty() ? "" : ",") + rdn;
        }
        return out;
    }

  private:
    const dn_dialect_t& dialect_;
    std::string_view text_;
    std::string_view rest_;
    unsigned int num_attributes_ = 0;

    [[noreturn]] void fail(const std::string& problem) const {
        throw failure_t(std::string(text_), "attribute " + std::to_string(num_attributes_) + ": " + problem);
    }

    void skip_blanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size())); }

    bool at_separator() const {
        return rest_.empty() || rest_[0] == ',' || rest_[0] == '+' ||
               (rest_[0] == ';' && !is_dialect(dialect_, "rfc4514"));
    }

    std::string read_rdn() {
        std::string rdn = read_attribute();
        while (!rest_.empty() && rest_[0] == '+') {
            rest_.remove_prefix(1);
            rdn += '+';
            rdn += read_attribute();
        }
        return rdn;
    }

    std::string read_attribute() {
        ++num_attributes_;
        skip_blanks();
        const std::size_t size = rest_.find('=');
        if (size == std::string_view::npos) {
            fail("has no =");
        }
        std::string_view type = rest_.substr(0, size);
        type = type.substr(0, type.find_last_not_of(' ') + 1);
        rest_.remove_prefix(size + 1);
        skip_blanks();
        return read_type(std::string(type)) + "=" + read_value();
    }

    std::string read_type(const std::string& type) const {
        const auto named = std::ranges::find_if(
            dialect_.names, [&type](const dn_type_name_t& row) { return is_same_name(row.name, type); });
        if (named != dialect_.names.end()) {
            return std::string(named->oid);
        }
        const bool has_prefix = is_same_name(std::string_view(type).substr(0, 4), "OID.");
        const std::string dotted = has_prefix ? type.substr(4) : type;
        if (oid_from_text(dotted).has_value()) {
            return dotted;
        }
        const std::optional<std::string> known = oid_from_name(type);
        if (!known.has_value()) {
            fail("type " + type + " is not known");
        }
        return oid_text(*known);
    }

    std::string read_value() {
        if (rest_.starts_with('#')) {
            return read_hex();
        }
        return rest_.starts_with('"') ? read_quoted() : read_plain();
    }

    std::string read_hex() {
        std::string hex = "#";
        for (rest_.remove_prefix(1); !at_separator(); rest_.remove_prefix(1)) {
            hex += rest_[0];
        }
        hex.erase(hex.find_last_not_of(' ') + 1);
        if (!from_hex(std::string_view(hex).substr(1)).has_value()) {
            fail("the value is not hexadecimal");
        }
        return hex;
    }

    static void append(char octet, std::string& out) {
        out += '\\';
        out += to_hex(std::string_view(&octet, 1));
    }

    // After a backslash: two hexadecimal digits, or a character.
    void append_escaped(std::string& out) {
        rest_.remove_prefix(1);
        if (rest_.empty()) {
            fail("a backslash has nothing after it");
        }
        const std::optional<std::string> octet =
            rest_.size() > 1 && rest_[0] != ' ' && rest_[0] != ':' ? from_hex(rest_.substr(0, 2)) : std::nullopt;
        append(octet.has_value() && octet->size() == 1 ? (*octet)[0] : rest_[0], out);
        rest_.remove_prefix(octet.has_value() && octet->size() == 1 ? 2 : 1);
    }

    std::string read_quoted() {
        const bool is_doubled = dialect_.quoting == dn_quoting_t::DOUBLED;
        std::string out;
        rest_.remove_prefix(1);
        while (!rest_.starts_with('"') || (is_doubled && rest_.starts_with("\"\""))) {
            if (rest_.empty()) {
                fail("a quote is not closed");
            }
            if (rest_[0] == '\\' && !is_doubled) {
                append_escaped(out);
                continue;
            }
            append(rest_[0], out);
            rest_.remove_prefix(rest_[0] == '"' ? 2 : 1);
        }
        rest_.remove_prefix(1);
        skip_blanks();
        if (!at_separator()) {
            fail("something follows the closing quote");
        }
        return out;
    }

    // Blanks at its end do not belong to it, unless the last one is escaped.
    std::string read_plain() {
        const bool has_escapes = dialect_.quoting != dn_quoting_t::DOUBLED;
        std::string out;
        std::size_t size_without_blanks = 0;
        while (!at_separator()) {
            if (rest_[0] == '\\' && has_escapes) {
                append_escaped(out);
                size_without_blanks = out.size();
                continue;
            }
            append(rest_[0], out);
            size_without_blanks = rest_[0] == ' ' ? size_without_blanks : out.size();
            rest_.remove_prefix(1);
        }
        return out.substr(0, size_without_blanks);
    }
};

} // namespace

const dn_dialect_t* find_dn_dialect(std::string_view name) {
    const auto* const found = std::ranges::find(DIALECTS, name, &dn_dialect_t::name);
    return found != std::end(DIALECTS) ? found : nullptr;
}

std::string write_dn(const dn_dialect_t& dialect, const std::vector<rdn_t>& rdns) {
    std::string out;
    for (std::size_t i = 0; i < rdns.size(); ++i) {
        out += i == 0 ? "" : dialect.separator;
        const rdn_t& rdn = rdns[dialect.reversed ? rdns.size() - 1 - i : i];
        for (const name_attribute_t& attribute : rdn) {
            out += &attribute == &rdn.front() ? "" : dialect.plus;
            out += write_attribute(dialect, attribute);
        }
    }
    return out;
}

std::string read_dn(const dn_dialect_t& dialect, std::string_view text) {
    return dn_text_reader_t(dialect, text).read();
}
