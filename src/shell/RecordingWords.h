// What the operator is told of a recording: the notice when it ends by itself, and the tip of its
// switch.
//
// Pure; plain text.
#ifndef ORVANE_SHELL_RECORDINGWORDS_H
#define ORVANE_SHELL_RECORDINGWORDS_H

#include <QString>
#include <optional>
#include <string>

#include "output/RecordingStatus.h"

namespace shell {

// Of one with a fault: what has happened, why, and what there is of it.
QString RecordingNotice(const output::RecordingStatus& status);

// now: the one that runs; last: the file of the one before, empty when there was none. The first
// line is the same for as long as the state is.
QString RecordingTip(const std::optional<output::RecordingStatus>& now, const std::string& last);

}  // namespace shell

#endif
