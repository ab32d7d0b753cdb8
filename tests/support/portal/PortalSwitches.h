// What the portal of the tests is to do: one switch a line, at its start or at any moment after.
//
//   STEP refuse CODE   answered with that response: 1 the user cancelled, 2 anything else
//   STEP error         the call itself is answered by a D-Bus error
//   STEP mute          the call is never answered
//   STEP hang          the call is answered, its request never
//   STEP twice         the request is answered two times
//   STEP stranger      somebody else on the bus says first that it was refused
//   STEP elsewhere     the request lies at another path than the caller could predict
//   STEP garbage KIND  answered with what the interface does not know (ScreenCastService.h)
//   STEP well          as it should be
//
// where STEP is probe (the properties), create, select, start, open or inhibit. Of the desktop:
//
//   version N, sources MASK, cursors MASK   the properties of ScreenCast
//   picker wait | at-once   whether someone has to pick first; "pick" and "cancel" are his hand
//   know TOKEN, forget      restore tokens: one that it has given before, none at all
//   strict                  one that it does not know is refused, instead of passed over
//   node N                  that node in the answer instead of the real one; 0 the real one
//
// Of the pictures, each at once:
//
//   size W H, rate N, pixels NAME, background R G B
//   still | moving          still: one picture, and another at each "picture"
//   shows N                 how many times a still picture is shown to whoever comes, and in each
//                           format (10)
//   loses N                 what is shown in its first N starts nobody gets
//   pictures given | withheld   withheld: none at all, whatever changes
//   padding BYTES           at the end of each row
//   chunk-stride N, chunk-size N, chunk-offset N   what the chunk says, "real" for the truth
//   buffer-bytes N          how large the buffers are, "real" for what the picture needs
//   file-bytes N            how much of a buffer has memory behind it, "real" for all
//   memory memfd | dmabuf   what kind of buffer is offered
//   seals on | off          whether the files of buffers are sealed against being made shorter
//   crop X Y W H            the part that counts, 0 0 0 0 for all of it
//   transform N             how buffers are said to be turned, as spa_meta_videotransform_value has
//                           it; what is painted stays the same
//   corrupted on | off      pictures flagged as such
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_PORTALSWITCHES_H
#define ORVANE_TESTS_SUPPORT_PORTAL_PORTALSWITCHES_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "support/CameraPattern.h"

namespace support {

enum class PortalStep { Probe, Create, Select, Start, Open, Inhibit };

struct StepSwitches {
  unsigned response = 0;
  bool error = false;
  bool mute = false;
  bool hang = false;
  bool twice = false;
  bool stranger = false;
  bool elsewhere = false;
  std::string garbage;
};

struct PictureSwitches {
  int width = 640;
  int height = 480;
  int rate = 25;
  std::string pixels = "BGRx";
  CameraColour background;
  bool moving = true;
  int shows = 10;
  int loses = 0;
  bool withheld = false;
  int padding = 0;
  std::optional<int> chunkStride;
  std::optional<std::uint32_t> chunkSize;
  std::optional<std::uint32_t> chunkOffset;
  std::optional<std::uint32_t> bufferBytes;
  std::optional<std::uint32_t> fileBytes;
  bool dmaBuf = false;
  bool sealed = true;
  std::array<int, 4> crop{};
  unsigned transform = 0;
  bool corrupted = false;
};

struct PortalSwitches {
  std::array<StepSwitches, 6> steps;
  unsigned version = 4;
  unsigned sources = 3;
  unsigned cursors = 7;
  bool pickerWaits = false;
  std::set<std::string> tokens;
  bool strict = false;
  unsigned node = 0;
  PictureSwitches pictures;

  StepSwitches& At(PortalStep step) { return steps.at(static_cast<std::size_t>(step)); }
};

// Sets what the line says; false when it says nothing of the above.
bool SetSwitch(const std::string& line, PortalSwitches* switches);

}  // namespace support

#endif
