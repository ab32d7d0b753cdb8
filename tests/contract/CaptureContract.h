// What the two halves of the contract suite, cameras and sound, share: the layers under test, and
// opening and closing that end the test program instead of hanging it.
//
// Threads: the test's own; Layer() is also called from a second one while the first waits for it.
#ifndef ORVANE_TESTS_CONTRACT_CAPTURECONTRACT_H
#define ORVANE_TESTS_CONTRACT_CAPTURECONTRACT_H

#include <gtest/gtest.h>

#include <iosfwd>

#include <memory>
#include <string>
#include <vector>

#include "contract/CaptureBench.h"

namespace support {

class StreamReader;

struct Backend {
  const char* name;
  std::unique_ptr<CaptureBench> (*make)();
};

std::ostream& operator<<(std::ostream& stream, const Backend& backend);

inline const auto kBackends =
    ::testing::Values(Backend{"Fake", MakeFakeBench}, Backend{"Linux", MakeLinuxBench});

inline std::string BackendName(const ::testing::TestParamInfo<Backend>& backend) {
  return backend.param.name;
}

bool Contains(const std::vector<std::string>& names, const std::string& name);

class CaptureContract : public ::testing::TestWithParam<Backend> {
 protected:
  static constexpr char kCamera[] = "Contract Camera";

  CaptureContract() : m_bench(GetParam().make()) {}

  platform::CaptureLayer& Layer() { return m_bench->Layer(); }
  std::vector<std::string> Cameras() { return Layer().ListDevices(platform::CaptureKind::Video); }
  std::vector<std::string> Microphones() {
    return Layer().ListDevices(platform::CaptureKind::Audio);
  }

  // These expect success; null on failure.
  std::unique_ptr<platform::CaptureStream> Open(platform::CaptureKind kind,
                                                const std::string& name);
  std::unique_ptr<platform::CaptureStream> OpenCamera();
  std::unique_ptr<platform::CaptureStream> OpenDesktop();
  std::unique_ptr<platform::CaptureStream> OpenMicrophone();
  // The cause names the device and says more than that.
  void ExpectRefused(platform::CaptureKind kind, const std::string& name);
  // The same, or a stream that ends with the cause: where the system asks its operator, it is known
  // after the opening only.
  void ExpectGone(platform::CaptureKind kind, const std::string& name);
  // Reads on until the device is gone, and expects that it stays so.
  static void ExpectEndForGood(StreamReader* reader);
  // In the time that a closing may take.
  void Close(std::unique_ptr<platform::CaptureStream>* stream);
  static void ExpectNoReadWaitsForLong(platform::CaptureStream* stream);

  std::unique_ptr<CaptureBench> m_bench;
};

// Of the desktop alone.
class DesktopContract : public CaptureContract {};

inline const auto kDesktopBackends =
    ::testing::Values(Backend{"Fake", MakeFakeBench}, Backend{"Linux", MakeLinuxBench},
                      Backend{"Portal", MakePortalBench});

}  // namespace support

#endif
