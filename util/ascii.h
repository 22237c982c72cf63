// ASCII case, independent of the locale.
#ifndef DERKIT_ASCII_H
#define DERKIT_ASCII_H

inline char ascii_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

inline char ascii_upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

#endif
