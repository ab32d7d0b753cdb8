#include <gtest/gtest.h>

#include <QImage>
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

TEST(SoundMeter, TheBarReachesAsFarAsTheRms) {
  SoundMeter meter;
  MeterState state;
  state.peak = -21;
  state.rms = -30;
  state.hold = -21;
  meter.SetRow(SoundMeter::kSystemSound, state);
  const int bar = meter.width() - 56 - 36;
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
}

}  // namespace
