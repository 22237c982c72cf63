# Runs a port's portfile.cmake as vcpkg does for one triplet, without the debug build: cmake -D PORTFILE= -D LINKAGE=static|dynamic
# -D CURRENT_PACKAGES_DIR= -D CURRENT_BUILDTREES_DIR= -D CMAKE_CXX_COMPILER= -P vcpkg.cmake
cmake_minimum_required(VERSION 3.25)

function(vcpkg_cmake_configure)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "SOURCE_PATH" "OPTIONS")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vcpkg_cmake_configure has no ${arg_UNPARSED_ARGUMENTS}")
  endif()
  set(shared OFF)
  if(LINKAGE STREQUAL "dynamic")
    set(shared ON)
  endif()
  execute_process(COMMAND_ERROR_IS_FATAL ANY
    COMMAND ${CMAKE_COMMAND} -G Ninja -S ${arg_SOURCE_PATH} -B ${CURRENT_BUILDTREES_DIR} -DBUILD_SHARED_LIBS=${shared}
      -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER} -DCMAKE_BUILD_TYPE=Debug
      -DCMAKE_INSTALL_PREFIX=${CURRENT_PACKAGES_DIR} -DCMAKE_INSTALL_LIBDIR=lib ${arg_OPTIONS})
endfunction()

function(vcpkg_cmake_install)
  execute_process(COMMAND ${CMAKE_COMMAND} --build ${CURRENT_BUILDTREES_DIR} --target install COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(vcpkg_cmake_config_fixup)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "CONFIG_PATH;PACKAGE_NAME" "")
  if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/${arg_CONFIG_PATH}/derkitConfig.cmake)
    message(FATAL_ERROR "no package in ${arg_CONFIG_PATH}")
  endif()
endfunction()

function(vcpkg_fixup_pkgconfig)
  if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/lib/pkgconfig/derkit.pc)
    message(FATAL_ERROR "no derkit.pc")
  endif()
endfunction()

function(vcpkg_install_copyright)
  cmake_parse_arguments(PARSE_ARGV 0 arg "" "COMMENT" "FILE_LIST")
  file(INSTALL ${arg_FILE_LIST} DESTINATION ${CURRENT_PACKAGES_DIR}/share/${PORT})
endfunction()

cmake_path(GET PORTFILE PARENT_PATH port_dir)
cmake_path(GET port_dir FILENAME PORT)
include(${PORTFILE})
