// How do I open a GOST container without cryptography of my own? Lists a container with libderkit-gost, or says why not.
#include <derkit/gost/gost.h>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace gost = derkit::gost;

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: gost_container FILE PASSWORD-FILE\n";
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary), password_file(argv[2]);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    std::string password;
    std::getline(password_file, password);

    const gost::result<gost::container> container = gost::container::open(bytes, password);
    if (!container) {
        std::cout << container.message() << '\n';
        return container.why() == gost::cause::wrong_mac ? 3 : 1; // after 3, ask for the password again
    }
    std::cout << gost::name_of(container->kind()) << '\n';
    for (const gost::bag* const bag : container->bags()) {
        std::cout << bag->id.name << ", " << bag->friendly_name.value_or("(no text)") << ", "
                  << (bag->refusal ? bag->refusal->message() : std::to_string(bag->value.size()) + " bytes") << '\n';
    }
    return 0;
}
