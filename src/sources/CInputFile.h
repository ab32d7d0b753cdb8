// Plays a local media file once, as a layer with sound.
//
// Flow: a read thread decodes ahead into two private queues; a pace thread lets the frames go in
// real time, the sound being the master clock: a picture leaves with the first sound frame later
// than it. Pictures go out in RGB24 with packed rows at the size of the file's first picture,
// sound as signed 16-bit stereo at 48000 Hz. The pictures after the last sound are never shown. A
// finished file stays running, its consumers keeping its last picture, until Stop. Pictures are
// shown as they are stored: a rotation that the file asks for is not carried out.
//
// The file has to have a sound stream and a picture stream. Whatever its name and content, nothing
// but this one file is opened.
//
// Threads: Start, Stop and deletion on the user interface thread. The read thread owns the
// demuxer, the decoders and the converters from Start to Stop; the two threads share nothing but
// the private queues, which lock themselves. SoundHasEnded may be asked on any thread.
//
// Failure: a file that can't be played makes Start -1, within 5 s also where it is made to keep its
// reader busy. A read that the kernel holds, on a network disk that is gone, holds Start and Stop
// too. What can't be decoded is left out. A read error is in the log, and reading is tried again.
// All log lines name the path and the cause.
#ifndef ORVANE_SOURCES_CINPUTFILE_H
#define ORVANE_SOURCES_CINPUTFILE_H

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "media/CMyQueue.h"
#include "media/CSrcInterface.h"
#include "media/Worker.h"
#include "media/ffmpeg/LogOnce.h"
#include "sources/DeferredPackets.h"
#include "sources/FilePace.h"
#include "sources/FilmPicture.h"
#include "sources/OpenDeadline.h"
#include "sources/ReadAhead.h"
#include "sources/StereoConvert.h"

class CInputFile : public CSrcInterface {
 public:
  // path: UTF-8, in the local file system.
  explicit CInputFile(std::string path);
  // Closes the file. Stop comes before.
  ~CInputFile() override;

  int Start() override;
  int Stop() override;

  // Start has failed since the file has no sound: it may be a film for CInputSilentFile.
  bool LacksSound() const { return m_lacksSound; }
  // It makes no sound any more: all of it has been let go, or can't be read. A file that grows, or
  // can be read again, makes some again.
  bool SoundHasEnded() { return m_atEnd && m_audioQueue.Size() == 0; }

 protected:
  // Opens file and decoders; 0 or -1.
  int Open();
  // One step of the read thread: reads or decodes one packet, or sleeps.
  void ReadTurn();
  // One step of the pace thread: lets one sound frame and its pictures go, or sleeps.
  void PaceTurn(sources::FilePace* pace);
  CMyQueue* DecodedSound() { return &m_audioQueue; }
  CMyQueue* DecodedPictures() { return &m_videoQueue; }

 private:
  void Read();
  void Pace();
  int Fail(const std::string& cause);
  bool OpenStream(AVMediaType medium, int* index, AVCodecContext** codec, std::string* cause);
  void CloseFile();
  void ReadPacket();
  void HandleReadError(int error);
  void DrainFirstStream();
  void TakePacket(AVPacket* packet);
  void Decode(int streamIndex, const AVPacket* packet);
  void HandleAudio();
  void HandleVideo();
  void QueueSound(int samples, std::int64_t pts);
  std::string Whose() const;
  sources::Ahead SoundAhead();
  sources::Ahead PictureAhead();

  std::string m_path;
  bool m_lacksSound = false;
  AVFormatContext* m_file = nullptr;
  int m_audioStream = -1;
  int m_videoStream = -1;
  AVCodecContext* m_audioCodec = nullptr;
  AVCodecContext* m_videoCodec = nullptr;
  AVFrame* m_decoded;  // made by the constructor, used again for every frame
  sources::FilmPicture m_film;
  media::Worker m_readThread;
  media::Worker m_paceThread;
  std::atomic<bool> m_running{false};
  std::atomic<bool> m_atEnd{false};         // nothing more to read now, and no sound kept
  std::vector<std::uint8_t> m_audioBuffer;  // room for 10240 samples of each channel
  sources::StereoConvert m_stereo;
  CMyQueue m_audioQueue;  // decoded, from the read thread to the pace thread
  CMyQueue m_videoQueue;

  // All below belongs to the read thread.
  sources::OpenDeadline m_deadline;
  sources::DeferredPackets m_keptSound;
  sources::DeferredPackets m_keptPictures;
  AVPacket* m_packet;
  std::int64_t m_nextSoundPts = 0;  // of the next frame, where the file gives none
  std::int64_t m_nextPicturePts = 0;
  bool m_drained = false;    // the decoder of stream 0 was told that there is no more
  bool m_skipToKey = false;  // pictures were left out; the next ones refer to them
  ffmpeg::LogOnce m_readFault;
  ffmpeg::LogOnce m_dropFault;
  ffmpeg::LogOnce m_soundFault;
  ffmpeg::LogOnce m_pictureFault;
};

#endif
