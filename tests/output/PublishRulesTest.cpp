#include "output/PublishRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"

namespace {

using output::ChooseNext;
using output::NextPacket;
using support::NewPacket;
using support::TakePts;

// count packets, 40 ms apart, a key frame at firstKey and at every 50th from there.
void FillVideo(CMyQueue* video, int count, int firstKey) {
  for (int i = 0; i < count; ++i) {
    video->PushBack(NewPacket(i * 40, i >= firstKey && (i - firstKey) % 50 == 0));
  }
}

void FillAudio(CMyQueue* audio, const std::vector<std::int64_t>& pts) {
  for (const std::int64_t time : pts) {
    audio->PushBack(NewPacket(time, true));
  }
}

bool HeadIsKey(CMyQueue* video) {
  const auto* head = static_cast<const AVPacket*>(video->Peek());
  return head != nullptr && (head->flags & AV_PKT_FLAG_KEY) != 0;
}

TEST(PublishRules, BitRateIsByPictureSizeAndOtherSizesAreRefused) {
  EXPECT_EQ(2000000, output::VideoBitRate(1920, 1080));
  EXPECT_EQ(1000000, output::VideoBitRate(1280, 720));
  EXPECT_EQ(500000, output::VideoBitRate(960, 540));
  EXPECT_EQ(0, output::VideoBitRate(640, 360));
  EXPECT_EQ(0, output::VideoBitRate(1080, 1920));
  EXPECT_EQ(0, output::VideoBitRate(1920, 720));
  EXPECT_EQ(0, output::VideoBitRate(0, 0));
}

TEST(PublishRules, TheSocketHoldsASecondOfTheStreamAtMost) {
  for (const std::int64_t bitRate : {500000, 1000000, 2000000}) {
    const std::int64_t second = (bitRate + 128000) / 8;
    EXPECT_LE(2 * output::SendBufferBytes(bitRate), second);
    EXPECT_GE(2 * output::SendBufferBytes(bitRate), second * 9 / 10);
  }
}

TEST(PublishRules, AnInputFrameIsDroppedWithMoreThanFifteenLeft) {
  EXPECT_FALSE(output::DropsInput(0));
  EXPECT_FALSE(output::DropsInput(15));
  EXPECT_TRUE(output::DropsInput(16));
}

TEST(PublishRules, FifteenInputFramesAreKeptInEqualDistances) {
  EXPECT_FALSE(output::KeepsInput(0, 16)) << "the next one goes";
  for (int waiting = 16; waiting < 200; ++waiting) {
    int kept = 0;
    int longest = 0;
    for (int i = 0, gap = 1; i < waiting; ++i, ++gap) {
      if (output::KeepsInput(i, waiting)) {
        ++kept;
        longest = std::max(longest, gap);
        gap = 0;
      }
    }
    EXPECT_EQ(15, kept) << waiting;
    EXPECT_LE(longest, (waiting + 14) / 15) << waiting;
    EXPECT_TRUE(output::KeepsInput(waiting - 1, waiting)) << "the newest stays";
  }
}

TEST(PublishRules, NothingIsSentWithoutSoundOrWithFewerThanFifteenVideoPackets) {
  EXPECT_FALSE(output::MaySend(false, 15));
  EXPECT_FALSE(output::MaySend(false, 1000));
  EXPECT_FALSE(output::MaySend(true, 0));
  EXPECT_FALSE(output::MaySend(true, 14));
  EXPECT_TRUE(output::MaySend(true, 15));
}

TEST(PublishRules, SoundGoesFirstWhileLessThanAHundredMillisecondsAhead) {
  EXPECT_EQ(NextPacket::kAudio, ChooseNext(0, 0));
  EXPECT_EQ(NextPacket::kAudio, ChooseNext(99, 0));
  EXPECT_EQ(NextPacket::kVideo, ChooseNext(100, 0));
  EXPECT_EQ(NextPacket::kVideo, ChooseNext(5000, 40));
  EXPECT_EQ(NextPacket::kAudio, ChooseNext(40, 5000));
}

TEST(PublishRules, ARetryIsDueAfterThreeSeconds) {
  EXPECT_FALSE(output::RetryDue(0));
  EXPECT_FALSE(output::RetryDue(2999));
  EXPECT_TRUE(output::RetryDue(3000));
}

TEST(PublishRules, AHundredAndFiftyWaitingPacketsAreKept) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 150, 0);
  FillAudio(&audio, {100000});
  const output::Skipped skipped = output::SkipStale(&video, &audio);
  EXPECT_EQ(0, skipped.video);
  EXPECT_EQ(0, skipped.audio);
  EXPECT_EQ(150, video.Size());
  EXPECT_EQ(1, audio.Size());
}

TEST(PublishRules, AHundredAndFiftyOneWaitingPacketsAreCutToTheNextKeyFrame) {
  for (int firstKey = 0; firstKey < 50; ++firstKey) {
    CMyQueue video(1);
    CMyQueue audio(1);
    FillVideo(&video, 151, firstKey);
    const output::Skipped skipped = output::SkipStale(&video, &audio);
    EXPECT_GE(skipped.video, 101) << firstKey;
    EXPECT_LE(skipped.video, 150) << firstKey;
    EXPECT_EQ(151 - skipped.video, video.Size()) << firstKey;
    EXPECT_TRUE(HeadIsKey(&video)) << firstKey;
  }
}

TEST(PublishRules, AKeyFrameAtTheFiftiethPacketFromTheEndIsTheOneKept) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 151, 1);  // keys at 1, 51, 101
  const output::Skipped skipped = output::SkipStale(&video, &audio);
  EXPECT_EQ(101, skipped.video);
  EXPECT_EQ(101 * 40, TakePts(&video).front());
}

TEST(PublishRules, ACutWithoutAnyKeyFrameEndsAtTheEmptyQueueAndLeavesTheSound) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 151, 151);
  FillAudio(&audio, {0, 100000});
  const output::Skipped skipped = output::SkipStale(&video, &audio);
  EXPECT_EQ(151, skipped.video);
  EXPECT_EQ(0, skipped.audio);
  EXPECT_EQ(0, video.Size());
  EXPECT_EQ(2, audio.Size());
}

TEST(PublishRules, SoundOlderThanTheNewHeadIsKeptByTheCut) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 151, 1);  // the head becomes 4040 ms
  FillAudio(&audio, {0, 21, 43, 4140, 4141, 9000});
  const output::Skipped skipped = output::SkipStale(&video, &audio);
  EXPECT_EQ(0, skipped.audio) << "only the head is looked at, and it is old";
  EXPECT_EQ(6, audio.Size());
}

TEST(PublishRules, SoundMoreThanAHundredMillisecondsAheadOfTheNewHeadIsDropped) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 151, 1);  // the head becomes 4040 ms
  FillAudio(&audio, {4141, 4162, 4140, 4183});
  const output::Skipped skipped = output::SkipStale(&video, &audio);
  EXPECT_EQ(2, skipped.audio);
  EXPECT_EQ((std::vector<std::int64_t>{4140, 4183}), TakePts(&audio));
}

TEST(PublishRules, SoundThatIsAllTooFarAheadIsDroppedToTheEmptyQueue) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 151, 1);
  FillAudio(&audio, {5000, 5021, 5043});
  const output::Skipped skipped = output::SkipStale(&video, &audio);
  EXPECT_EQ(3, skipped.audio);
  EXPECT_EQ(0, audio.Size());
}

TEST(PublishRules, AConnectionBeginsWithAKeyFrameAndItsSound) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 60, 10);
  FillAudio(&audio, {0, 390, 399, 400, 410, 700});
  const output::Skipped skipped = output::SkipToKey(&video, &audio);
  EXPECT_EQ(10, skipped.video);
  EXPECT_EQ(3, skipped.audio);
  EXPECT_TRUE(HeadIsKey(&video));
  EXPECT_EQ((std::vector<std::int64_t>{400, 410, 700}), TakePts(&audio));
}

TEST(PublishRules, WithoutAKeyFrameTheSoundWaitsForOne) {
  CMyQueue video(1);
  CMyQueue audio(1);
  FillVideo(&video, 20, 100);
  FillAudio(&audio, {0, 21});
  EXPECT_EQ(20, output::SkipToKey(&video, &audio).video);
  EXPECT_EQ(0, video.Size());
  EXPECT_EQ(2, audio.Size());
  EXPECT_EQ(0, output::SkipToKey(&video, &audio).video);
}

}  // namespace
