// The database: accounts, sessions, activities, pictures, broadcasts and settings, through Qt SQL.
//
// The SQL is the common subset of the databases that Qt speaks, without anything of SQLite's own
// but the opening of the file and the beginning of a transaction. Every statement is prepared with
// bound values. Identifiers are made by the program. The schema has a version and is brought up to
// date when the database is opened; one of a newer program is refused.
//
// Failure: Outcome::Failed, with the database's own words in the log; a change either happened
// whole or not at all.
//
// Threads: one Store per thread, each with a connection of its own.
#ifndef ORVANE_SERVICE_STORE_H
#define ORVANE_SERVICE_STORE_H

#include <QList>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <functional>
#include <map>
#include <memory>

#include "service/Records.h"

namespace service {

class Store {
 public:
  // Opens the file, or makes it for the user alone, and brings its schema up to date. Null with
  // *error in words on failure.
  static std::unique_ptr<Store> Open(const QString& path, QString* error);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  static int SchemaVersion();

  // Whether the database answers and holds together.
  bool Healthy();

  // All that work changes, or nothing of it when its result is not Done. May be nested.
  Outcome Transaction(const std::function<Outcome()>& work);

  Outcome AddAccount(const Account& account);
  Outcome SetPassword(const QString& login, const QString& passwordHash);
  // With its sessions, activities and broadcasts.
  Outcome RemoveAccount(const QString& login);
  Outcome FindAccount(const QString& login, Account* account);
  Outcome ListAccounts(QList<Account>* accounts);

  // NotFound when the account's password is no longer the one that account holds.
  Outcome AddSession(const QString& tokenHash, const Account& account, std::int64_t expires);
  // The account of a session that has not expired at now. One that ends after latest was made
  // before the machine's clock was set back, and counts for nothing.
  Outcome FindSession(const QString& tokenHash, std::int64_t now, std::int64_t latest,
                      QString* accountId);
  Outcome RemoveSession(const QString& tokenHash);
  Outcome RemoveExpiredSessions(std::int64_t now);

  // The cover is kept with the activity or not at all; null leaves it without or as it is.
  // NotFound when there is no such account or activity.
  Outcome AddActivity(const Activity& activity, const Picture* cover = nullptr);
  Outcome ChangeActivity(const Activity& activity, const Picture* cover = nullptr);
  Outcome RemoveActivity(const QString& id);
  Outcome FindActivity(const QString& id, Activity* activity);
  Outcome FindActivityByKey(const QString& streamKey, Activity* activity);
  // page counts from 1; the next to start first. Beyond the end the list is empty.
  Outcome PageOfActivities(const QString& accountId, int page, QList<Activity>* activities);
  Outcome ListActivities(QList<Activity>* activities);

  Outcome AddPicture(const Picture& picture);
  Outcome FindPicture(const QString& id, Picture* picture);
  // The picture beside the login, in the place of the former one; null for none.
  Outcome SetAdPicture(const Picture* picture);

  // At most one broadcast of an activity runs at a time, whoever asks and however often.
  Outcome StartBroadcast(const Broadcast& broadcast);
  Outcome FindRunningBroadcast(const QString& activityId, Broadcast* broadcast);
  // NotFound when that one is not running any more.
  Outcome EndBroadcast(const QString& id, std::int64_t now);
  Outcome ListBroadcasts(const QString& activityId, QList<Broadcast>* broadcasts);

  // Whether the ingest has the activity's stream, and when it last said so.
  Outcome SetPublishing(const QString& activityId, bool publishing, std::int64_t now);
  Outcome LastPublishUpdate(const QString& activityId, std::int64_t* heard);

  Outcome Setting(const QString& name, QString* value);
  Outcome SetSetting(const QString& name, const QString& value);

 private:
  using Values = std::initializer_list<QVariant>;

  explicit Store(const QString& connection);
  bool Begin();
  bool Migrate(QString* error);
  bool SchemaOnDisk(int* version, QString* error);
  bool ApplyMigration(int version, QString* error);
  // The prepared statement of that text, run with values; null when it failed. Valid until the next
  // call with the same text.
  QSqlQuery* Execute(const char* sql, Values values);
  Outcome Change(const char* sql, Values values);
  Outcome DropOldSessions(const QString& accountId);

  QString m_connection;
  QSqlDatabase m_database;
  bool m_inTransaction = false;
  std::map<const char*, QSqlQuery> m_statements;  // by the address of their text, a constant
};

}  // namespace service

#endif
