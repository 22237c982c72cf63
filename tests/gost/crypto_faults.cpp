#include "gost/crypto_faults.h"

#include <gcrypt.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

crypto_faults_t crypto_faults;

namespace {

bool fails() {
    return crypto_faults.counting && ++crypto_faults.num_calls == crypto_faults.failing;
}

// Calls that return an error, 0 for none.
template <typename CALL> gcry_error_t gcrypt_call(CALL call) {
    return fails() ? gcry_error(GPG_ERR_GENERAL) : call();
}

template <typename CALL> int gnutls_call(CALL call) {
    return fails() ? GNUTLS_E_INTERNAL_ERROR : call();
}

// Calls that open a handle.
template <typename ERROR> ERROR opened(ERROR error) {
    crypto_faults.num_open += error == 0 ? 1 : 0;
    return error;
}

void closed(const void* handle) {
    crypto_faults.num_open -= handle != nullptr ? 1 : 0;
}

} // namespace

extern "C" {

const char* __real_gcry_check_version(const char* needed);
const char* __wrap_gcry_check_version(const char* needed) {
    return fails() ? nullptr : __real_gcry_check_version(needed);
}

gcry_error_t __real_gcry_md_open(gcry_md_hd_t* handle, int algorithm, unsigned int flags);
gcry_error_t __wrap_gcry_md_open(gcry_md_hd_t* handle, int algorithm, unsigned int flags) {
    return opened(gcrypt_call([&] { return __real_gcry_md_open(handle, algorithm, flags); }));
}

void __real_gcry_md_close(gcry_md_hd_t handle);
void __wrap_gcry_md_close(gcry_md_hd_t handle) {
    closed(handle);
    __real_gcry_md_close(handle);
}

unsigned char* __real_gcry_md_read(gcry_md_hd_t handle, int algorithm);
unsigned char* __wrap_gcry_md_read(gcry_md_hd_t handle, int algorithm) {
    return fails() ? nullptr : __real_gcry_md_read(handle, algorithm);
}

gcry_error_t __real_gcry_mac_open(gcry_mac_hd_t* handle, int algorithm, unsigned int flags, gcry_ctx_t context);
gcry_error_t __wrap_gcry_mac_open(gcry_mac_hd_t* handle, int algorithm, unsigned int flags, gcry_ctx_t context) {
    return opened(gcrypt_call([&] { return __real_gcry_mac_open(handle, algorithm, flags, context); }));
}

void __real_gcry_mac_close(gcry_mac_hd_t handle);
void __wrap_gcry_mac_close(gcry_mac_hd_t handle) {
    closed(handle);
    __real_gcry_mac_close(handle);
}

gcry_error_t __real_gcry_mac_setkey(gcry_mac_hd_t handle, const void* key, size_t size);
gcry_error_t __wrap_gcry_mac_setkey(gcry_mac_hd_t handle, const void* key, size_t size) {
    return gcrypt_call([&] { return __real_gcry_mac_setkey(handle, key, size); });
}

gcry_error_t __real_gcry_mac_write(gcry_mac_hd_t handle, const void* data, size_t size);
gcry_error_t __wrap_gcry_mac_write(gcry_mac_hd_t handle, const void* data, size_t size) {
    return gcrypt_call([&] { return __real_gcry_mac_write(handle, data, size); });
}

gcry_error_t __real_gcry_mac_read(gcry_mac_hd_t handle, void* data, size_t* size);
gcry_error_t __wrap_gcry_mac_read(gcry_mac_hd_t handle, void* data, size_t* size) {
    return gcrypt_call([&] { return __real_gcry_mac_read(handle, data, size); });
}

gcry_error_t __real_gcry_kdf_derive(const void* password, size_t password_size, int algorithm, int digest,
                                    const void* salt, size_t salt_size, unsigned long iterations, size_t size,
                                    void* key);
gcry_error_t __wrap_gcry_kdf_derive(const void* password, size_t password_size, int algorithm, int digest,
                                    const void* salt, size_t salt_size, unsigned long iterations, size_t size,
                                    void* key) {
    return gcrypt_call([&] {
        return __real_gcry_kdf_derive(password, password_size, algorithm, digest, salt, salt_size, iterations, size,
                                      key);
    });
}

gcry_error_t __real_gcry_cipher_open(gcry_cipher_hd_t* handle, int algorithm, int mode, unsigned int flags);
gcry_error_t __wrap_gcry_cipher_open(gcry_cipher_hd_t* handle, int algorithm, int mode, unsigned int flags) {
    return opened(gcrypt_call([&] { return __real_gcry_cipher_open(handle, algorithm, mode, flags); }));
}

void __real_gcry_cipher_close(gcry_cipher_hd_t handle);
void __wrap_gcry_cipher_close(gcry_cipher_hd_t handle) {
    closed(handle);
    __real_gcry_cipher_close(handle);
}

gcry_error_t __real_gcry_cipher_ctl(gcry_cipher_hd_t handle, int command, void* buffer, size_t size);
gcry_error_t __wrap_gcry_cipher_ctl(gcry_cipher_hd_t handle, int command, void* buffer, size_t size) {
    return gcrypt_call([&] { return __real_gcry_cipher_ctl(handle, command, buffer, size); });
}

gcry_error_t __real_gcry_cipher_setkey(gcry_cipher_hd_t handle, const void* key, size_t size);
gcry_error_t __wrap_gcry_cipher_setkey(gcry_cipher_hd_t handle, const void* key, size_t size) {
    return gcrypt_call([&] { return __real_gcry_cipher_setkey(handle, key, size); });
}

gcry_error_t __real_gcry_cipher_setiv(gcry_cipher_hd_t handle, const void* iv, size_t size);
gcry_error_t __wrap_gcry_cipher_setiv(gcry_cipher_hd_t handle, const void* iv, size_t size) {
    return gcrypt_call([&] { return __real_gcry_cipher_setiv(handle, iv, size); });
}

gcry_error_t __real_gcry_cipher_encrypt(gcry_cipher_hd_t handle, void* out, size_t out_size, const void* in,
                                        size_t in_size);
gcry_error_t __wrap_gcry_cipher_encrypt(gcry_cipher_hd_t handle, void* out, size_t out_size, const void* in,
                                        size_t in_size) {
    return gcrypt_call([&] { return __real_gcry_cipher_encrypt(handle, out, out_size, in, in_size); });
}

gcry_error_t __real_gcry_cipher_decrypt(gcry_cipher_hd_t handle, void* out, size_t out_size, const void* in,
                                        size_t in_size);
gcry_error_t __wrap_gcry_cipher_decrypt(gcry_cipher_hd_t handle, void* out, size_t out_size, const void* in,
                                        size_t in_size) {
    return gcrypt_call([&] { return __real_gcry_cipher_decrypt(handle, out, out_size, in, in_size); });
}

int __real_gnutls_cipher_init(gnutls_cipher_hd_t* handle, gnutls_cipher_algorithm_t cipher, const gnutls_datum_t* key,
                              const gnutls_datum_t* iv);
int __wrap_gnutls_cipher_init(gnutls_cipher_hd_t* handle, gnutls_cipher_algorithm_t cipher, const gnutls_datum_t* key,
                              const gnutls_datum_t* iv) {
    return opened(gnutls_call([&] { return __real_gnutls_cipher_init(handle, cipher, key, iv); }));
}

void __real_gnutls_cipher_deinit(gnutls_cipher_hd_t handle);
void __wrap_gnutls_cipher_deinit(gnutls_cipher_hd_t handle) {
    closed(handle);
    __real_gnutls_cipher_deinit(handle);
}

int __real_gnutls_cipher_encrypt(gnutls_cipher_hd_t handle, void* data, size_t size);
int __wrap_gnutls_cipher_encrypt(gnutls_cipher_hd_t handle, void* data, size_t size) {
    return gnutls_call([&] { return __real_gnutls_cipher_encrypt(handle, data, size); });
}

unsigned __real_gnutls_hmac_get_len(gnutls_mac_algorithm_t algorithm);
unsigned __wrap_gnutls_hmac_get_len(gnutls_mac_algorithm_t algorithm) {
    return fails() ? 0 : __real_gnutls_hmac_get_len(algorithm);
}

int __real_gnutls_hmac_init(gnutls_hmac_hd_t* handle, gnutls_mac_algorithm_t algorithm, const void* key, size_t size);
int __wrap_gnutls_hmac_init(gnutls_hmac_hd_t* handle, gnutls_mac_algorithm_t algorithm, const void* key, size_t size) {
    return opened(gnutls_call([&] { return __real_gnutls_hmac_init(handle, algorithm, key, size); }));
}

void __real_gnutls_hmac_deinit(gnutls_hmac_hd_t handle, void* digest);
void __wrap_gnutls_hmac_deinit(gnutls_hmac_hd_t handle, void* digest) {
    closed(handle);
    __real_gnutls_hmac_deinit(handle, digest);
}

int __real_gnutls_hmac(gnutls_hmac_hd_t handle, const void* data, size_t size);
int __wrap_gnutls_hmac(gnutls_hmac_hd_t handle, const void* data, size_t size) {
    return gnutls_call([&] { return __real_gnutls_hmac(handle, data, size); });
}

gcry_error_t __real_gcry_mpi_ec_new(gcry_ctx_t* context, gcry_sexp_t parameters, const char* curve);
gcry_error_t __wrap_gcry_mpi_ec_new(gcry_ctx_t* context, gcry_sexp_t parameters, const char* curve) {
    return opened(gcrypt_call([&] { return __real_gcry_mpi_ec_new(context, parameters, curve); }));
}

void __real_gcry_ctx_release(gcry_ctx_t context);
void __wrap_gcry_ctx_release(gcry_ctx_t context) {
    closed(context);
    __real_gcry_ctx_release(context);
}

gcry_mpi_t __real_gcry_mpi_ec_get_mpi(const char* name, gcry_ctx_t context, int copy);
gcry_mpi_t __wrap_gcry_mpi_ec_get_mpi(const char* name, gcry_ctx_t context, int copy) {
    const gcry_mpi_t number = fails() ? nullptr : __real_gcry_mpi_ec_get_mpi(name, context, copy);
    crypto_faults.num_open += number != nullptr ? 1 : 0;
    return number;
}

gcry_mpi_point_t __real_gcry_mpi_ec_get_point(const char* name, gcry_ctx_t context, int copy);
gcry_mpi_point_t __wrap_gcry_mpi_ec_get_point(const char* name, gcry_ctx_t context, int copy) {
    const gcry_mpi_point_t point = fails() ? nullptr : __real_gcry_mpi_ec_get_point(name, context, copy);
    crypto_faults.num_open += point != nullptr ? 1 : 0;
    return point;
}

int __real_gcry_mpi_ec_get_affine(gcry_mpi_t x, gcry_mpi_t y, gcry_mpi_point_t point, gcry_ctx_t context);
int __wrap_gcry_mpi_ec_get_affine(gcry_mpi_t x, gcry_mpi_t y, gcry_mpi_point_t point, gcry_ctx_t context) {
    return fails() ? 1 : __real_gcry_mpi_ec_get_affine(x, y, point, context);
}

gcry_error_t __real_gcry_mpi_scan(gcry_mpi_t* number, gcry_mpi_format format, const void* octets, size_t size,
                                  size_t* num_scanned);
gcry_error_t __wrap_gcry_mpi_scan(gcry_mpi_t* number, gcry_mpi_format format, const void* octets, size_t size,
                                  size_t* num_scanned) {
    return opened(gcrypt_call([&] { return __real_gcry_mpi_scan(number, format, octets, size, num_scanned); }));
}

gcry_error_t __real_gcry_mpi_print(gcry_mpi_format format, unsigned char* octets, size_t size, size_t* num_printed,
                                   const gcry_mpi_t number);
gcry_error_t __wrap_gcry_mpi_print(gcry_mpi_format format, unsigned char* octets, size_t size, size_t* num_printed,
                                   const gcry_mpi_t number) {
    return gcrypt_call([&] { return __real_gcry_mpi_print(format, octets, size, num_printed, number); });
}

gcry_mpi_t __real_gcry_mpi_new(unsigned int num_bits);
gcry_mpi_t __wrap_gcry_mpi_new(unsigned int num_bits) {
    ++crypto_faults.num_open;
    return __real_gcry_mpi_new(num_bits);
}

void __real_gcry_mpi_release(gcry_mpi_t number);
void __wrap_gcry_mpi_release(gcry_mpi_t number) {
    closed(number);
    __real_gcry_mpi_release(number);
}

gcry_mpi_point_t __real_gcry_mpi_point_new(unsigned int num_bits);
gcry_mpi_point_t __wrap_gcry_mpi_point_new(unsigned int num_bits) {
    ++crypto_faults.num_open;
    return __real_gcry_mpi_point_new(num_bits);
}

void __real_gcry_mpi_point_release(gcry_mpi_point_t point);
void __wrap_gcry_mpi_point_release(gcry_mpi_point_t point) {
    closed(point);
    __real_gcry_mpi_point_release(point);
}
}
