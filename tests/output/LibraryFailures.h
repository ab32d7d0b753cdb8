// Makes calls of the encoder into the libraries fail, one named function at a time. Link the test
// with the wraps of tests/output/CMakeLists.txt; the libraries' own calls are not touched.
#ifndef ORVANE_TESTS_OUTPUT_LIBRARYFAILURES_H
#define ORVANE_TESTS_OUTPUT_LIBRARYFAILURES_H

#include <set>
#include <string>

namespace support {

class LibraryFailures {
 public:
  // names: functions, or "encoder:NAME" for one encoder that the library is to lack.
  explicit LibraryFailures(const std::set<std::string>& names);
  ~LibraryFailures();
  LibraryFailures(const LibraryFailures&) = delete;
  LibraryFailures& operator=(const LibraryFailures&) = delete;
};

}  // namespace support

#endif
