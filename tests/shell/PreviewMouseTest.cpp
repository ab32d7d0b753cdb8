// Choosing, moving and resizing a layer, and dragging the window.
#include <gtest/gtest.h>

#include <QLoggingCategory>

#include "PreviewRig.h"

namespace {

using support::Numbers;
using support::PreviewMouse;

QStringList messages;

void KeepMessage(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
  messages << text;
}

TEST_F(PreviewMouse, RepeatedClicksOnTwoOverlappingLayersAlternateFromTheTopOne) {
  AddLayer({0, 0, 1920, 1080});
  AddLayer({400, 200, 800, 450});
  for (const int wanted : {1, 0, 1}) {
    Click(On(300, 200));
    EXPECT_EQ(render.selectedLayer, wanted);
  }
}

TEST_F(PreviewMouse, APressChangesNothingTheReleaseSelects) {
  AddLayer({0, 0, 1920, 1080});
  EXPECT_TRUE(Press(On(100, 100)));
  EXPECT_EQ(render.selectedLayer, -1);
  EXPECT_FALSE(Release(On(100, 100)));
  EXPECT_EQ(render.selectedLayer, 0);
}

TEST_F(PreviewMouse, AClickBesideEveryLayerKeepsTheSelection) {
  AddLayer({400, 200, 800, 450});
  Click(On(300, 200));
  Click(On(10, 10));
  EXPECT_EQ(render.selectedLayer, 0);
}

TEST_F(PreviewMouse, AClickOutsideThePreviewClearsTheSelection) {
  AddLayer({0, 0, 1920, 1080});
  for (const QPoint& outside : {QPoint(300, 20), On(-3, 100), On(961, 100), On(100, 541)}) {
    render.selectedLayer = 0;
    Click(outside);
    EXPECT_EQ(render.selectedLayer, -1) << outside.x() << " " << outside.y();
  }
  // Both far edges belong to it.
  render.selectedLayer = -1;
  Click(On(960, 540));
  EXPECT_EQ(render.selectedLayer, 0);
}

TEST_F(PreviewMouse, AHiddenLayerIsNotHit) {
  AddLayer({0, 0, 1920, 1080});
  AddLayer({0, 0, 1920, 1080});
  render.SetLayerHidden(1, true);
  Click(On(100, 100));
  EXPECT_EQ(render.selectedLayer, 0);
  Click(On(100, 100));
  EXPECT_EQ(render.selectedLayer, 0);
}

TEST_F(PreviewMouse, AfterADeletionOfTheSelectedLayerTheNextClickSelectsAnother) {
  AddLayer({0, 0, 1920, 1080});
  AddLayer({0, 0, 1920, 1080});
  render.selectedLayer = 1;
  render.RemoveLayer(1);
  // A drag of what is gone harms nobody.
  Drag(On(100, 100), On(200, 150));
  EXPECT_EQ(render.selectedLayer, 1);
  EXPECT_EQ(RectOf(0), (Numbers{0, 0, 1920, 1080}));
  Click(On(100, 100));
  EXPECT_EQ(render.selectedLayer, 0);
}

TEST_F(PreviewMouse, AJitterOfOnePixelIsADragAndRunsNoHitTest) {
  AddLayer({0, 0, 1920, 1080});
  AddLayer({0, 0, 1920, 1080});
  render.selectedLayer = 1;
  Drag(On(300, 200), On(301, 200));
  EXPECT_EQ(render.selectedLayer, 1);
  EXPECT_EQ(RectOf(1), (Numbers{0, 0, 1920, 1080}));
  Click(On(300, 200));
  EXPECT_EQ(render.selectedLayer, 0);
}

TEST_F(PreviewMouse, WithNoSelectionADragDoesNothingAndItsReleaseSelects) {
  AddLayer({400, 200, 800, 450});
  EXPECT_TRUE(Press(On(300, 200)));
  EXPECT_TRUE(Move(On(350, 250)));
  Release(On(350, 250));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450}));
  EXPECT_EQ(render.selectedLayer, 0);
}

TEST_F(PreviewMouse, AFullLayerDraggedLeftByLessThan21PixelsGoesBackToTheEdge) {
  AddLayer({0, 0, 1920, 1080});
  render.selectedLayer = 0;
  Press(On(300, 200));
  Move(On(290, 200));
  EXPECT_EQ(RectOf(0), (Numbers{-20, 0, 1920, 1080}));
  Release(On(290, 200));
  EXPECT_EQ(RectOf(0), (Numbers{0, 0, 1920, 1080}));
}

TEST_F(PreviewMouse, AMoveFollowsTheMouseAndPassesTheEventOn) {
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 0;
  EXPECT_TRUE(Press(On(300, 200)));
  EXPECT_FALSE(Move(On(350, 230)));
  EXPECT_EQ(RectOf(0), (Numbers{500, 260, 800, 450}));
  EXPECT_TRUE(Release(On(360, 240)));
  EXPECT_EQ(RectOf(0), (Numbers{520, 280, 800, 450}));
}

TEST_F(PreviewMouse, AStepOfLessThan13ScenePixelsIsNotAppliedUntilTheRelease) {
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 0;
  Press(On(300, 200));
  Move(On(306, 206));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450}));
  Move(On(307, 200));
  EXPECT_EQ(RectOf(0), (Numbers{414, 200, 800, 450}));
  Release(On(308, 200));
  EXPECT_EQ(RectOf(0), (Numbers{416, 200, 800, 450}));
}

TEST_F(PreviewMouse, EachStepOfAMoveInsideTheBoundsIsNoted) {
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 0;
  Press(On(300, 200));
  messages.clear();
  QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, true);
  const QtMessageHandler former = qInstallMessageHandler(KeepMessage);
  Move(On(301, 200));
  Move(On(320, 210));
  Move(On(300 + 900, 200));
  qInstallMessageHandler(former);
  EXPECT_EQ(messages,
            (QStringList{"------------------------------ xNew = 402, yNew = 200 ---------",
                         "------------------------------ xNew = 440, yNew = 220 ---------"}));
  Release(On(300, 200));
}

TEST_F(PreviewMouse, AButtonReleasedOutsideTheWindowEndsTheDrag) {
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 0;
  Press(On(300, 200));
  Move(On(-200, -300));
  // Left by -400 and up by -550 it still touches the scene; further steps are dropped.
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450}));
  Move(On(-200, 0));
  EXPECT_EQ(RectOf(0), (Numbers{-600, -200, 800, 450}));
  Release(On(-2000, 5000));
  EXPECT_FALSE(window.m_leftDown);
  const Numbers left = RectOf(0);
  // The mouse that comes back drags nothing.
  Move(On(100, 100));
  EXPECT_EQ(RectOf(0), left);
}

TEST_F(PreviewMouse, AReleaseThatADialogSwallowedDragsNothing) {
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 0;
  Press(On(300, 200));
  held = Qt::NoButton;
  Move(On(400, 300));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450}));
  Press(QPoint(300, 20));
  held = Qt::NoButton;
  const QPoint place = window.pos();
  Move(QPoint(360, 60));
  EXPECT_EQ(window.pos(), place);
}

TEST_F(PreviewMouse, APressMoreThan19PixelsBelowThePreviewStartsNothing) {
  AddLayer({400, 800, 800, 450});
  render.selectedLayer = 0;
  Press(On(300, 560));
  Move(On(300, 500));
  Release(On(300, 500));
  EXPECT_EQ(RectOf(0), (Numbers{400, 800, 800, 450}));
  Drag(On(300, 559), On(300, 499));
  EXPECT_EQ(RectOf(0), (Numbers{400, 680, 800, 450}));
}

// Where a press reaches no layer: the title row's lower half, the gap above the preview, and the
// edges of the window.
TEST_F(PreviewMouse, ADragThatBeganBesideThePreviewLeavesTheSelectedLayerAlone) {
  AddLayer({400, 200, 800, 450});
  const QPoint beside[] = {QPoint(600, 40), QPoint(600, preview.y() - 1), QPoint(3, 300),
                           QPoint(window.width() - 3, 300), QPoint(600, 3)};
  for (const QPoint& at : beside) {
    // A click selects: what was pressed on before is older than the selection.
    render.selectedLayer = -1;
    Click(On(300, 200));
    ASSERT_EQ(render.selectedLayer, 0);
    Drag(at, at + QPoint(1, 0));
    EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450})) << at.x() << " " << at.y();
    // And behind a drag, whose press is no longer true either.
    Drag(On(300, 200), On(320, 200));
    Drag(On(320, 200), On(300, 200));
    ASSERT_EQ(RectOf(0), (Numbers{400, 200, 800, 450}));
    Drag(at, at + QPoint(30, 30));
    EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450})) << at.x() << " " << at.y();
    // The drag is over: a click selects as ever.
    render.selectedLayer = -1;
    Click(On(300, 200));
    EXPECT_EQ(render.selectedLayer, 0);
  }
}

TEST_F(PreviewMouse, ALayerIsNotPulledLargerThanAnySceneNeeds) {
  // As narrow as a dock, or as flat as a banner.
  AddLayer({0, 0, 48, 1080}, 48, 1080);
  render.selectedLayer = 0;
  Press(On(24, 540));
  Move(On(160, 540));
  EXPECT_EQ(RectOf(0), (Numbers{0, 0, 320, 7200}));
  Move(On(924, 540));
  EXPECT_EQ(RectOf(0), (Numbers{0, 0, 320, 7200}));
  Release(On(924, 540));
  EXPECT_EQ(RectOf(0), (Numbers{0, 0, 320, 7200}));
}

TEST_F(PreviewMouse, OutsideTheSelectedLayerNothingIsDragged) {
  AddLayer({0, 0, 1920, 1080});
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 1;
  Drag(On(100, 400), On(200, 450));
  EXPECT_EQ(RectOf(1), (Numbers{400, 200, 800, 450}));
  EXPECT_EQ(render.selectedLayer, 1);
}

TEST_F(PreviewMouse, APress19PixelsOutsideACornerGrabsIt) {
  AddLayer({400, 200, 640, 360});
  render.selectedLayer = 0;
  // The corners are at 200, 100 and 520, 280.
  Drag(On(181, 81), On(231, 81));
  EXPECT_EQ(RectOf(0), (Numbers{500, 256, 540, 304}));
  render.SetLayerRect(0, 400, 200, 640, 360);
  Drag(On(539, 299), On(589, 500));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 740, 416}));
  render.SetLayerRect(0, 400, 200, 640, 360);
  Drag(On(540, 299), On(589, 299));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 640, 360}));
}

TEST_F(PreviewMouse, AStepOfAResizeThatIsSmallInAllFourIsNotApplied) {
  AddLayer({400, 200, 640, 360});
  render.selectedLayer = 0;
  Press(On(520, 280));
  EXPECT_FALSE(Move(On(526, 280)));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 640, 360}));
  EXPECT_FALSE(Move(On(527, 280)));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 654, 367}));
  Release(On(526, 280));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 652, 366}));
}

TEST_F(PreviewMouse, ACornerNearTheEdgeSnaps) {
  AddLayer({400, 200, 640, 360});
  render.selectedLayer = 0;
  Drag(On(200, 100), On(5, 100));
  // Dragged to 10, -20, it slides onto the left edge, which is the nearer one.
  EXPECT_EQ(RectOf(0), (Numbers{0, -25, 1030, 580}));
  render.SetLayerRect(0, 400, 200, 640, 360);
  Drag(On(520, 280), On(955, 280));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 1520, 855}));
}

TEST_F(PreviewMouse, AResizeToNothingEndsAtNothingAndCanBeTakenBack) {
  AddLayer({400, 200, 640, 360});
  render.selectedLayer = 0;
  Press(On(520, 280));
  Move(On(200, 280));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 0, 0}));
  Move(On(100, 280));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 0, 0}));
  // Through the opposite corner it stays where the last step put it.
  Release(On(100, 280));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 0, 0}));
  Move(On(100, 300));
  // The next picture gives it its own size again.
  render.Feed(0, support::NewPicture(640, 360, support::kRed));
  render.ScaleTurn();
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 640, 360}));
  Drag(On(520, 280), On(620, 280));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 840, 472}));
}

TEST_F(PreviewMouse, AResizeThatEndsOutOfRangeLeavesTheLastStep) {
  AddLayer({1500, 200, 640, 360});
  render.selectedLayer = 0;
  Press(On(750, 100));
  Move(On(940, 100));
  EXPECT_EQ(RectOf(0), (Numbers{1880, 413, 260, 147}));
  Release(On(965, 100));
  EXPECT_EQ(RectOf(0), (Numbers{1880, 413, 260, 147}));
  // The next move, with the button up, forgets it; a click then selects as ever.
  Move(On(400, 100));
  AddLayer({0, 0, 1920, 1080});
  Click(On(100, 100));
  EXPECT_EQ(render.selectedLayer, 1);
}

TEST_F(PreviewMouse, AWindowDragBehindARefusedResizeDoesNotEndThatResizeAgain) {
  AddLayer({1500, 200, 640, 360});
  render.selectedLayer = 0;
  Press(On(750, 100));
  Move(On(940, 100));
  Release(On(965, 100));
  // Straight to the title, whose labels report no moves.
  Press(QPoint(300, 20));
  Move(QPoint(320, 20));
  Release(QPoint(300, 20));
  EXPECT_EQ(RectOf(0), (Numbers{1880, 413, 260, 147}));
  const QPoint place = window.pos();
  Move(QPoint(400, 300));
  EXPECT_EQ(window.pos(), place);
}

TEST_F(PreviewMouse, ALayerOfUnknownNaturalSizeIsResizedByItsWidthAndNotSnapped) {
  AddUnknown({400, 200, 640, 100});
  render.selectedLayer = 0;
  // 10 short of the right edge.
  Drag(On(520, 150), On(955, 400));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 1510, 100}));
}

TEST_F(PreviewMouse, ALargerPreviewCountsItsOwnPixels) {
  SetPreview(QSize(1552, 873));
  QApplication::processEvents();
  preview = window.ui.m_renderWgt->pos();
  AddLayer({400, 200, 640, 360});
  Click(On(323 + 10, 161 + 10));
  EXPECT_EQ(render.selectedLayer, 0);
  // 100 pixels are 123 of the scene.
  Drag(On(500, 300), On(600, 400));
  EXPECT_EQ(RectOf(0), (Numbers{523, 323, 640, 360}));
  // The corner, at 940, 552.
  Drag(On(940, 552), On(1040, 552));
  EXPECT_EQ(RectOf(0), (Numbers{523, 323, 763, 429}));
}

TEST_F(PreviewMouse, APressAtTheEdgeOfTheWindowDoesNothing) {
  const int width = window.width();
  for (const auto& [at, taken] :
       {std::pair(QPoint(4, 20), false), std::pair(QPoint(5, 20), true),
        std::pair(QPoint(300, 4), false), std::pair(QPoint(300, 5), true),
        std::pair(QPoint(width - 4, 20), false), std::pair(QPoint(width - 5, 20), true)}) {
    const QPoint place = window.pos();
    EXPECT_EQ(Press(at), taken) << at.x() << " " << at.y();
    Move(at + QPoint(30, 10));
    EXPECT_EQ(window.pos() - place, taken ? QPoint(30, 10) : QPoint(0, 0)) << at.x();
    Release(at);
    window.move(place);
  }
}

TEST_F(PreviewMouse, TheTitleAreaDragsTheWindowAndNotTheLayer) {
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 0;
  const QPoint place = window.pos();
  Press(QPoint(300, 39));
  EXPECT_TRUE(Move(QPoint(310, 44)));
  EXPECT_EQ(window.pos(), place + QPoint(10, 5));
  Move(QPoint(300, 39));
  EXPECT_EQ(window.pos(), place + QPoint(10, 5));
  Move(QPoint(-20, 39));
  EXPECT_EQ(window.pos(), place + QPoint(-310, 5));
  Release(QPoint(-20, 39));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450}));
  Move(QPoint(200, 200));
  EXPECT_EQ(window.pos(), place + QPoint(-310, 5));
  // Below the title nothing is dragged.
  Press(QPoint(300, 40));
  Move(QPoint(330, 60));
  EXPECT_EQ(window.pos(), place + QPoint(-310, 5));
  Release(QPoint(330, 60));
}

TEST_F(PreviewMouse, AnotherButtonDragsNeitherTheWindowNorALayer) {
  AddLayer({400, 200, 800, 450});
  render.selectedLayer = 0;
  const QPoint place = window.pos();
  Press(QPoint(300, 20), Qt::MiddleButton);
  Move(QPoint(330, 30));
  Release(QPoint(330, 30), Qt::MiddleButton);
  EXPECT_EQ(window.pos(), place);
  render.selectedLayer = 0;
  Press(On(300, 200), Qt::RightButton);
  Move(On(350, 250));
  EXPECT_EQ(RectOf(0), (Numbers{400, 200, 800, 450}));
  Release(On(350, 250), Qt::RightButton);
}

TEST_F(PreviewMouse, APressClosesBothMenusWhateverTheButton) {
  for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton}) {
    window.m_TuCMenu.popup(window.pos());
    window.m_WndMenu.popup(window.pos());
    Press(On(300, 200), button);
    EXPECT_FALSE(window.m_TuCMenu.isVisible());
    EXPECT_FALSE(window.m_WndMenu.isVisible());
    Release(On(300, 200), button);
  }
  window.m_TuCMenu.popup(window.pos());
  Press(On(300, 200), Qt::MiddleButton);
  EXPECT_TRUE(window.m_TuCMenu.isVisible());
  Release(On(300, 200), Qt::MiddleButton);
  window.m_TuCMenu.close();
}

TEST_F(PreviewMouse, OnlyThePressOnTheButtonsAreaAtTheWindowsOwnOriginLeavesItsMenuOpen) {
  window.m_TuCMenu.popup(window.pos());
  window.m_WndMenu.popup(window.pos());
  Press(QPoint(20, 20));
  EXPECT_TRUE(window.m_TuCMenu.isVisible());
  EXPECT_TRUE(window.m_WndMenu.isVisible());
  Release(QPoint(20, 20));
  Press(QPoint(45, 20));
  EXPECT_FALSE(window.m_TuCMenu.isVisible());
  EXPECT_FALSE(window.m_WndMenu.isVisible());
  Release(QPoint(45, 20));
}

TEST_F(PreviewMouse, AMoveClosesTheTipAndKeepsItsFlag) {
  window.m_tip.show();
  window.m_tipShown = true;
  Move(On(100, 100));
  EXPECT_FALSE(window.m_tip.isVisible());
  EXPECT_TRUE(window.m_tipShown);
}

}  // namespace
