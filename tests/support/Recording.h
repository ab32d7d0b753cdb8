// What came out of a broadcast, read from the file that the server recorded, and judged: packets as
// they went over the wire, pictures and sound of any source. (StreamJudge looks at broadcasts of a
// stage, whose clock it can read.)
//
// Packets and streams are read when the object is made; pictures and sound are decoded by the
// operations that need them. Times are milliseconds of the recording's own clock. Tests only:
// nothing here is fast.
#ifndef ORVANE_TESTS_SUPPORT_RECORDING_H
#define ORVANE_TESTS_SUPPORT_RECORDING_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace support {

// An area of a picture; 0 x 0 stands for all of it.
struct Area {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

struct PictureColour {
  double red = 0;
  double green = 0;
  double blue = 0;
};

class Recording {
 public:
  struct Stream {
    std::string codec;    // "aac", "h264"
    std::string profile;  // "LC", "Constrained Baseline"
    int width = 0;
    int height = 0;
    int sampleRate = 0;
    int channels = 0;
  };
  struct Packet {
    int stream = 0;
    std::int64_t ptsMs = 0;
    std::int64_t dtsMs = 0;
    bool key = false;
    int size = 0;
  };
  struct Motion {
    int pictures = 0;               // decoded
    int distinct = 0;               // that differ from the one before
    std::int64_t longestGapMs = 0;  // between two distinct ones
    std::int64_t durationMs = 0;    // from the first picture to the last
    double DistinctPerSecond() const { return durationMs > 0 ? 1000.0 * distinct / durationMs : 0; }
  };

  explicit Recording(const std::string& path);

  // Why it can't be read, "" when it can.
  const std::string& Error() const { return m_error; }
  const std::vector<Stream>& Streams() const { return m_streams; }
  const std::vector<Packet>& Packets() const { return m_packets; }  // in the order of the file
  int Count(int stream) const;

  // The first place where a stream's time stamps stand still or go back, or where decoding and
  // presentation times cross; "" when there is none.
  std::string TimeStampFault() const;
  // The same over both streams together: the order on the wire, within slackMs.
  std::string WireOrderFault(std::int64_t slackMs = 0) const;
  // Pictures from one key frame to the next, at most; the end counts as one. 0 without pictures.
  int LongestKeyDistance() const;

  // A picture is distinct when some 8 x 8 block of the area has changed its mean brightness by more
  // than that. Compression alone changes a still picture by less than the default.
  Motion JudgeMotion(const Area& area = {}, double brightness = 5) const;
  // Of the picture shown at that time: the last one that does not come after it.
  PictureColour MeanColour(const Area& area, std::int64_t ms) const;
  // The sound from the stream's first sample on, both channels averaged, at 48000 Hz; a gap in the
  // time stamps is filled with silence.
  struct Sound {
    std::int64_t startMs = 0;
    std::vector<float> samples;
  };
  Sound DecodeSound() const;

  // Each picture in turn. The frame is only lent.
  void ForEachPicture(const std::function<void(const AVFrame&, std::int64_t ms)>& look) const;

 private:
  std::string m_path;
  std::string m_error;
  std::vector<Stream> m_streams;
  std::vector<Packet> m_packets;
};

// Amplitude of a sine of that frequency in a stretch of sound, 1 for full scale (Goertzel). A
// lengthMs of 0 goes to the end.
double ToneLevel(const Recording::Sound& sound, double hertz, std::int64_t fromMs = 0,
                 std::int64_t lengthMs = 0);

}  // namespace support

#endif
