// Maximising, and the preview that is fitted into the window.
#include <gtest/gtest.h>

#include <QScreen>
#include <vector>

#include "PreviewRig.h"

namespace {

class Emissions {
 public:
  Emissions() {
    m_connection = QObject::connect(CEvent::instance(), &CEvent::renderSize,
                                    [this](QSize& size) { sizes.push_back(size); });
  }
  ~Emissions() { QObject::disconnect(m_connection); }
  Emissions(const Emissions&) = delete;
  Emissions& operator=(const Emissions&) = delete;

  std::vector<QSize> sizes;

 private:
  QMetaObject::Connection m_connection;
};

class PreviewSize : public support::PreviewMouse {
 protected:
  void DoubleClick(const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
    Click(at);
    Send(QEvent::MouseButtonDblClick, at, button);
    Release(at, button);
    QApplication::processEvents();
  }
  QSize Shown() const { return window.ui.m_renderWgt->size(); }
  QRect Screen() const { return QGuiApplication::primaryScreen()->availableGeometry(); }
};

TEST_F(PreviewSize, ADoubleClickOnTheTitleTakesTheScreenAndComesBack) {
  const QRect normal(40, 30, 1280, 720);
  window.setGeometry(normal);
  DoubleClick(QPoint(300, 20));
  EXPECT_TRUE(window.m_maximised);
  EXPECT_EQ(window.m_normalRect, normal);
  EXPECT_EQ(window.pos(), Screen().topLeft());
  DoubleClick(QPoint(300, 20));
  EXPECT_FALSE(window.m_maximised);
  EXPECT_EQ(window.geometry(), normal);
}

TEST_F(PreviewSize, BackInTheNormalWindowADoubleClickFitsThe960x540OfItsBeginning) {
  window.setGeometry(0, 0, 1280, 720);
  SetPreview(QSize(2848, 1602));
  window.m_normalRect = QRect(0, 0, 1280, 720);
  window.m_maximised = true;
  window.setGeometry(0, 0, 2880, 1800);
  DoubleClick(QPoint(300, 20));
  EXPECT_EQ(window.size(), QSize(1280, 720));
  EXPECT_EQ(Shown(), QSize(960, 540));
}

TEST_F(PreviewSize, OnlyTheLeftButtonInTheTitleMaximises) {
  DoubleClick(QPoint(300, 20), Qt::RightButton);
  EXPECT_FALSE(window.m_maximised);
  DoubleClick(QPoint(300, 40));
  EXPECT_FALSE(window.m_maximised);
  DoubleClick(QPoint(300, 39));
  EXPECT_TRUE(window.m_maximised);
}

TEST_F(PreviewSize, TheFitTakesTheLargestPreviewThatLeaves28PixelsBelow) {
  window.setMinimumSize(0, 0);
  window.setGeometry(0, 0, 1900, 1000);
  QApplication::processEvents();
  DoubleClick(QPoint(300, 20));
  window.setGeometry(0, 0, 1900, 1000);
  const Emissions emissions;
  DoubleClick(QPoint(300, 20));
  const QRect middle = window.ui.middleLayout->geometry();
  ASSERT_EQ(emissions.sizes.size(), 1U);
  const QSize fitted = emissions.sizes[0];
  EXPECT_EQ(fitted.width() * 9, fitted.height() * 16);
  EXPECT_GE(fitted.width(), 960);
  EXPECT_LE(fitted.height(), middle.height() - 29);
  EXPECT_GT(fitted.height() + 9, middle.height() - 29);
  EXPECT_EQ(Shown(), fitted);
  EXPECT_EQ(window.ui.m_tabLayer->size(), QSize(290, fitted.height()));
}

TEST_F(PreviewSize, AMiddleAreaTooSmallForTheFitChangesNothing) {
  window.setMinimumSize(0, 0);
  for (const QSize& size : {QSize(900, 1000), QSize(1400, 500)}) {
    window.m_normalRect = QRect(QPoint(0, 0), size);
    window.m_maximised = true;
    const Emissions emissions;
    DoubleClick(QPoint(300, 20));
    EXPECT_FALSE(window.m_maximised);
    EXPECT_TRUE(emissions.sizes.empty()) << size.width();
    EXPECT_EQ(Shown(), QSize(960, 540));
  }
}

TEST_F(PreviewSize, TheButtonRestoresThePreviewTo960x540EvenIfItHadBeenFitted) {
  const QRect normal(0, 0, 1900, 1000);
  window.setGeometry(normal);
  window.ui.m_BtnMax->click();
  EXPECT_TRUE(window.m_maximised);
  EXPECT_EQ(window.m_normalRect, normal);
  SetPreview(QSize(1424, 801));
  const Emissions emissions;
  window.ui.m_BtnMax->click();
  EXPECT_FALSE(window.m_maximised);
  EXPECT_EQ(window.geometry(), normal);
  EXPECT_EQ(emissions.sizes, std::vector<QSize>{QSize(960, 540)});
  EXPECT_EQ(Shown(), QSize(960, 540));
}

TEST_F(PreviewSize, ADoubleClickRestoresToAFittedPreview) {
  window.setGeometry(0, 0, 1900, 1000);
  window.ui.m_BtnMax->click();
  const Emissions emissions;
  DoubleClick(QPoint(300, 20));
  EXPECT_FALSE(window.m_maximised);
  ASSERT_EQ(emissions.sizes.size(), 1U);
  EXPECT_GT(emissions.sizes[0].width(), 960);
}

}  // namespace
