/// @file
/// Memory for passwords, keys and plaintexts.
#ifndef DERKIT_GOST_SECRET_H
#define DERKIT_GOST_SECRET_H

#include <cstddef>
#include <string_view>

#include "derkit/asn_types.h"

namespace derkit::gost {

/// @defgroup gost_secrets Secrets
/// @{

/// Octets that are wiped when they are no longer held.
///
/// They lie in pages of their own, which are left out of core dumps and locked into memory as far as the process may
/// lock (RLIMIT_MEMLOCK). Every secret takes at least one page. Distinct objects may be used in parallel.
class secret {
  public:
    secret() noexcept = default; ///< Holds no octets.
    /// Holds zero octets.
    /// @param size  number of octets
    DERKIT_API explicit secret(std::size_t size);
    /// Holds a copy.
    /// @param octets  to be copied; the caller wipes them
    DERKIT_API explicit secret(std::string_view octets);
    /// Holds a copy.
    /// @param other  to be copied
    DERKIT_API secret(const secret& other);
    /// Wipes what it held and holds a copy. On std::bad_alloc nothing has changed.
    /// @param other  to be copied
    /// @return the secret itself
    DERKIT_API secret& operator=(const secret& other);
    /// Takes over octets.
    /// @param other  holds none afterwards
    DERKIT_API secret(secret&& other) noexcept;
    /// Wipes what it held and takes over octets.
    /// @param other  holds none afterwards
    /// @return the secret itself
    DERKIT_API secret& operator=(secret&& other) noexcept;
    DERKIT_API ~secret(); ///< Wipes.

    unsigned char* data() noexcept { return data_; }             ///< @return the first octet; null when there are none
    const unsigned char* data() const noexcept { return data_; } ///< @return the first octet; null when there are none
    std::size_t size() const noexcept { return size_; }          ///< @return the number of octets
    bool empty() const noexcept { return size_ == 0; }           ///< @return whether there are none

    /// @return a view of the octets, which ends with any change of their number
    std::string_view view() const noexcept { return {reinterpret_cast<const char*>(data_), size_}; }
    /// @return the same as view()
    operator std::string_view() const noexcept { return view(); }

    /// Appends octets, which may be a part of this secret. On std::bad_alloc nothing has changed.
    /// @param octets  to be copied
    DERKIT_API void append(std::string_view octets);
    /// Makes room, so that appending up to `capacity` octets neither throws nor moves the octets.
    /// @param capacity  number of octets
    DERKIT_API void reserve(std::size_t capacity);
    /// Changes the number of octets. New ones are zero, removed ones are wiped. On std::bad_alloc nothing has changed.
    /// @param size  number of octets
    DERKIT_API void resize(std::size_t size);
    /// Removes octets from the front and wipes where they lay.
    /// @param size  at most size()
    DERKIT_API void remove_prefix(std::size_t size) noexcept;
    DERKIT_API void clear() noexcept; ///< Wipes and releases all octets.

    /// @return whether the octets cannot be swapped out; true also when there are none
    bool is_locked() const noexcept { return capacity_ == 0 || locked_; }

  private:
    unsigned char* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0; // whole pages
    bool locked_ = false;
};

/// Compares in a time that depends on the sizes alone. Octets of another number are never equal.
/// @param a  octets
/// @param b  octets
/// @return whether they are the same
DERKIT_API bool equal_in_constant_time(std::string_view a, std::string_view b) noexcept;

/// Overwrites octets with zeros, also where a compiler sees no later use of them.
/// @param data  first octet; may be null when `size` is 0
/// @param size  number of octets
DERKIT_API void wipe(void* data, std::size_t size) noexcept;

/// @}

} // namespace derkit::gost

#endif
