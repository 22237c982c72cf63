// DER names to printable DNs.
#include <algorithm>
#include <string_view>

#include "asn/asn_cursor.h"
#include "asn/asn_printable_traits.h"
#include "derkit/asn_helper.h"
#include "derkit/asn_printable.h"
#include "derkit/int2str.h"
#include "derkit/t61.h"
#include "platform/convi.h"
#include "util/string_room.h"

namespace {

std::string_view as_text(const blob_t& bytes) {
    return std::string_view(reinterpret_cast<const char*>(bytes.data), bytes.size);
}

// Appends text with a backslash before every special character. Blanks, controls and bytes above 0x7F are unchanged.
void append_escaped(std::string_view text, std::string& out) {
    const char* const end = text.data() + text.size();
    for (const char* run = text.data(); run != end;) {
        if (is_special(*run)) {
            append_char(out, '\\');
        }
        const char* p = run + 1;
        while (p != end && !is_special(*p)) {
            ++p;
        }
        append_text(out, std::string_view(run, static_cast<std::size_t>(p - run)));
        run = p;
    }
}

// Appends dotted text. False for malformed content.
bool append_dotted(const blob_t& oid, std::string& out) {
    return oid_asn_to_str_(oid.data, oid.data + oid.size, out) != 0;
}

// Escapes the text at the end of `out`, from `begin` on, as append_escaped() does.
void escape_in_place(std::string& out, std::size_t begin) {
    const std::string_view text = std::string_view(out).substr(begin);
    const auto num_special = std::count_if(text.begin(), text.end(), [](char c) { return is_special(c); });
    if (num_special == 0) {
        return;
    }
    std::size_t from = out.size();
    try {
        append_room(out, static_cast<std::size_t>(num_special));
    } catch (...) {
        out.resize(begin); // an unescaped comma would look like the end of an RDN
        throw;
    }
    for (std::size_t to = out.size(); to != from;) {
        const char c = out[--from];
        out[--to] = c;
        if (is_special(c)) {
            out[--to] = '\\';
        }
    }
}

const OIDdescr_t* find_entry(const blob_t& oid, oid_map_handle_t map) {
    return map.map == nullptr ? nullptr : oid_map_find_asn(map, oid.data, oid.size);
}

// The RDNs that are printed last RDN first. Each is reversed in place when it is finished, and all together at the end,
// which restores their text and reverses their order in linear time. An unfinished RDN is discarded, however printing
// ends.
class finished_rdns_t {
  public:
    explicit finished_rdns_t(std::string& out) : out_(out), begin_(out.size()), end_(out.size()) {}
    ~finished_rdns_t() {
        out_.resize(end_);
        reverse_from(begin_);
    }
    finished_rdns_t(const finished_rdns_t&) = delete;
    finished_rdns_t& operator=(const finished_rdns_t&) = delete;

    // Everything printed since the last call is an RDN.
    void add_last() {
        reverse_from(end_);
        end_ = out_.size();
    }

  private:
    std::string& out_;
    const std::size_t begin_;
    std::size_t end_;

    void reverse_from(std::size_t begin) {
        std::reverse(out_.begin() + static_cast<std::ptrdiff_t>(begin), out_.end());
    }
};

class name_printer_t {
  public:
    name_printer_t(std::string& out, oid_map_handle_t map) : out_(out), map_(map) {}

    // Name ::= SEQUENCE OF RelativeDistinguishedName                                 RFC 5280 4.1.2.4
    // Writes a comma after every RDN, the last one too. Text written before a failure stays.
    bool print_as_encoded(asn_cursor_t name) {
        while (!name.empty()) {
            if (!print_rdn(name.enter(asn_tag_t::SET))) {
                return false;
            }
            append_char(out_, ',');
        }
        return true;
    }

    // As above, last RDN first.
    bool print_reversed(asn_cursor_t name) {
        finished_rdns_t finished(out_);
        while (!name.empty()) {
            if (!print_rdn(name.enter(asn_tag_t::SET))) {
                return false;
            }
            append_char(out_, ',');
            finished.add_last();
        }
        return true;
    }

  private:
    std::string& out_;
    const oid_map_handle_t map_;

    // RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
    bool print_rdn(asn_cursor_t rdn) {
        for (;;) {
            const asn_cursor_t attribute = rdn.enter(asn_tag_t::SEQUENCE);
            if (!attribute.ok() || !print_attribute(attribute)) {
                return false;
            }
            if (rdn.empty()) {
                return true;
            }
            append_char(out_, '+');
        }
    }

    // AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value ANY DEFINED BY type }
    bool print_attribute(asn_cursor_t attribute) {
        const blob_t type = attribute.read(asn_tag_t::OBJECT_IDENTIFIER);
        return attribute.ok() && print_type(type) && print_value(attribute.rest());
    }

    bool print_type(const blob_t& type) {
        const OIDdescr_t* const entry = find_entry(type, map_);
        if (entry != nullptr) {
            append_text(out_, std::string_view(entry->oid_sn, entry->oid_sn_size));
        } else if (!append_dotted(type, out_)) {
            return false;
        }
        append_char(out_, '=');
        return true;
    }

    // `value` is everything after the type. Bytes after a string are ignored.
    bool print_value(const blob_t& value) {
        const asn_tag_t::Type tag = value.size == 0 ? asn_tag_t::ANY : static_cast<asn_tag_t::Type>(value.data[0]);
        switch (tag) {
        case asn_tag_t::UTF8_STRING:
        case asn_tag_t::NUMERIC_STRING:
        case asn_tag_t::PRINTABLE_STRING:
        case asn_tag_t::T61_STRING:
        case asn_tag_t::IA5_STRING:
        case asn_tag_t::UNIVERSAL_STRING:
        case asn_tag_t::BMP_STRING: {
            asn_cursor_t string(value);
            const blob_t content = string.read(tag);
            return string.ok() && print_string(tag, content);
        }
        default:
            // Not a string, or no value at all.
            append_char(out_, '#');
            TO_HEX_STD_STRING(value.data, value.size, out_, '\0');
            return true;
        }
    }

    bool print_string(asn_tag_t::Type tag, const blob_t& content) {
        switch (tag) {
        case asn_tag_t::NUMERIC_STRING:
            return print_numeric(as_text(content));
        case asn_tag_t::T61_STRING:
            return print_t61(as_text(content));
        case asn_tag_t::UNIVERSAL_STRING:
            return print_wide(convi(CONVI_UCS4_BE, CONVI_UTF8), content);
        case asn_tag_t::BMP_STRING:
            return print_wide(convi(CONVI_UCS2_BE, CONVI_UTF8), content);
        default:
            append_escaped(as_text(content), out_);
            return true;
        }
    }

    // Digits and spaces need no escapes.
    bool print_numeric(std::string_view text) {
        if (text.find_first_not_of("0123456789 ") != std::string_view::npos) {
            return false;
        }
        append_text(out_, text);
        return true;
    }

    bool print_t61(std::string_view text) {
        const std::size_t begin = out_.size();
        if (!ldap_t61s_to_utf8s(text.data(), static_cast<unsigned int>(text.size()), out_)) {
            return false;
        }
        escape_in_place(out_, begin);
        return true;
    }

    // An output size of 0 is a failure, so an empty string fails too.
    bool print_wide(const convi& converter, const blob_t& content) {
        const unsigned int size = converter.get_outsize(content.data, content.size);
        if (size == 0) {
            return false;
        }
        const std::size_t begin = out_.size();
        if (converter.convert_safe(content.data, content.size, append_room(out_, size), size) == 0) {
            out_.resize(begin); // GCOVR_EXCL_LINE: a converter linked in place of ours may refuse what it measured
            return false;       // GCOVR_EXCL_LINE: the same
        }
        escape_in_place(out_, begin);
        return true;
    }
};

} // namespace

bool asn_dn_to_printable(const unsigned char* der, unsigned int len, std::string& out, PrintableDnOrder order,
                         oid_map_handle_t map) {
    asn_cursor_t in(der, len);
    const asn_cursor_t name = in.enter(asn_tag_t::SEQUENCE);
    if (!name.ok()) {
        return false;
    }
    if (name.empty()) {
        return true;
    }
    require_room(out, name.size);
    out.reserve(out.size() + name.size);
    name_printer_t printer(out, map);
    const bool done = order == PDN_ORDER_REVERSED ? printer.print_reversed(name) : printer.print_as_encoded(name);
    if (done) {
        out.pop_back(); // the comma after the last RDN
    }
    return done;
}

bool asn_oid_to_printable(const unsigned char* der, unsigned int len, std::string& out, bool with_oid,
                          oid_map_handle_t map) {
    asn_cursor_t in(der, len);
    const blob_t oid = in.read(asn_tag_t::OBJECT_IDENTIFIER);
    if (!in.ok()) {
        return false;
    }
    const OIDdescr_t* const entry = find_entry(oid, map);
    if (entry != nullptr) {
        out.assign(entry->oid_sn, entry->oid_sn_size);
        return true;
    }
    const pki_alg_t alg = PKI_OID_TO_ALG(oid.data, oid.size);
    if (alg == PKI_ALG_UNKNOWN) {
        // Appended, unlike the names.
        return append_dotted(oid, out);
    }
    out.assign(I2S_PKI_ALG_T->getString(alg, "unknown"));
    if (with_oid) {
        append_char(out, '(');
        append_dotted(oid, out);
        append_char(out, ')');
    }
    return true;
}
