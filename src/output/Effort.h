// How hard the software encoder tries: which preset of x264 the machine has time for.
//
// Flow: after each picture the encode thread tells how long it took, how many wait and how many
// were dropped; the answer is the level to go on with. Level 0 is the one that a broadcast starts
// with; each further one is faster and its picture plainer.
//
// A second in which pictures always waited or in which many were dropped, or the second one in a
// row in which encoding took more than there is, is one step down: what a single slow second
// leaves waits in the queue and is caught up, and an encoder that takes all but a millisecond of
// its time loses nothing. The first second of all says nothing, since everything is cold: memory is
// touched for the first time, sources start, the connection is made.
//
// A second which would not have been full at a better level either is room: after kRoomMs of it in
// a row the effort goes up to the best level for which their mean leaves time, by what the levels
// cost. A step up that did not hold for kHoldMs doubles the room that the next one needs, so that a
// load which comes and goes doesn't make the picture change with it.
//
// Pure arithmetic; for one thread.
#ifndef ORVANE_OUTPUT_EFFORT_H
#define ORVANE_OUTPUT_EFFORT_H

#include <cstdint>
#include <optional>

namespace output {

class Effort {
 public:
  static constexpr int kLevels = 5;
  static constexpr std::int64_t kRoomMs = 20'000;
  static constexpr std::int64_t kMaxRoomMs = INT64_C(30) * 60'000;
  static constexpr std::int64_t kHoldMs = INT64_C(5) * 60'000;

  // The preset of x264; "" for level 0, which is opened without any.
  static const char* Preset(int level);
  // What it is called; "medium" for level 0.
  static const char* Name(int level);

  struct Encoded {
    std::int64_t nowMs = 0;
    std::int64_t tookMs = 0;
    int waiting = 0;  // behind it
    int dropped = 0;  // since the one before
  };
  // The level for the next picture.
  int Next(const Encoded& picture);

 private:
  bool IsFull() const;
  bool IsSlow() const;
  // The best level at which these pictures would have taken no more each; the present one if none.
  int BestLevel(std::int64_t tookMs, int pictures, std::int64_t mostMs) const;
  void LookForRoom(std::int64_t nowMs);
  void BeginSecond(std::int64_t nowMs);
  void GoDown(std::int64_t nowMs);

  // Seconds in a row with room.
  struct Room {
    std::int64_t sinceMs = 0;
    std::int64_t tookMs = 0;
    int pictures = 0;
    int level = 0;  // the best that none of them was too full for
  };

  int m_level = 0;
  bool m_warm = false;  // the first second is over
  // The second that is looked at.
  std::optional<std::int64_t> m_secondMs;
  std::int64_t m_tookMs = 0;
  int m_pictures = 0;
  int m_dropped = 0;
  int m_leastWaiting = 0;
  bool m_fullBefore = false;  // the second before took all its time
  int m_leastBefore = 0;      // in the second before: what waits may be on its way out
  // Steps.
  std::optional<Room> m_room;
  std::optional<std::int64_t> m_upMs;  // the last one up, until it is judged
  std::int64_t m_roomMs = kRoomMs;     // that the next one needs
};

}  // namespace output

#endif
