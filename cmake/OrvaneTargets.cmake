# The two kinds of target: a library of src/, and a test program.

# orvane_library(NAME SOURCES ... [LINK ...])
# One static library per folder of src/. Includes are written from the root src/.
function(orvane_library name)
  cmake_parse_arguments(ARG "MOC" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE orvane_warnings)
  if(ARG_MOC)
    set_target_properties(${name} PROPERTIES AUTOMOC ON AUTORCC ON AUTOUIC ON)
    # Headers of dialogs hold their form as a value.
    target_include_directories(${name}
                               PUBLIC ${CMAKE_CURRENT_BINARY_DIR}/${name}_autogen/include)
  endif()
endfunction()

# What most files begin with, and those with widgets.
set(ORVANE_CORE_HEADERS <algorithm> <atomic> <chrono> <cstdint> <functional> <memory> <mutex> <string>
                        <thread> <utility> <vector>)
set(ORVANE_WIDGET_HEADERS
    <functional> <memory> <string> <vector> <QApplication> <QDialog> <QLabel> <QListView> <QMenu>
    <QPainter> <QPushButton> <QStandardItemModel> <QStyledItemDelegate> <QTimer>)

# orvane_precompile(TARGET HEADERS... | TARGET REUSE_FROM OTHER)
# Parses headers that most files of a target begin with once for all of them; they are half of what the
# compiler does there. Where ORVANE_PRECOMPILE says so: for the tests, and in the sanitizer builds. What
# ships is built without, so that every file of it has to name what it uses.
function(orvane_precompile target)
  if(ORVANE_PRECOMPILE)
    if(ARGV1 STREQUAL "REUSE_FROM")
      target_precompile_headers(${target} ${ARGN})
    else()
      target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
    # ccache needs the one or the other.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
    else()
      target_compile_options(${target} PRIVATE -fpch-preprocess)
    endif()
  endif()
endfunction()

# orvane_test(NAME SOURCES ... LINK ... [LABELS unit|contract|e2e ...] [TIMEOUT seconds] [ALONE]
#             [MOC] [GUI] [FAKE_CLOCK] [RELEASE_ONLY] [ARGS ...])
# A GoogleTest program and one ctest entry of the same name.
#   FAKE_CLOCK   SDL_GetTicks, SDL_GetTicks64 and SDL_Delay go through tests/support/FakeClock
#   ALONE        it is judged by what the machine could do: nothing else runs beside it, and its label
#                is "alone", so that a whole run can leave it to the end
#   RELEASE_ONLY not in the sanitizer builds, which are too slow for real time
#   MOC          the sources hold Qt classes
#   GUI          main() makes a QApplication; without a display it draws off screen
function(orvane_test name)
  cmake_parse_arguments(ARG "ALONE;FAKE_CLOCK;RELEASE_ONLY;MOC;GUI" "TIMEOUT" "SOURCES;LINK;LABELS;ARGS"
                        ${ARGN})
  if(ARG_RELEASE_ONLY AND NOT ORVANE_SANITIZER STREQUAL "none")
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  set(main orvane_test_main)
  if(ARG_GUI)
    set(main orvane_gui_test_main)
    target_link_libraries(${name} PRIVATE orvane_theme Qt5::Test Qt5::Network Qt5::Multimedia)
  endif()
  target_link_libraries(${name} PRIVATE ${main})
  orvane_precompile(${name} REUSE_FROM ${main})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} orvane_warnings)
  if(ARG_FAKE_CLOCK)
    target_link_libraries(${name} PRIVATE orvane_fake_clock)
  endif()
  if(ARG_MOC)
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
  endif()
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  if(ARG_ALONE)
    list(APPEND ARG_LABELS alone)
  endif()
  orvane_add_ctest(${name} COMMAND $<TARGET_FILE:${name}> ${ARG_ARGS} LABELS ${ARG_LABELS} TIMEOUT ${ARG_TIMEOUT})
  if(ARG_ALONE)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
endfunction()

# orvane_add_ctest(NAME COMMAND ... LABELS ... TIMEOUT seconds)
# Adds the entry with the environment that the sanitizers need.
function(orvane_add_ctest name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "COMMAND;LABELS" ${ARGN})
  set(environment "QT_LOGGING_RULES=*.debug=false")
  set(launcher)
  if(ORVANE_SANITIZER STREQUAL "address")
    # No strict_string_checks: libxkbcommon rightly copies names that end with their length, not with a
    # zero, and every program on an X screen would be reported for it.
    list(APPEND environment "ASAN_OPTIONS=detect_stack_use_after_return=1:abort_on_error=0"
         "UBSAN_OPTIONS=print_stacktrace=1"
         "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/lsan.supp:print_suppressions=0")
  elseif(ORVANE_SANITIZER STREQUAL "thread")
    # Qt, SDL, PulseAudio's client and FFmpeg are not instrumented; without this their own locking
    # would be reported. QMutex is made visible by tests/support/TsanQMutex.cpp.
    list(APPEND environment
         "TSAN_OPTIONS=ignore_noninstrumented_modules=1:halt_on_error=0:second_deadlock_stack=1:suppressions=${PROJECT_SOURCE_DIR}/tests/support/tsan.supp:print_suppressions=0")
    # The thread sanitizer of this compiler can't map its shadow under address randomisation.
    set(launcher setarch -R)
  endif()
  list(APPEND ARG_LABELS ${ORVANE_SANITIZER_LABEL})
  add_test(NAME ${name} COMMAND ${launcher} ${ARG_COMMAND})
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT}
                                          ENVIRONMENT "${environment}")
endfunction()

if(NOT ORVANE_SANITIZER STREQUAL "none")
  set(ORVANE_SANITIZER_LABEL sanitizer)
endif()
