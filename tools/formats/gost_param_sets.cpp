#include "formats/gost_param_sets.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

#include "formats/oid_text.h"
#include "io/bytes.h"

namespace {

struct param_set_t {
    std::string_view oid;
    std::string_view name;
};

constexpr param_set_t PARAM_SETS[] = {
    // RFC 4357: GOST R 34.11-94
    {"1.2.643.2.2.30.0", "id-GostR3411-94-TestParamSet"},
    {"1.2.643.2.2.30.1", "id-GostR3411-94-CryptoProParamSet"},
    // RFC 4357: GOST 28147-89
    {"1.2.643.2.2.31.0", "id-Gost28147-89-TestParamSet"},
    {"1.2.643.2.2.31.1", "id-Gost28147-89-CryptoPro-A-ParamSet"},
    {"1.2.643.2.2.31.2", "id-Gost28147-89-CryptoPro-B-ParamSet"},
    {"1.2.643.2.2.31.3", "id-Gost28147-89-CryptoPro-C-ParamSet"},
    {"1.2.643.2.2.31.4", "id-Gost28147-89-CryptoPro-D-ParamSet"},
    {"1.2.643.2.2.31.5", "id-Gost28147-89-CryptoPro-Oscar-1-1-ParamSet"},
    {"1.2.643.2.2.31.6", "id-Gost28147-89-CryptoPro-Oscar-1-0-ParamSet"},
    {"1.2.643.2.2.31.7", "id-Gost28147-89-CryptoPro-RIC-1-ParamSet"},
    {"1.2.643.7.1.2.5.1.1", "id-tc26-gost-28147-param-Z"},
    // RFC 4357: GOST R 34.10-94
    {"1.2.643.2.2.32.0", "id-GostR3410-94-TestParamSet"},
    {"1.2.643.2.2.32.2", "id-GostR3410-94-CryptoPro-A-ParamSet"},
    {"1.2.643.2.2.32.3", "id-GostR3410-94-CryptoPro-B-ParamSet"},
    {"1.2.643.2.2.32.4", "id-GostR3410-94-CryptoPro-C-ParamSet"},
    {"1.2.643.2.2.32.5", "id-GostR3410-94-CryptoPro-D-ParamSet"},
    {"1.2.643.2.2.33.1", "id-GostR3410-94-CryptoPro-XchA-ParamSet"},
    {"1.2.643.2.2.33.2", "id-GostR3410-94-CryptoPro-XchB-ParamSet"},
    {"1.2.643.2.2.33.3", "id-GostR3410-94-CryptoPro-XchC-ParamSet"},
    // RFC 4357: GOST R 34.10-2001, used by GOST R 34.10-2012 too
    {"1.2.643.2.2.35.0", "id-GostR3410-2001-TestParamSet"},
    {"1.2.643.2.2.35.1", "id-GostR3410-2001-CryptoPro-A-ParamSet"},
    {"1.2.643.2.2.35.2", "id-GostR3410-2001-CryptoPro-B-ParamSet"},
    {"1.2.643.2.2.35.3", "id-GostR3410-2001-CryptoPro-C-ParamSet"},
    {"1.2.643.2.2.36.0", "id-GostR3410-2001-CryptoPro-XchA-ParamSet"},
    {"1.2.643.2.2.36.1", "id-GostR3410-2001-CryptoPro-XchB-ParamSet"},
    // RFC 9215 and RFC 7836: GOST R 34.10-2012
    {"1.2.643.7.1.2.1.1.1", "id-tc26-gost-3410-2012-256-paramSetA"},
    {"1.2.643.7.1.2.1.1.2", "id-tc26-gost-3410-2012-256-paramSetB"},
    {"1.2.643.7.1.2.1.1.3", "id-tc26-gost-3410-2012-256-paramSetC"},
    {"1.2.643.7.1.2.1.1.4", "id-tc26-gost-3410-2012-256-paramSetD"},
    {"1.2.643.7.1.2.1.2.0", "id-tc26-gost-3410-2012-512-paramSetTest"},
    {"1.2.643.7.1.2.1.2.1", "id-tc26-gost-3410-2012-512-paramSetA"},
    {"1.2.643.7.1.2.1.2.2", "id-tc26-gost-3410-2012-512-paramSetB"},
    {"1.2.643.7.1.2.1.2.3", "id-tc26-gost-3410-2012-512-paramSetC"},
    // RFC 9215: GOST R 34.11-2012 has no parameters, so its own OID stands for them
    {"1.2.643.7.1.1.2.2", "id-tc26-gost3411-12-256"},
    {"1.2.643.7.1.1.2.3", "id-tc26-gost3411-12-512"},
};

} // namespace

std::string_view gost_param_set_name(const blob_t& oid) {
    const std::optional<std::string> dotted = oid_to_text(chars(oid));
    const auto* const found = std::find_if(std::begin(PARAM_SETS), std::end(PARAM_SETS),
                                           [&](const param_set_t& row) { return row.oid == dotted; });
    return found != std::end(PARAM_SETS) ? found->name : std::string_view();
}
