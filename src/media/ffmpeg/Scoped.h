// Scope guards for FFmpeg objects that live inside one function: freed on every way out, unless
// handed on with Release. Not for queue entries or nodes, which are raw pointers with an owner.
#ifndef ORVANE_MEDIA_FFMPEG_SCOPED_H
#define ORVANE_MEDIA_FFMPEG_SCOPED_H

#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace ffmpeg {

// Owns one T that Free(T**) frees and nulls; Free is given null pointers too.
template <typename T, void (*Free)(T**)>
class Scoped {
 public:
  Scoped() = default;
  explicit Scoped(T* object) : m_object(object) {}
  ~Scoped() { Reset(); }

  Scoped(const Scoped&) = delete;
  Scoped& operator=(const Scoped&) = delete;

  T* Get() const { return m_object; }
  T* operator->() const { return m_object; }
  explicit operator bool() const { return m_object != nullptr; }
  // For calls that fill or replace the pointer themselves.
  T** Address() { return &m_object; }
  // The caller frees it from now on.
  T* Release() {
    T* object = m_object;
    m_object = nullptr;
    return object;
  }
  void Reset(T* object = nullptr) {
    if (m_object != nullptr) {
      Free(&m_object);
    }
    m_object = object;
  }

 private:
  T* m_object = nullptr;
};

// An output whose bytes belong to somebody else.
inline void FreeOutput(AVFormatContext** context) {
  avformat_free_context(*context);
  *context = nullptr;
}

inline void FreeSws(SwsContext** context) {
  sws_freeContext(*context);
  *context = nullptr;
}

using ScopedFrame = Scoped<AVFrame, av_frame_free>;
using ScopedPacket = Scoped<AVPacket, av_packet_free>;
using ScopedCodec = Scoped<AVCodecContext, avcodec_free_context>;
using ScopedInput = Scoped<AVFormatContext, avformat_close_input>;
using ScopedOutput = Scoped<AVFormatContext, FreeOutput>;
using ScopedParameters = Scoped<AVCodecParameters, avcodec_parameters_free>;
using ScopedDictionary = Scoped<AVDictionary, av_dict_free>;
using ScopedInOut = Scoped<AVFilterInOut, avfilter_inout_free>;
using ScopedSwr = Scoped<SwrContext, swr_free>;
using ScopedSws = Scoped<SwsContext, FreeSws>;

}  // namespace ffmpeg

#endif
