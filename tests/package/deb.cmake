# Makes the Debian package of a built tree with cpack, unpacks it with dpkg-deb -x into a
# scratch folder and runs what it holds from there: the command, the Python module and the
# GDAL plugin, with nothing of the build tree on their paths.
#
#   cmake -DBUILD_DIR=<build> -DPYTHON=<python> [-DPRELOAD=<sanitizer runtime>] -P deb.cmake
cmake_minimum_required(VERSION 3.25)

foreach(required BUILD_DIR PYTHON)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "${required} is not set")
  endif()
endforeach()

set(WORK_DIR ${BUILD_DIR}/package_deb)
set(ROOT ${WORK_DIR}/root)
# A sanitized build's module and plugin need the sanitizer's runtime loaded first into the
# programs that load them.
set(PRELOADED "")
if(PRELOAD)
  set(PRELOADED LD_PRELOAD=${PRELOAD} ASAN_OPTIONS=detect_leaks=0)
endif()

function(run_checked prefix description)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${description} failed (${result}):\n${ARGN}\n${output}\n${error}")
  endif()
  set(${prefix}_OUTPUT "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${ROOT})

# 1. The package. Uncompressed: the test is about its contents, not its size.
run_checked(CPACK "cpack -G DEB"
  cpack -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}
  -D CPACK_DEBIAN_COMPRESSION_TYPE=none)
file(GLOB packages ${WORK_DIR}/*.deb)
list(LENGTH packages count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "expected one .deb in ${WORK_DIR}, found: ${packages}")
endif()
run_checked(INFO "dpkg-deb --field" dpkg-deb --field ${packages} Package Version Depends)
if(NOT INFO_OUTPUT MATCHES "Package: tessel" OR NOT INFO_OUTPUT MATCHES "python3-numpy")
  message(FATAL_ERROR "the package's control fields are\n${INFO_OUTPUT}")
endif()

# 2. Its contents, unpacked.
run_checked(UNPACK "dpkg-deb -x" dpkg-deb -x ${packages} ${ROOT})
foreach(expected usr/bin/tessel usr/include/tessel/Tessel.h usr/share/tessel)
  if(NOT EXISTS ${ROOT}/${expected})
    message(FATAL_ERROR "the package lacks /${expected}")
  endif()
endforeach()
file(GLOB_RECURSE libraries ${ROOT}/usr/libtessel.so.0)
file(GLOB_RECURSE modules ${ROOT}/usr/tessel.cpython-*.so)
file(GLOB_RECURSE plugins ${ROOT}/usr/gdal_TESSEL.so)
foreach(kind libraries modules plugins)
  list(LENGTH ${kind} found)
  if(NOT found EQUAL 1)
    message(FATAL_ERROR "expected one file among the ${kind} of the package, found: ${${kind}}")
  endif()
endforeach()

# 3. What it holds runs from where it was unpacked.
run_checked(VERSION "running the packaged tessel"
  ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${ROOT}/usr/bin/tessel version)
if(NOT VERSION_OUTPUT MATCHES "^tessel [0-9]+\\.[0-9]+\\.[0-9]+")
  message(FATAL_ERROR "the packaged tessel printed '${VERSION_OUTPUT}'")
endif()
get_filename_component(SITE ${modules} DIRECTORY)
run_checked(IMPORT "importing the packaged module"
  ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH PYTHONPATH=${SITE} ${PRELOADED}
  ${PYTHON} -c "import tessel\nprint(tessel.__file__)\nprint(tessel.version())")
if(NOT IMPORT_OUTPUT MATCHES "^${SITE}/tessel")
  message(FATAL_ERROR "import tessel found another module: ${IMPORT_OUTPUT}")
endif()
get_filename_component(PLUGIN_DIR ${plugins} DIRECTORY)
run_checked(DRIVER "loading the packaged GDAL plugin"
  ${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH GDAL_DRIVER_PATH=${PLUGIN_DIR} ${PRELOADED}
  gdalinfo --format TESSEL)
if(NOT DRIVER_OUTPUT MATCHES "Short Name: TESSEL")
  message(FATAL_ERROR "gdalinfo doesn't list the packaged driver:\n${DRIVER_OUTPUT}")
endif()
message(STATUS "the Debian package ${packages} unpacks and runs")
