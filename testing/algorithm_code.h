// Algorithm codes as failures show them.
#ifndef DERKIT_TESTING_ALGORITHM_CODE_H
#define DERKIT_TESTING_ALGORITHM_CODE_H

#include <string>

// "0x00040001", which shows the fields of a code.
inline std::string code_text(unsigned int code) {
    std::string text = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += "0123456789ABCDEF"[code >> shift & 0xF];
    }
    return text;
}

#endif
