// Elements, object identifiers and maps of them.
#include "testing/calls.h"
#include "testing/parsed_map.h"

namespace {

using size_type = std::size_t;

// Sizes of keys for which maps may have ways of their own.
constexpr std::size_t LONG_KEY_SIZES[] = {21, 67};

// Keys of these sizes, all of whose octets are '*' in DER and 'N' in names.
oid_map_handle_t map_of_long_keys() {
    static const parsed_map_t map([] {
        std::string text;
        for (const std::size_t size : LONG_KEY_SIZES) {
            text += "1.2";
            for (std::size_t i = 1; i < size; ++i) {
                text += ".42";
            }
            text += "=" + std::string(size, 'N') + "\n";
        }
        return text;
    }());
    return map.handle();
}

std::vector<std::string> keys_of(char octet) {
    return {std::string(LONG_KEY_SIZES[0], octet), std::string(LONG_KEY_SIZES[1], octet)};
}

template <typename FIND> bool find(run_t& run, FIND find_entry) {
    const OIDdescr_t* const entry = run.call(find_entry);
    run.note(entry);
    return entry != nullptr;
}

const std::string MAP_TEXT = "1.2.3 = AB, a long name\r\n# no entry\n\t2.5.4.3=CN\n1.2.4 = AC , x=y";

} // namespace

std::vector<call_t> element_calls() {
    return {
        {.function = "asn1_read_tag",
         .samples = {from_hex("04 02 01 02"), from_hex("30 84 00 00 00 01 FF")},
         .run =
             [](run_t& run) {
                 unsigned int length = 77;
                 const unsigned char* const content =
                     run.call([&] { return asn1_read_tag(asn_tag_t::ANY, run.data, run.size, &length); });
                 run.note(length);
                 run.note(content == nullptr ? 0ULL : static_cast<unsigned long long>(content - run.data));
                 return content != nullptr;
             },
         .shapes = {{"one element", [](size_type size) { return element(0x30, std::string(size, 'x')); }}}},
        {.function = "asn_read_INTEGER",
         .samples = {from_hex("00 81 02 03 04"), from_hex("01")},
         .run =
             [](run_t& run) {
                 unsigned int value = 77;
                 const bool done = run.call([&] { return asn_read_INTEGER(run.data, run.size, value, 0xFFFFFFFF); });
                 run.note(value);
                 return done;
             },
         .shapes = {{"zeros", [](size_type size) { return std::string(size, '\0'); }}}},
        {.function = "asn_write_INTEGER",
         .input = input_t::NUMBER,
         .samples = {number_input(0x81828384), number_input(0), number_input(0x01000200)},
         .run =
             [](run_t& run) {
                 run.call([&] { asn_write_INTEGER(static_cast<unsigned int>(run.number()), run.out); });
                 return true;
             },
         .left = with_a_part_appended,
         .appends = true},

        {.function = "oid_str_to_asn_",
         .samples = {"1.2.840.113549.1.9.20", "2.4294967215", "1.2.643.100.4294967295"},
         .run =
             [](run_t& run) {
                 unsigned char out[512];
                 const unsigned int written =
                     run.call([&] { return oid_str_to_asn_(run.chars(), run.chars() + run.size, out); });
                 run.note(as_chars(out, written));
                 return written != 0;
             },
         .shapes = {{"zeros in front of an arc", [](size_type size) { return "1." + std::string(size, '0') + "1"; }},
                    {"arcs", [](size_type size) { return repeated("1.2.3.", size) + "4"; }, LARGE, false},
                    {"dots", [](size_type size) { return "1" + std::string(size, '.'); }, LARGE, false}}},
        {.function = "oid_asn_to_str_",
         .samples = {from_hex("2A 85 03 02 02 13"), from_hex("8F FF FF FF 7F 80 01"),
                     from_hex("2A 85 03 03 81 03 01 01 8F FF FF FF 7F")},
         .run =
             [](run_t& run) {
                 return run.call([&] { return oid_asn_to_str_(run.data, run.data + run.size, run.out); }) != 0;
             },
         .shapes = {{"arcs of one octet", [](size_type size) { return std::string(size, '\x01'); }, BRIEF},
                    {"one padded arc", [](size_type size) { return std::string(size, '\x80') + "\x01"; }},
                    {"one unterminated arc", [](size_type size) { return std::string(size, '\x81'); }, BRIEF, false}},
         .left = with_a_part_appended,
         .appends = true},

        {.function = "oid_map_parse",
         .samples = {MAP_TEXT},
         .run =
             [](run_t& run) {
                 const oid_map_handle_t map = run.call([&] { return oid_map_parse(run.chars(), run.size); });
                 const OIDdescr_t* const entry = oid_map_find_sn(map, "ac", 2);
                 const bool found = entry != nullptr;
                 run.note(entry);
                 oid_map_release(map);
                 return found;
             },
         .shapes = {{"lines", map_lines, LARGE, false},
                    {"one line again and again",
                     [](size_type size) { return repeated("1.2.3 = NAME, long name\n", size); }, BRIEF, false},
                    {"line ends", [](size_type size) { return repeated("\r\n", size); }, BRIEF, false},
                    {"digits", [](size_type size) { return std::string(size, '1'); }, BRIEF, false},
                    {"blanks", [](size_type size) { return repeated("1.2 \t= \t\n", size); }, BRIEF, false},
                    {"one long name", [](size_type size) { return "1.2.3 = AC, " + std::string(size, 'x'); }, BRIEF}},
         .left = as_it_was,
         .blocks = ANY_NUMBER},
        {.function = "oid_map_parse_",
         .samples = {MAP_TEXT},
         .run =
             [](run_t& run) {
                 const parsed_map_t map("1.2.4 = OLD");
                 run.call([&] { oid_map_parse_(map.map(), run.chars(), run.size); });
                 const OIDdescr_t* const entry = oid_map_find_str(map.handle(), "1.2.4", 5);
                 run.note(entry);
                 return entry != nullptr;
             },
         .shapes = {{"comments", [](size_type size) { return repeated("# a comment = of no OID\n", size); }}},
         .left = as_it_was,
         .blocks = ANY_NUMBER},
        {.function = "oid_map_release",
         .samples = {MAP_TEXT, ""},
         .run =
             [](run_t& run) {
                 const oid_map_handle_t map = oid_map_parse(run.chars(), run.size);
                 run.call([&] {
                     oid_map_release(map);
                     oid_map_release(oid_map_handle_t());
                 });
                 return true;
             },
         .shapes = {{"entries", map_lines}}},
        {.function = "oid_map_find_asn",
         .samples = {from_hex("55 04 03"), from_hex("2A 86 48 86 F7 0D 01 09 01")},
         .run = [](run_t& run) { return find(run, [&] { return oid_map_find_asn(run.map, run.data, run.size); }); },
         .shapes = {{"a key of any size", [](size_type size) { return std::string(size, '\x01'); }, LARGE, false}}},
        {.name = "oid_map_find_asn_of_long_keys",
         .function = "oid_map_find_asn",
         .samples = keys_of('*'),
         .run =
             [](run_t& run) {
                 const oid_map_handle_t map = map_of_long_keys();
                 return find(run, [&] { return oid_map_find_asn(map, run.data, run.size); });
             }},
        {.function = "oid_map_find_str",
         .samples = {"2.5.4.3", "0.9.2342.19200300.100.1.25"},
         .run = [](run_t& run) { return find(run, [&] { return oid_map_find_str(run.map, run.chars(), run.size); }); },
         .shapes = {{"a key of any size", [](size_type size) { return repeated("2.", size); }, LARGE, false}}},
        {.function = "oid_map_find_sn",
         .samples = {"cn", "Street"},
         .run = [](run_t& run) { return find(run, [&] { return oid_map_find_sn(run.map, run.chars(), run.size); }); },
         .shapes = {{"a key of any size", [](size_type size) { return repeated("Name", size); }, LARGE, false}}},
        {.name = "oid_map_find_sn_of_long_keys",
         .function = "oid_map_find_sn",
         .samples = keys_of('n'),
         .run =
             [](run_t& run) {
                 const oid_map_handle_t map = map_of_long_keys();
                 return find(run, [&] { return oid_map_find_sn(map, run.chars(), run.size); });
             }},
    };
}
