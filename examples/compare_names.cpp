// Are two names the same? Compares two names written by people, or by other programs in their order.
#include <derkit/helpers/helpers.h>
#include <iostream>

// The same octets make the same canonical text. RFC 5280 7.1 would also ignore case, repeated blanks and the string type,
// which libderkit does not.
static const char* compare(const derkit::maybe_string& a, const derkit::maybe_string& b) {
    if (!a || !b) {
        return "not a name";
    }
    if (*a == *b) {
        return "the same";
    }
    return derkit::reversed_name(*a).value_or("") == *b ? "the same in the other order" : "different";
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: compare_names NAME NAME\n";
        return 2;
    }
    const derkit::maybe_string a = derkit::canonical_name(argv[1]);
    const derkit::maybe_string b = derkit::canonical_name(argv[2]);
    std::cout << compare(a, b) << '\n';
    return a && b && *a == *b ? 0 : 1;
}
