// Reads the pictures that the service names: bytes in, a picture out.
//
// Flow: bytes of any common format of pixels; what they are is told from their content. A cover may
// be a photograph of many megapixels, and decoding one takes as long as a second: it runs on a
// thread of its own, while a local event loop keeps the window alive. That loop is no different
// from the one in which the bytes were waited for: any slot may run.
//
// Failure: a null picture, for what can't be read, for what has over 64 megapixels, and for
// drawings (SVG and the like): those may name files of this machine and take any time.
// Threads: ReadPicture any, DecodePicture the user interface thread.
#ifndef ORVANE_BACKEND_PICTUREDECODER_H
#define ORVANE_BACKEND_PICTUREDECODER_H

#include <QByteArray>
#include <QImage>
#include <QSize>

class QDialog;
class QIODevice;

namespace backend {

// A side that is longer than that of atMost is reduced to it, each by itself; most decoders then
// never hold the whole picture. An invalid atMost leaves the picture as it is.
QImage ReadPicture(QIODevice* source, const QSize& atMost);

// The same beside the event loop. It ends early, with a null picture, when the asker is finished or
// destroyed, or the application quits.
QImage DecodePicture(const QByteArray& bytes, const QSize& atMost, const QDialog* asker);

}  // namespace backend

#endif
