// A D-Bus message bus of a test's own, on which nothing is but what the test puts there: it starts
// no service by itself. Ended with the object, by its id.
#ifndef ORVANE_TESTS_SUPPORT_MESSAGEBUS_H
#define ORVANE_TESTS_SUPPORT_MESSAGEBUS_H

#include <string>

#include "support/Process.h"

namespace support {

class MessageBus {
 public:
  // Returns when it lets programs in; false when it does not.
  bool Start();
  std::string Address() const { return "unix:path=" + m_directory.File("bus"); }
  void Kill();
  // Answers nobody until it is thawed; programs can connect all the same.
  void Freeze();
  void Thaw();

 private:
  bool LetsIn() const;

  TempDir m_directory;
  Process m_bus;
};

}  // namespace support

#endif
