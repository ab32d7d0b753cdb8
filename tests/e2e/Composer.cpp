#include "Composer.h"

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace e2e {

namespace {

using support::Colour;
using support::DesktopWindow;
using support::WaitFor;

constexpr int kToolMs = 20000;
constexpr int kFocusMs = 5000;  // the window manager gives the keyboard to most windows
constexpr int kSceneWidth = 1920;
constexpr int kSceneHeight = 1080;
constexpr Colour kOutline = 0xff0000;
constexpr Colour kListBackground = 0x282a30;
constexpr int kColourTolerance = 10;  // what the way through YUV 4:2:0, twice for a film, changes
constexpr Colour kPage = 0xf4f5f5;    // the picture of a plain file in the file dialog
constexpr char kLoginTitle[] = "^登录$";

constexpr int kMenuItemY = 31;
constexpr int kMenuItemHeight = 33;
constexpr int kMenuItemX = 70;
constexpr int kRowHeight = 40;
constexpr int kMostRows = 20;  // more than the list ever holds
constexpr int kListGap = 11;   // from the preview's right edge to the rows
constexpr Point kLoginButton = {695, 355};
// The text dialog.
constexpr Point kTextField = {240, 130};
constexpr Point kTextOk = {310, 280};
constexpr Point kSwatch = {69, 225};

bool IsNear(Colour seen, Colour wanted) {
  for (const int shift : {0, 8, 16}) {
    const int a = static_cast<int>(seen >> shift & 0xff);
    const int b = static_cast<int>(wanted >> shift & 0xff);
    if (seen > 0xffffff || std::abs(a - b) > kColourTolerance) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool Composer::Open(const std::map<std::string, std::string>& changes) {
  m_studio->SaveAccount("demo", m_studio->Password());
  std::map<std::string, std::string> environment = m_studio->Environment();
  for (const auto& [name, value] : changes) {
    environment[name] = value;
  }
  return m_program.Start({ORVANE_PROGRAM}, environment, m_studio->File("program.out")) && Opens();
}

bool Composer::Start(const std::map<std::string, std::string>& changes) {
  return Open(changes) && LogIn(2) && AwaitWindow();
}

bool Composer::AwaitWindow() {
  return WaitFor([this] { return FindWindow(); }, kPatienceMs);
}

int Composer::End() {
  m_program.Signal(SIGTERM);
  return m_program.Wait(kPatienceMs);
}

// Input.

support::RunResult Composer::Tool(std::vector<std::string> arguments) const {
  return support::Run(arguments, kToolMs, Screen().Environment());
}

void Composer::MoveTo(Point at) const {
  Tool({"xdotool", "mousemove", std::to_string(at.x), std::to_string(at.y)});
}

void Composer::Click(Point at, int times) const {
  Tool({"xdotool", "mousemove", std::to_string(at.x), std::to_string(at.y), "click", "--repeat",
        std::to_string(times), "--delay", "60", "1"});
}

void Composer::Turn(Point at, int notches) const {
  Tool({"xdotool", "mousemove", std::to_string(at.x), std::to_string(at.y), "click", "--repeat",
        std::to_string(std::abs(notches)), "--delay", "60", notches > 0 ? "5" : "4"});
}

void Composer::Drag(const std::vector<Point>& way) const {
  std::vector<std::string> command = {"xdotool"};
  for (std::size_t i = 0; i < way.size(); ++i) {
    command.insert(command.end(), {"mousemove", std::to_string(way[i].x), std::to_string(way[i].y),
                                   "sleep", "0.05"});
    if (i == 0) {
      command.insert(command.end(), {"mousedown", "1", "sleep", "0.05"});
    }
  }
  command.insert(command.end(), {"mouseup", "1"});
  Tool(command);
}

void Composer::DragRow(int from, int to) const {
  const Point start = InRow(from, RowPart::kText);
  const Point end = InRow(to, RowPart::kText);
  // A drag begins some pixels from the press, and its target sees every step of the way.
  Drag({start, {start.x + 15, start.y}, {end.x + 15, end.y + 2}, end, {end.x + 2, end.y}});
}

void Composer::Keys(const std::vector<std::string>& keys) const {
  std::vector<std::string> command = {"xdotool", "key", "--delay", "50"};
  command.insert(command.end(), keys.begin(), keys.end());
  Tool(command);
}

void Composer::Type(const std::string& text) const {
  Tool({"xdotool", "type", "--delay", "25", text});
}

// Places.

Area Composer::PlaceOf(std::uint32_t window) const {
  for (const DesktopWindow& seen : Windows()) {
    if (seen.id == window) {
      return {seen.x, seen.y, seen.width, seen.height};
    }
  }
  return {};
}

Point Composer::InScene(Point at) const {
  const Area preview = PlaceOf(m_preview);
  return {preview.x + at.x * preview.width / kSceneWidth,
          preview.y + at.y * preview.height / kSceneHeight};
}

Point Composer::InWindow(Point at) const {
  const Area window = PlaceOf(m_main);
  return {window.x + at.x + (at.x < 0 ? window.width : 0), window.y + at.y};
}

Point Composer::InRow(int row, RowPart part) const {
  const Area preview = PlaceOf(m_preview);
  const int left = preview.x + preview.width + kListGap;
  const int top = preview.y + row * kRowHeight;
  switch (part) {
    case RowPart::kEye:
      return {left + 18, top + 20};
    case RowPart::kText:
      return {left + 100, top + 20};
    case RowPart::kEdit:
      return {left + 236, top + 20};
    case RowPart::kDelete:
      break;
  }
  return {left + 262, top + 20};
}

Point Composer::InDialog(Point at) const {
  if (m_open.empty()) {
    return {};
  }
  const Area dialog = PlaceOf(m_open.back());
  return {dialog.x + at.x, dialog.y + at.y};
}

// Windows.

std::vector<DesktopWindow> Composer::Windows() const {
  return support::VisibleWindows(Screen().Display(), Studio::kProgram);
}

bool Composer::IsThere(std::uint32_t window) const {
  const std::vector<DesktopWindow> windows = Windows();
  return std::any_of(windows.begin(), windows.end(),
                     [&](const DesktopWindow& seen) { return seen.id == window; });
}

// The largest: a dialog may have a native child.
DesktopWindow Composer::NewWindow() const {
  DesktopWindow found;
  int largest = 1;
  for (const DesktopWindow& window : Windows()) {
    if (window.id != m_main && window.id != m_preview &&
        std::find(m_open.begin(), m_open.end(), window.id) == m_open.end() &&
        window.width * window.height > largest) {
      largest = window.width * window.height;
      found = window;
    }
  }
  return found;
}

// The main window is the larger of the two that are there, the preview the smaller.
bool Composer::FindWindow() {
  const std::vector<DesktopWindow> windows = Windows();
  if (windows.size() != 2) {
    return false;
  }
  const bool firstIsMain = windows[0].width > windows[1].width;
  m_main = windows[firstIsMain ? 0 : 1].id;
  m_preview = windows[firstIsMain ? 1 : 0].id;
  return true;
}

bool Composer::Opens() {
  DesktopWindow found;
  const auto opened = [&] { return (found = NewWindow()).id != 0; };
  if (!WaitFor(opened, kPatienceMs)) {
    m_mismatch = "no window opened; there are";
    for (const DesktopWindow& window : Windows()) {
      m_mismatch += " " + std::to_string(window.id) + " of " + std::to_string(window.width) +
                    " x " + std::to_string(window.height);
    }
    m_mismatch += "; known are " + std::to_string(m_main) + " " + std::to_string(m_preview);
    for (const std::uint32_t window : m_open) {
      m_mismatch += " " + std::to_string(window);
    }
    return false;
  }
  m_open.push_back(found.id);
  // One that is seen may get the keyboard a little later; a menu and a tip never do.
  if (found.managed) {
    WaitFor([&] { return support::ActiveWindow(Screen().Display()) == found.id; }, kFocusMs);
  }
  return true;
}

bool Composer::Closes() {
  const std::uint32_t window = m_open.back();
  m_open.pop_back();
  if (!WaitFor([&] { return !IsThere(window); }, kPatienceMs)) {
    m_mismatch = "a window stayed open";
    return false;
  }
  // The keyboard goes back to one of the others.
  WaitFor([&] { return IsThere(support::ActiveWindow(Screen().Display())); }, kFocusMs);
  return true;
}

bool Composer::Choose(Menu menu, MenuEntry entry) {
  Click(InWindow(menu == Menu::kOfWindows ? kAddWindow : kAddLayer));
  if (!Opens()) {
    return false;
  }
  Click(InDialog({kMenuItemX, kMenuItemY + entry * kMenuItemHeight}));
  return Closes();
}

bool Composer::OpensFromRow(int row, RowPart part) {
  // The pictures come with the mouse over the row.
  MoveTo(InRow(row, RowPart::kText));
  Click(InRow(row, part));
  return Opens();
}

bool Composer::AnswerText(const std::string& text, bool white, int clicks) {
  if (white) {
    Click(InDialog(kSwatch));
    if (!Opens()) {
      return false;
    }
    Keys({"Return"});
    if (!Closes()) {
      return false;
    }
  }
  Click(InDialog(kTextField));
  Keys({"ctrl+a", "Delete"});
  Type(text);
  Click(InDialog(kTextOk), clicks);
  return Closes();
}

void Composer::AnswerFile(const std::string& path) const {
  Type(path);
  Keys({"Return"});
}

bool Composer::ShowsFirstFile() {
  return ShowsInDialog({kFirstFile.x - 53, kFirstFile.y}, kPage);
}

bool Composer::LogIn(int clicks) {
  if (!m_studio->Activate(kLoginTitle)) {
    return false;
  }
  Click(InDialog(kLoginButton), clicks);
  return Closes();
}

// What is seen.

std::string Composer::Mismatch(const std::vector<Spot>& spots) const {
  const Area preview = PlaceOf(m_preview);
  const support::ScreenPicture screen = Screen().ReadScreen();
  std::string mismatch;
  for (const Spot& spot : spots) {
    const Colour seen = screen.At(preview.x + spot.at.x * preview.width / kSceneWidth,
                                  preview.y + spot.at.y * preview.height / kSceneHeight);
    if (!IsNear(seen, spot.colour)) {
      char text[80];
      std::snprintf(text, sizeof text, "(%d, %d) shows %06x, not %06x; ", spot.at.x, spot.at.y,
                    seen, spot.colour);
      mismatch += text;
    }
  }
  return mismatch;
}

bool Composer::Shows(const std::vector<Spot>& spots) {
  return WaitFor([&] { return (m_mismatch = Mismatch(spots)).empty(); }, kPatienceMs);
}

bool Composer::IsOutlined(const support::ScreenPicture& screen, const Area& layer) const {
  const Area preview = PlaceOf(m_preview);
  const auto across = [&](int x) { return preview.x + x * preview.width / kSceneWidth; };
  const auto down = [&](int y) { return preview.y + y * preview.height / kSceneHeight; };
  // The far lines lie a pixel inside, and each edge is rounded by itself.
  const auto red = [&](int x, int y, int stepX, int stepY) {
    for (int i = -2; i <= 2; ++i) {
      if (screen.At(x + i * stepX, y + i * stepY) == kOutline) {
        return true;
      }
    }
    return false;
  };
  // Off the middle, where layers that share an edge would be taken for each other.
  const int y = down(layer.y + layer.height * 2 / 3);
  const int x = across(layer.x + layer.width * 2 / 3);
  return red(across(layer.x), y, 1, 0) && red(across(layer.x + layer.width), y, 1, 0) &&
         red(x, down(layer.y), 0, 1) && red(x, down(layer.y + layer.height), 0, 1);
}

bool Composer::ShowsOutline(const Area& layer) {
  m_mismatch = "no outline";
  return WaitFor([&] { return IsOutlined(Screen().ReadScreen(), layer); }, kPatienceMs);
}

bool Composer::ShowsRows(int count) {
  const auto rows = [this] {
    const support::ScreenPicture screen = Screen().ReadScreen();
    const Point first = InRow(0, RowPart::kEye);
    int row = 0;
    // Below the eye a row has its own colour, whatever its state.
    while (row < kMostRows &&
           screen.At(first.x, first.y + 12 + row * kRowHeight) != kListBackground) {
      ++row;
    }
    return row;
  };
  return WaitFor(
      [&] {
        const int seen = rows();
        m_mismatch = std::to_string(seen) + " rows, not " + std::to_string(count);
        return seen == count;
      },
      kPatienceMs);
}

bool Composer::ShowsGlyphs(const Area& area, Colour colour, int atLeast) {
  const auto count = [&] {
    const Point from = InScene({area.x, area.y});
    const Point to = InScene({area.x + area.width, area.y + area.height});
    const support::ScreenPicture screen = Screen().ReadScreen();
    int pixels = 0;
    for (int y = from.y; y < to.y; ++y) {
      for (int x = from.x; x < to.x; ++x) {
        pixels += IsNear(screen.At(x, y), colour) ? 1 : 0;
      }
    }
    return pixels;
  };
  return WaitFor(
      [&] {
        const int seen = count();
        m_mismatch = std::to_string(seen) + " pixels of a text, not " + std::to_string(atLeast);
        return seen >= atLeast;
      },
      kPatienceMs);
}

bool Composer::ShowsPreview(const std::function<bool(const Area&)>& asWanted) {
  m_mismatch = "a preview of another size";
  return WaitFor([&] { return asWanted(PlaceOf(m_preview)); }, kPatienceMs);
}

bool Composer::ShowsInDialog(Point at, Colour colour) {
  m_mismatch = "another picture in the dialog";
  return WaitFor(
      [&] {
        const Point place = InDialog(at);
        return IsNear(Screen().ReadPixel(place.x, place.y), colour);
      },
      kPatienceMs);
}

void Composer::Keep(const std::string& name) {
  if (const char* directory = std::getenv("ORVANE_KEEP_SCREENSHOTS")) {
    const std::string number = std::to_string(100 + ++m_kept).substr(1);
    Screen().Screenshot(std::string(directory) + "/" + number + "-" + name + ".png");
  }
}

std::string Composer::Report() const {
  return m_mismatch + "\nprogram:\n" + support::ReadFile(m_studio->File("program.out")) +
         m_studio->Log();
}

}  // namespace e2e
