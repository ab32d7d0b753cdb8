#include "shell/WatchAddress.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "support/LogRecord.h"
#include "support/Process.h"
#include "support/WorkingDirectory.h"

namespace {

TEST(WatchAddress, IsOneLineOfUtf8) {
  const support::WorkingDirectory directory;
  EXPECT_TRUE(shell::WriteWatchAddress(QStringLiteral("rtmp://主机/live?a=%s%n&b=c")));
  EXPECT_EQ(support::ReadFile(directory.File("rtmp.txt")), "rtmp://主机/live?a=%s%n&b=c\n");
}

TEST(WatchAddress, AnEmptyAddressIsAnEmptyLine) {
  const support::WorkingDirectory directory;
  EXPECT_TRUE(shell::WriteWatchAddress(QString()));
  EXPECT_EQ(support::ReadFile(directory.File("rtmp.txt")), "\n");
}

TEST(WatchAddress, ReplacesALongerOne) {
  const support::WorkingDirectory directory;
  EXPECT_TRUE(shell::WriteWatchAddress(QStringLiteral("rtmp://127.0.0.1/live/of/yesterday")));
  EXPECT_TRUE(shell::WriteWatchAddress(QStringLiteral("rtmp://a")));
  EXPECT_EQ(support::ReadFile(directory.File("rtmp.txt")), "rtmp://a\n");
}

TEST(WatchAddress, AnyTextIsWrittenAsItIs) {
  const support::WorkingDirectory directory;
  const QString clef = QString::fromUtf8("\xF0\x9D\x84\x9E");  // two units of UTF-16
  for (const QString& address :
       {QStringLiteral("a b"), clef.repeated(10000), QStringLiteral("two\nlines"),
        QStringLiteral(" \t\r"), QString(1000000, QLatin1Char('x'))}) {
    EXPECT_TRUE(shell::WriteWatchAddress(address));
    EXPECT_EQ(support::ReadFile(directory.File("rtmp.txt")), address.toStdString() + "\n");
  }
  // A text of C's ends there.
  EXPECT_TRUE(shell::WriteWatchAddress(QString::fromUtf8("rtmp://a\0b", 10)));
  EXPECT_EQ(support::ReadFile(directory.File("rtmp.txt")), "rtmp://a\n");
}

TEST(WatchAddress, FileIsItsOwnersAlone) {
  const support::WorkingDirectory directory;
  std::ofstream(directory.File("rtmp.txt")) << "readable by all\n";
  ASSERT_EQ(chmod(directory.File("rtmp.txt").c_str(), 0644), 0);
  EXPECT_TRUE(shell::WriteWatchAddress(QStringLiteral("rtmp://a")));
  struct stat status {};
  ASSERT_EQ(stat(directory.File("rtmp.txt").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST(WatchAddress, ThatCannotBeOpenedIsInTheLog) {
  const support::WorkingDirectory directory;
  ASSERT_EQ(mkdir(directory.File("rtmp.txt").c_str(), 0700), 0);
  support::LogRecord log;
  EXPECT_FALSE(shell::WriteWatchAddress(QStringLiteral("rtmp://a")));
  EXPECT_TRUE(log.HasError("./rtmp.txt: "));
}

TEST(WatchAddress, AFullDiskIsInTheLog) {
  const support::WorkingDirectory directory;
  // A device on which every write finds the disk full.
  ASSERT_EQ(symlink("/dev/full", directory.File("rtmp.txt").c_str()), 0);
  support::LogRecord log;
  EXPECT_FALSE(shell::WriteWatchAddress(QStringLiteral("rtmp://a")));
  EXPECT_TRUE(log.HasError("./rtmp.txt: No space left on device"));
}

}  // namespace
