// DER names to printable DNs.
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "asn/asn_cursor.h"
#include "asn/asn_oid_text.h"
#include "asn/asn_printable_escape.h"
#include "derkit/asn_helper.h"
#include "derkit/asn_printable.h"
#include "derkit/int2str.h"
#include "platform/convi.h"
#include "util/string_room.h"
#include "util/text_writer.h"

namespace {

std::string_view as_text(const blob_t& bytes) {
    return std::string_view(reinterpret_cast<const char*>(bytes.data), bytes.size);
}

const OIDdescr_t* find_entry(const blob_t& oid, oid_map_handle_t map) {
    return map.map == nullptr ? nullptr : oid_map_find_asn(map, oid.data, oid.size);
}

// The RDNs of a name, in either order. For the reversed one it finds where they begin; no name of usual size takes memory
// for that.
class rdns_t {
  public:
    rdns_t(const asn_cursor_t& name, bool reversed) : name_(name), rest_(name), reversed_(reversed) {
        while (reversed_ && !rest_.empty()) {
            push(name_.size - rest_.size);
            rest_.skip(asn_tag_t::SET);
        }
    }

    bool empty() const { return reversed_ ? num_few_ == 0 : rest_.empty(); }

    // Returns the content of the next one; one that cannot be read is empty.
    blob_t next() {
        if (!reversed_) {
            return rest_.read(asn_tag_t::SET);
        }
        const unsigned int offset = pop();
        return asn_cursor_t(name_.p + offset, name_.size - offset).read(asn_tag_t::SET);
    }

  private:
    const asn_cursor_t name_;
    asn_cursor_t rest_;
    const bool reversed_;
    std::array<unsigned int, 32> few_offsets_;
    std::size_t num_few_ = 0;
    std::vector<unsigned int> more_offsets_;

    void push(unsigned int offset) {
        if (num_few_ < few_offsets_.size()) {
            few_offsets_[num_few_++] = offset;
        } else {
            more_offsets_.push_back(offset);
        }
    }

    unsigned int pop() {
        if (more_offsets_.empty()) {
            return few_offsets_[--num_few_];
        }
        const unsigned int last = more_offsets_.back();
        more_offsets_.pop_back();
        return last;
    }
};

class name_printer_t {
  public:
    name_printer_t(std::string& out, oid_map_handle_t map) : out_(out), writer_(out), map_(map) {}

    // Name ::= SEQUENCE OF RelativeDistinguishedName                                 RFC 5280 4.1.2.4
    // Writes a comma after every RDN, the last one too. After a failure there remains what stands before it in the name:
    // all text in encoded order, the finished RDNs in reversed order.
    bool print(const asn_cursor_t& name, bool reversed) {
        const std::size_t size_before = writer_.size();
        rdns_t rdns(name, reversed);
        bool done = true;
        while (!rdns.empty() && (done || reversed)) {
            if (!print_rdn(rdns.next())) {
                done = false;
                writer_.cut_to(reversed ? size_before : writer_.size());
            }
        }
        writer_.flush();
        return done;
    }

  private:
    std::string& out_;
    text_writer_t writer_;
    const oid_map_handle_t map_;

    // RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
    bool print_rdn(blob_t content) {
        asn_cursor_t rdn(content);
        for (;;) {
            if (!print_attribute(rdn.enter(asn_tag_t::SEQUENCE))) {
                return false;
            }
            writer_.put(rdn.empty() ? ',' : '+');
            if (rdn.empty()) {
                return true;
            }
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
            writer_.put(std::string_view(entry->oid_sn, entry->oid_sn_size));
        } else if (!put_oid(type.data, type.data + type.size, writer_)) {
            return false;
        }
        writer_.put('=');
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
            return print_hex(value); // not a string, or no value at all
        }
    }

    bool print_string(asn_tag_t::Type tag, const blob_t& content) {
        switch (tag) {
        case asn_tag_t::UTF8_STRING:
        case asn_tag_t::PRINTABLE_STRING:
        case asn_tag_t::IA5_STRING:
            print_text(as_text(content));
            return true;
        default:
            return print_rarer_string(tag, content);
        }
    }

    void print_text(std::string_view text) {
        if (text.size() <= SHORT_TEXT_SIZE) {
            put_short_escaped(text, writer_);
        } else {
            put_escaped(text, writer_);
        }
    }

    // In functions of their own, so that the usual strings take fewer registers.

    [[gnu::noinline]] bool print_hex(blob_t value) {
        writer_.put('#');
        writer_.flush();
        TO_HEX_STD_STRING(value.data, value.size, out_, '\0');
        return true;
    }

    [[gnu::noinline]] bool print_rarer_string(asn_tag_t::Type tag, blob_t content) {
        switch (tag) {
        case asn_tag_t::NUMERIC_STRING:
            return print_numeric(as_text(content));
        case asn_tag_t::T61_STRING:
            return print_t61(content);
        case asn_tag_t::UNIVERSAL_STRING:
            return print_wide(CONVI_UCS4_BE, content);
        default:
            return print_wide(CONVI_UCS2_BE, content);
        }
    }

    // Digits and spaces need no escapes.
    bool print_numeric(std::string_view text) {
        if (text.find_first_not_of("0123456789 ") != std::string_view::npos) {
            return false;
        }
        writer_.put(text);
        return true;
    }

    bool print_t61(blob_t content) {
        const std::size_t size_before = writer_.size();
        if (!put_t61<escaped_t61_t>(content.data, content.data + content.size, writer_, write_utf8)) {
            writer_.cut_to(size_before);
            return false;
        }
        return true;
    }

    // An output size of 0 is a failure, so an empty string fails too.
    bool print_wide(convi_page_t page, blob_t content) {
        const convi converter(page, CONVI_UTF8);
        const unsigned int size = converter.get_outsize(content.data, content.size);
        char short_text[256];
        std::string long_text;
        char* const text = size <= sizeof short_text ? short_text : append_room(long_text, size);
        if (size == 0 || converter.convert_safe(content.data, content.size, text, size) == 0) {
            return false;
        }
        put_escaped(std::string_view(text, size), writer_);
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
    const bool reversed = order == PDN_ORDER_REVERSED;
    const std::size_t size_before = out.size();
    bool done = false;
    try {
        done = name_printer_t(out, map).print(name, reversed);
    } catch (...) {
        if (reversed) {
            out.resize(size_before); // the RDNs that are there are not the first ones of the name
        }
        throw;
    }
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
        return oid_asn_to_str_(oid.data, oid.data + oid.size, out) != 0;
    }
    out.assign(I2S_PKI_ALG_T->getString(alg, "unknown"));
    if (with_oid) {
        append_char(out, '(');
        oid_asn_to_str_(oid.data, oid.data + oid.size, out);
        append_char(out, ')');
    }
    return true;
}
