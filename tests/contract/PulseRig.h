// A sound server of a test's own, and the streams of its devices, read as a node reads them.
#ifndef ORVANE_TESTS_CONTRACT_PULSERIG_H
#define ORVANE_TESTS_CONTRACT_PULSERIG_H

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "contract/SoundReader.h"
#include "platform/linux/MonotonicClock.h"
#include "platform/linux/PulseCapture.h"
#include "support/GivenTime.h"
#include "support/Process.h"
#include "support/SoundServer.h"

namespace platform {

using support::SoundServer;
using support::SoundServerEnvironment;
using support::WaitFor;

// Waiting for the server and what it does; an idle null sink alone takes 2 s.
inline constexpr int kPatienceMs = 15000;

class PulseRig : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(m_server.Start()) << m_server.Output(); }

  // Opens and begins to read.
  std::unique_ptr<SoundReader> Open(const std::string& name, int waitMs = kPatienceMs) {
    const std::int64_t before = MonotonicUs();
    OpenResult result = OpenPulseStream(name, waitMs);
    EXPECT_NE(result.stream, nullptr) << result.cause << m_server.Output();
    if (result.stream == nullptr) {
      return nullptr;
    }
    return std::make_unique<SoundReader>(std::move(result.stream), before, MonotonicUs());
  }
  std::unique_ptr<SoundReader> OpenMicrophone() {
    return Open(SoundServer::kMicrophoneDescription);
  }

  static bool BeginsToHear(const SoundReader& reader, int hertz) {
    return WaitFor([&] { return reader.Hears(hertz); }, kPatienceMs);
  }
  static bool FallsSilent(const SoundReader& reader) {
    return WaitFor([&] { return reader.IsSilent(300); }, kPatienceMs);
  }
  static void ExpectWhole(SoundReader* reader) {
    EXPECT_LT(reader->Close(), support::kStopLimitMs);
    EXPECT_EQ(reader->Error(), 0);
    EXPECT_TRUE(reader->IsComplete());
  }

  SoundServer m_server;
  SoundServerEnvironment m_environment{m_server};
};

// What a frozen server may hold up on the user interface thread. A bound on waiting, not a measure:
// the waits themselves are 45 and 50 ms, and this machine may be loaded. Whoever waited for the
// server would wait for 10 s or for ever.
template <typename Call>
void ExpectBrief(Call call) {
  const std::int64_t start = MonotonicUs();
  call();
  EXPECT_LT(MonotonicUs() - start, 5'000'000);
}

}  // namespace platform

#endif
