// When a sound device took each of its sample frames, on the system's clock.
//
// A device counts frames by a crystal of its own, a few hundred millionths off, and its blocks
// arrive when the machine finds time, never early but often late. From the blocks' arrivals this
// class makes a straight line, frame number to time, that follows the device's rate and ignores
// lateness: it looks at the most punctual blocks of each half second.
//
// After a silence the line is found anew within 30 ms of sound, since a device that was suspended
// or unplugged has counted no frames meanwhile; the rate is kept. Frames that the device loses or
// adds while it runs show as a lasting shift: beyond 25 ms the line jumps there, below it slides.
//
// Pure: no clock of its own, one thread. Times in microseconds of CLOCK_MONOTONIC.
#ifndef ORVANE_PLATFORM_LINUX_DEVICECLOCK_H
#define ORVANE_PLATFORM_LINUX_DEVICECLOCK_H

#include <cstdint>
#include <vector>

namespace platform {

class DeviceClock {
 public:
  // A block ending before frame endFrame arrived. captureOffsetUs: by how much its end was taken
  // later than it arrived (what a loudspeaker has yet to play), negative for a device that holds
  // sound back.
  void Observe(std::int64_t endFrame, int frames, std::int64_t arrivalUs,
               std::int64_t captureOffsetUs);

  // The device fell silent: the next blocks tell where it is.
  void LoseLock();
  // Another device: nothing known holds any longer.
  void Reset();

  // Whether the line is known; it may become so by the passing of time.
  bool TryLock(std::int64_t nowUs);
  // The two directions of the line; only while settled.
  double TimeOf(double frame) const;
  double FrameAt(double timeUs) const;
  // How much faster than 48000 Hz the device runs, in millionths; within +-500.
  double DriftPpm() const { return m_driftPpm; }

  // True once after the line has jumped.
  bool TakeDiscontinuity();
  // Age of a block's first frame at the block's arrival, as is usual for this device; 0 until
  // known.
  double UsualAgeUs() const { return m_usualAgeUs; }

 private:
  double PeriodUs() const;
  void ObserveAge(int frames, std::int64_t arrivalUs, std::int64_t captureOffsetUs);
  void ObserveUnsettled(double end, double takenUs, std::int64_t arrivalUs);
  void EvaluateErrors();

  bool m_settled = false;
  bool m_hasLine = false;
  bool m_jumped = false;
  // The line: frame m_anchorFrame was taken at m_anchorUs.
  double m_anchorFrame = 0;
  double m_anchorUs = 0;
  double m_driftPpm = 0;
  double m_usualAgeUs = 0;
  // While settling: the earliest line through any block so far.
  bool m_hasCandidate = false;
  double m_candidateFrame = 0;
  double m_candidateUs = 0;
  std::int64_t m_settleStartUs = 0;
  // While settled: how late the blocks of the last half second came, against the line.
  std::vector<double> m_errorsUs;
  std::int64_t m_errorsStartUs = 0;
  // The blocks of the last two seconds.
  std::vector<double> m_agesUs;
  std::int64_t m_agesStartUs = 0;
};

}  // namespace platform

#endif
