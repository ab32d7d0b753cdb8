// What the operator sees and where the mouse takes hold of it: the main window on a real X screen
// with a window manager, driven by a mouse from outside, at the scale factors of common screens.
//
// What counts is the picture on the screen: positions to press are taken from where a colour is
// seen, and the result is read from the screen's pixels.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "output/RenderRules.h"
#include "support/Process.h"
#include "support/VirtualDesktop.h"
#include "support/WorkingDirectory.h"

namespace {

using output::Rect;
using support::Colour;
using support::WaitFor;

constexpr int kPatienceMs = 15000;
constexpr Colour kBlue = 0x2040c0;
constexpr Colour kGreen = 0x20a040;
constexpr Colour kRed = 0xff0000;

bool IsNear(Colour seen, Colour wanted) {
  for (const int shift : {0, 8, 16}) {
    const int a = static_cast<int>(seen >> shift & 0xff);
    const int b = static_cast<int>(wanted >> shift & 0xff);
    if (seen > 0xffffff || std::abs(a - b) > 8) {
      return false;
    }
  }
  return true;
}

struct Point {
  int x = 0;
  int y = 0;
};

// What the program says of itself.
struct State {
  unsigned long preview = 0;
  int selected = -2;
  bool maximised = false;
  Rect window;
  Point previewAt;
  Point button;
  std::vector<Rect> layers;
};

// One screen for all of it.
support::VirtualDesktop* desktop = nullptr;

class Screen : public testing::Environment {
 protected:
  void SetUp() override {
    desktop = new support::VirtualDesktop;
    support::DesktopOptions options;
    options.width = 2880;
    options.height = 1800;
    options.windowManager = true;
    ASSERT_TRUE(desktop->Start(options)) << desktop->Output();
  }
  void TearDown() override {
    delete desktop;
    desktop = nullptr;
  }
};

const testing::Environment* const screen = testing::AddGlobalTestEnvironment(new Screen);

class PreviewOnScreen : public testing::TestWithParam<const char*> {
 protected:
  // A blue layer of the whole scene, and a green one on it.
  void SetUp() override {
    factor = std::stod(GetParam());
    std::map<std::string, std::string> environment = desktop->Environment();
    environment["QT_SCALE_FACTOR"] = GetParam();
    environment["QT_QPA_PLATFORM"] = "xcb";
    environment["SDL_AUDIODRIVER"] = "dummy";
    environment["PULSE_SERVER"] = "unix:/nonexistent";
    ASSERT_TRUE(program.Start({ORVANE_PREVIEW_PROGRAM, directory.File("state"),
                               "#2040c0,0,0,1920,1080", "#20a040,400,200,640,360"},
                              environment, directory.File("out")));
    ASSERT_TRUE(WaitFor([this] { return Look() && state.layers.size() == 2; }, kPatienceMs))
        << Printed();
    ASSERT_TRUE(SeesGreenAt({400, 200, 640, 360})) << Printed();
  }

  void TearDown() override {
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(10000), 0) << Printed();
  }

  std::string Printed() const { return support::ReadFile(directory.File("out")); }

  // Reads the state and where the preview stands on the screen.
  bool Look() {
    std::istringstream text(support::ReadFile(directory.File("state")));
    State next;
    text >> next.preview >> next.selected >> next.maximised >> next.window.x >> next.window.y >>
        next.window.width >> next.window.height >> next.previewAt.x >> next.previewAt.y >>
        next.button.x >> next.button.y;
    Rect layer;
    while (text >> layer.x >> layer.y >> layer.width >> layer.height) {
      next.layers.push_back(layer);
    }
    if (next.preview == 0) {
      return false;
    }
    state = next;
    const support::RunResult seen = support::Run({"xwininfo", "-id", std::to_string(state.preview)},
                                                 5000, desktop->Environment());
    const auto number = [&](const char* name) {
      const std::size_t at = seen.output.find(name);
      return at == std::string::npos ? -1 : std::atoi(seen.output.c_str() + at + strlen(name));
    };
    preview = {number("Absolute upper-left X:"), number("Absolute upper-left Y:"), number("Width:"),
               number("Height:")};
    return preview.width > 0;
  }
  bool Settles(const std::function<bool()>& condition) {
    return WaitFor([&] { return Look() && condition(); }, kPatienceMs);
  }
  bool Selects(int layer) {
    return Settles([&] { return state.selected == layer; });
  }

  // Where a point of the scene is seen.
  Point OnScreen(double x, double y) const {
    return {preview.x + static_cast<int>(std::lround(x * preview.width / 1920)),
            preview.y + static_cast<int>(std::lround(y * preview.height / 1080))};
  }
  Colour At(const Point& at) const { return desktop->ReadPixel(at.x, at.y); }

  // The green layer fills that part of the scene and no more, by the pixels 4 inside and 4 outside
  // of the middle of each edge.
  bool IsGreen(const Rect& rect) const {
    const double left = std::max(0, rect.x);
    const double top = std::max(0, rect.y);
    const double right = std::min(1920, rect.x + rect.width);
    const double bottom = std::min(1080, rect.y + rect.height);
    const Point topLeft = OnScreen(left, top);
    const Point bottomRight = OnScreen(right, bottom);
    const Point middle = OnScreen((left + right) / 2, (top + bottom) / 2);
    const auto is = [](int x, int y, Colour colour) {
      return IsNear(desktop->ReadPixel(x, y), colour);
    };
    const auto outside = [&](int x, int y) {
      const bool isBeside = x < preview.x || y < preview.y || x >= preview.x + preview.width ||
                            y >= preview.y + preview.height;
      return isBeside || is(x, y, kBlue);
    };
    return is(topLeft.x + 4, middle.y, kGreen) && is(middle.x, topLeft.y + 4, kGreen) &&
           is(bottomRight.x - 4, middle.y, kGreen) && is(middle.x, bottomRight.y - 4, kGreen) &&
           outside(topLeft.x - 4, middle.y) && outside(middle.x, topLeft.y - 4) &&
           outside(bottomRight.x + 4, middle.y) && outside(middle.x, bottomRight.y + 4);
  }
  bool SeesGreenAt(const Rect& rect) {
    return Settles([&] { return IsGreen(rect); });
  }
  // It is seen where the scene has it.
  bool SeesGreen() {
    return Settles([&] { return IsGreen(Green()); });
  }
  // A red line within 4 pixels of where the layer's edges are seen.
  bool SeesOutlineAround(const Rect& rect) {
    return Settles([&] {
      const Point topLeft = OnScreen(rect.x, rect.y);
      const Point bottomRight = OnScreen(rect.x + rect.width, rect.y + rect.height);
      const Point middle = OnScreen(rect.x + rect.width / 2.0, rect.y + rect.height / 2.0);
      const auto red = [](int x, int y, bool across) {
        for (int i = -4; i <= 4; ++i) {
          if (desktop->ReadPixel(across ? x + i : x, across ? y : y + i) == kRed) {
            return true;
          }
        }
        return false;
      };
      return red(topLeft.x, middle.y, true) && red(bottomRight.x, middle.y, true) &&
             red(middle.x, topLeft.y, false) && red(middle.x, bottomRight.y, false);
    });
  }
  bool HasGreen(const Rect& wanted, int tolerance) {
    return Settles([&] {
      const Rect& is = state.layers.at(1);
      return std::abs(is.x - wanted.x) <= tolerance && std::abs(is.y - wanted.y) <= tolerance &&
             std::abs(is.width - wanted.width) <= tolerance &&
             std::abs(is.height - wanted.height) <= tolerance;
    });
  }
  Rect Green() const { return state.layers.at(1); }

  void Mouse(const std::vector<std::string>& words) const {
    std::vector<std::string> command = {"xdotool"};
    command.insert(command.end(), words.begin(), words.end());
    const support::RunResult result = support::Run(command, 20000, desktop->Environment());
    ASSERT_EQ(result.status, 0) << result.output;
  }
  static void AddMove(std::vector<std::string>* words, const Point& to) {
    words->insert(words->end(),
                  {"mousemove", std::to_string(to.x), std::to_string(to.y), "sleep", "0.03"});
  }
  void Click(const Point& at) const {
    std::vector<std::string> words;
    AddMove(&words, at);
    words.insert(words.end(), {"mousedown", "1", "sleep", "0.03", "mouseup", "1"});
    Mouse(words);
  }
  void DoubleClick(const Point& at) const {
    std::vector<std::string> words;
    AddMove(&words, at);
    words.insert(words.end(), {"click", "--repeat", "2", "--delay", "60", "1"});
    Mouse(words);
  }
  // By a double click on the title. One whose halves a busy machine pulls apart is none, and is
  // made again.
  bool Toggles(const std::function<bool()>& condition) {
    for (int attempt = 0; attempt < 3; ++attempt) {
      DoubleClick(Title());
      if (Settles(condition)) {
        return true;
      }
    }
    return false;
  }
  // In eight steps.
  void Drag(const Point& from, const Point& to) const {
    std::vector<std::string> words;
    AddMove(&words, from);
    words.insert(words.end(), {"mousedown", "1", "sleep", "0.03"});
    for (int i = 1; i <= 8; ++i) {
      AddMove(&words, {from.x + (to.x - from.x) * i / 8, from.y + (to.y - from.y) * i / 8});
    }
    words.insert(words.end(), {"mouseup", "1"});
    Mouse(words);
  }
  // A distance of the window in pixels of the screen.
  int Pixels(double logical) const { return static_cast<int>(std::lround(logical * factor)); }
  // Where a point of the window is seen.
  Point InWindow(int x, int y) const {
    return {preview.x + Pixels(x - state.previewAt.x), preview.y + Pixels(y - state.previewAt.y)};
  }
  // A free place of the title area.
  Point Title() const { return InWindow(400, 12); }
  void ClickMaximise() const { Click(InWindow(state.button.x, state.button.y)); }
  void Keep(const std::string& name) const {
    if (const char* directoryToKeep = std::getenv("ORVANE_KEEP_PICTURES")) {
      desktop->Screenshot(std::string(directoryToKeep) + "/" + name + "-" + GetParam() + ".png");
    }
  }

  // The hit test by the two corners that are seen, 3 pixels to either side: the mouse can't be off
  // by more in any direction without missing one of them.
  void ExpectHitsWhatIsSeen() {
    const Rect rect = Green();
    const Point topLeft = OnScreen(rect.x, rect.y);
    const Point bottomRight = OnScreen(rect.x + rect.width, rect.y + rect.height);
    const struct {
      Point outside;
      Point inside;
    } corners[] = {
        {{topLeft.x - 3, topLeft.y - 3}, {topLeft.x + 3, topLeft.y + 3}},
        {{bottomRight.x + 3, bottomRight.y + 3}, {bottomRight.x - 3, bottomRight.y - 3}}};
    for (const auto& corner : corners) {
      Click(corner.outside);
      EXPECT_TRUE(Selects(0)) << corner.outside.x << " " << corner.outside.y;
      Click(corner.inside);
      EXPECT_TRUE(Selects(1)) << corner.inside.x << " " << corner.inside.y;
    }
    EXPECT_TRUE(SeesOutlineAround(rect))
        << rect.x << " " << rect.y << " " << rect.width << " " << rect.height << " in " << preview.x
        << " " << preview.y << " " << preview.width << " " << preview.height;
  }

  // A drag from inside the layer and one from each of its corners, pressed 15 pixels beside them.
  void ExpectItFollowsTheMouse() {
    Point from = OnScreen(700, 400);
    Drag(from, {from.x + Pixels(100), from.y + Pixels(60)});
    EXPECT_TRUE(HasGreen({600, 320, 640, 360}, 2));
    EXPECT_TRUE(SeesGreen());
    from = OnScreen(1240, 680);
    from = {from.x + Pixels(15), from.y + Pixels(15)};
    Drag(from, {from.x + Pixels(160), from.y});
    EXPECT_TRUE(HasGreen({600, 320, 960, 540}, 3));
    from = OnScreen(600, 320);
    from = {from.x - Pixels(15), from.y - Pixels(15)};
    Drag(from, {from.x + Pixels(80), from.y + Pixels(40)});
    EXPECT_TRUE(HasGreen({760, 410, 800, 450}, 3));
    EXPECT_TRUE(SeesGreen());
    EXPECT_TRUE(SeesOutlineAround(Green()));
    Keep("dragged");
    // Near the left edge it snaps.
    from = OnScreen(1100, 600);
    Drag(from, {from.x - Pixels(374), from.y});
    EXPECT_TRUE(HasGreen({0, Green().y, 800, 450}, 3));
    EXPECT_EQ(Green().x, 0);
    EXPECT_TRUE(SeesGreen());
  }

  support::WorkingDirectory directory;
  support::Process program;
  double factor = 1;
  State state;
  Rect preview;  // on the screen, in its pixels
};

TEST_P(PreviewOnScreen, WhatIsSeenIsWhatIsClickedDraggedAndResized) {
  EXPECT_EQ(preview.width, Pixels(960));
  EXPECT_EQ(preview.height, Pixels(540));
  const Rect normal = state.window;
  Click(OnScreen(700, 400));
  EXPECT_TRUE(Selects(1));
  Click(OnScreen(700, 400));
  EXPECT_TRUE(Selects(0));
  ExpectHitsWhatIsSeen();
  ExpectItFollowsTheMouse();

  // On the whole screen too.
  const Rect layer = Green();
  ASSERT_TRUE(Toggles([&] { return state.maximised && preview.width > Pixels(1000); }));
  EXPECT_NEAR(preview.width * 9, preview.height * 16, 16 * factor);
  EXPECT_TRUE(SeesGreenAt(layer));
  Keep("maximised");
  Click(OnScreen(300, 600));
  EXPECT_TRUE(Selects(1));
  const Point from = OnScreen(300, 600);
  const Point way = {Pixels(200), -Pixels(60)};
  Drag({from.x + 40, from.y}, {from.x + 40 + way.x, from.y + way.y});
  EXPECT_TRUE(HasGreen({layer.x + way.x * 1920 / preview.width,
                        layer.y + way.y * 1080 / preview.height, layer.width, layer.height},
                       3));
  EXPECT_TRUE(SeesGreen());
  ExpectHitsWhatIsSeen();

  // And back.
  EXPECT_TRUE(Toggles([&] {
    return !state.maximised && state.window.width == normal.width && preview.width == Pixels(960);
  })) << state.window.width
      << " " << preview.width;
  EXPECT_TRUE(SeesGreen());
  Keep("restored");
  ExpectHitsWhatIsSeen();
}

std::string NameOf(const testing::TestParamInfo<const char*>& factor) {
  std::string name = factor.param;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(ScaleFactor, PreviewOnScreen, testing::Values("1", "1.25", "1.5", "2"),
                         NameOf);

// What does not depend on the scale.
class PreviewOnScreenByMouse : public PreviewOnScreen {};

TEST_P(PreviewOnScreenByMouse, TheTitleDragsTheWindowUnderTheMouse) {
  const Rect before = preview;
  const Point from = Title();
  Drag(from, {from.x + 163, from.y + 97});
  EXPECT_TRUE(Settles([&] { return preview.x == before.x + 163 && preview.y == before.y + 97; }))
      << preview.x - before.x << " " << preview.y - before.y;
  EXPECT_TRUE(SeesGreenAt({400, 200, 640, 360}));
}

TEST_P(PreviewOnScreenByMouse, AButtonReleasedOutsideTheWindowEndsTheDrag) {
  Click(OnScreen(500, 300));
  ASSERT_TRUE(Selects(1));
  const Point from = OnScreen(700, 400);
  const Point beside = {InWindow(0, 0).x - 60, from.y};
  Drag(from, beside);
  const Rect there = {400 - 2 * (from.x - beside.x), 200, 640, 360};
  EXPECT_TRUE(HasGreen(there, 0)) << Green().x << " " << Green().y << " " << Green().width;
  EXPECT_TRUE(SeesGreenAt(there));
  std::vector<std::string> words;
  AddMove(&words, OnScreen(1000, 900));
  AddMove(&words, OnScreen(300, 300));
  Mouse(words);
  EXPECT_TRUE(HasGreen(there, 0));
  Click(OnScreen(1500, 900));
  EXPECT_TRUE(Selects(0));
}

TEST_P(PreviewOnScreenByMouse, AResizeToNothingComesBackAtTheSizeOfItsSource) {
  Click(OnScreen(500, 300));
  ASSERT_TRUE(Selects(1));
  // 640 scene pixels: exactly to nothing.
  const Point corner = OnScreen(1040, 560);
  Drag(corner, {corner.x - 320, corner.y});
  EXPECT_TRUE(HasGreen({400, 200, 640, 360}, 0));
  EXPECT_TRUE(SeesGreenAt({400, 200, 640, 360}));
  // Through the opposite corner the last step stays, whatever it was, and the layer lives on.
  Drag(corner, {corner.x - 400, corner.y});
  EXPECT_TRUE(Settles([&] { return Green().width >= 0 && Green().width <= 640; }));
  EXPECT_TRUE(SeesGreen());
}

TEST_P(PreviewOnScreenByMouse, TheButtonMaximisesAndRestoresTo960x540) {
  const Rect normal = state.window;
  const Rect small = preview;
  ClickMaximise();
  ASSERT_TRUE(Settles([&] { return state.maximised && preview.width > 960; }));
  EXPECT_TRUE(SeesGreenAt({400, 200, 640, 360}));
  ClickMaximise();
  ASSERT_TRUE(Settles([&] {
    return !state.maximised && preview.width == 960 && preview.x == small.x && preview.y == small.y;
  })) << preview.x
      << " " << preview.y;
  EXPECT_EQ(state.window.width, normal.width);
  EXPECT_EQ(state.window.height, normal.height);
  EXPECT_TRUE(SeesGreenAt({400, 200, 640, 360}));
  EXPECT_EQ(preview.height, 540);
}

INSTANTIATE_TEST_SUITE_P(Unscaled, PreviewOnScreenByMouse, testing::Values("1"), NameOf);

}  // namespace
