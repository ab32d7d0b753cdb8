// The names of recordings: "TITLE DATE.mkv", whatever the title is.
//
// A title comes from the service and may be any text. What it becomes here is one name in one
// directory, on this system and on those that the file may be taken to: no separators, no
// characters or device names that another system keeps for itself, no controls, nothing that turns
// the direction of what follows, no name that is hidden or reads as an option. It takes 143 bytes
// with its date and number at most, which is what an encrypted directory leaves of the usual 255.
//
// Pure.
#ifndef ORVANE_OUTPUT_RECORDINGNAME_H
#define ORVANE_OUTPUT_RECORDINGNAME_H

#include <QDateTime>
#include <QString>

namespace output {

inline constexpr int kRecordingNameBytes = 143;
inline constexpr int kLastRecordingNumber = 9999;

// number: 1 for the first file of that title and date, which doesn't show it.
QString RecordingName(const QString& title, const QDateTime& date, int number);

}  // namespace output

#endif
