// The inside of an OID map: entries, three ordered indexes over them, and two hash tables that shorten the search.
#ifndef DERKIT_OID_MAP_H
#define DERKIT_OID_MAP_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <list>
#include <memory_resource>
#include <set>
#include <vector>

#include "derkit/asn_oidmap.h"
#include "util/ascii.h"

// Exact comparison of two keys of one size.
struct oid_memcmp_t {
    static constexpr std::uint32_t IGNORED_BITS = 0;

    int operator()(const void* a, const void* b, unsigned int size) const {
        return size == 0 ? 0 : std::memcmp(a, b, size);
    }
    static bool is_stored_as(const void* stored, const void* key, unsigned int size) {
        return oid_memcmp_t()(stored, key, size) == 0;
    }
};

// Case-insensitive comparison of two names of one size: strncasecmp() in the C locale, whatever the process's locale
// is, since an index must keep its order when that changes. As there, a zero byte in both ends the comparison.
struct oid_strcmp_t {
    // Setting this bit of every octet makes capital and small letters equal.
    static constexpr std::uint32_t IGNORED_BITS = 0x20202020;

    int operator()(const char* a, const char* b, unsigned int size) const {
        for (unsigned int i = 0; i < size; ++i) {
            const int difference = folded(a[i]) - folded(b[i]);
            if (difference != 0 || a[i] == '\0') {
                return difference;
            }
        }
        return 0;
    }
    // Short names are stored in upper case.
    static bool is_stored_as(const char* stored, const char* key, unsigned int size) {
        for (unsigned int i = 0; i < size; ++i) {
            if (ascii_upper(key[i]) != stored[i]) {
                return false;
            }
        }
        return true;
    }

  private:
    static int folded(char c) { return static_cast<unsigned char>(ascii_lower(c)); }
};

// Orders entries by one key field: the shorter key first, keys of one size by their bytes. Most comparisons look at
// no byte at all.
template <auto KEY, auto KEY_SIZE, typename COMPARE> struct oid_map_compare_t {
    bool operator()(const OIDdescr_t* a, const OIDdescr_t* b) const {
        if (a->*KEY_SIZE != b->*KEY_SIZE) {
            return a->*KEY_SIZE < b->*KEY_SIZE;
        }
        return COMPARE()(a->*KEY, b->*KEY, a->*KEY_SIZE) < 0;
    }
};

template <auto KEY, auto KEY_SIZE, typename COMPARE>
using oid_index_t = std::pmr::set<OIDdescr_t*, oid_map_compare_t<KEY, KEY_SIZE, COMPARE>>;

// All that a map holds lies here, in the order in which it was added, and is freed with the map.
using oid_arena_t = std::pmr::monotonic_buffer_resource;

// Returns the entry of an index that has this key, or null.
template <auto KEY, auto KEY_SIZE, typename COMPARE, typename POINTER>
[[gnu::noinline]] const OIDdescr_t* find_in_order(const oid_index_t<KEY, KEY_SIZE, COMPARE>& index, POINTER key,
                                                  unsigned int size) {
    OIDdescr_t wanted;
    wanted.*KEY = key;
    wanted.*KEY_SIZE = size;
    const auto found = index.find(&wanted);
    return found == index.end() ? nullptr : *found;
}

// Hashes a key's size and its first and last four octets: the arcs that tell the OIDs of one tree apart come last.
inline std::uint32_t oid_hash(const void* key, unsigned int size, std::uint32_t ignored_bits) {
    const unsigned char* const octets = static_cast<const unsigned char*>(key);
    std::uint32_t first = 0;
    std::uint32_t last = 0;
    if (size >= 4) {
        std::memcpy(&first, octets, 4);
        std::memcpy(&last, octets + size - 4, 4);
    } else if (size != 0) { // all of the one, two or three octets
        last = static_cast<std::uint32_t>(octets[0] << 16 | octets[size / 2] << 8 | octets[size - 1]);
    }
    constexpr std::uint32_t GOLDEN_RATIO = 0x9E3779B1; // of 2^32: neighbours come to lie far apart
    const std::uint32_t start = (first | ignored_bits) * GOLDEN_RATIO;
    return ((start ^ start >> 15) + (last | ignored_bits) + size) * GOLDEN_RATIO;
}

// A hash table that shortens the search in an ordered index. It answers only when it holds the key; otherwise the index
// decides. A key whose MAX_PROBES slots are taken stays out of the table, so no choice of keys makes a search long.
template <auto KEY, auto KEY_SIZE, typename COMPARE> class oid_shortcut_t {
  public:
    using index_t = oid_index_t<KEY, KEY_SIZE, COMPARE>;

    explicit oid_shortcut_t(oid_arena_t* arena) : slots_(arena) {}

    // Adds an entry that the index has just taken.
    void add(const index_t& index, OIDdescr_t* entry) {
        if (2 * index.size() <= slots_.size()) {
            place(entry);
            return;
        }
        slots_t(std::max(MIN_SLOTS, 2 * slots_.size()), slots_.get_allocator()).swap(slots_);
        std::for_each(index.begin(), index.end(), [this](OIDdescr_t* indexed) { place(indexed); });
    }

    // Returns the same as find_in_order().
    template <typename POINTER> const OIDdescr_t* find(const index_t& index, POINTER key, unsigned int size) const {
        const std::size_t home = home_of(key, size);
        for (std::size_t i = home; i < end_of_probes(home) && slots_[i] != nullptr; ++i) {
            const OIDdescr_t* const entry = slots_[i];
            if (entry->*KEY_SIZE == size && COMPARE::is_stored_as(entry->*KEY, key, size)) {
                return entry;
            }
        }
        return find_in_order(index, key, size);
    }

  private:
    static constexpr std::size_t MAX_PROBES = 8;
    static constexpr std::size_t MIN_SLOTS = 64;

    using slots_t = std::pmr::vector<OIDdescr_t*>;

    slots_t slots_; // at most half of them are taken

    std::size_t home_of(const void* key, unsigned int size) const {
        const std::uint64_t hash = oid_hash(key, size, COMPARE::IGNORED_BITS);
        return static_cast<std::size_t>(hash * static_cast<std::uint32_t>(slots_.size()) >> 32);
    }

    std::size_t end_of_probes(std::size_t home) const { return std::min(home + MAX_PROBES, slots_.size()); }

    void place(OIDdescr_t* entry) {
        const std::size_t home = home_of(entry->*KEY, entry->*KEY_SIZE);
        for (std::size_t i = home; i < end_of_probes(home); ++i) {
            if (slots_[i] == nullptr) {
                slots_[i] = entry;
                return;
            }
        }
    }
};

// A map of OIDs. The list owns the entries in the order of their lines. An index that already holds an equal key keeps
// its entry, so the first line wins in each index separately.
struct OIDmaps_t {
    using shortcut_by_asn_t = oid_shortcut_t<&OIDdescr_t::oid_asn, &OIDdescr_t::oid_asn_size, oid_memcmp_t>;
    using shortcut_by_sn_t = oid_shortcut_t<&OIDdescr_t::oid_sn, &OIDdescr_t::oid_sn_size, oid_strcmp_t>;
    using by_asn_t = shortcut_by_asn_t::index_t;
    using by_str_t = oid_index_t<&OIDdescr_t::oid_str, &OIDdescr_t::oid_str_size, oid_memcmp_t>;
    using by_sn_t = shortcut_by_sn_t::index_t;

    static constexpr std::size_t FIRST_BLOCK = 8192; // holds the built-in table; each further one is larger

    // Whatever a program makes the default resource, blocks come from operator new.
    oid_arena_t arena{FIRST_BLOCK, std::pmr::new_delete_resource()};
    std::pmr::list<OIDdescr_t> entries{&arena};
    by_asn_t by_asn{&arena};
    by_str_t by_str{&arena};
    by_sn_t by_sn{&arena};
    shortcut_by_asn_t shortcut_by_asn{&arena};
    shortcut_by_sn_t shortcut_by_sn{&arena};

    OIDmaps_t() = default;
    OIDmaps_t(const OIDmaps_t&) = delete;
    OIDmaps_t& operator=(const OIDmaps_t&) = delete;
};

// The built-in table.
struct default_oid_map_t : OIDmaps_t {
    default_oid_map_t();
};

// The built-in table followed by the lines of qaroids.cfg.
struct default_file_oid_map_t : default_oid_map_t {
    default_file_oid_map_t();
};

#endif
