#include "service/Store.h"

#include <QAtomicInt>
#include <QFileInfo>
#include <QSqlError>
#include <QVariant>
#include <vector>

#include "service/Log.h"

namespace service {

namespace {

// Each entry brings the schema from the version before it to its own: the first makes version 1.
// Entries are never changed, only added.
const std::vector<std::vector<const char*>>& Migrations() {
  static const std::vector<std::vector<const char*>> migrations = {
      {
          "CREATE TABLE accounts (id VARCHAR(32) PRIMARY KEY, login VARCHAR(255) NOT NULL UNIQUE, "
          "password_hash VARCHAR(255) NOT NULL, name VARCHAR(255) NOT NULL, "
          "email VARCHAR(255) NOT NULL, loopback_only INTEGER NOT NULL, created BIGINT NOT NULL)",
          "CREATE TABLE sessions (token_hash VARCHAR(64) PRIMARY KEY, "
          "account_id VARCHAR(32) NOT NULL, expires BIGINT NOT NULL)",
          "CREATE INDEX sessions_by_account ON sessions (account_id)",
          "CREATE TABLE pictures (id VARCHAR(32) PRIMARY KEY, type VARCHAR(64) NOT NULL, "
          "bytes BLOB NOT NULL)",
          "CREATE TABLE activities (id VARCHAR(32) PRIMARY KEY, account_id VARCHAR(32) NOT NULL, "
          "title VARCHAR(255) NOT NULL, cover_id VARCHAR(32) NOT NULL, start_time BIGINT NOT NULL, "
          "publish_url VARCHAR(1024) NOT NULL, view_url VARCHAR(1024) NOT NULL, "
          "stream_key VARCHAR(64) NOT NULL UNIQUE, is_open INTEGER NOT NULL)",
          "CREATE INDEX activities_by_account ON activities (account_id, start_time, id)",
          "CREATE TABLE settings (name VARCHAR(64) PRIMARY KEY, value VARCHAR(1024) NOT NULL)",
      },
      {
          // running_of is the activity while the broadcast runs and its own id afterwards, so that
          // the database itself holds "one at a time" on any engine.
          "CREATE TABLE broadcasts (id VARCHAR(32) PRIMARY KEY, activity_id VARCHAR(32) NOT NULL, "
          "account_id VARCHAR(32) NOT NULL, token_hash VARCHAR(64) NOT NULL, "
          "started BIGINT NOT NULL, ended BIGINT NOT NULL, running_of VARCHAR(32) NOT NULL UNIQUE)",
          "CREATE INDEX broadcasts_by_activity ON broadcasts (activity_id, started)",
          "CREATE TABLE publishing (activity_id VARCHAR(32) PRIMARY KEY, since BIGINT NOT NULL)",
      },
  };
  return migrations;
}

constexpr int kBusyMs = 5000;

Account ReadAccount(const QSqlQuery& row) {
  Account account;
  account.id = row.value(0).toString();
  account.login = row.value(1).toString();
  account.passwordHash = row.value(2).toString();
  account.name = row.value(3).toString();
  account.email = row.value(4).toString();
  account.loopbackOnly = row.value(5).toInt() != 0;
  account.created = row.value(6).toLongLong();
  return account;
}

Activity ReadActivity(const QSqlQuery& row) {
  Activity activity;
  activity.id = row.value(0).toString();
  activity.accountId = row.value(1).toString();
  activity.title = row.value(2).toString();
  activity.coverId = row.value(3).toString();
  activity.startTime = row.value(4).toLongLong();
  activity.publishUrl = row.value(5).toString();
  activity.viewUrl = row.value(6).toString();
  activity.streamKey = row.value(7).toString();
  activity.open = row.value(8).toInt() != 0;
  return activity;
}

Broadcast ReadBroadcast(const QSqlQuery& row) {
  Broadcast broadcast;
  broadcast.id = row.value(0).toString();
  broadcast.activityId = row.value(1).toString();
  broadcast.accountId = row.value(2).toString();
  broadcast.tokenHash = row.value(3).toString();
  broadcast.started = row.value(4).toLongLong();
  broadcast.ended = row.value(5).toLongLong();
  return broadcast;
}

template <typename Record, typename Read>
Outcome ReadAll(QSqlQuery* rows, Read read, QList<Record>* records) {
  if (rows == nullptr) {
    return Outcome::Failed;
  }
  while (rows->next()) {
    records->append(read(*rows));
  }
  rows->finish();
  return Outcome::Done;
}

template <typename Record, typename Read>
Outcome ReadOne(QSqlQuery* rows, Read read, Record* record) {
  if (rows == nullptr) {
    return Outcome::Failed;
  }
  const bool found = rows->next();
  if (found) {
    *record = read(*rows);
  }
  rows->finish();
  return found ? Outcome::Done : Outcome::NotFound;
}

QString NotNull(const QString& text) {
  return text.isNull() ? QStringLiteral("") : text;
}

}  // namespace

Store::Store(const QString& connection)
    : m_connection(connection),
      m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection)) {}

Store::~Store() {
  m_statements.clear();
  m_database.close();
  m_database = QSqlDatabase();
  QSqlDatabase::removeDatabase(m_connection);
}

int Store::SchemaVersion() {
  return static_cast<int>(Migrations().size());
}

std::unique_ptr<Store> Store::Open(const QString& path, QString* error) {
  static QAtomicInt count;
  std::unique_ptr<Store> store(
      new Store(QStringLiteral("store-%1").arg(count.fetchAndAddRelaxed(1))));
  store->m_database.setDatabaseName(path);
  store->m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyMs));
  if (!store->m_database.open()) {
    *error = QStringLiteral("%1: %2").arg(path, store->m_database.lastError().text());
    return nullptr;
  }
  // Readers don't wait for a writer, and a commit survives the end of the process.
  for (const char* pragma :
       {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=NORMAL", "PRAGMA cache_size=-2048"}) {
    QSqlQuery query(store->m_database);
    if (!query.exec(QLatin1String(pragma))) {
      *error = QStringLiteral("%1: %2").arg(path, query.lastError().text());
      return nullptr;
    }
  }
  if (!store->Migrate(error)) {
    *error = QStringLiteral("%1: %2").arg(path, *error);
    return nullptr;
  }
  return store;
}

bool Store::Migrate(QString* error) {
  QSqlQuery query(m_database);
  if (!query.exec(
          QStringLiteral("CREATE TABLE IF NOT EXISTS schema_version (version INTEGER NOT NULL)")) ||
      !query.exec(QStringLiteral("SELECT MAX(version) FROM schema_version"))) {
    *error = query.lastError().text();
    return false;
  }
  const int current = query.next() ? query.value(0).toInt() : 0;
  query.finish();
  if (current > SchemaVersion()) {
    *error = QStringLiteral("made by a newer version of this program (schema %1, known is %2)")
                 .arg(current)
                 .arg(SchemaVersion());
    return false;
  }
  for (int version = current + 1; version <= SchemaVersion(); ++version) {
    if (!ApplyMigration(version, error)) {
      return false;
    }
  }
  return true;
}

bool Store::ApplyMigration(int version, QString* error) {
  m_database.transaction();
  QSqlQuery query(m_database);
  for (const char* statement : Migrations()[static_cast<std::size_t>(version - 1)]) {
    if (!query.exec(QLatin1String(statement))) {
      *error = query.lastError().text();
      m_database.rollback();
      return false;
    }
  }
  query.prepare(QStringLiteral("INSERT INTO schema_version (version) VALUES (?)"));
  query.addBindValue(version);
  if (!query.exec() || !m_database.commit()) {
    *error = query.lastError().text();
    m_database.rollback();
    return false;
  }
  return true;
}

QSqlQuery* Store::Execute(const char* sql, Values values) {
  auto statement = m_statements.find(sql);
  if (statement == m_statements.end()) {
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!query.prepare(QLatin1String(sql))) {
      LogError("database", {{"doing", QLatin1String(sql)}, {"cause", query.lastError().text()}});
      return nullptr;
    }
    statement = m_statements.emplace(sql, std::move(query)).first;
  }
  QSqlQuery& query = statement->second;
  int position = 0;
  for (const QVariant& value : values) {
    query.bindValue(position++, value);
  }
  if (!query.exec()) {
    LogError("database", {{"doing", QLatin1String(sql)}, {"cause", query.lastError().text()}});
    query.finish();
    return nullptr;
  }
  return &query;
}

Outcome Store::Change(const char* sql, Values values) {
  QSqlQuery* query = Execute(sql, values);
  if (query == nullptr) {
    return Outcome::Failed;
  }
  const bool changed = query->numRowsAffected() > 0;
  query->finish();
  return changed ? Outcome::Done : Outcome::NotFound;
}

template <typename Work>
Outcome Store::InTransaction(Work work) {
  if (!m_database.transaction()) {
    LogError("database", {{"doing", "transaction"}, {"cause", m_database.lastError().text()}});
    return Outcome::Failed;
  }
  const Outcome outcome = work();
  if (outcome == Outcome::Done && m_database.commit()) {
    return outcome;
  }
  m_database.rollback();
  return outcome == Outcome::Done ? Outcome::Failed : outcome;
}

bool Store::Healthy() {
  QSqlQuery* query = Execute("SELECT COUNT(*) FROM schema_version", {});
  const bool healthy = query != nullptr && query->next() && query->value(0).toInt() > 0;
  if (query != nullptr) {
    query->finish();
  }
  return healthy;
}

Outcome Store::AddAccount(const Account& account) {
  Account present;
  const Outcome found = FindAccount(account.login, &present);
  if (found != Outcome::NotFound) {
    return found == Outcome::Done ? Outcome::Exists : found;
  }
  return Change(
      "INSERT INTO accounts (id, login, password_hash, name, email, loopback_only, created) "
      "VALUES (?, ?, ?, ?, ?, ?, ?)",
      {account.id, account.login, account.passwordHash, NotNull(account.name),
       NotNull(account.email), account.loopbackOnly ? 1 : 0, qint64{account.created}});
}

Outcome Store::SetPassword(const QString& login, const QString& passwordHash) {
  return InTransaction([&] {
    Account account;
    const Outcome found = FindAccount(login, &account);
    if (found != Outcome::Done) {
      return found;
    }
    // Whoever had the old password is out.
    if (Change("DELETE FROM sessions WHERE account_id = ?", {account.id}) == Outcome::Failed) {
      return Outcome::Failed;
    }
    return Change("UPDATE accounts SET password_hash = ? WHERE id = ?", {passwordHash, account.id});
  });
}

Outcome Store::RemoveAccount(const QString& login) {
  return InTransaction([&] {
    Account account;
    const Outcome found = FindAccount(login, &account);
    if (found != Outcome::Done) {
      return found;
    }
    for (const char* sql :
         {"DELETE FROM sessions WHERE account_id = ?",
          "DELETE FROM broadcasts WHERE account_id = ?",
          "DELETE FROM publishing WHERE activity_id IN (SELECT id FROM activities WHERE account_id "
          "= ?)",
          "DELETE FROM pictures WHERE id IN (SELECT cover_id FROM activities WHERE account_id = ?)",
          "DELETE FROM activities WHERE account_id = ?"}) {
      if (Change(sql, {account.id}) == Outcome::Failed) {
        return Outcome::Failed;
      }
    }
    return Change("DELETE FROM accounts WHERE id = ?", {account.id});
  });
}

Outcome Store::FindAccount(const QString& login, Account* account) {
  return ReadOne(Execute("SELECT id, login, password_hash, name, email, loopback_only, created "
                         "FROM accounts WHERE login = ?",
                         {login}),
                 ReadAccount, account);
}

Outcome Store::ListAccounts(QList<Account>* accounts) {
  return ReadAll(Execute("SELECT id, login, password_hash, name, email, loopback_only, created "
                         "FROM accounts ORDER BY login",
                         {}),
                 ReadAccount, accounts);
}

Outcome Store::AddSession(const QString& tokenHash, const QString& accountId,
                          std::int64_t expires) {
  return Change("INSERT INTO sessions (token_hash, account_id, expires) VALUES (?, ?, ?)",
                {tokenHash, accountId, qint64{expires}});
}

Outcome Store::FindSession(const QString& tokenHash, std::int64_t now, QString* accountId) {
  return ReadOne(
      Execute("SELECT account_id FROM sessions WHERE token_hash = ? AND expires > ?",
              {tokenHash, qint64{now}}),
      [](const QSqlQuery& row) { return row.value(0).toString(); }, accountId);
}

Outcome Store::RemoveSession(const QString& tokenHash) {
  return Change("DELETE FROM sessions WHERE token_hash = ?", {tokenHash});
}

Outcome Store::RemoveExpiredSessions(std::int64_t now) {
  return Change("DELETE FROM sessions WHERE expires <= ?", {qint64{now}});
}

Outcome Store::AddActivity(const Activity& activity) {
  return Change(
      "INSERT INTO activities (id, account_id, title, cover_id, start_time, publish_url, view_url, "
      "stream_key, is_open) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
      {activity.id, activity.accountId, activity.title, NotNull(activity.coverId),
       qint64{activity.startTime}, NotNull(activity.publishUrl), NotNull(activity.viewUrl),
       activity.streamKey, activity.open ? 1 : 0});
}

Outcome Store::ChangeActivity(const Activity& activity) {
  return Change(
      "UPDATE activities SET title = ?, cover_id = ?, start_time = ?, publish_url = ?, view_url = "
      "?, "
      "stream_key = ?, is_open = ? WHERE id = ?",
      {activity.title, NotNull(activity.coverId), qint64{activity.startTime},
       NotNull(activity.publishUrl), NotNull(activity.viewUrl), activity.streamKey,
       activity.open ? 1 : 0, activity.id});
}

Outcome Store::RemoveActivity(const QString& id) {
  return InTransaction([&] {
    for (const char* sql :
         {"DELETE FROM broadcasts WHERE activity_id = ?",
          "DELETE FROM publishing WHERE activity_id = ?",
          "DELETE FROM pictures WHERE id IN (SELECT cover_id FROM activities WHERE id = ?)"}) {
      if (Change(sql, {id}) == Outcome::Failed) {
        return Outcome::Failed;
      }
    }
    return Change("DELETE FROM activities WHERE id = ?", {id});
  });
}

Outcome Store::FindActivity(const QString& id, Activity* activity) {
  return ReadOne(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities WHERE id = ?",
              {id}),
      ReadActivity, activity);
}

Outcome Store::FindActivityByKey(const QString& streamKey, Activity* activity) {
  return ReadOne(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities WHERE stream_key = ?",
              {streamKey}),
      ReadActivity, activity);
}

Outcome Store::PageOfActivities(const QString& accountId, int page, QList<Activity>* activities) {
  const qint64 offset = (qint64{page} - 1) * kPageSize;
  return ReadAll(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities WHERE account_id = ? "
              "ORDER BY start_time, id LIMIT ? OFFSET ?",
              {accountId, kPageSize, offset}),
      ReadActivity, activities);
}

Outcome Store::ListActivities(QList<Activity>* activities) {
  return ReadAll(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities ORDER BY account_id, start_time, id",
              {}),
      ReadActivity, activities);
}

Outcome Store::AddPicture(const Picture& picture) {
  return Change("INSERT INTO pictures (id, type, bytes) VALUES (?, ?, ?)",
                {picture.id, picture.type, picture.bytes});
}

Outcome Store::FindPicture(const QString& id, Picture* picture) {
  return ReadOne(
      Execute("SELECT id, type, bytes FROM pictures WHERE id = ?", {id}),
      [](const QSqlQuery& row) {
        return Picture{row.value(0).toString(), row.value(1).toString(),
                       row.value(2).toByteArray()};
      },
      picture);
}

Outcome Store::RemovePicture(const QString& id) {
  return Change("DELETE FROM pictures WHERE id = ?", {id});
}

Outcome Store::StartBroadcast(const Broadcast& broadcast) {
  return InTransaction([&] {
    Broadcast running;
    const Outcome found = FindRunningBroadcast(broadcast.activityId, &running);
    if (found != Outcome::NotFound) {
      return found == Outcome::Done ? Outcome::Busy : found;
    }
    return Change(
        "INSERT INTO broadcasts (id, activity_id, account_id, token_hash, started, ended, "
        "running_of) "
        "VALUES (?, ?, ?, ?, ?, 0, ?)",
        {broadcast.id, broadcast.activityId, broadcast.accountId, broadcast.tokenHash,
         qint64{broadcast.started}, broadcast.activityId});
  });
}

Outcome Store::FindRunningBroadcast(const QString& activityId, Broadcast* broadcast) {
  return ReadOne(Execute("SELECT id, activity_id, account_id, token_hash, started, ended "
                         "FROM broadcasts WHERE running_of = ?",
                         {activityId}),
                 ReadBroadcast, broadcast);
}

Outcome Store::EndBroadcast(const QString& activityId, std::int64_t now) {
  return Change("UPDATE broadcasts SET ended = ?, running_of = id WHERE running_of = ?",
                {qint64{now}, activityId});
}

Outcome Store::ListBroadcasts(const QString& activityId, QList<Broadcast>* broadcasts) {
  return ReadAll(Execute("SELECT id, activity_id, account_id, token_hash, started, ended "
                         "FROM broadcasts WHERE activity_id = ? ORDER BY started, id",
                         {activityId}),
                 ReadBroadcast, broadcasts);
}

Outcome Store::SetPublishing(const QString& activityId, bool publishing, std::int64_t now) {
  return InTransaction([&] {
    if (Change("DELETE FROM publishing WHERE activity_id = ?", {activityId}) == Outcome::Failed) {
      return Outcome::Failed;
    }
    if (!publishing) {
      return Outcome::Done;
    }
    return Change("INSERT INTO publishing (activity_id, since) VALUES (?, ?)",
                  {activityId, qint64{now}});
  });
}

Outcome Store::IsPublishing(const QString& activityId, bool* publishing) {
  std::int64_t since = 0;
  const Outcome found = ReadOne(
      Execute("SELECT since FROM publishing WHERE activity_id = ?", {activityId}),
      [](const QSqlQuery& row) { return std::int64_t{row.value(0).toLongLong()}; }, &since);
  *publishing = found == Outcome::Done;
  return found == Outcome::Failed ? found : Outcome::Done;
}

Outcome Store::Setting(const QString& name, QString* value) {
  return ReadOne(
      Execute("SELECT value FROM settings WHERE name = ?", {name}),
      [](const QSqlQuery& row) { return row.value(0).toString(); }, value);
}

Outcome Store::SetSetting(const QString& name, const QString& value) {
  return InTransaction([&] {
    if (Change("DELETE FROM settings WHERE name = ?", {name}) == Outcome::Failed) {
      return Outcome::Failed;
    }
    return Change("INSERT INTO settings (name, value) VALUES (?, ?)", {name, value});
  });
}

}  // namespace service
