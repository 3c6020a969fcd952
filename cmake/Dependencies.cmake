# Every dependency comes from Debian's packages (scripts/setup.sh installs them).
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
find_package(fmt REQUIRED)
find_package(spdlog REQUIRED)
find_package(nlohmann_json 3 REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_package(LibXml2 REQUIRED)
find_package(JPEG REQUIRED)
find_package(TIFF REQUIRED)
find_package(PNG REQUIRED)
pkg_check_modules(OPENJPEG REQUIRED IMPORTED_TARGET libopenjp2)

# Debian ships GeographicLib's CMake files in a non-standard folder.
find_package(GeographicLib QUIET CONFIG
  PATHS /usr/share/cmake/geographiclib /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/cmake/GeographicLib)
if(NOT TARGET GeographicLib::GeographicLib)
  find_library(GEOGRAPHICLIB_LIBRARY NAMES Geographic GeographicLib REQUIRED)
  add_library(GeographicLib::GeographicLib UNKNOWN IMPORTED)
  set_target_properties(GeographicLib::GeographicLib PROPERTIES IMPORTED_LOCATION ${GEOGRAPHICLIB_LIBRARY})
endif()

if(TESSEL_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(TESSEL_BUILD_BENCHMARKS)
  find_package(benchmark REQUIRED)
endif()
