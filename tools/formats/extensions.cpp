#include "formats/extensions.h"

#include <algorithm>
#include <iterator>

#include "derkit/asn_reader.h"
#include "formats/general_name.h"
#include "io/bytes.h"

namespace {

constexpr unsigned int MAX_SIZE_IN_FULL = 32; // of a value that is shown in hexadecimal

constexpr asn_tag_t::Type BOOLEAN = static_cast<asn_tag_t::Type>(0x01);
constexpr asn_tag_t::Type CONTEXT_1_CONSTRUCTED = asn_tag_t::CONTEXT_1;
constexpr asn_tag_t::Type CONTEXT_2_PRIMITIVE = static_cast<asn_tag_t::Type>(0x82);

bool is_at_end(const asn_cursor_t& in) {
    return in.ok() && in.empty();
}

bool is_true(const blob_t& boolean) {
    return boolean.size != 0 && boolean.data[0] != 0;
}

// Extension ::= SEQUENCE {                                                RFC 5280 4.1
//   extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE, extnValue OCTET STRING }
bool read_extension(asn_cursor_t in, extension_t& out) {
    in.read(asn_tag_t::OBJECT_IDENTIFIER, out.oid);
    if (in.next_is(BOOLEAN)) {
        out.is_critical = is_true(in.read(BOOLEAN));
    }
    in.read(asn_tag_t::OCTET_STRING, out.value);
    return in.ok();
}

bool add_general_names(const char* key, asn_cursor_t in, const name_style_t& style, record_t& record) {
    general_names_t names;
    if (!in.ok() || !read_general_names(in, style, names)) {
        return false;
    }
    record.add(key, names.texts);
    for (const std::string& remark : names.remarks) {
        record.remark(remark);
    }
    return true;
}

// SubjectAltName ::= GeneralNames; IssuerAltName ::= GeneralNames          RFC 5280 4.2.1.6 and 4.2.1.7
bool add_names(asn_cursor_t in, const name_style_t& style, record_t& record) {
    const asn_cursor_t names = in.enter(asn_tag_t::SEQUENCE);
    return in.empty() && add_general_names("names", names, style, record);
}

// KeyUsage ::= BIT STRING                                                 RFC 5280 4.2.1.3
bool add_usages(asn_cursor_t in, const name_style_t&, record_t& record) {
    static constexpr const char* USAGES[] = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                             "dataEncipherment", "keyAgreement",   "keyCertSign",
                                             "cRLSign",          "encipherOnly",   "decipherOnly"};
    const blob_t bits = in.read(asn_tag_t::BIT_STRING);
    if (!is_at_end(in) || bits.size == 0 || bits.data[0] > 7) {
        return false;
    }
    std::vector<shown_text_t> usages;
    for (std::size_t i = 0; i < std::size(USAGES) && 1 + i / 8 < bits.size; ++i) {
        if ((bits.data[1 + i / 8] & 0x80u >> i % 8) != 0) {
            usages.emplace_back(USAGES[i]);
        }
    }
    record.add("usages", usages);
    return true;
}

// ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF OBJECT IDENTIFIER        RFC 5280 4.2.1.12
bool add_purposes(asn_cursor_t in, const name_style_t&, record_t& record) {
    asn_cursor_t purposes = in.enter(asn_tag_t::SEQUENCE);
    std::vector<shown_text_t> texts;
    while (purposes.ok() && !purposes.empty()) {
        const named_oid_t purpose = name_oid(purposes.read(asn_tag_t::OBJECT_IDENTIFIER));
        texts.emplace_back(purpose.name.empty() ? purpose.oid : purpose.name);
    }
    record.add("purposes", texts);
    return is_at_end(in) && purposes.ok();
}

// BasicConstraints ::= SEQUENCE {                                         RFC 5280 4.2.1.9
//   cA BOOLEAN DEFAULT FALSE, pathLenConstraint INTEGER (0..MAX) OPTIONAL }
bool add_constraints(asn_cursor_t in, const name_style_t&, record_t& record) {
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    const bool is_ca = fields.next_is(BOOLEAN) && is_true(fields.read(BOOLEAN));
    record.add("ca", is_ca);
    unsigned int path_length = 0;
    if (fields.next_is(asn_tag_t::INTEGER)) {
        const blob_t content = fields.read(asn_tag_t::INTEGER);
        if (!asn_read_INTEGER(content.data, content.size, path_length, 0x7FFFFFFF)) {
            return false;
        }
        record.add("path_length", path_length);
    }
    return is_at_end(in) && is_at_end(fields);
}

// SubjectKeyIdentifier ::= OCTET STRING                                   RFC 5280 4.2.1.2
bool add_subject_key_id(asn_cursor_t in, const name_style_t&, record_t& record) {
    const blob_t key_id = in.read(asn_tag_t::OCTET_STRING);
    record.add_bytes("key_id", chars(key_id));
    return is_at_end(in);
}

// AuthorityKeyIdentifier ::= SEQUENCE {                                   RFC 5280 4.2.1.1
//   keyIdentifier [0] OCTET STRING OPTIONAL, authorityCertIssuer [1] GeneralNames OPTIONAL,
//   authorityCertSerialNumber [2] INTEGER OPTIONAL }
bool add_authority_key_id(asn_cursor_t in, const name_style_t& style, record_t& record) {
    asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
    if (fields.next_is(asn_tag_t::CONTEXT_0_PRIMITIVE)) {
        record.add_bytes("key_id", chars(fields.read(asn_tag_t::CONTEXT_0_PRIMITIVE)));
    }
    if (fields.next_is(CONTEXT_1_CONSTRUCTED) &&
        !add_general_names("issuer", fields.enter(CONTEXT_1_CONSTRUCTED), style, record)) {
        return false;
    }
    if (fields.next_is(CONTEXT_2_PRIMITIVE)) {
        record.add_bytes("serial", chars(fields.read(CONTEXT_2_PRIMITIVE))); // as it stands
    }
    return is_at_end(in) && is_at_end(fields);
}

struct form_t {
    std::string_view oid;
    bool (*add)(asn_cursor_t in, const name_style_t& style, record_t& record);
};

constexpr form_t FORMS[] = {
    {"2.5.29.14", add_subject_key_id}, {"2.5.29.15", add_usages},      {"2.5.29.17", add_names},
    {"2.5.29.18", add_names},          {"2.5.29.19", add_constraints}, {"2.5.29.35", add_authority_key_id},
    {"2.5.29.37", add_purposes},
};

record_t start(const extension_t& extension, const named_oid_t& named) {
    record_t record;
    record.add_if("name", named.name);
    record.add("oid", named.oid);
    record.add("critical", extension.is_critical);
    return record;
}

void add_value(const blob_t& value, record_t& record) {
    record.add("size", value.size);
    if (value.size <= MAX_SIZE_IN_FULL) {
        record.add_bytes("value", chars(value));
    }
}

} // namespace

bool read_extensions(asn_cursor_t in, std::vector<extension_t>& out) {
    while (in.ok() && !in.empty()) {
        extension_t extension;
        const asn_cursor_t fields = in.enter(asn_tag_t::SEQUENCE);
        if (!fields.ok() || !read_extension(fields, extension)) {
            return false;
        }
        out.push_back(extension);
    }
    return in.ok();
}

std::string title_of(const extension_t& extension) {
    const named_oid_t named = name_oid(extension.oid);
    return named.name.empty() ? named.oid : named.name;
}

record_t describe_extension(const extension_t& extension, const name_style_t& style, std::string& problem) {
    const named_oid_t named = name_oid(extension.oid);
    const auto* const form = std::ranges::find(FORMS, named.oid, &form_t::oid);
    record_t record = start(extension, named);
    if (form == std::end(FORMS)) {
        add_value(extension.value, record);
        return record;
    }
    if (!form->add(asn_cursor_t(extension.value), style, record)) {
        problem = "extension " + named.name + " is malformed";
        record = start(extension, named);
        add_value(extension.value, record);
    }
    return record;
}
