// What has to hold for every input of a fuzz target: a violation ends the process, as a crash does,
// and the fuzzer keeps the input.
#ifndef ORVANE_TESTS_FUZZ_REQUIRE_H
#define ORVANE_TESTS_FUZZ_REQUIRE_H

#include <cstdlib>

namespace fuzz {

inline void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace fuzz

#endif
