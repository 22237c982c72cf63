# What Debian wants changed in the files that CPack has staged for its packages, a directory each. CPack reads the
# packages' dependencies, which are found here, only after this.
set(stage ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
file(GLOB shared_libraries ${stage}/*/usr/lib/*/*.so.*.*)
file(GLOB static_libraries ${stage}/*/usr/lib/*/*.a)
file(GLOB tools ${stage}/*/usr/bin/*)
file(GLOB_RECURSE compressed ${stage}/*/usr/share/man/man*/* ${stage}/*/usr/share/doc/*/changelog*)

# The library lies where the dynamic linker looks.
foreach(tool ${tools})
  file(RPATH_REMOVE FILE ${tool})
endforeach()

# CPack has stripped what can be run, sections of notes excepted.
set(strip ${CPACK_DERKIT_STRIP} --remove-section=.comment --remove-section=.note)
foreach(file ${shared_libraries} ${tools})
  execute_process(COMMAND ${strip} ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(file ${static_libraries})
  execute_process(COMMAND ${strip} --strip-debug --enable-deterministic-archives ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# Without a time, so that the packages of both targets share the files.
foreach(file ${compressed})
  execute_process(COMMAND gzip -9 --no-name ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# dpkg-shlibdeps wants the packages below debian/, with the control files of those that hold libraries. The libraries
# of the other target it finds in packages of this one, which go by other names where that target is at home.
set(scratch ${CPACK_TOPLEVEL_DIRECTORY}/shlibdeps)
file(REMOVE_RECURSE ${scratch})
file(WRITE ${scratch}/debian/control "Source: derkit\n")
foreach(package ${CPACK_COMPONENTS_ALL})
  file(COPY ${stage}/${package} DESTINATION ${scratch}/debian)
  file(MAKE_DIRECTORY ${scratch}/debian/${package}/DEBIAN)
endforeach()
file(COPY ${CPACK_DERKIT_SYMBOLS} DESTINATION ${scratch}/debian/${CPACK_DERKIT_RUNTIME}/DEBIAN)
foreach(file ${shared_libraries} ${tools})
  cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${stage})
  execute_process(COMMAND dpkg-shlibdeps -O debian/${file} WORKING_DIRECTORY ${scratch}
    OUTPUT_VARIABLE dependencies OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "^shlibs:Depends=" "" dependencies ${dependencies})
  if(CPACK_DEBIAN_PACKAGE_ARCHITECTURE STREQUAL "i386")
    string(REGEX REPLACE "lib32(gcc-s1|stdc\\+\\+6)" "lib\\1" dependencies ${dependencies})
    string(REPLACE libc6-i386 libc6 dependencies ${dependencies})
  endif()
  string(REGEX MATCH "^[^/]+" package ${file})
  string(TOUPPER ${package} variable)
  set(CPACK_DEBIAN_${variable}_PACKAGE_DEPENDS ${dependencies})
endforeach()
