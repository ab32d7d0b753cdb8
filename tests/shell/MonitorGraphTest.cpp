#include "shell/MonitorGraph.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "media/CMixFrame.h"
#include "output/CRender.h"
#include "shell/LayerSlots.h"
#include "sources/CInputSlience.h"
#include "support/LogRecord.h"

namespace {

using Steps = std::vector<std::string>;

// Notes what is done with it, and starts no thread.
template <typename Node>
class Noting : public Node {
 public:
  template <typename... Arguments>
  Noting(const char* name, Steps* steps, Arguments... arguments)
      : Node(arguments...), m_name(name), m_steps(steps) {}
  ~Noting() override { m_steps->push_back(m_name + " goes"); }

  int Start() override {
    m_steps->push_back(m_name + " starts");
    return result;
  }
  int Stop() override {
    m_steps->push_back(m_name + " stops");
    return 0;
  }
  bool FeedsSound() const { return !this->m_audioOutputs.empty(); }

  int result = 0;

 private:
  std::string m_name;
  Steps* m_steps;
};

class MonitorGraph : public testing::Test {
 protected:
  shell::MonitorNodes Nodes() { return {m_mix, m_silence, m_render}; }
  void Start() {
    shell::StartMonitorMix(Nodes());
    shell::MakeRender(Nodes());
    shell::StartRender(Nodes());
  }

  Steps m_steps;
  Noting<CMixFrame>* m_notedMix = new Noting<CMixFrame>("mix", &m_steps, shell::kLayerLimit);
  Noting<CInputSlience>* m_notedSilence = new Noting<CInputSlience>("silence", &m_steps);
  Noting<CRender>* m_notedRender = new Noting<CRender>("renderer", &m_steps, shell::kLayerLimit);
  CMixFrame* m_mix = m_notedMix;
  CInputSlience* m_silence = m_notedSilence;
  CRender* m_render = m_notedRender;
};

// The mix has one input that never rests, whatever comes later.
TEST_F(MonitorGraph, ComesUpFromTheMixToTheRenderer) {
  Start();
  EXPECT_EQ(m_steps, Steps({"mix starts", "silence starts", "renderer starts"}));
  EXPECT_TRUE(m_notedSilence->FeedsSound());
  EXPECT_TRUE(m_notedMix->FeedsSound());
  shell::EndMonitor(Nodes());
}

TEST_F(MonitorGraph, EndsWithTheRendererLast) {
  Start();
  m_steps.clear();
  shell::EndMonitor(Nodes());
  EXPECT_EQ(m_steps, Steps({"silence stops", "silence goes", "mix stops", "mix goes",
                            "renderer stops", "renderer goes"}));
  EXPECT_EQ(m_silence, nullptr);
  EXPECT_EQ(m_mix, nullptr);
  EXPECT_EQ(m_render, nullptr);
  shell::EndMonitor(Nodes());
}

// Without a word the operator would stand before an empty scene.
TEST_F(MonitorGraph, APartThatDoesNotStartIsInTheLog) {
  const support::LogRecord log;
  m_notedMix->result = m_notedSilence->result = m_notedRender->result = -1;
  Start();
  EXPECT_EQ(log.Errors(),
            "the monitor mix could not be started\n"
            "the silence could not be started\n"
            "the renderer could not be started\n");
  EXPECT_TRUE(m_notedMix->FeedsSound()) << "the others go on";
  shell::EndMonitor(Nodes());
}

}  // namespace
