#include "shell/Log.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/FileLimit.h"
#include "support/Process.h"
#include "support/WorkingDirectory.h"

extern "C" {
#include <libavutil/log.h>
}

namespace {

TEST(Log, EachStartEmptiesTheFile) {
  const support::WorkingDirectory directory;
  std::ofstream(directory.File("MyLog.txt")) << "what the last run left\n";
  ASSERT_TRUE(shell::OpenLog());
  EXPECT_EQ(support::ReadFile(directory.File("MyLog.txt")), "");
}

TEST(Log, MessagesAreInTheFileAsSoonAsTheyAreLogged) {
  const support::WorkingDirectory directory;
  ASSERT_TRUE(shell::OpenLog());
  av_log(nullptr, AV_LOG_ERROR, "%s: %d\n", "camera", 7);
  EXPECT_EQ(support::ReadFile(directory.File("MyLog.txt")), "camera: 7\n");
}

TEST(Log, WritesEveryLevel) {
  const support::WorkingDirectory directory;
  ASSERT_TRUE(shell::OpenLog());
  EXPECT_EQ(av_log_get_level(), AV_LOG_ERROR);
  av_log(nullptr, AV_LOG_DEBUG, "detail\n");
  EXPECT_EQ(support::ReadFile(directory.File("MyLog.txt")), "detail\n");
}

TEST(Log, FileIsItsOwnersAlone) {
  const support::WorkingDirectory directory;
  std::ofstream(directory.File("MyLog.txt")) << "readable by all\n";
  ASSERT_EQ(chmod(directory.File("MyLog.txt").c_str(), 0644), 0);
  ASSERT_TRUE(shell::OpenLog());
  struct stat status {};
  ASSERT_EQ(stat(directory.File("MyLog.txt").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST(Log, StaysSilentWhenTheFileCannotBeOpened) {
  const support::WorkingDirectory directory;
  // A directory of that name refuses root too.
  ASSERT_EQ(mkdir(directory.File("MyLog.txt").c_str(), 0700), 0);
  EXPECT_FALSE(shell::OpenLog());
  testing::internal::CaptureStderr();
  av_log(nullptr, AV_LOG_ERROR, "nobody hears this\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Log, AFullDiskCostsTheLineAndNothingElse) {
  const support::WorkingDirectory directory;
  // A device on which every write finds the disk full.
  ASSERT_EQ(symlink("/dev/full", directory.File("MyLog.txt").c_str()), 0);
  struct stat before {};
  ASSERT_EQ(stat("/dev/full", &before), 0);
  EXPECT_TRUE(shell::OpenLog());
  testing::internal::CaptureStderr();
  for (int line = 0; line < 10000; ++line) {
    av_log(nullptr, AV_LOG_ERROR, "line %d\n", line);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  struct stat after {};
  ASSERT_EQ(stat("/dev/full", &after), 0);
  EXPECT_EQ(after.st_mode, before.st_mode) << "the machine's device is not ours to close";
}

TEST(Log, GoesOnWhenThereIsRoomAgain) {
  const support::WorkingDirectory directory;
  ASSERT_TRUE(shell::OpenLog());
  {
    const support::FileLimit full(1000);
    for (int line = 0; line < 10000; ++line) {
      av_log(nullptr, AV_LOG_ERROR, "no room\n");
    }
  }
  av_log(nullptr, AV_LOG_ERROR, "room again\n");
  const std::string log = support::ReadFile(directory.File("MyLog.txt"));
  EXPECT_EQ(log.substr(0, 8), "no room\n");
  EXPECT_NE(log.find("room again\n"), std::string::npos);
}

TEST(Log, LinesOfManyThreadsStayWhole) {
  const support::WorkingDirectory directory;
  ASSERT_TRUE(shell::OpenLog());
  const std::string words(60, 'x');
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&words] {
      for (int line = 0; line < 200; ++line) {
        av_log(nullptr, AV_LOG_ERROR, "%s %s\n", words.c_str(), "end");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::istringstream lines(support::ReadFile(directory.File("MyLog.txt")));
  std::string line;
  int count = 0;
  while (std::getline(lines, line)) {
    EXPECT_EQ(line, words + " end");
    ++count;
  }
  EXPECT_EQ(count, 800);
}

}  // namespace
