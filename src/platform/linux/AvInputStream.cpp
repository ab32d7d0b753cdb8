#include "platform/linux/AvInputStream.h"

extern "C" {
#include <libavdevice/avdevice.h>
}

#include "platform/AvErrorText.h"

namespace platform {

namespace {

constexpr int kNoUsableFormat = AVERROR_STREAM_NOT_FOUND;

bool TellsItsFormat(const AVFormatContext& input) {
  for (unsigned i = 0; i < input.nb_streams; ++i) {
    const AVCodecParameters& parameters = *input.streams[i]->codecpar;
    if (parameters.codec_id == AV_CODEC_ID_NONE) {
      continue;
    }
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO && parameters.width > 0 &&
        parameters.height > 0) {
      return true;
    }
  }
  return false;
}

std::string Cause(const AvInputRequest& request, int error) {
  return request.name + " (" + request.url + "): " + AvErrorText(error);
}

}  // namespace

AvInput OpenAvInput(const AvInputRequest& request, OpenResult* result) {
  result->failure = OpenFailure::CannotOpen;
  const AVInputFormat* format = av_find_input_format(request.format);
  AVFormatContext* context = avformat_alloc_context();
  if (format == nullptr || context == nullptr) {
    avformat_free_context(context);
    result->cause = Cause(request, format == nullptr ? AVERROR_DEMUXER_NOT_FOUND : AVERROR(ENOMEM));
    return nullptr;
  }
  context->flags |= request.flags;
  AVDictionary* options = nullptr;
  for (const auto& [key, value] : request.options) {
    av_dict_set(&options, key.c_str(), value.c_str(), 0);
  }
  const int opened = avformat_open_input(&context, request.url.c_str(), format, &options);
  av_dict_free(&options);
  if (opened < 0) {
    result->cause = Cause(request, opened);
    return nullptr;
  }
  AvInput input(context);
  if (!TellsItsFormat(*input)) {
    result->failure = OpenFailure::NoStreamFormat;
    result->cause = Cause(request, kNoUsableFormat);
    return nullptr;
  }
  result->failure = OpenFailure::None;
  return input;
}

bool AvInputStream::FindStream(CaptureKind kind, StreamInfo* info) const {
  const AVMediaType type = kind == CaptureKind::Video ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
  const int index = av_find_best_stream(m_input.get(), type, -1, -1, nullptr, 0);
  if (index < 0) {
    return false;
  }
  const AVStream& stream = *m_input->streams[index];
  info->index = index;
  info->parameters = stream.codecpar;
  info->timeBase = stream.time_base;
  return true;
}

int AvInputStream::Read(AVPacket* packet) {
  if (m_ended != 0) {
    return m_ended;
  }
  const int result = ReadDevice(packet);
  if (result < 0 && result != AVERROR(EAGAIN)) {
    m_ended = result;
  }
  return result;
}

int AvInputStream::ReadDevice(AVPacket* packet) {
  return av_read_frame(m_input.get(), packet);
}

}  // namespace platform
