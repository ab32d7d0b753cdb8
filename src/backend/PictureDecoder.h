// Reads the pictures that the service names: bytes in, a picture out.
//
// Flow: bytes of any common format of pixels; what they are is told from their content. A cover may
// be a photograph of many megapixels, and decoding one takes as long as a second: it runs on a
// thread of its own, while a local event loop keeps the window alive. That loop is no different
// from the one in which the bytes were waited for: any slot may run.
//
// A decoder that is no longer waited for gets no more bytes, and what it has made is dropped when
// it gives up; nothing waits for that but the end of the process.
//
// Failure: a null picture, for what can't be read, for what has over 64 megapixels, for drawings
// (SVG and the like: those may name files of this machine and take any time), and for icons, which
// may hold a picture of any size behind the one that they name.
// Threads: ReadPicture any, DecodePicture the user interface thread.
#ifndef ORVANE_BACKEND_PICTUREDECODER_H
#define ORVANE_BACKEND_PICTUREDECODER_H

#include <QByteArray>
#include <QImage>
#include <QSize>

class QIODevice;

namespace backend {

class Until;

// A side that is longer than that of atMost is reduced to it, each by itself; most decoders then
// never hold the whole picture. An invalid atMost leaves the picture as it is.
QImage ReadPicture(QIODevice* source, const QSize& atMost);

// The same beside the event loop. Null when the wait ended before.
QImage DecodePicture(const QByteArray& bytes, const QSize& atMost, const Until& until);

}  // namespace backend

#endif
