// Files that are read with care and replaced whole.
#include "shell/PrivateFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "support/FileLimit.h"
#include "support/Process.h"

namespace {

constexpr std::size_t kMost = 1000;

class PrivateFile : public testing::Test {
 protected:
  std::optional<std::string> Read() { return shell::ReadPrivate(m_path, kMost, &m_cause); }
  void Write(const std::string& bytes, mode_t mode) const {
    std::ofstream(m_path, std::ios::binary) << bytes;
    ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
  }
  unsigned Mode() const {
    struct stat status {};
    return stat(m_path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }
  std::ptrdiff_t Files() const {
    return std::distance(std::filesystem::directory_iterator(m_directory.Path()), {});
  }

  support::TempDir m_directory;
  std::string m_path = m_directory.File("kept");
  std::string m_cause = "of a former call";
};

TEST_F(PrivateFile, IsReadAsItWasReplacedWith) {
  const std::string bytes("a\0b\n\xff", 5);
  ASSERT_TRUE(shell::ReplacePrivate(m_path, bytes));
  EXPECT_EQ(Read(), bytes);
  EXPECT_EQ(m_cause, "");
  EXPECT_EQ(Mode(), 0600U);
  ASSERT_TRUE(shell::ReplacePrivate(m_path, ""));
  EXPECT_EQ(Read(), "");
  EXPECT_EQ(Files(), 1) << "nothing is left beside it";
}

TEST_F(PrivateFile, NoneIsNoFault) {
  EXPECT_EQ(Read(), std::nullopt);
  EXPECT_EQ(m_cause, "");
}

TEST_F(PrivateFile, AReplacedOneIsItsOwnersAlone) {
  Write("for all", 0666);
  ASSERT_TRUE(shell::ReplacePrivate(m_path, "for me"));
  EXPECT_EQ(Mode(), 0600U);
  EXPECT_EQ(Read(), "for me");
}

TEST_F(PrivateFile, WhatOthersMayWriteIsNotRead) {
  for (const mode_t mode : {0620U, 0602U, 0666U}) {
    Write("theirs", mode);
    EXPECT_EQ(Read(), std::nullopt) << mode;
    EXPECT_NE(m_cause, "") << mode;
  }
  Write("mine", 0644);
  EXPECT_EQ(Read(), "mine");
}

TEST_F(PrivateFile, IsReadUpToItsLargestSizeAndNoFurther) {
  Write(std::string(kMost, 'x'), 0600);
  EXPECT_EQ(Read(), std::string(kMost, 'x'));
  Write(std::string(kMost + 1, 'x'), 0600);
  EXPECT_EQ(Read(), std::nullopt);
  EXPECT_NE(m_cause, "");
}

TEST_F(PrivateFile, OnlyAPlainFileIsRead) {
  const std::string elsewhere = m_directory.File("elsewhere");
  ASSERT_TRUE(shell::ReplacePrivate(elsewhere, "another's"));
  ASSERT_EQ(symlink(elsewhere.c_str(), m_path.c_str()), 0);
  EXPECT_EQ(Read(), std::nullopt);
  ASSERT_EQ(unlink(m_path.c_str()), 0);
  ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
  EXPECT_EQ(Read(), std::nullopt);
  ASSERT_EQ(unlink(m_path.c_str()), 0);
  ASSERT_EQ(mkdir(m_path.c_str(), 0700), 0);
  EXPECT_EQ(Read(), std::nullopt);
  EXPECT_NE(m_cause, "");
}

TEST_F(PrivateFile, OnAFullDiskTheFormerContentStays) {
  ASSERT_TRUE(shell::ReplacePrivate(m_path, "former"));
  {
    const support::FileLimit full(5);
    EXPECT_FALSE(shell::ReplacePrivate(m_path, "longer than that"));
  }
  EXPECT_EQ(Read(), "former");
  EXPECT_EQ(Files(), 1);
}

TEST_F(PrivateFile, ADirectoryInItsPlaceIsLeftAlone) {
  ASSERT_EQ(mkdir(m_path.c_str(), 0700), 0);
  EXPECT_FALSE(shell::ReplacePrivate(m_path, "content"));
  EXPECT_EQ(Files(), 1);
  EXPECT_FALSE(shell::ReplacePrivate(m_directory.File("nowhere/kept"), "content"));
}

}  // namespace
