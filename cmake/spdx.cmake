# derkit.spdx.json, made by the build and installed: the package's licence, what it depends on, and its sources with hashes
# (SPDX 2.3). It has the time of SOURCE_DATE_EPOCH, if that is set, and is otherwise the same wherever it is made.
set(spdx_files ${PROJECT_SOURCE_DIR}/LICENSE)
foreach(folder include asn pkcs platform util gost tools)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*)
  list(APPEND spdx_files ${found})
endforeach()
set(spdx_document ${PROJECT_BINARY_DIR}/derkit.spdx.json)
set(spdx_script ${CMAKE_CURRENT_LIST_DIR}/make_spdx.cmake)
add_custom_command(OUTPUT ${spdx_document}
  COMMAND ${CMAKE_COMMAND} -DNAME=${PROJECT_NAME} -DVERSION=${PROJECT_VERSION} -DROOT=${PROJECT_SOURCE_DIR}
    "-DFILES=${spdx_files}" -DDOCUMENT=${spdx_document} -P ${spdx_script}
  DEPENDS ${spdx_files} ${spdx_script}
  COMMENT "Writing derkit.spdx.json"
  VERBATIM)
add_custom_target(derkit_spdx ALL DEPENDS ${spdx_document})
install(FILES ${spdx_document} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
