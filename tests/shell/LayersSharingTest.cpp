// Layers of a screen and of windows where the system asks the operator what may be captured.
#include "shell/LayersFixture.h"
#include "sources/CWndCapture.h"

namespace {

class LayersSharing : public Layers {
 protected:
  bool Fails(int row, const QString& cause) {
    return SpinUntil([&] { return window->Failure(row) == cause; });
  }
};

// The desktop.

TEST_F(LayersSharing, TheDesktopWaitsForTheOperatorInAnOrdinaryRow) {
  desk->Ask();
  Open();
  EXPECT_EQ(window->Rows(), QStringList({"全屏桌面"}));
  EXPECT_EQ(window->Failure(0), "");
  EXPECT_EQ(answers.TakeKinds(), QStringList());
  desk->Allow();
  EXPECT_TRUE(Shows(0));
  EXPECT_EQ(window->Failure(0), "");
}

TEST_F(LayersSharing, ARefusedDesktopIsGreyWithTheCauseAndCanBeAskedForAgain) {
  desk->Ask();
  Open();
  desk->GiveError(AVERROR(EPERM), "the sharing was refused");
  EXPECT_TRUE(Fails(0, "the sharing was refused"));
  window->SlotDeleteItem(0);
  desk->Allow();
  window->SlotAddDesk();
  EXPECT_EQ(window->Failure(0), "");
  EXPECT_TRUE(Shows(window->Order().front()));
}

TEST_F(LayersSharing, ADesktopWhoseSharingIsEndedIsGreyWithTheCauseAndCanBeAddedAgain) {
  Open();
  ASSERT_TRUE(Shows(0));
  desk->GiveError(AVERROR_EOF, "the desktop has ended the sharing");
  EXPECT_TRUE(Fails(0, "the desktop has ended the sharing"));
  window->SlotDeleteItem(0);
  window->SlotAddDesk();
  EXPECT_EQ(window->Failure(0), "");
  EXPECT_TRUE(Shows(window->Order().front()));
}

TEST_F(LayersSharing, ASessionThatSharesNoScreenHasAGreyDesktopWithTheCauseAndNoNotice) {
  desk->SetUnshared("没有屏幕共享服务 (xdg-desktop-portal): no session bus");
  Open();
  EXPECT_EQ(window->Rows(), QStringList({"全屏桌面"}));
  EXPECT_EQ(window->Failure(0), "没有屏幕共享服务 (xdg-desktop-portal): no session bus");
  EXPECT_NE(Log().find("没有屏幕共享服务"), std::string::npos);
  EXPECT_EQ(answers.TakeKinds(), QStringList());
}

// Windows.

TEST_F(LayersSharing, AWindowThatTheSystemAsksForIsListedAtOnceAndShownWhenItIsPicked) {
  windows.SetPicker();
  const platform::WindowHandle handle = windows.Add("picked", {320, 240}, 0x112233);
  OpenEmpty();
  window->m_WndMenu.show();
  window->SlotAddWindow();
  EXPECT_FALSE(window->m_WndMenu.isVisible());
  EXPECT_EQ(answers.TakeKinds(), QStringList()) << "the system asks, not the program";
  EXPECT_EQ(window->Rows(), QStringList({"窗口捕获"}));
  EXPECT_EQ(window->Failure(0), "");
  const int slot = window->Order().front();
  EXPECT_NE(dynamic_cast<CWndCapture*>(window->NodeAt(slot)), nullptr);
  windows.Pick(handle);
  ASSERT_TRUE(Shows(slot));
  int width = 0;
  int height = 0;
  window->m_render->GetLayerNaturalSize(slot, &width, &height);
  EXPECT_EQ(QSize(width, height), QSize(320, 240));
}

TEST_F(LayersSharing, AWindowThatIsNotPickedIsGreyWithTheCause) {
  windows.SetPicker();
  OpenEmpty();
  window->SlotAddWindow();
  windows.Refuse("the sharing was refused");
  EXPECT_TRUE(Fails(0, "the sharing was refused"));
}

TEST_F(LayersSharing, AWindowThatIsSharedNoMoreKeepsItsRowAndSaysWhy) {
  windows.SetPicker();
  windows.Pick(windows.Add("picked", {320, 240}, 0x112233));
  OpenEmpty();
  window->SlotAddWindow();
  ASSERT_TRUE(Shows(window->Order().front()));
  windows.Refuse("the desktop has ended the sharing");
  EXPECT_TRUE(Fails(0, "the desktop has ended the sharing"));
  EXPECT_EQ(window->Rows(), QStringList({"窗口捕获"}));
}

TEST_F(LayersSharing, ALayerThatWaitsForTheOperatorIsDeletedLikeAnyOther) {
  windows.SetPicker();
  desk->Ask();
  Open();
  window->SlotAddWindow();
  window->SlotDeleteItem(0);
  window->SlotDeleteItem(0);
  EXPECT_TRUE(window->m_layers.empty());
  EXPECT_FALSE(desk->IsOpen());
}

TEST_F(LayersSharing, AnEleventhWindowGetsTheNoticeBeforeTheSystemAsks) {
  windows.SetPicker();
  OpenEmpty();
  for (int layer = 0; layer < 10; ++layer) {
    AddText("text");
  }
  answers.TakeKinds();
  window->SlotAddWindow();
  EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg"}));
  EXPECT_EQ(windows.OpenCount(), 0);
}

}  // namespace
