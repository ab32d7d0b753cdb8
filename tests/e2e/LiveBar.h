// The bottom bar of the program's window as an operator has it: the choice of an activity, the live
// button, and what the bar tells of the broadcast. Everything is read off the screen, so a bar that
// says something else than it does is found out.
//
// Like Composer, on which it stands: what waits polls for Composer::kPatienceMs, and Report tells
// what was seen instead. One test thread.
#ifndef ORVANE_TESTS_E2E_LIVEBAR_H
#define ORVANE_TESTS_E2E_LIVEBAR_H

#include <string>
#include <vector>

#include "Composer.h"
#include "Studio.h"

namespace e2e {

enum class BarState { kUnchosen, kChosen, kLive, kNone };
enum class BarLight { kGreen, kAmber, kRed };
enum class BarSound { kSystem, kMicrophone };
enum class BarNotice { kNoNetwork, kStopFirst, kRecordingEnded };

class LiveBar {
 public:
  LiveBar(Studio* studio, Composer* hand) : m_studio(studio), m_hand(hand) {}

  // What the bar shows now.
  BarState State() const;
  bool Shows(BarState state);
  // The words of the stream's state have that colour.
  bool Shows(BarLight light);
  // The stream goes: green, or amber where the machine is too slow for it.
  bool ShowsWell();
  // That row of the meter has a bar, or none.
  bool ShowsSound(BarSound row, bool any);
  // That row's name is red, or not.
  bool ShowsMute(BarSound row, bool muted);
  // The clock changes, twice.
  bool ClockRuns();
  // The activity's title takes the width of that many Chinese letters.
  bool ShowsTitle(int letters);

  // Chooses the card at that place of the first row, from whichever button the bar has for it.
  // Entries of the quality are counted from 0, which a new dialog shows.
  bool Choose(int card, int quality = 0);
  // Opens the same dialog, presses the card, and leaves by its cancel button.
  bool Cancel(int card);

  // The live button, where it stands in that state. False when the bar is in another one.
  bool PressStart() { return PressIn(BarState::kChosen); }
  bool PressEnd() { return PressIn(BarState::kLive); }
  // The middle of the live button on the screen; (0, 0) when there is none.
  Point LiveButton() const;

  // The switch of the recording, right behind the live button while live.
  bool PressRecord();
  // Its dot is full and red, or it isn't.
  bool ShowsRecording(bool on);
  // In that row of the meter: presses its name; turns the wheel over its bar, as Composer does.
  bool PressName(BarSound row);
  bool TurnGain(BarSound row, int notches);
  // Opens the list of microphones and takes that entry, counted from 0, by keys.
  bool TakeMicrophone(int entry);

  // A notice is open, and goes by its button. False also when it is another one.
  bool AnswerNotice(BarNotice notice);

  std::string Report() const { return m_mismatch; }

 private:
  struct Region {
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
  };
  bool IsLit(BarLight light) const;
  bool PressIn(BarState state);
  Point NameOf(BarSound row) const;
  bool FindName(BarSound row, Point* name);
  bool OpenMicrophones();
  bool OpenActivities();
  bool PressCard(int card);
  std::vector<Point> Pixels(const support::ScreenPicture& screen, Point corner,
                            const Region& region, support::Colour colour, int tolerance) const;
  std::vector<Point> Pixels(const Region& region, support::Colour colour, int tolerance) const;
  BarState StateOf(const support::ScreenPicture& screen, Point corner) const;

  Studio* m_studio;
  Composer* m_hand;
  std::string m_mismatch;
};

}  // namespace e2e

#endif
