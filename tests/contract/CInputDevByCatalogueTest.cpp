// The capture node on the names that the catalogue lists: the desktop of a real X display, and the
// system's sound and the microphone of a real sound server.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "sources/CInputDev.h"
#include "sources/DeviceCatalogue.h"
#include "support/MediaSamples.h"
#include "support/RecordingNode.h"
#include "support/SoundServer.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

using ffmpeg::ScopedFrame;
using support::RecordingNode;
using support::SoundServer;
using support::WaitFor;

namespace {

constexpr int kWaitMs = 15000;

// Runs node until so many pictures have come, and stops it.
std::vector<AVFrame*> TakePictures(CInputDev* node, std::size_t count) {
  RecordingNode consumer;
  std::vector<AVFrame*> pictures;
  node->AddVideoOutput(&consumer);
  EXPECT_EQ(node->Start(), 0);
  WaitFor(
      [&] {
        while (AVFrame* picture = consumer.TakeVideo()) {
          pictures.push_back(picture);
        }
        return pictures.size() >= count;
      },
      kWaitMs);
  EXPECT_EQ(node->Stop(), 0);
  node->RemoveVideoOutput(&consumer);
  EXPECT_GE(pictures.size(), count);
  return pictures;
}

void FreeAll(std::vector<AVFrame*>* pictures) {
  for (AVFrame*& picture : *pictures) {
    av_frame_free(&picture);
  }
}

// True when a fifth of a second of what node gives is that tone, and next to nothing of the other.
bool Hears(CInputDev* node, int hertz, int other) {
  constexpr std::size_t kWindow = 9600 * 2;
  RecordingNode consumer;
  std::vector<std::int16_t> sound;
  node->AddAudioOutput(&consumer);
  EXPECT_EQ(node->Start(), 0);
  const bool heard = WaitFor(
      [&] {
        while (AVFrame* taken = consumer.TakeAudio()) {
          ScopedFrame frame(taken);
          EXPECT_EQ(frame->linesize[0], frame->nb_samples * 4);
          const auto* samples = reinterpret_cast<const std::int16_t*>(frame->data[0]);
          sound.insert(sound.end(), samples, samples + frame->nb_samples * 2);
        }
        if (sound.size() < kWindow) {
          return false;
        }
        sound.erase(sound.begin(), sound.end() - static_cast<std::ptrdiff_t>(kWindow));
        const double tone = support::ToneStrength(sound, 0, hertz);
        return tone > 0.1 && support::ToneStrength(sound, 0, other) < tone / 20;
      },
      kWaitMs);
  EXPECT_EQ(node->Stop(), 0);
  node->RemoveAudioOutput(&consumer);
  return heard;
}

}  // namespace

TEST(CInputDevByCatalogue, TheDesktopComesAsRgbAtCanvasSizeWithItsColours) {
  support::VirtualDesktop desktop;
  ASSERT_TRUE(desktop.Start()) << desktop.Output();
  support::TestWindow window;
  support::TestWindowOptions looks;
  looks.colour = 0x2060a0;
  looks.x = 200;
  looks.y = 200;
  ASSERT_TRUE(window.Open(desktop.Display(), looks));
  ASSERT_TRUE(WaitFor([&] { return desktop.ReadPixel(300, 300) == looks.colour; }, kWaitMs));
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
  catalogue->RefreshDevices();
  CInputDev node(false, catalogue->VideoDevice(0).toStdString(), 1920, 1080, AV_PIX_FMT_RGB24);
  std::vector<AVFrame*> pictures = TakePictures(&node, 5);
  ASSERT_FALSE(pictures.empty());
  const AVFrame* last = pictures.back();
  EXPECT_EQ(last->width, 1920);
  EXPECT_EQ(last->height, 1080);
  EXPECT_EQ(last->linesize[0], 1920 * 3);
  const std::uint8_t* pixel = last->data[0] + 300 * 5760 + 300 * 3;
  EXPECT_EQ(pixel[0], 0x20);
  EXPECT_EQ(pixel[1], 0x60);
  EXPECT_EQ(pixel[2], 0xa0);
  EXPECT_TRUE(catalogue->usedVideoDevices.empty());
  FreeAll(&pictures);
}

TEST(CInputDevByCatalogue, SystemSoundAndMicrophoneAreHeard) {
  SoundServer server;
  ASSERT_TRUE(server.Start()) << server.Output();
  support::SoundServerEnvironment environment(server);
  ASSERT_TRUE(server.KeepAwake());
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
  // A loaded machine's server may be late with its list.
  EXPECT_TRUE(support::WaitFor(
      [&] {
        catalogue->RefreshDevices();
        return catalogue->AudioDevice(1) == QString::fromUtf8(SoundServer::kMicrophoneDescription);
      },
      kWaitMs));
  ASSERT_GE(server.StartTone(SoundServer::kSpeakers, 1000), 0);
  ASSERT_GE(server.StartTone(SoundServer::kMicrophoneFeed, 3000), 0);
  const struct {
    int index;
    int tone;
    int other;
  } devices[] = {{0, 1000, 3000}, {1, 3000, 1000}};
  for (const auto& device : devices) {
    CInputDev node(true, catalogue->AudioDevice(device.index).toStdString(), 0, 0,
                   AV_PIX_FMT_RGB24);
    EXPECT_TRUE(Hears(&node, device.tone, device.other)) << device.index;
  }
}

TEST(CInputDevByCatalogue, WithoutASoundServerNothingHangs) {
  support::SoundServerEnvironment nowhere;
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
  // Until it is known that there is none, the list is the one of the server before.
  EXPECT_TRUE(WaitFor(
      [&] {
        catalogue->RefreshDevices();
        return catalogue->AudioDevice(1).isEmpty();
      },
      kWaitMs));
  CInputDev node(true, catalogue->AudioDevice(0).toStdString(), 0, 0, AV_PIX_FMT_RGB24);
  // Refused, or not yet known to be so.
  if (node.Start() == 0) {
    EXPECT_FALSE(node.HasOpened());
  }
  EXPECT_EQ(node.Stop(), 0);
}
