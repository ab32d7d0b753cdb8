#include "media/AmixGraph.h"

#include <algorithm>
#include <cstdio>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libavutil/samplefmt.h>
}

#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/Scoped.h"
#include "platform/SoundFormat.h"

namespace media {

namespace {

constexpr AVSampleFormat kSampleFormat = AV_SAMPLE_FMT_S16;
constexpr std::int64_t kChannelLayout = 3;  // stereo, as a mask
constexpr int kMsPerSecond = 1000;
// amix keeps what an input gives while it waits for another one. More than a thread can be late by
// is an input that will not come.
constexpr std::int64_t kMaxWaiting = INT64_C(10) * platform::kSoundRate;
constexpr std::size_t kArgumentBytes = 512;

std::string InputName(int input) {
  return "in" + std::to_string(input);
}

std::string SourceArguments() {
  char text[kArgumentBytes];
  std::snprintf(text, sizeof text,
                "time_base=%d/%d:sample_rate=%d:sample_fmt=%s:channel_layout=0x%x", 1, kMsPerSecond,
                platform::kSoundRate, av_get_sample_fmt_name(kSampleFormat),
                static_cast<unsigned>(kChannelLayout));
  return text;
}

template <typename Value>
bool SetSinkOption(AVFilterContext* sink, const char* name, const Value& value) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&value);
  if (av_opt_set_bin(sink, name, bytes, sizeof value, AV_OPT_SEARCH_CHILDREN) >= 0) {
    return true;
  }
  std::printf("Filter: failed to call av_opt_set_bin -- %s\n", name);
  return false;
}

// A named end of the graph, chained before next, which it takes over; null without memory.
AVFilterInOut* NewPad(const std::string& name, AVFilterContext* filter, AVFilterInOut* next) {
  ffmpeg::ScopedInOut rest(next);
  ffmpeg::ScopedInOut pad(avfilter_inout_alloc());
  char* copy = av_strdup(name.c_str());
  if (!pad || copy == nullptr) {
    av_free(copy);
    return nullptr;
  }
  pad->name = copy;
  pad->filter_ctx = filter;
  pad->pad_idx = 0;
  pad->next = rest.Release();
  return pad.Release();
}

void FixPayload(AVFrame* frame) {
  const int payload = av_get_bytes_per_sample(static_cast<AVSampleFormat>(frame->format)) *
                      frame->ch_layout.nb_channels * frame->nb_samples;
  frame->linesize[0] = std::min(frame->linesize[0], payload);
}

void FixTime(AVFrame* frame) {
  if (frame->pts != AV_NOPTS_VALUE && frame->sample_rate > 0) {
    frame->pts = frame->pts * kMsPerSecond / frame->sample_rate;
  }
}

}  // namespace

std::string AmixDescription(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += "[" + InputName(i) + "]";
  }
  return text + "amix=inputs=" + std::to_string(count) + "[out]";
}

AmixGraph::~AmixGraph() {
  Free();
}

void AmixGraph::Free() {
  m_ready = false;
  for (AVFilterContext*& source : m_sources) {
    avfilter_free(source);
    source = nullptr;
  }
  m_sources.clear();
  m_fed.clear();
  m_received = 0;
  avfilter_free(m_sink);
  m_sink = nullptr;
  avfilter_graph_free(&m_graph);
}

AmixGraph::Result AmixGraph::Build(int count, const std::atomic<bool>& stop) {
  ORVANE_CONTRACT(m_thread.Holds(), "a mixing graph belongs to one thread");
  Free();
  if (count == 0) {
    return Result::kReady;
  }
  const Result ends = CreateEnds(count);
  if (ends != Result::kReady) {
    return ends;
  }
  if (stop) {
    return Result::kStopped;
  }
  m_ready = RestrictSink() && Connect();
  return m_ready ? Result::kReady : Result::kIncomplete;
}

AmixGraph::Result AmixGraph::CreateEnds(int count) {
  m_sources.assign(static_cast<std::size_t>(count), nullptr);
  m_fed.assign(static_cast<std::size_t>(count), 0);
  m_graph = avfilter_graph_alloc();
  int error = AVERROR(ENOMEM);
  if (m_graph != nullptr) {
    // amix works on one thread; a pool of them for each graph would only sit there.
    m_graph->nb_threads = 1;
    error = avfilter_graph_create_filter(&m_sink, avfilter_get_by_name("abuffersink"), "out",
                                         nullptr, nullptr, m_graph);
  }
  if (error < 0) {
    av_log(nullptr, AV_LOG_ERROR, "Cannot create buffer sink\n");
    av_log(nullptr, AV_LOG_ERROR, "Sound mixer: %s\n", ffmpeg::ErrorText(error).c_str());
    return Result::kNoSink;
  }
  const std::string arguments = SourceArguments();
  for (int i = 0; i < count; ++i) {
    error = avfilter_graph_create_filter(&m_sources[static_cast<std::size_t>(i)],
                                         avfilter_get_by_name("abuffer"), InputName(i).c_str(),
                                         arguments.c_str(), nullptr, m_graph);
    if (error < 0) {
      av_log(nullptr, AV_LOG_ERROR, "Cannot create buffer source, %s\n", arguments.c_str());
      av_log(nullptr, AV_LOG_ERROR, "Sound mixer: %s\n", ffmpeg::ErrorText(error).c_str());
      return Result::kNoSource;
    }
  }
  return Result::kReady;
}

bool AmixGraph::RestrictSink() {
  return SetSinkOption(m_sink, "sample_fmts", kSampleFormat) &&
         SetSinkOption(m_sink, "channel_layouts", kChannelLayout) &&
         SetSinkOption(m_sink, "sample_rates", platform::kSoundRate);
}

bool AmixGraph::Connect() {
  // What the parser calls outputs are the outputs that stand open so far: those of the sources.
  ffmpeg::ScopedInOut outputs;
  for (int i = InputCount() - 1; i >= 0; --i) {
    AVFilterInOut* pad =
        NewPad(InputName(i), m_sources[static_cast<std::size_t>(i)], outputs.Release());
    if (pad == nullptr) {
      return false;
    }
    outputs.Reset(pad);
  }
  ffmpeg::ScopedInOut inputs(NewPad("out", m_sink, nullptr));
  int error = avfilter_graph_parse_ptr(m_graph, AmixDescription(InputCount()).c_str(),
                                       inputs.Address(), outputs.Address(), nullptr);
  if (error < 0) {
    // The parser has freed every filter of the graph, ours too.
    std::fill(m_sources.begin(), m_sources.end(), nullptr);
    m_sink = nullptr;
  } else {
    error = avfilter_graph_config(m_graph, nullptr);
  }
  if (error < 0) {
    av_log(nullptr, AV_LOG_ERROR, "Sound mixer for %d inputs stays silent: %s\n", InputCount(),
           ffmpeg::ErrorText(error).c_str());
  }
  return error >= 0;
}

int AmixGraph::Feed(int input, AVFrame* frame) {
  ORVANE_CONTRACT(m_thread.Holds(), "a mixing graph belongs to one thread");
  const auto index = static_cast<std::size_t>(input);
  const int samples = frame->nb_samples;
  int result = 0;
  if (!m_ready || input >= InputCount()) {
    result = AVERROR(EINVAL);
  } else if (m_fed[index] - m_received >= kMaxWaiting) {
    result = AVERROR(ENOBUFS);
  } else {
    result = av_buffersrc_add_frame_flags(m_sources[index], frame, 0);
  }
  if (result >= 0) {
    m_fed[index] += samples;
  } else {
    av_frame_unref(frame);
  }
  // A graph that took the frame has taken its data, and only the shell is left.
  av_freep(&frame);
  return result;
}

AVFrame* AmixGraph::Receive() {
  ORVANE_CONTRACT(m_thread.Holds(), "a mixing graph belongs to one thread");
  ffmpeg::ScopedFrame out(av_frame_alloc());
  if (!out || !m_ready || av_buffersink_get_frame_flags(m_sink, out.Get(), 0) < 0) {
    return nullptr;
  }
  m_received += out->nb_samples;
  FixPayload(out.Get());
  FixTime(out.Get());
  return out.Release();
}

std::optional<std::int64_t> AmixGraph::FeedAll(int input, CMyQueue* queue,
                                               const std::function<void(AVFrame*)>& push) {
  std::optional<std::int64_t> last;
  while (auto* frame = static_cast<AVFrame*>(queue->Pop())) {
    last = frame->pts;
    if (Feed(input, frame) < 0) {
      continue;
    }
    while (AVFrame* mixed = Receive()) {
      push(mixed);
      av_frame_free(&mixed);
    }
  }
  return last;
}

}  // namespace media
