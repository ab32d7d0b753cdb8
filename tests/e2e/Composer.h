// The program on its screen as the operator has it: the mouse and the keyboard from outside, and
// what is seen of it. A test that composes a scene drives the built program through this alone.
//
// Places in the scene are pixels of the 1920 x 1080 canvas, wherever and however large the preview
// stands; places in the window and in dialogs are pixels of that window.
//
// What the screen shows comes late, and later on a busy machine: everything that waits polls, for
// kPatienceMs. Input returns when the server has taken it; what is seen next tells that the program
// has.
//
// Threads: one test thread.
#ifndef ORVANE_TESTS_E2E_COMPOSER_H
#define ORVANE_TESTS_E2E_COMPOSER_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Studio.h"
#include "support/DesktopWindows.h"
#include "support/Process.h"
#include "support/VirtualDesktop.h"

namespace e2e {

struct Point {
  int x = 0;
  int y = 0;
};

struct Area {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

// A colour at a place of the scene.
struct Spot {
  Point at;
  support::Colour colour = 0;
};

// The two menus of the window, and what is in them from the top.
enum class Menu { kOfWindows, kOfLayers };
enum MenuEntry { kDesk = 0, kCamera = 1, kWindow = 2, kText = 0, kPicture = 1, kFilm = 2 };

enum class RowPart { kEye, kText, kEdit, kDelete };

class Composer {
 public:
  static constexpr int kPatienceMs = 60000;
  // Two buttons of the window.
  static constexpr Point kAddWindow = {1116, 664};
  static constexpr Point kAddLayer = {1205, 664};
  // The first row of the file dialog in its size as it opens, for a name of two lines.
  static constexpr Point kFirstFile = {149, 82};
  // In the window chooser.
  static constexpr Point kFirstOfWindows = {100, 82};
  static constexpr Point kWindowOk = {310, 500};

  explicit Composer(Studio* studio) : m_studio(studio) {}

  // Starts the program, with changes to the studio's environment, and logs in with a double click.
  // False when its preview did not come.
  bool Start(const std::map<std::string, std::string>& changes = {});
  // Start in its steps: up to the login, and from it to the window with its preview.
  bool Open(const std::map<std::string, std::string>& changes = {});
  bool AwaitWindow();
  // To be frozen and awaited.
  support::Process& Program() { return m_program; }
  // SIGTERM, and its exit status; -1 when it was not gone after that time.
  int End();

  // Input.
  void MoveTo(Point at) const;
  void Click(Point at, int times = 1) const;
  // Turns the wheel towards the user, that many notches; away from him where it is negative.
  void Turn(Point at, int notches) const;
  // Presses at the first place, goes over the others and releases at the last one.
  void Drag(const std::vector<Point>& way) const;
  // Drags one row of the list onto another.
  void DragRow(int from, int to) const;
  void Keys(const std::vector<std::string>& keys) const;
  void Type(const std::string& text) const;

  // Places on the screen.
  Area OfWindow() const { return PlaceOf(m_main); }
  Area OfPreview() const { return PlaceOf(m_preview); }
  Point InScene(Point at) const;
  // Of the main window; from its right edge where x is negative.
  Point InWindow(Point at) const;
  // Of the list beside a preview of any size.
  Point InRow(int row, RowPart part) const;
  // Of the window that opened last and is still open.
  Point InDialog(Point at) const;

  // Waits for one window more; InDialog is about it from then on.
  bool Opens();
  // Waits until the window that opened last is gone.
  bool Closes();
  // Opens the menu and chooses; false when it did not open and close.
  bool Choose(Menu menu, MenuEntry entry);
  // Opens what a press on that part of the row opens.
  bool OpensFromRow(int row, RowPart part);
  // The text dialog, once it is open: another text, white when asked for, and its button.
  bool AnswerText(const std::string& text, bool white = false, int clicks = 1);
  // The file dialog, once it is open: types the path and presses Enter.
  void AnswerFile(const std::string& path) const;
  // Waits until the first of the files listed there is none but a plain file.
  bool ShowsFirstFile();
  // Logs in from the open dialog with what its fields hold.
  bool LogIn(int clicks = 1);

  // What is seen. Each waits until it holds, and tells Report where it does not.
  bool Shows(const std::vector<Spot>& spots);
  bool ShowsOutline(const Area& layer);
  bool ShowsRows(int count);
  // That many pixels of that colour, or more, in that area of the scene.
  bool ShowsGlyphs(const Area& area, support::Colour colour, int atLeast);
  bool ShowsPreview(const std::function<bool(const Area&)>& asWanted);
  bool ShowsInDialog(Point at, support::Colour colour);

  // Into the directory that ORVANE_KEEP_SCREENSHOTS names, for a person to look at.
  void Keep(const std::string& name);
  // For the message of a failing test.
  std::string Report() const;

 private:
  std::vector<support::DesktopWindow> Windows() const;
  // The largest one that was not there; without an id when there is none.
  support::DesktopWindow NewWindow() const;
  bool IsThere(std::uint32_t window) const;
  bool FindWindow();
  support::RunResult Tool(std::vector<std::string> arguments) const;
  // Nothing when it is not seen.
  Area PlaceOf(std::uint32_t window) const;
  bool IsOutlined(const support::ScreenPicture& screen, const Area& layer) const;
  std::string Mismatch(const std::vector<Spot>& spots) const;
  support::VirtualDesktop& Screen() const { return m_studio->Desktop(); }

  Studio* m_studio;
  support::Process m_program;
  std::uint32_t m_main = 0;
  std::uint32_t m_preview = 0;
  std::vector<std::uint32_t> m_open;  // dialogs and menus, the last one on top
  std::string m_mismatch;
  int m_kept = 0;
};

}  // namespace e2e

#endif
