// What is taken back, in which order, and what is no longer.
#include "shell/UndoSteps.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <variant>

namespace {

using shell::Deleted;
using shell::Edited;
using shell::Placed;
using shell::Swapped;
using shell::UndoStep;
using shell::UndoSteps;

// Every layer is there, or only those.
bool Everyone(int /*layer*/) {
  return true;
}
std::function<bool(int)> Only(const std::set<int>& layers) {
  return [layers](int layer) { return layers.count(layer) > 0; };
}

// A step in short: its kind and its layers.
std::string Short(const std::optional<UndoStep>& step) {
  if (!step) {
    return "";
  }
  if (const auto* placed = std::get_if<Placed>(&*step)) {
    return "p" + std::to_string(placed->layer);
  }
  if (const auto* swapped = std::get_if<Swapped>(&*step)) {
    return "s" + std::to_string(swapped->first) + std::to_string(swapped->second);
  }
  if (const auto* edited = std::get_if<Edited>(&*step)) {
    return "e" + std::to_string(edited->layer);
  }
  return "d" + std::to_string(std::get<Deleted>(*step).layer);
}

TEST(UndoSteps, TheNewestIsTakenFirstAndEachOnce) {
  UndoSteps steps;
  steps.Note(Placed{1, {10, 20, 30, 40}});
  steps.Note(Swapped{1, 2});
  steps.Note(Edited{2, "before", 7});
  steps.Note(Deleted{2, {}, 3});
  EXPECT_EQ(steps.Count(), 4U);
  const std::optional<UndoStep> deleted = steps.Take(Everyone);
  ASSERT_EQ(Short(deleted), "d2");
  EXPECT_EQ(std::get<Deleted>(*deleted).position, 3);
  const std::optional<UndoStep> edited = steps.Take(Everyone);
  ASSERT_EQ(Short(edited), "e2");
  EXPECT_EQ(std::get<Edited>(*edited).text, QString("before"));
  EXPECT_EQ(std::get<Edited>(*edited).color, 7U);
  EXPECT_EQ(Short(steps.Take(Everyone)), "s12");
  const std::optional<UndoStep> placed = steps.Take(Everyone);
  ASSERT_EQ(Short(placed), "p1");
  EXPECT_EQ(std::get<Placed>(*placed).from.height, 40);
  EXPECT_EQ(Short(steps.Take(Everyone)), "");
}

TEST(UndoSteps, ElevenAreOneTooMany) {
  UndoSteps steps;
  for (int layer = 1; layer <= 11; ++layer) {
    steps.Note(Placed{layer, {}});
  }
  EXPECT_EQ(steps.Count(), 10U);
  for (int layer = 11; layer >= 2; --layer) {
    EXPECT_EQ(Short(steps.Take(Everyone)), "p" + std::to_string(layer));
  }
  EXPECT_EQ(Short(steps.Take(Everyone)), "");
}

TEST(UndoSteps, AStepOfALayerThatHasGoneIsPassedOver) {
  const struct {
    UndoStep step;
    std::set<int> there;
    bool taken;
  } cases[] = {
      {Placed{1, {}}, {1}, true},
      {Placed{1, {}}, {2}, false},
      {Edited{1, "", 0}, {1, 2}, true},
      {Edited{1, "", 0}, {}, false},
      {Swapped{1, 2}, {1, 2}, true},
      {Swapped{1, 2}, {1}, false},
      {Swapped{1, 2}, {2}, false},
      // It is about a layer that has gone.
      {Deleted{1, {}, 0}, {}, true},
  };
  for (const auto& each : cases) {
    UndoSteps steps;
    steps.Note(Deleted{9, {}, 0});
    steps.Note(each.step);
    EXPECT_EQ(Short(steps.Take(Only(each.there))), each.taken ? Short(each.step) : "d9")
        << Short(each.step);
  }
}

// The older steps are those of the same layer, by its id.
TEST(UndoSteps, ALayerThatIsBackHasItsOlderStepsAgain) {
  UndoSteps steps;
  steps.Note(Placed{1, {}});
  steps.Note(Deleted{1, {}, 0});
  EXPECT_EQ(Short(steps.Take(Only({}))), "d1");
  EXPECT_EQ(Short(steps.Take(Only({1}))), "p1");
}

TEST(UndoSteps, WhatIsClearedIsNotTakenBack) {
  UndoSteps steps;
  steps.Note(Placed{1, {}});
  steps.Clear();
  EXPECT_EQ(steps.Count(), 0U);
  EXPECT_EQ(Short(steps.Take(Everyone)), "");
  steps.Note(Placed{2, {}});
  EXPECT_EQ(Short(steps.Take(Everyone)), "p2");
}

}  // namespace
