#include "sources/DeviceCatalogue.h"

#include <gtest/gtest.h>

#include <QAudioRecorder>
#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

#include "media/ffmpeg/Scoped.h"
#include "support/FakeCaptureLayer.h"
#include "support/Process.h"
#include "support/ProcessStats.h"

using ffmpeg::ScopedFrame;

namespace {

// What became of Qt's recorder, which is made on a thread of its own.
std::mutex g_mutex;  // guards the rest
std::condition_variable g_changed;
bool g_frozen = true;  // the sound server that Qt asks
bool g_cameBackWhileFrozen = false;
int g_made = 0;
int g_ended = 0;
int g_inputsRead = 0;
int g_defaultRead = 0;

void Count(int* what) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  ++*what;
  g_changed.notify_all();
}

template <typename Question>
bool Await(Question question) {
  std::unique_lock<std::mutex> lock(g_mutex);
  return g_changed.wait_for(lock, std::chrono::seconds(60), question);
}

class TitledWindows : public platform::WindowSystem {
 public:
  std::vector<platform::WindowInfo> List() override { return windows; }
  std::unique_ptr<platform::WindowGrabber> Open(platform::WindowHandle /*window*/) override {
    return nullptr;
  }
  std::vector<platform::WindowInfo> windows;
};

class DeviceCatalogueTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    s_application = new QCoreApplication(argc, argv);
    DeviceCatalogue::Instance();
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_cameBackWhileFrozen = g_made == 0;
    g_frozen = false;
    g_changed.notify_all();
  }
  static void TearDownTestSuite() { delete s_application; }

  static QCoreApplication* s_application;
  support::FakeCaptureLayer m_layer;
  support::InstalledCaptureLayer m_installed{&m_layer};
  DeviceCatalogue* m_catalogue = DeviceCatalogue::Instance();
};

QCoreApplication* DeviceCatalogueTest::s_application = nullptr;

bool AllBytes(const std::uint8_t* data, std::size_t count, int value) {
  for (std::size_t i = 0; i < count; ++i) {
    if (data[i] != value) {
      return false;
    }
  }
  return true;
}

}  // namespace

// Qt waits for its sound server without limit.
TEST_F(DeviceCatalogueTest, AFrozenSoundServerDoesNotHoldItUp) {
  EXPECT_TRUE(g_cameBackWhileFrozen);
}

// The sound inputs as Qt sees them are asked for once, while nothing is live yet.
TEST_F(DeviceCatalogueTest, KeepsTheRecorderThatWokeQtsMultimedia) {
  ASSERT_TRUE(Await([] { return g_defaultRead > 0; }));
  m_catalogue->RefreshDevices();
  // The thread could take it along, once it has asked all that it asks.
  ASSERT_TRUE(support::WaitFor([] { return !support::HasThread("qt-sound"); }, 60000));
  const std::lock_guard<std::mutex> lock(g_mutex);
  EXPECT_EQ(1, g_made);
  EXPECT_EQ(1, g_inputsRead);
  EXPECT_EQ(1, g_defaultRead);
  EXPECT_EQ(0, g_ended);
}

TEST_F(DeviceCatalogueTest, IsOneObjectWithItsDefaults) {
  EXPECT_EQ(DeviceCatalogue::Instance(), m_catalogue);
  EXPECT_EQ(m_catalogue->renderWidth, 1920);
  EXPECT_EQ(m_catalogue->renderHeight, 1080);
  EXPECT_EQ(m_catalogue->loggedIn, 0);
  EXPECT_TRUE(m_catalogue->userToken.isEmpty());
  EXPECT_TRUE(m_catalogue->userName.isEmpty());
  EXPECT_TRUE(m_catalogue->usedVideoDevices.empty());
}

TEST_F(DeviceCatalogueTest, WithoutDevicesOnlyTheFixedNamesAreListed) {
  m_catalogue->RefreshDevices();
  EXPECT_EQ(m_catalogue->AudioDevice(0), "virtual-audio-capturer");
  EXPECT_EQ(m_catalogue->VideoDevice(0), "screen-capture-recorder");
  EXPECT_TRUE(m_catalogue->AudioDevice(1).isEmpty());
  EXPECT_TRUE(m_catalogue->VideoDevice(1).isEmpty());
}

TEST_F(DeviceCatalogueTest, AnIndexOutsideOfTheListGivesAnEmptyName) {
  m_catalogue->RefreshDevices();
  for (const int index : {-1, 1, 1000}) {
    EXPECT_TRUE(m_catalogue->AudioDevice(index).isEmpty()) << index;
    EXPECT_TRUE(m_catalogue->VideoDevice(index).isEmpty()) << index;
  }
}

TEST_F(DeviceCatalogueTest, TheOnlyMicrophoneIsAtPositionOne) {
  m_layer.AddMicrophone("麦克风 (USB)");
  m_catalogue->RefreshDevices();
  EXPECT_EQ(m_catalogue->AudioDevice(1), QString::fromUtf8("麦克风 (USB)"));
  EXPECT_TRUE(m_catalogue->AudioDevice(2).isEmpty());
}

TEST_F(DeviceCatalogueTest, DevicesKeepTheOrderOfTheSystem) {
  m_layer.AddCamera("z");
  m_layer.AddCamera("a");
  m_catalogue->RefreshDevices();
  EXPECT_EQ(m_catalogue->VideoDevice(1), "z");
  EXPECT_EQ(m_catalogue->VideoDevice(2), "a");
}

TEST_F(DeviceCatalogueTest, DevicesNamedAroundAFixedNameAreDropped) {
  m_layer.AddMicrophone("my virtual-audio-capturer (2)");
  m_layer.AddMicrophone("real");
  m_layer.AddCamera("the screen-capture-recorder device");
  m_layer.AddCamera("camera");
  m_catalogue->RefreshDevices();
  EXPECT_EQ(m_catalogue->AudioDevice(1), "real");
  EXPECT_EQ(m_catalogue->VideoDevice(1), "camera");
}

TEST_F(DeviceCatalogueTest, RefreshRebuildsTheLists) {
  support::FakeDevice* camera = m_layer.AddCamera("camera");
  m_catalogue->RefreshDevices();
  m_catalogue->RefreshDevices();
  EXPECT_EQ(m_catalogue->VideoDevice(1), "camera");
  EXPECT_TRUE(m_catalogue->VideoDevice(2).isEmpty());
  camera->Unplug();
  m_catalogue->RefreshDevices();
  EXPECT_TRUE(m_catalogue->VideoDevice(1).isEmpty());
}

TEST_F(DeviceCatalogueTest, TheMicrophonesAreAskedForAnewAndTheListsStay) {
  support::FakeDevice* first = m_layer.AddMicrophone("first");
  m_catalogue->RefreshDevices();
  EXPECT_EQ(m_catalogue->Microphones(), std::vector<QString>{"first"});
  first->Unplug();
  m_layer.AddMicrophone("my virtual-audio-capturer (2)");
  m_layer.AddMicrophone("plugged in later");
  EXPECT_EQ(m_catalogue->Microphones(), std::vector<QString>{"plugged in later"});
  EXPECT_EQ(m_catalogue->AudioDevice(1), "first");
}

TEST_F(DeviceCatalogueTest, CopyReplacesWhatTheVectorHeld) {
  m_layer.AddCamera("camera");
  m_catalogue->RefreshDevices();
  std::vector<QString> names{"old", "older", "oldest"};
  m_catalogue->CopyVideoDevices(&names);
  EXPECT_EQ(names, (std::vector<QString>{"screen-capture-recorder", "camera"}));
}

TEST_F(DeviceCatalogueTest, BlankRgbIsBlackAndPacked) {
  for (const int width : {1920, 333}) {
    const int height = width == 1920 ? 1080 : 7;
    ScopedFrame frame(m_catalogue->NewBlankFrame(width, height, AV_PIX_FMT_RGB24));
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->linesize[0], width * 3);
    EXPECT_TRUE(AllBytes(frame->data[0], static_cast<std::size_t>(width * height) * 3, 0));
  }
}

TEST_F(DeviceCatalogueTest, BlankYuvIsBlack) {
  for (const int width : {1920, 33}) {
    const int height = width == 1920 ? 1080 : 7;
    ScopedFrame frame(m_catalogue->NewBlankFrame(width, height, AV_PIX_FMT_YUV420P));
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->linesize[0], width);
    EXPECT_EQ(frame->linesize[1], (width + 1) / 2);
    const auto chroma = static_cast<std::size_t>((width + 1) / 2 * ((height + 1) / 2));
    EXPECT_TRUE(AllBytes(frame->data[0], static_cast<std::size_t>(width * height), 0));
    EXPECT_TRUE(AllBytes(frame->data[1], chroma, 128));
    EXPECT_TRUE(AllBytes(frame->data[2], chroma, 128));
  }
}

TEST_F(DeviceCatalogueTest, AUsedCanvasComesBackBlack) {
  ScopedFrame used(m_catalogue->NewBlankFrame(1920, 1080, AV_PIX_FMT_RGB24));
  const std::uint8_t* buffer = used->data[0];
  std::memset(used->data[0], 255, 1920 * 1080 * 3);
  used.Reset();
  ScopedFrame again(m_catalogue->NewBlankFrame(1920, 1080, AV_PIX_FMT_RGB24));
  EXPECT_EQ(again->data[0], buffer) << "canvases are to be used again";
  EXPECT_TRUE(AllBytes(again->data[0], 1920 * 1080 * 3, 0));
}

TEST_F(DeviceCatalogueTest, OtherFormatsAreAllocatedAndImpossibleSizesAreNot) {
  ScopedFrame frame(m_catalogue->NewBlankFrame(16, 16, AV_PIX_FMT_BGRA));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->linesize[0], 64);
  EXPECT_EQ(m_catalogue->NewBlankFrame(0, 16, AV_PIX_FMT_RGB24), nullptr);
  EXPECT_EQ(m_catalogue->NewBlankFrame(16, -1, AV_PIX_FMT_RGB24), nullptr);
}

TEST_F(DeviceCatalogueTest, FramesAreMadeOnSeveralThreadsAtOnce) {
  std::atomic<int> wrong{0};
  const auto work = [&](AVPixelFormat format) {
    for (int i = 0; i < 20; ++i) {
      ScopedFrame frame(m_catalogue->NewBlankFrame(1920, 1080, format));
      if (!frame || frame->data[0][0] != 0) {
        ++wrong;
        continue;
      }
      frame->data[0][0] = 77;
    }
  };
  std::thread first(work, AV_PIX_FMT_RGB24);
  std::thread second(work, AV_PIX_FMT_RGB24);
  work(AV_PIX_FMT_YUV420P);
  first.join();
  second.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(DeviceCatalogueTest, SilenceIsSilentAndStamped) {
  ScopedFrame frame(m_catalogue->NewSilentFrame(2, 48000, 1024, AV_SAMPLE_FMT_S16, 4711));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->nb_samples, 1024);
  EXPECT_EQ(frame->sample_rate, 48000);
  EXPECT_EQ(frame->format, AV_SAMPLE_FMT_S16);
  EXPECT_EQ(frame->ch_layout.nb_channels, 2);
  EXPECT_EQ(frame->ch_layout.u.mask, static_cast<std::uint64_t>(AV_CH_LAYOUT_STEREO));
  EXPECT_EQ(frame->pts, 4711);
  EXPECT_EQ(frame->linesize[0], 4096);
  EXPECT_TRUE(AllBytes(frame->data[0], 4096, 0));
}

TEST_F(DeviceCatalogueTest, SilenceOfNoChannelsIsRefused) {
  EXPECT_EQ(m_catalogue->NewSilentFrame(0, 48000, 1024, AV_SAMPLE_FMT_S16, 0), nullptr);
}

TEST_F(DeviceCatalogueTest, WindowsAreListedByHandleWithTitlesOfAnyLength) {
  TitledWindows windows;
  const std::string longTitle(100000, 'x');
  windows.windows = {{900, "last"}, {20, longTitle}, {500, "画布 🎥"}, {30, ""}};
  platform::WindowSystem::Install(&windows);
  std::map<platform::WindowHandle, QString> listed{{1, "gone"}};
  m_catalogue->ListWindows(&listed);
  platform::WindowSystem::Install(nullptr);

  ASSERT_EQ(listed.size(), 3U);
  auto entry = listed.begin();
  EXPECT_EQ(entry->first, 20U);
  EXPECT_EQ(entry->second, QString::fromStdString(longTitle));
  ++entry;
  EXPECT_EQ(entry->second, QString::fromUtf8("画布 🎥"));
  ++entry;
  EXPECT_EQ(entry->first, 900U);
}

TEST_F(DeviceCatalogueTest, AResetPacketIsAsNew) {
  AVPacket* packet = av_packet_alloc();
  ASSERT_EQ(av_new_packet(packet, 100), 0);
  AVBufferRef* buffer = packet->buf;
  packet->pts = 5;
  packet->stream_index = 3;
  packet->flags = AV_PKT_FLAG_KEY;
  m_catalogue->ResetPacket(packet);
  EXPECT_EQ(packet->data, nullptr);
  EXPECT_EQ(packet->size, 0);
  EXPECT_EQ(packet->buf, nullptr);
  EXPECT_EQ(packet->pts, AV_NOPTS_VALUE);
  EXPECT_EQ(packet->dts, AV_NOPTS_VALUE);
  EXPECT_EQ(packet->pos, -1);
  EXPECT_EQ(packet->stream_index, 0);
  EXPECT_EQ(packet->flags, 0);
  av_buffer_unref(&buffer);
  av_packet_free(&packet);
}

// By the names under which the linker knows them.
extern "C" {
void __real__ZN14QAudioRecorderC1EP7QObject(QAudioRecorder* recorder, QObject* parent);
void __wrap__ZN14QAudioRecorderC1EP7QObject(QAudioRecorder* recorder, QObject* parent);
void __wrap__ZN14QAudioRecorderC1EP7QObject(QAudioRecorder* recorder, QObject* parent) {
  Await([] { return !g_frozen; });
  Count(&g_made);
  __real__ZN14QAudioRecorderC1EP7QObject(recorder, parent);
  QObject::connect(recorder, &QObject::destroyed, [] { Count(&g_ended); });
}
QStringList __real__ZNK14QAudioRecorder11audioInputsEv(const QAudioRecorder* recorder);
QStringList __wrap__ZNK14QAudioRecorder11audioInputsEv(const QAudioRecorder* recorder);
QStringList __wrap__ZNK14QAudioRecorder11audioInputsEv(const QAudioRecorder* recorder) {
  Count(&g_inputsRead);
  return __real__ZNK14QAudioRecorder11audioInputsEv(recorder);
}
QString __real__ZNK14QAudioRecorder17defaultAudioInputEv(const QAudioRecorder* recorder);
QString __wrap__ZNK14QAudioRecorder17defaultAudioInputEv(const QAudioRecorder* recorder);
QString __wrap__ZNK14QAudioRecorder17defaultAudioInputEv(const QAudioRecorder* recorder) {
  Count(&g_defaultRead);
  return __real__ZNK14QAudioRecorder17defaultAudioInputEv(recorder);
}
}
