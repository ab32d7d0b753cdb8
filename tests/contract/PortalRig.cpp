#include "contract/PortalRig.h"

#include <gtest/gtest.h>

#include <chrono>

#include "platform/linux/portal/PortalDesktop.h"
#include "support/CoreApplication.h"
#include "support/GivenTime.h"
#include "support/MustReturn.h"

namespace support {

using platform::CaptureKind;
using platform::CaptureStream;
using platform::OpenResult;

namespace {

constexpr int kCloseMs = 500;

}  // namespace

PortalRig::PortalRig(const std::vector<std::string>& switches) {
  KeepCoreApplication();
  EXPECT_TRUE(session.Start()) << session.Output();
  EXPECT_TRUE(portal.Start(session, switches)) << portal.Output();
}

platform::PortalSettings PortalRig::Settings() const {
  platform::PortalSettings settings;
  settings.bus = session.Bus();
  settings.tokenFile = session.File("token");
  return settings;
}

std::unique_ptr<CaptureStream> PortalRig::Open() const {
  return Open(Settings());
}

std::unique_ptr<CaptureStream> PortalRig::Open(const platform::PortalSettings& settings) const {
  OpenResult result;
  MustReturn("opening", [&] { result = platform::OpenPortalDesktop(settings); });
  EXPECT_NE(result.stream, nullptr) << result.cause;
  return std::move(result.stream);
}

void CloseInTime(const std::function<void()>& close) {
  EXPECT_LT(TimeGiven([&] { MustReturn("closing", close); }), kCloseMs);
}

std::string EndOf(CaptureStream* stream) {
  StreamReader reader(stream, CaptureKind::Video);
  int result = 0;
  const auto ended = [&] {
    result = reader.Next(0);
    return result != 0 && result != AVERROR(EAGAIN);
  };
  return WaitFor(ended, PortalRig::kPatienceMs) ? std::to_string(result) + " " + stream->EndCause()
                                                : "";
}

void ExpectEnd(CaptureStream* stream) {
  const std::string end = EndOf(stream);
  EXPECT_FALSE(end.empty()) << "it goes on";
  EXPECT_GT(stream->EndCause().size(), 5U) << end;
  EXPECT_EQ(EndOf(stream), end);
}

int ExpectPicture(CaptureStream* stream) {
  StreamReader reader(stream, CaptureKind::Video);
  RgbPicture picture;
  EXPECT_TRUE(reader.NextPicture(&picture, PortalRig::kPatienceMs)) << stream->EndCause();
  const int number = picture.width > 0 ? picture.Counter() : -1;
  EXPECT_GE(number, 0);
  EXPECT_TRUE(stream->HasOpened());
  return number;
}

bool Shows(StreamReader* reader, const std::function<bool(const RgbPicture& picture)>& right) {
  const auto end =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(PortalRig::kPatienceMs);
  RgbPicture picture;
  while (std::chrono::steady_clock::now() < end &&
         reader->NextPicture(&picture, PortalRig::kPatienceMs)) {
    if (right(picture)) {
      return true;
    }
  }
  return false;
}

bool ShowsSize(StreamReader* reader, int width, int height) {
  return Shows(reader, [&](const RgbPicture& picture) {
    return picture.width == width && picture.height == height && picture.Counter() >= 0 &&
           Near(picture.Background(), CameraColour(), 0);
  });
}

bool RunsDry(StreamReader* reader) {
  return WaitFor([reader] { return reader->Next(300) == AVERROR(EAGAIN); }, PortalRig::kPatienceMs);
}

}  // namespace support
