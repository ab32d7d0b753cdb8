// The scene on the disk: kept, given back, forgotten, and never waited for.
#include "shell/SceneKeeper.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <optional>
#include <string>

#include "support/FileLimit.h"
#include "support/LogRecord.h"
#include "support/Process.h"

namespace {

std::atomic<bool> g_diskHangs{false};
std::atomic<int> g_syncs{0};  // begun

}  // namespace

extern "C" int __real_fsync(int file);
// A disk that takes no more data for as long as g_diskHangs is set.
extern "C" int __wrap_fsync(int file) {
  ++g_syncs;
  while (g_diskHangs) {
    usleep(1000);
  }
  return __real_fsync(file);
}

namespace {

using shell::SavedScene;
using shell::SceneKeeper;
using support::WaitFor;

constexpr int kPatienceMs = 60000;

SavedScene SceneOf(const QString& text) {
  shell::LayerRecord layer;
  layer.kind = shell::LayerKind::kText;
  layer.name = text;
  return {{layer}, 1'800'000'000};
}

class SceneKeeperTest : public testing::Test {
 protected:
  SceneKeeperTest() { g_syncs = 0; }

  // What a run that begins now finds.
  std::string Former() {
    SceneKeeper keeper;
    keeper.Open(m_path);
    std::optional<SavedScene> former;
    WaitFor([&] { return (former = keeper.TakeFormer()).has_value(); }, kPatienceMs);
    return former ? former->layers.at(0).name.toStdString() : "";
  }
  bool Exists() const { return access(m_path.c_str(), F_OK) == 0; }
  bool Holds(const std::string& text) const {
    return WaitFor([&] { return support::ReadFile(m_path).find(text) != std::string::npos; },
                   kPatienceMs);
  }

  support::TempDir m_directory;
  std::string m_path = m_directory.File("scene.json");
  support::LogRecord m_log;
};

TEST_F(SceneKeeperTest, GivesBackOnceWhatTheLastRunHasKept) {
  {
    SceneKeeper keeper;
    keeper.Open(m_path);
    keeper.Keep(SceneOf("first"));
    keeper.Keep(SceneOf("last"));
  }
  SceneKeeper keeper;
  keeper.Open(m_path);
  std::optional<SavedScene> former;
  ASSERT_TRUE(WaitFor([&] { return (former = keeper.TakeFormer()).has_value(); }, kPatienceMs));
  EXPECT_TRUE(former->layers == SceneOf("last").layers);
  EXPECT_EQ(former->savedAt, SceneOf("last").savedAt);
  EXPECT_FALSE(keeper.TakeFormer().has_value());
}

// Not at its end alone: a crash has none.
TEST_F(SceneKeeperTest, IsOnTheDiskSoonAfterItWasKept) {
  SceneKeeper keeper;
  keeper.Open(m_path);
  keeper.Keep(SceneOf("now"));
  EXPECT_TRUE(Holds("now"));
  keeper.Keep(SceneOf("then"));
  EXPECT_TRUE(Holds("then"));
}

TEST_F(SceneKeeperTest, WhatIsForgottenIsGone) {
  SceneKeeper keeper;
  keeper.Open(m_path);
  keeper.Forget();  // nothing there yet
  keeper.Keep(SceneOf("now"));
  ASSERT_TRUE(Holds("now"));
  keeper.Forget();
  EXPECT_TRUE(WaitFor([&] { return !Exists(); }, kPatienceMs));
  keeper.Keep(SceneOf("again"));
  EXPECT_TRUE(Holds("again"));
  EXPECT_EQ(m_log.Errors(), "");
}

TEST_F(SceneKeeperTest, KeepsNothingBeforeItIsOpenAndAfterItIsClosed) {
  SceneKeeper keeper;
  keeper.Keep(SceneOf("early"));
  keeper.Forget();
  EXPECT_FALSE(keeper.TakeFormer().has_value());
  keeper.Close();
  keeper.Open(m_path);
  keeper.Close();
  keeper.Keep(SceneOf("late"));
  EXPECT_FALSE(keeper.TakeFormer().has_value());
  EXPECT_FALSE(Exists());
}

TEST_F(SceneKeeperTest, AFileThatHoldsNoSceneIsNoneAndIsSaid) {
  std::ofstream(m_path) << "{\"format\":\"orvane scene\",\"version\":7}";
  {
    SceneKeeper keeper;
    keeper.Open(m_path);
    ASSERT_TRUE(WaitFor([&] { return !m_log.Media(24).empty(); }, kPatienceMs));  // a warning
    EXPECT_FALSE(keeper.TakeFormer().has_value());
    keeper.Keep(SceneOf("better"));
  }
  EXPECT_EQ(Former(), "better");
}

TEST_F(SceneKeeperTest, AFullDiskIsSaidOnceAndTriedAgain) {
  {
    SceneKeeper keeper;
    keeper.Open(m_path);
    const support::FileLimit full(5);
    keeper.Keep(SceneOf("one"));
    ASSERT_TRUE(WaitFor([&] { return m_log.HasError(m_path); }, kPatienceMs));
    keeper.Keep(SceneOf("two"));
    keeper.Close();
    const std::string errors = m_log.Errors();
    EXPECT_EQ(errors.find(m_path), errors.rfind(m_path)) << errors;
    EXPECT_FALSE(Exists());
  }
  {
    SceneKeeper keeper;
    keeper.Open(m_path);
    keeper.Keep(SceneOf("three"));
  }
  EXPECT_EQ(Former(), "three");
}

// The window goes on, and leaves, while the disk does not answer.
TEST_F(SceneKeeperTest, ADiskThatHangsHoldsNobodyUp) {
  g_diskHangs = true;
  {
    SceneKeeper keeper;
    keeper.Open(m_path);
    keeper.Keep(SceneOf("one"));
    ASSERT_TRUE(WaitFor([] { return g_syncs == 1; }, kPatienceMs));
    keeper.Keep(SceneOf("two"));
    keeper.Forget();
    keeper.Keep(SceneOf("three"));
    EXPECT_FALSE(Exists());
  }
  g_diskHangs = false;
  EXPECT_TRUE(Holds("three"));
  EXPECT_EQ(g_syncs, 2) << "what was overtaken is not written";
}

}  // namespace
