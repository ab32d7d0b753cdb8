// What the portal of the tests has been asked and has done: one line on the standard output for
// each event, at once. Any thread.
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_JOURNAL_H
#define ORVANE_TESTS_SUPPORT_PORTAL_JOURNAL_H

#include <string>

namespace support {

void Note(const std::string& event);

}  // namespace support

#endif
