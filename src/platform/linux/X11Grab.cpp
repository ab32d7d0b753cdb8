#include "platform/linux/X11Grab.h"

#include <cstddef>
#include <cstdint>

#include "platform/PictureRate.h"
#include "platform/linux/MonotonicClock.h"
#include "platform/linux/SizeChange.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

constexpr int kReopenings = kPicturesPerSecond;  // a second of sizes that change with each picture

}  // namespace

AvInput X11Grab::OpenInput(OpenResult* result) const {
  AvInputRequest request;
  request.format = "x11grab";
  request.url = m_display;
  request.name = kDesktopName;
  request.options = {{"framerate", std::to_string(kPicturesPerSecond)}, {"draw_mouse", "1"}};
  return OpenAvInput(request, result);
}

bool X11Grab::Open(OpenResult* result) {
  m_input = OpenInput(result);
  if (!m_input) {
    return false;
  }
  m_toldSize = InputSize();
  return true;
}

Size X11Grab::InputSize() const {
  const AVCodecParameters& parameters = *m_input->streams[0]->codecpar;
  return {parameters.width, parameters.height};
}

int X11Grab::Read(AVPacket* packet) {
  if (!m_screen) {
    m_screen = std::make_unique<X11Screen>(m_display);
  }
  FollowScreen();
  int result = av_read_frame(m_input.get(), packet);
  // What was grabbed may have lain outside a screen that became smaller, and that may go on while
  // it is opened anew: a dock's monitors come one after the other, a window's edge is dragged.
  for (int i = 0; result < 0 && i < kReopenings && MayHaveChanged() && Reopen(); ++i) {
    result = av_read_frame(m_input.get(), packet);
  }
  m_hasRead = m_hasRead || result >= 0;
  return result;
}

// Whether that is why a grab failed. An input that fails from its opening on, on a screen of its
// size, does so for another reason.
bool X11Grab::MayHaveChanged() {
  const Size size = m_screen->AskSize();
  return size != Size{} && (m_hasRead || size != InputSize());
}

void X11Grab::FollowScreen() {
  const Size size = m_screen->LastSize();
  if (size == Size{} || size == m_followedSize) {
    return;
  }
  m_followedSize = size;
  if (size != InputSize()) {
    Reopen();
  }
}

// Where it fails the input stays as it is, and its next error is the end.
bool X11Grab::Reopen() {
  OpenResult result;
  AvInput input = OpenInput(&result);
  if (!input) {
    av_log(nullptr, AV_LOG_ERROR, "%s\n", result.cause.c_str());
    return false;
  }
  m_input = std::move(input);
  m_hasRead = false;
  av_log(nullptr, AV_LOG_INFO, "%s: the screen of %s is %d x %d now\n", kDesktopName,
         m_display.c_str(), InputSize().width, InputSize().height);
  return true;
}

int X11Grab::Complete(AVPacket* picture, bool* black) {
  const Size size = InputSize();
  if (size != m_toldSize) {
    if (!TellSize(picture, size)) {
      return AVERROR(ENOMEM);
    }
    m_toldSize = size;
  }
  const std::int64_t now = MonotonicUs();
  *black = IsBlack(*picture) && !m_screen->IsBlanked(now);
  const BlackSpell::Turn turn = m_spell.Add(*black, now);
  if (turn == BlackSpell::Turn::kLasts) {
    av_log(nullptr, AV_LOG_ERROR,
           "%s (%s): has shown nothing but black for %d s, and is not blanked\n", kDesktopName,
           m_display.c_str(), static_cast<int>(BlackSpell::kToldUs / 1000000));
  } else if (turn == BlackSpell::Turn::kEnds) {
    av_log(nullptr, AV_LOG_ERROR, "%s (%s): shows something again\n", kDesktopName,
           m_display.c_str());
  }
  return 0;
}

bool X11Grab::IsBlack(const AVPacket& picture) {
  const Size size = InputSize();
  const std::size_t bytes =
      static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) * 4;
  if (m_input->streams[0]->codecpar->format != AV_PIX_FMT_BGR0 ||
      static_cast<std::size_t>(picture.size) < bytes) {
    return false;
  }
  Spot spot;
  const Look look = LookAtPicture(picture.data, size, &spot);
  return look == Look::kBlack || (look == Look::kSpot && m_screen->IsBlackAt(spot));
}

}  // namespace platform
