// The inside of an OID map: entries and three ordered indexes over them.
#ifndef DERKIT_ASN_OIDMAP_INTERNAL_H
#define DERKIT_ASN_OIDMAP_INTERNAL_H

#include <cstring>
#include <list>
#include <set>

#include "derkit/asn_oidmap.h"
#include "util/ascii.h"

// Exact comparison of two keys of one size.
struct oid_memcmp_t {
    int operator()(const void* a, const void* b, unsigned int size) const {
        return size == 0 ? 0 : std::memcmp(a, b, size);
    }
};

// Comparison of two keys of one size without regard to ASCII case: strncasecmp() in the C locale, whatever the
// process's locale is. An index must keep its order when that changes. As there, a zero byte in both ends it.
struct oid_strcmp_t {
    int operator()(const char* a, const char* b, unsigned int size) const {
        for (unsigned int i = 0; i < size; ++i) {
            const int difference = folded(a[i]) - folded(b[i]);
            if (difference != 0 || a[i] == '\0') {
                return difference;
            }
        }
        return 0;
    }

  private:
    static int folded(char c) { return static_cast<unsigned char>(ascii_lower(c)); }
};

// Orders entries by one key field: the shorter key first, keys of one size by their bytes. So most comparisons
// look at no byte at all.
template <auto KEY, auto KEY_SIZE, typename COMPARE> struct oid_map_compare_t {
    bool operator()(const OIDdescr_t* a, const OIDdescr_t* b) const {
        if (a->*KEY_SIZE != b->*KEY_SIZE) {
            return a->*KEY_SIZE < b->*KEY_SIZE;
        }
        return COMPARE()(a->*KEY, b->*KEY, a->*KEY_SIZE) < 0;
    }
};

// A map of OIDs. The list owns the entries, in the order of the lines that made them; an index that holds an equal
// key already keeps its entry, so the first line wins in each index separately.
struct OIDmaps_t {
    using by_asn_t =
        std::set<OIDdescr_t*, oid_map_compare_t<&OIDdescr_t::oid_asn, &OIDdescr_t::oid_asn_size, oid_memcmp_t>>;
    using by_str_t =
        std::set<OIDdescr_t*, oid_map_compare_t<&OIDdescr_t::oid_str, &OIDdescr_t::oid_str_size, oid_memcmp_t>>;
    using by_sn_t =
        std::set<OIDdescr_t*, oid_map_compare_t<&OIDdescr_t::oid_sn, &OIDdescr_t::oid_sn_size, oid_strcmp_t>>;

    std::list<OIDdescr_t> entries;
    by_asn_t by_asn;
    by_str_t by_str;
    by_sn_t by_sn;

    OIDmaps_t() = default;
    ~OIDmaps_t();
    OIDmaps_t(const OIDmaps_t&) = delete;
    OIDmaps_t& operator=(const OIDmaps_t&) = delete;

    // Frees the one block that holds all texts of an entry.
    static void release_oid_(OIDdescr_t& entry);
};

// The built-in table.
struct default_oid_map_t : OIDmaps_t {
    default_oid_map_t();
};

// The built-in table and behind it the lines of qaroids.cfg.
struct default_file_oid_map_t : default_oid_map_t {
    default_file_oid_map_t();
};

#endif
