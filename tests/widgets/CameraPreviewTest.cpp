// Turns of the camera chooser's preview, one at a time, without a screen.
#include "widgets/CameraPreview.h"

#include <gtest/gtest.h>

#include <optional>

#include "media/CMyQueue.h"
#include "support/FakeClock.h"
#include "support/Frames.h"
#include "support/LogRecord.h"

namespace {

using support::FakeClock;
using support::LogRecord;
using support::NewRgb;
using widgets::CameraPreview;

class CameraPreviewTest : public testing::Test {
 protected:
  void SetUp() override { preview.emplace(0); }

  void Queue(int pictures, std::uint8_t value = 0, int width = 32, int height = 16) {
    for (int i = 0; i < pictures; ++i) {
      queue.PushBack(NewRgb(width, height, value));
    }
  }
  void Turn() {
    clock.Advance(40);
    preview->Turn(&queue);
  }
  // The brightness that is shown, -1 for none.
  int Shown() const {
    const AVFrame* picture = preview->Picture();
    return picture == nullptr ? -1 : picture->data[0][0];
  }

  LogRecord log;
  FakeClock clock;
  CMyQueue queue{0};
  std::optional<CameraPreview> preview;
};

TEST_F(CameraPreviewTest, NothingWaitsNothingIsShown) {
  Turn();
  EXPECT_EQ(-1, Shown());
  EXPECT_EQ(std::vector<std::uint32_t>{10}, clock.TakeDelays());
}

TEST_F(CameraPreviewTest, IsDue25TimesASecond) {
  int turns = 0;
  const std::uint32_t start = clock.Now();
  while (clock.Now() - start < 1000) {
    Queue(2);
    preview->Turn(&queue);
    const bool slept = !clock.TakeDelays().empty();
    turns += slept ? 0 : 1;
    while (queue.Size() > 0) {
      auto* frame = static_cast<AVFrame*>(queue.Pop());
      av_frame_free(&frame);
    }
  }
  EXPECT_EQ(25, turns);
}

TEST_F(CameraPreviewTest, CatchesUpWhenItIsLate) {
  Queue(1, 200);
  Turn();
  clock.Advance(200);
  clock.TakeDelays();
  for (int i = 0; i < 5; ++i) {
    preview->Turn(&queue);
  }
  EXPECT_TRUE(clock.TakeDelays().empty());
}

TEST_F(CameraPreviewTest, APictureThatWaitsAloneStaysAndIsShownAgain) {
  Queue(1, 200);
  Turn();
  const int first = Shown();
  EXPECT_GT(first, 150);
  EXPECT_EQ(1, queue.Size());
  const AVFrame* converted = preview->Picture();
  Turn();
  EXPECT_EQ(first, Shown());
  EXPECT_EQ(1, queue.Size());
  // Without being converted again.
  EXPECT_EQ(converted, preview->Picture());
}

TEST_F(CameraPreviewTest, OfTwoTheFirstIsShownAndGoes) {
  Queue(1, 0);
  Queue(1, 255);
  Turn();
  EXPECT_LT(Shown(), 50);
  EXPECT_EQ(1, queue.Size());
  Turn();
  EXPECT_GT(Shown(), 200);
  EXPECT_EQ(1, queue.Size());
}

TEST_F(CameraPreviewTest, OfManyTheFirstIsShownAndFiveStay) {
  Queue(1, 0);
  Queue(3, 128);
  Queue(5, 255);
  Turn();
  EXPECT_LT(Shown(), 50);
  EXPECT_EQ(5, queue.Size());
  Turn();
  EXPECT_GT(Shown(), 200);
  EXPECT_EQ(4, queue.Size());
}

TEST_F(CameraPreviewTest, APictureOfAnotherSizeIsShownAtItsOwn) {
  Queue(1, 100, 32, 16);
  Turn();
  EXPECT_EQ(32, preview->Picture()->width);
  Queue(2, 100, 33, 17);
  Turn();
  Turn();
  EXPECT_EQ(33, preview->Picture()->width);
  EXPECT_EQ(17, preview->Picture()->height);
  EXPECT_EQ(AV_PIX_FMT_YUV420P, preview->Picture()->format);
}

TEST_F(CameraPreviewTest, NothingOfACameraThatIsClosedIsShown) {
  Queue(7, 200);
  Turn();
  preview->Forget(&queue);
  EXPECT_EQ(0, queue.Size());
  Turn();
  EXPECT_EQ(-1, Shown());
  Queue(1, 255);
  Turn();
  EXPECT_GT(Shown(), 200);
}

TEST_F(CameraPreviewTest, APictureThatCannotBeConvertedLeavesTheLastOneAndIsLoggedOnce) {
  Queue(1, 200);
  Turn();
  const int shown = Shown();
  for (int i = 0; i < 3; ++i) {
    AVFrame* broken = NewRgb(32, 16, 0);
    broken->linesize[0] = 1;
    queue.PushBack(broken);
    Queue(1, 200);
    Turn();  // the one that is shown goes
    EXPECT_EQ(2, queue.Size());
    Turn();
    EXPECT_EQ(1, queue.Size()) << "none unseen";
    EXPECT_EQ(shown, Shown());
  }
  const std::string errors = log.Errors();
  const std::string text = "can't be converted";
  const std::size_t first = errors.find(text);
  ASSERT_NE(std::string::npos, first) << errors;
  EXPECT_EQ(std::string::npos, errors.find(text, first + 1));
}

TEST_F(CameraPreviewTest, WithoutAScreenItSaysSoOnceAndTakesThePictures) {
  for (int i = 0; i < 3; ++i) {
    Queue(2);
    Turn();
  }
  EXPECT_TRUE(log.HasError("Preview of the camera", "there is no window"));
  EXPECT_EQ(1U, log.Media(AV_LOG_ERROR).size());
  EXPECT_EQ(3, queue.Size());
}

}  // namespace
