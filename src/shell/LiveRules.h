// What a start of a broadcast decides of the chosen activity. Pure.
#ifndef ORVANE_SHELL_LIVERULES_H
#define ORVANE_SHELL_LIVERULES_H

#include <QSize>
#include <QString>

namespace shell {

// True when a publish address holds "rtmp", in small letters and anywhere.
bool CanPublish(const QString& publishUrl);

// The size of the stream by the entry of the quality box: 540P, 720P, 1080P.
QSize StreamSize(int quality);

}  // namespace shell

#endif
