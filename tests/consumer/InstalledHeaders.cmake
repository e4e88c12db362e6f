# Installs the library from its build tree into a fresh prefix and compiles
# every installed header on its own against the install tree only: a public
# header that includes an internal one (never installed) fails here.
#
#   cmake -DBUILD_DIR=... -DPREFIX=... -DINCLUDE_DIR=<prefix>/include/VornNumeric
#         -DCOMPILER=c++ -P InstalledHeaders.cmake

file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}"
                RESULT_VARIABLE installed OUTPUT_QUIET)
if(NOT installed EQUAL 0)
  message(FATAL_ERROR "cmake --install failed")
endif()

file(GLOB_RECURSE headers RELATIVE "${INCLUDE_DIR}" "${INCLUDE_DIR}/*")
set(work "${PREFIX}/../alone")
file(MAKE_DIRECTORY "${work}")
foreach(header IN LISTS headers)
  string(MAKE_C_IDENTIFIER "${header}" name)
  file(WRITE "${work}/${name}.cpp" "#include \"${header}\"\n")
  execute_process(COMMAND ${COMPILER} -std=c++17 -fsyntax-only -Wall -Wextra -Werror "-I${INCLUDE_DIR}"
                          "${work}/${name}.cpp"
                  RESULT_VARIABLE compiled ERROR_VARIABLE errors)
  if(NOT compiled EQUAL 0)
    message(SEND_ERROR "${header} does not compile on its own:\n${errors}")
  endif()
endforeach()
