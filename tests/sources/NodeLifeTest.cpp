// Every source and both mixers have one life: new, running, over. What a second Start gives, a Stop
// that comes too early, and a system without threads is asked of each of them here.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "media/CMixFrame.h"
#include "media/CMixOut.h"
#include "sources/CInputDev.h"
#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/CInputSilentFile.h"
#include "sources/CInputSlience.h"
#include "sources/CWndCapture.h"
#include "sources/DeviceCatalogue.h"
#include "support/FakeCaptureLayer.h"
#include "support/FakeWindowSystem.h"
#include "support/LogRecord.h"
#include "support/MediaSamples.h"
#include "support/RefusedThreads.h"

namespace {

// What there is to be captured and played, made once.
struct World {
  World() {
    DeviceCatalogue::Instance();
    platform::WindowSystem::Install(&windows);
    capture.AddCamera("camera");
    capture.AddMicrophone("microphone");
    window = windows.Add("window", {8, 8}, 0x112233);
    film = samples.Clip("film.mp4");
    support::ClipOptions silent;
    silent.soundSeconds = 0;
    silentFilm = samples.Clip("silent.mp4", silent);
    picture = samples.Picture("picture.png");
  }

  ~World() { platform::WindowSystem::Install(nullptr); }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  support::FakeCaptureLayer capture;
  support::InstalledCaptureLayer installed{&capture};
  support::FakeWindowSystem windows;
  platform::WindowHandle window = 0;
  support::MediaSamples samples;
  std::string film;
  std::string silentFilm;
  std::string picture;
};

struct Kind {
  const char* name;
  int kind;
  int threads;  // that its start takes, those in which decoders are opened too
  std::function<CSrcInterface*(const World&)> make;
};

class NodeLife : public testing::TestWithParam<Kind> {
 protected:
  static void SetUpTestSuite() { s_world = std::make_unique<World>(); }
  static void TearDownTestSuite() { s_world.reset(); }
  NodeLife() : m_node(Make()) {}

  static std::unique_ptr<CSrcInterface> Make() {
    return std::unique_ptr<CSrcInterface>(GetParam().make(*s_world));
  }

  static std::unique_ptr<World> s_world;
  support::LogRecord m_log;
  std::unique_ptr<CSrcInterface> m_node;
};

std::unique_ptr<World> NodeLife::s_world;

// Opens what nothing in the program reads.
struct KindOf : CSrcInterface {
  static int Read(const CSrcInterface& node) { return node.*(&KindOf::m_kind); }
};

TEST_P(NodeLife, HasTheKindOfItsSource) {
  EXPECT_EQ(GetParam().kind, KindOf::Read(*m_node));
}

TEST_P(NodeLife, ASecondStartChangesNothing) {
  EXPECT_EQ(0, m_node->Start());
  EXPECT_EQ(0, m_node->Start());
  EXPECT_EQ(0, m_node->Stop());
}

TEST_P(NodeLife, AStopThatComesTooEarlyLeavesTheStartAsItIs) {
  EXPECT_EQ(0, m_node->Stop());
  EXPECT_EQ(0, m_node->Start());
  EXPECT_EQ(0, m_node->Stop());
  EXPECT_EQ(0, m_node->Stop());
}

TEST_P(NodeLife, WhatWasStoppedIsNotStartedAgain) {
  ASSERT_EQ(0, m_node->Start());
  ASSERT_EQ(0, m_node->Stop());
  EXPECT_EQ(-1, m_node->Start());
  EXPECT_EQ(0, m_node->Stop());
}

TEST_P(NodeLife, WithoutAThreadItDoesNotStartAndTheLogSaysWhy) {
  for (int given = 0; given < GetParam().threads; ++given) {
    const std::unique_ptr<CSrcInterface> node = Make();
    const support::RefusedThreads refused(given);
    EXPECT_EQ(-1, node->Start()) << given;
    EXPECT_TRUE(m_log.HasError("the system gives no thread for \""));
    EXPECT_EQ(0, node->Stop());
  }
}

INSTANTIATE_TEST_SUITE_P(
    NodeLife, NodeLife,
    testing::Values(
        Kind{"CMixFrame", 0, 1, [](const World&) { return new CMixFrame(10); }},
        Kind{"CMixOut", 0, 1, [](const World&) { return new CMixOut; }},
        Kind{"CInputSlience", 0, 1, [](const World&) { return new CInputSlience; }},
        Kind{"CInputDev", 2, 2,
             [](const World&) { return new CInputDev(false, "camera", 0, 0, AV_PIX_FMT_RGB24); }},
        Kind{
            "CInputDevSound", 1, 2,
            [](const World&) { return new CInputDev(true, "microphone", 0, 0, AV_PIX_FMT_RGB24); }},
        Kind{"CInputFile", 3, 4, [](const World& world) { return new CInputFile(world.film); }},
        Kind{"CInputSilentFile", 3, 2,
             [](const World& world) { return new CInputSilentFile(world.silentFilm); }},
        Kind{"CInputPic", 4, 2, [](const World& world) { return new CInputPic(world.picture); }},
        Kind{"CWndCapture", 5, 1,
             [](const World& world) { return new CWndCapture(world.window); }}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
