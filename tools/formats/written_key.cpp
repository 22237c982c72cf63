#include "formats/written_key.h"

#include <utility>

#include "io/failure.h"

gost::private_key read_gost_key(std::string_view info, const std::string& place) {
    gost::result<gost::private_key> key = gost::private_key::read(info);
    if (!key) {
        throw failure_t(place, text_of(key.error()));
    }
    return *std::move(key);
}

gost::secret reshape_key(std::string_view info, gost::key_shape shape, const std::string& place) {
    gost::result<gost::secret> written = read_gost_key(info, place).write(shape);
    if (!written) {
        throw failure_t(place, text_of(written.error()));
    }
    return *std::move(written);
}
