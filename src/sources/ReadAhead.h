// What the reading side of a file does next: the rule, apart from the thread that follows it.
//
// The two streams of a file are seldom equally far. Reading goes on until both have more than 50
// frames ahead. A stream that is further ahead than it can afford in decoded frames keeps its next
// packets compressed, and decodes them when there is room: a file whose sound ends early would
// fill the memory with pictures. Compressed packets have a limit too.
#ifndef ORVANE_SOURCES_READAHEAD_H
#define ORVANE_SOURCES_READAHEAD_H

#include <cstdint>

namespace sources {

// How far one stream is ahead.
struct Ahead {
  int decoded = 0;                // frames
  std::int64_t decodedBytes = 0;  // and their memory
  int kept = 0;                   // packets not decoded yet
  std::int64_t keptBytes = 0;
};

enum class ReadStep {
  DecodeKeptSound,
  DecodeKeptPicture,
  Wait,  // far enough ahead, or no room
  Read,
};

enum class PacketUse { Decode, Keep, Drop };

// True when no further frame should be decoded for now.
bool SoundIsFull(const Ahead& sound);
bool PictureIsFull(const Ahead& picture);

ReadStep NextReadStep(const Ahead& sound, const Ahead& picture);

// What to do with a packet that was just read for the sound or the picture stream.
PacketUse UseOfSound(const Ahead& sound);
PacketUse UseOfPicture(const Ahead& picture);

}  // namespace sources

#endif
