#include "shell/RecordingWords.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <string>

extern "C" {
#include <libavutil/error.h>
}

namespace {

using output::RecordingFault;
using output::RecordingState;
using output::RecordingStatus;

RecordingStatus Ended(RecordingFault fault, int error, std::int64_t bytes) {
  RecordingStatus status;
  status.state = RecordingState::kEnded;
  status.fault = fault;
  status.error = error;
  status.path = "/home/a/Videos/orvane/%1 <b>.mkv";
  status.lengthMs = 3723'900;
  status.bytes = bytes;
  return status;
}

TEST(RecordingWords, ANoticeTellsWhyAndWhatThereIs) {
  const struct {
    RecordingFault fault;
    int error;
    const char* cause;
  } rows[] = {
      {RecordingFault::kWrite, AVERROR(ENOSPC), "磁盘已满"},
      {RecordingFault::kWrite, AVERROR(EDQUOT), "磁盘已满"},
      {RecordingFault::kWrite, AVERROR(EFBIG), "文件已达到该磁盘允许的最大长度"},
      {RecordingFault::kWrite, AVERROR(EIO), "磁盘出错（Input/output error）"},
      {RecordingFault::kTooSlow, 0, "磁盘长时间没有响应"},
      {RecordingFault::kOpen, AVERROR(EACCES), "没有写入权限"},
      {RecordingFault::kOpen, AVERROR(EPERM), "没有写入权限"},
      {RecordingFault::kOpen, AVERROR(EROFS), "磁盘是只读的"},
      {RecordingFault::kOpen, AVERROR(ENOTDIR), "磁盘出错（Not a directory）"},
      {RecordingFault::kNoStream, AVERROR(EINVAL), "编码器未能启动"},
      {RecordingFault::kNoThread, AVERROR(EAGAIN), "系统资源不足"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(
        shell::RecordingNotice(Ended(row.fault, row.error, 0)).toStdString(),
        std::string("无法录制：") + row.cause + "\n直播不受影响\n/home/a/Videos/orvane/%1 <b>.mkv");
    EXPECT_EQ(shell::RecordingNotice(Ended(row.fault, row.error, 4096)).toStdString(),
              std::string("录制已停止：") + row.cause +
                  "\n直播不受影响，已录制 01:02:03，保存在\n/home/a/Videos/orvane/%1 <b>.mkv");
  }
}

TEST(RecordingWords, TheTipTellsHowItGoes) {
  EXPECT_EQ(shell::RecordingTip(std::nullopt, ""), "按一下，把直播同时录制成文件");
  EXPECT_EQ(shell::RecordingTip(std::nullopt, "/v/%1.mkv"),
            "按一下，把直播同时录制成文件\n上次录制：/v/%1.mkv");
  RecordingStatus now;
  now.path = "/v/%2.mkv";
  EXPECT_EQ(shell::RecordingTip(now, "/v/%1.mkv"), "正在准备录制\n/v/%2.mkv");
  now.state = RecordingState::kRecording;
  now.lengthMs = 100 * 3'600'000LL + 59'999;
  now.bytes = 1'234'567'890;
  EXPECT_EQ(shell::RecordingTip(now, ""), "正在录制，再按一下结束\n100:00:59，1234 MB\n/v/%2.mkv");
}

}  // namespace
