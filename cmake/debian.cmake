# Debian packages of what is built: `cpack --config BUILD/CPackConfig.cmake -B FOLDER`, which compiles nothing.
#
# Debian keeps libraries in a directory of the target, so the packages have install rules and components of their own,
# each named after its package.
if(NOT CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  return()
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  set(debian_libdir lib/i386-linux-gnu)
else()
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
  set(debian_libdir lib/x86_64-linux-gnu)
endif()

set(packaging ${PROJECT_SOURCE_DIR}/packaging/debian)
set(runtime libderkit${PROJECT_VERSION_MAJOR})
derkit_install(${debian_libdir} ${runtime} share/doc/${runtime} libderkit-dev share/doc/libderkit-dev derkit-tools
  EXCLUDE_FROM_ALL)
set(CPACK_COMPONENTS_ALL ${runtime} libderkit-dev)
if(TARGET derkit_tool AND CPACK_DEBIAN_PACKAGE_ARCHITECTURE STREQUAL "amd64")
  list(APPEND CPACK_COMPONENTS_ALL derkit-tools)
endif()

# The Debian changelog tells the version, and whose revision of it this is.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${packaging}/changelog)
file(STRINGS ${packaging}/changelog heading LIMIT_COUNT 1)
if(NOT heading MATCHES "^derkit \\((.*-[0-9]+)\\) ")
  message(FATAL_ERROR "packaging/debian/changelog does not start with a version")
endif()
set(CPACK_DEBIAN_PACKAGE_VERSION ${CMAKE_MATCH_1})
if(NOT CPACK_DEBIAN_PACKAGE_VERSION MATCHES "^${PROJECT_VERSION}-")
  message(FATAL_ERROR "packaging/debian/changelog starts with ${CPACK_DEBIAN_PACKAGE_VERSION}, not ${PROJECT_VERSION}")
endif()
foreach(package ${CPACK_COMPONENTS_ALL})
  install(FILES ${packaging}/copyright DESTINATION share/doc/${package} COMPONENT ${package} EXCLUDE_FROM_ALL)
  install(FILES ${packaging}/changelog DESTINATION share/doc/${package} COMPONENT ${package} EXCLUDE_FROM_ALL
    RENAME changelog.Debian)
  install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md DESTINATION share/doc/${package} COMPONENT ${package}
    EXCLUDE_FROM_ALL OPTIONAL RENAME changelog)
endforeach()

# What programs linked to the library will depend on: its first version with the symbols that they use.
set(control ${PROJECT_BINARY_DIR}/debian)
file(STRINGS ${DERKIT_EXPORTS} symbols)
list(TRANSFORM symbols REPLACE "(.+)" " \\1@DERKIT_1.0 1.0.0")
list(PREPEND symbols "libderkit.so.${PROJECT_VERSION_MAJOR} ${runtime} #MINVER#" "* Build-Depends-Package: libderkit-dev"
  " DERKIT_1.0@DERKIT_1.0 1.0.0")
list(JOIN symbols "\n" symbols)
file(WRITE ${control}/symbols "${symbols}\n")
file(WRITE ${control}/shlibs "libderkit ${PROJECT_VERSION_MAJOR} ${runtime} (>= 1.0.0)\n")
file(WRITE ${control}/triggers "activate-noawait ldconfig\n")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME derkit)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian_staging.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "derkit developers <derkit@example.org>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

function(derkit_debian_package name section kind contents)
  string(TOUPPER ${name} variable)
  set(CPACK_DEBIAN_${variable}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${variable}_PACKAGE_SOURCE derkit PARENT_SCOPE)
  set(CPACK_DEBIAN_${variable}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${variable}_DESCRIPTION "names, object identifiers and keys of certificates - ${kind}
derkit turns the names, object identifiers and algorithm codes of X.509
certificates into text and back, and reads and writes GOST private keys and
PKCS#12 containers. It is safe on any input and does no cryptography itself.
.
This package holds ${contents}" PARENT_SCOPE)
endfunction()

derkit_debian_package(${runtime} libs "shared library" "the shared library.")
derkit_debian_package(libderkit-dev libdevel "development files"
"the headers, the static library and the files by which
CMake and pkg-config find them.")
derkit_debian_package(derkit-tools utils "command-line tool"
"the tool derkit, which shows certificates, names, keys and
containers, and makes containers.")
string(TOUPPER ${runtime} variable)
# CPack of Debian 12 has no variable for this field, so another one's value brings it along.
string(APPEND CPACK_DEBIAN_${variable}_PACKAGE_SECTION "\nMulti-Arch: same")
string(APPEND CPACK_DEBIAN_LIBDERKIT-DEV_PACKAGE_SECTION "\nMulti-Arch: same")
set(CPACK_DEBIAN_${variable}_PACKAGE_CONTROL_EXTRA ${control}/symbols ${control}/shlibs ${control}/triggers)
set(CPACK_DEBIAN_LIBDERKIT-DEV_PACKAGE_DEPENDS "${runtime} (= ${CPACK_DEBIAN_PACKAGE_VERSION})")
set(CPACK_DEBIAN_LIBDERKIT-DEV_PACKAGE_SUGGESTS "pkg-config, cmake")
# For the staging script.
set(CPACK_DERKIT_RUNTIME ${runtime})
set(CPACK_DERKIT_STRIP ${CMAKE_STRIP})
set(CPACK_DERKIT_SYMBOLS ${control}/symbols)
include(CPack)
