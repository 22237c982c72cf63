// A user's program: prints the version of C++ that it was compiled as, and a name.
#include <derkit/derkit.h>

#include <iostream>

int main() {
    std::string text;
    const bool done = printable_dn_normalize("2.5.4.3=user1,C=RU", text, nullptr, OID_MAP_HANDLE_DEFAULT);
    std::cout << __cplusplus << ' ' << text << '\n';
    return done ? 0 : 1;
}
