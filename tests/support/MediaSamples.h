// Media files and pictures for tests, made by the ffmpeg tool when the test runs, with content that
// can be recognised after decoding.
//
// A clip shows CameraPattern (frame n of it has counter n) and sounds a tone on each channel; a
// picture shows four quadrants of known colours. All files lie in a directory that goes with the
// object.
//
// Failure: an operation that could not make its file returns an empty path; Error tells why.
#ifndef ORVANE_TESTS_SUPPORT_MEDIASAMPLES_H
#define ORVANE_TESTS_SUPPORT_MEDIASAMPLES_H

#include <cstdint>
#include <string>
#include <vector>

#include "support/CameraPattern.h"
#include "support/Process.h"

namespace support {

struct ClipOptions {
  int width = 160;
  int height = 120;
  int frames = 50;  // at 25 a second; 0 for no picture
  std::string videoCodec = "libx264";
  std::string pixelFormat = "yuv420p";

  double soundSeconds = 2;  // 0 for no sound
  double soundDelay = 0;    // seconds that the sound starts late
  std::string audioCodec = "aac";
  int sampleRate = 48000;
  int channels = 2;
  int hertz = 1000;

  std::vector<std::string> further;  // arguments of ffmpeg for the output
};

struct PictureOptions {
  int width = 64;
  int height = 48;
  std::string pixelFormat = "rgb24";
  std::vector<std::string> further;
};

class MediaSamples {
 public:
  // Colours of the quadrants: top left, top right, bottom left, bottom right.
  static constexpr CameraColour kQuadrants[4] = {
      {200, 30, 40}, {20, 180, 60}, {30, 50, 210}, {230, 220, 90}};

  std::string Path(const std::string& name) const { return m_directory.File(name); }
  const std::string& Directory() const { return m_directory.Path(); }
  const std::string& Error() const { return m_error; }

  // The kind of file follows from the end of name. The result is its path.
  std::string Clip(const std::string& name, const ClipOptions& options = {});
  std::string Picture(const std::string& name, const PictureOptions& options = {});
  // A JPEG in CMYK, as print shops make them.
  std::string CmykJpeg(const std::string& name);
  // Any file: arguments go to ffmpeg, before the path.
  std::string Make(const std::string& name, const std::vector<std::string>& arguments);

  // A PNG header that claims this size, with next to nothing behind it.
  std::string HugePng(const std::string& name, std::uint32_t width, std::uint32_t height);
  std::string Write(const std::string& name, const std::string& content);
  // A copy of the file at path, cut after the given share of its bytes.
  std::string Truncated(const std::string& path, const std::string& name, double share);
  // A copy in which the bytes between the two shares are overwritten by noise.
  std::string Damaged(const std::string& path, const std::string& name, double from, double to);

 private:
  std::string RawPictures(const ClipOptions& options);

  TempDir m_directory;
  std::string m_error;
};

// Amplitude of that frequency in one channel of interleaved stereo; 1 is full scale.
double ToneStrength(const std::vector<std::int16_t>& stereo, int channel, int hertz,
                    int sampleRate = 48000);

}  // namespace support

#endif
