// The inside of an OID map: entries, three ordered indexes over them, and two tables that make searching quick.
#ifndef DERKIT_OID_MAP_H
#define DERKIT_OID_MAP_H

#include <algorithm>
#include <cstddef>
#include <list>
#include <set>
#include <vector>

#include "asn/oid_map_keys.h"
#include "derkit/asn_oidmap.h"

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

// Finds entries by one key field at once, where an ordered index takes a step for every doubling of its size: a table of
// the index's entries by the digest of their keys.
//
// Where many keys meet in one place the table gives up after a few slots and the ordered index decides, so no choice of
// keys makes a search long.
template <auto KEY, auto KEY_SIZE, typename COMPARE> class oid_map_shortcut_t {
  public:
    using index_t = std::set<OIDdescr_t*, oid_map_compare_t<KEY, KEY_SIZE, COMPARE>>;

    // Makes room for one more entry of the index. May throw, so it comes before the index takes the entry.
    void make_room(const index_t& index) {
        if (slots_.size() < 2 * (index.size() + 1)) {
            rebuild(index);
        }
    }

    // Takes up an entry that has just come into the index.
    void add(OIDdescr_t* entry) { place(slots_, entry); }

    // The entry of the index that has this key, or null.
    template <typename POINTER> const OIDdescr_t* find(const index_t& index, POINTER key, unsigned int size) const {
        key_digest_t digest;
        if (slots_.empty() || !COMPARE::digest(key, size, digest)) {
            return find_in_order(index, key, size);
        }
        const std::size_t home = digest.home(slots_.size());
        for (std::size_t i = 0; i < MAX_PROBES; ++i) {
            const slot_t& slot = slots_[(home + i) & (slots_.size() - 1)];
            if (slot.entry == nullptr) {
                return nullptr;
            }
            if (slot.digest == digest && COMPARE::equal(digest, slot.entry->*KEY, key)) {
                return slot.entry;
            }
        }
        return find_in_order(index, key, size);
    }

  private:
    struct slot_t {
        key_digest_t digest;
        OIDdescr_t* entry = nullptr;
    };

    static constexpr std::size_t MAX_PROBES = 8;
    static constexpr std::size_t MIN_SLOTS = 64;

    std::vector<slot_t> slots_; // their number is a power of two

    void rebuild(const index_t& index) {
        std::vector<slot_t> slots(std::max(MIN_SLOTS, 2 * slots_.size()));
        for (OIDdescr_t* const entry : index) {
            place(slots, entry);
        }
        slots_.swap(slots);
    }

    // An entry without a digest or a free slot is left to the ordered index.
    static void place(std::vector<slot_t>& slots, OIDdescr_t* entry) {
        key_digest_t digest;
        if (!COMPARE::digest(entry->*KEY, entry->*KEY_SIZE, digest)) {
            return;
        }
        const std::size_t home = digest.home(slots.size());
        for (std::size_t i = 0; i < MAX_PROBES; ++i) {
            slot_t& slot = slots[(home + i) & (slots.size() - 1)];
            if (slot.entry == nullptr) {
                slot = {digest, entry};
                return;
            }
        }
    }

    template <typename POINTER>
    [[gnu::noinline]] static const OIDdescr_t* find_in_order(const index_t& index, POINTER key, unsigned int size) {
        OIDdescr_t wanted;
        wanted.*KEY = key;
        wanted.*KEY_SIZE = size;
        const auto found = index.find(&wanted);
        return found == index.end() ? nullptr : *found;
    }
};

// A map of OIDs. The list owns the entries, in the order of the lines that made them; an index that holds an equal
// key already keeps its entry, so the first line wins in each index separately.
struct OIDmaps_t {
    using shortcut_by_asn_t = oid_map_shortcut_t<&OIDdescr_t::oid_asn, &OIDdescr_t::oid_asn_size, oid_memcmp_t>;
    using shortcut_by_sn_t = oid_map_shortcut_t<&OIDdescr_t::oid_sn, &OIDdescr_t::oid_sn_size, oid_strcmp_t>;
    using by_asn_t = shortcut_by_asn_t::index_t;
    using by_str_t =
        std::set<OIDdescr_t*, oid_map_compare_t<&OIDdescr_t::oid_str, &OIDdescr_t::oid_str_size, oid_memcmp_t>>;
    using by_sn_t = shortcut_by_sn_t::index_t;

    std::list<OIDdescr_t> entries;
    by_asn_t by_asn;
    by_str_t by_str;
    by_sn_t by_sn;
    shortcut_by_asn_t shortcut_by_asn;
    shortcut_by_sn_t shortcut_by_sn;

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
