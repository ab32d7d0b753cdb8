// Pictures with anything in them: as a layer, by FFmpeg's decoders, and as a cover or
// advertisement, by Qt's.
#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/log.h>
}

#include "backend/PictureDecoder.h"
#include "fuzz/Require.h"
#include "fuzz/TempDirectory.h"
#include "sources/CInputPic.h"

namespace {

constexpr QSize kAtMost(400, 300);

class Picture : public CInputPic {
 public:
  using CInputPic::CInputPic;
  using CInputPic::Open;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::TempDirectory directory;
  av_log_set_level(AV_LOG_QUIET);
  Picture node(directory.Write("picture", data, size));
  node.Open();
  QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
  QBuffer source(&bytes);
  source.open(QIODevice::ReadOnly);
  const QImage cover = backend::ReadPicture(&source, kAtMost);
  fuzz::Require(cover.isNull() ||
                (cover.width() <= kAtMost.width() && cover.height() <= kAtMost.height()));
  return 0;
}
