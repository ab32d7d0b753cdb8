// The life of a layer in the main window: row, slot and node in step.
#include <QFile>
#include <QGraphicsEffect>
#include <QTimer>
#include <atomic>
#include <set>

#include "media/CMixFrame.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CRender.h"
#include "shell/LayerRules.h"
#include "shell/LayersRig.h"
#include "sources/CInputDev.h"
#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/CInputSilentFile.h"
#include "sources/CWndCapture.h"
#include "sources/DeviceCatalogue.h"
#include "support/MediaSamples.h"
#include "widgets/CCamDlg.h"

namespace {

using support::FakeDevice;
using support::LayersRig;
using support::MediaSamples;
using support::SpinUntil;

using Ints = std::vector<int>;

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

class Layers : public LayersRig {
 protected:
  void AddText(const QString& text) {
    answers.text = text;
    window->SlotAddText();
  }
  void AddPicture(const std::string& path) {
    answers.path = QString::fromStdString(path);
    window->SlotAddPic();
  }
  // Waits until the layer's first picture has told its size.
  bool Shows(int slot) {
    return SpinUntil([&] {
      int width = 0;
      int height = 0;
      window->m_render->GetLayerNaturalSize(slot, &width, &height);
      return width > 0;
    });
  }

  MediaSamples samples;
};

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
  EXPECT_TRUE(SpinUntil([&] {
    window->m_render->GetLayerRect(1, &x, &y, &width, &height);
    return y > 0;
  }));
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

// Deleting.

TEST_F(Layers, DeletingTheMiddleRowLeavesTheOthersInTheirOrder) {
  OpenEmpty();
  for (const char* text : {"C", "B", "A"}) {
    AddText(text);
  }
  ASSERT_EQ(window->Rows(), QStringList({"A", "B", "C"}));
  const Ints order = window->Order();
  window->SlotDeleteItem(1);
  EXPECT_EQ(window->Rows(), QStringList({"A", "C"}));
  EXPECT_EQ(window->Order(), Ints({order[0], order[2]}));
  EXPECT_EQ(window->m_layers.count(order[1]), 0U);
  EXPECT_EQ(window->m_layers.size(), 2U);
}

TEST_F(Layers, ADeletedLayersNodeIsStoppedAndItsDeviceClosed) {
  Open();
  ASSERT_TRUE(desk->IsOpen());
  window->SlotDeleteItem(0);
  EXPECT_FALSE(desk->IsOpen());
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(Layers, TheQuestionStandsAtTheMouseAndOnlyAYesDeletes) {
  Open();
  answers.confirm = false;
  window->RecvDeleteSignal(0, 1, QPoint(600, 400));
  EXPECT_EQ(answers.All().back().kind, QString("DeleteItemConfimDlg"));
  EXPECT_EQ(answers.All().back().place, QPoint(450, 286));
  EXPECT_EQ(answers.All().back().text, QString("确认删除该图层"));
  EXPECT_EQ(window->Rows().size(), 1);
  answers.confirm = true;
  window->RecvDeleteSignal(0, 0, QPoint(600, 400));
  EXPECT_EQ(answers.All().back().text, QString("确认删除该窗口"));
  EXPECT_EQ(window->Rows().size(), 0);
  EXPECT_TRUE(window->Order().empty());
}

TEST_F(Layers, DeletingTheSelectedLayerLeavesTheSelection) {
  Open();
  window->m_render->selectedLayer = 0;
  window->SlotDeleteItem(0);
  EXPECT_EQ(window->m_render->selectedLayer, 0);
  int unused = 0;
  EXPECT_EQ(window->m_render->GetLayerRect(0, &unused, &unused, &unused, &unused), -1);
}

TEST_F(Layers, ARowWhoseSlotHasNoNodeIsDeletedToo) {
  Open();
  window->m_slots.DropNodes();
  window->SlotDeleteItem(0);
  EXPECT_TRUE(window->Rows().isEmpty());
  EXPECT_TRUE(window->Order().empty());
}

TEST_F(Layers, ARowThatIsNotThereChangesNothing) {
  Open();
  for (const int row : {-1, 1, 1000}) {
    window->SlotDeleteItem(row);
    window->SlotvisibleSignal(row, false);
    window->SlotChangeItem(row, 0);
  }
  EXPECT_EQ(window->Rows().size(), 1);
  EXPECT_EQ(window->Order(), Ints({0}));
  int unused = 0;
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(0, &unused, &unused, &unused, &unused), 0);
}

// Order.

TEST_F(Layers, ASwapOfTheFirstAndTheLastRowLeavesTheMiddle) {
  OpenEmpty();
  for (const char* text : {"C", "B", "A"}) {
    AddText(text);
  }
  const Ints order = window->Order();
  emit window->ui.m_tabLayer->changeItem(0, 2);
  EXPECT_EQ(window->Order(), Ints({order[2], order[1], order[0]}));
}

TEST_F(Layers, ADropOnNoRowLeavesTheScene) {
  OpenEmpty();
  AddText("A");
  AddText("B");
  const Ints order = window->Order();
  emit window->ui.m_tabLayer->changeItem(0, -1);
  EXPECT_EQ(window->Order(), order);
}

// Editing and visibility.

TEST_F(Layers, AnEditedTextShowsInTheRow) {
  OpenEmpty();
  AddText("A");
  AddText("B");
  answers.text = "换";
  emit window->ui.m_tabLayer->editItem(1);
  EXPECT_EQ(window->Rows(), QStringList({"B", "换"}));
  answers.confirm = false;
  answers.text = "no";
  emit window->ui.m_tabLayer->editItem(0);
  EXPECT_EQ(window->Rows(), QStringList({"B", "换"}));
}

// Seen in the picture that leaves the renderer: a wide text on black.
TEST_F(Layers, ATextHasTheColourThatWasChosenLast) {
  // Counts what it is given that is mostly of one colour.
  class Viewer : public CSrcInterface {
   public:
    Viewer() : CSrcInterface(0, 1) {}
    void EnqueueVideo(int /*index*/, void* media) override {
      ffmpeg::ScopedFrame frame(static_cast<AVFrame*>(media));
      int red = 0;
      int blue = 0;
      for (int y = 0; y < frame->height / 2; ++y) {
        for (int x = 0; x < frame->width / 2; ++x) {
          red += frame->data[2][y * frame->linesize[2] + x] > 200 ? 1 : 0;
          blue += frame->data[1][y * frame->linesize[1] + x] > 200 ? 1 : 0;
        }
      }
      shown = red > 100 ? 'r' : blue > 100 ? 'b' : '-';
    }
    std::atomic<char> shown{'-'};
  };
  Viewer viewer;
  OpenEmpty();
  const std::string black = samples.Make(
      "black.png", {"-f", "lavfi", "-i", "color=black:size=1920x1080", "-frames:v", "1"});
  AddPicture(black);
  window->m_render->AddVideoOutput(&viewer);
  answers.color = 0xFF0000FF;
  AddText("MMMMMMMM");
  EXPECT_TRUE(SpinUntil([&] { return viewer.shown == 'r'; }));
  answers.color = 0x0000FFFF;
  answers.text = "WWWWWWWW";
  emit window->ui.m_tabLayer->editItem(0);
  EXPECT_TRUE(SpinUntil([&] { return viewer.shown == 'b'; }));
  answers.text = "";
  emit window->ui.m_tabLayer->editItem(0);
  EXPECT_TRUE(SpinUntil([&] { return viewer.shown == '-'; })) << "an empty text shows nothing";
  window->m_render->RemoveVideoOutput(&viewer);
}

TEST_F(Layers, ATextWithoutANodeIsRenamedInTheListOnly) {
  OpenEmpty();
  AddText("A");
  window->m_slots.DropNodes();
  answers.text = "B";
  window->SlotEditItem(0);
  EXPECT_EQ(window->Rows(), QStringList({"B"}));
}

TEST_F(Layers, AHiddenLayerIsNoTargetAndKeepsItsNodeRunning) {
  Open();
  ASSERT_TRUE(Shows(0));
  int unused = 0;
  emit window->ui.m_tabLayer->visibleSignal(0, false);
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(0, &unused, &unused, &unused, &unused), -1);
  EXPECT_EQ(window->m_render->GetLayerRect(0, &unused, &unused, &unused, &unused), 0);
  EXPECT_TRUE(desk->IsOpen());
  EXPECT_EQ(window->Order(), Ints({0}));
  emit window->ui.m_tabLayer->visibleSignal(0, true);
  EXPECT_EQ(window->m_render->GetVisibleLayerRect(0, &unused, &unused, &unused, &unused), 0);
}

// The name tip.

TEST_F(Layers, TheTipStaysWhereItFirstOpenedUntilItIsHidden) {
  Open();
  window->RecvStatusTip("a long name", QPoint(600, 400));
  EXPECT_TRUE(window->m_tip.isVisible());
  EXPECT_FALSE(window->m_tip.isModal());
  EXPECT_EQ(window->m_tip.pos(), QPoint(450, 286));
  window->RecvStatusTip("another", QPoint(700, 500));
  EXPECT_EQ(window->m_tip.pos(), QPoint(450, 286));
  window->RecvHideStatusTip();
  EXPECT_FALSE(window->m_tip.isVisible());
  window->RecvStatusTip("another", QPoint(700, 500));
  EXPECT_EQ(window->m_tip.pos(), QPoint(550, 386));
}

TEST_F(Layers, TheTipDoesNotLieOverTheRowThatItBelongsTo) {
  Open();
  window->show();
  window->move(100, 200);
  QApplication::processEvents();
  MyListView* list = window->ui.m_tabLayer;
  const QPoint mouse = list->viewport()->mapToGlobal(QPoint(100, 25));
  const QRect row = list->RowOnScreen(mouse);
  ASSERT_FALSE(row.isEmpty());
  window->RecvStatusTip("a long name", mouse);
  EXPECT_FALSE(window->m_tip.geometry().intersects(row));
  EXPECT_EQ(window->m_tip.x(), mouse.x() - 150);
}

TEST_F(Layers, ATipThatWasClosedOtherwiseComesBackOnlyAfterAHide) {
  Open();
  window->RecvStatusTip("name", QPoint(600, 400));
  window->m_tip.close();
  window->RecvStatusTip("name", QPoint(600, 400));
  EXPECT_FALSE(window->m_tip.isVisible());
  window->RecvHideStatusTip();
  window->RecvStatusTip("name", QPoint(600, 400));
  EXPECT_TRUE(window->m_tip.isVisible());
}

// What can't be opened.

TEST_F(Layers, AFileThatCanNotBeOpenedTellsTheLogAndIsListedAllTheSame) {
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

TEST_F(Layers, ADirectoryIsNoFileToChoose) {
  OpenEmpty();
  answers.path = QString::fromStdString(samples.Directory());
  window->SlotAddPic();
  window->SlotAddFile();
  EXPECT_TRUE(window->Rows().isEmpty());
}

TEST_F(Layers, AFileOfAnyNameIsShown) {
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

TEST_F(Layers, AFileThatVanishesWhileTheChooserStandsOpenLeavesAnEmptyLayer) {
  OpenEmpty();
  const std::string path = samples.Path("gone.png");
  ASSERT_FALSE(samples.Picture("gone.png").empty());
  QFile::remove(QString::fromStdString(path));
  AddPicture(path);
  EXPECT_EQ(window->Rows(), QStringList({"图片"}));
  EXPECT_NE(Log().find("gone.png"), std::string::npos);
}

TEST_F(Layers, AWindowThatVanishesWhileTheChooserStandsOpenLeavesAnEmptyLayer) {
  const platform::WindowHandle handle = windows.Add("short-lived", {320, 240}, 0x112233);
  OpenEmpty();
  answers.beforeAnswer = [&] { windows.Close(handle); };
  window->SlotAddWindow();
  EXPECT_EQ(window->Rows(), QStringList({"short-lived"}));
  window->SlotDeleteItem(0);
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(Layers, AWindowChooserConfirmedWithoutAChoiceAddsAnEmptyLayer) {
  OpenEmpty();
  answers.row = -1;
  window->SlotAddWindow();
  EXPECT_EQ(window->Rows(), QStringList({""}));
}

TEST_F(Layers, ACameraThatIsUnpluggedWhileTheChooserStandsOpenLeavesAnEmptyLayer) {
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
TEST_F(Layers, NoTwoLayersShareASlotAndTheDeletionOfOneLeavesTheOthersRunning) {
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

TEST_F(Layers, SourcesThatFailUseUpNoSlotForGood) {
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

TEST_F(Layers, ARowWhoseSourceDidNotOpenIsGreyWithTheCause) {
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

TEST_F(Layers, TextsOfAnyKindAreListedAsTheyStand) {
  OpenEmpty();
  const QString book(100000, QChar(0x4E16));
  for (const QString& text : {QString("two\nlines"), QString("   "), QString(QChar(0x200B)), book,
                              QString::fromUcs4(U"\U0001F600"), QString("%s%n:[in]'\\")}) {
    AddText(text);
    EXPECT_EQ(window->Rows().first(), text);
  }
  EXPECT_EQ(window->Order().size(), 6U);
}

TEST_F(Layers, AnEmptyTextAddsNothing) {
  OpenEmpty();
  AddText("");
  EXPECT_TRUE(window->Rows().isEmpty());
  EXPECT_TRUE(window->Order().empty());
  EXPECT_TRUE(window->m_layers.empty());
}

TEST_F(Layers, ATextThatIsEditedToNothingKeepsItsRowAndItsSlotAndShowsNothing) {
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
