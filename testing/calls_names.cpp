// Distinguished names, and the texts of their attributes.
#include <cstring>

#include "testing/calls.h"
#include "testing/parsed_map.h"

namespace {

using size_type = std::size_t;

der_t attribute_of(const char* type, const der_t& value) {
    return der_sequence({der_oid(type), value});
}

// An attribute of each kind of value, in five RDNs.
der_t name_sample() {
    const der_t bmp = der_element(0x1E, from_hex("04 1A 00 2C"));
    const der_t universal = der_element(0x1C, from_hex("00 01 F6 00 00 00 00 2B"));
    return der_sequence({der_set({attribute_of("2.5.4.6", der_element(0x13, "RU"))}),
                         der_set({attribute_of("2.5.4.3", der_element(0x0C, "a,b")), attribute_of("2.5.4.5", bmp)}),
                         der_set({attribute_of("2.5.4.10", universal)}),
                         der_set({attribute_of("1.2.643.100.1", der_element(0x12, "12 3")),
                                  attribute_of("2.5.4.11", der_element(0x14, "\xC2"
                                                                             "a+"))}),
                         der_set({attribute_of("1.2.840.113549.1.9.1", der_element(0x16, "a@b")),
                                  attribute_of("2.5.4.4", der_integer("01"))})});
}

const std::string COMMON_NAME = encode(der_oid("2.5.4.3"));

std::string common_name(int tag, std::string_view content) {
    return element(0x30, COMMON_NAME + element(tag, content));
}

// A Name of one RDN with one value.
std::string name_of_value(int tag, std::string_view content) {
    return element(0x30, element(0x31, common_name(tag, content)));
}

std::string many_rdns(size_type size) {
    return repeated(element(0x31, common_name(0x0C, "a,b")), size);
}
std::string name_of_many_rdns(size_type size) {
    return element(0x30, many_rdns(size));
}
std::string name_of_one_rdn(size_type size) {
    return element(0x30, element(0x31, repeated(common_name(0x0C, "a,b"), size)));
}

bool print_name(run_t& run, PrintableDnOrder order) {
    return run.call([&] { return asn_dn_to_printable(run.data, run.size, run.out, order, run.map); });
}

bool print_oid(run_t& run, oid_map_handle_t map) {
    return run.call([&] { return asn_oid_to_printable(run.data, run.size, run.out, true, map); });
}

oid_map_handle_t naming_map() {
    static const parsed_map_t map("1.2.3 = A-name-that-needs-memory-of-its-own");
    return map.handle();
}

const std::string DN = "CN=\\2C a\\, b,OU=\"x,y\"+2.5.4.3=#0C0161,  O = z,C=RU";
constexpr std::string_view SEPARATORS = ",+ ";
constexpr std::string_view ESCAPES = "\\,\\\\";

} // namespace

std::vector<call_t> printing_calls() {
    return {
        {.name = "name",
         .function = "asn_dn_to_printable",
         .run = [](run_t& run) { return print_name(run, PDN_ORDER_AS_ENCODED); },
         .shapes =
             {{"RDNs", name_of_many_rdns, BRIEF},
              {"special characters", [](size_type size) { return name_of_value(0x0C, repeated(ESCAPES, size)); },
               BRIEF},
              {"T61String of prefixes", [](size_type size) { return name_of_value(0x14, std::string(size, '\xC1')); },
               BRIEF},
              {"T61String of commas", [](size_type size) { return name_of_value(0x14, std::string(size, ',')); },
               BRIEF},
              {"T61String values",
               [](size_type size) { return element(0x30, repeated(element(0x31, common_name(0x14, "\xC1")), size)); },
               BRIEF},
              {"NumericString that ends badly",
               [](size_type size) { return name_of_value(0x12, std::string(size, '1') + "x"); }, BRIEF, false},
              {"BMPString", [](size_type size) { return name_of_value(0x1E, repeated("\x04\x10", size)); }, BRIEF},
              {"UniversalString that ends in the middle of a surrogate pair",
               [](size_type size) {
                   const std::string text = repeated(std::string_view("\0\0\x04\x10", 4), size);
                   return name_of_value(0x1C, text + std::string("\0\0\xD8\0", 4));
               },
               BRIEF, false},
              {"nested lengths", [](size_type size) { return name_of_value(0x30, nested_lengths(size)); }},
              {"a type of many arcs",
               [](size_type size) {
                   const std::string type = element(0x06, std::string(size, '\x01'));
                   return element(0x30, element(0x31, element(0x30, type + element(0x0C, "a"))));
               },
               BRIEF}},
         .left = with_a_part_appended,
         .appends = true,
         .record = name_sample()},
        {.name = "name_reversed",
         .function = "asn_dn_to_printable",
         .run = [](run_t& run) { return print_name(run, PDN_ORDER_REVERSED); },
         .shapes = {{"RDNs", name_of_many_rdns},
                    {"RDNs, the last one broken",
                     [](size_type size) { return element(0x30, many_rdns(size) + "\x31"); }, BRIEF, false},
                    {"attributes of one RDN", name_of_one_rdn, BRIEF}},
         .left = with_finished_rdns,
         .appends = true,
         .record = name_sample()},
        {.name = "object_identifier",
         .function = "asn_oid_to_printable",
         .run = [](run_t& run) { return print_oid(run, run.map); },
         .left = as_it_was_or_a_part,
         .record = der_oid("1.2.643.100.1")},
        {.name = "unknown_object_identifier",
         .function = "asn_oid_to_printable",
         .run = [](run_t& run) { return print_oid(run, run.map); },
         .shapes = {{"arcs", [](size_type size) { return element(0x06, std::string(size, '\x01')); }, BRIEF},
                    {"one unterminated arc", [](size_type size) { return element(0x06, std::string(size, '\x81')); },
                     LARGE, false}},
         .left = with_a_part_appended,
         .record = der_oid("1.2.643.100.111.4294967295.1")},
        {.name = "named_object_identifier",
         .function = "asn_oid_to_printable",
         .run = [](run_t& run) { return print_oid(run, naming_map()); },
         .left = as_it_was,
         .record = der_oid("1.2.3")},
        {.name = "hash_object_identifier",
         .function = "asn_oid_to_printable",
         .run = [](run_t& run) { return print_oid(run, oid_map_handle_t()); },
         .left = as_it_was_or_a_part,
         .record = der_oid("2.16.840.1.101.3.4.2.1")},
        {.name = "signature_object_identifier",
         .function = "asn_oid_to_printable",
         .run = [](run_t& run) { return print_oid(run, oid_map_handle_t()); },
         .left = as_it_was_or_a_part,
         .record = der_oid("1.2.643.7.1.1.3.3")},
    };
}

std::vector<call_t> text_to_name_calls() {
    return {
        {.function = "printable_to_asn_dn",
         .input = input_t::ZERO_TERMINATED,
         .samples = {DN, "CN=\"\\\"\\a\"", "1.2=#040100",
                     "C=RU, O=An organisation of usual length, CN=Somebody with a long name"},
         .run = [](run_t& run) { return run.call([&] { return printable_to_asn_dn(run.chars(), run.out, run.map); }); },
         .shapes = {{"RDNs", [](size_type size) { return repeated("CN=a,", size) + "CN=a"; }},
                    {"attributes of one RDN", [](size_type size) { return repeated("CN=a+", size) + "CN=a"; }, BRIEF},
                    {"separators", [](size_type size) { return repeated(SEPARATORS, size); }, LARGE, false},
                    {"separators before a type", [](size_type size) { return "CN=a," + repeated(",+", size) + "CN=a"; },
                     LARGE, false},
                    {"escapes", [](size_type size) { return "CN=" + repeated(ESCAPES, size); }, BRIEF},
                    {"hexadecimal escapes", [](size_type size) { return "CN=" + repeated("\\2C", size); }, BRIEF},
                    {"quotes", [](size_type size) { return "CN=\"" + repeated("\\\",", size) + "\""; }, BRIEF},
                    {"an open quote after RDNs", [](size_type size) { return repeated("CN=a,", size) + "CN=\""; },
                     BRIEF, false},
                    {"hexadecimal values", [](size_type size) { return "CN=#0480" + std::string(size, '0'); }, BRIEF,
                     false},
                    {"blanks", [](size_type size) { return repeated(" CN \t= a ,", size) + "CN=a"; }, BRIEF},
                    {"a type of zeros", [](size_type size) { return "1.2." + std::string(size, '0') + "=a"; }, BRIEF}},
         .left = as_it_was},
        {.name = "text_with_escapes_to_name",
         .function = "printable_to_asn_dn",
         .input = input_t::ZERO_TERMINATED,
         .samples = {"C=RU, ST=78 Saint Petersburg, O=\"Horns, Hooves\", OU=Research\\, Development+L=Office, "
                     "CN=A \\C3\\A9"},
         .run = [](run_t& run) { return run.call([&] { return printable_to_asn_dn(run.chars(), run.out, run.map); }); },
         .left = as_it_was},
        // One block for all values that have escapes and are long.
        {.name = "text_with_long_escaped_values_to_name",
         .function = "printable_to_asn_dn",
         .input = input_t::ZERO_TERMINATED,
         .samples = {"CN=" + repeated(ESCAPES, 600) + ",O=" + repeated(ESCAPES, 600)},
         .run = [](run_t& run) { return run.call([&] { return printable_to_asn_dn(run.chars(), run.out, run.map); }); },
         .left = as_it_was,
         .blocks = 1},
        {.function = "printable_dn_normalize",
         .input = input_t::STRING,
         .samples = {DN},
         .run =
             [](run_t& run) {
                 const std::string in(run.text());
                 std::string der;
                 const bool done = run.call([&] { return printable_dn_normalize(in, run.out, &der, run.map); });
                 run.note(der);
                 return done;
             },
         .shapes = {{"RDNs", [](size_type size) { return repeated("CN=a,", size) + "CN=a"; }, BRIEF},
                    {"escapes", [](size_type size) { return "CN=" + repeated(ESCAPES, size); }}},
         .left = as_it_was_or_a_part,
         .blocks = ANY_NUMBER},
    };
}

// A function of two texts has a row for each, so that each comes next to a guard page.
std::vector<call_t> operation_calls() {
    return {
        {.function = "printable_dn_reverse",
         .input = input_t::ZERO_TERMINATED,
         .samples = {DN},
         .run =
             [](run_t& run) {
                 char* const text = const_cast<char*>(run.chars());
                 const std::string before = text;
                 const bool done = run.call([&] { return printable_dn_reverse(text) == text; });
                 run.note(std::string_view(text));
                 // NOLINTNEXTLINE(bugprone-not-null-terminated-result): the zero after the text never moved
                 std::memcpy(text, before.data(), before.size()); // an input serves more than once
                 return done;
             },
         .shapes = {{"RDNs", [](size_type size) { return repeated("CN=a,", size) + "CN=a"; }},
                    {"attributes of one RDN", [](size_type size) { return repeated("CN=a+", size) + "CN=a,C=b"; },
                     BRIEF},
                    {"blanks", [](size_type size) { return "CN=a," + std::string(size, ' ') + "CN=a"; }, BRIEF},
                    {"separators", [](size_type size) { return repeated(SEPARATORS, size); }, LARGE, false},
                    {"escapes", [](size_type size) { return "C=a,CN=" + repeated(ESCAPES, size); }, BRIEF}},
         .left = as_it_was,
         .blocks = ANY_NUMBER},
        {.function = "printable_dn_get_attr",
         .input = input_t::ZERO_TERMINATED,
         .samples = {DN},
         .run =
             [](run_t& run) {
                 return run.call([&] { return printable_dn_get_attr(run.chars(), "C", run.out, PDN_GET_ATTR_PAIR); });
             },
         .shapes = {{"attributes", [](size_type size) { return repeated("D=a,", size) + "O=a"; }, LARGE, false},
                    {"a long attribute", [](size_type size) { return "CN=a,C=" + std::string(size, 'x'); }, BRIEF}},
         .left = as_it_was,
         .appends = true},
        {.name = "type_of_printable_dn_get_attr",
         .function = "printable_dn_get_attr",
         .input = input_t::ZERO_TERMINATED,
         .samples = {"CN", "2.5.4.3"},
         .run =
             [](run_t& run) {
                 return run.call(
                     [&] { return printable_dn_get_attr("CN=a,2.5.4.3=b", run.chars(), run.out, PDN_GET_ATTR_VALUE); });
             }},
        {.function = "printable_dn_contain_attrs",
         .input = input_t::ZERO_TERMINATED,
         .samples = {DN},
         .run = [](run_t& run) { return run.call([&] { return printable_dn_contain_attrs(run.chars(), "C=RU"); }); },
         .shapes = {{"attributes that mismatch late", [](size_type size) { return repeated("C=RV,", size) + "C=RV"; },
                     LARGE, false}}},
        {.name = "rdns_of_printable_dn_contain_attrs",
         .function = "printable_dn_contain_attrs",
         .input = input_t::ZERO_TERMINATED,
         .samples = {"CN=a,C=RU", "O=\\,x"},
         .run =
             [](run_t& run) {
                 return run.call([&] { return printable_dn_contain_attrs("CN=a,O=\\,x,C=RU", run.chars()); });
             }},
        {.function = "printable_dn_C_before_CN",
         .input = input_t::ZERO_TERMINATED,
         .samples = {"C=RU,CN=\"a\\,\"", "O=\\,"},
         .run = [](run_t& run) { return run.call([&] { return printable_dn_C_before_CN(run.chars()); }); },
         .shapes = {{"attributes", [](size_type size) { return repeated("O=a,", size) + "O=a"; }}}},
    };
}
