// Algorithm codes as failures should show them.
#ifndef DERKIT_TESTING_ALGORITHM_CODE_H
#define DERKIT_TESTING_ALGORITHM_CODE_H

#include <string>

// "0x00040001", the way in which the fields of a code can be seen.
inline std::string code_text(unsigned int code) {
    std::string text = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += "0123456789ABCDEF"[code >> shift & 0xF];
    }
    return text;
}

#endif
