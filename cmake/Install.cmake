include(CMakePackageConfigHelpers)

# The public headers need C++20; say so to targets that link the installed package.
target_compile_features(tessel PUBLIC cxx_std_20)

# Installed programs find the library beside them by a path relative to their own folder
# (tessel_relative_rpath), so that an install into any prefix runs without LD_LIBRARY_PATH.
set_target_properties(tessel PROPERTIES INSTALL_RPATH "$ORIGIN")
tessel_relative_rpath(tessel_cli_rpath ${CMAKE_INSTALL_BINDIR})
set_target_properties(tessel_cli PROPERTIES INSTALL_RPATH "${tessel_cli_rpath}")

install(TARGETS tessel tessel_csm EXPORT TesselTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/tessel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/resources)
  install(DIRECTORY resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tessel)
endif()

install(EXPORT TesselTargets NAMESPACE Tessel::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)
configure_package_config_file(cmake/TesselConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/TesselConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TesselConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TesselConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/TesselConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)

# The .pc file finds its prefix from its own folder, so an install made with
# `cmake --install --prefix <elsewhere>` still points at its own headers and library.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(TESSEL_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH tessel_pc_up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" tessel_pc_up "${tessel_pc_up}")
  set(TESSEL_PC_PREFIX "\${pcfiledir}/${tessel_pc_up}")
endif()
configure_file(cmake/tessel.pc.in ${CMAKE_CURRENT_BINARY_DIR}/tessel.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tessel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
