// A service of the test's own: a database in a directory that goes with it, a clock that the test
// holds, and the server on a free port of the loopback once Serve was called.
#ifndef ORVANE_TESTS_SERVICE_SERVICERIG_H
#define ORVANE_TESTS_SERVICE_SERVICERIG_H

#include <QString>
#include <atomic>
#include <memory>
#include <string>

#include "service/Clock.h"
#include "service/HttpServer.h"
#include "service/Secrets.h"
#include "service/Store.h"
#include "support/Process.h"

namespace support {

class HeldClock : public service::Clock {
 public:
  std::int64_t Milliseconds() const override { return now; }
  std::atomic<std::int64_t> now{1700000000000};
};

class ServiceRig {
 public:
  ServiceRig();

  service::Account AddAccount(const std::string& login, const std::string& password = "secret");
  service::Activity AddActivity(const service::Account& account, const std::string& title);
  service::Settings DefaultSettings() const;
  // False when the port could not be had.
  bool Serve(const service::Settings& settings);
  bool Serve() { return Serve(DefaultSettings()); }
  void StopServing();

  QString Database() const { return QString::fromStdString(directory.File("service.sqlite")); }

  TempDir directory;
  HeldClock clock;
  int port = FreePort();
  std::unique_ptr<service::Store> store;
  std::unique_ptr<service::Shared> shared;
  std::unique_ptr<service::HttpServer> server;
};

}  // namespace support

#endif
