# derkit_gost_crypto, libgcrypt and GnuTLS, if a program of this target can be linked to them; DERKIT_GOST_CRYPTO_FOUND tells.
# A 32-bit build on a 64-bit system has to look where Debian has the libraries of its own architecture. Their development
# packages cannot be installed beside g++-multilib, so it makes do with libgcrypt20:i386 and libgnutls30:i386 and takes the
# headers of the other target: gcrypt.h and those of GnuTLS are the same files, and gpg-error.h differs in the size of locks and
# file offsets only, which are not used.
include_guard(GLOBAL)
set(where)
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_HOST_SYSTEM_PROCESSOR STREQUAL "x86_64" AND NOT CMAKE_CROSSCOMPILING)
  set(where PATHS /usr/lib/i386-linux-gnu NO_DEFAULT_PATH)
endif()
find_path(DERKIT_GOST_GCRYPT_INCLUDE_DIR gcrypt.h)
find_library(DERKIT_GOST_GCRYPT_LIBRARY NAMES gcrypt libgcrypt.so.20 ${where})
find_path(DERKIT_GOST_GNUTLS_INCLUDE_DIR gnutls/gnutls.h)
find_library(DERKIT_GOST_GNUTLS_LIBRARY NAMES gnutls libgnutls.so.30 ${where})
set(parts DERKIT_GOST_GCRYPT_INCLUDE_DIR DERKIT_GOST_GCRYPT_LIBRARY DERKIT_GOST_GNUTLS_INCLUDE_DIR DERKIT_GOST_GNUTLS_LIBRARY)
mark_as_advanced(${parts})
set(include_dirs ${DERKIT_GOST_GCRYPT_INCLUDE_DIR} ${DERKIT_GOST_GNUTLS_INCLUDE_DIR})
if(where)
  find_path(DERKIT_GOST_GPG_ERROR_INCLUDE_DIR gpg-error.h PATH_SUFFIXES i386-linux-gnu x86_64-linux-gnu)
  mark_as_advanced(DERKIT_GOST_GPG_ERROR_INCLUDE_DIR)
  list(APPEND parts DERKIT_GOST_GPG_ERROR_INCLUDE_DIR)
  list(APPEND include_dirs ${DERKIT_GOST_GPG_ERROR_INCLUDE_DIR})
endif()
set(DERKIT_GOST_CRYPTO_FOUND FALSE)
foreach(part ${parts})
  if(NOT ${part})
    return()
  endif()
endforeach()

include(CheckCXXSourceCompiles)
block()
  set(CMAKE_REQUIRED_INCLUDES ${include_dirs})
  set(CMAKE_REQUIRED_LIBRARIES ${DERKIT_GOST_GCRYPT_LIBRARY} ${DERKIT_GOST_GNUTLS_LIBRARY})
  set(CMAKE_REQUIRED_QUIET TRUE)
  check_cxx_source_compiles("
    #include <gcrypt.h>
    #include <gnutls/gnutls.h>
    int main() { return gcry_check_version(nullptr) == nullptr || GNUTLS_MAC_KUZNYECHIK_OMAC == 0 ||
                        gnutls_check_version(nullptr) == nullptr; }" DERKIT_GOST_CRYPTO_LINKS)
endblock()
if(DERKIT_GOST_CRYPTO_LINKS)
  add_library(derkit_gost_crypto INTERFACE)
  target_include_directories(derkit_gost_crypto SYSTEM INTERFACE ${include_dirs})
  target_link_libraries(derkit_gost_crypto INTERFACE ${DERKIT_GOST_GCRYPT_LIBRARY} ${DERKIT_GOST_GNUTLS_LIBRARY})
  set(DERKIT_GOST_CRYPTO_FOUND TRUE)
endif()
