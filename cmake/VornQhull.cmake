include_guard(GLOBAL)

# Qhull's reentrant C library serves as an independent convex hull that the
# tests and benchmarks compare with. It is optional: vorn_use_qhull(target)
# links it and defines VORN_HAVE_QHULL only when it is installed.
find_path(VORN_QHULL_INCLUDE_DIR libqhull_r/libqhull_r.h)
find_library(VORN_QHULL_R_LIBRARY qhull_r)

function(vorn_use_qhull target)
  if(VORN_QHULL_INCLUDE_DIR AND VORN_QHULL_R_LIBRARY)
    target_include_directories(${target} PRIVATE ${VORN_QHULL_INCLUDE_DIR})
    target_link_libraries(${target} PRIVATE ${VORN_QHULL_R_LIBRARY})
    target_compile_definitions(${target} PRIVATE VORN_HAVE_QHULL)
  else()
    message(STATUS "Qhull (libqhull_r) not found: ${target} runs without the Qhull comparison")
  endif()
endfunction()
