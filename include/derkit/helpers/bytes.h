/// @file
/// Views of bytes as standard types, and results that may be absent.
#ifndef DERKIT_HELPERS_BYTES_H
#define DERKIT_HELPERS_BYTES_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "derkit/asn_helper.h"
#include "derkit/asn_types.h"
#include "derkit/int2str.h"

#if __cplusplus >= 201703L
#include <string_view>
#endif
#if __cplusplus >= 202002L && defined(__has_include)
#if __has_include(<span>)
#include <span>
#endif
#endif

/// What the headers in derkit/helpers declare: source-only conveniences on top of the exported functions, C++14.
namespace derkit {

/// @defgroup helpers Helpers
/// Header-only conveniences: include derkit/helpers/helpers.h. Nothing of them is exported by the library or part of
/// its binary interface. They throw nothing but std::bad_alloc and may be used from any thread on distinct objects.
/// @{

/// A text or a sequence of bytes, or nothing. What is absent reads as an empty string.
class maybe_string {
  public:
    /// Nothing.
    maybe_string() = default;
    /// A value.
    /// @param value  may be empty
    explicit maybe_string(std::string value) : value_(std::move(value)), ok_(true) {}

    /// @return whether there is a value
    bool ok() const noexcept { return ok_; }
    /// @return whether there is a value
    explicit operator bool() const noexcept { return ok_; }
    /// @return the value; empty if there is none
    const std::string& operator*() const& noexcept { return value_; }
    /// @return the value, to be moved from; empty if there is none
    std::string&& operator*() && noexcept { return std::move(value_); }
    /// @return the value; empty if there is none
    const std::string* operator->() const noexcept { return &value_; }
    /// @param other  what to use if there is no value
    /// @return the value, or `other`
    std::string value_or(std::string other) const { return ok_ ? value_ : std::move(other); }

  private:
    std::string value_;
    bool ok_ = false;
};

/// Views bytes. Sizes have 32 bits: of more than 2^32 - 1 bytes, the view has the first 2^32 - 1.
/// @param data  first byte; must outlive the view
/// @param size  number of bytes
/// @return the view
inline blob_t to_blob(const void* data, std::size_t size) noexcept {
    const std::size_t max_size = 0xFFFFFFFFU;
    blob_t blob;
    blob.data = static_cast<const unsigned char*>(data);
    blob.size = static_cast<unsigned int>(size < max_size ? size : max_size);
    return blob;
}

/// Views the bytes of a string, as above.
/// @param bytes  must outlive the view and stay unchanged
/// @return the view
inline blob_t to_blob(const std::string& bytes) noexcept {
    return to_blob(bytes.data(), bytes.size());
}

/// Views the bytes of a vector, as above.
/// @param bytes  must outlive the view and stay unchanged
/// @return the view
inline blob_t to_blob(const std::vector<unsigned char>& bytes) noexcept {
    return to_blob(bytes.data(), bytes.size());
}

/// Views an OID or another constant of the library.
/// @param constant  what a lookup returned
/// @return the view
inline blob_t to_blob(const oid_ref_t& constant) noexcept {
    return to_blob(constant.data, constant.size);
}

blob_t to_blob(std::string&& bytes) = delete;                // the view would dangle
blob_t to_blob(std::vector<unsigned char>&& bytes) = delete; // the view would dangle

/// Copies the bytes of a view.
/// @param bytes  any view
/// @return a string of these bytes
inline std::string to_string(const blob_t& bytes) {
    return bytes.size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(bytes.data), bytes.size);
}

/// Formats bytes in upper-case hexadecimal.
/// @param bytes      any view
/// @param separator  between the bytes; a zero character for none
/// @return the text
inline std::string to_hex(const blob_t& bytes, char separator = '\0') {
    std::string text;
    TO_HEX_STD_STRING(bytes.data, bytes.size, text, separator);
    return text;
}

#if __cplusplus >= 201703L
/// Views bytes as a standard view. C++17.
/// @param bytes  any view
/// @return the same bytes
inline std::string_view to_string_view(const blob_t& bytes) noexcept {
    return {reinterpret_cast<const char*>(bytes.data), bytes.size};
}

/// Views the bytes of a standard view, as above. C++17.
/// @param bytes  what it views must outlive the view
/// @return the view
inline blob_t to_blob(std::string_view bytes) noexcept {
    return to_blob(bytes.data(), bytes.size());
}
#endif

#ifdef __cpp_lib_span
/// Views bytes as a span. C++20.
/// @param bytes  any view
/// @return the same bytes
inline std::span<const unsigned char> to_span(const blob_t& bytes) noexcept {
    return {bytes.data, bytes.size};
}

/// Views the bytes of a span, as above. C++20.
/// @param bytes  what it views must outlive the view
/// @return the view
inline blob_t to_blob(std::span<const unsigned char> bytes) noexcept {
    return to_blob(bytes.data(), bytes.size());
}
#endif

/// @}

} // namespace derkit

#endif
