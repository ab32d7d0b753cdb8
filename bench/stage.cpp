// What is filmed: one window on an X display whose content tells when it was drawn, and a sound
// that belongs to it. Scenes of live_road and the end-to-end tests are judged by what of it arrives
// at the other end.
//
//   --window WxH+X+Y    size and place, in pixels of the screen
//   --title TEXT        name in the window list
//   --fps N             pictures a second (25)
//   --fill RRGGBB       one colour
//   --play              a moving picture, 25 different ones
//   --patches           eight flat colours side by side
//   --clock             a strip of cells that holds the time of drawing (support/TimeCode.h)
//   --flash MS          the lower half turns white for 200 ms, every MS milliseconds
//   --beep HZ           a tone of 200 ms that is heard at the moment of each flash
//   --tone HZ           a tone without end
//
// Time is CLOCK_MONOTONIC, so programs on one machine agree. Each picture is drawn aside and shown
// by one request: a grab sees it whole. Ends on SIGTERM, or with its X server.
#include <poll.h>
#include <pulse/error.h>
#include <pulse/simple.h>
#include <xcb/xcb.h>
#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "support/TimeCode.h"

namespace {

constexpr int kFlashMs = 200;
constexpr int kMovingPictures = 25;
constexpr int kPatches = 8;
constexpr std::uint32_t kPatchColours[kPatches] = {0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF,
                                                   0xFFFF00, 0x00FFFF, 0x808080, 0x202020};

std::atomic<bool> g_stop{false};

void Stop(int /*signal*/) {
  g_stop = true;
}

std::int64_t NowUs() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

void SleepUntilUs(std::int64_t us) {
  const timespec time{us / 1000000, (us % 1000000) * 1000};
  clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr);
}

struct Options {
  int width = 1280;
  int height = 720;
  int x = 0;
  int y = 0;
  std::string title = "stage";
  int fps = 25;
  bool fill = false;
  std::uint32_t colour = 0x101010;
  bool play = false;
  bool patches = false;
  bool clock = false;
  int flashMs = 0;
  int beepHz = 0;
  int toneHz = 0;
};

[[noreturn]] void Refuse(const char* argument) {
  std::fprintf(stderr, "stage: can't make out \"%s\"\n", argument);
  std::exit(2);
}

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    const auto value = [&]() -> const char* {
      if (i + 1 >= argc) {
        Refuse(argv[i]);
      }
      return argv[++i];
    };
    if (name == "--window") {
      if (std::sscanf(value(), "%dx%d+%d+%d", &options.width, &options.height, &options.x,
                      &options.y) != 4) {
        Refuse(argv[i]);
      }
    } else if (name == "--title") {
      options.title = value();
    } else if (name == "--fps") {
      options.fps = std::max(1, std::atoi(value()));
    } else if (name == "--fill") {
      options.fill = true;
      options.colour = static_cast<std::uint32_t>(std::strtoul(value(), nullptr, 16));
    } else if (name == "--play") {
      options.play = true;
    } else if (name == "--patches") {
      options.patches = true;
    } else if (name == "--clock") {
      options.clock = true;
    } else if (name == "--flash") {
      options.flashMs = std::atoi(value());
    } else if (name == "--beep") {
      options.beepHz = std::atoi(value());
    } else if (name == "--tone") {
      options.toneHz = std::atoi(value());
    } else {
      Refuse(argv[i]);
    }
  }
  return options;
}

// True within the flash that belongs to this moment.
bool InFlash(std::int64_t us, int periodMs) {
  return periodMs > 0 && us / 1000 % periodMs < kFlashMs;
}

class Window {
 public:
  explicit Window(const Options& options) : m_options(options) {}

  bool Open() {
    m_connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(m_connection) != 0) {
      std::fprintf(stderr, "stage: no X display\n");
      return false;
    }
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    m_window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_screen->root,
                      static_cast<std::int16_t>(m_options.x),
                      static_cast<std::int16_t>(m_options.y), Width(), Height(), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, m_screen->root_visual, 0, nullptr);
    Describe();
    m_gc = xcb_generate_id(m_connection);
    xcb_create_gc(m_connection, m_gc, m_window, 0, nullptr);
    m_back = NewPixmap(Width(), Height());
    if (m_options.play) {
      PaintMovingPictures();
    }
    xcb_map_window(m_connection, m_window);
    xcb_flush(m_connection);
    return true;
  }

  void Draw(std::int64_t us, std::int64_t number) {
    Background(number);
    if (InFlash(us, m_options.flashMs)) {
      Rectangle(0, m_options.height / 2, m_options.width, m_options.height - m_options.height / 2,
                0xFFFFFF);
    } else if (m_options.flashMs > 0) {
      Rectangle(0, m_options.height / 2, m_options.width, m_options.height - m_options.height / 2,
                0x000000);
    }
    if (m_options.clock) {
      Clock(us);
    }
    xcb_copy_area(m_connection, m_back, m_window, m_gc, 0, 0, 0, 0, Width(), Height());
    xcb_flush(m_connection);
  }

  bool Alive() {
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
      std::free(event);
    }
    return xcb_connection_has_error(m_connection) == 0;
  }

 private:
  std::uint16_t Width() const { return static_cast<std::uint16_t>(m_options.width); }
  std::uint16_t Height() const { return static_cast<std::uint16_t>(m_options.height); }

  // Title, no decorations, and the place that was asked for.
  void Describe() {
    const auto size = static_cast<std::uint32_t>(m_options.title.size());
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, size, m_options.title.data());
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, Atom("_NET_WM_NAME"),
                        Atom("UTF8_STRING"), 8, size, m_options.title.data());
    const std::uint32_t undecorated[5] = {2, 0, 0, 0, 0};
    const xcb_atom_t motif = Atom("_MOTIF_WM_HINTS");
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, motif, motif, 32, 5,
                        undecorated);
    xcb_size_hints_t hints{};
    xcb_icccm_size_hints_set_position(&hints, 1, m_options.x, m_options.y);
    xcb_icccm_size_hints_set_min_size(&hints, m_options.width, m_options.height);
    xcb_icccm_set_wm_normal_hints(m_connection, m_window, &hints);
  }

  xcb_atom_t Atom(const char* name) {
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(
        m_connection,
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr);
    const xcb_atom_t atom = reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return atom;
  }

  xcb_pixmap_t NewPixmap(std::uint16_t width, std::uint16_t height) {
    const xcb_pixmap_t pixmap = xcb_generate_id(m_connection);
    xcb_create_pixmap(m_connection, m_screen->root_depth, pixmap, m_window, width, height);
    return pixmap;
  }

  // Slow waves under a fine pattern: what a camera's picture costs an encoder, roughly.
  void PaintMovingPictures() {
    std::vector<std::uint32_t> row(Width());
    for (int number = 0; number < kMovingPictures; ++number) {
      m_moving.push_back(NewPixmap(Width(), Height()));
      const double phase = 2 * M_PI * number / kMovingPictures;
      for (int y = 0; y < m_options.height; ++y) {
        for (int x = 0; x < m_options.width; ++x) {
          row[static_cast<std::size_t>(x)] = Plasma(x, y, phase);
        }
        xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_moving.back(), m_gc, Width(), 1, 0,
                      static_cast<std::int16_t>(y), 0, m_screen->root_depth,
                      static_cast<std::uint32_t>(row.size() * sizeof row[0]),
                      reinterpret_cast<const std::uint8_t*>(row.data()));
      }
    }
  }

  static std::uint32_t Plasma(int x, int y, double phase) {
    const auto level = [](double value) {
      return static_cast<std::uint32_t>(std::clamp(127 + 100 * value, 0.0, 255.0));
    };
    const double fine = 0.12 * std::sin(x * 0.21) * std::sin(y * 0.19);
    const double red = std::sin(x * 0.011 + phase) * std::cos(y * 0.007) + fine;
    const double green = std::sin(y * 0.013 - phase) + fine;
    const double blue = std::cos((x + y) * 0.006 + phase) + fine;
    return level(red) << 16 | level(green) << 8 | level(blue);
  }

  void Background(std::int64_t number) {
    if (m_options.play) {
      xcb_copy_area(m_connection, m_moving[static_cast<std::size_t>(number % kMovingPictures)],
                    m_back, m_gc, 0, 0, 0, 0, Width(), Height());
    } else if (m_options.patches) {
      for (int i = 0; i < kPatches; ++i) {
        const int left = m_options.width * i / kPatches;
        const int right = m_options.width * (i + 1) / kPatches;
        Rectangle(left, 0, right - left, m_options.height, kPatchColours[i]);
      }
    } else {
      Rectangle(0, 0, m_options.width, m_options.height, m_options.colour);
    }
  }

  void Rectangle(int x, int y, int width, int height, std::uint32_t colour) {
    xcb_change_gc(m_connection, m_gc, XCB_GC_FOREGROUND, &colour);
    const xcb_rectangle_t rectangle = {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                                       static_cast<std::uint16_t>(width),
                                       static_cast<std::uint16_t>(height)};
    xcb_poly_fill_rectangle(m_connection, m_back, m_gc, 1, &rectangle);
  }

  void Clock(std::int64_t us) {
    const auto cells = support::EncodeTime(static_cast<std::uint32_t>(us / 1000));
    for (int i = 0; i < support::kTimeCells; ++i) {
      Rectangle(i * support::kTimeCellSize, 0, support::kTimeCellSize, support::kTimeCellSize,
                cells[static_cast<std::size_t>(i)] ? 0xFFFFFF : 0x000000);
    }
  }

  Options m_options;
  xcb_connection_t* m_connection = nullptr;
  xcb_screen_t* m_screen = nullptr;
  xcb_window_t m_window = 0;
  xcb_gcontext_t m_gc = 0;
  xcb_pixmap_t m_back = 0;
  std::vector<xcb_pixmap_t> m_moving;
};

constexpr int kRate = 48000;
constexpr int kBlock = 480;  // 10 ms

// One block of sound that begins to be heard at startUs.
void FillBlock(const Options& options, std::int64_t startUs, std::int64_t position,
               std::vector<std::int16_t>* block) {
  for (int i = 0; i < kBlock; ++i) {
    const std::int64_t us = startUs + std::int64_t{i} * 1000000 / kRate;
    int hz = options.toneHz;
    if (options.beepHz > 0 && InFlash(us, options.flashMs)) {
      hz = options.beepHz;
    }
    const double angle = 2 * M_PI * hz * static_cast<double>((position + i) % kRate) / kRate;
    const auto sample = static_cast<std::int16_t>(hz > 0 ? 9000 * std::sin(angle) : 0);
    (*block)[static_cast<std::size_t>(2 * i)] = sample;
    (*block)[static_cast<std::size_t>(2 * i + 1)] = sample;
  }
}

void PlaySound(const Options& options) {
  const pa_sample_spec format = {PA_SAMPLE_S16LE, kRate, 2};
  pa_buffer_attr buffers{};
  buffers.maxlength = static_cast<std::uint32_t>(-1);
  buffers.tlength = 4 * kBlock * 4;
  buffers.prebuf = 4 * kBlock * 4;
  buffers.minreq = kBlock * 4;
  buffers.fragsize = static_cast<std::uint32_t>(-1);
  int error = 0;
  pa_simple* sound = pa_simple_new(nullptr, "stage", PA_STREAM_PLAYBACK, nullptr, "stage", &format,
                                   nullptr, &buffers, &error);
  if (sound == nullptr) {
    std::fprintf(stderr, "stage: no sound: %s\n", pa_strerror(error));
    return;
  }
  std::vector<std::int16_t> block(2 * kBlock);
  std::int64_t position = 0;
  while (!g_stop) {
    const auto latency = static_cast<std::int64_t>(pa_simple_get_latency(sound, &error));
    FillBlock(options, NowUs() + latency, position, &block);
    if (pa_simple_write(sound, block.data(), block.size() * sizeof block[0], &error) < 0) {
      break;
    }
    position += kBlock;
  }
  pa_simple_free(sound);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = Parse(argc, argv);
  std::signal(SIGTERM, Stop);
  std::signal(SIGINT, Stop);
  Window window(options);
  if (!window.Open()) {
    return 1;
  }
  std::thread sound;
  if (options.toneHz > 0 || options.beepHz > 0) {
    sound = std::thread(PlaySound, options);
  }
  const std::int64_t start = NowUs();
  for (std::int64_t number = 0; !g_stop && window.Alive(); ++number) {
    SleepUntilUs(start + number * 1000000 / options.fps);
    window.Draw(NowUs(), number);
  }
  g_stop = true;
  if (sound.joinable()) {
    sound.join();
  }
  return 0;
}
