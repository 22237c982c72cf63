# The catalogue of calls (calls.h) and the reader of cases (vectors.h), compiled once for all programs that use them.
include_guard(GLOBAL)
set(DERKIT_TESTING ${CMAKE_CURRENT_LIST_DIR})

# derkit_add_calls(NAME OPTION...): the catalogue's objects, compiled with these options.
function(derkit_add_calls name)
  set(sources calls calls_algorithms calls_containers calls_elements calls_names calls_texts exported_functions vectors)
  list(TRANSFORM sources REPLACE "(.+)" "${DERKIT_TESTING}/\\1.cpp")
  add_library(${name} OBJECT ${sources})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE DERKIT_EXPORTS="${DERKIT_EXPORTS}")
  target_link_libraries(${name} PRIVATE derkit_warnings)
  target_compile_options(${name} PRIVATE -O0 -g1 ${ARGN})
  set_target_properties(${name} PROPERTIES UNITY_BUILD ${DERKIT_UNITY})
  # It makes the inputs of the cost test, which are large.
  set_source_files_properties(${DERKIT_TESTING}/calls.cpp TARGET_DIRECTORY ${name} PROPERTIES
    COMPILE_OPTIONS -O2 SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

derkit_add_calls(derkit_calls)
