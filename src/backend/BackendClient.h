// The program's whole conversation with the backend service.
//
// Flow: each call sends one HTTP request and waits for its end in a local event loop, so the window
// stays live and any slot may run during the call: whoever calls has to be prepared to find itself
// changed, or gone, when the call returns. There is no retry and no limit of time; the wait ends
// early when the application quits. A call that takes an asker also ends, as a failed one, when
// that dialog is finished or destroyed: a dialog that the operator closes is not held open by a
// server.
//
// Result: 0, or -1 when the request failed. What the service said is in the record's code. A failed
// POST has shown the network notice before it returns; a failed GET is silent.
//
// Ownership: no state and no connection; one static object whose address callers keep. Records
// belong to the caller.
//
// Threads: user interface thread only.
#ifndef ORVANE_BACKEND_BACKENDCLIENT_H
#define ORVANE_BACKEND_BACKENDCLIENT_H

#include <QByteArray>
#include <QSize>
#include <QString>

#include "backend/Records.h"

class QDialog;
class QHttpMultiPart;
class QPixmap;

class BackendClient {
 public:
  enum class Wait {
    kForTheReply,
    // Two seconds, and no notice: the program is on its way out and nobody reads it. The one wait
    // that also works once the application has been told to quit.
    kBriefly,
  };

  static BackendClient* Instance();
  // Address of the service, without a trailing slash; a setting of the build.
  static QString BaseAddress();

  int Login(QString login, QString password, LoginResult* out);
  int Logout(QString token, int* code);
  int GetHomepageAds(AdResult* out);
  // page counts from 1.
  int GetHostList(QString token, int page, ActivityList* out, const QDialog* asker = nullptr);
  int HostStart(QString id, QString token, int* code);
  int HostEnd(QString id, QString token, int* code, Wait wait = Wait::kForTheReply);
  // Always 0; a picture that can't be had, lies in a file of this machine, or is larger than 64
  // megapixels, leaves *out null. Sides longer than those of atMost are reduced to it. Decoded
  // beside the event loop.
  int FetchPixmap(QString url, QPixmap* out, QSize atMost = QSize(),
                  const QDialog* asker = nullptr);

 private:
  int PostForm(const QString& path, QHttpMultiPart* multipart, QByteArray* out,
               Wait wait = Wait::kForTheReply);
};

#endif
