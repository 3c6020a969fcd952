# Compiles go through ccache when it is installed. The cache keys rewrite paths under the
# source tree as relative ones and leave the working folder out, so that a second clone of
# the same code (CI's, say) hits what a first one compiled.
option(TESSEL_CCACHE "Compile through ccache when it is installed" ON)
if(TESSEL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(TESSEL_CCACHE_PROGRAM ccache)
  if(TESSEL_CCACHE_PROGRAM)
    set(tessel_ccache_launcher
      ${CMAKE_COMMAND} -E env
      CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}
      CCACHE_NOHASHDIR=1
      CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
      ${TESSEL_CCACHE_PROGRAM})
    set(CMAKE_C_COMPILER_LAUNCHER ${tessel_ccache_launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${tessel_ccache_launcher})
  endif()
endif()
