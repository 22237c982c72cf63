// Bags of containers in tests.
#ifndef DERKIT_TESTING_BAGS_H
#define DERKIT_TESTING_BAGS_H

#include <list>
#include <string>
#include <string_view>

#include "derkit/pkcs12_helper.h"
#include "testing/bytes.h"
#include "testing/views.h"

inline pkcs12_bag_t bag_of(unsigned int type, std::string_view value, std::string_view name = {},
                           std::string_view id = {}) {
    pkcs12_bag_t bag;
    bag.type = type;
    bag.value = view_of(value);
    bag.friendly_name = view_of<bmp_string_t>(name);
    bag.local_key_id = view_of(id);
    return bag;
}

// "key[value] name[friendly name] id[local key id]", in hex; name and id only if they are there.
inline std::string bag_text(const pkcs12_bag_t& bag) {
    const std::string type = bag.type == 0 ? "key" : bag.type == 1 ? "cert" : std::to_string(bag.type);
    std::string text = type + "[" + to_hex(chars_of(bag.value)) + "]";
    if (bag.friendly_name.size != 0) {
        text += " name[" + to_hex(chars_of(bag.friendly_name)) + "]";
    }
    if (bag.local_key_id.size != 0) {
        text += " id[" + to_hex(chars_of(bag.local_key_id)) + "]";
    }
    return text;
}

// One a line.
inline std::string bags_text(const std::list<pkcs12_bag_t>& bags) {
    std::string text;
    for (const pkcs12_bag_t& bag : bags) {
        text += (text.empty() ? "" : "\n") + bag_text(bag);
    }
    return text;
}

// Tells whether a view shows bytes of the input or of a plaintext that the container keeps.
template <typename VIEW> bool is_kept(const VIEW& view, const exact_bytes_t& input, const pkcs12_easy_t& easy) {
    bool found = lies_in(view, input);
    for (const std::string& plaintext : easy.decrypted_buffers) {
        found = found || lies_in(view, plaintext);
    }
    return found;
}

// The same for all views of all bags; absent attributes have none.
inline bool all_kept(const exact_bytes_t& input, const pkcs12_easy_t& easy) {
    for (const auto* const bags : {&easy.plain_bags, &easy.encrypted_bags}) {
        for (const pkcs12_bag_t& bag : *bags) {
            const bool name_kept = bag.friendly_name.size == 0 || is_kept(bag.friendly_name, input, easy);
            const bool id_kept = bag.local_key_id.size == 0 || is_kept(bag.local_key_id, input, easy);
            if (!is_kept(bag.value, input, easy) || !name_kept || !id_kept) {
                return false;
            }
        }
    }
    return true;
}

#endif
