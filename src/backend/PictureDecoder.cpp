#include "backend/PictureDecoder.h"

#include <pthread.h>

#include <QIODevice>
#include <QImageReader>
#include <QTimer>
#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "backend/Until.h"
#include "platform/Lock.h"

namespace backend {

namespace {

constexpr qint64 kLargestPicture = 64LL * 1000 * 1000;  // pixels

// Their decoders do no more than the bytes and the size of the picture ask for. Which others this
// system has depends on what is installed.
bool HasPixels(const QByteArray& format) {
  static const QByteArrayList formats{"bmp", "gif",  "jpeg", "pbm", "pgm", "png",
                                      "ppm", "tiff", "webp", "xbm", "xpm"};
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

namespace {

// What a decoder and whoever waits for it share; the last of the two frees it.
struct Decoding {
  Decoding(const QByteArray& bytes, QTimer* done) : source(bytes), waits(done) {}

  StoppableBytes source;
  platform::Mutex mutex;
  QImage picture ORVANE_GUARDED_BY(mutex);
  // Fires when the picture is there; null once nobody waits.
  QTimer* waits ORVANE_GUARDED_BY(mutex);
};

// The decoders that run, waited on or not: none may run into the end of the process.
class Decoders {
 public:
  void Start(const std::shared_ptr<Decoding>& decoding, const QSize& atMost) {
    {
      const platform::Lock lock(m_mutex);
      ++m_running;
    }
    std::thread([this, decoding, atMost] {
      pthread_setname_np(pthread_self(), "decode-picture");
      Decode(decoding.get(), atMost);
      const platform::Lock lock(m_mutex);
      --m_running;
      m_ended.NotifyAll();
    }).detach();
  }
  ~Decoders() {
    const platform::Lock lock(m_mutex);
    m_ended.Wait(m_mutex, [this]() ORVANE_REQUIRES(m_mutex) { return m_running == 0; });
  }

 private:
  static void Decode(Decoding* decoding, const QSize& atMost) {
    const QImage picture = ReadPicture(&decoding->source, atMost);
    const platform::Lock lock(decoding->mutex);
    decoding->picture = picture;
    if (decoding->waits != nullptr) {
      QMetaObject::invokeMethod(decoding->waits, "start", Qt::QueuedConnection, Q_ARG(int, 0));
    }
  }

  platform::Mutex m_mutex;
  platform::Condition m_ended;
  int m_running ORVANE_GUARDED_BY(m_mutex) = 0;
};

}  // namespace

QImage DecodePicture(const QByteArray& bytes, const QSize& atMost, const Until& until) {
  static Decoders decoders;
  QTimer done;
  const auto decoding = std::make_shared<Decoding>(bytes, &done);
  decoders.Start(decoding, atMost);
  const bool came = until.Wait(&done, &QTimer::timeout);
  const platform::Lock lock(decoding->mutex);
  decoding->waits = nullptr;
  decoding->source.Stop();
  return came ? decoding->picture : QImage();
}

}  // namespace backend
