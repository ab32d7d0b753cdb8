// The program as its user starts it, on a screen of its own with a service and a window to film.
#ifndef ORVANE_TESTS_E2E_PROGRAMFIXTURE_H
#define ORVANE_TESTS_E2E_PROGRAMFIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

#include "Studio.h"
#include "support/DesktopWindows.h"

inline constexpr char kLoginTitle[] = "^登录$";
inline constexpr int kPatienceMs = 60000;

class Program : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_studio.Start()) << m_studio.Report();
    ASSERT_TRUE(m_studio.StartService()) << m_studio.Report();
    ASSERT_TRUE(m_studio.Film("filmed", {"--window", "300x200+0+0", "--fill", "C03060"}));
  }

  bool Start(const std::map<std::string, std::string>& changes = {}) {
    std::map<std::string, std::string> environment = m_studio.Environment();
    for (const auto& [name, value] : changes) {
      environment[name] = value;
    }
    return m_program.Start({ORVANE_PROGRAM}, environment, m_studio.File("program.out"));
  }

  // The way of every operator: the saved account is in the fields, Enter logs in.
  bool LogIn() { return m_studio.Activate(kLoginTitle) && m_studio.PressKeys({"Return"}); }
  bool Shows(int windows) {
    return support::WaitFor([&] { return m_studio.VisibleWindows() == windows; }, kPatienceMs);
  }
  // A window that is seen may get the keyboard a little later.
  bool TakesTheKeyboardFrom(std::uint32_t other) {
    return support::WaitFor(
        [&] {
          const std::uint32_t active = m_studio.ActiveWindow();
          return active != 0 && active != other;
        },
        kPatienceMs);
  }
  bool StartAndLogIn(const std::map<std::string, std::string>& changes = {}) {
    m_studio.SaveAccount("demo", m_studio.Password());
    return Start(changes) && LogIn();
  }

  std::string Printed() const { return support::ReadFile(m_studio.File("program.out")); }

  // Where the preview stands on the screen: its top left corner by the program's own window.
  struct Place {
    int x = -1;
    int y = -1;
  };
  Place Preview() const {
    for (const support::DesktopWindow& window :
         support::VisibleWindows(Screen().Display(), e2e::Studio::kProgram)) {
      if (window.width == 960 && window.height == 540) {
        return {window.x, window.y};
      }
    }
    return {};
  }
  support::VirtualDesktop& Screen() const { return const_cast<e2e::Studio&>(m_studio).Desktop(); }

  bool ShowsInPreview(int x, int y, support::Colour wanted) const {
    const Place place = Preview();
    if (place.x < 0) {
      return false;
    }
    const support::Colour seen = Screen().ReadPixel(place.x + x, place.y + y);
    const auto near = [&](int shift) {
      const int a = static_cast<int>(seen >> shift & 0xFF);
      const int b = static_cast<int>(wanted >> shift & 0xFF);
      return a - b <= 8 && b - a <= 8;
    };
    return near(16) && near(8) && near(0);
  }

  e2e::Studio m_studio;
  support::Process m_program;
};

#endif
