#include "support/StreamJudge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "media/ffmpeg/Scoped.h"
#include "support/TimeCode.h"

namespace support {

namespace {

constexpr int kSceneWidth = 1920;
constexpr int kSceneHeight = 1080;
constexpr int kRate = 48000;

double MeanOf(const std::uint8_t* plane, int stride, int left, int top, int right, int bottom) {
  double sum = 0;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      sum += plane[y * stride + x];
    }
  }
  return sum / (static_cast<double>(right - left) * (bottom - top));
}

double LumaAt(const AVFrame* picture, double sceneX, double sceneY) {
  const int x =
      std::clamp(static_cast<int>(sceneX * picture->width / kSceneWidth), 1, picture->width - 2);
  const int y =
      std::clamp(static_cast<int>(sceneY * picture->height / kSceneHeight), 1, picture->height - 2);
  return MeanOf(picture->data[0], picture->linesize[0], x - 1, y - 1, x + 2, y + 2);
}

// One elementary stream of a recording with its decoder.
struct Track {
  AVStream* stream = nullptr;
  ffmpeg::ScopedCodec decoder;
  std::int64_t lastDts = AV_NOPTS_VALUE;

  bool Open(AVStream* of) {
    stream = of;
    const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
    decoder.Reset(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
    return decoder && avcodec_parameters_to_context(decoder.Get(), stream->codecpar) >= 0 &&
           avcodec_open2(decoder.Get(), codec, nullptr) >= 0;
  }

  std::int64_t Ms(std::int64_t time) const {
    return av_rescale_q(time, stream->time_base, AVRational{1, 1000});
  }
};

class Judge {
 public:
  explicit Judge(const Watch& watch) : m_watch(watch) {}

  StreamFacts Run(const std::string& path) {
    if (!Open(path)) {
      return m_facts;
    }
    ffmpeg::ScopedPacket packet(av_packet_alloc());
    while (av_read_frame(m_input.Get(), packet.Get()) >= 0) {
      Take(packet.Get());
      av_packet_unref(packet.Get());
    }
    Decode(&m_video, nullptr);
    m_facts.longestKeyDistance = std::max(m_facts.longestKeyDistance, m_sinceKey);
    m_facts.readable = true;
    return m_facts;
  }

 private:
  bool Open(const std::string& path) {
    if (avformat_open_input(m_input.Address(), path.c_str(), nullptr, nullptr) < 0 ||
        avformat_find_stream_info(m_input.Get(), nullptr) < 0 || m_input->nb_streams < 2) {
      return false;
    }
    m_facts.firstCodec = avcodec_get_name(m_input->streams[0]->codecpar->codec_id);
    m_facts.secondCodec = avcodec_get_name(m_input->streams[1]->codecpar->codec_id);
    const int sound = av_find_best_stream(m_input.Get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
    const int video = av_find_best_stream(m_input.Get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (sound < 0 || video < 0 || !m_sound.Open(m_input->streams[sound]) ||
        !m_video.Open(m_input->streams[video])) {
      return false;
    }
    m_facts.sampleRate = m_sound.stream->codecpar->sample_rate;
    m_facts.channels = m_sound.stream->codecpar->ch_layout.nb_channels;
    m_facts.profile = m_video.stream->codecpar->profile;
    m_facts.width = m_video.stream->codecpar->width;
    m_facts.height = m_video.stream->codecpar->height;
    return true;
  }

  void Take(AVPacket* packet) {
    Track* track = packet->stream_index == m_sound.stream->index   ? &m_sound
                   : packet->stream_index == m_video.stream->index ? &m_video
                                                                   : nullptr;
    if (track == nullptr) {
      return;
    }
    if (track->lastDts != AV_NOPTS_VALUE && packet->dts < track->lastDts) {
      ++m_facts.timeWentBack;
    }
    track->lastDts = packet->dts;
    if (track == &m_video) {
      if ((packet->flags & AV_PKT_FLAG_KEY) != 0) {
        m_facts.longestKeyDistance = std::max(m_facts.longestKeyDistance, m_sinceKey);
        m_sinceKey = 0;
      }
      ++m_sinceKey;
    }
    Decode(track, packet);
  }

  void Decode(Track* track, AVPacket* packet) {
    if (avcodec_send_packet(track->decoder.Get(), packet) < 0) {
      return;
    }
    ffmpeg::ScopedFrame frame(av_frame_alloc());
    while (avcodec_receive_frame(track->decoder.Get(), frame.Get()) >= 0) {
      if (track == &m_video) {
        See(frame.Get());
      } else {
        Hear(frame.Get());
      }
      av_frame_unref(frame.Get());
    }
  }

  void See(const AVFrame* picture) {
    PictureFacts facts;
    facts.ptsMs = m_video.Ms(picture->best_effort_timestamp);
    facts.key = picture->key_frame != 0;
    if (m_watch.clockX >= 0) {
      facts.drawnMs = SceneClock(picture, m_watch.clockX, m_watch.clockY);
    }
    if (m_watch.look) {
      m_watch.look(picture, facts);
    }
    m_facts.pictures.push_back(facts);
  }

  // AAC decodes to planar floats. What is missing between two frames is filled with silence, so
  // that the samples stay on the stream's time line.
  void Hear(const AVFrame* sound) {
    const std::int64_t ms = m_sound.Ms(sound->best_effort_timestamp);
    if (m_facts.sound.empty()) {
      m_facts.soundStartMs = ms;
    }
    const auto expected =
        static_cast<std::size_t>(std::max<std::int64_t>(0, ms - m_facts.soundStartMs)) * kRate /
        1000;
    if (expected > m_facts.sound.size() + kRate / 10) {
      m_facts.sound.resize(expected);
    }
    const auto* samples = reinterpret_cast<const float*>(sound->data[0]);
    for (int i = 0; i < sound->nb_samples; ++i) {
      m_facts.sound.push_back(
          static_cast<std::int16_t>(std::clamp(samples[i], -1.0F, 1.0F) * 32767));
    }
  }

  const Watch& m_watch;
  StreamFacts m_facts;
  ffmpeg::ScopedInput m_input;
  Track m_sound;
  Track m_video;
  int m_sinceKey = 0;
};

}  // namespace

double Distance(const MeanColour& a, const MeanColour& b) {
  return std::max(
      {std::abs(a.red - b.red), std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
}

MeanColour SceneColour(const AVFrame* picture, int x, int y, int width, int height) {
  const auto scaled = [](int value, int size, int scene) { return value * size / scene; };
  const int left = scaled(x, picture->width, kSceneWidth) & ~1;
  const int top = scaled(y, picture->height, kSceneHeight) & ~1;
  const int right = std::max(left + 2, scaled(x + width, picture->width, kSceneWidth) & ~1);
  const int bottom = std::max(top + 2, scaled(y + height, picture->height, kSceneHeight) & ~1);
  const double luma =
      1.164383 * (MeanOf(picture->data[0], picture->linesize[0], left, top, right, bottom) - 16);
  const double u =
      MeanOf(picture->data[1], picture->linesize[1], left / 2, top / 2, right / 2, bottom / 2) -
      128;
  const double v =
      MeanOf(picture->data[2], picture->linesize[2], left / 2, top / 2, right / 2, bottom / 2) -
      128;
  const auto byte = [](double value) { return std::clamp(value, 0.0, 255.0); };
  return {byte(luma + 1.596027 * v), byte(luma - 0.391762 * u - 0.812968 * v),
          byte(luma + 2.017232 * u)};
}

std::int64_t SceneClock(const AVFrame* picture, int x, int y) {
  TimeCells cells{};
  for (int i = 0; i < kTimeCells; ++i) {
    const double luma = LumaAt(picture, x + (i + 0.5) * kTimeCellSize, y + 0.5 * kTimeCellSize);
    cells[static_cast<std::size_t>(i)] = luma > 125;
  }
  return DecodeTime(cells);
}

StreamFacts JudgeRecording(const std::string& path, const Watch& watch) {
  return Judge(watch).Run(path);
}

Motion JudgeMotion(const std::vector<PictureFacts>& pictures, std::int64_t skipMs) {
  Motion motion;
  if (pictures.empty()) {
    return motion;
  }
  const std::int64_t from = pictures.front().ptsMs + skipMs;
  const std::int64_t to = pictures.back().ptsMs - skipMs;
  const PictureFacts* last = nullptr;
  for (const PictureFacts& picture : pictures) {
    if (picture.ptsMs < from || picture.ptsMs > to) {
      continue;
    }
    ++motion.pictures;
    if (picture.drawnMs < 0) {
      ++motion.unreadable;
      continue;
    }
    if (last != nullptr && picture.drawnMs == last->drawnMs) {
      continue;
    }
    if (last != nullptr) {
      motion.longestGapMs = std::max(motion.longestGapMs, picture.ptsMs - last->ptsMs);
      motion.longestSourceGapMs =
          std::max(motion.longestSourceGapMs, picture.drawnMs - last->drawnMs);
      motion.wentBack += picture.drawnMs < last->drawnMs ? 1 : 0;
    }
    ++motion.distinct;
    last = &picture;
  }
  if (to > from) {
    motion.distinctPerSecond = motion.distinct * 1000.0 / static_cast<double>(to - from + 40);
  }
  return motion;
}

double ToneShare(const std::int16_t* samples, std::size_t count, double hz, int rate) {
  double energy = 0;
  double real = 0;
  double imaginary = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double sample = samples[i];
    const double angle = 2 * M_PI * hz * static_cast<double>(i) / rate;
    energy += sample * sample;
    real += sample * std::cos(angle);
    imaginary += sample * std::sin(angle);
  }
  if (energy <= 0) {
    return 0;
  }
  return 2 * (real * real + imaginary * imaginary) / (energy * static_cast<double>(count));
}

std::vector<double> ToneStarts(const StreamFacts& facts, double hz) {
  constexpr std::size_t kStep = 48;     // 1 ms
  constexpr std::size_t kWindow = 240;  // 5 ms
  constexpr double kLoud = 1000.0;      // of 32767, mean of the tone's amplitude
  constexpr int kQuietMs = 100;         // what has to lie between two tones
  std::vector<double> starts;
  int quiet = kQuietMs;
  for (std::size_t at = 0; at + kWindow <= facts.sound.size(); at += kStep) {
    double real = 0;
    double imaginary = 0;
    for (std::size_t i = 0; i < kWindow; ++i) {
      const double angle = 2 * M_PI * hz * static_cast<double>(i) / kRate;
      real += facts.sound[at + i] * std::cos(angle);
      imaginary += facts.sound[at + i] * std::sin(angle);
    }
    const bool loud = 2 * std::hypot(real, imaginary) / kWindow > kLoud;
    if (loud && quiet >= kQuietMs) {
      // The tone fills the end of the window that first rises above the threshold.
      starts.push_back(static_cast<double>(facts.soundStartMs) +
                       static_cast<double>(at + kWindow) * 1000.0 / kRate - 0.5);
    }
    quiet = loud ? 0 : quiet + 1;
  }
  return starts;
}

std::vector<SyncPoint> JudgeSync(const StreamFacts& facts, double beepHz, int periodMs) {
  std::vector<SyncPoint> points;
  for (const double start : ToneStarts(facts, beepHz)) {
    // What the picture that stands at this moment of the stream says of the source's time. The mean
    // over two seconds evens out the steps of 40 ms.
    std::vector<double> offsets;
    for (const PictureFacts& picture : facts.pictures) {
      if (picture.drawnMs >= 0 && std::abs(static_cast<double>(picture.ptsMs) - start) < 1000) {
        offsets.push_back(static_cast<double>(picture.ptsMs - picture.drawnMs));
      }
    }
    if (offsets.size() < 10) {
      continue;
    }
    const double sourceMs = start - Median(offsets);
    const double made = std::round(sourceMs / periodMs) * periodMs;
    points.push_back({start, sourceMs - made});
  }
  return points;
}

double Median(std::vector<double> values) {
  if (values.empty()) {
    return 0;
  }
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double DriftMs(const std::vector<SyncPoint>& points, double spanMs) {
  double meanX = 0;
  double meanY = 0;
  for (const SyncPoint& point : points) {
    meanX += point.streamMs / static_cast<double>(points.size());
    meanY += point.soundLateMs / static_cast<double>(points.size());
  }
  double covariance = 0;
  double variance = 0;
  for (const SyncPoint& point : points) {
    covariance += (point.streamMs - meanX) * (point.soundLateMs - meanY);
    variance += (point.streamMs - meanX) * (point.streamMs - meanX);
  }
  return variance > 0 ? covariance / variance * spanMs : 0;
}

}  // namespace support
