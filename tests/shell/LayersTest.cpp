// The life of a layer in the main window, row, slot and node in step: how it comes, and from which
// menus and dialogs.
#include <QTimer>

#include "media/CMixFrame.h"
#include "shell/LayerRules.h"
#include "shell/LayersFixture.h"
#include "sources/CInputDev.h"
#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/CInputSilentFile.h"
#include "sources/CWndCapture.h"

namespace {

// The slots that ask before they add.
struct Asking {
  const char* dialog;
  void (orvane::*slot)();
  bool fromWndMenu;
};
constexpr Asking kAsking[] = {{"CCamDlg", &orvane::SlotAddCamera, true},
                              {"ActivitiesWndDlg", &orvane::SlotAddWindow, true},
                              {"CAddTextDlg", &orvane::SlotAddText, false},
                              {"QFileDialog", &orvane::SlotAddPic, false},
                              {"QFileDialog", &orvane::SlotAddFile, false}};

// Default layers.

TEST_F(Layers, WithoutACameraTheListHoldsTheDesktopAlone) {
  Open();
  EXPECT_EQ(window->Rows(), QStringList({"全屏桌面"}));
  EXPECT_EQ(window->Order(), Ints({0}));
  EXPECT_EQ(window->m_layers.size(), 1U);
  EXPECT_TRUE(desk->IsOpen());
}

// Of whatever size the screen is: the fake one has 64 x 48.
TEST_F(Layers, TheDesktopFillsTheScene) {
  Open();
  ASSERT_TRUE(Shows(0));
  int width = 0;
  int height = 0;
  window->m_render->GetLayerNaturalSize(0, &width, &height);
  EXPECT_EQ(QSize(width, height), QSize(1920, 1080));
}

TEST_F(Layers, TheFirstCameraStartsInTheCorner) {
  support::FakePictures picture;
  picture.width = 320;
  picture.height = 240;
  FakeDevice* camera = devices.AddCamera("Camera", picture);
  camera->RunFree();
  Open();
  EXPECT_EQ(window->Rows(), QStringList({"摄像头", "全屏桌面"}));
  EXPECT_EQ(window->Kind(0), 1);
  EXPECT_EQ(window->Order(), Ints({0, 1}));
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  // Size and place are set one after the other.
  SpinUntil([&] {
    window->m_render->GetLayerRect(1, &x, &y, &width, &height);
    return QRect(x, y, width, height) == QRect(1200, 540, 720, 540);
  });
  EXPECT_EQ(QRect(x, y, width, height), QRect(1200, 540, 720, 540));
}

// Adding.

TEST_F(Layers, EachKindTakesARowASlotAndANodeOfItsClass) {
  devices.AddCamera("Camera")->RunFree();
  windows.Add("窗口 一", {320, 240}, 0x112233);
  OpenEmpty();
  answers.text = "文字";
  answers.path = QString::fromStdString(samples.Picture("p.png"));
  window->SlotAddDesk();
  window->SlotAddCamera();
  window->SlotAddWindow();
  window->SlotAddText();
  window->SlotAddPic();
  answers.path = QString::fromStdString(samples.Clip("c.mp4"));
  window->SlotAddFile();

  EXPECT_EQ(window->Rows(),
            QStringList({"视频文件", "图片", "文字", "窗口 一", "摄像头", "全屏桌面"}));
  const Ints order = window->Order();
  ASSERT_EQ(order.size(), 6U);
  for (int row = 0; row < 6; ++row) {
    EXPECT_EQ(window->Kind(row), row == 2 ? 0 : 1) << row;
    EXPECT_TRUE(window->Visible(row)) << row;
  }
  const auto node = [&](std::size_t position) { return window->NodeAt(order[position]); };
  EXPECT_NE(dynamic_cast<CInputDev*>(node(0)), nullptr);
  EXPECT_NE(dynamic_cast<CInputDev*>(node(1)), nullptr);
  EXPECT_NE(dynamic_cast<CWndCapture*>(node(2)), nullptr);
  ASSERT_NE(node(3), nullptr);
  EXPECT_EQ(typeid(*node(3)), typeid(CSrcInterface));
  EXPECT_NE(dynamic_cast<CInputPic*>(node(4)), nullptr);
  EXPECT_NE(dynamic_cast<CInputFile*>(node(5)), nullptr);
  for (const std::size_t position : {0U, 1U, 2U, 4U, 5U}) {
    EXPECT_TRUE(Shows(order[position])) << position;
  }
}

TEST_F(Layers, HowEachWasMadeIsWrittenDown) {
  devices.AddCamera("Camera")->RunFree();
  const platform::WindowHandle filmed = windows.Add("窗口 一", {320, 240}, 0x112233);
  OpenEmpty();
  EXPECT_TRUE(window->m_book.Match(shell::Scene(1)) == Ints({shell::kNoLayer}))
      << "nothing is left of the first";
  answers.text = "文字";
  answers.color = 0xFF0000FF;
  const QString picture = QString::fromStdString(samples.Picture("p.png"));
  const QString film = QString::fromStdString(samples.Clip("c.mp4"));
  answers.path = picture;
  window->SlotAddDesk();
  window->SlotAddCamera();
  window->SlotAddWindow();
  window->SlotAddText();
  window->SlotAddPic();
  answers.path = film;
  window->SlotAddFile();
  const struct {
    shell::LayerKind kind;
    const char* name;
    QString source;
  } wanted[] = {{shell::LayerKind::kDesk, "全屏桌面", ""},
                {shell::LayerKind::kCamera, "摄像头", "Camera"},
                {shell::LayerKind::kWindow, "窗口 一", ""},
                {shell::LayerKind::kText, "文字", ""},
                {shell::LayerKind::kPicture, "图片", picture},
                {shell::LayerKind::kFilm, "视频文件", film}};
  const Ints order = window->Order();
  ASSERT_EQ(order.size(), 6U);
  for (std::size_t position = 0; position < order.size(); ++position) {
    const shell::LayerRecord* record = window->m_book.Find(order[position]);
    ASSERT_NE(record, nullptr) << position;
    EXPECT_EQ(record->kind, wanted[position].kind) << position;
    EXPECT_EQ(record->name, QString(wanted[position].name));
    EXPECT_EQ(record->source, wanted[position].source);
    EXPECT_TRUE(record->shown);
  }
  EXPECT_EQ(window->m_book.Find(order[2])->window, filmed);
  EXPECT_EQ(window->m_book.Find(order[3])->color, 0xFF0000FFU);
  // And what is done to them later.
  answers.text = "另外";
  window->SlotEditItem(2);
  EXPECT_EQ(window->m_book.Find(order[3])->name, QString("另外"));
  emit window->ui.m_tabLayer->visibleSignal(2, false);
  EXPECT_FALSE(window->m_book.Find(order[3])->shown);
  window->SlotDeleteItem(2);
  EXPECT_EQ(window->m_book.Find(order[3]), nullptr);
}

TEST_F(Layers, TheSourceIsStartedWhenItIsLinkedAndBeforeItIsListed) {
  // Looks at the scene when the capture opens the device, which is what Start does.
  class Watching : public support::FakeCaptureLayer {
   public:
    platform::OpenResult Open(platform::CaptureKind kind, const std::string& name) override {
      if (atOpen) {
        atOpen();
      }
      return FakeCaptureLayer::Open(kind, name);
    }
    std::function<void()> atOpen;
  };
  Watching watching;
  watching.AddCamera(support::kDesk);
  const support::InstalledCaptureLayer installed(&watching);
  OpenEmpty();
  int looked = 0;
  watching.atOpen = [&] {
    ++looked;
    EXPECT_EQ(window->Order().size(), 1U);
    EXPECT_TRUE(window->Rows().isEmpty());
    EXPECT_TRUE(window->m_layers.empty());
  };
  window->SlotAddDesk();
  EXPECT_EQ(looked, 1);
  EXPECT_EQ(window->Rows().size(), 1);
  EXPECT_EQ(window->m_layers.size(), 1U);
  window.reset();
}

TEST_F(Layers, ACancelledChooserLeavesNoTraceButTheClosedMenu) {
  devices.AddCamera("Camera");
  windows.Add("window", {320, 240}, 0x112233);
  OpenEmpty();
  answers.confirm = false;
  answers.text = "text";
  for (const Asking& each : kAsking) {
    QMenu& own = each.fromWndMenu ? window->m_WndMenu : window->m_TuCMenu;
    // Opened when the dialog stands: its own opening closes every menu.
    answers.beforeAnswer = [&] { own.show(); };
    (window.get()->*each.slot)();
    EXPECT_EQ(answers.TakeKinds(), QStringList({each.dialog}));
    EXPECT_FALSE(own.isVisible()) << each.dialog;
  }
  EXPECT_TRUE(window->Rows().isEmpty());
  EXPECT_TRUE(window->Order().empty());
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(Layers, EachSlotClosesTheMenuThatItCameFrom) {
  windows.Add("window", {320, 240}, 0x112233);
  OpenEmpty();
  answers.text = "text";
  answers.path = "/nowhere";
  for (void (orvane::*slot)() :
       {&orvane::SlotAddDesk, &orvane::SlotAddCamera, &orvane::SlotAddWindow}) {
    window->m_WndMenu.show();
    (window.get()->*slot)();
    EXPECT_FALSE(window->m_WndMenu.isVisible());
  }
  for (void (orvane::*slot)() : {&orvane::SlotAddText, &orvane::SlotAddPic, &orvane::SlotAddFile}) {
    window->m_TuCMenu.show();
    (window.get()->*slot)();
    EXPECT_FALSE(window->m_TuCMenu.isVisible());
  }
}

TEST_F(Layers, ACameraChooserWithoutACameraAddsNothing) {
  OpenEmpty();
  window->SlotAddCamera();
  EXPECT_EQ(answers.TakeKinds(), QStringList({"CCamDlg"}));
  EXPECT_TRUE(window->Rows().isEmpty());
  EXPECT_TRUE(window->Order().empty());
}

TEST_F(Layers, TheFileChoosersAskWithTheirCaptionsAndEveryPattern) {
  OpenEmpty();
  answers.confirm = false;
  window->SlotAddPic();
  window->SlotAddFile();
  ASSERT_EQ(answers.All().size(), 2U);
  EXPECT_EQ(answers.All()[0].text, QString("打开图片文件"));
  EXPECT_EQ(answers.All()[0].filters, QStringList({"图片文件(*.png *.jpg *.bmp)"}));
  EXPECT_EQ(answers.All()[1].text, QString("打开视频文件"));
  EXPECT_EQ(answers.All()[1].filters.size(), 1);
}

TEST_F(Layers, AnEleventhLayerGetsANoticeBeforeAnyChooser) {
  OpenEmpty();
  for (int layer = 0; layer < 10; ++layer) {
    AddText("text");
  }
  answers.TakeKinds();
  EXPECT_EQ(window->Rows().size(), 10);
  const Ints order = window->Order();
  window->SlotAddDesk();
  for (const Asking& each : kAsking) {
    (window.get()->*each.slot)();
  }
  const QStringList kinds = answers.TakeKinds();
  EXPECT_EQ(kinds.size(), 6);
  for (const QString& kind : kinds) {
    EXPECT_EQ(kind, QString("InformationDlg"));
  }
  EXPECT_EQ(answers.All().back().text, shell::SceneIsFullText());
  EXPECT_EQ(window->Rows().size(), 10);
  EXPECT_EQ(window->Order(), order);
}

TEST_F(Layers, AFilmWithoutSoundIsShownAndTakesNoInputOfTheMix) {
  support::ClipOptions silent;
  silent.soundSeconds = 0;
  OpenEmpty();
  answers.path = QString::fromStdString(samples.Clip("silent.mp4", silent));
  window->SlotAddFile();
  ASSERT_EQ(window->Rows(), QStringList({"视频文件"}));
  const int slot = window->Order().front();
  ASSERT_NE(dynamic_cast<CInputSilentFile*>(window->NodeAt(slot)), nullptr);
  EXPECT_EQ(support::AudioOutputsOf(window->NodeAt(slot)), 0);
  EXPECT_EQ(window->Failure(0), "");
  EXPECT_TRUE(Shows(slot));
}

// The mixer takes its inputs by rank: one that stays empty below another takes its sound away.
TEST_F(Layers, WhenALayerWithSoundGoesTheLastOneTakesOverItsInput) {
  OpenEmpty();
  support::ClipOptions longer;
  longer.soundSeconds = 60;
  longer.frames = 1500;
  answers.path = QString::fromStdString(samples.Clip("c.mkv", longer));
  for (int film = 1; film <= 3; ++film) {
    SpinUntil([&] { return window->m_mixFrame->GetFreeAudioIndex() == film; });
    window->SlotAddFile();
  }
  const Ints order = window->Order();
  const auto index = [&](std::size_t position) {
    return support::AudioIndexOf(window->NodeAt(order[position]));
  };
  // On a busy machine the mixer may have let one go for a moment, and given its index twice.
  const Ints before{index(0), index(1), index(2)};
  const std::size_t last = before[2] >= before[1] ? 2 : 1;
  const std::size_t other = 3 - last;
  ASSERT_GT(before[last], before[0]);
  window->SlotDeleteItem(2);
  EXPECT_EQ(index(last), before[0]);
  EXPECT_EQ(index(other), before[other]);
}

// Else those above it would be mute for good, for the audience too.
TEST_F(Layers, WhenAFilmHasEndedTheLastOneTakesOverItsInput) {
  support::ClipOptions options;
  // Not over before the other one is chosen, on a busy machine too.
  options.soundSeconds = 12;
  options.frames = 300;
  const std::string shorter = samples.Clip("short.mkv", options);
  options.soundSeconds = 60;
  options.frames = 1500;
  const std::string longer = samples.Clip("long.mkv", options);
  OpenEmpty();
  ASSERT_TRUE(SpinUntil([&] { return window->m_mixFrame->GetFreeAudioIndex() == 1; }));
  answers.path = QString::fromStdString(shorter);
  window->SlotAddFile();
  ASSERT_TRUE(SpinUntil([&] { return window->m_mixFrame->GetFreeAudioIndex() == 2; }));
  answers.path = QString::fromStdString(longer);
  window->SlotAddFile();
  const Ints order = window->Order();
  EXPECT_EQ(support::AudioIndexOf(window->NodeAt(order[1])), 2);
  EXPECT_TRUE(SpinUntil([&] { return support::AudioIndexOf(window->NodeAt(order[1])) == 1; }));
  EXPECT_EQ(support::AudioOutputsOf(window->NodeAt(order[0])), 0);
  EXPECT_EQ(window->Rows().size(), 2) << "its last picture stays";
}

// Dialogs.

TEST_F(Layers, OnlyTheFirstCameraAndWindowChooserAndTheTextDialogHaveTheShadow) {
  windows.Add("window", {320, 240}, 0x112233);
  OpenEmpty();
  answers.confirm = false;
  for (int time = 0; time < 3; ++time) {
    window->SlotAddCamera();
    EXPECT_EQ(answers.All().back().shadow, time == 0);
    window->SlotAddWindow();
    EXPECT_EQ(answers.All().back().shadow, time == 0);
    window->SlotAddText();
    EXPECT_TRUE(answers.All().back().shadow);
  }
}

TEST_F(Layers, ATextDialogThatEditingOpenedFirstGetsItsShadowFromTheFirstAdding) {
  Open();
  answers.confirm = false;
  window->SlotEditItem(0);
  EXPECT_FALSE(answers.All().back().shadow);
  window->SlotAddText();
  EXPECT_TRUE(answers.All().back().shadow);
}

TEST_F(Layers, AddingAndEditingShareOneTextDialog) {
  OpenEmpty();
  AddText("first");
  const CAddTextDlg* dialog = window->m_textDlg;
  window->SlotEditItem(0);
  AddText("second");
  EXPECT_EQ(window->m_textDlg, dialog);
}

TEST_F(Layers, TheCameraIsFreeForTheLayerWhenItsChooserHasClosed) {
  FakeDevice* camera = devices.AddCamera("Camera");
  camera->RunFree();
  OpenEmpty();
  window->SlotAddCamera();
  // Once by the default layer, once by the chooser's preview, once by the layer.
  EXPECT_EQ(camera->OpenCount(), 3);
  EXPECT_TRUE(camera->IsOpen());
  EXPECT_EQ(window->Rows(), QStringList({"摄像头"}));
}

// Menus.

TEST_F(Layers, AMenuClosesBothAndOpensAboveItsButton) {
  Open();
  window->show();
  // A menu keeps itself on the screen, which is smaller than the window.
  window->move(-600, -300);
  struct {
    QMenu* menu;
    QWidget* button;
    void (orvane::*slot)();
  } const menus[] = {{&window->m_WndMenu, window->ui.m_AddWinBtn, &orvane::OpenWndMenu},
                     {&window->m_TuCMenu, window->ui.m_AddTuC, &orvane::OpenTuCMenu}};
  for (const auto& each : menus) {
    for (const auto& other : menus) {
      other.menu->show();
    }
    QPoint place;
    QTimer::singleShot(0, window.get(), [&] {
      place = each.menu->pos();
      for (const auto& other : menus) {
        EXPECT_EQ(other.menu->isVisible(), other.menu == each.menu);
      }
      each.menu->close();
    });
    (window.get()->*each.slot)();
    const QPoint wanted = window->mapToGlobal(each.button->pos()) - QPoint(50, 130);
    EXPECT_EQ(place, wanted);
  }
}

TEST_F(Layers, EveryMenuEntryAndBothButtonsReachTheirSlots) {
  OpenEmpty();
  window->show();
  answers.confirm = false;
  QStringList texts;
  for (const QMenu* menu : {&window->m_WndMenu, &window->m_TuCMenu}) {
    for (QAction* entry : menu->actions()) {
      if (!entry->isSeparator()) {
        texts.append(entry->text());
        entry->trigger();
      }
    }
  }
  EXPECT_EQ(texts, QStringList({"全屏桌面", "摄像头", "窗口捕获", "文本", "图片", "视频"}));
  EXPECT_EQ(window->Rows(), QStringList({"全屏桌面"}));
  EXPECT_EQ(answers.TakeKinds(), QStringList({"CCamDlg", "ActivitiesWndDlg", "CAddTextDlg",
                                              "QFileDialog", "QFileDialog"}));
  for (QPushButton* button : {window->ui.m_AddWinBtn, window->ui.m_AddTuC}) {
    QMenu* menu = button == window->ui.m_AddWinBtn ? &window->m_WndMenu : &window->m_TuCMenu;
    bool opened = false;
    QTimer::singleShot(0, window.get(), [&] {
      opened = menu->isVisible();
      menu->close();
    });
    button->click();
    EXPECT_TRUE(opened);
  }
}

TEST_F(Layers, TheListsSignalsReachTheirSlots) {
  Open();
  emit window->ui.m_tabLayer->Delegate()->showStatusTip("name", QPoint(600, 400));
  EXPECT_TRUE(window->m_tip.isVisible());
  emit window->ui.m_tabLayer->Delegate()->hideStatusTip();
  EXPECT_FALSE(window->m_tip.isVisible());
  emit window->ui.m_tabLayer->deleteItem(0, 1, QPoint(600, 400));
  EXPECT_EQ(answers.TakeKinds(), QStringList({"DeleteItemConfimDlg"}));
  EXPECT_TRUE(window->Rows().isEmpty());
}

}  // namespace
