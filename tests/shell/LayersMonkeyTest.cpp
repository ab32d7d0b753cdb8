// The main window with real nodes, worked without a plan, and for long.
#include <gtest/gtest.h>

#include "output/CRender.h"
#include "output/RenderRules.h"
#include "shell/Churn.h"
#include "shell/Monkey.h"

namespace {

using support::Held;
using support::LiveWindow;
using support::Monkey;

class LayersMonkey : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(LiveWindow::StartScreen()); }
  static void TearDownTestSuite() { LiveWindow::EndScreen(); }

  // A session of that many operations; what it leaves behind.
  Held Session(unsigned seed, int operations) {
    stage.Open();
    Monkey monkey(&stage, seed);
    for (int step = 0; step < operations; ++step) {
      const std::string done = monkey.Step();
      const std::string complaint = monkey.Complaint();
      EXPECT_EQ(complaint, "") << "after operation " << step << ", " << done;
      if (!complaint.empty()) {
        break;
      }
    }
    monkey.DeleteAll();
    EXPECT_EQ(monkey.Complaint(), "");
    EXPECT_TRUE(stage.window->m_layers.empty());
    EXPECT_EQ(stage.window->m_render->LayerCount(), 0);
    stage.Close();
    return support::LookAtProcess();
  }

  LiveWindow stage;
};

// The first session loads what libraries keep for the life of the process.
TEST_F(LayersMonkey, After500OperationsAllIsInStepAndNothingIsLeftOver) {
  const Held before = Session(1, 60);
  Held after = Session(20261121, 500);
  // Those that nobody joins end a little later.
  const auto asBefore = [&] {
    return after.threads == before.threads && after.files == before.files;
  };
  support::SpinUntil([&] {
    after = support::LookAtProcess();
    return asBefore();
  });
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.files, before.files);
  EXPECT_LT(after.bytes, before.bytes + 8L * 1024 * 1024);
}

// A thousand, with the time that it takes, are for bench/operator churn.
TEST_F(LayersMonkey, AddingAndDeletingKeepsMemoryFlatAndLosesNoComposedPicture) {
  stage.Open();
  support::AddAndDelete(&stage, 20);
  const support::ChurnResult result = support::AddAndDelete(&stage, 80);
  EXPECT_TRUE(result.ok);
  EXPECT_GT(result.pictures, 0);
  // Less than none where a canvas that had been shown and stood still was dropped.
  EXPECT_LE(result.missing, result.settled ? 0 : output::kComposedLimit);
  // Pools keep what they have once lent. A busy machine may have let as many canvases wait as ever
  // do; 80 layers that each leave a picture behind are several times that.
  const long canvases = (output::kComposedLimit + 1) * 1920L * 1080 * 3;
  EXPECT_LT(result.heapAtEnd, result.heapAtHalf + canvases + 8L * 1024 * 1024);
  stage.Close();
}

}  // namespace
