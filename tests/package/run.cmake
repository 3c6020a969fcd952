# Installs a built tree into a scratch prefix, then builds and runs two small consumers
# against that install: one through find_package(Tessel), one through pkg-config.
#
#   cmake -DBUILD_DIR=<build> -DSOURCE_DIR=<repo>/tests/package [-DGENERATOR=Ninja] -P run.cmake
cmake_minimum_required(VERSION 3.25)

foreach(required BUILD_DIR SOURCE_DIR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "${required} is not set")
  endif()
endforeach()
if(NOT GENERATOR)
  set(GENERATOR Ninja)
endif()

set(WORK_DIR ${BUILD_DIR}/package_consumer)
set(INSTALL_DIR ${WORK_DIR}/install)
set(EXPECTED_OUTPUT "C8 -> 8 C8\nM8 masked: yes\nRPC model: VEXA_RPC_B\n")

# Runs a command; stops the test with its output when it fails. The output is
# left in <prefix>_OUTPUT in the caller's scope.
function(run_checked prefix description)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${description} failed (${result}):\n${ARGN}\n${output}\n${error}")
  endif()
  set(${prefix}_OUTPUT "${output}" PARENT_SCOPE)
endfunction()

function(require_file path)
  if(NOT EXISTS ${path})
    message(FATAL_ERROR "the install lacks ${path}")
  endif()
endfunction()

function(check_output description actual)
  if(NOT actual STREQUAL EXPECTED_OUTPUT)
    message(FATAL_ERROR "${description} printed\n${actual}\ninstead of\n${EXPECTED_OUTPUT}")
  endif()
endfunction()

# The C++ compiler of the build tree also compiles the pkg-config consumer.
function(read_build_cache variable)
  file(STRINGS ${BUILD_DIR}/CMakeCache.txt line REGEX "^${variable}:[A-Z]+=")
  if(NOT line)
    message(FATAL_ERROR "${variable} is not in ${BUILD_DIR}/CMakeCache.txt")
  endif()
  string(REGEX REPLACE "^${variable}:[A-Z]+=" "" value "${line}")
  set(${variable} "${value}" PARENT_SCOPE)
endfunction()
read_build_cache(CMAKE_CXX_COMPILER)
# A sanitized library needs its runtime in the program that loads it.
read_build_cache(TESSEL_SANITIZE)
set(SANITIZE_FLAGS "")
if(TESSEL_SANITIZE)
  set(SANITIZE_FLAGS "-fsanitize=${TESSEL_SANITIZE}")
endif()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

# 1. Install.
run_checked(INSTALL "installing ${BUILD_DIR}"
  ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${INSTALL_DIR})
file(GLOB_RECURSE configs ${INSTALL_DIR}/*/cmake/Tessel/TesselConfig.cmake)
list(LENGTH configs config_count)
if(NOT config_count EQUAL 1)
  message(FATAL_ERROR "expected one TesselConfig.cmake in ${INSTALL_DIR}, found: ${configs}")
endif()
get_filename_component(LIB_DIR ${configs} DIRECTORY)
get_filename_component(LIB_DIR ${LIB_DIR} DIRECTORY)
get_filename_component(LIB_DIR ${LIB_DIR} DIRECTORY)
require_file(${LIB_DIR}/cmake/Tessel/TesselConfigVersion.cmake)
require_file(${LIB_DIR}/cmake/Tessel/TesselTargets.cmake)
require_file(${LIB_DIR}/pkgconfig/tessel.pc)
require_file(${LIB_DIR}/libtessel.so)
require_file(${INSTALL_DIR}/include/tessel/Tessel.h)
file(GLOB_RECURSE source_headers RELATIVE ${SOURCE_DIR}/../../include ${SOURCE_DIR}/../../include/*.h)
foreach(header IN LISTS source_headers)
  require_file(${INSTALL_DIR}/include/${header})
endforeach()

# 2. The installed command finds its library from the prefix alone: no LD_LIBRARY_PATH.
read_build_cache(CMAKE_INSTALL_BINDIR)
set(INSTALLED_TOOL ${INSTALL_DIR}/${CMAKE_INSTALL_BINDIR}/tessel)
require_file(${INSTALLED_TOOL})
run_checked(TOOL "running the installed tessel"
  ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${INSTALLED_TOOL} version)
if(NOT TOOL_OUTPUT MATCHES "^tessel [0-9]+\\.[0-9]+\\.[0-9]+")
  message(FATAL_ERROR "the installed tessel printed '${TOOL_OUTPUT}' for its version")
endif()

# 3. find_package consumer.
set(CONSUMER_BUILD ${WORK_DIR}/cmake-consumer)
run_checked(CONFIGURE "configuring the find_package consumer"
  ${CMAKE_COMMAND} -S ${SOURCE_DIR}/consumer -B ${CONSUMER_BUILD} -G ${GENERATOR}
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
  "-DCMAKE_CXX_FLAGS=${SANITIZE_FLAGS}" -DCMAKE_CXX_COMPILER_LAUNCHER=
  -DCMAKE_PREFIX_PATH=${INSTALL_DIR} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
file(STRINGS ${CONSUMER_BUILD}/CMakeCache.txt tessel_dir REGEX "^Tessel_DIR:")
string(FIND "${tessel_dir}" "${INSTALL_DIR}/" found_at)
if(NOT found_at GREATER -1)
  message(FATAL_ERROR "find_package(Tessel) did not use the scratch install: ${tessel_dir}")
endif()
run_checked(BUILD "building the find_package consumer" ${CMAKE_COMMAND} --build ${CONSUMER_BUILD})
run_checked(CMAKE_CONSUMER "running the find_package consumer" ${CONSUMER_BUILD}/consumer)
check_output("the find_package consumer" "${CMAKE_CONSUMER_OUTPUT}")

# 4. pkg-config consumer.
find_program(PKG_CONFIG_EXECUTABLE NAMES pkg-config pkgconf REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${LIB_DIR}/pkgconfig)
run_checked(PKG "asking pkg-config for tessel"
  ${PKG_CONFIG_EXECUTABLE} --cflags --libs tessel)
string(STRIP "${PKG_OUTPUT}" pkg_flags)
separate_arguments(pkg_flags UNIX_COMMAND "${pkg_flags}")
set(PKG_CONSUMER ${WORK_DIR}/pkg-consumer)
run_checked(COMPILE "compiling the pkg-config consumer"
  ${CMAKE_CXX_COMPILER} ${SANITIZE_FLAGS} ${SOURCE_DIR}/consumer/main.cpp ${pkg_flags} -o ${PKG_CONSUMER})
run_checked(PKG_CONSUMER "running the pkg-config consumer"
  ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${LIB_DIR} ${PKG_CONSUMER})
check_output("the pkg-config consumer" "${PKG_CONSUMER_OUTPUT}")

message(STATUS "find_package and pkg-config consumers built and ran against ${INSTALL_DIR}")
