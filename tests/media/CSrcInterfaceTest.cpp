#include "media/CSrcInterface.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

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

// The operations of one medium and those of the other, which are twins.
struct Sound {
  static void Add(Node* node, CSrcInterface* sink) { node->AddAudioOutput(sink); }
  static void Remove(Node* node, CSrcInterface* sink) { node->RemoveAudioOutput(sink); }
  static void SetIndex(Node* node, int index) { node->SetAudioIndex(index); }
  static void Push(Node* node, void* media, int isPacket) { node->PushAudio(media, isPacket); }
  static void Enqueue(Node* node, int index, void* media) { node->EnqueueAudio(index, media); }
  static std::vector<CMyQueue*>& Queues(Node* node) { return node->m_audioQueues; }
  static std::vector<CSrcInterface*>& Outputs(Node* node) { return node->m_audioOutputs; }
};
struct Pictures {
  static void Add(Node* node, CSrcInterface* sink) { node->AddVideoOutput(sink); }
  static void Remove(Node* node, CSrcInterface* sink) { node->RemoveVideoOutput(sink); }
  static void SetIndex(Node* node, int index) { node->SetVideoIndex(index); }
  static void Push(Node* node, void* media, int isPacket) { node->PushVideo(media, isPacket); }
  static void Enqueue(Node* node, int index, void* media) { node->EnqueueVideo(index, media); }
  static std::vector<CMyQueue*>& Queues(Node* node) { return node->m_videoQueues; }
  static std::vector<CSrcInterface*>& Outputs(Node* node) { return node->m_videoOutputs; }
};
template <typename M>
struct Other;
template <>
struct Other<Sound> {
  using Medium = Pictures;
};
template <>
struct Other<Pictures> {
  using Medium = Sound;
};

// What waits in all queues of a medium.
template <typename M>
int Waiting(Node* node) {
  int count = 0;
  for (CMyQueue* queue : M::Queues(node)) {
    count += queue->Size();
  }
  return count;
}

template <typename M>
class CSrcInterfaceMedium : public testing::Test {};
using Media = testing::Types<Sound, Pictures>;
TYPED_TEST_SUITE(CSrcInterfaceMedium, Media);

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

TEST(CSrcInterface, AReplacedConsumerLosesNoFrameToNobody) {
  constexpr int kPushes = 5000;
  Node producer(1);
  RecordingNode sinks[2];
  producer.AddAudioOutput(&sinks[0]);
  std::atomic<bool> done{false};
  std::thread worker([&] {
    const ScopedFrame frame(NewPicture());
    for (int i = 0; i < kPushes; ++i) {
      producer.PushAudio(frame.Get(), 0);
    }
    done = true;
  });
  for (int i = 0; !done; ++i) {
    producer.ReplaceAudioOutput(&sinks[i % 2], &sinks[(i + 1) % 2]);
    EXPECT_EQ(Sound::Outputs(&producer).size(), 1U);
    std::this_thread::yield();
  }
  worker.join();
  EXPECT_EQ(sinks[0].AudioCount() + sinks[1].AudioCount(), kPushes);
}

TEST(CSrcInterface, ReplacingAConsumerThatIsNotListedChangesNothing) {
  Node producer(1);
  RecordingNode listed;
  RecordingNode other;
  RecordingNode third;
  producer.AddAudioOutput(&listed);
  producer.ReplaceAudioOutput(&other, &third);
  EXPECT_EQ(Sound::Outputs(&producer), std::vector<CSrcInterface*>{&listed});
}

TYPED_TEST(CSrcInterfaceMedium, PushWithNoOutputLeavesTheCallersFrameValid) {
  Node node(1);
  ScopedFrame frame(NewPicture());
  TypeParam::Push(&node, frame.Get(), 0);
  EXPECT_NE(frame->data[0], nullptr);
  EXPECT_EQ(av_buffer_get_ref_count(frame->buf[0]), 1);
}

TYPED_TEST(CSrcInterfaceMedium, PushOfNullIsIgnored) {
  Node node(1);
  Node sink(1);
  TypeParam::Add(&node, &sink);
  TypeParam::Push(&node, nullptr, 0);
  TypeParam::Push(&node, nullptr, 1);
  EXPECT_EQ(Waiting<TypeParam>(&sink), 0);
}

TYPED_TEST(CSrcInterfaceMedium, SameOutputTwiceIsListedOnceAndOneRemoveEmptiesTheList) {
  Node node(1);
  RecordingNode sink;
  TypeParam::Add(&node, &sink);
  TypeParam::Add(&node, &sink);
  EXPECT_EQ(TypeParam::Outputs(&node).size(), 1u);
  EXPECT_TRUE(Other<TypeParam>::Medium::Outputs(&node).empty());
  TypeParam::Remove(&node, &sink);
  EXPECT_TRUE(TypeParam::Outputs(&node).empty());
}

TYPED_TEST(CSrcInterfaceMedium, RemovingAnOutputThatIsNotListedChangesNothing) {
  Node node(1);
  RecordingNode listed;
  RecordingNode stranger;
  TypeParam::Add(&node, &listed);
  TypeParam::Remove(&node, &stranger);
  Other<TypeParam>::Medium::Remove(&node, &listed);
  ASSERT_EQ(TypeParam::Outputs(&node).size(), 1u);
  EXPECT_EQ(TypeParam::Outputs(&node)[0], &listed);
}

TYPED_TEST(CSrcInterfaceMedium, EnqueueBeyondTheLastQueueReturnsWithoutQueuing) {
  Node node(1);
  ScopedFrame frame(NewPicture());
  TypeParam::Enqueue(&node, 1, frame.Get());
  EXPECT_EQ(Waiting<Sound>(&node) + Waiting<Pictures>(&node), 0);
}

TYPED_TEST(CSrcInterfaceMedium, EnqueueAppendsToTheQueueOfItsIndex) {
  Node node(2);
  ScopedFrame frame(NewPicture());
  for (const int index : {0, 1}) {
    AVFrame* clone = av_frame_clone(frame.Get());
    TypeParam::Enqueue(&node, index, clone);
    EXPECT_EQ(TypeParam::Queues(&node)[static_cast<std::size_t>(index)]->Peek(), clone);
  }
  EXPECT_EQ(Waiting<TypeParam>(&node), 2);
  EXPECT_EQ(Waiting<typename Other<TypeParam>::Medium>(&node), 0);
}

TYPED_TEST(CSrcInterfaceMedium, PushClonesForEachConsumerAtThisNodesIndex) {
  Node node(1);
  Node first(2);
  Node second(2);
  TypeParam::SetIndex(&node, 1);
  TypeParam::Add(&node, &first);
  TypeParam::Add(&node, &second);
  ScopedFrame frame(NewPicture());
  TypeParam::Push(&node, frame.Get(), 0);
  ScopedFrame got(static_cast<AVFrame*>(TypeParam::Queues(&first)[1]->Pop()));
  ASSERT_TRUE(got);
  EXPECT_NE(got.Get(), frame.Get());
  EXPECT_EQ(got->data[0], frame->data[0]);
  EXPECT_EQ(Waiting<TypeParam>(&first), 0);
  EXPECT_EQ(TypeParam::Queues(&second)[1]->Size(), 1);
  EXPECT_EQ(Waiting<typename Other<TypeParam>::Medium>(&second), 0);
}

TYPED_TEST(CSrcInterfaceMedium, PushOfAPacketGivesPacketClones) {
  Node node(1);
  Node sink(1);
  TypeParam::Add(&node, &sink);
  ffmpeg::ScopedPacket packet(av_packet_alloc());
  ASSERT_EQ(av_new_packet(packet.Get(), 16), 0);
  TypeParam::Push(&node, packet.Get(), 1);
  ffmpeg::ScopedPacket got(static_cast<AVPacket*>(TypeParam::Queues(&sink)[0]->Pop()));
  ASSERT_TRUE(got);
  EXPECT_EQ(got->data, packet->data);
}

TYPED_TEST(CSrcInterfaceMedium, NoCloneIsMadeForAnIndexBeyondTheConsumersQueues) {
  Node node(1);
  RecordingNode sink(1);
  TypeParam::SetIndex(&node, 10);
  TypeParam::Add(&node, &sink);
  ScopedFrame frame(NewPicture());
  TypeParam::Push(&node, frame.Get(), 0);
  EXPECT_EQ(av_buffer_get_ref_count(frame->buf[0]), 1);
}

TYPED_TEST(CSrcInterfaceMedium, ARemovedConsumerMayBeDeletedWhileTheProducerRuns) {
  Node producer(1);
  std::atomic<bool> stop{false};
  std::thread worker([&] {
    ScopedFrame frame(NewPicture());
    while (!stop) {
      TypeParam::Push(&producer, frame.Get(), 0);
    }
  });
  for (int i = 0; i < 200; ++i) {
    auto* consumer = new RecordingNode;
    TypeParam::Add(&producer, consumer);
    std::this_thread::yield();
    TypeParam::Remove(&producer, consumer);
    delete consumer;
  }
  stop = true;
  worker.join();
}
