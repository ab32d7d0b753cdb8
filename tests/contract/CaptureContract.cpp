#include "contract/CaptureContract.h"
#include "support/GivenTime.h"
#include "support/MustReturn.h"
#include "support/StreamReader.h"

#include <algorithm>
#include <functional>
#include <ostream>

namespace support {

using platform::CaptureKind;
using platform::CaptureStream;
using platform::OpenFailure;
using platform::OpenResult;

namespace {

constexpr int kReadMs = 100;

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Backend& backend) {
  return stream << backend.name;
}

bool Contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::unique_ptr<CaptureStream> CaptureContract::Open(CaptureKind kind, const std::string& name) {
  OpenResult result;
  MustReturn("opening", [&] { result = Layer().Open(kind, name); });
  EXPECT_NE(result.stream, nullptr) << result.cause;
  EXPECT_EQ(result.failure, OpenFailure::None);
  return std::move(result.stream);
}

std::unique_ptr<CaptureStream> CaptureContract::OpenCamera() {
  EXPECT_TRUE(m_bench->PlugCamera(kCamera)) << m_bench->Failure();
  return Open(CaptureKind::Video, kCamera);
}

std::unique_ptr<CaptureStream> CaptureContract::OpenDesktop() {
  EXPECT_TRUE(m_bench->StartDesktop()) << m_bench->Failure();
  return Open(CaptureKind::Video, platform::kDesktopName);
}

std::unique_ptr<CaptureStream> CaptureContract::OpenMicrophone() {
  EXPECT_TRUE(m_bench->StartSound()) << m_bench->Failure();
  return Open(CaptureKind::Audio, m_bench->Microphone());
}

void CaptureContract::ExpectRefused(CaptureKind kind, const std::string& name) {
  OpenResult result;
  MustReturn("opening", [&] { result = Layer().Open(kind, name); });
  EXPECT_EQ(result.stream, nullptr);
  EXPECT_EQ(result.failure, OpenFailure::CannotOpen);
  EXPECT_NE(result.cause.find(name), std::string::npos) << result.cause;
  EXPECT_GT(result.cause.size(), name.size() + 5) << result.cause;
}

void CaptureContract::ExpectGone(CaptureKind kind, const std::string& name) {
  OpenResult result;
  MustReturn("opening", [&] { result = Layer().Open(kind, name); });
  std::string cause = result.cause;
  if (result.stream != nullptr) {
    StreamReader reader(result.stream.get(), kind);
    const int read = reader.Next();
    EXPECT_TRUE(read < 0 && read != AVERROR(EAGAIN)) << read;
    cause = result.stream->EndCause();
  }
  EXPECT_GT(cause.size(), 5U) << cause;
}

void CaptureContract::ExpectEndForGood(StreamReader* reader) {
  int result = 0;
  while (result == 0) {
    result = reader->Next();
  }
  EXPECT_LT(result, 0);
  EXPECT_NE(result, AVERROR(EAGAIN));
  EXPECT_EQ(reader->Next(), result);
}

void CaptureContract::Close(std::unique_ptr<CaptureStream>* stream) {
  EXPECT_LT(support::TimeGiven([stream] { MustReturn("closing", [stream] { stream->reset(); }); }),
            kStopLimitMs);
}

void CaptureContract::ExpectNoReadWaitsForLong(CaptureStream* stream) {
  constexpr int kReads = 20;
  AVPacket* packet = av_packet_alloc();
  const support::GivenTime time;
  for (int i = 0; i < kReads; ++i) {
    stream->Read(packet);
    av_packet_unref(packet);
  }
  EXPECT_LE(time.Ms(), kReads * kReadMs);
  av_packet_free(&packet);
}

}  // namespace support
