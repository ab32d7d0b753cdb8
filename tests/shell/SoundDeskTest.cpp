#include "shell/SoundDesk.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QApplication>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/CMixOut.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CEncoder.h"
#include "platform/CaptureLayer.h"
#include "sources/CInputDev.h"
#include "sources/DeviceCatalogue.h"
#include "support/FakeCaptureLayer.h"
#include "support/FakeClock.h"
#include "support/RecordingNode.h"

namespace {

using platform::kSystemSoundName;

constexpr int kRgb24 = 2;
constexpr int kPatienceMs = 60000;

// A capture whose turns the test runs.
class Device : public CInputDev {
 public:
  explicit Device(const char* name) : CInputDev(true, name, 0, 0, kRgb24) {}
  using CInputDev::CaptureTurn;
  using CInputDev::Open;
};

class SoundDeskTest : public testing::Test {
 protected:
  void SetUp() override {
    DeviceCatalogue::Instance()->RefreshDevices();
    m_desk.AddTo(&m_bar, m_clockLabel);
  }
  void TearDown() override { m_desk.Close(); }

  SoundMeter* Meter() { return m_window.findChild<SoundMeter*>(QStringLiteral("soundMeter")); }
  bool Says(const char* words) { return Meter()->accessibleDescription().contains(words); }
  void Press(const char* name) {
    m_window.findChild<QAbstractButton*>(QLatin1String(name))->click();
  }
  void SetGain(const char* name, int db) {
    m_window.findChild<QAbstractSlider*>(QLatin1String(name))->setValue(db);
  }
  void Second() {
    m_clock->Advance(1000);
    m_desk.Refresh();
  }
  // Lets the event loop run until the condition holds; false after a long time.
  static bool Await(const std::function<bool()>& condition) {
    QElapsedTimer waited;
    waited.start();
    while (!condition()) {
      if (waited.elapsed() > kPatienceMs) {
        return false;
      }
      QApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
  }
  // Opens the list; answer is told the menu once it is open.
  void Offer(const std::function<void(QMenu*)>& answer) {
    bool answered = false;
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [&] {
      auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
      if (menu != nullptr && !answered) {
        answered = true;
        answer(menu);
        menu->close();
      }
    });
    hand.start(5);
    m_desk.OfferMicrophones();
    EXPECT_TRUE(answered);
  }
  static void Take(QMenu* menu, int entry) {
    menu->setActiveAction(menu->actions().at(entry));
    QTest::keyClick(menu, Qt::Key_Return);
  }
  // Without it where workers run: they would run its time away.
  std::optional<support::FakeClock> m_clock{std::in_place};
  support::FakeCaptureLayer m_capture;
  support::InstalledCaptureLayer m_installed{&m_capture};
  support::FakeDevice* m_system = m_capture.AddMicrophone(kSystemSoundName);
  support::FakeDevice* m_microphone = m_capture.AddMicrophone("Microphone");
  CInputDev* m_loopback = nullptr;
  CInputDev* m_mic = nullptr;
  CMixOut* m_mixOut = nullptr;
  CEncoder* m_encoder = nullptr;
  QWidget m_window;
  QHBoxLayout m_bar{&m_window};
  QLabel* m_clockLabel = new QLabel(&m_window);
  shell::SoundDesk m_desk{{m_loopback, m_mic, m_mixOut, m_encoder}};
};

TEST_F(SoundDeskTest, TheMeterShowsBeforeABroadcastWhatIsPlayedAndSaid) {
  EXPECT_TRUE(Meter()->isHidden());
  SetGain("gainMicrophone", -14);
  m_desk.Open();
  EXPECT_FALSE(Meter()->isHidden());
  m_system->Say(5);
  m_microphone->Say(5);
  Second();
  EXPECT_TRUE(Says("系统声音：峰值 -6 dBFS")) << Meter()->accessibleDescription().toStdString();
  EXPECT_TRUE(Says("麦克风：峰值 -20 dBFS")) << "as it would be sent";
  for (int second = 0; second < 4; ++second) {
    Second();
  }
  EXPECT_TRUE(Says("系统声音：无声"));
  EXPECT_TRUE(Says("麦克风：无声"));
}

TEST_F(SoundDeskTest, MovesTheMeterByItself) {
  m_clock.reset();
  m_system->RunFree();
  m_desk.Open();
  EXPECT_TRUE(Await([this] { return Says("系统声音：峰值 -6 dBFS"); }));
}

TEST_F(SoundDeskTest, TheDevicesAreABroadcastsWhileItRuns) {
  m_desk.Open();
  EXPECT_EQ(m_system->Listeners(), 1);
  EXPECT_EQ(m_microphone->Listeners(), 1);
  EXPECT_EQ(m_system->OpenCount() + m_microphone->OpenCount(), 0) << "only listened to";
  m_desk.LetGo();
  EXPECT_EQ(m_system->Listeners(), 0);
  EXPECT_EQ(m_microphone->Listeners(), 0);
  m_desk.BeginBroadcast("Microphone");
  EXPECT_EQ(m_system->Listeners(), 0);
  m_desk.EndBroadcast();
  EXPECT_EQ(m_system->Listeners(), 1);
  EXPECT_EQ(m_microphone->Listeners(), 1);
  m_desk.Close();
  EXPECT_EQ(m_system->Listeners(), 0);
  m_desk.EndBroadcast();
  EXPECT_EQ(m_system->Listeners(), 0) << "on the way out";
}

TEST_F(SoundDeskTest, WhileLiveItShowsWhatTheCapturesSend) {
  m_desk.Open();
  Device sound(kSystemSoundName);
  ASSERT_EQ(sound.Open(), 0);
  m_system->Give(3);
  for (int turn = 0; turn < 3; ++turn) {
    sound.CaptureTurn();
  }
  m_loopback = &sound;
  m_desk.LetGo();
  m_desk.BeginBroadcast("");
  EXPECT_TRUE(Says("麦克风：未接入"));
  Second();
  EXPECT_TRUE(Says("系统声音：峰值 -6 dBFS")) << Meter()->accessibleDescription().toStdString();
  for (int second = 0; second < 4; ++second) {
    Second();
  }
  EXPECT_TRUE(Says("系统声音：无声"));
}

TEST_F(SoundDeskTest, AMicrophoneThatDidNotOpenIsNotTakenForOneThatIsNotThere) {
  m_desk.Open();
  m_desk.LetGo();
  m_desk.BeginBroadcast("Microphone");
  EXPECT_TRUE(Says("麦克风：无法打开"));
  m_desk.EndBroadcast();
  m_desk.LetGo();
  m_desk.BeginBroadcast("");
  EXPECT_TRUE(Says("麦克风：未接入"));
}

// Without it the whole broadcast stands still, so it is not called silent. Before as while live.
TEST_F(SoundDeskTest, SystemSoundThatDidNotOpenIsNotTakenForSilence) {
  m_system->SetBusy(true);
  m_desk.Open();
  EXPECT_FALSE(Says("系统声音：无法打开")) << "it still may";
  m_clock->Advance(1001);
  m_desk.Refresh();
  EXPECT_TRUE(Says("系统声音：无法打开")) << Meter()->accessibleDescription().toStdString();
  Device shut(kSystemSoundName);
  m_loopback = &shut;
  m_desk.LetGo();
  m_desk.BeginBroadcast("");
  EXPECT_FALSE(Says("系统声音：无法打开"));
  m_clock->Advance(1001);
  m_desk.Refresh();
  EXPECT_TRUE(Says("系统声音：无法打开"));
  m_system->SetBusy(false);
  ASSERT_EQ(0, shut.Open());
  Second();
  EXPECT_FALSE(Says("系统声音：无法打开"));
}

TEST_F(SoundDeskTest, AfterASuspendedMachineTheTimeBeforeIsNoSilence) {
  m_desk.Open();
  m_clock->Advance(60000);
  m_desk.Refresh();
  EXPECT_FALSE(Says("无声"));
}

int Peak(support::RecordingNode* recorder, int index = 0) {
  int peak = 0;
  while (AVFrame* taken = recorder->TakeAudio(index)) {
    const ffmpeg::ScopedFrame frame(taken);
    const auto* samples = reinterpret_cast<const std::int16_t*>(frame->data[0]);
    for (int i = 0; i < 2 * frame->nb_samples; ++i) {
      peak = std::max(peak, std::abs(static_cast<int>(samples[i])));
    }
  }
  return peak;
}

TEST_F(SoundDeskTest, MuteAndGainAreTheCapturesAtOnce) {
  support::RecordingNode recorder;
  Device sound(kSystemSoundName);
  sound.AddAudioOutput(&recorder);
  ASSERT_EQ(sound.Open(), 0);
  const auto give = [&] {
    m_system->Give(3);
    for (int turn = 0; turn < 3; ++turn) {
      sound.CaptureTurn();
    }
  };
  // What comes of three blocks, once the ramp is over.
  const auto peak = [&] {
    give();
    Peak(&recorder);
    give();
    return Peak(&recorder);
  };
  m_loopback = &sound;
  m_desk.Open();
  m_desk.LetGo();
  m_desk.BeginBroadcast("");
  EXPECT_NEAR(peak(), 16384, 20);
  Press("muteSystemSound");
  EXPECT_EQ(peak(), 0);
  Second();
  EXPECT_TRUE(Says("系统声音：峰值 -6 dBFS，有效值 -9 dBFS，已静音"))
      << Meter()->accessibleDescription().toStdString();
  Press("muteSystemSound");
  SetGain("gainSystemSound", -20);
  EXPECT_NEAR(peak(), 1638, 5);
}

TEST_F(SoundDeskTest, MuteAndGainAreKeptThroughBroadcasts) {
  m_desk.Open();
  m_desk.ToggleMicrophone();
  SetGain("gainSystemSound", 3);
  for (int broadcast = 0; broadcast < 2; ++broadcast) {
    EXPECT_TRUE(m_desk.Mix(SoundMeter::kMicrophone).muted);
    EXPECT_EQ(m_desk.Mix(SoundMeter::kMicrophone).gainDb, 0);
    EXPECT_FALSE(m_desk.Mix(SoundMeter::kSystemSound).muted);
    EXPECT_EQ(m_desk.Mix(SoundMeter::kSystemSound).gainDb, 3);
    m_desk.LetGo();
    m_desk.BeginBroadcast("Microphone");
    m_desk.EndBroadcast();
  }
  m_desk.ToggleMicrophone();
  EXPECT_FALSE(m_desk.Mix(SoundMeter::kMicrophone).muted);
}

TEST_F(SoundDeskTest, AnotherMicrophoneIsListenedToAndTakenByTheNextBroadcast) {
  support::FakeDevice* second = m_capture.AddMicrophone("Second");
  EXPECT_EQ(m_desk.Microphone(), "Microphone");
  m_desk.Open();
  m_desk.Choose("Second");
  EXPECT_EQ(m_microphone->Listeners(), 0);
  EXPECT_EQ(second->Listeners(), 1);
  EXPECT_EQ(m_desk.Microphone(), "Second");
  second->Say(5);
  Second();
  EXPECT_TRUE(Says("麦克风：峰值 -6 dBFS"));
  second->Unplug();
  DeviceCatalogue::Instance()->RefreshDevices();
  EXPECT_EQ(m_desk.Microphone(), "Second") << "no other is put in its place";
}

// The chooser of cameras asks for all devices anew.
TEST_F(SoundDeskTest, WithoutAChoiceItListensToTheOneThatABroadcastWouldHave) {
  m_clock.reset();
  m_desk.Open();
  support::FakeDevice* second = m_capture.AddMicrophone("Second");
  m_microphone->Unplug();
  DeviceCatalogue::Instance()->RefreshDevices();
  EXPECT_EQ(m_desk.Microphone(), "Second");
  EXPECT_TRUE(Await([&] { return second->Listeners() == 1; }));
  EXPECT_EQ(m_microphone->Listeners(), 0);
}

TEST_F(SoundDeskTest, TheListHasWhatIsThereNowAndMarksTheOneInUse) {
  m_clock.reset();
  m_desk.Open();
  support::FakeDevice* later = m_capture.AddMicrophone("R&B\nlater");
  m_capture.AddMicrophone("gone")->Unplug();
  Offer([&](QMenu* menu) {
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_EQ(menu->actions().at(0)->text(), "Microphone");
    EXPECT_TRUE(menu->actions().at(0)->isChecked());
    EXPECT_EQ(menu->actions().at(1)->text(), "R&&B later");
    EXPECT_FALSE(menu->actions().at(1)->isChecked());
    Take(menu, 1);
  });
  EXPECT_EQ(m_desk.Microphone(), later->Name());
  EXPECT_EQ(later->Listeners(), 1);
  Offer([&](QMenu* menu) {
    EXPECT_TRUE(menu->actions().at(1)->isChecked());
    QTest::keyClick(menu, Qt::Key_Escape);
  });
  EXPECT_EQ(m_desk.Microphone(), later->Name());
}

TEST_F(SoundDeskTest, AListWithoutAMicrophoneSaysSo) {
  m_clock.reset();
  m_desk.Open();
  m_microphone->Unplug();
  Offer([&](QMenu* menu) {
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().at(0)->text(), "没有麦克风");
    EXPECT_FALSE(menu->actions().at(0)->isEnabled());
    QTest::keyClick(menu, Qt::Key_Escape);
  });
}

TEST_F(SoundDeskTest, WhileLiveTheCaptureGoesOnWithAnotherMicrophone) {
  m_clock.reset();
  support::FakeDevice* second = m_capture.AddMicrophone("Second");
  m_microphone->RunFree();
  second->RunFree();
  CInputDev mic(true, "Microphone", 0, 0, kRgb24);
  ASSERT_EQ(mic.Start(), 0);
  m_mic = &mic;
  m_desk.Open();
  m_desk.LetGo();
  m_desk.BeginBroadcast("Microphone");
  m_desk.Choose("nobody's");
  EXPECT_EQ(mic.DeviceName(), "Microphone") << "it stays with the former";
  EXPECT_EQ(m_desk.Microphone(), "Microphone");
  m_desk.Choose("Microphone");
  EXPECT_EQ(m_microphone->OpenCount(), 1) << "which it has";
  m_desk.Choose("Second");
  EXPECT_EQ(mic.DeviceName(), "Second");
  EXPECT_EQ(m_desk.Microphone(), "Second");
  EXPECT_TRUE(Await([this] { return Says("麦克风：峰值 -6 dBFS"); }));
  m_mic = nullptr;
  mic.Stop();
  m_desk.EndBroadcast();
  EXPECT_EQ(second->Listeners(), 1);
}

TEST_F(SoundDeskTest, WhileLiveTheFirstMicrophoneIsTakenIn) {
  m_clock.reset();
  m_system->RunFree();
  m_microphone->RunFree();
  CInputDev sound(true, kSystemSoundName, 0, 0, kRgb24);
  CEncoder encoder(960, 540);
  ASSERT_EQ(sound.Start(), 0);
  sound.AddAudioOutput(&encoder);
  m_loopback = &sound;
  m_encoder = &encoder;
  m_desk.Open();
  m_desk.ToggleMicrophone();
  m_desk.LetGo();
  m_desk.BeginBroadcast("");
  EXPECT_TRUE(Says("麦克风：未接入"));
  m_desk.Choose("Microphone");
  ASSERT_NE(m_mic, nullptr);
  ASSERT_NE(m_mixOut, nullptr);
  EXPECT_TRUE(Await([this] { return Says("麦克风：峰值 -6 dBFS"); }));
  support::RecordingNode recorder(2);
  m_mic->AddAudioOutput(&recorder);
  EXPECT_TRUE(Await([&] { return recorder.AudioCount(1) > 5; }));
  EXPECT_EQ(Peak(&recorder, 1), 0) << "muted before it came";
  m_mic->RemoveAudioOutput(&recorder);
  sound.Stop();
  m_mic->Stop();
  m_mixOut->Stop();
  delete m_mic;
  delete m_mixOut;
  m_mic = nullptr;
  m_mixOut = nullptr;
  m_loopback = nullptr;
  m_desk.EndBroadcast();
}

}  // namespace
