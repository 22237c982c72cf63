/* How do I use the library from C? Through a shim of twenty lines, shim.cpp: prints the canonical text of a name. */
#include "shim.h"

#include <stdio.h>

int main(int argc, char** argv) {
    char text[1024];
    if (argc != 2 || canonical_name(argv[1], text, sizeof text) < 0) {
        fputs("usage: from_c NAME\n", stderr);
        return 2;
    }
    puts(text);
    return 0;
}
