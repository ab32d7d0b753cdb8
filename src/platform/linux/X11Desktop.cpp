#include "platform/linux/X11Desktop.h"

#include <cstdlib>

#include "platform/linux/AvInputStream.h"

namespace platform {

OpenResult OpenX11Desktop() {
  OpenResult result;
  const char* display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') {
    result.failure = OpenFailure::CannotOpen;
    result.cause = std::string(kDesktopName) + ": no X display: DISPLAY is not set";
    return result;
  }
  AvInputRequest request;
  request.format = "x11grab";
  request.url = display;
  request.name = kDesktopName;
  request.options = {{"framerate", "25"}, {"draw_mouse", "1"}};
  if (AvInput input = OpenAvInput(request, &result)) {
    result.stream = std::make_unique<AvInputStream>(std::move(input));
  } else {
    result.cause += ": no X display there that can be read";
  }
  return result;
}

}  // namespace platform
