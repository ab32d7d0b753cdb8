// The recording under the operator's hand: its switch in the bar, the file that comes of it, and
// what is told when it can't go on. The whole window on devices in memory, with the real encoder.
#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QTextDocumentFragment>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "output/CEncoder.h"
#include "output/StreamCodecs.h"
#include "shell/LiveControlRig.h"
#include "support/Process.h"
#include "support/Recording.h"
#include "widgets/RecordSwitch.h"

namespace {

using support::LiveControlRig;
using support::Recording;
using Look = RecordSwitch::Look;

constexpr std::uint64_t kPictures = 10;

class LiveRecording : public LiveControlRig {
 protected:
  void SetUp() override {
    // Where this user keeps videos.
    QFile places(QString::fromStdString(m_home.File("user-dirs.dirs")));
    ASSERT_TRUE(places.open(QIODevice::WriteOnly));
    places.write(("XDG_VIDEOS_DIR=\"" + m_home.File("Filme") + "\"\n").c_str());
    places.close();
    qputenv("XDG_CONFIG_HOME", m_home.Path().c_str());
    LiveControlRig::SetUp();
  }
  void TearDown() override {
    LiveControlRig::TearDown();
    qunsetenv("XDG_CONFIG_HOME");
  }

  void GoLive() {
    ChooseWith();
    Press("m_LiveBtn");
    ASSERT_TRUE(IsLive());
  }
  RecordSwitch* Switch() const { return m_window->findChild<RecordSwitch*>("recordSwitch"); }
  QString Tip() const { return QTextDocumentFragment::fromHtml(Switch()->toolTip()).toPlainText(); }
  bool AwaitRecording() const {
    return Await([this] { return Switch()->Shown() == Look::kOn; });
  }
  std::uint64_t Encoded() const { return m_window->m_encoder->Statistics().videoPacketsEncoded; }
  bool ShowsLength() const { return Tip().contains("00:00:") && !Tip().contains("00:00:00"); }
  // A busy machine encodes few pictures in a second of sound.
  bool AwaitPictures() const {
    const std::uint64_t before = Encoded();
    return Await([this, before] { return Encoded() > before + kPictures; });
  }
  std::vector<std::string> Files() const {
    std::vector<std::string> paths;
    std::error_code missing;
    for (const auto& entry :
         std::filesystem::directory_iterator(m_home.File("Filme/orvane"), missing)) {
      paths.push_back(entry.path());
    }
    return paths;
  }
  // Its length stands in it, which is the last that is written.
  static bool IsClosed(const std::string& path) {
    const std::string length =
        support::Run({"ffprobe", "-v", "error", "-show_entries", "format=duration", "-of",
                      "default=nokey=1:noprint_wrappers=1", path})
            .output;
    return std::strtod(length.c_str(), nullptr) > 0;
  }
  static void ExpectFilm(const std::string& path) {
    const Recording recording(path);
    EXPECT_EQ(recording.Error(), "");
    EXPECT_EQ(recording.TimeStampFault(), "");
    EXPECT_GT(recording.Count(output::kVideoStream), static_cast<int>(kPictures));
    EXPECT_GT(recording.Count(output::kAudioStream), 10);
  }

  support::TempDir m_home;
};

TEST_F(LiveRecording, TheSwitchIsThereWhileABroadcastRunsBesideTheLiveButton) {
  m_window->show();
  EXPECT_FALSE(Shows("recordSwitch"));
  ASSERT_NO_FATAL_FAILURE(GoLive());
  EXPECT_TRUE(Shows("recordSwitch"));
  EXPECT_EQ(Switch()->Shown(), Look::kOff);
  EXPECT_EQ(Tip(), "按一下，把直播同时录制成文件");
  QApplication::processEvents();
  EXPECT_EQ(Switch()->x(), Button("m_LiveBtn")->x() + 120 + 14);
  EXPECT_LT(Switch()->x() + Switch()->width(), Button("m_AddWinBtn")->x());
  EXPECT_EQ(Button("m_LiveBtn")->nextInFocusChain(), Switch());
  Press("m_LiveBtn");
  EXPECT_FALSE(Shows("recordSwitch"));
  EXPECT_TRUE(Files().empty());
}

// Half of the room that is left over is to the left of the live button and its clock, half of it to
// the right, as if there were no switch.
TEST_F(LiveRecording, NothingMovesForTheSwitch) {
  m_window->show();
  ASSERT_NO_FATAL_FAILURE(GoLive());
  QApplication::processEvents();
  const QRect live = Button("m_LiveBtn")->geometry();
  const QRect reselect = Button("m_reselectBtn")->geometry();
  const QWidget* adding = m_window->findChild<QLabel*>("m_AddWinLable");
  const int before = Label("startTime")->x() - (reselect.x() + reselect.width());
  const int behind = adding->x() - (live.x() + live.width());
  EXPECT_NEAR(before, behind, 1);
}

TEST_F(LiveRecording, APressRecordsAndAnotherOneEndsIt) {
  ASSERT_NO_FATAL_FAILURE(GoLive());
  Switch()->click();
  EXPECT_EQ(Switch()->Shown(), Look::kWaiting);
  EXPECT_TRUE(Switch()->isChecked());
  ASSERT_TRUE(AwaitRecording());
  ASSERT_EQ(Files().size(), 1U);
  ASSERT_TRUE(AwaitPictures());
  const std::string path = Files().front();
  EXPECT_NE(path.find("/周年庆 2"), std::string::npos) << path;
  ASSERT_TRUE(Await([this] { return ShowsLength(); })) << Tip().toStdString();
  EXPECT_TRUE(Tip().startsWith("正在录制，再按一下结束\n"));
  EXPECT_TRUE(Tip().endsWith(QString::fromStdString(path)));
  EXPECT_EQ(Switch()->accessibleDescription(), "正在录制，再按一下结束");
  Switch()->click();
  EXPECT_EQ(Switch()->Shown(), Look::kOff);
  EXPECT_TRUE(Await([this, &path] { return Tip().endsWith(QString::fromStdString(path)); }));
  EXPECT_TRUE(IsClosed(path));
  ExpectFilm(path);
  EXPECT_TRUE(IsLive());
  EXPECT_TRUE(m_notices.texts.isEmpty());

  Switch()->click();
  ASSERT_TRUE(AwaitRecording());
  EXPECT_EQ(Files().size(), 2U);
}

TEST_F(LiveRecording, TheEndOfTheBroadcastEndsItAndTheNextBeginsWithoutOne) {
  ASSERT_NO_FATAL_FAILURE(GoLive());
  Switch()->click();
  ASSERT_TRUE(AwaitRecording());
  ASSERT_TRUE(AwaitPictures());
  Press("m_LiveBtn");
  EXPECT_FALSE(Shows("recordSwitch"));
  ASSERT_EQ(Files().size(), 1U);
  EXPECT_TRUE(Await([this] { return IsClosed(Files().front()); }));
  ExpectFilm(Files().front());
  Press("m_LiveBtn");
  ASSERT_TRUE(IsLive());
  EXPECT_EQ(Switch()->Shown(), Look::kOff);
  EXPECT_TRUE(Await([this] { return Label("startTime")->text() != "00:00:00"; }));
  EXPECT_EQ(Files().size(), 1U);
}

TEST_F(LiveRecording, LeavingTheProgramClosesTheFile) {
  ASSERT_NO_FATAL_FAILURE(GoLive());
  Switch()->click();
  ASSERT_TRUE(AwaitRecording());
  ASSERT_TRUE(AwaitPictures());
  m_window->CloseGraph();
  ASSERT_EQ(Files().size(), 1U);
  EXPECT_TRUE(Await([this] { return IsClosed(Files().front()); }));
  ExpectFilm(Files().front());
}

TEST_F(LiveRecording, WhatCantBeWrittenIsToldOnceAndTheBroadcastGoesOn) {
  std::filesystem::create_directory(m_home.File("Filme"));
  QFile file(QString::fromStdString(m_home.File("Filme/orvane")));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  ASSERT_NO_FATAL_FAILURE(GoLive());
  Switch()->click();
  ASSERT_TRUE(Await([this] { return !m_notices.texts.isEmpty(); }));
  EXPECT_TRUE(Await([this] { return Switch()->Shown() == Look::kOff; }));
  EXPECT_EQ(m_notices.texts, QStringList{"无法录制：磁盘出错（Not a directory）\n直播不受影响\n" +
                                         QString::fromStdString(m_home.File("Filme/orvane"))});
  ExpectLive();
  EXPECT_TRUE(AwaitPictures());
  // Where it is mended the next press records.
  ASSERT_TRUE(file.remove());
  Switch()->click();
  EXPECT_TRUE(AwaitRecording());
  EXPECT_EQ(m_notices.texts.size(), 1);
}

}  // namespace
