#include "widgets/RecordSwitch.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <cstdlib>

namespace {

using Look = RecordSwitch::Look;

constexpr QRgb kRed = 0xFF4949;
constexpr QRgb kDim = 0x5A5F66;
constexpr int kDotMiddle = 9;

// Round edges are a little softer.
bool IsNear(QRgb seen, QRgb colour) {
  constexpr int kSoft = 12;
  return std::abs(qRed(seen) - qRed(colour)) < kSoft &&
         std::abs(qGreen(seen) - qGreen(colour)) < kSoft &&
         std::abs(qBlue(seen) - qBlue(colour)) < kSoft;
}

// In the dot.
bool IsThere(RecordSwitch* button, QRgb colour) {
  const QImage image = button->grab().toImage();
  for (int x = 0; x < kDotMiddle * 2; ++x) {
    if (IsNear(image.pixel(x, image.height() / 2), colour)) {
      return true;
    }
  }
  return false;
}

QRgb Middle(RecordSwitch* button) {
  const QImage image = button->grab().toImage().convertToFormat(QImage::Format_RGB32);
  return image.pixel(kDotMiddle, image.height() / 2) & 0xFFFFFF;
}

TEST(RecordSwitch, IsAGreyRingThenARedOneAndFullWhileItRecords) {
  RecordSwitch button;
  EXPECT_TRUE(IsThere(&button, kDim));
  EXPECT_NE(Middle(&button), kDim);
  button.Show(Look::kWaiting);
  EXPECT_TRUE(IsThere(&button, kRed));
  EXPECT_NE(Middle(&button), kRed);
  button.Show(Look::kOn);
  EXPECT_EQ(Middle(&button), kRed);
  button.Show(Look::kOff);
  EXPECT_FALSE(IsThere(&button, kRed));
}

// A screen reader toggles a control that can be checked without a click.
TEST(RecordSwitch, TellsEveryPressAndNothingElse) {
  RecordSwitch button;
  const QSignalSpy told(&button, &RecordSwitch::toggled);
  button.Show(Look::kOn);
  button.Show(Look::kOff);
  EXPECT_EQ(told.count(), 0);
  QTest::mouseClick(&button, Qt::LeftButton);
  EXPECT_EQ(told.count(), 1);
  EXPECT_TRUE(told.last().first().toBool());
  button.Show(Look::kWaiting);
  QTest::keyClick(&button, Qt::Key_Space);
  EXPECT_EQ(told.count(), 2);
  EXPECT_FALSE(told.last().first().toBool());
  QAccessible::queryAccessibleInterface(&button)->actionInterface()->doAction(
      QAccessibleActionInterface::toggleAction());
  EXPECT_EQ(told.count(), 3);
}

TEST(RecordSwitch, SpeaksToScreenReaders) {
  RecordSwitch button;
  button.Explain(QStringLiteral("正在录制\n<b>12:34</b>"));
  const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(&button);
  EXPECT_EQ(spoken->text(QAccessible::Name), "录制");
  EXPECT_EQ(spoken->role(), QAccessible::CheckBox);
  EXPECT_EQ(spoken->text(QAccessible::Description), "正在录制");
  EXPECT_FALSE(spoken->state().checked);
  button.Show(Look::kOn);
  EXPECT_TRUE(spoken->state().checked);
  EXPECT_TRUE(button.toolTip().contains("&lt;b&gt;12:34"));
}

TEST(RecordSwitch, TheMouseLeavesTheKeyboardWhereItIs) {
  EXPECT_EQ(RecordSwitch().focusPolicy(), Qt::TabFocus);
}

}  // namespace
