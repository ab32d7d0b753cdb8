// The program's whole conversation with the backend service.
//
// Flow: each call sends one HTTP request and waits for its end in a local event loop, so the window
// stays live and any slot may run during the call: whoever calls has to be prepared to find itself
// changed, or gone, when the call returns. There is no retry and no limit of time; the wait ends
// early when the application quits, and with the Until that the call is given: the request is then
// given up at once, and the call returns as a failed one that showed nothing. A call whose Until has
// ended before sends nothing.
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
#include "backend/Until.h"

class QHttpMultiPart;
class QPixmap;

class BackendClient {
 public:
  static BackendClient* Instance();
  // Address of the service, without a trailing slash; a setting of the build.
  static QString BaseAddress();

  // A reply that could not be understood counts as refused, and the message says so.
  int Login(QString login, QString password, LoginResult* out,
            const backend::Until& until = backend::Until());
  int Logout(QString token, int* code, const backend::Until& until = backend::Until());
  int GetHomepageAds(AdResult* out, const backend::Until& until = backend::Until());
  // page counts from 1.
  int GetHostList(QString token, int page, ActivityList* out,
                  const backend::Until& until = backend::Until());
  // message: what the service says of a refusal; may be null.
  int HostStart(QString id, QString token, int* code,
                const backend::Until& until = backend::Until(), QString* message = nullptr);
  int HostEnd(QString id, QString token, int* code, const backend::Until& until = backend::Until());
  // Always 0; a picture that can't be had, lies in a file of this machine, or is larger than 64
  // megapixels, leaves *out null. Sides longer than those of atMost are reduced to it. Decoded
  // beside the event loop.
  int FetchPixmap(QString url, QPixmap* out, QSize atMost = QSize(),
                  const backend::Until& until = backend::Until());

 private:
  int PostForm(const QString& path, QHttpMultiPart* multipart, QByteArray* out,
               const backend::Until& until);
};

#endif
