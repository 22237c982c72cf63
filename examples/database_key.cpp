// Which text of a name is a good key for a database? One that is made from DER, in a fixed order, with fixed names.
#include <derkit/helpers/helpers.h>
#include <iostream>
#include <map>
#include <string>

// The order and the map must be the same for all keys. OID_MAP_HANDLE_DEFAULT_FILE would not do: what is in qaroids.cfg
// may change. With dotted types (an empty map) not even a new version of the library can change a key.
static derkit::maybe_string key_of(const std::string& der) {
    return derkit::name_to_text(derkit::to_blob(der), PDN_ORDER_AS_ENCODED, oid_map_handle_t());
}

int main() {
    const char* const typed[] = {"CN=user1,O=\"Example, Inc.\",C=RU", "cn=user1, o=Example\\, Inc., c=RU",
                                 "2.5.4.3=user1,2.5.4.10=Example\\2C Inc.,2.5.4.6=RU", "CN=user2,C=RU", "CN"};
    std::map<std::string, int> counts;
    for (const char* const name : typed) {
        const derkit::maybe_string der = derkit::text_to_name(name);
        const derkit::maybe_string key = der ? key_of(*der) : derkit::maybe_string();
        if (key) {
            ++counts[*key];
        } else {
            std::cout << "not a name: " << name << '\n';
        }
    }
    for (const auto& entry : counts) {
        std::cout << entry.second << " x " << entry.first << '\n';
    }
    return 0;
}
