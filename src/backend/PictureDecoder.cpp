#include "backend/PictureDecoder.h"

#include <QDialog>
#include <QEventLoop>
#include <QIODevice>
#include <QImageReader>
#include <QThread>
#include <atomic>
#include <cstring>
#include <memory>

namespace backend {

namespace {

constexpr qint64 kLargestPicture = 64LL * 1000 * 1000;  // pixels

// Their decoders do no more than the bytes and the size of the picture ask for. Which others this
// system has depends on what is installed.
bool HasPixels(const QByteArray& format) {
  static const QByteArrayList formats{"bmp", "gif", "ico",  "jpeg", "pbm", "pgm",
                                      "png", "ppm", "tiff", "webp", "xbm", "xpm"};
  return formats.contains(format);
}

// Bytes of which a decoder gets no more once they were stopped: it then gives up soon. No QBuffer,
// whose memory some decoders take as a whole.
class StoppableBytes : public QIODevice {
 public:
  explicit StoppableBytes(const QByteArray& bytes) : m_bytes(bytes) {
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
  }
  void Stop() { m_stopped = true; }
  qint64 size() const override { return m_bytes.size(); }

 protected:
  qint64 readData(char* data, qint64 length) override {
    const qint64 count = qMin(length, m_bytes.size() - pos());
    if (m_stopped || count < 0) {
      return -1;
    }
    std::memcpy(data, m_bytes.constData() + pos(), static_cast<std::size_t>(count));
    return count;
  }
  qint64 writeData(const char* /*data*/, qint64 /*length*/) override { return -1; }

 private:
  const QByteArray m_bytes;
  std::atomic<bool> m_stopped{false};
};

}  // namespace

QImage ReadPicture(QIODevice* source, const QSize& atMost) {
  QImageReader reader(source);
  if (!HasPixels(reader.format())) {
    return QImage();
  }
  const QSize size = reader.size();
  if (size.isValid() && qint64{size.width()} * size.height() > kLargestPicture) {
    return QImage();
  }
  if (!atMost.isValid()) {
    return reader.read();
  }
  if (size.isValid() && size.boundedTo(atMost) != size) {
    reader.setScaledSize(size.boundedTo(atMost));
  }
  const QImage picture = reader.read();
  const QSize bounded = picture.size().boundedTo(atMost);
  return bounded == picture.size()
             ? picture
             : picture.scaled(bounded, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage DecodePicture(const QByteArray& bytes, const QSize& atMost, const QDialog* asker) {
  StoppableBytes source(bytes);
  QImage picture;
  QEventLoop loop;
  if (asker != nullptr) {
    QObject::connect(asker, &QDialog::finished, &loop, &QEventLoop::quit);
    QObject::connect(asker, &QObject::destroyed, &loop, &QEventLoop::quit);
  }
  const std::unique_ptr<QThread> worker(
      QThread::create([&] { picture = ReadPicture(&source, atMost); }));
  worker->setObjectName(QStringLiteral("decode-cover"));
  QObject::connect(worker.get(), &QThread::finished, &loop, &QEventLoop::quit);
  worker->start();
  loop.exec();
  source.Stop();
  worker->wait();
  return picture;
}

}  // namespace backend
