#include "service/Store.h"

#include <sys/stat.h>

#include <QAtomicInt>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlError>
#include <QThread>
#include <QVariant>

#include "service/Log.h"
#include "service/Rows.h"
#include "service/Schema.h"

namespace service {

namespace {

// How long a write waits for another program's, the commands beside the service for example.
constexpr int kBusyMs = 2000;
// How long an opening waits for others that open the same new database.
constexpr int kOpenMs = 10000;
constexpr int kBusyPauseMs = 5;
constexpr int kSqliteBusy = 5;
constexpr int kPrimaryCode = 0xff;  // what is above tells more of the cause
// Of one account; the login beyond it ends the oldest one.
constexpr int kMaxSessions = 64;

// SQLite would make the file for everybody to read. Never opened here: closing it would drop the
// locks that other connections of this process hold on it.
void MakePrivateFile(const QString& path) {
  mknod(QFile::encodeName(path).constData(), S_IFREG | 0600, 0);
}

// SQLite answers busy at once, whatever its time-out, where waiting could be a deadlock; changing a
// new database to its log of writes is such a place, and no deadlock here.
bool ExecutePatiently(QSqlQuery* query, const QString& sql) {
  QElapsedTimer waited;
  waited.start();
  while (!query->exec(sql)) {
    const int code = query->lastError().nativeErrorCode().toInt();
    if ((code & kPrimaryCode) != kSqliteBusy || waited.elapsed() > kOpenMs) {
      return false;
    }
    QThread::msleep(kBusyPauseMs);
  }
  return true;
}

// For the one that makes the schema or brings it up to date. Another that does so may need longer,
// on a slow disk, than a change waits for its turn.
bool BeginPatiently(const QSqlDatabase& database) {
  QSqlQuery query(database);
  return ExecutePatiently(&query, QStringLiteral("BEGIN IMMEDIATE"));
}

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
  MakePrivateFile(path);
  store->m_database.setDatabaseName(path);
  store->m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(kBusyMs));
  if (!store->m_database.open()) {
    *error = QStringLiteral("%1: %2").arg(path, store->m_database.lastError().text());
    return nullptr;
  }
  // Readers don't wait for a writer, and what was committed survives a loss of power.
  for (const char* pragma :
       {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=FULL", "PRAGMA cache_size=-2048"}) {
    QSqlQuery query(store->m_database);
    if (!ExecutePatiently(&query, QLatin1String(pragma))) {
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

bool Store::Begin() {
  // SQLite's own transactions begin as readers and can't always become writers later; this one
  // waits for its turn and then can't fail for another's sake.
  QSqlQuery query(m_database);
  return m_database.driverName() == QLatin1String("QSQLITE")
             ? query.exec(QStringLiteral("BEGIN IMMEDIATE"))
             : m_database.transaction();
}

bool Store::SchemaOnDisk(int* version, QString* error) {
  QSqlQuery query(m_database);
  *version = 0;
  if (m_database.tables().contains(QStringLiteral("schema_version"))) {
    if (!query.exec(QStringLiteral("SELECT MAX(version) FROM schema_version")) || !query.next()) {
      *error = query.lastError().text();
      return false;
    }
    *version = query.value(0).toInt();
  }
  if (*version > SchemaVersion()) {
    *error = QStringLiteral("made by a newer version of this program (schema %1, known is %2)")
                 .arg(*version)
                 .arg(SchemaVersion());
    return false;
  }
  return true;
}

bool Store::Migrate(QString* error) {
  error->clear();
  int current = 0;
  if (!SchemaOnDisk(&current, error) || current == SchemaVersion()) {
    return error->isEmpty();
  }
  if (!BeginPatiently(m_database)) {
    *error = QStringLiteral("it can't be written or is locked by another program");
    return false;
  }
  // Read again: another program may have brought it up to date while this one waited.
  bool done = SchemaOnDisk(&current, error);
  for (int version = current + 1; done && version <= SchemaVersion(); ++version) {
    done = ApplyMigration(version, error);
  }
  if (done && !m_database.commit()) {
    *error = m_database.lastError().text();
    done = false;
  }
  if (!done) {
    m_database.rollback();
  }
  return done;
}

bool Store::ApplyMigration(int version, QString* error) {
  QSqlQuery query(m_database);
  bool done = version > 1 ||
              query.exec(QStringLiteral("CREATE TABLE schema_version (version INTEGER NOT NULL)"));
  for (const char* statement : Migrations()[static_cast<std::size_t>(version - 1)]) {
    done = done && query.exec(QLatin1String(statement));
  }
  if (done) {
    query.prepare(QStringLiteral("INSERT INTO schema_version (version) VALUES (?)"));
    query.addBindValue(version);
    done = query.exec();
  }
  if (!done) {
    *error = query.lastError().text();
  }
  return done;
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

Outcome Store::Transaction(const std::function<Outcome()>& work) {
  if (m_inTransaction) {
    return work();
  }
  if (!Begin()) {
    LogError("database", {{"doing", "transaction"}, {"cause", "can't be written or is locked"}});
    return Outcome::Failed;
  }
  m_inTransaction = true;
  Outcome outcome = work();
  m_inTransaction = false;
  if (outcome == Outcome::Done && !m_database.commit()) {
    LogError("database", {{"doing", "commit"}, {"cause", m_database.lastError().text()}});
    outcome = Outcome::Failed;
  }
  if (outcome != Outcome::Done) {
    m_database.rollback();
  }
  return outcome;
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
  return Transaction([&] {
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
  });
}

Outcome Store::SetPassword(const QString& login, const QString& passwordHash) {
  return Transaction([&] {
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
  return Transaction([&] {
    Account account;
    const Outcome found = FindAccount(login, &account);
    if (found != Outcome::Done) {
      return found;
    }
    for (const char* sql :
         {"DELETE FROM sessions WHERE account_id = ?",
          "DELETE FROM broadcasts WHERE account_id = ?",
          ("DELETE FROM publishing "
           "WHERE activity_id IN (SELECT id FROM activities WHERE account_id = ?)"),
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

Outcome Store::AddSession(const QString& tokenHash, const Account& account, std::int64_t expires) {
  return Transaction([&] {
    // Between the check of the password and now it may have been changed, or the account removed.
    Account present;
    const Outcome found = FindAccount(account.login, &present);
    if (found != Outcome::Done || present.passwordHash != account.passwordHash) {
      return found == Outcome::Failed ? found : Outcome::NotFound;
    }
    if (DropOldSessions(account.id) == Outcome::Failed) {
      return Outcome::Failed;
    }
    return Change("INSERT INTO sessions (token_hash, account_id, expires) VALUES (?, ?, ?)",
                  {tokenHash, account.id, qint64{expires}});
  });
}

Outcome Store::DropOldSessions(const QString& accountId) {
  QStringList hashes;
  const Outcome listed = ReadAll(
      Execute("SELECT token_hash FROM sessions WHERE account_id = ? ORDER BY expires DESC",
              {accountId}),
      [](const QSqlQuery& row) { return row.value(0).toString(); }, &hashes);
  if (listed != Outcome::Done) {
    return listed;
  }
  for (const QString& hash : hashes.mid(kMaxSessions - 1)) {
    if (RemoveSession(hash) == Outcome::Failed) {
      return Outcome::Failed;
    }
  }
  return Outcome::Done;
}

Outcome Store::FindSession(const QString& tokenHash, std::int64_t now, std::int64_t latest,
                           QString* accountId) {
  return ReadOne(
      Execute("SELECT account_id FROM sessions WHERE token_hash = ? AND expires > ? "
              "AND expires <= ?",
              {tokenHash, qint64{now}, qint64{latest}}),
      [](const QSqlQuery& row) { return row.value(0).toString(); }, accountId);
}

Outcome Store::RemoveSession(const QString& tokenHash) {
  return Change("DELETE FROM sessions WHERE token_hash = ?", {tokenHash});
}

Outcome Store::RemoveExpiredSessions(std::int64_t now) {
  return Change("DELETE FROM sessions WHERE expires <= ?", {qint64{now}});
}

Outcome Store::Setting(const QString& name, QString* value) {
  return ReadOne(
      Execute("SELECT value FROM settings WHERE name = ?", {name}),
      [](const QSqlQuery& row) { return row.value(0).toString(); }, value);
}

Outcome Store::SetSetting(const QString& name, const QString& value) {
  return Transaction([&] {
    if (Change("DELETE FROM settings WHERE name = ?", {name}) == Outcome::Failed) {
      return Outcome::Failed;
    }
    return Change("INSERT INTO settings (name, value) VALUES (?, ?)", {name, value});
  });
}

}  // namespace service
