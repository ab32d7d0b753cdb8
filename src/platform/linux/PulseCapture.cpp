#include "platform/linux/PulseCapture.h"

namespace platform {

std::vector<std::string> ListPulseMicrophones() {
  return {};
}

OpenResult OpenPulseStream(const std::string& name) {
  OpenResult result;
  result.failure = OpenFailure::CannotOpen;
  result.cause = name + ": no sound server";
  return result;
}

}  // namespace platform
