// The last node of the graph, made for one broadcast: encodes pictures to H.264 and sound to AAC,
// and publishes both as FLV at an RTMP address.
//
// Flow: YUV 4:2:0 pictures of the canvas' size on video input 0, signed 16-bit stereo sound of
// 48000 Hz on audio input 0. The encode thread turns them into packets, the publish thread sends
// the packets, and between the two stand two packet queues: a slow network holds the publish thread
// up and never the encoders. Stream 0 is sound, stream 1 the picture. A packet output, where one is
// linked, gets a look at each packet before the publisher does (output/PacketOutput).
//
// Clocks: the picture's counts steps of 1/25 s, the sound's counts samples. The sound, of which
// nothing is lost, is the measure: a picture that tells when it was captured
// (best_effort_timestamp, in milliseconds of SDL_GetTicks) begins the stream when its sound is
// there, and where pictures were lost or are late, the picture's clock goes on without them
// (output/PictureClock). Of a picture's pts only this is looked at, whether it is the one before
// once more. Packets carry milliseconds.
//
// Effort: a broadcast starts with the prescribed settings. While x264 can't keep up with them it
// goes on with a faster preset, at the same size and rate (output/Effort): another context, whose
// first picture is a key frame. Each key frame carries the header that it is decoded with, so that
// the muxer sends a new one where it changes, whatever was skipped in between.
//
// Ownership: input frames are references shared with other nodes, so their pixels are only read.
// Encoded packets belong to the queue they wait in. The contexts live from Start to Stop, after a
// failed Start too; the destructor frees what is left.
//
// Threads: the owner's thread calls SetUrl, Start, Stop, SetPacketOutput, CopyParameters and the
// destructor; Statistics may be called on any thread. The encode thread uses the codecs, the
// publish thread the connection, and they share the packet queues, the counters and the started
// flag only.
//
// Locks: one around the packet output, held while it takes one packet. So SetPacketOutput returns
// only when no packet is inside the one that was linked before, which may then be deleted at once.
//
// Failure: Start gives -1. An encoder's error costs the frame. A connection that can't be made or
// breaks is tried again 3 s later, with a new header and a key frame, for as long as the node runs;
// a header that
// the muxer refuses ends publishing, and the packet queues then grow until Stop. Each goes to the
// log, and Statistics tells it.
//
// Stop returns within 0.5 s, whatever the server or the resolver does: nothing the publish thread
// waits for outlives the started flag by more than 400 ms, in which a sound connection gets its
// trailer and is closed.
#ifndef ORVANE_OUTPUT_CENCODER_H
#define ORVANE_OUTPUT_CENCODER_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include "media/CMyQueue.h"
#include "media/CSrcInterface.h"
#include "media/Doorbell.h"
#include "media/Worker.h"
#include "output/Deadline.h"
#include "output/Effort.h"
#include "output/EncoderStatistics.h"
#include "output/PictureClock.h"
#include "output/PublishRules.h"
#include "platform/Lock.h"

class DeviceCatalogue;
namespace output {
class PacketOutput;
class PublishConnection;
}  // namespace output

class CEncoder : public CSrcInterface {
 public:
  // The size of the published picture: 1920 x 1080, 1280 x 720 or 960 x 540.
  CEncoder(int width, int height);
  ~CEncoder() override;

  // Opens both encoders and creates both threads. 0; -1 when that fails, or when it runs already.
  int Start() override;
  // Ends both threads and frees the encoders; safe after a failed Start. Always 0.
  int Stop() override;

  // The publish address; between construction and Start.
  void SetUrl(const std::string& url);

  EncoderStatistics Statistics() const;

  // Who takes each packet from now on; null for nobody. Not owned.
  void SetPacketOutput(output::PacketOutput* packetOutput);
  // What both streams are decoded with, at its start; between Start and Stop. 0 or a negative
  // AVERROR.
  int CopyParameters(AVCodecParameters* sound, AVCodecParameters* picture) const;

  // An encoder that doesn't run takes nothing: nobody would empty its queues.
  void EnqueueAudio(int index, void* media) override;
  void EnqueueVideo(int index, void* media) override;

 protected:
  // What follows is what the two threads are made of. Tests call it on their own thread, without
  // Start, on a subclass.

  // The counters of the two stream clocks.
  struct EncodeClock {
    std::int64_t samples = 0;
    output::PictureClock picture;
    int lost = 0;  // pictures since the clock was asked
    output::Effort effort;
    int effortLevel = 0;                      // that it asked for
    std::uint64_t dropped = 0;                // of those that the effort knows
    std::int64_t canvasPts = AV_NOPTS_VALUE;  // of the last one, which may come again
  };
  enum class Sent { kNothing, kPacket, kFailed };

  // Set-up and tear-down of the encode thread's objects: 0 or -1.
  int OpenCodecs();
  void CloseCodecs();
  // Goes on with that level of effort; the next picture is a key frame. Software only.
  void ChangeEffort(int level);
  // Encodes all waiting sound and at most one picture. False when there was neither.
  bool EncodeTurn(EncodeClock* clock);

  // Whether there is sound and picture to begin with.
  bool HasFirstPackets();
  // One connection from its making to its end. True when another try is to follow.
  bool PublishOnce();
  // Streams of a fresh context, 0 or a negative AVERROR.
  int AddStreams(AVFormatContext* context);
  // Sends one packet, when one is due.
  Sent PublishTurn(AVFormatContext* context);
  // True when a new try is due, false when the node was stopped meanwhile.
  bool AwaitRetry();

  std::atomic<bool> m_started;  // the stop signal of both threads
  std::string m_url;
  DeviceCatalogue* m_catalogue;
  AVAudioFifo* m_fifo;                   // encode thread; regroups sound into the encoder's frames
  AVCodecContext* m_audioContext;        // encode thread; the publish thread copies its parameters
  AVCodecContext* m_videoContext;        // encode thread; another one at each change of effort
  AVCodecParameters* m_videoParameters;  // of the one that was opened first; never written again
  AVStream* m_audioStream;               // publish thread; of the current connection
  AVStream* m_videoStream;               // publish thread; of the current connection
  media::Worker m_encodeThread;
  media::Worker m_publishThread;
  CMyQueue m_audioPackets;  // time stamps in milliseconds
  CMyQueue m_videoPackets;  // time stamps in milliseconds
  int m_width;
  int m_height;
  SwsContext* m_scaler;     // encode thread; null when the canvas is published as it is
  SwrContext* m_resampler;  // encode thread; null when the encoder takes 16-bit sound
  AVFrame* m_scaledFrame;   // encode thread; target of every scaling
  AVRational m_streamTimeBase;
  std::string m_protocols;  // that an address may name; a test may allow more

 private:
  void Encode();
  void Publish();

  // Set-up.
  int OpenAudio();
  int OpenVideo();
  int OpenVideoWith(const char* encoder, bool* sizeRefused);
  int OpenResampler();
  int OpenScaler();
  int StartThreads();

  // Encode thread.
  bool EncodeSound(EncodeClock* clock);
  void QueueSamples(AVFrame* frame, std::int64_t pts);
  void EncodeSamples(EncodeClock* clock);
  bool EncodePicture(EncodeClock* clock);
  void ThinOut(int waiting);
  bool IsCanvas(const AVFrame& input) const;
  output::PictureClock::Picture See(EncodeClock* clock, const AVFrame& input, int waiting) const;
  AVFrame* PictureToEncode(AVFrame* input);
  void EncodeAt(std::int64_t step, AVFrame* picture);
  void KeepUp(EncodeClock* clock, std::int64_t tookMs);
  int TakePackets(AVCodecContext* context, int stream, CMyQueue* queue);
  void ShowPacket(const AVPacket& packet);

  // Publish thread.
  bool AwaitFirstPackets();
  void TakeHeader();
  bool Connect(AVFormatContext* context, output::PublishConnection* connection, bool* again);
  bool SendUntilTheEnd(AVFormatContext* context);
  int SendSound(AVFormatContext* context);
  int SendPicture(AVFormatContext* context);
  int Write(AVFormatContext* context, AVPacket* packet, std::atomic<std::uint64_t>* packetsSent);
  output::Skipped SkipStalePackets();
  void BeginWithPicture();
  void NoteHead(const output::Skipped& skipped);
  void Drop(const output::Skipped& skipped);
  void LosePackets();
  void Report(PublishState state);
  void ReportFailure(PublishState state, PublishFault fault, int error);

  platform::Mutex m_packetOutputMutex;
  output::PacketOutput* m_packetOutput ORVANE_GUARDED_BY(m_packetOutputMutex) = nullptr;
  media::Doorbell m_input;                           // rung for each frame and at the stop
  output::PublishConnection* m_connection;           // publish thread; the one that is open
  std::uint64_t m_bytesHanded;                       // publish thread; to connections, in all
  std::atomic<bool> m_keyDue;                        // the next picture is to be a key frame
  std::shared_ptr<output::Deadline> m_stopDeadline;  // a connection given up may outlive the node
  output::EncoderCounters m_counters;
};

#endif
