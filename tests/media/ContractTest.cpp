// In the sanitizer builds a broken contract ends the program; these tests are of these builds
// alone.
#include "media/Contract.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "media/AmixGraph.h"
#include "media/CMyQueue.h"
#include "media/COverlay.h"
#include "media/Worker.h"
#include "support/Frames.h"

namespace {

class Contract : public testing::Test {
 protected:
  Contract() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  // work on another thread, which ends.
  template <typename Work>
  static void Elsewhere(Work work) {
    std::thread(work).join();
  }
};

TEST_F(Contract, AThreadKeepsWhatItClaimedUntilItEndsOrHandsItOver) {
  media::ThreadClaim claim;
  EXPECT_TRUE(claim.Holds());
  EXPECT_TRUE(claim.Holds());
  Elsewhere([&] { EXPECT_FALSE(claim.Holds()); });
  claim.HandOver();
  Elsewhere([&] { EXPECT_TRUE(claim.Holds()); });
  EXPECT_TRUE(claim.Holds()) << "the other one has ended";
}

TEST_F(Contract, AQueueHasOneConsumerAndAnyNumberOfProducers) {
  CMyQueue queue(0);
  queue.PushBack(support::NewSound(0));
  ASSERT_NE(queue.Peek(), nullptr);
  Elsewhere([&] {
    queue.PushBack(support::NewSound(20));
    EXPECT_EQ(queue.Size(), 2);
  });
  const auto another = [&](auto consume) {
    EXPECT_DEATH(Elsewhere(consume), "a queue has one consumer");
  };
  another([&] { queue.Peek(); });
  another([&] { queue.Pop(); });
  another([&] { queue.Clear(); });
  queue.HandOver();
  Elsewhere([&] { queue.Clear(); });
  EXPECT_EQ(queue.Size(), 0);
}

TEST_F(Contract, AMixingGraphBelongsToOneThread) {
  const std::atomic<bool> stop{false};
  media::AmixGraph graph;
  ASSERT_EQ(graph.Build(1, stop), media::AmixGraph::Result::kReady);
  EXPECT_DEATH(Elsewhere([&] { graph.Receive(); }), "a mixing graph belongs to one thread");
}

TEST_F(Contract, OneThreadDrawsAText) {
  COverlay overlay;
  ffmpeg::ScopedFrame canvas(support::NewRgb(64, 36));
  EXPECT_EQ(overlay.DrawText(canvas.Get()), 0);
  EXPECT_DEATH(Elsewhere([&] { overlay.DrawText(canvas.Get()); }), "one thread draws a text");
}

TEST_F(Contract, BlitTakesPackedRows) {
  COverlay overlay;
  ffmpeg::ScopedFrame canvas(support::NewRgb(64, 36));
  ffmpeg::ScopedFrame image(support::NewRgb(10, 10));
  EXPECT_EQ(overlay.Blit(canvas.Get(), image.Get(), 0, 0), 0);
  image->linesize[0] = 32;
  EXPECT_DEATH(overlay.Blit(canvas.Get(), image.Get(), 0, 0), "Blit takes packed rows");
}

TEST_F(Contract, AWorkerIsJoinedBeforeItGoes) {
  EXPECT_DEATH(
      {
        media::Worker worker;
        worker.Start("worker", [] {});
      },
      "a worker is joined before it goes");
}

}  // namespace
