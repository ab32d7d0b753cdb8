// A directory like one of a network share: served by another process, which can be stopped. Whoever
// then reads, writes or looks there waits until it goes on, or is gone.
//
// What links this runs in a mount namespace of its own (PrivateDevices), with which the directory
// goes at the latest. A test that stops it must not look there itself.
#ifndef ORVANE_TESTS_SUPPORT_STALLEDSHARE_H
#define ORVANE_TESTS_SUPPORT_STALLEDSHARE_H

#include <string>

#include "support/Process.h"

namespace support {

class StalledShare {
 public:
  StalledShare() = default;
  ~StalledShare();  // Vanish
  StalledShare(const StalledShare&) = delete;
  StalledShare& operator=(const StalledShare&) = delete;

  // False when it could not be had; Failure tells why.
  bool Mount();
  const std::string& Path() const { return m_path; }
  const std::string& Failure() const { return m_failure; }

  void Stall();
  void GoOn();
  // The server is gone: what waits fails.
  void Vanish();

 private:
  bool Fail(const std::string& cause);

  TempDir m_directory;
  std::string m_path;
  std::string m_failure;
  Process m_server;
};

}  // namespace support

#endif
