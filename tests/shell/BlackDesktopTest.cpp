// What the operator is told of a desktop that is black, from the screen to the label.
#include <gtest/gtest.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QWidget>

#include "output/CEncoder.h"
#include "platform/CaptureLayer.h"
#include "shell/LiveMonitor.h"
#include "sources/CInputDev.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

namespace {

constexpr int kPatienceMs = 60000;

TEST(BlackDesktop, IsNamedBesideTheClockUntilItShowsSomething) {
  support::VirtualDesktop screen;
  support::DesktopOptions small;
  small.width = 640;
  small.height = 480;
  ASSERT_TRUE(screen.Start(small)) << screen.Output();
  CInputDev desktop(false, platform::kDesktopName, 640, 480, AV_PIX_FMT_RGB24);
  ASSERT_EQ(desktop.Start(), 0);

  CEncoder encoderNode(640, 480);
  CInputDev* none = nullptr;
  CMixOut* noMix = nullptr;
  CEncoder* encoder = &encoderNode;
  const shell::LayerNodes layers{{0, &desktop}};
  QWidget bar;
  QHBoxLayout layout(&bar);
  shell::LiveMonitor monitor({none, none, noMix, encoder}, layers);
  monitor.AddTo(&layout, new QLabel(&bar));
  const auto* label = bar.findChild<QLabel*>(QStringLiteral("streamState"));
  monitor.Begin();
  const auto named = [&] {
    monitor.Refresh();
    return label->accessibleName().contains(QStringLiteral("桌面画面停止"));
  };
  EXPECT_FALSE(named());
  EXPECT_TRUE(support::WaitFor(named, kPatienceMs));
  support::TestWindow window;
  ASSERT_TRUE(window.Open(screen.Display()));
  EXPECT_TRUE(support::WaitFor([&] { return !named(); }, kPatienceMs));
  monitor.End();
  EXPECT_EQ(desktop.Stop(), 0);
}

}  // namespace
