#include "sources/Decoder.h"

#include "media/Worker.h"
#include "media/ffmpeg/Scoped.h"

namespace sources {

int OpenDecoder(const AVCodecParameters* parameters, AVRational timeBase, DecoderThreads threads,
                std::int64_t maxPixels, AVCodecContext** context) {
  *context = nullptr;
  const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
  if (codec == nullptr) {
    return AVERROR_DECODER_NOT_FOUND;
  }
  ffmpeg::ScopedCodec decoder(avcodec_alloc_context3(codec));
  if (!decoder) {
    return AVERROR(ENOMEM);
  }
  int result = avcodec_parameters_to_context(decoder.Get(), parameters);
  if (result < 0) {
    return result;
  }
  decoder->pkt_timebase = timeBase;
  decoder->max_pixels = maxPixels;
  ffmpeg::ScopedDictionary options;
  if (threads == DecoderThreads::Auto) {
    av_dict_set(options.Address(), "threads", "auto", 0);
  }
  // The decoder's own threads stand behind the stream, whoever opens it.
  media::RunAs(media::WorkerRole::kPrepare,
               [&] { result = avcodec_open2(decoder.Get(), codec, options.Address()); });
  if (result < 0) {
    return result;
  }
  *context = decoder.Release();
  return 0;
}

}  // namespace sources
