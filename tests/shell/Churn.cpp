#include "shell/Churn.h"

#include <QCoreApplication>

extern "C" {
#include <libavutil/frame.h>
}

#include "output/CRender.h"

namespace support {

namespace {

constexpr std::int64_t kPassMs = 40;

bool AddOne(LiveWindow* stage, int number) {
  OpenOrvane* window = stage->window.get();
  stage->answers.row = number % 2;
  stage->answers.text = QStringLiteral("text %1").arg(number);
  stage->answers.path = QString::fromStdString(number % 20 == 3 ? stage->clip : stage->picture);
  const int rows = window->Rows().size();
  if (number % 20 == 3) {
    window->SlotAddFile();
  } else if (number % 20 == 9) {
    window->SlotAddCamera();
  } else if (number % 20 == 15) {
    window->SlotAddPic();
  } else if (number % 4 == 0) {
    window->SlotAddDesk();
  } else if (number % 4 == 1) {
    window->SlotAddWindow();
  } else {
    window->SlotAddText();
  }
  return window->Rows().size() == rows + 1;
}

std::int64_t Dropped(const LiveWindow& stage) {
  return static_cast<std::int64_t>(stage.window->m_render->Statistics().droppedComposed);
}

// Up to 8 canvases wait to be sent out, so a dropped one is missed that much later: waits for a
// time in which none is dropped, from which on both counts tell of the same pictures. False when
// the machine is so busy that there is none.
bool Settle(const LiveWindow& stage, const PictureCount& count) {
  constexpr int kTries = 20;
  constexpr int kPictures = 10;
  for (int i = 0; i < kTries; ++i) {
    const std::int64_t dropped = Dropped(stage);
    const std::int64_t enough = count.Pictures() + kPictures;
    if (SpinUntil([&] { return count.Pictures() >= enough; }) && Dropped(stage) == dropped) {
      return true;
    }
  }
  return false;
}

}  // namespace

void PictureCount::EnqueueVideo(int /*index*/, void* media) {
  auto* picture = static_cast<AVFrame*>(media);
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_pictures == 0) {
      m_first = picture->pts;
      m_pictures = 1;
    } else if (picture->pts != m_last) {
      ++m_pictures;
    }
    m_last = picture->pts;
  }
  av_frame_free(&picture);
}

std::int64_t PictureCount::Pictures() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_pictures;
}

std::int64_t PictureCount::Missing() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_pictures == 0 ? 0 : (m_last - m_first) / kPassMs + 1 - m_pictures;
}

ChurnResult AddAndDelete(LiveWindow* stage, int times) {
  OpenOrvane* window = stage->window.get();
  ChurnResult result;
  PictureCount count;
  window->m_render->AddVideoOutput(&count);
  result.settled = Settle(*stage, count);
  // In this order, and in the reverse one at the end: what is dropped in between is counted as
  // dropped.
  const std::int64_t droppedBefore = Dropped(*stage);
  const std::int64_t missingBefore = count.Missing();
  for (int number = 0; number < times; ++number) {
    result.ok = AddOne(stage, number) && result.ok;
    QCoreApplication::processEvents();
    if (window->Rows().size() == 9 || number % 3 == 0) {
      window->SlotDeleteItem(number % 2);
    }
    if (number == times / 2) {
      result.heapAtHalf = LookAtProcess().bytes;
    }
  }
  while (window->Rows().size() > 1) {
    window->SlotDeleteItem(0);
  }
  result.heapAtEnd = LookAtProcess().bytes;
  result.settled = Settle(*stage, count) && result.settled;
  window->m_render->RemoveVideoOutput(&count);
  result.dropped = Dropped(*stage) - droppedBefore;
  result.pictures = count.Pictures();
  result.missing = count.Missing() - missingBefore - result.dropped;
  return result;
}

}  // namespace support
