#include "media/CMyQueue.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "media/ffmpeg/Scoped.h"

namespace {

// A frame or packet on top of a buffer whose release can be seen.
struct Freed {
  int count = 0;
};

void CountRelease(void* opaque, std::uint8_t* data) {
  static_cast<Freed*>(opaque)->count++;
  av_free(data);
}

AVBufferRef* CountedBuffer(Freed* freed) {
  return av_buffer_create(static_cast<std::uint8_t*>(av_malloc(64)), 64, CountRelease, freed, 0);
}

AVFrame* CountedFrame(Freed* freed) {
  AVFrame* frame = av_frame_alloc();
  frame->buf[0] = CountedBuffer(freed);
  frame->data[0] = frame->buf[0]->data;
  return frame;
}

AVPacket* CountedPacket(Freed* freed) {
  AVPacket* packet = av_packet_alloc();
  packet->buf = CountedBuffer(freed);
  packet->data = packet->buf->data;
  packet->size = 64;
  return packet;
}

}  // namespace

TEST(CMyQueue, EmptyQueueGivesNothingAndClearHasNoEffect) {
  CMyQueue queue(0);
  int remaining = 7;
  EXPECT_EQ(queue.Peek(), nullptr);
  EXPECT_EQ(queue.Pop(), nullptr);
  EXPECT_EQ(queue.Pop(&remaining), nullptr);
  EXPECT_EQ(remaining, 0);
  EXPECT_EQ(queue.Size(), 0);
  queue.Clear();
  EXPECT_EQ(queue.Size(), 0);
}

TEST(CMyQueue, PushFrontIsNextOutAheadOfEverythingPushedEarlier) {
  CMyQueue queue(0);
  int entries[3] = {};
  queue.PushBack(&entries[0]);
  queue.PushBack(&entries[1]);
  queue.PushFront(&entries[2]);
  EXPECT_EQ(queue.Peek(), &entries[2]);
  EXPECT_EQ(queue.Pop(), &entries[2]);
  EXPECT_EQ(queue.Pop(), &entries[0]);
  EXPECT_EQ(queue.Pop(), &entries[1]);
}

TEST(CMyQueue, AfterClearItAcceptsPushesAndCountsFromZero) {
  Freed freed;
  CMyQueue queue(0);
  queue.PushBack(CountedFrame(&freed));
  queue.PushBack(CountedFrame(&freed));
  queue.Clear();
  EXPECT_EQ(freed.count, 2);
  EXPECT_EQ(queue.Size(), 0);
  queue.PushBack(CountedFrame(&freed));
  EXPECT_EQ(queue.Size(), 1);
}

TEST(CMyQueue, DestroyedQueueFreesItsFramesOrItsPackets) {
  Freed frames;
  Freed packets;
  {
    CMyQueue frameQueue(0);
    frameQueue.PushBack(CountedFrame(&frames));
    frameQueue.PushBack(CountedFrame(&frames));
    CMyQueue packetQueue(1);
    packetQueue.PushBack(CountedPacket(&packets));
  }
  EXPECT_EQ(frames.count, 2);
  EXPECT_EQ(packets.count, 1);
}

TEST(CMyQueue, ANullEntryIsKeptAndFreedLikeAnyOther) {
  for (const int isPacket : {0, 1}) {
    CMyQueue queue(isPacket);
    queue.PushBack(nullptr);
    queue.PushFront(nullptr);
    EXPECT_EQ(queue.Size(), 2);
    int remaining = 0;
    EXPECT_EQ(queue.Pop(&remaining), nullptr);
    EXPECT_EQ(remaining, 1);
    queue.Clear();
    EXPECT_EQ(queue.Size(), 0);
  }
}

TEST(CMyQueue, ClearFreesFromTheHead) {
  std::vector<int> order;
  struct Mark {
    std::vector<int>* order;
    int number;
  };
  Mark marks[] = {{&order, 0}, {&order, 1}, {&order, 2}};
  CMyQueue queue(0);
  for (Mark& mark : marks) {
    AVFrame* frame = av_frame_alloc();
    frame->buf[0] = av_buffer_create(
        static_cast<std::uint8_t*>(av_malloc(1)), 1,
        [](void* opaque, std::uint8_t* data) {
          const auto* freed = static_cast<const Mark*>(opaque);
          freed->order->push_back(freed->number);
          av_free(data);
        },
        &mark, 0);
    queue.PushBack(frame);
  }
  queue.Clear();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
}

TEST(CMyQueue, PopWithCountDiffersOnOneEntryAndNoneInTheResultOnly) {
  CMyQueue queue(0);
  int entry = 0;
  queue.PushBack(&entry);
  int remaining = 7;
  EXPECT_EQ(queue.Pop(&remaining), &entry);
  EXPECT_EQ(remaining, 0);
  remaining = 7;
  EXPECT_EQ(queue.Pop(&remaining), nullptr);
  EXPECT_EQ(remaining, 0);
}

TEST(CMyQueue, PeekLendsTheHeadAndLeavesItQueued) {
  CMyQueue queue(0);
  int entry = 0;
  queue.PushBack(&entry);
  EXPECT_EQ(queue.Peek(), &entry);
  EXPECT_EQ(queue.Size(), 1);
  EXPECT_EQ(queue.Pop(), &entry);
}

TEST(CMyQueue, NothingIsLostBetweenManyProducersAndOneConsumer) {
  constexpr int kProducers = 4;
  constexpr int kEach = 2000;
  CMyQueue queue(0);
  std::vector<int> entries(kProducers * kEach);
  std::vector<std::thread> producers;
  for (int p = 0; p < kProducers; ++p) {
    producers.emplace_back([&, p] {
      for (int i = 0; i < kEach; ++i) {
        queue.PushBack(&entries[static_cast<std::size_t>(p * kEach + i)]);
      }
    });
  }
  int taken = 0;
  std::vector<int*> last(kProducers, nullptr);
  while (taken < kProducers * kEach) {
    void* peeked = queue.Peek();
    if (peeked == nullptr) {
      continue;
    }
    auto* entry = static_cast<int*>(queue.Pop());
    ASSERT_EQ(entry, peeked);
    const auto producer = static_cast<std::size_t>((entry - entries.data()) / kEach);
    ASSERT_LT(last[producer], entry);
    last[producer] = entry;
    ++taken;
  }
  for (std::thread& producer : producers) {
    producer.join();
  }
  EXPECT_EQ(queue.Size(), 0);
}
