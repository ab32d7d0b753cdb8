#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QAccessible>
#include <QApplication>
#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <algorithm>
#include <optional>

#include "widgets/MeterRules.h"
#include "widgets/MeterTurns.h"
#include "widgets/SoundMeter.h"

namespace {

using support::Pass;
using support::Tone;
using widgets::MeterState;

// How many pixels in the bar of a row have that colour.
int Coloured(SoundMeter* meter, int row, QRgb colour) {
  const QImage image = meter->grab().toImage().convertToFormat(QImage::Format_RGB32);
  const int y = (meter->height() - 32) / 2 + row * 16 + 8;
  int count = 0;
  for (int x = 0; x < image.width(); ++x) {
    count += (image.pixel(x, y) & 0xFFFFFF) == (colour & 0xFFFFFF) ? 1 : 0;
  }
  return count;
}

constexpr QRgb kGreen = 0x13CE66;
constexpr QRgb kRed = 0xFF4949;
constexpr QRgb kGrey = 0x878E99;

TEST(SoundMeter, TheBarReachesAsFarAsTheRms) {
  SoundMeter meter;
  MeterState state;
  state.peak = -21;
  state.rms = -30;
  state.hold = -21;
  meter.SetRow(SoundMeter::kSystemSound, state);
  const int bar = meter.width() - 56 - 42 - 36;
  EXPECT_EQ(Coloured(&meter, 0, kGreen), bar / 2);
  EXPECT_EQ(Coloured(&meter, 1, kGreen), 0);
}

TEST(SoundMeter, ALoudPeakTurnsItRed) {
  SoundMeter meter;
  MeterState state;
  state.peak = state.hold = -3;
  state.rms = -15;
  meter.SetRow(SoundMeter::kMicrophone, state);
  EXPECT_GT(Coloured(&meter, 1, kRed), 0);
  EXPECT_EQ(Coloured(&meter, 1, kGreen), 0);
}

TEST(SoundMeter, SaysToScreenReadersWhatItShows) {
  SoundMeter meter;
  EXPECT_EQ(meter.accessibleName(), "音量");
  meter.SetRow(SoundMeter::kSystemSound, Pass({}, Tone(0.5), 3));
  meter.SetRow(SoundMeter::kMicrophone, std::nullopt);
  meter.Announce();
  EXPECT_EQ(meter.accessibleDescription(),
            "系统声音：峰值 -6 dBFS，有效值 -9 dBFS\n麦克风：未接入");
  EXPECT_EQ(meter.toolTip(), meter.accessibleDescription());
}

// Whether anything in the figure's place has that colour's hue and strength.
bool FigureStandsOut(SoundMeter* meter, int row) {
  const QImage image = meter->grab().toImage();
  const int top = (meter->height() - 32) / 2 + row * 16;
  for (int y = top; y < top + 16; ++y) {
    for (int x = image.width() - 36; x < image.width(); ++x) {
      const QColor colour = image.pixelColor(x, y);
      if (colour.red() > 200 && colour.blue() < 100) {
        return true;
      }
    }
  }
  return false;
}

TEST(SoundMeter, ADeviceThatDidNotOpenStandsOutAndOneThatIsNotThereDoesNot) {
  SoundMeter meter;
  EXPECT_FALSE(FigureStandsOut(&meter, 1));
  meter.SetRefused(SoundMeter::kMicrophone, true);
  EXPECT_TRUE(FigureStandsOut(&meter, 1));
  meter.Announce();
  EXPECT_EQ(meter.toolTip(), "系统声音：未接入\n麦克风：无法打开");
  meter.SetRow(SoundMeter::kMicrophone, Pass({}, Tone(0.5), 1));
  EXPECT_FALSE(FigureStandsOut(&meter, 1)) << "it is there after all";
}

TEST(SoundMeter, SilenceStandsOutWhenItIsNoPauseOfASpeechAnyMore) {
  SoundMeter meter;
  meter.SetRow(SoundMeter::kSystemSound, Pass({}, {}, 14));
  EXPECT_FALSE(FigureStandsOut(&meter, 0));
  meter.SetRow(SoundMeter::kSystemSound, Pass({}, {}, 16));
  EXPECT_TRUE(FigureStandsOut(&meter, 0));
}

TEST(SoundMeter, ChangesWithoutRepaintingWhatLiesBehind) {
  SoundMeter meter;
  EXPECT_TRUE(meter.testAttribute(Qt::WA_OpaquePaintEvent));
  for (const QWidget* control : meter.Controls()) {
    EXPECT_TRUE(control->testAttribute(Qt::WA_OpaquePaintEvent));
  }
}

QAbstractButton* Button(const SoundMeter& meter, const char* name) {
  return meter.findChild<QAbstractButton*>(QLatin1String(name));
}

QAbstractSlider* Bar(const SoundMeter& meter, const char* name) {
  return meter.findChild<QAbstractSlider*>(QLatin1String(name));
}

// How many pixels of a row's name are as red as an alarm.
int Reddened(SoundMeter* meter, int row) {
  const QImage image = meter->grab().toImage();
  const int top = (meter->height() - 32) / 2 + row * 16;
  int count = 0;
  for (int y = top; y < top + 16; ++y) {
    for (int x = 0; x < 38; ++x) {
      const QColor colour = image.pixelColor(x, y);
      count += colour.red() > 200 && colour.green() < 100 ? 1 : 0;
    }
  }
  return count;
}

// The longest unbroken line of the alarm's colour in a row's name.
int LongestRedLine(SoundMeter* meter, int row) {
  const QImage image = meter->grab().toImage();
  const int top = (meter->height() - 32) / 2 + row * 16;
  int longest = 0;
  for (int y = top; y < top + 16; ++y) {
    int length = 0;
    for (int x = 0; x < 38; ++x) {
      const QColor colour = image.pixelColor(x, y);
      length = colour.red() > 150 && colour.green() < 100 ? length + 1 : 0;
      longest = std::max(longest, length);
    }
  }
  return longest;
}

TEST(SoundMeter, APressOnANameMutesItAndAnotherTakesItBack) {
  SoundMeter meter;
  meter.SetRow(SoundMeter::kMicrophone, Pass({}, Tone(0.05), 3));
  ASSERT_GT(Coloured(&meter, 1, kGreen), 0);
  EXPECT_EQ(Reddened(&meter, 1), 0);
  const QSignalSpy changes(&meter, &SoundMeter::mixChanged);
  QTest::mouseClick(Button(meter, "muteMicrophone"), Qt::LeftButton);
  EXPECT_TRUE(meter.IsMuted(SoundMeter::kMicrophone));
  EXPECT_FALSE(meter.IsMuted(SoundMeter::kSystemSound));
  ASSERT_EQ(changes.size(), 1);
  EXPECT_EQ(changes.at(0).at(0).toInt(), SoundMeter::kMicrophone);
  EXPECT_GT(Reddened(&meter, 1), 10);
  EXPECT_GT(LongestRedLine(&meter, 1), 30) << "struck through";
  EXPECT_EQ(Reddened(&meter, 0), 0);
  EXPECT_EQ(Coloured(&meter, 1, kGreen), 0);
  EXPECT_GT(Coloured(&meter, 1, kGrey), 30) << "what would be sent";
  QTest::mouseClick(Button(meter, "muteMicrophone"), Qt::LeftButton);
  EXPECT_FALSE(meter.IsMuted(SoundMeter::kMicrophone));
  EXPECT_EQ(changes.size(), 2);
  EXPECT_EQ(Reddened(&meter, 1), 0);
  EXPECT_GT(Coloured(&meter, 1, kGreen), 0);
  meter.ToggleMute(SoundMeter::kSystemSound);
  EXPECT_TRUE(meter.IsMuted(SoundMeter::kSystemSound));
  EXPECT_GT(Reddened(&meter, 0), 10);
}

// Towards the user is less.
void TurnWheel(QWidget* widget, int delta) {
  const QPointF place(widget->rect().center());
  QWheelEvent event(place, widget->mapToGlobal(place.toPoint()), QPoint(), QPoint(0, delta),
                    Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
  QApplication::sendEvent(widget, &event);
  EXPECT_TRUE(event.isAccepted());
}

TEST(SoundMeter, TheWheelOverABarIsItsGain) {
  SoundMeter meter;
  const QSignalSpy changes(&meter, &SoundMeter::mixChanged);
  QAbstractSlider* bar = Bar(meter, "gainMicrophone");
  TurnWheel(bar, 240);
  EXPECT_EQ(meter.GainDb(SoundMeter::kMicrophone), 2);
  EXPECT_EQ(meter.GainDb(SoundMeter::kSystemSound), 0);
  EXPECT_EQ(changes.size(), 1);
  TurnWheel(bar, -360);
  EXPECT_EQ(meter.GainDb(SoundMeter::kMicrophone), -1);
  TurnWheel(bar, 60);
  EXPECT_EQ(meter.GainDb(SoundMeter::kMicrophone), -1);
  TurnWheel(bar, 60);
  EXPECT_EQ(meter.GainDb(SoundMeter::kMicrophone), 0);
  TurnWheel(bar, 100 * 120);
  EXPECT_EQ(meter.GainDb(SoundMeter::kMicrophone), 12);
  TurnWheel(bar, -100 * 120);
  EXPECT_EQ(meter.GainDb(SoundMeter::kMicrophone), -60);
}

TEST(SoundMeter, TheGainIsSeen) {
  SoundMeter meter;
  const QRect place(meter.width() - 36 - 42, 0, 42, meter.height());
  const QImage zero = meter.grab(place).toImage();
  Bar(meter, "gainMicrophone")->setValue(3);
  EXPECT_NE(meter.grab(place).toImage(), zero);
}

TEST(SoundMeter, TheKeyboardDoesAllOfIt) {
  SoundMeter meter;
  QAbstractSlider* bar = Bar(meter, "gainSystemSound");
  QTest::keyClick(bar, Qt::Key_Up);
  QTest::keyClick(bar, Qt::Key_Right);
  EXPECT_EQ(meter.GainDb(SoundMeter::kSystemSound), 2);
  QTest::keyClick(bar, Qt::Key_Down);
  EXPECT_EQ(meter.GainDb(SoundMeter::kSystemSound), 1);
  QTest::keyClick(Button(meter, "muteSystemSound"), Qt::Key_Space);
  EXPECT_TRUE(meter.IsMuted(SoundMeter::kSystemSound));
  const QSignalSpy wanted(&meter, &SoundMeter::microphonesWanted);
  QTest::keyClick(Button(meter, "microphones"), Qt::Key_Space);
  EXPECT_EQ(wanted.size(), 1);
}

TEST(SoundMeter, APressWithTheMouseLeavesTheKeyboardWhereItWas) {
  const SoundMeter meter;
  ASSERT_EQ(meter.Controls().size(), 5U);
  for (const QWidget* control : meter.Controls()) {
    EXPECT_EQ(control->focusPolicy(), Qt::TabFocus) << control->objectName().toStdString();
  }
}

TEST(SoundMeter, TheArrowAsksForTheMicrophonesAndItsTipNamesTheOneInUse) {
  SoundMeter meter;
  const QSignalSpy wanted(&meter, &SoundMeter::microphonesWanted);
  QAbstractButton* arrow = Button(meter, "microphones");
  QTest::mouseClick(arrow, Qt::LeftButton);
  EXPECT_EQ(wanted.size(), 1);
  EXPECT_TRUE(arrow->toolTip().contains("没有麦克风"));
  meter.SetMicrophone("<b>USB</b>");
  EXPECT_TRUE(arrow->toolTip().contains("&lt;b&gt;USB&lt;/b&gt;"));
  EXPECT_EQ(arrow->accessibleDescription(), "<b>USB</b>");
}

TEST(SoundMeter, EveryControlSaysWhatItIsAndHowItStands) {
  SoundMeter meter;
  const auto name = [](QWidget* control) {
    return QAccessible::queryAccessibleInterface(control)->text(QAccessible::Name);
  };
  QStringList names;
  for (QWidget* control : meter.Controls()) {
    names << name(control);
  }
  EXPECT_EQ(names.join(' '), "系统声音静音 系统声音增益 麦克风静音 选择麦克风 麦克风增益");
  QAbstractButton* mute = Button(meter, "muteMicrophone");
  EXPECT_TRUE(mute->toolTip().contains("麦克风：按一下静音（Ctrl+M）"));
  EXPECT_FALSE(QAccessible::queryAccessibleInterface(mute)->state().checked);
  meter.ToggleMute(SoundMeter::kMicrophone);
  EXPECT_TRUE(mute->toolTip().contains("麦克风已静音：按一下恢复（Ctrl+M）"));
  EXPECT_TRUE(QAccessible::queryAccessibleInterface(mute)->state().checked);
  QAbstractSlider* gain = Bar(meter, "gainMicrophone");
  gain->setValue(-12);
  ASSERT_NE(QAccessible::queryAccessibleInterface(gain)->valueInterface(), nullptr);
  EXPECT_EQ(QAccessible::queryAccessibleInterface(gain)->valueInterface()->currentValue().toInt(),
            -12);
  EXPECT_TRUE(gain->toolTip().contains("增益 -12 dB，用滚轮或方向键调节"));
  meter.SetRow(SoundMeter::kMicrophone, Pass({}, Tone(0.5), 3));
  meter.Announce();
  EXPECT_EQ(gain->accessibleDescription(),
            "麦克风：峰值 -6 dBFS，有效值 -9 dBFS，已静音，增益 -12 dB");
  EXPECT_EQ(meter.accessibleDescription(), "系统声音：未接入\n" + gain->accessibleDescription());
}

}  // namespace
