// The life of a layer in the main window: sources that can't be opened, and texts of any kind.
#include <QFile>
#include <set>

#include "shell/LayersFixture.h"

namespace {

class LayersTrouble : public Layers {};

// What can't be opened.

TEST_F(LayersTrouble, AFileThatCanNotBeOpenedTellsTheLogAndIsListedAllTheSame) {
  OpenEmpty();
  const std::string missing = samples.Path("missing.png");
  AddPicture(missing);
  EXPECT_NE(Log().find("missing.png"), std::string::npos);
  answers.path = QString::fromStdString(samples.Write("noise.mp4", "no film"));
  window->SlotAddFile();
  EXPECT_NE(Log().find("noise.mp4"), std::string::npos);
  EXPECT_EQ(window->Rows(), QStringList({"视频文件", "图片"}));
  EXPECT_EQ(window->Order().size(), 2U);
  for (const QString& kind : answers.TakeKinds()) {
    EXPECT_EQ(kind, QString("QFileDialog"));
  }
  window->SlotDeleteItem(0);
  window->SlotDeleteItem(0);
  EXPECT_TRUE(window->Order().empty());
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(LayersTrouble, ADirectoryIsNoFileToChoose) {
  OpenEmpty();
  answers.path = QString::fromStdString(samples.Directory());
  window->SlotAddPic();
  window->SlotAddFile();
  EXPECT_TRUE(window->Rows().isEmpty());
}

TEST_F(LayersTrouble, AFileOfAnyNameIsShown) {
  OpenEmpty();
  const QString picture = QString::fromStdString(samples.Picture("plain.png"));
  const QString names[] = {"a \"quoted\" name.png",
                           "it's.png",
                           "new\nline.png",
                           "%03d.png",
                           "file:x.png",
                           "~.png",
                           QString::fromUcs4(U"\U0001F600\U00020000.png")};
  for (const QString& name : names) {
    answers.path = QString::fromStdString(samples.Path(name.toStdString()));
    ASSERT_TRUE(QFile::copy(picture, answers.path)) << name.toStdString();
    window->SlotAddPic();
    ASSERT_EQ(window->Order().size(), 1U) << name.toStdString();
    EXPECT_TRUE(Shows(window->Order().front())) << name.toStdString();
    window->SlotDeleteItem(0);
  }
}

TEST_F(LayersTrouble, AFileThatVanishesWhileTheChooserStandsOpenLeavesAnEmptyLayer) {
  OpenEmpty();
  const std::string path = samples.Path("gone.png");
  ASSERT_FALSE(samples.Picture("gone.png").empty());
  QFile::remove(QString::fromStdString(path));
  AddPicture(path);
  EXPECT_EQ(window->Rows(), QStringList({"图片"}));
  EXPECT_NE(Log().find("gone.png"), std::string::npos);
}

TEST_F(LayersTrouble, AWindowThatVanishesWhileTheChooserStandsOpenLeavesAnEmptyLayer) {
  const platform::WindowHandle handle = windows.Add("short-lived", {320, 240}, 0x112233);
  OpenEmpty();
  answers.beforeAnswer = [&] { windows.Close(handle); };
  window->SlotAddWindow();
  EXPECT_EQ(window->Rows(), QStringList({"short-lived"}));
  window->SlotDeleteItem(0);
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(LayersTrouble, AWindowChooserConfirmedWithoutAChoiceAddsAnEmptyLayer) {
  OpenEmpty();
  answers.row = -1;
  window->SlotAddWindow();
  EXPECT_EQ(window->Rows(), QStringList({""}));
}

TEST_F(LayersTrouble, ACameraThatIsUnpluggedWhileTheChooserStandsOpenLeavesAnEmptyLayer) {
  FakeDevice* camera = devices.AddCamera("Camera");
  camera->RunFree();
  OpenEmpty();
  answers.beforeAnswer = [&] { camera->Unplug(); };
  window->SlotAddCamera();
  EXPECT_EQ(window->Rows(), QStringList({"摄像头"}));
  EXPECT_NE(Log().find("Camera"), std::string::npos);
}

// Order, slots and marks out of step, and sources that never give a picture: the ways in which two
// layers came to share a slot.
TEST_F(LayersTrouble, NoTwoLayersShareASlotAndTheDeletionOfOneLeavesTheOthersRunning) {
  FakeDevice* camera = devices.AddCamera("Camera");  // gives no picture
  Open();
  ASSERT_EQ(window->Rows(), QStringList({"摄像头", "全屏桌面"}));
  window->SlotDeleteItem(1);
  for (const char* missing : {"/nowhere/a.png", "/nowhere/b.png"}) {
    AddPicture(missing);
  }
  const std::string picture = samples.Picture("good.png");
  AddPicture(picture);
  const Ints order = window->Order();
  ASSERT_EQ(order.size(), 4U);
  EXPECT_EQ(std::set<int>(order.begin(), order.end()).size(), 4U);
  EXPECT_EQ(window->m_layers.size(), 4U);
  EXPECT_TRUE(camera->IsOpen());
  // The dead rows, which an operator deletes first.
  window->SlotDeleteItem(1);
  window->SlotDeleteItem(1);
  EXPECT_EQ(window->Order(), Ints({order[0], order[3]}));
  EXPECT_TRUE(camera->IsOpen());
  EXPECT_TRUE(Shows(order[3]));
  int unused = 0;
  for (const int slot : window->Order()) {
    EXPECT_NE(window->NodeAt(slot), nullptr);
    EXPECT_EQ(window->m_render->GetLayerRect(slot, &unused, &unused, &unused, &unused), 0);
  }
}

TEST_F(LayersTrouble, SourcesThatFailUseUpNoSlotForGood) {
  OpenEmpty();
  for (int round = 0; round < 3; ++round) {
    for (int layer = 0; layer < 10; ++layer) {
      AddPicture("/nowhere/a.png");
    }
    ASSERT_EQ(window->Rows().size(), 10);
    // From the bottom up, so that order and slots are as far out of step as they can be.
    for (int left = 10; left > round; --left) {
      window->SlotDeleteItem(left - 1);
    }
    while (!window->Rows().isEmpty()) {
      window->SlotDeleteItem(0);
    }
  }
}

TEST_F(LayersTrouble, ARowWhoseSourceDidNotOpenIsGreyWithTheCause) {
  const platform::WindowHandle handle = windows.Add("short-lived", {320, 240}, 0x112233);
  OpenEmpty();
  AddPicture("/nowhere/a.png");
  EXPECT_EQ(window->Failure(0), "No such file or directory");
  answers.path = QString::fromStdString(samples.Write("noise.mp4", "no film"));
  window->SlotAddFile();
  EXPECT_EQ(window->Failure(0), "Invalid data found when processing input");
  EXPECT_EQ(window->Failure(1), "No such file or directory");
  AddPicture(samples.Picture("good.png"));
  EXPECT_EQ(window->Failure(0), "");
  // A window is looked at by its worker.
  answers.beforeAnswer = [&] { windows.Close(handle); };
  window->SlotAddWindow();
  EXPECT_TRUE(SpinUntil([&] { return window->Failure(0) == "nothing to capture"; }));
}

// Texts.

TEST_F(LayersTrouble, TextsOfAnyKindAreListedAsTheyStand) {
  OpenEmpty();
  const QString book(100000, QChar(0x4E16));
  for (const QString& text : {QString("two\nlines"), QString("   "), QString(QChar(0x200B)), book,
                              QString::fromUcs4(U"\U0001F600"), QString("%s%n:[in]'\\")}) {
    AddText(text);
    EXPECT_EQ(window->Rows().first(), text);
  }
  EXPECT_EQ(window->Order().size(), 6U);
}

TEST_F(LayersTrouble, AnEmptyTextAddsNothing) {
  OpenEmpty();
  AddText("");
  EXPECT_TRUE(window->Rows().isEmpty());
  EXPECT_TRUE(window->Order().empty());
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(LayersTrouble, ATextThatIsEditedToNothingKeepsItsRowAndItsSlotAndShowsNothing) {
  OpenEmpty();
  AddText("seen");
  const int slot = window->Order().front();
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  window->m_render->SetLayerRect(slot, 40, 50, 300, 0);
  answers.text = "";
  emit window->ui.m_tabLayer->editItem(0);
  EXPECT_EQ(window->Rows(), QStringList({""}));
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(slot, &x, &y, &width, &height), -1);
  AddText("another");
  const Ints order = window->Order();
  ASSERT_EQ(order.size(), 2U);
  EXPECT_NE(order[0], order[1]);
  EXPECT_EQ(window->m_layers.size(), 2U);
  // It comes back where it was.
  answers.text = "again";
  emit window->ui.m_tabLayer->editItem(1);
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(slot, &x, &y, &width, &height), 0);
  EXPECT_EQ((Ints{x, y, width}), (Ints{40, 50, 300}));
  window->SlotDeleteItem(1);
  EXPECT_EQ(window->Rows(), QStringList({"another"}));
  EXPECT_NE(window->NodeAt(order[1]), nullptr);
  EXPECT_EQ(window->m_render->GetLayerRect(order[1], &x, &y, &width, &height), 0);
}

}  // namespace
