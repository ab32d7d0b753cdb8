// The command line of the service: what the one person who runs it does with accounts, activities
// and pictures, and the server itself.
//
// Every command answers --help. Results go to standard output, complaints to standard error.
// Passwords are asked for on the terminal, without showing them, or read as the first line of
// standard input where that is no terminal; none is ever an argument.
//
// Threads: the main thread.
#ifndef ORVANE_SERVICE_COMMANDS_H
#define ORVANE_SERVICE_COMMANDS_H

#include <QString>
#include <QStringList>

namespace service {

enum ExitCode : int {
  kOk = 0,
  kRefused = 1,  // no such account, taken, a value that can't be
  kUsage = 2,    // the command line is not understood
  kNoDatabase = 3,
  kNoAddress = 4,  // a port is in use, or the ingest can't be started
};

// arguments: without the program's name. Returns the exit code.
int RunCommand(const QStringList& arguments);

// "$XDG_DATA_HOME/orvane/service.sqlite"; its directory is made for the user alone.
QString DefaultDatabasePath();

// Whether the client can send it: Latin-1, not empty, without control characters, at most longest
// characters. Otherwise *complaint says what is wrong.
bool IsSendable(const QString& text, int longest, QString* complaint);

}  // namespace service

#endif
