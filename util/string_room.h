// Growing a caller's string.
//
// A size that no string can have is treated as a failed allocation: std::bad_alloc is the only exception that leaves
// the library, and std::string would throw std::length_error.
#ifndef DERKIT_STRING_ROOM_H
#define DERKIT_STRING_ROOM_H

#include <new>
#include <string>
#include <string_view>

inline void require_room(const std::string& out, unsigned long long size) {
    if (size > out.max_size() - out.size()) {
        throw std::bad_alloc();
    }
}

inline void append_text(std::string& out, std::string_view text) {
    require_room(out, text.size());
    out.append(text);
}

inline void append_char(std::string& out, char c) {
    require_room(out, 1);
    out.push_back(c);
}

// Appends `size` zero characters to be filled in place, and returns the first of them.
inline char* append_room(std::string& out, unsigned long long size) {
    require_room(out, size);
    const std::size_t old_size = out.size();
    out.resize(old_size + static_cast<std::size_t>(size));
    return &out[old_size];
}

#endif
