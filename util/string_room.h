// Growing a caller's string to be filled in place.
#ifndef DERKIT_STRING_ROOM_H
#define DERKIT_STRING_ROOM_H

#include <new>
#include <string>

// Grows `out` by `size` characters and gives the first of them. A size that no string can have counts as memory that
// cannot be had, as std::bad_alloc.
inline char* append_room(std::string& out, unsigned long long size) {
    if (size > out.max_size() - out.size()) {
        throw std::bad_alloc();
    }
    const std::size_t old_size = out.size();
    out.resize(old_size + static_cast<std::size_t>(size));
    return &out[old_size];
}

#endif
