#include "derkit/asn_printable.h"

bool printable_dn_normalize(const std::string& in, std::string& out, std::string* der, oid_map_handle_t map) {
    std::string own_der;
    std::string& encoded = der == nullptr ? own_der : *der;
    if (!printable_to_asn_dn(in.c_str(), encoded, map)) {
        return false;
    }
    out.clear();
    return asn_dn_to_printable(reinterpret_cast<const unsigned char*>(encoded.data()),
                               static_cast<unsigned int>(encoded.size()), out, PDN_ORDER_AS_ENCODED, map);
}
