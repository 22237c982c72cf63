# How the library and the tool are compiled, beyond the language: hardened, and the same in every folder. The tests are not.
add_library(derkit_delivered INTERFACE)

# Debug information and assertions name the sources from the root of the tree.
target_compile_options(derkit_delivered INTERFACE
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.)

if(NOT DERKIT_HARDENING OR DERKIT_SANITIZED)
  return()
endif()
target_compile_options(derkit_delivered INTERFACE -fstack-protector-strong)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
  target_compile_options(derkit_delivered INTERFACE -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  target_compile_options(derkit_delivered INTERFACE -mbranch-protection=standard)
endif()

# libc checks buffers in optimised code only. Some compilers and packagers have chosen a level already.
include(CheckCXXSourceCompiles)
block()
  set(CMAKE_REQUIRED_FLAGS -O2)
  check_cxx_source_compiles("
    #ifdef _FORTIFY_SOURCE
    #error chosen already
    #endif
    int main() {}" DERKIT_FORTIFY_UNSET)
endblock()
if(DERKIT_FORTIFY_UNSET AND NOT DERKIT_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
  target_compile_definitions(derkit_delivered INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:_FORTIFY_SOURCE=2>)
endif()
