#include "widgets/CameraRules.h"

#include <gtest/gtest.h>

namespace {

using widgets::CameraTake;
using widgets::FreeCameras;
using widgets::TakeOf;
using Names = std::vector<QString>;

TEST(CameraRules, TheDesktopIsNoCamera) {
  EXPECT_EQ(Names{}, FreeCameras({}, {}));
  EXPECT_EQ(Names{}, FreeCameras({"screen-capture-recorder"}, {}));
  // Whatever stands at the desktop's place.
  EXPECT_EQ(Names{"B"}, FreeCameras({"A", "B"}, {}));
}

TEST(CameraRules, ACameraThatALayerUsesIsAbsent) {
  const Names devices{"screen-capture-recorder", "A", "B", "C"};
  EXPECT_EQ((Names{"A", "B", "C"}), FreeCameras(devices, {}));
  EXPECT_EQ((Names{"A", "C"}), FreeCameras(devices, {"B"}));
  EXPECT_EQ(Names{}, FreeCameras(devices, {"C", "A", "B", "A"}));
  EXPECT_EQ((Names{"A", "B", "C"}), FreeCameras(devices, {"a", "B2", "gone", ""}));
}

TEST(CameraRules, ANameThatContainsTheDesktopsIsNeverOffered) {
  EXPECT_EQ(Names{"C"}, FreeCameras({"screen-capture-recorder", "my screen-capture-recorder 2",
                                     "screen-capture-recorder", "C"},
                                    {}));
}

TEST(CameraRules, APictureThatWaitsAloneIsShownAndStays) {
  for (const auto& [queued, show, pop, drop] :
       {std::tuple(0, false, false, 0), std::tuple(1, true, false, 0), std::tuple(2, true, true, 0),
        std::tuple(6, true, true, 0), std::tuple(7, true, true, 1),
        std::tuple(30, true, true, 24)}) {
    const CameraTake take = TakeOf(queued);
    EXPECT_EQ(show, take.show) << queued;
    EXPECT_EQ(pop, take.pop) << queued;
    EXPECT_EQ(drop, take.drop) << queued;
  }
}

}  // namespace
