# Installed programs and modules find the library beside them by a path relative to their
# own folder, so that an install into any prefix runs without LD_LIBRARY_PATH.
# tessel_relative_rpath(VAR FROM_DIR): "$ORIGIN/<path from FROM_DIR to the library folder>".
function(tessel_relative_rpath variable from_dir)
  file(RELATIVE_PATH up "/${from_dir}" "/${CMAKE_INSTALL_LIBDIR}")
  if(up STREQUAL "")
    set(${variable} "$ORIGIN" PARENT_SCOPE)
  else()
    set(${variable} "$ORIGIN/${up}" PARENT_SCOPE)
  endif()
endfunction()
