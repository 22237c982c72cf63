# What `cmake --install` installs: the components runtime, development and tools.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Installs three components, each with its documentation in a directory of its own. Arguments after `tools` go to every
# rule.
function(derkit_install libdir runtime runtime_doc development development_doc tools)
  set(generated ${PROJECT_BINARY_DIR}/install/${development})

  # derkit.pc finds the other directories relative to its own, so the tree can be moved.
  set(pkgconfig_dir ${libdir}/pkgconfig)
  cmake_path(ABSOLUTE_PATH pkgconfig_dir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE from)
  file(RELATIVE_PATH to_prefix ${from} ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
  file(RELATIVE_PATH to_includedir ${from} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/derkit.pc.in ${generated}/derkit.pc @ONLY)
  write_basic_package_version_file(${generated}/derkitConfigVersion.cmake COMPATIBILITY SameMajorVersion)

  set(options COMPONENT ${runtime} ${ARGN})
  install(FILES ${PROJECT_SOURCE_DIR}/docs/qaroids.cfg DESTINATION ${runtime_doc}/examples ${options})

  set(options COMPONENT ${development} ${ARGN})
  install(TARGETS ${libraries} EXPORT ${development}_targets
    LIBRARY DESTINATION ${libdir} COMPONENT ${runtime} NAMELINK_COMPONENT ${development} ${ARGN}
    ARCHIVE DESTINATION ${libdir} ${options})
  # The library needs no other package, so its configuration is the list of its targets.
  install(EXPORT ${development}_targets FILE derkitConfig.cmake NAMESPACE derkit::
    DESTINATION ${libdir}/cmake/derkit ${options})
  install(FILES ${generated}/derkitConfigVersion.cmake DESTINATION ${libdir}/cmake/derkit ${options})
  install(FILES ${generated}/derkit.pc DESTINATION ${pkgconfig_dir} ${options})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${options})
  # The guides and the files that they link to. README is about the sources.
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${development_doc} ${options}
    FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN qaroids.cfg PATTERN man EXCLUDE)
  derkit_install_man_pages(3 ${options})
  derkit_install_man_pages(5 ${options})

  if(TARGET derkit_tool)
    set(options COMPONENT ${tools} ${ARGN})
    install(TARGETS derkit_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${options})
    install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/derkit.bash RENAME derkit
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions OPTIONAL ${options})
    derkit_install_man_pages(1 ${options})
  endif()
endfunction()

function(derkit_install_man_pages number)
  file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.${number})
  install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${number} ${ARGN})
endfunction()

# The tool finds its library outside the system's directories too.
if(TARGET derkit_tool)
  file(RELATIVE_PATH to_libdir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(derkit_tool PROPERTIES INSTALL_RPATH $ORIGIN/${to_libdir})
endif()

derkit_install(${CMAKE_INSTALL_LIBDIR} runtime ${CMAKE_INSTALL_DOCDIR} development ${CMAKE_INSTALL_DOCDIR} tools)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
