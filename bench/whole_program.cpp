// What the whole program costs beside its media graph alone, and how long its operator waits: the
// built program driven by mouse and keyboard, and live_road with the same layers, in turns, on the
// same screen, sound server and RTMP server. live_road has its preview where the program had it, in
// a window as large and as dark: they film the same, which most of the cost depends on.
//
//   whole_program FILM PICTURE [S4|S10] [RUNS] [SECONDS]
//
// Times are as an operator sees them on the screen: they hold the tools that press and look, about
// 0.1 s. The scenes have the kinds and numbers of layers that those of bench/measure have, in other
// sizes and places: all stand where they come up, the films are 640 x 360, the pictures one and the
// same, and the captured window of S10 is the stage of 1280 x 720.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "e2e/Composer.h"
#include "e2e/LiveBar.h"
#include "e2e/Studio.h"
#include "support/ProcessStats.h"
#include "support/StageJudge.h"

namespace {

using e2e::Composer;

constexpr int kWarmUpSeconds = 5;
constexpr int kPatienceMs = 30000;
constexpr int kFullQuality = 2;
// Of the stage window behind the program.
constexpr e2e::Point kStageSeen = {100, 100};

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void Require(bool done, const char* what, const e2e::Studio& studio) {
  if (!done) {
    std::fprintf(stderr, "whole_program: %s\n%s\n", what, studio.Report().c_str());
    std::exit(1);
  }
}

// CPU seconds a second over the next ones.
struct Costs {
  double program = 0;
  double service = 0;
  double server = 0;
};
Costs Measure(pid_t program, pid_t service, pid_t server, int seconds) {
  sleep(kWarmUpSeconds);
  const auto look = [&](pid_t id) { return support::ReadProcessStats(id).cpuSeconds; };
  const double begin = Now();
  const Costs before{look(program), look(service), look(server)};
  sleep(static_cast<unsigned>(seconds));
  const double length = Now() - begin;
  return {(look(program) - before.program) / length, (look(service) - before.service) / length,
          (look(server) - before.server) / length};
}

std::string Words(const e2e::Area& area) {
  return std::to_string(area.x) + "," + std::to_string(area.y) + "," + std::to_string(area.width) +
         "," + std::to_string(area.height);
}

class Bench {
 public:
  Bench(std::string film, std::string picture, std::string layers, int seconds)
      : m_film(std::move(film)),
        m_picture(std::move(picture)),
        m_layers(std::move(layers)),
        m_seconds(seconds) {}

  void Prepare() {
    Require(m_studio.Start() && m_studio.StartService(), "no studio", m_studio);
    const support::RunResult added = support::Run(
        {ORVANE_SERVICE, "activity", "add", "--database", m_studio.File("service.sqlite"),
         "--account", "demo", "--title", "测量", "--publish", m_studio.Rtmp().Url("whole"),
         "--view", m_studio.Rtmp().Url("whole"), "--open"});
    Require(added.status == 0, "no activity", m_studio);
    Require(
        m_studio.Film("playing", {"--window", "1280x720+0+40", "--fps", "25", "--play"}) != nullptr,
        "no stage", m_studio);
  }

  double Alone() {
    // Ended by its signal, long before.
    const int atMost = 2 * (kWarmUpSeconds + m_seconds) + kPatienceMs / 1000;
    std::vector<std::string> arguments = {"--seconds",    std::to_string(atMost),
                                          "--quality",    "1080P",
                                          "--url",        m_studio.Rtmp().Url("alone"),
                                          "--window-at",  Words(m_window),
                                          "--preview-at", Words(m_preview),
                                          "--layer",      "desktop"};
    for (const char kind : m_layers) {
      arguments.push_back("--layer");
      arguments.push_back(kind == 'f'   ? "file:" + m_film + "@0,0"
                          : kind == 'p' ? "pic:" + m_picture + "@0,0"
                          : kind == 'w' ? "window:playing@0,0"
                                        : "text:Live from the studio@5,5");
    }
    Require(m_studio.StartLiveRoad(arguments), "no live_road", m_studio);
    const Costs costs =
        Measure(m_studio.LiveRoad().Id(), m_studio.Service().Id(), m_studio.Rtmp().Id(), m_seconds);
    Require(m_studio.LiveRoad().Running(), "live_road ended by itself", m_studio);
    Require(m_studio.EndLiveRoad() == 0, "live_road did not end", m_studio);
    std::printf("live_road %.3f CPU s/s (server %.3f)\n", costs.program, costs.server);
    return costs.program;
  }

  double Whole() {
    Composer hand(&m_studio);
    e2e::LiveBar bar(&m_studio, &hand);
    Open(&hand);
    Compose(&hand);
    Require(bar.Choose(0, kFullQuality), "no activity chosen", m_studio);
    const std::size_t recordings = m_studio.Rtmp().Recordings().size();
    double begin = Now();
    Require(bar.PressStart(), "no live button", m_studio);
    Require(m_studio.Rtmp().WaitForRecording(kPatienceMs, static_cast<int>(recordings) + 1),
            "nothing arrived", m_studio);
    const double first = Now() - begin;
    m_window = hand.OfWindow();
    m_preview = hand.OfPreview();
    const Costs costs =
        Measure(hand.Program().Id(), m_studio.Service().Id(), m_studio.Rtmp().Id(), m_seconds);
    begin = Now();
    Require(bar.PressEnd() && bar.Shows(e2e::BarState::kChosen), "did not stop", m_studio);
    const double stopped = Now() - begin;
    Require(hand.End() == 0, "the program did not end", m_studio);
    std::printf(
        "program   %.3f CPU s/s (service %.3f, server %.3f); login to live preview %.2f s, "
        "start to first packet %.2f s, stop to window %.2f s\n",
        costs.program, costs.service, costs.server, m_shown, first, stopped);
    return costs.program + costs.service;
  }

 private:
  void Open(Composer* hand) {
    Require(hand->Open(), "no login", m_studio);
    const double begin = Now();
    Require(hand->LogIn(1) && hand->AwaitWindow(), "no window", m_studio);
    const e2e::Point seen = hand->InScene(kStageSeen);
    Require(support::WaitFor([&] { return m_studio.Desktop().ReadPixel(seen.x, seen.y) != 0; },
                             kPatienceMs),
            "no preview", m_studio);
    m_shown = Now() - begin;
  }

  // The one window that there is.
  void CaptureStage(Composer* hand) {
    Require(hand->Choose(e2e::Menu::kOfWindows, e2e::kWindow) && hand->Opens(), "no chooser",
            m_studio);
    hand->Click(hand->InDialog(Composer::kFirstOfWindows));
    hand->Click(hand->InDialog(Composer::kWindowOk));
    Require(hand->Closes(), "no window", m_studio);
  }

  void Compose(Composer* hand) {
    int rows = 1;
    for (const char kind : m_layers) {
      if (kind == 'w') {
        CaptureStage(hand);
        Require(hand->ShowsRows(++rows), "no window layer", m_studio);
        continue;
      }
      const e2e::MenuEntry entry = kind == 'f'   ? e2e::kFilm
                                   : kind == 'p' ? e2e::kPicture
                                                 : e2e::kText;
      Require(hand->Choose(e2e::Menu::kOfLayers, entry) && hand->Opens(), "no dialog", m_studio);
      if (kind == 't') {
        Require(hand->AnswerText("Live from the studio"), "no text", m_studio);
      } else {
        hand->AnswerFile(kind == 'f' ? m_film : m_picture);
        Require(hand->Closes(), "no file", m_studio);
      }
      Require(hand->ShowsRows(++rows), "no layer", m_studio);
    }
  }

  const std::string m_film;
  const std::string m_picture;
  // 'f'ilm, 'p'icture, 't'ext, 'w'indow, from the one above the desktop.
  const std::string m_layers;
  const int m_seconds;
  double m_shown = 0;  // seconds from the login to the preview
  e2e::Area m_window;
  e2e::Area m_preview;
  e2e::Studio m_studio;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "whole_program FILM PICTURE [S4|S10] [RUNS] [SECONDS]\n");
    return 2;
  }
  const std::string scene = argc > 3 ? argv[3] : "S4";
  const int runs = argc > 4 ? std::max(std::atoi(argv[4]), 1) : 3;
  const int seconds = argc > 5 ? std::max(std::atoi(argv[5]), 1) : 20;
  Bench bench(argv[1], argv[2], scene == "S10" ? "fptfwpppt" : "fpt", seconds);
  bench.Prepare();
  std::vector<double> more;
  for (int run = 0; run < runs; ++run) {
    const double whole = bench.Whole();
    more.push_back(whole - bench.Alone());
    std::fflush(stdout);
  }
  std::printf("%s: the whole program and its service cost %+.3f CPU s/s, median of %d\n",
              scene.c_str(), support::Median(more), runs);
  return 0;
}
