#include "platform/linux/CameraNames.h"

#include <gtest/gtest.h>

namespace platform {

namespace {

CameraNode Node(int number, const std::string& card) {
  const std::string digits = std::to_string(number);
  return {"/dev/video" + digits, card, "usb-" + digits};
}

std::vector<std::string> NamesOf(const std::vector<NamedCamera>& cameras) {
  std::vector<std::string> names;
  for (const NamedCamera& camera : cameras) {
    names.push_back(camera.node.path.substr(10) + " " + camera.name);
  }
  return names;
}

using Names = std::vector<std::string>;

TEST(CameraNames, ACameraIsCalledByItsCard) {
  EXPECT_EQ(NamesOf(NameCameras({}, {Node(0, "Webcam")})), Names{"0 Webcam"});
}

TEST(CameraNames, GoByNumberWhateverTheOrderOfTheListing) {
  const auto named = NameCameras({}, {Node(10, "C"), Node(2, "B"), Node(0, "A")});
  EXPECT_EQ(NamesOf(named), (Names{"0 A", "2 B", "10 C"}));
}

TEST(CameraNames, TwinsGetANumber) {
  const auto named = NameCameras({}, {Node(4, "Webcam"), Node(0, "Webcam"), Node(2, "Webcam")});
  EXPECT_EQ(NamesOf(named), (Names{"0 Webcam", "2 Webcam (2)", "4 Webcam (3)"}));
}

TEST(CameraNames, StayWhileATwinGoes) {
  const auto both = NameCameras({}, {Node(0, "Webcam"), Node(2, "Webcam")});
  EXPECT_EQ(NamesOf(NameCameras(both, {Node(2, "Webcam")})), Names{"2 Webcam (2)"});
}

TEST(CameraNames, ANewTwinTakesTheFreeNameAndNoOther) {
  const auto both = NameCameras({}, {Node(0, "Webcam"), Node(2, "Webcam")});
  const auto one = NameCameras(both, {Node(2, "Webcam")});
  const auto again = NameCameras(one, {Node(1, "Webcam"), Node(2, "Webcam")});
  EXPECT_EQ(NamesOf(again), (Names{"1 Webcam", "2 Webcam (2)"}));
}

TEST(CameraNames, AnotherCameraAtTheSameNodeIsAnotherCamera) {
  const auto first = NameCameras({}, {Node(0, "Webcam")});
  EXPECT_EQ(NamesOf(NameCameras(first, {Node(0, "Grabber")})), Names{"0 Grabber"});
}

TEST(CameraNames, ACardWithANumberDoesNotCollideWithATwin) {
  const auto named = NameCameras({}, {Node(0, "Webcam (2)"), Node(1, "Webcam"), Node(2, "Webcam")});
  EXPECT_EQ(NamesOf(named), (Names{"0 Webcam (2)", "1 Webcam", "2 Webcam (3)"}));
}

TEST(CameraNames, TheNameOfTheDesktopIsTaken) {
  EXPECT_EQ(NamesOf(NameCameras({}, {Node(0, "screen-capture-recorder")})),
            Names{"0 screen-capture-recorder (2)"});
}

TEST(CameraNames, ANamelessCameraIsACamera) {
  EXPECT_EQ(NamesOf(NameCameras({}, {Node(0, ""), Node(1, "\xff\xfe")})),
            (Names{"0 Camera", "1 Camera (2)"}));
}

TEST(CameraNames, ANameCutInTheMiddleOfACharacterLosesTheRest) {
  const std::vector<NamedCamera> named =
      NameCameras({}, {{"/dev/video0", "\xe6\x91\x84\xe5\x83", "usb-1"}});
  ASSERT_EQ(named.size(), 1U);
  EXPECT_EQ(named[0].name, "\xe6\x91\x84");
}

}  // namespace

}  // namespace platform
