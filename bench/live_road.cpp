// The live road on its own: builds a scene from the program's nodes, shows and publishes it, and
// prints what went through and what it cost, each second and in sum. See kUsage in Options.cpp.
#include <sys/stat.h>

#include <QApplication>
#include <QLabel>
#include <algorithm>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Options.h"
#include "Scene.h"
#include "SharedDesktop.h"
#include "ThreadMeter.h"
#include "platform/DisplayGuard.h"
#include "shell/Libraries.h"
#include "shell/QuitSignals.h"

namespace {

// The first seconds fill queues and open codecs; the sum leaves them out of the CPU figures.
constexpr double kWarmUpSeconds = 2;

class Report : public QObject {
 public:
  Report(const bench::Options& options, bench::Scene* scene) : m_options(options), m_scene(scene) {}

  void Begin() {
    m_start = std::chrono::steady_clock::now();
    m_meter.Begin();
    m_lastCpu = 0;
    connect(&m_timer, &QTimer::timeout, this, &Report::Second);
    m_timer.start(1000);
  }

  void Sum() {
    m_timer.stop();
    m_meter.Sample();
    const double seconds = Elapsed() - m_warmUp;
    const double total = m_meter.Total();
    const bench::PictureTap* tap = m_scene->Tap();
    std::printf("\nIn sum, over %.1f s:\n", Elapsed());
    PrintCounters(tap->Count());
    std::printf("longest gap between pictures: %.0f ms (warm-up left out)\n", m_longestGapMs);
    std::printf("resident memory: %.0f MB, at most %.0f MB\n", bench::ResidentMb(),
                bench::PeakResidentMb());
    std::printf("CPU seconds per streamed second, over the last %.1f s:\n", seconds);
    for (const bench::ThreadShare& share : m_meter.Shares()) {
      std::printf("  %-16s %3d  %.3f\n", share.name.c_str(), share.threads,
                  share.seconds / seconds);
    }
    std::printf("cpu_per_second=%.4f\n", total / seconds);
    std::fflush(stdout);
  }

 private:
  double Elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
  }

  void Second() {
    m_meter.Sample();
    const double cpu = m_meter.Total();
    const double gap = m_scene->Tap()->TakeLongestGapMs();
    const std::uint64_t shown = m_scene->Tap()->Count();
    std::printf("%4.0f s  pictures %3" PRIu64 "  gap %3.0f ms  cpu %.2f s  rss %.0f MB", Elapsed(),
                shown - m_lastShown, gap, cpu - m_lastCpu, bench::ResidentMb());
    PrintLiveSecond();
    std::printf("\n");
    std::fflush(stdout);
    m_lastShown = shown;
    m_lastCpu = cpu;
    if (m_warmUp > 0) {
      m_longestGapMs = std::max(m_longestGapMs, gap);
    } else if (Elapsed() >= kWarmUpSeconds) {
      m_warmUp = Elapsed();
      m_meter.Begin();
      m_lastCpu = 0;
    }
  }

  void PrintLiveSecond() {
    if (!m_options.live) {
      return;
    }
    const EncoderStatistics encoder = m_scene->Encoder();
    std::printf("  encoded %3" PRIu64 "  sent %3" PRIu64 "  queued %" PRId64 " ms",
                encoder.videoPacketsEncoded - m_lastEncoded, encoder.videoPacketsSent - m_lastSent,
                encoder.queuedMs);
    if (!encoder.cause.empty()) {
      std::printf("  (%s)", encoder.cause.c_str());
    }
    m_lastEncoded = encoder.videoPacketsEncoded;
    m_lastSent = encoder.videoPacketsSent;
  }

  void PrintCounters(std::uint64_t shown) const;

  const bench::Options& m_options;
  bench::Scene* m_scene;
  QTimer m_timer;
  bench::ThreadMeter m_meter;
  std::chrono::steady_clock::time_point m_start;
  double m_warmUp = 0;
  double m_longestGapMs = 0;
  double m_lastCpu = 0;
  std::uint64_t m_lastShown = 0;
  std::uint64_t m_lastEncoded = 0;
  std::uint64_t m_lastSent = 0;
};

void Report::PrintCounters(std::uint64_t pushed) const {
  const RenderStatistics render = m_scene->Render();
  std::printf("composed %" PRIu64 "  shown %" PRIu64 "  pushed %" PRIu64 "\n", render.composed,
              render.shown, pushed);
  std::printf("dropped: composed queue %" PRIu64, render.droppedComposed);
  for (std::size_t slot = 0; slot < m_options.layers.size(); ++slot) {
    std::printf("  slot %zu input %" PRIu64 " layer %" PRIu64, slot, render.droppedAtInput[slot],
                render.droppedAtLayer[slot]);
  }
  std::printf("\n");
  if (!m_options.live) {
    return;
  }
  const EncoderStatistics encoder = m_scene->Encoder();
  std::printf("pictures taken %" PRIu64 "  encoded %" PRIu64 "  sent %" PRIu64
              "  dropped at input %" PRIu64 "  dropped as packets %" PRIu64 "\n",
              encoder.videoFramesTaken, encoder.videoPacketsEncoded, encoder.videoPacketsSent,
              encoder.videoFramesDropped, encoder.videoPacketsDropped);
  std::printf("sound taken %" PRIu64 "  encoded %" PRIu64 "  sent %" PRIu64
              "  dropped as packets %" PRIu64 "\n",
              encoder.audioFramesTaken, encoder.audioPacketsEncoded, encoder.audioPacketsSent,
              encoder.audioPacketsDropped);
  std::printf("bytes sent %" PRIu64 "  connections %" PRIu64 "  last failure \"%s\"\n",
              encoder.bytesSent, encoder.connections, encoder.cause.c_str());
}

// The preview, on its own or in a window of the program's colour.
class Surface {
 public:
  explicit Surface(const bench::Options& options) {
    const bench::ScreenArea& preview = options.previewAt;
    const bench::ScreenArea& window = options.windowAt;
    QPoint place(preview.x, preview.y);
    if (window.width > 0) {
      m_window = std::make_unique<QWidget>(nullptr, Qt::FramelessWindowHint);
      m_window->setStyleSheet("background-color:#282A30");
      m_window->setGeometry(window.x, window.y, window.width, window.height);
      place -= m_window->pos();
    }
    m_label = new QLabel(m_window.get());
    m_label->setWindowTitle("live_road");
    m_label->setFixedSize(preview.width, preview.height);
    m_label->move(place);
    m_label->setStyleSheet("background-color:#000000");
    m_label->setAttribute(Qt::WA_NativeWindow);
    if (m_window == nullptr) {
      m_window.reset(m_label);
    }
  }

  QWidget* Label() const { return m_label; }
  void Show() { m_window->show(); }

 private:
  std::unique_ptr<QWidget> m_window;
  QLabel* m_label = nullptr;  // m_window or in it
};

}  // namespace

int main(int argc, char** argv) {
  bench::Options options;
  std::string refusal;
  if (!bench::ParseOptions(std::vector<std::string>(argv + 1, argv + argc), &options, &refusal)) {
    std::fprintf(stderr, "live_road: %s\n%s", refusal.c_str(), bench::kUsage);
    return 2;
  }
  umask(077);
  shell::PrepareProcess();
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(true);
  const platform::DisplayGuard displayGuard;
  const shell::QuitSignals quitSignals;
  if (!shell::StartSdl()) {
    std::printf("SDL_Init error\n");
  }
  const std::unique_ptr<Surface> surface =
      options.preview ? std::make_unique<Surface>(options) : nullptr;
  const auto shared = options.portal ? std::make_unique<bench::SharedDesktop>() : nullptr;
  if (shared != nullptr && !shared->Start(&refusal)) {
    std::fprintf(stderr, "live_road: no portal: %s\n", refusal.c_str());
    return 1;
  }
  bench::Scene scene(options);
  scene.Build(surface != nullptr ? surface->Label() : nullptr);
  if (surface != nullptr) {
    surface->Show();
  }
  if (options.live) {
    scene.StartLive();
  }
  Report report(options, &scene);
  report.Begin();
  QTimer::singleShot(static_cast<int>(options.seconds * 1000), &application, &QApplication::quit);
  const int status = QApplication::exec();
  report.Sum();
  scene.End();
  return status;
}
