# `cpack -G DEB` in a build folder makes a Debian package of what `cmake --install` installs
# (library, headers, command, resources, Python module and GDAL plugin) under /usr.
set(CPACK_PACKAGE_NAME tessel)
set(CPACK_PACKAGE_VENDOR "TesselLib")
set(CPACK_PACKAGE_CONTACT "TesselLib developers <tessel@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
# The run-time packages of the libraries the library links, and what the public headers,
# the module and the plugin need beside it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "libjpeg62-turbo, libopenjp2-7, libxml2, libfmt9, libspdlog1.10, libgeographiclib23, nlohmann-json3-dev, python3, python3-numpy, libgdal32")
include(CPack)
