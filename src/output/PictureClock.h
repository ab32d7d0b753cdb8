// The picture's clock: what becomes of the next picture at the encoder, and which step of 40 ms of
// the stream it stands at.
//
// Both streams count from their start: sound in samples, of which none is ever lost, the picture in
// steps. So whatever is lost or added before the encoder would move sound against picture for good.
// A picture is encoded once at most, and the clock advances instead:
//   - by one step for each picture;
//   - for pictures that were dropped at the encoder's input, at once by as many steps more;
//   - past pictures that show nothing new because their successor is late: they are left out, and
//     how many of them stood for one that never came is told by the capture time of the next new
//     one. A scene that gives nothing new for half a second stands still, and then goes on with
//     what it has.
// What is left is measured. Each picture's place in the stream follows from its capture time and
// from the sound taken so far: how far the counted step is before it is by how much the sound comes
// behind the picture, and that is kept within one step. A distance above kLateMs is made up for at
// once; a picture whose place is more than kEarlyMs before the counted step came too late and is
// left out; and a distance that stands for a second is made up for down to one step.
//
// The first picture waits for the sound that belongs to it: those before it are left out. Its place
// is taken from its own capture time as well, so a stream whose first picture comes half a minute
// after the sound is in step from the start.
//
// A picture that doesn't tell when it was captured, or whose bottom layer stands still, has the age
// of those before it, and one step for each that waits behind it. Without sound there is no
// measure, and pictures that tell no time begin at once and are counted.
//
// Pure arithmetic; for one thread.
#ifndef ORVANE_OUTPUT_PICTURECLOCK_H
#define ORVANE_OUTPUT_PICTURECLOCK_H

#include <array>
#include <cstdint>
#include <optional>

#include "media/PacedTicker.h"

namespace output {

class PictureClock {
 public:
  static constexpr std::int64_t kStepMs = media::kPictureMs;
  // How far behind the picture the sound may come for a moment, and how far ahead of it.
  static constexpr std::int64_t kLateMs = 80;
  static constexpr std::int64_t kEarlyMs = 20;
  static constexpr int kLooks = 25;        // a second
  static constexpr int kLooksToBegin = 5;  // whose median the stream begins with
  static constexpr int kMaxRepeats = 12;   // pictures left out in a row: half a second

  struct Picture {
    std::int64_t nowMs = 0;
    std::optional<std::int64_t> soundMs;     // taken so far; none before the first
    std::optional<std::int64_t> capturedMs;  // on the clock of nowMs
    int waiting = 0;                         // behind it
    int lost = 0;         // dropped at the input since the last one that was asked for
    bool repeat = false;  // the same picture as the one before
  };

  enum class Fate {
    kEncode,
    kTooEarly,  // comes before the stream's first
    kRepeat,    // shows nothing new
    kLeaveOut,  // its place is taken
  };
  struct Verdict {
    Fate fate = Fate::kEncode;
    std::int64_t step = 0;  // for kEncode
  };

  Verdict Next(const Picture& picture);

 private:
  bool IsRepeat(const Picture& picture);
  void NoteSound(const Picture& picture);
  void NoteAge(const Picture& picture);
  std::optional<std::int64_t> PlaceOf(const Picture& picture);
  Verdict Begin(const Picture& picture, std::optional<std::int64_t> placeMs);
  Verdict Encode();
  void TakeUpRepeats(std::optional<std::int64_t> placeMs);
  bool KeepStep(std::int64_t placeMs);
  void NoteDistance(std::int64_t distanceMs);
  std::int64_t MedianDistance() const;

  bool m_begun = false;
  std::int64_t m_next = 0;  // the step of the next picture if nothing speaks against it
  int m_repeats = 0;        // left out since the last that was encoded
  bool m_standsStill = false;
  int m_leftOut = 0;  // in a row

  // Sound: how far it is on the clock of nowMs, at the best look of this second and the one before.
  // It arrives late in a busy moment and never early.
  std::optional<std::int64_t> m_soundMs;
  std::int64_t m_soundMovedMs = 0;
  std::int64_t m_secondMs = 0;
  std::int64_t m_bestNow = 0;
  std::int64_t m_bestBefore = 0;

  // Capture: the road to here without the waiting at the encoder.
  std::optional<std::int64_t> m_capturedMs;   // of the last that was encoded
  std::optional<std::int64_t> m_capturedNow;  // of this one
  std::optional<std::int64_t> m_roadMs;
  bool m_stampAgain = false;  // the two are the same
  bool m_fresh = false;       // and this one a time of its own that can be relied on

  std::array<std::int64_t, kLooks> m_distances{};
  int m_looks = 0;
};

}  // namespace output

#endif
