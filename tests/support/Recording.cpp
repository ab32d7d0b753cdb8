#include "support/Recording.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

#include "media/ffmpeg/ErrorText.h"
#include "support/RecordingReader.h"

namespace support {

namespace {

constexpr int kBlock = 8;

Area Within(const Area& area, const AVFrame& picture) {
  if (area.width == 0 || area.height == 0) {
    return {0, 0, picture.width, picture.height};
  }
  Area cut = area;
  cut.x = std::clamp(cut.x, 0, picture.width - 1);
  cut.y = std::clamp(cut.y, 0, picture.height - 1);
  cut.width = std::min(cut.width, picture.width - cut.x);
  cut.height = std::min(cut.height, picture.height - cut.y);
  return cut;
}

// Of one plane, in that plane's own coordinates.
double Mean(const AVFrame& picture, int plane, const Area& area) {
  double sum = 0;
  for (int y = area.y; y < area.y + area.height; ++y) {
    const std::uint8_t* row = picture.data[plane] + y * picture.linesize[plane];
    for (int x = area.x; x < area.x + area.width; ++x) {
      sum += row[x];
    }
  }
  return sum / std::max(1, area.width * area.height);
}

std::vector<float> BlockMeans(const AVFrame& picture, const Area& area) {
  std::vector<float> means;
  for (int y = area.y; y < area.y + area.height; y += kBlock) {
    for (int x = area.x; x < area.x + area.width; x += kBlock) {
      const Area block = {x, y, std::min(kBlock, area.x + area.width - x),
                          std::min(kBlock, area.y + area.height - y)};
      means.push_back(static_cast<float>(Mean(picture, 0, block)));
    }
  }
  return means;
}

bool Differ(const std::vector<float>& one, const std::vector<float>& other, double brightness) {
  if (one.size() != other.size()) {
    return true;
  }
  for (std::size_t i = 0; i < one.size(); ++i) {
    if (std::abs(one[i] - other[i]) > brightness) {
      return true;
    }
  }
  return false;
}

// BT.601 with studio swing, which is how the canvas becomes YUV.
PictureColour FromYuv(double y, double u, double v) {
  const double luma = 255.0 / 219.0 * (y - 16);
  const auto clip = [](double value) { return std::clamp(value, 0.0, 255.0); };
  return {clip(luma + 1.596 * (v - 128)), clip(luma - 0.392 * (u - 128) - 0.813 * (v - 128)),
          clip(luma + 2.017 * (u - 128))};
}

PictureColour MeanOf(const AVFrame& picture, const Area& area) {
  const Area chroma = {area.x / 2, area.y / 2, std::max(1, area.width / 2),
                       std::max(1, area.height / 2)};
  return FromYuv(Mean(picture, 0, area), Mean(picture, 1, chroma), Mean(picture, 2, chroma));
}

std::string At(const char* what, const Recording::Packet& packet) {
  return std::string(what) + " in stream " + std::to_string(packet.stream) + " at " +
         std::to_string(packet.dtsMs) + " ms";
}

}  // namespace

Recording::Recording(const std::string& path) : m_path(path) {
  RecordingReader reader(path);
  m_error = reader.Error();
  for (int i = 0; i < reader.StreamCount(); ++i) {
    const AVCodecParameters* codec = reader.StreamAt(i)->codecpar;
    const char* profile = avcodec_profile_name(codec->codec_id, codec->profile);
    m_streams.push_back({avcodec_get_name(codec->codec_id), profile != nullptr ? profile : "",
                         codec->width, codec->height, codec->sample_rate,
                         codec->ch_layout.nb_channels});
  }
  while (const AVPacket* packet = reader.Next()) {
    const AVRational base = reader.StreamAt(packet->stream_index)->time_base;
    m_packets.push_back({packet->stream_index, av_rescale_q(packet->pts, base, {1, 1000}),
                         av_rescale_q(packet->dts, base, {1, 1000}),
                         (packet->flags & AV_PKT_FLAG_KEY) != 0, packet->size});
  }
}

int Recording::Count(int stream) const {
  return static_cast<int>(std::count_if(m_packets.begin(), m_packets.end(),
                                        [&](const Packet& p) { return p.stream == stream; }));
}

std::string Recording::TimeStampFault() const {
  std::map<int, std::int64_t> last;
  for (const Packet& packet : m_packets) {
    const auto known = last.find(packet.stream);
    if (known != last.end() && packet.dtsMs <= known->second) {
      return At("time goes back", packet);
    }
    if (packet.ptsMs < packet.dtsMs) {
      return At("shown before it is decoded", packet);
    }
    last[packet.stream] = packet.dtsMs;
  }
  return "";
}

std::string Recording::WireOrderFault(std::int64_t slackMs) const {
  std::int64_t last = std::numeric_limits<std::int64_t>::min() / 2;
  for (const Packet& packet : m_packets) {
    if (packet.dtsMs < last - slackMs) {
      return At("out of order", packet);
    }
    last = std::max(last, packet.dtsMs);
  }
  return "";
}

int Recording::LongestKeyDistance() const {
  int longest = 0;
  int distance = 0;
  for (const Packet& packet : m_packets) {
    if (m_streams[static_cast<std::size_t>(packet.stream)].width == 0) {
      continue;
    }
    if (packet.key) {
      longest = std::max(longest, distance);
      distance = 0;
    }
    ++distance;
  }
  return std::max(longest, distance);
}

void Recording::ForEachPicture(
    const std::function<void(const AVFrame&, std::int64_t)>& look) const {
  RecordingReader reader(m_path);
  reader.Decode(AVMEDIA_TYPE_VIDEO, look);
}

Recording::Motion Recording::JudgeMotion(const Area& area, double brightness) const {
  Motion motion;
  std::vector<float> last;
  std::int64_t firstMs = 0;
  std::int64_t changedMs = 0;
  ForEachPicture([&](const AVFrame& picture, std::int64_t ms) {
    const std::vector<float> means = BlockMeans(picture, Within(area, picture));
    if (motion.pictures++ == 0) {
      firstMs = ms;
      changedMs = ms;
    }
    motion.durationMs = ms - firstMs;
    motion.longestGapMs = std::max(motion.longestGapMs, ms - changedMs);
    if (Differ(last, means, brightness)) {
      ++motion.distinct;
      changedMs = ms;
      last = means;
    }
  });
  return motion;
}

PictureColour Recording::MeanColour(const Area& area, std::int64_t ms) const {
  PictureColour colour;
  bool first = true;
  ForEachPicture([&](const AVFrame& picture, std::int64_t pictureMs) {
    if (first || pictureMs <= ms) {
      colour = MeanOf(picture, Within(area, picture));
      first = false;
    }
  });
  return colour;
}

}  // namespace support
