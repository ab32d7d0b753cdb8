// A renderer whose workers the test turns by hand, and the pictures it is fed with.
#ifndef ORVANE_TESTS_OUTPUT_RENDERHARNESS_H
#define ORVANE_TESTS_OUTPUT_RENDERHARNESS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "output/CRender.h"
#include "output/ComposeState.h"
#include "output/PresentState.h"

namespace support {

using Rgb = std::array<std::uint8_t, 3>;

constexpr Rgb kBlack{0, 0, 0};
constexpr Rgb kRed{250, 10, 20};
constexpr Rgb kGreen{10, 240, 30};
constexpr Rgb kBlue{20, 30, 245};

// A packed RGB24 picture of one colour, with a buffer of its own; the caller's.
AVFrame* NewPicture(int width, int height, const Rgb& colour, std::int64_t pts = 0);
Rgb PixelAt(const AVFrame* rgb, int x, int y);
// Sound as the mixer sends it: 16-bit stereo, every sample of that value; the caller's.
AVFrame* NewSound(int samples, std::int16_t value, std::int64_t pts = 0);

class HandRender : public CRender {
 public:
  explicit HandRender(int layers = 10);
  ~HandRender() override;

  using CRender::Composed;
  using CRender::ComposeTurn;
  using CRender::DisplayedPts;
  using CRender::PresentTurn;
  using CRender::ScaleTurn;
  using CRender::SlotOf;

  // AddVideoInput and InsertLayer at the top: the id.
  int AddLayer();
  // Takes picture over.
  void Feed(int id, AVFrame* picture);
  void FeedSound(AVFrame* sound);
  int InputSize(int id);
  int SoundSize() { return m_firstAudioQueue->Size(); }
  // Pictures waiting in the layer's queue, and the oldest of them, lent.
  int LayerSize(int id);
  AVFrame* LayerHead(int id);
  // Runs passes until one more is due; what it composed, the caller's, or null.
  AVFrame* Compose();
  // One picture through the scale thread and then one pass.
  AVFrame* Show(int id, AVFrame* picture);

  output::ComposeState compose;
};

}  // namespace support

#endif
