#include "support/StageJudge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

#include "support/TimeCode.h"

namespace support {

namespace {

constexpr int kSceneWidth = 1920;
constexpr int kSceneHeight = 1080;

double MeanOf(const std::uint8_t* plane, int stride, int left, int top, int right, int bottom) {
  double sum = 0;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) {
      sum += plane[y * stride + x];
    }
  }
  return sum / (static_cast<double>(right - left) * (bottom - top));
}

// Brightness around a point of the scene.
double LumaAt(const AVFrame& picture, double sceneX, double sceneY) {
  const int x =
      std::clamp(static_cast<int>(sceneX * picture.width / kSceneWidth), 1, picture.width - 2);
  const int y =
      std::clamp(static_cast<int>(sceneY * picture.height / kSceneHeight), 1, picture.height - 2);
  return MeanOf(picture.data[0], picture.linesize[0], x - 1, y - 1, x + 2, y + 2);
}

}  // namespace

double Distance(const PictureColour& a, const PictureColour& b) {
  return std::max(
      {std::abs(a.red - b.red), std::abs(a.green - b.green), std::abs(a.blue - b.blue)});
}

PictureColour SceneColour(const AVFrame& picture, const Area& area) {
  const auto scaled = [](int value, int size, int scene) { return (value * size / scene) & ~1; };
  const int left = scaled(area.x, picture.width, kSceneWidth);
  const int top = scaled(area.y, picture.height, kSceneHeight);
  const int right = std::max(left + 2, scaled(area.x + area.width, picture.width, kSceneWidth));
  const int bottom = std::max(top + 2, scaled(area.y + area.height, picture.height, kSceneHeight));
  const auto chroma = [&](int plane) {
    return MeanOf(picture.data[plane], picture.linesize[plane], left / 2, top / 2, right / 2,
                  bottom / 2) -
           128;
  };
  const double luma =
      1.164383 * (MeanOf(picture.data[0], picture.linesize[0], left, top, right, bottom) - 16);
  const double u = chroma(1);
  const double v = chroma(2);
  const auto byte = [](double value) { return std::clamp(value, 0.0, 255.0); };
  return {byte(luma + 1.596027 * v), byte(luma - 0.391762 * u - 0.812968 * v),
          byte(luma + 2.017232 * u)};
}

std::int64_t SceneClock(const AVFrame& picture, int x, int y) {
  constexpr double kMiddleGrey = 125;
  TimeCells cells{};
  for (int i = 0; i < kTimeCells; ++i) {
    cells[static_cast<std::size_t>(i)] =
        LumaAt(picture, x + (i + 0.5) * kTimeCellSize, y + 0.5 * kTimeCellSize) > kMiddleGrey;
  }
  return DecodeTime(cells);
}

std::vector<ClockedPicture> ReadClocks(
    const Recording& recording, int x, int y,
    const std::function<void(const AVFrame&, std::int64_t ms)>& look) {
  std::vector<ClockedPicture> pictures;
  recording.ForEachPicture([&](const AVFrame& picture, std::int64_t ms) {
    pictures.push_back({ms, SceneClock(picture, x, y)});
    if (look) {
      look(picture, ms);
    }
  });
  return pictures;
}

std::vector<StillStretch> StillStretches(const std::vector<ClockedPicture>& pictures,
                                         std::int64_t longerThanMs, std::int64_t skipMs) {
  std::vector<StillStretch> stretches;
  if (pictures.empty()) {
    return stretches;
  }
  const std::int64_t from = pictures.front().ms + skipMs;
  const std::int64_t to = pictures.back().ms - skipMs;
  const ClockedPicture* last = nullptr;
  int repeats = 0;
  for (const ClockedPicture& picture : pictures) {
    if (picture.ms < from || picture.ms > to || picture.drawnMs < 0) {
      continue;
    }
    if (last != nullptr && picture.drawnMs == last->drawnMs) {
      ++repeats;
      continue;
    }
    if (last != nullptr && picture.ms - last->ms > longerThanMs) {
      stretches.push_back(
          {picture.ms, picture.ms - last->ms, picture.drawnMs - last->drawnMs, repeats});
    }
    last = &picture;
    repeats = 0;
  }
  return stretches;
}

std::vector<ClockedPicture> DrawnBetween(const std::vector<ClockedPicture>& pictures,
                                         std::int64_t fromMs, std::int64_t toMs) {
  const auto within = [&](const ClockedPicture& picture) {
    return picture.drawnMs >= 0 && picture.drawnMs >= fromMs && picture.drawnMs <= toMs;
  };
  const auto first = std::find_if(pictures.begin(), pictures.end(), within);
  const auto last = std::find_if(pictures.rbegin(), pictures.rend(), within).base();
  return first < last ? std::vector<ClockedPicture>(first, last) : std::vector<ClockedPicture>();
}

ClockedMotion JudgeClocks(const std::vector<ClockedPicture>& pictures, std::int64_t skipMs) {
  ClockedMotion motion;
  if (pictures.empty()) {
    return motion;
  }
  const std::int64_t from = pictures.front().ms + skipMs;
  const std::int64_t to = pictures.back().ms - skipMs;
  const ClockedPicture* last = nullptr;
  for (const ClockedPicture& picture : pictures) {
    if (picture.ms < from || picture.ms > to) {
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
      motion.longestGapMs = std::max(motion.longestGapMs, picture.ms - last->ms);
      motion.longestSourceGapMs =
          std::max(motion.longestSourceGapMs, picture.drawnMs - last->drawnMs);
      motion.wentBack += picture.drawnMs < last->drawnMs ? 1 : 0;
    }
    ++motion.distinct;
    last = &picture;
  }
  // The last picture stands for 40 ms too.
  motion.distinctPerSecond =
      to > from ? motion.distinct * 1000.0 / static_cast<double>(to - from + 40) : 0;
  return motion;
}

std::vector<double> BeepStarts(const Recording::Sound& sound, double hertz) {
  constexpr int kRate = 48000;
  constexpr std::size_t kStep = 48;     // 1 ms
  constexpr std::size_t kWindow = 240;  // 5 ms
  constexpr double kLoud = 0.03;        // amplitude, full scale 1
  constexpr int kQuietMs = 100;
  std::vector<double> starts;
  int quiet = kQuietMs;
  for (std::size_t at = 0; at + kWindow <= sound.samples.size(); at += kStep) {
    double real = 0;
    double imaginary = 0;
    for (std::size_t i = 0; i < kWindow; ++i) {
      const double angle = 2 * M_PI * hertz * static_cast<double>(i) / kRate;
      real += static_cast<double>(sound.samples[at + i]) * std::cos(angle);
      imaginary += static_cast<double>(sound.samples[at + i]) * std::sin(angle);
    }
    const bool loud = 2 * std::hypot(real, imaginary) / kWindow > kLoud;
    if (loud && quiet >= kQuietMs) {
      // The tone has just reached the end of this window.
      starts.push_back(static_cast<double>(sound.startMs) +
                       static_cast<double>(at + kWindow) * 1000.0 / kRate - 0.5);
    }
    quiet = loud ? 0 : quiet + 1;
  }
  return starts;
}

std::vector<SyncPoint> JudgeSync(const std::vector<ClockedPicture>& pictures,
                                 const std::vector<double>& beeps, int periodMs) {
  constexpr double kAroundMs = 1000;
  constexpr std::size_t kEnough = 10;
  std::vector<SyncPoint> points;
  for (const double beep : beeps) {
    // A single picture is up to 40 ms old; the middle of fifty is half of that, always.
    std::vector<double> offsets;
    for (const ClockedPicture& picture : pictures) {
      if (picture.drawnMs >= 0 && std::abs(static_cast<double>(picture.ms) - beep) < kAroundMs) {
        offsets.push_back(static_cast<double>(picture.ms - picture.drawnMs));
      }
    }
    if (offsets.size() < kEnough) {
      continue;
    }
    const double heard = beep - Median(offsets);
    const double made = std::round(heard / periodMs) * periodMs;
    points.push_back({beep, heard - made});
  }
  return points;
}

std::vector<SyncPoint> SyncDuring(const std::vector<SyncPoint>& points,
                                  const std::vector<ClockedPicture>& pictures) {
  std::vector<SyncPoint> during;
  std::copy_if(points.begin(), points.end(), std::back_inserter(during), [&](const SyncPoint& p) {
    return !pictures.empty() && p.ms >= static_cast<double>(pictures.front().ms) &&
           p.ms <= static_cast<double>(pictures.back().ms);
  });
  return during;
}

double MedianDistance(const std::vector<SyncPoint>& points) {
  std::vector<double> distances;
  for (const SyncPoint& point : points) {
    distances.push_back(point.soundLateMs);
  }
  return Median(distances);
}

double DriftMs(const std::vector<SyncPoint>& points, double spanMs) {
  if (points.size() < 2) {
    return 0;
  }
  const std::size_t fifth = std::max<std::size_t>(points.size() / 5, 1);
  const auto end = static_cast<std::ptrdiff_t>(fifth);
  const std::vector<SyncPoint> first(points.begin(), points.begin() + end);
  const std::vector<SyncPoint> last(points.end() - end, points.end());
  const double ms = last[fifth / 2].ms - first[fifth / 2].ms;
  return ms > 0 ? (MedianDistance(last) - MedianDistance(first)) / ms * spanMs : 0;
}

double Median(std::vector<double> values) {
  if (values.empty()) {
    return 0;
  }
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace support
