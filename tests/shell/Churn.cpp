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

}  // namespace

void PictureCount::EnqueueVideo(int /*index*/, void* media) {
  auto* picture = static_cast<AVFrame*>(media);
  if (m_pictures == 0) {
    m_first = picture->pts;
    m_pictures = 1;
  } else if (picture->pts != m_last) {
    ++m_pictures;
  }
  m_last = picture->pts;
  av_frame_free(&picture);
}

std::int64_t PictureCount::Span() const {
  return m_pictures == 0 ? 0 : (m_last - m_first) / kPassMs + 1;
}

ChurnResult AddAndDelete(LiveWindow* stage, int times) {
  OpenOrvane* window = stage->window.get();
  ChurnResult result;
  PictureCount count;
  SpinUntil([&] { return window->m_render->Statistics().pushed > 0; });
  const auto droppedBefore = window->m_render->Statistics().droppedComposed;
  window->m_render->AddVideoOutput(&count);
  SpinUntil([&] { return count.Pictures() > 0; });
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
  window->m_render->RemoveVideoOutput(&count);
  result.dropped =
      static_cast<std::int64_t>(window->m_render->Statistics().droppedComposed - droppedBefore);
  result.pictures = count.Pictures();
  result.missing = count.Span() - result.pictures - result.dropped;
  return result;
}

}  // namespace support
