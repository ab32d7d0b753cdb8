#include "support/RecordingReader.h"

#include "media/ffmpeg/ErrorText.h"

namespace support {

RecordingReader::RecordingReader(const std::string& path) : m_packet(av_packet_alloc()) {
  int error = avformat_open_input(m_input.Address(), path.c_str(), nullptr, nullptr);
  if (error >= 0) {
    error = avformat_find_stream_info(m_input.Get(), nullptr);
  }
  if (error < 0) {
    m_error = path + ": " + ffmpeg::ErrorText(error);
    m_input.Reset();
  }
}

int RecordingReader::StreamCount() const {
  return m_input ? static_cast<int>(m_input->nb_streams) : 0;
}

const AVStream* RecordingReader::StreamAt(int index) const {
  return m_input->streams[index];
}

const AVPacket* RecordingReader::Next() {
  av_packet_unref(m_packet.Get());
  return m_input && av_read_frame(m_input.Get(), m_packet.Get()) >= 0 ? m_packet.Get() : nullptr;
}

void RecordingReader::Decode(AVMediaType kind,
                             const std::function<void(const AVFrame&, std::int64_t)>& look) {
  if (!m_input) {
    return;
  }
  const AVCodec* codec = nullptr;
  const int stream = av_find_best_stream(m_input.Get(), kind, -1, -1, &codec, 0);
  if (stream < 0) {
    return;
  }
  ffmpeg::ScopedCodec context(avcodec_alloc_context3(codec));
  ffmpeg::ScopedFrame frame(av_frame_alloc());
  const AVRational base = StreamAt(stream)->time_base;
  if (avcodec_parameters_to_context(context.Get(), StreamAt(stream)->codecpar) < 0 ||
      avcodec_open2(context.Get(), codec, nullptr) < 0) {
    return;
  }
  const auto drain = [&] {
    while (avcodec_receive_frame(context.Get(), frame.Get()) >= 0) {
      look(*frame.Get(), av_rescale_q(frame->best_effort_timestamp, base, {1, 1000}));
    }
  };
  while (const AVPacket* packet = Next()) {
    if (packet->stream_index == stream && avcodec_send_packet(context.Get(), packet) >= 0) {
      drain();
    }
  }
  avcodec_send_packet(context.Get(), nullptr);
  drain();
}

}  // namespace support
