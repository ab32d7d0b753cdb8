// Plays a local film without sound once, as a layer: a screen recording, an animation.
//
// It stands beside CInputFile, whose master clock is the sound. Here the pictures' own time stamps
// are the clock: the first picture leaves at once, each later one when the wall clock has moved as
// far as the stamps. Pictures go out in RGB24 with packed rows at the size of the file's first
// picture. The last ones are shown too. A finished file stays running, its consumers keeping its
// last picture, until Stop.
//
// Whatever its name and content, nothing but this one file is opened. What sound it may have is
// passed over, and nothing is sent to the sound's consumers.
//
// Threads: Start, Stop and deletion on the user interface thread. One worker, "film", reads,
// decodes one picture ahead, and lets it go; it owns the file from Start to Stop.
//
// Failure: a file that can't be played makes Start -1, within 5 s also where it is made to keep its
// reader busy, with the cause in Failure and in the log. A read that the kernel holds, on a network
// disk that is gone, holds Start and Stop too. What can't be decoded is left out.
#ifndef ORVANE_SOURCES_CINPUTSILENTFILE_H
#define ORVANE_SOURCES_CINPUTSILENTFILE_H

#include <atomic>
#include <cstdint>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "media/CSrcInterface.h"
#include "media/Worker.h"
#include "media/ffmpeg/LogOnce.h"
#include "sources/FilePace.h"
#include "sources/FilmPicture.h"
#include "sources/OpenDeadline.h"

class CInputSilentFile : public CSrcInterface {
 public:
  // path: UTF-8, in the local file system.
  explicit CInputSilentFile(std::string path);
  // Closes the file. Stop comes before.
  ~CInputSilentFile() override;

  int Start() override;
  int Stop() override;

 protected:
  int Open();
  // One step of the thread: decodes the next picture, lets it go, or sleeps.
  void Turn(sources::FilePace* pace);

 private:
  void Run();
  int Fail(const std::string& cause);
  void CloseFile();
  void DecodeNext();
  bool FeedDecoder();
  std::string Whose() const;

  std::string m_path;
  media::Worker m_thread;
  std::atomic<bool> m_running{false};
  sources::OpenDeadline m_deadline;

  // All below belongs to the worker while it runs.
  AVFormatContext* m_file = nullptr;
  AVCodecContext* m_codec = nullptr;
  int m_stream = -1;
  AVPacket* m_packet;
  AVFrame* m_decoded;
  AVFrame* m_next = nullptr;  // waits for its time
  sources::FilmPicture m_film;
  std::int64_t m_nextPts = 0;  // of the next picture, where the file gives none
  bool m_ended = false;        // all that the file holds has been decoded
  ffmpeg::LogOnce m_fault;
};

#endif
