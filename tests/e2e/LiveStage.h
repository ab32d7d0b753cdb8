// What the tests of the live bar have in common: an operator's place with service, ingest, sound
// and camera, three activities to choose from, and what is asked of all of these from outside.
#ifndef ORVANE_TESTS_E2E_LIVESTAGE_H
#define ORVANE_TESTS_E2E_LIVESTAGE_H

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ComposeStage.h"
#include "LiveBar.h"
#include "support/FakeCamera.h"

namespace e2e {

constexpr int kPatienceMs = Composer::kPatienceMs;
constexpr int kSystemHz = 440;
constexpr int kMicrophoneHz = 1000;
constexpr char kGuest[] = "guest";
constexpr char kGuestPassword[] = "of-the-guest";

// One to choose: the letters of its title, the key of its stream, its address for viewers.
struct Activity {
  std::string title;
  int letters = 0;
  std::string key;
  std::string view;
  std::string id;
};

inline std::int64_t Size(const std::string& path) {
  std::error_code ignored;
  return static_cast<std::int64_t>(std::filesystem::file_size(path, ignored));
}

inline unsigned Mode(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}

class LiveStage : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_studio.Start()) << m_studio.Report();
    ASSERT_TRUE(m_studio.StartService()) << m_studio.Report();
    ASSERT_TRUE(m_camera.Plug()) << m_camera.Failure();
    ASSERT_EQ(support::Run({"sh", "-c",
                            std::string("echo ") + kGuestPassword + " | '" + ORVANE_SERVICE +
                                "' account add guest --database '" +
                                m_studio.File("service.sqlite") + "'"})
                  .status,
              0);
    ASSERT_NO_FATAL_FAILURE(RemoveSamples());
    // In the order of the dialog's cards.
    ASSERT_NO_FATAL_FAILURE(Add(&m_short, "2001-01-01T00:00", m_studio.Rtmp().Url("short")));
    ASSERT_NO_FATAL_FAILURE(Add(&m_long, "2002-01-01T00:00", m_studio.Rtmp().Url("long")));
    // No address to publish to for the program, which looks for small letters.
    ASSERT_NO_FATAL_FAILURE(
        Add(&m_closed, "2003-01-01T00:00", "RTMP" + m_studio.Rtmp().Url("closed").substr(4)));
    ASSERT_GE(m_studio.Sound().StartTone(support::SoundServer::kSpeakers, kSystemHz), 0);
    ASSERT_GE(m_studio.Sound().StartTone(support::SoundServer::kMicrophoneFeed, kMicrophoneHz), 0);
  }

  void TearDown() override {
    if (HasFailure()) {
      m_hand.Keep("failed");
      ADD_FAILURE() << m_bar.Report() << "\n" << m_hand.Report() << m_studio.Report();
    }
  }

  // Their covers come one after the other, and while they do the dialog takes clicks late.
  void RemoveSamples() {
    std::string list;
    ASSERT_TRUE(m_studio.ServiceCommand({"activity", "list"}, &list));
    std::istringstream lines(list);
    for (std::string line; std::getline(lines, line);) {
      ASSERT_TRUE(m_studio.ServiceCommand({"activity", "remove", line.substr(0, line.find('\t'))}));
    }
  }
  void Add(Activity* activity, const std::string& start, const std::string& publish) {
    std::string output;
    ASSERT_TRUE(m_studio.ServiceCommand(
        {"activity", "add", "--account", "demo", "--title", activity->title, "--start", start,
         "--publish", publish, "--view", activity->view, "--open"},
        &output))
        << output;
    activity->id = output.substr(0, output.find('\n'));
  }

  std::string Read(const std::string& name) const { return support::ReadFile(m_studio.File(name)); }
  // For everybody, and with other words than the program's.
  void Leave(const std::string& name) const {
    std::ofstream(m_studio.File(name)) << "what stood here before\n";
    ASSERT_EQ(chmod(m_studio.File(name).c_str(), 0644), 0);
  }
  // The program writes a file when the service has answered, which has noted it before.
  bool SavesAccount(const std::string& login, const std::string& password) const {
    const auto saves = [&] {
      const std::string saved = Read("login.ini");
      return saved.find("usr=" + login + "\n") != std::string::npos &&
             saved.find("psw=" + password + "\n") != std::string::npos &&
             Mode(m_studio.File("login.ini")) == 0600;
    };
    return support::WaitFor(saves, kPatienceMs);
  }
  bool WroteAddressOf(const Activity& activity) const {
    const auto wrote = [&] {
      return Read("rtmp.txt") == activity.view + "\n" && Mode(m_studio.File("rtmp.txt")) == 0600;
    };
    return support::WaitFor(wrote, kPatienceMs);
  }
  // How often the service has noted that.
  int Told(const std::string& event) const {
    return CountOf(Read("service.out"), "\"event\":\"" + event + "\"");
  }
  bool IsTold(const std::string& event, int times) const {
    return support::WaitFor([&] { return Told(event) >= times; }, kPatienceMs) &&
           Told(event) == times;
  }
  // How often the program has noted that the service refused a start or an end.
  int Refusals() const { return CountOf(Read("program.out"), "StartLive failed"); }
  bool IsRefused(int times) const {
    return support::WaitFor([&] { return Refusals() >= times; }, kPatienceMs) &&
           Refusals() == times;
  }
  bool HasNoDialog() const { return m_studio.VisibleWindows() == 2; }

  // The path of the recording that came since the last call, once something is in it.
  std::string NewRecording(const std::string& key) {
    std::string found;
    const auto came = [&] {
      for (const std::string& path : m_studio.Rtmp().Recordings()) {
        const bool isOfKey = path.find("/" + key + "-") != std::string::npos;
        if (isOfKey && m_known.count(path) == 0 && Size(path) > 8000) {
          found = path;
        }
      }
      return !found.empty();
    };
    support::WaitFor(came, kPatienceMs);
    NoteRecordings();
    return found;
  }
  void NoteRecordings() {
    const std::vector<std::string> paths = m_studio.Rtmp().Recordings();
    m_known.insert(paths.begin(), paths.end());
  }
  static bool Grows(const std::string& path, std::int64_t bytes = 4000) {
    const std::int64_t now = Size(path);
    return support::WaitFor([&] { return Size(path) > now + bytes; }, kPatienceMs);
  }
  // So many bytes more, in whichever recordings.
  bool IsRecorded(std::int64_t bytes) {
    const auto all = [&] {
      std::int64_t sum = 0;
      for (const std::string& path : m_studio.Rtmp().Recordings()) {
        sum += Size(path);
      }
      return sum;
    };
    const std::int64_t now = all();
    return support::WaitFor([&] { return all() > now + bytes; }, kPatienceMs);
  }
  // A start by the button, down to what the server records.
  void GoLive(const Activity& activity, std::string* path) {
    ASSERT_TRUE(m_bar.PressStart());
    ASSERT_TRUE(m_bar.Shows(BarState::kLive));
    *path = NewRecording(activity.key);
    ASSERT_NE(*path, "");
  }
  void Stop() {
    ASSERT_TRUE(m_bar.PressEnd());
    ASSERT_TRUE(m_bar.Shows(BarState::kChosen));
    ASSERT_TRUE(m_studio.Rtmp().WaitForClosedRecordings(kPatienceMs));
  }
  // Some other control of the window does what it is for.
  void ExpectAliveWindow() {
    m_hand.Click(m_hand.InWindow(Composer::kAddWindow));
    ASSERT_TRUE(m_hand.Opens());
    m_hand.Keys({"Escape"});
    ASSERT_TRUE(m_hand.Closes());
  }

  Activity m_short = {"早间", 2, "short", "rtmp://127.0.0.1/watch/short", ""};
  Activity m_long = {"午后的演播室", 6, "long", "rtmp://127.0.0.1/watch/long", ""};
  Activity m_closed = {"没有地址", 4, "closed", "rtmp://127.0.0.1/watch/closed", ""};
  Studio m_studio;
  Composer m_hand{&m_studio};
  LiveBar m_bar{&m_studio, &m_hand};
  support::FakeCamera m_camera;
  std::set<std::string> m_known;  // recordings
};

}  // namespace e2e

#endif
