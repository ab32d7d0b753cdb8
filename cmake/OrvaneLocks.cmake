# With clang every build checks which mutex guards what (src/platform/ThreadSafety.h). That it does is
# asked once: a wrong attribute or flag would silence the check without a word.
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  foreach(hold "" "-DORVANE_HOLD")
    string(MAKE_C_IDENTIFIER "ORVANE_LOCK_PROBE${hold}" accepted)
    try_compile(
      ${accepted} ${PROJECT_BINARY_DIR}/locks SOURCES ${CMAKE_CURRENT_LIST_DIR}/LockProbe.cpp
      CMAKE_FLAGS -DINCLUDE_DIRECTORIES=${PROJECT_SOURCE_DIR}/src
      COMPILE_DEFINITIONS -Wthread-safety -Werror ${hold}
      LINK_LIBRARIES Threads::Threads
      CXX_STANDARD 17)
  endforeach()
  if(ORVANE_LOCK_PROBE OR NOT ORVANE_LOCK_PROBE_DORVANE_HOLD)
    message(FATAL_ERROR "this clang does not check locks as src/platform/ThreadSafety.h means it")
  endif()
  # Where the other compiler reads and writes a small struct at once, this one asks the library.
  link_libraries(atomic)
endif()
