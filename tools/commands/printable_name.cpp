#include "commands/printable_name.h"

#include <string>

#include "io/bytes.h"

namespace {

bool comes_back_from_text(const blob_t& name, PrintableDnOrder order, oid_map_handle_t map) {
    const oid_map_handle_t no_map;
    const std::optional<shown_text_t> text = show_name(name, order, map);
    std::string der;
    if (!text.has_value() || !printable_to_asn_dn(text->str().c_str(), der, map)) {
        return false;
    }
    // The text was encoded in its own order, so the way back keeps that.
    blob_t encoded;
    encoded.size = size_of(der);
    encoded.data = octets(der);
    return show_name(encoded, PDN_ORDER_AS_ENCODED, map) == text &&
           show_name(encoded, PDN_ORDER_AS_ENCODED, no_map) == show_name(name, order, no_map);
}

} // namespace

std::optional<shown_text_t> show_name(const blob_t& name, PrintableDnOrder order, oid_map_handle_t map) {
    std::string text;
    const bool done = asn_dn_to_printable(name.data, name.size, text, order, map);
    return done ? std::optional(shown_text_t(text)) : std::nullopt;
}

bool comes_back_from_text(const blob_t& name, oid_map_handle_t map) {
    return comes_back_from_text(name, PDN_ORDER_AS_ENCODED, map) && comes_back_from_text(name, PDN_ORDER_REVERSED, map);
}
