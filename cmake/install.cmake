# What `cmake --install` installs: the components runtime, development and tools.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(generated ${PROJECT_BINARY_DIR}/install)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/derkit)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

function(derkit_install_man_pages number component)
  file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.${number})
  install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${number} COMPONENT ${component})
endfunction()

# derkit.pc finds the other directories from its own, so that the tree can be moved; in the system's directories it names
# them, as cross compilers want.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(pc_prefix ${CMAKE_INSTALL_PREFIX})
  set(pc_includedir ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  set(pc_libdir ${CMAKE_INSTALL_FULL_LIBDIR})
else()
  cmake_path(ABSOLUTE_PATH pkgconfig_dir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE from)
  foreach(to prefix includedir)
    set(folder ${CMAKE_INSTALL_PREFIX})
    if(to STREQUAL "includedir")
      set(folder ${CMAKE_INSTALL_FULL_INCLUDEDIR})
    endif()
    file(RELATIVE_PATH path ${from} ${folder})
    string(REGEX REPLACE "/$" "" path ${path})
    set(pc_${to} \${pcfiledir}/${path})
  endforeach()
  set(pc_libdir \${pcfiledir}/..)
endif()
# What a linker needs beside the static library if the C++ compiler does not call it.
set(pc_private ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER pc_private INCLUDE REGEX "^(stdc\\+\\+|c\\+\\+|c\\+\\+abi|m)$")
list(REMOVE_DUPLICATES pc_private)
list(TRANSFORM pc_private PREPEND -l)
list(JOIN pc_private " " pc_private)
configure_file(cmake/derkit.pc.in ${generated}/derkit.pc @ONLY)
configure_file(cmake/derkitConfig.cmake.in ${generated}/derkitConfig.cmake @ONLY)
write_basic_package_version_file(${generated}/derkitConfigVersion.cmake COMPATIBILITY SameMajorVersion)

install(FILES docs/qaroids.cfg DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT runtime)

install(TARGETS ${libraries} EXPORT derkit_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT derkit_targets FILE derkitTargets.cmake NAMESPACE derkit:: DESTINATION ${package_dir}
  COMPONENT development)
install(FILES ${generated}/derkitConfig.cmake ${generated}/derkitConfigVersion.cmake DESTINATION ${package_dir}
  COMPONENT development)
install(FILES ${generated}/derkit.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development PATTERN gost EXCLUDE)
# The guides and the files that they link to. README is about the sources.
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN qaroids.cfg PATTERN man EXCLUDE)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/programs COMPONENT development)
derkit_install_man_pages(3 development)
derkit_install_man_pages(5 development)
include(cmake/spdx.cmake)

# The companion library, which find_package(derkit) finds too where it is installed.
if(TARGET derkit_gost)
  configure_file(cmake/derkit-gost.pc.in ${generated}/derkit-gost.pc @ONLY)
  # In the build tree and where both are installed, the library that it needs is beside it.
  set_target_properties(derkit_gost PROPERTIES BUILD_WITH_INSTALL_RPATH TRUE)
  if(BUILD_SHARED_LIBS AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set_target_properties(derkit_gost PROPERTIES INSTALL_RPATH $ORIGIN)
  endif()
  install(TARGETS derkit_gost EXPORT derkit_gost_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT gost NAMELINK_COMPONENT gost_development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT gost_development)
  install(EXPORT derkit_gost_targets FILE derkitGostTargets.cmake NAMESPACE derkit:: DESTINATION ${package_dir}
    COMPONENT gost_development)
  install(FILES ${generated}/derkit-gost.pc DESTINATION ${pkgconfig_dir} COMPONENT gost_development)
  install(DIRECTORY include/derkit/gost DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/derkit COMPONENT gost_development)
endif()

if(TARGET derkit_tool)
  install(TARGETS derkit_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES tools/completion/derkit.bash RENAME derkit
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES tools/completion/derkit.zsh RENAME _derkit
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tools)
  install(FILES tools/completion/derkit.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
  install(FILES docs/derkit.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/derkit COMPONENT tools)
  derkit_install_man_pages(1 tools)
  # Outside the system's directories too, the tool finds its library. In the build tree the library is one folder up; that
  # stays in the installed tool, because CMake would replace it with something as long, filled up with empty elements, each
  # of which is the current folder.
  if(BUILD_SHARED_LIBS AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    file(RELATIVE_PATH to_libdir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(derkit_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libdir};$ORIGIN/..")
  endif()
  if(NOT multi_config)
    set_target_properties(derkit_tool PROPERTIES BUILD_WITH_INSTALL_RPATH TRUE)
  endif()
endif()
