// The operator is asked once: what the portal gave is kept over a restart and shown the next time.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <string>

#include "contract/PortalRig.h"

namespace {

// A file is moved into its place when the disk has time.
std::atomic<bool> g_diskIsBusy{false};

}  // namespace

extern "C" {
int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
  while (g_diskIsBusy) {
    poll(nullptr, 0, 1);
  }
  return __real_rename(from, to);
}
}

namespace support {

namespace {

// As at the start of the program: open, one picture, close.
void ShareOnce(const PortalRig& rig) {
  auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ExpectPicture(stream.get());
  CloseInTime(&stream);
}

void WriteToken(const PortalRig& rig, const std::string& content, mode_t mode) {
  const std::string path = rig.Settings().tokenFile;
  std::ofstream(path) << content;
  ASSERT_EQ(chmod(path.c_str(), mode), 0);
}

// The token, without the end of its line.
std::string KeptToken(const PortalRig& rig) {
  const std::string content = ReadFile(rig.Settings().tokenFile);
  return content.substr(0, content.find('\n'));
}

// The file is brought up to date behind what its reader waits for.
bool KeepsLatest(const PortalRig& rig) {
  return WaitFor([&] { return KeptToken(rig) == rig.portal.Latest("given "); },
                 PortalRig::kPatienceMs);
}

TEST(PortalToken, IsKeptForTheOwnerAlone) {
  PortalRig rig;
  ShareOnce(rig);
  struct stat status {};
  EXPECT_TRUE(KeepsLatest(rig));
  ASSERT_EQ(stat(rig.Settings().tokenFile.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST(PortalToken, SparesTheOperatorTheNextQuestion) {
  PortalRig rig;
  ShareOnce(rig);
  for (int times = 1; times <= 3; ++times) {
    const std::string given = rig.portal.Latest("given ");
    ShareOnce(rig);
    EXPECT_EQ(rig.portal.Latest("select types=1 cursor=2 persist=2 multiple=0 token="), given);
    EXPECT_EQ(rig.portal.Count("picker"), 1);
    // Each is good for one start.
    EXPECT_NE(rig.portal.Latest("given "), given);
    EXPECT_TRUE(KeepsLatest(rig));
  }
}

TEST(PortalToken, OneThatThePortalNoLongerKnowsIsAskedForAgain) {
  PortalRig rig;
  ShareOnce(rig);
  ASSERT_TRUE(rig.portal.Tell("forget"));
  ShareOnce(rig);
  EXPECT_EQ(rig.portal.Count("picker"), 2);
  ShareOnce(rig);
  EXPECT_EQ(rig.portal.Count("picker"), 2);
}

// Some portals stumble over a token that they do not know, instead of asking.
TEST(PortalToken, OneThatIsRefusedIsLeftOut) {
  PortalRig rig({"strict"});
  WriteToken(rig, "from-another-life", 0600);
  ShareOnce(rig);
  EXPECT_EQ(rig.portal.Count("select "), 2);
  EXPECT_EQ(rig.portal.Latest("select types=1 cursor=2 persist=2 multiple=0 token="), "");
  EXPECT_EQ(rig.portal.Count("picker"), 1);
  ShareOnce(rig);
  EXPECT_EQ(rig.portal.Count("picker"), 1);
}

TEST(PortalToken, OneThatDidNotSpareTheQuestionGoesWithTheAnswer) {
  PortalRig rig;
  ShareOnce(rig);
  ASSERT_TRUE(rig.portal.Tell("forget"));
  ASSERT_TRUE(rig.portal.Tell("picker wait"));
  auto stream = rig.Open();
  ASSERT_NE(stream, nullptr);
  ASSERT_TRUE(rig.portal.Happens("picker", 2));
  EXPECT_NE(KeptToken(rig), "") << "nobody has answered yet";
  ASSERT_TRUE(rig.portal.Tell("cancel"));
  ExpectEnd(stream.get());
  CloseInTime(&stream);
  EXPECT_TRUE(WaitFor([&] { return access(rig.Settings().tokenFile.c_str(), F_OK) != 0; },
                      PortalRig::kPatienceMs));
}

// The former one is used up by then.
TEST(PortalToken, TheNewOneIsKeptWhateverBecomesOfTheStart) {
  PortalRig rig;
  ShareOnce(rig);
  for (const char* trouble : {"open error", "open garbage null", "node 4711"}) {
    SCOPED_TRACE(trouble);
    const std::string former = KeptToken(rig);
    ASSERT_TRUE(rig.portal.Tell(trouble));
    auto stream = rig.Open();
    ASSERT_NE(stream, nullptr);
    ExpectEnd(stream.get());
    CloseInTime(&stream);
    EXPECT_TRUE(KeepsLatest(rig));
    EXPECT_NE(KeptToken(rig), former);
    ASSERT_TRUE(rig.portal.Tell("open well"));
    ASSERT_TRUE(rig.portal.Tell("node 0"));
  }
  ShareOnce(rig);
  EXPECT_EQ(rig.portal.Count("picker"), 1) << "he has answered all that there was to ask";
}

TEST(PortalToken, NeitherTheFirstPictureNorTheCloseWaitsForTheDisk) {
  PortalRig rig;
  for (const bool closes : {false, true}) {
    g_diskIsBusy = true;
    auto stream = rig.Open();
    EXPECT_GE(stream != nullptr ? ExpectPicture(stream.get()) : -1, 0);
    EXPECT_NE(KeptToken(rig), rig.portal.Latest("given "));
    if (closes) {
      CloseInTime(&stream);
    }
    g_diskIsBusy = false;
    EXPECT_TRUE(KeepsLatest(rig));
  }
}

TEST(PortalToken, AFileThatOthersCanReadOrThatHoldsNoneIsNotBelieved) {
  PortalRig rig;
  const std::string path = rig.Settings().tokenFile;
  WriteToken(rig, "seen-by-all", 0644);
  ShareOnce(rig);
  EXPECT_EQ(rig.portal.Latest("select types=1 cursor=2 persist=2 multiple=0 token="), "");
  for (const std::string& content :
       {std::string(), std::string(100000, 'x'), std::string("\0\1\2", 3), std::string("\n\n")}) {
    WriteToken(rig, content, 0600);
    ShareOnce(rig);
    EXPECT_EQ(rig.portal.Latest("select types=1 cursor=2 persist=2 multiple=0 token="), "");
  }
  ASSERT_EQ(unlink(path.c_str()), 0);
  ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
  ShareOnce(rig);
}

TEST(PortalToken, WithoutAFileNoneIsWanted) {
  PortalRig rig;
  platform::PortalSettings settings = rig.Settings();
  settings.tokenFile.clear();
  const auto stream = rig.Open(settings);
  ASSERT_NE(stream, nullptr);
  ExpectPicture(stream.get());
  EXPECT_EQ(rig.portal.Latest("select "), "types=1 cursor=2 persist=0 multiple=0 token=");
}

}  // namespace

}  // namespace support
