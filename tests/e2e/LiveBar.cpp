#include "LiveBar.h"

#include <algorithm>
#include <cstdlib>

#include "ComposeStage.h"

namespace e2e {

namespace {

using support::Colour;
using support::ScreenPicture;
using support::WaitFor;

// Of the words.
constexpr Colour kBlue = 0x20a0ff;
constexpr Colour kGrey = 0x878e99;
constexpr Colour kTitleColour = 0xb4becc;
constexpr Colour kClockColour = 0x5a5f66;
constexpr Colour kGreen = 0x13ce66;
constexpr Colour kAmber = 0xf7ba2a;
constexpr Colour kRed = 0xff4949;
constexpr int kExactly = 8;
constexpr int kRoughly = 24;  // thin letters have no pixel of their very colour
constexpr int kSomeWords = 20;

// Places in the window: the bar's controls stand where the title's width puts them, within these.
constexpr int kBarTop = 640;
constexpr int kBarBottom = 700;
constexpr int kTitleRight = 150;
constexpr int kChooseRight = 300;
constexpr int kButtonLeft = 482;
constexpr int kNamesLeft = 580;
constexpr int kNamesRight = 690;
constexpr int kNameWidth = 36;  // of three letters
constexpr int kNameEnd = 53;    // of one of four, or with the arrow
constexpr int kArrowFromName = 45;
constexpr int kBarFromName = 90;
constexpr Point kWithoutTip = {4, 690};
constexpr int kMetersLeft = 642;
constexpr int kMetersEnd = 792;
constexpr int kMetersRight = 867;
constexpr int kMeterTops[] = {656, 672};
constexpr int kMeterHeight = 12;
constexpr int kButtonRight = 1050;
constexpr int kHalfOfTheWords = 30;
constexpr int kRecordFromLive = 101;  // the middles of the switch and of its dot
constexpr int kDotFromLive = 83;
constexpr int kInDot = 2;  // so far from its middle all of it is full
constexpr Point kChooseButton = {150, 680};
constexpr int kTitleLetter = 15;
constexpr int kReselectFromTitle = 45;

// Of the activity dialog.
constexpr Point kFirstCard = {120, 140};
constexpr int kCardStep = 225;
constexpr int kCardTitleTop = 200;
constexpr int kCardTitleBottom = 245;
constexpr Point kQuality = {170, 449};
constexpr Point kOk = {550, 502};
constexpr Point kCancel = {410, 502};

// Of a notice: its button says "好的" of the network, "我知道了" of all else.
constexpr int kNoticeWordsLeft = 185;
constexpr int kNoticeWordsRight = 295;
constexpr int kNoticeWordsTop = 262;
constexpr int kNoticeWordsBottom = 298;
constexpr int kThreeLetters = 36;

bool IsNear(Colour seen, Colour wanted, int tolerance) {
  for (const int shift : {0, 8, 16}) {
    const int a = static_cast<int>(seen >> shift & 0xff);
    const int b = static_cast<int>(wanted >> shift & 0xff);
    if (seen > 0xffffff || std::abs(a - b) > tolerance) {
      return false;
    }
  }
  return true;
}

int Width(const std::vector<Point>& pixels) {
  const auto byX = [](const Point& a, const Point& b) { return a.x < b.x; };
  const auto [left, right] = std::minmax_element(pixels.begin(), pixels.end(), byX);
  return pixels.empty() ? 0 : right->x - left->x + 1;
}

int Right(const std::vector<Point>& pixels) {
  int right = 0;
  for (const Point& pixel : pixels) {
    right = std::max(right, pixel.x);
  }
  return right;
}

bool HasWords(const std::vector<Point>& pixels) {
  return static_cast<int>(pixels.size()) >= kSomeWords;
}

bool Same(const std::vector<Point>& a, const std::vector<Point>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Point& p, const Point& q) { return p.x == q.x && p.y == q.y; });
}

const char* Name(BarState state) {
  switch (state) {
    case BarState::kUnchosen:
      return "nothing chosen";
    case BarState::kChosen:
      return "an activity chosen";
    case BarState::kLive:
      return "live";
    case BarState::kNone:
      break;
  }
  return "no known state";
}

}  // namespace

// What is seen. Points are those of the window or dialog whose corner is given.

std::vector<Point> LiveBar::Pixels(const ScreenPicture& screen, Point corner, const Region& region,
                                   Colour colour, int tolerance) const {
  std::vector<Point> pixels;
  for (int y = region.top; y < region.bottom; ++y) {
    for (int x = region.left; x < region.right; ++x) {
      if (IsNear(screen.At(corner.x + x, corner.y + y), colour, tolerance)) {
        pixels.push_back({x, y});
      }
    }
  }
  return pixels;
}

std::vector<Point> LiveBar::Pixels(const Region& region, Colour colour, int tolerance) const {
  return Pixels(m_studio->Desktop().ReadScreen(), m_hand->InWindow({0, 0}), region, colour,
                tolerance);
}

BarState LiveBar::StateOf(const ScreenPicture& screen, Point corner) const {
  const auto words = [&](int left, int right, Colour colour) {
    return HasWords(Pixels(screen, corner, {left, right, kBarTop, kBarBottom}, colour, kExactly));
  };
  const bool choose = words(0, kChooseRight, kBlue);
  const bool start = words(kButtonLeft, kButtonRight, kBlue);
  const bool end = words(kMetersRight, kButtonRight, kGrey);
  // The meter stands further to the right then, with grey words too.
  if (choose && !start) {
    return BarState::kUnchosen;
  }
  if (start && !choose && !end) {
    return BarState::kChosen;
  }
  return end && !choose && !start ? BarState::kLive : BarState::kNone;
}

BarState LiveBar::State() const {
  return StateOf(m_studio->Desktop().ReadScreen(), m_hand->InWindow({0, 0}));
}

bool LiveBar::Shows(BarState state) {
  return WaitFor(
      [&] {
        const BarState seen = State();
        m_mismatch = std::string("the bar shows ") + Name(seen) + ", not " + Name(state);
        return seen == state;
      },
      Composer::kPatienceMs);
}

bool LiveBar::IsLit(BarLight light) const {
  const Colour colours[] = {kGreen, kAmber, kRed};
  return HasWords(Pixels({kTitleRight, kButtonLeft, kBarTop, kBarBottom},
                         colours[static_cast<int>(light)], kExactly));
}

bool LiveBar::Shows(BarLight light) {
  m_mismatch = "the state of the stream has another colour";
  return WaitFor([&] { return IsLit(light); }, Composer::kPatienceMs);
}

bool LiveBar::ShowsWell() {
  m_mismatch = "the stream does not go";
  return WaitFor([&] { return IsLit(BarLight::kGreen) || IsLit(BarLight::kAmber); },
                 Composer::kPatienceMs);
}

bool LiveBar::ShowsSound(BarSound row, bool any) {
  m_mismatch = any ? "no sound in the meter" : "sound in the meter";
  const int top = kMeterTops[static_cast<int>(row)];
  return WaitFor(
      [&] {
        // A name that is muted is red, too.
        const int left = std::max(kMetersLeft, NameOf(row).x + kNameEnd);
        const ScreenPicture screen = m_studio->Desktop().ReadScreen();
        const Point corner = m_hand->InWindow({0, 0});
        std::size_t lit = 0;
        for (const Colour colour : {kGreen, kAmber, kRed}) {
          lit +=
              Pixels(screen, corner, {left, kMetersEnd, top, top + kMeterHeight}, colour, kRoughly)
                  .size();
        }
        return (lit > kSomeWords) == any;
      },
      Composer::kPatienceMs);
}

// The beginning of a row's name in the window, at the middle of its height; (0, 0) without one.
Point LiveBar::NameOf(BarSound row) const {
  const int top = kMeterTops[static_cast<int>(row)];
  const ScreenPicture screen = m_studio->Desktop().ReadScreen();
  const Point corner = m_hand->InWindow({0, 0});
  Point name;
  for (const Colour colour : {kGrey, kRed}) {
    for (const Point& pixel :
         Pixels(screen, corner, {kNamesLeft, kNamesRight, top, top + kMeterHeight}, colour,
                kRoughly)) {
      if (name.x == 0 || pixel.x < name.x) {
        name = {pixel.x, top + kMeterHeight / 2};
      }
    }
  }
  return name;
}

bool LiveBar::FindName(BarSound row, Point* name) {
  m_mismatch = "no name in the meter";
  return WaitFor(
      [&] {
        *name = NameOf(row);
        return name->x != 0;
      },
      Composer::kPatienceMs);
}

bool LiveBar::ShowsMute(BarSound row, bool muted) {
  const int top = kMeterTops[static_cast<int>(row)];
  return WaitFor(
      [&] {
        const Point name = NameOf(row);
        const bool red = HasWords(
            Pixels({name.x, name.x + kNameWidth, top, top + kMeterHeight}, kRed, kRoughly));
        m_mismatch = muted ? "a sound that is not muted" : "a sound that is muted";
        return name.x != 0 && red == muted;
      },
      Composer::kPatienceMs);
}

bool LiveBar::ClockRuns() {
  const Region region = {kTitleRight, kButtonLeft, kBarTop, kBarBottom};
  m_mismatch = "the clock stands still";
  std::vector<Point> last = Pixels(region, kClockColour, kRoughly);
  for (int tick = 0; tick < 2; ++tick) {
    std::vector<Point> now;
    const auto ticks = [&] {
      now = Pixels(region, kClockColour, kRoughly);
      return HasWords(now) && !Same(now, last);
    };
    if (!WaitFor(ticks, Composer::kPatienceMs)) {
      return false;
    }
    last = now;
  }
  return true;
}

bool LiveBar::ShowsTitle(int letters) {
  return WaitFor(
      [&] {
        const int width =
            Width(Pixels({0, kTitleRight, kBarTop, kBarBottom}, kTitleColour, kRoughly));
        m_mismatch = "a title of " + std::to_string(width) + " pixels";
        return std::abs(width - letters * kTitleLetter) < kTitleLetter / 2;
      },
      Composer::kPatienceMs);
}

// What is pressed.

bool LiveBar::OpenActivities() {
  switch (State()) {
    case BarState::kUnchosen:
      m_hand->Click(m_hand->InWindow(kChooseButton));
      break;
    case BarState::kChosen: {
      const std::vector<Point> title =
          Pixels({0, kTitleRight, kBarTop, kBarBottom}, kTitleColour, kRoughly);
      m_hand->Click(m_hand->InWindow({Right(title) + kReselectFromTitle, kChooseButton.y - 9}));
      break;
    }
    default:
      m_mismatch = "no button to choose an activity";
      return false;
  }
  return m_hand->Opens();
}

// The cards come one after the other.
bool LiveBar::PressCard(int card) {
  const int left = kFirstCard.x - 100 + card * kCardStep;
  const Region title = {left, left + 200, kCardTitleTop, kCardTitleBottom};
  m_mismatch = "no card";
  const auto came = [&] {
    return HasWords(Pixels(m_studio->Desktop().ReadScreen(), m_hand->InDialog({0, 0}), title,
                           kTitleColour, kRoughly));
  };
  if (!WaitFor(came, Composer::kPatienceMs)) {
    return false;
  }
  m_hand->Click(m_hand->InDialog({kFirstCard.x + card * kCardStep, kFirstCard.y}));
  return true;
}

bool LiveBar::Choose(int card, int quality) {
  if (!OpenActivities() || !PressCard(card)) {
    return false;
  }
  if (quality > 0) {
    // By the wheel: on a busy machine the list would close with the click that opened it.
    m_hand->Turn(m_hand->InDialog(kQuality), quality);
  }
  m_hand->Keep("activities");
  m_hand->Click(m_hand->InDialog(kOk));
  return m_hand->Closes() && Shows(BarState::kChosen);
}

bool LiveBar::Cancel(int card) {
  if (!OpenActivities() || !PressCard(card)) {
    return false;
  }
  m_hand->Click(m_hand->InDialog(kCancel));
  return m_hand->Closes();
}

Point LiveBar::LiveButton() const {
  const ScreenPicture screen = m_studio->Desktop().ReadScreen();
  const Point corner = m_hand->InWindow({0, 0});
  const BarState state = StateOf(screen, corner);
  if (state != BarState::kChosen && state != BarState::kLive) {
    return {};
  }
  const bool live = state == BarState::kLive;
  const Region region = {live ? kMetersRight : kButtonLeft, kButtonRight, kBarTop, kBarBottom};
  const int right = Right(Pixels(screen, corner, region, live ? kGrey : kBlue, kExactly));
  return {corner.x + right - kHalfOfTheWords, corner.y + (kBarTop + kBarBottom) / 2};
}

bool LiveBar::PressIn(BarState state) {
  if (!Shows(state)) {
    return false;
  }
  m_hand->Click(LiveButton());
  return true;
}

bool LiveBar::PressRecord() {
  if (!Shows(BarState::kLive)) {
    return false;
  }
  const Point live = LiveButton();
  m_hand->Click({live.x + kRecordFromLive, live.y});
  // Its tip would be taken for the notice that may come.
  m_hand->MoveTo(m_hand->InWindow(kWithoutTip));
  return true;
}

bool LiveBar::ShowsRecording(bool on) {
  m_mismatch = on ? "no recording shows" : "a recording shows";
  const auto shows = [&] {
    const Point corner = m_hand->InWindow({0, 0});
    const Point live = LiveButton();
    const Point dot = {live.x - corner.x + kDotFromLive, live.y - corner.y};
    const Region inside = {dot.x - kInDot, dot.x + kInDot + 1, dot.y - kInDot, dot.y + kInDot + 1};
    const bool full = HasWords(Pixels(inside, kRed, kRoughly));
    return live.x != 0 && full == on;
  };
  return WaitFor(shows, Composer::kPatienceMs);
}

bool LiveBar::PressName(BarSound row) {
  Point name;
  if (!FindName(row, &name)) {
    return false;
  }
  m_hand->Click(m_hand->InWindow({name.x + kNameWidth / 2, name.y}));
  return true;
}

bool LiveBar::TurnGain(BarSound row, int notches) {
  Point name;
  if (!FindName(row, &name)) {
    return false;
  }
  m_hand->Turn(m_hand->InWindow({name.x + kBarFromName, name.y}), notches);
  return true;
}

bool LiveBar::OpenMicrophones() {
  Point name;
  if (!FindName(BarSound::kMicrophone, &name)) {
    return false;
  }
  // The tip of what the mouse stood over would be taken for the list.
  m_hand->MoveTo(m_hand->InWindow(kWithoutTip));
  m_mismatch = "a tip stays open";
  if (!WaitFor([this] { return m_studio->VisibleWindows() == 2; }, Composer::kPatienceMs)) {
    return false;
  }
  m_hand->Click(m_hand->InWindow({name.x + kArrowFromName, name.y}));
  return m_hand->Opens();
}

// Looks twice: the list waits but briefly for the sound server, and what a busy one tells later is
// in the next list.
bool LiveBar::TakeMicrophone(int entry) {
  if (!OpenMicrophones()) {
    return false;
  }
  m_hand->Keys({"Escape"});
  if (!m_hand->Closes() || !OpenMicrophones()) {
    return false;
  }
  for (int step = 0; step <= entry; ++step) {
    m_hand->Keys({"Down"});
  }
  m_hand->Keep("microphones");
  m_hand->Keys({"Return"});
  if (!m_hand->Closes()) {
    return false;
  }
  // The mouse again: a ring around what has the keyboard would be as blue as words.
  m_hand->Click(m_hand->InWindow(kWithoutTip));
  return true;
}

bool LiveBar::AnswerNotice(BarNotice notice) {
  if (!m_hand->Opens()) {
    return false;
  }
  int width = 0;
  const auto shows = [&] {
    width = Width(Pixels(m_studio->Desktop().ReadScreen(), m_hand->InDialog({0, 0}),
                         {kNoticeWordsLeft, kNoticeWordsRight, kNoticeWordsTop, kNoticeWordsBottom},
                         kBlue, kRoughly));
    return width > 0 && (width > kThreeLetters) == (notice != BarNotice::kNoNetwork);
  };
  const bool right = WaitFor(shows, Composer::kPatienceMs);
  m_mismatch = "a notice whose button says " + std::to_string(width) + " pixels";
  m_hand->Keep("notice");
  m_hand->Click(m_hand->InDialog(kNoticeOk));
  return m_hand->Closes() && right;
}

}  // namespace e2e
