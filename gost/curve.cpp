#include "gost/curve.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <type_traits>

#include <gcrypt.h>

#include "gost/crypto.h"

namespace derkit::gost {

namespace {

constexpr const char* WHAT = "elliptic curve";

// RFC 4357 8.4, RFC 7836 appendix A. Some parameter sets of 2012 are curves of 2001 under another name.
constexpr curve_row CURVES[] = {
    {"1.2.643.2.2.35.0", "id-GostR3410-2001-TestParamSet", "GOST2001-test", 32},
    {"1.2.643.2.2.35.1", "id-GostR3410-2001-CryptoPro-A-ParamSet", "GOST2001-CryptoPro-A", 32},
    {"1.2.643.2.2.35.2", "id-GostR3410-2001-CryptoPro-B-ParamSet", "GOST2001-CryptoPro-B", 32},
    {"1.2.643.2.2.35.3", "id-GostR3410-2001-CryptoPro-C-ParamSet", "GOST2001-CryptoPro-C", 32},
    {"1.2.643.2.2.36.0", "id-GostR3410-2001-CryptoPro-XchA-ParamSet", "GOST2001-CryptoPro-A", 32},
    {"1.2.643.2.2.36.1", "id-GostR3410-2001-CryptoPro-XchB-ParamSet", "GOST2001-CryptoPro-C", 32},
    {"1.2.643.7.1.2.1.1.1", "id-tc26-gost-3410-2012-256-paramSetA", "GOST2012-256-A", 32},
    {"1.2.643.7.1.2.1.1.2", "id-tc26-gost-3410-2012-256-paramSetB", "GOST2001-CryptoPro-A", 32},
    {"1.2.643.7.1.2.1.1.3", "id-tc26-gost-3410-2012-256-paramSetC", "GOST2001-CryptoPro-B", 32},
    {"1.2.643.7.1.2.1.1.4", "id-tc26-gost-3410-2012-256-paramSetD", "GOST2001-CryptoPro-C", 32},
    {"1.2.643.7.1.2.1.2.0", "id-tc26-gost-3410-2012-512-paramSetTest", "GOST2012-512-test", 64},
    {"1.2.643.7.1.2.1.2.1", "id-tc26-gost-3410-2012-512-paramSetA", "GOST2012-512-tc26-A", 64},
    {"1.2.643.7.1.2.1.2.2", "id-tc26-gost-3410-2012-512-paramSetB", "GOST2012-512-tc26-B", 64},
    {"1.2.643.7.1.2.1.2.3", "id-tc26-gost-3410-2012-512-paramSetC", "GOST2012-512-tc26-C", 64},
};

// libgcrypt wipes numbers, points and contexts when it frees them.
struct release {
    void operator()(gcry_ctx_t context) const { gcry_ctx_release(context); }
    void operator()(gcry_mpi_t number) const { gcry_mpi_release(number); }
    void operator()(gcry_mpi_point_t point) const { gcry_mpi_point_release(point); }
};

using context_ptr = std::unique_ptr<std::remove_pointer_t<gcry_ctx_t>, release>;
using mpi_ptr = std::unique_ptr<std::remove_pointer_t<gcry_mpi_t>, release>;
using point_ptr = std::unique_ptr<std::remove_pointer_t<gcry_mpi_point_t>, release>;

failure missing(const char* part) {
    return {cause::crypto_failure, std::string(WHAT) + ": libgcrypt has no " + part};
}

result<context_ptr> open_curve(const curve_row& curve) {
    if (const result<bool> started = start_gcrypt(); !started) {
        return started.error();
    }
    gcry_ctx_t opened = nullptr;
    if (const gcry_error_t error = gcry_mpi_ec_new(&opened, nullptr, curve.gcrypt); error != 0) {
        return gcrypt_failure(WHAT, error);
    }
    return context_ptr(opened);
}

result<mpi_ptr> order_of(const curve_row& curve) {
    const result<context_ptr> context = open_curve(curve);
    if (!context) {
        return context.error();
    }
    mpi_ptr order(gcry_mpi_ec_get_mpi("n", context->get(), 1));
    if (order == nullptr) {
        return missing("order");
    }
    return order;
}

// Marked as secret, so that libgcrypt multiplies in constant time. Marking zero would end the process.
result<mpi_ptr> number_of(std::string_view octets) {
    gcry_mpi_t scanned = nullptr;
    if (const gcry_error_t error = gcry_mpi_scan(&scanned, GCRYMPI_FMT_USG, octets.data(), octets.size(), nullptr);
        error != 0) {
        return gcrypt_failure(WHAT, error);
    }
    if (gcry_mpi_cmp_ui(scanned, 0) != 0) {
        gcry_mpi_set_flag(scanned, GCRYMPI_FLAG_SECURE);
    }
    return mpi_ptr(scanned);
}

// The octets of a number, highest first, with the zeros that libgcrypt leaves out.
result<secret> octets_of(const mpi_ptr& number, std::size_t size) {
    secret printed(size);
    std::size_t num_printed = 0;
    const gcry_error_t error =
        gcry_mpi_print(GCRYMPI_FMT_USG, printed.data(), printed.size(), &num_printed, number.get());
    if (error != 0 || num_printed > size) {
        return gcrypt_failure(WHAT, error);
    }
    std::rotate(printed.data(), printed.data() + num_printed, printed.data() + size);
    return printed;
}

void append_reversed(std::string& to, const secret& octets) {
    to.append(octets.view().rbegin(), octets.view().rend());
}

} // namespace

const curve_row* find_curve(std::string_view oid) {
    const auto* const found =
        std::find_if(std::begin(CURVES), std::end(CURVES), [oid](const curve_row& row) { return row.oid == oid; });
    return found != std::end(CURVES) ? found : nullptr;
}

result<bool> is_private_number(const curve_row& curve, std::string_view number) {
    const result<mpi_ptr> order = order_of(curve);
    if (!order) {
        return order.error();
    }
    const result<mpi_ptr> value = number_of(number);
    if (!value) {
        return value.error();
    }
    return gcry_mpi_cmp_ui(value->get(), 0) > 0 && gcry_mpi_cmp(value->get(), order->get()) < 0;
}

result<secret> multiply_numbers(const curve_row& curve, std::string_view a, std::string_view b) {
    const result<mpi_ptr> order = order_of(curve);
    if (!order) {
        return order.error();
    }
    const result<mpi_ptr> first = number_of(a);
    const result<mpi_ptr> second = number_of(b);
    if (!first || !second) {
        return first ? second.error() : first.error();
    }
    const mpi_ptr product(gcry_mpi_new(0));
    gcry_mpi_mulm(product.get(), first->get(), second->get(), order->get());
    return octets_of(product, curve.size);
}

result<std::string> multiply_generator(const curve_row& curve, std::string_view number) {
    const result<context_ptr> context = open_curve(curve);
    if (!context) {
        return context.error();
    }
    const point_ptr generator(gcry_mpi_ec_get_point("g", context->get(), 1));
    if (generator == nullptr) {
        return missing("generator");
    }
    const result<mpi_ptr> value = number_of(number);
    if (!value) {
        return value.error();
    }
    const point_ptr product(gcry_mpi_point_new(0));
    const mpi_ptr x(gcry_mpi_new(0));
    const mpi_ptr y(gcry_mpi_new(0));
    gcry_mpi_ec_mul(product.get(), value->get(), generator.get(), context->get());
    if (gcry_mpi_ec_get_affine(x.get(), y.get(), product.get(), context->get()) != 0) {
        return missing("affine coordinates of this point");
    }
    const result<secret> x_octets = octets_of(x, curve.size);
    const result<secret> y_octets = octets_of(y, curve.size);
    if (!x_octets || !y_octets) {
        return x_octets ? y_octets.error() : x_octets.error();
    }
    std::string point;
    append_reversed(point, *x_octets);
    append_reversed(point, *y_octets);
    return point;
}

} // namespace derkit::gost
