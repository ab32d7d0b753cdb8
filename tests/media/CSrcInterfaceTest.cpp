#include "media/CSrcInterface.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "media/ffmpeg/Scoped.h"
#include "support/RecordingNode.h"

namespace {

using ffmpeg::ScopedFrame;
using support::RecordingNode;

AVFrame* NewPicture() {
  AVFrame* frame = av_frame_alloc();
  frame->width = 4;
  frame->height = 2;
  frame->format = AV_PIX_FMT_RGB24;
  av_frame_get_buffer(frame, 1);
  return frame;
}

// Opens what the tests look at.
class Node : public CSrcInterface {
 public:
  explicit Node(int queueCount) : CSrcInterface(0, queueCount) {}
  using CSrcInterface::m_audioOutputs;
  using CSrcInterface::m_audioQueues;
  using CSrcInterface::m_firstAudioQueue;
  using CSrcInterface::m_firstVideoQueue;
  using CSrcInterface::m_videoOutputs;
  using CSrcInterface::m_videoQueues;
};

}  // namespace

TEST(CSrcInterface, MakesTheQueuesOfBothMediaAndPointsAtTheFirst) {
  Node node(3);
  EXPECT_EQ(node.m_audioQueues.size(), 3u);
  EXPECT_EQ(node.m_videoQueues.size(), 3u);
  EXPECT_EQ(node.m_firstAudioQueue, node.m_audioQueues[0]);
  EXPECT_EQ(node.m_firstVideoQueue, node.m_videoQueues[0]);
  EXPECT_EQ(node.Start(), 0);
  EXPECT_EQ(node.Stop(), 0);
  EXPECT_TRUE(node.IsReady());
}

TEST(CSrcInterface, PushWithNoOutputLeavesTheCallersFrameValid) {
  Node node(1);
  ScopedFrame frame(NewPicture());
  node.PushAudio(frame.Get(), 0);
  node.PushVideo(frame.Get(), 0);
  EXPECT_NE(frame->data[0], nullptr);
  EXPECT_EQ(av_buffer_get_ref_count(frame->buf[0]), 1);
}

TEST(CSrcInterface, PushOfNullIsIgnored) {
  Node node(1);
  RecordingNode sink;
  node.AddAudioOutput(&sink);
  node.AddVideoOutput(&sink);
  node.PushAudio(nullptr, 0);
  node.PushVideo(nullptr, 0);
  EXPECT_EQ(sink.AudioCount() + sink.VideoCount(), 0);
}

TEST(CSrcInterface, SameOutputTwiceIsListedOnceAndOneRemoveEmptiesTheList) {
  Node node(1);
  RecordingNode sink;
  node.AddVideoOutput(&sink);
  node.AddVideoOutput(&sink);
  EXPECT_EQ(node.m_videoOutputs.size(), 1u);
  node.RemoveVideoOutput(&sink);
  EXPECT_TRUE(node.m_videoOutputs.empty());
}

TEST(CSrcInterface, RemovingAnOutputThatIsNotListedChangesNothing) {
  Node node(1);
  RecordingNode listed;
  RecordingNode stranger;
  node.AddAudioOutput(&listed);
  node.RemoveAudioOutput(&stranger);
  ASSERT_EQ(node.m_audioOutputs.size(), 1u);
  EXPECT_EQ(node.m_audioOutputs[0], &listed);
}

TEST(CSrcInterface, EnqueueBeyondTheLastQueueReturnsWithoutQueuing) {
  Node node(1);
  ScopedFrame frame(NewPicture());
  node.EnqueueAudio(1, frame.Get());
  node.EnqueueVideo(1, frame.Get());
  EXPECT_EQ(node.m_firstAudioQueue->Size(), 0);
  EXPECT_EQ(node.m_firstVideoQueue->Size(), 0);
}

TEST(CSrcInterface, EnqueueAtZeroAppendsToTheFirstQueue) {
  Node node(1);
  AVFrame* frame = NewPicture();
  node.EnqueueAudio(0, frame);
  EXPECT_EQ(node.m_firstAudioQueue->Peek(), frame);
}

TEST(CSrcInterface, ClearingEmptiesEveryQueueOfItsMedium) {
  Node node(2);
  ScopedFrame frame(NewPicture());
  for (const int index : {0, 1}) {
    node.EnqueueAudio(index, av_frame_clone(frame.Get()));
    node.EnqueueVideo(index, av_frame_clone(frame.Get()));
  }
  node.ClearAudioQueues();
  EXPECT_EQ(node.m_audioQueues[0]->Size() + node.m_audioQueues[1]->Size(), 0);
  EXPECT_EQ(node.m_videoQueues[0]->Size() + node.m_videoQueues[1]->Size(), 2);
  // A queue that was given up leaves null behind.
  delete node.m_videoQueues[0];
  node.m_videoQueues[0] = nullptr;
  node.ClearVideoQueues();
  EXPECT_EQ(node.m_videoQueues[1]->Size(), 0);
  EXPECT_EQ(av_buffer_get_ref_count(frame->buf[0]), 1);
}

TEST(CSrcInterface, DestructionFreesTheFramesInTheQueues) {
  ScopedFrame frame(NewPicture());
  {
    Node node(2);
    node.EnqueueAudio(1, av_frame_clone(frame.Get()));
    node.EnqueueVideo(0, av_frame_clone(frame.Get()));
    EXPECT_EQ(av_buffer_get_ref_count(frame->buf[0]), 3);
  }
  EXPECT_EQ(av_buffer_get_ref_count(frame->buf[0]), 1);
}

TEST(CSrcInterface, PushClonesForEachConsumerAtThisNodesIndex) {
  Node node(1);
  RecordingNode first(2);
  RecordingNode second(2);
  node.SetVideoIndex(1);
  node.AddVideoOutput(&first);
  node.AddVideoOutput(&second);
  ScopedFrame frame(NewPicture());
  node.PushVideo(frame.Get(), 0);
  ScopedFrame got(first.TakeVideo(1));
  ASSERT_TRUE(got);
  EXPECT_NE(got.Get(), frame.Get());
  EXPECT_EQ(got->data[0], frame->data[0]);
  EXPECT_EQ(first.VideoCount(0), 0);
  EXPECT_EQ(second.VideoCount(1), 1);
}

TEST(CSrcInterface, PushOfAPacketGivesPacketClones) {
  Node node(1);
  Node sink(1);
  node.AddAudioOutput(&sink);
  ffmpeg::ScopedPacket packet(av_packet_alloc());
  ASSERT_EQ(av_new_packet(packet.Get(), 16), 0);
  node.PushAudio(packet.Get(), 1);
  ffmpeg::ScopedPacket got(static_cast<AVPacket*>(sink.m_firstAudioQueue->Pop()));
  ASSERT_TRUE(got);
  EXPECT_EQ(got->data, packet->data);
}

TEST(CSrcInterface, NoCloneIsMadeForAnIndexBeyondTheConsumersQueues) {
  Node node(1);
  RecordingNode sink(1);
  node.SetAudioIndex(10);
  node.AddAudioOutput(&sink);
  ScopedFrame frame(NewPicture());
  node.PushAudio(frame.Get(), 0);
  EXPECT_EQ(av_buffer_get_ref_count(frame->buf[0]), 1);
}

TEST(CSrcInterface, ARemovedConsumerMayBeDeletedWhileTheProducerRuns) {
  Node producer(1);
  std::atomic<bool> stop{false};
  std::thread worker([&] {
    ScopedFrame frame(NewPicture());
    while (!stop) {
      producer.PushVideo(frame.Get(), 0);
    }
  });
  for (int i = 0; i < 200; ++i) {
    auto* consumer = new RecordingNode;
    producer.AddVideoOutput(consumer);
    std::this_thread::yield();
    producer.RemoveVideoOutput(consumer);
    delete consumer;
  }
  stop = true;
  worker.join();
}
