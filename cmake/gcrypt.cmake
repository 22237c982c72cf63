# derkit_gcrypt, the library of that name, if a program of this target can be linked to it. A 32-bit build on a 64-bit system
# finds the one of the other target, which does not do.
include_guard(GLOBAL)
find_path(GCRYPT_INCLUDE_DIR gcrypt.h)
find_library(GCRYPT_LIBRARY gcrypt)
mark_as_advanced(GCRYPT_INCLUDE_DIR GCRYPT_LIBRARY)
if(NOT GCRYPT_INCLUDE_DIR OR NOT GCRYPT_LIBRARY)
  return()
endif()

include(CheckCXXSourceCompiles)
block()
  set(CMAKE_REQUIRED_INCLUDES ${GCRYPT_INCLUDE_DIR})
  set(CMAKE_REQUIRED_LIBRARIES ${GCRYPT_LIBRARY})
  set(CMAKE_REQUIRED_QUIET TRUE)
  check_cxx_source_compiles("
    #include <gcrypt.h>
    int main() { return gcry_check_version(nullptr) == nullptr; }" DERKIT_GCRYPT_LINKS)
endblock()
if(DERKIT_GCRYPT_LINKS)
  add_library(derkit_gcrypt INTERFACE)
  target_include_directories(derkit_gcrypt SYSTEM INTERFACE ${GCRYPT_INCLUDE_DIR})
  target_link_libraries(derkit_gcrypt INTERFACE ${GCRYPT_LIBRARY})
endif()
