# libtessel.so exports its public API and not the internals: public classes and the record
# layer's C API are there; functions of anonymous or internal namespaces are not (they may
# still appear as argument types of a public class's members).
execute_process(COMMAND nm -D -C --defined-only ${LIBRARY}
                OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
foreach(wanted "Tessel::NITFFactory::open" "nitf_Record_getNumImages" "Tessel::NITFImage::")
  string(FIND "${symbols}" "${wanted}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "libtessel.so does not export ${wanted}")
  endif()
endforeach()
foreach(unwanted "\\(anonymous namespace\\)" "Tessel::detail_profiles::"
                 "Tessel::detail_tables::" "tessel::nitf_tre::")
  string(REGEX MATCH "\n[0-9a-f]+ [A-Za-z] ([^\n(]*::)?${unwanted}[^\n]*" found "\n${symbols}")
  if(found)
    message(FATAL_ERROR "libtessel.so exports an internal symbol:${found}")
  endif()
endforeach()
string(REGEX MATCHALL "\n[0-9a-f]+ [TWV] " exported "\n${symbols}")
list(LENGTH exported count)
message(STATUS "libtessel.so exports ${count} functions and objects")
