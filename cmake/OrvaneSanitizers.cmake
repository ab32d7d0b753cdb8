# ORVANE_SANITIZER: none, address (with undefined behaviour), thread, or fuzzer (address and coverage,
# clang only, of which tests/fuzz alone is built), for the whole build.
set(ORVANE_SANITIZER none CACHE STRING "none, address, thread or fuzzer")
set_property(CACHE ORVANE_SANITIZER PROPERTY STRINGS none address thread fuzzer)

if(ORVANE_SANITIZER STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=address,undefined)
elseif(ORVANE_SANITIZER STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=thread)
elseif(ORVANE_SANITIZER STREQUAL "fuzzer")
  # Qt is not instrumented, so nothing is known of its objects' types.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=vptr
                      -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1)
  add_link_options(-fsanitize=address,undefined)
elseif(NOT ORVANE_SANITIZER STREQUAL "none")
  message(FATAL_ERROR "ORVANE_SANITIZER is none, address, thread or fuzzer, not ${ORVANE_SANITIZER}")
endif()

# What callers owe is checked in these builds and costs nothing in the one that ships.
if(ORVANE_SANITIZER STREQUAL "none")
  add_compile_definitions(ORVANE_CONTRACTS=0)
else()
  add_compile_definitions(ORVANE_CONTRACTS=1)
endif()

# A build that is made for its warnings alone.
option(ORVANE_CHECK_ONLY "nothing of this build is run" OFF)

# Qt and SDL want these for what uses them; with them everywhere one precompiled header fits all.
set(ORVANE_PRECOMPILE OFF)
if(ORVANE_SANITIZER MATCHES "address|thread" OR ORVANE_CHECK_ONLY)
  set(ORVANE_PRECOMPILE ON)
  add_compile_options(-fPIC -D_REENTRANT)
endif()
