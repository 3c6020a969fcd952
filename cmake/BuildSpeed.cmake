# Unity builds: a target's sources are compiled in batches, each batch one translation unit
# that includes its sources by their paths relative to the source tree. The heavy headers
# (the standard library, json, fmt, GoogleTest) are then parsed and their templates compiled
# once a batch instead of once a file. The batch files hold no absolute path, so a second
# clone of the same code hits the compiler cache that a first one filled.
option(TESSEL_UNITY "Compile sources in batches" ON)
set(TESSEL_UNITY_BATCH 8 CACHE STRING "Sources per batch of a unity build")

# tessel_unity_build(TARGET [BATCH n] [ALONE regex]): sources whose path relative to the
# source tree matches ALONE are compiled on their own (tables that each define the same
# file-local names, say). Needs PROJECT_SOURCE_DIR on the target's include path.
function(tessel_unity_build target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "BATCH;ALONE" "")
  if(NOT TESSEL_UNITY)
    return()
  endif()
  set(batch_size ${TESSEL_UNITY_BATCH})
  if(arg_BATCH)
    set(batch_size ${arg_BATCH})
  endif()
  get_target_property(sources ${target} SOURCES)
  get_target_property(target_dir ${target} SOURCE_DIR)
  set(batch_dir ${CMAKE_CURRENT_BINARY_DIR}/unity/${target})
  set(batch 0)
  set(in_batch 0)
  set(content "")
  set(batch_files "")
  list(SORT sources)
  foreach(source IN LISTS sources)
    if(NOT source MATCHES "\\.cpp$")
      continue()
    endif()
    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${target_dir} NORMALIZE OUTPUT_VARIABLE absolute)
    file(RELATIVE_PATH relative ${PROJECT_SOURCE_DIR} ${absolute})
    if(relative MATCHES "^\\.\\./" OR (arg_ALONE AND relative MATCHES "${arg_ALONE}"))
      continue()  # generated sources stay on their own
    endif()
    string(APPEND content "#include \"${relative}\"\n")
    set_source_files_properties(${source} PROPERTIES HEADER_FILE_ONLY ON)
    math(EXPR in_batch "${in_batch} + 1")
    if(in_batch EQUAL batch_size)
      tessel_unity_write_batch()
    endif()
  endforeach()
  if(in_batch GREATER 0)
    tessel_unity_write_batch()
  endif()
  target_sources(${target} PRIVATE ${batch_files})
  # GCC takes a file-local type held by a class of an included source for a type leaking
  # out of the batch; within a batch it is one translation unit, so the warning is moot.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
  endif()
endfunction()

macro(tessel_unity_write_batch)
  set(batch_file ${batch_dir}/batch_${batch}.cpp)
  file(CONFIGURE OUTPUT ${batch_file} CONTENT "// Written by the build: one batch of a unity build.\n${content}" @ONLY)
  list(APPEND batch_files ${batch_file})
  math(EXPR batch "${batch} + 1")
  set(in_batch 0)
  set(content "")
endmacro()

# Precompiled headers for test targets: GoogleTest, GoogleMock, json, fmt and the standard
# headers that most tests include.
option(TESSEL_PCH "Precompile the heavy headers of the tests" ON)
function(tessel_precompile_test_headers target)
  if(TESSEL_PCH)
    target_precompile_headers(${target} PRIVATE
      <gtest/gtest.h> <gmock/gmock.h> <nlohmann/json.hpp> <fmt/format.h>
      <algorithm> <atomic> <chrono> <cstdint> <cstring> <filesystem> <fstream> <functional>
      <future> <map> <memory> <mutex> <set> <sstream> <string> <thread> <vector>)
  endif()
endfunction()

# tessel_add_test_suites(TARGET LABEL): one CTest test per GoogleTest suite of TARGET, found
# after each link. A suite runs in one process: a process per test costs more in starting
# a sanitized program than most tests take to run.
function(tessel_add_test_suites target label)
  set(suites_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_suites.cmake)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -DTEST_EXECUTABLE=$<TARGET_FILE:${target}>
            -DCTEST_FILE=${suites_file} -DLABEL=${label}
            -P ${PROJECT_SOURCE_DIR}/cmake/GTestSuites.cmake
    BYPRODUCTS ${suites_file}
    VERBATIM)
  set(include_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_include.cmake)
  file(WRITE ${include_file}
    "if(EXISTS [=[${suites_file}]=])\n"
    "  include([=[${suites_file}]=])\n"
    "else()\n"
    "  add_test([=[${target}_NOT_BUILT]=] [=[${target}_NOT_BUILT]=])\n"
    "endif()\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include_file})
endfunction()
