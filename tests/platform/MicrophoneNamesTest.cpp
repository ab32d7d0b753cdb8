#include "platform/linux/MicrophoneNames.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace platform {
namespace {

using Texts = std::vector<std::string>;

TEST(MicrophoneNames, AreTheDescriptionsInTheirOrder) {
  MicrophoneNames names("fixed");
  EXPECT_EQ(names.Names({{"b", "Tisch"}, {"a", "Bühne 麦克风"}}), (Texts{"Tisch", "Bühne 麦克风"}));
  EXPECT_EQ(names.Source("Bühne 麦克风"), "a");
}

TEST(MicrophoneNames, DifferWhereDescriptionsAreEqual) {
  MicrophoneNames names("fixed");
  EXPECT_EQ(names.Names({{"a", "Mic"}, {"b", "Mic"}, {"c", "Mic"}}),
            (Texts{"Mic", "Mic (2)", "Mic (3)"}));
  EXPECT_EQ(names.Source("Mic"), "a");
  EXPECT_EQ(names.Source("Mic (2)"), "b");
  EXPECT_EQ(names.Source("Mic (3)"), "c");
}

TEST(MicrophoneNames, DifferFromADescriptionThatLooksNumbered) {
  MicrophoneNames names("fixed");
  EXPECT_EQ(names.Names({{"a", "Mic (2)"}, {"b", "Mic"}, {"c", "Mic"}}),
            (Texts{"Mic (2)", "Mic", "Mic (3)"}));
}

TEST(MicrophoneNames, KeepTheirMeaningWhenAnotherIsUnplugged) {
  MicrophoneNames names("fixed");
  names.Names({{"a", "Mic"}, {"b", "Mic"}});
  EXPECT_EQ(names.Names({{"b", "Mic"}}), Texts{"Mic (2)"});
  EXPECT_EQ(names.Names({{"b", "Mic"}, {"a", "Mic"}}), (Texts{"Mic (2)", "Mic"}));
}

TEST(MicrophoneNames, NeverTakeTheReservedOne) {
  MicrophoneNames names("fixed");
  EXPECT_EQ(names.Names({{"a", "fixed"}}), Texts{"fixed (2)"});
  EXPECT_EQ(names.Source("fixed"), "");
}

TEST(MicrophoneNames, FallBackToTheServersName) {
  MicrophoneNames names("fixed");
  EXPECT_EQ(names.Names({{"alsa_input", ""}}), Texts{"alsa_input"});
}

TEST(MicrophoneNames, AreUtf8WhateverTheDeviceIsCalled) {
  MicrophoneNames names("fixed");
  EXPECT_EQ(names.Names({{"a", "M\xfcller"}, {"b", "M\xf6ller"}}),
            (Texts{"M\uFFFDller", "M\uFFFDller (2)"}));
  EXPECT_EQ(names.Source("M\uFFFDller (2)"), "b");
}

TEST(MicrophoneNames, KnowNothingThatWasNotNamed) {
  EXPECT_EQ(MicrophoneNames("fixed").Source("Mic"), "");
}

}  // namespace
}  // namespace platform
