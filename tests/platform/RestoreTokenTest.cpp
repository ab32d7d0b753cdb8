// The file that saves the portal's question: whose it may be, and how it is replaced.
#include "platform/linux/portal/RestoreToken.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/LogRecord.h"
#include "support/Process.h"

namespace {

using platform::KeepRestoreToken;
using platform::ReadRestoreToken;

class RestoreToken : public ::testing::Test {
 protected:
  void Write(const std::string& text, mode_t mode = 0600) const {
    std::ofstream(m_path, std::ios::binary) << text;
    ASSERT_EQ(0, chmod(m_path.c_str(), mode));
  }
  std::string Content() const {
    std::ifstream file(m_path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static mode_t ModeOf(const std::string& path) {
    struct stat what {};
    return stat(path.c_str(), &what) == 0 ? what.st_mode & 07777 : 0;
  }
  std::size_t Files() const {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(m_directory.Path()), {}));
  }

  support::TempDir m_directory;
  std::string m_path = m_directory.File("screen");
  support::LogRecord m_log;
};

TEST_F(RestoreToken, IsReadAsItWasKept) {
  EXPECT_TRUE(KeepRestoreToken(m_path, "6d1c-42"));
  EXPECT_EQ("6d1c-42", ReadRestoreToken(m_path));
  EXPECT_EQ(0600U, ModeOf(m_path));
  EXPECT_TRUE(KeepRestoreToken(m_path, "another"));
  EXPECT_EQ("another", ReadRestoreToken(m_path));
  EXPECT_EQ(1U, Files());
}

TEST_F(RestoreToken, NoneIsNoFailure) {
  EXPECT_EQ("", ReadRestoreToken(m_path));
  EXPECT_EQ("", ReadRestoreToken(""));
  EXPECT_TRUE(KeepRestoreToken("", "token"));
  EXPECT_TRUE(KeepRestoreToken(m_path, ""));
  EXPECT_TRUE(m_log.Media(24).empty());
}

TEST_F(RestoreToken, OneThatIsUsedUpAndNotReplacedGoes) {
  EXPECT_TRUE(KeepRestoreToken(m_path, "token"));
  EXPECT_TRUE(KeepRestoreToken(m_path, ""));
  EXPECT_EQ(0U, Files());
  EXPECT_TRUE(KeepRestoreToken(m_path, "token"));
  EXPECT_TRUE(KeepRestoreToken(m_path, "two\nlines"));
  EXPECT_EQ(0U, Files());
}

TEST_F(RestoreToken, AFileThatOthersMayReadIsNotUsed) {
  for (const mode_t mode : {0644U, 0640U, 0604U, 0660U, 0610U, 0601U}) {
    Write("token", mode);
    EXPECT_EQ("", ReadRestoreToken(m_path)) << mode;
  }
  Write("token", 0400);
  EXPECT_EQ("token", ReadRestoreToken(m_path));
  EXPECT_EQ(6U, m_log.Media(24).size());  // warnings
}

TEST_F(RestoreToken, WhatItHoldsMustBeOneLine) {
  const std::string bad[] = {"",
                             "\n",
                             "a\nb",
                             "a\tb",
                             "a\x7f",
                             "\xc3\xa4",
                             std::string("a\0b", 3),
                             std::string(1025, 'a'),
                             std::string(100'000, 'a')};
  for (const std::string& text : bad) {
    Write(text);
    EXPECT_EQ("", ReadRestoreToken(m_path)) << text.substr(0, 20);
  }
  Write(std::string(1024, 'a') + "\n");
  EXPECT_EQ(std::string(1024, 'a'), ReadRestoreToken(m_path));
}

TEST_F(RestoreToken, OnlyAPlainFileIsRead) {
  const std::string elsewhere = m_directory.File("elsewhere");
  ASSERT_TRUE(KeepRestoreToken(elsewhere, "token"));
  ASSERT_EQ(0, symlink(elsewhere.c_str(), m_path.c_str()));
  EXPECT_EQ("", ReadRestoreToken(m_path));
  ASSERT_EQ(0, unlink(m_path.c_str()));
  ASSERT_EQ(0, mkfifo(m_path.c_str(), 0600));
  EXPECT_EQ("", ReadRestoreToken(m_path));
  EXPECT_EQ("", ReadRestoreToken(m_directory.Path()));
}

// Whoever put a link there does not get the token at its other end.
TEST_F(RestoreToken, KeepingReplacesWhatStandsThere) {
  const std::string elsewhere = m_directory.File("elsewhere");
  ASSERT_TRUE(KeepRestoreToken(elsewhere, "old"));
  ASSERT_EQ(0, symlink(elsewhere.c_str(), m_path.c_str()));
  EXPECT_TRUE(KeepRestoreToken(m_path, "new"));
  EXPECT_EQ("old", ReadRestoreToken(elsewhere));
  EXPECT_EQ("new", ReadRestoreToken(m_path));
  Write("token", 0644);
  EXPECT_TRUE(KeepRestoreToken(m_path, "mine"));
  EXPECT_EQ(0600U, ModeOf(m_path));
  EXPECT_EQ("mine\n", Content());
}

TEST_F(RestoreToken, ADirectoryThatIsMissingIsMadePrivate) {
  const std::string directory = m_directory.File("private");
  EXPECT_TRUE(KeepRestoreToken(directory + "/screen", "token"));
  EXPECT_EQ("token", ReadRestoreToken(directory + "/screen"));
  EXPECT_EQ(0700U, ModeOf(directory));
}

TEST_F(RestoreToken, WhatCantBeKeptIsSaid) {
  EXPECT_FALSE(KeepRestoreToken(m_directory.File("a/b/screen"), "token"));
  EXPECT_FALSE(KeepRestoreToken(m_directory.Path(), "token"));
  EXPECT_EQ(2U, m_log.Media(24).size());
  EXPECT_EQ(0U, Files());
}

}  // namespace
