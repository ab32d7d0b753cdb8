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

struct Utf8Case {
  const char* text;
  const char* valid;
};

class CameraNamesUtf8 : public ::testing::TestWithParam<Utf8Case> {};

TEST_P(CameraNamesUtf8, KeepsValidCharactersOnly) {
  EXPECT_EQ(ValidUtf8(GetParam().text), GetParam().valid);
}

INSTANTIATE_TEST_SUITE_P(Texts, CameraNamesUtf8,
                         ::testing::Values(Utf8Case{"", ""}, Utf8Case{"Webcam", "Webcam"},
                                           Utf8Case{"é摄😀", "é摄😀"},
                                           Utf8Case{"a\xe6\x91", "a"},          // cut short
                                           Utf8Case{"a\xffz", "az"},            // never a lead byte
                                           Utf8Case{"\x80z", "z"},              // no lead byte
                                           Utf8Case{"\xc0\xafz", "z"},          // overlong
                                           Utf8Case{"\xe0\x80\xafz", "z"},      // overlong
                                           Utf8Case{"\xf0\x80\x80\xafz", "z"},  // overlong
                                           Utf8Case{"\xed\xa0\x80z", "z"},      // half a pair
                                           Utf8Case{"\xf4\x90\x80\x80z", "z"},  // beyond the last
                                           Utf8Case{"\xe6"
                                                    "A",
                                                    "A"}));  // broken off

}  // namespace

}  // namespace platform
