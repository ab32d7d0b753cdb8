// Asking for a password: on the terminal without showing it, twice; otherwise the first line of
// standard input.
//
// Threads: the main thread.
#ifndef ORVANE_SERVICE_PROMPT_H
#define ORVANE_SERVICE_PROMPT_H

#include <QString>

namespace service {

// The hash of a password that the user gives now; empty, with a complaint printed, when it was
// refused. A signal during the question leaves the terminal as it was.
QString AskForPassword();

}  // namespace service

#endif
