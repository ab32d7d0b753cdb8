// What every window system holds to, the fake one included.
#include <gtest/gtest.h>

#include <algorithm>

#include "contract/GrabberTicks.h"
#include "contract/WindowRig.h"
#include "support/Process.h"

namespace {

using platform::GrabbedPicture;
using platform::Size;
using platform::WindowGrabber;
using platform::WindowHandle;
using platform::WindowInfo;
using support::BecomesMinimised;
using support::Grabs;
using support::WaitFor;

constexpr int kLimitMs = 10000;
constexpr std::uint32_t kNoPixel = 0xffffffff;

std::uint32_t At(const GrabbedPicture& picture, int x, int y) {
  const std::uint8_t* pixel = picture.data + static_cast<std::ptrdiff_t>(y) * picture.stride +
                              static_cast<std::ptrdiff_t>(x) * 4;
  return static_cast<std::uint32_t>(pixel[2]) << 16 | static_cast<std::uint32_t>(pixel[1]) << 8 |
         pixel[0];
}

class WindowContract : public ::testing::TestWithParam<RigKind> {
 protected:
  void SetUp() override {
    m_rig = GetParam().make();
    std::string why;
    ASSERT_TRUE(m_rig->Start(&why)) << why;
  }

  std::vector<WindowInfo> List() { return m_rig->System().List(); }

  // "" when it is not listed.
  std::string ListedTitle(WindowHandle window) {
    const std::vector<WindowInfo> list = List();
    const auto found = std::find_if(list.begin(), list.end(), [window](const WindowInfo& info) {
      return info.handle == window;
    });
    return found != list.end() ? found->title : "";
  }

  // A window manager takes note of a new window after it has shown it.
  bool Listed(WindowHandle window, const std::string& title) {
    return WaitFor([&] { return ListedTitle(window) == title; }, kLimitMs);
  }
  bool Unlisted(WindowHandle window) { return Listed(window, ""); }

  // A window system that is slow to answer gives a grabber that is silent for a moment.
  std::unique_ptr<WindowGrabber> Grabber(WindowHandle window) {
    std::unique_ptr<WindowGrabber> grabber = m_rig->System().Open(window);
    EXPECT_TRUE(grabber && WaitFor([&] { return !grabber->IsSilent(); }, kLimitMs));
    return grabber;
  }
  bool OpensNothing(WindowHandle window) {
    return WaitFor([&] { return !m_rig->System().Open(window); }, kLimitMs);
  }

  // An answer that is late leaves the size as it was, and gives no picture, at this tick.
  static bool HasSize(WindowGrabber* grabber, const Size& size) {
    return WaitFor([&] { return grabber->ClientSize() == size; }, kLimitMs);
  }

  // The colour of one pixel of the window as it is now.
  static std::uint32_t Look(WindowGrabber* grabber, int x, int y) {
    GrabbedPicture picture;
    const Size size = grabber->ClientSize();
    if (!grabber->Grab(&picture) || picture.size != size) {
      return kNoPixel;
    }
    return At(picture, x, y);
  }

  static bool Shows(WindowGrabber* grabber, int x, int y, std::uint32_t colour) {
    return WaitFor([&] { return Look(grabber, x, y) == colour; }, kLimitMs);
  }

  std::unique_ptr<WindowRig> m_rig;
};

INSTANTIATE_TEST_SUITE_P(On, WindowContract, ::testing::ValuesIn(RigKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST_P(WindowContract, ListsTitledWindows) {
  RigWindow spec;
  spec.title = "first";
  const WindowHandle first = m_rig->Open(spec);
  spec.title = "second";
  const WindowHandle second = m_rig->Open(spec);
  EXPECT_NE(first, second);
  EXPECT_TRUE(Listed(first, "first"));
  EXPECT_TRUE(Listed(second, "second"));
  EXPECT_TRUE(WaitFor([this] { return List().size() == 2; }, kLimitMs));
}

TEST_P(WindowContract, ListsNoWindowWithoutATitle) {
  RigWindow spec;
  spec.title = "";
  const WindowHandle untitled = m_rig->Open(spec);
  spec.title = "titled";
  EXPECT_TRUE(Listed(m_rig->Open(spec), "titled"));
  EXPECT_EQ(ListedTitle(untitled), "");
  EXPECT_TRUE(WaitFor([this] { return List().size() == 1; }, kLimitMs));
}

TEST_P(WindowContract, GivesTitlesInAnyScript) {
  for (const char* title :
       {"直播助手 — 主窗口", "Füße & Ærø", "𠮷野家 🎬 4-byte", "العربية", "a\"b\\c\n<d>"}) {
    RigWindow spec;
    spec.title = title;
    EXPECT_TRUE(Listed(m_rig->Open(spec), title)) << title;
  }
}

TEST_P(WindowContract, GivesTitlesOfUpTo64KiB) {
  for (const std::size_t length : {255U, 256U, 300U, 65530U}) {
    RigWindow spec;
    spec.title = "直" + std::string(length, 'x') + "播";
    EXPECT_TRUE(Listed(m_rig->Open(spec), spec.title)) << length;
  }
}

TEST_P(WindowContract, ALongerTitleIsListedByItsBeginning) {
  RigWindow spec;
  spec.title = "直" + std::string(1000000, 'x');
  const WindowHandle window = m_rig->Open(spec);
  const auto beginning = [&] { return spec.title.substr(0, 60000); };
  EXPECT_TRUE(
      WaitFor([&] { return ListedTitle(window).substr(0, 60000) == beginning(); }, kLimitMs));
}

TEST_P(WindowContract, FollowsAChangedTitle) {
  const WindowHandle window = m_rig->Open({});
  EXPECT_TRUE(Listed(window, "window"));
  m_rig->SetTitle(window, "another");
  EXPECT_TRUE(Listed(window, "another"));
}

TEST_P(WindowContract, ListsNoMinimisedWindowUntilItIsRestored) {
  const WindowHandle window = m_rig->Open({});
  EXPECT_TRUE(Listed(window, "window"));
  m_rig->Minimise(window);
  EXPECT_TRUE(Unlisted(window));
  m_rig->Restore(window);
  EXPECT_TRUE(Listed(window, "window"));
}

TEST_P(WindowContract, ListsNoClosedWindow) {
  const WindowHandle window = m_rig->Open({});
  EXPECT_TRUE(Listed(window, "window"));
  m_rig->Close(window);
  EXPECT_TRUE(Unlisted(window));
}

TEST_P(WindowContract, OpensNothingForAHandleThatIsNoWindow) {
  const WindowHandle window = m_rig->Open({});
  EXPECT_TRUE(OpensNothing(0));
  EXPECT_TRUE(OpensNothing(window + 0x5555));
  EXPECT_TRUE(OpensNothing(~WindowHandle{0}));
  m_rig->Close(window);
  EXPECT_TRUE(OpensNothing(window));
}

TEST_P(WindowContract, GivesTheSizeOfTheClientArea) {
  RigWindow spec;
  spec.size = {321, 123};
  const auto grabber = Grabber(m_rig->Open(spec));
  EXPECT_EQ(grabber->ClientSize(), spec.size);
  EXPECT_TRUE(grabber->Exists());
  EXPECT_FALSE(grabber->IsMinimised());
}

TEST_P(WindowContract, GivesTheClientAreaPixelByPixel) {
  RigWindow spec;
  spec.size = {61, 47};
  spec.colour = 0x123456;
  const WindowHandle window = m_rig->Open(spec);
  const auto grabber = Grabber(window);
  ASSERT_TRUE(Shows(grabber.get(), 30, 20, 0x123456));
  m_rig->FillRectangle(window, 0, 0, 1, 1, 0xff0000);
  m_rig->FillRectangle(window, 60, 46, 1, 1, 0x0000ff);
  m_rig->FillRectangle(window, 10, 12, 3, 2, 0x00ff00);
  ASSERT_TRUE(Shows(grabber.get(), 10, 12, 0x00ff00));
  GrabbedPicture picture;
  ASSERT_TRUE(Grabs(grabber.get(), &picture));
  ASSERT_EQ(picture.size, spec.size);
  for (int y = 0; y < 47; ++y) {
    for (int x = 0; x < 61; ++x) {
      std::uint32_t expected = 0x123456;
      expected = x == 0 && y == 0 ? 0xff0000 : expected;
      expected = x == 60 && y == 46 ? 0x0000ff : expected;
      expected = x >= 10 && x < 13 && y >= 12 && y < 14 ? 0x00ff00 : expected;
      ASSERT_EQ(At(picture, x, y), expected) << x << ", " << y;
    }
  }
}

TEST_P(WindowContract, GivesThePictureAsItIsNow) {
  const WindowHandle window = m_rig->Open({});
  const auto grabber = Grabber(window);
  for (const std::uint32_t colour : {0x010203U, 0xfffefdU, 0x00ff00U}) {
    m_rig->Fill(window, colour);
    EXPECT_TRUE(Shows(grabber.get(), 160, 120, colour));
  }
}

TEST_P(WindowContract, GivesThePictureOfACoveredWindow) {
  RigWindow spec;
  spec.colour = 0x2040a0;
  const WindowHandle window = m_rig->Open(spec);
  const auto grabber = Grabber(window);
  RigWindow cover;
  cover.title = "cover";
  cover.x = 0;
  cover.y = 0;
  cover.size = {1200, 900};
  cover.colour = 0xff0000;
  m_rig->Raise(m_rig->Open(cover));
  EXPECT_TRUE(Shows(grabber.get(), 160, 120, 0x2040a0));
  m_rig->Fill(window, 0x40a020);
  EXPECT_TRUE(Shows(grabber.get(), 160, 120, 0x40a020));
  EXPECT_TRUE(Shows(grabber.get(), 0, 0, 0x40a020));
  EXPECT_TRUE(Shows(grabber.get(), 319, 239, 0x40a020));
}

TEST_P(WindowContract, GivesThePictureOfAWindowCoveredBeforeItIsOpened) {
  RigWindow spec;
  spec.colour = 0x2040a0;
  const WindowHandle window = m_rig->Open(spec);
  RigWindow cover;
  cover.title = "cover";
  cover.x = 0;
  cover.y = 0;
  cover.size = {1200, 900};
  cover.colour = 0xff0000;
  m_rig->Raise(m_rig->Open(cover));
  const auto grabber = Grabber(window);
  EXPECT_TRUE(Shows(grabber.get(), 160, 120, 0x2040a0));
  EXPECT_TRUE(Shows(grabber.get(), 0, 0, 0x2040a0));
}

TEST_P(WindowContract, GivesThePictureOfAWindowPartlyOffTheScreen) {
  RigWindow spec;
  spec.colour = 0x2040a0;
  const WindowHandle window = m_rig->Open(spec);
  const auto grabber = Grabber(window);
  m_rig->Move(window, -200, 1000);
  m_rig->FillRectangle(window, 0, 0, 320, 240, 0x70a010);
  for (const auto& [x, y] : {std::pair(0, 0), std::pair(319, 0), std::pair(0, 239)}) {
    m_rig->Fill(window, 0x70a010);
    EXPECT_TRUE(Shows(grabber.get(), x, y, 0x70a010)) << x << ", " << y;
  }
  EXPECT_EQ(grabber->ClientSize(), spec.size);
}

TEST_P(WindowContract, FollowsAResize) {
  const WindowHandle window = m_rig->Open({});
  const auto grabber = Grabber(window);
  for (const Size size : {Size{640, 400}, Size{33, 21}, Size{1500, 700}}) {
    m_rig->Resize(window, size);
    m_rig->Fill(window, 0xc08040);
    EXPECT_TRUE(HasSize(grabber.get(), size));
    EXPECT_TRUE(Shows(grabber.get(), size.width - 1, size.height - 1, 0xc08040));
  }
}

TEST_P(WindowContract, GivesNoPictureOfAnotherSizeThanTheOneTold) {
  const WindowHandle window = m_rig->Open({});
  const auto grabber = Grabber(window);
  for (const Size size : {Size{640, 480}, Size{100, 50}, Size{100, 51}}) {
    ASSERT_TRUE(WaitFor([&] { return Look(grabber.get(), 1, 1) != kNoPixel; }, kLimitMs));
    m_rig->Resize(window, size);
    GrabbedPicture picture;
    EXPECT_FALSE(grabber->Grab(&picture));
    EXPECT_TRUE(HasSize(grabber.get(), size));
    ASSERT_TRUE(Grabs(grabber.get(), &picture));
    EXPECT_EQ(picture.size, size);
  }
}

TEST_P(WindowContract, AMinimisedWindowExistsWithoutAPicture) {
  RigWindow spec;
  spec.colour = 0x113355;
  const WindowHandle window = m_rig->Open(spec);
  const auto grabber = Grabber(window);
  ASSERT_TRUE(Shows(grabber.get(), 5, 5, 0x113355));
  m_rig->Minimise(window);
  EXPECT_TRUE(BecomesMinimised(grabber.get(), true));
  EXPECT_TRUE(grabber->Exists());
  EXPECT_EQ(Look(grabber.get(), 5, 5), kNoPixel);
}

TEST_P(WindowContract, ARestoredWindowHasLivePicturesAgain) {
  RigWindow spec;
  spec.colour = 0x113355;
  const WindowHandle window = m_rig->Open(spec);
  const auto grabber = Grabber(window);
  ASSERT_TRUE(Shows(grabber.get(), 5, 5, 0x113355));
  for (const std::uint32_t colour : {0x775533U, 0x00ff77U}) {
    m_rig->Minimise(window);
    m_rig->Restore(window);
    EXPECT_TRUE(BecomesMinimised(grabber.get(), false));
    m_rig->Fill(window, colour);
    EXPECT_TRUE(Shows(grabber.get(), 5, 5, colour));
  }
}

TEST_P(WindowContract, AClosedWindowIsGoneForGood) {
  const WindowHandle window = m_rig->Open({});
  const auto grabber = Grabber(window);
  ASSERT_TRUE(grabber->Exists());
  m_rig->Close(window);
  GrabbedPicture picture;
  EXPECT_FALSE(grabber->Grab(&picture));
  EXPECT_TRUE(HasSize(grabber.get(), Size()));
  EXPECT_FALSE(grabber->Exists());
  EXPECT_FALSE(grabber->IsMinimised());
  EXPECT_EQ(grabber->ClientSize(), Size());
  EXPECT_FALSE(grabber->Grab(&picture));
  m_rig->Open({});
  EXPECT_FALSE(grabber->Exists());
}

TEST_P(WindowContract, GrabbersOfOneWindowAndOfSeveralStandSideBySide) {
  RigWindow spec;
  spec.colour = 0x0000aa;
  const WindowHandle first = m_rig->Open(spec);
  spec.title = "second";
  spec.colour = 0x00aa00;
  const WindowHandle second = m_rig->Open(spec);
  const auto a = Grabber(first);
  auto b = Grabber(first);
  const auto c = Grabber(second);
  EXPECT_TRUE(Shows(a.get(), 9, 9, 0x0000aa));
  EXPECT_TRUE(Shows(b.get(), 9, 9, 0x0000aa));
  EXPECT_TRUE(Shows(c.get(), 9, 9, 0x00aa00));
  b.reset();
  m_rig->Fill(first, 0xaa0000);
  EXPECT_TRUE(Shows(a.get(), 9, 9, 0xaa0000));
}

}  // namespace
