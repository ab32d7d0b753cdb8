# The warnings that every target of the project is built with; each one is an error.
option(ORVANE_WERROR "Treat warnings as errors" ON)

add_library(orvane_warnings INTERFACE)
target_compile_options(
  orvane_warnings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wold-style-cast
            -Wcast-qual
            -Wformat=2
            -Wundef
            -Wunused
            -Wvla
            $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
            $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond>
            $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
            $<$<CXX_COMPILER_ID:GNU>:-Wsuggest-override>
            $<$<BOOL:${ORVANE_WERROR}>:-Werror>)
