// The keyboard on the preview, and the pointer over it.
#include <gtest/gtest.h>

#include <QCursor>
#include <QKeyEvent>
#include <QTest>

#include "PreviewRig.h"

namespace {

using support::Numbers;

class PreviewKeys : public support::PreviewMouse {
 protected:
  void Key(Qt::Key key, Qt::KeyboardModifiers with = Qt::NoModifier) {
    QTest::keyClick(window.ui.m_renderWgt, key, with);
  }
  // A key as the system sends it; whether somebody took it.
  bool SendKey(Qt::Key key, bool isHeld) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, QString(), isHeld);
    QApplication::sendEvent(window.ui.m_renderWgt, &event);
    return event.isAccepted();
  }
  Qt::CursorShape Pointer() const { return window.cursor().shape(); }
};

// Counts how often a widget is painted.
class Paints : public QObject {
 public:
  explicit Paints(QObject* watched) { watched->installEventFilter(this); }
  bool eventFilter(QObject* /*watched*/, QEvent* event) override {
    count += event->type() == QEvent::Paint ? 1 : 0;
    return false;
  }
  int count = 0;
};

TEST_F(PreviewKeys, AnArrowMovesTheSelectedLayerByAPixelAndWithShiftByTen) {
  AddLayer({400, 200, 640, 360});
  AddLayer({0, 0, 640, 360});
  render.selectedLayer = 0;
  Key(Qt::Key_Right);
  EXPECT_EQ(RectOf(0), (Numbers{401, 200, 640, 360}));
  Key(Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(RectOf(0), (Numbers{401, 210, 640, 360}));
  Key(Qt::Key_Left, Qt::ShiftModifier);
  Key(Qt::Key_Up);
  EXPECT_EQ(RectOf(0), (Numbers{391, 209, 640, 360}));
  Key(Qt::Key_Left, Qt::ControlModifier);
  EXPECT_EQ(RectOf(0), (Numbers{391, 209, 640, 360}));
  EXPECT_EQ(RectOf(1), (Numbers{0, 0, 640, 360}));
}

TEST_F(PreviewKeys, AnArrowLeavesAnEdgeThatADragWouldSnapTo) {
  AddLayer({0, 0, 1920, 1080});
  render.selectedLayer = 0;
  Key(Qt::Key_Left);
  EXPECT_EQ(RectOf(0), (Numbers{-1, 0, 1920, 1080}));
  Key(Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(RectOf(0), (Numbers{-1, 10, 1920, 1080}));
}

TEST_F(PreviewKeys, AnArrowGoesNoFurtherThanADrag) {
  AddLayer({1919, 0, 640, 360});
  render.selectedLayer = 0;
  Key(Qt::Key_Right);
  Key(Qt::Key_Right);
  EXPECT_EQ(RectOf(0), (Numbers{1920, 0, 640, 360}));
  Key(Qt::Key_Left);
  EXPECT_EQ(RectOf(0), (Numbers{1919, 0, 640, 360}));
}

TEST_F(PreviewKeys, AHeldArrowGoesOn) {
  AddLayer({400, 200, 640, 360});
  render.selectedLayer = 0;
  EXPECT_TRUE(SendKey(Qt::Key_Right, false));
  EXPECT_TRUE(SendKey(Qt::Key_Right, true));
  EXPECT_TRUE(SendKey(Qt::Key_Right, true));
  EXPECT_EQ(RectOf(0), (Numbers{403, 200, 640, 360}));
}

// A key that means nothing here is the window's.
TEST_F(PreviewKeys, WithNothingSelectedAnArrowIsLeftToOthers) {
  AddLayer({400, 200, 640, 360});
  EXPECT_FALSE(SendKey(Qt::Key_Right, false));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 640, 360}));
  render.selectedLayer = 7;  // has gone
  EXPECT_FALSE(SendKey(Qt::Key_Right, false));
  render.selectedLayer = 0;
  EXPECT_FALSE(SendKey(Qt::Key_F5, false));
  EXPECT_FALSE(SendKey(Qt::Key_Delete, true)) << "a held Delete asks once";
}

TEST_F(PreviewKeys, SpaceAndEnterSelectFromTheTopDownAndEscapeLetsGo) {
  AddLayer({0, 0, 640, 360});
  AddLayer({0, 0, 640, 360});
  AddLayer({0, 0, 640, 360});
  render.SwapLayers(0, 2);  // slot 0 is on top
  render.SetLayerHidden(1, true);
  Key(Qt::Key_Space);
  EXPECT_EQ(render.selectedLayer, 0);
  Key(Qt::Key_Return);
  EXPECT_EQ(render.selectedLayer, 2) << "not the hidden one";
  Key(Qt::Key_Enter);
  EXPECT_EQ(render.selectedLayer, 0);
  Key(Qt::Key_Escape);
  EXPECT_EQ(render.selectedLayer, -1);
}

TEST_F(PreviewKeys, WithoutALayerSpaceSelectsNone) {
  Key(Qt::Key_Space);
  EXPECT_EQ(render.selectedLayer, -1);
}

TEST_F(PreviewKeys, DuringADragTheKeyboardLeavesTheLayerToTheMouse) {
  AddLayer({400, 200, 640, 360});
  render.selectedLayer = 0;
  Press(On(300, 200));
  Move(On(350, 230));
  ASSERT_EQ(RectOf(0), (Numbers{500, 260, 640, 360}));
  Key(Qt::Key_Right);
  EXPECT_EQ(RectOf(0), (Numbers{500, 260, 640, 360}));
  Release(On(350, 230));
  Key(Qt::Key_Right);
  EXPECT_EQ(RectOf(0), (Numbers{501, 260, 640, 360}));
}

// A button that was pressed last would otherwise take the arrows for a walk through the bar.
TEST_F(PreviewKeys, APressOnThePreviewTakesTheKeyboardThere) {
  QApplication::setActiveWindow(&window);
  window.ui.m_AddTuC->setFocus();
  ASSERT_EQ(QApplication::focusWidget(), window.ui.m_AddTuC);
  Press(QPoint(300, 20));
  Release(QPoint(300, 20));
  EXPECT_EQ(QApplication::focusWidget(), window.ui.m_AddTuC) << "the title is no preview";
  Click(On(100, 100));
  EXPECT_EQ(QApplication::focusWidget(), window.ui.m_renderWgt);
}

// It would be black for a moment, over the picture.
TEST_F(PreviewKeys, TheKeyboardComesAndGoesWithoutPaintingThePreview) {
  QApplication::setActiveWindow(&window);
  QApplication::processEvents();
  Paints paints(window.ui.m_renderWgt);
  window.ui.m_renderWgt->setFocus();
  QApplication::processEvents();
  window.ui.m_AddTuC->setFocus();
  QApplication::processEvents();
  EXPECT_EQ(paints.count, 0);
}

TEST_F(PreviewKeys, ThePointerShowsWhatAPressWouldDo) {
  AddLayer({400, 200, 640, 360});  // 200, 100 to 520, 280
  Move(On(300, 200));
  EXPECT_EQ(Pointer(), Qt::ArrowCursor) << "only what is selected can be moved";
  Click(On(300, 200));
  EXPECT_EQ(Pointer(), Qt::SizeAllCursor) << "as soon as it is selected";
  for (const auto& [at, shape] :
       {std::pair(On(200, 100), Qt::SizeFDiagCursor), std::pair(On(300, 120), Qt::SizeAllCursor),
        std::pair(On(530, 290), Qt::SizeFDiagCursor), std::pair(On(700, 400), Qt::ArrowCursor),
        std::pair(On(300, 200), Qt::SizeAllCursor), std::pair(QPoint(300, 20), Qt::ArrowCursor)}) {
    Move(at);
    EXPECT_EQ(Pointer(), shape) << at.x() << " " << at.y();
  }
}

TEST_F(PreviewKeys, ThePointerKeepsItsShapeDuringADragAndLosesItBesideThePreview) {
  AddLayer({400, 200, 640, 360});
  render.selectedLayer = 0;
  Press(On(300, 200));
  Move(On(310, 210));
  Release(On(310, 210));
  EXPECT_EQ(Pointer(), Qt::SizeAllCursor);
  Press(On(310, 210));
  Move(On(930, 500));
  EXPECT_EQ(Pointer(), Qt::SizeAllCursor);
  Release(On(310, 210));
  QEvent leave(QEvent::Leave);
  QApplication::sendEvent(window.ui.m_renderWgt, &leave);
  EXPECT_EQ(Pointer(), Qt::ArrowCursor);
}

}  // namespace
