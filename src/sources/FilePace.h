// When the frames of a playing file leave: the rule, apart from the thread that follows it.
//
// The sound is the master clock. The first sound frame leaves at once; each later one when the wall
// clock has moved as far as the file's time stamps. What leaves is stamped by the count of samples
// that have left, its own included, so that the stamps follow what was really played.
//
// The clock is SDL_GetTicks64. The mixer compares these stamps with those of the silence generator,
// which go on where the 32-bit clock wraps around after 49 days: stamps that began again at 0 would
// look a lifetime late, and the file would not be heard.
#ifndef ORVANE_SOURCES_FILEPACE_H
#define ORVANE_SOURCES_FILEPACE_H

#include <cstdint>

namespace sources {

class FilePace {
 public:
  // A turn begins at now. A gap since the last one that is too long for lateness was a suspension
  // (media::kSuspendedMs), and the file goes on where it stood.
  void BeginTurn(std::uint64_t now);

  // How long to sleep before the frame with that time stamp is looked at again; 0: it leaves now.
  std::uint32_t DelayBefore(std::int64_t framePts, std::uint64_t now);

  // The frame with that time stamp and so many samples leaves: its new time stamp.
  std::int64_t Release(std::int64_t framePts, int samples);
  // How far the count of samples was ahead of the file's time stamps at the last Release.
  int Drift() const { return m_drift; }
  // The new time stamp of a picture that leaves with the sound.
  std::int64_t PictureStamp(std::int64_t framePts) const;

  // The remaining wait in milliseconds, counted in 32 bits; 0 or less: now.
  static std::int32_t WaitFor(std::uint32_t wallStart, std::int64_t firstPts, std::uint32_t now,
                              std::int64_t framePts);
  // How long to sleep for a wait: most of it at once, the last 10 ms in another step.
  static std::uint32_t SleepFor(std::int32_t wait);

 private:
  bool m_begun = false;
  std::uint64_t m_lastTurn = 0;
  std::uint64_t m_wallStart = 0;  // 0: no frame seen yet
  bool m_firstKnown = false;
  std::int64_t m_firstPts = 0;  // of the first sound frame
  std::int64_t m_released = 0;  // samples
  int m_drift = 0;
};

}  // namespace sources

#endif
