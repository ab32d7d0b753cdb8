#include "shell/UndoSteps.h"

#include <utility>

namespace shell {

namespace {

// Whether the layers of a step are where it needs them.
struct CanBeTaken {
  const std::function<bool(int)>& isThere;

  bool operator()(const Placed& step) const { return isThere(step.layer); }
  bool operator()(const Swapped& step) const { return isThere(step.first) && isThere(step.second); }
  bool operator()(const Edited& step) const { return isThere(step.layer); }
  bool operator()(const Deleted& /*step*/) const { return true; }
};

}  // namespace

void UndoSteps::Note(const UndoStep& step) {
  m_steps.push_back(step);
  if (m_steps.size() > kMost) {
    m_steps.pop_front();
  }
}

std::optional<UndoStep> UndoSteps::Take(const std::function<bool(int)>& isThere) {
  while (!m_steps.empty()) {
    UndoStep step = std::move(m_steps.back());
    m_steps.pop_back();
    if (std::visit(CanBeTaken{isThere}, step)) {
      return step;
    }
  }
  return std::nullopt;
}

}  // namespace shell
