#include "formats/general_name.h"

#include <arpa/inet.h>

#include "formats/named_oid.h"
#include "io/bytes.h"

namespace {

constexpr asn_tag_t::Type context(unsigned int number) {
    return static_cast<asn_tag_t::Type>(number);
}

constexpr asn_tag_t::Type OTHER_NAME = context(0xA0);
constexpr asn_tag_t::Type RFC822_NAME = context(0x81);
constexpr asn_tag_t::Type DNS_NAME = context(0x82);
constexpr asn_tag_t::Type DIRECTORY_NAME = context(0xA4);
constexpr asn_tag_t::Type URI = context(0x86);
constexpr asn_tag_t::Type IP_ADDRESS = context(0x87);
constexpr asn_tag_t::Type REGISTERED_ID = context(0x88);

std::string in_hexadecimal(std::string_view der) {
    return "#" + to_hex(der);
}

std::string plain_text(std::string_view raw) {
    return shown_text_t::without_escapes(raw).str();
}

std::string address_text(std::string_view octets_of_address) {
    char text[INET6_ADDRSTRLEN];
    const bool is_known = octets_of_address.size() == 4 || octets_of_address.size() == 16;
    const int family = octets_of_address.size() == 4 ? AF_INET : AF_INET6;
    return is_known && inet_ntop(family, octets_of_address.data(), text, sizeof text) != nullptr
               ? text
               : in_hexadecimal(octets_of_address);
}

// AnotherName ::= SEQUENCE { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY DEFINED BY type-id }
std::string other_name_text(asn_cursor_t in) {
    const blob_t type = in.read(asn_tag_t::OBJECT_IDENTIFIER);
    const blob_t value = in.read(asn_tag_t::CONTEXT_0);
    return in.ok() ? oid_text(chars(type)) + ":" + in_hexadecimal(chars(value)) : "";
}

std::string directory_name_text(const blob_t& name, const name_style_t& style, general_names_t& out) {
    const shown_name_t shown = show_name(name, style);
    if (!shown.remark.empty()) {
        out.remarks.push_back(shown.remark);
    }
    return shown.text.str();
}

// GeneralName ::= CHOICE {                                                RFC 5280 4.2.1.6
//   otherName [0] AnotherName, rfc822Name [1] IA5String, dNSName [2] IA5String, x400Address [3] ORAddress,
//   directoryName [4] Name, ediPartyName [5] EDIPartyName, uniformResourceIdentifier [6] IA5String,
//   iPAddress [7] OCTET STRING, registeredID [8] OBJECT IDENTIFIER }
std::string text_of(asn_tag_t::Type tag, const blob_t& element, const blob_t& content, const name_style_t& style,
                    general_names_t& out) {
    switch (static_cast<unsigned int>(tag)) {
    case OTHER_NAME:
        return "otherName:" + other_name_text(asn_cursor_t(content));
    case RFC822_NAME:
        return "email:" + plain_text(chars(content));
    case DNS_NAME:
        return "DNS:" + plain_text(chars(content));
    case DIRECTORY_NAME:
        return "dirName:" + directory_name_text(content, style, out);
    case URI:
        return "URI:" + plain_text(chars(content));
    case IP_ADDRESS:
        return "IP:" + address_text(chars(content));
    case REGISTERED_ID:
        return "RID:" + oid_text(chars(content));
    default:
        return in_hexadecimal(chars(element));
    }
}

} // namespace

bool read_general_names(asn_cursor_t in, const name_style_t& style, general_names_t& out) {
    while (in.ok() && !in.empty()) {
        const asn_tag_t::Type tag = context(*in.p);
        asn_cursor_t again = in;
        blob_t element;
        in.read_element(asn_tag_t::ANY, element);
        const blob_t content = again.read(asn_tag_t::ANY);
        if (in.ok()) {
            out.texts.emplace_back(text_of(tag, element, content, style, out));
        }
    }
    return in.ok() && !out.texts.empty();
}
