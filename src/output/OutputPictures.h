// The pictures that the present thread hands out: YUV 4:2:0 of the canvas's size, 20 of them at
// most, made when they are first needed.
//
// A picture is free again when the last consumer has let go of its clone. So a slow encoder
// finishes the picture it was given; only when all 20 are taken is the last one overwritten under
// its reader. Those that nobody has needed for half a minute are freed: they take 3 MB each.
//
// One thread uses it; clones are freed on any.
#ifndef ORVANE_OUTPUT_OUTPUTPICTURES_H
#define ORVANE_OUTPUT_OUTPUTPICTURES_H

#include <cstddef>
#include <vector>

#include "output/RenderRules.h"
#include "platform/PictureRate.h"

struct AVFrame;

namespace output {

class OutputPictures {
 public:
  static constexpr std::size_t kPictures = 20;
  static constexpr int kCalmPictures = 30 * platform::kPicturesPerSecond;  // 30 s

  explicit OutputPictures(const Extent& size) : m_size(size) {}
  ~OutputPictures();

  OutputPictures(const OutputPictures&) = delete;
  OutputPictures& operator=(const OutputPictures&) = delete;

  // A picture to write into, which stays owned here; null when none can be had.
  AVFrame* Next();
  std::size_t Count() const { return m_pictures.size(); }

 private:
  AVFrame* Free();
  AVFrame* Made();
  void DropSpare();

  Extent m_size;
  std::vector<AVFrame*> m_pictures;
  AVFrame* m_last = nullptr;
  std::size_t m_needed = 0;  // as many were in use at once since m_given was 0
  int m_given = 0;
};

}  // namespace output

#endif
