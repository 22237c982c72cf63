# The catalogue of calls (calls.h), compiled once for all that run over it.
include_guard(GLOBAL)
add_library(derkit_calls OBJECT
  ${CMAKE_CURRENT_LIST_DIR}/calls.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calls_algorithms.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calls_containers.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calls_elements.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calls_names.cpp
  ${CMAKE_CURRENT_LIST_DIR}/calls_texts.cpp
  ${CMAKE_CURRENT_LIST_DIR}/exported_functions.cpp)
target_include_directories(derkit_calls PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR})
target_compile_definitions(derkit_calls PRIVATE DERKIT_EXPORTS="${DERKIT_EXPORTS}")
target_link_libraries(derkit_calls PRIVATE derkit_warnings)
target_compile_options(derkit_calls PRIVATE -O0 -g1)
