// "./login.ini": the account and the password of the last login, in plain text.
//
// The file stands in the working directory, which belongs to the user alone. One that can't be read
// (missing, a directory, garbage) reads as two empty strings; one that can't be written keeps what
// it had and is named in the log.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_LOGINSETTINGS_H
#define ORVANE_WIDGETS_LOGINSETTINGS_H

#include <QString>

namespace widgets {

struct SavedAccount {
  QString usr;  // as typed
  QString psw;  // as typed
};

SavedAccount ReadLoginSettings();
void WriteLoginSettings(const SavedAccount& account);

}  // namespace widgets

#endif
