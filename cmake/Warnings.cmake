add_library(tessel_warnings INTERFACE)
target_compile_options(tessel_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wcast-align
  -Woverloaded-virtual -Wimplicit-fallthrough
  $<$<BOOL:${TESSEL_WERROR}>:-Werror>)
option(TESSEL_WERROR "Treat warnings as errors" OFF)
