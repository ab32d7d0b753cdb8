#include "service/Store.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "service/Schema.h"
#include "service/ServiceRig.h"

namespace {

using service::Account;
using service::Activity;
using service::Broadcast;
using service::Outcome;
using service::Picture;
using service::Store;
using support::ServiceRig;

Account NewAccount(const QString& login) {
  Account account;
  account.id = QString::fromStdString(service::NewId());
  account.login = login;
  account.passwordHash = QStringLiteral("hash");
  return account;
}

Broadcast NewBroadcast(const Activity& activity, const QString& session, std::int64_t now) {
  Broadcast broadcast;
  broadcast.id = QString::fromStdString(service::NewId());
  broadcast.activityId = activity.id;
  broadcast.accountId = activity.accountId;
  broadcast.tokenHash = session;
  broadcast.started = now;
  return broadcast;
}

Picture NewPicture(const QByteArray& bytes) {
  return {QString::fromStdString(service::NewId()), QStringLiteral("image/png"), bytes};
}

// A plain connection beside the store's, for looks and harm.
class Raw {
 public:
  explicit Raw(const QString& path)
      : m_database(QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("raw"))) {
    m_database.setDatabaseName(path);
    m_database.open();
  }
  ~Raw() {
    m_database.close();
    m_database = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("raw"));
  }
  Raw(const Raw&) = delete;
  Raw& operator=(const Raw&) = delete;
  bool Run(const QString& sql) {
    QSqlQuery query(m_database);
    return query.exec(sql);
  }
  qint64 Number(const QString& sql) {
    QSqlQuery query(m_database);
    return query.exec(sql) && query.next() ? query.value(0).toLongLong() : -1;
  }

 private:
  QSqlDatabase m_database;
};

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(rig.store, nullptr); }
  // Of a store opened anew at the path.
  QString ErrorAt(const QString& path) {
    QString error;
    return Store::Open(path, &error) == nullptr ? error : QStringLiteral("opened");
  }
  QString In(const char* name) { return QString::fromStdString(rig.directory.File(name)); }
  ServiceRig rig;
};

}  // namespace

TEST_F(StoreTest, ADatabaseOfTheFirstVersionKeepsItsDataWhenItIsBroughtUpToDate) {
  const QString path = In("old.sqlite");
  {
    Raw raw(path);
    raw.Run(QStringLiteral("CREATE TABLE schema_version (version INTEGER NOT NULL)"));
    for (const char* sql : service::Migrations()[0]) {
      ASSERT_TRUE(raw.Run(QLatin1String(sql))) << sql;
    }
    raw.Run(QStringLiteral("INSERT INTO schema_version VALUES (1)"));
    ASSERT_TRUE(raw.Run(QStringLiteral("INSERT INTO accounts VALUES ('1','old','h','n','e',0,5)")));
  }
  QString error;
  const auto store = Store::Open(path, &error);
  ASSERT_NE(store, nullptr) << error.toStdString();
  Account account;
  EXPECT_EQ(store->FindAccount(QStringLiteral("old"), &account), Outcome::Done);
  EXPECT_EQ(account.created, 5);
  QList<Broadcast> none;
  EXPECT_EQ(store->ListBroadcasts(QStringLiteral("x"), &none), Outcome::Done);
  Raw raw(path);
  EXPECT_EQ(raw.Number(QStringLiteral("SELECT MAX(version) FROM schema_version")),
            Store::SchemaVersion());
}

TEST_F(StoreTest, ASchemaOfANewerProgramIsRefusedAndLeftAlone) {
  {
    Raw raw(rig.Database());
    raw.Run(QStringLiteral("INSERT INTO schema_version VALUES (99)"));
  }
  EXPECT_TRUE(ErrorAt(rig.Database()).contains(QStringLiteral("newer version")));
  Raw raw(rig.Database());
  EXPECT_EQ(raw.Number(QStringLiteral("SELECT MAX(version) FROM schema_version")), 99);
}

TEST_F(StoreTest, ManyProgramsThatMakeTheDatabaseAtOnceAllGetIt) {
  const QString path = In("race.sqlite");
  std::atomic<int> opened{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      QString error;
      opened += Store::Open(path, &error) != nullptr ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(opened, 4);
}

TEST_F(StoreTest, TheFileIsForTheUserAlone) {
  struct stat status {};
  ASSERT_EQ(stat(rig.directory.File("service.sqlite").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(StoreTest, NamesOfAnyCharactersAreKeptAsTheyAre) {
  const QStringList names = {QStringLiteral("' OR '1'='1"),
                             QStringLiteral("x'; DROP TABLE accounts; --"),
                             QStringLiteral("\"quoted\" `and` [so]"),
                             QStringLiteral("ünï çødé"),
                             QStringLiteral("直播😀"),
                             QStringLiteral("%_?:name@p $1"),
                             QStringLiteral(" a "),
                             QStringLiteral("A"),
                             QStringLiteral("a"),
                             QString(255, QLatin1Char('x'))};
  for (const QString& name : names) {
    ASSERT_EQ(rig.store->AddAccount(NewAccount(name)), Outcome::Done) << name.toStdString();
    EXPECT_EQ(rig.store->AddAccount(NewAccount(name)), Outcome::Exists);
  }
  QList<Account> all;
  EXPECT_EQ(rig.store->ListAccounts(&all), Outcome::Done);
  EXPECT_EQ(all.size(), names.size());
  for (const QString& name : names) {
    Account found;
    ASSERT_EQ(rig.store->FindAccount(name, &found), Outcome::Done);
    EXPECT_EQ(found.login, name);
  }
}

TEST_F(StoreTest, AChangedPasswordEndsTheSessionsOfThatAccountOnly) {
  const Account one = rig.AddAccount("one");
  const Account two = rig.AddAccount("two");
  const QString s1 = QStringLiteral("s1");
  const QString s2 = QStringLiteral("s2");
  ASSERT_EQ(rig.store->AddSession(s1, one, 100), Outcome::Done);
  ASSERT_EQ(rig.store->AddSession(s2, two, 100), Outcome::Done);
  EXPECT_EQ(rig.store->SetPassword(one.login, QStringLiteral("new")), Outcome::Done);
  QString id;
  EXPECT_EQ(rig.store->FindSession(s1, 1, 1000, &id), Outcome::NotFound);
  EXPECT_EQ(rig.store->FindSession(s2, 1, 1000, &id), Outcome::Done);
  EXPECT_EQ(id, two.id);
  // A login that was looking at the old password meanwhile comes too late.
  EXPECT_EQ(rig.store->AddSession(QStringLiteral("s3"), one, 100), Outcome::NotFound);
  EXPECT_EQ(rig.store->SetPassword(QStringLiteral("nobody"), QStringLiteral("h")),
            Outcome::NotFound);
}

TEST_F(StoreTest, SessionsExpireAndThoseOfAClockSetBackCountForNothing) {
  const Account account = rig.AddAccount("user");
  ASSERT_EQ(rig.store->AddSession(QStringLiteral("s"), account, 100), Outcome::Done);
  QString id;
  EXPECT_EQ(rig.store->FindSession(QStringLiteral("s"), 99, 200, &id), Outcome::Done);
  EXPECT_EQ(rig.store->FindSession(QStringLiteral("s"), 100, 200, &id), Outcome::NotFound);
  EXPECT_EQ(rig.store->FindSession(QStringLiteral("s"), 10, 99, &id), Outcome::NotFound);
  EXPECT_EQ(rig.store->RemoveExpiredSessions(99), Outcome::NotFound);
  EXPECT_EQ(rig.store->RemoveExpiredSessions(100), Outcome::Done);
}

TEST_F(StoreTest, AnAccountKeepsItsNewestSessionsOnly) {
  const Account account = rig.AddAccount("user");
  for (int i = 0; i < 100; ++i) {
    ASSERT_EQ(rig.store->AddSession(QStringLiteral("s%1").arg(i), account, 1000 + i),
              Outcome::Done);
  }
  Raw raw(rig.Database());
  EXPECT_EQ(raw.Number(QStringLiteral("SELECT COUNT(*) FROM sessions")), 64);
  QString id;
  EXPECT_EQ(rig.store->FindSession(QStringLiteral("s99"), 1, 9999, &id), Outcome::Done);
  EXPECT_EQ(rig.store->FindSession(QStringLiteral("s35"), 1, 9999, &id), Outcome::NotFound);
}

TEST_F(StoreTest, ARemovedAccountTakesAllThatIsItsAndNothingElse) {
  const Account one = rig.AddAccount("one");
  const Account two = rig.AddAccount("two");
  for (const Account& account : {one, two}) {
    const Picture cover = NewPicture("bytes");
    Activity activity;
    activity.id = QString::fromStdString(service::NewId());
    activity.accountId = account.id;
    activity.title = QStringLiteral("t");
    activity.streamKey = activity.id;
    ASSERT_EQ(rig.store->AddActivity(activity, &cover), Outcome::Done);
    ASSERT_EQ(rig.store->StartBroadcast(NewBroadcast(activity, activity.id, 1)), Outcome::Done);
    ASSERT_EQ(rig.store->SetPublishing(activity.id, true, 1), Outcome::Done);
    ASSERT_EQ(rig.store->AddSession(activity.id, account, 100), Outcome::Done);
  }
  EXPECT_EQ(rig.store->RemoveAccount(one.login), Outcome::Done);
  EXPECT_EQ(rig.store->RemoveAccount(one.login), Outcome::NotFound);
  Raw raw(rig.Database());
  for (const char* table :
       {"accounts", "activities", "pictures", "broadcasts", "publishing", "sessions"}) {
    EXPECT_EQ(raw.Number(QStringLiteral("SELECT COUNT(*) FROM %1").arg(QLatin1String(table))), 1)
        << table;
  }
}

TEST_F(StoreTest, ActivitiesComeInPagesOfTwelveTheNextToStartFirst) {
  const Account account = rig.AddAccount("user");
  for (int i = 0; i < 25; ++i) {
    rig.clock.now += 1000;
    rig.AddActivity(account, std::to_string(i));
  }
  QStringList titles;
  int page = 0;
  for (const int size : {12, 12, 1, 0}) {
    QList<Activity> list;
    ASSERT_EQ(rig.store->PageOfActivities(account.id, ++page, &list), Outcome::Done);
    EXPECT_EQ(list.size(), size);
    for (const Activity& activity : list) {
      titles.append(activity.title);
    }
  }
  ASSERT_EQ(titles.size(), 25);
  for (int i = 0; i < 25; ++i) {
    EXPECT_EQ(titles[i], QString::number(i));
  }
}

TEST_F(StoreTest, ACoverIsKeptWithItsActivityOrNotAtAll) {
  const Account account = rig.AddAccount("user");
  const Picture first = NewPicture("1");
  Activity activity;
  activity.id = QStringLiteral("a");
  activity.accountId = account.id;
  activity.title = QStringLiteral("t");
  activity.streamKey = QStringLiteral("k");
  ASSERT_EQ(rig.store->AddActivity(activity, &first), Outcome::Done);
  const Picture second = NewPicture("2");
  // The same id again, an account that is gone, an activity that is gone: no picture stays.
  EXPECT_EQ(rig.store->AddActivity(activity, &second), Outcome::Failed);
  Activity foreign = activity;
  foreign.id = foreign.streamKey = QStringLiteral("b");
  foreign.accountId = QStringLiteral("nobody");
  EXPECT_EQ(rig.store->AddActivity(foreign, &second), Outcome::NotFound);
  EXPECT_EQ(rig.store->ChangeActivity(foreign, &second), Outcome::NotFound);
  Raw raw(rig.Database());
  EXPECT_EQ(raw.Number(QStringLiteral("SELECT COUNT(*) FROM pictures")), 1);

  EXPECT_EQ(rig.store->ChangeActivity(activity, &second), Outcome::Done);
  Picture found;
  EXPECT_EQ(rig.store->FindPicture(first.id, &found), Outcome::NotFound);
  EXPECT_EQ(rig.store->FindPicture(second.id, &found), Outcome::Done);
  EXPECT_EQ(rig.store->ChangeActivity(activity), Outcome::Done);
  Activity read;
  ASSERT_EQ(rig.store->FindActivity(activity.id, &read), Outcome::Done);
  EXPECT_EQ(read.coverId, second.id);
  EXPECT_EQ(rig.store->RemoveActivity(activity.id), Outcome::Done);
  EXPECT_EQ(rig.store->RemoveActivity(activity.id), Outcome::NotFound);
  EXPECT_EQ(rig.store->FindPicture(second.id, &found), Outcome::NotFound);
}

TEST_F(StoreTest, TheAdvertisementsPictureIsReplacedAndCleared) {
  const Picture first = NewPicture("1");
  const Picture second = NewPicture(QByteArray("\0\xff\x00z", 4));
  EXPECT_EQ(rig.store->SetAdPicture(&first), Outcome::Done);
  EXPECT_EQ(rig.store->SetAdPicture(&second), Outcome::Done);
  Picture found;
  EXPECT_EQ(rig.store->FindPicture(first.id, &found), Outcome::NotFound);
  ASSERT_EQ(rig.store->FindPicture(second.id, &found), Outcome::Done);
  EXPECT_EQ(found.bytes, second.bytes);
  EXPECT_EQ(rig.store->SetAdPicture(nullptr), Outcome::Done);
  EXPECT_EQ(rig.store->FindPicture(second.id, &found), Outcome::NotFound);
}

TEST_F(StoreTest, OneBroadcastOfAnActivityRunsAtATimeHoweverManyAskAtOnce) {
  const Account account = rig.AddAccount("user");
  for (int round = 0; round < 20; ++round) {
    const Activity activity = rig.AddActivity(account, "t");
    std::atomic<int> done{0};
    std::atomic<int> busy{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&, i] {
        QString error;
        const auto store = Store::Open(rig.Database(), &error);
        ASSERT_NE(store, nullptr) << error.toStdString();
        // Where the disk is slow, one that waits for another's write fails, and is asked again.
        Outcome outcome = Outcome::Failed;
        for (int turn = 0; turn < 10 && outcome == Outcome::Failed; ++turn) {
          outcome = store->StartBroadcast(NewBroadcast(activity, QString::number(i), 1));
        }
        done += outcome == Outcome::Done ? 1 : 0;
        busy += outcome == Outcome::Busy ? 1 : 0;
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(done, 1);
    EXPECT_EQ(busy, 2);
  }
}

TEST_F(StoreTest, OnlyTheBroadcastThatIsMeantIsEnded) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  const Broadcast first = NewBroadcast(activity, QStringLiteral("1"), 10);
  const Broadcast second = NewBroadcast(activity, QStringLiteral("2"), 20);
  ASSERT_EQ(rig.store->StartBroadcast(first), Outcome::Done);
  EXPECT_EQ(rig.store->EndBroadcast(first.id, 15), Outcome::Done);
  ASSERT_EQ(rig.store->StartBroadcast(second), Outcome::Done);
  EXPECT_EQ(rig.store->EndBroadcast(first.id, 25), Outcome::NotFound);
  Broadcast running;
  EXPECT_EQ(rig.store->FindRunningBroadcast(activity.id, &running), Outcome::Done);
  EXPECT_EQ(running.id, second.id);
  QList<Broadcast> all;
  ASSERT_EQ(rig.store->ListBroadcasts(activity.id, &all), Outcome::Done);
  ASSERT_EQ(all.size(), 2);
  EXPECT_EQ(all[0].ended, 15);
  EXPECT_EQ(all[1].ended, 0);
}

TEST_F(StoreTest, ChangesTogetherAreMadeWholeOrNotAtAll) {
  const Outcome outcome = rig.store->Transaction([&] {
    EXPECT_EQ(rig.store->AddAccount(NewAccount(QStringLiteral("half"))), Outcome::Done);
    return Outcome::Failed;
  });
  EXPECT_EQ(outcome, Outcome::Failed);
  Account account;
  EXPECT_EQ(rig.store->FindAccount(QStringLiteral("half"), &account), Outcome::NotFound);
}

TEST_F(StoreTest, ALockedDatabaseIsReadAndAWriteFailsUntilItIsFree) {
  rig.AddAccount("user");
  {
    Raw raw(rig.Database());
    ASSERT_TRUE(raw.Run(QStringLiteral("BEGIN IMMEDIATE")));
    Account account;
    EXPECT_EQ(rig.store->FindAccount(QStringLiteral("user"), &account), Outcome::Done);
    EXPECT_EQ(rig.store->AddAccount(NewAccount(QStringLiteral("late"))), Outcome::Failed);
    raw.Run(QStringLiteral("ROLLBACK"));
  }
  EXPECT_EQ(rig.store->AddAccount(NewAccount(QStringLiteral("late"))), Outcome::Done);
}

TEST_F(StoreTest, AFullDiskLosesNoAccountAndLetsTheServiceGoOn) {
  rig.AddAccount("user");
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit former{};
  getrlimit(RLIMIT_FSIZE, &former);
  const rlimit full{4096, former.rlim_max};
  setrlimit(RLIMIT_FSIZE, &full);
  const Picture large = NewPicture(QByteArray(300000, 'x'));
  const Outcome added = rig.store->AddAccount(NewAccount(QStringLiteral("late")));
  const Outcome picture = rig.store->AddPicture(large);
  setrlimit(RLIMIT_FSIZE, &former);
  EXPECT_EQ(added, Outcome::Failed);
  EXPECT_EQ(picture, Outcome::Failed);
  Account account;
  EXPECT_EQ(rig.store->FindAccount(QStringLiteral("user"), &account), Outcome::Done);
  EXPECT_EQ(rig.store->AddAccount(NewAccount(QStringLiteral("late"))), Outcome::Done);
  EXPECT_EQ(rig.store->FindAccount(QStringLiteral("late"), &account), Outcome::Done);
}

TEST_F(StoreTest, ADirectoryGarbageAndAMissingFolderAreNamedInTheError) {
  std::filesystem::create_directory(rig.directory.File("folder.sqlite"));
  EXPECT_TRUE(ErrorAt(In("folder.sqlite")).contains(QStringLiteral("folder.sqlite: ")));
  std::ofstream(rig.directory.File("garbage.sqlite")) << std::string(5000, 'g');
  EXPECT_TRUE(ErrorAt(In("garbage.sqlite")).contains(QStringLiteral("not a database")));
  EXPECT_TRUE(ErrorAt(In("none/x.sqlite")).contains(QStringLiteral("none/x.sqlite: ")));
}

TEST_F(StoreTest, ATruncatedDatabaseIsAnErrorAndNoCrash) {
  rig.AddAccount("user");
  rig.store.reset();  // the write-ahead log goes into the file
  std::filesystem::resize_file(rig.directory.File("service.sqlite"), 9000);
  QString error;
  const auto store = Store::Open(rig.Database(), &error);
  Account account;
  // Found broken at opening or at the first look, whichever comes first.
  const Outcome outcome =
      store == nullptr ? Outcome::Failed : store->FindAccount(QStringLiteral("user"), &account);
  EXPECT_EQ(outcome, Outcome::Failed);
}

TEST_F(StoreTest, AWriteThatTheDatabaseRefusesFailsAndReadsGoOn) {
  rig.AddAccount("user");
  ASSERT_TRUE(Raw(rig.Database()).Run(QStringLiteral("SELECT 1")));
  rig.store.reset();
  {
    Raw raw(rig.Database());
    raw.Run(
        QStringLiteral("CREATE TRIGGER ro BEFORE INSERT ON accounts BEGIN "
                       "SELECT RAISE(ABORT, 'attempt to write a readonly database'); END"));
  }
  QString error;
  const auto store = Store::Open(rig.Database(), &error);
  ASSERT_NE(store, nullptr);
  Account account;
  EXPECT_EQ(store->FindAccount(QStringLiteral("user"), &account), Outcome::Done);
  EXPECT_EQ(store->AddAccount(NewAccount(QStringLiteral("late"))), Outcome::Failed);
}

TEST_F(StoreTest, ConnectionsThatComeAndGoTakeNoLocksFromOthers) {
  // A second connection of this process, opened and closed while the first one is in a transaction.
  const Outcome outcome = rig.store->Transaction([&] {
    const Outcome added = rig.store->AddAccount(NewAccount(QStringLiteral("first")));
    QString error;
    Store::Open(rig.Database(), &error).reset();
    // Another program must still find it locked.
    const support::RunResult other = support::Run(
        {ORVANE_SERVICE, "ad", "clear", "--database", rig.directory.File("service.sqlite")});
    EXPECT_EQ(other.status, 3) << other.output;
    return added;
  });
  EXPECT_EQ(outcome, Outcome::Done);
  EXPECT_TRUE(rig.store->Healthy());
}
