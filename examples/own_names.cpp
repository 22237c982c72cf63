// How do I name attribute types of my own? Prints a name with a map made from text, and looks names up in it.
#include <derkit/helpers/helpers.h>
#include <iostream>
#include <string>

int main() {
    // A map has only its own lines, so the usual types are listed too. The last two name the same type: both are
    // accepted, and the first one is printed.
    const derkit::oid_map map("2.5.4.3 = CN, commonName\n"
                              "2.5.4.6 = C, countryName\n"
                              "1.2.643.100.1 = OGRN, primary state registration number\n"
                              "1.2.643.100.1 = REGNO\n");

    const std::string typed = "regno=1027700132195, CN=Example, C=RU";
    const derkit::maybe_string der = derkit::text_to_name(typed, map);
    if (!der) {
        std::cerr << "not a name, or a type that the map does not have: " << typed << '\n';
        return 1;
    }
    const blob_t name = derkit::to_blob(*der);
    std::cout << *derkit::name_to_text(name, PDN_ORDER_AS_ENCODED, map) << '\n';
    std::cout << *derkit::name_to_text(name) << '\n'; // with the built-in names alone

    if (const OIDdescr_t* const entry = map.find("ogrn")) {
        std::cout << entry->oid_str << " is the " << entry->oid_ln << '\n';
    }
    return 0;
}
