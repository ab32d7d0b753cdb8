// A broadcast's packets as a Matroska file, turn by turn.
//
// Flow: Open makes the file; Write takes the encoder's packets in the order in which they were
// made; Close ends it. The file begins with the first key frame and with the sound that belongs to
// it, which may have come before: its time is 0. Sound and picture stand to each other as they are
// sent, the picture kVideoLagMs later than it was counted. Each key frame brings its own parameter
// sets, so an encoder that goes on with others leaves no break.
//
// Matroska has its packets in clusters, of kClusterMs here, each of which is written whole once it
// is complete: after a crash the file ends with the last of them and is played up to there. What
// Close adds is the length and the index for seeking. Sync brings what was written onto the disk,
// where a power cut finds it.
//
// Ownership: Write takes the packet over, whatever comes of it.
//
// Threads: one makes, uses and deletes it; it waits for the disk as RecordingFile does. The path,
// the length and the number of bytes are for that thread, too.
//
// Failure: a negative AVERROR, after which only Close is called. A file that nothing was written to
// does not stay.
#ifndef ORVANE_OUTPUT_RECORDINGWRITER_H
#define ORVANE_OUTPUT_RECORDINGWRITER_H

#include <cstdint>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "media/CMyQueue.h"
#include "media/ffmpeg/Scoped.h"
#include "output/RecordingFile.h"
#include "output/RecordingStatus.h"

namespace output {

class RecordingWriter {
 public:
  static constexpr std::int64_t kClusterMs = 500;

  explicit RecordingWriter(RecordingPlace place);
  ~RecordingWriter();  // Close

  RecordingWriter(const RecordingWriter&) = delete;
  RecordingWriter& operator=(const RecordingWriter&) = delete;

  // What the streams are decoded with, to be filled in before Open; null without memory.
  AVCodecParameters* Sound() { return m_sound.Get(); }
  AVCodecParameters* Picture() { return m_picture.Get(); }

  int Open();
  int Write(AVPacket* taken);
  int Sync();
  int Close();

  const std::string& Path() const { return m_file.Path(); }
  bool HasBegun() const { return m_begun; }
  std::int64_t LengthMs() const { return m_lengthMs; }
  std::int64_t Bytes() const { return m_bytes; }

 private:
  int Take(ffmpeg::ScopedPacket* packet);
  void KeepEarly(ffmpeg::ScopedPacket* sound);
  int Begin(const AVPacket& key);
  int AddStream(const AVCodecParameters* parameters);
  int WriteHeader();
  int WriteEarly();
  int Add(AVPacket* packet);

  const RecordingPlace m_place;
  const ffmpeg::ScopedParameters m_sound;
  const ffmpeg::ScopedParameters m_picture;
  RecordingFile m_file;
  ffmpeg::ScopedOutput m_context;
  CMyQueue m_early;  // sound from before the first picture
  bool m_begun = false;
  bool m_failed = false;
  std::int64_t m_beginMs = 0;  // in the stream
  std::int64_t m_lengthMs = 0;
  std::int64_t m_bytes = 0;
  std::int64_t m_syncedBytes = 0;
};

}  // namespace output

#endif
