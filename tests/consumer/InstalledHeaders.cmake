# Installs the library from its build tree into a fresh prefix and compiles
# every installed header on its own against the install tree only: a public
# header that includes an internal one (never installed) fails here.
#
#   cmake -DBUILD_DIR=... -DPREFIX=... -DINCLUDE_DIR=<prefix>/include/VornNumeric
#         -DCOMPILER=c++ -P InstalledHeaders.cmake

foreach(var BUILD_DIR PREFIX INCLUDE_DIR COMPILER)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "InstalledHeaders.cmake needs -D${var}=...")
  endif()
endforeach()

file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}"
                RESULT_VARIABLE installed OUTPUT_QUIET)
if(NOT installed EQUAL 0)
  message(FATAL_ERROR "cmake --install failed")
endif()

file(GLOB_RECURSE headers RELATIVE "${INCLUDE_DIR}" "${INCLUDE_DIR}/*")
list(LENGTH headers count)
message(STATUS "${count} installed headers")
set(work "${PREFIX}/../alone")
file(MAKE_DIRECTORY "${work}")
set(failed "")
foreach(header IN LISTS headers)
  string(MAKE_C_IDENTIFIER "${header}" name)
  file(WRITE "${work}/${name}.cpp" "#include \"${header}\"\n")
  execute_process(COMMAND ${COMPILER} -std=c++17 -fsyntax-only -Wall -Wextra -Werror "-I${INCLUDE_DIR}"
                          "${work}/${name}.cpp"
                  RESULT_VARIABLE compiled ERROR_VARIABLE errors)
  if(NOT compiled EQUAL 0)
    message(SEND_ERROR "${header} does not compile on its own:\n${errors}")
    list(APPEND failed "${header}")
  endif()
endforeach()
if(failed)
  message(FATAL_ERROR "headers that do not compile alone: ${failed}")
endif()
