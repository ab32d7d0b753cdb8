// The application object that a test without widgets needs, since nodes and the device catalogue
// ask for one.
#ifndef ORVANE_TESTS_SUPPORT_COREAPPLICATION_H
#define ORVANE_TESTS_SUPPORT_COREAPPLICATION_H

#include <QCoreApplication>

namespace support {

// Made at the first call, on that thread, and kept until the process ends.
inline void KeepCoreApplication() {
  static int argc = 1;
  static char name[] = "test";
  static char* argv[] = {name, nullptr};
  static QCoreApplication application(argc, argv);
}

}  // namespace support

#endif
