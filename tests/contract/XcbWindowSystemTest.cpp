// What is special about the windows of an X display, beyond what every window system holds to.
#include "platform/linux/XcbWindowSystem.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <thread>

#include "contract/GrabberTicks.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"

namespace {

using platform::GrabbedPicture;
using platform::Size;
using platform::WindowGrabber;
using platform::WindowInfo;
using support::BecomesMinimised;
using support::DesktopOptions;
using support::TestWindow;
using support::TestWindowOptions;
using support::VirtualDesktop;
using support::WaitFor;

constexpr int kLimitMs = 10000;
constexpr std::uint32_t kNoPixel = 0xffffffff;

class XcbWindowSystemTest : public ::testing::Test {
 protected:
  void StartDesktop(const DesktopOptions& options = {}) {
    ASSERT_TRUE(m_desktop.Start(options)) << m_desktop.Output();
  }

  void OpenWindow(const TestWindowOptions& options = {}) {
    ASSERT_TRUE(m_window.Open(m_desktop.Display(), options));
    ASSERT_TRUE(WaitFor([this] { return m_window.Viewable(); }, kLimitMs));
  }

  std::string ListedTitle(std::uint32_t window) {
    for (const WindowInfo& info : m_system.List()) {
      if (info.handle == window) {
        return info.title;
      }
    }
    return "";
  }

  static std::uint32_t Look(WindowGrabber* grabber, int x, int y) {
    GrabbedPicture picture;
    grabber->ClientSize();
    if (!grabber->Grab(&picture)) {
      return kNoPixel;
    }
    const std::uint8_t* pixel = picture.data + static_cast<std::ptrdiff_t>(y) * picture.stride +
                                static_cast<std::ptrdiff_t>(x) * 4;
    return static_cast<std::uint32_t>(pixel[2]) << 16 | static_cast<std::uint32_t>(pixel[1]) << 8 |
           pixel[0];
  }

  // A server that is slow to answer costs a tick or several: the list lacks a title, the grabber
  // keeps what it knew, and there is no picture.
  bool Lists(std::uint32_t window, const std::string& title) {
    return WaitFor([&] { return ListedTitle(window) == title; }, kLimitMs);
  }
  static bool Shows(WindowGrabber* grabber, int x, int y, std::uint32_t colour) {
    return WaitFor([&] { return Look(grabber, x, y) == colour; }, kLimitMs);
  }
  static bool HasPicture(WindowGrabber* grabber) {
    return WaitFor([&] { return Look(grabber, 1, 1) != kNoPixel; }, kLimitMs);
  }
  // Null where there is none, once the server has said so.
  std::unique_ptr<WindowGrabber> OpenGrabber(std::uint32_t window) {
    std::unique_ptr<WindowGrabber> grabber = m_system.Open(window);
    EXPECT_TRUE(WaitFor([&] { return !grabber || !grabber->IsSilent(); }, kLimitMs));
    return grabber;
  }
  bool OpensNothing(std::uint32_t window) {
    return WaitFor([&] { return !m_system.Open(window); }, kLimitMs);
  }

  VirtualDesktop m_desktop;
  TestWindow m_window;
  platform::XcbWindowSystem m_system;
};

TEST_F(XcbWindowSystemTest, TitlesOfOlderProgramsAreReadInTheirEncoding) {
  StartDesktop();
  TestWindowOptions untitled;
  untitled.title = "";
  OpenWindow(untitled);
  m_window.SetLegacyTitle("F\xfc\xdf", "STRING");
  EXPECT_TRUE(Lists(m_window.Id(), "Füß"));
  m_window.SetLegacyTitle("\x1b$)A\xd6\xb1", "COMPOUND_TEXT");
  EXPECT_TRUE(Lists(m_window.Id(), "直"));
  m_window.SetLegacyTitle("直播", "UTF8_STRING");
  EXPECT_TRUE(Lists(m_window.Id(), "直播"));
}

TEST_F(XcbWindowSystemTest, TheNewerTitleWinsUnlessItIsEmpty) {
  StartDesktop();
  OpenWindow();
  m_window.SetLegacyTitle("old", "STRING");
  EXPECT_TRUE(Lists(m_window.Id(), "test"));
  m_window.SetTitle("");
  EXPECT_TRUE(Lists(m_window.Id(), "old"));
}

TEST_F(XcbWindowSystemTest, AWindowThatTheManagerPutAwayIsMinimisedThoughItIsMapped) {
  StartDesktop();
  OpenWindow();
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  m_window.SetProperty("WM_STATE", "WM_STATE", "3");
  EXPECT_TRUE(BecomesMinimised(grabber.get(), true));
  EXPECT_EQ(ListedTitle(m_window.Id()), "");
  m_window.SetProperty("WM_STATE", "WM_STATE", "1");
  EXPECT_TRUE(BecomesMinimised(grabber.get(), false));
  m_window.SetProperty("_NET_WM_STATE", "ATOM", "_NET_WM_STATE_HIDDEN");
  EXPECT_TRUE(BecomesMinimised(grabber.get(), true));
  EXPECT_EQ(ListedTitle(m_window.Id()), "");
  m_window.SetProperty("_NET_WM_STATE", "ATOM", "_NET_WM_STATE_ABOVE");
  EXPECT_TRUE(BecomesMinimised(grabber.get(), false));
  EXPECT_TRUE(Lists(m_window.Id(), "test"));
}

TEST_F(XcbWindowSystemTest, TheListOfAManagerThatDiedIsNotBelieved) {
  DesktopOptions options;
  options.windowManager = true;
  StartDesktop(options);
  OpenWindow();
  ASSERT_TRUE(WaitFor([this] { return ListedTitle(m_window.Id()) == "test"; }, kLimitMs));
  m_desktop.KillWindowManager();
  TestWindow later;
  TestWindowOptions laterOptions;
  laterOptions.title = "later";
  ASSERT_TRUE(later.Open(m_desktop.Display(), laterOptions));
  EXPECT_TRUE(WaitFor([&] { return ListedTitle(later.Id()) == "later"; }, kLimitMs));
}

TEST_F(XcbWindowSystemTest, ReadsWindowsWithTransparency) {
  StartDesktop();
  TestWindowOptions options;
  options.depth = 32;
  options.colour = 0x3366cc;
  OpenWindow(options);
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  EXPECT_TRUE(Shows(grabber.get(), 100, 100, 0x3366cc));
}

TEST_F(XcbWindowSystemTest, TheBorderIsNotPartOfThePicture) {
  StartDesktop();
  TestWindowOptions options;
  options.border = 7;
  options.colour = 0x3366cc;
  OpenWindow(options);
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  EXPECT_EQ(grabber->ClientSize(), (Size{320, 240}));
  EXPECT_TRUE(Shows(grabber.get(), 0, 0, 0x3366cc));
  EXPECT_TRUE(Shows(grabber.get(), 319, 239, 0x3366cc));
}

TEST_F(XcbWindowSystemTest, ReadsAWindowThatACompositorRedirectsItself) {
  DesktopOptions desktop;
  desktop.windowManager = true;
  desktop.compositor = true;
  StartDesktop(desktop);
  TestWindowOptions options;
  options.managed = false;
  options.colour = 0x3366cc;
  OpenWindow(options);
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  EXPECT_TRUE(Shows(grabber.get(), 100, 100, 0x3366cc));
  EXPECT_TRUE(WaitFor([&] { return m_desktop.ReadPixel(100, 100) == 0x3366ccU; }, kLimitMs));
}

TEST_F(XcbWindowSystemTest, TheScreenStaysAsItIsWhileAWindowIsCaptured) {
  StartDesktop();
  TestWindowOptions options;
  options.x = 50;
  options.y = 60;
  options.colour = 0x3366cc;
  OpenWindow(options);
  const support::ScreenPicture before = m_desktop.ReadScreen();
  auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  EXPECT_TRUE(Shows(grabber.get(), 100, 100, 0x3366cc));
  EXPECT_EQ(m_desktop.ReadScreen().rgb, before.rgb);
  grabber.reset();
  EXPECT_TRUE(WaitFor([&] { return m_desktop.ReadScreen().rgb == before.rgb; }, kLimitMs));
}

TEST_F(XcbWindowSystemTest, AnotherWindowOfTheSameNumberIsNotTakenForTheClosedOne) {
  StartDesktop();
  OpenWindow();
  const std::uint32_t number = m_window.Id();
  const auto grabber = OpenGrabber(number);
  ASSERT_TRUE(grabber);
  m_window.Close();
  OpenWindow();
  ASSERT_EQ(m_window.Id(), number);
  EXPECT_TRUE(WaitFor([&] { return grabber->ClientSize() == Size(); }, kLimitMs));
  EXPECT_FALSE(grabber->Exists());
  EXPECT_NE(OpenGrabber(number), nullptr);
}

TEST_F(XcbWindowSystemTest, SendsThePictureWhereTheServerHasNoSharedMemory) {
  DesktopOptions options;
  options.serverOptions = {"-extension", "MIT-SHM"};
  StartDesktop(options);
  OpenWindow();
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  m_window.Fill(0x3366cc);
  EXPECT_TRUE(Shows(grabber.get(), 319, 239, 0x3366cc));
  m_window.Resize(1500, 1000);
  m_window.Fill(0x66cc33);
  EXPECT_TRUE(Shows(grabber.get(), 1499, 999, 0x66cc33));
}

TEST_F(XcbWindowSystemTest, SendsThePictureWhereTheServerRefusesTheMemory) {
  StartDesktop();
  OpenWindow();
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  // A server that may open no more files can't take the descriptor of the memory.
  const rlimit none = {1, 4096};
  ASSERT_EQ(prlimit(m_desktop.ServerId(), RLIMIT_NOFILE, &none, nullptr), 0);
  m_window.Fill(0x3366cc);
  EXPECT_TRUE(Shows(grabber.get(), 100, 100, 0x3366cc));
  EXPECT_TRUE(Shows(grabber.get(), 319, 239, 0x3366cc));
}

TEST_F(XcbWindowSystemTest, AServerWithoutCompositeGivesNoGrabber) {
  DesktopOptions options;
  options.serverOptions = {"-extension", "Composite"};
  StartDesktop(options);
  OpenWindow();
  EXPECT_TRUE(Lists(m_window.Id(), "test"));
  EXPECT_TRUE(OpensNothing(m_window.Id()));
}

TEST_F(XcbWindowSystemTest, AWindowBeyondAllMeasureGivesNoPictureUntilItShrinks) {
  StartDesktop();
  OpenWindow();
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  m_window.Resize(8200, 8200);
  // The server takes a while to make so large a picture.
  EXPECT_TRUE(WaitFor([&] { return grabber->ClientSize() == Size{8200, 8200}; }, kLimitMs));
  EXPECT_EQ(Look(grabber.get(), 1, 1), kNoPixel);
  m_window.Resize(320, 240);
  EXPECT_TRUE(HasPicture(grabber.get()));
}

TEST_F(XcbWindowSystemTest, WithoutADisplayThereAreNoWindows) {
  unsetenv("DISPLAY");
  EXPECT_TRUE(m_system.List().empty());
  EXPECT_TRUE(OpensNothing(1));
  setenv("DISPLAY", ":54321", 1);
  EXPECT_TRUE(m_system.List().empty());
  EXPECT_TRUE(OpensNothing(1));
  unsetenv("DISPLAY");
}

TEST_F(XcbWindowSystemTest, AServerThatDiesEndsTheWindowAndNothingElse) {
  StartDesktop();
  OpenWindow();
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  ASSERT_TRUE(HasPicture(grabber.get()));
  m_desktop.KillServer();
  GrabbedPicture picture;
  EXPECT_FALSE(grabber->Grab(&picture));
  EXPECT_FALSE(grabber->Exists());
  EXPECT_FALSE(grabber->IsMinimised());
  EXPECT_EQ(grabber->ClientSize(), Size());
  EXPECT_FALSE(grabber->Grab(&picture));
  EXPECT_TRUE(m_system.List().empty());
  EXPECT_TRUE(OpensNothing(m_window.Id()));
}

TEST_F(XcbWindowSystemTest, AFrozenServerCostsThePicturesUntilItThaws) {
  StartDesktop();
  OpenWindow();
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  ASSERT_TRUE(HasPicture(grabber.get()));
  m_desktop.FreezeServer();
  GrabbedPicture picture;
  for (int tick = 0; tick < 50; ++tick) {
    EXPECT_EQ(grabber->ClientSize(), (Size{320, 240}));
    EXPECT_FALSE(grabber->IsMinimised());
    EXPECT_TRUE(grabber->Exists());
    EXPECT_FALSE(grabber->Grab(&picture));
  }
  EXPECT_TRUE(m_system.List().empty());
  m_desktop.ThawServer();
  m_window.Fill(0x3366cc);
  EXPECT_TRUE(Shows(grabber.get(), 1, 1, 0x3366cc));
}

TEST_F(XcbWindowSystemTest, AWindowOpenedWhileTheServerIsFrozenIsThereOnceItThaws) {
  StartDesktop();
  OpenWindow();
  m_window.Fill(0x3366cc);
  m_desktop.FreezeServer();
  const auto grabber = m_system.Open(m_window.Id());
  const auto none = m_system.Open(m_window.Id() + 0x100);
  ASSERT_TRUE(grabber && none);
  EXPECT_TRUE(grabber->IsSilent());
  EXPECT_TRUE(grabber->Exists());
  EXPECT_EQ(grabber->ClientSize(), Size());
  EXPECT_EQ(Look(grabber.get(), 1, 1), kNoPixel);
  m_desktop.ThawServer();
  EXPECT_TRUE(WaitFor([&] { return !grabber->IsSilent() && !none->IsSilent(); }, kLimitMs));
  EXPECT_EQ(grabber->ClientSize(), (Size{320, 240}));
  EXPECT_TRUE(Shows(grabber.get(), 1, 1, 0x3366cc));
  EXPECT_FALSE(none->Exists());
}

TEST_F(XcbWindowSystemTest, APictureIsAlwaysOfOneSizeAndWholeWhileTheWindowChangesItsSize) {
  StartDesktop();
  OpenWindow();
  m_window.Fill(0x3366cc);
  const auto grabber = OpenGrabber(m_window.Id());
  ASSERT_TRUE(grabber);
  std::atomic<bool> done(false);
  std::thread user([&] {
    for (int i = 0; !done; ++i) {
      m_window.Resize(40 + i * 37 % 700, 30 + i * 53 % 500);
    }
  });
  int pictures = 0;
  // Where both share one processor most ticks meet a change of size.
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(6 * kLimitMs);
  while (pictures < 200 && std::chrono::steady_clock::now() < end) {
    const Size size = grabber->ClientSize();
    GrabbedPicture picture;
    if (!grabber->Grab(&picture)) {
      continue;
    }
    ++pictures;
    ASSERT_EQ(picture.size, size);
    // Every byte is there; the server paints what was added before it lets anybody look.
    const std::uint8_t* last = picture.data +
                               static_cast<std::ptrdiff_t>(size.height - 1) * picture.stride +
                               static_cast<std::ptrdiff_t>(size.width - 1) * 4;
    EXPECT_EQ(last[0], 0xcc);
    EXPECT_EQ(last[2], 0x33);
  }
  done = true;
  user.join();
  EXPECT_EQ(pictures, 200);
}

TEST_F(XcbWindowSystemTest, TwoHundredWindowsVanishWhileTheyAreListedAndGrabbed) {
  DesktopOptions options;
  options.windowManager = true;
  options.serverOptions = {"-maxclients", "512"};
  StartDesktop(options);
  constexpr int kWindows = 200;
  std::vector<std::unique_ptr<TestWindow>> windows;
  for (int i = 0; i < kWindows; ++i) {
    TestWindowOptions window;
    window.title = "window " + std::to_string(i);
    window.x = i * 5;
    window.y = i * 3;
    window.width = 60 + i;
    window.height = 40;
    windows.push_back(std::make_unique<TestWindow>());
    ASSERT_TRUE(windows.back()->Open(m_desktop.Display(), window)) << i;
  }
  ASSERT_TRUE(WaitFor([this] { return m_system.List().size() == kWindows; }, 3 * kLimitMs));

  std::atomic<bool> done(false);
  std::thread lister([&] {
    while (!done) {
      for (const WindowInfo& info : m_system.List()) {
        EXPECT_EQ(info.title.substr(0, 7), "window ");
      }
    }
  });
  std::map<std::uint32_t, std::unique_ptr<WindowGrabber>> grabbers;
  for (int i = 0; i < kWindows; i += 4) {
    const std::uint32_t number = windows[static_cast<std::size_t>(i)]->Id();
    grabbers[number] = m_system.Open(number);
    ASSERT_TRUE(grabbers[number]);
  }
  std::thread user([&] {
    for (std::unique_ptr<TestWindow>& window : windows) {
      window.reset();
    }
  });
  const bool allGone = WaitFor(
      [&] {
        return std::none_of(grabbers.begin(), grabbers.end(), [](const auto& entry) {
          GrabbedPicture picture;
          const Size size = entry.second->ClientSize();
          if (entry.second->Grab(&picture)) {
            EXPECT_EQ(picture.size, size);
          }
          return entry.second->Exists();
        });
      },
      3 * kLimitMs);
  user.join();
  done = true;
  lister.join();
  EXPECT_TRUE(allGone);
  EXPECT_TRUE(WaitFor([this] { return m_system.List().empty(); }, kLimitMs));
}

}  // namespace
