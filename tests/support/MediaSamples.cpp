#include "support/MediaSamples.h"

#include <cmath>
#include <fstream>

namespace support {

namespace {

constexpr int kMakeTimeoutMs = 180000;  // for machines under a heavy load
constexpr double kPi = 3.14159265358979323846;

std::uint32_t Crc(const std::string& bytes) {
  std::uint32_t crc = 0xffffffffU;
  for (const char byte : bytes) {
    crc ^= static_cast<std::uint8_t>(byte);
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xedb88320U : 0);
    }
  }
  return ~crc;
}

std::string BigEndian(std::uint32_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes += static_cast<char>((value >> shift) & 0xff);
  }
  return bytes;
}

std::string PngChunk(const std::string& type, const std::string& content) {
  return BigEndian(static_cast<std::uint32_t>(content.size())) + type + content +
         BigEndian(Crc(type + content));
}

void Append(std::vector<std::string>* list, const std::vector<std::string>& more) {
  list->insert(list->end(), more.begin(), more.end());
}

// The tone on every channel, half as loud as it can be.
std::string ToneSource(const ClipOptions& options) {
  std::string channels;
  for (int i = 0; i < options.channels; ++i) {
    channels +=
        (i > 0 ? "|" : "") + std::string("0.5*sin(2*PI*t*") + std::to_string(options.hertz) + ")";
  }
  const char* layouts[] = {"mono", "stereo", "2.1", "4.0", "5.0", "5.1"};
  return "aevalsrc=" + channels + ":c=" + layouts[options.channels - 1] +
         ":s=" + std::to_string(options.sampleRate) + ":d=" + std::to_string(options.soundSeconds);
}

std::size_t At(const std::string& content, double share) {
  return static_cast<std::size_t>(share * static_cast<double>(content.size()));
}

}  // namespace

constexpr CameraColour MediaSamples::kQuadrants[4];

std::string MediaSamples::Write(const std::string& name, const std::string& content) {
  std::ofstream file(Path(name), std::ios::binary);
  file << content;
  return file.good() ? Path(name) : "";
}

std::string MediaSamples::Make(const std::string& name, const std::vector<std::string>& arguments) {
  std::vector<std::string> command{"ffmpeg", "-nostdin", "-hide_banner", "-loglevel",
                                   "error",  "-y",       "-threads",     "2"};
  Append(&command, arguments);
  command.push_back("file:" + Path(name));
  const RunResult result = Run(command, kMakeTimeoutMs);
  m_error = result.output;
  return result.status == 0 ? Path(name) : "";
}

std::string MediaSamples::RawPictures(const ClipOptions& options) {
  const auto stride = static_cast<std::size_t>(options.width) * 3;
  std::string raw;
  std::vector<std::uint8_t> picture(stride * static_cast<std::size_t>(options.height));
  for (int i = 0; i < options.frames; ++i) {
    PaintCameraPicture(picture.data(), stride, options.width, options.height,
                       static_cast<unsigned>(i), CameraColour());
    raw.append(picture.begin(), picture.end());
  }
  return Write("pictures.raw", raw);
}

std::string MediaSamples::Clip(const std::string& name, const ClipOptions& options) {
  std::vector<std::string> arguments;
  if (options.frames > 0) {
    Append(&arguments, {"-f", "rawvideo", "-pixel_format", "rgb24", "-video_size",
                        std::to_string(options.width) + "x" + std::to_string(options.height),
                        "-framerate", "25", "-i", RawPictures(options)});
  }
  if (options.soundSeconds > 0) {
    Append(&arguments, {"-itsoffset", std::to_string(options.soundDelay), "-f", "lavfi", "-i",
                        ToneSource(options)});
  }
  if (options.frames > 0) {
    Append(&arguments, {"-c:v", options.videoCodec, "-pix_fmt", options.pixelFormat, "-g", "10"});
    if (options.videoCodec == "libx264") {
      Append(&arguments, {"-preset", "ultrafast", "-crf", "12", "-bf", "2"});
    } else {
      Append(&arguments, {"-q:v", "2"});
    }
  }
  if (options.soundSeconds > 0) {
    Append(&arguments, {"-c:a", options.audioCodec});
  }
  Append(&arguments, options.further);
  return Make(name, arguments);
}

std::string MediaSamples::Picture(const std::string& name, const PictureOptions& options) {
  std::string raw;
  for (int y = 0; y < options.height; ++y) {
    for (int x = 0; x < options.width; ++x) {
      const int quadrant =
          (y >= (options.height + 1) / 2 ? 2 : 0) + (x >= (options.width + 1) / 2 ? 1 : 0);
      const CameraColour& colour = kQuadrants[quadrant];
      raw += static_cast<char>(colour.red);
      raw += static_cast<char>(colour.green);
      raw += static_cast<char>(colour.blue);
    }
  }
  std::vector<std::string> arguments{
      "-f",
      "rawvideo",
      "-pixel_format",
      "rgb24",
      "-video_size",
      std::to_string(options.width) + "x" + std::to_string(options.height),
      "-i",
      Write("picture.raw", raw),
      "-frames:v",
      "1",
      "-update",
      "1",
      "-pix_fmt",
      options.pixelFormat};
  Append(&arguments, options.further);
  return Make(name, arguments);
}

std::string MediaSamples::CmykJpeg(const std::string& name) {
  const std::string png = Picture("cmyk-source.png");
  const RunResult result = Run({"convert", png, "-colorspace", "CMYK", "-quality", "98",
                                "-sampling-factor", "1x1", "jpeg:" + Path(name)});
  m_error = result.output;
  return result.status == 0 ? Path(name) : "";
}

std::string MediaSamples::HugePng(const std::string& name, std::uint32_t width,
                                  std::uint32_t height) {
  std::string png("\x89PNG\r\n\x1a\n", 8);
  png += PngChunk("IHDR", BigEndian(width) + BigEndian(height) + std::string("\x08\x02\0\0\0", 5));
  png += PngChunk("IDAT", std::string("\x78\x9c\x63\0\0\0\x01\0\x01", 9));
  png += PngChunk("IEND", "");
  return Write(name, png);
}

std::string MediaSamples::Truncated(const std::string& path, const std::string& name,
                                    double share) {
  const std::string content = ReadFile(path);
  return Write(name, content.substr(0, At(content, share)));
}

std::string MediaSamples::Damaged(const std::string& path, const std::string& name, double from,
                                  double to) {
  std::string content = ReadFile(path);
  std::uint32_t noise = 12345;
  for (std::size_t i = At(content, from); i < At(content, to); ++i) {
    noise = noise * 1664525U + 1013904223U;
    content[i] = static_cast<char>(noise >> 24);
  }
  return Write(name, content);
}

double ToneStrength(const std::vector<std::int16_t>& stereo, int channel, int hertz,
                    int sampleRate) {
  double real = 0;
  double imaginary = 0;
  const std::size_t count = stereo.size() / 2;
  for (std::size_t i = 0; i < count; ++i) {
    const double angle = 2 * kPi * hertz * static_cast<double>(i) / sampleRate;
    const double sample = stereo[i * 2 + static_cast<std::size_t>(channel)] / 32768.0;
    real += sample * std::cos(angle);
    imaginary += sample * std::sin(angle);
  }
  return count > 0 ? 2 * std::hypot(real, imaginary) / static_cast<double>(count) : 0;
}

}  // namespace support
