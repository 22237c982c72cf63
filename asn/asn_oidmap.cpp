#include "asn/oid_map.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "platform/system_etc_dir.h"
#include "util/ascii.h"

namespace {

// 2.5.4.8 stands here twice: by DER and by dotted text it is ST, the earlier line; S is a second short name for it.
constexpr std::string_view DEFAULT_OIDS = "2.5.4.3 = CN, commonName\n"
                                          "2.5.4.4 = SN, surName\n"
                                          "2.5.4.6 = C, countryName\n"
                                          "2.5.4.7 = L, localityName\n"
                                          "2.5.4.8 = ST, stateName\n"
                                          "2.5.4.8 = S, stateName\n"
                                          "2.5.4.9 = STREET, streetAddress\n"
                                          "2.5.4.10 = O, organizationName\n"
                                          "2.5.4.11 = OU, organizationalUnitName\n"
                                          "2.5.4.12 = T, title\n"
                                          "2.5.4.20 = TEL, telephoneNumber\n"
                                          "2.5.4.23 = FAX, facsimileNumber\n"
                                          "2.5.4.41 = NQ, nameQualifier\n"
                                          "2.5.4.42 = GN, givenName\n"
                                          "2.5.4.43 = I, initials\n"
                                          "2.5.4.44 = GQ, generationQualifier\n"
                                          "2.5.4.46 = DNQ, dnQualifier\n"
                                          "2.5.4.65 = PS, pseudonym\n"
                                          "0.9.2342.19200300.100.1.1 = UID, uid\n"
                                          "0.9.2342.19200300.100.1.3 = MBOX, rfc822Mailbox\n"
                                          "0.9.2342.19200300.100.1.25 = DC, domainComponent\n"
                                          "1.2.840.113549.1.9.1 = E, emailAddress\n"
                                          "1.3.6.1.4.1.42.2.11.2.1 = SUNIP, ipAddress\n";
static_assert(DEFAULT_OIDS.size() == 711);

constexpr auto is_blank = [](char c) { return c == ' ' || c == '\t'; };
constexpr auto is_line_end = [](char c) { return c == '\r' || c == '\n'; };
constexpr auto is_part_of_oid = [](char c) { return (c >= '0' && c <= '9') || c == '.'; };
constexpr auto ends_short_name = [](char c) { return is_blank(c) || c == '=' || c == ','; };

// The parts of a line, as views into the map's text.
struct oid_line_t {
    std::string_view oid;
    std::string_view short_name;
    std::string_view long_name;
};

// Removes and returns the leading characters of `text` that the predicate accepts.
template <typename PREDICATE> std::string_view take_while(std::string_view& text, PREDICATE accepts) {
    const auto end = std::find_if_not(text.begin(), text.end(), accepts);
    const std::string_view taken = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(taken.size());
    return taken;
}

// Removes and returns the characters of `text` before the first that the predicate accepts.
template <typename PREDICATE> std::string_view take_until(std::string_view& text, PREDICATE stops) {
    return take_while(text, std::not_fn(stops));
}

bool take_one(std::string_view& text, char c) {
    if (text.empty() || text.front() != c) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

// Line ::= OID "=" short name [ "," long name ], with blanks between the parts. Anything else after the short name is
// ignored; trailing blanks belong to the long name. Lines of any other form are comments.
bool split_line(std::string_view line, oid_line_t& out) {
    take_while(line, is_blank);
    out.oid = take_while(line, is_part_of_oid);
    take_while(line, is_blank);
    if (!take_one(line, '=')) {
        return false;
    }
    take_while(line, is_blank);
    out.short_name = take_until(line, ends_short_name);
    take_while(line, is_blank);
    out.long_name = std::string_view();
    if (take_one(line, ',')) {
        take_while(line, is_blank);
        out.long_name = line;
    }
    return true;
}

// Lays out DER, dotted text, short name and long name in one block, each text with a terminating zero.
std::unique_ptr<unsigned char[]> make_entry(const oid_line_t& line, const unsigned char* der, unsigned int der_size,
                                            OIDdescr_t& entry) {
    constexpr std::size_t NUM_ZEROS = 3;
    std::unique_ptr<unsigned char[]> block(
        new unsigned char[der_size + line.oid.size() + line.short_name.size() + line.long_name.size() + NUM_ZEROS]);
    entry.oid_asn = block.get();
    entry.oid_asn_size = der_size;
    char* end = reinterpret_cast<char*>(std::copy_n(der, der_size, block.get()));

    entry.oid_str = end;
    entry.oid_str_size = static_cast<unsigned int>(line.oid.size());
    end = std::copy(line.oid.begin(), line.oid.end(), end);
    *end++ = '\0';

    entry.oid_sn = end;
    entry.oid_sn_size = static_cast<unsigned int>(line.short_name.size());
    end = std::transform(line.short_name.begin(), line.short_name.end(), end, ascii_upper);
    *end++ = '\0';

    entry.oid_ln = end;
    entry.oid_ln_size = static_cast<unsigned int>(line.long_name.size());
    end = std::copy(line.long_name.begin(), line.long_name.end(), end);
    *end = '\0';
    return block;
}

// Adds an entry to an index unless that has its key. Most texts are in the order of their OIDs: the end is tried first.
template <typename INDEX> bool add_to(INDEX& index, OIDdescr_t* entry) {
    const std::size_t old_size = index.size();
    index.insert(index.end(), entry);
    return index.size() != old_size;
}

void add_line(OIDmaps_t& map, const oid_line_t& line) {
    unsigned char der[512];
    const unsigned int der_size = oid_str_to_asn_(line.oid.data(), line.oid.data() + line.oid.size(), der);
    if (der_size == 0) {
        return;
    }
    OIDdescr_t entry;
    std::unique_ptr<unsigned char[]> block = make_entry(line, der, der_size, entry);
    map.entries.push_back(entry);
    block.release(); // the list owns it now
    OIDdescr_t* const added = &map.entries.back();
    if (add_to(map.by_asn, added)) {
        map.x520_types.add(added);
        map.shortcut_by_asn.add(map.by_asn, added);
    }
    add_to(map.by_str, added);
    if (add_to(map.by_sn, added)) {
        map.shortcut_by_sn.add(map.by_sn, added);
    }
}

// Reads a whole file in one read; returns null for anything but a non-empty regular file. Directories and pipes open
// like files, but have no size to trust, and a pipe would wait for its writer.
std::unique_ptr<char[]> read_file(const std::string& path, unsigned int& size) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return nullptr;
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return nullptr;
    }
    const long end = std::ftell(file.get());
    if (end <= 0 || static_cast<unsigned long>(end) > 0xFFFFFFFF || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        return nullptr;
    }
    size = static_cast<unsigned int>(end);
    std::unique_ptr<char[]> text(new char[size]);
    return std::fread(text.get(), size, 1, file.get()) == 1 ? std::move(text) : nullptr;
}

// Built before objects of ordinary priority: static initialisers of a program that links the static library find them
// complete too.
constexpr int MAPS_INIT_PRIORITY = 1000;
[[gnu::init_priority(MAPS_INIT_PRIORITY)]] default_oid_map_t g_oids_default;
[[gnu::init_priority(MAPS_INIT_PRIORITY)]] default_file_oid_map_t g_oids_default_file;

} // namespace

const oid_map_handle_t OID_MAP_HANDLE_DEFAULT = {&g_oids_default};
const oid_map_handle_t OID_MAP_HANDLE_DEFAULT_FILE = {&g_oids_default_file};

OIDmaps_t::~OIDmaps_t() {
    std::for_each(entries.begin(), entries.end(), release_oid_);
}

// cppcheck-suppress constParameterCallback ; the entry loses its block
void OIDmaps_t::release_oid_(OIDdescr_t& entry) {
    delete[] entry.oid_asn;
}

default_oid_map_t::default_oid_map_t() {
    oid_map_parse_(*this, DEFAULT_OIDS.data(), static_cast<unsigned int>(DEFAULT_OIDS.size()));
}

default_file_oid_map_t::default_file_oid_map_t() {
    // Whatever is at the path, loading the library goes on: without the file's lines, or with those parsed before memory
    // ran out.
    try {
        unsigned int size = 0;
        const std::unique_ptr<char[]> text = read_file(systemEtcDir() + "qaroids.cfg", size);
        if (text != nullptr) {
            oid_map_parse_(*this, text.get(), size);
        }
    } catch (...) {
    }
}

oid_map_handle_t oid_map_parse(const char* text, unsigned int size) {
    std::unique_ptr<OIDmaps_t> map(new OIDmaps_t);
    oid_map_parse_(*map, text, size);
    oid_map_handle_t handle;
    handle.map = map.release();
    return handle;
}

void oid_map_parse_(OIDmaps_t& map, const char* text, unsigned int size) {
    std::string_view rest(text, size);
    while (!rest.empty()) {
        oid_line_t line;
        if (split_line(take_until(rest, is_line_end), line)) {
            add_line(map, line);
        }
        take_while(rest, is_line_end);
    }
}

void oid_map_release(oid_map_handle_t map) {
    delete map.map;
}

// The finds below cast constness away: an entry points to non-const bytes, but a search changes none.

[[gnu::noinline]] static const OIDdescr_t* find_by_hash(const OIDmaps_t& map, const unsigned char* der,
                                                        unsigned int size) {
    return map.shortcut_by_asn.find(map.by_asn, const_cast<unsigned char*>(der), size);
}

const OIDdescr_t* oid_map_find_asn(oid_map_handle_t map, const unsigned char* der, unsigned int size) {
    const OIDdescr_t* const found = map.map->x520_types.find(der, size);
    return found != nullptr ? found : find_by_hash(*map.map, der, size);
}

const OIDdescr_t* oid_map_find_str(oid_map_handle_t map, const char* text, unsigned int size) {
    return find_in_order(map.map->by_str, const_cast<char*>(text), size);
}

const OIDdescr_t* oid_map_find_sn(oid_map_handle_t map, const char* name, unsigned int size) {
    return map.map->shortcut_by_sn.find(map.map->by_sn, const_cast<char*>(name), size);
}
