#include "service/ServiceRig.h"

namespace support {

ServiceRig::ServiceRig() {
  service::InitSecrets();
  QString error;
  store = service::Store::Open(Database(), &error);
}

service::Account ServiceRig::AddAccount(const std::string& login, const std::string& password) {
  service::Account account;
  account.id = QString::fromStdString(service::NewId());
  account.login = QString::fromLatin1(login.data(), static_cast<int>(login.size()));
  account.passwordHash = QString::fromStdString(service::HashPassword(password));
  account.created = clock.Seconds();
  store->AddAccount(account);
  return account;
}

service::Activity ServiceRig::AddActivity(const service::Account& account,
                                          const std::string& title) {
  service::Activity activity;
  activity.id = QString::fromStdString(service::NewId());
  activity.accountId = account.id;
  activity.title = QString::fromStdString(title);
  activity.startTime = clock.Seconds();
  activity.streamKey = QString::fromStdString(service::NewId(16));
  store->AddActivity(activity);
  return activity;
}

service::Settings ServiceRig::DefaultSettings() const {
  service::Settings settings;
  settings.port = port;
  settings.ingestSecret = "ingestsecret";
  return settings;
}

bool ServiceRig::Serve(const service::Settings& settings) {
  shared = std::make_unique<service::Shared>(settings, clock);
  server = std::make_unique<service::HttpServer>(Database(), shared.get());
  QString error;
  return server->Start(&error);
}

void ServiceRig::StopServing() {
  server.reset();
  shared.reset();
}

}  // namespace support
