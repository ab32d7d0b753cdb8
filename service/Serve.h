// The command "serve": the HTTP service and, on request, the ingest beside it, until SIGTERM or
// SIGINT.
//
// Threads: the main thread.
#ifndef ORVANE_SERVICE_SERVE_H
#define ORVANE_SERVICE_SERVE_H

#include <QString>

#include "service/Api.h"

namespace service {

struct ServeOptions {
  QString database;
  Settings settings;
  bool ingest = false;
  int hlsPort = 18081;
  QString ingestDirectory;
  QString recordDirectory;
};

// Returns the exit code.
int Serve(const ServeOptions& options);

// One account and three activities with covers, bound to this machine, for somebody who starts the
// service for the first time: all of it or nothing, and once for a database. No effect when there
// is an account. The password, or nothing, goes to *password.
Outcome CreateDemoAccount(Store* store, std::int64_t now, QString* password);

inline constexpr char kNewcomersLogin[] = "demo";

}  // namespace service

#endif
