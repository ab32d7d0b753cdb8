// What Ctrl+Z takes back in the main window, row, slot and node in step.
#include <QApplication>
#include <QMouseEvent>
#include <QTest>
#include <cstdio>

#include "shell/LayersFixture.h"
#include "sources/CInputPic.h"

namespace {

class LayersUndo : public Layers {
 protected:
  // Shown, without a layer and without a step.
  void Begin() {
    OpenEmpty();
    window->m_undo.Clear();
    window->show();
    QApplication::setActiveWindow(window.get());
    QApplication::processEvents();
  }
  QRect RectOf(int slot) {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    window->m_render->GetLayerRect(slot, &x, &y, &width, &height);
    return QRect(x, y, width, height);
  }
  bool Stands(int slot, const QRect& rect) {
    return SpinUntil([&] { return RectOf(slot) == rect; });
  }
  // Its first picture is there, and it is selected at that place.
  int AddSelectedPicture(const QRect& rect) {
    AddPicture(samples.Picture("p.png"));
    const int slot = window->Order().back();
    EXPECT_TRUE(Shows(slot));
    window->m_render->SetLayerRect(slot, rect.x(), rect.y(), rect.width(), rect.height());
    window->m_render->selectedLayer = slot;
    return slot;
  }
  void Mouse(QEvent::Type type, const QPoint& at, Qt::MouseButtons held) {
    const bool moves = type == QEvent::MouseMove;
    QMouseEvent event(type, at, at + window->pos(), moves ? Qt::NoButton : Qt::LeftButton, held,
                      Qt::NoModifier);
    QApplication::sendEvent(window.get(), &event);
  }
  // Both in the preview.
  void Drag(const QPoint& from, const QPoint& to) {
    const QPoint preview = window->ui.m_renderWgt->pos();
    Mouse(QEvent::MouseButtonPress, preview + from, Qt::LeftButton);
    Mouse(QEvent::MouseMove, preview + (from + to) / 2, Qt::LeftButton);
    Mouse(QEvent::MouseMove, preview + to, Qt::LeftButton);
    Mouse(QEvent::MouseButtonRelease, preview + to, Qt::NoButton);
  }
  void Key(Qt::Key key, Qt::KeyboardModifiers with = Qt::NoModifier) {
    QTest::keyClick(window->ui.m_renderWgt, key, with);
  }
};

TEST_F(LayersUndo, ADragIsOneStep) {
  Begin();
  const int slot = AddSelectedPicture({400, 200, 640, 480});
  Drag({300, 200}, {350, 230});
  ASSERT_EQ(RectOf(slot), QRect(500, 260, 640, 480));
  EXPECT_EQ(window->m_undo.Count(), 1U);
  window->Undo();
  EXPECT_EQ(RectOf(slot), QRect(400, 200, 640, 480));
  window->Undo();
  EXPECT_EQ(RectOf(slot), QRect(400, 200, 640, 480)) << "nothing is left";
}

TEST_F(LayersUndo, AResizeIsTakenBackWithItsSnap) {
  Begin();
  const int slot = AddSelectedPicture({400, 200, 640, 480});
  Drag({520, 340}, {955, 340});
  ASSERT_NE(RectOf(slot), QRect(400, 200, 640, 480));
  window->Undo();
  EXPECT_EQ(RectOf(slot), QRect(400, 200, 640, 480));
}

TEST_F(LayersUndo, AClickAndADragBackToItsPlaceAreNone) {
  Begin();
  AddSelectedPicture({400, 200, 640, 480});
  Drag({300, 200}, {300, 200});
  Drag({900, 500}, {800, 400});  // beside it
  EXPECT_EQ(window->m_undo.Count(), 0U);
}

// The release went to a dialog that had opened.
TEST_F(LayersUndo, ADragWhoseReleaseWasSwallowedIsAStepToo) {
  Begin();
  const int slot = AddSelectedPicture({400, 200, 640, 480});
  const QPoint preview = window->ui.m_renderWgt->pos();
  Mouse(QEvent::MouseButtonPress, preview + QPoint(300, 200), Qt::LeftButton);
  Mouse(QEvent::MouseMove, preview + QPoint(350, 230), Qt::LeftButton);
  Mouse(QEvent::MouseMove, preview + QPoint(10, 10), Qt::NoButton);
  ASSERT_EQ(RectOf(slot), QRect(500, 260, 640, 480));
  window->Undo();
  EXPECT_EQ(RectOf(slot), QRect(400, 200, 640, 480));
}

TEST_F(LayersUndo, EachPressOfAnArrowIsAStepAndAHeldOneIsOne) {
  Begin();
  const int slot = AddSelectedPicture({400, 200, 640, 480});
  Key(Qt::Key_Right);
  Key(Qt::Key_Right);
  for (const bool isHeld : {false, true, true}) {
    QKeyEvent event(QEvent::KeyPress, Qt::Key_Down, Qt::ShiftModifier, QString(), isHeld);
    QApplication::sendEvent(window->ui.m_renderWgt, &event);
  }
  ASSERT_EQ(RectOf(slot), QRect(402, 230, 640, 480));
  window->Undo();
  EXPECT_EQ(RectOf(slot), QRect(402, 200, 640, 480));
  window->Undo();
  EXPECT_EQ(RectOf(slot), QRect(401, 200, 640, 480));
  window->Undo();
  EXPECT_EQ(RectOf(slot), QRect(400, 200, 640, 480));
}

TEST_F(LayersUndo, TenStepsAreKept) {
  Begin();
  const int slot = AddSelectedPicture({400, 200, 640, 480});
  for (int step = 0; step < 12; ++step) {
    Key(Qt::Key_Right);
  }
  for (int step = 0; step < 20; ++step) {
    window->Undo();
  }
  EXPECT_EQ(RectOf(slot), QRect(402, 200, 640, 480));
}

TEST_F(LayersUndo, TwoRowsChangePlacesAgain) {
  Begin();
  for (const char* text : {"C", "B", "A"}) {
    AddText(text);
  }
  const Ints order = window->Order();
  window->ui.m_tabLayer->ExchangeRows(0, 2);
  ASSERT_EQ(window->Rows(), QStringList({"C", "B", "A"}));
  EXPECT_EQ(window->m_undo.Count(), 1U);
  window->Undo();
  EXPECT_EQ(window->Rows(), QStringList({"A", "B", "C"}));
  EXPECT_EQ(window->Order(), order);
  // Below the last row the list changes alone, which is nothing of a layer's.
  window->ui.m_tabLayer->ExchangeRows(0, -1);
  EXPECT_EQ(window->m_undo.Count(), 0U);
}

TEST_F(LayersUndo, AnEditedTextIsItsFormerSelf) {
  Begin();
  answers.color = 0xFF0000FF;
  AddText("before");
  const int slot = window->Order().front();
  const QRect place = RectOf(slot);
  answers.text = "after, and longer";
  answers.color = 0x0000FFFF;
  emit window->ui.m_tabLayer->editItem(0);
  ASSERT_EQ(window->Rows(), QStringList({"after, and longer"}));
  window->Undo();
  EXPECT_EQ(window->Rows(), QStringList({"before"}));
  EXPECT_EQ(window->m_book.Find(slot)->color, 0xFF0000FFU);
  EXPECT_EQ(RectOf(slot), place);
}

TEST_F(LayersUndo, AnEmptiedTextShowsAgain) {
  Begin();
  AddText("before");
  const int slot = window->Order().front();
  const QRect place = RectOf(slot);
  answers.text = "";
  emit window->ui.m_tabLayer->editItem(0);
  int unused = 0;
  ASSERT_EQ(window->m_render->GetLayerRect(slot, &unused, &unused, &unused, &unused), -1);
  window->Undo();
  EXPECT_EQ(RectOf(slot), place);
}

// Deletions.

TEST_F(LayersUndo, ADeletedLayerIsBackAtItsPlaceAndInItsOrder) {
  Begin();
  AddText("below");
  AddSelectedPicture({400, 200, 320, 240});
  AddText("above");
  window->SlotDeleteItem(1);
  ASSERT_EQ(window->Rows(), QStringList({"above", "below"}));
  window->Undo();
  EXPECT_EQ(window->Rows(), QStringList({"above", "图片", "below"}));
  const int back = window->Order()[1];
  EXPECT_NE(dynamic_cast<CInputPic*>(window->NodeAt(back)), nullptr);
  EXPECT_TRUE(Stands(back, {400, 200, 320, 240}));
  EXPECT_TRUE(window->Visible(1));
  int x = 0;
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(back, &x, &x, &x, &x), 0);
}

TEST_F(LayersUndo, ADeletedDeskAndCameraAreOpenAgain) {
  FakeDevice* camera = devices.AddCamera("Camera");
  camera->RunFree();
  Open();
  window->m_undo.Clear();
  ASSERT_TRUE(Shows(1));
  SpinUntil([&] { return RectOf(1).width() == 720; });
  const QRect corner = RectOf(1);
  window->SlotDeleteItem(0);
  window->SlotDeleteItem(0);
  ASSERT_FALSE(camera->IsOpen());
  ASSERT_FALSE(desk->IsOpen());
  window->Undo();
  EXPECT_TRUE(desk->IsOpen());
  window->Undo();
  EXPECT_TRUE(camera->IsOpen());
  EXPECT_EQ(window->Rows(), QStringList({"摄像头", "全屏桌面"}));
  EXPECT_TRUE(Stands(window->Order()[1], corner));
}

TEST_F(LayersUndo, OlderStepsOfADeletedLayerAreItsAgain) {
  Begin();
  AddSelectedPicture({400, 200, 320, 240});
  Key(Qt::Key_Right);
  AddText("takes a slot");
  window->SlotDeleteItem(1);
  AddText("takes the other one");
  window->Undo();
  ASSERT_EQ(window->Rows(), QStringList({"takes the other one", "takes a slot", "图片"}));
  const int back = window->Order()[0];
  ASSERT_TRUE(Stands(back, {401, 200, 320, 240}));
  window->Undo();
  EXPECT_EQ(RectOf(back), QRect(400, 200, 320, 240));
}

TEST_F(LayersUndo, ATextThatWasEditedComesBackWithLettersOfItsSize) {
  Begin();
  AddText("short");
  answers.text = "a text that is much longer";
  emit window->ui.m_tabLayer->editItem(0);
  const QRect before = RectOf(window->Order().front());
  window->SlotDeleteItem(0);
  window->Undo();
  ASSERT_EQ(window->Rows(), QStringList({"a text that is much longer"}));
  // The height follows from the width by what was measured.
  EXPECT_EQ(RectOf(window->Order().front()), before);
}

TEST_F(LayersUndo, WhatIsNoLongerThereIsNamedAndItsOlderStepsArePassedOver) {
  Begin();
  AddText("stays");
  answers.text = "edited";
  emit window->ui.m_tabLayer->editItem(0);
  const std::string path = samples.Picture("gone.png");
  AddPicture(path);
  const int slot = window->Order().back();
  ASSERT_TRUE(Shows(slot));
  window->m_render->selectedLayer = slot;
  Key(Qt::Key_Right);
  window->SlotDeleteItem(0);
  ASSERT_EQ(std::remove(path.c_str()), 0);
  answers.TakeKinds();
  window->Undo();
  EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg"}));
  EXPECT_EQ(answers.All().back().text, QString("已不存在，未能恢复：图片“gone.png”"));
  EXPECT_EQ(window->Rows(), QStringList({"edited"}));
  // The move was the picture's.
  window->Undo();
  EXPECT_EQ(window->Rows(), QStringList({"stays"}));
  EXPECT_EQ(answers.TakeKinds(), QStringList());
}

TEST_F(LayersUndo, ACameraThatIsGoneOrTakenDoesNotComeBack) {
  FakeDevice* camera = devices.AddCamera("Camera");
  camera->RunFree();
  Open();
  window->m_undo.Clear();
  window->SlotDeleteItem(0);
  window->SlotAddCamera();
  answers.TakeKinds();
  window->Undo();
  EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg"})) << "a layer has it";
  EXPECT_EQ(answers.All().back().text, QString("已不存在，未能恢复：摄像头“Camera”"));
  window->SlotDeleteItem(0);
  camera->Unplug();
  window->Undo();
  EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg"}));
  EXPECT_EQ(window->Rows(), QStringList({"全屏桌面"}));
}

TEST_F(LayersUndo, AtTenLayersADeletionWaitsForRoom) {
  Begin();
  for (int layer = 0; layer < 10; ++layer) {
    AddText(QString::number(layer));
  }
  window->SlotDeleteItem(9);
  AddText("in its place");
  answers.TakeKinds();
  window->Undo();
  EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg"}));
  EXPECT_EQ(window->Rows().size(), 10);
  EXPECT_EQ(window->m_undo.Count(), 1U);
}

TEST_F(LayersUndo, AWindowComesBackByItsHandleWhateverItIsCalledNow) {
  const platform::WindowHandle filmed = windows.Add("one title", {320, 240}, 0x112233);
  windows.Add("another", {320, 240}, 0x445566);
  Begin();
  window->SlotAddWindow();
  ASSERT_TRUE(Shows(window->Order().front()));
  window->SlotDeleteItem(0);
  windows.SetTitle(filmed, "another title");
  window->Undo();
  EXPECT_EQ(window->Rows(), QStringList({"one title"}));
  EXPECT_EQ(window->m_book.Find(window->Order().front())->window, filmed);
  EXPECT_TRUE(Shows(window->Order().front()));
}

// The keyboard.

TEST_F(LayersUndo, ControlZTakesBackWhereverTheKeyboardIs) {
  Begin();
  AddText("A");
  for (QWidget* focus :
       {static_cast<QWidget*>(window->ui.m_renderWgt), window->ui.m_tabLayer->Keys(),
        static_cast<QWidget*>(window->ui.m_chooseBtn)}) {
    answers.text = "B";
    emit window->ui.m_tabLayer->editItem(0);
    ASSERT_EQ(window->Rows(), QStringList({"B"}));
    QApplication::setActiveWindow(window.get());
    focus->setFocus();
    QTest::keyClick(focus, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(window->Rows(), QStringList({"A"})) << focus->objectName().toStdString();
  }
}

TEST_F(LayersUndo, DeleteAsksAsTheBinDoes) {
  Begin();
  AddSelectedPicture({400, 200, 320, 240});
  AddText("above");
  answers.TakeKinds();
  answers.confirm = false;
  Key(Qt::Key_Delete);
  EXPECT_EQ(answers.TakeKinds(), QStringList({"DeleteItemConfimDlg"}));
  EXPECT_EQ(answers.All().back().text, QString("确认删除该图层"));
  EXPECT_EQ(window->Rows(), QStringList({"above", "图片"}));
  // A hidden layer has no bin.
  answers.confirm = true;
  window->ui.m_tabLayer->SetRowVisible(1, false);
  Key(Qt::Key_Delete);
  EXPECT_EQ(answers.TakeKinds(), QStringList());
  window->ui.m_tabLayer->SetRowVisible(1, true);
  Key(Qt::Key_Delete);
  EXPECT_EQ(answers.TakeKinds(), QStringList({"DeleteItemConfimDlg"}));
  EXPECT_EQ(window->Rows(), QStringList({"above"}));
  // What is selected has gone with it.
  Key(Qt::Key_Delete);
  EXPECT_EQ(answers.TakeKinds(), QStringList());
  window->m_render->selectedLayer = window->Order().front();
  Key(Qt::Key_Delete);
  EXPECT_EQ(answers.All().back().text, QString("确认删除该窗口")) << "as of any text";
  EXPECT_EQ(window->Rows(), QStringList());
}

TEST_F(LayersUndo, AScreenReaderHearsWhatIsSelected) {
  Begin();
  AddText("over");
  const auto selected = [&] { return window->ui.m_renderWgt->accessibleDescription(); };
  Key(Qt::Key_Space);
  EXPECT_EQ(selected(), QString("已选中 文本“over”"));
  Key(Qt::Key_Escape);
  EXPECT_EQ(selected(), QString());
  Key(Qt::Key_Space);
  window->SlotDeleteItem(0);
  EXPECT_EQ(selected(), QString());
}

}  // namespace
