// OID maps for tests.
#ifndef DERKIT_TESTING_PARSED_MAP_H
#define DERKIT_TESTING_PARSED_MAP_H

#include <string_view>

#include "derkit/asn_oidmap.h"
#include "testing/bytes.h"

// A parsed map that is released at the end of its scope. The text is in a block of its own size that is freed after
// parsing: a map keeps no view of it.
class parsed_map_t {
  public:
    explicit parsed_map_t(std::string_view text) : handle_(parse(exact_bytes_t(text))) {}
    ~parsed_map_t() { oid_map_release(handle_); }
    parsed_map_t(const parsed_map_t&) = delete;
    parsed_map_t& operator=(const parsed_map_t&) = delete;

    oid_map_handle_t handle() const { return handle_; }
    OIDmaps_t& map() const { return *handle_.map; }

  private:
    static oid_map_handle_t parse(const exact_bytes_t& text) { return oid_map_parse(text.chars(), text.size()); }

    oid_map_handle_t handle_;
};

#endif
