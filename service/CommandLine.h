// What the commands share: options, the database they work on, and how they speak.
//
// Threads: the main thread.
#ifndef ORVANE_SERVICE_COMMANDLINE_H
#define ORVANE_SERVICE_COMMANDLINE_H

#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

#include "service/Commands.h"
#include "service/Store.h"

namespace service {

// One line on standard error; returns code.
int PrintError(const QString& text, int code);
void Print(const QString& text);

// A parsed command line, or the exit code that ends the program.
struct Parsed {
  QCommandLineParser parser;
  int exitCode = -1;
  bool Ended() const { return exitCode >= 0; }
};

// Parses what follows the command's name. positional: how many arguments must stand there. Adds
// --help and --database to the options.
void Parse(Parsed* parsed, const QString& command, const QString& description,
           const QStringList& arguments, int positional);

QString DatabasePath(const QCommandLineParser& parser);
// Null with a complaint printed.
std::unique_ptr<Store> OpenStore(const QCommandLineParser& parser);
// The exit code, with a complaint printed for all but Done.
int CodeOf(Outcome outcome, const QString& notFound);

// A command that takes one name and one operation on the store.
int WithOne(const QStringList& arguments, const QString& command, const QString& description,
            const QString& what, const std::function<Outcome(Store*, const QString&)>& operation);

// Whether it is 1 to longest characters (0 where it may be empty) without control characters;
// otherwise a complaint is printed.
bool IsPlainText(const QString& what, const QString& text, int shortest, int longest);

// The commands, each with what follows its name.
int AccountAdd(const QStringList& arguments);
int AccountPasswd(const QStringList& arguments);
int AccountRemove(const QStringList& arguments);
int AccountList(const QStringList& arguments);
int ActivityAdd(const QStringList& arguments);
int ActivityEdit(const QStringList& arguments);
int ActivityEnd(const QStringList& arguments);
int ActivityRemove(const QStringList& arguments);
int ActivityList(const QStringList& arguments);
int AdSet(const QStringList& arguments);
int AdClear(const QStringList& arguments);
int ServeCommand(const QStringList& arguments);

}  // namespace service

#endif
