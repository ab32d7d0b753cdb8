// Reads the backend's replies: bytes in, records out, no network.
//
// A reply is a JSON object. Anything else (no JSON, another type, cut off, too deep) leaves the
// record as it was: that is the caller's "unknown", and no error. Values are read the tolerant way
// of QVariant: a number is as good as the string of it, and a value of the wrong type counts as
// empty or 0.
//
// Threads: pure functions, any thread.
#ifndef ORVANE_BACKEND_REPLYPARSER_H
#define ORVANE_BACKEND_REPLYPARSER_H

#include <QByteArray>

#include "backend/Records.h"

namespace backend {

// False when bytes hold no JSON object; the record is then untouched.
// message: of a refusal only; may be null.
bool ParseCode(const QByteArray& bytes, int* code, QString* message = nullptr);
bool ParseLogin(const QByteArray& bytes, LoginResult* out);
bool ParseAd(const QByteArray& bytes, AdResult* out);
// Appends to the list what a reply that is no refusal holds.
bool ParseActivities(const QByteArray& bytes, ActivityList* out);

}  // namespace backend

#endif
