#include "shell/StreamHealth.h"

#include <QStringList>
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/error.h>
}

#include "output/Effort.h"
#include "widgets/theme/Palette.h"

namespace shell {

namespace {

constexpr int kMaxNamed = 2;  // captures in the one line; the details name all

// The newest sample that is at least that old, or null when the history is shorter.
const StreamSample* SampleBefore(const StreamHistory& history, std::int64_t ageMs) {
  const std::int64_t latest = history.back().timeMs - ageMs;
  const StreamSample* found = nullptr;
  for (const StreamSample& sample : history) {
    if (sample.timeMs <= latest) {
      found = &sample;
    }
  }
  return found;
}

QString ConnectWords(int error) {
  switch (error) {
    case AVERROR(ECONNREFUSED):
      return QStringLiteral("连接被拒绝");
    case AVERROR(ETIMEDOUT):
      return QStringLiteral("连接超时");
    case AVERROR(ENETUNREACH):
    case AVERROR(EHOSTUNREACH):
      return QStringLiteral("网络不可达");
    // It was reached, and answered with an error or hung up: a wrong key, or one in use.
    case AVERROR(EPERM):
    case AVERROR(EIO):
    case AVERROR(EPIPE):
    case AVERROR(ECONNRESET):
    case AVERROR_EOF:
    case AVERROR_UNKNOWN:
      return QStringLiteral("服务器不接受推流");
    default:
      return QStringLiteral("连接失败");
  }
}

QString CauseWords(const PublishStatus& status) {
  switch (status.fault) {
    case PublishFault::kNone:
      break;
    case PublishFault::kContext:
      return QStringLiteral("推流地址无效");
    case PublishFault::kLookup:
      return QStringLiteral("找不到服务器");
    case PublishFault::kConnect:
      return ConnectWords(status.error);
    case PublishFault::kHeader:
      return QStringLiteral("推流头写入失败");
    case PublishFault::kWrite:
      return AVUNERROR(status.error) == ETIMEDOUT ? QStringLiteral("发送超时")
                                                  : QStringLiteral("连接中断");
  }
  return QStringLiteral("原因不明");
}

QString StateWords(PublishState state) {
  switch (state) {
    case PublishState::kStopped:
      return QStringLiteral("未启动");
    case PublishState::kWaiting:
      return QStringLiteral("等待声音和画面");
    case PublishState::kConnecting:
      return QStringLiteral("正在连接");
    case PublishState::kPublishing:
      return QStringLiteral("正在推流");
    case PublishState::kRetrying:
      return QStringLiteral("等待重试");
    case PublishState::kEnded:
      return QStringLiteral("已终止");
  }
  return QString();
}

// What is said of the stream, and the figure behind it, with what stands between the two.
struct Phrase {
  QString name;
  QString figure;
};
using Phrases = std::vector<Phrase>;

QString FailureWords(const CaptureSample& capture) {
  switch (capture.role) {
    case CaptureRole::kDesktop:
      return QStringLiteral("桌面打开失败");
    case CaptureRole::kCamera:
      return QStringLiteral("摄像头“%1”打开失败").arg(QString::fromStdString(capture.device));
    case CaptureRole::kSystemSound:
      return QStringLiteral("系统声音打开失败");
    case CaptureRole::kMicrophone:
      return QStringLiteral("麦克风打开失败");
  }
  return QString();
}

// Of one that never opened.
QString UnopenedWords(const CaptureSample& capture) {
  if (capture.unshared) {
    return QStringLiteral("没有屏幕共享服务 (xdg-desktop-portal)");
  }
  return capture.asking ? QStringLiteral("等待允许共享桌面") : FailureWords(capture);
}

QString CaptureWords(const CaptureSample& capture) {
  if (!capture.opened) {
    return UnopenedWords(capture);
  }
  switch (capture.role) {
    case CaptureRole::kDesktop:
      return QStringLiteral("桌面画面停止");
    case CaptureRole::kCamera:
      return QStringLiteral("摄像头“%1”画面停止").arg(QString::fromStdString(capture.device));
    case CaptureRole::kSystemSound:
      return QStringLiteral("系统声音中断");
    case CaptureRole::kMicrophone:
      return QStringLiteral("麦克风中断");
  }
  return QString();
}

bool SameCapture(const CaptureSample& one, const CaptureSample& other) {
  return one.place == other.place && one.role == other.role && one.device == other.device;
}

// Whether the capture was there in that sample, with the same count.
bool StoodStill(const StreamSample& sample, const CaptureSample& capture) {
  return std::any_of(sample.captures.begin(), sample.captures.end(),
                     [&](const CaptureSample& then) {
                       return SameCapture(then, capture) && then.delivered == capture.delivered;
                     });
}

// The same for a tooltip, where there is room for the cause.
QString CaptureDetail(const CaptureSample& capture) {
  const QString cause = QString::fromStdString(capture.cause);
  if (capture.unshared && !cause.isEmpty()) {
    return cause;  // begins with the words
  }
  const QString words = CaptureWords(capture);
  if (capture.asking) {
    return words + QStringLiteral("（请在系统的对话框中选择屏幕）");
  }
  return cause.isEmpty() ? words : QStringLiteral("%1（%2）").arg(words, cause);
}

struct StoppedCaptures {
  QStringList words;
  QStringList details;
};

StoppedCaptures FindStopped(const StreamHistory& history) {
  StoppedCaptures stopped;
  const StreamSample* then = SampleBefore(history, kStillMs);
  if (then == nullptr) {
    return stopped;
  }
  for (const CaptureSample& capture : history.back().captures) {
    if (StoodStill(*then, capture)) {
      stopped.words.append(CaptureWords(capture));
      stopped.details.append(CaptureDetail(capture));
    }
  }
  // One screen in several layers.
  stopped.words.removeDuplicates();
  stopped.details.removeDuplicates();
  return stopped;
}

// True when the state was the same at every sample of the last kStillMs, and that long is known.
bool HasLasted(const StreamHistory& history, PublishState state) {
  const StreamSample* then = SampleBefore(history, kStillMs);
  return then != nullptr &&
         std::all_of(history.begin(), history.end(), [&](const StreamSample& sample) {
           return sample.timeMs < then->timeMs || sample.encoder.status.state == state;
         });
}

bool SendsNothing(const StreamHistory& history) {
  return HasLasted(history, PublishState::kPublishing) &&
         SampleBefore(history, kStillMs)->encoder.bytesSent == history.back().encoder.bytesSent;
}

// What the encoders have not given in the last kStillMs.
QString MissingWords(const StreamHistory& history) {
  const EncoderStatistics& then = SampleBefore(history, kStillMs)->encoder;
  const EncoderStatistics& now = history.back().encoder;
  const bool sound = then.audioPacketsEncoded == now.audioPacketsEncoded;
  const bool picture = then.videoPacketsEncoded == now.videoPacketsEncoded;
  if (sound && picture) {
    return QStringLiteral("没有声音和画面");
  }
  if (sound) {
    return QStringLiteral("没有声音");
  }
  return picture ? QStringLiteral("没有画面") : QString();
}

// Nothing is sent without sound, nor without a picture.
QString WaitingWords(const StreamHistory& history) {
  const QString missing =
      HasLasted(history, PublishState::kWaiting) ? MissingWords(history) : QString();
  return missing.isEmpty() ? QString() : QStringLiteral("未推流：%1").arg(missing);
}

QString StandstillWords(const StreamHistory& history) {
  if (!SendsNothing(history)) {
    return QString();
  }
  const QString missing = MissingWords(history);
  return QStringLiteral("推流停滞：%1")
      .arg(missing.isEmpty() ? QStringLiteral("服务器不接收数据") : missing);
}

Phrase RetryWords(const EncoderStatistics& encoder) {
  const QString what =
      encoder.connections > 0 ? QStringLiteral("推流中断：") : QStringLiteral("未推流：");
  return {what + CauseWords(encoder.status),
          QStringLiteral("，第 %1 次重试").arg(encoder.status.tries)};
}

// Why nothing reaches the server; empty when something does, or may be about to.
Phrase DownWords(const StreamHistory& history) {
  const PublishStatus& status = history.back().encoder.status;
  switch (status.state) {
    case PublishState::kStopped:
      return {QStringLiteral("编码器未能启动"), {}};
    case PublishState::kEnded:
      return {QStringLiteral("推流已终止：%1").arg(CauseWords(status)), {}};
    case PublishState::kWaiting:
      return {WaitingWords(history), {}};
    case PublishState::kConnecting:
      if (status.tries == 0 && HasLasted(history, PublishState::kConnecting)) {
        return {QStringLiteral("未推流：服务器没有应答"), {}};
      }
      [[fallthrough]];
    case PublishState::kRetrying:
      return status.tries > 0 ? RetryWords(history.back().encoder) : Phrase();
    case PublishState::kPublishing:
      return {StandstillWords(history), {}};
  }
  return {};
}

QString Seconds(std::int64_t ms) {
  return QString::number(static_cast<double>(ms) / 1000, 'f', 1);
}

// Of one sample alone there is no rate.
QString RateWords(const StreamHistory& history) {
  return history.size() > 1
             ? QStringLiteral("%1 kb/s").arg(KilobitsPerSecond(history.front(), history.back()))
             : QStringLiteral("—");
}

// What deserves attention while it runs.
Phrases TroubleWords(const StreamHistory& history) {
  const EncoderStatistics& encoder = history.back().encoder;
  Phrases words;
  if (encoder.queuedMs > kLongDelayMs) {
    words.push_back(
        {QStringLiteral("延迟"), QStringLiteral(" %1 秒").arg(Seconds(encoder.queuedMs))});
  }
  // Which of the two is too slow for the stream, machine or network.
  const EncoderStatistics& before = history.front().encoder;
  const std::uint64_t unencoded = encoder.videoFramesDropped - before.videoFramesDropped;
  if (unencoded > 0) {
    words.push_back({QStringLiteral("编码丢帧"), QStringLiteral(" %1").arg(unencoded)});
  }
  if (encoder.effort > 0) {
    words.push_back({QStringLiteral("画质已自动降低"), {}});
  }
  const std::uint64_t unsent = encoder.videoPacketsDropped - before.videoPacketsDropped;
  if (unsent > 0) {
    words.push_back({QStringLiteral("网络丢帧"), QStringLiteral(" %1").arg(unsent)});
  }
  return words;
}

void Put(const Phrases& words, StreamHealth* health) {
  QStringList line;
  QStringList state;
  for (const Phrase& phrase : words) {
    line << phrase.name + phrase.figure;
    if (!phrase.name.isEmpty()) {
      state << phrase.name;
    }
  }
  health->words = line.join(QStringLiteral("  "));
  health->state = state.join(QStringLiteral("  "));
}

QString NamedWords(const QStringList& stopped) {
  QString words = stopped.mid(0, kMaxNamed).join(QStringLiteral("，"));
  if (stopped.size() > kMaxNamed) {
    words += QStringLiteral("，等 %1 项").arg(stopped.size());
  }
  return words;
}

QString Details(const StreamHistory& history, const QStringList& stopped) {
  const EncoderStatistics& encoder = history.back().encoder;
  QStringList lines;
  lines << QStringLiteral("状态：%1").arg(StateWords(encoder.status.state))
        << QStringLiteral("画面：%1 × %2").arg(encoder.width).arg(encoder.height)
        << QStringLiteral("码率：%1").arg(RateWords(history))
        << QStringLiteral("延迟：%1 秒").arg(Seconds(encoder.queuedMs))
        << QStringLiteral("已发送：画面 %1 帧，声音 %2 帧")
               .arg(encoder.videoPacketsSent)
               .arg(encoder.audioPacketsSent)
        << QStringLiteral("编码前丢帧：%1").arg(encoder.videoFramesDropped)
        << QStringLiteral("发送前丢弃：画面 %1 帧，声音 %2 帧")
               .arg(encoder.videoPacketsDropped)
               .arg(encoder.audioPacketsDropped)
        << QStringLiteral("已连接 %1 次，连续失败 %2 次")
               .arg(encoder.connections)
               .arg(encoder.status.tries);
  if (encoder.effort > 0) {
    lines << QStringLiteral("画质：已自动降低到 %1，机器有余力时恢复")
                 .arg(QLatin1String(output::Effort::Name(encoder.effort)));
  }
  if (encoder.videoFramesLeftOut > 0) {
    lines << QStringLiteral("为与声音同步略去：%1 帧").arg(encoder.videoFramesLeftOut);
  }
  if (!encoder.cause.empty()) {
    lines << QStringLiteral("原因：%1（%2）")
                 .arg(CauseWords(encoder.status), QString::fromStdString(encoder.cause));
  }
  for (const QString& capture : stopped) {
    lines << QStringLiteral("采集：%1").arg(capture);
  }
  return lines.join(QLatin1Char('\n'));
}

}  // namespace

void AddSample(StreamHistory* history, StreamSample sample) {
  if (!history->empty() && sample.timeMs - history->back().timeMs > kStillMs) {
    history->clear();
  }
  history->push_back(std::move(sample));
  // The second oldest alone covers the span.
  while (history->size() > 2 && history->back().timeMs - (*history)[1].timeMs >= kRecentMs) {
    history->pop_front();
  }
}

StreamHealth JudgeStream(const StreamHistory& history) {
  const StoppedCaptures stopped = FindStopped(history);
  const Phrase down = DownWords(history);
  const bool publishes = history.back().encoder.status.state == PublishState::kPublishing;
  StreamHealth health;
  health.details = Details(history, stopped.details);
  Phrases words;
  if (!down.name.isEmpty()) {
    health.light = StreamLight::kRed;
    words = {down};
  } else if (publishes) {
    words = TroubleWords(history);
    const bool well = words.empty() && stopped.words.isEmpty();
    health.light = well ? StreamLight::kGreen : StreamLight::kAmber;
    if (well) {
      words = {{QStringLiteral("直播正常"), {}}};
    }
  } else {
    health.light = StreamLight::kAmber;
    words = {{QStringLiteral("正在连接…"), {}}};
  }
  if (!stopped.words.isEmpty()) {
    words.push_back({NamedWords(stopped.words), {}});
  }
  if (down.name.isEmpty() && publishes && history.size() > 1) {
    words.push_back({{}, RateWords(history)});
  }
  Put(words, &health);
  return health;
}

QString LightColour(StreamLight light) {
  switch (light) {
    case StreamLight::kGreen:
      return theme::kGood.name().toUpper();
    case StreamLight::kAmber:
      return theme::kWarning.name().toUpper();
    case StreamLight::kRed:
      return theme::kAlarm.name().toUpper();
  }
  return QString();
}

int KilobitsPerSecond(const StreamSample& from, const StreamSample& to) {
  const std::int64_t ms = to.timeMs - from.timeMs;
  if (ms <= 0 || to.encoder.bytesSent < from.encoder.bytesSent) {
    return 0;
  }
  // Bits a millisecond are kilobits a second.
  return static_cast<int>((to.encoder.bytesSent - from.encoder.bytesSent) * 8 /
                          static_cast<std::uint64_t>(ms));
}

}  // namespace shell
