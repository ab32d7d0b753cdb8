#include "shell/LiveMonitor.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QToolTip>
#include <QWidget>
#include <algorithm>
#include <cstdlib>

#include "output/CEncoder.h"
#include "platform/CaptureLayer.h"
#include "sources/CInputDev.h"
#include "sources/CInputPic.h"
#include "support/FakeCaptureLayer.h"
#include "support/FakeClock.h"

namespace {

constexpr int kRgb24 = 2;

// A capture whose turns the test runs.
class Device : public CInputDev {
 public:
  Device(bool isAudio, const char* name) : CInputDev(isAudio, name, 0, 0, kRgb24) {}
  using CInputDev::CaptureTurn;
  using CInputDev::Open;
};

class LiveMonitorTest : public testing::Test {
 protected:
  void SetUp() override {
    m_systemSoundDevice = m_capture.AddMicrophone(platform::kSystemSoundName);
    m_systemSoundDevice->RunFree();
    m_monitor.AddTo(&m_bar, m_clockLabel);
    ASSERT_EQ(m_sound.Open(), 0);
  }

  QLabel* Label() { return m_window.findChild<QLabel*>(QStringLiteral("streamState")); }

  // A second of the broadcast, with or without sound from its device.
  void Second(bool sound = true) {
    if (sound) {
      m_systemSoundDevice->Give();
      m_sound.CaptureTurn();
    }
    m_clock.Advance(1000);
    m_monitor.Refresh();
  }

  support::FakeClock m_clock;
  support::FakeCaptureLayer m_capture;
  support::InstalledCaptureLayer m_installed{&m_capture};
  support::FakeDevice* m_systemSoundDevice = nullptr;
  Device m_sound{true, platform::kSystemSoundName};
  CEncoder m_encoderNode{960, 540};
  CInputDev* m_loopback = &m_sound;
  CInputDev* m_mic = nullptr;
  CMixOut* m_mixOut = nullptr;
  CEncoder* m_encoder = &m_encoderNode;
  shell::LayerNodes m_layers;
  QWidget m_window;
  QHBoxLayout m_bar{&m_window};
  QLabel* m_clockLabel = new QLabel(&m_window);
  shell::LiveMonitor m_monitor{{m_loopback, m_mic, m_mixOut, m_encoder}, m_layers};
};

TEST_F(LiveMonitorTest, TheLabelIsThereOnlyWhileItRuns) {
  EXPECT_TRUE(Label()->isHidden());
  m_monitor.Begin();
  EXPECT_FALSE(Label()->isHidden());
  m_monitor.End();
  EXPECT_TRUE(Label()->isHidden());
}

TEST_F(LiveMonitorTest, TheLabelSaysFromTheFirstMomentWhatIsWrong) {
  m_monitor.Begin();  // with an encoder that did not start
  EXPECT_EQ(Label()->text(), "编码器未能启动");
  EXPECT_TRUE(Label()->styleSheet().contains("#FF4949"));
  EXPECT_TRUE(Label()->toolTip().contains("状态：未启动"));
  EXPECT_EQ(Label()->accessibleName(), "编码器未能启动");
}

TEST_F(LiveMonitorTest, NamesSystemSoundThatFellSilentUntilItComesBack) {
  m_monitor.Begin();
  for (int second = 0; second < 5; ++second) {
    Second();
  }
  EXPECT_FALSE(Label()->accessibleName().contains("系统声音中断"));
  for (int second = 0; second < 3; ++second) {
    Second(false);
  }
  EXPECT_TRUE(Label()->accessibleName().contains("系统声音中断"));
  Second();
  EXPECT_FALSE(Label()->accessibleName().contains("系统声音中断"));
}

TEST_F(LiveMonitorTest, NamesAFrozenCameraAndDesktopAmongTheLayersAndNoPicture) {
  m_capture.AddCamera("<b>cam</b>");
  m_capture.AddCamera(platform::kDesktopName);
  Device camera(false, "<b>cam</b>");
  Device desktop(false, platform::kDesktopName);
  CInputPic picture("picture.png");
  ASSERT_EQ(camera.Open(), 0);
  ASSERT_EQ(desktop.Open(), 0);
  m_layers = {{0, &desktop}, {1, &camera}, {2, &picture}};
  m_monitor.Begin();
  for (int second = 0; second < 3; ++second) {
    Second();
  }
  EXPECT_TRUE(Label()->accessibleName().endsWith("桌面画面停止，摄像头“<b>cam</b>”画面停止"));
  // A name is no markup.
  EXPECT_EQ(Label()->textFormat(), Qt::PlainText);
  EXPECT_TRUE(Label()->toolTip().contains("&lt;b&gt;cam&lt;/b&gt;"));
}

TEST_F(LiveMonitorTest, SaysOfADesktopWhatItWaitsForAndWhyItEnded) {
  support::FakeDevice* screen = m_capture.AddCamera(platform::kDesktopName);
  screen->Ask();
  Device desktop(false, platform::kDesktopName);
  ASSERT_EQ(desktop.Open(), 0);
  m_layers = {{0, &desktop}};
  m_monitor.Begin();
  for (int second = 0; second < 3; ++second) {
    Second();
  }
  EXPECT_TRUE(Label()->accessibleName().endsWith("等待允许共享桌面"));
  screen->GiveError(AVERROR(EPERM), "<b>refused</b>");
  EXPECT_FALSE(desktop.CaptureTurn());
  Second();
  EXPECT_TRUE(Label()->accessibleName().endsWith("桌面打开失败"));
  EXPECT_TRUE(Label()->toolTip().contains("&lt;b&gt;refused&lt;/b&gt;"));
}

TEST_F(LiveMonitorTest, SaysOfASessionWithoutSharingWhatItLacks) {
  m_capture.AddCamera(platform::kDesktopName)->SetUnshared("no service: no session bus");
  Device desktop(false, platform::kDesktopName);
  ASSERT_EQ(desktop.Open(), -1);
  m_layers = {{0, &desktop}};
  m_monitor.Begin();
  for (int second = 0; second < 3; ++second) {
    Second();
  }
  EXPECT_TRUE(Label()->accessibleName().endsWith("没有屏幕共享服务 (xdg-desktop-portal)"));
  EXPECT_TRUE(Label()->toolTip().contains("no session bus"));
}

TEST_F(LiveMonitorTest, ALineThatIsTooLongIsCutAndWholeInTheTooltip) {
  const QString name(200, QLatin1Char('x'));
  m_capture.AddCamera(name.toStdString());
  Device camera(false, name.toUtf8().constData());
  m_layers = {{0, &camera}};
  m_monitor.Begin();
  for (int second = 0; second < 3; ++second) {
    Second();
  }
  EXPECT_TRUE(Label()->text().endsWith(QStringLiteral("…")));
  EXPECT_TRUE(Label()->toolTip().contains(name));
}

TEST_F(LiveMonitorTest, ADeviceThatNeverOpenedIsNotSaidToBeInterrupted) {
  m_capture.AddMicrophone("Speakers");
  Device shut(true, "Speakers");
  m_layers = {{0, &shut}};
  m_monitor.Begin();
  for (int second = 0; second < 4; ++second) {
    Second();
  }
  EXPECT_TRUE(Label()->text().endsWith("麦克风打开失败")) << Label()->text().toStdString();
}

TEST_F(LiveMonitorTest, AfterASuspendedMachineNothingIsSaidOfTheTimeBefore) {
  m_monitor.Begin();
  for (int second = 0; second < 5; ++second) {
    Second();
  }
  m_clock.Advance(60000);
  m_monitor.Refresh();
  EXPECT_FALSE(Label()->accessibleName().contains("中断"));
  for (int second = 0; second < 3; ++second) {
    Second(false);
  }
  EXPECT_TRUE(Label()->accessibleName().contains("系统声音中断"));
}

TEST_F(LiveMonitorTest, ATickAfterTheEndIsNoHarm) {
  m_monitor.Begin();
  m_monitor.End();
  m_encoder = nullptr;
  m_loopback = nullptr;
  m_monitor.Refresh();
  EXPECT_TRUE(Label()->isHidden());
}

// A colour's brightness, 0 to 255.
int Luma(const QColor& colour) {
  return (299 * colour.red() + 587 * colour.green() + 114 * colour.blue()) / 1000;
}

TEST_F(LiveMonitorTest, TheTipsAreReadWhateverTheColourOfTheLabel) {
  m_monitor.Begin();
  m_clockLabel->setStyleSheet("color:#B4BECC;");
  m_clockLabel->setToolTip("00:00:00");
  int tips = 0;
  for (QWidget* widget : {Label(), m_clockLabel}) {
    QToolTip::showText(QPoint(), widget->toolTip(), widget);
    for (QWidget* tip : QApplication::topLevelWidgets()) {
      if (!tip->inherits("QTipLabel") || !tip->isVisible()) {
        continue;
      }
      const QImage image = tip->grab().toImage();
      const int ground = Luma(image.pixelColor(3, 3));
      int most = 0;
      for (int i = 0; i < image.width() * image.height(); ++i) {
        const QColor pixel = image.pixelColor(i % image.width(), i / image.width());
        EXPECT_NE(pixel, QColor("#FF4949"));  // of the label, which is red now
        most = std::max(most, std::abs(Luma(pixel) - ground));
      }
      EXPECT_GT(most, 100);
      ++tips;
    }
    QToolTip::hideText();
    QApplication::processEvents();
  }
  EXPECT_EQ(tips, 2);
}

TEST_F(LiveMonitorTest, TheNextBroadcastBeginsAnew) {
  m_monitor.Begin();
  for (int second = 0; second < 4; ++second) {
    Second(false);
  }
  EXPECT_TRUE(Label()->accessibleName().contains("系统声音中断"));
  m_monitor.End();
  m_monitor.Begin();
  EXPECT_FALSE(Label()->accessibleName().contains("系统声音中断"));
}

}  // namespace
