#include "sources/CInputDev.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "sources/DeviceCatalogue.h"
#include "support/FakeCaptureLayer.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/MediaSamples.h"
#include "support/RecordingNode.h"

using ffmpeg::ScopedFrame;
using ffmpeg::ScopedPacket;
using support::FakeDevice;
using support::FakePictures;
using support::FakeSound;

namespace {

class Device : public CInputDev {
 public:
  using CInputDev::CaptureTurn;
  using CInputDev::CInputDev;
  using CInputDev::Open;
  int QueueCount() const { return static_cast<int>(m_audioQueues.size() + m_videoQueues.size()); }
};

class CInputDevTest : public ::testing::Test {
 protected:
  CInputDevTest() { DeviceCatalogue::Instance()->usedVideoDevices.clear(); }
  ~CInputDevTest() override { DeviceCatalogue::Instance()->usedVideoDevices.clear(); }

  FakeDevice* Camera(const FakePictures& pictures) { return m_layer.AddCamera("camera", pictures); }
  static std::vector<QString>& Used() { return DeviceCatalogue::Instance()->usedVideoDevices; }

  support::FakeCaptureLayer m_layer;
  support::InstalledCaptureLayer m_installed{&m_layer};
  support::RecordingNode m_consumer;
};

FakePictures PicturesOf(int width, int height, AVPixelFormat format) {
  FakePictures pictures;
  pictures.width = width;
  pictures.height = height;
  pictures.format = format;
  return pictures;
}

int Counter(const AVFrame* frame) {
  return support::ReadCameraCounter(frame->data[0], static_cast<std::size_t>(frame->linesize[0]),
                                    frame->width, frame->height);
}

// Only what came straight from a decoder knows how many bytes it was decoded from.
bool CameUncopied(const AVFrame* frame) {
  return frame->pkt_size > 0;
}

std::vector<std::int16_t> TakeSound(support::RecordingNode* consumer) {
  std::vector<std::int16_t> all;
  while (AVFrame* taken = consumer->TakeAudio()) {
    ScopedFrame frame(taken);
    const auto* samples = reinterpret_cast<const std::int16_t*>(frame->data[0]);
    all.insert(all.end(), samples, samples + frame->nb_samples * 2);
  }
  return all;
}

int Peak(const std::vector<std::int16_t>& samples) {
  int peak = 0;
  for (const std::int16_t sample : samples) {
    peak = std::max(peak, std::abs(static_cast<int>(sample)));
  }
  return peak;
}

// A second of the device's tone, through the node.
std::vector<std::int16_t> Hear(FakeDevice* microphone, Device* node,
                               support::RecordingNode* consumer) {
  microphone->Give(100);
  for (int turn = 0; turn < 100; ++turn) {
    EXPECT_TRUE(node->CaptureTurn());
  }
  return TakeSound(consumer);
}

// A picture as some cameras send it, whose decoder pads the rows: 50 x 16 RGB in one PNG.
ScopedPacket* PngPacket(ScopedPacket* packet) {
  support::MediaSamples samples;
  support::PictureOptions options;
  options.width = 50;
  options.height = 16;
  const std::string png = support::ReadFile(samples.Picture("camera.png", options));
  packet->Reset(av_packet_alloc());
  av_new_packet(packet->Get(), static_cast<int>(png.size()));
  std::copy(png.begin(), png.end(), packet->Get()->data);
  return packet;
}

}  // namespace

TEST_F(CInputDevTest, AMissingDeviceFailsWithTheTextAndALogLine) {
  support::LogRecord log;
  CInputDev node(true, "no such microphone", 0, 0, AV_PIX_FMT_RGB24);
  testing::internal::CaptureStdout();
  EXPECT_EQ(node.Start(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Couldn't open input stream.\n");
  EXPECT_TRUE(log.HasError("capture of \"no such microphone\": "));
}

TEST_F(CInputDevTest, ABusyDeviceFailsAndCanBeStartedAgain) {
  FakeDevice* camera = Camera({});
  camera->SetBusy(true);
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  testing::internal::CaptureStdout();
  EXPECT_EQ(node.Start(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Couldn't open input stream.\n");
  EXPECT_TRUE(Used().empty());
  camera->SetBusy(false);
  EXPECT_EQ(node.Start(), 0);
  EXPECT_EQ(node.Stop(), 0);
}

TEST_F(CInputDevTest, ADeviceWithoutAFormatFailsWithTheOtherText) {
  Camera({})->SetFormatUnknown(true);
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  testing::internal::CaptureStdout();
  EXPECT_EQ(node.Start(), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Couldn't find stream information.\n");
}

TEST_F(CInputDevTest, ADeviceWithoutAStreamOrADecoderFails) {
  FakeDevice* camera = Camera({});
  support::LogRecord log;
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  camera->SetStreamless(true);
  EXPECT_EQ(node.Start(), -1);
  EXPECT_TRUE(log.HasError("camera", "sends no picture"));
  camera->SetStreamless(false);
  camera->SetCodec(AV_CODEC_ID_PROBE);
  EXPECT_EQ(node.Start(), -1);
  EXPECT_TRUE(log.HasError("camera", "no decoder"));
  EXPECT_FALSE(camera->IsOpen()) << "a failed start must not keep the device";
  EXPECT_TRUE(Used().empty());
}

TEST_F(CInputDevTest, PackedRgbOfAnySizePassesThroughUncopied) {
  FakeDevice* camera = Camera(PicturesOf(322, 242, AV_PIX_FMT_RGB24));
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  camera->Give(1);
  ASSERT_TRUE(node.CaptureTurn());
  ScopedFrame frame(m_consumer.TakeVideo());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 322);
  EXPECT_EQ(frame->height, 242);
  EXPECT_EQ(frame->linesize[0], 322 * 3);
  EXPECT_TRUE(CameUncopied(frame.Get()));
  EXPECT_EQ(Counter(frame.Get()), 0);
}

TEST_F(CInputDevTest, PaddedRgbIsPackedBeforeItLeaves) {
  FakeDevice* camera = Camera(PicturesOf(50, 16, AV_PIX_FMT_RGB24));
  camera->SetCodec(AV_CODEC_ID_PNG);
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  ScopedPacket png;
  camera->GivePacket(PngPacket(&png)->Get());
  for (int i = 0; i < 64 && m_consumer.VideoCount() == 0; ++i) {
    // A decoder on as many threads as there are processors gives the first one late.
    camera->GivePacket(png.Get());
    node.CaptureTurn();
  }
  ScopedFrame frame(m_consumer.TakeVideo());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->linesize[0], 50 * 3);
  const support::CameraColour& colour = support::MediaSamples::kQuadrants[3];
  const std::uint8_t* last = frame->data[0] + 16 * 50 * 3 - 3;
  EXPECT_EQ(last[0], colour.red);
  EXPECT_EQ(last[1], colour.green);
  EXPECT_EQ(last[2], colour.blue);
}

TEST_F(CInputDevTest, OtherFormatsAreConvertedAtTheDeliveredSize) {
  FakeDevice* camera = Camera(PicturesOf(320, 240, AV_PIX_FMT_YUYV422));
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  camera->Give(2);
  node.CaptureTurn();
  node.CaptureTurn();
  ASSERT_EQ(m_consumer.VideoCount(), 2);
  for (int i = 0; i < 2; ++i) {
    ScopedFrame frame(m_consumer.TakeVideo());
    EXPECT_EQ(frame->format, AV_PIX_FMT_RGB24);
    EXPECT_EQ(frame->width, 320);
    EXPECT_EQ(frame->linesize[0], 960);
    EXPECT_EQ(Counter(frame.Get()), i);
    const support::CameraColour seen = support::ReadCameraBackground(frame->data[0], 960, 320, 240);
    EXPECT_NEAR(seen.red, 32, 6);
    EXPECT_NEAR(seen.green, 96, 6);
    EXPECT_NEAR(seen.blue, 160, 6);
  }
}

TEST_F(CInputDevTest, TheDesktopComesAtTheWantedSize) {
  FakeDevice* desktop =
      m_layer.AddCamera(platform::kDesktopName, PicturesOf(960, 540, AV_PIX_FMT_BGR0));
  Device node(false, platform::kDesktopName, 1920, 1080, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  desktop->Give(1);
  node.CaptureTurn();
  ScopedFrame frame(m_consumer.TakeVideo());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->width, 1920);
  EXPECT_EQ(frame->height, 1080);
  EXPECT_EQ(frame->linesize[0], 1920 * 3);
  EXPECT_EQ(Counter(frame.Get()), 0);
}

TEST_F(CInputDevTest, APictureThatChangesSizeIsScaledToTheFirstSize) {
  FakeDevice* camera = Camera(PicturesOf(320, 240, AV_PIX_FMT_YUYV422));
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  for (const int width : {320, 160, 640, 320}) {
    camera->ChangeSize(width, width * 3 / 4);
    const int number = static_cast<int>(camera->NextNumber());
    camera->Give(1);
    while (camera->Unread() > 0) {
      node.CaptureTurn();
    }
    ScopedFrame frame(m_consumer.TakeVideo());
    ASSERT_TRUE(frame) << width;
    EXPECT_EQ(frame->width, 320);
    EXPECT_EQ(frame->height, 240);
    EXPECT_EQ(Counter(frame.Get()), number) << width;
  }
}

TEST_F(CInputDevTest, GraphSoundPassesThroughWithItsPayloadAsLineSize) {
  FakeSound sound;
  sound.blockSamples = 482;
  FakeDevice* microphone = m_layer.AddMicrophone("mic", sound);
  Device node(true, "mic", 0, 0, AV_PIX_FMT_RGB24);
  node.AddAudioOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  microphone->Give(1);
  node.CaptureTurn();
  ScopedFrame frame(m_consumer.TakeAudio());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->nb_samples, 482);
  EXPECT_EQ(frame->linesize[0], 482 * 4);
  EXPECT_TRUE(CameUncopied(frame.Get()));
}

TEST_F(CInputDevTest, SoundThatOnlyCountsItsChannelsGetsTheDefaultLayout) {
  FakeSound sound;
  sound.layoutKnown = false;
  FakeDevice* microphone = m_layer.AddMicrophone("mic", sound);
  Device node(true, "mic", 0, 0, AV_PIX_FMT_RGB24);
  node.AddAudioOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  microphone->Give(1);
  node.CaptureTurn();
  ScopedFrame frame(m_consumer.TakeAudio());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->ch_layout.order, AV_CHANNEL_ORDER_NATIVE);
  EXPECT_EQ(frame->ch_layout.u.mask, static_cast<std::uint64_t>(AV_CH_LAYOUT_STEREO));
}

TEST_F(CInputDevTest, MonoAtAnotherRateComesOutAsStereoAt48000WithTheResamplersDelay) {
  FakeSound sound;
  sound.sampleRate = 44100;
  sound.channels = 1;
  sound.codec = AV_CODEC_ID_PCM_F32LE;
  sound.blockSamples = 441;
  FakeDevice* microphone = m_layer.AddMicrophone("mic", sound);
  Device node(true, "mic", 0, 0, AV_PIX_FMT_RGB24);
  node.AddAudioOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  microphone->Give(100);
  for (int i = 0; i < 100; ++i) {
    node.CaptureTurn();
  }
  const std::vector<std::int16_t> stereo = TakeSound(&m_consumer);
  // One second less what the resampler's filter holds back.
  EXPECT_NEAR(static_cast<double>(stereo.size()) / 2, 48000, 60);
  const double left = support::ToneStrength(stereo, 0, 1000);
  EXPECT_GT(left, 0.05);
  EXPECT_NEAR(support::ToneStrength(stereo, 1, 1000), left, 0.01);
  EXPECT_LT(support::ToneStrength(stereo, 0, 1100), left / 20);
}

TEST_F(CInputDevTest, FramesCarryTheWallClock) {
  support::FakeClock clock(5000);
  FakeDevice* camera = Camera(PicturesOf(64, 48, AV_PIX_FMT_RGB24));
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  camera->Give(2);
  node.CaptureTurn();
  clock.Advance(123);
  node.CaptureTurn();
  ScopedFrame first(m_consumer.TakeVideo());
  ScopedFrame second(m_consumer.TakeVideo());
  EXPECT_EQ(first->pts, 5000);
  EXPECT_EQ(second->pts, 5123);
}

TEST_F(CInputDevTest, WithoutAPacketItSleepsTenMilliseconds) {
  support::FakeClock clock;
  FakeDevice* camera = Camera({});
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Open(), 0);
  camera->GiveNothing(2);
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_EQ(clock.TakeDelays(), (std::vector<std::uint32_t>{10, 10}));
}

TEST_F(CInputDevTest, PacketsOfOtherStreamsArePassedOver) {
  FakeDevice* camera = Camera(PicturesOf(64, 48, AV_PIX_FMT_RGB24));
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  ScopedPacket other(av_packet_alloc());
  av_new_packet(other.Get(), 64 * 48 * 3);
  other->stream_index = 1;
  camera->GivePacket(other.Get());
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_EQ(m_consumer.VideoCount(), 0);
}

TEST_F(CInputDevTest, CountsThePicturesThatTheDeviceGives) {
  FakeDevice* camera = Camera({});
  camera->Give(3);
  camera->GiveNothing(2);
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Open(), 0);
  EXPECT_EQ(node.Delivered(), 0U);
  for (int turn = 0; turn < 5; ++turn) {
    EXPECT_TRUE(node.CaptureTurn());
  }
  EXPECT_EQ(node.Delivered(), 3U);
}

TEST_F(CInputDevTest, SilenceInThePlaceOfMissingSoundGoesOutAndDoesNotCount) {
  FakeDevice* microphone = m_layer.AddMicrophone("microphone");
  microphone->RunFree();
  microphone->Give(2);
  Device node(true, "microphone", 0, 0, AV_PIX_FMT_RGB24);
  node.AddAudioOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_EQ(node.Delivered(), 2U);
  microphone->Freeze();
  microphone->Give(2);
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_EQ(node.Delivered(), 2U);
  EXPECT_EQ(TakeSound(&m_consumer).size(), 4U * 480 * 2);
}

TEST_F(CInputDevTest, MeasuresTheSoundThatItPushes) {
  FakeDevice* microphone = m_layer.AddMicrophone("microphone");
  microphone->Give(2);
  Device node(true, "microphone", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Open(), 0);
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_TRUE(node.CaptureTurn());
  const sources::SoundMeasure tone = node.TakeLevel();
  EXPECT_EQ(tone.blocks, 2);
  EXPECT_NEAR(tone.peak, 16384, 20);
  EXPECT_NEAR(tone.meanSquare, 16384.0 * 16384 / 2, 16384.0 * 16384 / 200);
  EXPECT_EQ(node.TakeLevel().blocks, 0);
}

TEST_F(CInputDevTest, MutedSoundIsSilenceAndMeasuredAllTheSame) {
  FakeDevice* microphone = m_layer.AddMicrophone("microphone");
  Device node(true, "microphone", 0, 0, AV_PIX_FMT_RGB24);
  node.AddAudioOutput(&m_consumer);
  node.SetMix({0, true});
  ASSERT_EQ(node.Open(), 0);
  const std::vector<std::int16_t> muted = Hear(microphone, &node, &m_consumer);
  EXPECT_EQ(muted.size(), 2U * 48000) << "nothing is left out";
  EXPECT_EQ(Peak(muted), 0) << "from the first sample on";
  EXPECT_NEAR(node.TakeLevel().peak, 16384, 20);
  EXPECT_EQ(node.Delivered(), 100U);
  node.SetMix({0, false});
  EXPECT_NEAR(Peak(Hear(microphone, &node, &m_consumer)), 16384, 20);
  node.SetMix({0, true});
  Hear(microphone, &node, &m_consumer);
  EXPECT_EQ(Peak(Hear(microphone, &node, &m_consumer)), 0);
}

TEST_F(CInputDevTest, TheGainIsInWhatIsSentAndInWhatIsMeasured) {
  FakeSound sound;
  sound.codec = AV_CODEC_ID_PCM_F32LE;  // once through the resampler, once without
  for (FakeDevice* microphone :
       {m_layer.AddMicrophone("converted", sound), m_layer.AddMicrophone("plain")}) {
    const std::string& name = microphone->Name();
    Device node(true, name, 0, 0, AV_PIX_FMT_RGB24);
    node.AddAudioOutput(&m_consumer);
    node.SetMix({-20, false});
    ASSERT_EQ(node.Open(), 0);
    EXPECT_NEAR(Peak(Hear(microphone, &node, &m_consumer)), 1638, 5) << name;
    EXPECT_NEAR(node.TakeLevel().peak, 1638, 5) << name;
    node.SetMix({12, false});
    const std::vector<std::int16_t> loud = Hear(microphone, &node, &m_consumer);
    EXPECT_NEAR(Peak(loud), sources::kLimiterCeiling, 300) << name;
    EXPECT_LE(Peak(loud), sources::kLimiterCeiling) << name;
    EXPECT_LE(node.TakeLevel().peak, sources::kLimiterCeiling) << name;
  }
}

TEST_F(CInputDevTest, ChangedSoundLeavesWithItsPayloadAsLineSize) {
  FakeSound sound;
  sound.blockSamples = 482;
  FakeDevice* microphone = m_layer.AddMicrophone("mic", sound);
  Device node(true, "mic", 0, 0, AV_PIX_FMT_RGB24);
  node.AddAudioOutput(&m_consumer);
  node.SetMix({-6, false});
  ASSERT_EQ(node.Open(), 0);
  microphone->Give(1);
  node.CaptureTurn();
  ScopedFrame frame(m_consumer.TakeAudio());
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->nb_samples, 482);
  EXPECT_EQ(frame->linesize[0], 482 * 4);
}

TEST_F(CInputDevTest, GoesOnWithAnotherMicrophone) {
  FakeSound sound;
  sound.hertz = 2000;
  FakeDevice* first = m_layer.AddMicrophone("first");
  FakeDevice* second = m_layer.AddMicrophone("second", sound);
  first->RunFree();
  second->RunFree();
  CInputDev node(true, "first", 0, 0, AV_PIX_FMT_RGB24);
  EXPECT_FALSE(node.SwitchTo("second")) << "before it runs";
  node.AddAudioOutput(&m_consumer);
  ASSERT_EQ(node.Start(), 0);
  EXPECT_FALSE(node.SwitchTo("third"));
  EXPECT_EQ(node.DeviceName(), "first");
  EXPECT_TRUE(node.SwitchTo("second"));
  EXPECT_EQ(node.DeviceName(), "second");
  EXPECT_FALSE(first->IsOpen());
  std::vector<std::int16_t> heard;
  EXPECT_TRUE(support::WaitFor(
      [&] {
        heard = TakeSound(&m_consumer);
        return support::ToneStrength(heard, 0, 2000) > 0.4;
      },
      30000));
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_FALSE(second->IsOpen());
}

TEST_F(CInputDevTest, APictureSwitchesToNoOtherDevice) {
  Camera({});
  m_layer.AddCamera("other");
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Start(), 0);
  EXPECT_FALSE(node.SwitchTo("other"));
  EXPECT_EQ(node.Stop(), 0);
}

TEST_F(CInputDevTest, ADamagedPacketIsPassedOver) {
  FakeDevice* camera = Camera(PicturesOf(64, 48, AV_PIX_FMT_RGB24));
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Open(), 0);
  ScopedPacket damaged(av_packet_alloc());
  av_new_packet(damaged.Get(), 17);
  camera->GivePacket(damaged.Get());
  camera->Give(1);
  EXPECT_TRUE(node.CaptureTurn());
  EXPECT_TRUE(node.CaptureTurn());
  ASSERT_EQ(m_consumer.VideoCount(), 1);
  ScopedFrame frame(m_consumer.TakeVideo());
  EXPECT_EQ(Counter(frame.Get()), 0);
}

TEST_F(CInputDevTest, AReadErrorEndsTheCaptureAndNamesDeviceAndCause) {
  support::LogRecord log;
  FakeDevice* camera = Camera({});
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Open(), 0);
  camera->GiveError(AVERROR(ENODEV));
  testing::internal::CaptureStdout();
  EXPECT_FALSE(node.CaptureTurn());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(log.HasError("\"camera\" has ended", "No such device"));
}

TEST_F(CInputDevTest, TheEndOfTheStreamEndsTheCapture) {
  FakeDevice* camera = Camera({});
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Open(), 0);
  camera->GiveError(AVERROR_EOF);
  EXPECT_FALSE(node.CaptureTurn());
}

TEST_F(CInputDevTest, AnUnpluggedDeviceIsStoppedLikeAnyOther) {
  FakeDevice* camera = Camera(PicturesOf(64, 48, AV_PIX_FMT_RGB24));
  camera->RunFree();
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  node.AddVideoOutput(&m_consumer);
  ASSERT_EQ(node.Start(), 0);
  ASSERT_TRUE(support::WaitFor([&] { return m_consumer.VideoCount() > 0; }, 30000));
  camera->Unplug();
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_FALSE(camera->IsOpen());
  EXPECT_TRUE(Used().empty());
}

TEST_F(CInputDevTest, StopWorksOnAFrozenDevice) {
  FakeDevice* camera = Camera({});
  camera->Freeze();
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Start(), 0);
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_FALSE(camera->IsOpen());
}

TEST_F(CInputDevTest, StopLeavesTheNodeUnableToTakeInputOrToStart) {
  FakeDevice* camera = Camera({});
  Device node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  EXPECT_EQ(node.QueueCount(), 2);
  ASSERT_EQ(node.Start(), 0);
  node.Stop();
  EXPECT_EQ(node.QueueCount(), 0);
  node.ClearVideoQueues();
  ScopedFrame frame(av_frame_alloc());
  node.EnqueueVideo(0, frame.Get());  // ignored, or the frame would be freed twice
  EXPECT_EQ(node.Start(), -1);
  EXPECT_EQ(camera->OpenCount(), 1);
}

TEST_F(CInputDevTest, ASecondStartOpensNothing) {
  FakeDevice* camera = Camera({});
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Start(), 0);
  EXPECT_EQ(node.Start(), 0);
  EXPECT_EQ(camera->OpenCount(), 1);
  EXPECT_EQ(Used().size(), 1U);
  node.Stop();
}

TEST_F(CInputDevTest, AnOpenCameraIsListedAsUsed) {
  m_layer.AddCamera("摄像头 1");
  CInputDev node(false, "摄像头 1", 0, 0, AV_PIX_FMT_RGB24);
  EXPECT_TRUE(Used().empty());
  ASSERT_EQ(node.Start(), 0);
  EXPECT_EQ(Used(), std::vector<QString>{QString::fromUtf8("摄像头 1")});
  node.Stop();
  EXPECT_TRUE(Used().empty());
}

TEST_F(CInputDevTest, DesktopsAndMicrophonesAreNotListedAsUsed) {
  m_layer.AddCamera(platform::kDesktopName);
  m_layer.AddCamera("my screen-capture-recorder 2");
  m_layer.AddMicrophone("mic");
  for (const char* name : {platform::kDesktopName, "my screen-capture-recorder 2"}) {
    CInputDev node(false, name, 0, 0, AV_PIX_FMT_RGB24);
    ASSERT_EQ(node.Start(), 0);
    EXPECT_TRUE(Used().empty()) << name;
    node.Stop();
  }
  CInputDev microphone(true, "mic", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(microphone.Start(), 0);
  EXPECT_TRUE(Used().empty());
  Used() = {"mic", "my screen-capture-recorder 2"};
  microphone.Stop();
  EXPECT_EQ(Used().size(), 2U);
}

TEST_F(CInputDevTest, StopRemovesOnlyTheFirstEqualName) {
  Camera({});
  CInputDev node(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  ASSERT_EQ(node.Start(), 0);
  Used() = {"other", "camera", "third", "camera"};
  node.Stop();
  EXPECT_EQ(Used(), (std::vector<QString>{"other", "third", "camera"}));
}

TEST_F(CInputDevTest, TheExactNameIsWhatTheLayerIsAskedFor) {
  for (const char* name :
       {platform::kDesktopName, platform::kSystemSoundName, "my \"odd\"\nname"}) {
    CInputDev node(false, name, 0, 0, AV_PIX_FMT_RGB24);
    node.Start();
    EXPECT_EQ(m_layer.Opened().back(), name);
  }
}
