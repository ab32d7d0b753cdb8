#include <QDateTime>

#include "service/CommandLine.h"
#include "service/Prompt.h"
#include "service/Secrets.h"

namespace service {

namespace {

constexpr int kMaxLogin = 255;
constexpr int kMaxName = 255;

}  // namespace

int AccountAdd(const QStringList& arguments) {
  Parsed parsed;
  QCommandLineParser& parser = parsed.parser;
  const QCommandLineOption name(QStringLiteral("name"), QStringLiteral("The name to show."),
                                QStringLiteral("NAME"));
  const QCommandLineOption email(QStringLiteral("email"), QStringLiteral("An address."),
                                 QStringLiteral("ADDRESS"));
  const QCommandLineOption local(QStringLiteral("loopback-only"),
                                 QStringLiteral("May log in from this machine only."));
  parser.addOptions({name, email, local});
  parser.addPositionalArgument(QStringLiteral("LOGIN"), QStringLiteral("The account."));
  Parse(&parsed, QStringLiteral("account add"),
        QStringLiteral("Makes an account. The password is asked for, or read from standard input."),
        arguments, 1);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  Account account;
  account.login = parser.positionalArguments().first();
  QString complaint;
  if (!IsSendable(account.login, kMaxLogin, &complaint)) {
    return PrintError(QStringLiteral("the account %1").arg(complaint), kRefused);
  }
  account.name = parser.value(name);
  account.email = parser.value(email);
  if (!IsPlainText(QStringLiteral("a name"), account.name, 0, kMaxName) ||
      !IsPlainText(QStringLiteral("an address"), account.email, 0, kMaxName)) {
    return kRefused;
  }
  const std::unique_ptr<Store> store = OpenStore(parser);
  if (store == nullptr) {
    return kNoDatabase;
  }
  account.passwordHash = AskForPassword();
  if (account.passwordHash.isEmpty()) {
    return kRefused;
  }
  account.id = QString::fromStdString(NewId());
  account.loopbackOnly = parser.isSet(local);
  account.created = QDateTime::currentSecsSinceEpoch();
  return CodeOf(store->AddAccount(account), QString());
}

int AccountPasswd(const QStringList& arguments) {
  bool refused = false;
  const int code =
      WithOne(arguments, QStringLiteral("account passwd"),
              QStringLiteral("Changes a password and ends all sessions of the account."),
              QStringLiteral("LOGIN"), [&refused](Store* store, const QString& login) {
                Account account;
                const Outcome found = store->FindAccount(login, &account);
                if (found != Outcome::Done) {
                  return found;
                }
                const QString hash = AskForPassword();
                refused = hash.isEmpty();
                return refused ? Outcome::Done : store->SetPassword(login, hash);
              });
  return refused ? static_cast<int>(kRefused) : code;
}

int AccountList(const QStringList& arguments) {
  Parsed parsed;
  Parse(&parsed, QStringLiteral("account list"), QStringLiteral("Lists the accounts."), arguments,
        0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  const std::unique_ptr<Store> store = OpenStore(parsed.parser);
  QList<Account> accounts;
  if (store == nullptr) {
    return kNoDatabase;
  }
  if (store->ListAccounts(&accounts) != Outcome::Done) {
    return CodeOf(Outcome::Failed, QString());
  }
  for (const Account& account : accounts) {
    Print(QStringLiteral("%1\t%2\t%3%4\n")
              .arg(account.login, account.name, account.email,
                   account.loopbackOnly ? QStringLiteral("\tloopback only") : QString()));
  }
  return kOk;
}

int AccountRemove(const QStringList& arguments) {
  return WithOne(arguments, QStringLiteral("account remove"),
                 QStringLiteral("Removes an account with its activities."), QStringLiteral("LOGIN"),
                 [](Store* store, const QString& login) { return store->RemoveAccount(login); });
}

}  // namespace service
