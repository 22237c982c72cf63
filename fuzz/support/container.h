// What a container holds, for fuzzing: its bags and MAC as text that can be compared.
#ifndef DERKIT_FUZZ_CONTAINER_H
#define DERKIT_FUZZ_CONTAINER_H

#include <algorithm>
#include <list>
#include <string>
#include <string_view>

#include "derkit/pkcs12_helper.h"
#include "support/input.h"

// Bytes that a view may point into: the input, and the container's plaintexts.
template <typename VIEW>
bool lies_in_container(const VIEW& view, const exact_bytes_t& input, const pkcs12_easy_t& easy) {
    return lies_in(view, input.text()) ||
           std::any_of(easy.decrypted_buffers.begin(), easy.decrypted_buffers.end(),
                       [&view](const std::string& buffer) { return lies_in(view, buffer); });
}

// The bytes of a view, which must lie in the container; a null view has none.
template <typename VIEW>
std::string_view bytes_of(const VIEW& view, const exact_bytes_t& input, const pkcs12_easy_t& easy) {
    require(view.data == nullptr ? view.size == 0 : lies_in_container(view, input, easy),
            "a view lies in the input or in a plaintext");
    return chars_of(view);
}

inline std::string bags_of(const std::list<pkcs12_bag_t>& bags, const exact_bytes_t& input, const pkcs12_easy_t& easy) {
    read_text_t answer(input);
    for (const pkcs12_bag_t& bag : bags) {
        require(bag.type <= 1, "a bag is a key or a certificate");
        answer.number(bag.type).bytes(bytes_of(bag.value, input, easy));
        answer.bytes(bytes_of(bag.friendly_name, input, easy)).bytes(bytes_of(bag.local_key_id, input, easy));
    }
    return answer.text();
}

#endif
