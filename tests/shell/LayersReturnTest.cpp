// The scene from one run of the main window to the next.
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QDateTime>
#include <QKeyEvent>
#include <QPushButton>
#include <fstream>
#include <functional>
#include <optional>

#include "shell/LayersFixture.h"
#include "shell/PrivateFile.h"
#include "shell/SceneFile.h"
#include "support/Accessibility.h"
#include "widgets/SceneOffer.h"

namespace {

using shell::LayerKind;
using shell::LayerRecord;

LayerRecord Layer(LayerKind kind, const QString& name, const QString& source = QString()) {
  LayerRecord layer;
  layer.kind = kind;
  layer.name = name;
  layer.source = source;
  return layer;
}

LayerRecord Text(const QString& text) {
  return Layer(LayerKind::kText, text);
}

LayerRecord Desk() {
  return Layer(LayerKind::kDesk, "全屏桌面");
}

LayerRecord Camera(const QString& device) {
  return Layer(LayerKind::kCamera, "摄像头", device);
}

class LayersReturn : public Layers {
 protected:
  std::string File() const { return directory.File("scene.json"); }
  // What a run has left so long ago.
  void Leave(const shell::Scene& scene, std::int64_t secondsAgo = 60) const {
    const shell::SavedScene saved{scene, QDateTime::currentSecsSinceEpoch() - secondsAgo};
    ASSERT_TRUE(shell::ReplacePrivate(File(), shell::BytesOfScene(saved).toStdString()));
  }
  shell::Scene Kept() const {
    const auto bytes = QByteArray::fromStdString(support::ReadFile(File()));
    const std::optional<shell::SavedScene> scene = shell::SceneOfBytes(bytes);
    return scene ? scene->layers : shell::Scene();
  }
  bool Keeps(const std::string& text) const {
    return SpinUntil([&] { return support::ReadFile(File()).find(text) != std::string::npos; });
  }
  bool IsOffered() const {
    return SpinUntil([&] { return window->m_offer != nullptr; });
  }
  // Takes the offer and waits for the last layer.
  void Return(const QStringList& rows) {
    ASSERT_TRUE(IsOffered());
    window->m_offer->RestoreButton()->click();
    EXPECT_TRUE(SpinUntil([&] { return window->Rows() == rows; }))
        << window->Rows().join("|").toStdString();
  }
  // Looks at the file twice: whatever was to be offered is by then.
  void AwaitNoOffer() {
    for (const char* text : {"first look", "second look"}) {
      AddText(text);
      ASSERT_TRUE(Keeps(text));
    }
    EXPECT_EQ(window->m_offer, nullptr);
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
};

// Keeping.

TEST_F(LayersReturn, WithoutAChangeNothingIsKept) {
  devices.AddCamera("Camera")->RunFree();
  Open();
  ASSERT_TRUE(Shows(1));
  window.reset();
  EXPECT_NE(access(File().c_str(), F_OK), 0);
}

TEST_F(LayersReturn, EachChangeIsKeptASecondLater) {
  Open();
  ASSERT_TRUE(Shows(0));
  answers.color = 0xFF0000FF;
  AddText("一段文字");
  ASSERT_TRUE(Keeps("一段文字"));
  struct stat status {};
  ASSERT_EQ(stat(File().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  const auto now = [&](const std::function<bool(const shell::Scene&)>& holds) {
    return SpinUntil([&] {
      const shell::Scene scene = Kept();
      return scene.size() == 2 && holds(scene);
    });
  };
  EXPECT_TRUE(now([](const shell::Scene& scene) {
    return scene[0].kind == LayerKind::kDesk && scene[0].place.width == 1920 &&
           scene[1].color == 0xFF0000FF;
  }));
  // Each of the ways to change something, the mouse's and the list's.
  window->m_render->selectedLayer = window->Order()[1];
  QKeyEvent down(QEvent::KeyPress, Qt::Key_Down, Qt::ShiftModifier);
  QApplication::sendEvent(window->ui.m_renderWgt, &down);
  EXPECT_TRUE(now([](const shell::Scene& scene) { return scene[1].place.y == 15; }));
  emit window->ui.m_tabLayer->visibleSignal(0, false);
  EXPECT_TRUE(now([](const shell::Scene& scene) { return !scene[1].shown; }));
  window->ui.m_tabLayer->ExchangeRows(0, 1);
  EXPECT_TRUE(now([](const shell::Scene& scene) { return scene[0].kind == LayerKind::kText; }));
  window->Undo();
  EXPECT_TRUE(now([](const shell::Scene& scene) { return scene[1].kind == LayerKind::kText; }));
  window->SlotDeleteItem(0);
  EXPECT_TRUE(SpinUntil([&] { return Kept().size() == 1; }));
}

TEST_F(LayersReturn, TheLastChangeBeforeTheEndIsKept) {
  Open();
  AddText("at the last moment");
  window.reset();
  EXPECT_NE(support::ReadFile(File()).find("at the last moment"), std::string::npos);
}

// Coming back.

TEST_F(LayersReturn, EveryKindComesBackWithItsPlaceInItsOrder) {
  FakeDevice* camera = devices.AddCamera("Camera");
  camera->RunFree();
  windows.Add("other", {64, 48}, 0x445566);
  const platform::WindowHandle filmed = windows.Add("窗口 一", {320, 240}, 0x112233);
  const QString picture = QString::fromStdString(samples.Picture("p.png"));
  const QString film = QString::fromStdString(samples.Clip("c.mp4"));
  Open();
  ASSERT_TRUE(Stands(1, {1200, 540, 720, 540})) << "its corner";
  answers.row = 1;
  window->SlotAddWindow();
  answers.color = 0xFF8000FF;
  AddText("文字");
  AddPicture(picture.toStdString());
  answers.path = film;
  window->SlotAddFile();
  const Ints order = window->Order();
  for (const std::size_t position : {2U, 4U, 5U}) {
    ASSERT_TRUE(Shows(order[position])) << position;
  }
  window->m_render->SetLayerRect(order[1], 100, 50, 640, 480);
  window->m_render->SetLayerRect(order[2], 10, 600, 160, 120);
  window->m_render->SetLayerRect(order[4], -20, 30, 128, 96);
  window->ui.m_tabLayer->ExchangeRows(0, 1);  // the film below the picture
  window->ui.m_tabLayer->SetRowVisible(4, false);
  const QRect text = RectOf(order[3]);
  const QStringList rows = window->Rows();
  ASSERT_EQ(rows, QStringList({"图片", "视频文件", "文字", "窗口 一", "摄像头", "全屏桌面"}));
  window.reset();
  const int deskOpened = desk->OpenCount();
  const int cameraOpened = camera->OpenCount();

  Open();
  EXPECT_EQ(window->Rows(), QStringList({"摄像头", "全屏桌面"})) << "first as ever";
  Return(rows);
  const Ints back = window->Order();
  ASSERT_EQ(back.size(), 6U);
  EXPECT_TRUE(Stands(back[0], {0, 0, 1920, 1080}));
  EXPECT_TRUE(Stands(back[1], {100, 50, 640, 480}));
  EXPECT_TRUE(Stands(back[2], {10, 600, 160, 120}));
  EXPECT_TRUE(Stands(back[3], text));
  EXPECT_TRUE(Stands(back[5], {-20, 30, 128, 96}));
  EXPECT_EQ(window->m_book.Find(back[2])->window, filmed);
  EXPECT_EQ(window->m_book.Find(back[3])->color, 0xFF8000FFU);
  EXPECT_FALSE(window->Visible(4));
  EXPECT_TRUE(window->Visible(5));
  EXPECT_EQ(desk->OpenCount(), deskOpened + 1) << "that of every start";
  EXPECT_EQ(camera->OpenCount(), cameraOpened + 1);
  EXPECT_EQ(window->m_offer, nullptr) << "once";
  EXPECT_EQ(answers.TakeKinds().count("InformationDlg"), 0);
}

TEST_F(LayersReturn, AFirstLayerThatTheSceneDoesNotHaveGoes) {
  FakeDevice* camera = devices.AddCamera("Camera");
  camera->RunFree();
  Leave({Text("below"), Camera("Camera"), Text("above")});
  Open();
  Return({"above", "摄像头", "below"});
  EXPECT_FALSE(desk->IsOpen());
  EXPECT_TRUE(camera->IsOpen());
  EXPECT_EQ(window->Order().size(), 3U);
}

// What the operator has added before he took the offer is his, and stands below.
TEST_F(LayersReturn, OwnLayersStayAndNoneIsThereTwice) {
  Leave({Desk(), Text("twice"), Text("former")});
  Open();
  AddText("mine");
  AddText("twice");
  Return({"former", "twice", "全屏桌面", "mine"});
}

TEST_F(LayersReturn, WhatIsNoLongerThereIsLeftOutAndNamed) {
  const QString picture = QString::fromStdString(samples.Picture("p.png"));
  Leave({Desk(), Camera("Unplugged"), Layer(LayerKind::kWindow, "closed"),
         Layer(LayerKind::kPicture, "图片", "/nowhere/gone.png"),
         Layer(LayerKind::kFilm, "视频文件", "/nowhere/gone.mp4"),
         Layer(LayerKind::kPicture, "图片", picture), Text("stays")});
  Open();
  Return({"stays", "图片", "全屏桌面"});
  EXPECT_TRUE(SpinUntil([&] { return !answers.All().empty(); }));
  EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg"}));
  EXPECT_EQ(answers.All().back().text,
            QString("已不存在，未能恢复：摄像头“Unplugged”、窗口“closed”、图片“gone.png”、"
                    "视频文件“gone.mp4”"));
}

TEST_F(LayersReturn, WhatTheSceneHasNoRoomForIsNamed) {
  shell::Scene scene;
  for (int layer = 1; layer <= 10; ++layer) {
    scene.push_back(Text(QString::number(layer)));
  }
  Leave(scene);
  Open();
  AddText("mine");
  Return({"9", "8", "7", "6", "5", "4", "3", "2", "1", "mine"});
  EXPECT_TRUE(SpinUntil([&] { return answers.TakeKinds().contains("InformationDlg"); }));
  EXPECT_EQ(answers.All().back().text, QString("图层已满，未能恢复：文本“10”"));
}

// The height tells by which text the size of the letters was made.
TEST_F(LayersReturn, ATextThatWasEditedComesBackWithLettersOfItsSize) {
  Open();
  AddText("short");
  answers.text = "a text that is much longer";
  emit window->ui.m_tabLayer->editItem(0);
  const QRect before = RectOf(window->Order()[1]);
  window.reset();
  Open();
  Return({"a text that is much longer", "全屏桌面"});
  EXPECT_EQ(RectOf(window->Order()[1]), before);
}

TEST_F(LayersReturn, WhatWasDoneBeforeIsNotTakenBackAfterIt) {
  Leave({Desk(), Text("former")});
  Open();
  AddText("mine");
  window->SlotDeleteItem(0);
  ASSERT_EQ(window->m_undo.Count(), 1U);
  Return({"former", "全屏桌面"});
  EXPECT_EQ(window->m_undo.Count(), 0U);
}

// Its number is the row's of the moment when it opened.
TEST_F(LayersReturn, WhileADialogIsOpenNoRowComes) {
  Leave({Desk(), Text("one"), Text("two"), Text("three")});
  Open();
  ASSERT_TRUE(IsOffered());
  window->m_offer->RestoreButton()->click();
  const QStringList rows = window->Rows();
  int looks = 0;
  answers.beforeAnswer = [&] {
    ++looks;
    EXPECT_EQ(window->Rows(), rows);
  };
  window->RecvDeleteSignal(0, 1, QPoint(600, 400));
  answers.beforeAnswer = nullptr;
  EXPECT_EQ(looks, 1);
  EXPECT_TRUE(SpinUntil([&] {
    return window->Rows() == QStringList({"three", "two", "one"});
  })) << window->Rows().join("|").toStdString();
}

// The offer.

TEST_F(LayersReturn, IsOfferedBelowTheRowsAndByTheKeyboard) {
  Leave({Desk(), Text("<b>former</b>")});
  Open();
  window->show();
  QApplication::setActiveWindow(window.get());
  ASSERT_TRUE(IsOffered());
  QApplication::processEvents();
  EXPECT_TRUE(window->m_offer->RestoreButton()->isVisible());
  EXPECT_EQ(window->m_offer->RestoreButton()->accessibleDescription(),
            QString("上次的2个图层：文本“<b>former</b>”、全屏桌面"));
  EXPECT_EQ(support::TabRound(window.get()).join(' '),
            QString("menuButton m_chooseBtn muteSystemSound gainSystemSound muteMicrophone "
                    "microphones gainMicrophone m_AddWinBtn m_AddTuC layerKeys restoreButton "
                    "dismissButton m_renderWgt m_BtnMin m_BtnMax m_BtnExit"));
  EXPECT_EQ(support::NamelessControls(*window), QStringList());
  QTest::keyClick(window->m_offer->RestoreButton(), Qt::Key_Space);
  EXPECT_TRUE(SpinUntil([&] { return window->Rows().size() == 2; }));
}

TEST_F(LayersReturn, ADismissedSceneIsForgotten) {
  Leave({Desk(), Text("former")});
  Open();
  ASSERT_TRUE(IsOffered());
  window->m_offer->DismissButton()->click();
  EXPECT_EQ(window->m_offer, nullptr);
  EXPECT_TRUE(SpinUntil([&] { return access(File().c_str(), F_OK) != 0; }));
  EXPECT_EQ(window->Rows(), QStringList({"全屏桌面"}));
  window.reset();
  EXPECT_NE(access(File().c_str(), F_OK), 0);
}

TEST_F(LayersReturn, WhatWasMadeMeanwhileIsNotForgottenWithTheFormerScene) {
  Leave({Desk(), Text("former")});
  Open();
  ASSERT_TRUE(IsOffered());
  AddText("mine");
  window->m_offer->DismissButton()->click();
  EXPECT_TRUE(Keeps("mine"));
}

// A program that crashed once more at its start has done the operator's scene no harm.
TEST_F(LayersReturn, AnOfferThatNobodyTookIsMadeAgain) {
  Leave({Desk(), Text("former")});
  Open();
  ASSERT_TRUE(IsOffered());
  window.reset();
  Open();
  EXPECT_TRUE(IsOffered());
}

TEST_F(LayersReturn, AnOldSceneIsNotOffered) {
  Leave({Desk(), Text("former")}, 24 * 60 * 60 + 60);
  Open();
  AwaitNoOffer();
}

TEST_F(LayersReturn, AnEmptySceneIsNotOffered) {
  Leave({});
  Open();
  AwaitNoOffer();
}

TEST_F(LayersReturn, WhatIsNoSceneIsNotOfferedAndTheLogSaysWhy) {
  std::ofstream(File()) << "{\"format\":\"orvane scene\",\"version\":2,\"saved\":1,\"layers\":[]}";
  Open();
  AwaitNoOffer();
  EXPECT_NE(Log().find("scene.json"), std::string::npos);
}

}  // namespace
