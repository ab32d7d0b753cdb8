// The small decisions of the broadcast. Pure.
#ifndef ORVANE_SHELL_LIVERULES_H
#define ORVANE_SHELL_LIVERULES_H

#include <QSize>
#include <QString>
#include <QTime>

namespace shell {

// The size of the stream by the entry of the quality box: 540P, 720P, 1080P.
QSize StreamSize(int quality);

// The time of the broadcast as its label shows it.
QString ClockText(const QTime& time);

}  // namespace shell

#endif
