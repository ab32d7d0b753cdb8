#include "shell/RecordingWords.h"

#include <QLatin1Char>
#include <cerrno>
#include <cstdint>

extern "C" {
#include <libavutil/error.h>
}

#include "media/ffmpeg/ErrorText.h"

namespace shell {

namespace {

using output::RecordingFault;
using output::RecordingState;
using output::RecordingStatus;

constexpr std::int64_t kMegabyte = 1'000'000;

QString DiskWords(int error) {
  switch (AVUNERROR(error)) {
    case ENOSPC:
    case EDQUOT:
      return QStringLiteral("磁盘已满");
    case EFBIG:
      return QStringLiteral("文件已达到该磁盘允许的最大长度");
    case EACCES:
    case EPERM:
      return QStringLiteral("没有写入权限");
    case EROFS:
      return QStringLiteral("磁盘是只读的");
    default:
      return QStringLiteral("磁盘出错（%1）").arg(QString::fromStdString(ffmpeg::ErrorText(error)));
  }
}

QString CauseWords(const RecordingStatus& status) {
  switch (status.fault) {
    case RecordingFault::kNone:
      break;
    case RecordingFault::kNoStream:
      return QStringLiteral("编码器未能启动");
    case RecordingFault::kNoThread:
      return QStringLiteral("系统资源不足");
    case RecordingFault::kOpen:
    case RecordingFault::kWrite:
      return DiskWords(status.error);
    case RecordingFault::kTooSlow:
      return QStringLiteral("磁盘长时间没有响应");
  }
  return QStringLiteral("原因不明");
}

QString TwoDigits(std::int64_t number) {
  return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
}

QString LengthText(std::int64_t ms) {
  const std::int64_t seconds = ms / 1000;
  return TwoDigits(seconds / 3600) + QLatin1Char(':') + TwoDigits(seconds / 60 % 60) +
         QLatin1Char(':') + TwoDigits(seconds % 60);
}

QString FiguresOf(const RecordingStatus& status) {
  return QStringLiteral("%1，%2 MB").arg(LengthText(status.lengthMs)).arg(status.bytes / kMegabyte);
}

}  // namespace

// Paths come last, added and not filled in: they may hold anything.
QString RecordingNotice(const RecordingStatus& status) {
  const QString path = QString::fromStdString(status.path);
  if (status.bytes == 0) {
    return QStringLiteral("无法录制：%1\n直播不受影响\n").arg(CauseWords(status)) + path;
  }
  return QStringLiteral("录制已停止：%1\n直播不受影响，已录制 %2，保存在\n")
             .arg(CauseWords(status), LengthText(status.lengthMs)) +
         path;
}

QString RecordingTip(const std::optional<RecordingStatus>& now, const std::string& last) {
  if (!now) {
    const QString before = QString::fromStdString(last);
    return QStringLiteral("按一下，把直播同时录制成文件") +
           (before.isEmpty() ? QString() : QStringLiteral("\n上次录制：") + before);
  }
  const QString path = QString::fromStdString(now->path);
  if (now->state == RecordingState::kRecording) {
    return QStringLiteral("正在录制，再按一下结束\n%1\n").arg(FiguresOf(*now)) + path;
  }
  return QStringLiteral("正在准备录制\n") + path;
}

}  // namespace shell
