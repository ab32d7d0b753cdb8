#include "support/portal/Journal.h"

#include <unistd.h>

#include <algorithm>

namespace support {

void Note(const std::string& event) {
  std::string line = event;
  std::replace(line.begin(), line.end(), '\n', ' ');
  line += '\n';
  // In one piece, whatever else writes there.
  if (write(STDOUT_FILENO, line.data(), line.size()) < 0) {
    return;  // nobody listens any more
  }
}

}  // namespace support
