// The live bar under the hand of an operator whose day goes wrong: the built program, pressed from
// outside, with real service, ingest, screen, sound and camera, through everything that may happen
// around a broadcast. In one run of the program, so that what one thing leaves behind meets the
// next.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "LiveStage.h"
#include "support/ProcessStats.h"
#include "support/Recording.h"

namespace e2e {

namespace {

using support::WaitFor;
using Clock = std::chrono::steady_clock;

constexpr Point kClose = {-24, 36};
constexpr Point kChangeAccount = {50, 20};  // in the account's menu
constexpr double kHeard = 0.05;
constexpr double kUnheard = 0.005;
// Longer than everything waits: a peer that is silent for 10 s counts as gone, and the server drops
// a publisher after 5 s.
constexpr auto kSuspended = std::chrono::seconds(60);
constexpr int kClicks = 100;
constexpr char kConnected[] = "connect: app=";  // in the ingest's log
constexpr std::int64_t kSomeSeconds = 100'000;  // bytes of a stream

class LiveHand : public LiveStage {
 public:
  // The steps, in their order.
  void AnAddressWithoutRtmp();
  void AMicrophoneThatVanishes();
  void ASecondStartWithoutIt();
  void AChangeOfAccount();
  void AStartThatIsRefused();
  void AnActivityThatWasRemoved();
  void AServiceThatIsDown();
  void AServiceThatIsFrozen();
  void AHundredClicks();
  void ASuspendedMachine();
  void AnIngestThatDies();
  void AnIngestThatFreezes();
  void ACancelledReselection();

 private:
  void ChangeAccountWhileLive(const std::string& login, const std::string& password,
                              const std::string& path);
  void ClickInTurn(Point start, Point end);
  bool Settles(BarState* state);
  void JudgeRecordings() const;

  Point m_endButton;
  std::string m_firstPath;
  std::string m_secondPath;
  std::string m_smallPath;
};

// A press on it does nothing: the activity can be chosen anew, as it never could while live.
void LiveHand::AnAddressWithoutRtmp() {
  ASSERT_TRUE(m_bar.Shows(BarState::kUnchosen));
  ASSERT_TRUE(m_bar.Choose(2));
  EXPECT_TRUE(m_bar.ShowsTitle(m_closed.letters)) << m_bar.Report();
  ASSERT_TRUE(m_bar.PressStart());
  ASSERT_TRUE(m_bar.Choose(1, 1));
  EXPECT_TRUE(m_bar.ShowsTitle(m_long.letters)) << m_bar.Report();
  EXPECT_TRUE(m_studio.Rtmp().Recordings().empty());
  EXPECT_EQ(m_studio.Rtmp().Log().find(kConnected), std::string::npos);
  EXPECT_EQ(Read("program.out").find("play url"), std::string::npos);
  EXPECT_NE(access(m_studio.File("rtmp.txt").c_str(), F_OK), 0);
  EXPECT_EQ(Told("broadcast-started"), 0);
}

void LiveHand::AMicrophoneThatVanishes() {
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &m_firstPath));
  m_endButton = m_bar.LiveButton();
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  EXPECT_TRUE(m_bar.ClockRuns()) << m_bar.Report();
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kSystem, true)) << m_bar.Report();
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kMicrophone, true)) << m_bar.Report();
  m_hand.Keep("live");
  EXPECT_NE(m_studio.Rtmp().Log().find(kConnected), std::string::npos);
  EXPECT_TRUE(IsTold("broadcast-started", 1));
  EXPECT_TRUE(WroteAddressOf(m_long)) << Read("rtmp.txt");
  EXPECT_NE(Read("program.out").find("play url is " + m_long.view), std::string::npos);
  ASSERT_TRUE(m_studio.Sound().UnplugMicrophone()) << m_studio.Sound().Output();
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kMicrophone, false)) << m_bar.Report();
  EXPECT_TRUE(m_bar.ShowsSound(BarSound::kSystem, true)) << m_bar.Report();
  EXPECT_TRUE(m_bar.Shows(BarLight::kAmber)) << m_bar.Report();
  m_hand.Keep("no-microphone");
  EXPECT_TRUE(Grows(m_firstPath, kSomeSeconds));
  ASSERT_NO_FATAL_FAILURE(Stop());
  EXPECT_TRUE(IsTold("broadcast-ended", 1));
}

// Without choosing again, and with a microphone that can't be opened; the close button is refused.
void LiveHand::ASecondStartWithoutIt() {
  Leave("rtmp.txt");
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &m_secondPath));
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  EXPECT_TRUE(IsTold("broadcast-started", 2));
  EXPECT_TRUE(WroteAddressOf(m_long)) << Read("rtmp.txt");
  EXPECT_NE(m_studio.Log().find(support::SoundServer::kMicrophoneDescription), std::string::npos);
  EXPECT_TRUE(HasNoDialog());
  m_hand.Click(m_hand.InWindow(kClose));
  ASSERT_TRUE(m_bar.AnswerNotice(BarNotice::kStopFirst));
  ASSERT_TRUE(m_bar.Shows(BarState::kLive));
  EXPECT_TRUE(Grows(m_secondPath));
}

void LiveHand::ChangeAccountWhileLive(const std::string& login, const std::string& password,
                                      const std::string& path) {
  m_hand.Click(m_hand.InWindow(kAccount));
  ASSERT_TRUE(m_hand.Opens());
  m_hand.Click(m_hand.InDialog(kChangeAccount));
  ASSERT_TRUE(m_hand.Closes());
  ASSERT_TRUE(m_bar.AnswerNotice(BarNotice::kStopFirst));
  ASSERT_TRUE(m_hand.Opens());
  EXPECT_TRUE(SavesAccount("", "")) << Read("login.ini");
  EXPECT_TRUE(Grows(path));
  ASSERT_TRUE(m_studio.Activate("^登录$"));
  m_hand.Keys({"ctrl+a"});
  m_hand.Type(login);
  m_hand.Keys({"Tab"});
  m_hand.Type(password);
  m_hand.Keep("login-while-live");
  m_hand.Keys({"Return"});
  ASSERT_TRUE(m_hand.Closes());
  EXPECT_TRUE(SavesAccount(login, password)) << Read("login.ini");
  ASSERT_TRUE(m_bar.Shows(BarState::kLive));
  EXPECT_TRUE(Grows(path));
  EXPECT_TRUE(m_bar.ClockRuns()) << m_bar.Report();
}

// The activity is not the new account's: the service refuses the end, and the broadcast ends.
void LiveHand::AChangeOfAccount() {
  ASSERT_NO_FATAL_FAILURE(ChangeAccountWhileLive(kGuest, kGuestPassword, m_secondPath));
  EXPECT_TRUE(IsTold("logout", 1));
  EXPECT_EQ(Refusals(), 0);
  ASSERT_NO_FATAL_FAILURE(Stop());
  EXPECT_TRUE(IsRefused(1));
  EXPECT_EQ(Told("broadcast-ended"), 1);
}

// Nor may it start it; the broadcast goes all the same. Its end, by the owner again, is the first
// word that the service has from this login: the former one's broadcast counts as gone with it.
void LiveHand::AStartThatIsRefused() {
  std::string path;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &path));
  EXPECT_TRUE(IsRefused(2));
  EXPECT_TRUE(HasNoDialog());
  ASSERT_NO_FATAL_FAILURE(ChangeAccountWhileLive("demo", m_studio.Password(), path));
  EXPECT_EQ(Told("broadcast-stale"), 0);
  ASSERT_NO_FATAL_FAILURE(Stop());
  EXPECT_TRUE(IsTold("broadcast-stale", 1));
  EXPECT_TRUE(IsRefused(3));
  EXPECT_EQ(Told("broadcast-started"), 2);
}

void LiveHand::AnActivityThatWasRemoved() {
  ASSERT_TRUE(m_bar.Choose(0));
  EXPECT_TRUE(m_bar.ShowsTitle(m_short.letters)) << m_bar.Report();
  ASSERT_TRUE(m_studio.ServiceCommand({"activity", "remove", m_short.id}));
  std::string path;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_short, &path));
  EXPECT_TRUE(IsRefused(4));
  EXPECT_TRUE(HasNoDialog());
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  EXPECT_TRUE(WroteAddressOf(m_short)) << Read("rtmp.txt");
}

// At the end of that broadcast, and at the start of the next.
void LiveHand::AServiceThatIsDown() {
  m_studio.KillService();
  ASSERT_NO_FATAL_FAILURE(Stop());
  ASSERT_TRUE(m_bar.AnswerNotice(BarNotice::kNoNetwork));
  ASSERT_TRUE(m_bar.Shows(BarState::kChosen));
  std::string path;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_short, &path));
  EXPECT_TRUE(m_bar.ClockRuns()) << m_bar.Report();
  ASSERT_TRUE(m_bar.AnswerNotice(BarNotice::kNoNetwork));
  ASSERT_TRUE(m_bar.Shows(BarState::kLive));
  EXPECT_TRUE(Grows(path));
  ASSERT_NO_FATAL_FAILURE(ExpectAliveWindow());
  EXPECT_EQ(Refusals(), 4);
  ASSERT_TRUE(m_studio.StartServiceAgain()) << m_studio.Report();
  ASSERT_NO_FATAL_FAILURE(Stop());
  EXPECT_TRUE(IsRefused(5));
  EXPECT_TRUE(HasNoDialog());
}

// It takes the question and does not answer: neither the broadcast nor the window waits for it.
void LiveHand::AServiceThatIsFrozen() {
  ASSERT_TRUE(m_bar.Choose(0));
  EXPECT_TRUE(m_bar.ShowsTitle(m_long.letters)) << m_bar.Report();
  m_studio.Service().Signal(SIGSTOP);
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &m_smallPath));
  EXPECT_TRUE(m_bar.ClockRuns()) << m_bar.Report();
  ASSERT_NO_FATAL_FAILURE(ExpectAliveWindow());
  EXPECT_EQ(Told("broadcast-started"), 2);
  m_studio.Service().Signal(SIGCONT);
  EXPECT_TRUE(IsTold("broadcast-started", 3));
  EXPECT_TRUE(WroteAddressOf(m_long)) << Read("rtmp.txt");

  m_studio.Service().Signal(SIGSTOP);
  ASSERT_NO_FATAL_FAILURE(Stop());
  ASSERT_NO_FATAL_FAILURE(ExpectAliveWindow());
  EXPECT_EQ(Told("broadcast-ended"), 1);
  m_studio.Service().Signal(SIGCONT);
  EXPECT_TRUE(IsTold("broadcast-ended", 2));
  EXPECT_TRUE(HasNoDialog());
}

void LiveHand::ClickInTurn(Point start, Point end) {
  std::vector<std::string> command = {"xdotool"};
  for (int click = 0; click < kClicks; ++click) {
    const Point at = click % 2 == 0 ? start : end;
    command.insert(command.end(), {"mousemove", std::to_string(at.x), std::to_string(at.y), "click",
                                   "1", "sleep", "0.05"});
  }
  ASSERT_EQ(support::Run(command, 60000, m_studio.Desktop().Environment()).status, 0);
}

// Nothing changes any more, on the screen and in the service's books.
bool LiveHand::Settles(BarState* state) {
  constexpr int kLooks = 5;
  int calm = 0;
  int events = -1;
  return WaitFor(
      [&] {
        usleep(200000);
        const BarState seen = m_bar.State();
        const int noted = Told("broadcast-started") + Told("broadcast-ended");
        calm = seen == *state && noted == events ? calm + 1 : 0;
        *state = seen;
        events = noted;
        return calm == kLooks;
      },
      kPatienceMs);
}

// On the live button where it stands in the one state and in the other, in turn: whatever of them
// meets it, bar, service and ingest agree in the end, and nothing is left over.
void LiveHand::AHundredClicks() {
  ASSERT_TRUE(m_studio.Sound().PlugMicrophone()) << m_studio.Sound().Output();
  // With all that the program opens once, at its start or at its first broadcast.
  const support::ProcessStats before = support::ReadProcessStats(m_hand.Program().Id());
  const int started = Told("broadcast-started");
  const int ended = Told("broadcast-ended");
  ASSERT_NO_FATAL_FAILURE(ClickInTurn(m_bar.LiveButton(), m_endButton));
  // A busy program has them before it still; it takes them in turn, and this one behind them.
  ASSERT_NO_FATAL_FAILURE(ExpectAliveWindow());
  BarState state = BarState::kNone;
  ASSERT_TRUE(Settles(&state));
  m_hand.Keep("after-a-hundred-clicks");
  ASSERT_TRUE(state == BarState::kChosen || state == BarState::kLive);
  const int starts = Told("broadcast-started") - started;
  std::printf("a hundred clicks: %d starts\n", starts);
  EXPECT_GE(starts, 3);
  EXPECT_EQ(Told("broadcast-ended") - ended, starts - (state == BarState::kLive ? 1 : 0));
  if (state == BarState::kLive) {
    ASSERT_NO_FATAL_FAILURE(Stop());
  }
  ASSERT_TRUE(m_studio.Rtmp().WaitForClosedRecordings(kPatienceMs));
  EXPECT_TRUE(IsTold("broadcast-ended", ended + starts));
  support::ProcessStats now;
  const auto asBefore = [&] {
    now = support::ReadProcessStats(m_hand.Program().Id());
    return now.threads <= before.threads && now.handles <= before.handles;
  };
  EXPECT_TRUE(WaitFor(asBefore, kPatienceMs))
      << now.threads << " threads and " << now.handles << " handles, " << before.threads << " and "
      << before.handles << " before them";
  NoteRecordings();
}

// While the program can do nothing, what it has sent is looked at.
void LiveHand::ASuspendedMachine() {
  const int ended = Told("broadcast-ended");
  std::string path;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &path));
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  m_hand.Program().Signal(SIGSTOP);
  const Clock::time_point wake = Clock::now() + kSuspended;
  JudgeRecordings();
  EXPECT_TRUE(m_studio.Rtmp().WaitForClosedRecordings(kPatienceMs));
  while (Clock::now() < wake) {
    usleep(100000);
  }
  m_hand.Program().Signal(SIGCONT);
  const std::string second = NewRecording(m_long.key);
  ASSERT_NE(second, "");
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  EXPECT_TRUE(m_bar.ClockRuns()) << m_bar.Report();
  EXPECT_TRUE(Grows(second));
  EXPECT_NE(m_studio.Log().find("av_write_frame error"), std::string::npos);
  m_hand.Keep("awake");
  ASSERT_NO_FATAL_FAILURE(Stop());
  EXPECT_TRUE(IsTold("broadcast-ended", ended + 1));
}

// The bar is red as long as nobody listens, and the stream comes back by itself.
void LiveHand::AnIngestThatDies() {
  const int ended = Told("broadcast-ended");
  std::string path;
  ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &path));
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  m_studio.Rtmp().Kill();
  EXPECT_TRUE(m_bar.Shows(BarLight::kRed)) << m_bar.Report();
  EXPECT_TRUE(m_bar.ClockRuns()) << m_bar.Report();
  m_hand.Keep("nobody-listens");
  ASSERT_NO_FATAL_FAILURE(ExpectAliveWindow());
  ASSERT_TRUE(m_studio.Rtmp().Start());
  const std::string second = NewRecording(m_long.key);
  ASSERT_NE(second, "");
  EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
  EXPECT_TRUE(Grows(second));
  ASSERT_NO_FATAL_FAILURE(Stop());
  EXPECT_TRUE(IsTold("broadcast-ended", ended + 1));
}

// It takes nothing more, and its connection stands: red comes all the same, and the stream goes on
// when the server does, in a new connection where it has dropped the idle one. The smallest quality
// and the largest: what the systems on the way keep lasts longest for the one.
// Red comes 3 s after the last byte that the server's system took, not after the freeze: that takes
// some seconds of the stream first, more at a low rate. The seconds are printed, and bound by none
// here: PublishServer and StreamHealth hold the two rules that they are made of.
void LiveHand::AnIngestThatFreezes() {
  for (const int quality : {0, 2}) {
    ASSERT_TRUE(m_bar.Choose(0, quality));
    std::string path;
    ASSERT_NO_FATAL_FAILURE(GoLive(m_long, &path));
    // The small stream is one that every machine has room for.
    EXPECT_TRUE(quality == 0 ? m_bar.Shows(BarLight::kGreen) : m_bar.ShowsWell()) << m_bar.Report();
    m_studio.Rtmp().Freeze();
    const Clock::time_point frozen = Clock::now();
    EXPECT_TRUE(m_bar.Shows(BarLight::kRed)) << m_bar.Report();
    const Clock::time_point red = Clock::now();
    m_hand.Keep("frozen-ingest");
    m_studio.Rtmp().Thaw();
    const Clock::time_point thawed = Clock::now();
    EXPECT_TRUE(m_bar.ShowsWell()) << m_bar.Report();
    std::printf("a frozen ingest: red after %.1f s, well %.1f s after it goes on\n",
                std::chrono::duration<double>(red - frozen).count(),
                std::chrono::duration<double>(Clock::now() - thawed).count());
    EXPECT_TRUE(IsRecorded(kSomeSeconds));
    ASSERT_NO_FATAL_FAILURE(Stop());
    NoteRecordings();
  }
}

void LiveHand::ACancelledReselection() {
  ASSERT_TRUE(m_bar.Cancel(0));
  EXPECT_TRUE(m_bar.Shows(BarState::kUnchosen)) << m_bar.Report();
  m_hand.Keep("cancelled");
}

void ExpectSize(const support::Recording& recording, int width, int height) {
  EXPECT_EQ(recording.Error(), "");
  EXPECT_EQ(recording.TimeStampFault(), "");
  ASSERT_EQ(recording.Streams().size(), 2U);
  EXPECT_EQ(recording.Streams()[1].width, width);
  EXPECT_EQ(recording.Streams()[1].height, height);
}

// In any of its stretches of a third of a second, from there to the end.
double Loudest(const support::Recording::Sound& sound, double hertz, std::int64_t fromMs) {
  constexpr std::int64_t kStretchMs = 333;
  const auto length = static_cast<std::int64_t>(sound.samples.size()) / 48;
  double loudest = 0;
  for (std::int64_t ms = fromMs; ms + kStretchMs <= length; ms += kStretchMs) {
    loudest = std::max(loudest, ToneLevel(sound, hertz, ms, kStretchMs));
  }
  return loudest;
}

void LiveHand::JudgeRecordings() const {
  const support::Recording first(m_firstPath);
  ExpectSize(first, 1280, 720);
  const support::Recording::Sound both = first.DecodeSound();
  const auto length = static_cast<std::int64_t>(both.samples.size()) / 48;
  ASSERT_GT(length, 3000);
  EXPECT_GT(Loudest(both, kMicrophoneHz, 0), kHeard);
  EXPECT_LT(Loudest(both, kMicrophoneHz, length - 1000), kUnheard);
  EXPECT_GT(Loudest(both, kSystemHz, length - 1000), kHeard);

  const support::Recording second(m_secondPath);
  ExpectSize(second, 1280, 720);
  const support::Recording::Sound one = second.DecodeSound();
  EXPECT_GT(Loudest(one, kSystemHz, 0), kHeard);
  EXPECT_LT(Loudest(one, kMicrophoneHz, 0), kUnheard);

  ExpectSize(support::Recording(m_smallPath), 960, 540);
}

TEST_F(LiveHand, GoesThroughADayOfTrouble) {
  Leave("MyLog.txt");
  ASSERT_EQ(Mode(m_studio.File("MyLog.txt")), 0644U);
  // The start of the program: what it prints of itself, the stream's address among it.
  ASSERT_TRUE(
      m_hand.Start({{"QT_LOGGING_RULES", "default.debug=true"}, {"QT_LOGGING_TO_CONSOLE", "1"}}));
  EXPECT_TRUE(SavesAccount("demo", m_studio.Password())) << Read("login.ini");
  ASSERT_TRUE(m_hand.ShowsRows(2));
  const Clock::time_point begin = Clock::now();
  const struct {
    const char* name;
    void (LiveHand::*run)();
  } steps[] = {{"an address without rtmp", &LiveHand::AnAddressWithoutRtmp},
               {"a microphone that vanishes", &LiveHand::AMicrophoneThatVanishes},
               {"a second start without it", &LiveHand::ASecondStartWithoutIt},
               {"a change of account", &LiveHand::AChangeOfAccount},
               {"a start that is refused", &LiveHand::AStartThatIsRefused},
               {"an activity that was removed", &LiveHand::AnActivityThatWasRemoved},
               {"a service that is down", &LiveHand::AServiceThatIsDown},
               {"a service that is frozen", &LiveHand::AServiceThatIsFrozen},
               {"a hundred clicks", &LiveHand::AHundredClicks},
               {"a suspended machine", &LiveHand::ASuspendedMachine},
               {"an ingest that dies", &LiveHand::AnIngestThatDies},
               {"an ingest that freezes", &LiveHand::AnIngestThatFreezes},
               {"a cancelled reselection", &LiveHand::ACancelledReselection}};
  for (const auto& step : steps) {
    SCOPED_TRACE(step.name);
    ASSERT_NO_FATAL_FAILURE((this->*step.run)());
    std::printf("%5.1f s: %s\n", std::chrono::duration<double>(Clock::now() - begin).count(),
                step.name);
  }
  // Nothing is live any more, so the close button closes.
  m_hand.Click(m_hand.InWindow(kClose));
  EXPECT_EQ(m_hand.Program().Wait(kPatienceMs), 0);
  EXPECT_EQ(Mode(m_studio.File("MyLog.txt")), 0600U);
  EXPECT_EQ(m_studio.Log().find("what stood here before"), std::string::npos);
}

}  // namespace

}  // namespace e2e
