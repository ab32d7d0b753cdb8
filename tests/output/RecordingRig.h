// An encoder with a witness of its packets, and what a recording of them has to hold.
#ifndef ORVANE_TESTS_OUTPUT_RECORDINGRIG_H
#define ORVANE_TESTS_OUTPUT_RECORDINGRIG_H

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTime>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "output/CEncoder.h"
#include "output/PacketOutput.h"
#include "output/PublishRules.h"
#include "output/RecordingStatus.h"
#include "output/StreamCodecs.h"
#include "platform/Lock.h"
#include "support/Recording.h"

namespace support {

using Times = std::vector<std::int64_t>;

// Passes the packets on and keeps their times, as they are sent.
class PacketWitness : public output::PacketOutput {
 public:
  explicit PacketWitness(std::function<void(const AVPacket&)> next) : m_next(std::move(next)) {}

  void TakePacket(const AVPacket& packet) override {
    {
      const platform::Lock lock(m_mutex);
      if (packet.stream_index == output::kAudioStream) {
        m_sound.push_back(packet.pts);
      } else {
        m_pictures.push_back(packet.pts + output::kVideoLagMs);
        if (m_begin < 0 && (packet.flags & AV_PKT_FLAG_KEY) != 0) {
          m_begin = m_pictures.back();
        }
      }
    }
    m_next(packet);
  }

  // What a recording of all these has to hold: from the first key frame on, which is its time 0.
  Times Pictures() const {
    const platform::Lock lock(m_mutex);
    return Since(m_pictures);
  }
  Times Sound() const {
    const platform::Lock lock(m_mutex);
    return Since(m_sound);
  }

 private:
  Times Since(const Times& times) const ORVANE_REQUIRES(m_mutex) {
    Times since;
    for (const std::int64_t time : times) {
      if (m_begin >= 0 && time >= m_begin) {
        since.push_back(time - m_begin);
      }
    }
    return since;
  }

  const std::function<void(const AVPacket&)> m_next;
  mutable platform::Mutex m_mutex;
  Times m_sound ORVANE_GUARDED_BY(m_mutex);
  Times m_pictures ORVANE_GUARDED_BY(m_mutex);
  std::int64_t m_begin ORVANE_GUARDED_BY(m_mutex) = -1;
};

// Has an encoder give its packets there for as long as this lives.
class PacketLink {
 public:
  PacketLink(CEncoder* encoder, output::PacketOutput* taker) : m_encoder(encoder) {
    m_encoder->SetPacketOutput(taker);
  }
  ~PacketLink() { m_encoder->SetPacketOutput(nullptr); }
  PacketLink(const PacketLink&) = delete;
  PacketLink& operator=(const PacketLink&) = delete;

 private:
  CEncoder* m_encoder;
};

inline Times TimesOf(const Recording& recording, int stream) {
  Times times;
  for (const Recording::Packet& packet : recording.Packets()) {
    if (packet.stream == stream) {
      times.push_back(packet.ptsMs);
    }
  }
  return times;
}

inline output::RecordingPlace PlaceIn(const std::string& directory) {
  return {directory, QStringLiteral("周年庆"), QDateTime(QDate(2026, 3, 7), QTime(20, 5, 9))};
}
inline constexpr char kPlaceName[] = "周年庆 2026-03-07 20-05-09.mkv";

// The names of what is in a directory.
inline std::vector<std::string> FilesIn(const std::string& directory) {
  std::vector<std::string> names;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(directory, missing)) {
    names.push_back(entry.path().filename());
  }
  return names;
}

}  // namespace support

#endif
