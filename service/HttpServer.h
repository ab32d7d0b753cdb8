// The network side of the service: an HTTP server over libmicrohttpd that hands whole requests to
// an Api and sends what it answers.
//
// Threads: a small pool serves the connections, each thread with a Store of its own. A login is
// computed on one thread apart (a password hash takes tens of milliseconds) while its connection is
// suspended, so no other call waits behind it; at most kMaxWaitingLogins wait, and more are told
// to come back. Start and Stop belong to the thread that made the server.
//
// Bounds: connections in all and per address, time of an idle connection and of a request as a
// whole, size of headers and body, requests a second per network.
#ifndef ORVANE_SERVICE_HTTPSERVER_H
#define ORVANE_SERVICE_HTTPSERVER_H

#include <QString>
#include <memory>

#include "service/Api.h"

namespace service {

class HttpServer {
 public:
  static constexpr int kMaxWaitingLogins = 32;
  static constexpr int kMaxWaitingLoginsOfNetwork = 16;

  HttpServer(const QString& databasePath, Shared* shared);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // False with *error in words when the address can't be listened on.
  bool Start(QString* error);
  // Answers what is being answered, refuses the rest, and ends all threads.
  void Stop();

 private:
  class Implementation;
  std::unique_ptr<Implementation> m_implementation;
};

}  // namespace service

#endif
