// Calls functions of the library on their worst inputs of growing size, for cost_test.py to compare what they cost.
//
// Valgrind counts the instructions of the measured calls alone; making an input costs little then. Every count is
// dumped under the name "function: shape: size of the input".
#include <valgrind/callgrind.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "asn/oid_map.h"
#include "derkit/derkit.h"
#include "testing/pkcs_der.h"
#include "testing/views.h"

namespace {

// The measured call. It tells whether the call took the way that the row is about.
using call_t = std::function<bool()>;

constexpr std::size_t MEGABYTE = 1024 * 1024;
constexpr std::size_t BRIEF = MEGABYTE / 4; // for further shapes of a function, and where a call costs much
constexpr int NUM_SIZES = 4;                // the largest and its halves

struct row_t {
    const char* function;
    const char* shape;
    call_t (*prepare)(std::size_t size); // makes an input of about this size
    std::size_t largest = 4 * MEGABYTE;
};

// ---- inputs ----

unsigned int size_of(std::string_view bytes) {
    return static_cast<unsigned int>(bytes.size());
}

const unsigned char* bytes_of(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

// As many pieces as fit, but at least one.
std::string repeated(std::string_view piece, std::size_t size) {
    std::string text(piece);
    text.reserve(size + piece.size());
    while (text.size() + piece.size() <= size) {
        text += piece;
    }
    return text;
}

std::string element(int tag, std::string_view content) {
    return encode(der_element(tag, content));
}

// Sequences inside each other, down to an empty one.
std::string nested(std::size_t size) {
    std::string inside_out; // lengths are written backwards, from the innermost on
    for (std::size_t length = 0; inside_out.size() < size; length = inside_out.size()) {
        const std::string octets = der_length(length);
        inside_out.append(octets.rbegin(), octets.rend());
        inside_out.push_back('\x30');
    }
    return std::string(inside_out.rbegin(), inside_out.rend());
}

std::string attribute_value(const char* oid, int tag, std::string_view content) {
    return element(0x30, encode(der_oid(oid)) + element(tag, content));
}

std::string common_name(int tag, std::string_view content) {
    return attribute_value("2.5.4.3", tag, content);
}

// A Name of one RDN with one value.
std::string name_of_value(int tag, std::string_view content) {
    return element(0x30, element(0x31, common_name(tag, content)));
}

std::string name_of_many_rdns(std::size_t size) {
    return element(0x30, repeated(element(0x31, common_name(0x0C, "a,b")), size));
}

std::string name_of_one_rdn(std::size_t size) {
    return element(0x30, element(0x31, repeated(common_name(0x0C, "a,b"), size)));
}

// Lines whose names are as long as each other and differ at their ends only, so that comparing them takes longest.
std::string map_text(std::size_t size) {
    std::string text;
    text.reserve(size + 100);
    for (unsigned int i = 0; text.size() < size; ++i) {
        const std::string number = std::to_string(1000000 + i);
        text += "1.2.3." + number + " = XXXXXXXX" + number + ", long name\n";
    }
    return text;
}

// A map that gives itself back.
std::shared_ptr<OIDmaps_t> map_of(std::string_view text) {
    return std::shared_ptr<OIDmaps_t>(oid_map_parse(text.data(), size_of(text)).map,
                                      [](OIDmaps_t* map) { oid_map_release({map}); });
}

oid_map_handle_t handle_of(const std::shared_ptr<OIDmaps_t>& map) {
    return {map.get()};
}

// ---- calls ----

call_t print_name(std::string der, PrintableDnOrder order = PDN_ORDER_AS_ENCODED, bool expected = true) {
    return [=, out = std::string()]() mutable {
        return asn_dn_to_printable(bytes_of(der), size_of(der), out, order, OID_MAP_HANDLE_DEFAULT) == expected;
    };
}

call_t print_oid(const std::string& content, bool expected = true) {
    return [=, der = element(0x06, content), out = std::string()]() mutable {
        return asn_oid_to_printable(bytes_of(der), size_of(der), out, true, OID_MAP_HANDLE_DEFAULT) == expected;
    };
}

call_t oid_to_text(std::string content, bool expected = true) {
    return [=, out = std::string()]() mutable {
        const unsigned char* const begin = bytes_of(content);
        return (oid_asn_to_str_(begin, begin + content.size(), out) != 0) == expected;
    };
}

call_t text_to_oid(std::string text, bool expected = true) {
    return [=] {
        unsigned char out[512];
        return (oid_str_to_asn_(text.data(), text.data() + text.size(), out) != 0) == expected;
    };
}

call_t encode_name(std::string dn, bool expected = true) {
    return [=, der = std::string()]() mutable {
        return printable_to_asn_dn(dn.c_str(), der, OID_MAP_HANDLE_DEFAULT) == expected;
    };
}

call_t normalize(std::string dn) {
    return
        [=, out = std::string()]() mutable { return printable_dn_normalize(dn, out, nullptr, OID_MAP_HANDLE_DEFAULT); };
}

call_t reverse(std::string dn, bool expected = true) {
    return [=]() mutable { return (printable_dn_reverse(dn.data()) != nullptr) == expected; };
}

call_t get_attribute(std::string dn, std::string type, bool expected) {
    return [=, out = std::string()]() mutable {
        return printable_dn_get_attr(dn.c_str(), type.c_str(), out, PDN_GET_ATTR_PAIR) == expected;
    };
}

call_t contains(std::string dn, std::string rdns, bool expected) {
    return [=] { return printable_dn_contain_attrs(dn.c_str(), rdns.c_str()) == expected; };
}

call_t C_before_CN(std::string dn) {
    return [=] { return printable_dn_C_before_CN(dn.c_str()); };
}

call_t convert_t61(std::string text, bool expected = true) {
    return
        [=, out = std::string()]() mutable { return ldap_t61s_to_utf8s(text.data(), size_of(text), out) == expected; };
}

call_t read_integer(std::string content) {
    return [=] {
        unsigned int value = 0;
        return asn_read_INTEGER(content.data(), size_of(content), value, 0xFFFFFFFF);
    };
}

call_t parse_map(std::string text) {
    return [=, map = std::shared_ptr<OIDmaps_t>()]() mutable {
        map = map_of(text);
        return true;
    };
}

call_t find_short_name(const std::string& text, std::string name, bool expected) {
    return [=, map = map_of(text)] {
        return (oid_map_find_sn(handle_of(map), name.data(), size_of(name)) != nullptr) == expected;
    };
}

// Names of one size, beginning and end, and so of one hash: a map's table holds only a few of them.
std::vector<std::string> meeting_names(std::size_t num_names) {
    std::vector<std::string> names;
    for (unsigned int i = 10000000; names.size() < num_names; ++i) {
        names.push_back("NAME" + std::to_string(i) + "NAME");
    }
    return names;
}

call_t find_each_short_name(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += "1.2.3." + std::to_string(i) + " = " + names[i] + "\n";
    }
    return [=, map = map_of(text)] {
        std::size_t num_found = 0;
        for (const std::string& name : names) {
            num_found += oid_map_find_sn(handle_of(map), name.data(), size_of(name)) != nullptr ? 1 : 0;
        }
        return num_found == names.size();
    };
}

call_t parse_time(std::string text, bool expected = true) {
    return [=] { return (CertTimeFromLogStringGMT(text) != CERT_TIME64_INVALID) == expected; };
}

using look_up_t = pki_alg_t (*)(const void*, unsigned int);

call_t look_up(look_up_t function, std::size_t size) {
    return [=, oid = std::string(size, '\x2A')] { return function(oid.data(), size_of(oid)) == PKI_ALG_UNKNOWN; };
}

// An RSASSA-PSS AlgorithmIdentifier with the given parameters.
call_t pss_hash(const std::string& params) {
    return [=, der = element(0x30, encode(der_oid("1.2.840.113549.1.1.10")) + element(0x30, params))] {
        asn_ike_signalg_t alg;
        return asn_read_ike_signalg(bytes_of(der), size_of(der), alg) == 1 &&
               alg.to_pki_alg() == PKI_ALG_SHA1_RSASSA_PSS;
    };
}

call_t read_public_key(const std::string& params, std::string_view key) {
    const std::string algorithm = element(0x30, encode(der_oid("1.2.840.113549.1.1.1")) + params);
    return [der = element(0x30, algorithm + element(0x03, key))] {
        asn_pubkey_t out;
        return asn_read_pubkey(bytes_of(der), static_cast<long>(der.size()), out) == 1;
    };
}

// Encrypts and decrypts by copying.
class copying_crypto_t final : public pbe_crypto_t {
  public:
    bool verify_mac(const pkcs12_mac_t&, const void*, unsigned int) override { return true; }
    bool make_mac(const void*, unsigned int, pkcs12_mac_t&) override { return true; }
    bool decrypt(const pkcs5_pbe_gost_t&, const void* data, unsigned int size, std::string& out) override {
        out.assign(static_cast<const char*>(data), size);
        return true;
    }
    bool encrypt(const void* data, unsigned int size, pkcs5_pbe_gost_t&, std::string& out) override {
        out.assign(static_cast<const char*>(data), size);
        return true;
    }
};

// A container of these entries.
call_t read_container(std::string_view entries, bool expected = true) {
    const std::string content = element(0x04, element(0x30, entries));
    const std::string auth_safe = element(0x30, encode(der_oid(OID_DATA)) + element(0xA0, content));
    const std::string pfx = encode(der_integer("03")) + auth_safe + encode(mac_data_t().whole());
    return [=, der = element(0x30, pfx), easy = std::make_shared<pkcs12_easy_t>()] {
        copying_crypto_t crypto;
        return asn_read_pkcs12_easy(der.data(), size_of(der), &crypto, *easy) == expected;
    };
}

std::string plain_entry(std::string_view bags) {
    const std::string content = element(0x04, element(0x30, bags));
    return element(0x30, encode(der_oid(OID_DATA)) + element(0xA0, content));
}

std::string encrypted_entry(std::string_view bags) {
    encrypted_data_t data;
    data.encrypted_content = der_element(0x80, element(0x04, element(0x30, bags)));
    return encode(data.entry());
}

// Bags of about `size` bytes in all.
call_t write_container(std::size_t size, bool encrypted, std::size_t value_size) {
    const auto value = std::make_shared<std::string>(value_size, 'v');
    const auto easy = std::make_shared<pkcs12_easy_t>();
    pkcs12_bag_t bag;
    bag.value = view_of(*value);
    bag.friendly_name = view_of<bmp_string_t>(std::string_view(*value).substr(0, 16));
    bag.local_key_id = bag.value;
    for (std::size_t written = 0; written < size; written += 2 * value_size) {
        bag.type ^= 1;
        (encrypted ? easy->encrypted_bags : easy->plain_bags).push_back(bag);
    }
    return [=, out = std::string()]() mutable {
        copying_crypto_t crypto;
        asn_write_pkcs12_easy(*easy, &crypto, out);
        return out.size() > size;
    };
}

// Calls of a function that appends to `out`, until `out` is that long.
call_t append_until(std::size_t size, void (*append)(std::string& out)) {
    return [=, out = std::string()]() mutable {
        while (out.size() < size) {
            append(out);
        }
        return true;
    };
}

std::vector<IntToString> value_names(std::size_t num_rows) {
    std::vector<IntToString> table(num_rows);
    for (std::size_t i = 0; i < num_rows; ++i) {
        table[i].value = static_cast<unsigned int>(i + 1);
        table[i].name = "NAME";
    }
    table.back().name = nullptr;
    return table;
}

constexpr std::string_view SEPARATORS = ",+ ";
constexpr std::string_view ESCAPES = "\\,\\\\";

// ---- the table ----

const row_t ROWS[] = {
    // Elements
    {"asn1_read_tag", "one element",
     [](std::size_t size) -> call_t {
         return [der = element(0x30, std::string(size, 'x'))] {
             unsigned int length = 0;
             return asn1_read_tag(asn_tag_t::ANY, bytes_of(der), size_of(der), &length) != nullptr;
         };
     }},
    {"asn_read_INTEGER", "zeros", [](std::size_t size) { return read_integer(std::string(size, '\0')); }},
    {"asn_write_INTEGER", "one string of many",
     [](std::size_t size) {
         return append_until(size, [](std::string& out) { asn_write_INTEGER(0x81020304, out); });
     },
     BRIEF},

    // Object identifiers
    {"oid_str_to_asn_", "zeros in front of an arc",
     [](std::size_t size) { return text_to_oid("1." + std::string(size, '0') + "1"); }},
    {"oid_str_to_asn_", "arcs", [](std::size_t size) { return text_to_oid(repeated("1.2.3.", size) + "4", false); }},
    {"oid_str_to_asn_", "dots", [](std::size_t size) { return text_to_oid("1" + std::string(size, '.'), false); }},
    {"oid_asn_to_str_", "arcs of one octet", [](std::size_t size) { return oid_to_text(std::string(size, '\x01')); }, BRIEF},
    {"oid_asn_to_str_", "one padded arc",
     [](std::size_t size) { return oid_to_text(std::string(size, '\x80') + "\x01"); }},
    {"oid_asn_to_str_", "one unterminated arc",
     [](std::size_t size) { return oid_to_text(std::string(size, '\x81'), false); }, BRIEF},
    {"oid_asn_to_str_", "one string of many",
     [](std::size_t size) {
         return append_until(size, [](std::string& out) {
             const unsigned char oid[] = {0x2A, 0x03, 0x04};
             oid_asn_to_str_(oid, oid + sizeof oid, out);
         });
     },
     BRIEF},
    {"asn_oid_to_printable", "arcs", [](std::size_t size) { return print_oid(std::string(size, '\x01')); }, BRIEF},
    {"asn_oid_to_printable", "one unterminated arc",
     [](std::size_t size) { return print_oid(std::string(size, '\x81'), false); }},

    // Maps
    {"oid_map_parse", "lines", [](std::size_t size) { return parse_map(map_text(size)); }},
    {"oid_map_parse", "one line again and again",
     [](std::size_t size) { return parse_map(repeated("1.2.3 = NAME, long name\n", size)); }, BRIEF},
    {"oid_map_parse", "line ends", [](std::size_t size) { return parse_map(repeated("\r\n", size)); }, BRIEF},
    {"oid_map_parse", "digits", [](std::size_t size) { return parse_map(std::string(size, '1')); }, BRIEF},
    {"oid_map_parse", "blanks", [](std::size_t size) { return parse_map(repeated("1.2 \t= \t\n", size)); }, BRIEF},
    {"oid_map_parse", "one long name",
     [](std::size_t size) { return parse_map("1.2.3 = NAME, " + std::string(size, 'x')); }, BRIEF},
    {"oid_map_parse_", "calls of one line",
     [](std::size_t size) -> call_t {
         return [map = map_of(""), text = map_text(size)] {
             std::string_view rest = text;
             while (!rest.empty()) {
                 const std::string_view line = rest.substr(0, rest.find('\n') + 1);
                 oid_map_parse_(*map, line.data(), size_of(line));
                 rest.remove_prefix(line.size());
             }
             return true;
         };
     },
     BRIEF},
    {"oid_map_parse_", "comments",
     [](std::size_t size) -> call_t {
         return [map = map_of(""), text = repeated("# a comment = of no OID\n", size)] {
             oid_map_parse_(*map, text.data(), size_of(text));
             return oid_map_find_sn(handle_of(map), "OF", 2) == nullptr;
         };
     }},
    {"oid_map_release", "entries",
     [](std::size_t size) -> call_t {
         const std::string text = map_text(size);
         return [map = oid_map_parse(text.data(), size_of(text))] {
             oid_map_release(map);
             return true;
         };
     }},
    {"oid_map_find_sn", "entries",
     [](std::size_t size) { return find_short_name(map_text(size), "XXXXXXXX1000042", true); }, BRIEF},
    {"oid_map_find_sn", "each of the names that meet in one place",
     [](std::size_t size) { return find_each_short_name(meeting_names(size / 32)); }, MEGABYTE / 32},
    {"oid_map_find_sn", "names that differ at their ends",
     [](std::size_t size) {
         const std::string name(size, 'X');
         return find_short_name("1.2.3 = " + name + "Y\n1.2.4 = " + name + "Z\n", name + "X", false);
     }},
    {"oid_map_find_str", "texts that differ at their ends",
     [](std::size_t size) -> call_t {
         const std::string text = "1." + std::string(size, '0');
         return [=, map = map_of(text + "2 = A\n" + text + "3 = B\n"), wanted = text + "4"] {
             return oid_map_find_str(handle_of(map), wanted.data(), size_of(wanted)) == nullptr;
         };
     }},
    {"oid_map_find_asn", "a key of any size",
     [](std::size_t size) -> call_t {
         return [der = std::string(size, '\x01')] {
             return oid_map_find_asn(OID_MAP_HANDLE_DEFAULT, bytes_of(der), size_of(der)) == nullptr;
         };
     }},

    // Names to text
    {"asn_dn_to_printable", "RDNs", [](std::size_t size) { return print_name(name_of_many_rdns(size)); }, BRIEF},
    {"asn_dn_to_printable", "RDNs, reversed",
     [](std::size_t size) { return print_name(name_of_many_rdns(size), PDN_ORDER_REVERSED); }},
    {"asn_dn_to_printable", "RDNs, reversed, the last one broken",
     [](std::size_t size) {
         const std::string rdns = repeated(element(0x31, common_name(0x0C, "a,b")), size);
         return print_name(element(0x30, rdns + "\x31"), PDN_ORDER_REVERSED, false);
     },
     BRIEF},
    {"asn_dn_to_printable", "attributes of one RDN, reversed",
     [](std::size_t size) { return print_name(name_of_one_rdn(size), PDN_ORDER_REVERSED); }, BRIEF},
    {"asn_dn_to_printable", "special characters",
     [](std::size_t size) { return print_name(name_of_value(0x0C, repeated(ESCAPES, size))); }, BRIEF},
    {"asn_dn_to_printable", "T61String of prefixes",
     [](std::size_t size) { return print_name(name_of_value(0x14, std::string(size, '\xC1'))); }, BRIEF},
    {"asn_dn_to_printable", "T61String values",
     [](std::size_t size) { return print_name(element(0x30, repeated(element(0x31, common_name(0x14, "\xC1")), size))); },
     BRIEF},
    {"asn_dn_to_printable", "NumericString that ends badly",
     [](std::size_t size) { return print_name(name_of_value(0x12, std::string(size, '1') + "x"), {}, false); }, BRIEF},
    {"asn_dn_to_printable", "BMPString",
     [](std::size_t size) { return print_name(name_of_value(0x1E, repeated("\x04\x10", size))); }, BRIEF},
    {"asn_dn_to_printable", "UniversalString that ends in the middle of a surrogate pair",
     [](std::size_t size) {
         const std::string text = repeated(std::string_view("\0\0\x04\x10", 4), size);
         return print_name(name_of_value(0x1C, text + std::string("\0\0\xD8\0", 4)), {}, false);
     },
     BRIEF},
    {"asn_dn_to_printable", "nested lengths",
     [](std::size_t size) { return print_name(name_of_value(0x30, nested(size))); }},
    {"asn_dn_to_printable", "a type of many arcs",
     [](std::size_t size) {
         const std::string type = element(0x06, std::string(size, '\x01'));
         return print_name(element(0x30, element(0x31, element(0x30, type + element(0x0C, "a")))));
     },
     BRIEF},
    {"asn_dn_to_printable", "one string of many names",
     [](std::size_t size) {
         return append_until(size, [](std::string& out) {
             const std::string name = name_of_value(0x0C, "a value of some length");
             asn_dn_to_printable(bytes_of(name), size_of(name), out, PDN_ORDER_REVERSED, OID_MAP_HANDLE_DEFAULT);
         });
     },
     BRIEF},

    // Text to names
    {"printable_to_asn_dn", "RDNs", [](std::size_t size) { return encode_name(repeated("CN=a,", size) + "CN=a"); }},
    {"printable_to_asn_dn", "attributes of one RDN",
     [](std::size_t size) { return encode_name(repeated("CN=a+", size) + "CN=a"); }, BRIEF},
    {"printable_to_asn_dn", "separators", [](std::size_t size) { return encode_name(repeated(SEPARATORS, size), false); }},
    {"printable_to_asn_dn", "separators in front of a type",
     [](std::size_t size) { return encode_name("CN=a," + repeated(",+", size) + "CN=a", false); }},
    {"printable_to_asn_dn", "escapes", [](std::size_t size) { return encode_name("CN=" + repeated(ESCAPES, size)); }, BRIEF},
    {"printable_to_asn_dn", "hexadecimal escapes",
     [](std::size_t size) { return encode_name("CN=" + repeated("\\2C", size)); }, BRIEF},
    {"printable_to_asn_dn", "quotes",
     [](std::size_t size) { return encode_name("CN=\"" + repeated("\\\",", size) + "\""); }, BRIEF},
    {"printable_to_asn_dn", "an open quote behind RDNs",
     [](std::size_t size) { return encode_name(repeated("CN=a,", size) + "CN=\"", false); }, BRIEF},
    {"printable_to_asn_dn", "hexadecimal values",
     [](std::size_t size) { return encode_name("CN=#0480" + std::string(size, '0'), false); }, BRIEF},
    {"printable_to_asn_dn", "blanks",
     [](std::size_t size) { return encode_name(repeated(" CN \t= a ,", size) + "CN=a"); }, BRIEF},
    {"printable_to_asn_dn", "a type of zeros",
     [](std::size_t size) { return encode_name("1.2." + std::string(size, '0') + "=a"); }, BRIEF},
    {"printable_dn_normalize", "RDNs", [](std::size_t size) { return normalize(repeated("CN=a,", size) + "CN=a"); },
     BRIEF},
    {"printable_dn_normalize", "escapes", [](std::size_t size) { return normalize("CN=" + repeated(ESCAPES, size)); }},

    // Operations on text
    {"printable_dn_reverse", "RDNs", [](std::size_t size) { return reverse(repeated("CN=a,", size) + "CN=a"); }},
    {"printable_dn_reverse", "attributes of one RDN",
     [](std::size_t size) { return reverse(repeated("CN=a+", size) + "CN=a,C=b"); }, BRIEF},
    {"printable_dn_reverse", "blanks",
     [](std::size_t size) { return reverse("CN=a," + std::string(size, ' ') + "CN=a"); }, BRIEF},
    {"printable_dn_reverse", "separators", [](std::size_t size) { return reverse(repeated(SEPARATORS, size), false); }},
    {"printable_dn_reverse", "escapes", [](std::size_t size) { return reverse("C=a,CN=" + repeated(ESCAPES, size)); }, BRIEF},
    {"printable_dn_get_attr", "attributes",
     [](std::size_t size) { return get_attribute(repeated("CN=a,", size) + "O=a", "CM", false); }},
    {"printable_dn_get_attr", "a type that differs at its end",
     [](std::size_t size) {
         const std::string type(size / 2, 'X');
         return get_attribute(type + "Y=a", type + "Z", false);
     }},
    {"printable_dn_contain_attrs", "a pattern that mismatches late, again and again",
     [](std::size_t size) {
         return contains(repeated("CN=aaaaaaaaaaaaaaaa,", size), "CN=aaaaaaaaaaaaaaab", false);
     }},
    {"printable_dn_contain_attrs", "one long pattern that mismatches late",
     [](std::size_t size) {
         const std::string rdns = repeated("CN=a,", size / 2);
         return contains(rdns + "CN=b," + rdns, rdns + "CN=c", false);
     }, BRIEF},
    {"printable_dn_contain_attrs", "separators",
     [](std::size_t size) { return contains(std::string(size, ','), std::string(size / 2, ',') + "C", false); }, BRIEF},
    {"printable_dn_C_before_CN", "attributes", [](std::size_t size) { return C_before_CN(repeated("O=a,", size) + "O=a"); }},

    // Characters and digits
    {"ldap_t61s_to_utf8s", "prefixes", [](std::size_t size) { return convert_t61(std::string(size, '\xC1')); }},
    {"ldap_t61s_to_utf8s", "letters with prefixes",
     [](std::size_t size) { return convert_t61(repeated("\xC2" "e", size)); }, BRIEF},
    {"ldap_t61s_to_utf8s", "text that ends badly",
     [](std::size_t size) { return convert_t61(std::string(size, 'a') + std::string(1, '\0'), false); }, BRIEF},
    {"ldap_t61s_to_utf8s", "one string of many",
     [](std::size_t size) {
         return append_until(size, [](std::string& out) { ldap_t61s_to_utf8s("text", 4, out); });
     },
     BRIEF},
    {"TO_HEX_STRING", "bytes",
     [](std::size_t size) -> call_t {
         return [data = std::string(size, 'x'), out = std::string(3 * size, ' ')]() mutable {
             TO_HEX_STRING(bytes_of(data), size_of(data), out.data(), ':');
             return out[0] == '7';
         };
     }},
    {"TO_HEX_STD_STRING", "bytes",
     [](std::size_t size) -> call_t {
         return [data = std::string(size, 'x'), out = std::string()]() mutable {
             return TO_HEX_STD_STRING(bytes_of(data), size_of(data), out, ':').size() == 3 * data.size() - 1;
         };
     }},
    {"TO_HEX_STD_STRING", "one string of many",
     [](std::size_t size) {
         return append_until(size, [](std::string& out) { TO_HEX_STD_STRING(bytes_of("text"), 4, out, ':'); });
     },
     BRIEF},
    {"IntToString::getString", "rows",
     [](std::size_t size) -> call_t {
         return [table = value_names(size / sizeof(IntToString))] { return table[0].getString(0, nullptr) == nullptr; };
     }},
    {"IntToString::getInt", "rows",
     [](std::size_t size) -> call_t {
         return [table = value_names(size / sizeof(IntToString))] { return table[0].getInt("name of none", 0) == 0; };
     },
     BRIEF},
    {"IntToString::getInt", "a long name",
     [](std::size_t size) -> call_t {
         return [name = std::string(size, 'x')] {
             const IntToString table[] = {{1, (name.c_str())}, {0, nullptr}};
             return table->getInt(name.c_str(), 0) == 1;
         };
     }},

    // Times
    {"CertTimeFromLogStringGMT", "blanks",
     [](std::size_t size) { return parse_time(std::string(size, ' ') + "2024.1.2 3:4:5"); }, BRIEF},
    {"CertTimeFromLogStringGMT", "zeros",
     [](std::size_t size) { return parse_time(std::string(size, '0') + "2024.1.2 3:4:5"); }, BRIEF},
    {"CertTimeFromLogStringGMT", "text behind the time",
     [](std::size_t size) { return parse_time("2024.1.2 3:4:5" + std::string(size, '5')); }, BRIEF},
    {"CertTimeFromLogStringGMT", "no time", [](std::size_t size) { return parse_time(std::string(size, 'x'), false); }},
    {"TimeToString", "one string of many",
     [](std::size_t size) { return append_until(size, [](std::string& out) { TimeToString(0, out); }); }, MEGABYTE / 8},
    {"CertTimeToString", "one string of many",
     [](std::size_t size) {
         return append_until(size, [](std::string& out) { CertTimeToString(0x7E80001000000, out); });
     },
     MEGABYTE / 8},
    {"CertTimeToStringGMT", "one string of many",
     [](std::size_t size) {
         return append_until(size, [](std::string& out) { CertTimeToStringGMT(0x7E80001000000, out); });
     },
     MEGABYTE / 8},

    // Algorithms and public keys
    {"PKI_OID_TO_HASH_ALG", "a long OID", [](std::size_t size) { return look_up(PKI_OID_TO_HASH_ALG, size); }},
    {"PKI_OID_TO_KEY_ALG", "a long OID", [](std::size_t size) { return look_up(PKI_OID_TO_KEY_ALG, size); }},
    {"PKI_OID_TO_CERT_SIGN_ALG", "a long OID", [](std::size_t size) { return look_up(PKI_OID_TO_CERT_SIGN_ALG, size); }},
    {"PKI_OID_TO_ALG", "a long OID", [](std::size_t size) { return look_up(PKI_OID_TO_ALG, size); }},
    {"asn_add_alg_to_digest", "a long digest",
     [](std::size_t size) -> call_t {
         return [digest = std::string(size, 'd')]() mutable {
             const std::size_t old_size = digest.size();
             asn_add_alg_to_digest(digest, PKI_ALG_SHA256);
             return digest.size() > old_size;
         };
     }},
    {"asn_read_alg_from_digest", "nested lengths",
     [](std::size_t size) -> call_t {
         const std::string algorithm = element(0x30, encode(der_oid("1.2.3")) + nested(size / 2));
         return [der = element(0x30, algorithm + element(0x04, std::string(size / 2, 'd')))] {
             asn_algorid_t out;
             return asn_read_alg_from_digest(&out, der);
         };
     }},
    {"asn_read_ike_signalg", "nested lengths", [](std::size_t size) { return pss_hash(nested(size)); }},
    {"asn_ike_signalg_t::to_pki_alg", "long parameters",
     [](std::size_t size) {
         const std::string sha1 = encode(der_oid("1.3.14.3.2.26"));
         const std::string hash = element(0xA0, element(0x30, sha1 + element(0x04, std::string(size / 3, 'h'))));
         const std::string mask = element(0xA1, element(0x30, sha1 + nested(size / 3)));
         return pss_hash(hash + mask + element(0xA2, element(0x02, std::string(size / 3, '\1'))));
     }},
    {"asn_read_pubkey", "nested parameters", [](std::size_t size) { return read_public_key(nested(size), "key"); }},
    {"asn_read_pubkey", "a long key", [](std::size_t size) { return read_public_key("", std::string(size, 'k')); }},
    {"asn_read_rsa_pubkey", "zeros",
     [](std::size_t size) -> call_t {
         return [der = element(0x30, element(0x02, std::string(size, '\0')) + element(0x02, "\x03"))] {
             asn_pubkey_t key;
             key.key = view_of(der);
             asn_rsa_pubkey_t out;
             return asn_read_rsa_pubkey(key, out) == 1;
         };
     }},
    {"asn_read_gost_pubkey", "long parameter sets and a long key",
     [](std::size_t size) -> call_t {
         const std::string set = element(0x06, std::string(size / 4, '\x01'));
         return [params = element(0x30, set + set + set), bits = element(0x04, std::string(size / 4, 'k'))] {
             asn_pubkey_t key;
             key.parameters = view_of(params);
             key.key = view_of(bits);
             asn_gost_pubkey_t out;
             return asn_read_gost_pubkey(key, out) == 1;
         };
     }},
    {"asn_read_dsa_certsign", "zeros",
     [](std::size_t size) -> call_t {
         const std::string number = element(0x02, std::string(size / 2, '\0'));
         return [der = element(0x30, number + number)] {
             asn_dsa_certsign_t out;
             return asn_read_dsa_certsign(bytes_of(der), size_of(der), out) == 1;
         };
     }},

    // Private keys
    {"asn_read_pkcs8_priv_key_info", "nested parameters",
     [](std::size_t size) -> call_t {
         const std::string algorithm = element(0x30, encode(der_oid("1.2.643.2.2.19")) + nested(size / 2));
         const std::string key = element(0x04, std::string(size / 2, 'k'));
         return [der = element(0x30, encode(der_integer("00")) + algorithm + key)] {
             asn_pkcs8_priv_key_info_t out;
             return asn_read_pkcs8_priv_key_info(bytes_of(der), size_of(der), out);
         };
     }},
    {"asn_read_pkcs8_pki_gost", "nested parameters",
     [](std::size_t size) -> call_t {
         const std::string algorithm = element(0x30, encode(der_oid("1.2.643.2.2.19")) + nested(size / 2));
         const std::string key = element(0x04, element(0x04, std::string(size / 2, 'k')));
         return [der = element(0x30, encode(der_integer("00")) + algorithm + key)] {
             pkcs8_pki_gost_t out;
             return asn_read_pkcs8_pki_gost(der.data(), size_of(der), out);
         };
     }},
    {"asn_write_pkcs8_pki_gost", "a long key",
     [](std::size_t size) -> call_t {
         return [key = std::string(size, 'k'), out = std::string()]() mutable {
             pkcs8_pki_gost_t in;
             in.private_key = view_of(key);
             asn_write_pkcs8_pki_gost(in, out);
             return out.size() > key.size();
         };
     }},
    {"asn_read_pkcs5_pbe_gost", "a long salt, zeros for a count",
     [](std::size_t size) -> call_t {
         pbes2_t pbes2;
         pbes2.salt = der_octet_string(std::string(size / 2, 's'));
         pbes2.iterations = der_element(0x02, std::string(size / 2, '\0'));
         return [content = encode_content(pbes2.whole())] {
             pkcs5_pbe_gost_t out;
             return asn_read_pkcs5_pbe_gost(content.data(), size_of(content), out);
         };
     }},
    {"asn_write_pkcs5_pbe_gost", "a long salt and a long vector",
     [](std::size_t size) -> call_t {
         return [bytes = std::string(size / 2, 's'), out = std::string()]() mutable {
             pkcs5_pbe_gost_t in;
             in.salt = view_of(bytes);
             in.iv = in.salt;
             asn_write_pkcs5_pbe_gost(in, out);
             return out.size() > 2 * bytes.size();
         };
     }},
    {"asn_read_pkcs8_encrypted_pki_gost", "zeros for a count, long data",
     [](std::size_t size) -> call_t {
         pbes2_t pbes2;
         pbes2.iterations = der_element(0x02, std::string(size / 2, '\0'));
         return [der = encode(encrypted_key(std::string(size / 2, 'e'), pbes2))] {
             pkcs8_encrypted_pki_gost_t out;
             return asn_read_pkcs8_encrypted_pki_gost(der.data(), size_of(der), out);
         };
     }},
    {"asn_write_pkcs8_encrypted_pki_gost", "long fields",
     [](std::size_t size) -> call_t {
         return [bytes = std::string(size / 3, 'e'), out = std::string()]() mutable {
             pkcs8_encrypted_pki_gost_t in;
             in.pbe.salt = view_of(bytes);
             in.pbe.iv = in.pbe.salt;
             in.encrypted_data = in.pbe.salt;
             asn_write_pkcs8_encrypted_pki_gost(in, out);
             return out.size() > 3 * bytes.size();
         };
     }},

    // Containers
    {"asn_read_pkcs12_MacData", "a long digest, zeros for a count",
     [](std::size_t size) -> call_t {
         mac_data_t mac;
         mac.digest = der_octet_string(std::string(size / 2, 'd'));
         mac.iterations = der_element(0x02, std::string(size / 2, '\0'));
         return [content = encode_content(mac.whole())] {
             pkcs12_mac_t out;
             return asn_read_pkcs12_MacData(content.data(), size_of(content), out);
         };
     }},
    {"asn_read_pkcs12_easy", "bags",
     [](std::size_t size) { return read_container(plain_entry(repeated(encode(key_bag("key")), size))); }},
    {"asn_read_pkcs12_easy", "bags that are encrypted",
     [](std::size_t size) { return read_container(encrypted_entry(repeated(encode(key_bag("key")), size))); },
     BRIEF},
    {"asn_read_pkcs12_easy", "shrouded keys",
     [](std::size_t size) { return read_container(plain_entry(repeated(encode(shrouded_key_bag("key")), size))); },
     BRIEF},
    {"asn_read_pkcs12_easy", "encrypted entries",
     [](std::size_t size) { return read_container(repeated(encrypted_entry(encode(key_bag("key"))), size)); },
     BRIEF},
    {"asn_read_pkcs12_easy", "attributes of one bag",
     [](std::size_t size) {
         return read_container(plain_entry(encode(key_bag("key", der_element(0x31, repeated(encode(friendly_name("ab")), size))))));
     },
     BRIEF},
    {"asn_read_pkcs12_easy", "bags, the last one broken",
     [](std::size_t size) {
         return read_container(plain_entry(repeated(encode(cert_bag("certificate")), size) + "\x30"), false);
     },
     BRIEF},
    {"asn_read_pkcs12_easy", "nested lengths",
     [](std::size_t size) { return read_container(plain_entry(encode(key_bag(nested(size))))); }},
    {"asn_write_pkcs12_easy", "bags", [](std::size_t size) { return write_container(size, false, 32); }, BRIEF},
    {"asn_write_pkcs12_easy", "bags to encrypt", [](std::size_t size) { return write_container(size, true, 32); },
     BRIEF},
    {"asn_write_pkcs12_easy", "one long bag", [](std::size_t size) { return write_container(size, true, size); }},

    // What the comparison must find.
    {"quadratic", "every byte with every other one",
     [](std::size_t size) -> call_t {
         return [text = std::string(size, 'x')] {
             std::size_t num_equal = 0;
             for (const char a : text) {
                 for (const char b : text) {
                     num_equal += a == b ? 1 : 0;
                 }
             }
             return num_equal == text.size() * text.size();
         };
     },
     2048},
    {"quadratic", "insertion at the front",
     [](std::size_t size) -> call_t {
         return [=, text = std::string()]() mutable {
             while (text.size() < size) {
                 text.insert(text.begin(), 'x');
             }
             return true;
         };
     },
     MEGABYTE / 32},
};

// The input is made anew, so that no call sees what another one left behind.
bool measure(const row_t& row, std::size_t size) {
    const std::string name = std::string(row.function) + ": " + row.shape + ": " + std::to_string(size);
    const call_t call = row.prepare(size);
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    const bool as_expected = call();
    CALLGRIND_DUMP_STATS_AT(name.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
    if (!as_expected) {
        std::fprintf(stderr, "%s: the call did not end as expected\n", name.c_str());
    }
    return as_expected;
}

bool measure_all_sizes(const row_t& row) {
    bool as_expected = true;
    for (int halvings = NUM_SIZES; halvings-- != 0;) {
        as_expected = measure(row, row.largest >> halvings) && as_expected;
    }
    return as_expected;
}

} // namespace

int main() {
    bool as_expected = true;
    for (const row_t& row : ROWS) {
        as_expected = measure_all_sizes(row) && as_expected;
    }
    return as_expected ? 0 : 1;
}
