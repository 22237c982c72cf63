// GeneralName, which names what a certificate is for in many ways.
#ifndef DERKIT_TOOLS_FORMATS_GENERAL_NAME_H
#define DERKIT_TOOLS_FORMATS_GENERAL_NAME_H

#include <string>
#include <vector>

#include "asn/asn_cursor.h"
#include "formats/name.h"

// "DNS:example.com", "IP:127.0.0.1", "dirName:CN=x": with the prefixes of OpenSSL's configuration files. A name of another
// form has "otherName:", its OID and ":#" with its DER in hexadecimal, or else "#" and that.
struct general_names_t {
    std::vector<shown_text_t> texts;
    std::vector<std::string> remarks; // on directory names without text
};

// GeneralNames ::= SEQUENCE SIZE (1..MAX) OF GeneralName                  RFC 5280 4.2.1.6
// From its content. Returns false if it is malformed.
bool read_general_names(asn_cursor_t in, const name_style_t& style, general_names_t& out);

#endif
